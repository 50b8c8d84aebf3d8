// Instance paths: step storage in blocks of 4, cuts and comparisons.
#include "tolk/hgraph_path.h"

#include <algorithm>

#include "tolk/assert.h"

namespace {

constexpr int kBlock = 4;

// The smallest multiple of 4 above n, as far as the length type reaches.
int SpaceAbove(int n) { return std::min((n / kBlock + 1) * kBlock, tolk_MAXPATHLENGTH); }

}  // namespace

tolk_instance_base::tolk_instance_base(const tolk_instance_base& o) {
  if (o.length == 0) return;
  Reallocate(o.space);
  std::copy(o.stepfield, o.stepfield + o.length, stepfield);
  length = o.length;
}

tolk_instance_base::tolk_instance_base(tolk_instance_base&& o) noexcept
    : length(o.length), space(o.space), stepfield(o.stepfield) {
  o.length = o.space = 0;
  o.stepfield = nullptr;
}

tolk_instance_base& tolk_instance_base::operator=(const tolk_instance_base& o) {
  if (this == &o) return *this;
  if (o.length == 0) {
    delete[] stepfield;
    stepfield = nullptr;
    length = space = 0;
    return *this;
  }
  length = 0;
  if (space != o.space) Reallocate(o.space);
  std::copy(o.stepfield, o.stepfield + o.length, stepfield);
  length = o.length;
  return *this;
}

tolk_instance_base& tolk_instance_base::operator=(tolk_instance_base&& o) noexcept {
  if (this == &o) return *this;
  delete[] stepfield;
  length = o.length;
  space = o.space;
  stepfield = o.stepfield;
  o.length = o.space = 0;
  o.stepfield = nullptr;
  return *this;
}

void tolk_instance_base::Reallocate(int newSpace) {
  tolk_instance_step_base* fresh = nullptr;
  if (newSpace > 0) {
    fresh = new tolk_instance_step_base[newSpace];
    std::copy(stepfield, stepfield + std::min(static_cast<int>(length), newSpace), fresh);
  }
  delete[] stepfield;
  stepfield = fresh;
  space = static_cast<tolk_pathlength>(newSpace);
}

void tolk_instance_base::EnsureSpace(int needed) {
  TOLK_ASSERT(needed <= tolk_MAXPATHLENGTH, "instance path longer than 65535 steps");
  if (needed <= space) return;
  int grown = space;
  while (grown < needed) grown += kBlock;
  Reallocate(std::min(grown, tolk_MAXPATHLENGTH));
}

void tolk_instance_base::ShrinkToFit() {
  if (space - length > kBlock) Reallocate(SpaceAbove(length));
}

void tolk_instance_base::Reset() {
  length = 0;
  if (space > kBlock) Reallocate(0);
}

void tolk_instance_base::Append(const tolk_instance_step_base& step) {
  EnsureSpace(length + 1);
  stepfield[length++] = step;
}

void tolk_instance_base::AppendFrom(const tolk_instance_base& p, int from) {
  if (from >= p.length) return;
  const int count = p.length - from;
  EnsureSpace(length + count);
  // p may be this very path: its steps stay where they are while the array grows.
  std::copy(p.stepfield + from, p.stepfield + from + count, stepfield + length);
  length = static_cast<tolk_pathlength>(length + count);
}

void tolk_instance_base::DeleteStep(int i) {
  TOLK_ASSERT(i >= 0 && i < length, "path step index out of range");
  std::copy(stepfield + i + 1, stepfield + length, stepfield + i);
  --length;
  ShrinkToFit();
}

void tolk_instance_base::CutToEnd(int n) {
  if (n < 0) n = 0;
  if (n >= length) return;
  length = static_cast<tolk_pathlength>(n);
  ShrinkToFit();
}

void tolk_instance_base::CutToFront(int n) {
  const int dropped = std::min(n + 1, static_cast<int>(length));
  if (dropped <= 0) return;
  if (dropped == length) {
    length = 0;
    Reallocate(0);
    return;
  }
  std::copy(stepfield + dropped, stepfield + length, stepfield);
  length = static_cast<tolk_pathlength>(length - dropped);
  ShrinkToFit();
}

void tolk_instance_base::Overlay(int n, const tolk_instance_base& p) {
  if (&p == this) return;
  if (n < length) length = static_cast<tolk_pathlength>(std::max(n, 0));
  AppendFrom(p, 0);
  ShrinkToFit();
}

bool tolk_instance_base::operator==(const tolk_instance_base& o) const {
  return length == o.length && std::equal(stepfield, stepfield + length, o.stepfield);
}

bool tolk_instance_base::AgreesFrom(int from, const tolk_instance_base& p) const {
  const int n = std::min(length - from, static_cast<int>(p.length));
  for (int k = 0; k < n; ++k) {
    if (stepfield[from + k] != p.stepfield[k]) return false;
  }
  return true;
}

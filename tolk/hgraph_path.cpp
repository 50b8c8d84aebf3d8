// Instance paths: step storage in blocks of 4, cuts and comparisons.
#include "tolk/hgraph_path.h"

#include <algorithm>
#include <memory>

#include "tolk/assert.h"

namespace {

constexpr int kBlock = 4;

// The smallest multiple of 4 above n, as far as the length type reaches.
int SpaceAbove(int n) { return std::min((n / kBlock + 1) * kBlock, tolk_MAXPATHLENGTH); }

}  // namespace

tolk_instance_base::tolk_instance_base(const tolk_instance_base& o) : onheap(false) {
  ::new (&store.one) tolk_instance_step_base();
  if (o.length == 0) return;
  Reallocate(o.space, o.length);
  CopyStepsFrom(o);
}

tolk_instance_base::tolk_instance_base(tolk_instance_base&& o) noexcept
    : length(o.length), space(o.space), onheap(o.onheap) {
  if (onheap)
    store.many = o.store.many;
  else
    ::new (&store.one) tolk_instance_step_base(o.store.one);
  o.length = o.space = 0;
  o.onheap = false;
  ::new (&o.store.one) tolk_instance_step_base();
}

tolk_instance_base& tolk_instance_base::operator=(const tolk_instance_base& o) {
  if (this == &o) return *this;
  length = 0;
  if (o.length == 0) {
    Reallocate(0);
    return *this;
  }
  // An array of the right size is kept, whatever the copy needs of it.
  if (space != o.space || (!onheap && o.length > 1)) Reallocate(o.space, o.length);
  CopyStepsFrom(o);
  return *this;
}

tolk_instance_base& tolk_instance_base::operator=(tolk_instance_base&& o) noexcept {
  if (this == &o) return *this;
  FreeHeap();
  length = o.length;
  space = o.space;
  onheap = o.onheap;
  if (onheap)
    store.many = o.store.many;
  else
    ::new (&store.one) tolk_instance_step_base(o.store.one);
  o.length = o.space = 0;
  o.onheap = false;
  ::new (&o.store.one) tolk_instance_step_base();
  return *this;
}

void tolk_instance_base::CopyStepsFrom(const tolk_instance_base& o) {
  std::copy(o.Steps(), o.Steps() + o.length, Steps());
  length = o.length;
}

void tolk_instance_base::Reallocate(int newSpace, int needed) {
  const int keep = std::min(static_cast<int>(length), newSpace);
  const int hold = std::max(keep, needed);
  if (hold <= 1) {
    // Nothing beyond one step to keep: it moves inside the path object.
    const tolk_instance_step_base first = keep > 0 ? Steps()[0] : tolk_instance_step_base();
    FreeHeap();
    onheap = false;
    ::new (&store.one) tolk_instance_step_base(first);
  } else {
    tolk_instance_step_base* fresh = new tolk_instance_step_base[newSpace];
    std::copy(Steps(), Steps() + keep, fresh);
    FreeHeap();
    onheap = true;
    store.many = fresh;
  }
  space = static_cast<tolk_pathlength>(newSpace);
}

void tolk_instance_base::EnsureSpace(int needed) {
  TOLK_ASSERT(needed <= tolk_MAXPATHLENGTH, "instance path longer than 65535 steps");
  if (needed <= space) {
    if (needed > 1 && !onheap) Reallocate(space, needed);
    return;
  }
  int grown = space;
  while (grown < needed) grown += kBlock;
  Reallocate(std::min(grown, tolk_MAXPATHLENGTH), needed);
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
  Steps()[length++] = step;
}

void tolk_instance_base::AppendFrom(const tolk_instance_base& p, int from) {
  if (from >= p.length) return;
  const int count = p.length - from;
  EnsureSpace(length + count);
  // p may be this very path: its steps stay where they are while the array grows.
  std::copy(p.Steps() + from, p.Steps() + from + count, Steps() + length);
  length = static_cast<tolk_pathlength>(length + count);
}

void tolk_instance_base::DeleteStep(int i) {
  TOLK_ASSERT(i >= 0 && i < length, "path step index out of range");
  std::copy(Steps() + i + 1, Steps() + length, Steps() + i);
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
  std::copy(Steps() + dropped, Steps() + length, Steps());
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
  return length == o.length && std::equal(Steps(), Steps() + length, o.Steps());
}

bool tolk_instance_base::AgreesFrom(int from, const tolk_instance_base& p) const {
  const int n = std::min(length - from, static_cast<int>(p.length));
  const tolk_instance_step_base* mine = Steps() + from;
  const tolk_instance_step_base* theirs = p.Steps();
  for (int k = 0; k < n; ++k) {
    if (mine[k] != theirs[k]) return false;
  }
  return true;
}

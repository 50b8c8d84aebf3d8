// Instance paths: (scope graph, node) steps from an outer graph down through instance nodes.
#pragma once

#include <cstdint>
#include <new>

#include "tolk/ugraph.h"

class tolk_hgraph_base;

// Number of steps of a path.
typedef uint16_t tolk_pathlength;
inline constexpr int tolk_MAXPATHLENGTH = 65535;

// One step: a node and the graph it lies in.
struct tolk_instance_step_base {
  tolk_hgraph_base* pscope = nullptr;
  tolk_UNode node;

  tolk_instance_step_base() = default;
  tolk_instance_step_base(tolk_hgraph_base* scope, const tolk_UNode& n) : pscope(scope), node(n) {}
  bool operator==(const tolk_instance_step_base& o) const { return pscope == o.pscope && node == o.node; }
  bool operator!=(const tolk_instance_step_base& o) const { return !(*this == o); }
};

// A path owns its steps. Its capacity (`space`, GetSpace) grows in blocks of 4 steps
// and shrinks when a cut leaves more than 4 steps unused; copies of an empty path have
// capacity 0. Where the steps lie is the path's own affair: a path of at most one step
// keeps it inside the path object, so that the one-step paths stored with every edge
// into an instance and the paths of an orientation's result cost no heap array; longer
// paths keep a heap array of `space` steps.
class tolk_instance_base {
 public:
  tolk_pathlength length = 0;
  tolk_pathlength space = 0;

  tolk_instance_base() : onheap(false) { ::new (&store.one) tolk_instance_step_base(); }
  tolk_instance_base(const tolk_instance_base& o);
  tolk_instance_base(tolk_instance_base&& o) noexcept;
  tolk_instance_base& operator=(const tolk_instance_base& o);
  tolk_instance_base& operator=(tolk_instance_base&& o) noexcept;
  ~tolk_instance_base() { FreeHeap(); }

  int GetLength() const { return length; }
  int GetSpace() const { return space; }
  tolk_instance_step_base& operator[](int i) { return Steps()[i]; }
  const tolk_instance_step_base& operator[](int i) const { return Steps()[i]; }
  const tolk_instance_step_base& LastStep() const { return Steps()[length - 1]; }
  tolk_instance_step_base* Steps() { return onheap ? store.many : &store.one; }
  const tolk_instance_step_base* Steps() const { return onheap ? store.many : &store.one; }

  // Length 0; a large array is freed, a small one kept for reuse.
  void Reset();
  void Append(tolk_hgraph_base* scope, const tolk_UNode& n) { Append(tolk_instance_step_base(scope, n)); }
  void Append(const tolk_instance_step_base& step);
  void Append(const tolk_instance_base& p) { AppendFrom(p, 0); }
  // Appends the steps of p from step `from` on.
  void AppendFrom(const tolk_instance_base& p, int from);
  void DeleteStep(int i);
  // Keeps the first n steps.
  void CutToEnd(int n);
  // Drops steps 0 .. n; dropping every step frees the array.
  void CutToFront(int n);
  // Keeps the first n steps and lays the steps of p after them.
  void Overlay(int n, const tolk_instance_base& p);

  bool operator==(const tolk_instance_base& o) const;
  bool operator!=(const tolk_instance_base& o) const { return !(*this == o); }

  // True when the steps of this path from `from` on and the steps of p agree as far
  // as both reach.
  bool AgreesFrom(int from, const tolk_instance_base& p) const;

 private:
  // Makes the capacity newSpace, keeping the first min(length, newSpace) steps in
  // storage that holds at least `needed` of them.
  void Reallocate(int newSpace, int needed = 0);
  void EnsureSpace(int needed);
  void ShrinkToFit();
  void FreeHeap() {
    if (onheap) delete[] store.many;
  }
  void CopyStepsFrom(const tolk_instance_base& o);

  bool onheap;  // the steps lie in store.many, an array of `space` steps
  union Store {
    tolk_instance_step_base one;
    tolk_instance_step_base* many;
    Store() {}
  } store;
};

// Block-allocated double-ended queue (tolk_DQUEUE) and its stack and queue adapters.
#pragma once

#include <utility>

#include "tolk/assert.h"
#include "tolk/list.h"
#include "tolk/types.h"

// Double-ended queue of values of type T, stored in blocks of basesize slots (every user takes 8). One
// emptied block is kept as a spare so that a queue hovering around a block boundary does not allocate
// each time. Values are copied in; pointer values are not released. T must be default-constructible.
template <class T>
class tolk_DQUEUE {
 public:
  explicit tolk_DQUEUE(long basesize) : endindex(basesize), basesize(basesize) { TOLK_ASSERT(basesize > 0, "queue block size"); }
  tolk_DQUEUE(const tolk_DQUEUE& o) : tolk_DQUEUE(o.basesize) { AppendAll(o); }
  tolk_DQUEUE& operator=(const tolk_DQUEUE& o) {
    if (this != &o) {
      Clear();
      AppendAll(o);
    }
    return *this;
  }
  ~tolk_DQUEUE() {
    for (tolk_list_base_iter it = Q.First(); !it.End(); it.Next()) delete[] Q.Value(it);
    delete[] jumpcache;
  }

  void Addfront(const T& v) {
    if (Q.Empty() || frontindex < 0) {
      frontpos = Q.Insert(TakeBlock());
      frontindex = basesize - 1;
      if (Nelems == 0) endpos = frontpos;
    }
    Q.Value(frontpos)[frontindex--] = v;
    ++Nelems;
  }

  void Addend(const T& v) {
    if (Q.Empty() || endindex >= basesize) {
      endpos = Q.Append(TakeBlock());
      endindex = 0;
      if (Nelems == 0) frontpos = endpos;
    }
    Q.Value(endpos)[endindex++] = v;
    ++Nelems;
  }

  // Remove and return the first (last) element; the queue must not be empty.
  T Getfront() {
    TOLK_ASSERT(Nelems > 0, "Getfront on an empty queue");
    T v = std::move(Q.Value(frontpos)[++frontindex]);
    --Nelems;
    if (Nelems == 0) {
      DropAll();
    } else if (frontindex == basesize - 1) {
      tolk_list_base_iter emptied = frontpos;
      frontpos.Next();
      DropBlock(emptied);
      frontindex = -1;
    }
    return v;
  }

  T Getend() {
    TOLK_ASSERT(Nelems > 0, "Getend on an empty queue");
    T v = std::move(Q.Value(endpos)[--endindex]);
    --Nelems;
    if (Nelems == 0) {
      DropAll();
    } else if (endindex == 0) {
      tolk_list_base_iter emptied = endpos;
      endpos.Previous();
      DropBlock(emptied);
      endindex = basesize;
    }
    return v;
  }

  // The first (last) element, left in place; the queue must not be empty.
  T& Snoopfront() {
    TOLK_ASSERT(Nelems > 0, "Snoopfront on an empty queue");
    return Q.Value(frontpos)[frontindex + 1];
  }
  T& Snoopend() {
    TOLK_ASSERT(Nelems > 0, "Snoopend on an empty queue");
    return Q.Value(endpos)[endindex - 1];
  }

  tolk_signed Size() const { return Nelems; }
  bool Empty() const { return Nelems == 0; }

  void Clear() {
    while (!Q.Empty()) DropBlock(Q.First());
    Reset();
  }

 private:
  T* TakeBlock() {
    T* block = jumpcache ? jumpcache : new T[basesize];
    jumpcache = nullptr;
    return block;
  }

  // The first block dropped becomes the spare; with a spare at hand the block is freed.
  void DropBlock(tolk_list_base_iter at) {
    T* block = Q.Value(at);
    Q.Delete(at);
    if (jumpcache)
      delete[] block;
    else
      jumpcache = block;
  }

  void DropAll() {
    DropBlock(frontpos);
    Reset();
  }

  void Reset() {
    frontindex = -1;
    endindex = basesize;
    frontpos.MakeEnd();
    endpos.MakeEnd();
    Nelems = 0;
  }

  // Visits the elements front to back.
  template <class F>
  void ForEach(F visit) const {
    tolk_signed index = frontindex + 1;
    for (tolk_list_base_iter it = frontpos; !it.End(); it.Next(), index = 0) {
      tolk_signed stop = it == endpos ? endindex : basesize;
      for (; index < stop; ++index) visit(Q.Value(it)[index]);
    }
  }

  void AppendAll(const tolk_DQUEUE& o) {
    o.ForEach([this](const T& v) { Addend(v); });
  }

  tolk_LIST<T*> Q;                  // the blocks, front block first
  tolk_signed frontindex = -1;      // free slot before the first element, in the front block
  tolk_signed endindex;             // free slot after the last element, in the end block
  tolk_list_base_iter frontpos;     // the front block's position in Q
  tolk_list_base_iter endpos;       // the end block's position in Q
  long basesize;                    // slots per block
  tolk_signed Nelems = 0;
  T* jumpcache = nullptr;           // one spare block kept for reuse
};

// Last in, first out, in blocks of 8.
template <class T>
class tolk_STACK : private tolk_DQUEUE<T> {
 public:
  tolk_STACK() : tolk_DQUEUE<T>(8) {}
  void Push(const T& v) { this->Addfront(v); }
  T Pop() { return this->Getfront(); }
  T& Snoop() { return this->Snoopfront(); }
  using tolk_DQUEUE<T>::Size;
  using tolk_DQUEUE<T>::Empty;
  using tolk_DQUEUE<T>::Clear;
};

// First in, first out.
template <class T>
class tolk_QUEUE : private tolk_DQUEUE<T> {
 public:
  explicit tolk_QUEUE(long basesize = 8) : tolk_DQUEUE<T>(basesize) {}
  void Add(const T& v) { this->Addfront(v); }
  T Get() { return this->Getend(); }
  T& Snoop() { return this->Snoopend(); }
  using tolk_DQUEUE<T>::Size;
  using tolk_DQUEUE<T>::Empty;
  using tolk_DQUEUE<T>::Clear;
};

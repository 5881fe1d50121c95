// AllocBuffer<T>: a typed array from the module allocator, released on every exit path.
#pragma once

#include <Python.h>

#include <cstddef>

#include "module/allocator.h"

template <typename T>
class AllocBuffer {
 public:
  AllocBuffer() = default;
  AllocBuffer(const AllocBuffer &) = delete;
  AllocBuffer &operator=(const AllocBuffer &) = delete;
  ~AllocBuffer() { nvo_MemoryAllocator_Free_Untyped(nvo_MemoryAllocator_DefaultHeap, &data_); }

  // Room for n items, replacing any earlier array. At least one item is allocated so that
  // the pointer is never null: the library reads a null output array as "not wanted".
  // 0, or -1 with a MemoryError set.
  int allocate(size_t n) {
    nvo_MemoryAllocator_Free_Untyped(nvo_MemoryAllocator_DefaultHeap, &data_);
    const size_t bytes = (n > 0 ? n : 1) * sizeof(T);
    if (nvo_MemoryAllocator_Alloc_Untyped(nvo_MemoryAllocator_DefaultHeap, bytes, &data_) != 0) {
      PyErr_NoMemory();
      return -1;
    }
    return 0;
  }
  T *data() const { return data_; }
  T &operator[](size_t i) const { return data_[i]; }

 private:
  T *data_ = nullptr;
};

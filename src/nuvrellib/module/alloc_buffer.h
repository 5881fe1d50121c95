// AllocBuffer<T>: a typed array from the module allocator, released on every exit path.
//
// The rule: every array handed to the library or filled by it is an AllocBuffer, so that all
// such memory comes from the allocator users can replace, and running out of it is a
// MemoryError rather than a C++ exception escaping into the interpreter. std::vector and
// other standard containers stay for the module's own bookkeeping that the library never
// sees (index tuples, positions, lists of objects to fix up).
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
    size_ = capacity_ = 0;
    const size_t room = n > 0 ? n : 1;
    if (n > kMaxItems || nvo_MemoryAllocator_Alloc_Untyped(nvo_MemoryAllocator_DefaultHeap,
                                                           room * sizeof(T), &data_) != 0) {
      PyErr_NoMemory();
      return -1;
    }
    size_ = n;
    capacity_ = room;
    return 0;
  }
  // allocate(n) with every item set to value.
  int allocate(size_t n, const T &value) {
    if (allocate(n) != 0) return -1;
    for (size_t i = 0; i < n; ++i) data_[i] = value;
    return 0;
  }
  // Room for n items keeping the first min(n, size()) (a larger array may move). On failure
  // the array is unchanged and -1 is returned with a MemoryError set.
  int resize(size_t n) {
    if (n > capacity_ && grow_to(n) != 0) return -1;
    size_ = n;
    return 0;
  }
  // Appends count items, growing the array by doubling. 0, or -1 with a MemoryError set (the
  // items before stay).
  int append(const T *items, size_t count) {
    if (size_ + count > capacity_ && grow_to(grown(size_ + count)) != 0) return -1;
    for (size_t i = 0; i < count; ++i) data_[size_ + i] = items[i];
    size_ += count;
    return 0;
  }
  int push_back(const T &item) {
    if (size_ == capacity_) [[unlikely]] {
      if (grow_to(grown(size_ + 1)) != 0) return -1;
    }
    data_[size_++] = item;
    return 0;
  }

  // Room for at least n items in all, keeping the items, so that appending up to n items
  // allocates at most once. 0, or -1 with a MemoryError set (the array is unchanged).
  int reserve(size_t n) { return n <= capacity_ ? 0 : grow_to(n); }
  // Empties the array, keeping its room for the next items.
  void clear() { size_ = 0; }
  // Frees the array; the buffer is empty again.
  void reset() {
    nvo_MemoryAllocator_Free_Untyped(nvo_MemoryAllocator_DefaultHeap, &data_);
    size_ = capacity_ = 0;
  }

  T *data() const { return data_; }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T &operator[](size_t i) const { return data_[i]; }
  T *begin() const { return data_; }
  T *end() const { return data_ + size_; }

 private:
  // Beyond this the byte count would wrap around.
  static constexpr size_t kMaxItems = static_cast<size_t>(-1) / sizeof(T);

  static size_t grown(size_t needed) {
    size_t room = 16;
    while (room < needed) room *= 2;
    return room;
  }
  // Room for n items (n >= size()), keeping the items.
  int grow_to(size_t n) {
    if (n > kMaxItems || nvo_MemoryAllocator_Realloc_Untyped(nvo_MemoryAllocator_DefaultHeap,
                                                             &data_, n * sizeof(T)) != 0) {
      PyErr_NoMemory();
      return -1;
    }
    capacity_ = n;
    return 0;
  }

  T *data_ = nullptr;
  size_t size_ = 0, capacity_ = 0;
};

// The default heap behind the module allocator.
#include "module/allocator.h"

#include <cstdlib>

namespace {

int heap_alloc(nvo_MemoryAllocator *, size_t size, void **out) {
  void *p = std::malloc(size);
  *out = p;
  return (p == nullptr && size != 0) ? -1 : 0;
}

int heap_realloc(nvo_MemoryAllocator *, void **ptr, size_t size) {
  void *p = std::realloc(*ptr, size);
  // On failure realloc keeps the old block, and so do we.
  if (p == nullptr && size != 0) return -1;
  *ptr = p;
  return 0;
}

int heap_free(nvo_MemoryAllocator *, void **ptr) {
  if (*ptr == nullptr) return 0;
  std::free(*ptr);
  *ptr = nullptr;
  return 0;
}

const nvo_MemoryAllocatorOps heap_ops = {heap_alloc, heap_realloc, heap_free};
nvo_MemoryAllocator heap = {&heap_ops, nullptr};

}  // namespace

nvo_MemoryAllocator *const nvo_MemoryAllocator_DefaultHeap = &heap;

int nvo_MemoryAllocator_Alloc_Untyped(nvo_MemoryAllocator *a, size_t size, void *ptr_address) {
  return a->ops->alloc(a, size, static_cast<void **>(ptr_address));
}

int nvo_MemoryAllocator_Realloc_Untyped(nvo_MemoryAllocator *a, void *ptr_address,
                                        size_t size) {
  return a->ops->realloc(a, static_cast<void **>(ptr_address), size);
}

int nvo_MemoryAllocator_Free_Untyped(nvo_MemoryAllocator *a, void *ptr_address) {
  return a->ops->free(a, static_cast<void **>(ptr_address));
}

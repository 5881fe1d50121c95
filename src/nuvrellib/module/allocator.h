// The module allocator: every native buffer of the module (index and value arrays, name
// buffers) is obtained and released through it, so that the heap can be swapped in one place.
#pragma once

#include <cstddef>

struct nvo_MemoryAllocator;

struct nvo_MemoryAllocatorOps {
  int (*alloc)(nvo_MemoryAllocator *self, size_t size, void **out);
  int (*realloc)(nvo_MemoryAllocator *self, void **ptr, size_t size);
  int (*free)(nvo_MemoryAllocator *self, void **ptr);
};

struct nvo_MemoryAllocator {
  const nvo_MemoryAllocatorOps *ops;
  void *context;
};

// malloc/realloc/free.
extern nvo_MemoryAllocator *const nvo_MemoryAllocator_DefaultHeap;

// In all three, ptr_address is the address of the caller's pointer variable (T **).
// Stores malloc(size) into *ptr_address; -1 when that fails for a non-zero size, else 0.
int nvo_MemoryAllocator_Alloc_Untyped(nvo_MemoryAllocator *a, size_t size, void *ptr_address);
// Resizes *ptr_address; on failure (non-zero size) returns -1 and leaves the old block.
int nvo_MemoryAllocator_Realloc_Untyped(nvo_MemoryAllocator *a, void *ptr_address,
                                        size_t size);
// Frees *ptr_address (nothing when null) and sets it to null. Returns 0.
int nvo_MemoryAllocator_Free_Untyped(nvo_MemoryAllocator *a, void *ptr_address);

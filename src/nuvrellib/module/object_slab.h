// Storage for the small fixed-size objects that models make by the million (variables, linear
// terms, expressions and their term maps). Objects live in 2 MiB chunks aligned to their size:
// allocating is a free-list pop or a pointer bump and releasing finds the chunk from the
// address, without the general allocator's per-object work. Pages are left to be touched as
// objects fill them: a chunk asking for huge pages or prefaulted made the first build of a
// large array slower on average (the kernel zeroes the whole chunk ahead of the writes) and
// would make every small model hold megabytes per kind of object.
//
// A chunk whose last object goes joins a pool of empty chunks shared by all slabs, up to
// kPoolChunks (64 MiB); beyond that it is returned to the system. A model's temporaries free
// chunks of one kind while the next operation needs another kind: taking them from the pool
// spares the kernel's zeroing of fresh pages. Not thread-safe: every caller holds the
// interpreter lock.
#pragma once

#include <Python.h>

#include <cstddef>
#include <cstdint>

class object_slab {
 public:
  static constexpr size_t kChunkBytes = size_t(2) << 20;
  static constexpr size_t kPoolChunks = 32;

  explicit constexpr object_slab(size_t object_size)
      : size_(object_size < sizeof(void *) ? sizeof(void *) : (object_size + 7) & ~size_t(7)) {}
  object_slab(const object_slab &) = delete;
  object_slab &operator=(const object_slab &) = delete;

  // Uninitialised storage of the slab's object size; nullptr when no memory can be mapped (no
  // Python exception is set).
  void *allocate();
  // Gives back storage from allocate() of any slab.
  static void release(void *p);

 private:
  struct chunk;
  chunk *new_chunk();
  void open(chunk *c);
  void close(chunk *c);
  void retire(chunk *c);

  size_t size_;
  chunk *open_ = nullptr;  // chunks with room, most recently opened first
};

// Objects alive in all slabs: what sys.getallocatedblocks() counts for objects from the
// general allocator, so that leak counts can see these too. Allocations are also reported to
// tracemalloc, which then sees them as it sees the interpreter's own objects.
size_t object_slabs_live();

// While one lives, the slabs do not report to tracemalloc if it was off when the first began:
// a loop that makes or frees a million objects without running Python code in between spares
// a call per object and per release. Objects made meanwhile are not known to tracemalloc
// should Python code start it before they go, as for any object made before it started.
class slab_untraced_scope {
 public:
  slab_untraced_scope();
  ~slab_untraced_scope();
  slab_untraced_scope(const slab_untraced_scope &) = delete;
  slab_untraced_scope &operator=(const slab_untraced_scope &) = delete;

 private:
  bool outer_;
};

// A new reference to an object of exactly `type` (a static type) in storage from `slab`, the
// fields after the header uninitialised; NULL with a MemoryError set when no memory is left.
PyObject *slab_object_new(object_slab &slab, PyTypeObject *type);
// The tp_free slot of the types whose objects come from slab_object_new.
void slab_object_free(void *p);

#include "module/object_slab.h"

#include <sys/mman.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
// Released storage is poisoned, so that the address sanitizer reports a use after release as
// it would for the general allocator.
#define SLAB_POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define SLAB_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define SLAB_POISON(p, n) ((void)(p), (void)(n))
#define SLAB_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace {
size_t all_live = 0;
void *pool[object_slab::kPoolChunks];
size_t pooled = 0;
bool untraced = false;  // inside a slab_untraced_scope begun while tracemalloc was off
}

// The interpreter's header of these two lacks C linkage before 3.12, so a C++ caller would look
// for mangled names: they are declared again here under their exported names.
extern "C" int nvo_trace_track(unsigned int domain, uintptr_t ptr, size_t size) __asm__(
    "PyTraceMalloc_Track");
extern "C" int nvo_trace_untrack(unsigned int domain, uintptr_t ptr) __asm__(
    "PyTraceMalloc_Untrack");

struct object_slab::chunk {
  object_slab *owner;
  chunk *prev, *next;  // neighbours in the owner's open list
  char *bump;          // first slot never handed out
  char *end;           // no slot starts at or after end
  void *free_list;     // released slots, each holding the next
  uint32_t live;
  bool listed;         // in the owner's open list
};

namespace {

// The chunk's header, rounded up to a cache line; the slots follow it.
constexpr size_t kHeaderBytes = 64;

// A chunk-aligned mapping: twice the size is mapped and the misaligned ends given back.
void *map_chunk() {
  const size_t size = object_slab::kChunkBytes;
  void *raw = mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) return nullptr;
  const uintptr_t start = reinterpret_cast<uintptr_t>(raw);
  const uintptr_t aligned = (start + size - 1) & ~uintptr_t(size - 1);
  if (aligned > start) munmap(raw, aligned - start);
  if (aligned + size < start + 2 * size)
    munmap(reinterpret_cast<void *>(aligned + size), start + 2 * size - (aligned + size));
  return reinterpret_cast<void *>(aligned);
}

}  // namespace

object_slab::chunk *object_slab::new_chunk() {
  static_assert(sizeof(chunk) <= kHeaderBytes, "the chunk header fits before the first slot");
  void *mem = pooled > 0 ? pool[--pooled] : map_chunk();
  if (mem == nullptr) return nullptr;
  auto *c = static_cast<chunk *>(mem);
  c->owner = this;
  c->end = static_cast<char *>(mem) + kChunkBytes - size_ + 1;
  c->bump = reinterpret_cast<char *>(c) + kHeaderBytes;
  c->free_list = nullptr;
  c->live = 0;
  c->listed = false;
  SLAB_POISON(c->bump, kChunkBytes - kHeaderBytes);
  return c;
}

void object_slab::open(chunk *c) {
  c->prev = nullptr;
  c->next = open_;
  if (open_ != nullptr) open_->prev = c;
  open_ = c;
  c->listed = true;
}

void object_slab::close(chunk *c) {
  if (c->prev != nullptr) c->prev->next = c->next;
  else open_ = c->next;
  if (c->next != nullptr) c->next->prev = c->prev;
  c->listed = false;
}

void object_slab::retire(chunk *c) {
  close(c);
  if (pooled < kPoolChunks) {
    pool[pooled++] = c;
  } else {
    // The address sanitizer keeps poisoning across munmap: whatever is mapped here next (the
    // interpreter's own arenas) would be reported as a use of freed storage.
    SLAB_UNPOISON(c, kChunkBytes);
    munmap(c, kChunkBytes);
  }
}

void *object_slab::allocate() {
  chunk *c = open_;
  if (c == nullptr) {
    c = new_chunk();
    if (c == nullptr) return nullptr;
    open(c);
  }
  void *p;
  if (c->free_list != nullptr) {
    p = c->free_list;
    SLAB_UNPOISON(p, size_);
    c->free_list = *static_cast<void **>(p);
  } else {
    p = c->bump;
    SLAB_UNPOISON(p, size_);
    c->bump += size_;
  }
  ++c->live;
  ++all_live;
  if (c->free_list == nullptr && c->bump >= c->end) close(c);
  // Shown to tracemalloc as the interpreter's own objects are (nothing when it is off).
  if (!untraced) nvo_trace_track(0, reinterpret_cast<uintptr_t>(p), size_);
  return p;
}

void object_slab::release(void *p) {
  chunk *c = reinterpret_cast<chunk *>(reinterpret_cast<uintptr_t>(p) & ~uintptr_t(kChunkBytes - 1));
  object_slab *s = c->owner;
  if (!untraced) nvo_trace_untrack(0, reinterpret_cast<uintptr_t>(p));
  *static_cast<void **>(p) = c->free_list;
  c->free_list = p;
  SLAB_POISON(p, s->size_);
  --c->live;
  --all_live;
  if (!c->listed) s->open(c);
  if (c->live == 0) s->retire(c);
}

size_t object_slabs_live() { return all_live; }

slab_untraced_scope::slab_untraced_scope() : outer_(untraced) {
  // Forgetting address 0 changes nothing and tells whether tracemalloc is on.
  if (!untraced) untraced = nvo_trace_untrack(0, 0) == -2;
}

slab_untraced_scope::~slab_untraced_scope() { untraced = outer_; }

PyObject *slab_object_new(object_slab &slab, PyTypeObject *type) {
  void *mem = slab.allocate();
  if (mem == nullptr) return PyErr_NoMemory();
  auto *op = static_cast<PyObject *>(mem);
#if PY_VERSION_HEX < 0x030D0000 && !defined(Py_REF_DEBUG) && !defined(Py_TRACE_REFS)
  // With tracemalloc off, a static type's object needs no more than its type and count
  // (reference tracers, which PyObject_Init also informs, came with 3.13; debug builds count
  // every new reference).
  if (untraced && !(type->tp_flags & Py_TPFLAGS_HEAPTYPE)) {
    // Written directly: from 3.12 Py_SET_REFCNT leaves a count that reads as immortal, which
    // the storage's previous contents may.
    op->ob_refcnt = 1;
    Py_SET_TYPE(op, type);
    return op;
  }
#endif
  return PyObject_Init(op, type);
}

void slab_object_free(void *p) { object_slab::release(p); }

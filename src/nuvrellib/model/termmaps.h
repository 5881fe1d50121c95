// The six ordered containers of the modelling layer, behind plain functions over raw handles.
//
//   linmap    variable -> coefficient (strong reference to each key variable)
//   quadmap   first variable -> linmap of second variable -> coefficient (pairs are stored
//             smaller identifier first; callers order the pair before calling)
//   indexset  set of signed 64-bit integers
//   rowcolmap identifier -> row or column index
//   boundmap  identifier -> double (side tables of unusual bounds and thresholds)
//   namemap   identifier -> Python name object (one strong reference per entry)
//
// Zero coefficients are never stored in a linmap or quadmap (NaN counts as non-zero), and a
// quadmap never holds an empty inner linmap. Entries come in the order of the variables'
// identifiers.
//
// Results: 0 for success unless stated otherwise; -1 with a MemoryError set if a container
// cannot allocate. Callers iterate over the containers directly (a linmap as an array of
// {var, coef} entries, the others as standard maps and sets and the hash table of
// model/rowcolmap.h). All containers rely on the interpreter lock; none is locked.
#pragma once

#include <Python.h>

#include <cstdint>
#include <map>
#include <new>
#include <set>

#include "model/rowcolmap.h"
#include "model/var.h"
#include "module/env.h"

// The quadmap's tree nodes come from the interpreter's small-object allocator, which is faster
// than the general heap for blocks of this size and packs them without per-block headers. It
// needs the interpreter lock, which every user of these maps holds anyway.
template <class T>
struct py_node_allocator {
  using value_type = T;
  py_node_allocator() = default;
  template <class U>
  py_node_allocator(const py_node_allocator<U> &) {}
  T *allocate(std::size_t n) {
    void *p = PyObject_Malloc(n * sizeof(T));
    if (p == nullptr) throw std::bad_alloc();
    return static_cast<T *>(p);
  }
  void deallocate(T *p, std::size_t) { PyObject_Free(p); }
  template <class U>
  bool operator==(const py_node_allocator<U> &) const { return true; }
};

struct linmap_entry {
  const var_s *var;
  double coef;
};

// A linmap is one contiguous array of entries (from PyMem_Malloc): array models build and drop
// maps by the million, and a flat array costs one block per map (none beyond the map itself
// for up to two terms) where a tree costs one per term.
//
// The array is a sorted prefix, then a tail. Terms arriving in increasing order of identifier
// (the common case: variables are created in order) are appended to the prefix. While there is
// no tail, a term for a key already in the prefix is accumulated there (a sum of exactly 0
// leaves a zero "hole" unless it is near the end, where it is removed at once), and a new key
// is moved into place when few entries move, else it starts the tail. Once there is a tail
// every term joins it in arrival order; it is stable-sorted and merged into the prefix,
// combining each key's prefix value and tail terms in arrival order, when it outgrows half the
// prefix or when the map is read. So out-of-order building stays O(n log n), and every
// coefficient is the same sequential sum as if each term had been added on its own. Until the
// merge a tail entry holds its own reference to its variable.
//
// Every read (begin, end, size, empty) first brings the map to that normalised form, so no
// reader sees holes or a tail; the work is done once and a normalised map reads for free. Such
// a read may release variables whose terms cancelled.
//
// A linear part copied from one expression to another (a comparison's body, x + 0) is shared
// until either of them amends it (copy on write): `sharers` counts the owners beyond the first.
// Normalising a shared map is no amendment: every owner sees the same terms before and after.
class linmap {
 public:
  linmap() = default;
  linmap(const linmap &) = delete;
  linmap &operator=(const linmap &) = delete;
  ~linmap();

  const linmap_entry *begin() const {
    normalise();
    return data_;
  }
  const linmap_entry *end() const {
    normalise();
    return data_ + size_;
  }
  Py_ssize_t size() const {
    normalise();
    return size_;
  }
  bool empty() const {
    if (size_ == 0) return true;
    normalise();
    return size_ == 0;
  }

  mutable Py_ssize_t sharers = 0;

 private:
  friend struct linmap_ops;
  static constexpr uint32_t kInline = 2;

  bool pending() const { return sorted_ != size_ || holes_ != 0; }
  void normalise() const {
    if (pending()) const_cast<linmap *>(this)->merge();
  }
  void merge();  // never fails: the sort and merge fall back to slower in-place forms

  linmap_entry *data_ = inline_;
  uint32_t size_ = 0;      // entries in use, prefix and tail
  uint32_t sorted_ = 0;    // length of the sorted prefix
  uint32_t capacity_ = kInline;
  uint32_t holes_ = 0;     // zero entries left in the prefix
  linmap_entry inline_[kInline];
};

using quadmap = std::map<const var_s *, linmap *, less_variable_t,
                         py_node_allocator<std::pair<const var_s *const, linmap *>>>;
using indexset = std::set<int64_t>;

// --- linmap (keys are var objects, passed as PyObject*) -----------------------------------

linmap *linmap_new();
// *dst becomes a new map with src's entries (NULL when src is NULL); each key gets a reference.
int linmap_copy(linmap **dst, const linmap *src);
// Releases every key, frees the map and sets *map to NULL; a NULL map is allowed. A shared map
// loses one owner instead.
void linmap_free(linmap **map);
// One more owner of src (NULL for NULL), without copying: the owners must call linmap_own before
// amending it. Only expressions share their linear parts.
linmap *linmap_share(const linmap *src);
// Makes *map (possibly NULL) its caller's own before an amendment: a shared map is copied.
int linmap_own(linmap **map);
Py_ssize_t linmap_size(const linmap *map);
// Overwrites; a zero coef erases the entry (releasing the variable) or does nothing if absent.
int linmap_set(linmap *map, PyObject *var, double coef);
// Accumulates; a zero coef does nothing, and a sum of exactly 0 erases the entry.
int linmap_add(linmap *map, PyObject *var, double coef);
int linmap_del(linmap *map, PyObject *var);
// linmap_add for each of the n terms in order (their variables borrowed; the map takes its own
// references), with room made for all of them at once.
int linmap_add_terms(linmap *map, const linmap_entry *terms, Py_ssize_t n);
// Multiplies every coefficient by c; products that underflow to zero are erased.
void linmap_scale(linmap *map, double c);

// --- quadmap --------------------------------------------------------------------------------

quadmap *quadmap_new();
// Deep copy: new inner maps and new references to every variable.
int quadmap_copy(quadmap **dst, const quadmap *src);
void quadmap_free(quadmap **map);
// Number of stored pairs (sum of the inner sizes).
Py_ssize_t quadmap_size(const quadmap *map);
int quadmap_add(quadmap *map, PyObject *var1, PyObject *var2, double coef);
int quadmap_del(quadmap *map, PyObject *var1, PyObject *var2);
// Multiplies every coefficient by c; products that underflow to zero are erased.
void quadmap_scale(quadmap *map, double c);

// --- indexset -------------------------------------------------------------------------------

indexset *indexset_new();
int indexset_copy(indexset **dst, const indexset *src);
void indexset_free(indexset **set);
int indexset_add(indexset *set, int64_t n);

// --- rowcolmap ------------------------------------------------------------------------------

rowcolmap *rowcolmap_new();
int rowcolmap_copy(rowcolmap **dst, const rowcolmap *src);
void rowcolmap_free(rowcolmap **map);
void rowcolmap_clear(rowcolmap *map);
// 0 and *index if present, -1 if absent.
int rowcolmap_get(const rowcolmap *map, uint64_t id, int64_t *index);
int rowcolmap_has(const rowcolmap *map, uint64_t id);
int rowcolmap_set(rowcolmap *map, uint64_t id, int64_t index);
// Enters identifiers id0 .. id0+n-1 (none present yet) at indices index0 .. index0+n-1.
int rowcolmap_enter_consecutive(rowcolmap *map, uint64_t id0, int64_t index0, int64_t n);
// Readies the map for iteration (see rowcolmap.h). 0, or -1 with a MemoryError.
int rowcolmap_spill(rowcolmap *map);
// Removes id if present: 0, or -1 with a MemoryError (only for an identifier in the middle
// of a batch entered by rowcolmap_enter_consecutive).
int rowcolmap_del(rowcolmap *map, uint64_t id);

// --- boundmap -------------------------------------------------------------------------------

Py_ssize_t boundmap_size(const boundmap *map);
// The key must be present (callers check the record's entry flag); an absent key gives 0.0.
double boundmap_get(const boundmap *map, uint64_t id);
int boundmap_set(boundmap *map, uint64_t id, double value);
int boundmap_del(boundmap *map, uint64_t id);

// --- namemap --------------------------------------------------------------------------------

Py_ssize_t namemap_size(const namemap *map);
// The stored object, borrowed; NULL if absent.
PyObject *namemap_get(const namemap *map, uint64_t id);
// Takes over the caller's reference; the caller releases any previous name first.
int namemap_set(namemap *map, uint64_t id, PyObject *obj);
// Erases the entry and releases its object.
int namemap_del(namemap *map, uint64_t id);

// The ordered containers of the modelling layer: linmap on its own flat array, the others on
// std::map / std::set. Every operation that allocates is wrapped so that an allocation failure
// becomes -1 with a MemoryError instead of a C++ exception crossing the interpreter.
#include "model/termmaps.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "module/object_slab.h"

namespace {

inline const var_s *as_var(PyObject *obj) { return reinterpret_cast<const var_s *>(obj); }
inline PyObject *as_obj(const var_s *v) {
  return reinterpret_cast<PyObject *>(const_cast<var_s *>(v));
}

// The maps own one reference per key through a plain pointer (the key must stay a pointer for
// the ordering), so they count by hand: an INCREF once a key is in, this release once it is
// out. Releases a variable reference that a map held; done after the map is consistent again
// because the release may run the variable's deallocation.
inline void release_var(const var_s *v) { Py_DECREF(as_obj(v)); }

int no_memory() {
  PyErr_NoMemory();
  return -1;
}

// The operations that are the same for every container.
template <class Container>
Container *new_container() {
  auto *c = new (std::nothrow) Container();
  if (c == nullptr) PyErr_NoMemory();
  return c;
}

// Term maps are made with their expressions, a million at a time, so they share their storage
// scheme. NULL with a MemoryError set on failure.
template <class Map, class... Args>
Map *new_term_map(Args &&...args) {
  static object_slab slab(sizeof(Map));
  void *p = slab.allocate();
  if (p == nullptr) {
    PyErr_NoMemory();
    return nullptr;
  }
  try {
    return new (p) Map(std::forward<Args>(args)...);
  } catch (const std::bad_alloc &) {
    object_slab::release(p);
    PyErr_NoMemory();
    return nullptr;
  }
}

template <class Map>
void delete_term_map(Map *m) {
  m->~Map();
  object_slab::release(m);
}

// For containers that hold no references: a plain copy (NULL for NULL) and a plain delete.
template <class Container>
int copy_plain(Container **dst, const Container *src) {
  if (src == nullptr) {
    *dst = nullptr;
    return 0;
  }
  try {
    *dst = new Container(*src);
    return 0;
  } catch (const std::bad_alloc &) {
    return no_memory();
  }
}

template <class Container>
void free_plain(Container **c) {
  if (c == nullptr) return;
  delete *c;
  *c = nullptr;
}

// Runs a step that may grow a container: 0, or -1 with a MemoryError when memory runs out.
template <class Step>
int growing(Step step) {
  try {
    step();
    return 0;
  } catch (const std::bad_alloc &) {
    return no_memory();
  }
}

template <class Container>
Py_ssize_t size_of(const Container *c) {
  return c ? static_cast<Py_ssize_t>(c->size()) : 0;
}

template <class Container, class Key>
int has_key(const Container *c, const Key &key) {
  return c != nullptr && c->count(key) ? 1 : 0;
}

}  // namespace

// ===== linmap =============================================================================

namespace {

// Owners of maps under construction, so that every early exit frees them with what they hold.
struct linmap_deleter {
  void operator()(linmap *m) const { linmap_free(&m); }
};
struct quadmap_deleter {
  void operator()(quadmap *m) const { quadmap_free(&m); }
};
using owned_linmap = std::unique_ptr<linmap, linmap_deleter>;
using owned_quadmap = std::unique_ptr<quadmap, quadmap_deleter>;

// Moves of up to this many entries are cheap enough to keep an inserted or erased key in place
// in the prefix; beyond it a new key goes to the tail and an erased one leaves a hole.
constexpr uint32_t kShortMove = 64;
// Beyond this many terms at once, an empty map takes them unsorted (linmap_ops::fill).
constexpr Py_ssize_t kBulkFill = 16;

inline uint64_t key_of(const linmap_entry &e) { return e.var->rec & VAR_ID_MASK; }
inline uint64_t key_of(PyObject *var) { return var_id(var); }

struct less_key {
  bool operator()(const linmap_entry &a, const linmap_entry &b) const {
    return key_of(a) < key_of(b);
  }
};

// Stable sort by key. Each key is read once, into (key, position) pairs sorted together,
// rather than from its variable at every comparison, a load from another object each time.
// Without memory for the pairs, the standard stable sort.
void sort_by_key(linmap_entry *first, linmap_entry *last) {
  struct keyed {
    uint64_t key;
    size_t pos;
  };
  const size_t n = static_cast<size_t>(last - first);
  constexpr size_t kOnStack = 128;
  keyed stack_keys[kOnStack];
  linmap_entry stack_copy[kOnStack];
  std::unique_ptr<keyed[]> heap_keys;
  std::unique_ptr<linmap_entry[]> heap_copy;
  keyed *keys = stack_keys;
  linmap_entry *copy = stack_copy;
  if (n > kOnStack) {
    heap_keys.reset(new (std::nothrow) keyed[n]);
    heap_copy.reset(new (std::nothrow) linmap_entry[n]);
    if (!heap_keys || !heap_copy) {
      std::stable_sort(first, last, less_key());
      return;
    }
    keys = heap_keys.get();
    copy = heap_copy.get();
  }
  for (size_t i = 0; i < n; ++i) keys[i] = {key_of(first[i]), i};
  std::sort(keys, keys + n, [](const keyed &a, const keyed &b) {
    return a.key < b.key || (a.key == b.key && a.pos < b.pos);
  });
  for (size_t i = 0; i < n; ++i) copy[i] = first[keys[i].pos];
  std::memcpy(first, copy, n * sizeof(linmap_entry));
}

}  // namespace

// The operations on a linmap's storage (the class keeps its fields private to these).
struct linmap_ops {
  static int grow(linmap *m, uint64_t need) {
    if (need <= m->capacity_) return 0;
    uint64_t cap = std::max<uint64_t>(need, 2 * static_cast<uint64_t>(m->capacity_));
    if (cap > UINT32_MAX) return no_memory();
    void *p;
    if (m->data_ == m->inline_) {
      p = PyMem_Malloc(cap * sizeof(linmap_entry));
      if (p != nullptr) std::memcpy(p, m->data_, m->size_ * sizeof(linmap_entry));
    } else {
      p = PyMem_Realloc(m->data_, cap * sizeof(linmap_entry));
    }
    if (p == nullptr) return no_memory();
    m->data_ = static_cast<linmap_entry *>(p);
    m->capacity_ = static_cast<uint32_t>(cap);
    return 0;
  }

  // Position of key in the prefix, or of the first greater key.
  static uint32_t lower_bound(const linmap *m, uint64_t key) {
    uint32_t lo = 0, hi = m->sorted_;
    while (lo < hi) {
      uint32_t mid = lo + (hi - lo) / 2;
      if (key_of(m->data_[mid]) < key) lo = mid + 1;
      else hi = mid;
    }
    return lo;
  }

  // Appends to the prefix (the key is greater than every key) or to the tail; the variable
  // gets the entry's reference.
  static int append(linmap *m, PyObject *var, double coef) {
    if (m->size_ == m->capacity_ && grow(m, uint64_t(m->size_) + 1) < 0) return -1;
    const bool to_prefix = m->sorted_ == m->size_;
    m->data_[m->size_++] = {as_var(var), coef};
    if (to_prefix) ++m->sorted_;
    Py_INCREF(var);
    if (!to_prefix) {
      const uint32_t tail = m->size_ - m->sorted_;
      if (tail > kShortMove && tail > m->sorted_ / 2) m->merge();
    }
    return 0;
  }

  // A new key at position pos of a prefix without a tail: moved into place while few entries
  // move, else queued in the tail.
  static int insert(linmap *m, uint32_t pos, PyObject *var, double coef) {
    if (m->size_ - pos > kShortMove) return append_to_tail(m, var, coef);
    if (m->size_ == m->capacity_ && grow(m, uint64_t(m->size_) + 1) < 0) return -1;
    std::memmove(m->data_ + pos + 1, m->data_ + pos, (m->size_ - pos) * sizeof(linmap_entry));
    m->data_[pos] = {as_var(var), coef};
    ++m->size_;
    ++m->sorted_;
    Py_INCREF(var);
    return 0;
  }

  static int append_to_tail(linmap *m, PyObject *var, double coef) {
    // append() fills the prefix while there is no tail: make the tail start here.
    if (m->size_ == m->capacity_ && grow(m, uint64_t(m->size_) + 1) < 0) return -1;
    m->data_[m->size_++] = {as_var(var), coef};
    Py_INCREF(var);
    return 0;
  }

  // The prefix entry at pos (no tail) has become zero: removed, or left as a hole when that
  // would move many entries. The last entry is never a hole, so a prefix of holes only is
  // empty: trailing holes go with it.
  static void erase(linmap *m, uint32_t pos) {
    if (pos + 1 < m->size_ && m->size_ - pos - 1 > kShortMove) {
      m->data_[pos].coef = 0.0;
      ++m->holes_;
      return;
    }
    const var_s *v = m->data_[pos].var;
    std::memmove(m->data_ + pos, m->data_ + pos + 1, (m->size_ - pos - 1) * sizeof(linmap_entry));
    --m->size_;
    --m->sorted_;
    // Holes before it that are now last are dropped too; their releases wait until the map is
    // consistent.
    uint32_t first_dropped = m->size_;
    while (first_dropped > 0 && m->holes_ > 0 && m->data_[first_dropped - 1].coef == 0.0) {
      --first_dropped;
      --m->holes_;
    }
    const uint32_t end = m->size_;
    m->size_ = m->sorted_ = first_dropped;
    release_var(v);
    for (uint32_t i = first_dropped; i < end; ++i) release_var(m->data_[i].var);
  }

  static int add(linmap *m, PyObject *var, double coef) {
    const uint64_t key = key_of(var);
    if (m->sorted_ != m->size_) return append(m, var, coef);  // a tail keeps arrival order
    if (m->size_ == 0 || key_of(m->data_[m->size_ - 1]) < key) return append(m, var, coef);
    uint32_t pos = key_of(m->data_[m->size_ - 1]) == key ? m->size_ - 1 : lower_bound(m, key);
    if (pos < m->size_ && key_of(m->data_[pos]) == key) {
      double &c = m->data_[pos].coef;
      if (c == 0.0) --m->holes_;  // a hole takes the term as a new entry would
      c += coef;
      if (c == 0.0) erase(m, pos);
      return 0;
    }
    return insert(m, pos, var, coef);
  }

  static int set(linmap *m, PyObject *var, double coef) {
    m->normalise();
    const uint64_t key = key_of(var);
    uint32_t pos = lower_bound(m, key);
    if (pos < m->size_ && key_of(m->data_[pos]) == key) {
      if (coef != 0.0) m->data_[pos].coef = coef;
      else erase(m, pos);
      return 0;
    }
    if (coef == 0.0) return 0;
    return pos == m->size_ ? append(m, var, coef) : insert(m, pos, var, coef);
  }

  static void del(linmap *m, PyObject *var) {
    m->normalise();
    const uint64_t key = key_of(var);
    uint32_t pos = lower_bound(m, key);
    if (pos < m->size_ && key_of(m->data_[pos]) == key) erase(m, pos);
  }

  static int add_terms(linmap *m, const linmap_entry *terms, Py_ssize_t n) {
    if (n <= 0) return 0;
    if (grow(m, uint64_t(m->size_) + static_cast<uint64_t>(n)) < 0) return -1;
    if (m->size_ == 0 && n > kBulkFill) return fill(m, terms, n);
    for (Py_ssize_t i = 0; i < n; ++i) {
      const linmap_entry &t = terms[i];
      if (t.coef == 0.0) continue;
      // The common run: keys in increasing order, appended without further checks.
      if (m->sorted_ == m->size_ && (m->size_ == 0 || key_of(m->data_[m->size_ - 1]) < key_of(t))) {
        m->data_[m->size_++] = t;
        ++m->sorted_;
        Py_INCREF(as_obj(t.var));
      } else if (add(m, as_obj(t.var), t.coef) < 0) {
        return -1;
      }
    }
    return 0;
  }

  // The terms into the empty map m as they come: the prefix when their keys increase, else
  // all of them as the tail, sorted and summed once on the next read. Moving each out-of-order
  // term into place would cost a quarter of n squared moves (a row of a sparse product whose
  // columns come in no order).
  static int fill(linmap *m, const linmap_entry *terms, Py_ssize_t n) {
    uint32_t k = 0;
    bool increasing = true;
    for (Py_ssize_t i = 0; i < n; ++i) {
      const linmap_entry &t = terms[i];
      if (t.coef == 0.0) continue;
      if (k > 0 && key_of(m->data_[k - 1]) >= key_of(t)) increasing = false;
      m->data_[k++] = t;
      Py_INCREF(as_obj(t.var));
    }
    m->size_ = k;
    m->sorted_ = increasing ? k : 0;
    return 0;
  }

  // src's normalised entries into the empty map m, with a reference each.
  static int copy(linmap *m, const linmap *src) {
    src->normalise();
    if (grow(m, src->size_) < 0) return -1;
    std::memcpy(m->data_, src->data_, src->size_ * sizeof(linmap_entry));
    m->size_ = m->sorted_ = src->size_;
    for (uint32_t i = 0; i < m->size_; ++i) Py_INCREF(as_obj(m->data_[i].var));
    return 0;
  }

  // Raw storage, tail and holes included: each entry holds one reference.
  static void release_all(linmap *m) {
    for (uint32_t i = 0; i < m->size_; ++i) release_var(m->data_[i].var);
  }

  // Underflows to zero become holes, or drop off the end, as erased entries do.
  static void scale(linmap *m, double c) {
    m->normalise();
    for (uint32_t i = 0; i < m->size_; ++i)
      if ((m->data_[i].coef *= c) == 0.0) ++m->holes_;
    if (m->holes_ != 0) m->merge();
  }

  // The map has no tail, or its tail is at least as long as the live part of its prefix: only
  // then can its terms all cancel (each tail entry cancels at most one prefix key).
  static bool may_be_empty(const linmap *m) {
    return m->size_ - m->sorted_ >= m->sorted_ - m->holes_;
  }
};

// Stable sort of the tail and merge into the prefix (prefix entries first among equal keys),
// then one pass that sums each key's run in order into its first entry and marks the other
// entries of the run as dropped (zero), then a compaction that keeps the non-zero entries in
// order and moves the dropped ones behind them, so that their references are released once the
// map is consistent. The standard sort and merge fall back to in-place forms without memory.
void linmap::merge() {
  linmap_entry *b = data_, *e = data_ + size_;
  if (sorted_ != size_) {
    sort_by_key(b + sorted_, e);
    std::inplace_merge(b, b + sorted_, e, less_key());
    for (linmap_entry *run = b; run != e;) {
      linmap_entry *next = run + 1;
      const uint64_t key = key_of(*run);
      for (; next != e && key_of(*next) == key; ++next) {
        run->coef += next->coef;
        next->coef = 0.0;
      }
      run = next;
    }
  }
  uint32_t kept = 0;
  for (uint32_t i = 0; i < size_; ++i)
    if (data_[i].coef != 0.0) std::swap(data_[kept++], data_[i]);
  const uint32_t end = size_;
  size_ = sorted_ = kept;
  holes_ = 0;
  for (uint32_t i = kept; i < end; ++i) release_var(data_[i].var);
}

linmap::~linmap() {
  if (data_ != inline_) PyMem_Free(data_);
}

linmap *linmap_new() { return new_term_map<linmap>(); }

int linmap_copy(linmap **dst, const linmap *src) {
  if (src == nullptr) {
    *dst = nullptr;
    return 0;
  }
  owned_linmap m(linmap_new());
  if (!m || linmap_ops::copy(m.get(), src) < 0) return -1;
  *dst = m.release();
  return 0;
}

void linmap_free(linmap **map) {
  if (map == nullptr || *map == nullptr) return;
  linmap *m = *map;
  *map = nullptr;
  if (m->sharers > 0) {
    --m->sharers;
    return;
  }
  linmap_ops::release_all(m);
  delete_term_map(m);
}

linmap *linmap_share(const linmap *src) {
  if (src == nullptr) return nullptr;
  ++src->sharers;
  return const_cast<linmap *>(src);
}

int linmap_own(linmap **map) {
  linmap *m = *map;
  if (m == nullptr || m->sharers == 0) return 0;
  linmap *copy = nullptr;
  if (linmap_copy(&copy, m) < 0) return -1;
  --m->sharers;
  *map = copy;
  return 0;
}

Py_ssize_t linmap_size(const linmap *map) { return size_of(map); }

int linmap_set(linmap *map, PyObject *var, double coef) {
  return linmap_ops::set(map, var, coef);
}

int linmap_add(linmap *map, PyObject *var, double coef) {
  if (coef == 0.0) return 0;
  return linmap_ops::add(map, var, coef);
}

int linmap_del(linmap *map, PyObject *var) {
  linmap_ops::del(map, var);
  return 0;
}

void linmap_scale(linmap *map, double c) { linmap_ops::scale(map, c); }

int linmap_add_terms(linmap *map, const linmap_entry *terms, Py_ssize_t n) {
  return linmap_ops::add_terms(map, terms, n);
}
// ===== quadmap ============================================================================

quadmap *quadmap_new() { return new_term_map<quadmap>(); }

void quadmap_free(quadmap **map) {
  if (map == nullptr || *map == nullptr) return;
  quadmap *m = *map;
  *map = nullptr;
  for (auto &[v, inner] : *m) {
    linmap_free(&inner);
    release_var(v);
  }
  delete_term_map(m);
}

int quadmap_copy(quadmap **dst, const quadmap *src) {
  if (src == nullptr) {
    *dst = nullptr;
    return 0;
  }
  owned_quadmap m(quadmap_new());
  if (!m) return -1;
  for (const auto &[v, inner] : *src) {
    linmap *raw = nullptr;
    if (linmap_copy(&raw, inner) < 0) return -1;
    owned_linmap copy(raw);
    try {
      m->emplace_hint(m->end(), v, copy.get());
    } catch (const std::bad_alloc &) {
      return no_memory();
    }
    copy.release();  // the map's now
    Py_INCREF(as_obj(v));
  }
  *dst = m.release();
  return 0;
}

Py_ssize_t quadmap_size(const quadmap *map) {
  if (map == nullptr) return 0;
  Py_ssize_t n = 0;
  for (const auto &[v, inner] : *map) n += linmap_size(inner);
  return n;
}

int quadmap_add(quadmap *map, PyObject *var1, PyObject *var2, double coef) {
  if (coef == 0.0) return 0;
  auto it = map->lower_bound(as_var(var1));
  if (it != map->end() && it->first == as_var(var1)) {
    linmap *inner = it->second;
    if (linmap_add(inner, var2, coef) < 0) return -1;
    // Reading emptiness merges a tail: only asked when the terms may all have cancelled.
    if (linmap_ops::may_be_empty(inner) && inner->empty()) {
      const var_s *v = it->first;
      map->erase(it);
      linmap_free(&inner);
      release_var(v);
    }
    return 0;
  }
  owned_linmap inner(linmap_new());
  if (!inner || linmap_add(inner.get(), var2, coef) < 0) return -1;
  try {
    map->emplace_hint(it, as_var(var1), inner.get());
  } catch (const std::bad_alloc &) {
    return no_memory();
  }
  inner.release();  // the map's now
  Py_INCREF(var1);
  return 0;
}

int quadmap_del(quadmap *map, PyObject *var1, PyObject *var2) {
  auto it = map->find(as_var(var1));
  if (it == map->end()) return 0;
  linmap *inner = it->second;
  linmap_del(inner, var2);
  if (inner->empty()) {
    const var_s *v = it->first;
    map->erase(it);
    linmap_free(&inner);
    release_var(v);
  }
  return 0;
}

void quadmap_scale(quadmap *map, double c) {
  for (auto it = map->begin(); it != map->end();) {
    linmap *inner = it->second;
    linmap_scale(inner, c);
    if (!inner->empty()) {
      ++it;
      continue;
    }
    const var_s *v = it->first;
    it = map->erase(it);
    linmap_free(&inner);
    release_var(v);
  }
}

// ===== indexset ===========================================================================

indexset *indexset_new() { return new_container<indexset>(); }

int indexset_copy(indexset **dst, const indexset *src) { return copy_plain(dst, src); }

void indexset_free(indexset **set) { free_plain(set); }

int indexset_add(indexset *set, int64_t n) {
  try {
    set->insert(n);
    return 0;
  } catch (const std::bad_alloc &) {
    return no_memory();
  }
}

// ===== rowcolmap ==========================================================================

rowcolmap *rowcolmap_new() { return new_container<rowcolmap>(); }

int rowcolmap_copy(rowcolmap **dst, const rowcolmap *src) { return copy_plain(dst, src); }

void rowcolmap_free(rowcolmap **map) { free_plain(map); }

void rowcolmap_clear(rowcolmap *map) { map->clear(); }

int rowcolmap_get(const rowcolmap *map, uint64_t id, int64_t *index) {
  return map != nullptr && map->get(id, index) ? 0 : -1;
}

int rowcolmap_has(const rowcolmap *map, uint64_t id) { return has_key(map, id); }

int rowcolmap_set(rowcolmap *map, uint64_t id, int64_t index) {
  return growing([&] { map->set(id, index); });
}

int rowcolmap_enter_consecutive(rowcolmap *map, uint64_t id0, int64_t index0, int64_t n) {
  return growing([&] { map->enter_consecutive(id0, index0, static_cast<size_t>(n)); });
}

int rowcolmap_spill(rowcolmap *map) {
  return growing([&] { map->spill(); });
}

int rowcolmap_del(rowcolmap *map, uint64_t id) {
  return growing([&] { map->erase(id); });  // an absent key is not an error
}

// ===== boundmap ===========================================================================

Py_ssize_t boundmap_size(const boundmap *map) { return size_of(map); }

double boundmap_get(const boundmap *map, uint64_t id) {
  const double *value = map->find(id);
  return value == nullptr ? 0.0 : *value;
}

int boundmap_set(boundmap *map, uint64_t id, double value) {
  return growing([&] { map->set(id, value); });
}

int boundmap_del(boundmap *map, uint64_t id) {
  map->erase(id);  // an absent key is not an error
  return 0;
}

// ===== namemap ============================================================================

Py_ssize_t namemap_size(const namemap *map) { return size_of(map); }

PyObject *namemap_get(const namemap *map, uint64_t id) {
  PyObject *const *name = map->find(id);
  return name == nullptr ? nullptr : *name;
}

int namemap_set(namemap *map, uint64_t id, PyObject *obj) {
  return growing([&] { map->set(id, obj); });
}

int namemap_del(namemap *map, uint64_t id) {
  PyObject *obj = nullptr;
  if (map->erase(id, &obj)) Py_XDECREF(obj);  // released once the map is consistent
  return 0;
}

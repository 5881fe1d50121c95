// The ordered containers of the modelling layer on std::map / std::set.
// Every tree operation that allocates is wrapped so that an allocation failure becomes -1 with
// a MemoryError instead of a C++ exception crossing the interpreter.
#include "model/termmaps.h"

#include <memory>
#include <iterator>
#include <new>
#include <utility>

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

// Term maps themselves come from the same allocator as their nodes (see py_node_allocator).
// NULL with a MemoryError set on failure.
template <class Map, class... Args>
Map *new_term_map(Args &&...args) {
  void *p = PyObject_Malloc(sizeof(Map));
  if (p == nullptr) {
    PyErr_NoMemory();
    return nullptr;
  }
  try {
    return new (p) Map(std::forward<Args>(args)...);
  } catch (const std::bad_alloc &) {
    PyObject_Free(p);
    PyErr_NoMemory();
    return nullptr;
  }
}

template <class Map>
void delete_term_map(Map *m) {
  m->~Map();
  PyObject_Free(m);
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

template <class Container>
Py_ssize_t size_of(const Container *c) {
  return c ? static_cast<Py_ssize_t>(c->size()) : 0;
}

template <class Container, class Key>
int has_key(const Container *c, const Key &key) {
  return c != nullptr && c->count(key) ? 1 : 0;
}

// Insert or overwrite. Keys mostly arrive in increasing order (identifiers are handed out in
// order, and sums run over variables in creation order), so a key beyond the last one goes in
// at the end without a search down the tree.
template <class Map>
int store(Map *map, typename Map::key_type key, typename Map::mapped_type value) {
  try {
    if (map->empty() || map->key_comp()(std::prev(map->end())->first, key)) {
      map->emplace_hint(map->end(), key, value);
      return 0;
    }
    (*map)[key] = value;
    return 0;
  } catch (const std::bad_alloc &) {
    return no_memory();
  }
}

}  // namespace

// ===== linmap =============================================================================

linmap *linmap_new() { return new_term_map<linmap>(); }

int linmap_copy(linmap **dst, const linmap *src) {
  if (src == nullptr) {
    *dst = nullptr;
    return 0;
  }
  auto *m = new_term_map<linmap>(*src);
  if (m == nullptr) return -1;
  for (const auto &[v, c] : *m) Py_INCREF(as_obj(v));
  *dst = m;
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
  for (const auto &[v, c] : *m) release_var(v);
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
  auto it = map->find(as_var(var));
  if (it != map->end()) {
    if (coef != 0.0) {
      it->second = coef;
    } else {
      const var_s *v = it->first;
      map->erase(it);
      release_var(v);
    }
    return 0;
  }
  if (coef == 0.0) return 0;
  try {
    map->emplace(as_var(var), coef);
  } catch (const std::bad_alloc &) {
    return no_memory();
  }
  Py_INCREF(var);
  return 0;
}

int linmap_add(linmap *map, PyObject *var, double coef) {
  if (coef == 0.0) return 0;
  // Sums mostly run over variables in creation order: a key beyond the last one goes in at
  // the end without a search down the tree.
  if (map->empty() || less_variable(std::prev(map->end())->first, as_var(var))) {
    try {
      map->emplace_hint(map->end(), as_var(var), coef);
    } catch (const std::bad_alloc &) {
      return no_memory();
    }
    Py_INCREF(var);
    return 0;
  }
  auto it = map->lower_bound(as_var(var));
  if (it != map->end() && it->first == as_var(var)) {
    it->second += coef;
    if (it->second == 0.0) {
      const var_s *v = it->first;
      map->erase(it);
      release_var(v);
    }
    return 0;
  }
  try {
    map->emplace_hint(it, as_var(var), coef);
  } catch (const std::bad_alloc &) {
    return no_memory();
  }
  Py_INCREF(var);
  return 0;
}

int linmap_del(linmap *map, PyObject *var) {
  auto it = map->find(as_var(var));
  if (it == map->end()) return 0;
  const var_s *v = it->first;
  map->erase(it);
  release_var(v);
  return 0;
}

// ===== quadmap ============================================================================

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

}  // namespace

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
    if (inner->empty()) {
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
  if (map == nullptr) return -1;
  auto it = map->find(id);
  if (it == map->end()) return -1;
  *index = it->second;
  return 0;
}

int rowcolmap_has(const rowcolmap *map, uint64_t id) { return has_key(map, id); }

int rowcolmap_set(rowcolmap *map, uint64_t id, int64_t index) {
  try {
    map->set(id, index);
    return 0;
  } catch (const std::bad_alloc &) {
    return no_memory();
  }
}

int rowcolmap_del(rowcolmap *map, uint64_t id) {
  map->erase(id);  // an absent key is not an error
  return 0;
}

// ===== boundmap ===========================================================================

Py_ssize_t boundmap_size(const boundmap *map) { return size_of(map); }

double boundmap_get(const boundmap *map, uint64_t id) {
  auto it = map->find(id);
  return it == map->end() ? 0.0 : it->second;
}

int boundmap_set(boundmap *map, uint64_t id, double value) { return store(map, id, value); }

int boundmap_del(boundmap *map, uint64_t id) {
  map->erase(id);  // an absent key is not an error
  return 0;
}

// ===== namemap ============================================================================

Py_ssize_t namemap_size(const namemap *map) { return size_of(map); }

PyObject *namemap_get(const namemap *map, uint64_t id) {
  auto it = map->find(id);
  return it == map->end() ? nullptr : it->second;
}

int namemap_set(namemap *map, uint64_t id, PyObject *obj) { return store(map, id, obj); }

int namemap_del(namemap *map, uint64_t id) {
  auto it = map->find(id);
  if (it == map->end()) return 0;
  PyObject *obj = it->second;
  map->erase(it);
  Py_XDECREF(obj);  // the entry's reference, released once the map is consistent
  return 0;
}

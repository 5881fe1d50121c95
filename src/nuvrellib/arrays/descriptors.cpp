// The element types "variable", "expression" and "constraint": descriptors, array functions
// and the casts between them. Each element is one object reference, counted like numpy's own
// object elements (a new array is zero-filled; copies take a reference and release the one
// they overwrite).
#include <cstring>

#include "arrays/arrays.h"
#include "model/constraint.h"
#include "model/expression.h"
#include "model/var.h"
#include "module/env.h"
#include "module/pyref.h"
#include "module/scalars.h"

int nvo_typenum[NVO_ELEM_COUNT] = {NPY_DOUBLE, -1, -1, -1, NPY_OBJECT};
PyArray_Descr *nvo_descr[NVO_ELEM_COUNT] = {};

namespace {

// --- array functions ------------------------------------------------------------------------

PyObject *elem_getitem(void *data, void *) {
  PyObject *o = nvo_elem_load(static_cast<const char *>(data));
  return Py_NewRef(o != nullptr ? o : Py_None);
}

int elem_setitem(PyObject *item, void *data, void *) {
  nvo_elem_store(static_cast<char *>(data), Py_NewRef(item));
  return 0;
}

// numpy's copy slots: the destination element gets its own reference to the source's. A
// request to swap bytes (arr.byteswap(), a view in the other byte order) is ignored, as numpy
// ignores it for its own object arrays: a reference with its bytes reversed points nowhere.
void elem_copyswap(void *dst, void *src, int, void *) {
  if (src != nullptr) {
    PyObject *o = nvo_elem_load(static_cast<const char *>(src));
    Py_XINCREF(o);
    nvo_elem_store(static_cast<char *>(dst), o);
  }
}

void elem_copyswapn(void *dst, npy_intp dstride, void *src, npy_intp sstride, npy_intp n,
                    int, void *) {
  auto *d = static_cast<char *>(dst);
  auto *s = static_cast<char *>(src);
  if (s != nullptr) {
    for (npy_intp i = 0; i < n; ++i, d += dstride, s += sstride) {
      PyObject *o = nvo_elem_load(s);
      Py_XINCREF(o);
      nvo_elem_store(d, o);
    }
  }
}

npy_bool true_nonzero(void *, void *) { return NPY_TRUE; }

npy_bool expression_nonzero(void *data, void *) {
  PyObject *o = nvo_elem_load(static_cast<const char *>(data));
  if (o == nullptr) return NPY_FALSE;
  // Results of arithmetic may be plain numbers (0 * x is 0.0).
  if (nvo_is_number(o)) return nvo_number_value(o) != 0.0 ? NPY_TRUE : NPY_FALSE;
  if (!expression_check(o)) return NPY_TRUE;
  auto *e = reinterpret_cast<expression_s *>(o);
  // NaN compares unequal to zero, so a NaN constant counts as true.
  return (e->constant != 0.0 || e->lin != nullptr || e->quad != nullptr) ? NPY_TRUE : NPY_FALSE;
}

// Copies references between the element types; a null element stays null.
void elem_cast(void *from, void *to, npy_intp n, void *, void *) {
  auto *s = static_cast<char *>(from);
  auto *d = static_cast<char *>(to);
  for (npy_intp i = 0; i < n; ++i, s += sizeof(PyObject *), d += sizeof(PyObject *)) {
    PyObject *o = nvo_elem_load(s);
    Py_XINCREF(o);
    nvo_elem_store(d, o);
  }
}

// --- descriptors ----------------------------------------------------------------------------

PyArray_ArrFuncs arrfuncs[NVO_ELEM_COUNT];
PyArray_DescrProto protos[NVO_ELEM_COUNT];

struct element_type_def {
  int index;
  const char *name;
  char kind;
  PyTypeObject *scalar;
  npy_bool (*nonzero)(void *, void *);
};

// Registers one element type: a structured descriptor with a single object field named after
// the type, which is how numpy accepts a user type whose elements hold references.
int register_one(const element_type_def &def) {
  PyArray_Descr *object = PyArray_DescrFromType(NPY_OBJECT);
  if (object == nullptr) return -1;
  PyRef<> object_ref(reinterpret_cast<PyObject *>(object));
  PyRef name(PyUnicode_FromString(def.name));
  PyRef zero(PyLong_FromLong(0));
  if (!name || !zero) return -1;
  PyRef field(PyTuple_Pack(2, object_ref.get(), zero.get()));
  PyRef fields(PyDict_New());
  PyRef names(PyTuple_Pack(1, name.get()));
  if (!field || !fields || !names || PyDict_SetItem(fields.get(), name.get(), field.get()) < 0)
    return -1;

  PyArray_ArrFuncs *f = &arrfuncs[def.index];
  PyArray_InitArrFuncs(f);
  f->getitem = elem_getitem;
  f->setitem = elem_setitem;
  f->copyswap = elem_copyswap;
  f->copyswapn = elem_copyswapn;
  f->nonzero = def.nonzero;

  PyArray_DescrProto *p = &protos[def.index];
  std::memset(p, 0, sizeof *p);
  Py_SET_TYPE(reinterpret_cast<PyObject *>(p), &PyArrayDescr_Type);
  Py_SET_REFCNT(reinterpret_cast<PyObject *>(p), 1);
  p->typeobj = def.scalar;
  p->kind = def.kind;
  p->type = def.kind;
  p->byteorder = '|';
  p->flags = NPY_OBJECT_DTYPE_FLAGS;
  p->elsize = sizeof(PyObject *);
  p->alignment = alignof(PyObject *);
  // The registered descriptor keeps these for the life of the process.
  p->fields = fields.release();
  p->names = names.release();
  p->f = f;
  const int typenum = PyArray_RegisterDataType(p);
  if (typenum < 0) return -1;
  PyArray_Descr *descr = PyArray_DescrFromType(typenum);
  if (descr == nullptr) return -1;
  nvo_typenum[def.index] = typenum;
  nvo_descr[def.index] = descr;  // the reference from DescrFromType is kept
  return 0;
}

}  // namespace

int nvo_register_element_types() {
  if (nvo_descr[NVO_ELEM_VAR] != nullptr) return 0;
  nvo_descr[NVO_ELEM_DOUBLE] = PyArray_DescrFromType(NPY_DOUBLE);
  nvo_descr[NVO_ELEM_OBJECT] = PyArray_DescrFromType(NPY_OBJECT);
  if (nvo_descr[NVO_ELEM_DOUBLE] == nullptr || nvo_descr[NVO_ELEM_OBJECT] == nullptr) return -1;
  const element_type_def type_defs[] = {
      {NVO_ELEM_CON, "constraint", 'c', &constraint_type, true_nonzero},
      {NVO_ELEM_VAR, "variable", 'v', &var_type, true_nonzero},
      {NVO_ELEM_EXPR, "expression", 'e', &expression_type, expression_nonzero},
  };
  for (const element_type_def &s : type_defs)
    if (register_one(s) < 0) return -1;

  for (int from = NVO_ELEM_VAR; from <= NVO_ELEM_CON; ++from)
    for (int to = NVO_ELEM_VAR; to <= NVO_ELEM_CON; ++to) {
      if (from == to) continue;
      if (PyArray_RegisterCastFunc(nvo_descr[from], nvo_typenum[to], elem_cast) < 0 ||
          PyArray_RegisterCanCast(nvo_descr[from], nvo_typenum[to], NPY_NOSCALAR) < 0)
        return -1;
    }

  nvr_py_env.npvar = Py_NewRef(reinterpret_cast<PyObject *>(nvo_descr[NVO_ELEM_VAR]));
  nvr_py_env.npexpr = Py_NewRef(reinterpret_cast<PyObject *>(nvo_descr[NVO_ELEM_EXPR]));
  nvr_py_env.npconstraint = Py_NewRef(reinterpret_cast<PyObject *>(nvo_descr[NVO_ELEM_CON]));
  return 0;
}

int nvo_is_elem_descr(const PyArray_Descr *descr, int which) {
  if (descr == nullptr) return 0;
  const int t = descr->type_num;
  if (which >= 0) return t == nvo_typenum[which];
  return t == nvo_typenum[NVO_ELEM_VAR] || t == nvo_typenum[NVO_ELEM_EXPR] ||
         t == nvo_typenum[NVO_ELEM_CON];
}

PyObject *nvo_new_elem_array(int which, int nd, const npy_intp *dims) {
  // A new reference to the descriptor: the constructor steals it.
  auto *d = reinterpret_cast<PyArray_Descr *>(Py_NewRef(nvo_descr[which]));
  // Elements needing initialisation are zero-filled: every reference starts null.
  return PyArray_NewFromDescr(&PyArray_Type, d, nd, const_cast<npy_intp *>(dims), nullptr,
                              nullptr, 0, nullptr);
}

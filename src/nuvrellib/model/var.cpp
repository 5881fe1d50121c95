// nuvrel.var: the decision variable. The object is the header plus one packed record word;
// bounds other than 0, 1 and +-infinity, thresholds and user names live in the environment's
// side tables under the variable's identifier, and leave them when the variable dies.
#include "model/array_names.h"
#include "model/var.h"

#include "model/dispatch.h"
#include "model/linterm.h"
#include "model/termmaps.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/object_slab.h"
#include "module/pyref.h"
#include "module/scalars.h"

namespace {

// Codes of the bound fields.
constexpr uint64_t LB_ZERO = 0, LB_MINUS_INF = 1, LB_ONE = 2, LB_TABLE = 3;
constexpr uint64_t UB_PLUS_INF = 0, UB_ZERO = 1, UB_ONE = 2, UB_TABLE = 3;

// Tolerance by which a lower bound may exceed the upper bound at construction.
constexpr double BOUND_TOLERANCE = 1e-6;

int tables_missing() {
  PyErr_SetString(nvpy_interf_exc ? nvpy_interf_exc : PyExc_RuntimeError,
                  "Variable side tables are not available (module not initialised)");
  return -1;
}

uint64_t lb_code(uint64_t word) { return (word & VAR_LB_MASK) >> VAR_LB_SHIFT; }
uint64_t ub_code(uint64_t word) { return (word & VAR_UB_MASK) >> VAR_UB_SHIFT; }

// Removes every side-table entry that the word's flags announce, and clears those flags.
// Tables that are already gone (module teardown) are skipped.
void drop_table_entries(uint64_t *word) {
  const uint64_t id = var_word_id(*word);
  nvr_py_env_t &env = nvr_py_env;
  if ((*word & VAR_LB_ENTRY) && env.lboundmap) boundmap_del(env.lboundmap, id);
  if ((*word & VAR_UB_ENTRY) && env.uboundmap) boundmap_del(env.uboundmap, id);
  if ((*word & VAR_THOLD_ENTRY) && env.tholdmap) boundmap_del(env.tholdmap, id);
  if ((*word & VAR_NAME_ENTRY) && env.varnamemap) namemap_del(env.varnamemap, id);
  if (*word & VAR_NAME_PATTERN) array_names_release(id);
  *word &= ~(VAR_LB_ENTRY | VAR_UB_ENTRY | VAR_THOLD_ENTRY | VAR_NAME_ENTRY | VAR_NAME_PATTERN);
}

// Shared by set_var_lbound and set_var_ubound: writes code into the field and keeps the table
// and entry flag in step with it.
int set_bound_field(uint64_t *word, boundmap *table, uint64_t code, int shift, uint64_t mask,
                    uint64_t entry_flag, double v) {
  const uint64_t id = var_word_id(*word);
  if (code == 3) {
    if (table == nullptr) return tables_missing();
    if (boundmap_set(table, id, v) < 0) return -1;
    *word = (*word & ~mask) | (code << shift) | entry_flag;
    return 0;
  }
  if (*word & entry_flag) {
    if (table) boundmap_del(table, id);
    *word &= ~entry_flag;
  }
  *word = (*word & ~mask) | (code << shift);
  return 0;
}

}  // namespace

// ===== record accessors ===================================================================

void var_assign_id(uint64_t *word) {
  *word = (*word & ~VAR_ID_MASK) | (var_reserve_ids(1) & VAR_ID_MASK);
}

uint64_t var_reserve_ids(uint64_t n) {
  return env_take_ids(nvr_py_env.mtx_var, nvr_py_env.next_var_id, n);
}

double get_var_lbound(uint64_t word) {
  switch (lb_code(word)) {
    case LB_ZERO:
      return 0.0;
    case LB_MINUS_INF:
      return -NVO_INFINITY;
    case LB_ONE:
      return 1.0;
    default:
      return nvr_py_env.lboundmap ? boundmap_get(nvr_py_env.lboundmap, var_word_id(word)) : 0.0;
  }
}

double get_var_ubound(uint64_t word) {
  switch (ub_code(word)) {
    case UB_PLUS_INF:
      return NVO_INFINITY;
    case UB_ZERO:
      return 0.0;
    case UB_ONE:
      return 1.0;
    default:
      return nvr_py_env.uboundmap ? boundmap_get(nvr_py_env.uboundmap, var_word_id(word))
                                  : NVO_INFINITY;
  }
}

double get_var_thold(uint64_t word) {
  if (!(word & VAR_THOLD_ENTRY) || nvr_py_env.tholdmap == nullptr) return -NVO_INFINITY;
  return boundmap_get(nvr_py_env.tholdmap, var_word_id(word));
}

long get_var_type(uint64_t word) {
  return static_cast<long>((word & VAR_TYPE_MASK) >> VAR_TYPE_SHIFT);
}

PyObject *get_var_name(uint64_t word) {
  const uint64_t id = var_word_id(word);
  if (word & VAR_NAME_PATTERN) return array_names_get(id);
  if (!(word & VAR_NAME_ENTRY))
    return PyUnicode_FromFormat("C%llu", static_cast<unsigned long long>(id));
  PyObject *name = nvr_py_env.varnamemap ? namemap_get(nvr_py_env.varnamemap, id) : nullptr;
  if (name == nullptr) {
    PyErr_SetString(nvpy_interf_exc, "Internal error in variable name");
    return nullptr;
  }
  return Py_NewRef(name);
}

int set_var_lbound(uint64_t *word, double v) {
  // NaN fails every comparison and so lands in the table, where it reads back unchanged.
  uint64_t code = v == 0.0 ? LB_ZERO : v <= -NVO_INFINITY ? LB_MINUS_INF : v == 1.0 ? LB_ONE
                                                                                    : LB_TABLE;
  return set_bound_field(word, nvr_py_env.lboundmap, code, VAR_LB_SHIFT, VAR_LB_MASK,
                         VAR_LB_ENTRY, v);
}

int set_var_ubound(uint64_t *word, double v) {
  uint64_t code = v >= NVO_INFINITY ? UB_PLUS_INF : v == 0.0 ? UB_ZERO : v == 1.0 ? UB_ONE
                                                                                : UB_TABLE;
  return set_bound_field(word, nvr_py_env.uboundmap, code, VAR_UB_SHIFT, VAR_UB_MASK,
                         VAR_UB_ENTRY, v);
}

int set_var_thold(uint64_t *word, double v) {
  // -infinity means "no threshold"; it never removes an existing one.
  if (v == -NVO_INFINITY) return 0;
  if (nvr_py_env.tholdmap == nullptr) return tables_missing();
  if (boundmap_set(nvr_py_env.tholdmap, var_word_id(*word), v) < 0) return -1;
  *word |= VAR_THOLD_ENTRY;
  return 0;
}

int set_var_type(uint64_t *word, long t) {
  *word = (*word & ~VAR_TYPE_MASK) | ((static_cast<uint64_t>(t) << VAR_TYPE_SHIFT) & VAR_TYPE_MASK);
  return 0;
}

int set_var_name(uint64_t *word, PyObject *name) {
  namemap *table = nvr_py_env.varnamemap;
  if (table == nullptr) return tables_missing();
  const uint64_t id = var_word_id(*word);
  PyObject *old = (*word & VAR_NAME_ENTRY) ? namemap_get(table, id) : nullptr;
  PyRef stored = PyRef<>::borrow(name);
  if (namemap_set(table, id, stored.get()) < 0) return -1;
  stored.release();  // the table's now
  *word |= VAR_NAME_ENTRY;
  if (*word & VAR_NAME_PATTERN) {
    array_names_release(id);
    *word &= ~VAR_NAME_PATTERN;
  }
  // Released last: the old name's finaliser must see a consistent record.
  PyRef dropped(old);
  return 0;
}

void var_sidetable_sizes(Py_ssize_t sizes[4]) {
  sizes[0] = boundmap_size(nvr_py_env.lboundmap);
  sizes[1] = boundmap_size(nvr_py_env.uboundmap);
  sizes[2] = boundmap_size(nvr_py_env.tholdmap);
  sizes[3] = namemap_size(nvr_py_env.varnamemap) + array_names_live();
}

// ===== type slots =========================================================================

static object_slab var_slab(sizeof(var_s));

static var_s *var_storage() {
  return reinterpret_cast<var_s *>(slab_object_new(var_slab, &var_type));
}

// Subclasses made in Python have the interpreter's allocation slots; one defined in C that
// inherits these gets the interpreter's allocation too.
static PyObject *var_alloc(PyTypeObject *type, Py_ssize_t) {
  if (type != &var_type) return PyType_GenericAlloc(type, 0);
  var_s *v = var_storage();
  if (v != nullptr) v->rec = 0;
  return reinterpret_cast<PyObject *>(v);
}

static void var_free(void *p) {
  PyTypeObject *type = Py_TYPE(static_cast<PyObject *>(p));
  if (type == &var_type) object_slab::release(p);
  else if (PyType_IS_GC(type)) PyObject_GC_Del(p);
  else PyObject_Free(p);
}

static PyObject *var_new(PyTypeObject *type, PyObject *args, PyObject *kwargs) {
  PyObject *self = type->tp_alloc(type, 0);
  if (self == nullptr) return nullptr;
  auto *v = reinterpret_cast<var_s *>(self);
  v->rec = 0;
  var_assign_id(&v->rec);
  return self;
}

PyObject *var_base() { return var_new(&var_type, nullptr, nullptr); }

// Applies bounds, threshold and type to a fresh record, skipping the values that the empty
// record already stands for.
static int var_apply(uint64_t *word, double lb, double ub, double threshold, long vartype) {
  if (lb != 0.0 && set_var_lbound(word, lb) < 0) return -1;
  if (ub != NVO_INFINITY && set_var_ubound(word, ub) < 0) return -1;
  if (threshold != -NVO_INFINITY && set_var_thold(word, threshold) < 0) return -1;
  if (vartype != 0) set_var_type(word, vartype);
  return 0;
}

// Gives a fresh variable its bounds, threshold, type and name; releases it on failure.
static PyObject *var_setup(PyObject *obj, PyObject *name, double lb, double ub,
                           double threshold, long vartype) {
  auto self = PyRef<var_s>::steal(obj);
  if (!self) return nullptr;
  uint64_t *word = &self->rec;
  if (var_apply(word, lb, ub, threshold, vartype) < 0) return nullptr;
  if (name != nullptr && set_var_name(word, name) < 0) return nullptr;
  return self.release_obj();
}

PyObject *var_create(PyObject *name, double lb, double ub, double threshold, long vartype) {
  return var_setup(var_base(), name, lb, ub, threshold, vartype);
}

PyObject *var_create_with_id(uint64_t id, PyObject *name, double lb, double ub,
                             double threshold, long vartype) {
  // The var type is neither collected nor variable-sized: no zeroing or tracking is needed.
  var_s *v = var_storage();
  if (v != nullptr) v->rec = id & VAR_ID_MASK;
  return var_setup(reinterpret_cast<PyObject *>(v), name, lb, ub, threshold, vartype);
}

PyObject *var_copy(PyObject *x, double c) {
  if (c == 1.0) return Py_NewRef(x);
  if (c == 0.0) return PyFloat_FromDouble(0.0);
  return linterm_fill(x, c);
}

static int var_init(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"name", "lb", "ub", "threshold", "vartype", nullptr};
  uint64_t *word = &reinterpret_cast<var_s *>(self)->rec;

  // A repeated __init__ starts from a clean record, so no entry is left under the old id.
  drop_table_entries(word);
  *word = 0;
  var_assign_id(word);

  PyObject *name = nullptr;
  double lb = 0.0, ub = NVO_INFINITY, threshold = -NVO_INFINITY;
  long vartype = VARTYPE_CONTINUOUS;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|Odddl:var", kwlist, nullptr, &name, &lb, &ub,
                                 &threshold, &vartype))
    return -1;

  if (lb > ub + BOUND_TOLERANCE) {
    return nvo_model_error("Variable has empty feasible set: lower bound > upper bound");
  }
  var_binary_bounds(vartype, &lb, &ub);
  if (var_apply(word, lb, ub, threshold, vartype) < 0) return -1;

  if (name != nullptr) {
    if (!PyUnicode_Check(name) && !PyBytes_Check(name)) {
      return nvo_model_error("Invalid variable name (must be a string)");
    }
    if (set_var_name(word, name) < 0) return -1;
  }
  return 0;
}

static void var_dealloc(PyObject *self) {
  drop_table_entries(&reinterpret_cast<var_s *>(self)->rec);
  Py_TYPE(self)->tp_free(self);
}

static Py_hash_t var_hash(PyObject *self) { return static_cast<Py_hash_t>(var_id(self)); }

// The name object as it is, as the attribute name gives it. A name set to a non-string object
// comes back unchanged from x.__str__(); the interpreter's str() then refuses it, while the
// printing of expressions converts names to text itself.
static PyObject *var_str(PyObject *self) {
  return get_var_name(reinterpret_cast<var_s *>(self)->rec);
}

static bool attr_is(PyObject *name, const char *s) {
  return PyUnicode_CompareWithASCIIString(name, s) == 0;
}

static PyObject *var_getattr(PyObject *self, PyObject *name) {
  if (!PyUnicode_Check(name)) return PyObject_GenericGetAttr(self, name);
  const uint64_t word = reinterpret_cast<var_s *>(self)->rec;

  if (attr_is(name, "__class__")) return Py_NewRef(reinterpret_cast<PyObject *>(&var_type));
  // Array libraries probe these; the generic lookup fails for them as for any unknown name,
  // so a variable is never taken for an array.
  static const char *const array_probes[] = {"__array_interface__", "__array_priority__",
                                             "__array__",           "__array_struct__",
                                             "__array_prepare__",   "__array_wrap__"};
  for (const char *probe : array_probes)
    if (attr_is(name, probe)) return PyObject_GenericGetAttr(self, name);

  if (attr_is(name, "lb")) return PyFloat_FromDouble(get_var_lbound(word));
  if (attr_is(name, "ub")) return PyFloat_FromDouble(get_var_ubound(word));
  if (attr_is(name, "threshold")) return PyFloat_FromDouble(get_var_thold(word));
  if (attr_is(name, "vartype")) return PyLong_FromLong(get_var_type(word));
  if (attr_is(name, "name")) return get_var_name(word);
  if (attr_is(name, "__dict__")) {
    PyRef d(PyDict_New());
    if (!d) return nullptr;
    for (const char *key : {"lb", "ub", "threshold", "vartype", "name"})
      if (PyDict_SetItemString(d.get(), key, Py_None) < 0) return nullptr;
    return d.release();
  }
  return PyObject_GenericGetAttr(self, name);
}

// Reads a double from an attribute value; -1 with the conversion error set.
static int attr_double(PyObject *value, double *out) {
  double v = PyFloat_AsDouble(value);
  if (v == -1.0 && PyErr_Occurred()) return -1;
  *out = v;
  return 0;
}

// Bounds take the float conversion unchecked: a value that is not a number becomes -1.0, the
// conversion's error result, and the conversion error is dropped rather than left pending.
static double bound_value(PyObject *value) {
  double v = PyFloat_AsDouble(value);
  if (v == -1.0 && PyErr_Occurred()) PyErr_Clear();
  return v;
}

// Attribute writes change only the record and the side tables; a problem that holds the
// variable is not touched. Bounds are not checked against each other here.
static int var_setattr(PyObject *self, PyObject *name, PyObject *value) {
  uint64_t *word = &reinterpret_cast<var_s *>(self)->rec;
  const bool known = PyUnicode_Check(name) &&
                     (attr_is(name, "lb") || attr_is(name, "ub") || attr_is(name, "threshold") ||
                      attr_is(name, "vartype") || attr_is(name, "name"));
  if (!known) {
    PyErr_SetString(nvpy_interf_exc, "Incorrect member name of type nuvrel.var");
    return -1;
  }
  if (value == nullptr) {
    PyErr_Format(PyExc_AttributeError, "Attribute %U of nuvrel.var cannot be deleted", name);
    return -1;
  }
  double v;
  if (attr_is(name, "lb")) return set_var_lbound(word, bound_value(value));
  if (attr_is(name, "ub")) return set_var_ubound(word, bound_value(value));
  if (attr_is(name, "threshold"))
    return attr_double(value, &v) < 0 ? -1 : set_var_thold(word, v);
  if (attr_is(name, "vartype")) {
    long long t;
    if (nvo_integer_value(value, &t) != 0) return -1;
    // The type code is not range-checked here; addVariable refuses codes it cannot map.
    return set_var_type(word, t);
  }
  return set_var_name(word, value);
}

static PyObject *var_richcompare(PyObject *a, PyObject *b, int op) {
  return make_constraint(a, b, op);
}

// ===== methods ============================================================================

PyDoc_STRVAR(var_extractLinear_doc,
             "extractLinear() -> (variables, coefficients)\n\n"
             "The linear part of the variable as two lists: [x] and [1.0].");

static PyObject *var_extractLinear(PyObject *self, PyObject *unused) {
  PyRef coef(PyFloat_FromDouble(1.0));
  if (!coef) return nullptr;
  return Py_BuildValue("([O][O])", self, coef.get());
}

PyDoc_STRVAR(var_extractQuadratic_doc,
             "extractQuadratic() -> (variables1, variables2, coefficients)\n\n"
             "The quadratic part of the variable: three empty lists.");

static PyObject *var_extractQuadratic(PyObject *self, PyObject *unused) {
  return Py_BuildValue("([][][])");
}

PyDoc_STRVAR(var_sidetable_sizes_doc,
             "_sidetable_sizes() -> (lower bounds, upper bounds, thresholds, names)\n\n"
             "Entries held in the variable side tables (for diagnostics and tests).");

static PyObject *var_sidetable_sizes_py(PyObject *unused_self, PyObject *unused) {
  Py_ssize_t s[4];
  var_sidetable_sizes(s);
  return Py_BuildValue("(nnnn)", s[0], s[1], s[2], s[3]);
}

PyDoc_STRVAR(var_slab_objects_doc,
             "_slab_objects() -> int\n\n"
             "Variables, linear terms, expressions and term maps alive (for diagnostics and "
             "tests: sys.getallocatedblocks() does not count them).");

static PyObject *var_slab_objects_py(PyObject *unused_self, PyObject *unused) {
  return PyLong_FromSize_t(object_slabs_live());
}

static PyMethodDef var_methods[] = {
    {"extractLinear", var_extractLinear, METH_NOARGS, var_extractLinear_doc},
    {"extractQuadratic", var_extractQuadratic, METH_NOARGS, var_extractQuadratic_doc},
    {"_sidetable_sizes", var_sidetable_sizes_py, METH_NOARGS | METH_STATIC,
     var_sidetable_sizes_doc},
    {"_slab_objects", var_slab_objects_py, METH_NOARGS | METH_STATIC, var_slab_objects_doc},
    {nullptr, nullptr, 0, nullptr},
};

static PyNumberMethods var_as_number = {
    .nb_add = var_add,
    .nb_subtract = var_sub,
    .nb_multiply = var_mul,
    .nb_power = var_pow,
    .nb_negative = var_neg,
    .nb_positive = general_pos,
    .nb_absolute = var_abs,
    .nb_inplace_add = var_iadd,
    .nb_inplace_subtract = var_isub,
    .nb_inplace_multiply = var_imul,
    .nb_inplace_power = var_ipow,
    .nb_true_divide = var_div,
    .nb_inplace_true_divide = var_idiv,
};

PyDoc_STRVAR(var_doc,
             "var(name='', lb=0, ub=infinity, threshold=-infinity, vartype=continuous)\n\n"
             "A decision variable. It exists independently of any problem until\n"
             "problem.addVariable() takes it.\n\n"
             "Arguments (all optional, also positional in this order):\n"
             "  name       a string; the default name is 'C' followed by the identifier\n"
             "  lb, ub     bounds; +-infinity (1e20) means unbounded\n"
             "  threshold  the threshold of a semi-continuous, semi-integer or partially\n"
             "             integer variable\n"
             "  vartype    continuous, binary, integer, semicontinuous, semiinteger or\n"
             "             partiallyinteger\n\n"
             "Example:\n"
             "  x = nuvrel.var(lb=0, ub=10, name='x', vartype=nuvrel.integer)");

PyTypeObject var_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.var",
    .tp_basicsize = sizeof(var_s),
    .tp_dealloc = var_dealloc,
    .tp_as_number = &var_as_number,
    .tp_hash = var_hash,
    .tp_str = var_str,
    .tp_getattro = var_getattr,
    .tp_setattro = var_setattr,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
    .tp_doc = var_doc,
    .tp_richcompare = var_richcompare,
    .tp_methods = var_methods,
    .tp_init = var_init,
    .tp_alloc = var_alloc,
    .tp_new = var_new,
    .tp_free = var_free,
};

// nuvrel.constraint: made by comparing modelling objects (make_constraint) or explicitly with
// nuvrel.constraint(...). Bounds at -inf/0/1 (lower) and +inf/0/1 (upper) cost nothing; other
// values and user names are kept in the environment's side tables until the object dies.
#include "model/constraint.h"

#include "model/dispatch.h"
#include "model/expression.h"
#include "model/termmaps.h"
#include "model/var.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/pyref.h"

namespace {

constexpr double INF = 1e20;
// Tolerance by which an explicit lower bound may exceed the upper bound.
constexpr double BOUND_TOLERANCE = 1e-6;
// Values that mark an argument of the constructor as not given.
constexpr double LB_UNSET = -2e20, UB_UNSET = 2e20, RHS_UNSET = -2e20;

constexpr uint64_t LB_MINUS_INF = 0, LB_ZERO = 1, LB_ONE = 2, LB_TABLE = 3;
constexpr uint64_t UB_PLUS_INF = 0, UB_ZERO = 1, UB_ONE = 2, UB_TABLE = 3;

inline constraint_s *as_con(PyObject *o) { return reinterpret_cast<constraint_s *>(o); }
inline uint64_t word_id(uint64_t w) { return w & CON_ID_MASK; }

int tables_missing() {
  PyErr_SetString(nvpy_interf_exc ? nvpy_interf_exc : PyExc_RuntimeError,
                  "Constraint side tables are not available (module not initialised)");
  return -1;
}

// Writes a bound code into its field and keeps the table entry and its flag in step.
int set_bound_field(uint64_t *word, boundmap *table, uint64_t code, int shift, uint64_t mask,
                    uint64_t entry_flag, double v) {
  const uint64_t id = word_id(*word);
  if (code == 3) {
    if (table == nullptr) return tables_missing();
    if (boundmap_set(table, id, v) < 0) return -1;
    *word = (*word & ~mask) | (code << shift) | entry_flag;
    return 0;
  }
  if (*word & entry_flag) {
    if (table != nullptr) boundmap_del(table, id);
    *word &= ~entry_flag;
  }
  *word = (*word & ~mask) | (code << shift);
  return 0;
}

// Removes every side-table entry the word announces (tables already gone are skipped).
void drop_table_entries(uint64_t *word) {
  const uint64_t id = word_id(*word);
  nvr_py_env_t &env = nvr_py_env;
  if ((*word & CON_LB_ENTRY) && env.conlboundmap) boundmap_del(env.conlboundmap, id);
  if ((*word & CON_UB_ENTRY) && env.conuboundmap) boundmap_del(env.conuboundmap, id);
  if ((*word & CON_NAME_ENTRY) && env.connamemap) namemap_del(env.connamemap, id);
  *word &= ~(CON_LB_ENTRY | CON_UB_ENTRY | CON_NAME_ENTRY);
}

}  // namespace

// --- record accessors -----------------------------------------------------------------------

void con_assign_id(uint64_t *word) {
  *word = (*word & ~CON_ID_MASK) | (con_reserve_ids(1) & CON_ID_MASK);
}

uint64_t con_reserve_ids(uint64_t n) {
  return env_take_ids(nvr_py_env.mtx_con, nvr_py_env.next_con_id, n);
}

double get_con_lbound(uint64_t word) {
  switch ((word & CON_LB_MASK) >> CON_LB_SHIFT) {
    case LB_MINUS_INF: return -INF;
    case LB_ZERO: return 0.0;
    case LB_ONE: return 1.0;
    default:
      return nvr_py_env.conlboundmap ? boundmap_get(nvr_py_env.conlboundmap, word_id(word)) : 0.0;
  }
}

double get_con_ubound(uint64_t word) {
  switch ((word & CON_UB_MASK) >> CON_UB_SHIFT) {
    case UB_PLUS_INF: return INF;
    case UB_ZERO: return 0.0;
    case UB_ONE: return 1.0;
    default:
      return nvr_py_env.conuboundmap ? boundmap_get(nvr_py_env.conuboundmap, word_id(word)) : 0.0;
  }
}

int set_con_lbound(uint64_t *word, double v) {
  uint64_t code = v <= -INF ? LB_MINUS_INF : v == 0.0 ? LB_ZERO : v == 1.0 ? LB_ONE : LB_TABLE;
  return set_bound_field(word, nvr_py_env.conlboundmap, code, CON_LB_SHIFT, CON_LB_MASK,
                         CON_LB_ENTRY, v);
}

int set_con_ubound(uint64_t *word, double v) {
  uint64_t code = v >= INF ? UB_PLUS_INF : v == 0.0 ? UB_ZERO : v == 1.0 ? UB_ONE : UB_TABLE;
  return set_bound_field(word, nvr_py_env.conuboundmap, code, CON_UB_SHIFT, CON_UB_MASK,
                         CON_UB_ENTRY, v);
}

PyObject *get_con_name(uint64_t word) {
  if (word & CON_NAME_ENTRY) {
    PyObject *name =
        nvr_py_env.connamemap ? namemap_get(nvr_py_env.connamemap, word_id(word)) : nullptr;
    if (name == nullptr) {
      PyErr_SetString(nvpy_interf_exc, "Internal error in constraint name");
      return nullptr;
    }
    return Py_NewRef(name);
  }
  return PyUnicode_FromFormat("R%llu", static_cast<unsigned long long>(word_id(word)));
}

int set_con_name(uint64_t *word, PyObject *name) {
  namemap *table = nvr_py_env.connamemap;
  if (table == nullptr) return tables_missing();
  const uint64_t id = word_id(*word);
  // Once the new name is stored, the table's reference to the old one is ours to drop.
  PyObject *old = (*word & CON_NAME_ENTRY) ? namemap_get(table, id) : nullptr;
  PyRef stored = PyRef<>::borrow(name);
  if (namemap_set(table, id, stored.get()) < 0) return -1;
  stored.release();  // the table's now
  *word |= CON_NAME_ENTRY;
  PyRef dropped(old);
  return 0;
}

// --- creation and destruction ---------------------------------------------------------------

// A constraint is in a cycle only through a nonlinear body (a user function referring to the
// problem that holds the constraint). Only such constraints are tracked by the collector, so
// that linear ones cost it nothing.
static void track_if_cyclic(constraint_s *con) {
  if (con->body != nullptr && PyObject_IS_GC(con->body) &&
      !PyObject_GC_IsTracked(reinterpret_cast<PyObject *>(con)))
    PyObject_GC_Track(con);
}

static int constraint_traverse(PyObject *self, visitproc visit, void *arg) {
  Py_VISIT(as_con(self)->body);
  return 0;
}

// The collector's clear slot: the body is nulled before its release.
static int constraint_clear(PyObject *self) {
  Py_CLEAR(as_con(self)->body);
  return 0;
}

static PyObject *constraint_new(PyTypeObject *type, PyObject *, PyObject *) {
  PyObject *self = type->tp_alloc(type, 0);
  if (self == nullptr) return nullptr;
  PyObject_GC_UnTrack(self);
  as_con(self)->rec = 0;
  as_con(self)->body = nullptr;
  con_assign_id(&as_con(self)->rec);
  return self;
}

PyObject *constraint_base() { return constraint_new(&constraint_type, nullptr, nullptr); }

PyObject *constraint_base_with_id(uint64_t id) {
  // Constraints take part in garbage collection (a nonlinear body can reach back to them), so
  // the object carries the collector's header; it starts untracked, as the body is empty.
  constraint_s *con = PyObject_GC_New(constraint_s, &constraint_type);
  if (con == nullptr) return nullptr;
  con->rec = id & CON_ID_MASK;
  con->body = nullptr;
  return reinterpret_cast<PyObject *>(con);
}

PyObject *constraint_create(PyObject *body, double lb, double ub) {
  return constraint_create_with_id(con_reserve_ids(1), body, lb, ub);
}

PyObject *constraint_create_with_id(uint64_t id, PyObject *body, double lb, double ub) {
  auto con = PyRef<constraint_s>::steal(constraint_base_with_id(id));
  if (!con) return nullptr;
  if (set_con_lbound(&con->rec, lb) < 0 || set_con_ubound(&con->rec, ub) < 0) return nullptr;
  con->body = Py_NewRef(body);
  track_if_cyclic(con.get());
  return con.release_obj();
}

static void constraint_dealloc(PyObject *self) {
  PyObject_GC_UnTrack(self);
  Py_CLEAR(as_con(self)->body);
  drop_table_entries(&as_con(self)->rec);
  Py_TYPE(self)->tp_free(self);
}

// The element at index zero of every dimension of a numpy array, as an object.
static PyObject *first_array_element(PyObject *obj) {
  auto *arr = reinterpret_cast<PyArrayObject *>(obj);
  if (PyArray_SIZE(arr) < 1) {
    return nvo_model_error("Invalid expression passed as body of constraint");
  }
  return PyArray_GETITEM(arr, static_cast<const char *>(PyArray_DATA(arr)));
}

static int constraint_init(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"constraint", "body", "lb", "ub", "sense", "rhs", "name",
                                 nullptr};
  constraint_s *con = as_con(self);
  // A second __init__ starts from scratch: the old identifier's entries must not linger.
  drop_table_entries(&con->rec);
  con_assign_id(&con->rec);
  Py_CLEAR(con->body);  // a raw object field, nulled before its release as in the clear slot
  con->rec &= CON_ID_MASK;  // both bounds infinite, no name

  PyObject *source = nullptr, *body = nullptr, *name = nullptr;
  double lb = LB_UNSET, ub = UB_UNSET, rhs = RHS_UNSET;
  long sense = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|OOddldO:constraint", kwlist, nullptr, &source,
                                 &body, &lb, &ub, &sense, &rhs, &name))
    return -1;
  const bool has_lb = lb != LB_UNSET, has_ub = ub != UB_UNSET, has_rhs = rhs != RHS_UNSET;

  if (name != nullptr && set_con_name(&con->rec, name) < 0) return -1;
  if (lb > ub + BOUND_TOLERANCE) {
    return nvo_model_error("Constraint defined infeasible: lower bound > upper bound");
  }
  if (has_lb && set_con_lbound(&con->rec, lb) < 0) return -1;
  if (has_ub && set_con_ubound(&con->rec, ub) < 0) return -1;

  PyRef the_body;
  if (body != nullptr) {
    if (nvo_is_array(body)) {
      the_body = PyRef(first_array_element(body));
      if (!the_body) return -1;
    } else {
      the_body = PyRef<>::borrow(body);
    }
    if (nvo_kind_noraise(the_body.get()) < 0) {
      return nvo_model_error("Invalid expression passed as body of constraint");
    }
  }

  if (source != nullptr) {
    if (Py_TYPE(source) != &constraint_type) {
      return nvo_model_error("Attempt to generate an empty constraint failed. Consider using "
                             "nuvrel.constraint(body=..., sense=..., rhs=...) instead.");
    }
    constraint_s *src = as_con(source);
    if (set_con_lbound(&con->rec, get_con_lbound(src->rec)) < 0 ||
        set_con_ubound(&con->rec, get_con_ubound(src->rec)) < 0)
      return -1;
    con->body = Py_XNewRef(src->body);
    track_if_cyclic(con);
    return 0;
  }

  if (!the_body || !(has_lb || has_ub || sense != 0)) {
    return nvo_model_error("Arguments required for nuvrel.constraint(): constraint OR {body, lb "
                           "and/or ub} OR {body,sense,rhs}.");
  }
  if (has_rhs && (has_lb || has_ub)) {
    return nvo_model_error("Cannot create constraint by specifying both rhs AND lb/ub.");
  }
  con->body = the_body.release();
  track_if_cyclic(con);
  if (has_rhs) {
    if ((sense == CON_SENSE_GEQ || sense == CON_SENSE_EQ) && set_con_lbound(&con->rec, rhs) < 0)
      return -1;
    if ((sense == CON_SENSE_LEQ || sense == CON_SENSE_EQ) && set_con_ubound(&con->rec, rhs) < 0)
      return -1;
  }
  return 0;
}

// --- comparisons ----------------------------------------------------------------------------

PyObject *make_constraint(PyObject *a, PyObject *b, int op) {
  PyRef<> left = PyRef<>::borrow(a);
  if (nvo_is_number(a) && nvo_is_number(b)) {
    // Keeps the difference below an expression rather than a float.
    left = PyRef(expression_base());
    if (!left) return nullptr;
    reinterpret_cast<expression_s *>(left.get())->constant = nvo_number_value(a);
  }
  if (nvo_is_array(b)) {
    if (nvo_is_array(a)) {
      PyErr_SetString(nvpy_interf_exc, "Ill-defined constraint array");
      return nullptr;
    }
    int mirrored = op == Py_LE ? Py_GE : op == Py_GE ? Py_LE : Py_EQ;
    return PyObject_RichCompare(b, a, mirrored);
  }

  // The subtraction of the first of these kinds that either operand has.
  static const int order[] = {NVO_KIND_EXPRESSION, NVO_KIND_VAR, NVO_KIND_LINTERM,
                              NVO_KIND_QUADTERM, NVO_KIND_NONLIN};
  int ka = nvo_kind_noraise(left.get()), kb = nvo_kind_noraise(b);
  int kind = NVO_KIND_INVALID;
  for (int k : order)
    if (ka == k || kb == k) {
      kind = k;
      break;
    }
  if (kind == NVO_KIND_INVALID) return nvo_model_error("Invalid constraint body");
  PyRef diff(nvo_kind_binop(kind, NVO_OP_SUB, left.get(), b));
  if (!diff) return nullptr;

  double rhs = 0.0;
  switch (nvo_kind_noraise(diff.get())) {
    case NVO_KIND_EXPRESSION: {
      if (Py_REFCNT(diff.get()) > 1) {
        // The constant is moved into the bounds, so the body must be our own object.
        diff = PyRef(expression_copy(diff.get(), 1.0));
        if (!diff) return nullptr;
      }
      auto *e = reinterpret_cast<expression_s *>(diff.get());
      rhs = -e->constant;
      e->constant = 0.0;
      break;
    }
    case NVO_KIND_VAR:
    case NVO_KIND_LINTERM:
    case NVO_KIND_QUADTERM: break;
    case NVO_KIND_NONLIN: {
      PyObject *body = diff.release();
      int flipped = nvo_nonlinear.split_constant(&body, &rhs);
      diff = PyRef(body);
      if (flipped < 0) return nullptr;
      // c - f <= 0 bounds f from below, and c - f >= 0 from above.
      if (flipped == 1 && (op == Py_LE || op == Py_GE)) op = op == Py_LE ? Py_GE : Py_LE;
      break;
    }
    default: return nvo_model_error("Invalid constraint body");
  }

  double lb = -INF, ub = INF;
  switch (op) {
    case Py_LE: ub = rhs; break;
    case Py_EQ: lb = ub = rhs; break;
    case Py_GE: lb = rhs; break;
    case Py_LT:
    case Py_NE:
    case Py_GT:
      return nvo_model_error(
          "Invalid constraint: cannot enforce f(x) != 0, f(x) > 0, or f(x) < 0");
    default: return nvo_model_error("Invalid constraint: unrecognized comparison operator");
  }
  return constraint_create(diff.get(), lb, ub);
}

PyObject *make_number_constraint(PyObject *x, double c, int op, uint64_t id) {
  PyRef<> body = PyRef<>::borrow(x);
  double rhs = c;
  if (expression_check(x)) {
    // As the subtraction makes it: a copy of x with c taken from its constant, which then
    // moves into the bound.
    body = PyRef(expression_copy(x, 1.0));
    if (!body) return nullptr;
    auto *e = reinterpret_cast<expression_s *>(body.get());
    e->constant += -1.0 * c;
    rhs = -e->constant;
    e->constant = 0.0;
  } else if (c != 0.0) {
    // x - c is x itself for c = 0, else the expression x - c whose constant becomes the bound.
    body = PyRef(expression_base());
    if (!body || expression_addToLinTerm(body.get(), x, 1.0) < 0)
      return nvo_model_error("Could not allocate an object of type Variable");
  }
  const double lb = op == Py_LE ? -INF : rhs, ub = op == Py_GE ? INF : rhs;
  return constraint_create_with_id(id, body.get(), lb, ub);
}

// --- attributes, printing, copying ----------------------------------------------------------

static bool attr_is(PyObject *name, const char *s) {
  return PyUnicode_Check(name) && PyUnicode_CompareWithASCIIString(name, s) == 0;
}

static PyObject *con_getattr(PyObject *self, PyObject *name) {
  constraint_s *con = as_con(self);
  if (attr_is(name, "lb")) return PyFloat_FromDouble(get_con_lbound(con->rec));
  if (attr_is(name, "ub")) return PyFloat_FromDouble(get_con_ubound(con->rec));
  if (attr_is(name, "name")) return get_con_name(con->rec);
  if (attr_is(name, "body")) return Py_NewRef(con->body != nullptr ? con->body : Py_None);
  if (attr_is(name, "__class__")) return Py_NewRef(reinterpret_cast<PyObject *>(Py_TYPE(self)));
  if (attr_is(name, "__dict__")) {
    PyRef d(PyDict_New());
    if (!d) return nullptr;
    for (const char *key : {"lb", "ub", "name", "body", "copy"})
      if (PyDict_SetItemString(d.get(), key, Py_None) < 0) return nullptr;
    return d.release();
  }
  return PyObject_GenericGetAttr(self, name);
}

static int con_setattr(PyObject *self, PyObject *name, PyObject *value) {
  constraint_s *con = as_con(self);
  bool is_lb = attr_is(name, "lb"), is_ub = attr_is(name, "ub");
  if (value != nullptr && (is_lb || is_ub)) {
    // The value is converted without a check: a non-number reads back as -1.0.
    double v = PyFloat_AsDouble(value);
    if (v == -1.0 && PyErr_Occurred()) PyErr_Clear();
    return is_lb ? set_con_lbound(&con->rec, v) : set_con_ubound(&con->rec, v);
  }
  if (value != nullptr && attr_is(name, "name")) return set_con_name(&con->rec, value);
  return PyObject_GenericSetAttr(self, name, value);
}

static PyObject *constraint_str(PyObject *self) {
  PyRef name(get_con_name(as_con(self)->rec));
  if (!name) return nullptr;
  return PyObject_Str(name.get());
}

static PyObject *constraint_copy(PyObject *self, PyObject *) {
  constraint_s *src = as_con(self);
  PyRef name(get_con_name(src->rec));
  if (!name) return nullptr;
  PyRef body;
  if (src->body != nullptr) {
    body = PyRef(general_copy(src->body, 1.0));
    if (!body) return nullptr;
  }
  auto con = PyRef<constraint_s>::steal(constraint_base());
  if (!con) return nullptr;
  if (set_con_lbound(&con->rec, get_con_lbound(src->rec)) < 0 ||
      set_con_ubound(&con->rec, get_con_ubound(src->rec)) < 0)
    return nullptr;
  PyRef copy_name(PyUnicode_FromFormat("R%llu_copy_%S",
                                       static_cast<unsigned long long>(word_id(src->rec)),
                                       name.get()));
  if (!copy_name || set_con_name(&con->rec, copy_name.get()) < 0) return nullptr;
  con->body = body.release();
  track_if_cyclic(con.get());
  return con.release_obj();
}

static PyObject *constraint_sidetable_sizes(PyObject *, PyObject *) {
  nvr_py_env_t &env = nvr_py_env;
  return Py_BuildValue("(nnn)", env.conlboundmap ? boundmap_size(env.conlboundmap) : 0,
                       env.conuboundmap ? boundmap_size(env.conuboundmap) : 0,
                       env.connamemap ? namemap_size(env.connamemap) : 0);
}

PyDoc_STRVAR(constraint_copy_doc,
             "copy() -> constraint\n\n"
             "A new constraint with the same bounds and a copy of the body, named\n"
             "R<identifier>_copy_<name> after this one.");
PyDoc_STRVAR(constraint_sidetable_sizes_doc,
             "_sidetable_sizes() -> (lower bounds, upper bounds, names)\n\n"
             "Entries held in the constraint side tables (for diagnostics and tests).");

static PyMethodDef constraint_methods[] = {
    {"copy", constraint_copy, METH_NOARGS, constraint_copy_doc},
    {"_sidetable_sizes", constraint_sidetable_sizes, METH_NOARGS | METH_STATIC,
     constraint_sidetable_sizes_doc},
    {nullptr, nullptr, 0, nullptr},
};

PyDoc_STRVAR(constraint_doc,
             "constraint(constraint, body, lb, ub, sense, rhs, name)\n\n"
             "A constraint lb <= body <= ub. Comparisons of modelling objects make them:\n"
             "  c = 2*x + y <= 4\n"
             "or explicitly, from bounds or from a sense and a right-hand side:\n"
             "  c = nuvrel.constraint(body=2*x + y, ub=4, name='cap')\n"
             "  c = nuvrel.constraint(body=x, sense=nuvrel.geq, rhs=1)\n\n"
             "Arguments (all optional, usually given by keyword):\n"
             "  constraint  the result of a comparison, taken over as it is\n"
             "  body        a variable, term, expression or nonlinear expression\n"
             "  lb, ub      bounds; +-infinity (1e20) means unbounded\n"
             "  sense, rhs  leq, geq or eq with a right-hand side (not with lb/ub)\n"
             "  name        the constraint's name; the default is 'R' and the identifier\n\n"
             "Attributes lb, ub and name can be changed; body cannot.");

PyTypeObject constraint_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.constraint",
    .tp_basicsize = sizeof(constraint_s),
    .tp_dealloc = constraint_dealloc,
    .tp_str = constraint_str,
    .tp_getattro = con_getattr,
    .tp_setattro = con_setattr,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC,
    .tp_doc = constraint_doc,
    .tp_traverse = constraint_traverse,
    .tp_clear = constraint_clear,
    .tp_methods = constraint_methods,
    .tp_init = constraint_init,
    .tp_alloc = PyType_GenericAlloc,
    .tp_new = constraint_new,
    .tp_free = PyObject_GC_Del,
};

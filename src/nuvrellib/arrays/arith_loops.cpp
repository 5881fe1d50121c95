// Element-wise arithmetic over arrays of modelling objects and doubles. Each element goes
// straight to the generic operators, or for the commonest kinds to a direct kernel with the
// same result; no Python attribute look-up happens per element.
#include "arrays/arrays.h"
#include "arrays/loops.h"
#include "model/dispatch.h"
#include "model/expression.h"
#include "model/linterm.h"
#include "model/var.h"
#include "module/errors.h"
#include "module/object_slab.h"
#include "module/pyref.h"

namespace {

enum operand_kind { BOTH_OBJECTS = 0, FIRST_DOUBLE = 1, SECOND_DOUBLE = 2 };

// The float object for a double operand, reused while the value repeats (long runs of equal
// coefficients are common: a vector of ones, a constant right-hand side).
class float_cache {
 public:
  PyObject *get(const char *p) {
    double v;
    __builtin_memcpy(&v, p, sizeof v);
    // Bitwise equality: NaN repeats too, and -0.0 keeps its own object.
    if (!obj_ || __builtin_memcmp(&v, &value_, sizeof v) != 0) {
      obj_.reset(PyFloat_FromDouble(v));
      value_ = v;
    }
    return obj_.get();
  }

 private:
  PyRef<> obj_;
  double value_ = 0.0;
};

// The object stored at p (borrowed). The generic operators would take None as an empty
// accumulator; inside an array it is a missing element (an array made but never filled, or
// None placed there), so it is refused with the operators' own message.
inline PyObject *object_at(const char *p) {
  PyObject *o = nvo_elem_load(p);
  if (o != nullptr && o != Py_None) return o;
  getExprType(Py_None);
  return nullptr;
}

// A reduction (x.sum(axis=0)) or an in-place operator writes over its first operand. When
// the element there is an expression that only this slot holds, it can be amended in place
// instead of copied: nobody else can see the change, and a long sum stays linear in time.
inline bool owned_by_slot(PyObject *a, const char *in, const char *out) {
  return in == out && Py_REFCNT(a) == 1 && Py_TYPE(a) == &expression_type;
}

enum fast_op { FAST_NONE, FAST_ADD, FAST_SUB, FAST_MUL };

inline double double_at(const char *p) {
  double v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}

// c * o for a variable or linear term o, as the generic product makes it; null when o is of
// another kind.
inline PyObject *scaled_term(PyObject *o, double c, bool *handled) {
  *handled = true;
  if (Py_TYPE(o) == &var_type) return c == 1.0 ? Py_NewRef(o) : linterm_fill(o, c);
  if (Py_TYPE(o) == &linterm_type) {
    auto *t = reinterpret_cast<linterm_s *>(o);
    return linterm_fill(t->var, t->coef * c);
  }
  *handled = false;
  return nullptr;
}

// k + f*o for a variable, linear term or expression o, as the generic sums make it; null when o
// is of another kind. zero_right: o is the left operand and the number on the right is zero,
// where the generic sum keeps a variable as it is (a number on the left always gives an
// expression, even 0 + x).
inline PyObject *object_plus_constant(PyObject *o, double f, double k, bool zero_right,
                                      bool *handled) {
  *handled = true;
  PyTypeObject *type = Py_TYPE(o);
  if (type == &expression_type) {
    PyObject *r = expression_copy(o, f);
    if (r != nullptr) reinterpret_cast<expression_s *>(r)->constant += k;
    return r;
  }
  PyObject *x;
  double cx;
  if (type == &var_type) {
    if (zero_right) return Py_NewRef(o);
    x = o, cx = f;
  } else if (type == &linterm_type) {
    x = reinterpret_cast<linterm_s *>(o)->var, cx = f * reinterpret_cast<linterm_s *>(o)->coef;
    if (k == 0.0) return linterm_fill(x, cx);
  } else {
    *handled = false;
    return nullptr;
  }
  // The failure messages of the variable's and the term's own sums.
  return term_plus_constant(x, cx, k,
                            type == &var_type ? "Could not allocate an object of type Variable"
                                              : "Error creating expression");
}

// The commonest element kinds of model building (coefficient times variable, sums of two
// terms, an expression plus a constant) computed directly, with the generic operators' results;
// false leaves the element to them. Skipping the classification of both operands at every
// level of the generic dispatch is most of the cost of these small results.
template <int Fast, int Kind>
inline bool fast_element(PyObject *a, PyObject *b, const char *i0, const char *i1,
                         PyObject **r) {
  bool handled = false;
  if constexpr (Fast == FAST_MUL && Kind == SECOND_DOUBLE) {
    *r = scaled_term(a, double_at(i1), &handled);
  } else if constexpr (Fast == FAST_MUL && Kind == FIRST_DOUBLE) {
    *r = scaled_term(b, double_at(i0), &handled);
  } else if constexpr ((Fast == FAST_ADD || Fast == FAST_SUB) && Kind != BOTH_OBJECTS) {
    const double s = Fast == FAST_ADD ? 1.0 : -1.0;
    if constexpr (Kind == SECOND_DOUBLE) {
      *r = object_plus_constant(a, 1.0, s * double_at(i1), double_at(i1) == 0.0, &handled);
    } else {
      *r = object_plus_constant(b, s, double_at(i0), false, &handled);
    }
  } else if constexpr ((Fast == FAST_ADD || Fast == FAST_SUB) && Kind == BOTH_OBJECTS) {
    // Two terms over variables, at least one a linear term: one expression of two terms, or a
    // single term when both share the variable.
    PyTypeObject *ta = Py_TYPE(a), *tb = Py_TYPE(b);
    if (!((ta == &linterm_type || tb == &linterm_type) &&
          (ta == &linterm_type || ta == &var_type) && (tb == &linterm_type || tb == &var_type)))
      return false;
    const double s = Fast == FAST_ADD ? 1.0 : -1.0;
    PyObject *xa = ta == &var_type ? a : reinterpret_cast<linterm_s *>(a)->var;
    PyObject *xb = tb == &var_type ? b : reinterpret_cast<linterm_s *>(b)->var;
    const double ca = ta == &var_type ? 1.0 : reinterpret_cast<linterm_s *>(a)->coef;
    const double cb = s * (tb == &var_type ? 1.0 : reinterpret_cast<linterm_s *>(b)->coef);
    handled = true;
    if (xa == xb) {
      *r = linterm_fill(xa, ca + cb);
    } else {
      // Both terms in one call: the map is made once, and two terms fit in it without a block
      // of their own.
      const linmap_entry terms[2] = {{reinterpret_cast<const var_s *>(xa), ca},
                                     {reinterpret_cast<const var_s *>(xb), cb}};
      PyRef e(expression_base());
      if (!e || expression_addLinTerms(e.get(), terms, 2) < 0) {
        *r = nvo_model_error(ta == tb ? "Error creating expression as sum of two linear terms"
                                      : "Error creating expression as sum of linear term and "
                                        "variable");
      } else {
        *r = e.release();
      }
    }
  }
  return handled;
}

template <PyObject *(*Op)(PyObject *, PyObject *), int Kind,
          PyObject *(*InPlace)(PyObject *, PyObject *) = nullptr, int Fast = FAST_NONE>
void binary_loop(char **args, const npy_intp *dims, const npy_intp *steps) {
  const npy_intp n = dims[0], s0 = steps[0], s1 = steps[1], so = steps[2];
  char *i0 = args[0], *i1 = args[1], *o = args[2];
  float_cache c0, c1;
  slab_untraced_scope untraced;
  for (npy_intp k = 0; k < n; ++k, i0 += s0, i1 += s1, o += so) {
    PyObject *r;
    if constexpr (Fast != FAST_NONE) {
      // The number operand is only made into a float object when the generic path needs it.
      PyObject *a = Kind == FIRST_DOUBLE ? nullptr : nvo_elem_load(i0);
      PyObject *b = Kind == SECOND_DOUBLE ? nullptr : nvo_elem_load(i1);
      if ((Kind == FIRST_DOUBLE || (a != nullptr && a != Py_None)) &&
          (Kind == SECOND_DOUBLE || (b != nullptr && b != Py_None)) &&
          !(InPlace != nullptr && Kind != FIRST_DOUBLE && owned_by_slot(a, i0, o)) &&
          fast_element<Fast, Kind>(a, b, i0, i1, &r)) {
        nvo_elem_store(o, r);
        if (r == nullptr) return;
        continue;
      }
    }
    PyObject *a = Kind == FIRST_DOUBLE ? c0.get(i0) : object_at(i0);
    PyObject *b = Kind == SECOND_DOUBLE ? c1.get(i1) : object_at(i1);
    if (a == nullptr || b == nullptr)
      r = nullptr;
    else if (InPlace != nullptr && Kind != FIRST_DOUBLE && owned_by_slot(a, i0, o))
      r = InPlace(a, b);
    else
      r = Op(a, b);
    nvo_elem_store(o, r);
    // numpy raises the pending error after the loop; nothing more may run meanwhile.
    if (r == nullptr) return;
  }
}

template <PyObject *(*Op)(PyObject *)>
void unary_loop(char **args, const npy_intp *dims, const npy_intp *steps) {
  const npy_intp n = dims[0], si = steps[0], so = steps[1];
  char *i = args[0], *o = args[1];
  slab_untraced_scope untraced;
  for (npy_intp k = 0; k < n; ++k, i += si, o += so) {
    PyObject *x = object_at(i);
    PyObject *r = x != nullptr ? Op(x) : nullptr;
    nvo_elem_store(o, r);
    if (r == nullptr) return;
  }
}

}  // namespace

#define NVO_BINARY_LOOPS(name, op, iop, fast)                                                 \
  void nvr_arr_##name##_oo(char **a, const npy_intp *d, const npy_intp *s, void *) {           \
    binary_loop<op, BOTH_OBJECTS, iop, fast>(a, d, s);                                         \
  }                                                                                            \
  void nvr_arr_##name##_of(char **a, const npy_intp *d, const npy_intp *s, void *) {           \
    binary_loop<op, SECOND_DOUBLE, iop, fast>(a, d, s);                                        \
  }                                                                                            \
  void nvr_arr_##name##_fo(char **a, const npy_intp *d, const npy_intp *s, void *) {           \
    binary_loop<op, FIRST_DOUBLE, nullptr, fast>(a, d, s);                                     \
  }

NVO_BINARY_LOOPS(add, general_add, general_iadd, FAST_ADD)
NVO_BINARY_LOOPS(sub, general_sub, general_isub, FAST_SUB)
NVO_BINARY_LOOPS(mul, general_mul, nullptr, FAST_MUL)
NVO_BINARY_LOOPS(div, general_div, nullptr, FAST_NONE)
NVO_BINARY_LOOPS(pow, general_pow, nullptr, FAST_NONE)
NVO_BINARY_LOOPS(and, general_and, nullptr, FAST_NONE)
NVO_BINARY_LOOPS(or, general_or, nullptr, FAST_NONE)

void nvr_arr_neg(char **a, const npy_intp *d, const npy_intp *s, void *) {
  unary_loop<general_neg>(a, d, s);
}
void nvr_arr_sqr(char **a, const npy_intp *d, const npy_intp *s, void *) {
  unary_loop<general_sqr>(a, d, s);
}

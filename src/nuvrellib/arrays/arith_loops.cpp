// Element-wise arithmetic over arrays of modelling objects and doubles. Each element goes
// straight to the generic operators; no Python attribute look-up happens per element.
#include "arrays/arrays.h"
#include "arrays/loops.h"
#include "model/dispatch.h"
#include "model/expression.h"
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

template <PyObject *(*Op)(PyObject *, PyObject *), int Kind,
          PyObject *(*InPlace)(PyObject *, PyObject *) = nullptr>
void binary_loop(char **args, const npy_intp *dims, const npy_intp *steps) {
  const npy_intp n = dims[0], s0 = steps[0], s1 = steps[1], so = steps[2];
  char *i0 = args[0], *i1 = args[1], *o = args[2];
  float_cache c0, c1;
  for (npy_intp k = 0; k < n; ++k, i0 += s0, i1 += s1, o += so) {
    PyObject *a = Kind == FIRST_DOUBLE ? c0.get(i0) : object_at(i0);
    PyObject *b = Kind == SECOND_DOUBLE ? c1.get(i1) : object_at(i1);
    PyObject *r;
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
  for (npy_intp k = 0; k < n; ++k, i += si, o += so) {
    PyObject *x = object_at(i);
    PyObject *r = x != nullptr ? Op(x) : nullptr;
    nvo_elem_store(o, r);
    if (r == nullptr) return;
  }
}

}  // namespace

#define NVO_BINARY_LOOPS(name, op, iop)                                                       \
  void nvr_arr_##name##_oo(char **a, const npy_intp *d, const npy_intp *s, void *) {           \
    binary_loop<op, BOTH_OBJECTS, iop>(a, d, s);                                               \
  }                                                                                            \
  void nvr_arr_##name##_of(char **a, const npy_intp *d, const npy_intp *s, void *) {           \
    binary_loop<op, SECOND_DOUBLE, iop>(a, d, s);                                              \
  }                                                                                            \
  void nvr_arr_##name##_fo(char **a, const npy_intp *d, const npy_intp *s, void *) {           \
    binary_loop<op, FIRST_DOUBLE>(a, d, s);                                                    \
  }

NVO_BINARY_LOOPS(add, general_add, general_iadd)
NVO_BINARY_LOOPS(sub, general_sub, general_isub)
NVO_BINARY_LOOPS(mul, general_mul, nullptr)
NVO_BINARY_LOOPS(div, general_div, nullptr)
NVO_BINARY_LOOPS(pow, general_pow, nullptr)
NVO_BINARY_LOOPS(and, general_and, nullptr)
NVO_BINARY_LOOPS(or, general_or, nullptr)

void nvr_arr_neg(char **a, const npy_intp *d, const npy_intp *s, void *) {
  unary_loop<general_neg>(a, d, s);
}
void nvr_arr_sqr(char **a, const npy_intp *d, const npy_intp *s, void *) {
  unary_loop<general_sqr>(a, d, s);
}

// Element-wise comparisons of arrays of modelling objects with doubles or with each other:
// every element becomes a constraint.
#include "arrays/arrays.h"
#include "arrays/loops.h"
#include "model/constraint.h"
#include "model/dispatch.h"
#include "model/expression.h"
#include "model/var.h"
#include "module/pyref.h"

namespace {

// A double operand as a new float; an object operand as a new reference (null reads as None).
inline PyObject *operand(const char *p, bool is_double) {
  if (is_double) {
    double v;
    __builtin_memcpy(&v, p, sizeof v);
    return PyFloat_FromDouble(v);
  }
  PyObject *o = nvo_elem_load(p);
  if (o != nullptr && o != Py_None) return Py_NewRef(o);
  // A missing element; make_constraint would read None as an empty side.
  getExprType(Py_None);
  return nullptr;
}

template <int Op, bool FirstDouble, bool SecondDouble>
void compare_loop(char **args, const npy_intp *dims, const npy_intp *steps) {
  const npy_intp n = dims[0], s0 = steps[0], s1 = steps[1], so = steps[2];
  char *i0 = args[0], *i1 = args[1], *o = args[2];
  // One lock for the identifiers of the whole run; those of elements left to the general path
  // stay unused.
  const uint64_t first_id = !FirstDouble && SecondDouble ? con_reserve_ids(n) : 0;
  for (npy_intp k = 0; k < n; ++k, i0 += s0, i1 += s1, o += so) {
    if constexpr (!FirstDouble && SecondDouble) {
      // A variable or an expression against a number (x <= u, A @ x == b): no float object,
      // no dispatch.
      PyObject *x = nvo_elem_load(i0);
      if (x != nullptr && (var_check(x) || expression_check(x))) {
        double c;
        __builtin_memcpy(&c, i1, sizeof c);
        PyObject *r = make_number_constraint(x, c, Op, first_id + static_cast<uint64_t>(k));
        nvo_elem_store(o, r);
        if (r == nullptr) return;
        continue;
      }
    }
    PyRef a(operand(i0, FirstDouble));
    PyRef b(a ? operand(i1, SecondDouble) : nullptr);
    PyObject *r = (a && b) ? make_constraint(a.get(), b.get(), Op) : nullptr;
    nvo_elem_store(o, r);
    if (r == nullptr) return;
  }
}

}  // namespace

#define NVO_COMPARE_LOOPS(name, op)                                                            \
  void name##_con_oo(char **a, const npy_intp *d, const npy_intp *s, void *) {                 \
    compare_loop<op, false, false>(a, d, s);                                                   \
  }                                                                                            \
  void name##_con_of(char **a, const npy_intp *d, const npy_intp *s, void *) {                 \
    compare_loop<op, false, true>(a, d, s);                                                    \
  }                                                                                            \
  void name##_con_fo(char **a, const npy_intp *d, const npy_intp *s, void *) {                 \
    compare_loop<op, true, false>(a, d, s);                                                    \
  }

NVO_COMPARE_LOOPS(leq, Py_LE)
NVO_COMPARE_LOOPS(eq, Py_EQ)
NVO_COMPARE_LOOPS(geq, Py_GE)

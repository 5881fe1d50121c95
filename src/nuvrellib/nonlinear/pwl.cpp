// nuvrel.pwl: a piecewise-linear function of one variable from a dictionary that maps
// intervals (a, b) to a constant or a linear function of that variable. The result is a node
// over the variable and the breakpoints in increasing abscissa.
#include <algorithm>
#include <cmath>
#include <vector>

#include "model/expression.h"
#include "model/linterm.h"
#include "model/var.h"
#include "module/env.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "nonlinear/nonlin.h"
#include "nonlinear/user.h"

namespace {

// Ends and values at least this large are infinite.
constexpr double kInfinite = 1e20;
// How far a finite end is put from the other one when an interval is unbounded on one side.
constexpr double kUnboundedWidth = 0.88;
// Closer points and values than this are one breakpoint.
constexpr double kJoinTolerance = 1e-6;

struct Piece {
  double a, b, fa, fb;
};

// value as c*x + d with x its one variable (null for a constant). 0, or -1 with ModelError.
int linear_in_one_variable(PyObject *value, double *c, double *d, PyObject **x) {
  *c = 0.0;
  *d = 0.0;
  *x = nullptr;
  if (nvo_is_number(value)) {
    *d = nvo_number_value(value);
    return 0;
  }
  if (var_check(value)) {
    *c = 1.0;
    *x = value;
    return 0;
  }
  if (linterm_check(value)) {
    auto *t = reinterpret_cast<linterm_s *>(value);
    *c = t->coef;
    *x = t->var;
    return 0;
  }
  if (expression_check(value)) {
    auto *e = reinterpret_cast<expression_s *>(value);
    if (e->quad == nullptr || e->quad->empty()) {
      *d = e->constant;
      if (e->lin == nullptr || e->lin->empty()) return 0;
      if (e->lin->size() == 1) {
        *x = reinterpret_cast<PyObject *>(const_cast<var_s *>(e->lin->begin()->var));
        *c = e->lin->begin()->coef;
        return 0;
      }
      PyErr_Format(nvpy_model_exc,
                   "Expression %S not suitable for a piecewise linear function; it must contain "
                   "one variable only",
                   value);
      return -1;
    }
  }
  PyErr_Format(nvpy_model_exc,
               "Expression %S not suitable for a piecewise linear function; it must be a "
               "constant or a linear function",
               value);
  return -1;
}

// The variable of the function: the first one seen, and every later one must be the same.
int use_variable(PyObject **var, PyObject *x, PyObject *a, PyObject *b) {
  if (*var == nullptr) {
    *var = x;
    return 0;
  }
  if (var_id(*var) == var_id(x)) return 0;
  PyErr_Format(nvpy_model_exc,
               "Expression in [%S,%S] interval contains variable %S while another variable has "
               "been used in the same function",
               a, b, x);
  return -1;
}

// Moves an infinite end of an interval finite by the other end (both infinite: kept).
void bound_infinite_end(Piece &p, double c, double d) {
  const bool left_inf = std::fabs(p.a) >= kInfinite, right_inf = std::fabs(p.b) >= kInfinite;
  if (left_inf && !right_inf) {
    p.a = p.b - kUnboundedWidth;
    p.fa = c * p.a + d;
  } else if (right_inf && !left_inf) {
    p.b = p.a + kUnboundedWidth;
    p.fb = c * p.b + d;
  }
}

// Appends the two floats (x, y) to the breakpoint list.
int append_point(PyObject *list, Py_ssize_t &pos, double x, double y) {
  for (double v : {x, y}) {
    PyObject *f = PyFloat_FromDouble(v);
    if (f == nullptr) return -1;
    PyList_SET_ITEM(list, pos++, f);
  }
  return 0;
}

PyObject *float_obj(double v) { return PyFloat_FromDouble(v); }

}  // namespace

const char nuvrelmod_pwl_doc[] =
    "Purpose:\n"
    "  A piecewise-linear function of one variable. Each key (a, b) of the dictionary is an\n"
    "  interval with a < b (an end of magnitude 1e20 or more is infinite), its value the\n"
    "  function on it: a constant or a linear function of the variable. Intervals must not\n"
    "  overlap; where one ends at the point the next one starts, with the same value, the\n"
    "  two join, otherwise the function jumps there. The key (None, x) names the variable\n"
    "  when every value is constant.\n\n"
    "Synopsis:\n"
    "  f = nuvrel.pwl({(a1, b1): expr1, (a2, b2): expr2, ...})\n\n"
    "Example:\n"
    "  cost = nuvrel.pwl({(0, 10): 2 * x, (10, 1e20): 20 + 1.5 * (x - 10)})\n"
    "  step = nuvrel.pwl({(None, x): None, (0, 1): 0, (1, 2): 5})\n";

PyObject *nuvrelmod_pwl(PyObject *, PyObject *arg) {
  if (!PyDict_Check(arg)) {
    PyErr_SetString(nvpy_model_exc,
                    "Function nuvrel.pwl only accepts a dictionary; a call must be for example "
                    "nuvrel.pwl({(1,4): 2*x+1, (4,6): 4*x+5, ...})");
    return nullptr;
  }
  PyObject *var = nullptr;  // borrowed from the dictionary, which the caller keeps
  std::vector<Piece> pieces;
  pieces.reserve(static_cast<size_t>(PyDict_GET_SIZE(arg)));
  Py_ssize_t it = 0;
  PyObject *key, *value;
  while (PyDict_Next(arg, &it, &key, &value)) {
    if (!PyTuple_Check(key) || PyTuple_GET_SIZE(key) != 2)
      return PyErr_Format(nvpy_model_exc,
                          "All keys in the dictionary argument of nuvrel.pwl must be two-tuples; "
                          "<%S> is not",
                          key);
    PyObject *a = PyTuple_GET_ITEM(key, 0), *b = PyTuple_GET_ITEM(key, 1);
    if (a == Py_None) {
      if (!var_check(b))
        return PyErr_Format(nvpy_model_exc,
                            "Tuple (None, Obj) must have an nuvrel.var() object as Obj, found <%S>",
                            b);
      if (use_variable(&var, b, a, b) != 0) return nullptr;
      continue;
    }
    if (!nvo_is_number(a) || !nvo_is_number(b) ||
        !(nvo_number_value(a) < nvo_number_value(b)))
      return PyErr_Format(nvpy_model_exc,
                          "All keys in the dictionary argument of nuvrel.pwl must be two-tuples "
                          "with two constant numbers: [a,b] such that a<b; <%S> is not",
                          key);
    double c, d;
    PyObject *x;
    if (linear_in_one_variable(value, &c, &d, &x) != 0) return nullptr;
    if (x != nullptr && use_variable(&var, x, a, b) != 0) return nullptr;
    Piece p;
    p.a = nvo_number_value(a);
    p.b = nvo_number_value(b);
    p.fa = c * p.a + d;
    p.fb = c * p.b + d;
    bound_infinite_end(p, c, d);
    pieces.push_back(p);
  }
  if (var == nullptr)
    return PyErr_Format(nvpy_model_exc,
                        "No variable specified for this piecewise linear function: %S; Are all "
                        "values constant? If so, add a key-value pair (None: x) to the "
                        "dictionary with the variable associated to the piecewise linear",
                        arg);

  // Stable, so that of two intervals with the same start the message names them in the
  // order given.
  std::stable_sort(pieces.begin(), pieces.end(),
                   [](const Piece &l, const Piece &r) { return l.a < r.a; });
  size_t extra = 0;  // gaps and jumps: both points kept
  for (size_t i = 0; i + 1 < pieces.size(); ++i) {
    const Piece &cur = pieces[i], &next = pieces[i + 1];
    if (cur.b > next.a) {
      PyRef a1(float_obj(cur.a)), b1(float_obj(cur.b)), a2(float_obj(next.a)),
          b2(float_obj(next.b));
      if (!a1 || !b1 || !a2 || !b2) return nullptr;
      return PyErr_Format(nvpy_model_exc,
                          "Interval [%S,%S] overlaps with [%S,%S] in piecewise linear function",
                          a1.get(), b1.get(), a2.get(), b2.get());
    }
    if (next.a - cur.b > kJoinTolerance || std::fabs(next.fa - cur.fb) > kJoinTolerance) ++extra;
  }

  const size_t n = pieces.size();
  PyRef list(PyList_New(static_cast<Py_ssize_t>(n == 0 ? 1 : 2 * (n + extra + 1) + 1)));
  if (!list) return nullptr;
  Py_ssize_t pos = 0;
  PyList_SET_ITEM(list.get(), pos++, Py_NewRef(var));
  for (size_t i = 0; i < n; ++i) {
    const Piece &p = pieces[i];
    const bool joined = i > 0 && p.a - pieces[i - 1].b <= kJoinTolerance &&
                        std::fabs(p.fa - pieces[i - 1].fb) <= kJoinTolerance;
    if (!joined && append_point(list.get(), pos, p.a, p.fa) != 0) return nullptr;
    if (append_point(list.get(), pos, p.b, p.fb) != 0) return nullptr;
  }
  return nonlin_instantiate_nary(NL_PWL, list.get());
}

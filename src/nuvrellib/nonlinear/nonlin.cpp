// The nonlin type: node construction, operators, sums in normal form, copies and printing.
#include "nonlinear/nonlin.h"

#include <cmath>
#include <string>

#include "model/dispatch.h"
#include "model/expression.h"
#include "model/walk.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/pyref.h"
#include "module/scalars.h"

// --- operator table ---------------------------------------------------------------------------

namespace {
constexpr int kOperator = 31, kFunction = 12, kUserFunction = 11;
}  // namespace

extern "C" {
const nonlin_print_tool printToolArray[NL_OP_COUNT] = {
    {"+", -1, 0},      {"-", 2, 0},      {"-", 1, -1},    {"*", -1, 0},     {"/", 2, 0},
    {"**", 2, 0},      {"exp", 1, -1},   {"log", 1, -1},  {"log10", 1, -1}, {"sin", 1, -1},
    {"cos", 1, -1},    {"tan", 1, -1},   {"asin", 1, -1}, {"acos", 1, -1},  {"atan", 1, -1},
    {"max", -1, -1},   {"min", -1, -1},  {"abs", 1, -1},  {"sign", 1, -1},  {"erf", 1, -1},
    {"erfc", 1, -1},   {"sqrt", 1, -1},  {"and", -1, -1}, {"or", -1, -1},   {"pwl", -1, -1},
    {"user", -1, -1},  {"user", -1, -1},
};

const int py_to_slp_op[NL_OP_COUNT] = {
    kOperator, kOperator, kOperator, kOperator, kOperator, kOperator,
    kFunction, kFunction, kFunction, kFunction, kFunction, kFunction, kFunction, kFunction,
    kFunction, kFunction, kFunction, kFunction, kFunction, kFunction, kFunction, kFunction,
    kFunction, kFunction, kFunction, kUserFunction, kUserFunction,
};

// "and" and "or" are the library's minimum and maximum: over 0/1 values they are the logic.
const int py_to_slp_fun[NL_OP_COUNT] = {
    5,  6,  1,  3,  4,  2,  16, 15, 14, 27, 28, 29, 30, 31,
    32, 34, 33, 17, 46, 49, 50, 18, 33, 34, 35, 0,  0,
};
}

namespace {

inline nonlin_s *as_node(PyObject *obj) { return reinterpret_cast<nonlin_s *>(obj); }

inline bool is_node_op(PyObject *obj, int op) {
  return nonlin_check(obj) && as_node(obj)->op == op;
}

inline bool is_number(PyObject *obj, double value) {
  return nvo_is_number(obj) && nvo_number_value(obj) == value;
}

// A node of nuvrel.nonlin owning args (stolen; may be null on failure, which is passed on).
PyObject *make_node(int op, PyObject *args) {
  PyRef owned(args);
  if (!owned) return nullptr;
  nonlin_s *n = PyObject_GC_New(nonlin_s, &nonlin_type);
  if (n == nullptr) return nullptr;
  n->args = owned.release();
  n->op = op;
  PyObject_GC_Track(n);
  return reinterpret_cast<PyObject *>(n);
}

PyObject *pair_list(PyObject *a, PyObject *b) {
  PyObject *l = PyList_New(2);
  if (l == nullptr) return nullptr;
  PyList_SET_ITEM(l, 0, Py_NewRef(a));
  PyList_SET_ITEM(l, 1, Py_NewRef(b));
  return l;
}

// Binary node over (a, b) without checks; sums and products get a list.
PyObject *binary_node(int op, PyObject *a, PyObject *b) {
  if (op == NL_SUM || op == NL_PROD) {
    // A node heads the list: a leaf on the left goes second.
    return make_node(op, nonlin_check(a) ? pair_list(a, b) : pair_list(b, a));
  }
  return make_node(op, PyTuple_Pack(2, a, b));
}

PyObject *unary_node(int op, PyObject *arg) { return make_node(op, Py_NewRef(arg)); }

bool is_array(PyObject *obj) { return nvo_is_array(obj) != 0; }

}  // namespace

// --- construction ------------------------------------------------------------------------------

PyObject *nonlin_new(PyTypeObject *type) {
  PyObject *obj = type->tp_alloc(type, 0);
  if (obj == nullptr) return nullptr;
  as_node(obj)->args = nullptr;
  as_node(obj)->op = -1;
  return obj;
}

PyObject *nonlin_base() { return nonlin_new(&nonlin_type); }

namespace {

// The checked constructor: arg is one operand (nary false) or a tuple or list of them.
PyObject *nonlin_checked(PyObject *arg, bool nary, int op) {
  const bool container = PyTuple_Check(arg) || PyList_Check(arg);
  const bool user = op == NL_USER || op == NL_USER2;
  if (nary && !container)
    return nvo_model_error(
        "Could not create an n-ary nonlinear expression: the arguments must be in a list or "
        "tuple");
  if (!nary && container)
    return nvo_model_error(
        "Could not create a unary nonlinear expression: the argument must be a single "
        "expression");
  if (nary) {
    const Py_ssize_t n = PySequence_Fast_GET_SIZE(arg);
    PyObject **items = PySequence_Fast_ITEMS(arg);
    for (Py_ssize_t i = 0; i < n; ++i) {
      PyObject *item = items[i];
      if (i == 0 && user && PyCallable_Check(item)) continue;
      if (is_array(item) || PyList_Check(item) || PyTuple_Check(item) ||
          nvo_kind_noraise(item) < 0 || PySequence_Check(item))
        return nvo_model_error("Invalid object in n-ary operation");
    }
  } else if (nvo_kind_noraise(arg) < 0 && !(user && PyCallable_Check(arg))) {
    return nvo_model_error("Invalid object in unary operation");
  }
  return make_node(op, Py_NewRef(arg));
}

}  // namespace

PyObject *nonlin_checked_args(PyObject *arg, bool nary, int op) {
  if (nary && !PyTuple_Check(arg))
    return nvo_model_error("Insufficient number of arguments declared for operator");
  return nonlin_checked(arg, nary, op);
}

PyObject *nonlin_instantiate_nary(int op, PyObject *args) { return nonlin_checked(args, true, op); }

// --- sums ---------------------------------------------------------------------------------------

namespace {

bool is_sum(PyObject *obj) { return is_node_op(obj, NL_SUM) && PyList_Check(as_node(obj)->args); }

bool is_linear(PyObject *obj) {
  int kind = nvo_kind_noraise(obj);
  return kind >= NVO_KIND_NUMBER && kind != NVO_KIND_NONLIN;
}

// factor * obj: obj itself for 1, its negation for -1, else its own kind's product.
PyObject *scaled(PyObject *obj, double factor) {
  if (factor == 1.0) return Py_NewRef(obj);
  if (nvo_is_number(obj)) return PyFloat_FromDouble(factor * nvo_number_value(obj));
  if (factor == -1.0) return general_neg(obj);
  PyRef f(PyFloat_FromDouble(factor));
  return f ? general_mul(obj, f.get()) : nullptr;
}

// The one operand of a sum list that is not a node, searched among the last three.
Py_ssize_t linear_part_index(PyObject *list) {
  const Py_ssize_t n = PyList_GET_SIZE(list);
  for (Py_ssize_t i = n - 1; i >= 0 && i >= n - 3; --i)
    if (is_linear(PyList_GET_ITEM(list, i))) return i;
  return -1;
}

// Removes and returns (owned) element i of list.
PyObject *list_pop(PyObject *list, Py_ssize_t i) {
  PyRef item = PyRef<>::borrow(PyList_GET_ITEM(list, i));
  if (PySequence_DelItem(list, i) < 0) return nullptr;
  return item.release();
}

// lin + factor * other for two leaves (numbers, variables, terms, expressions). An expression
// that nobody else holds is amended in place: the common case of a growing sum.
PyObject *merge_linear(PyObject *lin, PyObject *other, double factor) {
  if (expression_check(lin) && Py_REFCNT(lin) == 1) {
    if (expression_accumulate(lin, other, factor) < 0) return nullptr;
    return Py_NewRef(lin);
  }
  if (factor == 1.0) return general_add(lin, other);
  if (factor == -1.0) return general_sub(lin, other);
  PyRef s(scaled(other, factor));
  return s ? general_add(lin, s.get()) : nullptr;
}

// Appends factor * item to list.
int append_scaled(PyObject *list, PyObject *item, double factor) {
  PyRef s(scaled(item, factor));
  return s ? PyList_Append(list, s.get()) : -1;
}

// A leaf that adds nothing: the number 0, or an expression whose terms all cancelled.
bool is_zero_leaf(PyObject *obj) {
  if (nvo_is_number(obj)) return nvo_number_value(obj) == 0.0;
  if (!expression_check(obj)) return false;
  auto *e = reinterpret_cast<expression_s *>(obj);
  return e->constant == 0.0 && (e->lin == nullptr || e->lin->empty()) &&
         (e->quad == nullptr || e->quad->empty());
}

// Puts a linear part back at the end of a sum list, unless it has become zero.
int append_linear(PyObject *list, PyObject *lin) {
  if (lin == nullptr || is_zero_leaf(lin)) return 0;
  return PyList_Append(list, lin);
}

}  // namespace

PyObject *nonlin_incremental_alg_sum(PyObject *left, PyObject *right, double factor) {
  if (left == Py_None) return general_copy(right, factor);
  int kl = getExprType(left);
  if (kl < 0) return nullptr;
  int kr = getExprType(right);
  if (kr < 0) return nullptr;
  if (kl == NVO_KIND_EXPRESSION && (kr == NVO_KIND_VAR || kr == NVO_KIND_LINTERM))
    return merge_linear(left, right, factor);
  if (factor == 0.0) return Py_NewRef(left);
  if (is_number(left, 0.0)) return factor == 1.0 ? Py_NewRef(right) : general_copy(right, factor);
  if (is_number(right, 0.0)) return Py_NewRef(left);
  if (kl != NVO_KIND_NONLIN && kr != NVO_KIND_NONLIN) return merge_linear(left, right, factor);

  const bool lsum = is_sum(left), rsum = is_sum(right);
  if (!lsum && !rsum) {
    PyRef r(scaled(right, factor));
    if (!r) return nullptr;
    return make_node(NL_SUM, pair_list(left, r.get()));
  }

  if (lsum) {
    // Amend left's own list; a sum added to itself reads from a copy.
    PyRef keep;
    if (right == left) {
      keep = PyRef(nonlin_copy(right, 1.0));
      if (!keep) return nullptr;
      right = keep.get();
    }
    PyObject *list = as_node(left)->args;
    Py_ssize_t li = linear_part_index(list);
    PyRef lin(li >= 0 ? list_pop(list, li) : nullptr);
    if (li >= 0 && !lin) return nullptr;
    if (rsum) {
      PyObject *rlist = as_node(right)->args;
      const Py_ssize_t ri = linear_part_index(rlist);
      const Py_ssize_t n = PyList_GET_SIZE(rlist);
      for (Py_ssize_t i = 0; i < n; ++i) {
        if (i == ri) continue;
        PyObject *item = PyList_GET_ITEM(rlist, i);
        if ((factor == 1.0 ? PyList_Append(list, item) : append_scaled(list, item, factor)) < 0)
          return nullptr;
      }
      if (ri >= 0) {
        PyObject *rlin = PyList_GET_ITEM(rlist, ri);
        lin = PyRef(lin ? merge_linear(lin.get(), rlin, factor) : scaled(rlin, factor));
        if (!lin) return nullptr;
      }
    } else if (kr != NVO_KIND_NONLIN) {
      lin = PyRef(lin ? merge_linear(lin.get(), right, factor) : scaled(right, factor));
      if (!lin) return nullptr;
    } else if (append_scaled(list, right, factor) < 0) {
      return nullptr;
    }
    if (append_linear(list, lin.get()) < 0) return nullptr;
    return Py_NewRef(left);
  }

  // A sum on the right only: a new list with left first (a node) or merged into the
  // right's linear part, which goes last.
  PyObject *rlist = as_node(right)->args;
  const Py_ssize_t ri = linear_part_index(rlist);
  const Py_ssize_t n = PyList_GET_SIZE(rlist);
  PyRef list(PyList_New(0));
  if (!list) return nullptr;
  if (kl == NVO_KIND_NONLIN && PyList_Append(list.get(), left) < 0) return nullptr;
  for (Py_ssize_t i = 0; i < n; ++i)
    if (i != ri && append_scaled(list.get(), PyList_GET_ITEM(rlist, i), factor) < 0)
      return nullptr;
  PyRef lin;
  if (kl != NVO_KIND_NONLIN) {
    lin = PyRef(ri >= 0 ? merge_linear(left, PyList_GET_ITEM(rlist, ri), factor)
                        : Py_NewRef(left));
  } else if (ri >= 0) {
    lin = PyRef(scaled(PyList_GET_ITEM(rlist, ri), factor));
  }
  if ((kl != NVO_KIND_NONLIN || ri >= 0) && !lin) return nullptr;
  if (append_linear(list.get(), lin.get()) < 0) return nullptr;
  return make_node(NL_SUM, list.release());
}

PyObject *nonlin_alg_sum(PyObject *left, PyObject *right, double factor) {
  if (left == Py_None) return general_copy(right, factor);
  PyRef copy(general_copy(left, 1.0));
  if (!copy) return nullptr;
  return nonlin_incremental_alg_sum(copy.get(), right, factor);
}

// --- copies -------------------------------------------------------------------------------------

namespace {

// factor * copy for a product node: the factor goes into a number operand where there is one.
PyObject *scale_product(PyRef<> copy, double factor) {
  PyObject *list = as_node(copy.get())->args;
  if (!PyList_Check(list)) return nullptr;
  const Py_ssize_t n = PyList_GET_SIZE(list);
  if (n == 0) return PyFloat_FromDouble(factor);
  if (n == 1) return general_copy(PyList_GET_ITEM(list, 0), factor);
  for (Py_ssize_t i = 0; i < 2; ++i) {
    PyObject *item = PyList_GET_ITEM(list, i);
    if (nvo_is_number(item)) {
      PyObject *v = PyFloat_FromDouble(factor * nvo_number_value(item));
      if (v == nullptr || PyList_SetItem(list, i, v) < 0) return nullptr;
      return copy.release();
    }
  }
  return nullptr;
}

// A copy of args as the same container kind, element by element.
PyObject *copy_args(PyObject *args, int op) {
  const bool user = op == NL_USER || op == NL_USER2;
  if (!(PyTuple_Check(args) || PyList_Check(args))) {
    PyObject *c = general_copy(args, 1.0);
    if (c == nullptr) {
      if (PyErr_ExceptionMatches(PyExc_RecursionError)) return nullptr;
      PyErr_Clear();
      return nvo_model_error(
          "Invalid object being copied from single argument in a nonlinear expression");
    }
    return c;
  }
  const bool tuple = PyTuple_Check(args);
  const Py_ssize_t n = PySequence_Fast_GET_SIZE(args);
  PyRef res(tuple ? PyTuple_New(n) : PyList_New(n));
  if (!res) return nullptr;
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyObject *item = PySequence_Fast_GET_ITEM(args, i);
    // A user function's callable is shared, not copied.
    PyObject *c = i == 0 && user ? Py_NewRef(item) : general_copy(item, 1.0);
    if (c == nullptr) {
      // A node deeper than the interpreter's recursion limit says so.
      if (PyErr_ExceptionMatches(PyExc_RecursionError)) return nullptr;
      PyErr_Clear();
      return nvo_model_error(
          "Invalid object being copied from argument list/tuple in a nonlinear expression");
    }
    if (tuple) PyTuple_SET_ITEM(res.get(), i, c);
    else PyList_SET_ITEM(res.get(), i, c);
  }
  return res.release();
}

}  // namespace

PyObject *nonlin_copy(PyObject *node, double factor) {
  if (!nonlin_check(node)) return nvo_model_error("Invalid object being copied");
  nonlin_s *src = as_node(node);
  if (factor != 1.0 && src->op == NL_NEG && src->args != nullptr)
    return general_copy(src->args, -factor);
  // Deep trees are copied recursively: stop at the interpreter's limit rather than the stack's.
  if (Py_EnterRecursiveCall(" while copying a nonlinear expression")) return nullptr;
  PyObject *args = src->args != nullptr ? copy_args(src->args, src->op) : nullptr;
  Py_LeaveRecursiveCall();
  if (src->args != nullptr && args == nullptr) return nullptr;
  PyRef copy;
  if (args != nullptr) {
    copy = PyRef(make_node(src->op, args));
  } else {
    copy = PyRef(nonlin_base());
    if (copy) as_node(copy.get())->op = src->op;
  }
  if (!copy || factor == 1.0) return copy.release();
  if (src->op == NL_PROD) {
    PyObject *res = scale_product(PyRef<>::borrow(copy.get()), factor);
    if (res != nullptr || PyErr_Occurred()) return res;
  }
  PyRef f(PyFloat_FromDouble(factor));
  if (!f) return nullptr;
  return make_node(NL_PROD, pair_list(f.get(), copy.get()));
}

// --- operators ----------------------------------------------------------------------------------

namespace {

// pow(a, b, m) has no meaning here: true (with ModelError set) for a modulus.
bool modulus_refused(PyObject *mod) {
  if (mod == nullptr || mod == Py_None) return false;
  nvo_model_error("Invalid operands in exponentiation");
  return true;
}

// Numpy's own operator when either operand is an array, else NULL without an exception.
PyObject *array_case(int op, PyObject *a, PyObject *b) {
  if (is_array(b)) {
    switch (op) {
      case NVO_OP_ADD: return PyNumber_Add(b, a);
      case NVO_OP_MUL: return PyNumber_Multiply(b, a);
      case NVO_OP_SUB: {
        PyRef neg(PyNumber_Negative(b));
        return neg ? PyNumber_Add(neg.get(), a) : nullptr;
      }
      default: return nvo_array_binop(op, a, b);
    }
  }
  if (is_array(a)) return nvo_array_binop(op, a, b);
  return nullptr;
}

// The product node of a and b, flattening product operands into one list when in place.
PyObject *product(PyObject *a, PyObject *b, bool inplace) {
  if (is_array(a) || is_array(b)) return array_case(NVO_OP_MUL, a, b);
  const int ka = getExprType(a);
  if (ka < 0) return nullptr;
  const int kb = getExprType(b);
  if (kb < 0) return nullptr;
  // 0, 1 and -1 factors; only a number operand needs looking at.
  for (int side = 0; side < 2; ++side) {
    if ((side == 0 ? ka : kb) != NVO_KIND_NUMBER) continue;
    const double c = nvo_number_value(side == 0 ? a : b);
    PyObject *other = side == 0 ? b : a;
    if (c == 0.0 || ((side == 0 ? kb : ka) == NVO_KIND_NUMBER &&
                     nvo_number_value(other) == 0.0))
      return PyFloat_FromDouble(0.0);
    if (c == 1.0) return general_copy(other, 1.0);
    if (c == -1.0) return unary_node(NL_NEG, other);
  }
  if (inplace) {
    const bool pa = is_node_op(a, NL_PROD) && PyList_Check(as_node(a)->args);
    const bool pb = is_node_op(b, NL_PROD) && PyList_Check(as_node(b)->args);
    if (pa) {
      PyObject *list = as_node(a)->args;
      if (pb) {
        // Through a copy of b's operands: b may be a itself.
        PyRef items(PyList_GetSlice(as_node(b)->args, 0, PyList_GET_SIZE(as_node(b)->args)));
        const Py_ssize_t end = PyList_GET_SIZE(list);
        if (!items || PyList_SetSlice(list, end, end, items.get()) < 0) return nullptr;
      } else if (PyList_Append(list, b) < 0) {
        return nullptr;
      }
      return Py_NewRef(a);
    }
    if (pb) {
      PyObject *rlist = as_node(b)->args;
      PyRef list(PyList_GetSlice(rlist, 0, PyList_GET_SIZE(rlist)));
      if (!list) return nullptr;
      // A node heads the list, as in a new product.
      if ((nonlin_check(a) ? PyList_Insert(list.get(), 0, a) : PyList_Append(list.get(), a)) < 0)
        return nullptr;
      return make_node(NL_PROD, list.release());
    }
  }
  return binary_node(NL_PROD, a, b);
}

PyObject *quotient(PyObject *a, PyObject *b) {
  if (is_array(a) || is_array(b)) return array_case(NVO_OP_DIV, a, b);
  if (getExprType(a) < 0 || getExprType(b) < 0) return nullptr;
  int type;
  double c;
  if (isObjectConst(a, &type, &c) && c == 0.0) return PyFloat_FromDouble(0.0);
  if (isObjectConst(b, &type, &c)) {
    if (c == 0.0) return nvo_model_error("Division by zero");
    if (c == 1.0) return general_copy(a, 1.0);
  }
  return binary_node(NL_DIV, a, b);
}

PyObject *power(PyObject *a, PyObject *b, PyObject *mod) {
  if (modulus_refused(mod)) return nullptr;
  if (is_array(b)) return nvo_model_error("Cannot obtain a power with a vector as an exponent");
  if (is_array(a)) return nvo_array_binop(NVO_OP_POW, a, b);
  if (getExprType(a) < 0 || getExprType(b) < 0) return nullptr;
  if (is_number(a, 1.0) || is_number(b, 0.0)) return PyFloat_FromDouble(1.0);
  if (is_number(b, 1.0)) return general_copy(a, 1.0);
  return binary_node(NL_POW, a, b);
}

PyObject *sum(PyObject *a, PyObject *b, double factor, bool inplace) {
  if (is_array(a) || is_array(b)) return array_case(factor > 0 ? NVO_OP_ADD : NVO_OP_SUB, a, b);
  if (inplace) return nonlin_incremental_alg_sum(a, b, factor);
  return nonlin_alg_sum(a, b, factor);
}

PyObject *logical(int op, PyObject *a, PyObject *b) {
  if (is_array(a) || is_array(b)) return array_case(op == NL_AND ? NVO_OP_AND : NVO_OP_OR, a, b);
  if (getExprType(a) < 0 || getExprType(b) < 0) return nullptr;
  return make_node(op, PyTuple_Pack(2, a, b));
}

}  // namespace

PyObject *nonlin_add(PyObject *a, PyObject *b) { return sum(a, b, 1.0, false); }
PyObject *nonlin_iadd(PyObject *a, PyObject *b) { return sum(a, b, 1.0, true); }
PyObject *nonlin_isub(PyObject *a, PyObject *b) { return sum(a, b, -1.0, true); }

PyObject *nonlin_sub(PyObject *a, PyObject *b) {
  if (is_array(a) || is_array(b)) return array_case(NVO_OP_SUB, a, b);
  if (getExprType(a) < 0 || getExprType(b) < 0) return nullptr;
  if (is_number(a, 0.0)) return general_neg(b);
  if (is_number(b, 0.0)) return general_copy(a, 1.0);
  if (is_sum(a)) return nonlin_alg_sum(a, b, -1.0);
  return binary_node(NL_MINUS, a, b);
}

PyObject *nonlin_mul(PyObject *a, PyObject *b) { return product(a, b, false); }
PyObject *nonlin_imul(PyObject *a, PyObject *b) { return product(a, b, true); }
PyObject *nonlin_div(PyObject *a, PyObject *b) { return quotient(a, b); }
PyObject *nonlin_idiv(PyObject *a, PyObject *b) { return quotient(a, b); }
PyObject *nonlin_pow(PyObject *a, PyObject *b, PyObject *mod) { return power(a, b, mod); }
PyObject *nonlin_ipow(PyObject *a, PyObject *b, PyObject *mod) { return power(a, b, mod); }
PyObject *nonlin_neg(PyObject *a) { return unary_node(NL_NEG, a); }
PyObject *nonlin_abs(PyObject *a) { return nuvrelmod_abs(nullptr, a); }
PyObject *nonlin_and(PyObject *a, PyObject *b) { return logical(NL_AND, a, b); }
PyObject *nonlin_or(PyObject *a, PyObject *b) { return logical(NL_OR, a, b); }

// --- the modelling layer's entry ------------------------------------------------------------

namespace {

PyObject *dispatch_binary(int op, PyObject *a, PyObject *b) {
  switch (op) {
    case NVO_OP_ADD: return nonlin_add(a, b);
    case NVO_OP_SUB: return nonlin_sub(a, b);
    case NVO_OP_MUL: return nonlin_mul(a, b);
    case NVO_OP_DIV: return nonlin_div(a, b);
    case NVO_OP_POW: return nonlin_pow(a, b, Py_None);
    case NVO_OP_OR: return nonlin_or(a, b);
    case NVO_OP_AND: return nonlin_and(a, b);
    case NVO_OP_IADD: return nonlin_iadd(a, b);
    case NVO_OP_ISUB: return nonlin_isub(a, b);
    case NVO_OP_IMUL: return nonlin_imul(a, b);
    case NVO_OP_IDIV: return nonlin_idiv(a, b);
    case NVO_OP_IPOW: return nonlin_ipow(a, b, Py_None);
  }
  return nvo_model_error("Invalid object in operation");
}

PyObject *dispatch_unary(int op, PyObject *a) {
  if (op == NVO_OP_ABS) return nonlin_abs(a);
  if (getExprType(a) < 0) return nullptr;
  return unary_node(NL_NEG, a);
}

int split_constant(PyObject **body, double *rhs) {
  *rhs = 0.0;
  nonlin_s *n = as_node(*body);
  if (n->op == NL_SUM && PyList_Check(n->args) && PyList_GET_SIZE(n->args) > 0) {
    PyObject *last = PyList_GET_ITEM(n->args, PyList_GET_SIZE(n->args) - 1);
    if (!nvo_is_number(last)) return 0;
    if (Py_REFCNT(*body) > 1 || Py_REFCNT(n->args) > 1) {
      // The number leaves the list: work on our own copy.
      PyObject *copy = nonlin_copy(*body, 1.0);
      if (copy == nullptr) return -1;
      Py_SETREF(*body, copy);
      n = as_node(copy);
    }
    const Py_ssize_t i = PyList_GET_SIZE(n->args) - 1;
    *rhs = -nvo_number_value(PyList_GET_ITEM(n->args, i));
    return PySequence_DelItem(n->args, i);
  }
  if (n->op == NL_MINUS && PyTuple_Check(n->args) && PyTuple_GET_SIZE(n->args) == 2) {
    PyObject *first = PyTuple_GET_ITEM(n->args, 0), *second = PyTuple_GET_ITEM(n->args, 1);
    if (nvo_is_number(first)) {
      *rhs = nvo_number_value(first);
      Py_SETREF(*body, Py_NewRef(second));
      return 1;
    }
    if (nvo_is_number(second)) {
      *rhs = nvo_number_value(second);
      Py_SETREF(*body, Py_NewRef(first));
    }
  }
  return 0;
}

}  // namespace

void nonlin_install() {
  nvo_nonlinear.binary = dispatch_binary;
  nvo_nonlinear.unary = dispatch_unary;
  nvo_nonlinear.copy = nonlin_copy;
  nvo_nonlinear.split_constant = split_constant;
}

// --- printing ------------------------------------------------------------------------------------

namespace {

PyObject *str_recurs(PyObject *obj, int depth);

int append_piece(std::string &out, PyObject *obj, int depth) {
  PyRef s(str_recurs(obj, depth));
  if (!s) return -1;
  Py_ssize_t len;
  const char *text = PyUnicode_AsUTF8AndSize(s.get(), &len);
  if (text == nullptr) return -1;
  out.append(text, static_cast<size_t>(len));
  return 0;
}

PyObject *node_str(nonlin_s *n, int depth) {
  if (n->op < 0 || n->op >= NL_OP_COUNT) return nvo_model_error("Invalid nonlinear expression");
  const nonlin_print_tool &t = printToolArray[n->op];
  const bool infix = t.placement == 0;
  std::string out;
  if (t.arity == 1) {
    if (n->args == nullptr) return nvo_model_error("Invalid unary nonlinear expression");
    if (infix) out += '(';
    else (out += t.word) += " (";
    if (append_piece(out, n->args, depth) < 0) return nullptr;
    out += ')';
    if (infix) (out += ' ') += t.word;
  } else if (t.arity == 2) {
    if (n->args == nullptr || !PyTuple_Check(n->args) || PyTuple_GET_SIZE(n->args) != 2)
      return nvo_model_error("Invalid binary nonlinear expression");
    PyObject *a = PyTuple_GET_ITEM(n->args, 0), *b = PyTuple_GET_ITEM(n->args, 1);
    if (!infix) (out += t.word) += ' ';
    out += '(';
    if (append_piece(out, a, depth) < 0) return nullptr;
    if (infix) ((out += ' ') += t.word) += ' ';
    else out += ", ";
    if (append_piece(out, b, depth) < 0) return nullptr;
    out += ')';
  } else {
    if (!infix) (out += t.word) += ' ';
    out += '(';
    if (n->args != nullptr) {
      PyRef items(PySequence_Fast(n->args, "Invalid nonlinear expression"));
      if (!items) return nullptr;
      const Py_ssize_t count = PySequence_Fast_GET_SIZE(items.get());
      for (Py_ssize_t i = 0; i < count; ++i) {
        if (i > 0) {
          if (infix) ((out += ' ') += t.word) += ' ';
          else out += ", ";
        }
        if (append_piece(out, PySequence_Fast_GET_ITEM(items.get(), i), depth) < 0)
          return nullptr;
      }
    }
    out += ')';
  }
  return PyUnicode_FromStringAndSize(out.data(), static_cast<Py_ssize_t>(out.size()));
}

PyObject *str_recurs(PyObject *obj, int depth) {
  if (depth <= 0) return PyUnicode_FromString("[MAX RECURS LEV]");
  switch (nvo_kind_noraise(obj)) {
    case NVO_KIND_NUMBER: return PyObject_Repr(obj);
    case NVO_KIND_NONLIN: return node_str(as_node(obj), depth - 1);
    case NVO_KIND_INVALID:
      if (PyCallable_Check(obj)) return PyUnicode_FromString("user");
      return getExprType(obj), nullptr;
    default: return PyObject_Str(obj);
  }
}

PyObject *nonlin_str(PyObject *self) { return str_recurs(self, NVO_MAX_FORMULA_DEPTH); }

// --- type slots -----------------------------------------------------------------------------------

int nonlin_traverse(PyObject *self, visitproc visit, void *arg) {
  Py_VISIT(as_node(self)->args);
  return 0;
}

// The collector's clear slot: the arguments are nulled before their release.
int nonlin_clear(PyObject *self) {
  Py_CLEAR(as_node(self)->args);
  return 0;
}

void nonlin_dealloc(PyObject *self) {
  PyObject_GC_UnTrack(self);
  // The trashcan unrolls the release of a long chain of nodes instead of recursing.
  Py_TRASHCAN_BEGIN(self, nonlin_dealloc)
  Py_CLEAR(as_node(self)->args);
  Py_TYPE(self)->tp_free(self);
  Py_TRASHCAN_END
}

PyNumberMethods nonlin_as_number = {
    .nb_add = nonlin_add,
    .nb_subtract = nonlin_sub,
    .nb_multiply = nonlin_mul,
    .nb_power = nonlin_pow,
    .nb_negative = nonlin_neg,
    .nb_absolute = nonlin_abs,
    .nb_and = nonlin_and,
    .nb_or = nonlin_or,
    .nb_inplace_add = nonlin_iadd,
    .nb_inplace_subtract = nonlin_isub,
    .nb_inplace_multiply = nonlin_imul,
    .nb_inplace_power = nonlin_ipow,
    .nb_true_divide = nonlin_div,
    .nb_inplace_true_divide = nonlin_idiv,
};

}  // namespace

PyDoc_STRVAR(nonlin_doc,
             "A nonlinear expression: an operator (sin, exp, power, min, ...) applied to\n"
             "numbers, variables, terms, expressions and other nonlinear expressions.\n"
             "Made by the arithmetic operators and the module's functions, e.g.\n"
             "  nuvrel.exp(x) * y + x ** 3 <= 4");

PyTypeObject nonlin_type = {
    .ob_base = PyVarObject_HEAD_INIT(nullptr, 0)
    .tp_name = "nuvrel.nonlin",
    .tp_basicsize = sizeof(nonlin_s),
    .tp_dealloc = nonlin_dealloc,
    .tp_repr = nonlin_str,
    .tp_as_number = &nonlin_as_number,
    .tp_str = nonlin_str,
    .tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC,
    .tp_doc = nonlin_doc,
    .tp_traverse = nonlin_traverse,
    .tp_clear = nonlin_clear,
    .tp_richcompare = make_constraint,
    .tp_new = nvo_refuse_new,
};

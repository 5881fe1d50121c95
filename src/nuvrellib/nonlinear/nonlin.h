// Nonlinear expression nodes (nuvrel.nonlin): an operator with its operand(s).
//
// A node's args is the single operand of a unary operator, a tuple (a, b) of a binary one, a
// list for sums and products (so that they can grow in place) and the caller's tuple or list
// for the n-ary functions. Leaves are numbers, variables, terms and expressions.
#pragma once

#include <Python.h>

#include <cstdint>

struct nonlin_s {
  PyObject_HEAD
  PyObject *args;  // the operand(s), owned; null in a new node
  int32_t op;      // operator code; -1 in a new node
};

extern PyTypeObject nonlin_type;

// Operator codes: rows of the three tables below.
enum nonlin_op {
  NL_SUM = 0, NL_MINUS = 1, NL_NEG = 2, NL_PROD = 3, NL_DIV = 4, NL_POW = 5,
  NL_EXP = 6, NL_LOG = 7, NL_LOG10 = 8, NL_SIN = 9, NL_COS = 10, NL_TAN = 11,
  NL_ASIN = 12, NL_ACOS = 13, NL_ATAN = 14, NL_MAX = 15, NL_MIN = 16, NL_ABS = 17,
  NL_SIGN = 18, NL_ERF = 19, NL_ERFC = 20, NL_SQRT = 21, NL_AND = 22, NL_OR = 23,
  NL_PWL = 24, NL_USER = 25, NL_USER2 = 26,
  NL_OP_COUNT = 27,
};

// Printing: arity 1 unary, 2 binary, -1 argument list; placement -1 prefix, 0 infix.
struct nonlin_print_tool {
  const char *word;
  int arity;
  int placement;
};

// The operator table as three parallel arrays indexed by the code; the formula conversion
// emits py_to_slp_op[op] as the token type and py_to_slp_fun[op] as its value.
#define NONLIN_EXPORT __attribute__((visibility("default")))
extern "C" {
NONLIN_EXPORT extern const nonlin_print_tool printToolArray[NL_OP_COUNT];
NONLIN_EXPORT extern const int py_to_slp_op[NL_OP_COUNT];
NONLIN_EXPORT extern const int py_to_slp_fun[NL_OP_COUNT];
}

inline bool nonlin_check(PyObject *obj) { return PyObject_TypeCheck(obj, &nonlin_type); }
inline int nonlin_op_of(PyObject *obj) { return reinterpret_cast<nonlin_s *>(obj)->op; }

// Construction. Each returns a new reference or NULL with an exception set.
PyObject *nonlin_new(PyTypeObject *type);
PyObject *nonlin_base();
PyObject *nonlin_instantiate_nary(int op, PyObject *args);
// The module functions' constructor: one operand (nary false), or a tuple of them.
PyObject *nonlin_checked_args(PyObject *arg, bool nary, int op);

// left + factor * right, amending left when it is a sum node.
PyObject *nonlin_incremental_alg_sum(PyObject *left, PyObject *right, double factor);
// left + factor * right on a copy of left.
PyObject *nonlin_alg_sum(PyObject *left, PyObject *right, double factor);
// factor * node as a new tree.
PyObject *nonlin_copy(PyObject *node, double factor);

// Number slots (either operand may be the node).
PyObject *nonlin_add(PyObject *a, PyObject *b);
PyObject *nonlin_sub(PyObject *a, PyObject *b);
PyObject *nonlin_mul(PyObject *a, PyObject *b);
PyObject *nonlin_div(PyObject *a, PyObject *b);
PyObject *nonlin_pow(PyObject *a, PyObject *b, PyObject *mod);
PyObject *nonlin_neg(PyObject *a);
PyObject *nonlin_abs(PyObject *a);
PyObject *nonlin_iadd(PyObject *a, PyObject *b);
PyObject *nonlin_isub(PyObject *a, PyObject *b);
PyObject *nonlin_imul(PyObject *a, PyObject *b);
PyObject *nonlin_idiv(PyObject *a, PyObject *b);
PyObject *nonlin_ipow(PyObject *a, PyObject *b, PyObject *mod);
PyObject *nonlin_and(PyObject *a, PyObject *b);
PyObject *nonlin_or(PyObject *a, PyObject *b);

// Hands the node builders to the modelling layer's operators; called once at import.
void nonlin_install();

// Module functions.
PyObject *nuvrelmod_exp(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_log(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_log10(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_sin(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_cos(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_tan(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_asin(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_acos(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_atan(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_abs(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_erf(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_erfc(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_sqrt(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_sign(PyObject *self, PyObject *arg);
PyObject *nuvrelmod_min(PyObject *self, PyObject *args);
PyObject *nuvrelmod_max(PyObject *self, PyObject *args);
PyObject *nuvrelmod_And(PyObject *self, PyObject *args);
PyObject *nuvrelmod_Or(PyObject *self, PyObject *args);

extern const char nuvrelmod_exp_doc[], nuvrelmod_log_doc[], nuvrelmod_log10_doc[],
    nuvrelmod_sin_doc[], nuvrelmod_cos_doc[], nuvrelmod_tan_doc[], nuvrelmod_asin_doc[],
    nuvrelmod_acos_doc[], nuvrelmod_atan_doc[], nuvrelmod_abs_doc[], nuvrelmod_erf_doc[],
    nuvrelmod_erfc_doc[], nuvrelmod_sqrt_doc[], nuvrelmod_sign_doc[], nuvrelmod_min_doc[],
    nuvrelmod_max_doc[], nuvrelmod_And_doc[], nuvrelmod_Or_doc[];

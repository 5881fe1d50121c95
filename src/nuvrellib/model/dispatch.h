// Arithmetic over modelling objects of any kind: operand classification, the generic operators
// that pick each kind's rule by precedence, and the arithmetic of plain numbers.
//
// Every function returns a new reference, or NULL with an exception set. A numpy array
// operand is always handed to numpy's own operator (element-wise over the array).
//
// Number slots of nuvrel.var: the variable operators declared below (nb_add = var_add,
// nb_subtract = var_sub, nb_multiply = var_mul, nb_true_divide = var_div, nb_power =
// var_pow, nb_negative = var_neg, nb_positive = general_pos, nb_absolute = var_abs and the
// in-place forms var_iadd, var_isub, var_imul, var_idiv, var_ipow), defined in
// model/dispatch.cpp. Comparison slot of every modelling type: make_constraint. The generic
// operators general_* are for code that combines operands of unknown kinds; they differ from
// the slots only in accepting None as an empty accumulator.
#pragma once

#include <Python.h>

#include "module/errors.h"
#include "module/scalars.h"

// Operand kinds, ordered from the lowest to the highest.
enum nvo_expr_kind {
  NVO_KIND_INVALID = -1,
  NVO_KIND_NUMBER = 0,
  NVO_KIND_VAR = 1,
  NVO_KIND_LINTERM = 2,
  NVO_KIND_QUADTERM = 3,
  NVO_KIND_EXPRESSION = 4,
  NVO_KIND_NONLIN = 5,
};

// The kind of obj; -1 with "Invalid object in operation: <obj>" (ModelError) set otherwise.
int getExprType(PyObject *obj);
// Kind without raising: -1 for anything that is not a modelling object or number.
int nvo_kind_noraise(PyObject *obj);

// 1 for a numpy array (ndarray or subclass).
int nvo_is_array(PyObject *obj);

// Generic binary operators.
PyObject *general_add(PyObject *a, PyObject *b);
PyObject *general_sub(PyObject *a, PyObject *b);
PyObject *general_mul(PyObject *a, PyObject *b);
PyObject *general_div(PyObject *a, PyObject *b);
PyObject *general_pow(PyObject *a, PyObject *b);
PyObject *general_or(PyObject *a, PyObject *b);
PyObject *general_and(PyObject *a, PyObject *b);
PyObject *general_iadd(PyObject *a, PyObject *b);
PyObject *general_isub(PyObject *a, PyObject *b);
PyObject *general_imul(PyObject *a, PyObject *b);
PyObject *general_idiv(PyObject *a, PyObject *b);
PyObject *general_ipow(PyObject *a, PyObject *b);

// Unary operators.
PyObject *general_neg(PyObject *a);
PyObject *general_pos(PyObject *a);
PyObject *general_abs(PyObject *a);
// a ** 2.
PyObject *general_sqr(PyObject *a);
// factor * obj at the lowest kind (a number, array, variable, term, expression or node).
PyObject *general_copy(PyObject *obj, double factor);

// Operators of nuvrel.var (either operand may be the variable). The pow forms have the
// three-argument slot signature; a modulus other than None is refused.
PyObject *var_add(PyObject *a, PyObject *b);
PyObject *var_sub(PyObject *a, PyObject *b);
PyObject *var_mul(PyObject *a, PyObject *b);
PyObject *var_div(PyObject *a, PyObject *b);
PyObject *var_pow(PyObject *a, PyObject *b, PyObject *mod);
PyObject *var_neg(PyObject *a);
PyObject *var_abs(PyObject *a);
PyObject *var_iadd(PyObject *a, PyObject *b);
PyObject *var_isub(PyObject *a, PyObject *b);
PyObject *var_imul(PyObject *a, PyObject *b);
PyObject *var_idiv(PyObject *a, PyObject *b);
PyObject *var_ipow(PyObject *a, PyObject *b, PyObject *mod);

// Arithmetic of plain numbers (either operand may be a numpy array).
PyObject *constant_add(PyObject *a, PyObject *b);
PyObject *constant_sub(PyObject *a, PyObject *b);
PyObject *constant_mul(PyObject *a, PyObject *b);
PyObject *constant_div(PyObject *a, PyObject *b);
PyObject *constant_pow(PyObject *a, PyObject *b);
PyObject *constant_neg(PyObject *a);
PyObject *constant_or(PyObject *a, PyObject *b);
PyObject *constant_and(PyObject *a, PyObject *b);
#define constant_iadd constant_add
#define constant_isub constant_sub
#define constant_imul constant_mul
#define constant_idiv constant_div
#define constant_ipow constant_pow

// constant + cx*x for a variable x, as an expression: the sum of a term and a number. NULL with
// ModelError `failure` when it cannot be made.
PyObject *term_plus_constant(PyObject *x, double cx, double constant, const char *failure);

// Comparison slot of var, linterm, quadterm, expression and nonlin: a <op> b as a constraint
// (op is Py_LT ... Py_GE). Defined in model/constraint.cpp.
PyObject *make_constraint(PyObject *a, PyObject *b, int op);
// make_constraint(x, c, op) for a variable or an expression x and a number c (op Py_LE, Py_EQ
// or Py_GE), built without the general dispatch and with the identifier id (from
// con_reserve_ids): arrays compare a million variables with bounds, or the rows of A @ x with
// their right-hand sides, at a time.
PyObject *make_number_constraint(PyObject *x, double c, int op, uint64_t id);

// Operator codes shared by the dispatch helpers below.
enum nvo_op {
  NVO_OP_ADD, NVO_OP_SUB, NVO_OP_MUL, NVO_OP_DIV, NVO_OP_POW, NVO_OP_OR, NVO_OP_AND,
  NVO_OP_IADD, NVO_OP_ISUB, NVO_OP_IMUL, NVO_OP_IDIV, NVO_OP_IPOW, NVO_OP_NEG, NVO_OP_ABS,
};

// The operator of one kind applied to (a, b) in that order (kind >= NVO_KIND_VAR); the
// lower kinds' operators use it to hand an operand that outranks them to its own kind.
PyObject *nvo_kind_binop(int kind, int op, PyObject *a, PyObject *b);

// a <op> b computed by numpy when a or b is an array: the array's own operator keeps the
// order of the operands, and a division by an array multiplies by its reciprocal.
PyObject *nvo_array_binop(int op, PyObject *a, PyObject *b);

// Results that are nonlinear nodes: a <op> b (op an nvo_op code, in-place forms included)
// and -a or abs(a) (NVO_OP_NEG, NVO_OP_ABS).
PyObject *nvo_nonlinear_binary(int op, PyObject *a, PyObject *b);
PyObject *nvo_nonlinear_unary(int op, PyObject *a);

// The node builders of the nonlinear layer, which sits above this one and fills the table at
// import.
struct nvo_nonlinear_ops {
  PyObject *(*binary)(int op, PyObject *a, PyObject *b);
  PyObject *(*unary)(int op, PyObject *a);
  // factor * node as a new tree.
  PyObject *(*copy)(PyObject *node, double factor);
  // Splits the constant off a comparison's difference *body (owned; may be replaced): 0 with
  // *rhs the right-hand side, 1 when the body was c - f and is now f with *rhs = c (the sense
  // flips), -1 with an exception set.
  int (*split_constant)(PyObject **body, double *rhs);
};
extern nvo_nonlinear_ops nvo_nonlinear;


// Python-callable entry to the generic operators, for diagnostics and tests:
// _general(name, a[, b]) with name one of add, sub, mul, div, pow, or, and, iadd, isub, imul,
// idiv, ipow (two operands), neg, pos, abs, sqr, kind (one operand) or copy (operand, factor).
PyObject *nvo_general_py(PyObject *self, PyObject *args);

// The formula conversion's hooks for the two node kinds that need more than an operator code:
// piecewise-linear functions (op NL_PWL) and user functions (ops NL_USER, NL_USER2).
#pragma once

#include <Python.h>

#include "nonlinear/convert.h"
#include "nonlinear/tokens.h"

// Writes the whole formula of one pwl or user-function node into tokens, in parsed (reverse
// Polish) order, for problem p. Called by the conversion for every node whose op is
// NL_PWL, NL_USER or NL_USER2 (p gives the problem's nonlinear handle, its dictionary of
// registered user functions and its owner object for errors), with depth = the node's remaining depth budget (>= 1,
// already checked); its operands are converted with nvo_formula_operand(p, operand, tokens,
// depth - 1) (declared in nonlinear/convert.h), which checks the budget again and writes
// the operand's tokens. The node's tokens are:
//   - user function (op NL_USER / NL_USER2, args a tuple or list): operand 0 must be
//     callable, else ModelError "First argument of a user() operator must be the function
//     itself"; it is registered with the nonlinear library for p (a callable already
//     registered with p keeps its index), giving its index; then (NVO_TOK_DEL, 0), the other
//     operands last first (operand n-1 .. operand 1), and (NVO_TOK_UFUN, index);
//   - pwl (op NL_PWL, args [x, x0, y0, x1, y1, ...]): (NVO_TOK_DEL, 0), every operand last
//     first (yn, xn, ..., y0, x0, x), and (NVO_TOK_IFUN, 35).
// Each token is written with tokens->emit, or with put after reserve. Returns 0, or -1 with
// an exception set; on failure the conversion takes back whatever was written.
int nvo_user_tokens(const nvo_nl_problem *p, PyObject *node, nvo_tokens *tokens, int depth);

// The value of a pwl or user-function node at a point, for evaluation (nuvrel.evaluate,
// getSolution on structures). values holds the values of the node's operands in their stored
// order (nvalues of them), except that for a user function operand 0, the callable, is left
// out: values[0] is operand 1. A user function is called with the values as Python floats (a
// tuple result gives its value as element 0); a pwl interpolates between its breakpoints,
// tol being the evaluation's tolerance. Sets *result; 0, or -1 with an exception set.
int nvo_user_value(PyObject *node, const double *values, Py_ssize_t nvalues, double tol,
                   double *result);

// Conversion of a constraint body or an objective into what the library takes: a constant,
// linear (column, coefficient) pairs, quadratic (column, column, coefficient) triplets and
// nonlinear coefficients (column, factor, formula) for the nonlinear solver.
#pragma once

#include <Python.h>

#include <cstdint>

#include "model/termmaps.h"
#include "module/alloc_buffer.h"
#include "nonlinear/tokens.h"
#include "nvrl.h"

// What the conversion needs of a problem; the problem layer fills it in from its fields.
struct nvo_nl_problem {
  PyObject *owner = nullptr;          // the problem object, for library errors
  const rowcolmap *varmap = nullptr;  // variable identifier -> column
  NSLPprob slpprob = nullptr;         // null when the nonlinear solver is not available
  int32_t *constant_col = nullptr;    // the problem's cache of the constant column
  PyObject **userfuncs = nullptr;     // the problem's dict of user functions (null until made)
  PyObject **userfunc_errors = nullptr;  // the problem's list of their exceptions (likewise)
};
// Value of *constant_col before the library has been asked.
constexpr int32_t NVO_CONSTANT_COL_UNREAD = INT32_MIN;

// The converted linear and quadratic part of a body. Quadratic coefficients are as written:
// (i, j, c) stands for c*xi*xj (c*xi^2 when i == j); the callers turn them into the library's
// row or objective forms.
struct nvo_converted {
  double constant = 0.0;
  AllocBuffer<int> lin_col;
  AllocBuffer<double> lin_coef;
  AllocBuffer<int> quad_col1, quad_col2;
  AllocBuffer<double> quad_coef;

  void clear() {
    constant = 0.0;
    lin_col.clear();
    lin_coef.clear();
    quad_col1.clear();
    quad_col2.clear();
    quad_coef.clear();
  }
};

// Nonlinear coefficients gathered for one or more rows: coefficient k adds
// factor[k] * x[col[k]] * formula_k(x) to row[k] (the formula times factor[k] when col[k] is
// the constant column); formula_k is tokens[start[k] .. start[k+1]) (the last one ending at
// tokens.size()), each ending with an end token. Rows are the caller's to fill in.
struct nvo_nlcoefs {
  AllocBuffer<int> row, col, start;
  AllocBuffer<double> factor;
  nvo_tokens tokens;

  size_t size() const { return col.size(); }
  // Forgets the coefficients from k on and their tokens.
  void truncate(size_t k);
  // Gives coefficients from k on the row.
  void set_rows(size_t k, int r) {
    for (size_t i = k; i < row.size(); ++i) row[i] = r;
  }
  void clear() { truncate(0); }
  void release();
  // Appends the end of the last formula to start, as NSLPaddcoefs takes it (start then has
  // size() + 1 entries until the next truncate or clear). 0, or -1 with an exception set
  // (MemoryError, or ModelError when the formulas are too long for one library call).
  int close_starts();
};

// Converts body with the columns of p: a number, var, linterm, quadterm or expression goes to
// *out; a nonlin node is split into its linear and quadratic operands (to *out) and nonlinear
// coefficients (appended to *nl, rows left for the caller). Zero coefficients are skipped.
// 0, or -1 with an exception set; *nl then holds exactly what it held before.
int convertExpr(const nvo_nl_problem *p, PyObject *body, nvo_converted *out, nvo_nlcoefs *nl);

// Writes the tokens of one operand of a formula (number, var, term, expression or nonlin
// node) into tokens, with depth the remaining depth budget (refused below 1). For the
// conversion of pwl and user-function nodes. 0, or -1 with an exception set.
int nvo_formula_operand(const nvo_nl_problem *p, PyObject *obj, nvo_tokens *tokens, int depth);

// The nonlinear library's constant column of p, read once per problem. 0, or -1 with an
// exception set (also when p has no nonlinear problem).
int nvo_constant_column(const nvo_nl_problem *p, int *col);

// The library's quadratic conventions (see nvrl.h): in a row (i, j, v) with i != j is
// 2v*xi*xj and (i, i, v) is v*xi^2; in the objective (i, j, v) with i != j is v*xi*xj and
// (i, i, v) is v/2*xi^2.
inline double nvo_row_qcoef(int i, int j, double c) { return i == j ? c : 0.5 * c; }
inline double nvo_obj_qcoef(int i, int j, double c) { return i == j ? 2.0 * c : c; }

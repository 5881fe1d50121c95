// Conversion of a constraint body or an objective into what the library takes: a constant,
// linear (column, coefficient) pairs and quadratic (column, column, coefficient) triplets.
// Nonlinear parts are refused for now with a ModelError.
#pragma once

#include <Python.h>

#include "model/termmaps.h"
#include "module/alloc_buffer.h"

// The converted body. Quadratic coefficients are as written: (i, j, c) stands for c*xi*xj
// (c*xi^2 when i == j); the callers turn them into the library's row or objective forms.
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

// Converts body (number, var, linterm, quadterm or expression) with the columns of varmap
// (variable identifier -> column, a problem's), appending to *out
// (which the caller clears). Zero coefficients are skipped. 0, or -1 with ModelError (or a
// MemoryError) set.
int convertExpr(const rowcolmap *varmap, PyObject *body, nvo_converted *out);

// The library's quadratic conventions (see nvrl.h): in a row (i, j, v) with i != j is
// 2v*xi*xj and (i, i, v) is v*xi^2; in the objective (i, j, v) with i != j is v*xi*xj and
// (i, i, v) is v/2*xi^2.
inline double nvo_row_qcoef(int i, int j, double c) { return i == j ? c : 0.5 * c; }
inline double nvo_obj_qcoef(int i, int j, double c) { return i == j ? 2.0 * c : c; }

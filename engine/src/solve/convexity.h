// Convexity tests of a quadratic objective and of quadratic rows.
#pragma once

#include "core/problem.h"

namespace nvrl {

// True when the quadratic objective is convex in the model's sense: Q positive semidefinite
// for minimisation, negative semidefinite for maximisation. Only the columns that occur in Q
// are examined.
bool quadraticObjectiveIsConvex(const Model &m);

// True when row's quadratic part makes a convex set in the row's sense: Q positive
// semidefinite for an 'L' row, negative semidefinite for a 'G' row; an 'E' or 'R' row with a
// non-zero quadratic part is not convex. A row without one is.
bool quadraticRowIsConvex(const Model &m, int row);

// Positive semidefiniteness of a dense symmetric n x n matrix (row-major, overwritten).
bool isPositiveSemidefinite(std::vector<double> &a, int n);

}  // namespace nvrl

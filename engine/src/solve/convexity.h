// Convexity test of a quadratic objective.
#pragma once

#include "core/problem.h"

namespace nvrl {

// True when the quadratic objective is convex in the model's sense: Q positive semidefinite
// for minimisation, negative semidefinite for maximisation. Only the columns that occur in Q
// are examined.
bool quadraticObjectiveIsConvex(const Model &m);

// Positive semidefiniteness of a dense symmetric n x n matrix (row-major, overwritten).
bool isPositiveSemidefinite(std::vector<double> &a, int n);

}  // namespace nvrl

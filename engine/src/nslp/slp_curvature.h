// Second-order check at a first-order point of the nonlinear solver: a direction in which the
// Hessian of the Lagrangian curves downwards while the active rows stay active to first
// order. A point with such a direction is a saddle, not a local minimum; a method that only
// sees gradients (and a positive definite quasi-Newton term) stops there.
#pragma once

#include <vector>

// The engine's tests reach these.
#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl {

// Orthonormal basis of the null space of the m x n matrix A (row-major): the columns of the
// n x k matrix Z (row-major), k returned. Rows of A that depend on others are ignored.
NVRL_INTERNAL_API int nullSpaceBasis(const std::vector<double> &A, int m, int n,
                                     std::vector<double> &Z);

// Smallest eigenvalue of the symmetric k x k matrix a (row-major, destroyed) with a unit
// eigenvector in v (cyclic Jacobi rotations: exact enough for the small matrices used here).
NVRL_INTERNAL_API double smallestEigenpair(std::vector<double> &a, int k,
                                           std::vector<double> &v);

// A unit direction d (n entries) with A d = 0 along which d'Hd < -tol, with that curvature in
// *curvature; false when there is none. H is n x n, A m x n, both row-major.
NVRL_INTERNAL_API bool negativeCurvatureDirection(const std::vector<double> &H,
                                                  const std::vector<double> &A, int m, int n,
                                                  double tol, std::vector<double> &d,
                                                  double *curvature);

}  // namespace nvrl

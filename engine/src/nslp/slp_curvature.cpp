// Dense null spaces and eigenpairs for the second-order check of the nonlinear solver. The
// matrices are as large as the columns of one problem's nonlinear terms, and the check runs
// only where the solver would otherwise stop, so plain O(n^3) methods are enough.
#include "nslp/slp_curvature.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace nvrl {

namespace {

double dot(const double *a, const double *b, int n) {
  double s = 0.0;
  for (int i = 0; i < n; ++i) s += a[i] * b[i];
  return s;
}

// Makes v orthogonal to the first count vectors of basis (each n long, orthonormal), twice
// over for accuracy; returns the norm left.
double orthogonalise(std::vector<double> &v, const std::vector<double> &basis, int count,
                     int n) {
  for (int pass = 0; pass < 2; ++pass)
    for (int b = 0; b < count; ++b) {
      const double *u = &basis[static_cast<size_t>(b) * n];
      const double c = dot(v.data(), u, n);
      for (int i = 0; i < n; ++i) v[i] -= c * u[i];
    }
  return std::sqrt(dot(v.data(), v.data(), n));
}

}  // namespace

int nullSpaceBasis(const std::vector<double> &A, int m, int n, std::vector<double> &Z) {
  // An orthonormal basis of the row space first, then the unit vectors made orthogonal to it
  // and to each other: those that keep a fair length span the null space.
  std::vector<double> basis;
  basis.reserve(static_cast<size_t>(n) * n);
  int rank = 0;
  std::vector<double> v(n);
  for (int r = 0; r < m && rank < n; ++r) {
    v.assign(A.begin() + static_cast<ptrdiff_t>(r) * n,
             A.begin() + static_cast<ptrdiff_t>(r + 1) * n);
    const double before = std::sqrt(dot(v.data(), v.data(), n));
    if (before == 0.0) continue;
    const double left = orthogonalise(v, basis, rank, n);
    if (left <= 1e-10 * before) continue;  // depends on the rows before it
    for (double &e : v) e /= left;
    basis.insert(basis.end(), v.begin(), v.end());
    ++rank;
  }
  int total = rank;
  for (int j = 0; j < n && total < n; ++j) {
    v.assign(n, 0.0);
    v[j] = 1.0;
    const double left = orthogonalise(v, basis, total, n);
    if (left <= 1e-6) continue;
    for (double &e : v) e /= left;
    basis.insert(basis.end(), v.begin(), v.end());
    ++total;
  }
  const int k = total - rank;
  Z.assign(static_cast<size_t>(n) * k, 0.0);
  for (int c = 0; c < k; ++c)
    for (int i = 0; i < n; ++i)
      Z[static_cast<size_t>(i) * k + c] = basis[static_cast<size_t>(rank + c) * n + i];
  return k;
}

double smallestEigenpair(std::vector<double> &a, int k, std::vector<double> &v) {
  // V accumulates the rotations; its columns end as the eigenvectors.
  std::vector<double> V(static_cast<size_t>(k) * k, 0.0);
  for (int i = 0; i < k; ++i) V[static_cast<size_t>(i) * k + i] = 1.0;
  auto at = [&](int i, int j) -> double & { return a[static_cast<size_t>(i) * k + j]; };
  for (int sweep = 0; sweep < 100; ++sweep) {
    double off = 0.0, diag = 0.0;
    for (int i = 0; i < k; ++i) {
      diag += at(i, i) * at(i, i);
      for (int j = i + 1; j < k; ++j) off += at(i, j) * at(i, j);
    }
    if (off <= 1e-30 * std::max(diag, 1e-300)) break;
    for (int p = 0; p < k; ++p)
      for (int q = p + 1; q < k; ++q) {
        const double apq = at(p, q);
        if (apq == 0.0) continue;
        const double theta = (at(q, q) - at(p, p)) / (2.0 * apq);
        const double t =
            (theta >= 0 ? 1.0 : -1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
        const double c = 1.0 / std::sqrt(t * t + 1.0), s = t * c;
        for (int r = 0; r < k; ++r) {
          const double arp = at(r, p), arq = at(r, q);
          at(r, p) = c * arp - s * arq;
          at(r, q) = s * arp + c * arq;
        }
        for (int r = 0; r < k; ++r) {
          const double apr = at(p, r), aqr = at(q, r);
          at(p, r) = c * apr - s * aqr;
          at(q, r) = s * apr + c * aqr;
        }
        for (int r = 0; r < k; ++r) {
          double &vp = V[static_cast<size_t>(r) * k + p], &vq = V[static_cast<size_t>(r) * k + q];
          const double a0 = vp, b0 = vq;
          vp = c * a0 - s * b0;
          vq = s * a0 + c * b0;
        }
      }
  }
  int best = 0;
  for (int i = 1; i < k; ++i)
    if (at(i, i) < at(best, best)) best = i;
  v.resize(k);
  for (int r = 0; r < k; ++r) v[r] = V[static_cast<size_t>(r) * k + best];
  return k > 0 ? at(best, best) : 0.0;
}

bool negativeCurvatureDirection(const std::vector<double> &H, const std::vector<double> &A,
                                int m, int n, double tol, std::vector<double> &d,
                                double *curvature) {
  std::vector<double> Z;
  const int k = nullSpaceBasis(A, m, n, Z);
  if (k == 0) return false;
  // The reduced Hessian Z'HZ.
  std::vector<double> HZ(static_cast<size_t>(n) * k, 0.0), R(static_cast<size_t>(k) * k, 0.0);
  for (int i = 0; i < n; ++i)
    for (int l = 0; l < n; ++l) {
      const double h = H[static_cast<size_t>(i) * n + l];
      if (h == 0.0) continue;
      for (int c = 0; c < k; ++c)
        HZ[static_cast<size_t>(i) * k + c] += h * Z[static_cast<size_t>(l) * k + c];
    }
  for (int a = 0; a < k; ++a)
    for (int b = 0; b < k; ++b) {
      double s = 0.0;
      for (int i = 0; i < n; ++i)
        s += Z[static_cast<size_t>(i) * k + a] * HZ[static_cast<size_t>(i) * k + b];
      R[static_cast<size_t>(a) * k + b] = s;
    }
  for (int a = 0; a < k; ++a)
    for (int b = a + 1; b < k; ++b) {
      double &ab = R[static_cast<size_t>(a) * k + b], &ba = R[static_cast<size_t>(b) * k + a];
      ab = ba = 0.5 * (ab + ba);
    }
  std::vector<double> u;
  const double lambda = smallestEigenpair(R, k, u);
  if (!(lambda < -tol)) return false;
  d.assign(n, 0.0);
  for (int i = 0; i < n; ++i)
    d[i] = dot(&Z[static_cast<size_t>(i) * k], u.data(), k);
  if (curvature) *curvature = lambda;
  return true;
}

}  // namespace nvrl

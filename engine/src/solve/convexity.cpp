// Semidefiniteness by Cholesky factorisation with diagonal pivoting: at each step the largest
// remaining diagonal is eliminated. A negative pivot, or a vanishing pivot whose column is not
// vanishing as well, proves the matrix indefinite.
#include "solve/convexity.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace nvrl {

bool isPositiveSemidefinite(std::vector<double> &a, int n) {
  double scale = 0.0;
  for (double v : a) scale = std::max(scale, std::fabs(v));
  if (scale == 0.0) return true;
  const double tol = 1e-9 * scale * std::max(1, n);
  std::vector<int> perm(n);
  for (int i = 0; i < n; ++i) perm[i] = i;
  auto at = [&](int i, int j) -> double & { return a[static_cast<size_t>(perm[i]) * n + perm[j]]; };
  for (int k = 0; k < n; ++k) {
    int best = k;
    for (int i = k + 1; i < n; ++i)
      if (at(i, i) > at(best, best)) best = i;
    std::swap(perm[k], perm[best]);
    const double d = at(k, k);
    if (d < -tol) return false;
    if (d <= tol) {
      // Every remaining diagonal is (numerically) zero or negative: semidefinite only when
      // the whole remaining block vanishes.
      for (int i = k; i < n; ++i)
        for (int j = k; j < n; ++j)
          if (std::fabs(at(i, j)) > tol) return false;
      return true;
    }
    const double s = std::sqrt(d);
    for (int i = k + 1; i < n; ++i) at(i, k) /= s;
    for (int i = k + 1; i < n; ++i) {
      const double lik = at(i, k);
      if (lik == 0.0) continue;
      for (int j = k + 1; j <= i; ++j) {
        at(i, j) -= lik * at(j, k);
        if (j != i) at(j, i) = at(i, j);
      }
    }
  }
  return true;
}

namespace {

// Whether sign * Q is positive semidefinite, Q given by its upper triangle.
bool signedIsPsd(const QMatrix &q, double sign) {
  std::unordered_map<int, int> local;  // column -> position in the dense block
  for (const auto &[key, v] : q) {
    if (v == 0.0) continue;
    local.emplace(key.first, static_cast<int>(local.size()));
    local.emplace(key.second, static_cast<int>(local.size()));
  }
  const int n = static_cast<int>(local.size());
  if (n == 0) return true;
  std::vector<double> a(static_cast<size_t>(n) * n, 0.0);
  for (const auto &[key, v] : q) {
    if (v == 0.0) continue;
    const int i = local[key.first], j = local[key.second];
    a[static_cast<size_t>(i) * n + j] = sign * v;
    a[static_cast<size_t>(j) * n + i] = sign * v;
  }
  return isPositiveSemidefinite(a, n);
}

}  // namespace

bool quadraticObjectiveIsConvex(const Model &m) {
  return signedIsPsd(m.qobj, m.objsense >= 0 ? 1.0 : -1.0);
}

bool quadraticRowIsConvex(const Model &m, int row) {
  auto it = m.qrows.find(row);
  if (it == m.qrows.end()) return true;
  bool empty = true;
  for (const auto &[key, v] : it->second) empty = empty && v == 0.0;
  if (empty) return true;
  switch (m.rowtype[row]) {
    case 'L': return signedIsPsd(it->second, 1.0);
    case 'G': return signedIsPsd(it->second, -1.0);
    case 'N': return true;  // a free row constrains nothing
    default: return false;  // both sides bound a curved function
  }
}

}  // namespace nvrl

#include "tree/perspective.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "interfaces/highs_c_api.h"

namespace nvrl::tree {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
// z = 0 must pin x to 0 within this.
constexpr double kOffTol = 1e-9;
// Share of the room left on a column taken at each step of the diagonal split, and passes.
constexpr double kSplitStep = 0.5;
constexpr int kSplitPasses = 10;
// The split actually used is this share of the one computed: the Hessian left stays strictly
// positive definite on the split columns whatever the round-off, and away from singular,
// where HiGHS's QP solver is the least reliable.
constexpr double kSplitSafety = 0.9;
// A column whose d is below this share of its diagonal gains nothing worth a column.
constexpr double kLeastShare = 1e-3;

// Dense symmetric matrix, row-major.
struct Dense {
  int n = 0;
  std::vector<double> a;
  double &at(int i, int j) { return a[static_cast<size_t>(i) * n + j]; }
  double at(int i, int j) const { return a[static_cast<size_t>(i) * n + j]; }
};

// Positive semidefinite within round-off: a Cholesky factorisation in which a pivot near 0
// (relative to tol) is accepted only when the rest of its column is near 0 as well.
bool semidefinite(Dense m, double tol) {
  const int n = m.n;
  for (int k = 0; k < n; ++k) {
    const double p = m.at(k, k);
    if (p < -tol) return false;
    if (p <= tol) {
      for (int i = k + 1; i < n; ++i)
        if (std::fabs(m.at(i, k)) > std::sqrt(tol * std::max(tol, std::fabs(m.at(i, i)))) * 10)
          return false;
      continue;
    }
    const double r = std::sqrt(p);
    for (int i = k + 1; i < n; ++i) m.at(i, k) /= r;
    for (int j = k + 1; j < n; ++j) {
      const double ljk = m.at(j, k);
      if (ljk == 0.0) continue;
      for (int i = j; i < n; ++i) m.at(i, j) -= m.at(i, k) * ljk;
    }
  }
  return true;
}

// Inverse of a symmetric positive definite matrix by Gauss-Jordan with diagonal pivots; false
// when a pivot is not positive.
bool invert(const Dense &m, Dense &inv) {
  const int n = m.n;
  Dense w = m;
  inv.n = n;
  inv.a.assign(static_cast<size_t>(n) * n, 0.0);
  for (int i = 0; i < n; ++i) inv.at(i, i) = 1.0;
  for (int k = 0; k < n; ++k) {
    const double p = w.at(k, k);
    if (!(p > 0.0)) return false;
    for (int j = 0; j < n; ++j) {
      w.at(k, j) /= p;
      inv.at(k, j) /= p;
    }
    for (int i = 0; i < n; ++i) {
      if (i == k) continue;
      const double f = w.at(i, k);
      if (f == 0.0) continue;
      for (int j = 0; j < n; ++j) {
        w.at(i, j) -= f * w.at(k, j);
        inv.at(i, j) -= f * inv.at(k, j);
      }
    }
  }
  return true;
}

}  // namespace

std::vector<OnOffColumn> findOnOffColumns(const LoweredModel &L) {
  std::vector<OnOffColumn> out;
  if (!L.hasHessian() || static_cast<int>(L.integrality.size()) != L.cols()) return out;
  const int n = L.cols();
  std::vector<double> diag(n, 0.0);
  for (int j = 0; j < static_cast<int>(L.q_start.size()); ++j) {
    const int end = j + 1 < static_cast<int>(L.q_start.size()) ? L.q_start[j + 1]
                                                                 : static_cast<int>(L.q_index.size());
    for (int k = L.q_start[j]; k < end; ++k)
      if (L.q_index[k] == j) diag[j] = L.sense * L.q_value[k];
  }
  auto binary = [&](int j) {
    return L.integrality[j] != 0 && L.col_lo[j] == 0.0 && L.col_up[j] == 1.0;
  };
  // Per (x, z): x's range with z at 0 and at 1.
  struct Ranges {
    double lo0, up0, lo1, up1;
  };
  std::map<std::pair<int, int>, Ranges> pairs;
  for (int i = 0; i < L.rows(); ++i) {
    if (L.a_start[i + 1] - L.a_start[i] != 2) continue;
    int x = L.a_index[L.a_start[i]], z = L.a_index[L.a_start[i] + 1];
    double a = L.a_value[L.a_start[i]], b = L.a_value[L.a_start[i] + 1];
    if (binary(x)) {
      std::swap(x, z);
      std::swap(a, b);
    }
    if (x == z || L.integrality[x] != 0 || !binary(z) || !(diag[x] > 0.0) || a == 0.0) continue;
    auto [it, fresh] = pairs.try_emplace({x, z}, Ranges{L.col_lo[x], L.col_up[x], L.col_lo[x],
                                                        L.col_up[x]});
    Ranges &r = it->second;
    // row_lo - b v <= a x <= row_up - b v for z = v.
    for (int v = 0; v < 2; ++v) {
      double lo = (L.row_lo[i] - b * v) / a, up = (L.row_up[i] - b * v) / a;
      if (a < 0) std::swap(lo, up);
      double &rl = v == 0 ? r.lo0 : r.lo1, &ru = v == 0 ? r.up0 : r.up1;
      if (!std::isnan(lo)) rl = std::fmax(rl, lo);
      if (!std::isnan(up)) ru = std::fmin(ru, up);
    }
  }
  std::vector<char> taken(n, 0);
  for (const auto &[key, r] : pairs) {
    const auto [x, z] = key;
    if (taken[x] || r.lo0 < -kOffTol || r.up0 > kOffTol || r.lo1 > r.up1) continue;
    taken[x] = 1;
    out.push_back({x, z, r.lo1, r.up1, diag[x]});
  }
  return out;
}

bool splitDiagonal(const LoweredModel &L, std::vector<OnOffColumn> &cols, int maxDense) {
  std::vector<int> pos(L.cols(), -1), support;
  for (int j = 0; j < static_cast<int>(L.q_start.size()); ++j) {
    const int end = j + 1 < static_cast<int>(L.q_start.size()) ? L.q_start[j + 1]
                                                                 : static_cast<int>(L.q_index.size());
    for (int k = L.q_start[j]; k < end; ++k)
      for (int c : {j, L.q_index[k]})
        if (pos[c] < 0) {
          pos[c] = static_cast<int>(support.size());
          support.push_back(c);
        }
  }
  const int n = static_cast<int>(support.size());
  if (cols.empty() || n > maxDense) {
    cols.clear();
    return false;
  }
  Dense q;
  q.n = n;
  q.a.assign(static_cast<size_t>(n) * n, 0.0);
  double scale = 0.0;
  for (int j = 0; j < static_cast<int>(L.q_start.size()); ++j) {
    const int end = j + 1 < static_cast<int>(L.q_start.size()) ? L.q_start[j + 1]
                                                                 : static_cast<int>(L.q_index.size());
    for (int k = L.q_start[j]; k < end; ++k) {
      const int r = pos[L.q_index[k]], c = pos[j];
      const double v = L.sense * L.q_value[k];
      q.at(r, c) += v;
      if (r != c) q.at(c, r) += v;
    }
  }
  for (int i = 0; i < n; ++i) scale = std::fmax(scale, std::fabs(q.at(i, i)));
  const double tol = 1e-10 * scale;
  // The greedy split needs an inverse: a singular Hessian is nudged for it, and the result
  // checked (and halved until it passes) on the Hessian itself.
  Dense m = q;
  for (int i = 0; i < n; ++i) m.at(i, i) += 1e-9 * scale;
  Dense w;
  if (!invert(m, w)) {
    cols.clear();
    return false;
  }
  // Round-robin: each column takes part of its room, 1 / (M^-1)_jj, the most by which M's
  // diagonal entry can drop with M staying semidefinite; M^-1 follows by Sherman-Morrison.
  // Small steps in turn share the room between columns instead of giving it to the first.
  std::vector<double> take(cols.size(), 0.0);
  std::vector<double> col(n);
  for (int pass = 0; pass < kSplitPasses; ++pass)
    for (size_t c = 0; c < cols.size(); ++c) {
      const int j = pos[cols[c].x];
      const double wjj = w.at(j, j);
      if (!(wjj > 0.0)) continue;
      const double delta = kSplitStep / wjj;
      take[c] += delta;
      for (int i = 0; i < n; ++i) col[i] = w.at(i, j);
      const double f = delta / (1.0 - kSplitStep);
      for (int i = 0; i < n; ++i) {
        const double fi = f * col[i];
        if (fi == 0.0) continue;
        for (int k = 0; k < n; ++k) w.at(i, k) += fi * col[k];
      }
    }
  for (double &t : take) t *= kSplitSafety;
  for (int attempt = 0; attempt < 6; ++attempt) {
    Dense r = q;
    for (size_t c = 0; c < cols.size(); ++c) r.at(pos[cols[c].x], pos[cols[c].x]) -= take[c];
    if (semidefinite(r, tol)) break;
    if (attempt == 5) {
      cols.clear();
      return false;
    }
    for (double &t : take) t *= 0.5;
  }
  std::vector<OnOffColumn> kept;
  for (size_t c = 0; c < cols.size(); ++c) {
    // take is off the Hessian's diagonal, whose objective term is half of it.
    if (take[c] < kLeastShare * cols[c].q) continue;
    cols[c].d = 0.5 * std::fmin(take[c], cols[c].q);
    kept.push_back(cols[c]);
  }
  cols = std::move(kept);
  return !cols.empty();
}

LoweredModel withEpigraphs(const LoweredModel &L, std::vector<OnOffColumn> &cols) {
  LoweredModel P = L;
  std::vector<double> off(L.cols(), 0.0);
  for (OnOffColumn &c : cols) {
    c.t = P.addCol(L.sense * c.d, 0.0, kInf, 0);
    off[c.x] = 2.0 * c.d;
  }
  for (int j = 0; j < static_cast<int>(L.q_start.size()); ++j) {
    const int end = j + 1 < static_cast<int>(L.q_start.size()) ? L.q_start[j + 1]
                                                                 : static_cast<int>(L.q_index.size());
    for (int k = L.q_start[j]; k < end; ++k)
      if (L.q_index[k] == j) P.q_value[k] -= L.sense * off[j];
  }
  P.q_start.resize(P.cols(), static_cast<int>(P.q_index.size()));
  return P;
}

Cut perspectiveCut(const OnOffColumn &c, double a) {
  // In units of x^2 (t costs d), so that the coefficients are of the order of x's; scaled
  // down where a is large. (Scaling the rows up to tighten their tolerance made HiGHS's QP
  // solver fail more often.)
  const double f = 1.0 / std::fmax(1.0, a * a);
  return Cut{{c.x, c.z, c.t}, {f * 2.0 * a, -f * a * a, -f}, 0.0};
}

std::vector<Cut> separatePerspective(const std::vector<OnOffColumn> &cols,
                                     const std::vector<double> &p, double minViolation,
                                     int maxCuts) {
  std::vector<std::pair<double, Cut>> found;
  for (const OnOffColumn &c : cols) {
    // Off (or nearly): the perspective of d x^2 has nothing to add there.
    const double z = std::fmin(1.0, p[c.z]);
    if (!(z > 1e-6)) continue;
    const double a = std::clamp(p[c.x] / z, std::fmin(c.lo1, c.up1), c.up1);
    if (a == 0.0 || !std::isfinite(a)) continue;
    const double violation = c.d * (2.0 * a * p[c.x] - a * a * p[c.z] - p[c.t]);
    if (violation > minViolation) found.push_back({violation, perspectiveCut(c, a)});
  }
  return mostViolated(std::move(found), maxCuts);
}

double epigraphDeficit(const std::vector<OnOffColumn> &cols, const std::vector<double> &p) {
  double s = 0.0;
  for (const OnOffColumn &c : cols) s += c.d * std::fmax(0.0, p[c.x] * p[c.x] - p[c.t]);
  return s;
}

double lagrangianBound(void *h, const std::vector<OnOffColumn> &cols) {
  const HighsInt n = Highs_getNumCol(h), m = Highs_getNumRow(h);
  const HighsInt nz = Highs_getNumNz(h), qnz = Highs_getHessianNumNz(h);
  std::vector<double> cost(n), lo(n), up(n), rlo(m), rup(m), aval(nz), qval(qnz);
  // One more start than HiGHS writes: the end of the last column.
  std::vector<HighsInt> astart(n + 1), aidx(nz), qstart(n + 1), qidx(qnz), integrality(n);
  HighsInt ncol = 0, nrow = 0, anz = 0, hnz = 0, sense = kHighsObjSenseMinimize;
  double offset = 0.0;
  if (Highs_getModel(h, kHighsMatrixFormatColwise, kHighsHessianFormatTriangular, &ncol, &nrow,
                     &anz, &hnz, &sense, &offset, cost.data(), lo.data(), up.data(), rlo.data(),
                     rup.data(), astart.data(), aidx.data(), aval.data(), qstart.data(),
                     qidx.data(), qval.data(), integrality.data()) == kHighsStatusError ||
      ncol != n || nrow != m)
    return -kInf;
  astart[n] = nz;
  qstart[n] = qnz;
  std::vector<double> x(n), dj(n), act(m), y(m);
  if (Highs_getSolution(h, x.data(), dj.data(), act.data(), y.data()) == kHighsStatusError)
    return -kInf;
  for (const OnOffColumn &c : cols)
    if (c.t >= 0 && c.t < n)
      up[c.t] = std::fmin(up[c.t], std::fmax(c.lo1 * c.lo1, c.up1 * c.up1));
  const double s = sense == kHighsObjSenseMaximize ? -1.0 : 1.0;
  // The gradient c + Qx at the point (Q from its lower triangle), and the objective there.
  std::vector<double> g(cost);
  for (HighsInt j = 0; j < n; ++j)
    for (HighsInt k = qstart[j]; k < qstart[j + 1]; ++k) {
      const HighsInt i = qidx[k];
      g[i] += qval[k] * x[j];
      if (i != j) g[j] += qval[k] * x[i];
    }
  double f = offset;
  for (HighsInt j = 0; j < n; ++j) f += x[j] * (cost[j] + 0.5 * (g[j] - cost[j]));
  // In minimisation form: f(x) >= f(p) + g'(x - p) >= f(p) - g'p + (g - A'y)'x + y'Ax, and
  // y'Ax >= sum of y_i times the row side its sign points to (a dual whose side is infinite
  // counts as 0).
  double bound = s * f;
  for (HighsInt i = 0; i < m; ++i) {
    y[i] *= s;
    const double side = y[i] > 0.0 ? rlo[i] : rup[i];
    if (y[i] == 0.0 || std::isinf(side))
      y[i] = 0.0;
    else
      bound += y[i] * side;
  }
  for (HighsInt j = 0; j < n; ++j) {
    double r = s * g[j];
    bound -= r * x[j];
    for (HighsInt k = astart[j]; k < astart[j + 1]; ++k) r -= aval[k] * y[aidx[k]];
    if (r == 0.0) continue;
    const double at = r > 0.0 ? lo[j] : up[j];
    if (std::isinf(at)) return -kInf;
    bound += r * at;
  }
  return bound;
}

PerspectiveModel::PerspectiveModel(HighsSession &session, bool enabled) : session_(session) {
  const LoweredModel &L = session.lowered();
  if (!enabled || !L.hasHessian()) return;
  cols_ = findOnOffColumns(L);
  if (cols_.empty() || !splitDiagonal(L, cols_)) return;
  model_ = withEpigraphs(L, cols_);
  void *h = session.handle();
  const int m = static_cast<int>(cols_.size());
  std::vector<double> cost(m), lo(m, 0.0), up(m, kInf);
  for (int k = 0; k < m; ++k) cost[k] = model_.cost[cols_[k].t];
  std::vector<HighsInt> starts(m, 0);
  const bool ok =
      Highs_addCols(h, m, cost.data(), lo.data(), up.data(), 0, starts.data(), nullptr,
                    nullptr) != kHighsStatusError &&
      Highs_passHessian(h, model_.cols(), static_cast<HighsInt>(model_.q_value.size()),
                        kHighsHessianFormatTriangular, model_.q_start.data(),
                        model_.q_index.data(), model_.q_value.data()) != kHighsStatusError;
  if (!ok) {
    // HiGHS may hold half of it: the next solve passes the whole model again.
    session.invalidate();
    cols_.clear();
    model_ = LoweredModel();
    return;
  }
  active_ = true;
}

PerspectiveModel::~PerspectiveModel() {
  if (!active_) return;
  const LoweredModel &L = session_.lowered();
  void *h = session_.handle();
  const bool ok =
      Highs_deleteColsByRange(h, L.cols(), model_.cols() - 1) != kHighsStatusError &&
      Highs_passHessian(h, L.cols(), static_cast<HighsInt>(L.q_value.size()),
                        kHighsHessianFormatTriangular, L.q_start.data(), L.q_index.data(),
                        L.q_value.data()) != kHighsStatusError &&
      Highs_getNumCol(h) == L.cols();
  if (!ok) session_.invalidate();
}

}  // namespace nvrl::tree

#include "solve/qp_verdict.h"

#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include "interfaces/highs_c_api.h"
#include "solve/highs_session.h"

namespace nvrl {

namespace {

// A direction's improvement counts when it beats this, relative to the largest cost.
constexpr double kImprovement = 1e-7;
// Dual residuals and wrongly signed duals above this, relative to the size of the terms, fail
// the optimality check; positions within it of a bound count as at the bound.
constexpr double kOptimality = 1e-6;

// Whether v is at the (possibly infinite) bound b.
bool atBound(double v, double b) {
  return !std::isinf(b) && std::fabs(v - b) <= kOptimality * (1.0 + std::fabs(b));
}

// A dual of a value between lo and up, in the minimising sense: >= 0 allowed at lo, <= 0 at
// up, 0 in between.
bool dualSignHolds(double dual, double v, double lo, double up, double tol) {
  if (!atBound(v, lo) && dual > tol) return false;
  if (!atBound(v, up) && dual < -tol) return false;
  return true;
}

}  // namespace

bool qpAnswerHolds(const LoweredModel &L, void *highs) {
  const int n = L.cols(), m = L.rows();
  std::vector<double> x(n), dj(n), act(m), y(m);
  if (Highs_getSolution(highs, x.data(), dj.data(), act.data(), y.data()) == kHighsStatusError)
    return false;
  // Residual c + Qx - A'y of the lowered model (Q from its lower triangle), and beside it the
  // size of the terms summed, which bounds the rounding a correct answer can show.
  std::vector<double> r(L.cost), size(n);
  for (int j = 0; j < n; ++j) size[j] = std::fabs(L.cost[j]);
  const int qcols = static_cast<int>(L.q_start.size());
  const int qnnz = static_cast<int>(L.q_value.size());
  for (int j = 0; j < qcols; ++j)
    for (int k = L.q_start[j]; k < (j + 1 < qcols ? L.q_start[j + 1] : qnnz); ++k) {
      const int i = L.q_index[k];
      r[i] += L.q_value[k] * x[j];
      size[i] += std::fabs(L.q_value[k] * x[j]);
      if (i != j) {
        r[j] += L.q_value[k] * x[i];
        size[j] += std::fabs(L.q_value[k] * x[i]);
      }
    }
  for (int i = 0; i < m; ++i)
    for (int k = L.a_start[i]; k < L.a_start[i + 1]; ++k) {
      r[L.a_index[k]] -= L.a_value[k] * y[i];
      size[L.a_index[k]] += std::fabs(L.a_value[k] * y[i]);
    }
  double scale = 1.0;
  for (double v : size) scale = std::fmax(scale, v);
  const double tol = kOptimality * scale;
  for (int j = 0; j < n; ++j) {
    if (std::fabs(r[j] - dj[j]) > tol) return false;
    if (!dualSignHolds(L.sense * dj[j], x[j], L.col_lo[j], L.col_up[j], tol)) return false;
  }
  for (int i = 0; i < m; ++i)
    if (!dualSignHolds(L.sense * y[i], act[i], L.row_lo[i], L.row_up[i], tol)) return false;
  return true;
}

bool qpHasImprovingRay(const LoweredModel &L, void *like) {
  const int n = L.cols();
  bool boxed = true;  // with every column bounded on both sides no direction is free
  for (int j = 0; j < n && boxed; ++j) boxed = !std::isinf(L.col_lo[j]) && !std::isinf(L.col_up[j]);
  if (boxed) return false;
  // Rows of the recession LP: the user's rows with each finite side moved to 0 (a side that
  // is infinite stays infinite), then Qd = 0 row by row of the full symmetric Q.
  std::vector<double> lo, up;
  std::vector<HighsInt> start{0}, index;
  std::vector<double> value;
  for (int i = 0; i < L.rows(); ++i) {
    lo.push_back(std::isinf(L.row_lo[i]) ? L.row_lo[i] : 0.0);
    up.push_back(std::isinf(L.row_up[i]) ? L.row_up[i] : 0.0);
    for (int k = L.a_start[i]; k < L.a_start[i + 1]; ++k) {
      index.push_back(L.a_index[k]);
      value.push_back(L.a_value[k]);
    }
    start.push_back(static_cast<HighsInt>(index.size()));
  }
  std::map<int, std::map<int, double>> q;  // the lower triangle mirrored
  // HiGHS's column starts leave out the final one (the number of entries).
  const int qcols = static_cast<int>(L.q_start.size());
  const int qnnz = static_cast<int>(L.q_value.size());
  for (int j = 0; j < qcols; ++j)
    for (int k = L.q_start[j]; k < (j + 1 < qcols ? L.q_start[j + 1] : qnnz); ++k) {
      const int i = L.q_index[k];
      q[i][j] += L.q_value[k];
      if (i != j) q[j][i] += L.q_value[k];
    }
  for (const auto &[row, entries] : q) {
    lo.push_back(0.0);
    up.push_back(0.0);
    for (const auto &[col, v] : entries) {
      index.push_back(col);
      value.push_back(v);
    }
    start.push_back(static_cast<HighsInt>(index.size()));
  }

  std::vector<double> cost(n), dlo(n), dup(n);
  double scale = 0.0;
  for (int j = 0; j < n; ++j) {
    cost[j] = L.sense * L.cost[j];  // minimised in the objective's own sense
    scale = std::fmax(scale, std::fabs(cost[j]));
    dlo[j] = std::isinf(L.col_lo[j]) ? -1.0 : 0.0;
    dup[j] = std::isinf(L.col_up[j]) ? 1.0 : 0.0;
  }
  if (scale == 0.0) return false;

  HighsInstance instance(createHighs());
  void *h = instance.get();
  Highs_setBoolOptionValue(h, "output_flag", 0);
  HighsInt threads = 0;
  Highs_getIntOptionValue(like, "threads", &threads);
  Highs_setIntOptionValue(h, "threads", threads);
  bool improving = false;
  const HighsInt status = Highs_passLp(
      h, n, static_cast<HighsInt>(lo.size()), static_cast<HighsInt>(index.size()),
      kHighsMatrixFormatRowwise, kHighsObjSenseMinimize, 0.0, cost.data(), dlo.data(),
      dup.data(), lo.data(), up.data(), start.data(), index.data(), value.data());
  if (status != kHighsStatusError && Highs_run(h) != kHighsStatusError &&
      Highs_getModelStatus(h) == kHighsModelStatusOptimal)
    improving = Highs_getObjectiveValue(h) < -kImprovement * scale;
  return improving;
}

}  // namespace nvrl

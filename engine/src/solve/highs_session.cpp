#include "solve/highs_session.h"

#include <cmath>
#include <cstdio>

#include "core/entry.h"
#include "interfaces/highs_c_api.h"

namespace nvrl {

void *createHighs() {
  void *h = Highs_create();
  if (!h) throw EngineError("HiGHS could not create a solver instance (out of memory)");
  return h;
}

void HighsDeleter::operator()(void *h) const noexcept { Highs_destroy(h); }

void HighsSessionDeleter::operator()(HighsSession *s) const noexcept { delete s; }

HighsSession::HighsSession() : highs_(createHighs()) {
  // The engine never prints; each run routes HiGHS's log through its callback.
  Highs_setBoolOptionValue(highs_, "log_to_console", false);
  Highs_setBoolOptionValue(highs_, "output_flag", false);
}

HighsSession::~HighsSession() {
  if (highs_) Highs_destroy(highs_);
}

bool HighsSession::passWholeModel(const LoweredModel &L, LowerMode mode, std::string &err) {
  // In tree mode the integrality marks are the search's; HiGHS solves the relaxations.
  const bool mip = mode != LowerMode::Tree && L.hasIntegers();
  const int status = Highs_passModel(
      highs_, L.cols(), L.rows(), static_cast<int>(L.nnz()),
      static_cast<int>(L.q_value.size()), kHighsMatrixFormatRowwise,
      kHighsHessianFormatTriangular, L.sense > 0 ? kHighsObjSenseMinimize : kHighsObjSenseMaximize,
      L.offset, L.cost.data(), L.col_lo.data(), L.col_up.data(), L.row_lo.data(),
      L.row_up.data(), L.a_start.data(), L.a_index.data(), L.a_value.data(),
      L.hasHessian() ? L.q_start.data() : nullptr, L.hasHessian() ? L.q_index.data() : nullptr,
      L.hasHessian() ? L.q_value.data() : nullptr, mip ? L.integrality.data() : nullptr);
  if (status == kHighsStatusError) {
    err = "HiGHS rejected the model";
    // The usual cause: a matrix coefficient beyond HiGHS's limit, which is below the
    // infinity constant that bounds what the store accepts.
    double limit = 0.0, largest = 0.0;
    Highs_getDoubleOptionValue(highs_, "large_matrix_value", &limit);
    for (double v : L.a_value) largest = std::fmax(largest, std::fabs(v));
    if (limit > 0.0 && largest >= limit) {
      char buf[160];
      std::snprintf(buf, sizeof buf,
                    ": a matrix coefficient of %g is at or beyond its limit of %g", largest,
                    limit);
      err += buf;
    }
    return false;
  }
  return true;
}

bool HighsSession::passChanges(const LoweredModel &L, std::string &err) {
  const LoweredModel &old = lowered_;
  std::vector<int> set;
  std::vector<double> a, b;
  bool ok = true;

  for (int j = 0; j < L.cols(); ++j)
    if (L.cost[j] != old.cost[j]) {
      set.push_back(j);
      a.push_back(L.cost[j]);
    }
  if (!set.empty())
    ok &= Highs_changeColsCostBySet(highs_, static_cast<int>(set.size()), set.data(), a.data()) !=
          kHighsStatusError;

  set.clear(), a.clear(), b.clear();
  for (int j = 0; j < L.cols(); ++j)
    if (L.col_lo[j] != old.col_lo[j] || L.col_up[j] != old.col_up[j]) {
      set.push_back(j);
      a.push_back(L.col_lo[j]);
      b.push_back(L.col_up[j]);
    }
  if (!set.empty())
    ok &= Highs_changeColsBoundsBySet(highs_, static_cast<int>(set.size()), set.data(), a.data(),
                                      b.data()) != kHighsStatusError;

  set.clear(), a.clear(), b.clear();
  for (int i = 0; i < L.rows(); ++i)
    if (L.row_lo[i] != old.row_lo[i] || L.row_up[i] != old.row_up[i]) {
      set.push_back(i);
      a.push_back(L.row_lo[i]);
      b.push_back(L.row_up[i]);
    }
  if (!set.empty())
    ok &= Highs_changeRowsBoundsBySet(highs_, static_cast<int>(set.size()), set.data(), a.data(),
                                      b.data()) != kHighsStatusError;

  if (L.offset != old.offset) {
    ok &= Highs_changeObjectiveOffset(highs_, L.offset) != kHighsStatusError;
  }
  if (L.sense != old.sense) {
    ok &= Highs_changeObjectiveSense(highs_, L.sense > 0 ? kHighsObjSenseMinimize
                                                         : kHighsObjSenseMaximize) !=
          kHighsStatusError;
  }
  if (!ok) {
    err = "HiGHS rejected a change of costs or bounds";
    return false;
  }
  return true;
}

bool HighsSession::sync(const Model &m, uint64_t version, LowerMode mode, std::string &err) {
  if (loaded_ && version == version_ && mode == mode_) {
    return true;
  }
  LoweredModel L;
  if (!lowerModel(m, mode, L, err)) return false;
  // Integrality reaches HiGHS only outside tree mode, so entering or leaving it passes all.
  const bool incremental = loaded_ && L.sameStructure(lowered_) && L.cols() == lowered_.cols() &&
                           L.rows() == lowered_.rows() &&
                           (mode == LowerMode::Tree) == (mode_ == LowerMode::Tree);
  if (!(incremental ? passChanges(L, err) : passWholeModel(L, mode, err))) {
    // HiGHS may hold a half-updated model: pass everything next time.
    loaded_ = false;
    return false;
  }
  lowered_ = std::move(L);
  loaded_ = true;
  version_ = version;
  mode_ = mode;
  return true;
}

void HighsSession::setPendingBasis(std::vector<int> rowstat, std::vector<int> colstat) {
  basis_rows_ = std::move(rowstat);
  basis_cols_ = std::move(colstat);
  have_basis_ = true;
}

void HighsSession::setPendingSolution(std::vector<double> x, std::vector<double> activity,
                                      std::vector<double> duals, std::vector<double> djs) {
  start_x_ = std::move(x);
  start_act_ = std::move(activity);
  start_duals_ = std::move(duals);
  start_djs_ = std::move(djs);
  have_start_ = true;
}

namespace {

int toHighsBasisStatus(int s) {
  switch (s) {
    case NVRL_BASIS_BASIC: return kHighsBasisStatusBasic;
    case NVRL_BASIS_NONBASIC_UPPER: return kHighsBasisStatusUpper;
    case NVRL_BASIS_SUPERBASIC: return kHighsBasisStatusZero;
    default: return kHighsBasisStatusLower;
  }
}

}  // namespace

bool HighsSession::applyPending(std::string &err) {
  const LoweredModel &L = lowered_;
  if (have_basis_) {
    have_basis_ = false;
    if (static_cast<int>(basis_cols_.size()) != L.user_cols ||
        static_cast<int>(basis_rows_.size()) != L.user_rows) {
      err = "The loaded basis does not match the problem's size";
      return false;
    }
    // Auxiliary columns start at their lower bound and auxiliary rows basic.
    std::vector<int> cols(L.cols(), kHighsBasisStatusLower), rows(L.rows(), kHighsBasisStatusBasic);
    for (int j = 0; j < L.user_cols; ++j) cols[j] = toHighsBasisStatus(basis_cols_[j]);
    for (int i = 0; i < L.user_rows; ++i)
      if (L.user_row_to_highs[i] >= 0)
        rows[L.user_row_to_highs[i]] = toHighsBasisStatus(basis_rows_[i]);
    if (Highs_setBasis(highs_, cols.data(), rows.data()) == kHighsStatusError) {
      err = "The loaded basis is not a valid basis of the problem";
      return false;
    }
  }
  if (have_start_) {
    have_start_ = false;
    std::vector<double> x(L.cols(), 0.0);
    for (int j = 0; j < L.user_cols && j < static_cast<int>(start_x_.size()); ++j) x[j] = start_x_[j];
    std::vector<double> act, duals, djs;
    if (!start_act_.empty() || !start_duals_.empty()) {
      act.assign(L.rows(), 0.0);
      duals.assign(L.rows(), 0.0);
      for (int i = 0; i < L.user_rows; ++i) {
        const int h = L.user_row_to_highs[i];
        if (h < 0) continue;
        if (!start_act_.empty()) act[h] = start_act_[i];
        if (!start_duals_.empty()) duals[h] = start_duals_[i];
      }
    }
    if (!start_djs_.empty()) {
      djs.assign(L.cols(), 0.0);
      for (int j = 0; j < L.user_cols; ++j) djs[j] = start_djs_[j];
    }
    if (Highs_setSolution(highs_, start_x_.empty() ? nullptr : x.data(),
                          start_act_.empty() ? nullptr : act.data(),
                          djs.empty() ? nullptr : djs.data(),
                          start_duals_.empty() ? nullptr : duals.data()) == kHighsStatusError) {
      err = "HiGHS rejected the starting point";
      return false;
    }
  }
  return true;
}

}  // namespace nvrl

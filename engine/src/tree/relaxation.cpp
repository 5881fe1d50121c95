#include "tree/relaxation.h"

#include <cmath>

#include "interfaces/highs_c_api.h"
#include "solve/qp_verdict.h"

namespace nvrl::tree {

RelaxationSolver::RelaxationSolver(nvrl_problem_s *p, HighsSession &session,
                                   const LoweredModel &model)
    : p_(p), model_(model), h_(session.handle()) {
  const LoweredModel &L = model_;
  sense_ = L.sense;
  quadratic_ = L.hasHessian();
  root_lo_ = cur_lo_ = model_lo_ = L.col_lo;
  root_up_ = cur_up_ = model_up_ = L.col_up;
  if (quadratic_) node_model_ = L;
  // Each node starts from the basis the previous one left, which presolve would throw away.
  Highs_setStringOptionValue(h_, "presolve", "off");
}

RelaxationSolver::~RelaxationSolver() {
  // A failure here leaves HiGHS with a node's bounds; the next sync must then pass the
  // whole model, which a failed solve forces (the session is dropped on an exception).
  passBounds(model_lo_, model_up_);
  if (cuts_ > 0) {
    const int first = model_.rows();
    Highs_deleteRowsByRange(h_, first, first + cuts_ - 1);
  }
}

void RelaxationSolver::tightenRoot(int col, double lo, double up) {
  root_lo_[col] = std::fmax(root_lo_[col], lo);
  root_up_[col] = std::fmin(root_up_[col], up);
}

bool RelaxationSolver::addCuts(const std::vector<Cut> &cuts) {
  for (const Cut &c : cuts) {
    if (Highs_addRow(h_, -INFINITY, c.rhs, static_cast<int>(c.index.size()), c.index.data(),
                     c.value.data()) == kHighsStatusError)
      return false;
    ++cuts_;
    cut_rhs_.push_back(c.rhs);
    if (quadratic_) {
      std::vector<std::pair<int, double>> e;
      for (size_t k = 0; k < c.index.size(); ++k) e.push_back({c.index[k], c.value[k]});
      node_model_.addRow(-INFINITY, c.rhs, e);
    }
  }
  return true;
}

bool RelaxationSolver::changeObjective(const std::vector<double> &cost,
                                       const std::vector<int> &qstart,
                                       const std::vector<int> &qindex,
                                       const std::vector<double> &qvalue) {
  std::vector<int> all(cost.size());
  for (size_t j = 0; j < all.size(); ++j) all[j] = static_cast<int>(j);
  if (Highs_changeColsCostBySet(h_, static_cast<int>(all.size()), all.data(), cost.data()) ==
          kHighsStatusError ||
      Highs_passHessian(h_, static_cast<int>(cost.size()), static_cast<int>(qvalue.size()),
                        kHighsHessianFormatTriangular, qstart.data(), qindex.data(),
                        qvalue.data()) == kHighsStatusError)
    return false;
  if (quadratic_) {
    node_model_.cost = cost;
    node_model_.q_start = qstart;
    node_model_.q_index = qindex;
    node_model_.q_value = qvalue;
  }
  return true;
}

bool RelaxationSolver::freeCuts(const std::vector<int> &cuts, bool free) {
  if (cuts.empty()) return true;
  std::vector<int> rows;
  std::vector<double> lo(cuts.size(), -INFINITY), up;
  for (int k : cuts) {
    rows.push_back(model_.rows() + k);
    up.push_back(free ? INFINITY : cut_rhs_[k]);
  }
  return Highs_changeRowsBoundsBySet(h_, static_cast<int>(rows.size()), rows.data(), lo.data(),
                                     up.data()) != kHighsStatusError;
}

bool RelaxationSolver::passBounds(const std::vector<double> &lo, const std::vector<double> &up) {
  std::vector<int> set;
  std::vector<double> a, b;
  for (size_t j = 0; j < lo.size(); ++j)
    if (lo[j] != cur_lo_[j] || up[j] != cur_up_[j]) {
      set.push_back(static_cast<int>(j));
      a.push_back(lo[j]);
      b.push_back(up[j]);
    }
  if (set.empty()) return true;
  if (Highs_changeColsBoundsBySet(h_, static_cast<int>(set.size()), set.data(), a.data(),
                                  b.data()) == kHighsStatusError)
    return false;
  for (size_t k = 0; k < set.size(); ++k) {
    cur_lo_[set[k]] = a[k];
    cur_up_[set[k]] = b[k];
  }
  return true;
}

const LoweredModel &RelaxationSolver::nodeModel() {
  node_model_.col_lo = lo_;
  node_model_.col_up = up_;
  return node_model_;
}

Relaxation RelaxationSolver::solve(const std::vector<BoundChange> &changes, double secondsLeft,
                                   int64_t qpIterationCap) {
  Relaxation r;
  lo_ = root_lo_;
  up_ = root_up_;
  for (const BoundChange &c : changes) {
    lo_[c.col] = std::fmax(lo_[c.col], c.lo);
    up_[c.col] = std::fmin(up_[c.col], c.up);
  }
  for (size_t j = 0; j < lo_.size(); ++j)
    if (lo_[j] > up_[j] + 1e-9) return r;  // Infeasible
  if (!passBounds(lo_, up_)) {
    r.status = Relaxation::Stopped;
    return r;
  }
  Highs_setDoubleOptionValue(h_, "time_limit", std::isfinite(secondsLeft) ? std::fmax(secondsLeft, 0.0)
                                                                          : INFINITY);
  HighsInt qpLimit = 0;
  Highs_getIntOptionValue(h_, "qp_iteration_limit", &qpLimit);
  const bool capped = qpIterationCap > 0 && qpIterationCap < qpLimit;
  if (capped) Highs_setIntOptionValue(h_, "qp_iteration_limit", static_cast<HighsInt>(qpIterationCap));
  Highs_zeroAllClocks(h_);
  Highs_run(h_);
  if (capped) Highs_setIntOptionValue(h_, "qp_iteration_limit", qpLimit);
  int ms = Highs_getModelStatus(h_);
  int it = 0;
  Highs_getIntInfoValue(h_, "simplex_iteration_count", &it);
  iterations_ += it;
  it = 0;
  Highs_getIntInfoValue(h_, "qp_iteration_count", &it);
  iterations_ += it;

  const LoweredModel &L = model_;
  int primal = kHighsSolutionStatusNone;
  Highs_getIntInfoValue(h_, "primal_solution_status", &primal);
  auto readPoint = [&]() {
    r.x.assign(L.cols(), 0.0);
    r.dj.assign(L.cols(), 0.0);
    // HiGHS's rows: the lowered model's and the cuts.
    std::vector<double> rowv(L.rows() + cuts_), rowd(L.rows() + cuts_);
    Highs_getSolution(h_, r.x.data(), r.dj.data(), rowv.data(), rowd.data());
    for (double &d : r.dj) d *= sense_;
    r.value = sense_ * Highs_getObjectiveValue(h_);
  };
  switch (ms) {
    case kHighsModelStatusOptimal:
    case kHighsModelStatusModelEmpty:
      readPoint();
      r.status = Relaxation::Optimal;
      if (quadratic_ && !qpAnswerHolds(nodeModel(), h_))
        r.status = qpHasImprovingRay(nodeModel(), h_) ? Relaxation::Unbounded : Relaxation::Unverified;
      return r;
    case kHighsModelStatusInfeasible: r.status = Relaxation::Infeasible; return r;
    case kHighsModelStatusUnbounded:
    case kHighsModelStatusUnboundedOrInfeasible:
      // HiGHS's QP solver may call a bounded QP unbounded; a direction of improvement decides.
      if (!quadratic_ || qpHasImprovingRay(nodeModel(), h_)) {
        r.status = ms == kHighsModelStatusUnbounded || primal == kHighsSolutionStatusFeasible
                       ? Relaxation::Unbounded
                       : Relaxation::Stopped;
        return r;
      }
      break;
    case kHighsModelStatusTimeLimit: r.stop_reason = NVRL_STOP_TIMELIMIT; break;
    // The caller's cap is not the user's limit: no verdict, as for a failure.
    case kHighsModelStatusIterationLimit: r.stop_reason = capped ? 0 : NVRL_STOP_ITERLIMIT; break;
    case kHighsModelStatusInterrupt: {
      const int reason = p_->interrupt_reason.load();
      r.stop_reason = reason != 0 ? reason : NVRL_STOP_USER;
      break;
    }
    default: break;
  }
  if (r.stop_reason == 0 && primal == kHighsSolutionStatusFeasible) {
    // No verdict, but a point: the search can still branch on it.
    readPoint();
    r.status = Relaxation::Unverified;
    return r;
  }
  r.status = Relaxation::Stopped;
  return r;
}

}  // namespace nvrl::tree

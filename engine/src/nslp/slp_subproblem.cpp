// Loading and changing the HiGHS subproblem of the nonlinear solver.
#include "nslp/slp_subproblem.h"

#include <algorithm>
#include <cmath>

#include "interfaces/highs_c_api.h"

namespace nvrl {

namespace {

bool ok(HighsInt status) { return status != kHighsStatusError; }

}  // namespace

SlpSubproblem::SlpSubproblem(const SlpModel &model, bool integers)
    : M_(model), integers_(integers), h_(createHighs()) {
  ncols_ = M_.cols() + 2 * static_cast<int>(M_.nonlinearRows().size());
}

namespace {
const int kInterruptCallbacks[] = {kHighsCallbackSimplexInterrupt, kHighsCallbackIpmInterrupt,
                                   kHighsCallbackMipInterrupt};

void onHighsCallback(int, const char *, const HighsCallbackDataOut *, HighsCallbackDataIn *in,
                     void *data) {
  if (in && static_cast<const SlpSubproblem *>(data)->stopRequested() != 0)
    in->user_interrupt = 1;
}
}  // namespace

void SlpSubproblem::setStop(std::function<int()> stop) {
  void *h = h_.get();
  stop_ = std::move(stop);
  if (stop_) {
    Highs_setCallback(h, onHighsCallback, this);
    for (int t : kInterruptCallbacks) Highs_startCallback(h, t);
  } else {
    for (int t : kInterruptCallbacks) Highs_stopCallback(h, t);
    Highs_setCallback(h, nullptr, nullptr);
  }
}

void SlpSubproblem::configure(const nvrl_problem_s *p, const SolveFlags &flags) {
  void *h = h_.get();
  applyControls(h, p, flags, integers_, true);
  Highs_setBoolOptionValue(h, "output_flag", false);
  Highs_setBoolOptionValue(h, "qp_allow_hot_start", true);
  // The cutoff belongs to the user's objective, not to a linearisation of it.
  Highs_setDoubleOptionValue(h, "objective_bound", INFINITY);
  // HiGHS's active-set QP solver occasionally cycles on a quasi-Newton subproblem; a QP this
  // size needs far fewer iterations than the cap, and failing early lets the loop restart
  // its second-order term instead of spending seconds on one iteration.
  HighsInt limit = 0;
  Highs_getIntOptionValue(h, "qp_iteration_limit", &limit);
  const int64_t cap = std::max<int64_t>(1000, 50 * (static_cast<int64_t>(M_.rows()) + ncols_));
  if (cap < limit) Highs_setIntOptionValue(h, "qp_iteration_limit", static_cast<HighsInt>(cap));
}

void SlpSubproblem::setTimeLimit(double seconds) {
  Highs_setDoubleOptionValue(h_.get(), "time_limit", seconds > 0 ? seconds : INFINITY);
}

bool SlpSubproblem::load(const SlpLinearisation &lin, std::string &err) {
  const Model &m = M_.model();
  const int n = M_.cols(), nrows = M_.rows();
  const auto &nl = M_.nonlinearRows();
  std::vector<double> cost(ncols_, 0.0), lo(ncols_, 0.0), up(ncols_, INFINITY);
  for (int j = 0; j < n; ++j) {
    cost[j] = lin.cost[j];
    lo[j] = lin.lo[j];
    up[j] = lin.up[j];
  }
  for (size_t k = 0; k < nl.size(); ++k)
    cost[n + 2 * k] = cost[n + 2 * k + 1] = lin.penalty[k];

  std::vector<double> rlo(nrows), rup(nrows);
  std::vector<HighsInt> start(nrows + 1, 0), index;
  std::vector<double> value;
  for (int i = 0; i < nrows; ++i) {
    const int k = M_.nonlinearIndex(i);
    if (k < 0) {
      rlo[i] = M_.rowLo(i);
      rup[i] = M_.rowUp(i);
      const RowMatrix &mA = m.A.rows();
      for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) {
        index.push_back(mA.col[e]);
        value.push_back(mA.val[e]);
      }
    } else {
      rlo[i] = lin.rowlo[k];
      rup[i] = lin.rowup[k];
      const std::vector<int> &cols = nl[k].cols;
      for (size_t q = 0; q < cols.size(); ++q)
        if (lin.grad[k][q] != 0.0) {
          index.push_back(cols[q]);
          value.push_back(lin.grad[k][q]);
        }
      index.push_back(n + 2 * k);
      value.push_back(1.0);
      index.push_back(n + 2 * k + 1);
      value.push_back(-1.0);
    }
    start[i + 1] = static_cast<HighsInt>(index.size());
  }
  std::vector<HighsInt> integrality;
  if (integers_) {
    integrality.assign(ncols_, 0);
    for (int j = 0; j < n; ++j)
      integrality[j] = m.coltype[j] == 'I' || m.coltype[j] == 'B' ? 1 : 0;
  }
  const HighsInt rc = Highs_passModel(
      h_.get(), ncols_, nrows, static_cast<HighsInt>(index.size()), 0, kHighsMatrixFormatRowwise,
      kHighsHessianFormatTriangular, kHighsObjSenseMinimize, 0.0, cost.data(), lo.data(),
      up.data(), rlo.data(), rup.data(), start.data(), index.data(), value.data(), nullptr,
      nullptr, nullptr, integers_ ? integrality.data() : nullptr);
  if (!ok(rc)) {
    err = "HiGHS refused the linearised problem";
    return false;
  }
  loaded_ = true;
  had_hessian_ = false;
  return true;
}

bool SlpSubproblem::update(const SlpLinearisation &lin, std::string &err) {
  void *h = h_.get();
  const int n = M_.cols();
  const auto &nl = M_.nonlinearRows();
  bool good = n == 0 || (ok(Highs_changeColsCostByRange(h, 0, n - 1, lin.cost.data())) &&
                         ok(Highs_changeColsBoundsByRange(h, 0, n - 1, lin.lo.data(),
                                                          lin.up.data())));
  for (size_t k = 0; good && k < nl.size(); ++k) {
    const HighsInt r = nl[k].row;
    const std::vector<int> &cols = nl[k].cols;
    for (size_t q = 0; good && q < cols.size(); ++q)
      good = ok(Highs_changeCoeff(h, r, cols[q], lin.grad[k][q]));
    good = good && ok(Highs_changeRowBounds(h, r, lin.rowlo[k], lin.rowup[k]));
    const HighsInt pc = n + 2 * static_cast<HighsInt>(k);
    const double pen[2] = {lin.penalty[k], lin.penalty[k]};
    good = good && ok(Highs_changeColsCostByRange(h, pc, pc + 1, pen));
  }
  if (!good) err = "HiGHS refused a change of the linearised problem";
  return good;
}

bool SlpSubproblem::passHessian(const SlpLinearisation &lin, std::string &err) {
  if (lin.hessian.empty() && !had_hessian_) return true;
  std::vector<HighsInt> start(ncols_ + 1, 0), index;
  std::vector<double> value;
  index.reserve(lin.hessian.size());
  value.reserve(lin.hessian.size());
  // Keyed (column, row): map order is column-wise order.
  for (const auto &[cr, v] : lin.hessian) {
    index.push_back(cr.second);
    value.push_back(v);
    ++start[cr.first + 1];
  }
  for (int j = 0; j < ncols_; ++j) start[j + 1] += start[j];
  const HighsInt rc =
      Highs_passHessian(h_.get(), ncols_, static_cast<HighsInt>(value.size()),
                        kHighsHessianFormatTriangular, start.data(),
                        index.empty() ? nullptr : index.data(),
                        value.empty() ? nullptr : value.data());
  if (!ok(rc)) {
    err = "HiGHS refused the second-order term of the subproblem";
    return false;
  }
  had_hessian_ = !lin.hessian.empty();
  return true;
}

void SlpSubproblem::passStart(const SlpLinearisation &lin) {
  // Without a start, HiGHS's QP solver finds a feasible point by an LP on an instance of its
  // own, which costs more than the QP itself on small problems. The point linearised at is
  // feasible (it holds the linear rows and lies within its step bounds) once the penalty
  // columns take up the nonlinear rows' violation; its working set: the columns at a bound,
  // every other column free, no row.
  const Model &m = M_.model();
  const int n = M_.cols(), nrows = M_.rows();
  if (static_cast<int>(lin.point.size()) != n) return;
  std::vector<double> col(ncols_, 0.0), row(nrows, 0.0);
  for (int j = 0; j < n; ++j) col[j] = lin.point[j];
  for (int i = 0; i < nrows; ++i) {
    const int k = M_.nonlinearIndex(i);
    double a = 0.0;
    if (k < 0) {
      const RowMatrix &mA = m.A.rows();
      for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) a += mA.val[e] * col[mA.col[e]];
    } else {
      const std::vector<int> &cols = M_.nonlinearRows()[k].cols;
      for (size_t q = 0; q < cols.size(); ++q) a += lin.grad[k][q] * col[cols[q]];
      if (a < lin.rowlo[k]) {
        col[n + 2 * k] = lin.rowlo[k] - a;
        a = lin.rowlo[k];
      } else if (a > lin.rowup[k]) {
        col[n + 2 * k + 1] = a - lin.rowup[k];
        a = lin.rowup[k];
      }
    }
    row[i] = a;
  }
  std::vector<HighsInt> cs(ncols_), rs(nrows, kHighsBasisStatusBasic);
  for (int j = 0; j < ncols_; ++j) {
    const double lo = j < n ? lin.lo[j] : 0.0, up = j < n ? lin.up[j] : INFINITY;
    cs[j] = col[j] == lo   ? kHighsBasisStatusLower
            : col[j] == up ? kHighsBasisStatusUpper
                           : kHighsBasisStatusNonbasic;
  }
  void *h = h_.get();
  if (Highs_setSolution(h, col.data(), row.data(), nullptr, nullptr) == kHighsStatusError ||
      Highs_setBasis(h, cs.data(), rs.data()) == kHighsStatusError)
    Highs_clearSolver(h);
}

void SlpSubproblem::clearSolver() { Highs_clearSolver(h_.get()); }

bool SlpSubproblem::solveFeasibility(const SlpLinearisation &lin, std::vector<double> &xf,
                                     int &status, std::string &err) {
  SlpLinearisation feas;
  feas.cost.assign(lin.cost.size(), 0.0);
  feas.lo = lin.lo;
  feas.up = lin.up;
  feas.grad = lin.grad;
  feas.rowlo = lin.rowlo;
  feas.rowup = lin.rowup;
  feas.penalty = lin.penalty;
  std::vector<double> x = std::move(x_), duals = std::move(duals_),
                      elastic = std::move(elastic_);
  const bool haveDuals = have_duals_;
  const bool good = solve(feas, status, err);
  xf = std::move(x_);
  x_ = std::move(x);
  duals_ = std::move(duals);
  elastic_ = std::move(elastic);
  have_duals_ = haveDuals;
  return good;
}

bool SlpSubproblem::solve(const SlpLinearisation &lin, int &status, std::string &err) {
  if (!(loaded_ ? update(lin, err) : load(lin, err))) return false;
  if (!passHessian(lin, err)) return false;
  if (had_hessian_) passStart(lin);
  void *h = h_.get();
  Highs_run(h);
  status = Highs_getModelStatus(h);
  HighsInt it = 0;
  if (Highs_getIntInfoValue(h, "simplex_iteration_count", &it) == kHighsStatusOk && it > 0)
    iterations_ += it;
  const int nrows = M_.rows();
  std::vector<double> cv(ncols_), cd(ncols_), rv(nrows), rd(nrows);
  HighsInt primal = kHighsSolutionStatusNone, dual = kHighsSolutionStatusNone;
  Highs_getIntInfoValue(h, "primal_solution_status", &primal);
  Highs_getIntInfoValue(h, "dual_solution_status", &dual);
  x_.clear();
  duals_.clear();
  elastic_.clear();
  have_duals_ = false;
  if (primal == kHighsSolutionStatusNone) return true;
  if (!ok(Highs_getSolution(h, cv.data(), cd.data(), rv.data(), rd.data()))) return true;
  const int n = M_.cols();
  x_.assign(cv.begin(), cv.begin() + n);
  const size_t K = M_.nonlinearRows().size();
  elastic_.resize(K);
  for (size_t k = 0; k < K; ++k) elastic_[k] = cv[n + 2 * k] + cv[n + 2 * k + 1];
  if (dual != kHighsSolutionStatusNone && !integers_) {
    duals_ = rd;
    have_duals_ = true;
  }
  return true;
}

}  // namespace nvrl

// The trust-region and penalty loop of the nonlinear solver, and its second-order term: a
// damped BFGS approximation (Powell's damping keeps it positive definite) of the Hessian of
// the Lagrangian over the nonlinear columns.
#include "nslp/slp_loop.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "interfaces/highs_c_api.h"
#include "nslp/slp_tolsets.h"
#include "nslp/slp_curvature.h"
#include "nslp/slp_cascade.h"
#include "solve/convexity.h"

namespace nvrl {

double defaultStart(double lb, double ub) {
  if (lb > 0.0) return isInfLo(lb) ? 0.0 : lb;
  if (ub < 0.0) return isInfUp(ub) ? 0.0 : ub;
  return 0.0;
}

namespace {

double lower(double v) { return isInfLo(v) ? -INFINITY : v; }
double upper(double v) { return isInfUp(v) ? INFINITY : v; }

std::string fmt(const char *f, ...) __attribute__((format(printf, 1, 2)));
std::string fmt(const char *f, ...) {
  char buf[512];
  va_list ap;
  va_start(ap, f);
  vsnprintf(buf, sizeof buf, f, ap);
  va_end(ap);
  return buf;
}

// Moves x onto the linear rows (least total change, an LP of its own) when x violates one.
// Returns false when the linear rows and bounds admit no point.
bool projectOntoLinearRows(const SlpModel &M, bool integers, std::vector<double> &x,
                           std::string &err) {
  const Model &m = M.model();
  const int n = M.cols();
  // Columns: x, then u_j and v_j with x_j - u_j + v_j = x0_j; minimise sum u + v.
  const int nc = 3 * n;
  std::vector<double> cost(nc, 0.0), lo(nc, 0.0), up(nc, INFINITY);
  for (int j = 0; j < n; ++j) {
    lo[j] = lower(m.lb[j]);
    up[j] = upper(m.ub[j]);
    cost[n + j] = cost[2 * n + j] = 1.0;
  }
  std::vector<double> rlo, rup, val;
  std::vector<HighsInt> start{0}, idx;
  for (int i = 0; i < M.rows(); ++i) {
    if (M.nonlinearIndex(i) >= 0) continue;
    rlo.push_back(M.rowLo(i));
    rup.push_back(M.rowUp(i));
    const RowMatrix &mA = m.A.rows();
    for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) {
      idx.push_back(mA.col[e]);
      val.push_back(mA.val[e]);
    }
    start.push_back(static_cast<HighsInt>(idx.size()));
  }
  for (int j = 0; j < n; ++j) {
    rlo.push_back(x[j]);
    rup.push_back(x[j]);
    idx.insert(idx.end(), {j, n + j, 2 * n + j});
    val.insert(val.end(), {1.0, -1.0, 1.0});
    start.push_back(static_cast<HighsInt>(idx.size()));
  }
  std::vector<HighsInt> integrality;
  if (integers) {
    integrality.assign(nc, 0);
    for (int j = 0; j < n; ++j) integrality[j] = m.coltype[j] == 'I' || m.coltype[j] == 'B';
  }
  HighsInstance h(createHighs());
  Highs_setBoolOptionValue(h.get(), "output_flag", false);
  const HighsInt nr = static_cast<HighsInt>(rlo.size());
  if (Highs_passModel(h.get(), nc, nr, static_cast<HighsInt>(idx.size()), 0,
                      kHighsMatrixFormatRowwise, kHighsHessianFormatTriangular,
                      kHighsObjSenseMinimize, 0.0, cost.data(), lo.data(), up.data(), rlo.data(),
                      rup.data(), start.data(), idx.data(), val.data(), nullptr, nullptr,
                      nullptr, integers ? integrality.data() : nullptr) == kHighsStatusError) {
    err = "HiGHS refused the problem's linear rows";
    return false;
  }
  Highs_run(h.get());
  if (Highs_getModelStatus(h.get()) != kHighsModelStatusOptimal) {
    err = "the linear rows and the bounds admit no point";
    return false;
  }
  std::vector<double> cv(nc), cd(nc), rv(nr), rd(nr);
  Highs_getSolution(h.get(), cv.data(), cd.data(), rv.data(), rd.data());
  for (int j = 0; j < n; ++j) x[j] = cv[j];
  return true;
}

// Dense symmetric matrix over the nonlinear columns.
struct Bfgs {
  int n = 0;
  std::vector<double> B;
  bool scaled = false;

  void init(int dim) {
    n = dim;
    B.assign(static_cast<size_t>(n) * n, 0.0);
    for (int i = 0; i < n; ++i) B[static_cast<size_t>(i) * n + i] = 1.0;
  }
  double &at(int i, int j) { return B[static_cast<size_t>(i) * n + j]; }

  // Powell's damped update with step s and gradient change y.
  void update(const std::vector<double> &s, std::vector<double> y) {
    std::vector<double> Bs(n, 0.0);
    double ss = 0, sy = 0, yy = 0;
    for (int i = 0; i < n; ++i) {
      ss += s[i] * s[i];
      sy += s[i] * y[i];
      yy += y[i] * y[i];
    }
    if (ss <= 1e-30) return;
    if (!scaled && sy > 1e-12 * ss) {
      // The first curvature seen sets the scale of the starting identity.
      const double g = std::clamp(yy / sy, 1e-6, 1e6);
      for (double &v : B) v *= g;
      scaled = true;
    }
    double sBs = 0;
    for (int i = 0; i < n; ++i) {
      double a = 0;
      for (int j = 0; j < n; ++j) a += at(i, j) * s[j];
      Bs[i] = a;
      sBs += s[i] * a;
    }
    if (sBs <= 1e-30) return;
    if (sy < 0.2 * sBs) {
      const double theta = 0.8 * sBs / (sBs - sy);
      for (int i = 0; i < n; ++i) y[i] = theta * y[i] + (1 - theta) * Bs[i];
      sy = 0;
      for (int i = 0; i < n; ++i) sy += s[i] * y[i];
    }
    if (sy <= 1e-30) return;
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) at(i, j) += y[i] * y[j] / sy - Bs[i] * Bs[j] / sBs;
  }
};

// Up to this many nonlinear columns an exact Hessian of the Lagrangian (quadratic terms only)
// is tested for convexity at each iteration and used when it is.
constexpr int kMaxExactHessianCols = 200;

// A step this many times a column's size (at least 1) in a column without a step bound is
// taken for a sign of an unbounded subproblem.
constexpr double kHugeStep = 1e6;

// Once the objective has stopped changing (two steps in a row inside their bounds changed it
// by less than the objective tolerances), stationarity this many times the optimality
// tolerance is enough: the last digits of the multipliers are not worth more iterations.
constexpr double kLooseStationarity = 1e3;
// Times a stiff quasi-Newton term is started again at a point that is not stationary.
constexpr int kMaxBfgsRestarts = 3;

class Loop {
 public:
  Loop(const SlpModel &M, const SlpSettings &S, SlpSubproblem &sub, const SlpHooks &hooks,
       const SlpEnvironment &env)
      : M(M), S(S), sub(sub), hooks(hooks), env(env), n(M.cols()),
        K(static_cast<int>(M.nonlinearRows().size())) {}

  SlpOutcome run();
  const SlpEvalStats &evaluations() const { return ws.stats; }

 private:
  void log(int type, const std::string &s) {
    if (S.log_level > 0 && env.log) env.log(type, s);
  }
  double weight(int i) const {
    return i < static_cast<int>(S.row_weight.size()) && S.row_weight[i] > 0 ? S.row_weight[i]
                                                                            : 1.0;
  }
  bool evaluate(const std::vector<double> &x, std::vector<double> &act, double &f,
                std::string &err) {
    if (!M.activities(x.data(), act, ws, err)) return false;
    f = M.objective(x.data());
    if (!M.objectiveFormulas(x.data(), f, nullptr, ws, err)) return false;
    if (!std::isfinite(f)) {
      err = "the objective is not finite";
      return false;
    }
    return true;
  }
  // The objective's gradient (minimisation form, formulas included) at xp into g.
  bool objectiveGradient(const std::vector<double> &xp, double *g, std::string &err) {
    M.objectiveGradient(xp.data(), g);
    double v = 0.0;
    return M.objectiveFormulas(xp.data(), v, g, ws, err);
  }
  double infeasibility(const std::vector<double> &act) const {
    double v = 0;
    for (int i = 0; i < M.rows(); ++i) v = std::max(v, M.violation(i, act[i]));
    return v;
  }
  double penaltySum(const std::vector<double> &act) const {
    double v = 0;
    for (int i = 0; i < M.rows(); ++i) v += weight(i) * M.violation(i, act[i]);
    return v;
  }
  // Gradient of the part of the Lagrangian the BFGS term approximates, on the nonlinear
  // columns; y: the subproblem's row duals (L = f - y'g).
  bool lagrangianGradient(const std::vector<double> &x, const std::vector<double> &y,
                          std::vector<double> &out);
  void setupColumns();
  bool linearise(std::string &err);
  bool solveWithRetries(int &status, std::string &err);
  bool exactLagrangianHessian(std::vector<double> &H);
  bool qpLooksUnbounded();
  // Largest entry of the Lagrangian's gradient at x with multipliers y, where the bounds do
  // not excuse it, relative to the objective gradient's largest entry (at least 1).
  double stationarity(const std::vector<double> &y);
  // Moves columns that only balance one nonlinear row onto that row.
  void balanceLinearColumns();
  bool secondOrderCorrection(const std::vector<double> &d, const std::vector<double> &actTrial,
                             std::vector<double> &xc, std::vector<double> &actc, double &fc,
                             double &meritc);
  // Weighted violation of the linearised nonlinear rows at the subproblem's point xs.
  double modelInfeasibility(const std::vector<double> &xs) const;
  // Raises the penalty until the subproblem's step removes a fair share of the violation
  // that the linearisation allows to be removed; re-solves the subproblem on each rise.
  bool steerPenalty(int &ms, std::string &err);
  // At a feasible first-order point: when the Lagrangian curves downwards along a direction
  // that keeps the active rows and bounds, moves x along it and returns true (the solve goes
  // on). A point reached after such a move that is no better than the point it left is
  // replaced by that point.
  bool leaveSaddle(double &merit);
  // The Lagrangian's gradient f' - y'g' over all columns (nonlinear rows only: the linear
  // rows' part does not change with x).
  bool curvedGradient(const std::vector<double> &xp, std::vector<double> &g);
  // Cascades a point (slp_cascade.h) when the problem has determined columns.
  void cascade(std::vector<double> &xp) {
    if (!S.cascade || S.cascade->order.empty()) return;
    cascadeFailures += cascadePoint(M, *S.cascade, xp, &hooks, [this](const std::string &l) {
      if (S.log_level >= 2) log(NVRL_MSG_DEBUG, l);
    });
  }

  const SlpModel &M;
  const SlpSettings &S;
  SlpSubproblem &sub;
  const SlpHooks &hooks;
  const SlpEnvironment &env;
  const int n, K;
  FormulaWorkspace ws;

  std::vector<double> x, act;
  double f = 0.0, mu = 0.0;
  std::vector<char> nlc;      // per column: step-bounded (and in the BFGS term)
  std::vector<char> isInt;    // per column: kept integral
  std::vector<int> hcols;     // the nonlinear columns, ascending
  std::vector<int> hpos;      // column -> position in hcols or -1
  std::vector<double> delta;  // step bound per column
  bool exactQ = false, useHessian = false;
  Bfgs bfgs;
  SlpLinearisation lin;
  std::vector<double> rowval;  // value of each nonlinear row at x
  std::vector<double> y_;      // row duals of the last subproblem (L = f - y'g)
  bool exactRows = false;      // every nonlinear term is quadratic: exact Hessians exist
  // Step test and statistics (slp_tolsets.h): the codes and step of the last accepted step,
  // whether it passed, whether the solve has left its start (derivative estimates end then).
  std::vector<int> conv_;
  std::vector<double> lastStep_;
  bool stepsDone_ = false, moved_ = false;
  SlpSolveDetail detail_;
  struct Saddle {
    std::vector<double> x, act, y;
    double f = 0.0;
  };
  std::vector<Saddle> saddles;  // points left by leaveSaddle
  int cascadeFailures = 0;
};

void Loop::setupColumns() {
  const Model &m = M.model();
  nlc.assign(n, 0);
  for (int j = 0; j < n; ++j) nlc[j] = M.nonlinearInRows(j);
  // A convex quadratic objective goes into the subproblem exactly when the subproblem may
  // be a QP; otherwise it is linearised like any nonlinear term.
  if (M.hasQuadraticObjective()) {
    std::vector<int> qc;
    for (const SlpQuadTerm &t : M.objectiveHessian()) qc.insert(qc.end(), {t.i, t.j});
    std::sort(qc.begin(), qc.end());
    qc.erase(std::unique(qc.begin(), qc.end()), qc.end());
    if (!S.integers) {
      const int d = static_cast<int>(qc.size());
      std::vector<double> a(static_cast<size_t>(d) * d, 0.0);
      auto pos = [&](int c) { return std::lower_bound(qc.begin(), qc.end(), c) - qc.begin(); };
      for (const SlpQuadTerm &t : M.objectiveHessian()) {
        const auto i = pos(t.i), j = pos(t.j);
        a[i * d + j] = a[j * d + i] = t.coef;
      }
      exactQ = isPositiveSemidefinite(a, d);
    }
    if (!exactQ)
      for (int c : qc) nlc[c] = 1;
  }
  isInt.assign(n, 0);
  if (S.integers)
    for (int j = 0; j < n; ++j) isInt[j] = m.coltype[j] == 'I' || m.coltype[j] == 'B';
  hpos.assign(n, -1);
  for (int j = 0; j < n; ++j)
    if (nlc[j]) {
      hpos[j] = static_cast<int>(hcols.size());
      hcols.push_back(j);
    }
  useHessian = !S.integers && !hcols.empty() &&
               static_cast<int>(hcols.size()) <= S.max_hessian_cols;
  exactRows = useHessian && static_cast<int>(hcols.size()) <= kMaxExactHessianCols;
  for (const SlpNonlinearRow &r : M.nonlinearRows()) exactRows = exactRows && r.terms.empty();
  exactRows = exactRows && !M.hasObjectiveFormulas();
  if (useHessian) bfgs.init(static_cast<int>(hcols.size()));
  delta.assign(n, 0.0);
  for (int j = 0; j < n; ++j) {
    const double c = j < static_cast<int>(S.col_step.size()) ? S.col_step[j] : 0.0;
    delta[j] = std::min(c > 0 ? c : S.init_step, S.max_step);
  }
  applyStepTypes(S, x, delta);
}

bool Loop::lagrangianGradient(const std::vector<double> &xp, const std::vector<double> &y,
                              std::vector<double> &out) {
  std::vector<double> g(n);
  std::string err;
  if (!objectiveGradient(xp, g.data(), err)) return false;
  if (exactQ) {
    // The exact quadratic part is in the subproblem already.
    for (const SlpQuadTerm &t : M.objectiveHessian()) {
      if (t.i == t.j) {
        g[t.i] -= t.coef * xp[t.i];
      } else {
        g[t.i] -= t.coef * xp[t.j];
        g[t.j] -= t.coef * xp[t.i];
      }
    }
  }
  std::vector<double> rg;
  for (int k = 0; k < K; ++k) {
    const SlpNonlinearRow &r = M.nonlinearRows()[k];
    const double yk = r.row < static_cast<int>(y.size()) ? y[r.row] : 0.0;
    if (yk == 0.0) continue;
    double v;
    if (!M.rowGradient(k, xp.data(), v, rg, ws, err)) return false;
    for (size_t q = 0; q < r.cols.size(); ++q) g[r.cols[q]] -= yk * rg[q];
  }
  out.assign(hcols.size(), 0.0);
  for (size_t q = 0; q < hcols.size(); ++q) out[q] = g[hcols[q]];
  return true;
}

bool Loop::linearise(std::string &err) {
  const Model &m = M.model();
  lin.cost.assign(n, 0.0);
  if (!objectiveGradient(x, lin.cost.data(), err)) return false;
  if (!moved_ && !S.dfs.empty()) applyObjectiveEstimates(S, M.sense(), lin.cost.data());
  lin.hessian.clear();
  if (exactQ)
    for (const SlpQuadTerm &t : M.objectiveHessian())
      lin.hessian[{std::min(t.i, t.j), std::max(t.i, t.j)}] += t.coef;
  if (useHessian) {
    const int h = static_cast<int>(hcols.size());
    std::vector<double> exact;
    const bool useExact = exactRows && exactLagrangianHessian(exact);
    if (S.log_level >= 2) {
      double ymax = 0, bmax = 0;
      for (double v : y_) ymax = std::max(ymax, std::fabs(v));
      for (int a = 0; a < h; ++a)
        bmax = std::max(bmax, std::fabs(useExact ? exact[static_cast<size_t>(a) * h + a]
                                                 : bfgs.at(a, a)));
      log(NVRL_MSG_DEBUG, fmt("  second-order term: %s, largest diagonal %.3e, largest "
                              "multiplier %.3e", useExact ? "exact" : "quasi-Newton", bmax, ymax));
    }
    if (useExact) {
      for (int a = 0; a < h; ++a)
        for (int b = a; b < h; ++b) {
          const double v = exact[static_cast<size_t>(a) * h + b];
          if (v != 0.0) lin.hessian[{hcols[a], hcols[b]}] += v;
        }
    } else {
      for (int a = 0; a < h; ++a)
        for (int b = a; b < h; ++b) {
          const double v = bfgs.at(a, b);
          if (v != 0.0) lin.hessian[{hcols[a], hcols[b]}] += v;
        }
    }
  }
  // cost = gradient - H x, so that the subproblem's objective is g'd + 1/2 d'Hd.
  for (const auto &[cr, v] : lin.hessian) {
    const int c = cr.first, r = cr.second;
    lin.cost[c] -= v * x[r];
    if (r != c) lin.cost[r] -= v * x[c];
  }
  lin.point = x;
  lin.lo.resize(n);
  lin.up.resize(n);
  applyStepTypes(S, x, delta);
  for (int j = 0; j < n; ++j) {
    double lo = lower(m.lb[j]), up = upper(m.ub[j]);
    if (nlc[j] || !adaptiveStep(S, j)) {
      // An integer column keeps a whole step of at least 1, so that it is never frozen
      // unless its step type says so.
      const double dj = isInt[j] && deltaType(S, j) != NSLP_DELTA_FROZEN
                            ? std::max(1.0, std::floor(delta[j]))
                            : delta[j];
      lo = std::max(lo, x[j] - dj);
      up = std::min(up, x[j] + dj);
    } else if (!lin.hessian.empty() && isInfLo(m.lb[j]) && isInfUp(m.ub[j])) {
      // HiGHS's QP solver may end a QP with a free column in a solve error (its optimum
      // off a row by more than its tolerance); bounds far beyond any sensible step avoid it.
      const double far = 10 * kHugeStep * std::max(1.0, std::fabs(x[j]));
      lo = x[j] - far;
      up = x[j] + far;
    }
    lin.lo[j] = lo;
    lin.up[j] = up;
  }
  lin.grad.resize(K);
  lin.rowlo.resize(K);
  lin.rowup.resize(K);
  lin.penalty.resize(K);
  rowval.resize(K);
  for (int k = 0; k < K; ++k) {
    const SlpNonlinearRow &r = M.nonlinearRows()[k];
    double v;
    if (!M.rowGradient(k, x.data(), v, lin.grad[k], ws, err)) return false;
    if (!moved_ && !S.dfs.empty()) applyRowEstimates(S, r, lin.grad[k]);
    double gx = 0;
    for (size_t q = 0; q < r.cols.size(); ++q) gx += lin.grad[k][q] * x[r.cols[q]];
    rowval[k] = v;
    lin.rowlo[k] = M.rowLo(r.row) - v + gx;
    lin.rowup[k] = M.rowUp(r.row) - v + gx;
    lin.penalty[k] = mu * weight(r.row);
  }
  return true;
}

double Loop::stationarity(const std::vector<double> &y) {
  const Model &m = M.model();
  std::vector<double> r(n);
  std::string err;
  if (!objectiveGradient(x, r.data(), err)) return INFINITY;
  double scale = 1.0;
  for (double g : r) scale = std::max(scale, std::fabs(g));
  std::vector<double> rg;
  for (int i = 0; i < M.rows(); ++i) {
    const double yi = i < static_cast<int>(y.size()) ? y[i] : 0.0;
    if (yi == 0.0) continue;
    const int k = M.nonlinearIndex(i);
    if (k < 0) {
      const RowMatrix &mA = m.A.rows();
      for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) r[mA.col[e]] -= yi * mA.val[e];
      continue;
    }
    double v;
    if (!M.rowGradient(k, x.data(), v, rg, ws, err)) return INFINITY;
    const SlpNonlinearRow &row = M.nonlinearRows()[k];
    for (size_t q = 0; q < row.cols.size(); ++q) r[row.cols[q]] -= yi * rg[q];
  }
  double worst = 0.0;
  for (int j = 0; j < n; ++j) {
    double rj = r[j];
    // At a bound the reduced cost may have the sign that pushes against it.
    if (!isInfLo(m.lb[j]) && x[j] <= m.lb[j] + 1e-9 * std::max(1.0, std::fabs(m.lb[j])))
      rj = std::min(rj, 0.0);
    if (!isInfUp(m.ub[j]) && x[j] >= m.ub[j] - 1e-9 * std::max(1.0, std::fabs(m.ub[j])))
      rj = std::max(rj, 0.0);
    if (isInt[j]) rj = 0.0;
    worst = std::max(worst, std::fabs(rj));
  }
  return worst / scale;
}

void Loop::balanceLinearColumns() {
  // A column without an initial value that occurs in one row only, linearly, and that row
  // nonlinear (an objective's transfer column, a slack) starts where the row holds: the
  // first steps then go to the problem rather than to catching up with that column.
  const Model &m = M.model();
  std::vector<int> rowsOf(n, 0), onlyRow(n, -1);
  std::vector<double> coefIn(n, 0.0);
  const RowMatrix &mA = m.A.rows();
  for (int i = 0; i < M.rows(); ++i)
    for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) {
      const int j = mA.col[e];
      ++rowsOf[j];
      onlyRow[j] = i;
      coefIn[j] = mA.val[e];
    }
  for (const SlpQuadTerm &t : M.objectiveHessian()) rowsOf[t.i] = rowsOf[t.j] = 0;
  std::vector<double> a;
  std::string err;
  for (int j = 0; j < n; ++j) {
    if (rowsOf[j] != 1 || nlc[j] || coefIn[j] == 0.0 || !adaptiveStep(S, j)) continue;
    const int i = onlyRow[j];
    if (M.nonlinearIndex(i) < 0) continue;
    // The objective's transfer column is registered with a value of 0 that means nothing.
    const bool transfer = i < static_cast<int>(S.transfer_row.size()) && S.transfer_row[i];
    const bool given = j < static_cast<int>(S.given.size()) && S.given[j];
    if (given && !transfer) continue;
    if (!M.activities(x.data(), a, ws, err)) return;  // reported by the caller's evaluation
    const double target = std::min(std::max(a[i], M.rowLo(i)), M.rowUp(i));
    const double v = x[j] + (target - a[i]) / coefIn[j];
    if (std::isfinite(v)) x[j] = std::min(std::max(v, m.lb[j]), m.ub[j]);
  }
}

bool Loop::exactLagrangianHessian(std::vector<double> &H) {
  // The Hessian of f - y'g over the nonlinear columns, when every nonlinear term is
  // quadratic and the last multipliers make it convex (true near a solution of a convex
  // problem); otherwise the quasi-Newton term stands in.
  if (y_.empty()) return false;
  const int h = static_cast<int>(hcols.size());
  H.assign(static_cast<size_t>(h) * h, 0.0);
  auto add = [&](int i, int j, double v) {
    const int a = hpos[i], b = hpos[j];
    if (a < 0 || b < 0) return;
    H[static_cast<size_t>(a) * h + b] += v;
    if (a != b) H[static_cast<size_t>(b) * h + a] += v;
  };
  if (!exactQ)
    for (const SlpQuadTerm &t : M.objectiveHessian()) add(t.i, t.j, t.coef);
  for (const SlpNonlinearRow &r : M.nonlinearRows()) {
    const double yk = r.row < static_cast<int>(y_.size()) ? y_[r.row] : 0.0;
    if (yk == 0.0) continue;
    for (const SlpQuadTerm &t : r.quad) add(t.i, t.j, -yk * (t.i == t.j ? 2.0 : 1.0) * t.coef);
  }
  // Only a positive definite Hessian will do: where it is singular (a linear objective with
  // multipliers still 0, say) the subproblem would see no curvature at all in some
  // directions and run to its step bounds; the quasi-Newton term is better there.
  double scale = 0.0;
  for (int a = 0; a < h; ++a) scale = std::max(scale, std::fabs(H[static_cast<size_t>(a) * h + a]));
  std::vector<double> test = H;
  for (int a = 0; a < h; ++a) test[static_cast<size_t>(a) * h + a] -= 1e-8 * std::max(1.0, scale);
  return isPositiveSemidefinite(test, h);
}

bool Loop::qpLooksUnbounded() {
  // HiGHS's QP solver can call an unbounded QP optimal at a huge point. Only the columns
  // without step bounds can run away, and the objective is linear in them, so the LP with
  // the same rows is unbounded exactly when the QP is.
  const Model &m = M.model();
  const std::vector<double> &xh = sub.x();
  bool huge = false;
  for (int j = 0; j < n && !huge; ++j)
    huge = !nlc[j] && (isInfLo(m.lb[j]) || isInfUp(m.ub[j])) &&
           std::fabs(xh[j]) >= kHugeStep * std::max(1.0, std::fabs(x[j]));
  if (!huge) return false;
  SlpLinearisation lp = lin;
  for (int j = 0; j < n; ++j)
    if (!nlc[j]) {
      lp.lo[j] = lower(m.lb[j]);
      lp.up[j] = upper(m.ub[j]);
    }
  for (const auto &[cr, v] : lp.hessian) {
    // Undo the Hessian's share of the cost: back to the plain gradient.
    const int c = cr.first, r = cr.second;
    lp.cost[c] += v * x[r];
    if (r != c) lp.cost[r] += v * x[c];
  }
  lp.hessian.clear();
  int ms = 0;
  std::string err;
  if (!sub.solve(lp, ms, err)) return false;
  return ms == kHighsModelStatusUnbounded || ms == kHighsModelStatusUnboundedOrInfeasible;
}

bool Loop::solveWithRetries(int &status, std::string &err) {
  auto settled = [](int ms) {
    return ms == kHighsModelStatusOptimal || ms == kHighsModelStatusModelEmpty ||
           ms == kHighsModelStatusInfeasible || ms == kHighsModelStatusUnbounded ||
           ms == kHighsModelStatusUnboundedOrInfeasible || ms == kHighsModelStatusTimeLimit ||
           ms == kHighsModelStatusInterrupt;
  };
  if (!sub.solve(lin, status, err)) return false;
  if (settled(status)) return true;
  // HiGHS's QP solver occasionally fails from a warm start: once more from scratch, then
  // with the quasi-Newton term started afresh.
  sub.clearSolver();
  if (!sub.solve(lin, status, err)) return false;
  if (settled(status) || !useHessian) return true;
  log(NVRL_MSG_INFO, fmt("The subproblem failed (HiGHS model status %d); the second-order "
                         "term is restarted", status));
  bfgs.init(static_cast<int>(hcols.size()));
  if (!linearise(err)) return false;
  sub.clearSolver();
  if (!sub.solve(lin, status, err)) return false;
  if (settled(status)) return true;
  // Last resort: a linear step for this iteration.
  log(NVRL_MSG_INFO, fmt("The subproblem failed again (HiGHS model status %d); this "
                         "iteration takes a linear step", status));
  const bool keep = useHessian;
  useHessian = false;
  const bool ok = linearise(err);
  useHessian = keep;
  if (!ok) return false;
  sub.clearSolver();
  return sub.solve(lin, status, err);
}

bool Loop::secondOrderCorrection(const std::vector<double> &d,
                                 const std::vector<double> &actTrial, std::vector<double> &xc,
                                 std::vector<double> &actc, double &fc, double &meritc) {
  // Shift each linearised row by its error at the trial point and solve again.
  SlpLinearisation saved = lin;
  for (int k = 0; k < K; ++k) {
    const SlpNonlinearRow &r = M.nonlinearRows()[k];
    double lin_at = rowval[k];
    for (size_t q = 0; q < r.cols.size(); ++q) lin_at += lin.grad[k][q] * d[r.cols[q]];
    const double c = actTrial[r.row] - lin_at;
    lin.rowlo[k] -= c;
    lin.rowup[k] -= c;
  }
  int ms = 0;
  std::string err;
  const bool solved = sub.solve(lin, ms, err) && ms == kHighsModelStatusOptimal && !sub.x().empty();
  lin = std::move(saved);
  if (!solved) return false;
  std::vector<double> x2 = sub.x(), act2;
  // A correction is second order in the step when the linearisation describes the rows at
  // the trial point. One larger than the step itself means it does not: the "corrected"
  // point is then a different step that no model has judged, and it can land anywhere (on
  // HS 63 the first step overshoots the curved row fourfold and its correction lands on a
  // vertex where that row's violation is locally least). The step is judged uncorrected.
  double step = 0.0, correction = 0.0;
  for (int j : hcols) {
    step = std::max(step, std::fabs(d[j]));
    correction = std::max(correction, std::fabs(x2[j] - x[j] - d[j]));
  }
  if (correction > step) return false;
  double f2;
  cascade(x2);
  if (!evaluate(x2, act2, f2, err)) return false;
  const double m2 = f2 + mu * penaltySum(act2);
  if (m2 >= meritc) return false;
  xc.swap(x2);
  actc.swap(act2);
  fc = f2;
  meritc = m2;
  return true;
}

double Loop::modelInfeasibility(const std::vector<double> &xs) const {
  double v = 0.0;
  for (int k = 0; k < K; ++k) {
    const SlpNonlinearRow &r = M.nonlinearRows()[k];
    double a = rowval[k];
    for (size_t q = 0; q < r.cols.size(); ++q) a += lin.grad[k][q] * (xs[r.cols[q]] - x[r.cols[q]]);
    v += weight(r.row) * M.violation(r.row, a);
  }
  return v;
}

bool Loop::steerPenalty(int &ms, std::string &err) {
  // Raising the penalty only after a step has failed lets early steps trade feasibility for
  // objective, and may lead to a point where the rows' linearisation cannot be satisfied any
  // more. Instead the penalty is chosen for the step at hand (the steering rule of Byrd,
  // Nocedal and Waltz): the step must remove all the linearised violation when that is
  // possible within the step bounds, and otherwise a tenth of what is possible.
  if (K == 0 || sub.x().empty()) return true;
  const double tol = S.feas_tol;
  double md = modelInfeasibility(sub.x());
  if (md <= tol || mu >= S.penalty_max) return true;
  double m0 = 0.0;
  for (int k = 0; k < K; ++k) {
    const int i = M.nonlinearRows()[k].row;
    m0 += weight(i) * M.violation(i, rowval[k]);
  }
  std::vector<double> xf;
  int fs = 0;
  if (!sub.solveFeasibility(lin, xf, fs, err)) return false;
  if (fs != kHighsModelStatusOptimal || xf.empty()) return true;
  const double best = modelInfeasibility(xf);
  const double before = mu;
  while (mu < S.penalty_max) {
    const bool enough = best <= tol ? md <= tol : m0 - md >= 0.1 * (m0 - best);
    if (enough) break;
    mu = std::min(mu * S.penalty_growth, S.penalty_max);
    for (int k = 0; k < K; ++k) lin.penalty[k] = mu * weight(M.nonlinearRows()[k].row);
    if (!sub.solve(lin, ms, err)) return false;
    if (ms != kHighsModelStatusOptimal || sub.x().empty()) break;
    md = modelInfeasibility(sub.x());
  }
  if (S.log_level >= 2)
    log(NVRL_MSG_DEBUG, fmt("  linearised violation %.3e, at the step %.3e, least possible "
                            "%.3e; penalty %.3e -> %.3e", m0, md, best, before, mu));
  return true;
}

// The second-order check looks at this many free columns at most (dense matrices).
constexpr int kMaxCurvatureCols = 100;
// Saddle points left in one solve at most.
constexpr int kMaxSaddles = 3;

bool Loop::curvedGradient(const std::vector<double> &xp, std::vector<double> &g) {
  g.assign(n, 0.0);
  std::string err;
  if (!objectiveGradient(xp, g.data(), err)) return false;
  std::vector<double> rg;
  for (int k = 0; k < K; ++k) {
    const SlpNonlinearRow &r = M.nonlinearRows()[k];
    const double yk = r.row < static_cast<int>(y_.size()) ? y_[r.row] : 0.0;
    if (yk == 0.0) continue;
    double v;
    if (!M.rowGradient(k, xp.data(), v, rg, ws, err)) return false;
    for (size_t q = 0; q < r.cols.size(); ++q) g[r.cols[q]] -= yk * rg[q];
  }
  return true;
}

bool Loop::leaveSaddle(double &merit) {
  if (S.integers || y_.empty() || n > kMaxCurvatureCols) return false;
  if (!saddles.empty() && f >= saddles.back().f - 1e-9 * std::max(1.0, std::fabs(f))) {
    // The move led nowhere better: back to where it started, and stop there.
    Saddle &s = saddles.back();
    x = s.x;
    act = s.act;
    y_ = s.y;
    f = s.f;
    merit = f + mu * penaltySum(act);
    return false;
  }
  if (static_cast<int>(saddles.size()) >= kMaxSaddles) return false;
  const Model &m = M.model();
  std::vector<double> g0;
  if (!curvedGradient(x, g0)) return false;
  // Reduced costs with every row's multiplier, to tell bounds that hold a column from
  // bounds it merely touches.
  std::vector<double> r = g0;
  double scale = 1.0;
  {
    std::vector<double> fg(n);
    std::string err;
    if (!objectiveGradient(x, fg.data(), err)) return false;
    for (double v : fg) scale = std::max(scale, std::fabs(v));
  }
  for (int i = 0; i < M.rows(); ++i) {
    if (M.nonlinearIndex(i) >= 0 || i >= static_cast<int>(y_.size()) || y_[i] == 0.0) continue;
    const RowMatrix &mA = m.A.rows();
    for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) r[mA.col[e]] -= y_[i] * mA.val[e];
  }
  std::vector<char> curved(n, 0);
  for (int j : hcols) curved[j] = 1;
  for (const SlpQuadTerm &t : M.objectiveHessian()) curved[t.i] = curved[t.j] = 1;
  // Free columns, and the sign a column resting on a bound without being held there may move.
  std::vector<int> freeCols, sign;
  const double tolr = 1e-6 * scale;
  for (int j = 0; j < n; ++j) {
    const double lb = m.lb[j], ub = m.ub[j];
    const bool atLo = !isInfLo(lb) && x[j] <= lb + 1e-9 * std::max(1.0, std::fabs(lb));
    const bool atUp = !isInfUp(ub) && x[j] >= ub - 1e-9 * std::max(1.0, std::fabs(ub));
    if (isInt[j] || (atLo && atUp) || (atLo && r[j] > tolr) || (atUp && r[j] < -tolr)) continue;
    freeCols.push_back(j);
    sign.push_back(atLo ? 1 : atUp ? -1 : 0);
  }
  const int nf = static_cast<int>(freeCols.size());
  bool anyCurved = false;
  for (int j : freeCols) anyCurved = anyCurved || curved[j];
  if (!anyCurved) return false;
  std::vector<int> pos(n, -1);
  for (int a = 0; a < nf; ++a) pos[freeCols[a]] = a;
  // Gradients of the active rows over the free columns.
  std::vector<double> A, rg;
  int ma = 0;
  std::string err;
  for (int i = 0; i < M.rows(); ++i) {
    const double lo = M.rowLo(i), up = M.rowUp(i);
    const double tola = 10 * S.feas_tol;
    const bool active = (std::isfinite(lo) && act[i] <= lo + tola * std::max(1.0, std::fabs(lo))) ||
                        (std::isfinite(up) && act[i] >= up - tola * std::max(1.0, std::fabs(up)));
    if (!active) continue;
    std::vector<double> rowA(nf, 0.0);
    const int k = M.nonlinearIndex(i);
    if (k < 0) {
      const RowMatrix &mA = m.A.rows();
      for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e)
        if (pos[mA.col[e]] >= 0) rowA[pos[mA.col[e]]] += mA.val[e];
    } else {
      double v;
      if (!M.rowGradient(k, x.data(), v, rg, ws, err)) return false;
      const SlpNonlinearRow &row = M.nonlinearRows()[k];
      for (size_t q = 0; q < row.cols.size(); ++q)
        if (pos[row.cols[q]] >= 0) rowA[pos[row.cols[q]]] += rg[q];
    }
    A.insert(A.end(), rowA.begin(), rowA.end());
    ++ma;
  }
  // The Hessian of the Lagrangian over the free columns by central differences of the exact
  // gradients (exact for quadratic terms).
  std::vector<double> H(static_cast<size_t>(nf) * nf, 0.0), gp, gm;
  for (int a = 0; a < nf; ++a) {
    const int j = freeCols[a];
    if (!curved[j]) continue;
    const double h = 1e-5 * std::max(1.0, std::fabs(x[j]));
    std::vector<double> xp = x;
    xp[j] = x[j] + h;
    const bool up = curvedGradient(xp, gp);
    xp[j] = x[j] - h;
    const bool down = curvedGradient(xp, gm);
    if (!up && !down) return false;
    const double span = (up && down) ? 2 * h : h;
    const std::vector<double> &hi = up ? gp : g0, &lo = down ? gm : g0;
    for (int b = 0; b < nf; ++b)
      H[static_cast<size_t>(a) * nf + b] = (hi[freeCols[b]] - lo[freeCols[b]]) / span;
  }
  double hmax = 0.0;
  for (int a = 0; a < nf; ++a)
    for (int b = a; b < nf; ++b) {
      double &ab = H[static_cast<size_t>(a) * nf + b], &ba = H[static_cast<size_t>(b) * nf + a];
      ab = ba = 0.5 * (ab + ba);
      hmax = std::max(hmax, std::fabs(ab));
    }
  std::vector<double> dir;
  double lambda = 0.0;
  if (!negativeCurvatureDirection(H, A, ma, nf, 1e-6 * std::max(1.0, hmax), dir, &lambda))
    return false;
  // Columns resting on a bound may only leave it: one of +dir and -dir must respect them.
  auto fits = [&](double sgn) {
    for (int a = 0; a < nf; ++a)
      if (sign[a] * sgn * dir[a] < -1e-9) return false;
    return true;
  };
  const double sgn = fits(1.0) ? 1.0 : fits(-1.0) ? -1.0 : 0.0;
  if (sgn == 0.0) return false;
  // L = f - y'g at x, then trial points along the direction until the Lagrangian falls by a
  // fair share of what its curvature promises.
  auto lagrangian = [&](double fv, const std::vector<double> &a) {
    double v = fv;
    for (int i = 0; i < M.rows() && i < static_cast<int>(y_.size()); ++i) v -= y_[i] * a[i];
    return v;
  };
  const double L0 = lagrangian(f, act);
  double xmax = 1.0;
  for (int j : freeCols) xmax = std::max(xmax, std::fabs(x[j]));
  for (double alpha = 0.1 * xmax; alpha >= 1e-6 * xmax; alpha *= 0.5) {
    std::vector<double> xt = x, at;
    for (int a = 0; a < nf; ++a) {
      const int j = freeCols[a];
      xt[j] = std::min(std::max(x[j] + alpha * sgn * dir[a], m.lb[j]), m.ub[j]);
    }
    double ft;
    if (!evaluate(xt, at, ft, err)) continue;
    bool linearHold = true;
    for (int i = 0; i < M.rows() && linearHold; ++i)
      linearHold = M.nonlinearIndex(i) >= 0 || M.violation(i, at[i]) <= S.feas_tol;
    if (!linearHold) continue;
    if (lagrangian(ft, at) > L0 + 0.25 * 0.5 * alpha * alpha * lambda) continue;
    log(NVRL_MSG_INFO, fmt("The point is a saddle (curvature %.3e); the solve moves on", lambda));
    saddles.push_back({x, act, y_, f});
    for (int j : hcols) {
      const double c = j < static_cast<int>(S.col_step.size()) ? S.col_step[j] : 0.0;
      delta[j] = std::max(delta[j], std::min(c > 0 ? c : S.init_step, S.max_step));
    }
    x.swap(xt);
    act.swap(at);
    f = ft;
    merit = f + mu * penaltySum(act);
    return true;
  }
  return false;
}

SlpOutcome Loop::run() {
  SlpOutcome out;
  // Every subproblem (a MIP can take long) stops at a stop request, not only the iterations.
  sub.setStop(env.stopRequested);
  const auto t0 = std::chrono::steady_clock::now();
  auto elapsed = [&] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  };
  const Model &m = M.model();
  x.assign(n, 0.0);
  for (int j = 0; j < n; ++j) {
    const double v = j < static_cast<int>(S.initial.size()) ? S.initial[j]
                                                             : defaultStart(m.lb[j], m.ub[j]);
    x[j] = std::min(std::max(v, m.lb[j]), m.ub[j]);
  }
  setupColumns();
  mu = S.penalty > 0 ? S.penalty : 1.0;
  // Without nonlinear rows, and with the objective exact in the subproblem, one subproblem
  // solves the problem.
  const bool exactModel =
      K == 0 && !M.hasObjectiveFormulas() && (!M.hasQuadraticObjective() || exactQ);

  log(NVRL_MSG_INFO, fmt("Problem: %d rows (%d nonlinear), %d columns (%zu nonlinear)",
                         M.rows(), K, n, hcols.size()));
  log(NVRL_MSG_INFO,
      fmt("Subproblems: %s",
          S.integers  ? "MIP (linearised)"
          : useHessian ? "QP with a quasi-Newton second-order term"
          : exactQ     ? "QP (exact quadratic objective)"
                       : "LP"));
  if (hooks.solveStart) hooks.solveStart(hooks.data);

  std::string err;
  // Linear rows hold at every iterate; a start that violates one is moved onto them first.
  {
    std::vector<double> a;
    bool violated = false;
    std::string e2;
    for (int i = 0; i < M.rows() && !violated; ++i) {
      if (M.nonlinearIndex(i) >= 0) continue;
      double v = 0;
      const RowMatrix &mA = m.A.rows();
      for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) v += mA.val[e] * x[mA.col[e]];
      violated = M.violation(i, v) > S.feas_tol;
    }
    if (violated && !projectOntoLinearRows(M, S.integers, x, err)) {
      log(NVRL_MSG_INFO, "The linear rows and bounds are infeasible");
      out.status = kSlpInfeasible;
      out.error.clear();
      if (hooks.solveEnd) hooks.solveEnd(hooks.data, out.status);
      return out;
    }
  }
  balanceLinearColumns();
  cascade(x);
  if (!evaluate(x, act, f, err)) {
    out.error = "cannot evaluate the problem at the starting point: " + err;
    return out;
  }
  double merit = f + mu * penaltySum(act);
  int smallChanges = 0, rejections = 0, bfgsRestarts = 0;
  // Integer columns keep steps of 1 however often a step is rejected: a run of rejections
  // this long means no neighbouring point improves.
  constexpr int kMaxRejections = 30;
  bool converged = false;
  int status = kSlpUnfinished;

  log(NVRL_MSG_INFO, "  iter      objective   infeas       step      trust    penalty");
  int it = 0;
  while (true) {
    if (it >= S.iteration_limit) {
      out.stop = NVRL_STOP_ITERLIMIT;
      break;
    }
    if (const int reason = env.stopRequested ? env.stopRequested() : 0) {
      out.stop = reason;
      break;
    }
    if (S.time_limit > 0 && elapsed() >= S.time_limit) {
      out.stop = NVRL_STOP_TIMELIMIT;
      break;
    }
    ++it;
    if (hooks.iterationStart) hooks.iterationStart(hooks.data, it);
    if (!linearise(err)) {
      out.error = "cannot differentiate at the current point: " + err;
      break;
    }
    if (S.time_limit > 0) sub.setTimeLimit(S.time_limit - elapsed());
    int ms = 0;
    if (!solveWithRetries(ms, err)) {
      out.error = err;
      break;
    }
    if (ms == kHighsModelStatusOptimal) {
      const double before = mu;
      if (!steerPenalty(ms, err)) {
        out.error = err;
        break;
      }
      if (mu != before) merit = f + mu * penaltySum(act);
    }
    if (ms == kHighsModelStatusUnbounded ||
        (ms == kHighsModelStatusUnboundedOrInfeasible && infeasibility(act) <= S.feas_tol)) {
      // Unbounded directions use only columns without step bounds, in which every row and
      // the objective are linear: the problem itself is unbounded.
      status = kSlpUnbounded;
      break;
    }
    if (ms == kHighsModelStatusOptimal && !lin.hessian.empty() && qpLooksUnbounded()) {
      status = kSlpUnbounded;
      break;
    }
    if (ms == kHighsModelStatusInfeasible || ms == kHighsModelStatusUnboundedOrInfeasible) {
      // Only integrality can make the elastic subproblem infeasible at a point on the
      // linear rows.
      status = kSlpInfeasible;
      break;
    }
    if (ms == kHighsModelStatusTimeLimit) {
      out.stop = NVRL_STOP_TIMELIMIT;
      break;
    }
    if (ms == kHighsModelStatusInterrupt) {
      const int reason = env.stopRequested ? env.stopRequested() : 0;
      out.stop = reason != 0 ? reason : NVRL_STOP_USER;
      break;
    }
    if (sub.x().empty() ||
        (ms != kHighsModelStatusOptimal && ms != kHighsModelStatusModelEmpty)) {
      out.error = fmt("the subproblem of iteration %d ended without a solution (HiGHS model "
                      "status %d)", it, ms);
      break;
    }
    std::vector<double> xh = sub.x();
    std::vector<double> d(n);
    double stepMax = 0.0;
    auto measureStep = [&] {
      stepMax = 0.0;
      for (int j = 0; j < n; ++j) {
        d[j] = xh[j] - x[j];
        stepMax = std::max(stepMax, std::fabs(d[j]));
      }
    };
    measureStep();
    // The model's merit at the step: linearised objective and rows.
    double modelF = f;
    // The gradient at x: the linearisation's cost with the Hessian's share put back.
    std::vector<double> g = lin.cost;
    {
      for (const auto &[cr, v] : lin.hessian) {
        const int c = cr.first, r = cr.second;
        g[c] += v * x[r];
        if (r != c) g[r] += v * x[c];
      }
      for (int j = 0; j < n; ++j) modelF += g[j] * d[j];
      for (const auto &[cr, v] : lin.hessian) {
        const int c = cr.first, r = cr.second;
        modelF += (c == r ? 0.5 : 1.0) * v * d[c] * d[r];
      }
    }
    double modelViol = 0.0;
    for (int i = 0; i < M.rows(); ++i) {
      const int k = M.nonlinearIndex(i);
      double a;
      if (k >= 0) {
        const SlpNonlinearRow &r = M.nonlinearRows()[k];
        a = rowval[k];
        for (size_t q = 0; q < r.cols.size(); ++q) a += lin.grad[k][q] * d[r.cols[q]];
      } else {
        a = 0;
        const RowMatrix &mA = m.A.rows();
        for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) a += mA.val[e] * xh[mA.col[e]];
      }
      modelViol += weight(i) * M.violation(i, a);
    }
    const double predicted = merit - (modelF + mu * modelViol);
    const double infeasNow = infeasibility(act);
    const double scale = std::max(1.0, std::fabs(merit));
    if (sub.hasDuals()) y_ = sub.rowDuals();
    recordPenalties(M, sub.elastic(), S.feas_tol, detail_);

    if (predicted <= 1e-12 * scale) {
      // The linearisation promises nothing: a stationary point of the merit function.
      if (infeasNow > S.feas_tol && mu < S.penalty_max) {
        mu = std::min(mu * S.penalty_growth, S.penalty_max);
        merit = f + mu * penaltySum(act);
        log(NVRL_MSG_INFO, fmt("%6d %14.7e %8.2e %10.3e %10.3e %10.3e  penalty raised", it,
                               M.sense() * f, infeasNow, stepMax, 0.0, mu));
        if (hooks.iterationEnd) hooks.iterationEnd(hooks.data, it, false);
        continue;
      }
      log(NVRL_MSG_INFO, fmt("%6d %14.7e %8.2e %10.3e %10s %10.3e  no further progress", it,
                             M.sense() * f, infeasNow, stepMax, "", mu));
      if (hooks.iterationEnd) hooks.iterationEnd(hooks.data, it, false);
      // A quasi-Newton term that has grown far too stiff also promises nothing: when the point
      // is far from stationary, start the term again from the identity before giving up.
      if (useHessian && !exactRows && bfgsRestarts < kMaxBfgsRestarts && !y_.empty() &&
          stationarity(y_) > kLooseStationarity * S.opt_tol) {
        ++bfgsRestarts;
        bfgs.init(static_cast<int>(hcols.size()));
        smallChanges = rejections = 0;
        continue;
      }
      if (infeasNow <= S.feas_tol && !exactModel && leaveSaddle(merit)) {
        smallChanges = rejections = 0;
        continue;
      }
      converged = true;
      break;
    }

    // The trial point is judged with its determined columns recomputed from their rows.
    const int failedBefore = cascadeFailures;
    if (S.cascade) {
      cascade(xh);
      measureStep();
    }
    std::vector<double> acth;
    double fh;
    bool accepted = false;
    double ratio = 0.0;
    std::string why;
    // The step before its correction: see the shrinking of the step bounds below.
    const std::vector<double> dTried = d;
    if (!evaluate(xh, acth, fh, err)) {
      why = "rejected: " + err;
    } else {
      double meritH = fh + mu * penaltySum(acth);
      double actual = merit - meritH;
      ratio = actual / predicted;
      why = "";
      if (ratio < 0.75 && K > 0 && secondOrderCorrection(d, acth, xh, acth, fh, meritH)) {
        // The rows' curvature spoilt the step (the Maratos effect); the corrected step
        // keeps the model's prediction.
        actual = merit - meritH;
        ratio = actual / predicted;
        measureStep();
        why = ", corrected";
      }
      accepted = ratio >= 0.1 || (exactModel && actual >= -1e-9 * scale);
      why = (accepted ? "accepted" : "rejected") + why;
      if (accepted) {
        stepsDone_ = judgeSteps(M, S, x, d, f, g, rowval, lin.grad, nlc, delta, conv_);
        lastStep_ = d;
        moved_ = true;
        if (useHessian && sub.hasDuals()) {
          std::vector<double> g0, g1;
          if (lagrangianGradient(x, y_, g0) && lagrangianGradient(xh, y_, g1)) {
            std::vector<double> s(hcols.size()), y(hcols.size());
            for (size_t q = 0; q < hcols.size(); ++q) {
              s[q] = d[hcols[q]];
              y[q] = g1[q] - g0[q];
            }
            bfgs.update(s, y);
          }
        }
        if (ratio > 0.75)
          for (int j : hcols)
            if (adaptiveStep(S, j) && std::fabs(d[j]) >= 0.99 * delta[j])
              delta[j] = std::min(delta[j] * S.expand, S.max_step);
        // A step cut short by its bound says nothing about being close.
        bool interior = true;
        for (int j : hcols)
          interior = interior && (deltaType(S, j) == NSLP_DELTA_FROZEN ||
                                  std::fabs(d[j]) < 0.99 * delta[j]);
        const double df = std::fabs(fh - f);
        const bool small = interior && (df <= S.obj_abs_tol ||
                                        df <= S.obj_rel_tol * std::max(1.0, std::fabs(fh)));
        smallChanges = small ? smallChanges + 1 : 0;
        x = xh;
        act.swap(acth);
        f = fh;
        merit = meritH;
      }
    }
    rejections = accepted ? 0 : rejections + 1;
    if (!accepted) {
      smallChanges = 0;
      // A rejected step shrinks the step bounds by the length of the step judged. A correction
      // far shorter than its step is the exception: the shifted rows pulled back towards the
      // current point (to it, on max x*y over x^2 + y^2 = 8 from (0.5, 0.5)), so its length
      // says nothing about where the model fails, and would collapse the bounds to
      // nslp_min_step_bound after a single rejection. The step itself is used then.
      double judged = 0.0, tried = 0.0;
      for (int j : hcols) {
        judged = std::max(judged, std::fabs(d[j]));
        tried = std::max(tried, std::fabs(dTried[j]));
      }
      const std::vector<double> &shrinkBy = judged < 0.1 * tried ? dTried : d;
      for (int j : hcols)
        if (adaptiveStep(S, j))
          delta[j] = std::max(S.min_step,
                              S.shrink * std::min(delta[j], std::max(std::fabs(shrinkBy[j]),
                                                                     S.min_step)));
    }
    const double infeas = infeasibility(act);
    double trust = 0.0;
    for (int j : hcols) trust = std::max(trust, delta[j]);
    if (cascadeFailures > failedBefore)
      why += fmt(", %d cascade failures", cascadeFailures - failedBefore);
    log(NVRL_MSG_INFO, fmt("%6d %14.7e %8.2e %10.3e %10.3e %10.3e  %s", it, M.sense() * f, infeas,
                           stepMax, trust, mu, why.c_str()));
    if (hooks.iterationEnd) hooks.iterationEnd(hooks.data, it, accepted);

    if (accepted && infeas <= S.feas_tol &&
        (exactModel || stepsDone_ ||
         (!y_.empty() && stationarity(y_) <= (smallChanges >= 2 ? kLooseStationarity : 1.0) *
                                                  S.opt_tol))) {
      if (!exactModel && leaveSaddle(merit)) {
        smallChanges = rejections = 0;
        continue;
      }
      converged = true;
      break;
    }
    if (!accepted && ((!hcols.empty() && trust <= S.min_step) || rejections >= kMaxRejections)) {
      if (infeas <= S.feas_tol && leaveSaddle(merit)) {
        smallChanges = rejections = 0;
        continue;
      }
      converged = true;  // nowhere left to go
      break;
    }
  }

  out.iterations = it;
  out.penalty = mu;
  out.cascade_failures = cascadeFailures;
  const double infeas = infeasibility(act);
  out.infeasibility = infeas;
  if (status == kSlpUnbounded || status == kSlpInfeasible) {
    out.status = status;
  } else if (converged) {
    if (infeas <= S.feas_tol)
      out.status = exactModel && !S.integers ? kSlpGloballyOptimal : kSlpLocallyOptimal;
    else
      out.status = kSlpLocallyInfeasible;
  } else {
    out.status = kSlpUnfinished;
  }
  out.have_point = true;
  out.x = x;
  out.detail = std::move(detail_);
  out.detail.step = lastStep_.empty() ? std::vector<double>(n, 0.0) : lastStep_;
  out.detail.step_bound.assign(n, 0.0);
  for (int j = 0; j < n; ++j)
    if (nlc[j] || !adaptiveStep(S, j)) out.detail.step_bound[j] = delta[j];
  out.converged = conv_.empty() ? std::vector<int>(n, NSLP_CONVERGED_NO) : conv_;
  out.objective = M.sense() * f;
  out.slack.resize(M.rows());
  for (int i = 0; i < M.rows(); ++i) out.slack[i] = m.rhs[i] - act[i];
  if (!y_.empty() && !S.integers) {
    // Reduced costs at the final point from the last multipliers: d = grad f - J'y.
    std::vector<double> dj(n), rg;
    bool good = objectiveGradient(x, dj.data(), err);
    for (int i = 0; i < M.rows() && good; ++i) {
      const double y = y_[i];
      if (y == 0.0) continue;
      const int k = M.nonlinearIndex(i);
      if (k < 0) {
        const RowMatrix &mA = m.A.rows();
        for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) dj[mA.col[e]] -= y * mA.val[e];
      } else {
        double v;
        good = M.rowGradient(k, x.data(), v, rg, ws, err);
        const SlpNonlinearRow &r = M.nonlinearRows()[k];
        for (size_t q = 0; good && q < r.cols.size(); ++q) dj[r.cols[q]] -= y * rg[q];
      }
    }
    if (good) {
      out.have_duals = true;
      out.duals.assign(y_.begin(), y_.begin() + M.rows());
      out.djs = dj;
      if (M.sense() < 0) {
        for (double &v : out.duals) v = -v;
        for (double &v : out.djs) v = -v;
      }
    }
  }
  if (hooks.solveEnd) hooks.solveEnd(hooks.data, out.status);
  return out;
}

}  // namespace

SlpOutcome runSlp(const SlpModel &model, const SlpSettings &settings, SlpSubproblem &sub,
                  const SlpHooks &hooks, const SlpEnvironment &env) {
  Loop loop(model, settings, sub, hooks, env);
  SlpOutcome out = loop.run();
  out.evals = loop.evaluations();
  return out;
}

}  // namespace nvrl

// The cutting-plane loop for convex mixed-integer problems with quadratic rows.
#include "nslp/slp_cutting_planes.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "interfaces/highs_c_api.h"

namespace nvrl {

namespace {

// Columns in curved terms without a finite bound get this one in the MIP, which has no other
// limit before the first cuts; an answer there means the problem is unbounded.
constexpr double kCap = 1e7;

bool ok(HighsInt s) { return s != kHighsStatusError; }

}  // namespace

SlpOutcome runCuttingPlanes(const SlpModel &M, const SlpSettings &S, const nvrl_problem_s *p,
                            const SolveFlags &flags, const SlpEnvironment &env) {
  SlpOutcome out;
  const auto t0 = std::chrono::steady_clock::now();
  const Model &m = M.model();
  const int n = M.cols();
  const bool epigraph = M.hasQuadraticObjective();
  const int nc = n + (epigraph ? 1 : 0);
  auto log = [&](const std::string &line) {
    if (S.log_level > 0 && env.log) env.log(NVRL_MSG_INFO, line);
  };

  std::vector<char> curved(n, 0);
  for (int j = 0; j < n; ++j) curved[j] = M.nonlinearInRows(j);
  for (const SlpQuadTerm &t : M.objectiveHessian()) curved[t.i] = curved[t.j] = 1;

  std::vector<double> cost(nc, 0.0), lo(nc), up(nc);
  std::vector<double> zero(n, 0.0);
  M.objectiveGradient(zero.data(), cost.data());  // the linear part, minimisation form
  for (int j = 0; j < n; ++j) {
    lo[j] = isInfLo(m.lb[j]) ? (curved[j] ? -kCap : -INFINITY) : m.lb[j];
    up[j] = isInfUp(m.ub[j]) ? (curved[j] ? kCap : INFINITY) : m.ub[j];
  }
  if (epigraph) {
    cost[n] = 1.0;
    lo[n] = -INFINITY;
    up[n] = INFINITY;
  }
  std::vector<double> rlo, rup, val;
  std::vector<HighsInt> start{0}, idx;
  for (int i = 0; i < M.rows(); ++i) {
    // Nonlinear rows enter as cuts; keep one (empty) row per user row so that the indices
    // agree, and give the cuts rows of their own.
    rlo.push_back(M.nonlinearIndex(i) >= 0 ? -INFINITY : M.rowLo(i));
    rup.push_back(M.nonlinearIndex(i) >= 0 ? INFINITY : M.rowUp(i));
    const RowMatrix &mA = m.A.rows();
    if (M.nonlinearIndex(i) < 0)
      for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) {
        idx.push_back(mA.col[e]);
        val.push_back(mA.val[e]);
      }
    start.push_back(static_cast<HighsInt>(idx.size()));
  }
  std::vector<HighsInt> integrality(nc, 0);
  for (int j = 0; j < n; ++j) integrality[j] = m.coltype[j] == 'I' || m.coltype[j] == 'B';

  HighsInstance hi(createHighs());
  void *h = hi.get();
  applyControls(h, p, flags, true, false);
  Highs_setBoolOptionValue(h, "output_flag", false);
  Highs_setDoubleOptionValue(h, "objective_bound", INFINITY);
  const HighsInt nr = static_cast<HighsInt>(rlo.size());
  if (!ok(Highs_passModel(h, nc, nr, static_cast<HighsInt>(idx.size()), 0,
                          kHighsMatrixFormatRowwise, kHighsHessianFormatTriangular,
                          kHighsObjSenseMinimize, 0.0, cost.data(), lo.data(), up.data(),
                          rlo.data(), rup.data(), start.data(), idx.data(), val.data(), nullptr,
                          nullptr, nullptr, integrality.data()))) {
    out.error = "HiGHS refused the problem's linear part";
    return out;
  }

  FormulaWorkspace ws;
  std::string err;
  std::vector<double> x(n), act, grad, cv(nc), cd(nc);
  // Adds the tangent of a row or of the objective at x (a cut of the form a'z <= b or >= b).
  auto addCut = [&](const std::vector<std::pair<int, double>> &terms, double clo, double cup) {
    std::vector<HighsInt> ci;
    std::vector<double> cvv;
    for (const auto &[j, v] : terms)
      if (v != 0.0) {
        ci.push_back(j);
        cvv.push_back(v);
      }
    return ok(Highs_addRow(h, clo, cup, static_cast<HighsInt>(ci.size()), ci.data(),
                           cvv.data()));
  };

  // q(z) = 1/2 z'Hz over the upper triangle and its gradient Hz; the tangent at z is a cut.
  auto quadratic = [&](const std::vector<double> &z, std::vector<double> &g) {
    double q = 0.0;
    g.assign(n, 0.0);
    for (const SlpQuadTerm &t : M.objectiveHessian()) {
      if (t.i == t.j) {
        q += 0.5 * t.coef * z[t.i] * z[t.i];
        g[t.i] += t.coef * z[t.i];
      } else {
        q += t.coef * z[t.i] * z[t.j];
        g[t.i] += t.coef * z[t.j];
        g[t.j] += t.coef * z[t.i];
      }
    }
    return q;
  };
  auto objectiveCut = [&](const std::vector<double> &z, double q, const std::vector<double> &g) {
    std::vector<std::pair<int, double>> terms;
    double gz = 0;
    for (int j = 0; j < n; ++j) {
      terms.push_back({j, g[j]});
      gz += g[j] * z[j];
    }
    terms.push_back({n, -1.0});
    return addCut(terms, -INFINITY, gz - q);
  };
  if (epigraph) {
    // The epigraph column needs a first tangent, or the first MIP is unbounded.
    std::vector<double> z(n), g;
    for (int j = 0; j < n; ++j) {
      const double v = j < static_cast<int>(S.initial.size()) ? S.initial[j]
                                                               : defaultStart(m.lb[j], m.ub[j]);
      z[j] = std::min(std::max(v, lo[j]), up[j]);
    }
    if (!objectiveCut(z, quadratic(z, g), g)) {
      out.error = "HiGHS refused a cut";
      return out;
    }
  }

  int it = 0;
  bool haveX = false;
  int status = kSlpUnfinished;
  log("Subproblems: MIP with tangent cuts (convex, mixed integer)");
  while (true) {
    if (it >= S.iteration_limit) {
      out.stop = NVRL_STOP_ITERLIMIT;
      break;
    }
    if (const int r = env.stopRequested ? env.stopRequested() : 0) {
      out.stop = r;
      break;
    }
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    if (S.time_limit > 0) {
      if (elapsed >= S.time_limit) {
        out.stop = NVRL_STOP_TIMELIMIT;
        break;
      }
      Highs_setDoubleOptionValue(h, "time_limit", S.time_limit - elapsed);
    }
    ++it;
    Highs_run(h);
    const int ms = Highs_getModelStatus(h);
    if (ms == kHighsModelStatusInfeasible) {
      status = kSlpInfeasible;
      break;
    }
    if (ms == kHighsModelStatusUnbounded || ms == kHighsModelStatusUnboundedOrInfeasible) {
      status = kSlpUnbounded;
      break;
    }
    if (ms == kHighsModelStatusTimeLimit) {
      out.stop = NVRL_STOP_TIMELIMIT;
      break;
    }
    if (ms != kHighsModelStatusOptimal) {
      char buf[128];
      std::snprintf(buf, sizeof buf, "the MIP of round %d ended without a verdict (HiGHS model "
                    "status %d)", it, ms);
      out.error = buf;
      break;
    }
    std::vector<double> rv(Highs_getNumRow(h)), rd(Highs_getNumRow(h));
    Highs_getSolution(h, cv.data(), cd.data(), rv.data(), rd.data());
    std::copy(cv.begin(), cv.begin() + n, x.begin());
    if (!M.activities(x.data(), act, ws, err)) {
      out.error = "cannot evaluate the rows: " + err;
      break;
    }
    haveX = true;
    double worst = 0.0;
    int cuts = 0;
    for (int k = 0; k < static_cast<int>(M.nonlinearRows().size()); ++k) {
      const SlpNonlinearRow &r = M.nonlinearRows()[k];
      const double viol = M.violation(r.row, act[r.row]);
      worst = std::max(worst, viol);
      if (viol <= S.feas_tol) continue;
      double v;
      if (!M.rowGradient(k, x.data(), v, grad, ws, err)) {
        out.error = "cannot differentiate the rows: " + err;
        break;
      }
      std::vector<std::pair<int, double>> terms;
      double gx = 0;
      for (size_t q = 0; q < r.cols.size(); ++q) {
        terms.push_back({r.cols[q], grad[q]});
        gx += grad[q] * x[r.cols[q]];
      }
      // Convex rows are 'L' (cut from above) and concave ones 'G' (cut from below).
      const bool above = act[r.row] > M.rowUp(r.row);
      const double b = (above ? M.rowUp(r.row) : M.rowLo(r.row)) - v + gx;
      if (!(above ? addCut(terms, -INFINITY, b) : addCut(terms, b, INFINITY))) {
        out.error = "HiGHS refused a cut";
        break;
      }
      ++cuts;
    }
    if (!out.error.empty()) break;
    double gap = 0.0;
    if (epigraph) {
      // eta >= q(x): the quadratic part of the objective, minimisation form.
      std::vector<double> g;
      const double q = quadratic(x, g);
      gap = q - cv[n];
      if (gap > std::max(S.obj_abs_tol, S.obj_rel_tol * std::fabs(q))) {
        if (!objectiveCut(x, q, g)) {
          out.error = "HiGHS refused a cut";
          break;
        }
        ++cuts;
      }
    }
    if (S.log_level > 0) {
      char buf[160];
      std::snprintf(buf, sizeof buf, "%6d %14.7e %8.2e %10.3e  %d cuts", it,
                    M.userObjective(x.data()), worst, gap, cuts);
      log(buf);
    }
    if (cuts == 0) {
      bool capped = false;
      for (int j = 0; j < n; ++j) capped = capped || (curved[j] && std::fabs(x[j]) >= kCap);
      status = capped ? kSlpUnbounded : kSlpGloballyOptimal;
      break;
    }
  }
  out.iterations = it;
  out.status = status;
  if (haveX && status != kSlpInfeasible && status != kSlpUnbounded) {
    out.have_point = true;
    out.x = x;
    out.objective = M.userObjective(x.data());
    out.slack.resize(M.rows());
    double worst = 0;
    for (int i = 0; i < M.rows(); ++i) {
      out.slack[i] = m.rhs[i] - act[i];
      worst = std::max(worst, M.violation(i, act[i]));
    }
    out.infeasibility = worst;
  }
  out.evals = ws.stats;
  return out;
}

}  // namespace nvrl

// Answers recomputed from vectors the caller gives (a point, duals) rather than read from the
// last solve: slacks, reduced costs, the objective and measures of infeasibility.
#include <algorithm>
#include <cmath>
#include <vector>

#include "core/entry.h"
#include "core/problem.h"
#include "solve/collect_answers.h"
#include "solve/lowered_model.h"

using nvrl::checkProblem;
using nvrl::kInf;
using nvrl::Model;
using nvrl::userRowBounds;

namespace {

// Row activities a'x + x'Qx (quadratic rows as the C API defines them).
std::vector<double> activities(const Model &m, const double x[]) {
  std::vector<double> act(m.rows(), 0.0);
  const nvrl::RowMatrix &A = m.A.rows();
  for (int i = 0; i < m.rows(); ++i)
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k) act[i] += A.val[k] * x[A.col[k]];
  for (const auto &[row, q] : m.qrows)
    for (const auto &[key, v] : q)
      act[row] += key.first == key.second ? v * x[key.first] * x[key.first]
                                          : 2.0 * v * x[key.first] * x[key.second];
  return act;
}

bool quadratic(const Model &m) { return !m.qobj.empty() || !m.qrows.empty(); }

// Reduced costs: gradient of the objective minus the duals times the gradients of the rows.
std::vector<double> reducedCosts(const Model &m, const double y[], const double x[]) {
  std::vector<double> d(m.obj.begin(), m.obj.end());
  if (x)
    for (const auto &[key, v] : m.qobj) {
      if (key.first == key.second) {
        d[key.first] += v * x[key.first];
      } else {
        d[key.first] += v * x[key.second];
        d[key.second] += v * x[key.first];
      }
    }
  const nvrl::RowMatrix &A = m.A.rows();
  for (int i = 0; i < m.rows(); ++i) {
    if (y[i] == 0.0) continue;
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k) d[A.col[k]] -= y[i] * A.val[k];
  }
  if (x)
    for (const auto &[row, q] : m.qrows)
      for (const auto &[key, v] : q) {
        if (key.first == key.second) {
          d[key.first] -= y[row] * 2.0 * v * x[key.first];
        } else {
          d[key.first] -= y[row] * 2.0 * v * x[key.second];
          d[key.second] -= y[row] * 2.0 * v * x[key.first];
        }
      }
  return d;
}

// How far a reduced cost d breaks dual feasibility for a variable at value v in [lo, up]:
// at its lower bound it may only push up (sense*d >= 0), at its upper bound only down,
// strictly between its bounds it must be zero; a fixed variable takes any.
double dualViolation(double d, double v, double lo, double up, int sense, double tol) {
  const bool atLo = lo > -kInf && v <= lo + tol * std::max(1.0, std::fabs(lo));
  const bool atUp = up < kInf && v >= up - tol * std::max(1.0, std::fabs(up));
  const double sd = sense * d;
  if (atLo && atUp) return 0.0;
  if (atLo) return std::max(-sd, 0.0);
  if (atUp) return std::max(sd, 0.0);
  return std::fabs(d);
}

}  // namespace

extern "C" {

NVRL_API int NVRLcalcslacks(NVRLprob prob, const double solution[], double slacks[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!solution || !slacks) return p->fail("NVRLcalcslacks: solution and slacks must not be null");
  const Model &m = p->model;
  const std::vector<double> act = activities(m, solution);
  for (int i = 0; i < m.rows(); ++i) slacks[i] = m.rhs[i] - act[i];
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLcalcreducedcosts(NVRLprob prob, const double duals[], const double solution[],
                                  double djs[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!duals || !djs) return p->fail("NVRLcalcreducedcosts: duals and djs must not be null");
  if (!solution && quadratic(p->model))
    return p->fail("The reduced costs of a problem with quadratic terms depend on the solution: "
                   "give one");
  const std::vector<double> d = reducedCosts(p->model, duals, solution);
  std::copy(d.begin(), d.end(), djs);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLcalcobjective(NVRLprob prob, const double solution[], double *objval) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!solution || !objval)
    return p->fail("NVRLcalcobjective: solution and objval must not be null");
  const Model &m = p->model;
  *objval = nvrl::userObjective(m, std::vector<double>(solution, solution + m.cols()));
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLcalcsolinfo(NVRLprob prob, const double solution[], const double duals[],
                             int property, double *value) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!value) return p->fail("NVRLcalcsolinfo: value must not be null");
  if (property < NVRL_SOLINFO_ABSPRIMALINFEAS || property > NVRL_SOLINFO_MAXMIPFRACTIONAL)
    return p->fail("Invalid solution property %d", property);
  if (!solution) return p->fail("NVRLcalcsolinfo: solution must not be null");
  const bool dual =
      property == NVRL_SOLINFO_ABSDUALINFEAS || property == NVRL_SOLINFO_RELDUALINFEAS;
  if (dual && !duals) return p->fail("The dual infeasibility needs the duals");
  const Model &m = p->model;
  const bool relative =
      property == NVRL_SOLINFO_RELPRIMALINFEAS || property == NVRL_SOLINFO_RELDUALINFEAS;
  double worst = 0.0;
  auto note = [&](double violation, double scale) {
    worst = std::max(worst, relative ? violation / (1.0 + std::fabs(scale)) : violation);
  };
  if (property == NVRL_SOLINFO_MAXMIPFRACTIONAL) {
    for (int j = 0; j < m.cols(); ++j) {
      const char t = m.coltype[j];
      if (t != 'I' && t != 'B' && t != 'R' && t != 'P') continue;
      // Semi-integer and partially integer columns are integral below their limit only.
      if ((t == 'P') && solution[j] > m.limit[j]) continue;
      note(std::fabs(solution[j] - std::round(solution[j])), 0.0);
    }
  } else if (!dual) {
    for (int j = 0; j < m.cols(); ++j) {
      const double x = solution[j];
      double lo = m.lb[j], up = m.ub[j];
      // Semi-continuous columns may also sit at zero.
      if ((m.coltype[j] == 'S' || m.coltype[j] == 'R') && x == 0.0) continue;
      if (m.coltype[j] == 'S' || m.coltype[j] == 'R') lo = std::max(lo, m.limit[j]);
      if (lo > -kInf && x < lo) note(lo - x, lo);
      if (up < kInf && x > up) note(x - up, up);
    }
    const std::vector<double> act = activities(m, solution);
    for (int i = 0; i < m.rows(); ++i) {
      double lo, up;
      // Infinite sides come back as IEEE infinities, which the kInf tests below also skip.
      userRowBounds(m, i, lo, up);
      if (lo > -kInf && act[i] < lo) note(lo - act[i], lo);
      if (up < kInf && act[i] > up) note(act[i] - up, up);
    }
  } else {
    const double tol = 1e-7;  // HiGHS's primal feasibility tolerance
    const std::vector<double> d = reducedCosts(m, duals, solution);
    for (int j = 0; j < m.cols(); ++j)
      note(dualViolation(d[j], solution[j], m.lb[j], m.ub[j], m.objsense, tol), m.obj[j]);
    // A row's logical (minus its activity) has reduced cost -y and bounds the row's, negated.
    const std::vector<double> act = activities(m, solution);
    for (int i = 0; i < m.rows(); ++i) {
      double lo, up;
      userRowBounds(m, i, lo, up);
      note(dualViolation(-duals[i], -act[i], up < kInf ? -up : -kInf, lo > -kInf ? -lo : kInf,
                         m.objsense, tol),
           0.0);
    }
  }
  *value = worst;
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

// Infeasibilities of the last solution, unbounded column and rays.
#include <algorithm>
#include <cmath>

#include "core/entry.h"
#include "core/ids.h"
#include "core/problem.h"

using nvrl::checkProblem;

namespace {

struct Infeasibilities {
  std::vector<int> cols, rows, duals, djs;
};

// Primal: columns outside their bounds, rows whose activity violates the row. Dual: a dual or
// reduced cost whose sign says the objective would improve by moving off a bound the value
// is not at (signs read in the objective's sense).
void findInfeasibilities(const nvrl_problem_s *p, Infeasibilities &out) {
  const nvrl::Model &m = p->model;
  const nvrl::SolveState &s = p->sol;
  const double ftol = nvrl::getDblControl(p, nvrl::id::kFeasTol);
  const double otol = nvrl::getDblControl(p, nvrl::id::kOptTol);
  const double sense = m.objsense >= 0 ? 1.0 : -1.0;
  if (s.have_point) {
    for (int j = 0; j < m.cols(); ++j) {
      const double v = s.x[j];
      if ((!nvrl::isInfLo(m.lb[j]) && v < m.lb[j] - ftol) ||
          (!nvrl::isInfUp(m.ub[j]) && v > m.ub[j] + ftol))
        out.cols.push_back(j);
    }
    for (int i = 0; i < m.rows(); ++i) {
      const double sl = s.slack[i];  // rhs - activity
      bool bad = false;
      switch (m.rowtype[i]) {
        case 'L': bad = sl < -ftol; break;
        case 'G': bad = sl > ftol; break;
        case 'E': bad = std::fabs(sl) > ftol; break;
        case 'R': bad = sl < -ftol || sl > m.range[i] + ftol; break;
        default: break;
      }
      if (bad) out.rows.push_back(i);
    }
  }
  if (s.have_dual && s.have_point) {
    for (int j = 0; j < m.cols(); ++j) {
      const double d = sense * s.djs[j], v = s.x[j];
      const bool belowUp = nvrl::isInfUp(m.ub[j]) || v < m.ub[j] - ftol;
      const bool aboveLo = nvrl::isInfLo(m.lb[j]) || v > m.lb[j] + ftol;
      if ((d < -otol && belowUp) || (d > otol && aboveLo)) out.djs.push_back(j);
    }
    for (int i = 0; i < m.rows(); ++i) {
      if (m.rowtype[i] == 'N') continue;
      const double y = sense * s.duals[i], sl = s.slack[i];
      const char t = m.rowtype[i];
      // Activity below its upper limit / above its lower limit.
      const bool belowUp = t == 'G' || sl > ftol;
      const bool aboveLo = t == 'L' || (t == 'R' ? sl < m.range[i] - ftol : sl < -ftol);
      if ((y < -otol && belowUp) || (y > otol && aboveLo)) out.duals.push_back(i);
    }
  }
}

int report(NVRLprob prob, const char *fn, int *npv, int *nps, int *nds, int *ndv, int mx[],
           int mslack[], int mdual[], int mdj[]) {
  nvrl_problem_s *p = checkProblem(prob, fn);
  if (!p) return 1;
  if (!p->sol.have_point) return p->fail("The last solve left no point to check");
  Infeasibilities inf;
  findInfeasibilities(p, inf);
  if (npv) *npv = static_cast<int>(inf.cols.size());
  if (nps) *nps = static_cast<int>(inf.rows.size());
  if (nds) *nds = static_cast<int>(inf.duals.size());
  if (ndv) *ndv = static_cast<int>(inf.djs.size());
  if (mx) std::copy(inf.cols.begin(), inf.cols.end(), mx);
  if (mslack) std::copy(inf.rows.begin(), inf.rows.end(), mslack);
  if (mdual) std::copy(inf.duals.begin(), inf.duals.end(), mdual);
  if (mdj) std::copy(inf.djs.begin(), inf.djs.end(), mdj);
  return 0;
}

}  // namespace

extern "C" {

NVRL_API int NVRLgetinfeas(NVRLprob prob, int *npv, int *nps, int *nds, int *ndv, int mx[],
                           int mslack[], int mdual[], int mdj[]) NVRL_TRY {
  return report(prob, __func__, npv, nps, nds, ndv, mx, mslack, mdual, mdj);
} NVRL_CATCH(prob)

// The engine hands HiGHS unscaled data and reads unscaled answers back, so the scaled view
// is the same as the unscaled one.
NVRL_API int NVRLgetscaledinfeas(NVRLprob prob, int *npv, int *nps, int *nds, int *ndv,
                                 int mx[], int mslack[], int mdual[], int mdj[]) NVRL_TRY {
  return report(prob, __func__, npv, nps, nds, ndv, mx, mslack, mdual, mdj);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetunbvec(NVRLprob prob, int *seq) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!seq) return p->fail("Null pointer for the unbounded column");
  *seq = p->sol.unbounded_col;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetprimalray(NVRLprob prob, double ray[], int *has) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (has) *has = p->sol.has_primal_ray ? 1 : 0;
  if (ray && p->sol.has_primal_ray) std::copy(p->sol.primal_ray.begin(), p->sol.primal_ray.end(), ray);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetdualray(NVRLprob prob, double ray[], int *has) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (has) *has = p->sol.has_dual_ray ? 1 : 0;
  if (ray && p->sol.has_dual_ray) std::copy(p->sol.dual_ray.begin(), p->sol.dual_ray.end(), ray);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

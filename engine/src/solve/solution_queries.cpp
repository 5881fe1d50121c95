// Answers of the last solve: primal values, slacks, duals and reduced costs.
#include <algorithm>

#include "core/entry.h"
#include "core/problem.h"

using nvrl::checkProblem;

namespace {

template <class T>
void copyOut(const std::vector<T> &from, T *to) {
  if (to) std::copy(from.begin(), from.end(), to);
}

}  // namespace

extern "C" {

NVRL_API int NVRLgetlpsol(NVRLprob prob, double x[], double slack[], double duals[],
                          double djs[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const nvrl::SolveState &s = p->sol;
  if ((x || slack) && !s.have_primal) return p->fail("No solution is available");
  if ((duals || djs) && !s.have_dual)
    return p->fail("No dual solution is available (the last solve was not a continuous one, or "
                   "it found none)");
  copyOut(s.x, x);
  copyOut(s.slack, slack);
  copyOut(s.duals, duals);
  copyOut(s.djs, djs);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetmipsol(NVRLprob prob, double x[], double slack[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const nvrl::SolveState &s = p->sol;
  if ((x || slack) && !s.have_primal) return p->fail("No integer solution is available");
  copyOut(s.x, x);
  copyOut(s.slack, slack);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetlpsolval(NVRLprob prob, int col, int row, double *x, double *slack,
                             double *dual, double *dj) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const nvrl::SolveState &s = p->sol;
  if (col < -1 || col >= p->model.cols()) return p->fail("Column index %d is out of range", col);
  if (row < -1 || row >= p->model.rows()) return p->fail("Row index %d is out of range", row);
  const bool wantPrimal = (col >= 0 && x) || (row >= 0 && slack);
  const bool wantDual = (col >= 0 && dj) || (row >= 0 && dual);
  if (wantPrimal && !s.have_primal) return p->fail("No solution is available");
  if (wantDual && !s.have_dual) return p->fail("No dual solution is available");
  if (col >= 0) {
    if (x) *x = s.x[col];
    if (dj) *dj = s.djs[col];
  }
  if (row >= 0) {
    if (slack) *slack = s.slack[row];
    if (dual) *dual = s.duals[row];
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetmipsolval(NVRLprob prob, int col, int row, double *x, double *slack) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const nvrl::SolveState &s = p->sol;
  if (col < -1 || col >= p->model.cols()) return p->fail("Column index %d is out of range", col);
  if (row < -1 || row >= p->model.rows()) return p->fail("Row index %d is out of range", row);
  if (((col >= 0 && x) || (row >= 0 && slack)) && !s.have_primal)
    return p->fail("No integer solution is available");
  if (col >= 0 && x) *x = s.x[col];
  if (row >= 0 && slack) *slack = s.slack[row];
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

// Answers in terms of the presolved problem, the barrier's answer and the basis's pivot order.
//
// HiGHS presolves inside each solve and postsolves before it answers, so the library never
// holds a presolved problem of its own: the presolved problem is the problem itself, its map
// the identity, and its solution and basis those of the last solve.
#include <algorithm>
#include <vector>

#include "core/entry.h"
#include "core/problem.h"

using nvrl::checkProblem;

extern "C" {

NVRL_API int NVRLgetpresolvesol(NVRLprob prob, double x[], double slack[], double duals[],
                                double djs[]) NVRL_TRY {
  if (!checkProblem(prob, __func__)) return 1;
  return NVRLgetlpsol(prob, x, slack, duals, djs);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetpresolvebasis(NVRLprob prob, int rowstat[], int colstat[]) NVRL_TRY {
  if (!checkProblem(prob, __func__)) return 1;
  return NVRLgetbasis(prob, rowstat, colstat);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadpresolvebasis(NVRLprob prob, const int rowstat[],
                                   const int colstat[]) NVRL_TRY {
  if (!checkProblem(prob, __func__)) return 1;
  return NVRLloadbasis(prob, rowstat, colstat);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetpresolvemap(NVRLprob prob, int rowmap[], int colmap[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (rowmap)
    for (int i = 0; i < p->model.rows(); ++i) rowmap[i] = i;
  if (colmap)
    for (int j = 0; j < p->model.cols(); ++j) colmap[j] = j;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetlastbarsol(NVRLprob prob, double x[], double slack[], double duals[],
                               double djs[], int *barsolstatus) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const nvrl::SolveState &s = p->sol;
  if (!s.barrier_ran)
    return p->fail("No barrier solution is available: the last solve did not run the barrier");
  if ((x || slack) && !s.have_primal) return p->fail("The barrier found no solution");
  if ((duals || djs) && !s.have_dual) return p->fail("The barrier found no dual solution");
  if (x) std::copy(s.x.begin(), s.x.end(), x);
  if (slack) std::copy(s.slack.begin(), s.slack.end(), slack);
  if (duals) std::copy(s.duals.begin(), s.duals.end(), duals);
  if (djs) std::copy(s.djs.begin(), s.djs.end(), djs);
  if (barsolstatus) *barsolstatus = s.lpstatus;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetpivotorder(NVRLprob prob, int pivots[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!pivots) return p->fail("NVRLgetpivotorder: pivots must not be null");
  const nvrl::SolveState &s = p->sol;
  if (!s.have_basis) return p->fail("No basis is available");
  const int nr = p->model.rows();
  // Built aside: a basis without one basic variable per row writes nothing.
  std::vector<int> order;
  order.reserve(nr);
  for (int i = 0; i < nr; ++i)
    if (s.rowstat[i] == NVRL_BASIS_BASIC) order.push_back(i);
  for (int j = 0; j < p->model.cols(); ++j)
    if (s.colstat[j] == NVRL_BASIS_BASIC) order.push_back(nr + j);
  if (static_cast<int>(order.size()) != nr)
    return p->fail("The basis has %d basic variables for %d rows", static_cast<int>(order.size()),
                   nr);
  std::copy(order.begin(), order.end(), pivots);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

// Basis and starting point: reading the last basis, loading one (or a starting solution) for
// the next solve.
#include <algorithm>

#include "core/entry.h"
#include "core/problem.h"
#include "solve/highs_session.h"

using nvrl::checkProblem;

namespace {

bool validStatuses(const int *st, int n) {
  for (int i = 0; i < n; ++i)
    if (st[i] < NVRL_BASIS_NONBASIC_LOWER || st[i] > NVRL_BASIS_SUPERBASIC) return false;
  return true;
}

nvrl::HighsSession &session(nvrl_problem_s *p) {
  if (!p->highs) p->highs.reset(new nvrl::HighsSession());
  return *p->highs;
}

}  // namespace

extern "C" {

NVRL_API int NVRLgetbasis(NVRLprob prob, int rowstat[], int colstat[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!p->sol.have_basis) return p->fail("No basis is available");
  if (rowstat) std::copy(p->sol.rowstat.begin(), p->sol.rowstat.end(), rowstat);
  if (colstat) std::copy(p->sol.colstat.begin(), p->sol.colstat.end(), colstat);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetbasisval(NVRLprob prob, int row, int col, int *rowstat, int *colstat) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (row < -1 || row >= p->model.rows()) return p->fail("Row index %d is out of range", row);
  if (col < -1 || col >= p->model.cols()) return p->fail("Column index %d is out of range", col);
  if (!p->sol.have_basis) return p->fail("No basis is available");
  if (row >= 0 && rowstat) *rowstat = p->sol.rowstat[row];
  if (col >= 0 && colstat) *colstat = p->sol.colstat[col];
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLloadbasis(NVRLprob prob, const int rowstat[], const int colstat[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const int nr = p->model.rows(), nc = p->model.cols();
  if (!rowstat || !colstat) return p->fail("Loading a basis needs both row and column statuses");
  if (!validStatuses(rowstat, nr) || !validStatuses(colstat, nc))
    return p->fail("Invalid basis status: statuses must be 0 (at lower bound), 1 (basic), "
                   "2 (at upper bound) or 3 (superbasic)");
  std::vector<int> rows(rowstat, rowstat + nr), cols(colstat, colstat + nc);
  session(p).setPendingBasis(rows, cols);
  p->sol.rowstat = std::move(rows);
  p->sol.colstat = std::move(cols);
  p->sol.have_basis = true;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLloadlpsol(NVRLprob prob, const double x[], const double slack[],
                           const double duals[], const double djs[], int *status) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const nvrl::Model &m = p->model;
  std::vector<double> xs, act, ys, ds;
  if (x) xs.assign(x, x + m.cols());
  if (slack) {
    act.resize(m.rows());
    for (int i = 0; i < m.rows(); ++i) act[i] = m.rhs[i] - slack[i];
  }
  if (duals) ys.assign(duals, duals + m.rows());
  if (djs) ds.assign(djs, djs + m.cols());
  session(p).setPendingSolution(std::move(xs), std::move(act), std::move(ys), std::move(ds));
  if (status) *status = 0;
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

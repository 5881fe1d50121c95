// Delayed rows, model cuts and secure rows and columns. Each marks rows (or columns) for a
// solver that treats such rows apart: delayed rows checked only at integer solutions, model
// cuts kept in a pool, secure rows and columns never removed by presolve. The engine's solve
// enforces every row of the model from the start and maps every presolve reduction back, so
// each of these already holds: the calls check their arguments and leave the model as it is.
#include "core/entry.h"
#include "lp_data/check.h"

using nvrl::Check;

namespace {

// count >= 0, the array given when count > 0, every index a valid row (or column).
bool validRows(Check &c, int count, const int idx[], const char *countarg, const char *arg) {
  if (!c.count(count, countarg) || !c.array(idx, count, arg)) return false;
  for (int k = 0; k < count; ++k)
    if (!c.row(idx[k], arg, k)) return false;
  return true;
}

}  // namespace

extern "C" {

NVRL_API int NVRLloaddelayedrows(NVRLprob prob, int nrows, const int rowind[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLloaddelayedrows");
  return validRows(c, nrows, rowind, "nrows", "rowind") ? 0 : c.code();
} NVRL_CATCH(prob)

NVRL_API int NVRLloadmodelcuts(NVRLprob prob, int nrows, const int rowind[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLloadmodelcuts");
  return validRows(c, nrows, rowind, "nrows", "rowind") ? 0 : c.code();
} NVRL_CATCH(prob)

NVRL_API int NVRLloadsecurevecs(NVRLprob prob, int nrows, int ncols, const int rowind[],
                                const int colind[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLloadsecurevecs");
  if (!validRows(c, nrows, rowind, "nrows", "rowind")) return c.code();
  if (!c.count(ncols, "ncols") || !c.array(colind, ncols, "colind")) return c.code();
  for (int k = 0; k < ncols; ++k)
    if (!c.col(colind[k], "colind", k)) return c.code();
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

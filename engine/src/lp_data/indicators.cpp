// Indicator constraints: a row that must hold only when its binary column takes a value.
#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

extern "C" {

NVRL_API int NVRLsetindicators(NVRLprob prob, int nrows, const int rowind[], const int colind[],
                               const int complement[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLsetindicators");
  nvrl::Model &m = p->model;
  if (!c.count(nrows, "nrows") || !c.array(rowind, nrows, "rowind") ||
      !c.array(colind, nrows, "colind") || !c.array(complement, nrows, "complement"))
    return c.code();
  for (int k = 0; k < nrows; ++k) {
    if (!c.row(rowind[k], "rowind", k)) return c.code();
    const int comp = complement[k];
    if (comp != 0 && comp != 1 && comp != -1)
      return c.fail("complement[%d] = %d must be 1 (row holds when the column is 1), -1 (when "
                    "it is 0) or 0 (no indicator)",
                    k, comp);
    // The column only matters when an indicator is set.
    if (comp != 0 && !c.col(colind[k], "colind", k)) return c.code();
  }
  if (nrows == 0) return 0;
  for (int k = 0; k < nrows; ++k) {
    const int r = rowind[k];
    m.indcomp[r] = complement[k];
    m.indcol[r] = complement[k] != 0 ? colind[k] : -1;
  }
  nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetindicators(NVRLprob prob, int colind[], int complement[], int first,
                               int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetindicators");
  const nvrl::Model &m = p->model;
  if (!c.range(first, last, m.rows(), "rows")) return c.code();
  for (int r = first; r <= last; ++r) {
    if (colind) colind[r - first] = m.indcol[r];
    if (complement) complement[r - first] = m.indcomp[r];
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLdelindicators(NVRLprob prob, int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLdelindicators");
  nvrl::Model &m = p->model;
  if (!c.range(first, last, m.rows(), "rows")) return c.code();
  bool changed = false;
  for (int r = first; r <= last; ++r) {
    changed |= m.indcomp[r] != 0;
    m.indcol[r] = -1;
    m.indcomp[r] = 0;
  }
  if (changed) nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

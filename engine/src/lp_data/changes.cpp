// Changes to objective, bounds, right-hand sides, ranges and types. Each call checks all its
// entries first; entries are then applied in order, so a repeated index keeps the last value.
#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/model_rules.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

namespace {

// Common frame of the index-and-value calls: handle and count checks, then the body.
template <class Body>
int change(NVRLprob prob, const char *fn, int n, const char *narg, const void *idx,
           const char *idxarg, const void *vals, const char *valarg, Body &&body) {
  nvrl_problem_s *p = nvrl::checkProblem(prob, fn);
  if (!p) return 1;
  Check c(p, fn);
  if (!c.count(n, narg) || !c.array(idx, n, idxarg) || !c.array(vals, n, valarg))
    return c.code();
  if (n == 0) return 0;
  const int rc = body(c, p->model);
  if (rc == 0) nvrl::commitChange(p, true);
  return rc;
}

}  // namespace

extern "C" {

NVRL_API int NVRLchgobj(NVRLprob prob, int ncols, const int colind[],
                        const double objcoef[]) NVRL_TRY {
  return change(prob, "NVRLchgobj", ncols, "ncols", colind, "colind", objcoef, "objcoef",
                [&](Check &c, nvrl::Model &m) -> int {
                  for (int k = 0; k < ncols; ++k) {
                    // -1 addresses the objective constant.
                    if (colind[k] != -1 && !c.col(colind[k], "colind", k)) return c.code();
                    if (!c.coefficient(objcoef[k], "objcoef", k)) return c.code();
                  }
                  for (int k = 0; k < ncols; ++k) {
                    if (colind[k] == -1)
                      m.objconst = -objcoef[k];
                    else
                      m.obj[colind[k]] = objcoef[k];
                  }
                  return 0;
                });
} NVRL_CATCH(prob)

NVRL_API int NVRLchgobjsense(NVRLprob prob, int objsense) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLchgobjsense");
  if (objsense != 1 && objsense != -1)
    return c.fail("objsense = %d must be 1 (minimise) or -1 (maximise)", objsense);
  if (p->model.objsense != objsense) {
    p->model.objsense = objsense;
    nvrl::commitChange(p, true);
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLchgbounds(NVRLprob prob, int nbounds, const int colind[], const char bndtype[],
                           const double bndval[]) NVRL_TRY {
  return change(prob, "NVRLchgbounds", nbounds, "nbounds", colind, "colind", bndval, "bndval",
                [&](Check &c, nvrl::Model &m) -> int {
                  if (!c.given(bndtype, "bndtype")) return c.code();
                  for (int k = 0; k < nbounds; ++k) {
                    if (!c.col(colind[k], "colind", k) || !c.notNaN(bndval[k], "bndval", k))
                      return c.code();
                    const char t = bndtype[k];
                    if (t != 'U' && t != 'L' && t != 'B')
                      return c.fail("bndtype[%d] must be 'U', 'L' or 'B'", k);
                  }
                  for (int k = 0; k < nbounds; ++k) {
                    const double v = nvrl::normInf(bndval[k]);
                    if (bndtype[k] != 'U') m.lb[colind[k]] = v;
                    if (bndtype[k] != 'L') m.ub[colind[k]] = v;
                  }
                  return 0;
                });
} NVRL_CATCH(prob)

NVRL_API int NVRLchgrhs(NVRLprob prob, int nrows, const int rowind[], const double rhs[]) NVRL_TRY {
  return change(prob, "NVRLchgrhs", nrows, "nrows", rowind, "rowind", rhs, "rhs",
                [&](Check &c, nvrl::Model &m) -> int {
                  for (int k = 0; k < nrows; ++k)
                    if (!c.row(rowind[k], "rowind", k) || !c.notNaN(rhs[k], "rhs", k))
                      return c.code();
                  for (int k = 0; k < nrows; ++k) m.rhs[rowind[k]] = nvrl::normInf(rhs[k]);
                  return 0;
                });
} NVRL_CATCH(prob)

NVRL_API int NVRLchgrhsrange(NVRLprob prob, int nrows, const int rowind[],
                             const double rng[]) NVRL_TRY {
  return change(prob, "NVRLchgrhsrange", nrows, "nrows", rowind, "rowind", rng, "rng",
                [&](Check &c, nvrl::Model &m) -> int {
                  for (int k = 0; k < nrows; ++k) {
                    if (!c.row(rowind[k], "rowind", k) || !c.notNaN(rng[k], "rng", k))
                      return c.code();
                    if (rng[k] < 0) return c.fail("rng[%d] = %g is negative", k, rng[k]);
                    if (m.rowtype[rowind[k]] == 'N')
                      return c.fail("row %d (rowind[%d]) is a free row and cannot have a range",
                                    rowind[k], k);
                  }
                  for (int k = 0; k < nrows; ++k) {
                    const int r = rowind[k];
                    const double range = nvrl::normInf(rng[k]);
                    // A range row spans rhs-range .. rhs. 'G' and 'E' rows keep their rhs as
                    // the lower end, so their upper end moves up by the range.
                    const bool lower_end = m.rowtype[r] == 'G' || m.rowtype[r] == 'E';
                    if (lower_end && !nvrl::isInfLo(m.rhs[r]))
                      m.rhs[r] = nvrl::normInf(m.rhs[r] + range);
                    m.rowtype[r] = 'R';
                    m.range[r] = range;
                  }
                  return 0;
                });
} NVRL_CATCH(prob)

NVRL_API int NVRLchgrowtype(NVRLprob prob, int nrows, const int rowind[],
                            const char rowtype[]) NVRL_TRY {
  return change(prob, "NVRLchgrowtype", nrows, "nrows", rowind, "rowind", rowtype, "rowtype",
                [&](Check &c, nvrl::Model &m) -> int {
                  for (int k = 0; k < nrows; ++k)
                    if (!c.row(rowind[k], "rowind", k) || !c.rowType(rowtype[k], "rowtype", k))
                      return c.code();
                  for (int k = 0; k < nrows; ++k) {
                    const int r = rowind[k];
                    // Only range rows carry a range; one that becomes a range row keeps 0 until
                    // NVRLchgrhsrange gives it one.
                    if (rowtype[k] != 'R') m.range[r] = 0.0;
                    m.rowtype[r] = rowtype[k];
                  }
                  return 0;
                });
} NVRL_CATCH(prob)

NVRL_API int NVRLchgcoltype(NVRLprob prob, int ncols, const int colind[],
                            const char coltype[]) NVRL_TRY {
  return change(prob, "NVRLchgcoltype", ncols, "ncols", colind, "colind", coltype, "coltype",
                [&](Check &c, nvrl::Model &m) -> int {
                  for (int k = 0; k < ncols; ++k)
                    if (!c.col(colind[k], "colind", k) || !c.colType(coltype[k], "coltype", k))
                      return c.code();
                  for (int k = 0; k < ncols; ++k)
                    nvrl::applyColType(m, colind[k], coltype[k], m.limit[colind[k]]);
                  return 0;
                });
} NVRL_CATCH(prob)

NVRL_API int NVRLchgglblimit(NVRLprob prob, int ncols, const int colind[],
                             const double limit[]) NVRL_TRY {
  return change(prob, "NVRLchgglblimit", ncols, "ncols", colind, "colind", limit, "limit",
                [&](Check &c, nvrl::Model &m) -> int {
                  for (int k = 0; k < ncols; ++k) {
                    if (!c.col(colind[k], "colind", k) || !c.finite(limit[k], "limit", k))
                      return c.code();
                    const char t = m.coltype[colind[k]];
                    if (t != 'S' && t != 'R' && t != 'P')
                      return c.fail("column %d (colind[%d]) has type '%c'; only 'S', 'R' and "
                                    "'P' columns have a limit",
                                    colind[k], k, t);
                  }
                  for (int k = 0; k < ncols; ++k) m.limit[colind[k]] = limit[k];
                  return 0;
                });
} NVRL_CATCH(prob)

}  // extern "C"

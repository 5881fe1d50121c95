// Adding rows and columns. Both check everything, then append: rows in O(new nonzeros),
// columns in one pass over the matrix when they bring coefficients.
#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/model_rules.h"
#include "lp_data/sparse_input.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

extern "C" {

NVRL_API int NVRLaddrows64(NVRLprob prob, int nrows, NVRLint64 ncoefs, const char rowtype[],
                           const double rhs[], const double range[], const NVRLint64 start[],
                           const int colind[], const double rowcoef[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLaddrows64");
  nvrl::Model &m = p->model;
  if (!c.count(nrows, "nrows") || !c.room(m.rows(), nrows, "rows")) return c.code();
  if (!c.array(rowtype, nrows, "rowtype") || !c.array(rhs, nrows, "rhs")) return c.code();
  for (int i = 0; i < nrows; ++i) {
    if (!c.rowType(rowtype[i], "rowtype", i) || !c.notNaN(rhs[i], "rhs", i)) return c.code();
    if (rowtype[i] != 'R') continue;
    if (!range) return c.fail("range is null but rowtype[%d] is 'R'", i);
    if (!c.notNaN(range[i], "range", i)) return c.code();
    if (range[i] < 0) return c.fail("range[%d] = %g is negative", i, range[i]);
  }
  nvrl::Segments rows;
  if (!nvrl::segmentsFromStarts(c, start, nrows, ncoefs, colind, rowcoef, "start", "ncoefs",
                                "colind", "rowcoef", rows) ||
      !nvrl::checkSegmentEntries(c, rows, m.cols(), "colind", "rowcoef", "column"))
    return c.code();
  if (nrows == 0) return 0;

  nvrl::reserveMore(m.rowtype, nrows);
  nvrl::reserveMore(m.rhs, nrows);
  nvrl::reserveMore(m.range, nrows);
  nvrl::reserveMore(m.indcol, nrows);
  nvrl::reserveMore(m.indcomp, nrows);
  nvrl::reserveMore(m.rownames, nrows);
  nvrl::appendRows(m.A.rowsToChange(), rows, m.cols());
  for (int i = 0; i < nrows; ++i) {
    m.rowtype.push_back(rowtype[i]);
    m.rhs.push_back(nvrl::normInf(rhs[i]));
    m.range.push_back(rowtype[i] == 'R' ? nvrl::normInf(range[i]) : 0.0);
    m.indcol.push_back(-1);
    m.indcomp.push_back(0);
    m.rownames.emplace_back();
  }
  nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLaddcols64(NVRLprob prob, int ncols, NVRLint64 ncoefs, const double objcoef[],
                           const NVRLint64 start[], const int rowind[], const double rowcoef[],
                           const double lb[], const double ub[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLaddcols64");
  nvrl::Model &m = p->model;
  if (!c.count(ncols, "ncols") || !c.room(m.cols(), ncols, "columns")) return c.code();
  for (int j = 0; j < ncols; ++j) {
    if (objcoef && !c.coefficient(objcoef[j], "objcoef", j)) return c.code();
    if (lb && !c.notNaN(lb[j], "lb", j)) return c.code();
    if (ub && !c.notNaN(ub[j], "ub", j)) return c.code();
  }
  nvrl::Segments cols;
  if (!nvrl::segmentsFromStarts(c, start, ncols, ncoefs, rowind, rowcoef, "start", "ncoefs",
                                "rowind", "rowcoef", cols) ||
      !nvrl::checkSegmentEntries(c, cols, m.rows(), "rowind", "rowcoef", "row"))
    return c.code();
  if (ncols == 0) return 0;

  const int first = m.cols();
  nvrl::reserveMore(m.obj, ncols);
  nvrl::reserveMore(m.lb, ncols);
  nvrl::reserveMore(m.ub, ncols);
  nvrl::reserveMore(m.coltype, ncols);
  nvrl::reserveMore(m.limit, ncols);
  nvrl::reserveMore(m.colnames, ncols);
  nvrl::appendColumns(m.A.rowsToChange(), cols, first);
  for (int j = 0; j < ncols; ++j) {
    m.obj.push_back(objcoef ? objcoef[j] : 0.0);
    m.lb.push_back(lb ? nvrl::normInf(lb[j]) : 0.0);
    m.ub.push_back(ub ? nvrl::normInf(ub[j]) : nvrl::kInf);
    m.coltype.push_back('C');
    m.limit.push_back(0.0);
    m.colnames.emplace_back();
  }
  nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

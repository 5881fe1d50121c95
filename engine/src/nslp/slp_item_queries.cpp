// Item queries of rows and columns (NSLPgetrowinfo, NSLPgetcolinfo): settings, values at the
// current point and what the last solve recorded.
#include <memory>
#include <string>
#include <vector>

#include "core/entry.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_model.h"
#include "nslp/slp_problem.h"

namespace nvrl {

namespace {

// An entry of one of the last solve's per-index vectors, 0 when the solve recorded none.
template <typename T>
T recorded(const std::vector<T> &v, int i) {
  return i < static_cast<int>(v.size()) ? v[i] : T(0);
}

bool usesColumn(const SlpCoefficient &c, int col) {
  if (c.col == col) return true;
  for (const SlpToken &t : c.formula)
    if (t.type == NSLP_TOK_COL && static_cast<int>(t.value) == col) return true;
  return false;
}

int rowSlack(nslp_problem_s *s, int row, double &out) {
  const Model &m = s->prob->model;
  std::unique_ptr<SlpModel> model;
  std::string err;
  try {
    model.reset(new SlpModel(m, s->data, 1));
  } catch (const FormulaError &e) {
    return s->fail("NSLPgetrowinfo: %s", e.what());
  }
  const std::vector<double> x = currentPoint(s);
  FormulaWorkspace ws;
  std::vector<double> act;
  if (!model->activities(x.data(), act, ws, err))
    return s->fail("NSLPgetrowinfo: cannot evaluate at the current point: %s", err.c_str());
  out = m.rhs[row] - act[row];
  return 0;
}

}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPgetrowinfo(NSLPprob slp, int item, int row, void *info) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const Model &m = s->prob->model;
  if (row < 0 || row >= m.rows())
    return s->fail("NSLPgetrowinfo: row %d is out of range (the problem has %d rows)", row,
                   m.rows());
  if (!info) return s->fail("NSLPgetrowinfo: null info pointer");
  const SlpSolveDetail &d = s->state.detail;
  double *dv = static_cast<double *>(info);
  int *iv = static_cast<int *>(info);
  switch (item) {
    case NSLP_ROWINFO_SLACK: {
      double v = 0.0;
      if (rowSlack(s, row, v)) return 1;
      *dv = v;
      return 0;
    }
    case NSLP_ROWINFO_DUAL:
      if (s->state.duals.size() != static_cast<size_t>(m.rows()))
        return s->fail("NSLPgetrowinfo: no duals are available (the last solve left none, or "
                       "the problem has changed since)");
      *dv = s->state.duals[row];
      return 0;
    case NSLP_ROWINFO_PENALTYWEIGHT:
      *dv = row < static_cast<int>(s->data.rowweight.size()) ? s->data.rowweight[row] : 1.0;
      return 0;
    case NSLP_ROWINFO_PENALTYITERATIONS: *iv = recorded(d.penalty_iterations, row); return 0;
    case NSLP_ROWINFO_PENALTYMAX: *dv = recorded(d.penalty_max, row); return 0;
    case NSLP_ROWINFO_PENALTYTOTAL: *dv = recorded(d.penalty_total, row); return 0;
    case NSLP_ROWINFO_NONLINEARCOEFS: {
      int count = 0;
      for (const SlpCoefficient &c : s->data.coefs) count += c.row == row;
      *iv = count;
      return 0;
    }
    default: return s->fail("NSLPgetrowinfo: unknown item %d", item);
  }
} NVRL_CATCH(slp)

NVRL_API int NSLPgetcolinfo(NSLPprob slp, int item, int col, void *info) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const Model &m = s->prob->model;
  if (col < 0 || col >= m.cols())
    return s->fail("NSLPgetcolinfo: column %d is out of range (the problem has %d columns)",
                   col, m.cols());
  if (!info) return s->fail("NSLPgetcolinfo: null info pointer");
  const SlpSolveDetail &d = s->state.detail;
  const SlpColumn c =
      col < static_cast<int>(s->data.columns.size()) ? s->data.columns[col] : SlpColumn();
  double *dv = static_cast<double *>(info);
  int *iv = static_cast<int *>(info);
  switch (item) {
    case NSLP_COLINFO_VALUE: *dv = currentPoint(s)[col]; return 0;
    case NSLP_COLINFO_REDUCEDCOST:
      if (s->state.djs.size() != static_cast<size_t>(m.cols()))
        return s->fail("NSLPgetcolinfo: no reduced costs are available (the last solve left "
                       "none, or the problem has changed since)");
      *dv = s->state.djs[col];
      return 0;
    case NSLP_COLINFO_STEP: *dv = recorded(d.step, col); return 0;
    case NSLP_COLINFO_STEPBOUND: *dv = recorded(d.step_bound, col); return 0;
    case NSLP_COLINFO_CONVERGED: *iv = c.converged; return 0;
    case NSLP_COLINFO_DELTATYPE: *iv = c.delta_type; return 0;
    case NSLP_COLINFO_DELTAVALUE: *dv = c.delta_value; return 0;
    case NSLP_COLINFO_NONLINEARCOEFS: {
      int count = 0;
      for (const SlpCoefficient &k : s->data.coefs) count += usesColumn(k, col);
      *iv = count;
      return 0;
    }
    default: return s->fail("NSLPgetcolinfo: unknown item %d", item);
  }
} NVRL_CATCH(slp)

}  // extern "C"

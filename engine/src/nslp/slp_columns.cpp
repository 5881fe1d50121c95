// Per-column and per-row settings of the nonlinear solver (NSLPchgvar, NSLPgetvar,
// NSLPloadvars, NSLPaddvars, NSLPdelvars, row status bits and penalty weights), and the calls
// that act on the solver's state between solves.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "core/entry.h"
#include "nslp/slp_cascade.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_problem.h"
#include "nslp/slp_tolsets.h"

namespace nvrl {

std::vector<double> currentPoint(const nslp_problem_s *s) {
  const Model &m = s->prob->model;
  const int n = m.cols();
  if (static_cast<int>(s->state.x.size()) == n) return s->state.x;
  std::vector<double> x(n);
  for (int j = 0; j < n; ++j) {
    const SlpColumn *c =
        j < static_cast<int>(s->data.columns.size()) ? &s->data.columns[j] : nullptr;
    x[j] = c && c->has_initial ? c->initial : defaultStart(m.lb[j], m.ub[j]);
  }
  return x;
}


namespace {

bool checkCol(nslp_problem_s *s, const char *fn, int col) {
  if (col < 0 || col >= s->prob->model.cols()) {
    s->fail("%s: column %d is out of range (the problem has %d columns)", fn, col,
            s->prob->model.cols());
    return false;
  }
  return true;
}

bool checkRow(nslp_problem_s *s, const char *fn, int row) {
  if (row < 0 || row >= s->prob->model.rows()) {
    s->fail("%s: row %d is out of range (the problem has %d rows)", fn, row,
            s->prob->model.rows());
    return false;
  }
  return true;
}

bool finiteOrFail(nslp_problem_s *s, const char *fn, const char *what, const double *v) {
  if (v && !std::isfinite(*v)) {
    s->fail("%s: %s is not a finite number", fn, what);
    return false;
  }
  return true;
}

// The columns' settings with room for col (a copy: changes are committed by the caller).
std::vector<SlpColumn> columnsWith(const nslp_problem_s *s, int col) {
  std::vector<SlpColumn> c = s->data.columns;
  if (static_cast<int>(c.size()) <= col) c.resize(col + 1);
  return c;
}

// NSLPloadvars and NSLPaddvars: one body; load starts from default settings for every column.
int setVars(NSLPprob slp, const char *fn, bool load, int n, const int colindex[],
            const int vartype[], const int detrow[], const int seqnum[], const int tolindex[],
            const double initvalue[], const double stepbound[]) {
  nslp_problem_s *s = checkSlpProblem(slp, fn);
  if (!s) return 1;
  if (n < 0) return s->fail("%s: negative count %d", fn, n);
  if (n > 0 && !colindex) return s->fail("%s: null column index array", fn);
  const Model &m = s->prob->model;
  std::vector<SlpColumn> cols = load ? std::vector<SlpColumn>() : s->data.columns;
  for (int k = 0; k < n; ++k) {
    const int c = colindex[k];
    if (c < 0 || c >= m.cols())
      return s->fail("%s: colindex[%d] = %d is out of range (the problem has %d columns)", fn, k,
                     c, m.cols());
    if (detrow && (detrow[k] < -1 || detrow[k] >= m.rows()))
      return s->fail("%s: detrow[%d] = %d is not a row or -1", fn, k, detrow[k]);
    if (tolindex && !checkTolsetRef(s, fn, tolindex[k])) return 1;
    if (detrow) {
      const std::string why = detRowProblem(m, s->data, c, detrow[k]);
      if (!why.empty()) return s->fail("%s: detrow[%d]: %s", fn, k, why.c_str());
    }
    if ((initvalue && !std::isfinite(initvalue[k])) ||
        (stepbound && (!std::isfinite(stepbound[k]) || stepbound[k] < 0)))
      return s->fail("%s: entry %d has an initial value or step bound that is not a finite "
                     "number (step bounds must also be >= 0)", fn, k);
    if (static_cast<int>(cols.size()) <= c) cols.resize(c + 1);
    SlpColumn &sc = cols[c];
    if (vartype) sc.vartype = vartype[k];
    if (detrow) sc.det_row = detrow[k];
    if (seqnum) sc.seqnum = seqnum[k];
    if (tolindex) sc.tolset = tolindex[k];
    if (initvalue) {
      sc.has_initial = true;
      sc.initial = initvalue[k];
    }
    if (stepbound) sc.init_step_bound = stepbound[k];
  }
  s->data.columns.swap(cols);
  return 0;
}

}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPchgvar(NSLPprob slp, int col, const int *detrow, const double *initstepbound,
                        const double *stepbound, const double *penalty, const double *damp,
                        const double *initvalue, const double *value, const int *tolset,
                        const int *history, const int *converged, const int *vartype) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!checkCol(s, __func__, col)) return 1;
  if (detrow && (*detrow < -1 || *detrow >= s->prob->model.rows()))
    return s->fail("NSLPchgvar: detrow %d is not a row or -1", *detrow);
  if (tolset && !checkTolsetRef(s, __func__, *tolset)) return 1;
  if (detrow) {
    const std::string why = detRowProblem(s->prob->model, s->data, col, *detrow);
    if (!why.empty()) return s->fail("NSLPchgvar: %s", why.c_str());
  }
  if (!finiteOrFail(s, __func__, "initstepbound", initstepbound) ||
      !finiteOrFail(s, __func__, "stepbound", stepbound) ||
      !finiteOrFail(s, __func__, "penalty", penalty) || !finiteOrFail(s, __func__, "damp", damp) ||
      !finiteOrFail(s, __func__, "initvalue", initvalue) ||
      !finiteOrFail(s, __func__, "value", value))
    return 1;
  if ((initstepbound && *initstepbound < 0) || (stepbound && *stepbound < 0) ||
      (penalty && *penalty < 0))
    return s->fail("NSLPchgvar: step bounds and the penalty must be >= 0");
  std::vector<SlpColumn> cols = columnsWith(s, col);
  SlpColumn &c = cols[col];
  if (detrow) c.det_row = *detrow;
  if (initstepbound) c.init_step_bound = *initstepbound;
  if (stepbound) c.step_bound = *stepbound;
  if (penalty) c.penalty = *penalty;
  if (damp) c.damping = *damp;
  if (initvalue) {
    c.has_initial = true;
    c.initial = *initvalue;
  }
  if (tolset) c.tolset = *tolset;
  if (history) c.history = *history;
  if (converged) c.converged = *converged;
  if (vartype) c.vartype = *vartype;
  // The current value is the solver's point when there is one, else the start of the next
  // solve.
  const bool havePoint = static_cast<int>(s->state.x.size()) == s->prob->model.cols();
  if (value && !havePoint) {
    c.has_initial = true;
    c.initial = *value;
  }
  s->data.columns.swap(cols);
  if (value && havePoint) s->state.x[col] = *value;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetvar(NSLPprob slp, int col, int *detrow, double *initstepbound,
                        double *stepbound, double *penalty, double *damp, double *initvalue,
                        double *value, int *tolset, int *history, int *converged,
                        int *vartype) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!checkCol(s, __func__, col)) return 1;
  const SlpColumn c =
      col < static_cast<int>(s->data.columns.size()) ? s->data.columns[col] : SlpColumn();
  const Model &m = s->prob->model;
  const double start = c.has_initial ? c.initial : defaultStart(m.lb[col], m.ub[col]);
  if (detrow) *detrow = c.det_row;
  if (initstepbound) *initstepbound = c.init_step_bound;
  if (stepbound) *stepbound = c.step_bound;
  if (penalty) *penalty = c.penalty;
  if (damp) *damp = c.damping;
  if (initvalue) *initvalue = start;
  if (value)
    *value = static_cast<int>(s->state.x.size()) == m.cols() ? s->state.x[col] : start;
  if (tolset) *tolset = c.tolset;
  if (history) *history = c.history;
  if (converged) *converged = c.converged;
  if (vartype) *vartype = c.vartype;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPloadvars(NSLPprob slp, int n, const int colindex[], const int vartype[],
                          const int detrow[], const int seqnum[], const int tolindex[],
                          const double initvalue[], const double stepbound[]) NVRL_TRY {
  return setVars(slp, __func__, true, n, colindex, vartype, detrow, seqnum, tolindex, initvalue,
                 stepbound);
} NVRL_CATCH(slp)

NVRL_API int NSLPaddvars(NSLPprob slp, int n, const int colindex[], const int vartype[],
                         const int detrow[], const int seqnum[], const int tolindex[],
                         const double initvalue[], const double stepbound[]) NVRL_TRY {
  return setVars(slp, __func__, false, n, colindex, vartype, detrow, seqnum, tolindex, initvalue,
                 stepbound);
} NVRL_CATCH(slp)

NVRL_API int NSLPdelvars(NSLPprob slp, int n, const int colind[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (n < 0) return s->fail("NSLPdelvars: negative count %d", n);
  if (n > 0 && !colind) return s->fail("NSLPdelvars: null column index array");
  for (int k = 0; k < n; ++k)
    if (colind[k] < 0 || colind[k] >= s->prob->model.cols())
      return s->fail("NSLPdelvars: colind[%d] = %d is out of range", k, colind[k]);
  for (int k = 0; k < n; ++k)
    if (colind[k] < static_cast<int>(s->data.columns.size()))
      s->data.columns[colind[k]] = SlpColumn();
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPchgrowstatus(NSLPprob slp, int row, const int *status) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!checkRow(s, __func__, row)) return 1;
  if (!status) return s->fail("NSLPchgrowstatus: null status pointer");
  std::vector<int> &v = s->data.rowstatus;
  if (static_cast<int>(v.size()) <= row) v.resize(row + 1, 0);
  v[row] = *status;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetrowstatus(NSLPprob slp, int row, int *status) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!checkRow(s, __func__, row)) return 1;
  if (!status) return s->fail("NSLPgetrowstatus: null status pointer");
  const std::vector<int> &v = s->data.rowstatus;
  *status = row < static_cast<int>(v.size()) ? v[row] : 0;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPchgrowwt(NSLPprob slp, int row, const double *weight) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!checkRow(s, __func__, row)) return 1;
  if (!weight) return s->fail("NSLPchgrowwt: null weight pointer");
  if (!std::isfinite(*weight) || *weight <= 0)
    return s->fail("NSLPchgrowwt: the weight must be a finite number > 0 (got %g)", *weight);
  std::vector<double> &v = s->data.rowweight;
  if (static_cast<int>(v.size()) <= row) v.resize(row + 1, 1.0);
  v[row] = *weight;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetrowwt(NSLPprob slp, int row, double *weight) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!checkRow(s, __func__, row)) return 1;
  if (!weight) return s->fail("NSLPgetrowwt: null weight pointer");
  const std::vector<double> &v = s->data.rowweight;
  *weight = row < static_cast<int>(v.size()) ? v[row] : 1.0;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPsetcurrentiv(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const int n = s->prob->model.cols();
  if (static_cast<int>(s->state.x.size()) != n)
    return s->fail("NSLPsetcurrentiv: there is no current point (solve the problem first)");
  std::vector<SlpColumn> cols = columnsWith(s, n - 1);
  for (int j = 0; j < n; ++j) {
    cols[j].has_initial = true;
    cols[j].initial = s->state.x[j];
  }
  s->data.columns.swap(cols);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPconstruct(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  // The solver builds its working structures at every solve; constructing checks that they
  // can be built (every formula compiles) and records the state.
  try {
    SlpModel check(s->prob->model, s->data, 1);
  } catch (const FormulaError &e) {
    return s->fail("NSLPconstruct: %s", e.what());
  }
  s->state.statebits |= 1;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPunconstruct(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  s->state.statebits &= ~1;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPupdatelinearization(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  // Linearisations are made afresh at each iteration; this checks that the rows can be
  // evaluated and differentiated at the current point (the start when there is none).
  const Model &m = s->prob->model;
  const std::vector<double> x = currentPoint(s);
  std::unique_ptr<SlpModel> model;
  try {
    model.reset(new SlpModel(m, s->data, 1));
  } catch (const FormulaError &e) {
    return s->fail("NSLPupdatelinearization: %s", e.what());
  }
  FormulaWorkspace ws;
  std::string err;
  std::vector<double> grad;
  for (int k = 0; k < static_cast<int>(model->nonlinearRows().size()); ++k) {
    double v;
    if (!model->rowGradient(k, x.data(), v, grad, ws, err))
      return s->fail("NSLPupdatelinearization: %s", err.c_str());
  }
  s->state.statebits |= 1;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPreinitialize(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const int bits = s->state.statebits;
  s->state = SlpState();
  s->state.statebits = bits;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPfixpenalties(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (s->state.last_penalty <= 0)
    return s->fail("NSLPfixpenalties: no solve has set a penalty yet");
  s->state.fixed_penalty = s->state.last_penalty;
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

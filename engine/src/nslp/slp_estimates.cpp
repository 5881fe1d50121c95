// Derivative estimates (NSLPloaddfs, NSLPadddfs, NSLPchgdf, NSLPgetdf): a caller's value of
// d row / d col for the first linearisations of a solve.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "core/entry.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_model.h"
#include "nslp/slp_problem.h"

namespace nvrl {

namespace {

// Rows 0..rows-1, and -1 for the objective.
bool checkPair(nslp_problem_s *s, const char *fn, int col, int row) {
  const Model &m = s->prob->model;
  if (col < 0 || col >= m.cols())
    return s->fail("%s: column %d is out of range (the problem has %d columns)", fn, col,
                   m.cols()),
           false;
  if (row < -1 || row >= m.rows())
    return s->fail("%s: row %d is out of range (the problem has %d rows; -1 is the objective)",
                   fn, row, m.rows()),
           false;
  return true;
}

int setDfs(NSLPprob slp, const char *fn, bool load, int n, const int colindex[],
           const int rowindex[], const double values[]) {
  nslp_problem_s *s = checkSlpProblem(slp, fn);
  if (!s) return 1;
  if (n < 0) return s->fail("%s: negative count %d", fn, n);
  if (n > 0 && (!colindex || !rowindex || !values))
    return s->fail("%s: null column, row or value array", fn);
  auto dfs = load ? std::map<std::pair<int, int>, double>() : s->data.dfs;
  for (int k = 0; k < n; ++k) {
    if (!checkPair(s, fn, colindex[k], rowindex[k])) return 1;
    if (!std::isfinite(values[k]))
      return s->fail("%s: values[%d] is not a finite number", fn, k);
    dfs[{colindex[k], rowindex[k]}] = values[k];
  }
  s->data.dfs.swap(dfs);
  return 0;
}

// d row / d col at x, from the problem as it is (row -1: the objective in its own sense).
bool derivativeAt(nslp_problem_s *s, int col, int row, const std::vector<double> &x,
                  double &out, std::string &err) {
  const Model &m = s->prob->model;
  std::unique_ptr<SlpModel> model;
  try {
    model.reset(new SlpModel(m, s->data, 1));
  } catch (const FormulaError &e) {
    err = e.what();
    return false;
  }
  FormulaWorkspace ws;
  if (row < 0) {
    std::vector<double> g(m.cols(), 0.0);
    model->objectiveGradient(x.data(), g.data());
    double v = 0.0;
    if (!model->objectiveFormulas(x.data(), v, g.data(), ws, err)) return false;
    out = g[col];
    return true;
  }
  const int k = model->nonlinearIndex(row);
  out = 0.0;
  if (k < 0) {
    const RowMatrix &mA = m.A.rows();
    for (int64_t e = mA.start[row]; e < mA.start[row + 1]; ++e)
      if (mA.col[e] == col) out += mA.val[e];
    return true;
  }
  std::vector<double> grad;
  double v;
  if (!model->rowGradient(k, x.data(), v, grad, ws, err)) return false;
  const std::vector<int> &cols = model->nonlinearRows()[k].cols;
  for (size_t q = 0; q < cols.size(); ++q)
    if (cols[q] == col) out = grad[q];
  return true;
}

}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPloaddfs(NSLPprob slp, int n, const int colindex[], const int rowindex[],
                         const double values[]) NVRL_TRY {
  return setDfs(slp, __func__, true, n, colindex, rowindex, values);
} NVRL_CATCH(slp)

NVRL_API int NSLPadddfs(NSLPprob slp, int n, const int colindex[], const int rowindex[],
                        const double values[]) NVRL_TRY {
  return setDfs(slp, __func__, false, n, colindex, rowindex, values);
} NVRL_CATCH(slp)

NVRL_API int NSLPchgdf(NSLPprob slp, int col, int row, const double *value) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!checkPair(s, __func__, col, row)) return 1;
  if (!value) {
    s->data.dfs.erase({col, row});
    return 0;
  }
  if (!std::isfinite(*value)) return s->fail("NSLPchgdf: the value is not a finite number");
  s->data.dfs[{col, row}] = *value;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetdf(NSLPprob slp, int col, int row, double *value) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!checkPair(s, __func__, col, row)) return 1;
  if (!value) return s->fail("NSLPgetdf: null value pointer");
  auto it = s->data.dfs.find({col, row});
  if (it != s->data.dfs.end()) {
    *value = it->second;
    return 0;
  }
  double v = 0.0;
  std::string err;
  if (!derivativeAt(s, col, row, currentPoint(s), v, err))
    return s->fail("NSLPgetdf: cannot differentiate at the current point: %s", err.c_str());
  *value = v;
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

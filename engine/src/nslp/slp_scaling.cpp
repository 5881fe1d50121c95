// Row scale factors of the nonlinear solver (NSLPscaling, NSLPgetrowscale). A row's factor is
// the reciprocal of its largest derivative at a point, rounded to a power of two. The solve
// multiplies each row's penalty weight by it, so that the merit function and the costs of
// the penalty columns measure every row's violation in comparable units: a row written 1e4
// times too large no longer dominates the merit, and one written 1e4 times too small no
// longer needs a penalty 1e4 times larger before the solve takes it seriously.
#include "nslp/slp_scaling.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "core/control_values.h"
#include "core/entry.h"
#include "nslp/slp_cascade.h"

namespace nvrl {

namespace {

constexpr int kMaxExponent = 30;  // factors stay within 2^-30 .. 2^30

double factorFor(double largest) {
  if (!(largest > 0.0) || !std::isfinite(largest)) return 1.0;
  const int e = std::clamp(-static_cast<int>(std::lround(std::log2(largest))), -kMaxExponent,
                           kMaxExponent);
  return std::ldexp(1.0, e);
}

}  // namespace

bool rowScaleFactors(const SlpModel &M, const std::vector<double> &x, std::vector<double> &f,
                     std::string &err) {
  const Model &m = M.model();
  std::vector<double> out(M.rows(), 1.0), grad;
  FormulaWorkspace ws;
  for (int i = 0; i < M.rows(); ++i) {
    double largest = 0.0;
    const int k = M.nonlinearIndex(i);
    if (k >= 0) {
      double v;
      if (!M.rowGradient(k, x.data(), v, grad, ws, err)) return false;
      for (double g : grad) largest = std::max(largest, std::fabs(g));
    } else {
      const RowMatrix &mA = m.A.rows();
      for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e)
        largest = std::max(largest, std::fabs(mA.val[e]));
    }
    out[i] = factorFor(largest);
  }
  f.swap(out);
  return true;
}

void applyRowScaling(nslp_problem_s *s, const SlpModel &M, SlpSettings &st) {
  const ParamInfo *info = findParam(NSLP_CTRL_SCALING);
  const int64_t mode = info ? intValue(s->controls, *info) : 0;
  std::vector<double> f;
  if (mode == 1) {
    f = s->data.rowscale;
  } else if (mode == 2) {
    std::vector<double> x = st.initial;
    const Model &m = M.model();
    for (int j = 0; j < M.cols() && j < static_cast<int>(x.size()); ++j)
      x[j] = std::min(std::max(x[j], m.lb[j]), m.ub[j]);
    std::string err;
    if (!rowScaleFactors(M, x, f, err)) {
      if (slpLogOn(s))
        s->log(NVRL_MSG_INFO, "Scaling: not applied, the rows cannot be differentiated at the "
             "start (%s)", err.c_str());
      return;
    }
    s->data.rowscale = f;
  }
  if (f.empty()) return;
  st.row_weight.resize(M.rows(), 1.0);
  for (int i = 0; i < M.rows(); ++i) {
    double &w = st.row_weight[i];
    if (w <= 0) w = 1.0;
    if (i < static_cast<int>(f.size())) w *= f[i];
  }
}

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPscaling(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  std::unique_ptr<SlpModel> model;
  try {
    model.reset(new SlpModel(s->prob->model, s->data, 1));
  } catch (const FormulaError &e) {
    return s->fail("NSLPscaling: a nonlinear coefficient cannot be used: %s", e.what());
  }
  std::vector<double> f;
  std::string err;
  if (!rowScaleFactors(*model, currentPoint(s), f, err))
    return s->fail("NSLPscaling: the rows cannot be differentiated at the current point: %s",
                   err.c_str());
  int lo = 0, hi = 0;
  for (double v : f) {
    const int e = std::ilogb(v);
    lo = std::min(lo, e);
    hi = std::max(hi, e);
  }
  s->data.rowscale.swap(f);
  if (slpLogOn(s))
    s->log(NVRL_MSG_INFO, "Scaling: %d row factors, from 2^%d to 2^%d", model->rows(), lo, hi);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetrowscale(NSLPprob slp, int row, double *factor) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (row < 0 || row >= s->prob->model.rows())
    return s->fail("NSLPgetrowscale: row %d is out of range (the problem has %d rows)", row,
                   s->prob->model.rows());
  if (!factor) return s->fail("NSLPgetrowscale: null factor pointer");
  const std::vector<double> &v = s->data.rowscale;
  *factor = row < static_cast<int>(v.size()) ? v[row] : 1.0;
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

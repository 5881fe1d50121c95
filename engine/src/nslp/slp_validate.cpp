// Validation of a point: NSLPvalidate (every row and bound against the validation targets),
// NSLPvalidaterow (one row term by term, its formulas' derivatives against central
// differences) and NSLPvalidatevector (a caller's point, without touching the problem), and
// the attributes they and NSLPvalidatekkt set.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/ids.h"
#include "core/text.h"
#include "lp_data/name_index.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_model.h"
#include "nslp/slp_row_terms.h"
#include "nslp/slp_validate.h"

namespace nvrl {

void recordSolveEvaluations(nslp_problem_s *s, const SlpEvalStats &solve) {
  SlpEvalStats last = solve;
  last.solves = 1;
  s->evals.last = last;
  s->evals.total += last;
}

bool validationIntAttribute(const nslp_problem_s *s, int attrib, int64_t &v) {
  const SlpValidation &r = s->validation;
  switch (attrib) {
    case NSLP_ATTR_VALIDATION_FAILURES: v = r.failures; return true;
    case NSLP_ATTR_VALIDATION_DERIVATIVE_ERRORS: v = r.derivative_errors; return true;
    case NSLP_ATTR_KKT_VALID: v = r.kkt_valid; return true;
  }
  return false;
}

bool validationDblAttribute(const nslp_problem_s *s, int attrib, double &v) {
  const SlpValidation &r = s->validation;
  switch (attrib) {
    case NSLP_ATTR_VALIDATION_INDEX_A: v = r.index_a; return true;
    case NSLP_ATTR_VALIDATION_INDEX_R: v = r.index_r; return true;
    case NSLP_ATTR_KKT_STATIONARITY: v = r.kkt_stationarity; return true;
    case NSLP_ATTR_KKT_COMPLEMENTARITY: v = r.kkt_complementarity; return true;
    case NSLP_ATTR_KKT_FEASIBILITY: v = r.kkt_feasibility; return true;
  }
  return false;
}

namespace {

double ctl(const nslp_problem_s *s, int id) {
  const ParamInfo *info = findParam(id);
  return info ? dblValue(s->controls, *info) : 0.0;
}

std::string num(double v) {
  if (v == INFINITY) return "inf";
  if (v == -INFINITY) return "-inf";
  return format("%.10g", v);
}

// A column's bounds as the solver reads them.
double colLo(const Model &m, int j) { return isInfLo(m.lb[j]) ? -INFINITY : m.lb[j]; }
double colUp(const Model &m, int j) { return isInfUp(m.ub[j]) ? INFINITY : m.ub[j]; }

std::unique_ptr<RowTerms> rowTermsOf(nslp_problem_s *s, const char *fn) {
  try {
    return std::make_unique<RowTerms>(s);
  } catch (const FormulaError &e) {
    s->fail("%s: a nonlinear coefficient cannot be used: %s", fn, e.what());
    return nullptr;
  }
}

// Violations of every row and bound at x: absolute and relative to the item's size (at
// least 1). visit(kind, index, activity, violation, relative) sees each item.
template <class Visit>
bool violations(const Model &m, const RowTerms &rt, const double *x, FormulaWorkspace &ws,
                std::string &err, Visit visit) {
  for (int i = 0; i < m.rows(); ++i) {
    double a, size, lo, up;
    if (!rt.measure(i, x, a, size, ws, err)) return false;
    rowBounds(m, i, lo, up);
    const double v = outside(a, lo, up);
    visit(kNameRows, i, a, v, v / std::max(1.0, size));
  }
  for (int j = 0; j < m.cols(); ++j) {
    const double lo = colLo(m, j), up = colUp(m, j);
    const double v = outside(x[j], lo, up);
    const double bound = x[j] < lo ? lo : up;
    visit(kNameCols, j, x[j], v, v > 0 ? v / std::max(1.0, std::fabs(bound)) : 0.0);
  }
  return true;
}

}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPvalidate(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  std::unique_ptr<RowTerms> rt = rowTermsOf(s, __func__);
  if (!rt) return 1;
  const Model &m = s->prob->model;
  const std::vector<double> x = currentPoint(s);
  const double ta = ctl(s, NSLP_CTRL_VALIDATION_TARGET_A);
  const double tr = ctl(s, NSLP_CTRL_VALIDATION_TARGET_R);
  SlpValidation r = s->validation;
  r.index_a = r.index_r = 0.0;
  r.failures = 0;
  int worstA = -1, worstR = -1, kindA = 0, kindR = 0;
  std::vector<std::string> lines;
  FormulaWorkspace ws;
  std::string err;
  const bool ok = violations(m, *rt, x.data(), ws, err, [&](int kind, int k, double a, double v,
                                                             double rel) {
    if (v > r.index_a) r.index_a = v, worstA = k, kindA = kind;
    if (rel > r.index_r) r.index_r = rel, worstR = k, kindR = kind;
    if (v <= ta || rel <= tr) return;
    ++r.failures;
    if (kind == kNameRows) {
      double lo, up;
      rowBounds(m, k, lo, up);
      lines.push_back(format("Row %s (%d) misses the validation target: activity %s, bounds "
                             "[%s, %s], violation %.3e (relative %.3e)",
                             itemName(m, kNameRows, k).c_str(), k, num(a).c_str(),
                             num(lo).c_str(), num(up).c_str(), v, rel));
    } else {
      lines.push_back(format("Column %s (%d) misses the validation target: value %s, bounds "
                             "[%s, %s], violation %.3e (relative %.3e)",
                             itemName(m, kNameCols, k).c_str(), k, num(a).c_str(),
                             num(colLo(m, k)).c_str(), num(colUp(m, k)).c_str(), v, rel));
    }
  });
  if (!ok) return s->fail("%s: the problem cannot be evaluated at the current point: %s",
                          __func__, err.c_str());
  s->validation = r;
  for (const std::string &l : lines) s->logLine(NVRL_MSG_WARNING, l);
  auto where = [&](int kind, int k) {
    return k < 0 ? std::string()
                 : format(" (%s %s)", kind == kNameRows ? "row" : "column",
                          itemName(m, kind, k).c_str());
  };
  s->log(NVRL_MSG_INFO,
         "Validation: largest violation %.3e%s, largest relative violation %.3e%s; %d of %d "
         "rows and columns miss the targets (%.1e absolute, %.1e relative)",
         r.index_a, where(kindA, worstA).c_str(), r.index_r, where(kindR, worstR).c_str(),
         r.failures, m.rows() + m.cols(), ta, tr);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPvalidaterow(NSLPprob slp, int row) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const Model &m = s->prob->model;
  if (row < 0 || row >= m.rows())
    return s->fail("%s: row %d is out of range (the problem has %d rows)", __func__, row,
                   m.rows());
  std::unique_ptr<RowTerms> rt = rowTermsOf(s, __func__);
  if (!rt) return 1;
  std::vector<double> x = currentPoint(s);
  const double tol = ctl(s, NSLP_CTRL_VALIDATION_DERIVATIVE_TOLERANCE);
  FormulaWorkspace ws;
  std::string err;
  std::vector<RowTerms::Term> terms;
  double activity, size, lo, up;
  if (!rt->terms(row, x.data(), terms, ws, err) ||
      !rt->measure(row, x.data(), activity, size, ws, err))
    return s->fail("%s: the row cannot be evaluated at the current point: %s", __func__,
                   err.c_str());
  rowBounds(m, row, lo, up);
  const double viol = outside(activity, lo, up);
  auto name = [&m](int j) { return itemName(m, kNameCols, j); };
  const FormulaScope scope{m.cols(), &s->data.userfuncs};

  // Built aside and written once the whole report is known: a failure writes nothing.
  std::vector<std::pair<int, std::string>> lines;
  lines.push_back({NVRL_MSG_INFO,
                   format("Row %s (%d) at the current point: activity %s, bounds [%s, %s], "
                          "violation %.3e (relative %.3e)",
                          itemName(m, kNameRows, row).c_str(), row, num(activity).c_str(),
                          num(lo).c_str(), num(up).c_str(), viol, viol / std::max(1.0, size))});
  int checked = 0, mismatches = 0;
  std::vector<std::pair<int, double>> d;
  for (size_t k = 0; k < terms.size(); ++k) {
    const RowTerms::Term &t = terms[k];
    std::string what;
    switch (t.kind) {
      case RowTerms::kLinear:
        what = format("linear    %s * %s", num(t.coef).c_str(), name(t.i).c_str());
        break;
      case RowTerms::kQuadratic:
        what = format("quadratic %s * %s * %s", num(t.coef).c_str(), name(t.i).c_str(),
                      name(t.j).c_str());
        break;
      case RowTerms::kFormula: {
        const SlpCoefficient &c = *rt->formula(t.formula).coef;
        what = format("formula   %s * ", num(t.coef).c_str());
        if (t.i >= 0) what += name(t.i) + " * ";
        try {
          what += "(" + formatFormulaText(c.formula, scope, name) + ")";
        } catch (const FormulaError &e) {
          what += format("(a formula of %zu tokens)", c.formula.size());
        }
        break;
      }
    }
    if (!rt->derivatives(t, x.data(), d, ws, err))
      return s->fail("%s: term %zu of the row cannot be differentiated at the current point: "
                     "%s", __func__, k + 1, err.c_str());
    std::string line = format("  term %zu: %s = %s", k + 1, what.c_str(), num(t.value).c_str());
    for (const auto &[j, g] : d) line += format(", d/d%s %s", name(j).c_str(), num(g).c_str());
    lines.push_back({NVRL_MSG_INFO, line});
    if (t.kind != RowTerms::kFormula) continue;

    // Central differences of the term's value; the step balances truncation against
    // rounding (cube root of the machine epsilon).
    for (const auto &[j, exact] : d) {
      const double x0 = x[j];
      const double h = 6.0555e-6 * std::max(1.0, std::fabs(x0));
      std::vector<RowTerms::Term> tp, tm;
      x[j] = x0 + h;
      const double hu = x[j] - x0;
      const bool okUp = rt->terms(row, x.data(), tp, ws, err);
      x[j] = x0 - h;
      const double hd = x0 - x[j];
      const bool okDown = okUp && rt->terms(row, x.data(), tm, ws, err);
      x[j] = x0;
      if (!okDown) {
        lines.push_back({NVRL_MSG_WARNING,
                         format("  term %zu by %s: not checked, the formula cannot be "
                                "evaluated next to the point (%s)",
                                k + 1, name(j).c_str(), err.c_str())});
        continue;
      }
      ++checked;
      const double fd = (tp[k].value - tm[k].value) / (hu + hd);
      const double diff = std::fabs(fd - exact);
      if (diff > tol * std::max({1.0, std::fabs(exact), std::fabs(fd)})) {
        ++mismatches;
        lines.push_back({NVRL_MSG_WARNING,
                         format("  term %zu by %s: derivative %s, central difference %s: "
                                "mismatch",
                                k + 1, name(j).c_str(), num(exact).c_str(), num(fd).c_str())});
      }
    }
  }
  lines.push_back({NVRL_MSG_INFO,
                   format("Row %s: %zu terms; %d formula derivatives checked against central "
                          "differences, %d mismatches",
                          itemName(m, kNameRows, row).c_str(), terms.size(), checked,
                          mismatches)});
  s->validation.derivative_errors = mismatches;
  for (const auto &[type, l] : lines) s->logLine(type, l);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPvalidatevector(NSLPprob slp, const double x[], double *suminf,
                                double *sumscaledinf, double *objval) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!x) return s->fail("%s: null point", __func__);
  const Model &m = s->prob->model;
  for (int j = 0; j < m.cols(); ++j)
    if (!std::isfinite(x[j]))
      return s->fail("%s: x[%d] is not a finite number", __func__, j);
  std::unique_ptr<RowTerms> rt = rowTermsOf(s, __func__);
  if (!rt) return 1;
  FormulaWorkspace ws;
  std::string err;
  double sum = 0.0, scaled = 0.0;
  if (!violations(m, *rt, x, ws, err, [&](int, int, double, double v, double rel) {
        sum += v;
        scaled += rel;
      }))
    return s->fail("%s: the problem cannot be evaluated at the point: %s", __func__,
                   err.c_str());
  double f = 0.0;
  if (objval) {
    // Read in the minimising sense, the model's objective is the user's own.
    std::unique_ptr<SlpModel> model;
    try {
      model = std::make_unique<SlpModel>(m, s->data, 1);
    } catch (const FormulaError &e) {
      return s->fail("%s: a nonlinear coefficient cannot be used: %s", __func__, e.what());
    }
    f = model->objective(x);
    if (!model->objectiveFormulas(x, f, nullptr, ws, err))
      return s->fail("%s: the objective cannot be evaluated at the point: %s", __func__,
                     err.c_str());
  }
  if (suminf) *suminf = sum;
  if (sumscaledinf) *sumscaledinf = scaled;
  if (objval) *objval = f;
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

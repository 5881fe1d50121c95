// The terms of a row and their derivatives at a point, for the validation calls and the
// first-order checks.
#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "core/text.h"
#include "nslp/slp_row_terms.h"

namespace nvrl {

void rowBounds(const Model &m, int i, double &lo, double &up) {
  lo = -INFINITY;
  up = INFINITY;
  const double rhs = m.rhs[i];
  switch (m.rowtype[i]) {
    case 'L': up = rhs; break;
    case 'G': lo = rhs; break;
    case 'E': lo = up = rhs; break;
    case 'R': lo = rhs - m.range[i]; up = rhs; break;
    default: break;
  }
}

int slpSense(const nslp_problem_s *s) {
  auto it = s->controls.dbls.find(NSLP_CTRL_OBJECTIVE_SENSE);
  if (it != s->controls.dbls.end()) return it->second < 0 ? -1 : 1;
  return s->prob->model.objsense < 0 ? -1 : 1;
}

RowTerms::RowTerms(const nslp_problem_s *s) : m_(s->prob->model) {
  const FormulaScope scope{m_.cols(), &s->data.userfuncs};
  byRow_.resize(m_.rows());
  for (const SlpCoefficient &c : s->data.coefs) {
    if (c.row < 0) continue;  // the objective's
    if (c.row >= m_.rows() || c.col >= m_.cols())
      throw FormulaError(format("the coefficient (%d, %d) is outside the problem", c.row, c.col));
    checkFormula(c.formula, scope);
    byRow_[c.row].push_back(static_cast<int>(formulas_.size()));
    formulas_.push_back({&c, FormulaTape(c.formula, scope)});
  }
}

bool RowTerms::terms(int i, const double *x, std::vector<Term> &out, FormulaWorkspace &ws,
                     std::string &err) const {
  out.clear();
  const RowMatrix &mA = m_.A.rows();
  for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) {
    Term t;
    t.i = mA.col[e];
    t.coef = mA.val[e];
    t.value = t.coef * x[t.i];
    out.push_back(t);
  }
  auto q = m_.qrows.find(i);
  if (q != m_.qrows.end())
    for (const auto &[ij, v] : q->second) {
      // An off-diagonal triplet of the symmetric form stands for both halves.
      Term t;
      t.kind = kQuadratic;
      t.i = ij.first;
      t.j = ij.second;
      t.coef = t.i == t.j ? v : 2.0 * v;
      t.value = t.coef * x[t.i] * x[t.j];
      out.push_back(t);
    }
  for (int k : byRow_[i]) {
    const Formula &f = formulas_[k];
    double fv;
    if (!f.tape.value(x, fv, ws)) {
      err = format("row %d: %s", i, ws.error.c_str());
      return false;
    }
    Term t;
    t.kind = kFormula;
    t.i = f.coef->col;
    t.coef = f.coef->factor;
    t.formula = k;
    t.value = t.coef * (t.i >= 0 ? x[t.i] : 1.0) * fv;
    out.push_back(t);
  }
  return true;
}

bool RowTerms::measure(int i, const double *x, double &activity, double &size,
                       FormulaWorkspace &ws, std::string &err) const {
  std::vector<Term> ts;
  if (!terms(i, x, ts, ws, err)) return false;
  double lo, up;
  rowBounds(m_, i, lo, up);
  activity = 0.0;
  size = 0.0;
  for (const Term &t : ts) {
    activity += t.value;
    size = std::max(size, std::fabs(t.value));
  }
  if (std::isfinite(lo)) size = std::max(size, std::fabs(lo));
  if (std::isfinite(up)) size = std::max(size, std::fabs(up));
  if (!std::isfinite(activity)) {
    err = format("row %d: the activity is not finite", i);
    return false;
  }
  return true;
}

bool RowTerms::derivatives(const Term &t, const double *x,
                           std::vector<std::pair<int, double>> &out, FormulaWorkspace &ws,
                           std::string &err) const {
  out.clear();
  switch (t.kind) {
    case kLinear:
      out.push_back({t.i, t.coef});
      return true;
    case kQuadratic:
      if (t.i == t.j) {
        out.push_back({t.i, 2.0 * t.coef * x[t.i]});
      } else {
        out.push_back({t.i, t.coef * x[t.j]});
        out.push_back({t.j, t.coef * x[t.i]});
      }
      return true;
    case kFormula: {
      const Formula &f = formulas_[t.formula];
      const std::vector<int> &cols = f.tape.columns();
      std::vector<double> g(cols.size());
      double fv;
      if (!f.tape.gradient(x, fv, g.data(), ws)) {
        err = ws.error;
        return false;
      }
      const double mult = t.coef * (t.i >= 0 ? x[t.i] : 1.0);
      std::map<int, double> d;
      for (size_t q = 0; q < cols.size(); ++q) d[cols[q]] += mult * g[q];
      if (t.i >= 0) d[t.i] += t.coef * fv;
      out.assign(d.begin(), d.end());
      return true;
    }
  }
  return true;
}

}  // namespace nvrl

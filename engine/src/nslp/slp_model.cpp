// Values and gradients of the rows and the objective at a point.
#include "nslp/slp_model.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>

#include "nslp/slp_row_terms.h"

namespace nvrl {

namespace {
// Adds the time of one evaluation call to the workspace's statistics: a clock pair per row
// or per pass over all rows, which the evaluation itself outweighs.
struct EvalTimer {
  explicit EvalTimer(FormulaWorkspace &w) : ws(w), t0(std::chrono::steady_clock::now()) {}
  ~EvalTimer() {
    ws.stats.eval_seconds +=
        std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  }
  FormulaWorkspace &ws;
  std::chrono::steady_clock::time_point t0;
};
}  // namespace

SlpModel::SlpModel(const Model &m, const SlpData &d, int sense,
                   const std::vector<SlpCoefficient> *coefs)
    : m_(m), ncols_(m.cols()), nrows_(m.rows()), sense_(sense >= 0 ? 1 : -1) {
  rowlo_.resize(nrows_);
  rowup_.resize(nrows_);
  for (int i = 0; i < nrows_; ++i) rowBounds(m, i, rowlo_[i], rowup_[i]);

  // Rows with a quadratic part or a formula, in row order.
  std::map<int, std::vector<const SlpCoefficient *>> formulaRows;
  for (const SlpCoefficient &c : coefs ? *coefs : d.coefs) formulaRows[c.row].push_back(&c);
  std::vector<int> nl;
  for (const auto &[r, q] : m.qrows)
    if (!q.empty()) nl.push_back(r);
  for (const auto &[r, cs] : formulaRows)
    if (r >= 0) nl.push_back(r);
  std::sort(nl.begin(), nl.end());
  nl.erase(std::unique(nl.begin(), nl.end()), nl.end());

  nlindex_.assign(nrows_, -1);
  nlcol_.assign(ncols_, 0);
  const FormulaScope scope{ncols_, &d.userfuncs};
  auto compile = [&](const SlpCoefficient &c) {
    if (c.col >= ncols_)
      throw FormulaError("the coefficient of row " + std::to_string(c.row) + " has column " +
                         std::to_string(c.col) + ", beyond the problem's " +
                         std::to_string(ncols_) + " columns");
    checkFormula(c.formula, scope);  // the problem may have changed since it was added
    SlpFormulaTerm t;
    t.col = c.col;
    t.factor = c.factor;
    t.tape = FormulaTape(c.formula, scope);
    if (t.col >= 0) nlcol_[t.col] = 1;
    for (int j : t.tape.columns()) nlcol_[j] = 1;
    return t;
  };
  // Coefficients of row -1 belong to the objective.
  auto obj = formulaRows.find(-1);
  if (obj != formulaRows.end())
    for (const SlpCoefficient *c : obj->second) objterms_.push_back(compile(*c));
  for (int r : nl) {
    if (r < 0 || r >= nrows_)
      throw FormulaError("a nonlinear coefficient refers to row " + std::to_string(r) +
                         ", beyond the problem's " + std::to_string(nrows_) + " rows");
    SlpNonlinearRow row;
    row.row = r;
    std::vector<int> cols;
    const RowMatrix &mA = m.A.rows();
    for (int64_t k = mA.start[r]; k < mA.start[r + 1]; ++k) {
      row.linear.push_back({mA.col[k], mA.val[k]});
      cols.push_back(mA.col[k]);
    }
    auto q = m.qrows.find(r);
    if (q != m.qrows.end()) {
      // x'Qx with Q symmetric: an off-diagonal triplet stands for both halves.
      for (const auto &[ij, v] : q->second) {
        row.quad.push_back({ij.first, ij.second, ij.first == ij.second ? v : 2.0 * v});
        cols.push_back(ij.first);
        cols.push_back(ij.second);
        nlcol_[ij.first] = nlcol_[ij.second] = 1;
      }
    }
    auto f = formulaRows.find(r);
    if (f != formulaRows.end()) {
      for (const SlpCoefficient *c : f->second) {
        SlpFormulaTerm t = compile(*c);
        if (t.col >= 0) cols.push_back(t.col);
        cols.insert(cols.end(), t.tape.columns().begin(), t.tape.columns().end());
        row.terms.push_back(std::move(t));
      }
    }
    std::sort(cols.begin(), cols.end());
    cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
    row.cols = std::move(cols);
    nlindex_[r] = static_cast<int>(nlrows_.size());
    nlrows_.push_back(std::move(row));
  }

  for (const auto &[ij, v] : m.qobj)
    if (v != 0.0) qobj_.push_back({ij.first, ij.second, sense_ * v});
}

double SlpModel::objective(const double *x) const {
  double f = m_.objconst;
  for (int j = 0; j < ncols_; ++j) f += m_.obj[j] * x[j];
  f *= sense_;
  // 1/2 x'Hx over the upper triangle: off-diagonal entries count twice.
  for (const SlpQuadTerm &t : qobj_)
    f += t.i == t.j ? 0.5 * t.coef * x[t.i] * x[t.i] : t.coef * x[t.i] * x[t.j];
  return f;
}

void SlpModel::objectiveGradient(const double *x, double *g) const {
  for (int j = 0; j < ncols_; ++j) g[j] = sense_ * m_.obj[j];
  for (const SlpQuadTerm &t : qobj_) {
    if (t.i == t.j) {
      g[t.i] += t.coef * x[t.i];
    } else {
      g[t.i] += t.coef * x[t.j];
      g[t.j] += t.coef * x[t.i];
    }
  }
}

bool SlpModel::objectiveFormulas(const double *x, double &v, double *grad, FormulaWorkspace &ws,
                                 std::string &err) const {
  if (objterms_.empty()) return true;
  EvalTimer timer(ws);
  std::vector<double> fg;
  for (const SlpFormulaTerm &t : objterms_) {
    const std::vector<int> &fc = t.tape.columns();
    fg.assign(fc.size(), 0.0);
    double fv;
    if (!(grad ? t.tape.gradient(x, fv, fg.data(), ws) : t.tape.value(x, fv, ws))) {
      err = "the objective: " + ws.error;
      return false;
    }
    const double mult = sense_ * t.factor * (t.col >= 0 ? x[t.col] : 1.0);
    v += mult * fv;
    if (!grad) continue;
    if (t.col >= 0) grad[t.col] += sense_ * t.factor * fv;
    for (size_t q = 0; q < fc.size(); ++q) grad[fc[q]] += mult * fg[q];
  }
  return true;
}

bool SlpModel::nonlinearValue(const SlpNonlinearRow &r, const double *x, double &v,
                              FormulaWorkspace &ws, std::string &err) const {
  double a = 0.0;
  for (const auto &[j, c] : r.linear) a += c * x[j];
  for (const SlpQuadTerm &t : r.quad) a += t.coef * x[t.i] * x[t.j];
  for (const SlpFormulaTerm &t : r.terms) {
    double fv;
    if (!t.tape.value(x, fv, ws)) {
      err = ws.error;
      return false;
    }
    a += t.factor * (t.col >= 0 ? x[t.col] : 1.0) * fv;
  }
  if (!std::isfinite(a)) {
    err = "the row's value is not finite";
    return false;
  }
  v = a;
  return true;
}

bool SlpModel::activities(const double *x, std::vector<double> &act, FormulaWorkspace &ws,
                          std::string &err) const {
  EvalTimer timer(ws);
  act.assign(nrows_, 0.0);
  for (int i = 0; i < nrows_; ++i) {
    const int k = nlindex_[i];
    if (k >= 0) {
      if (!nonlinearValue(nlrows_[k], x, act[i], ws, err)) {
        err = "row " + std::to_string(i) + ": " + err;
        return false;
      }
      continue;
    }
    double a = 0.0;
    const RowMatrix &mA = m_.A.rows();
    for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) a += mA.val[e] * x[mA.col[e]];
    act[i] = a;
  }
  return true;
}

bool SlpModel::rowGradient(int k, const double *x, double &v, std::vector<double> &grad,
                           FormulaWorkspace &ws, std::string &err) const {
  EvalTimer timer(ws);
  const SlpNonlinearRow &r = nlrows_[k];
  const std::vector<int> &cols = r.cols;
  grad.assign(cols.size(), 0.0);
  auto at = [&](int j) -> double & {
    return grad[std::lower_bound(cols.begin(), cols.end(), j) - cols.begin()];
  };
  double a = 0.0;
  for (const auto &[j, c] : r.linear) {
    a += c * x[j];
    at(j) += c;
  }
  for (const SlpQuadTerm &t : r.quad) {
    a += t.coef * x[t.i] * x[t.j];
    at(t.i) += t.coef * x[t.j];
    at(t.j) += t.coef * x[t.i];
  }
  std::vector<double> fg;
  for (const SlpFormulaTerm &t : r.terms) {
    const std::vector<int> &fc = t.tape.columns();
    fg.assign(fc.size(), 0.0);
    double fv;
    if (!t.tape.gradient(x, fv, fg.data(), ws)) {
      err = "row " + std::to_string(r.row) + ": " + ws.error;
      return false;
    }
    const double mult = t.factor * (t.col >= 0 ? x[t.col] : 1.0);
    a += mult * fv;
    if (t.col >= 0) at(t.col) += t.factor * fv;
    for (size_t q = 0; q < fc.size(); ++q) at(fc[q]) += mult * fg[q];
  }
  for (double g : grad)
    if (!std::isfinite(g)) {
      err = "row " + std::to_string(r.row) + ": the gradient is not finite";
      return false;
    }
  if (!std::isfinite(a)) {
    err = "row " + std::to_string(r.row) + ": the row's value is not finite";
    return false;
  }
  v = a;
  return true;
}

}  // namespace nvrl

// Presolve and postsolve of the nonlinear problem (NSLPpresolve, NSLPpostsolve) and the
// presolved form a solve works on.
#include "nslp/slp_presolve.h"

#include <cmath>
#include <cstring>
#include <map>
#include <set>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/text.h"
#include "nslp/formula.h"
#include "nslp/slp_cascade.h"

namespace nvrl {

namespace {

uint64_t mix(uint64_t h, uint64_t v) {
  // FNV-1a over the eight bytes of v.
  for (int b = 0; b < 8; ++b) {
    h ^= (v >> (8 * b)) & 0xff;
    h *= 1099511628211ull;
  }
  return h;
}

uint64_t bits(double v) {
  uint64_t u;
  std::memcpy(&u, &v, sizeof u);
  return u;
}

uint64_t fingerprintOf(const std::vector<SlpCoefficient> &coefs) {
  uint64_t h = 14695981039346656037ull;
  for (const SlpCoefficient &c : coefs) {
    h = mix(h, static_cast<uint64_t>(c.row) * 0x9e3779b97f4a7c15ull + c.col);
    h = mix(h, bits(c.factor));
    for (const SlpToken &t : c.formula) h = mix(mix(h, t.type), bits(t.value));
  }
  return mix(h, coefs.size());
}

// Folds a checked formula: fixed columns become constants (the constant column becomes 1)
// and every operator or internal function whose operands are all constant is replaced by
// its value. User functions are left alone: they belong to the caller. A subexpression that
// cannot be evaluated (a logarithm of 0, say) stays as written, so the solve reports it.
class Folder {
 public:
  Folder(const FormulaScope &scope, const std::vector<double> &fixed)
      : scope_(scope), fixed_(fixed) {}

  std::vector<SlpToken> fold(const std::vector<SlpToken> &f, bool &substituted) {
    struct Entry {
      size_t start;
      bool konst;
    };
    std::vector<SlpToken> out;
    std::vector<Entry> st;
    std::vector<std::pair<size_t, size_t>> marks;  // (stack size, position of the marker)
    substituted = false;
    for (const SlpToken &t : f) {
      switch (t.type) {
        case NSLP_TOK_EOF:
          out.push_back(t);
          return out;
        case NSLP_TOK_CON:
          st.push_back({out.size(), true});
          out.push_back(t);
          break;
        case NSLP_TOK_COL: {
          const int j = static_cast<int>(t.value);
          const bool isFixed = j >= 0 && j < static_cast<int>(fixed_.size()) &&
                               std::isfinite(fixed_[j]);
          st.push_back({out.size(), j < 0 || isFixed});
          if (j < 0) {
            out.push_back({NSLP_TOK_CON, 1.0});
          } else if (isFixed) {
            out.push_back({NSLP_TOK_CON, fixed_[j]});
            substituted = true;
          } else {
            out.push_back(t);
          }
          break;
        }
        case NSLP_TOK_OP: {
          const size_t need = t.value == NSLP_OP_UMINUS ? 1 : 2;
          const size_t start = st[st.size() - need].start;
          bool konst = true;
          for (size_t q = st.size() - need; q < st.size(); ++q) konst = konst && st[q].konst;
          st.resize(st.size() - need);
          out.push_back(t);
          st.push_back({start, konst && collapse(out, start)});
          break;
        }
        case NSLP_TOK_DEL:
          marks.push_back({st.size(), out.size()});
          out.push_back(t);
          break;
        default: {  // a function
          const auto [size, start] = marks.back();
          marks.pop_back();
          bool konst = t.type == NSLP_TOK_IFUN;
          for (size_t q = size; q < st.size(); ++q) konst = konst && st[q].konst;
          st.resize(size);
          out.push_back(t);
          st.push_back({start, konst && collapse(out, start)});
          break;
        }
      }
    }
    return out;  // checked formulas end with their end token; not reached
  }

 private:
  // Replaces out[start..] (constant operands and their operator) by its value.
  bool collapse(std::vector<SlpToken> &out, size_t start) {
    std::vector<SlpToken> slice(out.begin() + start, out.end());
    slice.push_back({NSLP_TOK_EOF, 0.0});
    double v = 0.0, none = 0.0;
    FormulaWorkspace ws;
    try {
      FormulaTape tape(slice, scope_);
      if (!tape.value(&none, v, ws) || !std::isfinite(v)) return false;
    } catch (const FormulaError &) {
      return false;
    }
    out.resize(start);
    out.push_back({NSLP_TOK_CON, v});
    return true;
  }

  const FormulaScope &scope_;
  const std::vector<double> &fixed_;
};

bool isConstant(const std::vector<SlpToken> &f, double &v) {
  if (f.size() != 2 || f[0].type != NSLP_TOK_CON) return false;
  v = f[0].value;
  return true;
}

int distinctRows(const std::vector<SlpCoefficient> &coefs) {
  std::set<int> rows;
  for (const SlpCoefficient &c : coefs) rows.insert(c.row);
  return static_cast<int>(rows.size());
}

}  // namespace

std::shared_ptr<const SlpPresolved> presolveProblem(const nslp_problem_s *s,
                                                    std::vector<std::string> &lines) {
  const Model &m = s->prob->model;
  const SlpData &d = s->data;
  const int n = m.cols();
  auto form = std::make_shared<SlpPresolved>();
  form->version = s->prob->version;
  form->fingerprint = fingerprintOf(d.coefs);

  std::vector<double> fixed(n, NAN);
  for (int j = 0; j < n; ++j)
    if (m.lb[j] == m.ub[j] && !isInfLo(m.lb[j]) && !isInfUp(m.ub[j])) fixed[j] = m.lb[j];
  const FormulaScope scope{n, &d.userfuncs};
  Folder folder(scope, fixed);

  std::set<int> substituted;                   // fixed columns that were substituted
  std::map<int, std::map<int, double>> added;  // row (-1 objective) -> column -> coefficient
  std::map<int, double> constants;             // row (-1 objective) -> constant
  std::set<int> nonlinearBefore, nonlinearAfter;
  int formulasFolded = 0;
  for (const SlpCoefficient &c : d.coefs) {
    nonlinearBefore.insert(c.row);
    if (c.col >= n) {
      // Left for the solve's own check, which names the fault.
      form->coefs.push_back(c);
      nonlinearAfter.insert(c.row);
      continue;
    }
    SlpCoefficient nc = c;
    if (c.col >= 0 && std::isfinite(fixed[c.col])) {
      nc.factor *= fixed[c.col];
      nc.col = -1;
      substituted.insert(c.col);
    }
    bool sub = false;
    nc.formula = folder.fold(c.formula, sub);
    if (sub)
      for (const SlpToken &t : c.formula)
        if (t.type == NSLP_TOK_COL && t.value >= 0 && t.value < n &&
            std::isfinite(fixed[int(t.value)]))
          substituted.insert(static_cast<int>(t.value));
    if (nc.formula.size() < c.formula.size()) ++formulasFolded;
    double v;
    if (isConstant(nc.formula, v) || nc.factor == 0.0) {
      const double term = nc.factor == 0.0 ? 0.0 : nc.factor * v;
      if (nc.col >= 0)
        added[nc.row][nc.col] += term;
      else
        constants[nc.row] += term;
      ++form->linear;
      continue;
    }
    form->coefs.push_back(std::move(nc));
    nonlinearAfter.insert(c.row);
  }

  // Quadratic row terms with a fixed column: x_i x_j with x_i fixed is linear in x_j.
  std::map<int, QMatrix> qrows;
  bool qchanged = false;
  for (const auto &[r, q] : m.qrows) {
    if (!q.empty()) nonlinearBefore.insert(r);
    QMatrix kept;
    for (const auto &[ij, v] : q) {
      const auto [i, j] = ij;
      const bool fi = std::isfinite(fixed[i]), fj = std::isfinite(fixed[j]);
      // (i, i, v) is v x_i^2; (i, j, v) with i != j is 2v x_i x_j.
      const double c = i == j ? v : 2.0 * v;
      if (fi) substituted.insert(i);
      if (fj) substituted.insert(j);
      if (fi && fj) {
        constants[r] += c * fixed[i] * fixed[j];
      } else if (fi) {
        added[r][j] += c * fixed[i];
      } else if (fj) {
        added[r][i] += c * fixed[j];
      } else {
        kept[ij] = v;
        continue;
      }
      qchanged = true;
    }
    if (!kept.empty()) {
      nonlinearAfter.insert(r);
      qrows[r] = std::move(kept);
    }
  }

  form->fixed = static_cast<int>(substituted.size());
  for (int r : nonlinearBefore)
    if (r >= 0 && !nonlinearAfter.count(r)) ++form->rows_linear;

  if (!added.empty() || !constants.empty() || qchanged) {
    auto pm = std::make_unique<Model>(m);
    pm->rownames.clear();
    pm->colnames.clear();
    if (qchanged) pm->qrows = std::move(qrows);
    for (const auto &[r, c] : constants) {
      if (r < 0)
        pm->objconst += c;
      else
        pm->rhs[r] -= c;  // the activity gains c: the bounds move by it instead
    }
    if (auto obj = added.find(-1); obj != added.end())
      for (const auto &[j, v] : obj->second) pm->obj[j] += v;
    // The rows with new linear terms are rebuilt; entries that cancel are dropped.
    const RowMatrix &mA = m.A.rows();
    RowMatrix A;
    A.start.reserve(mA.start.size());
    A.col.reserve(mA.col.size());
    A.val.reserve(mA.val.size());
    for (int i = 0; i < m.rows(); ++i) {
      auto add = added.find(i);
      if (add == added.end()) {
        for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) {
          A.col.push_back(mA.col[e]);
          A.val.push_back(mA.val[e]);
        }
      } else {
        std::map<int, double> row = add->second;
        for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) row[mA.col[e]] += mA.val[e];
        for (const auto &[j, v] : row)
          if (v != 0.0) {
            A.col.push_back(j);
            A.val.push_back(v);
          }
      }
      A.start.push_back(static_cast<int64_t>(A.col.size()));
    }
    pm->A.assignRows(std::move(A));
    form->model = std::move(pm);
  }

  lines.push_back(format(
      "Presolve: %d fixed columns substituted, %d formulas folded, %d coefficients made linear "
      "or constant, %d rows made linear; nonlinear coefficients %zu -> %zu, nonlinear rows "
      "%d -> %d",
      form->fixed, formulasFolded, form->linear, form->rows_linear, d.coefs.size(),
      form->coefs.size(), distinctRows(d.coefs), distinctRows(form->coefs)));
  return form;
}

bool presolvedIsCurrent(const nslp_problem_s *s) {
  const SlpPresolved *p = s->data.presolved.get();
  return p && p->version == s->prob->version && p->fingerprint == fingerprintOf(s->data.coefs);
}

void dropPresolved(nslp_problem_s *s) {
  s->data.presolved.reset();
  s->state.statebits &= ~kPresolvedBit;
}

namespace {

void adopt(nslp_problem_s *s, std::shared_ptr<const SlpPresolved> form,
           const std::vector<std::string> &lines) {
  s->state.presolve_fixed = form->fixed;
  s->state.presolve_linear = form->linear;
  s->data.presolved = std::move(form);
  s->state.statebits |= kPresolvedBit;
  if (slpLogOn(s))
    for (const std::string &l : lines) s->logLine(NVRL_MSG_INFO, l);
}

}  // namespace

std::shared_ptr<const SlpPresolved> presolveForSolve(nslp_problem_s *s) {
  if (s->data.presolved && !presolvedIsCurrent(s)) {
    if (slpLogOn(s))
      s->logLine(NVRL_MSG_INFO, "Presolve: the problem has changed since it was presolved; the "
                              "presolved form is dropped");
    dropPresolved(s);
  }
  const ParamInfo *info = findParam(NSLP_CTRL_AUTO_PRESOLVE);
  if (!s->data.presolved && info && intValue(s->controls, *info) == 1) {
    std::vector<std::string> lines;
    adopt(s, presolveProblem(s, lines), lines);
  }
  return s->data.presolved;
}

int64_t slpCoefficientCount(const nslp_problem_s *s) {
  return s->data.presolved ? s->data.presolved->coefs.size() : s->data.coefs.size();
}

int64_t slpNonlinearRowCount(const nslp_problem_s *s) {
  return s->data.presolved ? distinctRows(s->data.presolved->coefs) : s->data.nonlinearRows();
}

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPpresolve(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  std::vector<std::string> lines;
  std::shared_ptr<const SlpPresolved> form = presolveProblem(s, lines);
  adopt(s, std::move(form), lines);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPpostsolve(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  dropPresolved(s);
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

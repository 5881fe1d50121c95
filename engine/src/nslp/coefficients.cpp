// The nonlinear coefficients of the C API: loading, adding, changing, deleting and reading
// them (as tokens or text), and evaluating them at the current point.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "core/entry.h"
#include "core/text.h"
#include "lp_data/name_index.h"
#include "nslp/formula.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_problem.h"

using namespace nvrl;

namespace {

FormulaScope scopeOf(const nslp_problem_s *s) {
  return {s->prob->model.cols(), &s->data.userfuncs};
}

bool before(const SlpCoefficient &a, int row, int col) {
  return a.row < row || (a.row == row && a.col < col);
}

// The held coefficient (row, col), or null.
SlpCoefficient *findCoef(nslp_problem_s *s, int row, int col) {
  auto &v = s->data.coefs;
  auto it = std::lower_bound(v.begin(), v.end(), 0, [&](const SlpCoefficient &c, int) {
    return before(c, row, col);
  });
  return it != v.end() && it->row == row && it->col == col ? &*it : nullptr;
}

// Why (row, col) cannot hold a coefficient, or "".
std::string placeError(const nslp_problem_s *s, int row, int col) {
  const Model &m = s->prob->model;
  if (row < -1 || row >= m.rows())
    return format("row %d is out of range (-1 to %d)", row, m.rows() - 1);
  if (col < -1 || col >= m.cols())
    return format("column %d is out of range (-1 to %d)", col, m.cols() - 1);
  return "";
}

// The current point: the initial value a column was given, else the point of its bounds
// nearest to 0.
// Reads the coefficients of a load or add call; fails (returning false) on the first bad one.
bool readCoefs(nslp_problem_s *s, const char *fn, int ncoef, const int *rowindex,
               const int *colindex, const double *factor, const int *formulastart, int parsed,
               const int *type, const double *value, std::vector<SlpCoefficient> &out) {
  if (ncoef < 0) return s->fail("%s: negative coefficient count %d", fn, ncoef), false;
  if (ncoef == 0) return true;
  if (!rowindex || !colindex || !formulastart || !type || !value)
    return s->fail("%s: null row, column, formula start or token array", fn), false;
  FormulaScope scope = scopeOf(s);
  out.reserve(ncoef);
  for (int k = 0; k < ncoef; ++k) {
    std::string why = placeError(s, rowindex[k], colindex[k]);
    if (!why.empty()) return s->fail("%s: coefficient %d: %s", fn, k, why.c_str()), false;
    double f = factor ? factor[k] : 1.0;
    if (!std::isfinite(f))
      return s->fail("%s: coefficient %d: factor %g is not finite", fn, k, f), false;
    int from = formulastart[k], to = formulastart[k + 1];
    if (from < 0 || to < from)
      return s->fail("%s: coefficient %d: formula starts %d to %d are not non-decreasing from 0",
                     fn, k, from, to),
             false;
    try {
      out.push_back({rowindex[k], colindex[k], f,
                     readFormulaTokens(type + from, value + from, to - from, parsed != 0, scope)});
    } catch (const FormulaError &e) {
      return s->fail("%s: coefficient %d (row %d, column %d): %s", fn, k, rowindex[k],
                     colindex[k], e.what()),
             false;
    }
  }
  // Sorted by (row, col); of two equal places the later one stays.
  std::stable_sort(out.begin(), out.end(), [](const SlpCoefficient &a, const SlpCoefficient &b) {
    return before(a, b.row, b.col);
  });
  size_t w = 0;
  for (size_t r = 0; r < out.size(); ++r) {
    if (w && out[w - 1].row == out[r].row && out[w - 1].col == out[r].col)
      out[w - 1] = std::move(out[r]);
    else if (w != r)
      out[w++] = std::move(out[r]);
    else
      ++w;
  }
  out.resize(w);
  return true;
}

// Sets (row, col) to factor * formula, keeping the order.
void putCoef(nslp_problem_s *s, SlpCoefficient c) {
  auto &v = s->data.coefs;
  auto it = std::lower_bound(v.begin(), v.end(), 0, [&](const SlpCoefficient &a, int) {
    return before(a, c.row, c.col);
  });
  if (it != v.end() && it->row == c.row && it->col == c.col)
    *it = std::move(c);
  else
    v.insert(it, std::move(c));
}

int changeCoef(nslp_problem_s *s, const char *fn, int row, int col, const double *factor,
               const std::function<std::vector<SlpToken>()> *read) {
  std::string why = placeError(s, row, col);
  if (!why.empty()) return s->fail("%s: %s", fn, why.c_str());
  double f = factor ? *factor : 1.0;
  if (!std::isfinite(f)) return s->fail("%s: factor %g is not finite", fn, f);
  if (!read) {
    SlpCoefficient *c = findCoef(s, row, col);
    if (!c)
      return s->fail("%s: no coefficient at row %d, column %d to change the factor of", fn, row,
                     col);
    c->factor = f;
    return 0;
  }
  SlpCoefficient c{row, col, f, {}};
  try {
    c.formula = (*read)();
  } catch (const FormulaError &e) {
    return s->fail("%s: row %d, column %d: %s", fn, row, col, e.what());
  }
  putCoef(s, std::move(c));
  return 0;
}

const SlpCoefficient *heldCoef(nslp_problem_s *s, const char *fn, int row, int col) {
  SlpCoefficient *c = findCoef(s, row, col);
  if (!c) s->fail("%s: no coefficient at row %d, column %d", fn, row, col);
  return c;
}

bool evaluate(nslp_problem_s *s, const char *fn, const std::vector<SlpToken> &f, double &v) {
  FormulaTape tape;
  try {
    tape = FormulaTape(f, scopeOf(s));
  } catch (const FormulaError &e) {
    s->fail("%s: %s", fn, e.what());
    return false;
  }
  FormulaWorkspace ws;
  std::vector<double> x = currentPoint(s);
  if (tape.value(x.data(), v, ws)) return true;
  s->fail("%s: the formula cannot be evaluated at the current point: %s", fn, ws.error.c_str());
  return false;
}

}  // namespace

extern "C" {

NVRL_API int NSLPloadcoefs(NSLPprob slp, int ncoef, const int rowindex[], const int colindex[],
                           const double factor[], const int formulastart[], int parsed,
                           const int type[], const double value[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  std::vector<SlpCoefficient> coefs;
  if (!readCoefs(s, __func__, ncoef, rowindex, colindex, factor, formulastart, parsed, type,
                 value, coefs))
    return 1;
  s->data.coefs.swap(coefs);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPaddcoefs(NSLPprob slp, int ncoef, const int rowindex[], const int colindex[],
                          const double factor[], const int formulastart[], int parsed,
                          const int type[], const double value[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  std::vector<SlpCoefficient> add;
  if (!readCoefs(s, __func__, ncoef, rowindex, colindex, factor, formulastart, parsed, type,
                 value, add))
    return 1;
  if (add.empty()) return 0;
  auto &held = s->data.coefs;
  if (held.empty() || before(held.back(), add.front().row, add.front().col)) {
    // The usual case, rows added in order: an append.
    held.reserve(held.size() + add.size());
    std::move(add.begin(), add.end(), std::back_inserter(held));
    return 0;
  }
  std::vector<SlpCoefficient> merged;
  merged.reserve(held.size() + add.size());
  size_t i = 0, j = 0;
  while (i < held.size() || j < add.size()) {
    if (j == add.size() || (i < held.size() && before(held[i], add[j].row, add[j].col))) {
      merged.push_back(std::move(held[i++]));  // no-throw: room reserved, moves noexcept
    } else {
      if (i < held.size() && held[i].row == add[j].row && held[i].col == add[j].col) ++i;
      merged.push_back(std::move(add[j++]));
    }
  }
  held.swap(merged);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPchgcoef(NSLPprob slp, int row, int col, const double *factor, int parsed,
                         const int type[], const double value[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (type && !value) return s->fail("%s: null token value array", __func__);
  std::function<std::vector<SlpToken>()> read = [&] {
    return readFormulaTokens(type, value, INT64_MAX, parsed != 0, scopeOf(s));
  };
  return changeCoef(s, __func__, row, col, factor, type ? &read : nullptr);
} NVRL_CATCH(slp)

NVRL_API int NSLPchgccoef(NSLPprob slp, int row, int col, const double *factor,
                          const char *formula) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  std::function<std::vector<SlpToken>()> read = [&] {
    nvrl_problem_s *p = s->prob;
    return parseFormulaText(formula, scopeOf(s), [p](const std::string &name) {
      return findName(p, kNameCols, name);
    });
  };
  return changeCoef(s, __func__, row, col, factor, formula ? &read : nullptr);
} NVRL_CATCH(slp)

NVRL_API int NSLPdelcoefs(NSLPprob slp, int ncoef, const int rowindex[],
                          const int colindex[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (ncoef < 0) return s->fail("%s: negative coefficient count %d", __func__, ncoef);
  if (ncoef == 0) return 0;
  if (!rowindex || !colindex) return s->fail("%s: null row or column array", __func__);
  auto &held = s->data.coefs;
  std::vector<char> gone(held.size());
  for (int k = 0; k < ncoef; ++k) {
    SlpCoefficient *c = findCoef(s, rowindex[k], colindex[k]);
    if (!c)
      return s->fail("%s: coefficient %d: no coefficient at row %d, column %d", __func__, k,
                     rowindex[k], colindex[k]);
    gone[c - held.data()] = 1;
  }
  size_t w = 0;
  for (size_t r = 0; r < held.size(); ++r)
    if (!gone[r]) {
      if (w != r) held[w] = std::move(held[r]);
      ++w;
    }
  held.resize(w);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetcoefs(NSLPprob slp, int *ncoef, int rowindex[], int colindex[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!ncoef) return s->fail("%s: null count pointer", __func__);
  const auto &held = s->data.coefs;
  if (held.size() > size_t(INT_MAX))
    return s->fail("%s: %zu coefficients do not fit in 32 bits", __func__, held.size());
  *ncoef = int(held.size());
  if (rowindex && colindex)
    for (size_t k = 0; k < held.size(); ++k) rowindex[k] = held[k].row, colindex[k] = held[k].col;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetcoefformula(NSLPprob slp, int row, int col, double *factor, int parsed,
                                int maxtypes, int *ntypes, int type[], double value[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const SlpCoefficient *c = heldCoef(s, __func__, row, col);
  if (!c) return 1;
  std::vector<SlpToken> unparsed;
  try {
    if (!parsed) unparsed = unparseFormula(c->formula, scopeOf(s));
  } catch (const FormulaError &e) {
    return s->fail("%s: row %d, column %d: %s", __func__, row, col, e.what());
  }
  const std::vector<SlpToken> &f = parsed ? c->formula : unparsed;
  if (f.size() > size_t(INT_MAX))
    return s->fail("%s: the formula's %zu tokens do not fit in 32 bits", __func__, f.size());
  if (type || value) {
    if (!type || !value) return s->fail("%s: one of the token arrays is null", __func__);
    if (maxtypes < int(f.size()))
      return s->fail("%s: the formula has %zu tokens, more than maxtypes (%d)", __func__,
                     f.size(), maxtypes);
    for (size_t k = 0; k < f.size(); ++k) type[k] = f[k].type, value[k] = f[k].value;
  }
  if (ntypes) *ntypes = int(f.size());
  if (factor) *factor = c->factor;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetccoef(NSLPprob slp, int row, int col, double *factor, char *formula,
                          int maxbytes) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!formula) return s->fail("%s: null text buffer", __func__);
  const SlpCoefficient *c = heldCoef(s, __func__, row, col);
  if (!c) return 1;
  const Model &m = s->prob->model;
  std::string text;
  try {
    text = formatFormulaText(c->formula, scopeOf(s),
                             [&m](int j) { return itemName(m, kNameCols, j); });
  } catch (const FormulaError &e) {
    return s->fail("%s: row %d, column %d: %s", __func__, row, col, e.what());
  }
  if (maxbytes < 0 || text.size() + 1 > size_t(maxbytes))
    return s->fail("%s: the formula needs %zu bytes, more than maxbytes (%d)", __func__,
                   text.size() + 1, maxbytes);
  std::memcpy(formula, text.c_str(), text.size() + 1);
  if (factor) *factor = c->factor;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPevaluatecoef(NSLPprob slp, int row, int col, double *value) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!value) return s->fail("%s: null value pointer", __func__);
  const SlpCoefficient *c = heldCoef(s, __func__, row, col);
  if (!c) return 1;
  double v;
  if (!evaluate(s, __func__, c->formula, v)) return 1;
  *value = c->factor * v;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPevaluateformula(NSLPprob slp, int parsed, const int type[],
                                 const double value[], double *result) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!result) return s->fail("%s: null result pointer", __func__);
  std::vector<SlpToken> f;
  try {
    f = readFormulaTokens(type, value, INT64_MAX, parsed != 0, scopeOf(s));
  } catch (const FormulaError &e) {
    return s->fail("%s: %s", __func__, e.what());
  }
  double v;
  if (!evaluate(s, __func__, f, v)) return 1;
  *result = v;
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

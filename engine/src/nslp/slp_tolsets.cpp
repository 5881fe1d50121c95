// Tolerance sets and step types: their entry points, and how the solve loop applies them.
#include "nslp/slp_tolsets.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "core/entry.h"

namespace nvrl {

void addColumnRules(const SlpData &data, int ncols, SlpSettings &st) {
  const int have = std::min(ncols, static_cast<int>(data.columns.size()));
  bool typed = false, withSet = false;
  for (int j = 0; j < have; ++j) {
    typed = typed || data.columns[j].delta_type != NSLP_DELTA_ADAPTIVE;
    withSet = withSet || data.columns[j].tolset > 0;
  }
  // Most problems use neither: the loop then sees empty vectors and today's defaults.
  if (typed) {
    st.delta_type.assign(ncols, NSLP_DELTA_ADAPTIVE);
    st.delta_value.assign(ncols, 0.0);
    for (int j = 0; j < have; ++j) {
      st.delta_type[j] = data.columns[j].delta_type;
      st.delta_value[j] = data.columns[j].delta_value;
    }
  }
  if (withSet) {
    st.col_tolset.assign(ncols, 0);
    for (int j = 0; j < have; ++j) st.col_tolset[j] = data.columns[j].tolset;
    st.tolsets = data.tolsets;
  }
  st.dfs = data.dfs;
}

int deltaType(const SlpSettings &S, int j) {
  return j < static_cast<int>(S.delta_type.size()) ? S.delta_type[j] : NSLP_DELTA_ADAPTIVE;
}

void applyStepTypes(const SlpSettings &S, const std::vector<double> &x,
                    std::vector<double> &delta) {
  for (size_t j = 0; j < S.delta_type.size() && j < delta.size(); ++j) {
    switch (S.delta_type[j]) {
      case NSLP_DELTA_FIXED: delta[j] = S.delta_value[j]; break;
      case NSLP_DELTA_RELATIVE:
        delta[j] = S.delta_value[j] * std::max(1.0, std::fabs(x[j]));
        break;
      case NSLP_DELTA_FROZEN: delta[j] = 0.0; break;
      default: break;
    }
  }
}

void applyRowEstimates(const SlpSettings &S, const SlpNonlinearRow &r, std::vector<double> &grad) {
  // Keyed by column first: walk the row's pattern and look each pair up.
  for (size_t q = 0; q < r.cols.size(); ++q) {
    auto e = S.dfs.find({r.cols[q], r.row});
    if (e != S.dfs.end()) grad[q] = e->second;
  }
}

void applyObjectiveEstimates(const SlpSettings &S, int sense, double *g) {
  for (const auto &[cr, v] : S.dfs)
    if (cr.second == -1) g[cr.first] = sense * v;
}

bool judgeSteps(const SlpModel &M, const SlpSettings &S, const std::vector<double> &x,
                const std::vector<double> &d, double f, const std::vector<double> &g,
                const std::vector<double> &rowval,
                const std::vector<std::vector<double>> &rowgrad,
                const std::vector<char> &nonlinear, const std::vector<double> &delta,
                std::vector<int> &codes) {
  const int n = M.cols();
  codes.assign(n, NSLP_CONVERGED_NO);
  // The largest impact of each column's step on the nonlinear rows, absolute and relative
  // to the row's value; only worked out when some set tests it.
  std::vector<double> rowAbs, rowRel;
  bool rowTests = false;
  for (const SlpTolset &t : S.tolsets)
    rowTests = rowTests || (t.status & ((1 << NSLP_TOL_ROW_ABS) | (1 << NSLP_TOL_ROW_REL)));
  if (rowTests) {
    rowAbs.assign(n, 0.0);
    rowRel.assign(n, 0.0);
    const auto &rows = M.nonlinearRows();
    for (size_t k = 0; k < rows.size() && k < rowgrad.size(); ++k) {
      const double size = std::fabs(rowval[k]);
      for (size_t q = 0; q < rows[k].cols.size(); ++q) {
        const int j = rows[k].cols[q];
        const double imp = std::fabs(rowgrad[k][q] * d[j]);
        rowAbs[j] = std::max(rowAbs[j], imp);
        rowRel[j] = std::max(rowRel[j], size > 0 ? imp / size : (imp > 0 ? INFINITY : 0.0));
      }
    }
  }
  bool all = true;
  for (int j = 0; j < n; ++j) {
    const int set = j < static_cast<int>(S.col_tolset.size()) ? S.col_tolset[j] : 0;
    if (deltaType(S, j) == NSLP_DELTA_FROZEN) {
      codes[j] = NSLP_CONVERGED_FROZEN;
    } else if (d[j] != 0.0 && (nonlinear[j] || !adaptiveStep(S, j)) &&
               std::fabs(d[j]) >= 0.99 * delta[j]) {
      // A step cut short by its step bound says nothing about being close, however small
      // the bound has become: a column that did not move in a rejected step is left with a
      // bound near nslp_min_step_bound, which only doubles per good step.
    } else if (set <= 0 || set > static_cast<int>(S.tolsets.size())) {
      if (std::fabs(d[j]) <= S.step_tol * std::max(1.0, std::fabs(x[j])))
        codes[j] = NSLP_CONVERGED_GLOBAL;
    } else {
      const SlpTolset &t = S.tolsets[set - 1];
      const double step = std::fabs(d[j]), objImpact = std::fabs(g[j] * d[j]);
      const double measure[NSLP_TOLSET_SIZE] = {
          step,
          std::fabs(x[j]) > 0 ? step / std::fabs(x[j]) : (step > 0 ? INFINITY : 0.0),
          objImpact,
          std::fabs(f) > 0 ? objImpact / std::fabs(f) : (objImpact > 0 ? INFINITY : 0.0),
          rowTests ? rowAbs[j] : 0.0,
          rowTests ? rowRel[j] : 0.0};
      for (int k = 0; k < NSLP_TOLSET_SIZE && codes[j] == NSLP_CONVERGED_NO; ++k)
        if ((t.status >> k & 1) && measure[k] <= t.tol[k]) codes[j] = k + 1;
    }
    all = all && codes[j] != NSLP_CONVERGED_NO;
  }
  return all;
}

void recordPenalties(const SlpModel &M, const std::vector<double> &elastic, double tol,
                     SlpSolveDetail &detail) {
  const int r = M.rows();
  if (detail.penalty_iterations.size() != static_cast<size_t>(r)) {
    detail.penalty_iterations.assign(r, 0);
    detail.penalty_max.assign(r, 0.0);
    detail.penalty_total.assign(r, 0.0);
  }
  const auto &rows = M.nonlinearRows();
  for (size_t k = 0; k < rows.size() && k < elastic.size(); ++k) {
    const double e = elastic[k];
    if (!(e > tol)) continue;
    const int i = rows[k].row;
    ++detail.penalty_iterations[i];
    detail.penalty_max[i] = std::max(detail.penalty_max[i], e);
    detail.penalty_total[i] += e;
  }
}

bool checkTolsetRef(nslp_problem_s *s, const char *fn, int t) {
  if (t >= 0 && t <= static_cast<int>(s->data.tolsets.size())) return true;
  s->fail("%s: tolerance set %d does not exist (the problem has %zu; 0 means none)", fn, t,
          s->data.tolsets.size());
  return false;
}

void keepSolveDetail(nslp_problem_s *s, SlpOutcome &out) {
  s->state.detail = std::move(out.detail);
  if (out.converged.empty()) return;
  // The convergence of each column is one of its settings, as NSLPgetvar reports it.
  std::vector<SlpColumn> &cols = s->data.columns;
  if (cols.size() < out.converged.size()) cols.resize(out.converged.size());
  for (size_t j = 0; j < out.converged.size(); ++j) cols[j].converged = out.converged[j];
}

std::map<std::pair<int, int>, double> renumberEstimates(
    const std::map<std::pair<int, int>, double> &dfs, const std::vector<int> *rowmap,
    const std::vector<int> *colmap) {
  std::map<std::pair<int, int>, double> out;
  auto moved = [](const std::vector<int> *map, int i) {
    if (!map) return i;
    return i >= 0 && i < static_cast<int>(map->size()) ? (*map)[i] : -1;
  };
  for (const auto &[cr, v] : dfs) {
    const int c = moved(colmap, cr.first);
    // Row -1 (the objective) never goes.
    const int r = cr.second < 0 ? cr.second : moved(rowmap, cr.second);
    if (c >= 0 && (r >= 0 || cr.second < 0)) out[{c, r}] = v;
  }
  return out;
}

namespace {

// Reads ntolsets sets of NSLP_TOLSET_SIZE values each; entries > 0 are active.
bool readTolsets(nslp_problem_s *s, const char *fn, int ntolsets, const double tols[],
                 std::vector<SlpTolset> &out) {
  if (ntolsets < 0) return s->fail("%s: negative count %d", fn, ntolsets), false;
  if (ntolsets > 0 && !tols) return s->fail("%s: null tolerance array", fn), false;
  out.reserve(out.size() + ntolsets);
  for (int k = 0; k < ntolsets; ++k) {
    SlpTolset t;
    for (int e = 0; e < NSLP_TOLSET_SIZE; ++e) {
      const double v = tols[static_cast<size_t>(k) * NSLP_TOLSET_SIZE + e];
      if (!std::isfinite(v))
        return s->fail("%s: entry %d of set %d is not a finite number", fn, e, k), false;
      t.tol[e] = v;
      if (v > 0) t.status |= 1 << e;
    }
    out.push_back(t);
  }
  return true;
}

int setTolsets(NSLPprob slp, const char *fn, bool load, int ntolsets, const double tols[]) {
  nslp_problem_s *s = checkSlpProblem(slp, fn);
  if (!s) return 1;
  std::vector<SlpTolset> sets = load ? std::vector<SlpTolset>() : s->data.tolsets;
  if (!readTolsets(s, fn, ntolsets, tols, sets)) return 1;
  for (size_t j = 0; j < s->data.columns.size(); ++j)
    if (s->data.columns[j].tolset > static_cast<int>(sets.size()))
      return s->fail("%s: column %zu uses tolerance set %d, which would no longer exist "
                     "(change the column's set or delete the set first)",
                     fn, j, s->data.columns[j].tolset);
  s->data.tolsets.swap(sets);
  return 0;
}

SlpTolset *findTolset(nslp_problem_s *s, const char *fn, int tolset) {
  if (tolset < 1 || tolset > static_cast<int>(s->data.tolsets.size())) {
    s->fail("%s: tolerance set %d does not exist (sets are 1 to %zu)", fn, tolset,
            s->data.tolsets.size());
    return nullptr;
  }
  return &s->data.tolsets[tolset - 1];
}

}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPloadtolsets(NSLPprob slp, int ntolsets, const double tols[]) NVRL_TRY {
  return setTolsets(slp, __func__, true, ntolsets, tols);
} NVRL_CATCH(slp)

NVRL_API int NSLPaddtolsets(NSLPprob slp, int ntolsets, const double tols[]) NVRL_TRY {
  return setTolsets(slp, __func__, false, ntolsets, tols);
} NVRL_CATCH(slp)

NVRL_API int NSLPchgtolset(NSLPprob slp, int tolset, const int *status,
                           const double tols[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  SlpTolset *held = findTolset(s, __func__, tolset);
  if (!held) return 1;
  SlpTolset t = *held;
  if (status) {
    if (*status < 0 || *status >= (1 << NSLP_TOLSET_SIZE))
      return s->fail("NSLPchgtolset: status 0x%x has bits beyond the %d entries", *status,
                     NSLP_TOLSET_SIZE);
    t.status = *status;
  }
  if (tols)
    for (int e = 0; e < NSLP_TOLSET_SIZE; ++e) {
      if (!std::isfinite(tols[e]))
        return s->fail("NSLPchgtolset: entry %d is not a finite number", e);
      t.tol[e] = tols[e];
    }
  for (int e = 0; e < NSLP_TOLSET_SIZE; ++e)
    if ((t.status >> e & 1) && !(t.tol[e] > 0))
      return s->fail("NSLPchgtolset: entry %d is active but its tolerance %g is not > 0", e,
                     t.tol[e]);
  *held = t;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgettolset(NSLPprob slp, int tolset, int *status, double tols[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const SlpTolset *t = findTolset(s, __func__, tolset);
  if (!t) return 1;
  if (status) *status = t->status;
  if (tols) std::copy(t->tol.begin(), t->tol.end(), tols);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPdeltolsets(NSLPprob slp, int n, const int tolset[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (n < 0) return s->fail("NSLPdeltolsets: negative count %d", n);
  if (n > 0 && !tolset) return s->fail("NSLPdeltolsets: null set array");
  const int have = static_cast<int>(s->data.tolsets.size());
  std::set<int> gone;
  for (int k = 0; k < n; ++k) {
    if (tolset[k] < 1 || tolset[k] > have)
      return s->fail("NSLPdeltolsets: tolset[%d] = %d does not exist (sets are 1 to %d)", k,
                     tolset[k], have);
    gone.insert(tolset[k]);
  }
  // New number of each old set, 0 for the deleted ones.
  std::vector<int> renumber(have + 1, 0);
  std::vector<SlpTolset> kept;
  for (int t = 1; t <= have; ++t) {
    if (gone.count(t)) continue;
    kept.push_back(s->data.tolsets[t - 1]);
    renumber[t] = static_cast<int>(kept.size());
  }
  std::vector<SlpColumn> cols = s->data.columns;
  for (SlpColumn &c : cols)
    if (c.tolset > 0 && c.tolset <= have) c.tolset = renumber[c.tolset];
  s->data.tolsets.swap(kept);
  s->data.columns.swap(cols);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPchgdeltatype(NSLPprob slp, int n, const int varind[], const int deltatypes[],
                              const double values[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (n < 0) return s->fail("NSLPchgdeltatype: negative count %d", n);
  if (n > 0 && (!varind || !deltatypes))
    return s->fail("NSLPchgdeltatype: null column or type array");
  const int ncols = s->prob->model.cols();
  for (int k = 0; k < n; ++k) {
    if (varind[k] < 0 || varind[k] >= ncols)
      return s->fail("NSLPchgdeltatype: varind[%d] = %d is out of range (the problem has %d "
                     "columns)", k, varind[k], ncols);
    const int t = deltatypes[k];
    if (t < NSLP_DELTA_ADAPTIVE || t > NSLP_DELTA_FROZEN)
      return s->fail("NSLPchgdeltatype: deltatypes[%d] = %d is not a step type", k, t);
    if (t == NSLP_DELTA_FIXED || t == NSLP_DELTA_RELATIVE) {
      if (!values)
        return s->fail("NSLPchgdeltatype: deltatypes[%d] = %d needs a value, and values is "
                       "null", k, t);
      if (!std::isfinite(values[k]) || !(values[k] > 0))
        return s->fail("NSLPchgdeltatype: values[%d] = %g must be a finite number > 0", k,
                       values[k]);
    }
  }
  std::vector<SlpColumn> cols = s->data.columns;
  for (int k = 0; k < n; ++k) {
    if (static_cast<int>(cols.size()) <= varind[k]) cols.resize(varind[k] + 1);
    SlpColumn &c = cols[varind[k]];
    c.delta_type = deltatypes[k];
    c.delta_value = values && (c.delta_type == NSLP_DELTA_FIXED ||
                               c.delta_type == NSLP_DELTA_RELATIVE)
                        ? values[k]
                        : 0.0;
  }
  s->data.columns.swap(cols);
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

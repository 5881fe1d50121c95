// Deleting rows and columns: one compaction pass over every structure that refers to them.
#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/renumber.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

namespace {

// Matrix without the deleted rows (rowmap) or with its columns renumbered (colmap; entries
// in deleted columns dropped). Either map may be null.
void compactMatrix(nvrl::RowMatrix &A, const std::vector<int> *rowmap,
                   const std::vector<int> *colmap) {
  int64_t w = 0;
  int out_row = 0;
  const int nrows = A.rows();
  for (int r = 0; r < nrows; ++r) {
    const int64_t b = A.start[r], e = A.start[r + 1];
    if (rowmap && (*rowmap)[r] < 0) continue;
    A.start[out_row] = w;
    for (int64_t k = b; k < e; ++k) {
      int j = A.col[k];
      if (colmap) {
        j = (*colmap)[j];
        if (j < 0) continue;
      }
      A.col[w] = j;
      A.val[w] = A.val[k];
      ++w;
    }
    ++out_row;
  }
  A.start[out_row] = w;
  A.start.resize(out_row + 1);
  A.col.resize(w);
  A.val.resize(w);
}

// Fails when a deleted column is still used by an indicator, general or piecewise-linear
// constraint: those cannot lose a column silently.
bool checkColumnUses(Check &c, const nvrl::Model &m, const std::vector<int> &map) {
  for (int r = 0; r < m.rows(); ++r)
    if (m.indcomp[r] != 0 && map[m.indcol[r]] < 0) {
      c.fail("column %d is the indicator column of row %d; delete the indicator first",
             m.indcol[r], r);
      return false;
    }
  for (size_t k = 0; k < m.gencons.size(); ++k) {
    const auto &g = m.gencons[k];
    int used = map[g.resultant] < 0 ? g.resultant : -1;
    for (int j : g.cols)
      if (used < 0 && map[j] < 0) used = j;
    if (used >= 0) {
      c.fail("column %d is used by general constraint %zu; delete the constraint first", used, k);
      return false;
    }
  }
  for (size_t k = 0; k < m.pwlcons.size(); ++k) {
    const auto &g = m.pwlcons[k];
    const int used = map[g.col] < 0 ? g.col : map[g.resultant] < 0 ? g.resultant : -1;
    if (used >= 0) {
      c.fail("column %d is used by piecewise-linear constraint %zu; delete the constraint first",
             used, k);
      return false;
    }
  }
  return true;
}

// Asks the layers above the store to prepare for a deletion; on a refusal the ones already
// prepared drop what they prepared and the refusal is recorded.
bool prepareDependents(Check &c, nvrl_problem_s *p, const std::vector<int> *rowmap,
                       const std::vector<int> *colmap) {
  std::string why;
  for (size_t k = 0; k < p->dependents.size(); ++k) {
    bool ok = false;
    try {
      ok = p->dependents[k]->prepareDeletion(rowmap, colmap, why);
    } catch (...) {
      for (size_t i = 0; i < k; ++i) p->dependents[i]->abandonDeletion();
      throw;
    }
    if (!ok) {
      for (size_t i = 0; i < k; ++i) p->dependents[i]->abandonDeletion();
      c.fail("%s", why.c_str());
      return false;
    }
  }
  return true;
}

void commitDependents(nvrl_problem_s *p) noexcept {
  for (nvrl::StoreDependent *d : p->dependents) d->commitDeletion();
}

}  // namespace

extern "C" {

NVRL_API int NVRLdelrows(NVRLprob prob, int nrows, const int rowind[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLdelrows");
  nvrl::Model &m = p->model;
  if (!c.deletion(rowind, nrows, "nrows", "rowind", m.rows(), "row")) return c.code();
  if (nrows == 0) return 0;
  // Rows built first (they may need memory): nothing must fail once the changes begin.
  nvrl::RowMatrix &A = m.A.rowsToChange();
  const std::vector<int> map = nvrl::renumbering(m.rows(), rowind, nrows);
  if (!prepareDependents(c, p, &map, nullptr)) return c.code();
  // Nothing below allocates: quadratic rows move as nodes under their new numbers, and the
  // compactions only shrink.
  std::map<int, nvrl::QMatrix> qrows;
  for (auto it = m.qrows.begin(); it != m.qrows.end();) {
    auto node = m.qrows.extract(it++);
    if (map[node.key()] < 0) continue;
    node.key() = map[node.key()];
    qrows.insert(qrows.end(), std::move(node));
  }
  m.qrows = std::move(qrows);
  compactMatrix(A, &map, nullptr);
  nvrl::compactByMap(m.rowtype, map);
  nvrl::compactByMap(m.rhs, map);
  nvrl::compactByMap(m.range, map);
  nvrl::compactByMap(m.indcol, map);  // an indicator goes with its row
  nvrl::compactByMap(m.indcomp, map);
  nvrl::compactByMap(m.rownames, map);
  commitDependents(p);
  nvrl::commitChange(p, false);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLdelcols(NVRLprob prob, int ncols, const int colind[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLdelcols");
  nvrl::Model &m = p->model;
  if (!c.deletion(colind, ncols, "ncols", "colind", m.cols(), "column")) return c.code();
  if (ncols == 0) return 0;
  // Rows built first (they may need memory): nothing must fail once the changes begin.
  nvrl::RowMatrix &A = m.A.rowsToChange();
  const std::vector<int> map = nvrl::renumbering(m.cols(), colind, ncols);
  if (!checkColumnUses(c, m, map)) return c.code();
  if (!prepareDependents(c, p, nullptr, &map)) return c.code();
  // The renumbered quadratic parts are built before anything changes: from here on nothing
  // allocates.
  nvrl::QMatrix qobj;
  std::map<int, nvrl::QMatrix> qrows;
  try {
    qobj = nvrl::renumberQ(m.qobj, map);
    for (const auto &[r, q] : m.qrows) {
      nvrl::QMatrix renumbered = nvrl::renumberQ(q, map);
      if (!renumbered.empty()) qrows.emplace_hint(qrows.end(), r, std::move(renumbered));
    }
  } catch (...) {
    for (nvrl::StoreDependent *d : p->dependents) d->abandonDeletion();
    throw;
  }

  compactMatrix(A, nullptr, &map);
  nvrl::compactByMap(m.obj, map);
  nvrl::compactByMap(m.lb, map);
  nvrl::compactByMap(m.ub, map);
  nvrl::compactByMap(m.coltype, map);
  nvrl::compactByMap(m.limit, map);
  nvrl::compactByMap(m.colnames, map);
  // Directives of deleted columns go; the others follow their columns (order is kept).
  {
    size_t w = 0;
    for (const nvrl::BranchDirective &d : m.directives)
      if (map[d.col] >= 0) {
        m.directives[w] = d;
        m.directives[w++].col = map[d.col];
      }
    m.directives.resize(w);
  }
  m.qobj = std::move(qobj);
  m.qrows = std::move(qrows);
  // Sets lose deleted members but stay, so set indices do not move.
  for (auto &s : m.sets) {
    size_t w = 0;
    for (size_t k = 0; k < s.cols.size(); ++k) {
      if (map[s.cols[k]] < 0) continue;
      s.cols[w] = map[s.cols[k]];
      s.refs[w] = s.refs[k];
      ++w;
    }
    s.cols.resize(w);
    s.refs.resize(w);
  }
  for (int r = 0; r < m.rows(); ++r)
    if (m.indcomp[r] != 0) m.indcol[r] = map[m.indcol[r]];
  for (auto &g : m.gencons) {
    g.resultant = map[g.resultant];
    for (int &j : g.cols) j = map[j];
  }
  for (auto &g : m.pwlcons) {
    g.col = map[g.col];
    g.resultant = map[g.resultant];
  }
  commitDependents(p);
  nvrl::commitChange(p, false);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

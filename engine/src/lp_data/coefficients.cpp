// Changing single matrix coefficients. Values are set (not added); a zero removes the entry.
#include <algorithm>
#include <vector>

#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

namespace {

struct Change {
  int row, col;
  double val;
  int64_t pos = -1;  // position of the existing entry, or -1
};

// Applies validated changes. When no entry appears or vanishes the values are updated in
// place; otherwise the matrix is rebuilt in one pass, O(nnz + n log n) in all. Nothing is
// modified before the memory for the rebuild is secured.
void applyChanges(nvrl::RowMatrix &A, std::vector<Change> &ch) {
  // Sort by position; among repeats of one position the last given wins.
  std::stable_sort(ch.begin(), ch.end(), [](const Change &a, const Change &b) {
    return a.row != b.row ? a.row < b.row : a.col < b.col;
  });
  size_t w = 0;
  for (size_t k = 0; k < ch.size(); ++k) {
    if (k + 1 < ch.size() && ch[k + 1].row == ch[k].row && ch[k + 1].col == ch[k].col) continue;
    ch[w++] = ch[k];
  }
  ch.resize(w);

  int64_t added = 0, removed = 0;
  for (size_t a = 0; a < ch.size();) {
    size_t b = a;
    while (b < ch.size() && ch[b].row == ch[a].row) ++b;
    const int r = ch[a].row;
    for (int64_t k = A.start[r]; k < A.start[r + 1]; ++k) {
      auto it = std::lower_bound(ch.begin() + a, ch.begin() + b, A.col[k],
                                 [](const Change &x, int col) { return x.col < col; });
      if (it != ch.begin() + b && it->col == A.col[k]) it->pos = k;
    }
    for (size_t k = a; k < b; ++k) {
      if (ch[k].pos < 0 && ch[k].val != 0.0) ++added;
      if (ch[k].pos >= 0 && ch[k].val == 0.0) ++removed;
    }
    a = b;
  }
  if (added == 0 && removed == 0) {
    for (const Change &x : ch)
      if (x.pos >= 0) A.val[x.pos] = x.val;
    return;
  }

  std::vector<int> col(A.nnz() + added - removed);
  std::vector<double> val(col.size());
  std::vector<int64_t> start(A.start.size());
  std::vector<const Change *> edits;  // changes of existing entries, by position
  edits.reserve(ch.size());
  for (const Change &x : ch)
    if (x.pos >= 0) edits.push_back(&x);
  std::sort(edits.begin(), edits.end(),
            [](const Change *a, const Change *b) { return a->pos < b->pos; });
  size_t next_edit = 0, next_new = 0;
  int64_t out = 0;
  for (int r = 0; r < A.rows(); ++r) {
    start[r] = out;
    for (int64_t k = A.start[r]; k < A.start[r + 1]; ++k) {
      double v = A.val[k];
      if (next_edit < edits.size() && edits[next_edit]->pos == k) v = edits[next_edit++]->val;
      if (v == 0.0) continue;
      col[out] = A.col[k];
      val[out] = v;
      ++out;
    }
    for (; next_new < ch.size() && ch[next_new].row == r; ++next_new) {
      const Change &x = ch[next_new];
      if (x.pos >= 0 || x.val == 0.0) continue;
      col[out] = x.col;
      val[out] = x.val;
      ++out;
    }
  }
  start[A.rows()] = out;
  A.start = std::move(start);
  A.col = std::move(col);
  A.val = std::move(val);
}

// Argument names for messages: the scalar call reports "row", the array calls "rowind[k]".
struct ArgNames {
  const char *row, *col, *val;
  bool scalar;
};
constexpr ArgNames kArrayArgs{"rowind", "colind", "rowcoef", false};

int changeCoefs(NVRLprob prob, const char *fn, int64_t n, const int rowind[], const int colind[],
                const double rowcoef[], const ArgNames &a = kArrayArgs) {
  nvrl_problem_s *p = nvrl::checkProblem(prob, fn);
  if (!p) return 1;
  Check c(p, fn);
  if (!c.count(n, "ncoefs") || !c.array(rowind, n, "rowind") || !c.array(colind, n, "colind") ||
      !c.array(rowcoef, n, "rowcoef"))
    return c.code();
  for (int64_t k = 0; k < n; ++k) {
    const int64_t at = a.scalar ? -1 : k;
    if (!c.row(rowind[k], a.row, at) || !c.col(colind[k], a.col, at) ||
        !c.coefficient(rowcoef[k], a.val, at))
      return c.code();
  }
  if (n == 0) return 0;
  std::vector<Change> ch(n);
  for (int64_t k = 0; k < n; ++k) ch[k] = Change{rowind[k], colind[k], rowcoef[k], -1};
  applyChanges(p->model.A.rowsToChange(), ch);
  nvrl::commitChange(p, true);
  return 0;
}

}  // namespace

extern "C" {

NVRL_API int NVRLchgcoef(NVRLprob prob, int row, int col, double coef) NVRL_TRY {
  return changeCoefs(prob, "NVRLchgcoef", 1, &row, &col, &coef, {"row", "col", "coef", true});
} NVRL_CATCH(prob)

NVRL_API int NVRLchgmcoef(NVRLprob prob, int ncoefs, const int rowind[], const int colind[],
                          const double rowcoef[]) NVRL_TRY {
  return changeCoefs(prob, "NVRLchgmcoef", ncoefs, rowind, colind, rowcoef);
} NVRL_CATCH(prob)

NVRL_API int NVRLchgmcoef64(NVRLprob prob, NVRLint64 ncoefs, const int rowind[],
                            const int colind[], const double rowcoef[]) NVRL_TRY {
  return changeCoefs(prob, "NVRLchgmcoef64", ncoefs, rowind, colind, rowcoef);
} NVRL_CATCH(prob)

}  // extern "C"

// Quadratic objective and quadratic parts of rows (upper triangles, see nvrl.h for values).
#include <algorithm>
#include <vector>

#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/model_rules.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

namespace {

// Adds (add) or sets entries of a row's quadratic part; a row left without entries has none.
// Everything that allocates comes before the first change.
int changeRowQ(nvrl_problem_s *p, int row, int64_t n, const int c1[], const int c2[],
               const double v[], bool add) {
  nvrl::Model &m = p->model;
  static const nvrl::QMatrix kEmpty;
  auto it = m.qrows.find(row);
  nvrl::QEntries entries(it == m.qrows.end() ? kEmpty : it->second, n, c1, c2, v, add);
  if (it == m.qrows.end()) it = m.qrows.try_emplace(row).first;
  entries.applyTo(it->second);
  if (it->second.empty()) m.qrows.erase(it);
  nvrl::commitChange(p, true);
  return 0;
}

int changeObjective(NVRLprob prob, const char *fn, int64_t n, const int c1[], const int c2[],
                    const double v[], bool scalar) {
  nvrl_problem_s *p = nvrl::checkProblem(prob, fn);
  if (!p) return 1;
  Check c(p, fn);
  if (!c.count(n, "ncoefs") || !c.array(c1, n, "objqcol1") || !c.array(c2, n, "objqcol2") ||
      !c.array(v, n, "objqcoef"))
    return c.code();
  for (int64_t k = 0; k < n; ++k) {
    const int64_t at = scalar ? -1 : k;
    if (!c.col(c1[k], "objqcol1", at) || !c.col(c2[k], "objqcol2", at) ||
        !c.coefficient(v[k], "objqcoef", at))
      return c.code();
  }
  if (n == 0) return 0;
  nvrl::QEntries entries(p->model.qobj, n, c1, c2, v, false);
  entries.applyTo(p->model.qobj);
  nvrl::commitChange(p, true);
  return 0;
}

// Column-wise upper triangle of q for columns first..last: column j lists the entries (i, j)
// with i <= j, i ascending. Starts are capped at the room given when entries are written.
template <class Start>
int columnWise(Check &c, const nvrl::QMatrix &q, int ncols, Start start[], int colind[],
               double val[], int64_t maxcoefs, int64_t *total, int first, int last) {
  if (!c.range(first, last, ncols, "columns")) return c.code();
  const bool write = colind || val;
  if (write && !c.count(maxcoefs, "maxcoefs")) return c.code();
  const int n = last - first + 1;
  std::vector<int64_t> pos(static_cast<size_t>(n) + 1, 0);
  for (const auto &[key, v] : q)
    if (key.second >= first && key.second <= last) ++pos[key.second - first + 1];
  for (int k = 0; k < n; ++k) pos[k + 1] += pos[k];
  const int64_t count = pos[n];
  if (sizeof(Start) < sizeof(int64_t) && count > INT32_MAX)
    return c.fail("%lld coefficients do not fit the 32-bit start array; use the 64-bit call",
                  static_cast<long long>(count));
  const int64_t room = write ? std::min(maxcoefs, count) : count;
  if (start)
    for (int k = 0; k <= n; ++k) start[k] = static_cast<Start>(std::min(pos[k], room));
  if (write) {
    for (const auto &[key, v] : q) {
      if (key.second < first || key.second > last) continue;
      const int64_t at = pos[key.second - first]++;
      if (at >= room) continue;
      if (colind) colind[at] = key.first;
      if (val) val[at] = v;
    }
  }
  if (total) *total = count;
  return 0;
}

const nvrl::QMatrix &rowQ(const nvrl::Model &m, int row) {
  static const nvrl::QMatrix empty;
  auto it = m.qrows.find(row);
  return it == m.qrows.end() ? empty : it->second;
}

}  // namespace

extern "C" {

NVRL_API int NVRLchgqobj(NVRLprob prob, int objqcol1, int objqcol2, double objqcoef) NVRL_TRY {
  return changeObjective(prob, "NVRLchgqobj", 1, &objqcol1, &objqcol2, &objqcoef, true);
} NVRL_CATCH(prob)

NVRL_API int NVRLchgmqobj(NVRLprob prob, int ncoefs, const int objqcol1[], const int objqcol2[],
                          const double objqcoef[]) NVRL_TRY {
  return changeObjective(prob, "NVRLchgmqobj", ncoefs, objqcol1, objqcol2, objqcoef, false);
} NVRL_CATCH(prob)

NVRL_API int NVRLchgmqobj64(NVRLprob prob, NVRLint64 ncoefs, const int objqcol1[],
                            const int objqcol2[], const double objqcoef[]) NVRL_TRY {
  return changeObjective(prob, "NVRLchgmqobj64", ncoefs, objqcol1, objqcol2, objqcoef, false);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetmqobj(NVRLprob prob, int start[], int colind[], double objqcoef[],
                          int maxcoefs, int *ncoefs, int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetmqobj");
  int64_t total = 0;
  const int rc = columnWise(c, p->model.qobj, p->model.cols(), start, colind, objqcoef,
                            maxcoefs, &total, first, last);
  if (rc == 0 && ncoefs) *ncoefs = static_cast<int>(total);
  return rc;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetmqobj64(NVRLprob prob, NVRLint64 start[], int colind[], double objqcoef[],
                            NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetmqobj64");
  return columnWise(c, p->model.qobj, p->model.cols(), start, colind, objqcoef, maxcoefs,
                    ncoefs, first, last);
} NVRL_CATCH(prob)

NVRL_API int NVRLaddqmatrix64(NVRLprob prob, int row, NVRLint64 ncoefs, const int rowqcol1[],
                              const int rowqcol2[], const double rowqcoef[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLaddqmatrix64");
  nvrl::Model &m = p->model;
  if (!c.row(row, "row") ||
      !nvrl::checkTriplets(c, ncoefs, rowqcol1, rowqcol2, rowqcoef, "rowqcol1", "rowqcol2",
                           "rowqcoef", m.cols()))
    return c.code();
  if (ncoefs == 0) return 0;
  return changeRowQ(p, row, ncoefs, rowqcol1, rowqcol2, rowqcoef, true);
} NVRL_CATCH(prob)

NVRL_API int NVRLchgqrowcoeff(NVRLprob prob, int row, int rowqcol1, int rowqcol2,
                              double rowqcoef) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLchgqrowcoeff");
  if (!c.row(row, "row") || !c.col(rowqcol1, "rowqcol1") || !c.col(rowqcol2, "rowqcol2") ||
      !c.coefficient(rowqcoef, "rowqcoef"))
    return c.code();
  return changeRowQ(p, row, 1, &rowqcol1, &rowqcol2, &rowqcoef, false);
} NVRL_CATCH(prob)

NVRL_API int NVRLdelqmatrix(NVRLprob prob, int row) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLdelqmatrix");
  if (!c.row(row, "row")) return c.code();
  if (p->model.qrows.erase(row)) nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetqrowqmatrix(NVRLprob prob, int row, int start[], int colind[],
                                double rowqcoef[], int maxcoefs, int *ncoefs, int first,
                                int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetqrowqmatrix");
  if (!c.row(row, "row")) return c.code();
  int64_t total = 0;
  const int rc = columnWise(c, rowQ(p->model, row), p->model.cols(), start, colind, rowqcoef,
                            maxcoefs, &total, first, last);
  if (rc == 0 && ncoefs) *ncoefs = static_cast<int>(total);
  return rc;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetqrowqmatrixtriplets(NVRLprob prob, int row, int *ncoefs, int rowqcol1[],
                                        int rowqcol2[], double rowqcoef[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetqrowqmatrixtriplets");
  if (!c.row(row, "row") || !c.given(ncoefs, "ncoefs")) return c.code();
  const nvrl::QMatrix &q = rowQ(p->model, row);
  *ncoefs = static_cast<int>(q.size());
  int k = 0;
  for (const auto &[key, v] : q) {
    if (rowqcol1) rowqcol1[k] = key.first;
    if (rowqcol2) rowqcol2[k] = key.second;
    if (rowqcoef) rowqcoef[k] = v;
    ++k;
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetqrowcoeff(NVRLprob prob, int row, int rowqcol1, int rowqcol2,
                              double *rowqcoef) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetqrowcoeff");
  if (!c.row(row, "row") || !c.col(rowqcol1, "rowqcol1") || !c.col(rowqcol2, "rowqcol2") ||
      !c.given(rowqcoef, "rowqcoef"))
    return c.code();
  const nvrl::QMatrix &q = rowQ(p->model, row);
  auto key = std::minmax(rowqcol1, rowqcol2);
  auto it = q.find({key.first, key.second});
  *rowqcoef = it == q.end() ? 0.0 : it->second;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetqrows(NVRLprob prob, int *nrows, int qrowind[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetqrows");
  if (!c.given(nrows, "nrows")) return c.code();
  *nrows = static_cast<int>(p->model.qrows.size());
  if (qrowind) {
    int k = 0;
    for (const auto &entry : p->model.qrows) qrowind[k++] = entry.first;
  }
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

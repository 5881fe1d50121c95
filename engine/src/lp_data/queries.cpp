// Queries of columns, rows and the matrix over index ranges first..last.
#include <algorithm>
#include <vector>

#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/column_view.h"

using nvrl::Check;

namespace {

// Copies v[first..last] to out after checking the range against v's items.
template <class T>
int copyRange(NVRLprob prob, const char *fn, const std::vector<T> nvrl::Model::*member,
              const char *what, T out[], int first, int last, const char *outarg) {
  nvrl_problem_s *p = nvrl::checkProblem(prob, fn);
  if (!p) return 1;
  Check c(p, fn);
  const std::vector<T> &v = p->model.*member;
  if (!c.range(first, last, static_cast<int>(v.size()), what) || !c.given(out, outarg))
    return c.code();
  std::copy(v.begin() + first, v.begin() + last + 1, out);
  return 0;
}

// Writes segments first..last of a compressed matrix (start/idx/val) in the same layout,
// with starts capped at the room given when entries are written.
int sparseRange(Check &c, const std::vector<int64_t> &s, const std::vector<int> &idx,
                const std::vector<double> &val, NVRLint64 start[], int outidx[],
                double outval[], NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last) {
  const bool write = outidx || outval;
  if (write && !c.count(maxcoefs, "maxcoefs")) return c.code();
  const int64_t base = s[first];
  const int64_t total = s[last + 1] - base;
  const int64_t room = write ? std::min<int64_t>(maxcoefs, total) : total;
  if (start)
    for (int k = first; k <= last + 1; ++k) start[k - first] = std::min(s[k] - base, room);
  if (outidx) std::copy(idx.begin() + base, idx.begin() + base + room, outidx);
  if (outval) std::copy(val.begin() + base, val.begin() + base + room, outval);
  if (ncoefs) *ncoefs = total;
  return 0;
}

}  // namespace

extern "C" {

NVRL_API int NVRLgetlb(NVRLprob prob, double lb[], int first, int last) NVRL_TRY {
  return copyRange(prob, "NVRLgetlb", &nvrl::Model::lb, "columns", lb, first, last, "lb");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetub(NVRLprob prob, double ub[], int first, int last) NVRL_TRY {
  return copyRange(prob, "NVRLgetub", &nvrl::Model::ub, "columns", ub, first, last, "ub");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetobj(NVRLprob prob, double obj[], int first, int last) NVRL_TRY {
  return copyRange(prob, "NVRLgetobj", &nvrl::Model::obj, "columns", obj, first, last, "obj");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetrhs(NVRLprob prob, double rhs[], int first, int last) NVRL_TRY {
  return copyRange(prob, "NVRLgetrhs", &nvrl::Model::rhs, "rows", rhs, first, last, "rhs");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetrhsrange(NVRLprob prob, double rng[], int first, int last) NVRL_TRY {
  return copyRange(prob, "NVRLgetrhsrange", &nvrl::Model::range, "rows", rng, first, last, "rng");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetrowtype(NVRLprob prob, char rowtype[], int first, int last) NVRL_TRY {
  return copyRange(prob, "NVRLgetrowtype", &nvrl::Model::rowtype, "rows", rowtype, first, last,
                   "rowtype");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetcoltype(NVRLprob prob, char coltype[], int first, int last) NVRL_TRY {
  return copyRange(prob, "NVRLgetcoltype", &nvrl::Model::coltype, "columns", coltype, first,
                   last, "coltype");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetglblimit(NVRLprob prob, double limit[], int first, int last) NVRL_TRY {
  return copyRange(prob, "NVRLgetglblimit", &nvrl::Model::limit, "columns", limit, first, last,
                   "limit");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetrows64(NVRLprob prob, NVRLint64 start[], int colind[], double rowcoef[],
                           NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetrows64");
  const nvrl::RowMatrix &A = p->model.A.rows();
  if (!c.range(first, last, A.rows(), "rows")) return c.code();
  return sparseRange(c, A.start, A.col, A.val, start, colind, rowcoef, maxcoefs, ncoefs, first,
                     last);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetcols64(NVRLprob prob, NVRLint64 start[], int rowind[], double colcoef[],
                           NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetcols64");
  if (!c.range(first, last, p->model.cols(), "columns")) return c.code();
  const nvrl::ColMatrix &v = nvrl::columnView(p);
  return sparseRange(c, v.start, v.row, v.val, start, rowind, colcoef, maxcoefs, ncoefs, first,
                     last);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetcoef(NVRLprob prob, int row, int col, double *coef) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetcoef");
  if (!c.row(row, "row") || !c.col(col, "col") || !c.given(coef, "coef")) return c.code();
  const nvrl::RowMatrix &A = p->model.A.rows();
  *coef = 0.0;
  for (int64_t k = A.start[row]; k < A.start[row + 1]; ++k)
    if (A.col[k] == col) {
      *coef = A.val[k];
      break;
    }
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

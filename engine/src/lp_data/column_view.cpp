// Column-wise view of the row-wise matrix.
#include "lp_data/column_view.h"

namespace nvrl {

ColMatrix buildColumnView(const Model &m) {
  const RowMatrix &A = m.A.rows();
  ColMatrix v;
  const int ncols = m.cols();
  v.start.assign(static_cast<size_t>(ncols) + 1, 0);
  for (int64_t k = 0; k < A.nnz(); ++k) ++v.start[A.col[k] + 1];
  for (int j = 0; j < ncols; ++j) v.start[j + 1] += v.start[j];
  v.row.resize(A.nnz());
  v.val.resize(A.nnz());
  std::vector<int64_t> next(v.start.begin(), v.start.end() - 1);
  // Rows are visited in order, so each column receives its rows ascending.
  for (int r = 0; r < A.rows(); ++r) {
    for (int64_t k = A.start[r]; k < A.start[r + 1]; ++k) {
      int64_t pos = next[A.col[k]]++;
      v.row[pos] = r;
      v.val[pos] = A.val[k];
    }
  }
  return v;
}

const ColMatrix &columnView(nvrl_problem_s *p) {
  if (const ColMatrix *held = p->model.A.heldColumns()) return *held;
  StoreCache &c = p->store_cache;
  if (c.colview_version != p->version) {
    // Built aside and moved in: a failed allocation leaves the old (stale) view in place.
    c.colview = buildColumnView(p->model);
    c.colview_version = p->version;
  }
  return c.colview;
}

}  // namespace nvrl

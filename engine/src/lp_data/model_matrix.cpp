// The model's matrix in its row-wise and column-wise forms (core/problem.h).
#include <algorithm>
#include <utility>
#include <vector>

#include "core/problem.h"
#include "lp_data/sparse_input.h"

namespace nvrl {

namespace {

// Frees a form's entries without allocating (a fresh matrix would allocate its start).
template <class Matrix, class Index>
void release(Matrix &m, std::vector<Index> Matrix::*index) noexcept {
  std::vector<Index>().swap(m.*index);
  std::vector<double>().swap(m.val);
  // start[0] is 0; a moved-from (empty) start is assigned before it is read again.
  if (m.start.size() <= 1) return;
  m.start.erase(m.start.begin() + 1, m.start.end());
  m.start.shrink_to_fit();  // non-binding: keeps the array when memory is short
}

}  // namespace

void ModelMatrix::buildRows() const {
  // Built aside: a failed allocation leaves the matrix column-wise only.
  RowMatrix built = rowsFromColumns(cols_, nrows_);
  rows_ = std::move(built);
  has_rows_ = true;
}

const ColMatrix *ModelMatrix::heldColumns() const {
  if (!has_cols_) return nullptr;
  if (!cols_ascending_) {
    std::vector<std::pair<int, double>> col;
    for (int j = 0; j < cols_.cols(); ++j) {
      const int64_t b = cols_.start[j], e = cols_.start[j + 1];
      if (std::is_sorted(cols_.row.begin() + b, cols_.row.begin() + e)) continue;
      col.clear();
      for (int64_t k = b; k < e; ++k) col.emplace_back(cols_.row[k], cols_.val[k]);
      // Rows are distinct within a column: sorting by row alone gives one order.
      std::sort(col.begin(), col.end(),
                [](const auto &x, const auto &y) { return x.first < y.first; });
      for (int64_t k = b; k < e; ++k) {
        cols_.row[k] = col[k - b].first;
        cols_.val[k] = col[k - b].second;
      }
    }
    cols_ascending_ = true;
  }
  return &cols_;
}

RowMatrix &ModelMatrix::rowsToChange() {
  rows();
  if (has_cols_) {
    release(cols_, &ColMatrix::row);
    has_cols_ = false;
  }
  return rows_;
}

void ModelMatrix::assignRows(RowMatrix &&a) noexcept {
  rows_ = std::move(a);
  has_rows_ = true;
  release(cols_, &ColMatrix::row);
  has_cols_ = false;
  cols_ascending_ = true;
}

void ModelMatrix::assignColumns(ColMatrix &&a, int nrows, bool rows_ascending) noexcept {
  cols_ = std::move(a);
  has_cols_ = true;
  cols_ascending_ = rows_ascending;
  nrows_ = nrows;
  release(rows_, &RowMatrix::col);
  has_rows_ = false;
}

}  // namespace nvrl

#include "io/model_assembly.h"

namespace nvrl::io {

int ModelAssembly::addRow(std::string_view name, char type) {
  int index = model.rows();
  model.rowtype.push_back(type);
  model.rhs.push_back(0.0);
  model.range.push_back(0.0);
  model.indcol.push_back(-1);
  model.indcomp.push_back(0);
  model.rownames.emplace_back(name);
  if (!name.empty()) rows_.insert(model.rownames, index);
  return index;
}

int ModelAssembly::addColumn(std::string_view name) {
  int index = model.cols();
  model.obj.push_back(0.0);
  model.lb.push_back(0.0);
  model.ub.push_back(kInf);
  model.coltype.push_back('C');
  model.limit.push_back(0.0);
  model.colnames.emplace_back(name);
  if (!name.empty() && !cols_.insert(model.colnames, index)) col_names_repeat_ = true;
  return index;
}

int ModelAssembly::rowIndex(std::string_view name) const {
  return rows_.find(model.rownames, name);
}

int ModelAssembly::colIndex(std::string_view name) const {
  const size_t next = static_cast<size_t>(last_col_ + 1);
  if (!col_names_repeat_ && !name.empty() && next < model.colnames.size() &&
      model.colnames[next] == name)
    return ++last_col_;
  const int found = cols_.find(model.colnames, name);
  if (found >= 0) last_col_ = found;
  return found;
}

bool ModelAssembly::addEntry(int row, int col, double value) {
  if (!seen_.insert(key(row, col))) return false;
  if (value != 0.0) entries_.push_back({row, col, value});
  return true;
}

void ModelAssembly::buildMatrix() {
  // Counting sort by row keeps each row's entries in the order they were read.
  RowMatrix &A = model.A.rowsToChange();
  const int nrows = model.rows();
  A.start.assign(static_cast<size_t>(nrows) + 1, 0);
  for (const Entry &e : entries_) ++A.start[static_cast<size_t>(e.row) + 1];
  for (int i = 0; i < nrows; ++i) A.start[i + 1] += A.start[i];
  A.col.resize(entries_.size());
  A.val.resize(entries_.size());
  std::vector<int64_t> next(A.start.begin(), A.start.end() - 1);
  for (const Entry &e : entries_) {
    int64_t k = next[e.row]++;
    A.col[k] = e.col;
    A.val[k] = e.value;
  }
  entries_.clear();
  entries_.shrink_to_fit();
  seen_.clear();
}

std::string defaultName(char prefix, int index) {
  std::string name(1, prefix);
  name += std::to_string(index + 1);
  return name;
}

}  // namespace nvrl::io

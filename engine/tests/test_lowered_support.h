// Lowered models filled directly for the tree's unit tests (the library's own builders are
// internal to it), and the activity of a cut at a point.
#pragma once

#include <utility>
#include <vector>

#include "solve/lowered_model.h"
#include "tree/cuts.h"

namespace loweredtest {

inline int addCol(nvrl::LoweredModel &L, double lo, double up, int integer) {
  L.cost.push_back(0.0);
  L.col_lo.push_back(lo);
  L.col_up.push_back(up);
  L.integrality.push_back(integer);
  return L.cols() - 1;
}

inline void addRow(nvrl::LoweredModel &L, double lo, double up,
                   const std::vector<std::pair<int, double>> &e) {
  L.row_lo.push_back(lo);
  L.row_up.push_back(up);
  for (auto [j, a] : e) {
    L.a_index.push_back(j);
    L.a_value.push_back(a);
  }
  L.a_start.push_back(static_cast<int>(L.a_index.size()));
}

inline double activity(const nvrl::tree::Cut &c, const std::vector<double> &x) {
  double s = 0.0;
  for (size_t k = 0; k < c.index.size(); ++k) s += c.value[k] * x[c.index[k]];
  return s;
}

}  // namespace loweredtest

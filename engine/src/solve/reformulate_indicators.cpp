// Indicator rows as big-M rows. With switch z (the indicator column, or 1 - it when the row
// holds for value 0) the side "activity <= up" becomes activity <= up + M*(1 - z) where
// M = (largest activity) - up, and likewise for the lower side.
#include <cmath>

#include "solve/reformulate.h"

namespace nvrl {

namespace {

bool isBinary(const LoweredModel &L, int j) {
  return L.integrality[j] != 0 && L.col_lo[j] >= 0.0 && L.col_up[j] <= 1.0;
}

}  // namespace

bool reformulateIndicators(const Model &m, LoweredModel &L, std::string &err) {
  const int nr = std::min<int>(m.rows(), static_cast<int>(m.indcol.size()));
  for (int i = 0; i < nr; ++i) {
    const int z = m.indcol[i];
    const int comp = i < static_cast<int>(m.indcomp.size()) ? m.indcomp[i] : 0;
    if (z < 0 || comp == 0 || m.rowtype[i] == 'N') continue;
    if (z >= m.cols() || !isBinary(L, z)) {
      err = "Indicator row " + std::to_string(i) + ": its indicator column " +
            std::to_string(z) + " is not binary";
      return false;
    }
    double lo, up, amin, amax;
    userRowBounds(m, i, lo, up);
    rowActivityRange(m, L, i, amin, amax);
    std::vector<std::pair<int, double>> row;
    const RowMatrix &A = m.A.rows();
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k) row.push_back({A.col[k], A.val[k]});
    const size_t base = row.size();
    auto unbounded = [&]() {
      err = "Indicator row " + std::to_string(i) +
            ": its activity is unbounded (a column in it has an infinite bound), so no big-M "
            "can be derived";
      return false;
    };
    if (!std::isinf(up) && amax > up) {
      if (std::isinf(amax)) return unbounded();
      const double M = amax - up;
      row.resize(base);
      if (comp > 0) {  // activity + M*z <= up + M
        row.push_back({z, M});
        L.addRow(-INFINITY, up + M, row);
      } else {         // activity - M*z <= up
        row.push_back({z, -M});
        L.addRow(-INFINITY, up, row);
      }
    }
    if (!std::isinf(lo) && amin < lo) {
      if (std::isinf(amin)) return unbounded();
      const double M = lo - amin;
      row.resize(base);
      if (comp > 0) {  // activity - M*z >= lo - M
        row.push_back({z, -M});
        L.addRow(lo - M, INFINITY, row);
      } else {         // activity + M*z >= lo
        row.push_back({z, M});
        L.addRow(lo, INFINITY, row);
      }
    }
  }
  return true;
}

}  // namespace nvrl

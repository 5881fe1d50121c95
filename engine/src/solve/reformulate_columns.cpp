// Semi-continuous, semi-integer and partially integer columns as binaries and bounds.
#include <cmath>

#include "solve/reformulate.h"

namespace nvrl {

namespace {

// x = 0 or lo <= x <= up, with a switch z: lo*z <= x <= up*z.
bool semiColumn(const Model &m, LoweredModel &L, int j, std::string &err) {
  // The threshold is the column's limit; a positive lower bound acts as one too (files give
  // the threshold as the lower bound).
  const double lo = std::max(m.limit[j], L.col_lo[j]);
  const double up = L.col_up[j];
  if (m.coltype[j] == 'R') L.integrality[j] = 1;
  if (lo <= 0.0 && up >= 0.0) {  // 0 already lies in [lo, up]: an ordinary column
    L.col_lo[j] = lo;
    return true;
  }
  if (std::isinf(up) || std::isinf(lo)) {
    err = std::string(m.coltype[j] == 'R' ? "Semi-integer" : "Semi-continuous") + " column " +
          std::to_string(j) + " has an infinite bound; it needs a finite upper bound";
    return false;
  }
  L.col_lo[j] = std::min(0.0, lo);
  L.col_up[j] = std::max(0.0, up);
  const int z = L.addBinary();
  L.addRow(-INFINITY, 0.0, {{j, 1.0}, {z, -up}});
  L.addRow(0.0, INFINITY, {{j, 1.0}, {z, -lo}});
  return true;
}

// Integer below the limit, continuous from the limit up: x = xi + xc with a switch z that
// selects the continuous part (z = 1: xi = 0, limit <= xc <= ub) or the integer part
// (z = 0: xc = 0, lb <= xi <= floor(limit)).
bool partiallyIntegerColumn(const Model &m, LoweredModel &L, int j, std::string &err) {
  const double lim = m.limit[j];
  const double lo = L.col_lo[j], up = L.col_up[j];
  if (lim <= lo) return true;  // no integer part: continuous
  if (lim > up) {              // no continuous part: integer
    L.integrality[j] = 1;
    return true;
  }
  if (std::isinf(lo) || std::isinf(up)) {
    err = "Partially integer column " + std::to_string(j) +
          " has an infinite bound; it needs finite lower and upper bounds";
    return false;
  }
  const double fl = std::floor(lim);
  const int z = L.addBinary();
  const int xi = L.addCol(0.0, std::min(lo, 0.0), std::max(fl, 0.0), 1);
  const int xc = L.addCol(0.0, std::min(lim, 0.0), std::max(up, 0.0), 0);
  L.addRow(0.0, 0.0, {{j, 1.0}, {xi, -1.0}, {xc, -1.0}});
  L.addRow(lo, INFINITY, {{xi, 1.0}, {z, lo}});   // xi >= lo*(1-z)
  L.addRow(-INFINITY, fl, {{xi, 1.0}, {z, fl}});  // xi <= fl*(1-z)
  L.addRow(0.0, INFINITY, {{xc, 1.0}, {z, -lim}});
  L.addRow(-INFINITY, 0.0, {{xc, 1.0}, {z, -up}});
  return true;
}

}  // namespace

bool reformulateColumnTypes(const Model &m, LoweredModel &L, std::string &err) {
  for (int j = 0; j < m.cols(); ++j) {
    const char t = m.coltype[j];
    if ((t == 'S' || t == 'R') && !semiColumn(m, L, j, err)) return false;
    if (t == 'P' && !partiallyIntegerColumn(m, L, j, err)) return false;
  }
  return true;
}

}  // namespace nvrl

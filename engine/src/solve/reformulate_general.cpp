// General constraints (max, min, and, or, abs) as linear rows with binaries.
#include <algorithm>
#include <cmath>

#include "solve/reformulate.h"

namespace nvrl {

namespace {

using Row = std::vector<std::pair<int, double>>;

bool isBinary(const LoweredModel &L, int j) {
  return L.integrality[j] != 0 && L.col_lo[j] >= 0.0 && L.col_up[j] <= 1.0;
}

std::string where(int k) { return "General constraint " + std::to_string(k) + ": "; }

// One operand of max/min: a column, or (col == -1) the constant of the values.
struct Operand {
  int col;
  double lo, up;
};

// r = max(operands) (sign = 1) or min(operands) (sign = -1). r bounds every operand (r >= x
// for max, r <= x for min), and a selector z_k, one of which is on, pins r to its operand:
// r <= x_k + M_k*(1 - z_k) with M_k = (largest upper bound) - lo_k for max, mirrored for min.
bool extremum(LoweredModel &L, int k, int r, const std::vector<Operand> &ops, int sign,
              std::string &err) {
  double far = sign > 0 ? -INFINITY : INFINITY;  // largest upper (max) or smallest lower (min)
  for (const Operand &o : ops) far = sign > 0 ? std::max(far, o.up) : std::min(far, o.lo);
  Row pick;
  for (const Operand &o : ops) {
    const double near = sign > 0 ? o.lo : o.up;
    const double M = sign > 0 ? far - near : near - far;
    if (!std::isfinite(M)) {
      err = where(k) + "an operand has an infinite bound, so no big-M can be derived";
      return false;
    }
    // sign*(r - x) >= 0
    if (o.col >= 0) {
      L.addRow(0.0, INFINITY, {{r, double(sign)}, {o.col, double(-sign)}});
    } else {
      L.addRow(sign * o.lo, INFINITY, {{r, double(sign)}});
    }
    const int z = L.addBinary();
    pick.push_back({z, 1.0});
    // sign*(r - x) + M*z <= M
    if (o.col >= 0) {
      L.addRow(-INFINITY, M, {{r, double(sign)}, {o.col, double(-sign)}, {z, M}});
    } else {
      L.addRow(-INFINITY, M + sign * o.lo, {{r, double(sign)}, {z, M}});
    }
  }
  L.addRow(1.0, 1.0, pick);
  return true;
}

bool logical(LoweredModel &L, int k, int r, const std::vector<int> &cols, bool isAnd,
             std::string &err) {
  if (cols.empty()) {
    err = where(k) + "and/or needs at least one column";
    return false;
  }
  if (!isBinary(L, r)) {
    err = where(k) + "the resultant column " + std::to_string(r) + " must be binary";
    return false;
  }
  Row sum{{r, 1.0}};
  for (int x : cols) {
    if (!isBinary(L, x)) {
      err = where(k) + "column " + std::to_string(x) + " must be binary";
      return false;
    }
    if (isAnd)
      L.addRow(-INFINITY, 0.0, {{r, 1.0}, {x, -1.0}});  // r <= x
    else
      L.addRow(0.0, INFINITY, {{r, 1.0}, {x, -1.0}});   // r >= x
    sum.push_back({x, -1.0});
  }
  const double n = static_cast<double>(cols.size());
  if (isAnd)
    L.addRow(1.0 - n, INFINITY, sum);  // r >= sum(x) - (n - 1)
  else
    L.addRow(-INFINITY, 0.0, sum);     // r <= sum(x)
  return true;
}

// r = |x|: r >= x, r >= -x, and a sign switch z (1 when x >= 0) pins r:
// r <= x + 2*|lo|*(1 - z), r <= -x + 2*up*z.
bool absolute(LoweredModel &L, int k, int r, int x, std::string &err) {
  const double lo = L.col_lo[x], up = L.col_up[x];
  L.addRow(0.0, INFINITY, {{r, 1.0}, {x, -1.0}});
  L.addRow(0.0, INFINITY, {{r, 1.0}, {x, 1.0}});
  if (lo >= 0.0) {
    L.addRow(-INFINITY, 0.0, {{r, 1.0}, {x, -1.0}});
    return true;
  }
  if (up <= 0.0) {
    L.addRow(-INFINITY, 0.0, {{r, 1.0}, {x, 1.0}});
    return true;
  }
  if (std::isinf(lo) || std::isinf(up)) {
    err = where(k) + "the argument of abs has an infinite bound, so no big-M can be derived";
    return false;
  }
  const double M1 = -2.0 * lo, M2 = 2.0 * up;
  const int z = L.addBinary();
  L.addRow(-INFINITY, M1, {{r, 1.0}, {x, -1.0}, {z, M1}});
  L.addRow(-INFINITY, 0.0, {{r, 1.0}, {x, 1.0}, {z, -M2}});
  return true;
}

}  // namespace

bool reformulateGeneralConstraints(const Model &m, LoweredModel &L, std::string &err) {
  for (int k = 0; k < static_cast<int>(m.gencons.size()); ++k) {
    const GeneralConstraint &g = m.gencons[k];
    const int r = g.resultant;
    switch (g.type) {
      case NVRL_GENCONS_MAX:
      case NVRL_GENCONS_MIN: {
        const int sign = g.type == NVRL_GENCONS_MAX ? 1 : -1;
        std::vector<Operand> ops;
        for (int x : g.cols) ops.push_back({x, L.col_lo[x], L.col_up[x]});
        if (!g.vals.empty()) {
          // Only the largest (max) or smallest (min) constant can matter.
          double c = g.vals[0];
          for (double v : g.vals) c = sign > 0 ? std::max(c, v) : std::min(c, v);
          ops.push_back({-1, c, c});
        }
        if (ops.empty()) {
          err = where(k) + "max/min needs at least one column or value";
          return false;
        }
        if (!extremum(L, k, r, ops, sign, err)) return false;
        break;
      }
      case NVRL_GENCONS_AND:
      case NVRL_GENCONS_OR:
        if (!logical(L, k, r, g.cols, g.type == NVRL_GENCONS_AND, err)) return false;
        break;
      case NVRL_GENCONS_ABS:
        if (g.cols.size() != 1) {
          err = where(k) + "abs takes exactly one column";
          return false;
        }
        if (!absolute(L, k, r, g.cols[0], err)) return false;
        break;
      default:
        err = where(k) + "unknown type " + std::to_string(g.type);
        return false;
    }
  }
  return true;
}

}  // namespace nvrl

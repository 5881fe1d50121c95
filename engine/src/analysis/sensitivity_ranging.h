// Ranging from an optimal basis by ratio tests on basis solves. Each function gives the change
// of one datum, as an interval [down, up] around 0 (down <= 0 <= up, infinite ends as -kInf and
// kInf), over which the basis stays optimal: feasible for right-hand sides and bounds, dual
// feasible for costs.
#pragma once

#include <string>

#include "analysis/basis_solves.h"

namespace nvrl {

// The largest steps t <= 0 <= t' for which every basic variable k stays within its bounds at
// value + t * dir[k] (dir indexed by basis position).
void basicRatioTest(const BasisView &bv, const std::vector<double> &dir, double &down, double &up);

// Change of the cost of variable `var` (a column).
bool costRange(const BasisView &bv, int var, double &down, double &up, std::string &err);
// Change of the right-hand side of row i (every finite bound of the row moves with it).
bool rhsRange(const BasisView &bv, int row, double &down, double &up, std::string &err);
// The ranges of the lower and of the upper bound of variable `var` (a column), as bound
// values rather than changes (a bound may sit at +-kInf).
bool boundRanges(const BasisView &bv, int var, double lbRange[2], double ubRange[2],
                 std::string &err);

}  // namespace nvrl

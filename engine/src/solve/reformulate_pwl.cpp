// Piecewise-linear constraints r = f(x) in convex-combination form: weights w_k >= 0 with
// sum 1, x = sum w_k*x_k, r = sum w_k*y_k, and segment binaries (one on) so that only the two
// weights of one segment are non-zero. Segments of zero width (jumps) get no binary, so r
// takes one side's value at a jump, never a point in between. x is limited to the first and
// last breakpoints.
#include <cmath>

#include "solve/reformulate.h"

namespace nvrl {

bool reformulatePiecewiseLinear(const Model &m, LoweredModel &L, std::string &err) {
  for (int c = 0; c < static_cast<int>(m.pwlcons.size()); ++c) {
    const PwlConstraint &f = m.pwlcons[c];
    const int K = static_cast<int>(f.x.size());
    if (K == 0 || f.y.size() != f.x.size()) {
      err = "Piecewise-linear constraint " + std::to_string(c) + " has no breakpoints";
      return false;
    }
    std::vector<int> w(K);
    std::vector<std::pair<int, double>> sum, xrow{{f.col, 1.0}}, yrow{{f.resultant, 1.0}};
    for (int k = 0; k < K; ++k) {
      w[k] = L.addCol(0.0, 0.0, 1.0, 0);
      sum.push_back({w[k], 1.0});
      xrow.push_back({w[k], -f.x[k]});
      yrow.push_back({w[k], -f.y[k]});
    }
    L.addRow(1.0, 1.0, sum);
    L.addRow(0.0, 0.0, xrow);
    L.addRow(0.0, 0.0, yrow);
    // Each weight is bounded by the binaries of the segments it belongs to.
    std::vector<std::vector<int>> switches(K);
    std::vector<std::pair<int, double>> pick;
    for (int s = 0; s + 1 < K; ++s) {
      if (!(f.x[s + 1] > f.x[s])) continue;
      const int z = L.addBinary();
      pick.push_back({z, 1.0});
      switches[s].push_back(z);
      switches[s + 1].push_back(z);
    }
    if (pick.empty()) {
      // All breakpoints share one x: r is one of the y values.
      for (int k = 0; k < K; ++k) L.integrality[w[k]] = 1;
      continue;
    }
    L.addRow(1.0, 1.0, pick);
    for (int k = 0; k < K; ++k) {
      std::vector<std::pair<int, double>> row{{w[k], 1.0}};
      for (int z : switches[k]) row.push_back({z, -1.0});
      L.addRow(-INFINITY, 0.0, row);
    }
  }
  return true;
}

}  // namespace nvrl

// Special ordered sets as binaries: each member is switched on by a binary (type 1) or by
// one of the binaries of the two segments it borders (type 2); at most one switch is on.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "solve/reformulate.h"

namespace nvrl {

namespace {

// Links member x to the sum of the given switches: lo*sum(z) <= x <= up*sum(z).
bool linkMember(LoweredModel &L, int set, int x, const std::vector<int> &switches,
                std::string &err) {
  const double lo = L.col_lo[x], up = L.col_up[x];
  if (lo == 0.0 && up == 0.0) return true;
  if ((up > 0.0 && std::isinf(up)) || (lo < 0.0 && std::isinf(lo))) {
    err = "Column " + std::to_string(x) + " in special ordered set " + std::to_string(set) +
          " has an infinite bound; set members need finite bounds";
    return false;
  }
  std::vector<std::pair<int, double>> row{{x, 1.0}};
  if (up != 0.0) {
    for (int z : switches) row.push_back({z, -up});
    L.addRow(-INFINITY, 0.0, row);
  }
  if (lo != 0.0) {
    row.resize(1);
    for (int z : switches) row.push_back({z, -lo});
    L.addRow(0.0, INFINITY, row);
  }
  return true;
}

}  // namespace

bool reformulateSets(const Model &m, LoweredModel &L, std::string &err) {
  for (int s = 0; s < m.nsets(); ++s) {
    const SpecialOrderedSet &set = m.sets[s];
    const int k = static_cast<int>(set.cols.size());
    // Order members by reference value; the adjacency of type 2 follows that order.
    std::vector<int> order(k);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return set.refs[a] < set.refs[b]; });
    const int nswitch = set.type == '2' ? k - 1 : k;
    // One member (type 1) or two neighbours (type 2) can always be non-zero together.
    if (nswitch <= 1) continue;
    std::vector<int> z(nswitch);
    std::vector<std::pair<int, double>> one;
    for (int t = 0; t < nswitch; ++t) {
      z[t] = L.addBinary();
      one.push_back({z[t], 1.0});
    }
    L.addRow(-INFINITY, 1.0, one);
    for (int t = 0; t < k; ++t) {
      const int x = set.cols[order[t]];
      std::vector<int> sw;
      if (set.type == '2') {
        if (t > 0) sw.push_back(z[t - 1]);
        if (t < k - 1) sw.push_back(z[t]);
      } else {
        sw.push_back(z[t]);
      }
      if (!linkMember(L, s, x, sw, err)) return false;
    }
  }
  return true;
}

}  // namespace nvrl

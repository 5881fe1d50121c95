// Index maps for deletions.
#include "lp_data/renumber.h"

namespace nvrl {

std::vector<int> renumbering(int n, const int *deleted, int ndeleted) {
  std::vector<int> map(n, 0);
  for (int k = 0; k < ndeleted; ++k) map[deleted[k]] = -1;
  int next = 0;
  for (int i = 0; i < n; ++i)
    if (map[i] == 0) map[i] = next++;
  return map;
}

QMatrix renumberQ(const QMatrix &q, const std::vector<int> &colmap) {
  // Renumbering keeps the order of the kept keys, so each goes in at the end.
  QMatrix out;
  for (const auto &[key, v] : q) {
    const int a = colmap[key.first], b = colmap[key.second];
    if (a >= 0 && b >= 0) out.emplace_hint(out.end(), std::make_pair(a, b), v);
  }
  return out;
}

}  // namespace nvrl

// Index maps for deletions: old index -> new index, or -1 for a deleted item.
#pragma once

#include <utility>
#include <vector>

#include "core/problem.h"

namespace nvrl {

// Map after deleting the listed (valid, distinct) indices out of n items.
std::vector<int> renumbering(int n, const int *deleted, int ndeleted);

// Keeps the entries of v whose new index is not -1, in order.
template <class T>
void compactByMap(std::vector<T> &v, const std::vector<int> &map) {
  size_t w = 0;
  for (size_t i = 0; i < v.size(); ++i)
    if (map[i] >= 0) {
      if (w != i) v[w] = std::move(v[i]);
      ++w;
    }
  v.resize(w);
}

// Quadratic form with its columns renumbered; entries of deleted columns are dropped.
QMatrix renumberQ(const QMatrix &q, const std::vector<int> &colmap);

}  // namespace nvrl

// Cutting planes for the root of the search: lifted (extended) knapsack cover inequalities
// separated from the rows whose integer part is binary.
#pragma once

#include <utility>
#include <vector>

#include "solve/lowered_model.h"

#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl::tree {

// sum_k value[k] x[index[k]] <= rhs
struct Cut {
  std::vector<int> index;
  std::vector<double> value;
  double rhs;
};

// The cuts of found (each with its violation), the most violated first, at most maxCuts.
std::vector<Cut> mostViolated(std::vector<std::pair<double, Cut>> found, int maxCuts);

// Exported for the engine's tests.
// Cover inequalities violated by more than `minViolation` at x, at most maxCuts of them (the
// most violated first), from the rows of L under the column bounds lo/up. Each row is read as
// a knapsack over its binary columns (those with integrality and bounds [0, 1]; negative
// coefficients complemented), its other columns at the bound that leaves the binaries the most
// room; rows where such a bound is infinite give no cut.
NVRL_INTERNAL_API std::vector<Cut> separateCovers(const LoweredModel &L,
                                                  const std::vector<double> &lo,
                                                  const std::vector<double> &up,
                                                  const std::vector<double> &x, int maxCuts,
                                                  double minViolation = 1e-4);

}  // namespace nvrl::tree

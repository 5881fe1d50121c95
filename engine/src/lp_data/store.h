// Helpers of the model store for the rest of the engine: the column view of the matrix, the
// names reported for rows, columns and sets, and the per-problem caches behind them.
#pragma once

#include <string>
#include <string_view>

#include "core/problem.h"

namespace nvrl {

// Kinds of named items, as the C API numbers them.
constexpr int kNameRows = 1;
constexpr int kNameCols = 2;
constexpr int kNameSets = 3;

// Column-wise copy of m.A in O(nnz + cols); rows ascending within each column.
ColMatrix buildColumnView(const Model &m);

// The problem's column view, built on first use and kept until the model changes. The
// reference stays valid until the next change of the model.
const ColMatrix &columnView(nvrl_problem_s *p);

// Default name of item `index` (0-based) of a kind: "R1", "C1", "S1".
std::string defaultName(int kind, int index);

// The name reported for an item: its user name, or its default name when unnamed.
std::string itemName(const Model &m, int kind, int index);

// Index of the item with this name (user names first, then default names of unnamed items),
// or -1. O(1) amortised: the index of user names is rebuilt lazily after changes.
int findName(nvrl_problem_s *p, int kind, std::string_view name);

// Releases the caches kept for a problem. The problem's destruction must call it, so that a
// later problem allocated at the same address does not inherit them.
void dropStoreCache(const nvrl_problem_s *p);

}  // namespace nvrl

// Names reported for rows, columns and sets, and look-up by name through the index of user
// names kept in the problem's store cache.
#pragma once

#include <string>
#include <string_view>

#include "core/problem.h"

namespace nvrl {

// Kinds of named items, as the C API numbers them.
constexpr int kNameRows = 1;
constexpr int kNameCols = 2;
constexpr int kNameSets = 3;

// Default name of item `index` (0-based) of a kind: "R1", "C1", "S1".
std::string defaultName(int kind, int index);

// The name reported for an item: its user name, or its default name when unnamed.
std::string itemName(const Model &m, int kind, int index);

// Index of the item with this name (user names first, then default names of unnamed items),
// or -1. O(1) amortised: the index of user names is rebuilt lazily after changes.
int findName(nvrl_problem_s *p, int kind, std::string_view name);

// The user-name index of a kind (over the model's names of that kind), rebuilt first when
// stale.
NameLookup &nameIndex(nvrl_problem_s *p, int kind);

}  // namespace nvrl

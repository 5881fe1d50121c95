// What the tree search branches on, read from the store and its tree-mode lowering: integer
// columns (the user's and the binaries of reformulated entities), semi-continuous and
// semi-integer columns, partially integer columns and special ordered sets.
#pragma once

#include <vector>

#include "core/problem.h"
#include "solve/lowered_model.h"

namespace nvrl::tree {

struct SemiColumn {
  int col;
  double threshold;  // x = 0 or x >= threshold (> 0)
};

struct PartialColumn {
  int col;
  double limit;  // integer below the limit, continuous from it up
};

struct OrderedSet {
  char type;              // '1' or '2'
  std::vector<int> cols;  // in the order of the reference values
};

struct Entities {
  std::vector<char> integer;  // per lowered column: must take an integer value
  std::vector<SemiColumn> semis;
  std::vector<PartialColumn> partials;
  std::vector<OrderedSet> sets;
  int integers = 0;
};

Entities readEntities(const Model &m, const LoweredModel &L);

// A branching candidate: an entity the relaxation's point violates.
struct Candidate {
  enum Kind { Integer, Partial, Semi, Set } kind;
  int index;     // column (Integer, Partial, Semi) or set
  double value;  // the column's value (for a set: unused)
  double limit;  // Partial: the limit; Semi: the threshold
};

// The violated entities at x; integrality within inttol, zero and thresholds within feastol.
std::vector<Candidate> violations(const Entities &e, const std::vector<double> &x, double inttol,
                                  double feastol);

// Positions (in set order) of the members of s that are non-zero at x.
void setSupport(const OrderedSet &s, const std::vector<double> &x, double feastol, int &first,
                int &last);

}  // namespace nvrl::tree

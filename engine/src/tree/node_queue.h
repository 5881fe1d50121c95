// The open nodes of the search. A node is the root's bounds narrowed by a list of bound
// changes; it waits with its parent's relaxation value as its bound until it is solved.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nvrl::tree {

// Narrows column col to [lo, up] (intersected with the bounds it has already).
struct BoundChange {
  int col;
  double lo, up;
};

// How the node came from its parent, for the pseudocosts: column, direction (0 down, 1 up)
// and the distance the branch moved the parent's value; col -1 when not from a column.
struct BranchRecord {
  int col = -1;
  int dir = 0;
  double distance = 0.0;
  double parent_value = 0.0;
};

struct Node {
  std::vector<BoundChange> changes;
  double bound = 0.0;  // lower bound on the objective in the node (minimisation form)
  int depth = 0;
  BranchRecord branch;
  size_t settled = 0;  // changes before this index have been propagated
  bool propagated = false;
};

// Depth first (last in, first out) until best-bound order is switched on, which is for good:
// before the first solution only leaves bring one, afterwards the bound is what matters.
// Among equal bounds the deeper node comes first, which finishes dives.
class NodeQueue {
 public:
  void push(Node n);
  Node pop();  // the queue must not be empty
  void switchToBestBound();
  bool empty() const { return nodes_.empty(); }
  size_t size() const { return nodes_.size(); }
  double minBound() const;  // +inf when empty

 private:
  std::vector<Node> nodes_;  // a heap once best_bound_ is on, a stack before
  bool best_bound_ = false;
};

}  // namespace nvrl::tree

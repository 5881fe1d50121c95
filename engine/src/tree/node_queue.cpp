#include "tree/node_queue.h"

#include <algorithm>
#include <limits>

namespace nvrl::tree {

namespace {

// std heap functions keep the largest element on top: "a after b" when a is worse.
bool worse(const Node &a, const Node &b) {
  if (a.bound != b.bound) return a.bound > b.bound;
  return a.depth < b.depth;
}

}  // namespace

void NodeQueue::push(Node n) {
  nodes_.push_back(std::move(n));
  if (best_bound_) std::push_heap(nodes_.begin(), nodes_.end(), worse);
}

Node NodeQueue::pop() {
  if (best_bound_) std::pop_heap(nodes_.begin(), nodes_.end(), worse);
  Node n = std::move(nodes_.back());
  nodes_.pop_back();
  return n;
}

void NodeQueue::switchToBestBound() {
  if (best_bound_) return;
  best_bound_ = true;
  std::make_heap(nodes_.begin(), nodes_.end(), worse);
}

double NodeQueue::minBound() const {
  if (nodes_.empty()) return std::numeric_limits<double>::infinity();
  if (best_bound_) return nodes_.front().bound;
  double b = nodes_.front().bound;
  for (const Node &n : nodes_) b = std::min(b, n.bound);
  return b;
}

}  // namespace nvrl::tree

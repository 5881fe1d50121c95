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
  heap_.push_back(std::move(n));
  std::push_heap(heap_.begin(), heap_.end(), worse);
}

Node NodeQueue::pop() {
  std::pop_heap(heap_.begin(), heap_.end(), worse);
  Node n = std::move(heap_.back());
  heap_.pop_back();
  return n;
}

double NodeQueue::minBound() const {
  return heap_.empty() ? std::numeric_limits<double>::infinity() : heap_.front().bound;
}

}  // namespace nvrl::tree

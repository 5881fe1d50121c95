// Growth of the formula token buffers.
#include "nonlinear/tokens.h"

namespace {
constexpr size_t kFirstTokens = 256;
}  // namespace

int nvo_tokens::grow(size_t needed) {
  size_t cap = capacity_ == 0 ? kFirstTokens : capacity_;
  while (cap < needed) {
    if (cap > (static_cast<size_t>(-1) >> 2)) {
      PyErr_NoMemory();
      return -1;
    }
    cap *= 2;
  }
  // Both arrays or neither: a value array shorter than the type array would be written past.
  if (type_.resize(cap) != 0) return -1;
  if (value_.resize(cap) != 0) {
    type_.resize(capacity_);
    return -1;
  }
  capacity_ = cap;
  return 0;
}

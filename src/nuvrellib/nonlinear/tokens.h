// Formula token buffers: the library's parsed (reverse Polish) formulas as two parallel
// arrays of token types and values, written by the formula conversion.
#pragma once

#include <Python.h>

#include <cstddef>

#include "module/alloc_buffer.h"

// The library's token types and operator values used by the conversion.
enum nvo_token_type {
  NVO_TOK_EOF = 0,
  NVO_TOK_CON = 1,
  NVO_TOK_COL = 10,
  NVO_TOK_UFUN = 11,
  NVO_TOK_IFUN = 12,
  NVO_TOK_DEL = 22,
  NVO_TOK_OP = 31,
};
enum nvo_token_op {
  NVO_OP_UMINUS = 1,
  NVO_OP_EXPONENT = 2,
  NVO_OP_MULTIPLY = 3,
  NVO_OP_DIVIDE = 4,
  NVO_OP_PLUS = 5,
  NVO_OP_MINUS = 6,
};

// Two arrays from the module allocator that grow together: 256 entries at first, doubled as
// needed. One buffer serves a whole batch of rows, so it is cleared, not freed, between uses.
class nvo_tokens {
 public:
  // Room for n more tokens. 0, or -1 with a MemoryError set (the tokens stay).
  int reserve(size_t n) {
    if (count_ + n <= capacity_) [[likely]]
      return 0;
    return grow(count_ + n);
  }
  // Writes one token; the caller has reserved room for it.
  void put(int type, double value) {
    type_[count_] = type;
    value_[count_] = value;
    ++count_;
  }
  // reserve(1) and put.
  int emit(int type, double value) {
    if (reserve(1) != 0) return -1;
    put(type, value);
    return 0;
  }

  size_t size() const { return count_; }
  // Drops the tokens from position n on (a failed conversion takes back what it wrote).
  void truncate(size_t n) {
    if (n < count_) count_ = n;
  }
  void clear() { count_ = 0; }
  void reset() {
    type_.reset();
    value_.reset();
    count_ = capacity_ = 0;
  }
  const int *types() const { return type_.data(); }
  const double *values() const { return value_.data(); }
  int type_at(size_t i) const { return type_[i]; }
  double value_at(size_t i) const { return value_[i]; }

 private:
  int grow(size_t needed);

  AllocBuffer<int> type_;
  AllocBuffer<double> value_;
  size_t count_ = 0, capacity_ = 0;
};

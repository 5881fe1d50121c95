// Argument validation for the store's C API. Every check records a precise message, prefixed
// with the calling function's name, as the problem's last error and returns false; callers
// validate everything before they change the model, so a failed call changes nothing.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>

#include "core/problem.h"

namespace nvrl {

class Check {
 public:
  Check(nvrl_problem_s *p, const char *fn) : p_(p), fn_(fn) {}

  // Records "fn: message" and returns the error code.
  int fail(const char *fmt, ...) __attribute__((format(printf, 2, 3)));
  int code() const {
    const int c = p_->lasterror_code;
    return c ? c : 1;
  }
  const char *fn() const { return fn_; }

  bool count(int64_t n, const char *arg);                       // n >= 0
  bool given(const void *ptr, const char *arg);                 // ptr != null
  // An array of n entries: may be null only when n is 0.
  bool array(const void *ptr, int64_t n, const char *arg) { return n == 0 || given(ptr, arg); }
  // Index checks; `at` is the position in the argument array, or -1 for a scalar argument.
  bool row(int64_t i, const char *arg, int64_t at = -1);
  bool col(int64_t i, const char *arg, int64_t at = -1);
  bool set(int64_t i, const char *arg, int64_t at = -1);
  bool finite(double v, const char *arg, int64_t at = -1);      // not NaN, not +-inf
  // An objective or matrix coefficient: a number below the infinity constant 1e20 in
  // absolute value (HiGHS takes larger ones for infinite and the answer would be meaningless).
  // Inline, as it runs once per coefficient; NaN fails the comparison too.
  bool coefficient(double v, const char *arg, int64_t at = -1) {
    return std::fabs(v) < kInf || badCoefficient(v, arg, at);
  }
  bool notNaN(double v, const char *arg, int64_t at = -1);
  bool rowType(char t, const char *arg, int64_t at);
  bool colType(char t, const char *arg, int64_t at);
  // first..last inside 0..count-1 for items called `what` ("rows", "columns", ...).
  bool range(int first, int last, int count, const char *what);
  // Room for n more items of a kind whose count is `have` (counts are ints).
  bool room(int64_t have, int64_t n, const char *what);
  // start[0..n-1] non-decreasing, start[0] >= 0, start[n-1] <= total (segments of an array
  // of `total` entries whose last segment ends at `total`).
  bool starts(const int64_t *start, int64_t n, int64_t total, const char *arg,
              const char *totalarg);
  // Indices for a deletion: each in 0..count-1 and none repeated.
  bool deletion(const int *idx, int n, const char *narg, const char *arg, int nitems,
                const char *what);

 private:
  bool badCoefficient(double v, const char *arg, int64_t at);
  bool index(int64_t i, int64_t count, const char *arg, int64_t at, const char *what);
  nvrl_problem_s *p_;
  const char *fn_;
};

// The first objective or matrix coefficient of a whole model that `Check::coefficient` would
// refuse, described with the names of its row and column; empty when there is none. Used on
// models read from files, which do not pass through the argument checks.
std::string coefficientProblem(const Model &m);

}  // namespace nvrl

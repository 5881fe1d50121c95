// Argument validation shared by the store's C API.
#include "lp_data/check.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "lp_data/name_index.h"

namespace nvrl {

namespace {

// "arg" or "arg[at]".
std::string argName(const char *arg, int64_t at) {
  if (at < 0) return arg;
  return std::string(arg) + "[" + std::to_string(at) + "]";
}

bool validRowType(char t) { return t == 'L' || t == 'G' || t == 'E' || t == 'R' || t == 'N'; }
bool validColType(char t) {
  return t == 'C' || t == 'I' || t == 'B' || t == 'S' || t == 'R' || t == 'P';
}

// Printable form of a type character for messages.
std::string charText(char t) {
  char buf[16];
  if (t >= 32 && t < 127)
    std::snprintf(buf, sizeof buf, "'%c'", t);
  else
    std::snprintf(buf, sizeof buf, "character %d", static_cast<unsigned char>(t));
  return buf;
}

}  // namespace

int Check::fail(const char *fmt, ...) {
  char buf[768];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  va_end(ap);
  return p_->fail("%s: %s", fn_, buf);
}

bool Check::count(int64_t n, const char *arg) {
  if (n >= 0) return true;
  fail("%s must not be negative (got %lld)", arg, static_cast<long long>(n));
  return false;
}

bool Check::given(const void *ptr, const char *arg) {
  if (ptr) return true;
  fail("%s must not be null", arg);
  return false;
}

bool Check::index(int64_t i, int64_t count, const char *arg, int64_t at, const char *what) {
  if (i >= 0 && i < count) return true;
  fail("%s = %lld is not a valid %s index (the problem has %lld %ss)", argName(arg, at).c_str(),
       static_cast<long long>(i), what, static_cast<long long>(count), what);
  return false;
}

bool Check::row(int64_t i, const char *arg, int64_t at) {
  return index(i, p_->model.rows(), arg, at, "row");
}
bool Check::col(int64_t i, const char *arg, int64_t at) {
  return index(i, p_->model.cols(), arg, at, "column");
}
bool Check::set(int64_t i, const char *arg, int64_t at) {
  return index(i, p_->model.nsets(), arg, at, "set");
}

bool Check::finite(double v, const char *arg, int64_t at) {
  if (std::isfinite(v)) return true;
  fail("%s is %s; a finite value is required", argName(arg, at).c_str(),
       std::isnan(v) ? "NaN" : "infinite");
  return false;
}

bool Check::badCoefficient(double v, const char *arg, int64_t at) {
  if (!finite(v, arg, at)) return false;
  if (std::fabs(v) < kInf) return true;
  fail("%s = %g is at or beyond the infinity constant 1e20; objective and matrix coefficients "
       "must be smaller in absolute value",
       argName(arg, at).c_str(), v);
  return false;
}

bool Check::notNaN(double v, const char *arg, int64_t at) {
  if (!std::isnan(v)) return true;
  fail("%s is NaN; a number is required", argName(arg, at).c_str());
  return false;
}

bool Check::rowType(char t, const char *arg, int64_t at) {
  if (validRowType(t)) return true;
  fail("%s is %s: a row type must be 'L', 'G', 'E', 'R' or 'N'", argName(arg, at).c_str(),
       charText(t).c_str());
  return false;
}

bool Check::colType(char t, const char *arg, int64_t at) {
  if (validColType(t)) return true;
  fail("%s is %s: a column type must be 'C', 'I', 'B', 'S', 'R' or 'P'",
       argName(arg, at).c_str(), charText(t).c_str());
  return false;
}

bool Check::range(int first, int last, int count, const char *what) {
  if (count == 0) {
    fail("the problem has no %s", what);
    return false;
  }
  if (first < 0 || last < first || last >= count) {
    fail("first = %d and last = %d must satisfy 0 <= first <= last <= %d (the problem has %d %s)",
         first, last, count - 1, count, what);
    return false;
  }
  return true;
}

bool Check::room(int64_t have, int64_t n, const char *what) {
  if (have + n <= INT32_MAX) return true;
  fail("too many %s: %lld + %lld exceeds %d", what, static_cast<long long>(have),
       static_cast<long long>(n), INT32_MAX);
  return false;
}

bool Check::starts(const int64_t *start, int64_t n, int64_t total, const char *arg,
                   const char *totalarg) {
  if (n == 0) return true;
  if (!given(start, arg)) return false;
  if (start[0] < 0) {
    fail("%s[0] = %lld is negative", arg, static_cast<long long>(start[0]));
    return false;
  }
  for (int64_t k = 1; k < n; ++k) {
    if (start[k] < start[k - 1]) {
      fail("%s must not decrease: %s[%lld] = %lld < %s[%lld] = %lld", arg, arg,
           static_cast<long long>(k), static_cast<long long>(start[k]), arg,
           static_cast<long long>(k - 1), static_cast<long long>(start[k - 1]));
      return false;
    }
  }
  if (start[n - 1] > total) {
    fail("%s[%lld] = %lld exceeds %s = %lld", arg, static_cast<long long>(n - 1),
         static_cast<long long>(start[n - 1]), totalarg, static_cast<long long>(total));
    return false;
  }
  return true;
}

bool Check::deletion(const int *idx, int n, const char *narg, const char *arg, int nitems,
                     const char *what) {
  if (!count(n, narg) || !array(idx, n, arg)) return false;
  std::vector<char> seen(static_cast<size_t>(nitems), 0);
  for (int k = 0; k < n; ++k) {
    if (!index(idx[k], nitems, arg, k, what)) return false;
    if (seen[idx[k]]) {
      fail("%s[%d] = %d repeats a %s already listed for deletion", arg, k, idx[k], what);
      return false;
    }
    seen[idx[k]] = 1;
  }
  return true;
}

namespace {

std::string tooLarge(const std::string &what, double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, " is %g", v);
  return what + buf +
         ": objective and matrix coefficients at or beyond the infinity constant 1e20 (or "
         "NaN) are refused";
}

std::string quoted(const Model &m, int kind, int index) {
  return "'" + itemName(m, kind, index) + "'";
}

}  // namespace

std::string coefficientProblem(const Model &m) {
  auto bad = [](double v) { return !(std::fabs(v) < kInf); };
  if (bad(m.objconst)) return tooLarge("the objective constant", m.objconst);
  for (int j = 0; j < m.cols(); ++j)
    if (bad(m.obj[j]))
      return tooLarge("the objective coefficient of column " + quoted(m, kNameCols, j), m.obj[j]);
  for (const auto &[key, v] : m.qobj)
    if (bad(v))
      return tooLarge("the quadratic objective coefficient of columns " +
                          quoted(m, kNameCols, key.first) + " and " +
                          quoted(m, kNameCols, key.second),
                      v);
  const RowMatrix &A = m.A.rows();
  for (int i = 0; i < m.rows(); ++i)
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k)
      if (bad(A.val[k]))
        return tooLarge("the coefficient of column " + quoted(m, kNameCols, A.col[k]) +
                            " in row " + quoted(m, kNameRows, i),
                        A.val[k]);
  for (const auto &[row, q] : m.qrows)
    for (const auto &[key, v] : q)
      if (bad(v))
        return tooLarge("the quadratic coefficient of columns " + quoted(m, kNameCols, key.first) +
                            " and " + quoted(m, kNameCols, key.second) + " in row " +
                            quoted(m, kNameRows, row),
                        v);
  return {};
}

}  // namespace nvrl

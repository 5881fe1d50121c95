#include "io/numbers.h"

#include <charconv>
#include <cmath>
#include <string>

#include "core/problem.h"

namespace nvrl::io {

bool parseNumber(std::string_view word, double &value) {
  bool negative = false;
  if (!word.empty() && (word[0] == '+' || word[0] == '-')) {
    negative = word[0] == '-';
    word.remove_prefix(1);
  }
  // from_chars takes no sign of its own after ours, and accepts "nan", which no file means.
  if (word.empty() || word[0] == '+' || word[0] == '-') return false;
  double v = 0.0;
  auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), v);
  if (end != word.data() + word.size() && (*end == 'D' || *end == 'd')) {
    // Fortran writers spell the exponent with D; only a failed reading pays for the copy.
    std::string e(word);
    e[static_cast<size_t>(end - word.data())] = 'e';
    if (!parseNumber(e, value)) return false;
    if (negative) value = -value;
    return true;
  }
  if (ec != std::errc() || end != word.data() + word.size() || std::isnan(v)) {
    // Out-of-range magnitudes still mean something: 1e400 is infinite, 1e-400 is zero.
    if (ec == std::errc::result_out_of_range && end == word.data() + word.size())
      v = (word.find_first_of("eE") != std::string_view::npos &&
           word.find("e-") == std::string_view::npos && word.find("E-") == std::string_view::npos)
              ? HUGE_VAL
              : 0.0;
    else
      return false;
  }
  value = negative ? -v : v;
  return true;
}

double clampInfinite(double v) {
  if (v >= kInf) return kInf;
  if (v <= -kInf) return -kInf;
  return v;
}

std::string formatNumber(double v) {
  char buf[64];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
  return std::string(buf, ec == std::errc() ? end : buf);
}

}  // namespace nvrl::io

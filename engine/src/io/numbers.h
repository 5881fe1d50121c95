// Reading and writing numbers in problem files.
#pragma once

#include <string>
#include <string_view>

namespace nvrl::io {

// Parses a whole word as a number: optional sign, decimal digits with optional fraction and
// exponent (E, e, or Fortran's D, d), or "inf"/"infinity" in any case. NaN and trailing
// characters are rejected.
bool parseNumber(std::string_view word, double &value);

// Bounds and right-hand sides at or beyond 1e20 are infinite; they are stored as exactly
// +/-1e20 so that a written and re-read model compares equal.
double clampInfinite(double v);

// Shortest text that reads back as exactly the same double (at most 17 significant digits).
std::string formatNumber(double v);

}  // namespace nvrl::io

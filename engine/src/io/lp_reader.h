// Reader of the LP text format.
#pragma once

#include <string_view>

#include "core/problem.h"
#include "io/text_input.h"

namespace nvrl::io {

// Parses an LP text into a new model; throws ParseError naming the line. The model's name
// is fallback_name (the format has no name of its own).
Model readLp(const TextLines &text, std::string_view fallback_name);

}  // namespace nvrl::io

// Reader of MPS files, free and fixed columns.
#pragma once

#include <string_view>

#include "core/problem.h"
#include "io/text_input.h"

namespace nvrl::io {

// Parses an MPS text into a new model; throws ParseError naming the line. fallback_name
// becomes the model's name when the NAME line gives none.
Model readMps(const TextLines &text, std::string_view fallback_name);

}  // namespace nvrl::io

// Writer of free-format MPS files.
#pragma once

#include <functional>
#include <string>

#include "core/problem.h"

namespace nvrl::io {

struct WrittenNames;

// Writes sections of its own (the nonlinear layer's) with the names the file uses.
using MpsExtraSections = std::function<std::string(const WrittenNames &)>;

// The model as free-format MPS text; throws WriteError when a name cannot be written.
// extra's text, when given, goes just before ENDATA.
std::string writeMps(const Model &model, const MpsExtraSections &extra = {});

}  // namespace nvrl::io

// Writer of free-format MPS files.
#pragma once

#include <string>

#include "core/problem.h"

namespace nvrl::io {

// The model as free-format MPS text; throws WriteError when a name cannot be written.
std::string writeMps(const Model &model);

}  // namespace nvrl::io

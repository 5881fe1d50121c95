// Writer of the LP text format.
#pragma once

#include <string>

#include "core/problem.h"

namespace nvrl::io {

// The model as LP text; throws WriteError when something cannot be expressed in LP format.
std::string writeLp(const Model &model);

}  // namespace nvrl::io

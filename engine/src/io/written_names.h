// Names as the writers put them in a file: unnamed items get the default names, a repeated
// name a suffix, the objective row a name no row uses, and every name is checked against what
// the format can carry.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/problem.h"

namespace nvrl::io {

struct WrittenNames {
  std::vector<std::string> rows, cols, sets;
  std::string objective;
};

using NameCheck = std::function<std::string(std::string_view)>;

// A check returns an empty string for a name the format accepts, otherwise the reason it
// does not; labels (row and set names) may be checked less strictly than column names.
// Throws WriteError for a name the format cannot carry; a repeated name is written with a
// suffix that makes it unique (see fillNames).
WrittenNames makeWrittenNames(const Model &model, const NameCheck &column_check,
                              const NameCheck &label_check);

}  // namespace nvrl::io

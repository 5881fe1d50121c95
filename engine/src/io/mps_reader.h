// Reader of MPS files, free and fixed columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/problem.h"
#include "io/text_input.h"

namespace nvrl::io {

// The nonlinear sections of a file (NLCOEFFICIENTS, INITIALVALUES) with their names resolved
// and their formulas still text; the nonlinear layer turns them into its data. Rows are the
// model's (-1 the objective), columns the model's (-1 the constant column "=").
struct NonlinearSections {
  struct Coefficient {
    int line;
    int row, col;
    double factor;
    std::string formula;
  };
  struct Initial {
    int line;
    int col;
    double value;
  };
  std::vector<Coefficient> coefs;
  std::vector<Initial> initial;
};

// Parses an MPS text into a new model; throws ParseError naming the line. fallback_name
// becomes the model's name when the NAME line gives none. The nonlinear sections go to
// *nonlinear; without it they are an error.
Model readMps(const TextLines &text, std::string_view fallback_name,
              NonlinearSections *nonlinear = nullptr);

}  // namespace nvrl::io

// Solution files: a text format of our own (docs/file-formats.md, "Solution files") with the
// problem's name, the objective, a line per column and, when asked for, a line per row.
// Shared by the optimiser's and the nonlinear solver's writers.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "core/problem.h"

#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl::solfile {

// What a writer puts in the file; null vectors are left out.
struct Contents {
  double objective = 0.0;
  const std::vector<double> *x = nullptr, *djs = nullptr;     // per column
  const std::vector<double> *slack = nullptr, *duals = nullptr;  // per row
};

// Which of the optional parts a write flags string asks for: 's' slacks, 'd' duals, 'r'
// reduced costs. Returns false with err set for another letter.
struct WriteFlags {
  bool slacks = false, duals = false, reduced_costs = false;
};
bool parseWriteFlags(const char *fn, const char *flags, WriteFlags &out, std::string &err);

NVRL_INTERNAL_API std::string format(const Model &m, const Contents &c);

// A solution file read back against a model: values by the model's column and row order;
// a vector is empty when the file does not give that field for every item.
struct Values {
  std::vector<double> x, djs, slack, duals;
  std::vector<char> have_x;  // per column: whether the file lists it
};

struct ParseError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
// Reads the text against p's names (user names, then default names). Throws ParseError with
// "line N: ..." for a fault.
NVRL_INTERNAL_API Values parse(nvrl_problem_s *p, const std::string &text);

}  // namespace nvrl::solfile

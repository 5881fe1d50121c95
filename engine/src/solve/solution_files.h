// Solution files: a text format of our own (docs/file-formats.md, "Solution files") with the
// problem's name, the objective, a line per column and, when asked for, a line per row.
// Shared by the optimiser's and the nonlinear solver's writers.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
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

struct ParseError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Which of the optional parts a write flags string asks for: 's' slacks, 'd' duals, 'r'
// reduced costs. Returns false with err set for another letter.
struct WriteFlags {
  bool slacks = false, duals = false, reduced_costs = false;
};
bool parseWriteFlags(const char *fn, const char *flags, WriteFlags &out, std::string &err);

// Text helpers shared by the engine's text files (solutions, bases, directives): numbers
// with 17 significant digits, names quoted when they hold blanks or quotes, lines split into
// words (a quoted word runs to its closing quote), finite numbers. The readers throw
// ParseError with "line N: ...".
std::string number(double v);
std::string quoted(std::string_view name);
std::vector<std::string> words(std::string_view s, int line);
double parseNumber(const std::string &w, int line);
[[noreturn]] void fault(int line, const std::string &what);

// Calls f(line number, text) for each line that is neither blank nor a comment ('*' first).
template <class F>
void forEachLine(const std::string &text, F f) {
  int line = 0;
  size_t pos = 0;
  while (pos < text.size()) {
    size_t eol = text.find('\n', pos);
    if (eol == std::string::npos) eol = text.size();
    const std::string_view s(text.data() + pos, eol - pos);
    pos = eol + 1;
    ++line;
    if (s.empty() || s[0] == '*' || s.find_first_not_of(" \t\r") == std::string_view::npos)
      continue;
    f(line, s);
  }
}

NVRL_INTERNAL_API std::string format(const Model &m, const Contents &c);

// A solution file read back against a model: values by the model's column and row order;
// a vector is empty when the file does not give that field for every item.
struct Values {
  std::vector<double> x, djs, slack, duals;
  std::vector<char> have_x;  // per column: whether the file lists it
};

// Reads the text against p's names (user names, then default names). Throws ParseError with
// "line N: ..." for a fault.
NVRL_INTERNAL_API Values parse(nvrl_problem_s *p, const std::string &text);

// The flags of a solution reader: only 'x' (column values only) is known. 0, or p->fail's
// result naming fn.
NVRL_INTERNAL_API int readFlags(nvrl_problem_s *p, const char *fn, const char *flags,
                                bool &valuesOnly);

// Hands a point read from a file to HiGHS as the next solve's start, through the problem's
// session (created when it has none). Row activities come from the slacks (none when slack is
// empty); a basis, when given, is staged instead of the point and kept as the problem's basis,
// since HiGHS would drop a basis for a point given after it.
NVRL_INTERNAL_API void stageReadPoint(nvrl_problem_s *p, std::vector<double> x,
                                      const std::vector<double> &slack, std::vector<double> duals,
                                      std::vector<double> djs, std::vector<int> rowstat = {},
                                      std::vector<int> colstat = {});

}  // namespace nvrl::solfile

// Formulas of the nonlinear solver: reading token lists and infix text into checked
// reverse-Polish token lists, writing them back as text, and evaluating them with exact first
// derivatives (reverse-mode automatic differentiation over a tape compiled from the tokens).
//
// Token codes are the public NSLP_TOK_..., NSLP_OP_... and NSLP_FN_... of nvrl.h. A checked
// formula is reverse Polish, every function token is preceded by its argument-list marker,
// and it ends with one NSLP_TOK_EOF token.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "nslp/slp_problem.h"
#include "nslp/slp_validate.h"

// Reachable from the engine's own tests.
#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl {

// A formula that cannot be read or written; what() is the message for the last error.
struct NVRL_INTERNAL_API FormulaError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class UserFunctionTable;  // the problem's registered user functions (nslp/user_functions.h)

// What a formula may refer to: columns 0..ncols-1 and the registered user functions (null
// when there are none).
struct FormulaScope {
  int ncols = 0;
  const UserFunctionTable *userfuncs = nullptr;
};

// Checks a formula in reverse-Polish form (as kept in the store) against the scope; throws
// FormulaError naming the first bad token. Used where a stored formula meets a new scope.
NVRL_INTERNAL_API void checkFormula(const std::vector<SlpToken> &formula, const FormulaScope &scope);

// Reads a caller's token list up to and including its end token (at most maxtokens tokens)
// and returns the checked reverse-Polish formula. parsed: the list is reverse Polish already;
// otherwise it is in written (infix) order with brackets and commas. Throws FormulaError for
// an unknown token type or value, an unbalanced stack, a missing end token, a wrong argument
// count, a column or user function outside the scope, or a non-finite constant.
NVRL_INTERNAL_API std::vector<SlpToken> readFormulaTokens(const int *types, const double *values,
                                        int64_t maxtokens, bool parsed,
                                        const FormulaScope &scope);

// Reads infix text ("x1^2 + 3*sin(x2) - 1.5e-3", columns and user functions by name) into a
// checked formula; colIndex maps a name to a column or returns -1. Throws FormulaError.
NVRL_INTERNAL_API std::vector<SlpToken> parseFormulaText(const std::string &text, const FormulaScope &scope,
                                       const std::function<int(const std::string &)> &colIndex);

// Writes a checked formula as infix text that parseFormulaText reads back to the same tokens
// (constants with 17 significant digits); colName gives a column's name.
NVRL_INTERNAL_API std::string formatFormulaText(const std::vector<SlpToken> &formula, const FormulaScope &scope,
                              const std::function<std::string(int)> &colName);

// Writes a checked formula as an unparsed (written-order) token list with the brackets it
// needs and commas between arguments; readFormulaTokens reads it back to the same formula.
NVRL_INTERNAL_API std::vector<SlpToken> unparseFormula(const std::vector<SlpToken> &formula,
                                                       const FormulaScope &scope);

// A checked formula compiled for repeated evaluation. Evaluation is const and keeps its
// scratch space in the caller's FormulaWorkspace, so one tape can be evaluated by several
// threads, each with its own workspace.
struct FormulaWorkspace {
  std::vector<double> values, adjoints;
  std::vector<double> partials;  // user functions' derivatives by their arguments
  std::string error;  // why the last evaluation failed
  SlpEvalStats stats;  // what this workspace has evaluated
};

class NVRL_INTERNAL_API FormulaTape {
 public:
  FormulaTape() = default;
  FormulaTape(const std::vector<SlpToken> &formula, const FormulaScope &scope);

  // The number of steps (tokens that compute a value); 0 for a default-constructed tape.
  size_t size() const { return steps_.size(); }

  // The distinct columns the formula reads, ascending.
  const std::vector<int> &columns() const { return cols_; }

  // The value at x (indexed by column). Returns false, with ws.error set, when the formula
  // cannot be evaluated there: a logarithm of a non-positive number, a division by zero, a
  // square root of a negative number, a failing user function, or a non-finite result.
  bool value(const double *x, double &v, FormulaWorkspace &ws) const;

  // The value and the gradient: grad[k] receives the derivative by columns()[k]. Fails as
  // value() does, and also where the derivative does not exist (sqrt at 0, abs is given its
  // subgradient 0 at 0 instead).
  bool gradient(const double *x, double &v, double *grad, FormulaWorkspace &ws) const;

 private:
  // The forward sweep; with partials, user functions also give their derivatives (into
  // ws.partials at their arguments' positions), so the reverse sweep need not call them.
  bool forward(const double *x, double &v, FormulaWorkspace &ws, bool partials) const;

  // One value-producing token. Operands are earlier steps, listed in args_[first, first+count)
  // in written order (pwl: input, x0, y0, x1, y1, ...; user functions: first argument first).
  struct Step {
    int op = 0;       // a kind of formula_tape.cpp
    int first = 0;    // column steps: the position in cols_
    int count = 0;
    double c = 0.0;   // constants: the value; user functions: the function index
  };
  std::vector<Step> steps_;
  std::vector<int> args_;
  std::vector<int> cols_;
  const UserFunctionTable *userfuncs_ = nullptr;
};

}  // namespace nvrl

// What the formula reader, the text parser/printer and the tape share: the internal function
// table and the arity rules.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "nslp/formula.h"
#include "nvrl.h"

namespace nvrl::formula {

struct InternalFunction {
  int code;          // NSLP_FN_...
  const char *name;  // as written by formatFormulaText
  int minargs;       // maxargs -1: any number from minargs on
  int maxargs;
};

// The internal function with this code, or null.
const InternalFunction *internalFunction(int code);
// The internal function with this name (case-insensitive; aliases log, asin, acos, atan), or
// null.
const InternalFunction *internalFunctionByName(const std::string &name);

// Whether v is an integer that fits an int; stores it in out.
bool integerValue(double v, int &out);

// Why a function token cannot take nargs arguments, or an empty string when it can. type is
// NSLP_TOK_IFUN or NSLP_TOK_UFUN, value the function code or index (checked already).
std::string arityError(int type, int value, int nargs, const FormulaScope &scope);

// A function whose arguments are written last-first in reverse-Polish form.
inline bool reversedArguments(int type, int value) {
  return type == NSLP_TOK_UFUN || (type == NSLP_TOK_IFUN && value == NSLP_FN_PWL);
}

// Operator precedence in text: + - 1, * / 2, unary minus 3, ^ 4 (right-associative).
inline int precedence(int op) {
  switch (op) {
    case NSLP_OP_PLUS:
    case NSLP_OP_MINUS:
      return 1;
    case NSLP_OP_MULTIPLY:
    case NSLP_OP_DIVIDE:
      return 2;
    case NSLP_OP_UMINUS:
      return 3;
    default:
      return 4;
  }
}

// A token of a formula in written order, as the text lexer and the unparsed-token reader
// produce it; pos locates it for messages (a character or a token position).
struct InfixToken {
  int type;
  double value;
  int64_t pos;
};

// Turns written-order tokens (ending with NSLP_TOK_EOF; unary minus as NSLP_OP_UMINUS) into a
// reverse-Polish formula (shunting-yard, no recursion). Throws FormulaError with "message at
// " + where(pos).
std::vector<SlpToken> toReversePolish(const std::vector<InfixToken> &tokens,
                                      const FormulaScope &scope,
                                      const std::function<std::string(int64_t)> &where);

}  // namespace nvrl::formula

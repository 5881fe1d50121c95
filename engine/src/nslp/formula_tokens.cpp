// Reading and checking token lists: the internal function table, the arity rules, the
// reverse-Polish checker and the shunting-yard conversion of written-order lists.
#include <algorithm>
#include <cctype>
#include <cmath>

#include "core/text.h"
#include "nslp/formula_tokens.h"
#include "nslp/user_functions.h"

namespace nvrl {
namespace formula {
namespace {

const InternalFunction kFunctions[] = {
    {NSLP_FN_LOG10, "log10", 1, 1},  {NSLP_FN_LN, "ln", 1, 1},
    {NSLP_FN_EXP, "exp", 1, 1},      {NSLP_FN_ABS, "abs", 1, 1},
    {NSLP_FN_SQRT, "sqrt", 1, 1},    {NSLP_FN_SIN, "sin", 1, 1},
    {NSLP_FN_COS, "cos", 1, 1},      {NSLP_FN_TAN, "tan", 1, 1},
    {NSLP_FN_ARCSIN, "arcsin", 1, 1}, {NSLP_FN_ARCCOS, "arccos", 1, 1},
    {NSLP_FN_ARCTAN, "arctan", 1, 1}, {NSLP_FN_MIN, "min", 1, -1},
    {NSLP_FN_MAX, "max", 1, -1},     {NSLP_FN_PWL, "pwl", 3, -1},
    {NSLP_FN_SIGN, "sign", 1, 1},    {NSLP_FN_ERF, "erf", 1, 1},
    {NSLP_FN_ERFC, "erfc", 1, 1},
};

struct Alias {
  const char *name;
  int code;
};
const Alias kAliases[] = {{"log", NSLP_FN_LN},
                          {"asin", NSLP_FN_ARCSIN},
                          {"acos", NSLP_FN_ARCCOS},
                          {"atan", NSLP_FN_ARCTAN}};

bool equalsIgnoreCase(const std::string &a, const char *b) {
  size_t n = a.size();
  for (size_t i = 0; i < n; ++i) {
    if (!b[i]) return false;
    if (std::tolower(static_cast<unsigned char>(a[i])) != b[i]) return false;
  }
  return b[n] == 0;
}

std::string describeToken(int type, double value) {
  return format("type %d, value %.17g", type, value);
}

// Why a token cannot appear in a formula at all, or "".
std::string tokenError(int type, double value, const FormulaScope &scope, bool parsed) {
  int iv = 0;
  switch (type) {
    case NSLP_TOK_EOF:
      return "";
    case NSLP_TOK_CON:
      return std::isfinite(value) ? "" : "constant is not a finite number";
    case NSLP_TOK_COL:
      if (!integerValue(value, iv) || iv < -1 || iv >= scope.ncols)
        return format("column %.17g is out of range (-1 to %d)", value, scope.ncols - 1);
      return "";
    case NSLP_TOK_UFUN: {
      int n = scope.userfuncs ? scope.userfuncs->size() : 0;
      if (!integerValue(value, iv) || iv < 1 || iv > n)
        return n ? format("user function %.17g is not registered (1 to %d)", value, n)
                 : format("user function %.17g is not registered (there are none)", value);
      return "";
    }
    case NSLP_TOK_IFUN:
      if (!integerValue(value, iv) || !internalFunction(iv))
        return format("unknown internal function %.17g", value);
      return "";
    case NSLP_TOK_LB:
    case NSLP_TOK_RB:
      if (parsed) return "brackets cannot appear in a parsed formula";
      return value == 0 ? "" : "bracket tokens take the value 0";
    case NSLP_TOK_DEL:
      if (parsed)
        return value == 0 ? "" : "the argument-list marker of a parsed formula takes the value 0";
      return value == 1 ? "" : "the comma of an unparsed formula takes the value 1";
    case NSLP_TOK_OP:
      if (!integerValue(value, iv) || iv < NSLP_OP_UMINUS || iv > NSLP_OP_MINUS)
        return format("unknown operator %.17g", value);
      return "";
    default:
      return format("unknown token type %d", type);
  }
}

[[noreturn]] void fail(const std::string &what, const std::string &where) {
  throw FormulaError(what + " at " + where);
}

std::string tokenWhere(int64_t i) { return format("token %lld", static_cast<long long>(i)); }

}  // namespace

const InternalFunction *internalFunction(int code) {
  for (const InternalFunction &f : kFunctions)
    if (f.code == code) return &f;
  return nullptr;
}

const InternalFunction *internalFunctionByName(const std::string &name) {
  for (const InternalFunction &f : kFunctions)
    if (equalsIgnoreCase(name, f.name)) return &f;
  for (const Alias &a : kAliases)
    if (equalsIgnoreCase(name, a.name)) return internalFunction(a.code);
  return nullptr;
}

bool integerValue(double v, int &out) {
  if (!(v >= -2147483648.0 && v <= 2147483647.0) || v != std::floor(v)) return false;
  out = static_cast<int>(v);
  return true;
}

std::string arityError(int type, int value, int nargs, const FormulaScope &scope) {
  if (type == NSLP_TOK_UFUN) {
    const UserFunction &f = scope.userfuncs->at(value);
    if (nargs < 1) return format("user function %s needs arguments", f.name.c_str());
    if (f.inputs >= 0 && nargs != f.inputs)
      return format("user function %s takes %d argument%s, not %d", f.name.c_str(), f.inputs,
                    f.inputs == 1 ? "" : "s", nargs);
    return "";
  }
  const InternalFunction *f = internalFunction(value);
  if (f->code == NSLP_FN_PWL) {
    if (nargs < 3 || nargs % 2 == 0)
      return format("pwl takes its input and one or more breakpoints (an odd number of "
                    "arguments, at least 3), not %d",
                    nargs);
    return "";
  }
  if (nargs < f->minargs) return format("%s needs at least %d argument", f->name, f->minargs);
  if (f->maxargs >= 0 && nargs > f->maxargs)
    return format("%s takes %d argument%s, not %d", f->name, f->maxargs,
                  f->maxargs == 1 ? "" : "s", nargs);
  return "";
}

std::vector<SlpToken> toReversePolish(const std::vector<InfixToken> &tokens,
                                      const FormulaScope &scope,
                                      const std::function<std::string(int64_t)> &where) {
  // The operator stack holds operators, brackets and functions; a function remembers where
  // the output of each of its arguments begins, so that the arguments of pwl and user
  // functions can be put last-first.
  struct Pending {
    enum Kind { Operator, Bracket, Function } kind;
    int type;
    int value;
    int64_t pos;
    std::vector<size_t> argstarts;
  };
  std::vector<SlpToken> out;
  out.reserve(tokens.size());
  std::vector<Pending> stack;
  bool operand = true;  // an operand (or a prefix) is expected next
  size_t i = 0;
  auto popOperators = [&](int prec, bool rightAssoc) {
    while (!stack.empty() && stack.back().kind == Pending::Operator) {
      int top = precedence(stack.back().value);
      if (top > prec || (top == prec && !rightAssoc)) {
        out.push_back({NSLP_TOK_OP, double(stack.back().value)});
        stack.pop_back();
      } else {
        break;
      }
    }
  };
  for (;; ++i) {
    if (i >= tokens.size()) throw FormulaError("formula without an end token");
    const InfixToken &t = tokens[i];
    if (operand) {
      switch (t.type) {
        case NSLP_TOK_CON:
        case NSLP_TOK_COL:
          out.push_back({t.type, t.value});
          operand = false;
          continue;
        case NSLP_TOK_OP:
          if (t.value == NSLP_OP_UMINUS || t.value == NSLP_OP_MINUS) {
            stack.push_back({Pending::Operator, NSLP_TOK_OP, NSLP_OP_UMINUS, t.pos, {}});
            continue;
          }
          if (t.value == NSLP_OP_PLUS) continue;  // a unary plus changes nothing
          fail("operator where an operand is expected", where(t.pos));
        case NSLP_TOK_LB:
          stack.push_back({Pending::Bracket, NSLP_TOK_LB, 0, t.pos, {}});
          continue;
        case NSLP_TOK_IFUN:
        case NSLP_TOK_UFUN:
          if (i + 1 >= tokens.size() || tokens[i + 1].type != NSLP_TOK_LB)
            fail("function without its bracketed argument list", where(t.pos));
          ++i;
          out.push_back({NSLP_TOK_DEL, 0.0});
          stack.push_back({Pending::Function, t.type, int(t.value), t.pos, {out.size()}});
          continue;
        case NSLP_TOK_EOF:
          fail(out.empty() ? "empty formula" : "formula ends where an operand is expected",
               where(t.pos));
        default:
          fail(t.type == NSLP_TOK_RB && !stack.empty() && stack.back().kind == Pending::Function
                   ? "empty or unfinished argument"
                   : "operand expected",
               where(t.pos));
      }
    }
    // After an operand: an operator, a comma, a closing bracket or the end.
    if (t.type == NSLP_TOK_OP) {
      if (t.value == NSLP_OP_UMINUS) fail("unary minus after an operand", where(t.pos));
      int op = int(t.value);
      popOperators(precedence(op), op == NSLP_OP_EXPONENT);
      stack.push_back({Pending::Operator, NSLP_TOK_OP, op, t.pos, {}});
      operand = true;
      continue;
    }
    if (t.type == NSLP_TOK_DEL || t.type == NSLP_TOK_RB) {
      popOperators(-1, false);
      if (stack.empty())
        fail(t.type == NSLP_TOK_RB ? "closing bracket without an opening one"
                                   : "comma outside a function's argument list",
             where(t.pos));
      Pending &top = stack.back();
      if (t.type == NSLP_TOK_DEL) {
        if (top.kind != Pending::Function)
          fail("comma outside a function's argument list", where(t.pos));
        top.argstarts.push_back(out.size());
        operand = true;
        continue;
      }
      if (top.kind == Pending::Function) {
        int nargs = int(top.argstarts.size());
        std::string why = arityError(top.type, top.value, nargs, scope);
        if (!why.empty()) fail(why, where(top.pos));
        if (reversedArguments(top.type, top.value) && nargs > 1) {
          std::vector<SlpToken> args;
          args.reserve(out.size() - top.argstarts[0]);
          for (int a = nargs - 1; a >= 0; --a) {
            size_t end = a + 1 < nargs ? top.argstarts[a + 1] : out.size();
            args.insert(args.end(), out.begin() + top.argstarts[a], out.begin() + end);
          }
          std::copy(args.begin(), args.end(), out.begin() + top.argstarts[0]);
        }
        out.push_back({top.type, double(top.value)});
      }
      stack.pop_back();
      continue;
    }
    if (t.type == NSLP_TOK_EOF) break;
    fail("operator expected", where(t.pos));
  }
  popOperators(-1, false);
  if (!stack.empty())
    fail(stack.back().kind == Pending::Function ? "argument list without its closing bracket"
                                                : "opening bracket without a closing one",
         where(stack.back().pos));
  out.push_back({NSLP_TOK_EOF, 0.0});
  return out;
}

}  // namespace formula

using namespace formula;

void checkFormula(const std::vector<SlpToken> &f, const FormulaScope &scope) {
  std::vector<int64_t> marks;  // stack depth at each open argument-list marker
  int64_t depth = 0;
  int64_t n = static_cast<int64_t>(f.size());
  for (int64_t i = 0; i < n; ++i) {
    const SlpToken &t = f[i];
    std::string why = tokenError(t.type, t.value, scope, true);
    if (!why.empty()) fail(why, tokenWhere(i) + " (" + describeToken(t.type, t.value) + ")");
    int64_t base = marks.empty() ? 0 : marks.back();
    switch (t.type) {
      case NSLP_TOK_EOF:
        if (i != n - 1) fail("tokens after the end token", tokenWhere(i + 1));
        if (depth != 1 || !marks.empty())
          fail(depth == 0 ? "nothing to compute before the end token"
                          : marks.empty() ? "unbalanced formula: operands left without operators"
                                          : "unbalanced formula: argument list without function",
               tokenWhere(i));
        return;
      case NSLP_TOK_CON:
      case NSLP_TOK_COL:
        ++depth;
        break;
      case NSLP_TOK_OP: {
        int need = t.value == NSLP_OP_UMINUS ? 1 : 2;
        if (depth - base < need) fail("unbalanced formula: operator lacks operands", tokenWhere(i));
        depth -= need - 1;
        break;
      }
      case NSLP_TOK_DEL:
        marks.push_back(depth);
        break;
      case NSLP_TOK_IFUN:
      case NSLP_TOK_UFUN: {
        if (marks.empty()) fail("function without its argument-list marker", tokenWhere(i));
        int64_t nargs = depth - marks.back();
        std::string arity = arityError(t.type, int(t.value), int(std::min<int64_t>(nargs, 1 << 30)),
                                       scope);
        if (!arity.empty()) fail(arity, tokenWhere(i));
        depth = marks.back() + 1;
        marks.pop_back();
        break;
      }
    }
  }
  throw FormulaError("formula without an end token");
}

std::vector<SlpToken> readFormulaTokens(const int *types, const double *values,
                                        int64_t maxtokens, bool parsed,
                                        const FormulaScope &scope) {
  if (!types || !values) throw FormulaError("formula token arrays missing");
  int64_t n = 0;
  while (n < maxtokens && types[n] != NSLP_TOK_EOF) ++n;
  if (n >= maxtokens)
    throw FormulaError(format("formula without an end token within its %lld tokens",
                              static_cast<long long>(std::max<int64_t>(maxtokens, 0))));
  if (parsed) {
    std::vector<SlpToken> f(n + 1);
    for (int64_t i = 0; i <= n; ++i) f[i] = {types[i], i < n ? values[i] : 0.0};
    checkFormula(f, scope);
    return f;
  }
  std::vector<InfixToken> in(n + 1);
  for (int64_t i = 0; i <= n; ++i) {
    double v = i < n ? values[i] : 0.0;
    std::string why = tokenError(types[i], v, scope, false);
    if (!why.empty()) fail(why, tokenWhere(i) + " (" + describeToken(types[i], v) + ")");
    in[i] = {types[i], v, i};
  }
  std::vector<SlpToken> f = toReversePolish(in, scope, tokenWhere);
  checkFormula(f, scope);
  return f;
}

}  // namespace nvrl

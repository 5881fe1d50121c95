// Formulas as infix text: the lexer and parser, and the printer that writes text the parser
// reads back to the same tokens.
#include <charconv>
#include <cmath>
#include <cstring>

#include "core/text.h"
#include "io/numbers.h"
#include "nslp/formula_tokens.h"
#include "nslp/user_functions.h"

namespace nvrl {
namespace {

using formula::InfixToken;

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

// Names are runs of printable non-space characters other than operators, brackets and commas
// (bytes above 0x7f too, so UTF-8 names pass).
bool isNameChar(char c) {
  unsigned char u = static_cast<unsigned char>(c);
  return u > 0x20 && u != 0x7f && !std::strchr("+-*/^(),", c);
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The length of the number at s[i] (digits with an optional fraction and an exponent marked
// e, E, d or D), or 0 when none starts there or it runs on into a name.
size_t numberLength(const std::string &s, size_t i) {
  size_t j = i, digits = 0;
  while (j < s.size() && isDigit(s[j])) ++j, ++digits;
  if (j < s.size() && s[j] == '.') {
    ++j;
    while (j < s.size() && isDigit(s[j])) ++j, ++digits;
  }
  if (!digits) return 0;
  if (j < s.size() && std::strchr("eEdD", s[j])) {
    size_t k = j + 1;
    if (k < s.size() && (s[k] == '+' || s[k] == '-')) ++k;
    if (k < s.size() && isDigit(s[k])) {
      while (k < s.size() && isDigit(s[k])) ++k;
      j = k;
    }
  }
  if (j < s.size() && isNameChar(s[j])) return 0;
  return j - i;
}

double numberValue(const std::string &s, size_t i, size_t len) {
  std::string w = s.substr(i, len);
  for (char &c : w)
    if (c == 'd' || c == 'D') c = 'e';
  double v = 0;
  if (!io::parseNumber(w, v) || !std::isfinite(v)) throw FormulaError("number " + w + " is out of range");
  return v;
}

std::string textWhere(const std::string &text, int64_t pos) {
  std::string shown = text;
  if (text.size() > 72) {
    size_t from = pos > 36 ? size_t(pos - 36) : 0;
    shown = (from ? "..." : "") + text.substr(from, 72) + (from + 72 < text.size() ? "..." : "");
  }
  return format("character %lld of \"%s\"", static_cast<long long>(pos + 1), shown.c_str());
}

const char *const kLiterals[] = {"(", ")", " + ", " - ", "*", "/", "^", "-", ", "};
enum Literal { Open, Close, Plus, Minus, Times, Divide, Power, Negate, Comma };

// Whether the lexer reads name back as one name.
bool writableName(const std::string &name) {
  if (name.empty()) return false;
  for (char c : name)
    if (!isNameChar(c)) return false;
  return numberLength(name, 0) == 0;
}

}  // namespace

std::vector<SlpToken> parseFormulaText(const std::string &text, const FormulaScope &scope,
                                       const std::function<int(const std::string &)> &colIndex) {
  std::vector<InfixToken> toks;
  auto where = [&](int64_t pos) { return textWhere(text, pos); };
  auto fail = [&](const std::string &what, size_t pos) {
    throw FormulaError(what + " at " + where(int64_t(pos)));
  };
  size_t i = 0, n = text.size();
  auto operandNext = [&] {
    if (toks.empty()) return true;
    int t = toks.back().type;
    return t == NSLP_TOK_OP || t == NSLP_TOK_LB || t == NSLP_TOK_DEL;
  };
  while (true) {
    while (i < n && isSpace(text[i])) ++i;
    if (i >= n) break;
    char c = text[i];
    size_t start = i;
    if (c == '(' || c == ')' || c == ',') {
      toks.push_back({c == '(' ? NSLP_TOK_LB : c == ')' ? NSLP_TOK_RB : NSLP_TOK_DEL,
                      c == ',' ? 1.0 : 0.0, int64_t(i)});
      ++i;
      continue;
    }
    if (c == '-' && operandNext()) {
      // A minus sign on a number makes a negative constant, unless a power follows: -2^2 is
      // -(2^2).
      size_t j = i + 1;
      while (j < n && isSpace(text[j])) ++j;
      size_t len = j < n ? numberLength(text, j) : 0;
      if (len) {
        size_t k = j + len;
        while (k < n && isSpace(text[k])) ++k;
        bool power = k < n && (text[k] == '^' || (text[k] == '*' && k + 1 < n && text[k + 1] == '*'));
        if (!power) {
          toks.push_back({NSLP_TOK_CON, -numberValue(text, j, len), int64_t(i)});
          i = j + len;
          continue;
        }
      }
    }
    if (std::strchr("+-*/^", c)) {
      int op = c == '+'   ? NSLP_OP_PLUS
               : c == '-' ? NSLP_OP_MINUS
               : c == '/' ? NSLP_OP_DIVIDE
               : c == '^' ? NSLP_OP_EXPONENT
                          : NSLP_OP_MULTIPLY;
      ++i;
      if (c == '*' && i < n && text[i] == '*') op = NSLP_OP_EXPONENT, ++i;
      toks.push_back({NSLP_TOK_OP, double(op), int64_t(start)});
      continue;
    }
    if (size_t len = numberLength(text, i)) {
      toks.push_back({NSLP_TOK_CON, numberValue(text, i, len), int64_t(i)});
      i += len;
      continue;
    }
    if (!isNameChar(c)) fail(format("unexpected character '%c'", c), i);
    while (i < n && isNameChar(text[i])) ++i;
    std::string name = text.substr(start, i - start);
    size_t k = i;
    while (k < n && isSpace(text[k])) ++k;
    if (k < n && text[k] == '(') {
      if (const formula::InternalFunction *f = formula::internalFunctionByName(name)) {
        toks.push_back({NSLP_TOK_IFUN, double(f->code), int64_t(start)});
      } else if (int u = scope.userfuncs ? scope.userfuncs->find(name) : 0) {
        toks.push_back({NSLP_TOK_UFUN, double(u), int64_t(start)});
      } else {
        fail("unknown function '" + name + "'", start);
      }
      continue;
    }
    int col = colIndex ? colIndex(name) : -1;
    if (col < 0 || col >= scope.ncols) fail("unknown column '" + name + "'", start);
    toks.push_back({NSLP_TOK_COL, double(col), int64_t(start)});
  }
  toks.push_back({NSLP_TOK_EOF, 0.0, int64_t(n)});
  std::vector<SlpToken> f = formula::toReversePolish(toks, scope, where);
  checkFormula(f, scope);
  return f;
}

namespace {

// Writes a checked formula in written order with the brackets it needs, through a sink that
// makes text or tokens of it. In text a minus sign on a number makes a negative constant, so
// negative constants bind like a negation and a negated number needs brackets; as tokens
// both are plain operands.
template <class Sink>
void writeInOrder(const std::vector<SlpToken> &f, bool text, Sink &sink) {
  // The expression tree: node i is token i; its operands in argument order.
  struct Node {
    int prec;  // 5 atoms, 4 power, 3 negation, 2 * /, 1 + -
    size_t first, count;
  };
  size_t n = f.size() - 1;
  std::vector<Node> nodes(n);
  std::vector<size_t> args, stack, marks;
  args.reserve(n);
  for (size_t i = 0; i < n; ++i) {
    const SlpToken &t = f[i];
    Node &nd = nodes[i];
    nd = {5, args.size(), 0};
    switch (t.type) {
      case NSLP_TOK_CON:
        if (text && std::signbit(t.value)) nd.prec = 3;
        break;
      case NSLP_TOK_DEL:
        marks.push_back(stack.size());
        continue;
      case NSLP_TOK_OP:
        nd.prec = formula::precedence(int(t.value));
        nd.count = t.value == NSLP_OP_UMINUS ? 1 : 2;
        break;
      case NSLP_TOK_IFUN:
      case NSLP_TOK_UFUN:
        nd.count = stack.size() - marks.back();
        marks.pop_back();
        break;
    }
    size_t from = stack.size() - nd.count;
    if (formula::reversedArguments(t.type, int(t.value)))
      args.insert(args.end(), stack.rbegin(), stack.rbegin() + nd.count);
    else
      args.insert(args.end(), stack.begin() + from, stack.end());
    stack.resize(from);
    stack.push_back(i);
  }

  // Text writes the constant column as the number 1, which a minus sign would join.
  auto plainNumber = [&](size_t k) {
    return text && ((f[k].type == NSLP_TOK_CON && !std::signbit(f[k].value)) ||
                    (f[k].type == NSLP_TOK_COL && f[k].value < 0));
  };
  // Work items: a node to write (>= 0) or a literal (-1 - Literal).
  std::vector<long long> work{static_cast<long long>(stack.back())};
  auto push = [&](Literal l) { work.push_back(-1 - l); };
  auto pushOperand = [&](size_t k, bool brackets) {
    if (brackets) push(Close);
    work.push_back(static_cast<long long>(k));
    if (brackets) push(Open);
  };
  while (!work.empty()) {
    long long item = work.back();
    work.pop_back();
    if (item < 0) {
      sink.literal(Literal(-1 - item));
      continue;
    }
    size_t k = size_t(item);
    const SlpToken &t = f[k];
    const Node &nd = nodes[k];
    switch (t.type) {
      case NSLP_TOK_CON:
      case NSLP_TOK_COL:
        sink.leaf(t);
        break;
      case NSLP_TOK_OP: {
        int op = int(t.value);
        if (op == NSLP_OP_UMINUS) {
          size_t a = args[nd.first];
          sink.literal(Negate);
          pushOperand(a, nodes[a].prec < 4 || plainNumber(a));
          break;
        }
        size_t l = args[nd.first], r = args[nd.first + 1];
        int lp = nodes[l].prec, rp = nodes[r].prec;
        bool lb, rb;
        Literal sym;
        if (op == NSLP_OP_EXPONENT) {
          lb = lp <= 4, rb = rp < 4, sym = Power;
        } else if (op == NSLP_OP_MULTIPLY || op == NSLP_OP_DIVIDE) {
          lb = lp < 2, rb = rp <= 3, sym = op == NSLP_OP_MULTIPLY ? Times : Divide;
        } else {
          lb = false, rb = rp <= 1 || rp == 3, sym = op == NSLP_OP_PLUS ? Plus : Minus;
        }
        pushOperand(r, rb);
        push(sym);
        pushOperand(l, lb);
        break;
      }
      case NSLP_TOK_IFUN:
      case NSLP_TOK_UFUN: {
        sink.function(t);
        push(Close);
        for (size_t a = nd.count; a-- > 0;) {
          work.push_back(static_cast<long long>(args[nd.first + a]));
          if (a) push(Comma);
        }
        break;
      }
    }
  }
}

struct TextSink {
  const FormulaScope &scope;
  const std::function<std::string(int)> &colName;
  std::string out;

  void literal(Literal l) { out += kLiterals[l]; }
  void leaf(const SlpToken &t) {
    if (t.type == NSLP_TOK_CON) {
      out += io::formatNumber(t.value);
      return;
    }
    int col = int(t.value);
    if (col < 0) {
      out += '1';  // the constant column is the value 1
      return;
    }
    std::string name = colName ? colName(col) : std::string();
    if (!writableName(name))
      throw FormulaError(
          format("column %d has a name that cannot be written in a formula (\"%s\")", col,
                 name.c_str()));
    out += name;
  }
  void function(const SlpToken &t) {
    if (t.type == NSLP_TOK_IFUN) {
      out += formula::internalFunction(int(t.value))->name;
    } else {
      const std::string &name = scope.userfuncs->at(int(t.value)).name;
      if (!writableName(name) || formula::internalFunctionByName(name) ||
          scope.userfuncs->find(name) != int(t.value))
        throw FormulaError("user function name \"" + name + "\" cannot be written in a formula");
      out += name;
    }
    out += '(';
  }
};

struct TokenSink {
  std::vector<SlpToken> out;

  void literal(Literal l) {
    static const SlpToken kTokens[] = {
        {NSLP_TOK_LB, 0},
        {NSLP_TOK_RB, 0},
        {NSLP_TOK_OP, NSLP_OP_PLUS},
        {NSLP_TOK_OP, NSLP_OP_MINUS},
        {NSLP_TOK_OP, NSLP_OP_MULTIPLY},
        {NSLP_TOK_OP, NSLP_OP_DIVIDE},
        {NSLP_TOK_OP, NSLP_OP_EXPONENT},
        {NSLP_TOK_OP, NSLP_OP_UMINUS},
        {NSLP_TOK_DEL, 1},
    };
    out.push_back(kTokens[l]);
  }
  void leaf(const SlpToken &t) { out.push_back(t); }
  void function(const SlpToken &t) {
    out.push_back(t);
    out.push_back({NSLP_TOK_LB, 0});
  }
};

}  // namespace

std::string formatFormulaText(const std::vector<SlpToken> &f, const FormulaScope &scope,
                              const std::function<std::string(int)> &colName) {
  checkFormula(f, scope);
  TextSink sink{scope, colName, {}};
  writeInOrder(f, true, sink);
  return std::move(sink.out);
}

std::vector<SlpToken> unparseFormula(const std::vector<SlpToken> &f, const FormulaScope &scope) {
  checkFormula(f, scope);
  TokenSink sink;
  sink.out.reserve(f.size() + f.size() / 2);
  writeInOrder(f, false, sink);
  sink.out.push_back({NSLP_TOK_EOF, 0});
  return std::move(sink.out);
}

}  // namespace nvrl

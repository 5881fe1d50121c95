// Formulas: reading token lists and text, writing text, values and exact gradients.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "nslp/formula.h"
#include "nslp/user_functions.h"
#include "nvrl.h"

using nvrl::FormulaError;
using nvrl::FormulaScope;
using nvrl::FormulaTape;
using nvrl::FormulaWorkspace;
using nvrl::SlpToken;

namespace {

constexpr int kCols = 4;  // columns x0..x3

int colIndex(const std::string &name) {
  if (name.size() == 2 && name[0] == 'x' && name[1] >= '0' && name[1] < '0' + kCols)
    return name[1] - '0';
  if (name == "long.name_1") return 3;
  return -1;
}
std::string colName(int c) { return c == 3 ? "long.name_1" : "x" + std::to_string(c); }

// Two user functions: f(a, b) = a - 2*b^3 with its own derivatives, g(a) = a*exp(a) without.
struct Fixture {
  nvrl::UserFunctionTable funcs;
  FormulaScope scope{kCols, &funcs};
  Fixture() {
    funcs.add({"f", 2, true,
               [](const double *x, int, double *v, double *g, std::string &) {
                 *v = x[0] - 2 * x[1] * x[1] * x[1];
                 if (g) g[0] = 1, g[1] = -6 * x[1] * x[1];
                 return true;
               }});
    funcs.add({"g", 1, false, [](const double *x, int, double *v, double *, std::string &err) {
                 if (x[0] > 50) {
                   err = "too large";
                   return false;
                 }
                 *v = x[0] * std::exp(x[0]);
                 return true;
               }});
  }
};

std::vector<SlpToken> parse(const std::string &text, const FormulaScope &scope) {
  return nvrl::parseFormulaText(text, scope, colIndex);
}

bool sameTokens(const std::vector<SlpToken> &a, const std::vector<SlpToken> &b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (a[i].type != b[i].type || a[i].value != b[i].value ||
        std::signbit(a[i].value) != std::signbit(b[i].value))
      return false;
  return true;
}

std::string dump(const std::vector<SlpToken> &f) {
  std::string s;
  for (const SlpToken &t : f) s += "(" + std::to_string(t.type) + "," + std::to_string(t.value) + ")";
  return s;
}

// ---- random formulas -------------------------------------------------------------------
//
// A small expression tree with an independent recursive evaluator. Arguments of functions
// with a restricted domain are wrapped so that every point in [-2, 2]^4 is inside it.

struct Node {
  enum Kind { Con, Col, Neg, Bin, Fun, User } kind;
  double value = 0;  // constant, column, operator, function code, user function index
  std::vector<std::unique_ptr<Node>> kids;
};
using P = std::unique_ptr<Node>;

template <typename... Kids>
P node(Node::Kind kind, double value, Kids... kids) {
  P n(new Node{kind, value, {}});
  (n->kids.push_back(std::move(kids)), ...);
  return n;
}
P con(double v) { return node(Node::Con, v); }
P col(int c) { return node(Node::Col, c); }
P neg(P a) { return node(Node::Neg, NSLP_OP_UMINUS, std::move(a)); }
P bin(int op, P a, P b) { return node(Node::Bin, op, std::move(a), std::move(b)); }
P fun(int code, std::vector<P> args, Node::Kind k = Node::Fun) {
  P n = node(k, code);
  n->kids = std::move(args);
  return n;
}
P fun1(int code, P a) { return node(Node::Fun, code, std::move(a)); }

class Generator {
 public:
  explicit Generator(unsigned seed) : rng_(seed) {}

  P make(int depth) {
    if (depth <= 0 || pick(5) == 0) return leaf();
    switch (pick(8)) {
      case 0: return neg(make(depth - 1));
      case 1: case 2: {
        static const int ops[] = {NSLP_OP_PLUS, NSLP_OP_MINUS, NSLP_OP_MULTIPLY};
        return bin(ops[pick(3)], make(depth - 1), make(depth - 1));
      }
      case 3:
        // a / (b^2 + 0.5): the divisor stays away from 0
        return bin(NSLP_OP_DIVIDE, make(depth - 1), positive(depth - 1));
      case 4: return power(depth);
      default: return function(depth);
    }
  }

 private:
  std::mt19937 rng_;
  int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
  double real(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(rng_); }

  P leaf() {
    if (pick(3)) return col(pick(kCols));
    // Constants of every sign, some with many digits, some exact integers.
    double v = pick(2) ? real(-3, 3) : double(pick(7) - 3);
    return con(v);
  }
  P positive(int depth) {  // at least 0.5
    return bin(NSLP_OP_PLUS, bin(NSLP_OP_EXPONENT, make(depth), con(2)), con(0.5));
  }
  P bounded(int depth) {  // within [-0.9, 0.9]
    return bin(NSLP_OP_MULTIPLY, con(0.9), fun1(NSLP_FN_SIN, make(depth)));
  }
  P power(int depth) {
    switch (pick(4)) {
      case 0: return bin(NSLP_OP_EXPONENT, make(depth - 1), con(double(pick(3) + 2)));  // 2..4
      case 1: return bin(NSLP_OP_EXPONENT, positive(depth - 1), con(real(-1.5, 1.5)));
      case 2:  // a variable exponent on a positive base
        return bin(NSLP_OP_EXPONENT, positive(depth - 1), bounded(depth - 1));
      default:  // a negative constant base to an integer power written as a sum
        return bin(NSLP_OP_EXPONENT, con(-1.5), bin(NSLP_OP_PLUS, con(1), con(2)));
    }
  }
  P function(int depth) {
    int d = depth - 1;
    switch (pick(17)) {
      case 0: return fun1(NSLP_FN_LOG10, positive(d));
      case 1: return fun1(NSLP_FN_LN, positive(d));
      case 2: return fun1(NSLP_FN_EXP, bounded(d));
      case 3: return fun1(NSLP_FN_ABS, make(d));
      case 4: return fun1(NSLP_FN_SQRT, positive(d));
      case 5: return fun1(NSLP_FN_SIN, make(d));
      case 6: return fun1(NSLP_FN_COS, make(d));
      case 7: return fun1(NSLP_FN_TAN, bounded(d));
      case 8: return fun1(NSLP_FN_ARCSIN, bounded(d));
      case 9: return fun1(NSLP_FN_ARCCOS, bounded(d));
      case 10: return fun1(NSLP_FN_ARCTAN, make(d));
      case 11: case 12: {
        std::vector<P> args;
        for (int i = pick(3) + 1; i > 0; --i) args.push_back(make(d));
        return fun(pick(2) ? NSLP_FN_MIN : NSLP_FN_MAX, std::move(args));
      }
      case 13: {
        std::vector<P> args;
        args.push_back(make(d));
        double x = real(-3, -1);
        for (int i = pick(4) + 1; i > 0; --i) {
          args.push_back(con(x));
          args.push_back(con(real(-2, 2)));
          x += real(0.2, 2);
        }
        return fun(NSLP_FN_PWL, std::move(args));
      }
      case 14: return bin(NSLP_OP_MULTIPLY, fun1(NSLP_FN_SIGN, make(d)), make(d));
      case 15: return fun1(pick(2) ? NSLP_FN_ERF : NSLP_FN_ERFC, make(d));
      default:
        if (pick(2)) return node(Node::User, 1, make(d), bounded(d));
        return node(Node::User, 2, bounded(d));
    }
  }
};

// Reverse Polish as the module writes it: a marker before every function's arguments, pwl
// and user-function arguments last-first.
void rpn(const Node &n, std::vector<int> &ty, std::vector<double> &va) {
  auto put = [&](int t, double v) { ty.push_back(t), va.push_back(v); };
  switch (n.kind) {
    case Node::Con: put(NSLP_TOK_CON, n.value); break;
    case Node::Col: put(NSLP_TOK_COL, n.value); break;
    case Node::Neg: rpn(*n.kids[0], ty, va), put(NSLP_TOK_OP, NSLP_OP_UMINUS); break;
    case Node::Bin:
      rpn(*n.kids[0], ty, va), rpn(*n.kids[1], ty, va), put(NSLP_TOK_OP, n.value);
      break;
    case Node::Fun:
    case Node::User: {
      put(NSLP_TOK_DEL, 0);
      bool reversed = n.kind == Node::User || n.value == NSLP_FN_PWL;
      for (size_t i = 0; i < n.kids.size(); ++i)
        rpn(*n.kids[reversed ? n.kids.size() - 1 - i : i], ty, va);
      put(n.kind == Node::Fun ? NSLP_TOK_IFUN : NSLP_TOK_UFUN, n.value);
      break;
    }
  }
}

double reference(const Node &n, const double *x) {
  auto k = [&](size_t i) { return reference(*n.kids[i], x); };
  switch (n.kind) {
    case Node::Con: return n.value;
    case Node::Col: return x[int(n.value)];
    case Node::Neg: return -k(0);
    case Node::Bin:
      switch (int(n.value)) {
        case NSLP_OP_PLUS: return k(0) + k(1);
        case NSLP_OP_MINUS: return k(0) - k(1);
        case NSLP_OP_MULTIPLY: return k(0) * k(1);
        case NSLP_OP_DIVIDE: return k(0) / k(1);
        default: return std::pow(k(0), k(1));
      }
    case Node::User: {
      double a = k(0);
      return n.value == 1 ? a - 2 * std::pow(k(1), 3) : a * std::exp(a);
    }
    case Node::Fun:
      switch (int(n.value)) {
        case NSLP_FN_LOG10: return std::log10(k(0));
        case NSLP_FN_LN: return std::log(k(0));
        case NSLP_FN_EXP: return std::exp(k(0));
        case NSLP_FN_ABS: return std::fabs(k(0));
        case NSLP_FN_SQRT: return std::sqrt(k(0));
        case NSLP_FN_SIN: return std::sin(k(0));
        case NSLP_FN_COS: return std::cos(k(0));
        case NSLP_FN_TAN: return std::tan(k(0));
        case NSLP_FN_ARCSIN: return std::asin(k(0));
        case NSLP_FN_ARCCOS: return std::acos(k(0));
        case NSLP_FN_ARCTAN: return std::atan(k(0));
        case NSLP_FN_SIGN: return k(0) > 0 ? 1 : k(0) < 0 ? -1 : 0;
        case NSLP_FN_ERF: return std::erf(k(0));
        case NSLP_FN_ERFC: return std::erfc(k(0));
        case NSLP_FN_MIN:
        case NSLP_FN_MAX: {
          double r = k(0);
          for (size_t i = 1; i < n.kids.size(); ++i)
            r = n.value == NSLP_FN_MIN ? std::min(r, k(i)) : std::max(r, k(i));
          return r;
        }
        case NSLP_FN_PWL: {
          double t = k(0);
          size_t m = (n.kids.size() - 1) / 2;
          if (m == 1) return k(2);
          size_t s = 0;  // segment: the last one whose left end is below t, clamped
          while (s + 2 < m && t > k(1 + 2 * (s + 1))) ++s;
          double x0 = k(1 + 2 * s), y0 = k(2 + 2 * s), x1 = k(3 + 2 * s), y1 = k(4 + 2 * s);
          return y0 + (y1 - y0) * (t - x0) / (x1 - x0);
        }
      }
  }
  return NAN;
}

class RandomFormulas : public ::testing::TestWithParam<unsigned> {};

TEST_P(RandomFormulas, ValuesGradientsAndRoundTrips) {
  Fixture fx;
  Generator gen(GetParam());
  std::mt19937 pts(GetParam() * 7919u + 1);
  std::uniform_real_distribution<double> coord(-2, 2);
  for (int trial = 0; trial < 60; ++trial) {
    P tree = gen.make(4);
    std::vector<int> ty;
    std::vector<double> va;
    rpn(*tree, ty, va);
    ty.push_back(NSLP_TOK_EOF), va.push_back(0);
    std::vector<SlpToken> f =
        nvrl::readFormulaTokens(ty.data(), va.data(), int64_t(ty.size()), true, fx.scope);
    ASSERT_EQ(f.size(), ty.size());

    // Written-order tokens with minimal brackets read back the same.
    std::vector<SlpToken> un = nvrl::unparseFormula(f, fx.scope);
    std::vector<int> uty;
    std::vector<double> uva;
    for (const SlpToken &t : un) uty.push_back(t.type), uva.push_back(t.value);
    ASSERT_TRUE(sameTokens(f, nvrl::readFormulaTokens(uty.data(), uva.data(), int64_t(un.size()),
                                                      false, fx.scope)))
        << dump(un);

    // Text round trip, token for token.
    std::string text = nvrl::formatFormulaText(f, fx.scope, colName);
    std::vector<SlpToken> back;
    ASSERT_NO_THROW(back = parse(text, fx.scope)) << text;
    ASSERT_TRUE(sameTokens(f, back)) << text << "\n" << dump(f) << "\n" << dump(back);

    FormulaTape tape(f, fx.scope);
    FormulaWorkspace ws;
    const std::vector<int> &cols = tape.columns();
    for (int p = 0; p < 3; ++p) {
      double x[kCols];
      for (double &c : x) c = coord(pts);
      double v = 0, vg = 0;
      ASSERT_TRUE(tape.value(x, v, ws)) << text << ": " << ws.error;
      double want = reference(*tree, x);
      ASSERT_NEAR(v, want, 1e-12 * std::max(1.0, std::fabs(want))) << text;
      std::vector<double> grad(cols.size());
      ASSERT_TRUE(tape.gradient(x, vg, grad.data(), ws)) << text << ": " << ws.error;
      EXPECT_EQ(v, vg);
      for (size_t k = 0; k < cols.size(); ++k) {
        double xs[kCols];
        std::copy(x, x + kCols, xs);
        double h = 1e-6;
        xs[cols[k]] = x[cols[k]] + h;
        double up = reference(*tree, xs);
        xs[cols[k]] = x[cols[k]] - h;
        double down = reference(*tree, xs);
        double fd = (up - down) / (2 * h);
        // Central differences lose about 1e-10 relative to the value's scale.
        double tol = 1e-5 * std::max({1.0, std::fabs(fd), std::fabs(v)});
        EXPECT_NEAR(grad[k], fd, tol) << text << " by x" << cols[k] << " at (" << x[0] << ", "
                                      << x[1] << ", " << x[2] << ", " << x[3] << ")";
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomFormulas, ::testing::Range(1u, 9u));

// ---- known values ------------------------------------------------------------------------

struct Known {
  const char *text;
  double x0, x1, want;
};

void PrintTo(const Known &k, std::ostream *os) { *os << k.text << " at " << k.x0 << ", " << k.x1; }

class KnownValues : public ::testing::TestWithParam<Known> {};

TEST_P(KnownValues, Evaluate) {
  Fixture fx;
  const Known &k = GetParam();
  std::vector<SlpToken> f = parse(k.text, fx.scope);
  FormulaTape tape(f, fx.scope);
  FormulaWorkspace ws;
  double x[kCols] = {k.x0, k.x1, 0, 0}, v = 0;
  ASSERT_TRUE(tape.value(x, v, ws)) << ws.error;
  EXPECT_NEAR(v, k.want, 1e-14 * std::max(1.0, std::fabs(k.want))) << k.text;
}

const double kPi = 3.14159265358979323846;

INSTANTIATE_TEST_SUITE_P(
    Functions, KnownValues,
    ::testing::Values(
        Known{"log10(x0)", 1000, 0, 3}, Known{"ln(x0)", std::exp(2.0), 0, 2},
        Known{"LOG(x0)", 1, 0, 0}, Known{"exp(x0)", 1, 0, std::exp(1.0)},
        Known{"abs(x0)", -2.5, 0, 2.5}, Known{"sqrt(x0)", 2.25, 0, 1.5},
        Known{"sin(x0)", kPi / 6, 0, 0.5}, Known{"cos(x0)", kPi / 3, 0, 0.5},
        Known{"tan(x0)", kPi / 4, 0, 1}, Known{"arcsin(x0)", 1, 0, kPi / 2},
        Known{"ACOS(x0)", -1, 0, kPi}, Known{"atan(x0)", 1, 0, kPi / 4},
        Known{"min(x0, 3, x1)", 4, -1, -1}, Known{"max(x0)", 4, 0, 4},
        Known{"max(x0, 3, x1)", 2, 1, 3}, Known{"sign(x0)", -3, 0, -1},
        Known{"sign(x0)", 0, 0, 0}, Known{"erf(x0)", 0.5, 0, std::erf(0.5)},
        Known{"erfc(x0)", 0.5, 0, std::erfc(0.5)}, Known{"f(x0, x1)", 5, 2, -11},
        // pwl: interpolation, a jump (left value at the jump), linear extrapolation
        Known{"pwl(x0, 0, 0, 1, 1, 2, 3)", 1.5, 0, 2},
        Known{"pwl(x0, 0, 0, 1, 1, 2, 3)", 3, 0, 5},
        Known{"pwl(x0, 0, 0, 1, 1, 2, 3)", -1, 0, -1},
        Known{"pwl(x0, 0, 0, 1, 1, 1, 5, 2, 5)", 1, 0, 1},
        Known{"pwl(x0, 0, 0, 1, 1, 1, 5, 2, 5)", 1.5, 0, 5},
        Known{"pwl(x0, 7, 4)", -100, 0, 4},
        // precedence and associativity
        Known{"-x0^2", 3, 0, -9}, Known{"-2^2", 0, 0, -4}, Known{"(-2)^2", 0, 0, 4},
        Known{"2^3^2", 0, 0, 512}, Known{"x0**2", 3, 0, 9}, Known{"2^-1", 0, 0, 0.5},
        Known{"2^-x0*3", 1, 0, 1.5}, Known{"8/4/2", 0, 0, 1}, Known{"2-3-4", 0, 0, -5},
        Known{"1 + 2*3", 0, 0, 7}, Known{"-x0*x1", 2, 3, -6}, Known{"x0 - -x1", 2, 3, 5},
        // powers: negative bases with integer exponents, numbers in every notation
        Known{"x0^3", -2, 0, -8}, Known{"x0^(1+1)", -3, 0, 9}, Known{"x0^-2", -2, 0, 0.25},
        Known{"1.5D-3*1000", 0, 0, 1.5}, Known{"2.5e+2 + .5 + 1d1", 0, 0, 260.5},
        Known{"2.*x0", 3, 0, 6}, Known{"long.name_1 + 1", 0, 0, 1}));

// ---- domain errors -----------------------------------------------------------------------

struct Domain {
  const char *text;
  double x0, x1;
  bool valueFails;  // else only the gradient fails
  const char *message;
};

void PrintTo(const Domain &d, std::ostream *os) { *os << d.text << " at " << d.x0 << ", " << d.x1; }

class DomainErrors : public ::testing::TestWithParam<Domain> {};

TEST_P(DomainErrors, FailWithMessage) {
  Fixture fx;
  const Domain &d = GetParam();
  FormulaTape tape(parse(d.text, fx.scope), fx.scope);
  FormulaWorkspace ws;
  double x[kCols] = {d.x0, d.x1, 0, 0}, v = 0, g[kCols];
  EXPECT_EQ(!d.valueFails, tape.value(x, v, ws)) << d.text;
  if (d.valueFails) {
    EXPECT_NE(ws.error.find(d.message), std::string::npos) << ws.error;
  }
  ws.error.clear();
  EXPECT_FALSE(tape.gradient(x, v, g, ws)) << d.text;
  EXPECT_NE(ws.error.find(d.message), std::string::npos) << ws.error;
}

INSTANTIATE_TEST_SUITE_P(
    Functions, DomainErrors,
    ::testing::Values(Domain{"ln(x0)", 0, 0, true, "ln of a non-positive"},
                      Domain{"log10(x0)", -1, 0, true, "log10 of a non-positive"},
                      Domain{"sqrt(x0)", -1e-300, 0, true, "sqrt of a negative"},
                      Domain{"x1/x0", 0, 1, true, "division by zero"},
                      Domain{"arcsin(x0)", 1.5, 0, true, "arcsin of a number outside"},
                      Domain{"arccos(x0)", -1.5, 0, true, "arccos of a number outside"},
                      Domain{"x0^0.5", -1, 0, true, "fractional power"},
                      Domain{"x0^x1", -1, 2, true, "non-positive number"},
                      Domain{"x0^-1", 0, 0, true, "zero to a negative power"},
                      Domain{"exp(x0)", 1000, 0, true, "not finite"},
                      Domain{"g(x0)", 60, 0, true, "too large"},
                      Domain{"pwl(x0, 0, 1, 0, 2, 1, 3)", -1, 0, true, "first segment is vertical"},
                      Domain{"pwl(x0, 1, 1, 0, 2)", 0.5, 0, true, "not in increasing order"},
                      Domain{"sqrt(x0)", 0, 0, false, "derivative of sqrt"},
                      Domain{"x0^0.5", 0, 0, false, "derivative of a power"},
                      Domain{"arcsin(x0)", 1, 0, false, "derivative of arcsin"}));

TEST(FormulaTape, NonDifferentiablePointsGetAChosenDerivative) {
  Fixture fx;
  FormulaWorkspace ws;
  double g[2], v;
  struct Case {
    const char *text;
    double x0, x1, d0, d1;
  } cases[] = {
      {"abs(x0) + x1", 0, 1, 0, 1},                  // subgradient 0
      {"max(x0, x1)", 2, 2, 1, 0},                   // the first argument that attains it
      {"min(x1, x0)", 2, 2, 0, 1},
      {"pwl(x0, 0, 0, 1, 1, 2, 3) + 0*x1", 1, 0, 1, 0},  // the left segment at a breakpoint
      {"max(sqrt(x0), x1)", 0, 1, 0, 1},             // a derivative that is not needed
      {"x0^0 + x0^1 + 0*x1", 0, 0, 1, 0},
  };
  for (const Case &c : cases) {
    FormulaTape tape(parse(c.text, fx.scope), fx.scope);
    ASSERT_EQ(2u, tape.columns().size()) << c.text;
    double x[kCols] = {c.x0, c.x1, 0, 0};
    ASSERT_TRUE(tape.gradient(x, v, g, ws)) << c.text << ": " << ws.error;
    EXPECT_EQ(c.d0, g[0]) << c.text;
    EXPECT_EQ(c.d1, g[1]) << c.text;
  }
}

TEST(FormulaTape, UserFunctionsDifferencedAndOwnDerivatives) {
  Fixture fx;
  FormulaTape tape(parse("f(x1, x0) + g(x2)", fx.scope), fx.scope);
  ASSERT_EQ((std::vector<int>{0, 1, 2}), tape.columns());
  FormulaWorkspace ws;
  double x[kCols] = {0.5, 3, 0.7, 0}, v, g[3];
  ASSERT_TRUE(tape.gradient(x, v, g, ws)) << ws.error;
  EXPECT_DOUBLE_EQ(3 - 2 * 0.125 + 0.7 * std::exp(0.7), v);
  EXPECT_DOUBLE_EQ(-6 * 0.25, g[0]);
  EXPECT_DOUBLE_EQ(1, g[1]);
  EXPECT_NEAR(1.7 * std::exp(0.7), g[2], 1e-8);
}

TEST(FormulaTape, ConstantColumnIsOne) {
  int ty[] = {NSLP_TOK_COL, NSLP_TOK_COL, NSLP_TOK_OP, NSLP_TOK_EOF};
  double va[] = {-1, 0, NSLP_OP_MINUS, 0};
  FormulaScope scope{1, nullptr};
  auto f = nvrl::readFormulaTokens(ty, va, 4, true, scope);
  FormulaTape tape(f, scope);
  EXPECT_EQ(std::vector<int>{0}, tape.columns());
  FormulaWorkspace ws;
  double x = 5, v, g;
  ASSERT_TRUE(tape.gradient(&x, v, &g, ws));
  EXPECT_EQ(-4, v);
  EXPECT_EQ(-1, g);
  EXPECT_EQ("1 - x0", nvrl::formatFormulaText(f, scope, colName));
}

// Long sums and deep nesting: nothing recurses over the tokens.
TEST(FormulaTape, VeryLongAndDeepFormulas) {
  const int n = 200000;
  FormulaScope scope{1, nullptr};
  std::vector<SlpToken> chain{{NSLP_TOK_COL, 0}};
  for (int i = 1; i < n; ++i)
    chain.push_back({NSLP_TOK_COL, 0}), chain.push_back({NSLP_TOK_OP, NSLP_OP_PLUS});
  chain.push_back({NSLP_TOK_EOF, 0});
  std::vector<SlpToken> nest{{NSLP_TOK_COL, 0}};
  for (int i = 0; i < n; ++i) nest.push_back({NSLP_TOK_OP, NSLP_OP_UMINUS});
  nest.push_back({NSLP_TOK_EOF, 0});
  std::string brackets = std::string(n, '(') + "x0" + std::string(n, ')');
  for (const std::vector<SlpToken> *fp : {&chain, &nest}) {
    const std::vector<SlpToken> &f = *fp;
    FormulaTape tape(f, scope);
    FormulaWorkspace ws;
    double x = 2, v, g;
    ASSERT_TRUE(tape.gradient(&x, v, &g, ws));
    EXPECT_EQ(fp == &chain ? 2.0 * n : 2.0, v);
    std::string text = nvrl::formatFormulaText(f, scope, colName);
    EXPECT_TRUE(sameTokens(f, parse(text, scope)));
  }
  EXPECT_TRUE(sameTokens({{NSLP_TOK_COL, 0}, {NSLP_TOK_EOF, 0}}, parse(brackets, scope)));
}

// ---- text form ----------------------------------------------------------------------------

TEST(FormulaText, MinimalBracketsAndExactConstants) {
  Fixture fx;
  struct Case {
    const char *in, *out;
  } cases[] = {
      {"x0 + (x1*x2)", "x0 + x1*x2"},
      {"(x0 + x1)*x2", "(x0 + x1)*x2"},
      {"x0 - (x1 - x2)", "x0 - (x1 - x2)"},
      {"(x0 - x1) - x2", "x0 - x1 - x2"},
      {"x0 / (x1 * x2)", "x0/(x1*x2)"},
      {"(x0^x1)^x2", "(x0^x1)^x2"},
      {"x0^(x1^x2)", "x0^x1^x2"},
      {"-(x0^2)", "-x0^2"},
      {"(-x0)^2", "(-x0)^2"},
      {"x0 * (-2)", "x0*(-2)"},
      {"-(2)", "-(2)"},
      {"- 2 ** x0", "-2^x0"},
      {"(-2)**x0", "(-2)^x0"},
      {"0.1 + 1e300 - 1.25E-300", "0.1 + 1e+300 - 1.25e-300"},
      {"SIN(x0) * Log(x1)", "sin(x0)*ln(x1)"},
      {"f(g(x0), x1)", "f(g(x0), x1)"},
      {"pwl(x0, -1, 2, 3, 4)", "pwl(x0, -1, 2, 3, 4)"},
  };
  for (const Case &c : cases) {
    std::vector<SlpToken> f = parse(c.in, fx.scope);
    std::string text = nvrl::formatFormulaText(f, fx.scope, colName);
    EXPECT_EQ(c.out, text) << c.in;
    EXPECT_TRUE(sameTokens(f, parse(text, fx.scope))) << c.in;
  }
  // 17 significant digits survive.
  std::vector<SlpToken> f{{NSLP_TOK_CON, 0.1 + 0.2}, {NSLP_TOK_EOF, 0}};
  EXPECT_EQ(0.1 + 0.2, parse(nvrl::formatFormulaText(f, fx.scope, colName), fx.scope)[0].value);
}

TEST(FormulaText, NamesThatCannotBeWritten) {
  FormulaScope scope{1, nullptr};
  std::vector<SlpToken> f{{NSLP_TOK_COL, 0}, {NSLP_TOK_EOF, 0}};
  for (const char *name : {"", "a b", "a+b", "1e5", "12", "f(x)"})
    EXPECT_THROW(nvrl::formatFormulaText(f, scope, [&](int) { return std::string(name); }),
                 FormulaError)
        << name;
  for (const char *name : {"2x", "exp", "a.b[3]", "_1e5"})
    EXPECT_EQ(name, nvrl::formatFormulaText(f, scope, [&](int) { return std::string(name); }));
}

struct BadText {
  const char *text;
  const char *message;
};

void PrintTo(const BadText &b, std::ostream *os) { *os << '"' << b.text << '"'; }

class FormulaTextErrors : public ::testing::TestWithParam<BadText> {};

TEST_P(FormulaTextErrors, SayWhat) {
  Fixture fx;
  try {
    parse(GetParam().text, fx.scope);
    FAIL() << GetParam().text << " was accepted";
  } catch (const FormulaError &e) {
    EXPECT_NE(std::string(e.what()).find(GetParam().message), std::string::npos) << e.what();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Syntax, FormulaTextErrors,
    ::testing::Values(BadText{"x0 + * x1", "operator where an operand is expected at character 6"},
                      BadText{"", "empty formula"},
                      BadText{"x0 +", "ends where an operand is expected at character 5"},
                      BadText{"x0 x1", "operator expected at character 4"},
                      BadText{"(x0 + x1", "opening bracket without a closing one at character 1"},
                      BadText{"x0)", "closing bracket without an opening one at character 3"},
                      BadText{"sin(x0", "argument list without its closing bracket"},
                      BadText{"sin(x0, x1)", "sin takes 1 argument, not 2"},
                      BadText{"min()", "empty or unfinished argument"},
                      BadText{"pwl(x0, 1, 2, 3)", "pwl takes its input"},
                      BadText{"f(x0)", "user function f takes 2 arguments, not 1"},
                      BadText{"x0, x1", "comma outside"},
                      BadText{"(x0, x1)", "comma outside"},
                      BadText{"foo(x0)", "unknown function 'foo' at character 1"},
                      BadText{"x0 + y", "unknown column 'y' at character 6"},
                      BadText{"2x0", "unknown column '2x0'"},
                      BadText{"x0 # 2", "unknown column '#'"},
                      BadText{"1e999", "out of range"},
                      BadText{"x0 - -", "ends where an operand is expected"}));

// ---- bad token lists -----------------------------------------------------------------------

struct BadTokens {
  bool parsed;
  std::vector<int> types;
  std::vector<double> values;
  const char *message;
};

void PrintTo(const BadTokens &b, std::ostream *os) { *os << b.message; }

class FormulaTokenErrors : public ::testing::TestWithParam<BadTokens> {};

TEST_P(FormulaTokenErrors, Rejected) {
  Fixture fx;
  const BadTokens &b = GetParam();
  try {
    nvrl::readFormulaTokens(b.types.data(), b.values.data(), int64_t(b.types.size()), b.parsed,
                            fx.scope);
    FAIL() << "accepted";
  } catch (const FormulaError &e) {
    EXPECT_NE(std::string(e.what()).find(b.message), std::string::npos) << e.what();
  }
}

const int CON = NSLP_TOK_CON, COL = NSLP_TOK_COL, OP = NSLP_TOK_OP, IFUN = NSLP_TOK_IFUN,
          UFUN = NSLP_TOK_UFUN, DEL = NSLP_TOK_DEL, LB = NSLP_TOK_LB, RB = NSLP_TOK_RB, END = 0;

INSTANTIATE_TEST_SUITE_P(
    Lists, FormulaTokenErrors,
    ::testing::Values(
        BadTokens{true, {COL, COL, END}, {0, 1, 0}, "operands left without operators"},
        BadTokens{true, {COL, OP, END}, {0, NSLP_OP_PLUS, 0}, "operator lacks operands at token 1"},
        BadTokens{true, {END}, {0}, "nothing to compute"},
        BadTokens{true, {COL, 99, END}, {0, 0, 0}, "unknown token type 99 at token 1"},
        BadTokens{true, {COL, OP, END}, {0, 7, 0}, "unknown operator 7"},
        BadTokens{true, {DEL, COL, IFUN, END}, {0, 0, 13, 0}, "unknown internal function 13"},
        BadTokens{true, {DEL, COL, UFUN, END}, {0, 0, 3, 0}, "user function 3 is not registered"},
        BadTokens{true, {COL, COL}, {0, 1}, "without an end token"},
        BadTokens{true, {DEL, COL, COL, IFUN, END}, {0, 0, 1, NSLP_FN_SIN, 0}, "sin takes 1"},
        BadTokens{true, {DEL, IFUN, END}, {0, NSLP_FN_MAX, 0}, "max needs at least 1"},
        BadTokens{true, {DEL, CON, CON, IFUN, END}, {0, 1, 2, NSLP_FN_PWL, 0}, "pwl takes"},
        BadTokens{true, {COL, IFUN, END}, {0, NSLP_FN_SIN, 0}, "without its argument-list marker"},
        BadTokens{true, {DEL, COL, END}, {0, 0, 0}, "argument list without function"},
        BadTokens{true, {COL, END}, {4, 0}, "column 4 is out of range"},
        BadTokens{true, {COL, END}, {-2, 0}, "column -2 is out of range"},
        BadTokens{true, {COL, END}, {0.5, 0}, "column 0.5 is out of range"},
        BadTokens{true, {CON, END}, {NAN, 0}, "not a finite number"},
        BadTokens{true, {CON, END}, {INFINITY, 0}, "not a finite number"},
        BadTokens{true, {LB, COL, RB, END}, {0, 0, 0, 0}, "brackets cannot appear"},
        BadTokens{false, {COL, OP, COL, END}, {0, 9, 1, 0}, "unknown operator 9"},
        BadTokens{false, {LB, COL, END}, {0, 0, 0}, "opening bracket without a closing one at token 0"},
        BadTokens{false, {IFUN, COL, END}, {NSLP_FN_SIN, 0, 0}, "without its bracketed argument"},
        BadTokens{false, {COL, DEL, COL, END}, {0, 1, 1, 0}, "comma outside"},
        BadTokens{false, {IFUN, LB, COL, DEL, COL, RB, END},
                  {NSLP_FN_SIN, 0, 0, 0, 1, 0, 0}, "comma of an unparsed formula"},
        BadTokens{false, {COL, OP, COL, END}, {0, NSLP_OP_UMINUS, 1, 0}, "unary minus after an operand"},
        BadTokens{false, {COL, COL}, {0, 1}, "without an end token"}));

TEST(FormulaTokens, ReadStopsAtTheEndToken) {
  // Tokens after the end token belong to the next formula.
  int ty[] = {COL, OP, END, 99, 99};
  double va[] = {1, NSLP_OP_UMINUS, 0, 0, 0};
  FormulaScope scope{2, nullptr};
  auto f = nvrl::readFormulaTokens(ty, va, 5, true, scope);
  EXPECT_EQ(3u, f.size());
  // A written-order list: minus in front is negation; unary plus is dropped.
  int ity[] = {OP, COL, OP, OP, COL, END};
  double iva[] = {NSLP_OP_MINUS, 0, NSLP_OP_MULTIPLY, NSLP_OP_PLUS, 1, 0};
  auto g = nvrl::readFormulaTokens(ity, iva, 6, false, scope);
  EXPECT_TRUE(sameTokens(g, {{COL, 0}, {OP, NSLP_OP_UMINUS}, {COL, 1}, {OP, NSLP_OP_MULTIPLY},
                             {END, 0}}))
      << dump(g);
}

}  // namespace

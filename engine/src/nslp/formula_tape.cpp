// Evaluation of formulas: a forward sweep for the value and a reverse sweep for the exact
// gradient over a tape compiled from the reverse-Polish tokens.
#include <algorithm>
#include <cmath>

#include "core/text.h"
#include "nslp/formula_tokens.h"
#include "nslp/user_functions.h"

namespace nvrl {
namespace {

// Step kinds. Internal functions keep their NSLP_FN_ code (all below 100).
enum Kind : int {
  kConst = 100,
  kCol,
  kNeg,
  kAdd,
  kSub,
  kMul,
  kDiv,
  kPow,       // a general power, base > 0
  kPowConst,  // a power whose exponent involves no column
  kUser,
};

constexpr double kLn10 = 2.302585092994045684;
constexpr double kTwoOverSqrtPi = 1.128379167095512574;

// The pwl segment used at t: breakpoints x[2i+1], y[2i+2] of v[args...]; returns the index
// of the segment's left breakpoint, -1 for a single breakpoint, or -2 with err set.
struct Pwl {
  const double *v;
  const int *a;  // a[0] input, a[1 + 2i] x_i, a[2 + 2i] y_i
  int k;         // breakpoints
  double x(int i) const { return v[a[1 + 2 * i]]; }
  double y(int i) const { return v[a[2 + 2 * i]]; }
  int segment(std::string &err) const {
    if (k == 1) return -1;
    for (int i = 0; i + 1 < k; ++i)
      if (!(x(i) <= x(i + 1))) {
        err = format("pwl breakpoints are not in increasing order (%g after %g)", x(i + 1), x(i));
        return -2;
      }
    double t = v[a[0]];
    if (t < x(0)) {
      if (x(1) > x(0)) return 0;
      err = format("pwl cannot extrapolate below %g: its first segment is vertical", x(0));
      return -2;
    }
    for (int i = 0; i + 1 < k; ++i)
      if (x(i) < x(i + 1) && t <= x(i + 1)) return i;
    if (x(k - 1) > x(k - 2)) return k - 2;
    err = format("pwl cannot extrapolate above %g: its last segment is vertical", x(k - 1));
    return -2;
  }
};

}  // namespace

FormulaTape::FormulaTape(const std::vector<SlpToken> &f, const FormulaScope &scope)
    : userfuncs_(scope.userfuncs) {
  size_t n = f.size();
  steps_.reserve(n);
  std::vector<int> stack, marks, colOf;
  for (size_t i = 0; i < n; ++i) {
    const SlpToken &t = f[i];
    if (t.type == NSLP_TOK_EOF) break;
    if (t.type == NSLP_TOK_DEL) {
      marks.push_back(int(stack.size()));
      continue;
    }
    Step s;
    int nargs = 0;
    switch (t.type) {
      case NSLP_TOK_CON:
        s.op = kConst, s.c = t.value;
        break;
      case NSLP_TOK_COL:
        // Checked again here: a stored formula may outlive columns deleted since.
        if (!(t.value >= -1 && t.value < scope.ncols) || t.value != std::floor(t.value))
          throw FormulaError(format("column %g is out of range (-1 to %d)", t.value,
                                    scope.ncols - 1));
        if (t.value < 0) {
          s.op = kConst, s.c = 1.0;
        } else {
          s.op = kCol, s.first = int(t.value);  // a column for now; a position below
          cols_.push_back(int(t.value));
        }
        break;
      case NSLP_TOK_OP:
        nargs = t.value == NSLP_OP_UMINUS ? 1 : 2;
        switch (int(t.value)) {
          case NSLP_OP_UMINUS: s.op = kNeg; break;
          case NSLP_OP_PLUS: s.op = kAdd; break;
          case NSLP_OP_MINUS: s.op = kSub; break;
          case NSLP_OP_MULTIPLY: s.op = kMul; break;
          case NSLP_OP_DIVIDE: s.op = kDiv; break;
          default: s.op = kPow; break;
        }
        break;
      case NSLP_TOK_IFUN:
      case NSLP_TOK_UFUN:
        if (marks.empty()) throw FormulaError("function without its argument-list marker");
        nargs = int(stack.size()) - marks.back();
        marks.pop_back();
        s.op = t.type == NSLP_TOK_UFUN ? int(kUser) : int(t.value);
        s.c = t.value;
        if (t.type == NSLP_TOK_UFUN && (!userfuncs_ || !userfuncs_->valid(int(t.value))))
          throw FormulaError("formula refers to an unregistered user function");
        break;
      default:
        throw FormulaError(format("token type %d cannot be evaluated", t.type));
    }
    if (nargs > int(stack.size())) throw FormulaError("unbalanced formula");
    s.first = nargs ? int(args_.size()) : s.first;
    s.count = nargs;
    size_t from = stack.size() - nargs;
    if (nargs && formula::reversedArguments(t.type, int(t.value)))
      args_.insert(args_.end(), stack.rbegin(), stack.rbegin() + nargs);
    else
      args_.insert(args_.end(), stack.begin() + from, stack.end());
    stack.resize(from);
    stack.push_back(int(steps_.size()));
    steps_.push_back(s);
  }
  if (stack.size() != 1 || !marks.empty()) throw FormulaError("unbalanced formula");

  // A power whose exponent reads no column (and calls no user function) follows the rule
  // for x^c, which allows negative bases for integer exponents.
  std::vector<char> constant(steps_.size());
  for (size_t i = 0; i < steps_.size(); ++i) {
    Step &s = steps_[i];
    bool c = s.op != kCol && s.op != kUser;
    for (int a = 0; a < s.count && c; ++a) c = constant[args_[s.first + a]];
    constant[i] = c;
    if (s.op == kPow && constant[args_[s.first + 1]]) s.op = kPowConst;
  }

  std::sort(cols_.begin(), cols_.end());
  cols_.erase(std::unique(cols_.begin(), cols_.end()), cols_.end());
  for (Step &s : steps_)
    if (s.op == kCol)
      s.first = int(std::lower_bound(cols_.begin(), cols_.end(), s.first) - cols_.begin());
}

bool FormulaTape::value(const double *x, double &result, FormulaWorkspace &ws) const {
  ++ws.stats.formula_values;
  return forward(x, result, ws, false);
}

bool FormulaTape::forward(const double *x, double &result, FormulaWorkspace &ws,
                          bool partials) const {
  size_t n = steps_.size();
  if (!n) {
    ws.error = "empty formula";
    return false;
  }
  if (ws.values.size() < n) ws.values.resize(n);
  if (partials && ws.partials.size() < args_.size()) ws.partials.resize(args_.size());
  double *v = ws.values.data();
  const int *args = args_.data();
  auto fail = [&](const std::string &why) {
    ws.error = why;
    return false;
  };
  for (size_t i = 0; i < n; ++i) {
    const Step &s = steps_[i];
    const int *a = args + s.first;
    double r;
    switch (s.op) {
      case kConst: r = s.c; break;
      case kCol:
        r = x[cols_[s.first]];
        if (!std::isfinite(r)) return fail(format("column %d has no finite value", cols_[s.first]));
        break;
      case kNeg: r = -v[a[0]]; break;
      case kAdd: r = v[a[0]] + v[a[1]]; break;
      case kSub: r = v[a[0]] - v[a[1]]; break;
      case kMul: r = v[a[0]] * v[a[1]]; break;
      case kDiv:
        if (v[a[1]] == 0) return fail("division by zero");
        r = v[a[0]] / v[a[1]];
        break;
      case kPowConst: {
        double b = v[a[0]], e = v[a[1]];
        if (b < 0 && e != std::floor(e))
          return fail(format("negative number (%g) to a fractional power (%g)", b, e));
        if (b == 0 && e < 0) return fail(format("zero to a negative power (%g)", e));
        r = std::pow(b, e);
        break;
      }
      case kPow: {
        double b = v[a[0]], e = v[a[1]];
        if (!(b > 0)) return fail(format("power of a non-positive number (%g) to a variable exponent", b));
        r = std::pow(b, e);
        break;
      }
      case NSLP_FN_LOG10:
      case NSLP_FN_LN:
        if (!(v[a[0]] > 0))
          return fail(format("%s of a non-positive number (%g)",
                             s.op == NSLP_FN_LN ? "ln" : "log10", v[a[0]]));
        r = s.op == NSLP_FN_LN ? std::log(v[a[0]]) : std::log10(v[a[0]]);
        break;
      case NSLP_FN_EXP: r = std::exp(v[a[0]]); break;
      case NSLP_FN_ABS: r = std::fabs(v[a[0]]); break;
      case NSLP_FN_SQRT:
        if (v[a[0]] < 0) return fail(format("sqrt of a negative number (%g)", v[a[0]]));
        r = std::sqrt(v[a[0]]);
        break;
      case NSLP_FN_SIN: r = std::sin(v[a[0]]); break;
      case NSLP_FN_COS: r = std::cos(v[a[0]]); break;
      case NSLP_FN_TAN: r = std::tan(v[a[0]]); break;
      case NSLP_FN_ARCSIN:
      case NSLP_FN_ARCCOS:
        if (!(std::fabs(v[a[0]]) <= 1))
          return fail(format("%s of a number outside [-1, 1] (%g)",
                             s.op == NSLP_FN_ARCSIN ? "arcsin" : "arccos", v[a[0]]));
        r = s.op == NSLP_FN_ARCSIN ? std::asin(v[a[0]]) : std::acos(v[a[0]]);
        break;
      case NSLP_FN_ARCTAN: r = std::atan(v[a[0]]); break;
      case NSLP_FN_SIGN: r = v[a[0]] > 0 ? 1.0 : v[a[0]] < 0 ? -1.0 : 0.0; break;
      case NSLP_FN_ERF: r = std::erf(v[a[0]]); break;
      case NSLP_FN_ERFC: r = std::erfc(v[a[0]]); break;
      case NSLP_FN_MIN:
      case NSLP_FN_MAX: {
        r = v[a[0]];
        for (int j = 1; j < s.count; ++j)
          r = s.op == NSLP_FN_MIN ? std::min(r, v[a[j]]) : std::max(r, v[a[j]]);
        break;
      }
      case NSLP_FN_PWL: {
        Pwl p{v, a, s.count / 2};
        int seg = p.segment(ws.error);
        if (seg == -2) return false;
        if (seg == -1) {
          r = p.y(0);
        } else {
          double w = p.x(seg + 1) - p.x(seg);
          r = p.y(seg) + (p.y(seg + 1) - p.y(seg)) * ((v[a[0]] - p.x(seg)) / w);
        }
        break;
      }
      case kUser: {
        // Arguments are contiguous in args_ but not in v: gather them.
        double buf[16];
        std::vector<double> big;
        double *in = buf;
        if (s.count > 16) big.resize(s.count), in = big.data();
        for (int j = 0; j < s.count; ++j) in[j] = v[a[j]];
        double *pd = partials ? ws.partials.data() + s.first : nullptr;
        if (!userfuncs_->evaluate(int(s.c), in, s.count, r, pd, ws.error, &ws.stats))
          return false;
        break;
      }
      default:
        return fail("unknown step in a formula tape");
    }
    if (!std::isfinite(r)) return fail("the value is not finite (overflow)");
    v[i] = r;
  }
  result = v[n - 1];
  return true;
}

bool FormulaTape::gradient(const double *x, double &result, double *grad,
                           FormulaWorkspace &ws) const {
  ++ws.stats.formula_gradients;
  if (!forward(x, result, ws, true)) return false;
  size_t n = steps_.size();
  ws.adjoints.assign(n, 0.0);
  double *d = ws.adjoints.data();
  const double *v = ws.values.data();
  const int *args = args_.data();
  std::fill(grad, grad + cols_.size(), 0.0);
  auto fail = [&](const std::string &why) {
    ws.error = why;
    return false;
  };
  d[n - 1] = 1.0;
  for (size_t i = n; i-- > 0;) {
    const Step &s = steps_[i];
    double g = d[i];
    // A zero adjoint propagates nothing; skipping it also spares derivatives that do not
    // exist where they do not matter (max(sqrt(x), 1) at x = 0).
    if (g == 0) continue;
    const int *a = args + s.first;
    double u = s.count ? v[a[0]] : 0.0;
    switch (s.op) {
      case kConst: break;
      case kCol: grad[s.first] += g; break;
      case kNeg: d[a[0]] -= g; break;
      case kAdd: d[a[0]] += g, d[a[1]] += g; break;
      case kSub: d[a[0]] += g, d[a[1]] -= g; break;
      case kMul: d[a[0]] += g * v[a[1]], d[a[1]] += g * u; break;
      case kDiv: {
        double q = v[a[1]];
        d[a[0]] += g / q;
        d[a[1]] -= g * v[i] / q;
        break;
      }
      case kPowConst: {
        double e = v[a[1]];
        if (e == 0) break;
        if (u == 0 && e < 1)
          return fail(format("the derivative of a power (%g) does not exist at 0", e));
        d[a[0]] += g * e * std::pow(u, e - 1);
        break;
      }
      case kPow: {
        double e = v[a[1]];
        d[a[0]] += g * e * std::pow(u, e - 1);
        d[a[1]] += g * v[i] * std::log(u);
        break;
      }
      case NSLP_FN_LOG10: d[a[0]] += g / (u * kLn10); break;
      case NSLP_FN_LN: d[a[0]] += g / u; break;
      case NSLP_FN_EXP: d[a[0]] += g * v[i]; break;
      case NSLP_FN_ABS: d[a[0]] += u > 0 ? g : u < 0 ? -g : 0.0; break;
      case NSLP_FN_SQRT:
        if (v[i] == 0) return fail("the derivative of sqrt does not exist at 0");
        d[a[0]] += g * 0.5 / v[i];
        break;
      case NSLP_FN_SIN: d[a[0]] += g * std::cos(u); break;
      case NSLP_FN_COS: d[a[0]] -= g * std::sin(u); break;
      case NSLP_FN_TAN: d[a[0]] += g * (1 + v[i] * v[i]); break;
      case NSLP_FN_ARCSIN:
      case NSLP_FN_ARCCOS: {
        double w = 1 - u * u;
        if (w <= 0)
          return fail(format("the derivative of %s does not exist at %g",
                             s.op == NSLP_FN_ARCSIN ? "arcsin" : "arccos", u));
        d[a[0]] += (s.op == NSLP_FN_ARCSIN ? g : -g) / std::sqrt(w);
        break;
      }
      case NSLP_FN_ARCTAN: d[a[0]] += g / (1 + u * u); break;
      case NSLP_FN_SIGN: break;
      case NSLP_FN_ERF:
      case NSLP_FN_ERFC: {
        double e = kTwoOverSqrtPi * std::exp(-u * u);
        d[a[0]] += s.op == NSLP_FN_ERF ? g * e : -g * e;
        break;
      }
      case NSLP_FN_MIN:
      case NSLP_FN_MAX: {
        // The first argument that attains the value carries the derivative.
        int j = 0;
        while (j + 1 < s.count && v[a[j]] != v[i]) ++j;
        d[a[j]] += g;
        break;
      }
      case NSLP_FN_PWL: {
        Pwl p{v, a, s.count / 2};
        std::string err;
        int seg = p.segment(err);
        if (seg == -1) {
          d[a[2]] += g;
          break;
        }
        int xl = a[1 + 2 * seg], yl = a[2 + 2 * seg], xr = a[3 + 2 * seg], yr = a[4 + 2 * seg];
        double w = v[xr] - v[xl], slope = (v[yr] - v[yl]) / w, frac = (u - v[xl]) / w;
        d[a[0]] += g * slope;
        d[yl] += g * (1 - frac);
        d[yr] += g * frac;
        d[xl] -= g * slope * (1 - frac);
        d[xr] -= g * slope * frac;
        break;
      }
      case kUser: {
        const double *partial = ws.partials.data() + s.first;
        for (int j = 0; j < s.count; ++j) d[a[j]] += g * partial[j];
        break;
      }
    }
  }
  for (size_t k = 0; k < cols_.size(); ++k)
    if (!std::isfinite(grad[k])) return fail("the derivative is not finite");
  return true;
}

}  // namespace nvrl

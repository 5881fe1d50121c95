#include "nslp/user_functions.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#include "core/text.h"

namespace nvrl {

int UserFunctionTable::add(UserFunction f) {
  funcs_.push_back(std::move(f));
  return size();
}

int UserFunctionTable::find(const std::string &name) const {
  for (size_t i = 0; i < funcs_.size(); ++i)
    if (funcs_[i].name == name) return static_cast<int>(i) + 1;
  return 0;
}

bool UserFunctionTable::invoke(int index, const double *x, int n, double &value, double *grad,
                               std::string &err) const {
  const UserFunction &f = at(index);
  if (grad) std::fill(grad, grad + n, NAN);
  if (f.call) {
    if (!f.call(x, n, &value, f.derivatives ? grad : nullptr, err)) {
      if (err.empty()) err = "failed";
      return false;
    }
    return true;
  }
  if (!f.address) {
    err = "has no function address";
    return false;
  }
  UserFunctionCallInfo info{owner_, index, n, grad ? 1 : 0, 0};
  if (!f.derivatives) {
    value = reinterpret_cast<NSLPuserfunc>(f.address)(x, &info);
  } else {
    // results[0] is the value, results[1..n] the derivatives; NaN marks what was not given.
    double small[17];
    std::vector<double> big;
    double *results = small;
    if (n + 1 > 17) big.resize(n + 1), results = big.data();
    std::fill(results, results + n + 1, NAN);
    double smallDeltas[16];
    std::vector<double> bigDeltas;
    double *deltas = nullptr;
    if (grad) {
      deltas = n > 16 ? (bigDeltas.assign(n, 1.0), bigDeltas.data()) : smallDeltas;
      std::fill(deltas, deltas + n, 1.0);
    }
    info.results = 1;
    reinterpret_cast<NSLPuserfuncderiv>(f.address)(x, &info, deltas, results);
    value = results[0];
    if (grad) std::copy(results + 1, results + 1 + n, grad);
  }
  if (std::isnan(value)) {
    err = "failed (no value)";
    return false;
  }
  return true;
}

bool UserFunctionTable::evaluate(int index, const double *x, int n, double &value, double *grad,
                                 std::string &err, SlpEvalStats *stats) const {
  if (!stats) return evaluateCounted(index, x, n, value, grad, err, nullptr);
  // One clock pair per evaluation: user functions cost far more than reading the clock.
  const auto t0 = std::chrono::steady_clock::now();
  const bool ok = evaluateCounted(index, x, n, value, grad, err, stats);
  stats->user_seconds +=
      std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  ++(grad ? stats->user_derivatives : stats->user_values);
  return ok;
}

bool UserFunctionTable::evaluateCounted(int index, const double *x, int n, double &value,
                                        double *grad, std::string &err,
                                        SlpEvalStats *stats) const {
  if (!valid(index)) {
    err = format("user function %d is not defined", index);
    return false;
  }
  const UserFunction &f = at(index);
  auto fail = [&](const std::string &why) {
    err = format("user function %s: %s", f.name.c_str(), why.c_str());
    return false;
  };
  std::string why;
  if (!invoke(index, x, n, value, grad, why)) return fail(why);
  if (!std::isfinite(value)) return fail("the value is not finite");
  if (!grad) return true;
  // Central differences for what the function did not give: the error is O(h^2), and a
  // step near the cube root of the machine epsilon balances it against rounding.
  std::vector<double> xs;
  for (int i = 0; i < n; ++i) {
    if (!std::isnan(grad[i])) {
      if (!std::isfinite(grad[i])) return fail(format("derivative %d is not finite", i + 1));
      continue;
    }
    if (xs.empty()) xs.assign(x, x + n);
    double h = 6.0555e-6 * std::max(1.0, std::fabs(x[i]));
    double up = 0, down = 0;
    if (stats) stats->user_differences += 2;
    xs[i] = x[i] + h;
    double hu = xs[i] - x[i];  // the step actually taken
    if (!invoke(index, xs.data(), n, up, nullptr, why)) return fail(why);
    xs[i] = x[i] - h;
    double hd = x[i] - xs[i];
    if (!invoke(index, xs.data(), n, down, nullptr, why)) return fail(why);
    xs[i] = x[i];
    grad[i] = (up - down) / (hu + hd);
    // also catches a non-finite value near x
    if (!std::isfinite(grad[i])) return fail(format("derivative %d is not finite", i + 1));
  }
  return true;
}

}  // namespace nvrl

#include "nslp/user_functions.h"

#include <algorithm>
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

bool UserFunctionTable::evaluate(int index, const double *x, int n, double &value, double *grad,
                                 std::string &err) const {
  if (!valid(index) || !at(index).call) {
    err = format("user function %d is not defined", index);
    return false;
  }
  const UserFunction &f = at(index);
  auto fail = [&](const std::string &why) {
    err = format("user function %s: %s", f.name.c_str(), why.c_str());
    return false;
  };
  std::string why;
  bool own = grad && f.derivatives;
  if (!f.call(x, n, &value, own ? grad : nullptr, why)) return fail(why.empty() ? "failed" : why);
  if (!std::isfinite(value)) return fail("the value is not finite");
  if (!grad) return true;
  if (own) {
    for (int i = 0; i < n; ++i)
      if (!std::isfinite(grad[i])) return fail(format("derivative %d is not finite", i + 1));
    return true;
  }
  // Central differences with a step scaled to each input: the error is O(h^2), and the
  // cube root of the machine epsilon balances it against rounding.
  std::vector<double> xs(x, x + n);
  for (int i = 0; i < n; ++i) {
    double h = 6.0555e-6 * std::max(1.0, std::fabs(x[i]));
    double up = 0, down = 0;
    xs[i] = x[i] + h;
    volatile double hu = xs[i] - x[i];  // the step actually taken
    if (!f.call(xs.data(), n, &up, nullptr, why)) return fail(why.empty() ? "failed" : why);
    xs[i] = x[i] - h;
    volatile double hd = x[i] - xs[i];
    if (!f.call(xs.data(), n, &down, nullptr, why)) return fail(why.empty() ? "failed" : why);
    xs[i] = x[i];
    grad[i] = (up - down) / (hu + hd);
    if (!std::isfinite(grad[i])) return fail(format("derivative %d is not finite", i + 1));
  }
  return true;
}

}  // namespace nvrl

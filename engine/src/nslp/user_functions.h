// The user functions registered with a nonlinear problem: a name, an input count and a
// callable. Formulas refer to them by index (1-based, in order of registration).
#pragma once

#include <functional>
#include <string>
#include <vector>

#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl {

// Computes the function at x[0..n-1] into *value; grad (null when not wanted, or always when
// the function gives no derivatives) receives the n partial derivatives. Returns false with
// err set when the function fails.
using UserFunctionCall =
    std::function<bool(const double *x, int n, double *value, double *grad, std::string &err)>;

struct UserFunction {
  std::string name;
  int inputs = -1;           // -1: any number of arguments (at least one)
  bool derivatives = false;  // the call fills grad; otherwise derivatives are differenced
  UserFunctionCall call;
};

class NVRL_INTERNAL_API UserFunctionTable {
 public:
  // Registers a function and returns its index.
  int add(UserFunction f);

  int size() const { return static_cast<int>(funcs_.size()); }
  bool valid(int index) const { return index >= 1 && index <= size(); }
  const UserFunction &at(int index) const { return funcs_[index - 1]; }
  UserFunction &at(int index) { return funcs_[index - 1]; }

  // The index of the function with exactly this name, or 0.
  int find(const std::string &name) const;

  // Evaluates function index at x[0..n-1]; with grad non-null also its partial derivatives,
  // by central differences when the function gives none. Returns false with err set when the
  // function is missing, fails, or gives a non-finite value.
  bool evaluate(int index, const double *x, int n, double &value, double *grad,
                std::string &err) const;

 private:
  std::vector<UserFunction> funcs_;
};

}  // namespace nvrl

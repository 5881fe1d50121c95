// The user functions registered with a nonlinear problem: a name, a calling convention and
// either a C function address (the C API) or a C++ callable (the engine's own uses and
// tests). Formulas refer to them by index (1-based, in order of registration).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "nslp/slp_validate.h"
#include "nvrl.h"

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
  bool derivatives = false;  // the function gives derivatives; otherwise they are differenced
  UserFunctionCall call;     // when set, used instead of address
  NSLPfuncaddress address = nullptr;  // NSLPuserfunc, or NSLPuserfuncderiv with derivatives
  void *object = nullptr;             // the caller's, kept for NSLPgetuserfuncobject
};

// What NSLPgetfuncobject and NSLPgetfuncinfo tell a C function about its call.
struct UserFunctionCallInfo {
  NSLPprob slp;
  int index;
  int ninputs;
  int derivatives;
  int results;
};

class NVRL_INTERNAL_API UserFunctionTable {
 public:
  UserFunctionTable() = default;
  // A copy has the functions, not the owner: the owner is the problem the table lives in.
  UserFunctionTable(const UserFunctionTable &o) : funcs_(o.funcs_) {}
  UserFunctionTable &operator=(const UserFunctionTable &o) {
    funcs_ = o.funcs_;
    return *this;
  }
  // Moves too keep the owner, and cannot throw: a restore commits a table by moving it.
  UserFunctionTable(UserFunctionTable &&o) noexcept : funcs_(std::move(o.funcs_)) {}
  UserFunctionTable &operator=(UserFunctionTable &&o) noexcept {
    funcs_ = std::move(o.funcs_);
    return *this;
  }
  void setOwner(NSLPprob owner) { owner_ = owner; }

  // Registers a function and returns its index.
  int add(UserFunction f);

  int size() const { return static_cast<int>(funcs_.size()); }
  bool valid(int index) const { return index >= 1 && index <= size(); }
  const UserFunction &at(int index) const { return funcs_[index - 1]; }
  UserFunction &at(int index) { return funcs_[index - 1]; }

  // The index of the first function with exactly this name, or 0.
  int find(const std::string &name) const;

  // Evaluates function index at x[0..n-1]; with grad non-null also its partial derivatives,
  // by central differences where the function gives none. Returns false with err set when
  // the function is missing, fails, or gives a non-finite value. Safe to call from several
  // threads at once (as safe as the functions themselves). stats, when given, counts the
  // calls and their time.
  bool evaluate(int index, const double *x, int n, double &value, double *grad,
                std::string &err, SlpEvalStats *stats = nullptr) const;

 private:
  // evaluate() without the clock; counts the difference calls into stats when given.
  bool evaluateCounted(int index, const double *x, int n, double &value, double *grad,
                       std::string &err, SlpEvalStats *stats) const;
  // One call: the value, and with grad the derivatives the function gives (others NaN).
  bool invoke(int index, const double *x, int n, double &value, double *grad,
              std::string &err) const;

  std::vector<UserFunction> funcs_;
  NSLPprob owner_ = nullptr;
};

}  // namespace nvrl

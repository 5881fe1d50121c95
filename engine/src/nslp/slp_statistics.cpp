// Reports on a nonlinear problem's bookkeeping: NSLPprintevalinfo (what the solves evaluated
// and how long it took) and NSLPprintmemory (what the nonlinear structures hold).
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "core/entry.h"
#include "core/text.h"
#include "nslp/slp_problem.h"
#include "nslp/slp_validate.h"

namespace nvrl {

namespace {

template <class T>
size_t bytesOf(const std::vector<T> &v) {
  return v.capacity() * sizeof(T);
}

// What a string owns beyond its own object (nothing while it fits the object itself).
size_t heapOf(const std::string &s) {
  return s.capacity() > std::string().capacity() ? s.capacity() + 1 : 0;
}

}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPprintevalinfo(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const SlpEvalStats &a = s->evals.last, &b = s->evals.total;
  auto count = [s](const char *what, int64_t x, int64_t y) {
    s->log(NVRL_MSG_INFO, "  %-40s %14lld %14lld", what, static_cast<long long>(x),
           static_cast<long long>(y));
  };
  auto secs = [s](const char *what, double x, double y) {
    s->log(NVRL_MSG_INFO, "  %-40s %14.6f %14.6f", what, x, y);
  };
  s->log(NVRL_MSG_INFO, "Evaluation statistics %-20s %14s %14s", "", "last solve", "all solves");
  count("solves", a.solves, b.solves);
  count("formula evaluations (values)", a.formula_values, b.formula_values);
  count("formula evaluations (with gradients)", a.formula_gradients, b.formula_gradients);
  count("user function calls (values)", a.user_values, b.user_values);
  count("user function calls (with derivatives)", a.user_derivatives, b.user_derivatives);
  count("user function calls (finite differences)", a.user_differences, b.user_differences);
  secs("evaluation time, seconds", a.eval_seconds, b.eval_seconds);
  secs("of which in user functions, seconds", a.user_seconds, b.user_seconds);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPprintmemory(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const SlpData &d = s->data;
  const SlpState &st = s->state;
  size_t tokens = 0, ntokens = 0;
  for (const SlpCoefficient &c : d.coefs) {
    tokens += bytesOf(c.formula);
    ntokens += c.formula.size();
  }
  size_t funcs = static_cast<size_t>(d.userfuncs.size()) * sizeof(UserFunction);
  for (int k = 1; k <= d.userfuncs.size(); ++k) funcs += heapOf(d.userfuncs.at(k).name);
  size_t strings = bytesOf(d.strings);
  for (const std::string &t : d.strings) strings += heapOf(t);
  const size_t solution = bytesOf(st.x) + bytesOf(st.slack) + bytesOf(st.duals) + bytesOf(st.djs);
  struct Item {
    std::string what;
    size_t bytes;
  };
  const Item items[] = {
      {format("coefficients (%zu)", d.coefs.size()), bytesOf(d.coefs)},
      {format("coefficient tokens (%zu)", ntokens), tokens},
      {format("user functions (%d)", d.userfuncs.size()), funcs},
      {format("strings (%zu)", d.strings.size()), strings},
      {format("column settings (%zu columns)", d.columns.size()), bytesOf(d.columns)},
      {format("row statuses and weights (%zu rows)",
              std::max(d.rowstatus.size(), d.rowweight.size())),
       bytesOf(d.rowstatus) + bytesOf(d.rowweight)},
      {format("solution vectors (%zu values)",
              st.x.size() + st.slack.size() + st.duals.size() + st.djs.size()),
       solution},
  };
  s->log(NVRL_MSG_INFO, "Memory held by the nonlinear problem:");
  size_t total = 0;
  for (const Item &it : items) {
    s->log(NVRL_MSG_INFO, "  %-44s %12zu bytes", it.what.c_str(), it.bytes);
    total += it.bytes;
  }
  s->log(NVRL_MSG_INFO, "  %-44s %12zu bytes", "total", total);
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

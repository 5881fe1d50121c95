// The problem object's own bookkeeping: errors, log lines and change tracking.
#include "core/problem.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "solve/highs_session.h"

nvrl_problem_s::nvrl_problem_s() : nvrl_object_s(nvrl::ObjectKind::Problem) {}

nvrl_problem_s::~nvrl_problem_s() { magic = 0; }

static std::string vformat(const char *fmt, va_list ap) {
  char buf[1024];
  va_list copy;
  va_copy(copy, ap);
  int n = std::vsnprintf(buf, sizeof buf, fmt, copy);
  va_end(copy);
  if (n < 0) return std::string(fmt);
  if (static_cast<size_t>(n) < sizeof buf) return std::string(buf, n);
  std::string big(static_cast<size_t>(n) + 1, '\0');
  std::vsnprintf(big.data(), big.size(), fmt, ap);
  big.resize(static_cast<size_t>(n));
  return big;
}

int nvrl_problem_s::fail(const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  lasterror = vformat(fmt, ap);
  va_end(ap);
  lasterror_code = 1;
  logLine(NVRL_MSG_ERROR, lasterror);
  return 1;
}

void nvrl_problem_s::modelChanged() {
  ++version;
  sol.clear();
}

void nvrl_problem_s::log(int msgtype, const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string line = vformat(fmt, ap);
  va_end(ap);
  logLine(msgtype, line);
}

void nvrl_problem_s::logLine(int msgtype, const std::string &line) {
  // Callbacks may remove themselves while running; iterate over a snapshot.
  std::vector<nvrl::MessageCallback> cbs = msgcbs;
  for (const auto &c : cbs) c.cb(this, c.data, line.c_str(), static_cast<int>(line.size()), msgtype);
  nvrl::dispatchGlobal(this, msgtype, line.c_str(), static_cast<int>(line.size()));
}

namespace nvrl {

nvrl_problem_s *checkProblem(NVRLprob prob) {
  if (!prob) {
    failGlobal(1, "Null problem handle");
    return nullptr;
  }
  if (prob->magic != kObjectMagic || prob->kind != ObjectKind::Problem) {
    failGlobal(1, "Invalid or destroyed problem handle");
    return nullptr;
  }
  return prob;
}

}  // namespace nvrl

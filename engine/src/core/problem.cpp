// The problem object's own bookkeeping: errors, log lines, change tracking and handle checks.
#include "core/problem.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "core/environment.h"
#include "core/text.h"
#include "lp_data/store.h"
#include "solve/highs_session.h"

// The engine's tests build and inspect problems directly, so the object's members are
// exported although the rest of the engine's internals are not.
#define NVRL_EXPORTED __attribute__((visibility("default")))

NVRL_EXPORTED nvrl_problem_s::nvrl_problem_s() : nvrl_object_s(nvrl::ObjectKind::Problem) {
  nvrl::registerObject(this);
}

NVRL_EXPORTED nvrl_problem_s::~nvrl_problem_s() {
  nvrl::unregisterObject(this);
  // Caches kept beside the problem by address must not outlive it.
  nvrl::dropStoreCache(this);
  magic = 0;
}

NVRL_EXPORTED int nvrl_problem_s::fail(const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  lasterror = nvrl::vformat(fmt, ap);
  va_end(ap);
  lasterror_code = 1;
  // Not logged: the caller gets the failure through the return code and the last error, and a
  // wrapper that turns it into an exception would otherwise show every message twice.
  return 1;
}

NVRL_EXPORTED void nvrl_problem_s::modelChanged() {
  ++version;
  sol.clear();
}

NVRL_EXPORTED void nvrl_problem_s::log(int msgtype, const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string line = nvrl::vformat(fmt, ap);
  va_end(ap);
  logLine(msgtype, line);
}

static bool sameCallback(const nvrl::MessageCallback &a, const nvrl::MessageCallback &b) {
  return a.cb == b.cb && a.data == b.data && a.priority == b.priority;
}

NVRL_EXPORTED void nvrl_problem_s::logLine(int msgtype, const std::string &line) {
  // Callbacks may remove themselves (or others) while running: iterate over a snapshot and
  // skip entries that an earlier callback has removed.
  std::vector<nvrl::MessageCallback> cbs = msgcbs;
  for (const auto &c : cbs) {
    bool present = std::any_of(msgcbs.begin(), msgcbs.end(),
                               [&](const nvrl::MessageCallback &m) { return sameCallback(m, c); });
    if (present) c.cb(this, c.data, line.c_str(), static_cast<int>(line.size()), msgtype);
  }
  nvrl::dispatchGlobal(this, msgtype, line.c_str(), static_cast<int>(line.size()));
}

namespace nvrl {

nvrl_problem_s *checkProblemHandle(NVRLprob prob) {
  if (!prob) {
    failGlobal(1, "Null problem handle");
    return nullptr;
  }
  if (!isLiveObject(prob) || prob->magic != kObjectMagic || prob->kind != ObjectKind::Problem) {
    failGlobal(1, "Invalid or destroyed problem handle");
    return nullptr;
  }
  return prob;
}

nvrl_problem_s *checkProblem(NVRLprob prob) {
  // Fast path: one lock, and the pointer is dereferenced only once it is known to be live.
  if (prob && isLiveAndStarted(prob) && prob->kind == ObjectKind::Problem) return prob;
  nvrl_problem_s *p = checkProblemHandle(prob);
  if (p && !libraryStarted()) {
    // Recorded on the problem too, so that NVRLgetlasterror explains the failure.
    p->lasterror = "The library is not started (NVRLinit has not been called or was released)";
    p->lasterror_code = 1;
    failGlobal(1, "%s", p->lasterror.c_str());
    return nullptr;
  }
  return p;
}

}  // namespace nvrl

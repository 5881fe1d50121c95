// The problem object's own bookkeeping: errors, log lines, change tracking and handle checks.
#include "core/problem.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/entry.h"
#include "core/environment.h"
#include "core/text.h"

// The engine's tests build and inspect problems directly, so the object's members are
// exported although the rest of the engine's internals are not.
#define NVRL_EXPORTED __attribute__((visibility("default")))

NVRL_EXPORTED nvrl_problem_s::nvrl_problem_s() : nvrl_object_s(nvrl::ObjectKind::Problem) {
  nvrl::registerObject(this);
}

NVRL_EXPORTED nvrl_problem_s::~nvrl_problem_s() {
  nvrl::unregisterObject(this);
  magic = 0;
}

NVRL_EXPORTED int nvrl_problem_s::fail(const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string msg = nvrl::vformat(fmt, ap);
  va_end(ap);
  std::lock_guard<std::mutex> lock(errmu);
  lasterror.swap(msg);
  lasterror_code = 1;
  // Not logged: the caller gets the failure through the return code and the last error, and a
  // wrapper that turns it into an exception would otherwise show every message twice.
  return 1;
}

NVRL_EXPORTED void nvrl_problem_s::clearError() {
  std::lock_guard<std::mutex> lock(errmu);
  lasterror_code = 0;
  lasterror.clear();
}

int nvrl_problem_s::failException(const char *fn) noexcept {
  return nvrl::recordCurrentException(fn, errmu, lasterror_code, lasterror);
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
  // Copied first: NVRLsetlogfile may run from a callback above and drop the file.
  if (std::shared_ptr<std::FILE> f = logfile) {
    std::fwrite(line.data(), 1, line.size(), f.get());
    std::fputc('\n', f.get());
    std::fflush(f.get());
  }
}

NVRL_EXPORTED void nvrl_problem_s::logCoded(int code, int msgtype, const std::string &line) {
  if (std::binary_search(suppressed_codes.begin(), suppressed_codes.end(), code)) return;
  logLine(msgtype, line);
}

void nvrl_problem_s::logAfterCommit(int msgtype, const std::string &line) noexcept {
  try {
    logLine(msgtype, line);
  } catch (...) {
  }
}

namespace nvrl {

namespace {

// Calls allowed on a problem while it is being solved; every other call that takes the
// problem (or a nonlinear problem on top of it) is refused at once. To allow another call,
// add its line here (and to the list in docs/solving.md). SolvingThread: from the solve's own
// callbacks, which run on the thread that started the solve; AnyThread: from other threads
// too.
enum class AllowedFrom { SolvingThread, AnyThread };
struct Allowance {
  const char *fn;
  AllowedFrom from;
};
constexpr Allowance kAllowedWhileSolving[] = {
    {"NVRLinterrupt", AllowedFrom::AnyThread},
    {"NVRLgetlasterror", AllowedFrom::AnyThread},
    {"NVRLaddcbmessage", AllowedFrom::SolvingThread},
    {"NVRLremovecbmessage", AllowedFrom::SolvingThread},
    {"NSLPinterrupt", AllowedFrom::AnyThread},
    {"NSLPgetlasterror", AllowedFrom::AnyThread},
    {"NSLPgetuserfuncobject", AllowedFrom::AnyThread},  // user functions run during solves
};

// Its address identifies the calling thread.
thread_local char t_thread_token;

int refuse(nvrl_problem_s *p, const char *fn) { return p->fail(NVRL_SOLVING_REFUSAL, fn); }

}  // namespace

bool allowedNow(const nvrl_problem_s *p, const char *fn) {
  const void *solver = p->solving_thread.load(std::memory_order_acquire);
  if (!solver) return true;
  for (const Allowance &a : kAllowedWhileSolving)
    if (std::strcmp(a.fn, fn) == 0)
      return a.from == AllowedFrom::AnyThread || solver == &t_thread_token;
  return false;
}

bool refusedWhileSolving(nvrl_problem_s *p, const char *fn) {
  if (allowedNow(p, fn)) return false;
  refuse(p, fn);
  return true;
}

SolveMarker::SolveMarker(nvrl_problem_s *p, const char *fn) : p_(p) {
  const void *idle = nullptr;
  acquired_ = p->solving_thread.compare_exchange_strong(idle, &t_thread_token,
                                                        std::memory_order_acq_rel);
  if (!acquired_) refuse(p, fn);
}

SolveMarker::~SolveMarker() {
  if (!acquired_) return;
  if (!finished_) {
    p_->highs.reset();
    p_->sol.clear();
  }
  p_->solving_thread.store(nullptr, std::memory_order_release);
}

nvrl_problem_s *checkProblemHandle(NVRLprob prob, const char *fn) {
  if (!liveHandle(prob, ObjectKind::Problem)) return nullptr;
  return refusedWhileSolving(prob, fn) ? nullptr : prob;
}

nvrl_problem_s *checkProblem(NVRLprob prob, const char *fn) {
  // Fast path: one lock, and the pointer is dereferenced only once it is known to be live.
  if (prob && isLiveAndStarted(prob) && prob->kind == ObjectKind::Problem)
    return prob->busy() && refusedWhileSolving(prob, fn) ? nullptr : prob;
  nvrl_problem_s *p = checkProblemHandle(prob, fn);
  if (p && !libraryStarted()) {
    // Recorded on the problem too, so that NVRLgetlasterror explains the failure.
    const char *msg = "The library is not started (NVRLinit has not been called or was released)";
    p->fail("%s", msg);
    failGlobal(1, "%s", msg);
    return nullptr;
  }
  return p;
}

}  // namespace nvrl

// The one exception barrier of the C API. Every extern "C" function is a function-try-block:
//
//   NVRL_API int NVRLsomething(NVRLprob prob, ...) NVRL_TRY {
//     ...
//   } NVRL_CATCH(prob)
//
// An exception that reaches the barrier (out of memory included) becomes the return code 1
// and the last error "NVRLsomething: out of memory" or "NVRLsomething: internal error: ...",
// recorded on the handle given to NVRL_CATCH (a problem, a nonlinear problem, or nullptr for
// the global last error). The barrier costs nothing until something throws; keeping the
// problem unchanged on such a failure is each function's job (change nothing until every
// allocation has been made).
#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <string>

#include "nvrl.h"

#define NVRL_TRY try
#define NVRL_CATCH(handle) \
  catch (...) { return ::nvrl::entryFailed(__func__, handle); }

namespace nvrl {

// A failure outside the caller's control with a message of its own (e.g. HiGHS could not
// create an instance); reported as "function: message".
struct EngineError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Writes the message for the exception being handled ("out of memory", "internal error: ...")
// into buf; never throws. Call only inside a catch handler.
void describeCurrentException(char *buf, size_t size) noexcept;

// Records "fn: <message of the exception being handled>" as a last error (text and code,
// guarded by mu) and returns 1; never throws. When memory is too short even for the
// message, the code alone tells the failure. Call only inside a catch handler.
int recordCurrentException(const char *fn, std::mutex &mu, std::atomic<int> &code,
                           std::string &text) noexcept;

int entryFailed(const char *fn, NVRLprob prob) noexcept;
int entryFailed(const char *fn, NSLPprob slp) noexcept;
int entryFailed(const char *fn, std::nullptr_t) noexcept;

}  // namespace nvrl

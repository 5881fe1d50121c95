// The exception barrier's recording of a failed call.
#include "core/entry.h"

#include <cstdio>
#include <exception>
#include <new>

#include "core/environment.h"

namespace nvrl {

void describeCurrentException(char *buf, size_t size) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc &) {
    std::snprintf(buf, size, "out of memory");
  } catch (const EngineError &e) {
    std::snprintf(buf, size, "%s", e.what());
  } catch (const std::exception &e) {
    std::snprintf(buf, size, "internal error: %s", e.what());
  } catch (...) {
    std::snprintf(buf, size, "internal error: unknown exception");
  }
}

int recordCurrentException(const char *fn, std::mutex &mu, std::atomic<int> &code,
                           std::string &text) noexcept {
  char what[512];
  describeCurrentException(what, sizeof what);
  char line[768];
  std::snprintf(line, sizeof line, "%s: %s", fn, what);
  std::lock_guard<std::mutex> lock(mu);
  code = 1;
  text.clear();
  try {
    text.assign(line);  // reuses the string's storage when it is large enough
  } catch (...) {
  }
  return 1;
}

int entryFailed(const char *fn, NVRLprob prob) noexcept {
  // The handle is trusted only once it is known to be a live problem.
  if (prob && isLiveObject(prob) && prob->kind == ObjectKind::Problem)
    return prob->failException(fn);
  return entryFailed(fn, nullptr);
}

int entryFailed(const char *fn, std::nullptr_t) noexcept {
  char what[512];
  describeCurrentException(what, sizeof what);
  try {
    failGlobal(1, "%s: %s", fn, what);
  } catch (...) {
  }
  return 1;
}

}  // namespace nvrl

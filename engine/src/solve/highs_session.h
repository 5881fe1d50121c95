// The persistent HiGHS instance of a problem: it holds the lowered model and its basis so
// that a re-solve after small changes warm-starts.
#pragma once

#include <cstdint>

namespace nvrl {

class HighsSession {
 public:
  HighsSession();
  ~HighsSession();
  HighsSession(const HighsSession &) = delete;
  HighsSession &operator=(const HighsSession &) = delete;

  void *handle() const { return highs_; }

 private:
  void *highs_ = nullptr;  // Highs_create()
};

}  // namespace nvrl

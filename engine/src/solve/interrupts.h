// Stopping a running optimisation: the SIGINT guard and the registry of running problems.
#pragma once

#include "core/problem.h"

namespace nvrl {

// While alive, p is registered as running and SIGINT asks it to stop (stop reason
// NVRL_STOP_CTRLC). The first guard installs the handler, the last one restores the handler
// that was there before.
class InterruptGuard {
 public:
  explicit InterruptGuard(nvrl_problem_s *p);
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard &) = delete;
  InterruptGuard &operator=(const InterruptGuard &) = delete;

 private:
  nvrl_problem_s *p_;
  int slot_ = -1;
};

}  // namespace nvrl

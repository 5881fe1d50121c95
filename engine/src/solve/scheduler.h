// HiGHS runs every instance on one process-wide thread scheduler whose size is fixed when it
// starts. The engine restarts it when a solve asks for another thread count, which is only
// safe while no other solve is running.
#pragma once

namespace nvrl {

// Marks a solve as running for its lifetime.
class SchedulerUse {
 public:
  SchedulerUse();
  ~SchedulerUse();
  SchedulerUse(const SchedulerUse &) = delete;
  SchedulerUse &operator=(const SchedulerUse &) = delete;
};

// Sets HiGHS's thread count for the coming run (0: HiGHS's own choice). Returns false when
// the scheduler runs with another count and other solves keep it from being restarted; the
// run then uses the current count.
bool requestThreads(void *highs, int threads);

}  // namespace nvrl

#include "solve/scheduler.h"

#include <mutex>

#include "interfaces/highs_c_api.h"

namespace nvrl {

namespace {

std::mutex g_mu;
int g_running = 0;
int g_threads = 0;  // count the scheduler was started with (0: HiGHS's choice)
bool g_started = false;

}  // namespace

SchedulerUse::SchedulerUse() {
  std::lock_guard<std::mutex> lock(g_mu);
  ++g_running;
}

SchedulerUse::~SchedulerUse() {
  std::lock_guard<std::mutex> lock(g_mu);
  --g_running;
}

bool requestThreads(void *highs, int threads) {
  std::lock_guard<std::mutex> lock(g_mu);
  if (g_started && threads != g_threads) {
    if (g_running > 1) {
      Highs_setIntOptionValue(highs, "threads", g_threads);
      return false;
    }
    Highs_resetGlobalScheduler(1);
  }
  Highs_setIntOptionValue(highs, "threads", threads);
  g_threads = threads;
  g_started = true;
  return true;
}

}  // namespace nvrl

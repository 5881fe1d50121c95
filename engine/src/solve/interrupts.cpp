// The SIGINT handler may run at any moment on any thread, so the registry is a fixed array of
// atomic slots that it can walk without locks; installing and restoring the handler is
// guarded by a mutex and counted.
#include "solve/interrupts.h"

#include <signal.h>

#include <atomic>
#include <mutex>

namespace nvrl {

namespace {

constexpr int kSlots = 256;  // problems that can be interrupted by SIGINT at the same time
std::atomic<nvrl_problem_s *> g_running[kSlots];

std::mutex g_mu;
int g_active = 0;  // guards alive
struct sigaction g_previous;

void onSigint(int) {
  for (auto &slot : g_running) {
    nvrl_problem_s *p = slot.load(std::memory_order_acquire);
    if (p) p->interrupt_reason.store(NVRL_STOP_CTRLC, std::memory_order_relaxed);
  }
}

}  // namespace

InterruptGuard::InterruptGuard(nvrl_problem_s *p) : p_(p) {
  for (int i = 0; i < kSlots; ++i) {
    nvrl_problem_s *expected = nullptr;
    if (g_running[i].compare_exchange_strong(expected, p)) {
      slot_ = i;
      break;
    }
  }
  std::lock_guard<std::mutex> lock(g_mu);
  if (g_active++ == 0) {
    struct sigaction sa {};
    sa.sa_handler = onSigint;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    sigaction(SIGINT, &sa, &g_previous);
  }
}

InterruptGuard::~InterruptGuard() {
  {
    std::lock_guard<std::mutex> lock(g_mu);
    if (--g_active == 0) sigaction(SIGINT, &g_previous, nullptr);
  }
  if (slot_ >= 0) g_running[slot_].store(nullptr, std::memory_order_release);
}

}  // namespace nvrl

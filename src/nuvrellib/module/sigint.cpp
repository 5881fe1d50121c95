// The SIGINT guard. Only threads holding the interpreter lock use it, so the counter and the
// saved action need no lock of their own.
#include "module/sigint.h"

#include <csignal>
#include <cstdint>

namespace {

int32_t guard_depth = 0;
struct sigaction saved_action;

}  // namespace

void setSigIntHandler() {
  if (guard_depth == 0) {
    struct sigaction plain {};
    plain.sa_handler = SIG_DFL;
    sigemptyset(&plain.sa_mask);
    plain.sa_flags = 0;
    sigaction(SIGINT, &plain, &saved_action);
  }
  ++guard_depth;
}

void resetSigIntHandler() {
  --guard_depth;
  if (guard_depth == 0) sigaction(SIGINT, &saved_action, nullptr);
}

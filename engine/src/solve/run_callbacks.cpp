#include "solve/run_callbacks.h"

#include <cstring>

namespace nvrl {

namespace {

// HiGHS log types: 1 info, 2 detailed, 3 verbose, 4 warning, 5 error.
int messageType(int highsLogType) {
  if (highsLogType == 4) return NVRL_MSG_WARNING;
  if (highsLogType == 5) return NVRL_MSG_ERROR;
  return NVRL_MSG_INFO;
}

const int kInterruptTypes[] = {kHighsCallbackSimplexInterrupt, kHighsCallbackIpmInterrupt,
                               kHighsCallbackMipInterrupt};

}  // namespace

void RunContext::addLogText(const char *text, int msgtype) {
  if (partial.empty()) partial_type = msgtype;
  for (const char *c = text; *c; ++c) {
    if (*c == '\n') {
      // HiGHS separates its sections with blank lines; they carry nothing for a callback.
      if (!partial.empty()) p->logLine(partial_type, partial);
      partial.clear();
      partial_type = msgtype;
    } else if (*c != '\r') {
      partial.push_back(*c);
    }
  }
}

void RunContext::flushLog() {
  if (partial.empty()) return;
  p->logLine(partial_type, partial);
  partial.clear();
}

void highsRunCallback(int type, const char *message, const HighsCallbackDataOut *out,
                      HighsCallbackDataIn *in, void *data) {
  auto *ctx = static_cast<RunContext *>(data);
  if (type == kHighsCallbackLogging) {
    if (message) ctx->addLogText(message, messageType(out ? out->log_type : 1));
    return;
  }
  if (type == kHighsCallbackMipImprovingSolution) {
    ctx->improving_solutions.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  for (int t : kInterruptTypes)
    if (type == t && in && ctx->p->interrupt_reason.load(std::memory_order_relaxed) != 0)
      in->user_interrupt = 1;
}

RunCallbacks::RunCallbacks(void *highs, RunContext &ctx, bool log, bool mip) : highs_(highs) {
  Highs_setCallback(highs, highsRunCallback, &ctx);
  if (log) Highs_startCallback(highs, kHighsCallbackLogging);
  for (int t : kInterruptTypes) Highs_startCallback(highs, t);
  if (mip) Highs_startCallback(highs, kHighsCallbackMipImprovingSolution);
}

RunCallbacks::~RunCallbacks() {
  Highs_stopCallback(highs_, kHighsCallbackLogging);
  for (int t : kInterruptTypes) Highs_stopCallback(highs_, t);
  Highs_stopCallback(highs_, kHighsCallbackMipImprovingSolution);
  Highs_setCallback(highs_, nullptr, nullptr);
}

}  // namespace nvrl

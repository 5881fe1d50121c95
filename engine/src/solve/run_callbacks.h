// What HiGHS calls back during a run: log lines, interrupt polls and new MIP solutions.
#pragma once

#include <atomic>
#include <string>

#include "core/problem.h"
#include "interfaces/highs_c_api.h"

namespace nvrl {

struct RunContext {
  nvrl_problem_s *p = nullptr;
  std::string partial;  // a log line HiGHS has not finished yet
  int partial_type = NVRL_MSG_INFO;
  std::atomic<int> improving_solutions{0};

  // Appends HiGHS log text and sends every completed line to the problem.
  void addLogText(const char *text, int msgtype);
  // Sends an unfinished last line, if any.
  void flushLog();
};

// Registered with Highs_setCallback; data is the RunContext.
void highsRunCallback(int type, const char *message, const HighsCallbackDataOut *out,
                      HighsCallbackDataIn *in, void *data);

// Starts the callbacks a run needs and stops them again when destroyed.
class RunCallbacks {
 public:
  RunCallbacks(void *highs, RunContext &ctx, bool log, bool mip);
  ~RunCallbacks();

 private:
  void *highs_;
};

}  // namespace nvrl

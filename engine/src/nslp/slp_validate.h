// Evaluation counters and the results of the validation calls (NSLPvalidate, NSLPvalidaterow,
// NSLPvalidatekkt). Kept free of heavier includes: the formula workspace holds the counters.
#pragma once

#include <cstdint>

struct nslp_problem_s;

namespace nvrl {

// What an evaluator did. Each workspace counts its own evaluations (no sharing between
// threads, so no atomics); a solve adds its workspace's counts to the problem's.
struct SlpEvalStats {
  int64_t formula_values = 0;     // formulas evaluated for their value only
  int64_t formula_gradients = 0;  // formulas evaluated with their gradient
  int64_t user_values = 0;        // user function calls for a value
  int64_t user_derivatives = 0;   // user function evaluations that asked for derivatives
  int64_t user_differences = 0;   // further user function calls for central differences
  double eval_seconds = 0.0;      // time in row and objective evaluation, user functions included
  double user_seconds = 0.0;      // of which in user functions
  int64_t solves = 0;             // solves these counts cover

  SlpEvalStats &operator+=(const SlpEvalStats &o) {
    formula_values += o.formula_values;
    formula_gradients += o.formula_gradients;
    user_values += o.user_values;
    user_derivatives += o.user_derivatives;
    user_differences += o.user_differences;
    eval_seconds += o.eval_seconds;
    user_seconds += o.user_seconds;
    solves += o.solves;
    return *this;
  }
};

// The statistics of a nonlinear problem: its last solve's and all its solves'.
struct SlpEvalCounters {
  SlpEvalStats last, total;
};

// Results of the last validation calls, read back as attributes.
struct SlpValidation {
  double index_a = 0.0, index_r = 0.0;  // largest absolute and relative violation
  int failures = 0;                     // rows and columns missing the targets
  int derivative_errors = 0;            // mismatches found by the last NSLPvalidaterow
  double kkt_stationarity = 0.0, kkt_complementarity = 0.0, kkt_feasibility = 0.0;
  int kkt_valid = 0;
};

// Adds a solve's counts to the problem's (called once at the end of each solve).
void recordSolveEvaluations(nslp_problem_s *s, const SlpEvalStats &solve);

// The validation and statistics attributes; false when attrib is none of them.
bool validationIntAttribute(const nslp_problem_s *s, int attrib, int64_t &v);
bool validationDblAttribute(const nslp_problem_s *s, int attrib, double &v);

}  // namespace nvrl

// The nonlinear solver's problem object: stacked on an optimiser problem (which holds the
// rows, columns and linear coefficients and which it does not own), with its own controls,
// message callback, last error, solve state and nonlinear coefficients.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "core/problem.h"
#include "nslp/slp_multistart.h"
#include "nslp/slp_validate.h"
#include "nslp/user_functions.h"

namespace nvrl {

// One token of a formula in reverse-Polish form (the token codes belong to the formula
// evaluator; the store only keeps them).
struct SlpToken {
  int type = 0;
  double value = 0.0;
};

// A nonlinear coefficient: contributes factor * x[col] * formula(x) to its row, or
// factor * formula(x) when col is the constant column.
struct SlpCoefficient {
  int row = -1;
  int col = -1;
  double factor = 1.0;
  std::vector<SlpToken> formula;
};

// The nonlinear solver's settings of one column (NSLPchgvar and friends). A column without
// settings of its own behaves as a default-constructed one.
struct SlpColumn {
  bool has_initial = false;   // initial given: the solve starts there, else at the nearest
  double initial = 0.0;       // point of the bounds to 0
  double init_step_bound = 0.0;  // 0: chosen by the solver
  double penalty = 0.0;       // 0: the solver's own
  double damping = 0.0;
  int det_row = -1;           // determining row, -1 none
  int tolset = 0;             // tolerance set, 0 none
  int vartype = 0;
  int cascade_limit = 0;
  double step_bound = 0.0;    // current step bound; 0: chosen by the solver
  int history = 0;            // kept for the caller (NSLPchgvar/NSLPgetvar)
  int converged = 0;          // kept for the caller
  int seqnum = 0;             // kept for the caller (NSLPloadvars/NSLPaddvars)
  int delta_type = 0;         // NSLP_DELTA_... (NSLPchgdeltatype)
  double delta_value = 0.0;
};

// A tolerance set: bit k of status makes tol[k] an active convergence test.
struct SlpTolset {
  int status = 0;
  std::array<double, NSLP_TOLSET_SIZE> tol{};
};

struct SlpPresolved;

// The nonlinear data of a problem. Coefficients are appended by the nonlinear modelling
// functions and kept sorted by (row, col) by them; nothing else here depends on the order.
// columns is indexed by the optimiser's column and may be shorter than the column count.
struct SlpData {
  std::vector<SlpCoefficient> coefs;
  std::vector<SlpColumn> columns;
  // Per optimiser row, each possibly shorter than the row count (missing entries: 0 status,
  // weight 1): the row's status bits (NSLPchgrowstatus) and penalty weight (NSLPchgrowwt).
  std::vector<int> rowstatus;
  std::vector<double> rowweight;
  UserFunctionTable userfuncs;
  std::vector<std::string> strings;  // NSLPsetstring; index k is strings[k - 1]
  std::vector<SlpTolset> tolsets;    // set k is tolsets[k - 1]
  std::map<std::pair<int, int>, double> dfs;  // derivative estimates by (col, row)
  std::vector<SlpMultistartJob> msjobs;  // queued multistart jobs, in order
  // Determined columns in cascade order (NSLPcascadeorder, and each cascade or solve).
  std::vector<int> cascade_order;
  // Per optimiser row, possibly shorter (missing entries 1): scale factors of NSLPscaling.
  std::vector<double> rowscale;
  // The presolved form (NSLPpresolve; nslp/slp_presolve.h), null when not presolved.
  std::shared_ptr<const SlpPresolved> presolved;

  int nonlinearRows() const;
};

// What the last solve saw of each column and row (empty before a solve): the last accepted
// step and the final step bound of each column, and per row how often and how far its
// penalty columns were used.
struct SlpSolveDetail {
  std::vector<double> step, step_bound;
  std::vector<int> penalty_iterations;
  std::vector<double> penalty_max, penalty_total;
};

// Answers and state of the nonlinear solver.
struct SlpState {
  int constant_col = -1;  // the constant column's index: -1, as coefficients name it
  int statebits = 0;      // bit 0 constructed, bit 29 presolved
  int nlpstatus = 0;      // nlp_... constants; 0 unstarted
  int stopstatus = NVRL_STOP_NONE;
  int iterations = 0;
  double objval = 0.0;
  double last_penalty = 0.0;   // the penalty the last solve ended with
  double fixed_penalty = 0.0;  // NSLPfixpenalties: the next solves start here; 0 none
  int cascade_failures = 0;    // failed column cascades of the last cascade or solve
  int presolve_fixed = 0;      // the last presolve: fixed columns substituted
  int presolve_linear = 0;     // and coefficients turned linear or constant
  // The point of the last solve (its best when it stopped early), rhs - activity per row,
  // and the multipliers of its last subproblem; empty before a solve.
  std::vector<double> x, slack, duals, djs;
  SlpSolveDetail detail;  // per row and column, for the item queries
  SlpMultistartReport multistart;  // of the last solve
};

}  // namespace nvrl

struct nslp_problem_s;

namespace nvrl {

// Renumbers a nonlinear problem's data when rows or columns of the optimiser problem beneath
// are deleted. A member rather than a base class: handles must start with the object header.
class SlpDeletionFollower : public StoreDependent {
 public:
  explicit SlpDeletionFollower(nslp_problem_s *owner) : owner_(owner) {}
  bool prepareDeletion(const std::vector<int> *rowmap, const std::vector<int> *colmap,
                       std::string &why) override;
  void commitDeletion() noexcept override;
  void abandonDeletion() noexcept override { pending_.reset(); }

 private:
  nslp_problem_s *owner_;
  std::unique_ptr<SlpData> pending_;  // renumbered data between prepare and commit
};

}  // namespace nvrl

struct nslp_problem_s : nvrl_object_s {
  explicit nslp_problem_s(nvrl_problem_s *underlying);
  ~nslp_problem_s();

  nvrl::SlpDeletionFollower follower{this};  // registered with prob while both live

  nvrl_problem_s *prob;  // the optimiser problem underneath; not owned
  nvrl::ControlValues controls;
  NSLPmsgcb msgcb = nullptr;
  void *msgdata = nullptr;

  // Guarded by errmu, as the optimiser problem's last error is.
  std::mutex errmu;
  std::atomic<int> lasterror_code{0};
  std::string lasterror;

  // Set by NSLPinterrupt; the running nonlinear solve polls it at iteration boundaries.
  std::atomic<int> interrupt_reason{0};

  nvrl::SlpData data;
  nvrl::SlpState state;
  nvrl::SlpEvalCounters evals;     // evaluation statistics of the solves
  nvrl::SlpValidation validation;  // results of the last validation calls

  int fail(const char *fmt, ...) __attribute__((format(printf, 2, 3)));
  int failException(const char *fn) noexcept;
  void log(int msgtype, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
  void logLine(int msgtype, const std::string &line);
};

namespace nvrl {

// Validates a nonlinear handle and the problem beneath it (records a global error and returns
// null when either is invalid or the nonlinear solver is not started), and refuses fn while
// the problem beneath is being solved, as checkProblem() does.
nslp_problem_s *checkSlpProblem(NSLPprob slp, const char *fn);

}  // namespace nvrl

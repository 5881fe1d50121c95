// Node relaxations on the problem's persistent HiGHS instance: a node's bounds are passed as
// the changes from the bounds HiGHS holds, so the LP keeps its basis from node to node. The
// root bounds are put back when the solver goes away, so the instance again holds the model
// the session lowered.
#pragma once

#include <cstdint>
#include <vector>

#include "core/problem.h"
#include "solve/highs_session.h"
#include "tree/cuts.h"
#include "tree/node_queue.h"

namespace nvrl::tree {

struct Relaxation {
  enum Status {
    Optimal,     // value bounds the node; x and reduced costs hold
    Unverified,  // HiGHS's QP answer failed the optimality check: x is a point, value no bound
    Infeasible,
    Unbounded,
    Stopped,     // a limit or an interrupt ended the solve (stop_reason), or no verdict (0)
  } status = Infeasible;
  double value = 0.0;          // objective in minimisation form (sense * objective)
  std::vector<double> x, dj;   // lowered columns; dj in minimisation form
  int stop_reason = 0;
};

class RelaxationSolver {
 public:
  // model: what the session's HiGHS instance holds for the search (the session's lowered
  // model, or one extended from it).
  RelaxationSolver(nvrl_problem_s *p, HighsSession &session, const LoweredModel &model);
  ~RelaxationSolver();
  RelaxationSolver(const RelaxationSolver &) = delete;
  RelaxationSolver &operator=(const RelaxationSolver &) = delete;

  // Solves the relaxation under the root bounds narrowed by `changes`. secondsLeft limits
  // the run (infinite: none); a positive qpIterationCap lowers HiGHS's QP iteration limit for
  // this run (a run it cuts short has no verdict: Unverified with HiGHS's point, or Stopped
  // with no stop reason, never the user's iteration limit). Crossing bounds give Infeasible
  // without a run.
  Relaxation solve(const std::vector<BoundChange> &changes, double secondsLeft,
                   int64_t qpIterationCap = 0);

  // Appends cuts to the relaxation of every node from now on (and to the model that checks
  // QP answers); they are removed again when the solver goes away. False when HiGHS refused.
  bool addCuts(const std::vector<Cut> &cuts);
  int cutCount() const { return cuts_; }
  // Replaces the linear costs and the Hessian (HiGHS's triangular format, over every column)
  // of the relaxations from now on. False when HiGHS refused.
  bool changeObjective(const std::vector<double> &cost, const std::vector<int> &qstart,
                       const std::vector<int> &qindex, const std::vector<double> &qvalue);
  // Frees the given cut rows (indices among the cuts, in the order added) for the solves to
  // come, or gives them their side back. False when HiGHS refused.
  bool freeCuts(const std::vector<int> &cuts, bool free);
  // Narrows the root bounds of column col for the rest of the search (global fixings).
  void tightenRoot(int col, double lo, double up);

  // The bounds of the last node passed to solve().
  const std::vector<double> &lower() const { return lo_; }
  const std::vector<double> &upper() const { return up_; }
  const std::vector<double> &rootLower() const { return root_lo_; }
  const std::vector<double> &rootUpper() const { return root_up_; }
  int64_t iterations() const { return iterations_; }
  int sense() const { return sense_; }
  void *handle() const { return h_; }

 private:
  bool passBounds(const std::vector<double> &lo, const std::vector<double> &up);
  const LoweredModel &nodeModel();

  nvrl_problem_s *p_;
  const LoweredModel &model_;
  void *h_;
  int sense_;
  bool quadratic_;
  std::vector<double> root_lo_, root_up_, cur_lo_, cur_up_, lo_, up_;
  // The lowered model's bounds, which HiGHS gets back at the end.
  std::vector<double> model_lo_, model_up_;
  // The lowered model with the current node's column bounds, for the checks of QP answers
  // (a column at a branching bound may have a reduced cost its root bounds would not allow).
  LoweredModel node_model_;
  int64_t iterations_ = 0;
  int cuts_ = 0;  // rows beyond the lowered model's
  std::vector<double> cut_rhs_;
};

}  // namespace nvrl::tree

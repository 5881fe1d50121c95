#include "tree/answers.h"

#include <cmath>

#include "solve/collect_answers.h"
#include "solve/highs_options.h"

namespace nvrl::tree {

namespace {

constexpr double kSecondsPerLine = 5.0;

}  // namespace

double relativeGap(double incumbent, double bound) {
  const double diff = std::fabs(incumbent - bound);
  if (diff == 0.0) return 0.0;
  return incumbent == 0.0 ? INFINITY : diff / std::fabs(incumbent);
}

SearchLog::SearchLog(nvrl_problem_s *p, bool on, int sense,
                     std::chrono::steady_clock::time_point start)
    : p_(p), on_(on), sense_(sense), start_(start), last_(start) {}

void SearchLog::header(const LoweredModel &L, int integers, size_t semis, size_t partials,
                       size_t sets) {
  if (!on_) return;
  p_->log(NVRL_MSG_INFO,
          "Tree search on %s relaxations: %d integer columns, %zu semi-continuous, %zu partially "
          "integer, %zu sets",
          L.hasHessian() ? "QP" : "LP", integers, semis, partials, sets);
  p_->log(NVRL_MSG_INFO, "   %10s %8s %16s %16s %9s %8s", "nodes", "open", "best solution",
          "best bound", "gap", "time");
}

void SearchLog::line(char mark, int64_t nodes, size_t open, bool haveIncumbent, double incumbent,
                     double bound) {
  if (!on_) return;
  const auto now = std::chrono::steady_clock::now();
  last_ = now;
  last_nodes_ = nodes;
  const double t = std::chrono::duration<double>(now - start_).count();
  char inc[32] = "-", gap[32] = "-", bnd[32];
  if (haveIncumbent) {
    std::snprintf(inc, sizeof inc, "%.9g", sense_ * incumbent);
    const double g = relativeGap(incumbent, bound);
    if (std::isfinite(g)) std::snprintf(gap, sizeof gap, "%.2f%%", 100.0 * g);
  }
  std::snprintf(bnd, sizeof bnd, "%.9g", sense_ * bound);
  p_->log(NVRL_MSG_INFO, " %c %10lld %8zu %16s %16s %9s %7.1fs", mark,
          static_cast<long long>(nodes), open, inc, bnd, gap, t);
}

bool SearchLog::due(int64_t nodes) const {
  return on_ && (nodes - last_nodes_ >= kNodesPerLine ||
                 std::chrono::duration<double>(std::chrono::steady_clock::now() - last_).count() >=
                     kSecondsPerLine);
}

void storeAnswers(nvrl_problem_s *p, const LoweredModel &L, const Outcome &o, double seconds) {
  SolveState &s = p->sol;
  const Model &m = p->model;
  s.clear();
  s.was_mip = true;
  s.solvetime = seconds;
  s.nodes = o.nodes;
  s.simplex_iter = o.iterations;
  const int sense = L.sense;
  if (o.have_incumbent) {
    s.have_primal = s.have_point = true;
    s.x.assign(o.x.begin(), o.x.begin() + L.user_cols);
    userSlacks(m, s.x, s.slack);
    s.mipobjval = s.lpobjval = userObjective(m, s.x);
    s.solutions = o.solutions;
  }
  const double bound = o.have_incumbent ? std::fmin(o.bound, o.value) : o.bound;
  s.bestbound = sense * bound;
  s.mipgap = o.have_incumbent ? relativeGap(o.value, bound) : INFINITY;
  double cutoff = 0.0;
  const bool hasCutoff = cutoffInForce(p, cutoff);
  switch (o.end) {
    case Outcome::Unbounded:
      s.mipstatus = NVRL_MIP_UNBOUNDED;
      s.lpstatus = NVRL_LP_UNBOUNDED;
      break;
    case Outcome::Stopped:
      s.mipstatus = o.have_incumbent ? NVRL_MIP_SOLUTION : NVRL_MIP_NO_SOL_FOUND;
      s.lpstatus = NVRL_LP_UNFINISHED;
      s.stopstatus = o.stop_reason;
      break;
    case Outcome::Finished:
      if (!o.have_incumbent) {
        s.mipstatus = NVRL_MIP_INFEAS;
        s.lpstatus = hasCutoff ? NVRL_LP_CUTOFF : NVRL_LP_INFEAS;
        s.cut_off = hasCutoff;
        s.bestbound = 0.0;
        s.mipgap = INFINITY;
      } else {
        // Finished means every node was closed within the gap tolerances; the bound says so.
        s.mipstatus = NVRL_MIP_OPTIMAL;
        s.lpstatus = NVRL_LP_OPTIMAL;
      }
      break;
  }
}

}  // namespace nvrl::tree

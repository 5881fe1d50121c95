#include "tree/search.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/entry.h"
#include "core/ids.h"
#include "interfaces/highs_c_api.h"
#include "solve/collect_answers.h"
#include "solve/highs_options.h"
#include "solve/interrupts.h"
#include "solve/mip_starts.h"
#include "solve/run_callbacks.h"
#include "solve/tree_search_hook.h"
#include "tree/answers.h"
#include "tree/branching.h"
#include "tree/entities.h"
#include "tree/heuristics.h"
#include "tree/node_queue.h"
#include "tree/perspective.h"
#include "tree/propagation.h"
#include "tree/relaxation.h"

namespace nvrl::tree {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
// Heuristic frequencies, in nodes: rounding is one relaxation, a dive up to a few hundred.
constexpr int64_t kRoundingEvery = 25;
constexpr int64_t kDivingEvery = 250;
// Neighbourhood search around the incumbent: relaxations per run, and the nodes between runs
// (doubled after a run that finds nothing, up to the maximum; back to the least after one
// that does). QP relaxations cost far more than LP ones and rarely pay for a long run: a
// smaller budget, and no runs after two in a row that find nothing until an incumbent comes
// from elsewhere.
constexpr int kNeighbourhoodNodes = 100, kNeighbourhoodNodesQP = 25;
constexpr int kNeighbourhoodMisses = 2;
constexpr int64_t kNeighbourhoodEvery = 100, kNeighbourhoodMaxEvery = 3200;
// Propagation work per node, in passes over the matrix: a few at the root, one at other
// nodes, where few bounds moved.
constexpr int64_t kRootWorkPasses = 20, kNodeWorkMin = 10000;
// Cover cuts at the root (rounds by the control tree_cut_rounds): cuts per round, and the
// least relative rise of the root bound for another round.
constexpr int kCutsPerRound = 200;
constexpr double kCutProgress = 1e-4;
// Perspective cuts: rounds at the root (ending when the bound rises by less than the share),
// cuts per node, and the most in the relaxation in all (per column switched off): each cut
// row slows every later QP solve, and a few tangents per column carry most of the bound.
constexpr int kPerspectiveRounds = 50;
constexpr double kPerspectiveProgress = 1e-5;
constexpr int kPerspectiveStalls = 3;
constexpr int kPerspectivePerNode = 10;
constexpr int kPerspectiveCutsPerColumn = 10;
// With tree_perspective automatic, the least share of the root's objective that the split-off
// terms d x^2 make for the perspective to be used: it strengthens only those terms, and its
// cut rows slow every node (on a portfolio's variance they make 0.77-0.87 of it, on fixed-charge
// models with quadratic running costs 0.10-0.15).
constexpr double kPerspectiveLeastShare = 0.5;
// HiGHS's QP solver on the epigraph model needs a few thousand iterations at most where it
// succeeds, and now and then cycles to its own limit of a million; a relaxation that needs
// more than this many per row and column is solved on the user's objective instead.
constexpr int64_t kEpigraphIterationsPerLine = 20, kEpigraphIterationsLeast = 5000;

struct Limits {
  double seconds = kInf;
  int64_t nodes = 0;  // 0: none
  int solutions = 0;  // 0: none
  double relgap = 0.0, absgap = 0.0;
  bool has_cutoff = false;
  double cutoff = 0.0;  // user sense
  double inttol = 0.0, feastol = 0.0;
};

Limits readLimits(const nvrl_problem_s *p) {
  Limits l;
  const double tl = getDblControl(p, id::kTimeLimit);
  if (tl > 0.0 && tl < 1e20) l.seconds = tl;
  l.nodes = getIntControl(p, id::kNodeLimit);
  l.solutions = static_cast<int>(getIntControl(p, id::kSolutionLimit));
  l.relgap = getDblControl(p, id::kMipRelGap);
  l.absgap = getDblControl(p, id::kMipAbsGap);
  l.has_cutoff = cutoffInForce(p, l.cutoff);
  l.inttol = getDblControl(p, id::kMipTol);
  l.feastol = getDblControl(p, id::kFeasTol);
  return l;
}

// Integer columns whose bounds may be rounded: not the partially integer ones, which are
// continuous above their limit.
std::vector<char> roundable(const Entities &e) {
  std::vector<char> r(e.integer);
  for (const PartialColumn &pc : e.partials) r[pc.col] = 0;
  return r;
}

class Search {
 public:
  Search(nvrl_problem_s *p, HighsSession &session, std::chrono::steady_clock::time_point start,
         bool log)
      : p_(p),
        perspective_mode_(static_cast<int>(getIntControl(p, id::kTreePerspective))),
        persp_(session, perspective_mode_ != 0),
        L_(persp_.model()),
        lim_(readLimits(p)),
        entities_(readEntities(p->model, L_)),
        solver_(p, session, L_),
        pc_(L_.cols()),
        prop_(L_, roundable(entities_), lim_.feastol),
        start_(start),
        log_(p, log, L_.sense, start) {
    pc_.setDirectives(p->model.directives);
    perspective_ = persp_.active();
  }

  Outcome run();

 private:
  double elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }
  double secondsLeft() const { return lim_.seconds - elapsed(); }
  // Relaxation values at or above this cannot give a solution better than the incumbent by
  // more than the gap tolerances (nor one within the cutoff before there is an incumbent).
  double valueLimit() const;
  double openBound() const {
    return std::fmin(std::fmin(queue_.minBound(), closed_bound_), out_.have_incumbent ? out_.value : kInf);
  }
  // Reason to stop before the next node (or, without the node limit, before the next
  // heuristic solve of the node at hand), or 0.
  int stopReason(bool nodeLimit = true) const;
  bool offer(const std::vector<double> &x, char source);
  // The user's solutions (NVRLaddmipsol, NVRLloadmipsol) offered as incumbents.
  void offerUserSolutions();
  std::vector<BoundChange> reducedCostFixing(const Relaxation &r) const;
  // Reduced-cost fixing with the root's relaxation, applied to the root bounds (so to every
  // node) whenever the incumbent improves.
  void rootFixing();
  void heuristics(const Node &node, const Relaxation &r, bool root);
  // Rounds of cover cuts at the root, re-solving after each; returns the last relaxation.
  Relaxation rootCuts(const Node &root, Relaxation r);
  // Rounds of perspective cuts at the root, re-solving after each.
  Relaxation rootPerspective(const Node &root, Relaxation r);
  // The least violation for a perspective cut at a point of relaxation value v.
  double perspectiveThreshold(double v) const {
    return 1e-6 * std::max(std::fabs(v), 1e-9);
  }
  // How far the epigraph columns may fall short of d x^2 at a point that satisfies every
  // entity: well within the gaps, so that the relaxation's value still proves the node.
  double settleTolerance(double v) const {
    return std::max(0.1 * std::max(lim_.absgap, lim_.relgap * std::fabs(v)),
                    1e-12 * std::max(1.0, std::fabs(v)));
  }
  bool epigraphsSettled(const Relaxation &r) const {
    return epigraphDeficit(persp_.columns(), r.x) <= settleTolerance(r.value);
  }
  // A point that satisfies every entity closes its node, so its value must be the node's
  // optimum, which the epigraph model's is not: its epigraph columns may fall short of d x^2
  // (tangents converge slowly) and HiGHS's answers stop short of the optimum by up to its
  // absolute tolerances (a relative 1e-5 on small objectives). Such a node is solved again on
  // the user's objective, whose value is exact.
  Relaxation exactAtIntegralPoint(const Node &node, Relaxation r);
  void addPerspectiveCuts(const std::vector<Cut> &cuts);
  // A node's relaxation. HiGHS's QP solver now and then fails on the epigraph model (calls
  // it nonconvex, or ends at a point that fails the optimality check); such a node is solved
  // again on the user's objective, whose relaxation is weaker but which it handles, and that
  // answer (plain: its value is the point's) is used.
  Relaxation solveNode(const std::vector<BoundChange> &changes);
  // The node's relaxation on the user's objective (r when HiGHS refuses the change).
  Relaxation solvePlain(const std::vector<BoundChange> &changes, Relaxation r);
  // Switches HiGHS's relaxations to the user's objective (the perspective cuts freed; the
  // epigraph columns, fixed at 0 by the caller, cost nothing that matters) or back to the
  // epigraph model's. False when HiGHS refused.
  bool useUserObjective(bool user);
  // Decides, for tree_perspective automatic, on the root's first relaxation r whether the
  // perspective is worth its cost; if not, drops it and returns the root solved again
  // without it.
  Relaxation choosePerspective(const Node &root, Relaxation r);
  int64_t epigraph_failures_ = 0;
  std::vector<int> perspective_rows_;  // among the solver's cuts
  bool last_plain_ = false;  // the last solveNode answer is a plain one
  // Propagates the node's new bound changes through the rows and records the tightened
  // bounds as further changes; false when the node is infeasible.
  bool propagate(Node &node);

  nvrl_problem_s *p_;
  int perspective_mode_;  // the control: -1 automatic, 0 none, 1 root, 2 nodes too
  // Before the solver: it extends what HiGHS holds, and is undone after the solver's cuts.
  PerspectiveModel persp_;
  // The search works on the epigraph model (choosePerspective may turn it off: the epigraph
  // columns are then fixed at 0 and the user's objective is back for good).
  bool perspective_ = false;
  const LoweredModel &L_;
  Limits lim_;
  Entities entities_;
  RelaxationSolver solver_;
  Pseudocosts pc_;
  Propagator prop_;
  std::vector<double> plo_, pup_;
  std::vector<int> seeds_;
  bool root_propagated_ = false;
  NodeQueue queue_;
  std::chrono::steady_clock::time_point start_;
  SearchLog log_;
  Outcome out_;
  // Smallest bound of the nodes closed within the gap tolerances or left without a verified
  // bound: the proven bound cannot exceed it.
  double closed_bound_ = kInf;
  // The root relaxation (after the cuts), kept for rootFixing.
  bool have_root_ = false;
  Relaxation root_r_;
  std::vector<double> root_node_lo_, root_node_up_;
  int root_fixed_ = 0;
  int64_t next_neighbourhood_ = 0, neighbourhood_every_ = kNeighbourhoodEvery;
  // QP relaxations: consecutive neighbourhood runs that found nothing.
  int neighbourhood_misses_ = 0;
  int64_t dives_ = 0;
  int perspective_cuts_ = 0;
};

bool Search::propagate(Node &node) {
  plo_ = solver_.rootLower();
  pup_ = solver_.rootUpper();
  for (const BoundChange &c : node.changes) {
    plo_[c.col] = std::fmax(plo_[c.col], c.lo);
    pup_[c.col] = std::fmin(pup_[c.col], c.up);
  }
  const bool all = !root_propagated_;
  seeds_.clear();
  for (size_t k = node.settled; k < node.changes.size(); ++k) seeds_.push_back(node.changes[k].col);
  // A row visit reads its entries twice.
  const int64_t pass = 2 * prop_.nnz();
  const int64_t work = all ? kRootWorkPasses * pass + kNodeWorkMin : std::max(kNodeWorkMin, pass);
  const size_t before = node.changes.size();
  prop_.setObjectiveLimit(valueLimit());
  const bool feasible = prop_.run(plo_, pup_, seeds_, all, work, node.changes);
  root_propagated_ = true;
  if (!feasible) return false;
  // Long paths pile up changes to the same columns: keep one per column that differs from
  // the root.
  if (node.changes.size() > before && node.changes.size() > static_cast<size_t>(L_.cols())) {
    node.changes.clear();
    const std::vector<double> &rl = solver_.rootLower(), &ru = solver_.rootUpper();
    for (int j = 0; j < L_.cols(); ++j)
      if (plo_[j] != rl[j] || pup_[j] != ru[j]) node.changes.push_back({j, plo_[j], pup_[j]});
  }
  node.settled = node.changes.size();
  node.propagated = true;
  return true;
}

double Search::valueLimit() const {
  if (out_.have_incumbent)
    return out_.value - std::max(lim_.absgap, lim_.relgap * std::fabs(out_.value));
  if (lim_.has_cutoff) {
    const double c = L_.sense * lim_.cutoff;
    return c + std::max(1e-6, 1e-9 * std::fabs(c));
  }
  return kInf;
}

int Search::stopReason(bool nodeLimit) const {
  const int interrupt = p_->interrupt_reason.load();
  if (interrupt != 0) return interrupt;
  if (secondsLeft() <= 0.0) return NVRL_STOP_TIMELIMIT;
  if (nodeLimit && lim_.nodes > 0 && out_.nodes >= lim_.nodes) return NVRL_STOP_NODELIMIT;
  if (lim_.solutions > 0 && out_.solutions >= lim_.solutions) return NVRL_STOP_SOLLIMIT;
  return 0;
}

bool Search::offer(const std::vector<double> &x, char source) {
  std::vector<double> user(x.begin(), x.begin() + L_.user_cols);
  const double obj = userObjective(p_->model, user);
  if (lim_.has_cutoff && !meetsCutoff(obj, lim_.cutoff, p_->model.objsense)) return false;
  const double value = L_.sense * obj;
  if (out_.have_incumbent && value >= out_.value - 1e-9 * std::max(1.0, std::fabs(value)))
    return false;
  out_.have_incumbent = true;
  queue_.switchToBestBound();
  out_.value = value;
  out_.x = x;
  ++out_.solutions;
  // A solution from elsewhere gives a paused neighbourhood search a new centre.
  if (source != 'N' && neighbourhood_misses_ >= kNeighbourhoodMisses) {
    neighbourhood_misses_ = 0;
    neighbourhood_every_ = kNeighbourhoodEvery;
    next_neighbourhood_ = out_.nodes;
  }
  log_.line(source, out_.nodes, queue_.size(), true, value, openBound());
  rootFixing();
  return true;
}

void Search::rootFixing() {
  if (!have_root_ || !out_.have_incumbent) return;
  const double room = out_.value - root_r_.value;
  if (!(room >= 0.0)) return;
  const std::vector<double> &lo = root_node_lo_, &up = root_node_up_;
  for (int j = 0; j < L_.cols(); ++j) {
    if (!entities_.integer[j]) continue;
    const double d = root_r_.dj[j];
    if (d > 1e-7 && std::isfinite(lo[j]) && root_r_.x[j] <= lo[j] + lim_.feastol) {
      const double nu = lo[j] + std::floor(room / d + 1e-9);
      if (nu < solver_.rootUpper()[j]) {
        solver_.tightenRoot(j, -kInf, nu);
        ++root_fixed_;
      }
    } else if (d < -1e-7 && std::isfinite(up[j]) && root_r_.x[j] >= up[j] - lim_.feastol) {
      const double nl = up[j] - std::floor(room / -d + 1e-9);
      if (nl > solver_.rootLower()[j]) {
        solver_.tightenRoot(j, nl, kInf);
        ++root_fixed_;
      }
    }
  }
}

// For a convex relaxation at its optimum z with reduced costs d, every point y of the node
// has objective >= z + d_j (y_j - x_j) for each column j at a bound; a column whose move off
// its bound would cost more than the incumbent allows is bounded accordingly.
std::vector<BoundChange> Search::reducedCostFixing(const Relaxation &r) const {
  std::vector<BoundChange> out;
  if (!out_.have_incumbent || r.status != Relaxation::Optimal) return out;
  const double room = out_.value - r.value;
  if (!(room >= 0.0)) return out;
  const std::vector<double> &lo = solver_.lower(), &up = solver_.upper();
  for (int j = 0; j < L_.cols(); ++j) {
    if (!entities_.integer[j]) continue;
    const double d = r.dj[j];
    if (d > 1e-7 && std::isfinite(lo[j]) && r.x[j] <= lo[j] + lim_.feastol) {
      const double nu = lo[j] + std::floor(room / d + 1e-9);
      if (nu < up[j]) out.push_back({j, -kInf, nu});
    } else if (d < -1e-7 && std::isfinite(up[j]) && r.x[j] >= up[j] - lim_.feastol) {
      const double nl = up[j] - std::floor(room / -d + 1e-9);
      if (nl > lo[j]) out.push_back({j, nl, kInf});
    }
  }
  return out;
}

void Search::heuristics(const Node &node, const Relaxation &r, bool root) {
  const bool rounding = root || out_.nodes % kRoundingEvery == 0;
  const bool diving = root || out_.nodes % kDivingEvery == 0;
  const bool qp = L_.hasHessian();
  const bool neighbourhood = out_.nodes >= next_neighbourhood_ &&
                             !(qp && neighbourhood_misses_ >= kNeighbourhoodMisses);
  if (!rounding && !diving && !neighbourhood) return;
  // The node's bounds: the heuristics' own solves change what the solver holds.
  const std::vector<double> lo = solver_.lower(), up = solver_.upper();
  HeuristicContext hc{entities_,
                      solver_,
                      lim_.inttol,
                      lim_.feastol,
                      [this](const std::vector<double> &x, char s) { return offer(x, s); },
                      [this]() { return stopReason(false) != 0 ? 0.0 : secondsLeft(); },
                      [this]() { return valueLimit(); },
                      [this](Node &n) { return propagate(n); },
                      pc_,
                      nullptr};
  if (rounding) roundingHeuristic(hc, node, r.x);
  if (diving) {
    // Fractional and guided dives take turns once there is an incumbent (both at the root).
    if (root || !out_.have_incumbent || dives_ % 2 == 0) divingHeuristic(hc, node, r);
    if (out_.have_incumbent && (root || dives_ % 2 == 1)) {
      hc.incumbent = &out_.x;
      divingHeuristic(hc, node, r, true);
    }
    ++dives_;
  }
  if (neighbourhood && out_.have_incumbent) {
    hc.incumbent = &out_.x;
    const bool found = neighbourhoodSearch(hc, node, lo, up, r.x,
                                           qp ? kNeighbourhoodNodesQP : kNeighbourhoodNodes);
    if (qp) neighbourhood_misses_ = found ? 0 : neighbourhood_misses_ + 1;
    neighbourhood_every_ =
        found ? kNeighbourhoodEvery : std::min(2 * neighbourhood_every_, kNeighbourhoodMaxEvery);
    next_neighbourhood_ = out_.nodes + neighbourhood_every_;
  }
}

void Search::offerUserSolutions() {
  void *h = solver_.handle();
  for (const CompletedStart &c : completeStarts(p_, h, log_.on())) {
    // The auxiliary columns of this lowering (indicators, general constraints) follow from
    // the user's columns.
    std::vector<ColumnFix> fixes;
    for (int j = 0; j < L_.user_cols; ++j) fixes.push_back({j, c.x[j], c.x[j]});
    const Completion t = completePoint(L_, fixes, h, secondsLeft());
    if (t.status == Completion::Found) offer(t.x, 'U');
  }
}

Relaxation Search::rootCuts(const Node &root, Relaxation r) {
  const int64_t rounds = getIntControl(p_, id::kTreeCutRounds);
  for (int64_t round = 0; round < rounds && r.status == Relaxation::Optimal; ++round) {
    if (violations(entities_, r.x, lim_.inttol, lim_.feastol).empty()) break;
    if (stopReason(false) != 0) break;
    const std::vector<Cut> cuts =
        separateCovers(L_, solver_.lower(), solver_.upper(), r.x, kCutsPerRound);
    if (cuts.empty() || !solver_.addCuts(cuts)) break;
    const double before = r.value;
    r = solveNode(root.changes);
    if (r.status != Relaxation::Optimal) break;
    if (r.value - before <= kCutProgress * std::max(1.0, std::fabs(before))) break;
  }
  const int covers = solver_.cutCount() - perspective_cuts_;
  if (log_.on() && covers > 0)
    p_->log(NVRL_MSG_INFO, "Root cuts: %d cover cuts, bound %.9g", covers, L_.sense * r.value);
  return r;
}

void Search::addPerspectiveCuts(const std::vector<Cut> &cuts) {
  const int first = solver_.cutCount();
  if (cuts.empty() || !solver_.addCuts(cuts)) return;
  for (int k = first; k < solver_.cutCount(); ++k) perspective_rows_.push_back(k);
  perspective_cuts_ += static_cast<int>(cuts.size());
}

Relaxation Search::solveNode(const std::vector<BoundChange> &changes) {
  last_plain_ = false;
  int64_t cap = 0;
  if (perspective_)
    cap = std::max(kEpigraphIterationsLeast,
                   kEpigraphIterationsPerLine * (persp_.model().rows() + solver_.cutCount() +
                                                 persp_.model().cols()));
  Relaxation r = solver_.solve(changes, secondsLeft(), cap);
  if (!perspective_) return r;
  // An iteration limit here is HiGHS's own for QPs (it cycles on some of these models),
  // unless the user set one.
  const bool failed =
      r.status == Relaxation::Unverified ||
      (r.status == Relaxation::Stopped &&
       (r.stop_reason == 0 || (r.stop_reason == NVRL_STOP_ITERLIMIT &&
                               getIntControl(p_, id::kLpIterLimit) == 0)));
  if (failed) {
    ++epigraph_failures_;
    return solvePlain(changes, std::move(r));
  }
  if (r.status == Relaxation::Optimal) {
    // On the epigraph model HiGHS's objective value is only as exact as its absolute
    // tolerances, which on small objectives may put it above the node's bound; the
    // Lagrangian bound at its answer cannot overstate.
    const double bound = lagrangianBound(solver_.handle(), persp_.columns());
    if (!std::isfinite(bound)) {
      ++epigraph_failures_;
      return solvePlain(changes, std::move(r));
    }
    r.value = std::fmin(r.value, bound);
  }
  return r;
}

bool Search::useUserObjective(bool user) {
  const LoweredModel &P = persp_.model(), &L = persp_.original();
  if (!user)
    return solver_.freeCuts(perspective_rows_, false) &&
           solver_.changeObjective(P.cost, P.q_start, P.q_index, P.q_value);
  // The user's Hessian has no entries in the epigraph columns: its starts run on past them.
  std::vector<int> qstart = L.q_start;
  qstart.resize(P.cols(), static_cast<int>(L.q_index.size()));
  return solver_.freeCuts(perspective_rows_, true) &&
         solver_.changeObjective(P.cost, qstart, L.q_index, L.q_value);
}

Relaxation Search::solvePlain(const std::vector<BoundChange> &changes, Relaxation r) {
  // The epigraph columns fixed at 0 and their cuts freed: what is left is the user's
  // objective on the node's bounds (and the cover cuts).
  std::vector<BoundChange> fixed = changes;
  for (const OnOffColumn &c : persp_.columns()) fixed.push_back({c.t, 0.0, 0.0});
  if (!useUserObjective(true)) {
    if (!useUserObjective(false))
      throw EngineError("HiGHS refused the search's objective back after a relaxation");
    return r;
  }
  Relaxation q = solver_.solve(fixed, secondsLeft());
  last_plain_ = true;
  if (!useUserObjective(false))
    throw EngineError("HiGHS refused the search's objective back after a relaxation");
  return q;
}

Relaxation Search::rootPerspective(const Node &root, Relaxation r) {
  const int most = kPerspectiveCutsPerColumn * static_cast<int>(persp_.columns().size());
  int stalled = 0;
  for (int round = 0; round < kPerspectiveRounds && r.status == Relaxation::Optimal; ++round) {
    if (stopReason(false) != 0 || perspective_cuts_ >= most) break;
    const std::vector<Cut> cuts =
        separatePerspective(persp_.columns(), r.x, perspectiveThreshold(r.value),
                            most - perspective_cuts_);
    const int before_cuts = perspective_cuts_;
    addPerspectiveCuts(cuts);
    if (perspective_cuts_ == before_cuts) break;
    const double before = r.value;
    r = solveNode(root.changes);
    if (r.status != Relaxation::Optimal || last_plain_) break;
    // A round may only move the binaries (a cut at x/z is evaded by a larger z): the bound
    // has to stall for a few rounds in a row.
    if (r.value - before > kPerspectiveProgress * std::max(std::fabs(before), 1e-9))
      stalled = 0;
    else if (++stalled >= kPerspectiveStalls)
      break;
  }
  if (log_.on())
    p_->log(NVRL_MSG_INFO, "Perspective cuts: %zu columns switched off by binaries, %d cuts, "
            "root bound %.9g", persp_.columns().size(), perspective_cuts_, L_.sense * r.value);
  return r;
}

Relaxation Search::choosePerspective(const Node &root, Relaxation r) {
  // Without cuts yet the epigraph columns are at 0, so r.value is the objective less the
  // split-off terms at r.x. Its size, not its sum with them: a rest that nearly cancels them
  // (returns against variance) must not make their share look large.
  double split = 0.0;
  for (const OnOffColumn &c : persp_.columns()) split += c.d * r.x[c.x] * r.x[c.x];
  const double whole = std::fabs(r.value) + split;
  const double share = whole > 0.0 ? split / whole : 0.0;
  if (!last_plain_ && r.status == Relaxation::Optimal && share >= kPerspectiveLeastShare)
    return r;
  if (log_.on())
    p_->log(NVRL_MSG_INFO, "Perspective cuts: not used (the switched-off columns' quadratic "
            "terms make %.0f%% of the root's objective)", 100.0 * share);
  for (const OnOffColumn &c : persp_.columns()) solver_.tightenRoot(c.t, 0.0, 0.0);
  if (!useUserObjective(true))
    throw EngineError("HiGHS refused the user's objective back for the search");
  perspective_ = false;
  return solveNode(root.changes);
}

Relaxation Search::exactAtIntegralPoint(const Node &node, Relaxation r) {
  if (r.status == Relaxation::Optimal && !last_plain_ &&
      violations(entities_, r.x, lim_.inttol, lim_.feastol).empty())
    r = solvePlain(node.changes, std::move(r));
  return r;
}

Outcome Search::run() {
  log_.header(L_, entities_.integers, entities_.semis.size(), entities_.partials.size(),
              entities_.sets.size());
  offerUserSolutions();
  Node current;
  current.bound = -kInf;
  bool haveCurrent = true;
  while (true) {
    if (!haveCurrent) {
      if (queue_.empty()) break;
      // Everything left is within the gap tolerances of the incumbent: done.
      if (out_.have_incumbent && queue_.minBound() >= valueLimit()) {
        closed_bound_ = std::fmin(closed_bound_, queue_.minBound());
        queue_ = NodeQueue();
        break;
      }
      current = queue_.pop();
    }
    haveCurrent = false;
    if (current.bound >= valueLimit()) {
      closed_bound_ = std::fmin(closed_bound_, current.bound);
      continue;
    }
    if (const int reason = stopReason()) {
      queue_.push(std::move(current));
      out_.end = Outcome::Stopped;
      out_.stop_reason = reason;
      break;
    }
    const bool root = out_.nodes == 0;
    if (!propagate(current)) {
      // Perhaps cut off by the objective: its points are within the gaps of the incumbent
      // at best.
      if (prop_.objectiveInForce()) closed_bound_ = std::fmin(closed_bound_, valueLimit());
      continue;
    }
    Relaxation r = solveNode(current.changes);
    if (root && r.status == Relaxation::Optimal) {
      if (perspective_ && perspective_mode_ < 0) r = choosePerspective(current, std::move(r));
      if (perspective_ && !last_plain_) r = rootPerspective(current, std::move(r));
      if (r.status == Relaxation::Optimal) r = rootCuts(current, std::move(r));
      if (r.status == Relaxation::Optimal) {
        // The fixings hold against the root's own bounds, propagation included.
        have_root_ = true;
        root_r_ = r;
        root_node_lo_ = solver_.lower();
        root_node_up_ = solver_.upper();
        rootFixing();
      }
    }
    if (perspective_) r = exactAtIntegralPoint(current, std::move(r));
    ++out_.nodes;
    if (r.status == Relaxation::Stopped) {
      queue_.push(std::move(current));
      out_.end = Outcome::Stopped;
      out_.stop_reason = r.stop_reason;
      break;
    }
    if (r.status == Relaxation::Unbounded) {
      out_.end = Outcome::Unbounded;
      break;
    }
    if (r.status == Relaxation::Infeasible) continue;
    const bool verified = r.status == Relaxation::Optimal;
    if (verified) pc_.record(current.branch, r.value);
    const double value = verified ? std::fmax(r.value, current.bound) : current.bound;
    const std::vector<Candidate> cands = violations(entities_, r.x, lim_.inttol, lim_.feastol);
    if (cands.empty()) {
      offer(r.x, '*');
      // Without a verified optimum, or with epigraph columns still short of their x^2 (so a
      // value below the point's), the node's own bound stays unproven.
      if (!verified || (perspective_ && !last_plain_ && !epigraphsSettled(r)))
        closed_bound_ = std::fmin(closed_bound_, value);
      continue;
    }
    if (value >= valueLimit()) {
      closed_bound_ = std::fmin(closed_bound_, value);
      continue;
    }
    if (!root && verified && perspective_ && !last_plain_ && perspective_mode_ != 1 &&
        perspective_cuts_ < kPerspectiveCutsPerColumn * static_cast<int>(persp_.columns().size()))
      // For the nodes to come: this one's relaxation is not solved again.
      addPerspectiveCuts(separatePerspective(persp_.columns(), r.x, perspectiveThreshold(r.value),
                                             kPerspectivePerNode));
    // Before the heuristics: they leave the solver holding other bounds than the node's.
    const std::vector<BoundChange> fixings = reducedCostFixing(r);
    heuristics(current, r, root);
    if (value >= valueLimit()) {  // a heuristic's incumbent may close the node
      closed_bound_ = std::fmin(closed_bound_, value);
      continue;
    }
    const int k = selectCandidate(cands, pc_);
    Children ch =
        makeChildren(current, fixings, cands[k], entities_, r.x, value, lim_.feastol, &pc_);
    queue_.push(std::move(ch.node[1 - ch.first]));
    current = std::move(ch.node[ch.first]);
    haveCurrent = true;
    if (log_.due(out_.nodes))
      log_.line(' ', out_.nodes, queue_.size() + 1, out_.have_incumbent, out_.value,
                std::fmin(openBound(), value));
  }
  if (out_.end == Outcome::Stopped && haveCurrent) queue_.push(std::move(current));
  out_.bound = openBound();
  out_.iterations = solver_.iterations();
  // A search that ran out of nodes with unproven parts has no verdict.
  if (out_.end == Outcome::Finished && out_.have_incumbent &&
      out_.bound < out_.value - std::max(lim_.absgap, lim_.relgap * std::fabs(out_.value)) - 1e-9) {
    out_.end = Outcome::Stopped;
    out_.stop_reason = NVRL_STOP_NONE;
  }
  if (out_.end == Outcome::Finished && !out_.have_incumbent) out_.bound = kInf;
  log_.line(' ', out_.nodes, queue_.size(), out_.have_incumbent, out_.value, out_.bound);
  if (log_.on() && epigraph_failures_ > 0)
    p_->log(NVRL_MSG_INFO, "Perspective cuts: HiGHS failed on %lld relaxations, solved again "
            "without them", static_cast<long long>(epigraph_failures_));
  return out_;
}

}  // namespace

int runTreeSearch(nvrl_problem_s *p, HighsSession &session,
                  std::chrono::steady_clock::time_point start, bool log) {
  InterruptGuard guard(p);
  RunContext ctx;
  ctx.p = p;
  void *h = session.handle();
  RunCallbacks callbacks(h, ctx, false, false);
  Highs_setBoolOptionValue(h, "output_flag", false);
  Outcome o;
  {
    Search search(p, session, start, log);
    o = search.run();
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  storeAnswers(p, session.lowered(), o, seconds);
  if (log) p->logLine(NVRL_MSG_INFO, finalStatusLine(p->sol));
  return 0;
}

namespace {

struct RegisterTreeSearch {
  RegisterTreeSearch() { setTreeSearch(runTreeSearch); }
} g_register;

}  // namespace

}  // namespace nvrl::tree

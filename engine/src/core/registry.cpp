// The table of controls and attributes and its lookups.
#include "core/registry.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <unordered_map>
#include <vector>

#include "core/ids.h"
#include "core/text.h"

namespace nvrl {
namespace {

constexpr int64_t kIntMax = INT_MAX;
constexpr int64_t kInt64Max = INT64_MAX;
constexpr double kUnbounded = 1e300;  // a double control without a finite bound
// Limits and gaps where +inf reads naturally as "none".
constexpr double kNoLimit = std::numeric_limits<double>::infinity();

constexpr ParamOwner kOpt = ParamOwner::Optimiser;
constexpr ParamOwner kNl = ParamOwner::Nonlinear;
constexpr ParamOwner kIpm = ParamOwner::NonlinearIpm;

constexpr ParamInfo intCtl(int id, const char *name, int64_t def, int64_t lo, int64_t hi,
                           const char *doc, ParamOwner owner = kOpt) {
  return {id, name, ParamType::Int, ParamKind::Control, owner, def, lo, hi, 0, 0, 0, "", doc};
}
constexpr ParamInfo int64Ctl(int id, const char *name, int64_t def, int64_t lo, int64_t hi,
                             const char *doc, ParamOwner owner = kOpt) {
  return {id, name, ParamType::Int64, ParamKind::Control, owner, def, lo, hi, 0, 0, 0, "", doc};
}
constexpr ParamInfo dblCtl(int id, const char *name, double def, double lo, double hi,
                           const char *doc, ParamOwner owner = kOpt) {
  return {id, name, ParamType::Double, ParamKind::Control, owner, 0, 0, 0, def, lo, hi, "", doc};
}
constexpr ParamInfo strCtl(int id, const char *name, const char *def, const char *doc,
                           ParamOwner owner = kOpt) {
  return {id, name, ParamType::String, ParamKind::Control, owner, 0, 0, 0, 0, 0, 0, def, doc};
}
constexpr ParamInfo attr(int id, const char *name, ParamType type, const char *doc,
                         ParamOwner owner = kOpt) {
  return {id, name, type, ParamKind::Attribute, owner, 0, 0, 0, 0, 0, 0, "", doc};
}
constexpr ParamInfo intAttr(int id, const char *name, const char *doc, ParamOwner owner = kOpt) {
  return attr(id, name, ParamType::Int, doc, owner);
}
constexpr ParamInfo int64Attr(int id, const char *name, const char *doc) {
  return attr(id, name, ParamType::Int64, doc);
}
constexpr ParamInfo dblAttr(int id, const char *name, const char *doc, ParamOwner owner = kOpt) {
  return attr(id, name, ParamType::Double, doc, owner);
}

// Ids are written out here and nowhere else. nvrl.h publishes them as constants generated
// from this table (NVRL_ATTR_..., NVRL_CTRL_..., NSLP_ATTR_..., NSLP_CTRL_...), and
// core/ids.h names the ones the engine's own code uses after those constants.
const ParamInfo kTable[] = {
    // ---- optimiser attributes ----
    intAttr(1001, "rows", "Number of rows."),
    int64Attr(1002, "elements", "Number of nonzero coefficients of the matrix."),
    int64Attr(1003, "objective_quadratic_elements",
              "Entries of the quadratic objective (upper triangle)."),
    intAttr(1004, "sets", "Number of special ordered sets."),
    intAttr(1005, "quadratic_rows", "Rows with a quadratic part."),
    intAttr(1010, "lp_status", "Status of the last LP solve (lp_... constants)."),
    intAttr(1011, "mip_status", "Status of the last MIP solve (mip_... constants)."),
    intAttr(1018, "columns", "Number of columns."),
    intAttr(1019, "spare_rows", "Spare rows allocated beyond the problem's rows (always 0)."),
    intAttr(1020, "stop_status", "Why the last solve stopped (stop_... constants)."),
    int64Attr(1021, "simplex_iterations", "Simplex iterations of the last solve."),
    int64Attr(1022, "barrier_iterations", "Barrier iterations of the last solve."),
    int64Attr(1023, "nodes", "Branch-and-bound nodes of the last MIP solve."),
    intAttr(1025, "mip_solutions", "Integer solutions found by the last MIP solve."),
    intAttr(1026, "solution_available", "1 when the last solve left a primal solution."),
    intAttr(1028, "name_length",
            "Longest row, column or set name, in units of 8 characters (rounded up)."),
    intAttr(1030, "has_dual_ray", "1 when the last LP solve proved infeasibility by a ray."),
    intAttr(1031, "has_primal_ray",
            "1 when the last LP solve proved unboundedness by a ray."),
    intAttr(1032, "discrete_columns",
            "Columns of type integer, binary, semi-continuous, semi-integer or partially integer."),
    intAttr(1124, "original_rows", "Rows of the problem as loaded (equal to rows)."),
    intAttr(1158, "problem_name_length",
            "Bytes needed for the problem name, terminator included."),
    intAttr(1194, "original_sets", "Sets of the problem as loaded (equal to sets)."),
    intAttr(1214, "original_columns",
            "Columns of the problem as loaded (equal to columns)."),
    intAttr(1325, "indicators", "Rows that are indicator constraints."),
    intAttr(1327, "general_constraints",
            "General constraints plus piecewise-linear constraints."),
    intAttr(1328, "pwl_constraints", "Piecewise-linear constraints."),
    dblAttr(2001, "lp_objective", "Objective value of the last LP solve."),
    dblAttr(2002, "best_bound", "Best bound on the objective found by the last MIP solve."),
    dblAttr(2003, "mip_objective", "Objective value of the best MIP solution."),
    dblAttr(2004, "mip_gap", "Relative gap between mip_objective and best_bound."),
    dblAttr(2005, "solve_time", "Seconds spent in the last solve."),
    dblAttr(2006, "objective_constant", "Constant term of the objective."),
    dblAttr(2008, "objective_sense", "1 when minimising, -1 when maximising."),
    dblAttr(2009, "max_primal_infeasibility",
            "Largest bound or row violation of the current solution (0 without one)."),
    dblAttr(2010, "max_dual_infeasibility",
            "Largest reduced cost of the wrong sign in the current solution (0 without one)."),
    attr(3001, "version", ParamType::String, "Version of the library (major.minor.patch)."),

    // ---- optimiser controls ----
    strCtl(6001, "mps_rhs_name",
           "", "RHS set read from an MPS file holding several (empty: the first)."),
    strCtl(6002, "mps_bound_name",
           "", "BOUNDS set read from an MPS file holding several (empty: the first)."),
    strCtl(6003, "mps_range_name",
           "", "RANGES set read from an MPS file holding several (empty: the first)."),
    dblCtl(7001, "time_limit", 0.0, 0.0, kNoLimit,
           "Seconds a solve may run; 0 or 1e20 and beyond: no limit."),
    dblCtl(7002, "mip_relative_gap", 1e-4, 0.0, kNoLimit,
           "A MIP solve stops when the relative gap falls to this value."),
    dblCtl(7003, "mip_absolute_gap", 1e-6, 0.0, kNoLimit,
           "A MIP solve stops when the absolute gap falls to this value."),
    dblCtl(7004, "feasibility_tolerance", 1e-6, 1e-10, 1e-1,
           "Largest bound or row violation accepted as feasible."),
    dblCtl(7005, "optimality_tolerance", 1e-6, 1e-10, 1e-1,
           "Largest reduced cost of the wrong sign accepted as optimal."),
    dblCtl(7006, "miptol", 5e-6, 1e-10, 0.5,
           "Integrality tolerance: a value this close to an integer counts as integral."),
    dblCtl(7007, "cutoff", 1e20, -kNoLimit, kNoLimit,
           "Solutions with an objective worse than this are discarded; 1e20 or beyond in "
           "absolute value: none."),
    dblCtl(7008, "barrier_tolerance", 1e-8, 1e-12, 1e-1,
           "Convergence tolerance of the barrier (interior point) algorithm."),
    int64Ctl(8001, "node_limit", 0, 0, kInt64Max,
             "Branch-and-bound nodes a MIP solve may explore; 0: no limit."),
    intCtl(8002, "solution_limit", 0, 0, kIntMax,
           "A MIP solve stops after this many integer solutions; 0: no limit."),
    intCtl(8003, "threads", 0, 0, 1024, "Threads the optimiser may use; 0: automatic."),
    intCtl(8004, "presolve", 1, 0, 1, "1 to simplify the problem before solving, 0 not to."),
    intCtl(8005, "lp_algorithm", 1, 1, 4,
           "LP algorithm: 1 automatic, 2 dual simplex, 3 primal simplex, 4 barrier."),
    intCtl(8006, "log_level", 1, 0, 2, "Solver log: 0 silent, 1 normal, 2 verbose."),
    int64Ctl(8007, "lp_iteration_limit", 0, 0, kInt64Max,
             "Simplex iterations a solve may take; 0: no limit."),
    intCtl(8008, "barrier_iteration_limit", 0, 0, kIntMax,
           "Barrier iterations a solve may take; 0: no limit."),
    intCtl(8009, "crossover", 1, 0, 1,
           "1 to turn a barrier solution into a basic solution, 0 not to."),
    intCtl(8020, "tree_search", 0, 0, 1,
           "1: MIPs are solved by the engine's own branch and bound on LP relaxations instead "
           "of HiGHS's MIP solver; MIPs with a quadratic objective always are."),
    intCtl(8021, "tree_cut_rounds", 10, 0, 100,
           "Rounds of knapsack cover cuts at the root of the engine's own tree search; 0: no "
           "cuts."),
    intCtl(8022, "tree_perspective", -1, -1, 2,
           "Perspective cuts for columns a binary switches off that carry a quadratic cost, in "
           "the engine's own tree search: -1 automatic (as 2 where those columns' quadratic "
           "terms make at least half of the root's objective, else none), 0 none, 1 at the "
           "root, 2 at the root and the nodes."),
    intCtl(8035, "load_log", 1, 0, 1, "1 when loading a problem writes a log line, 0 not."),
    dblCtl(8100, "iis_time_limit", 0.0, 0.0, kNoLimit,
           "Seconds one infeasible-set search (NVRLiisfirst, NVRLiisnext, NVRLiisall) may run; "
           "0 or 1e20 and beyond: no limit."),
    intCtl(8101, "iis_max_sets", 0, 0, kIntMax,
           "NVRLiisall stops after this many infeasible sets; 0: no limit."),
    dblCtl(8110, "repair_big_m", 1e5, 1.0, 1e15,
           "Largest violation the count penalty of a repair allows for a row side or bound "
           "without a relaxation limit of its own."),
    dblCtl(8111, "tuner_time_limit", 0.0, 0.0, kNoLimit,
           "Seconds the tuner may run in all; 0 or 1e20 and beyond: no limit."),
    dblCtl(8112, "tuner_run_time_limit", 0.0, 0.0, kNoLimit,
           "Seconds each of the tuner's runs may take; 0 or 1e20 and beyond: no limit."),
    dblCtl(8113, "mip_heuristic_effort", 0.05, 0.0, 1.0,
           "Share of a MIP search's effort spent on primal heuristics."),
    intCtl(22013, "random_seed", 0, 0, kIntMax,
           "Seed of the optimiser's random choices."),

    // ---- nonlinear solver attributes ----
    intAttr(11999, "nslp_rows", "Rows seen by the nonlinear solver.", kNl),
    intAttr(12000, "nslp_columns", "Columns seen by the nonlinear solver.", kNl),
    intAttr(12013, "nslp_constant_column",
            "Index of the nonlinear solver's constant column: always -1, as coefficients and "
            "formulas name it.",
            kNl),
    intAttr(12016, "nslp_coefficients", "Nonlinear coefficients.", kNl),
    intAttr(12026, "nslp_nonlinear_rows", "Rows with nonlinear coefficients.", kNl),
    intAttr(12044, "nslp_status",
            "Status of the last nonlinear solve (nlp_... constants); 0 unstarted.", kNl),
    intAttr(12062, "nslp_state",
            "State bits of the nonlinear problem: bit 0 constructed, bit 29 presolved.", kNl),
    intAttr(12101, "nslp_iterations", "Iterations of the last nonlinear solve.", kNl),
    intAttr(12102, "nslp_stop_status",
            "Why the last nonlinear solve stopped (stop_... constants).", kNl),
    dblAttr(12179, "nslp_objective", "Objective value of the last nonlinear solve.", kNl),
    intAttr(12180, "nslp_interrupt_reason",
            "Reason given to the last interrupt request; 0 none.", kNl),
    intAttr(12220, "nslp_cascade_columns",
            "Columns in the cascade order: the columns with a determining row.", kNl),
    intAttr(12221, "nslp_cascade_failures",
            "Column cascades that failed in the last cascade or nonlinear solve.", kNl),
    intAttr(12222, "nslp_presolve_fixed_columns",
            "Columns fixed by their bounds that the last presolve substituted into formulas.",
            kNl),
    intAttr(12223, "nslp_presolve_linear_coefficients",
            "Nonlinear coefficients the last presolve turned into linear terms or constants.",
            kNl),
    intAttr(12240, "nslp_multistart_jobs",
            "Multistart jobs queued (a preset counts as its number of jobs).", kNl),
    intAttr(12241, "nslp_multistart_jobs_run", "Multistart jobs the last solve ran.", kNl),
    intAttr(12242, "nslp_multistart_winner",
            "Whose answer the last solve kept: 0 the base solve, k the k-th queued job.", kNl),
    intAttr(12243, "nslp_multistart_jobs_optimal",
            "Solves of the last multistart (the base solve included) that ended locally "
            "optimal.", kNl),
    dblAttr(12244, "nslp_multistart_base_objective",
            "Objective of the base solve of the last multistart.", kNl),
    dblAttr(12260, "nslp_validation_index_a",
            "Largest absolute row or bound violation found by the last validation.", kNl),
    dblAttr(12261, "nslp_validation_index_r",
            "Largest row or bound violation relative to the row's size found by the last "
            "validation.", kNl),
    intAttr(12262, "nslp_validation_failures",
            "Rows and columns that missed both validation targets in the last validation.", kNl),
    intAttr(12263, "nslp_validation_derivative_errors",
            "Derivatives that disagreed with central differences in the last row validation.",
            kNl),
    dblAttr(12264, "nslp_kkt_stationarity",
            "Largest stationarity violation found by the last optimality check.", kNl),
    dblAttr(12265, "nslp_kkt_complementarity",
            "Largest complementarity violation found by the last optimality check.", kNl),
    dblAttr(12266, "nslp_kkt_feasibility",
            "Largest row or bound violation found by the last optimality check.", kNl),
    intAttr(12267, "nslp_kkt_valid",
            "1 when the last optimality check found every violation within its target, else 0.",
            kNl),

    // ---- nonlinear solver controls ----
    intCtl(12100, "nslp_iteration_limit", 1000, 1, kIntMax,
           "Linearisations a nonlinear solve may take.", kNl),
    dblCtl(12103, "nslp_time_limit", 0.0, 0.0, kNoLimit,
           "Seconds a nonlinear solve may run; 0: no limit.", kNl),
    intCtl(12104, "nslp_log_level", 1, 0, 2,
           "Nonlinear solver log: 0 silent, 1 one line per iteration, 2 verbose.", kNl),
    dblCtl(12110, "nslp_step_tolerance", 1e-6, 0.0, kUnbounded,
           "Converged when every step is below this, relative to the column's value.", kNl),
    dblCtl(12111, "nslp_objective_absolute_tolerance", 1e-6, 0.0, kUnbounded,
           "Converged when the objective changes by less than this between iterations.", kNl),
    dblCtl(12112, "nslp_objective_relative_tolerance", 1e-6, 0.0, kUnbounded,
           "Converged when the relative objective change is below this.", kNl),
    dblCtl(12113, "nslp_feasibility_tolerance", 1e-6, 1e-12, 1.0,
           "Largest violation of a nonlinear row accepted as feasible.", kNl),
    dblCtl(12114, "nslp_optimality_tolerance", 1e-6, 1e-12, 1.0,
           "Converged when the Lagrangian's gradient (relative to the largest objective "
           "gradient entry, at least 1) is below this at a feasible point.", kNl),
    dblCtl(12120, "nslp_initial_step_bound", 10.0, 1e-12, kUnbounded,
           "Initial bound on each column's step (trust region).", kNl),
    dblCtl(12121, "nslp_min_step_bound", 1e-8, 0.0, kUnbounded,
           "Step bounds are never reduced below this.", kNl),
    dblCtl(12122, "nslp_max_step_bound", 1e6, 1e-12, kUnbounded,
           "Step bounds are never expanded beyond this.", kNl),
    dblCtl(12123, "nslp_step_expand", 2.0, 1.0, kUnbounded,
           "Factor applied to a step bound after a successful step.", kNl),
    dblCtl(12124, "nslp_step_shrink", 0.5, 1e-6, 1.0,
           "Factor applied to a step bound after a rejected step.", kNl),
    dblCtl(12130, "nslp_penalty", 100.0, 0.0, kUnbounded,
           "Initial cost of the penalty columns that absorb row infeasibility.", kNl),
    dblCtl(12131, "nslp_penalty_growth", 10.0, 1.0, kUnbounded,
           "Factor applied to the penalty while penalty columns stay active.", kNl),
    dblCtl(12132, "nslp_penalty_max", 1e9, 0.0, kUnbounded,
           "The penalty is never raised beyond this.", kNl),
    dblCtl(12140, "nslp_derivative_step", 1e-6, 1e-15, 1.0,
           "Relative step of finite differences for user functions without derivatives.", kNl),
    dblCtl(12146, "nslp_objective_sense", 1.0, -1.0, 1.0,
           "Objective sense of the nonlinear solver: 1 minimise, -1 maximise.", kNl),
    intCtl(12230, "nslp_cascade", 1, 0, 1,
           "1 to cascade every trial point of a nonlinear solve when a column has a "
           "determining row, 0 not to.", kNl),
    intCtl(12231, "nslp_cascade_iteration_limit", 20, 1, kIntMax,
           "Newton iterations a column's cascade may take unless the column sets its own.",
           kNl),
    dblCtl(12232, "nslp_cascade_tolerance", 1e-10, 1e-15, 1e-3,
           "A determining row holds when its residual is at most this times max(1, |rhs|).",
           kNl),
    intCtl(12235, "nslp_scaling", 1, 0, 2,
           "Row scale factors in the penalty of row violations: 0 none, 1 those kept by "
           "NSLPscaling, 2 computed at the start of every nonlinear solve.", kNl),
    intCtl(12250, "nslp_multistart_seed", 0, 0, kIntMax,
           "Seed of the random starts and variations of multistart presets and the global "
           "search.", kNl),
    dblCtl(12251, "nslp_multistart_box", 10.0, 1e-12, kUnbounded,
           "Random starts replace an infinite bound by the starting value plus or minus this.",
           kNl),
    dblCtl(12252, "nslp_multistart_perturbation", 0.5, 1e-12, kUnbounded,
           "Largest relative change of a starting value by the perturbation preset.", kNl),
    intCtl(12253, "nslp_global_starts", 10, 1, 1000000,
           "Random starts of the global search, besides the base solve.", kNl),
    dblCtl(12270, "nslp_validation_target_a", 1e-6, 0.0, kUnbounded,
           "A validated row or bound fails when its violation exceeds this and its relative "
           "violation exceeds nslp_validation_target_r.", kNl),
    dblCtl(12271, "nslp_validation_target_r", 1e-6, 0.0, kUnbounded,
           "Relative violation (violation over the row's size, at least 1) a validated row may "
           "have.", kNl),
    dblCtl(12272, "nslp_validation_active_tolerance", 1e-5, 0.0, kUnbounded,
           "The optimality check counts a row or bound as active within this distance "
           "(relative to its size, at least 1).", kNl),
    dblCtl(12273, "nslp_validation_derivative_tolerance", 1e-5, 1e-12, kUnbounded,
           "Row validation reports a derivative that differs from central differences by "
           "more than this (relative to the larger of the two, at least 1).", kNl),
    intCtl(12415, "nslp_auto_presolve", 1, 0, 1,
           "1 to presolve the nonlinear problem automatically before solving, 0 not to.", kNl),
    intCtl(12416, "nslp_postsolve", 0, 0, 1,
           "1 to restore the original problem after a nonlinear solve, 0 to keep it presolved.",
           kNl),

    // ---- nonlinear solver: interior-point list ----
    intCtl(12900, "nslp_ipm_subproblems", 0, 0, 1,
           "1 to solve the nonlinear solver's LP subproblems by the barrier method.", kIpm),
    dblCtl(12901, "nslp_ipm_tolerance", 1e-8, 1e-12, 1e-1,
           "Barrier convergence tolerance for the LP subproblems.", kIpm),
    intCtl(12902, "nslp_ipm_iteration_limit", 0, 0, kIntMax,
           "Barrier iterations per LP subproblem; 0: no limit.", kIpm),
};

std::string lower(const char *s) {
  std::string out(s);
  for (char &c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

struct Index {
  std::unordered_map<int, const ParamInfo *> by_id;
  std::unordered_map<std::string, const ParamInfo *> by_name;
  std::vector<NVRLcaentry> lists[3];

  Index() {
    for (const ParamInfo &p : kTable) {
      by_id.emplace(p.id, &p);
      by_name.emplace(p.name, &p);
      int flags;
      if (p.owner == kOpt) {
        flags = p.isIntegral() ? NVRL_CAFLAG_INT
                : p.type == ParamType::Double ? NVRL_CAFLAG_DOUBLE
                                              : NVRL_CAFLAG_STRING;
        if (p.isControl()) flags |= NVRL_CAFLAG_CONTROL;
      } else {
        flags = p.isIntegral() ? NSLP_CCFLAG_INT
                : p.type == ParamType::Double ? NSLP_CCFLAG_DOUBLE
                                              : NSLP_CCFLAG_STRING;
        if (p.isControl()) flags |= NSLP_CCFLAG_CONTROL;
      }
      lists[static_cast<int>(p.owner)].push_back(
          NVRLcaentry{p.name, p.id, static_cast<int>(p.type), flags});
    }
    for (auto &l : lists) {
      std::sort(l.begin(), l.end(),
                [](const NVRLcaentry &a, const NVRLcaentry &b) { return a.id < b.id; });
      l.push_back(NVRLcaentry{nullptr, 0, -1, 0});
    }
  }
};

const Index &index() {
  static const Index *idx = new Index;  // never destroyed, like the table it indexes
  return *idx;
}

}  // namespace

std::span<const ParamInfo> paramTable() { return std::span<const ParamInfo>(kTable); }

const ParamInfo *findParam(int id) {
  const auto &m = index().by_id;
  auto it = m.find(id);
  return it == m.end() ? nullptr : it->second;
}

const ParamInfo *findParamByName(const char *name) {
  if (!name) return nullptr;
  const auto &m = index().by_name;
  auto it = m.find(lower(name));
  return it == m.end() ? nullptr : it->second;
}

const NVRLcaentry *caList(ParamOwner owner) {
  return index().lists[static_cast<int>(owner)].data();
}

const char *typeName(ParamType t) {
  switch (t) {
    case ParamType::Int: return "int";
    case ParamType::Int64: return "int64";
    case ParamType::Double: return "double";
    case ParamType::String: return "string";
  }
  return "?";
}

std::string checkIntValue(const ParamInfo &p, int64_t v) {
  if (v < p.ilo || v > p.ihi)
    return format("value %lld is outside the range [%lld, %lld]", static_cast<long long>(v),
                  static_cast<long long>(p.ilo), static_cast<long long>(p.ihi));
  return {};
}

std::string checkDblValue(const ParamInfo &p, double v) {
  if (std::isnan(v)) return "value is not a number";
  if (p.id == id::kSlpObjSense && v != 1.0 && v != -1.0)
    return format("value %g must be 1 (minimise) or -1 (maximise)", v);
  if (v < p.dlo || v > p.dhi)
    return format("value %g is outside the range [%g, %g]", v, p.dlo, p.dhi);
  return {};
}

std::string checkStrValue(const ParamInfo &p, const char *v) {
  if (!v) return "null string";
  if (std::strlen(v) >= NVRL_MAXNAMELEN)
    return format("string of %zu characters is longer than the limit of %d", std::strlen(v),
                  NVRL_MAXNAMELEN - 1);
  return {};
}

}  // namespace nvrl

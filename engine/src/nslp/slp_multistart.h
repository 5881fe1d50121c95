// Multistart: queued jobs (explicit starts and presets that expand into several), run by a
// nonlinear solve after its base solve, the best answer winning.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace nvrl {

struct SlpSettings;
struct SlpOutcome;
struct SlpHooks;
struct SlpEnvironment;

// Preset numbers (NSLP_MSSET_... in nvrl.h).
enum SlpMultistartPreset {
  kMsExplicit = -1,        // a job of its own, not a preset
  kMsInitialValues = 0,    // random initial values within the bounds
  kMsSolvers = 1,          // subproblem algorithm variations
  kMsSlpBasic = 2,         // a fixed grid of penalty and step-bound variations
  kMsSlpExtended = 3,      // random variations of the penalty and step-bound controls
  kMsIpmBasic = 4,         // interior-point subproblems: not available
  kMsIpmExtended = 5,
  kMsInitialFiltered = 6,  // random initial values, the best by merit at the start kept
  kMsPerturbations = 7,    // random perturbations of the initial point
};

// One queued entry: an explicit job, or a preset that becomes `count` jobs when the solve
// runs (so that they use the bounds, starting point and seed of that solve).
struct SlpMultistartJob {
  std::string description;
  int preset = kMsExplicit;
  int count = 1;
  std::vector<std::pair<int, double>> initial;    // (column, initial value)
  std::vector<std::pair<int, int64_t>> intctls;   // (control id, value)
  std::vector<std::pair<int, double>> dblctls;
  void *object = nullptr;  // the caller's; handed back to the hooks, never touched

  int jobs() const { return preset == kMsExplicit ? 1 : count; }
};

// What the last solve's multistart did.
struct SlpMultistartReport {
  int jobs_run = 0;           // jobs solved (skipped ones not counted)
  int winner = 0;             // 0 the base solve, k the k-th job in queue order
  int jobs_optimal = 0;       // solves (base included) that ended locally optimal
  double base_objective = 0;  // the base solve's objective
};

// Jobs queued on a nonlinear problem, presets counted by their jobs.
int queuedJobs(const std::vector<SlpMultistartJob> &jobs);

// Renumbers the jobs' initial values after a deletion of columns (colmap: old -> new, -1
// deleted); a deleted column's value goes with it.
std::vector<SlpMultistartJob> followColumnDeletion(const std::vector<SlpMultistartJob> &jobs,
                                                   const std::vector<int> *colmap);

}  // namespace nvrl

struct nslp_problem_s;

namespace nvrl {

class SlpModel;

// How the solve that owns the multistart runs one job and builds its settings.
struct SlpMultistartRun {
  const SlpModel *model = nullptr;
  const SlpHooks *hooks = nullptr;
  const SlpEnvironment *env = nullptr;
  // The settings of a solve from the nonlinear problem's current controls and data.
  std::function<SlpSettings()> settings;
  // One solve with the given settings (a fresh subproblem, configured from the optimiser
  // problem's current controls).
  std::function<SlpOutcome(const SlpSettings &)> solve;
  double elapsed_before = 0.0;  // seconds the base solve took (the time limit covers all)
};

// Runs every queued job after the base solve whose settings and outcome are given and
// returns the winner's outcome (iterations: those of all solves). Records the report in the
// problem's state.
SlpOutcome runMultistart(nslp_problem_s *s, const SlpSettings &base, SlpOutcome baseOut,
                         const SlpMultistartRun &run);

}  // namespace nvrl

// Multistart: the job queue (NSLPmsaddjob, NSLPmsaddpreset, NSLPmsaddcustompreset,
// NSLPmsclear), the run of the queued jobs after a solve's base solve, and the global search
// (NSLPglobal), which is a multistart over random starting points.
#include "nslp/slp_multistart.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <set>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/environment.h"
#include "core/ids.h"
#include "core/text.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_problem.h"

namespace nvrl {

int queuedJobs(const std::vector<SlpMultistartJob> &jobs) {
  int n = 0;
  for (const SlpMultistartJob &j : jobs) n += j.jobs();
  return n;
}

std::vector<SlpMultistartJob> followColumnDeletion(const std::vector<SlpMultistartJob> &jobs,
                                                   const std::vector<int> *colmap) {
  std::vector<SlpMultistartJob> out = jobs;
  if (!colmap) return out;
  for (SlpMultistartJob &j : out) {
    std::vector<std::pair<int, double>> kept;
    for (const auto &[c, v] : j.initial)
      if (c < static_cast<int>(colmap->size()) && (*colmap)[c] >= 0)
        kept.emplace_back((*colmap)[c], v);
    j.initial = std::move(kept);
  }
  return out;
}

namespace {

// Keeps the queue small enough for int counts however the calls add up.
constexpr int kMaxQueuedJobs = 10000000;
// Random initial values with filtering draw this many candidates per job kept.
constexpr int kFilterCandidates = 10;

// splitmix64: tiny, and the same sequence on every platform, so a seed reproduces a run.
struct Rng {
  uint64_t state;
  explicit Rng(uint64_t seed) : state(seed) {}
  uint64_t next() {
    uint64_t z = (state += 0x9e3779b97f4a7c15ULL);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
  }
  double uniform() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }  // [0, 1)
  double between(double a, double b) { return a + (b - a) * uniform(); }
};

// Controls a job may not change: the model is built once for all jobs in one sense, and the
// multistart's own controls act before any job runs.
bool jobMayNotSet(int id) {
  return id == id::kSlpObjSense || id == id::kSlpMsSeed || id == id::kSlpMsBox ||
         id == id::kSlpMsPerturbation || id == id::kSlpGlobalStarts;
}

// The fixed variations of the solver preset (optimiser controls of the subproblems).
struct SolverVariation {
  int algorithm, presolve;
};
constexpr SolverVariation kSolverVariations[] = {{2, 1}, {3, 1}, {2, 0}, {3, 0}};
// The grid of the basic preset: factors on the penalty and the initial step bound.
struct Factors {
  double penalty, step;
};
constexpr Factors kBasicGrid[] = {{1, 0.1},   {1, 10},   {0.01, 1},  {100, 1},
                                  {0.01, 0.1}, {100, 10}, {0.01, 10}, {100, 0.1}};

int presetLimit(int preset) {
  switch (preset) {
    case kMsSolvers: return static_cast<int>(std::size(kSolverVariations));
    case kMsSlpBasic: return static_cast<int>(std::size(kBasicGrid));
    default: return kMaxQueuedJobs;
  }
}

// Checks and converts one call's initial values and controls into job; err says why not.
bool readJobData(const nslp_problem_s *s, const char *fn, int ninitial, const int colindex[],
                 const double initvalues[], int nint, const int intids[], const int intvals[],
                 int ndbl, const int dblids[], const double dblvals[], SlpMultistartJob &job,
                 std::string &err) {
  if (ninitial < 0 || nint < 0 || ndbl < 0) {
    err = format("%s: negative count", fn);
    return false;
  }
  if ((ninitial > 0 && (!colindex || !initvalues)) || (nint > 0 && (!intids || !intvals)) ||
      (ndbl > 0 && (!dblids || !dblvals))) {
    err = format("%s: null array with a positive count", fn);
    return false;
  }
  const int ncols = s->prob->model.cols();
  std::set<int> seen;
  for (int k = 0; k < ninitial; ++k) {
    const int c = colindex[k];
    if (c < 0 || c >= ncols) {
      err = format("%s: column %d out of range (the problem has %d columns)", fn, c, ncols);
      return false;
    }
    if (!seen.insert(c).second) {
      err = format("%s: column %d has two initial values", fn, c);
      return false;
    }
    if (!std::isfinite(initvalues[k])) {
      err = format("%s: the initial value of column %d is not finite", fn, c);
      return false;
    }
    job.initial.emplace_back(c, initvalues[k]);
  }
  // Values are checked against the control's bounds on a scratch set: nothing is stored.
  ControlValues scratch;
  auto control = [&](int id, bool integral) -> const ParamInfo * {
    const ParamInfo *info = findParam(id);
    if (!info || !info->isControl()) {
      err = format("%s: %d is not a control", fn, id);
      return nullptr;
    }
    if (info->isIntegral() != integral || info->type == ParamType::String) {
      err = format("%s: %d (%s) is not %s control", fn, id, info->name,
                   integral ? "an integer" : "a double");
      return nullptr;
    }
    if (jobMayNotSet(id)) {
      err = format("%s: %d (%s) cannot differ between multistart jobs", fn, id, info->name);
      return nullptr;
    }
    if (!seen.insert(~id).second) {  // ~id: apart from the columns in the same set
      err = format("%s: control %d (%s) is given twice", fn, id, info->name);
      return nullptr;
    }
    return info;
  };
  for (int k = 0; k < nint; ++k) {
    const ParamInfo *info = control(intids[k], true);
    if (!info || !setIntValue(scratch, *info, intvals[k], fn, err)) {
      if (err.empty()) err = format("%s: control %d is not accepted", fn, intids[k]);
      return false;
    }
    job.intctls.emplace_back(intids[k], intvals[k]);
  }
  for (int k = 0; k < ndbl; ++k) {
    const ParamInfo *info = control(dblids[k], false);
    if (!info) return false;
    if (!std::isfinite(dblvals[k])) {
      err = format("%s: the value of control %d (%s) is not finite", fn, dblids[k], info->name);
      return false;
    }
    if (!setDblValue(scratch, *info, dblvals[k], fn, err)) return false;
    job.dblctls.emplace_back(dblids[k], dblvals[k]);
  }
  return true;
}

int addToQueue(nslp_problem_s *s, const char *fn, SlpMultistartJob job) {
  const int have = queuedJobs(s->data.msjobs);
  if (job.jobs() > kMaxQueuedJobs - have)
    return s->fail("%s: more than %d multistart jobs would be queued", fn, kMaxQueuedJobs);
  s->data.msjobs.push_back(std::move(job));
  return 0;
}

int addPreset(NSLPprob slp, const char *fn, const char *description, int preset, int maxjobs,
              int ninitial, const int colindex[], const double initvalues[], int nint,
              const int intids[], const int intvals[], int ndbl, const int dblids[],
              const double dblvals[], void *jobobject) {
  nslp_problem_s *s = checkSlpProblem(slp, fn);
  if (!s) return 1;
  if (preset == kMsIpmBasic || preset == kMsIpmExtended)
    return s->fail("%s: preset %d needs interior-point subproblems, which the nonlinear solver "
                   "does not have", fn, preset);
  if (preset < kMsInitialValues || preset > kMsPerturbations)
    return s->fail("%s: unknown preset %d (0 to 3, 6 or 7)", fn, preset);
  if (maxjobs < 1) return s->fail("%s: maxjobs %d must be at least 1", fn, maxjobs);
  SlpMultistartJob job;
  std::string err;
  if (!readJobData(s, fn, ninitial, colindex, initvalues, nint, intids, intvals, ndbl, dblids,
                   dblvals, job, err))
    return s->fail("%s", err.c_str());
  job.description = description ? description : "";
  job.preset = preset;
  job.count = std::min(maxjobs, presetLimit(preset));
  job.object = jobobject;
  return addToQueue(s, fn, std::move(job));
}

// ---- the run ----

// One job as it runs: the entry's controls and initial values over those of its preset.
struct Job {
  const SlpMultistartJob *entry = nullptr;
  std::string description;
  std::vector<std::pair<int, double>> initial;  // later entries win
  std::vector<std::pair<int, int64_t>> intctls;
  std::vector<std::pair<int, double>> dblctls;
};

// Where random starts are drawn for column j: the bounds, an infinite one replaced by the
// starting value plus or minus box.
void samplingRange(const Model &m, int j, double x0, double box, double &lo, double &hi) {
  const bool loInf = isInfLo(m.lb[j]), hiInf = isInfUp(m.ub[j]);
  lo = loInf ? (hiInf ? x0 : std::min(x0, m.ub[j])) - box : m.lb[j];
  hi = hiInf ? (loInf ? x0 : std::max(x0, m.lb[j])) + box : m.ub[j];
}

// Integer columns of a solve that keeps them integral start at integers.
double fitColumn(const Model &m, const SlpSettings &base, int j, double v) {
  if (base.integers && (m.coltype[j] == 'I' || m.coltype[j] == 'B')) v = std::round(v);
  return std::clamp(v, m.lb[j], m.ub[j]);
}

std::vector<double> randomPoint(const Model &m, const SlpSettings &base, double box, Rng &rng) {
  std::vector<double> x(m.cols());
  for (int j = 0; j < m.cols(); ++j) {
    double lo, hi;
    samplingRange(m, j, base.initial[j], box, lo, hi);
    x[j] = fitColumn(m, base, j, rng.between(lo, hi));
  }
  return x;
}

// Objective plus weighted violation at x (minimisation form); infinite where the problem
// cannot be evaluated.
double meritAt(const SlpModel &M, const SlpSettings &base, const std::vector<double> &x,
               FormulaWorkspace &ws) {
  std::vector<double> act;
  std::string err;
  double f = M.objective(x.data());
  if (!M.activities(x.data(), act, ws, err) || !M.objectiveFormulas(x.data(), f, nullptr, ws, err))
    return INFINITY;
  double viol = 0.0;
  for (int i = 0; i < M.rows(); ++i) {
    const double w =
        i < static_cast<int>(base.row_weight.size()) && base.row_weight[i] > 0 ? base.row_weight[i]
                                                                               : 1.0;
    viol += w * M.violation(i, act[i]);
  }
  const double v = f + base.penalty * viol;
  return std::isfinite(v) ? v : INFINITY;
}

void setPoint(Job &job, const std::vector<double> &x) {
  for (int j = 0; j < static_cast<int>(x.size()); ++j) job.initial.emplace_back(j, x[j]);
}

// Expands the queue into the jobs of this solve. The seed, the entry's place in the queue and
// the job's place in the entry fix every random choice.
class JobSource {
 public:
  JobSource(const nslp_problem_s *s, std::vector<const SlpMultistartJob *> queue,
            const SlpModel &M, const SlpSettings &base)
      : q_(std::move(queue)), M_(M), base_(base), m_(M.model()) {
    seed_ = static_cast<uint64_t>(intValue(s->controls, *findParam(id::kSlpMsSeed)));
    box_ = dblValue(s->controls, *findParam(id::kSlpMsBox));
    radius_ = dblValue(s->controls, *findParam(id::kSlpMsPerturbation));
  }

  // The next job, false at the end of the queue.
  bool next(Job &job) {
    while (entry_ < q_.size() && index_ >= q_[entry_]->jobs()) {
      ++entry_;
      index_ = 0;
    }
    if (entry_ >= q_.size()) return false;
    const SlpMultistartJob &e = *q_[entry_];
    if (index_ == 0) {
      rng_ = Rng(seed_ * 0x100000001b3ULL + entry_ + 1);
      filtered_.clear();
      if (e.preset == kMsInitialFiltered) filter(e.count);
    }
    job = Job();
    job.entry = &e;
    job.description = e.preset == kMsExplicit
                          ? e.description
                          : format("%s #%d", e.description.c_str(), index_ + 1);
    generate(e.preset, index_, job);
    job.initial.insert(job.initial.end(), e.initial.begin(), e.initial.end());
    job.intctls.insert(job.intctls.end(), e.intctls.begin(), e.intctls.end());
    job.dblctls.insert(job.dblctls.end(), e.dblctls.begin(), e.dblctls.end());
    ++index_;
    return true;
  }

 private:
  void generate(int preset, int k, Job &job) {
    switch (preset) {
      case kMsInitialValues:
        setPoint(job, randomPoint(m_, base_, box_, rng_));
        break;
      case kMsInitialFiltered:
        if (k < static_cast<int>(filtered_.size())) setPoint(job, filtered_[k]);
        break;
      case kMsPerturbations:
        for (int j = 0; j < m_.cols(); ++j) {
          const double x0 = base_.initial[j];
          const double r = radius_ * std::max(1.0, std::fabs(x0));
          job.initial.emplace_back(j, fitColumn(m_, base_, j, x0 + rng_.between(-r, r)));
        }
        break;
      case kMsSolvers:
        job.intctls.emplace_back(id::kLpAlgorithm, kSolverVariations[k].algorithm);
        job.intctls.emplace_back(id::kPresolve, kSolverVariations[k].presolve);
        break;
      case kMsSlpBasic:
        job.dblctls.emplace_back(id::kSlpPenalty, base_.penalty * kBasicGrid[k].penalty);
        job.dblctls.emplace_back(id::kSlpInitialStep, base_.init_step * kBasicGrid[k].step);
        break;
      case kMsSlpExtended:
        job.dblctls.emplace_back(id::kSlpPenalty,
                                 base_.penalty * std::pow(10.0, rng_.between(-3, 3)));
        job.dblctls.emplace_back(id::kSlpInitialStep,
                                 base_.init_step * std::pow(10.0, rng_.between(-2, 2)));
        job.dblctls.emplace_back(id::kSlpStepExpand, rng_.between(1.5, 4.0));
        job.dblctls.emplace_back(id::kSlpStepShrink, rng_.between(0.1, 0.7));
        job.dblctls.emplace_back(id::kSlpPenaltyGrowth, rng_.between(2.0, 20.0));
        break;
      default:
        break;
    }
  }

  // The count best of kFilterCandidates * count random points by their merit.
  void filter(int count) {
    FormulaWorkspace ws;
    std::vector<std::pair<double, std::vector<double>>> cands;
    const int64_t draws = static_cast<int64_t>(count) * kFilterCandidates;
    for (int64_t d = 0; d < draws; ++d) {
      std::vector<double> x = randomPoint(m_, base_, box_, rng_);
      const double v = meritAt(M_, base_, x, ws);
      cands.emplace_back(v, std::move(x));
    }
    std::stable_sort(cands.begin(), cands.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    for (int k = 0; k < count && k < static_cast<int>(cands.size()); ++k)
      if (std::isfinite(cands[k].first)) filtered_.push_back(std::move(cands[k].second));
  }

  std::vector<const SlpMultistartJob *> q_;
  const SlpModel &M_;
  const SlpSettings &base_;
  const Model &m_;
  uint64_t seed_ = 0;
  double box_ = 10.0, radius_ = 0.5;
  size_t entry_ = 0;
  int index_ = 0;
  Rng rng_{0};
  std::vector<std::vector<double>> filtered_;
};

// Orders answers: a point beats none, infeasible points go by their infeasibility, then a
// feasible unfinished point, an unbounded verdict, and a locally optimal point. An unbounded
// verdict does not beat a local optimum: a job's controls can push the subproblems into one
// that the base controls would not reach. Within a class the better objective wins by more
// than the relative objective tolerance (points feasible within the tolerance differ in the
// last digits); ties keep the earlier answer.
int answerClass(const SlpOutcome &o, double feastol) {
  if (!o.have_point) return 0;
  if (o.status == kSlpLocallyOptimal || o.status == kSlpGloballyOptimal) return 4;
  if (o.status == kSlpUnbounded) return 3;
  return o.infeasibility <= feastol ? 2 : 1;
}

bool better(const SlpOutcome &a, const SlpOutcome &b, int sense, const SlpSettings &base) {
  const int ca = answerClass(a, base.feas_tol), cb = answerClass(b, base.feas_tol);
  if (ca != cb) return ca > cb;
  if (ca == 1) return a.infeasibility < b.infeasibility * (1 - 1e-9);
  if (ca != 2 && ca != 4) return false;
  const double tol = std::max(base.obj_rel_tol, 1e-9) * std::max(1.0, std::fabs(b.objective));
  return sense * a.objective < sense * b.objective - tol;
}

const char *className(const SlpOutcome &o, double feastol) {
  static const char *names[] = {"no answer", "infeasible", "feasible, unfinished", "unbounded",
                                "locally optimal"};
  return names[answerClass(o, feastol)];
}

// A job's controls in force: the nonlinear ones while its settings are built, the optimiser
// ones while it runs. The destructor puts back what was there.
class JobControls {
 public:
  JobControls(nslp_problem_s *s) : s_(s), nl_(s->controls), opt_(s->prob->controls) {}
  ~JobControls() { restore(); }
  bool apply(const Job &job, std::string &err) {
    for (const auto &[id, v] : job.intctls) {
      const ParamInfo *info = findParam(id);
      ControlValues &cv = info->isNonlinear() ? s_->controls : s_->prob->controls;
      if (!setIntValue(cv, *info, v, "multistart job", err)) return false;
    }
    for (const auto &[id, v] : job.dblctls) {
      const ParamInfo *info = findParam(id);
      ControlValues &cv = info->isNonlinear() ? s_->controls : s_->prob->controls;
      // Preset variations may step past a bound; the bound is what the job gets.
      const double w = std::clamp(v, info->dlo, info->dhi);
      if (!setDblValue(cv, *info, w, "multistart job", err)) return false;
    }
    return true;
  }
  void restoreNonlinear() { s_->controls = nl_; }
  void restore() {
    s_->controls = nl_;
    s_->prob->controls = opt_;
  }

 private:
  nslp_problem_s *s_;
  ControlValues nl_, opt_;
};

// Random starts of a global search about to run on this thread (NSLPglobal) for that problem:
// they join its queue for that one solve without changing it.
thread_local const nslp_problem_s *t_globalFor = nullptr;
thread_local int t_globalStarts = 0;

bool sets(const Job &job, int id) {
  return std::any_of(job.intctls.begin(), job.intctls.end(),
                     [id](const auto &c) { return c.first == id; });
}

}  // namespace

SlpOutcome runMultistart(nslp_problem_s *s, const SlpSettings &base, SlpOutcome baseOut,
                         const SlpMultistartRun &run) {
  SlpMultistartReport &rep = s->state.multistart;
  rep = SlpMultistartReport();
  rep.base_objective = baseOut.objective;
  const double feastol = base.feas_tol;
  rep.jobs_optimal = answerClass(baseOut, feastol) == 4;
  std::vector<const SlpMultistartJob *> queue;
  for (const SlpMultistartJob &j : s->data.msjobs) queue.push_back(&j);
  SlpMultistartJob global;
  if (t_globalFor == s && t_globalStarts > 0) {
    global.description = "global search start";
    global.preset = kMsInitialValues;
    global.count = t_globalStarts;
    queue.push_back(&global);
  }
  if (queue.empty()) return baseOut;
  int queued = 0;
  for (const SlpMultistartJob *j : queue) queued += j->jobs();

  const SlpEnvironment &env = *run.env;
  const SlpHooks &hooks = *run.hooks;
  const int sense = run.model->sense();
  auto log = [&](const std::string &line) {
    if (base.log_level > 0 && env.log) env.log(NVRL_MSG_INFO, line);
  };
  const auto t0 = std::chrono::steady_clock::now();
  SlpOutcome best = std::move(baseOut);
  int iterations = best.iterations;
  int stop = NVRL_STOP_NONE;
  void *winnerObject = nullptr;
  std::string winnerDescription;
  log(format("Multistart: %d jobs after the base solve (%s, objective %.10g)", queued,
             className(best, feastol), best.objective));

  JobSource source(s, std::move(queue), *run.model, base);
  Job job;
  for (int k = 1; source.next(job); ++k) {
    if (const int reason = env.stopRequested ? env.stopRequested() : 0) {
      stop = reason;
      break;
    }
    double remaining = 0.0;
    if (base.time_limit > 0) {
      const double used = std::chrono::duration<double>(std::chrono::steady_clock::now() -
                                                        t0).count() + run.elapsed_before;
      remaining = base.time_limit - used;
      if (remaining <= 0) {
        stop = NVRL_STOP_TIMELIMIT;
        break;
      }
    }
    int status = 0;
    if (hooks.jobStart) hooks.jobStart(hooks.data, job.entry->object, job.description.c_str(),
                                       &status);
    if (status != 0) {
      log(format("  job %d (%s): skipped", k, job.description.c_str()));
      continue;
    }
    SlpOutcome out;
    {
      JobControls controls(s);
      std::string err;
      if (!controls.apply(job, err)) {
        log(format("  job %d (%s): skipped, %s", k, job.description.c_str(), err.c_str()));
        continue;
      }
      SlpSettings js = run.settings();
      controls.restoreNonlinear();
      for (const auto &[c, v] : job.initial) {
        if (c >= static_cast<int>(js.initial.size())) continue;
        js.initial[c] = v;
        // Values a preset drew leave a column free to start where its row holds.
        if (job.entry->preset == kMsExplicit ||
            std::any_of(job.entry->initial.begin(), job.entry->initial.end(),
                        [c = c](const auto &e) { return e.first == c; }))
          js.given[c] = 1;
      }
      if (!sets(job, id::kSlpLogLevel)) js.log_level = base.log_level >= 2 ? base.log_level : 0;
      if (base.time_limit > 0)
        js.time_limit = js.time_limit > 0 ? std::min(js.time_limit, remaining) : remaining;
      ++rep.jobs_run;
      out = run.solve(js);
    }
    iterations += out.iterations;
    if (answerClass(out, feastol) == 4) ++rep.jobs_optimal;
    status = 0;
    if (hooks.jobEnd) hooks.jobEnd(hooks.data, job.entry->object, job.description.c_str(),
                                   &status);
    const bool wins = status == 0 && better(out, best, sense, base);
    log(format("  job %d (%s): %s, objective %.10g, infeasibility %.3g, %d iterations%s", k,
               job.description.c_str(), className(out, feastol), out.objective,
               out.infeasibility, out.iterations,
               status != 0 ? ", set aside" : wins ? ", best so far" : ""));
    if (wins) {
      best = std::move(out);
      rep.winner = k;
      winnerObject = job.entry->object;
      winnerDescription = job.description;
    }
  }
  best.iterations = iterations;
  if (stop != NVRL_STOP_NONE) best.stop = stop;
  if (rep.winner > 0 && hooks.jobWinner)
    hooks.jobWinner(hooks.data, winnerObject, winnerDescription.c_str());
  log(rep.winner > 0 ? format("Multistart: %d jobs run, job %d (%s) wins", rep.jobs_run,
                              rep.winner, winnerDescription.c_str())
                     : format("Multistart: %d jobs run, the base solve wins", rep.jobs_run));
  return best;
}

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPmsaddjob(NSLPprob slp, const char *description, int ninitial,
                          const int colindex[], const double initvalues[], int nintcontrols,
                          const int intcontrolids[], const int intcontrolvalues[],
                          int ndblcontrols, const int dblcontrolids[],
                          const double dblcontrolvalues[], void *jobobject) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  SlpMultistartJob job;
  std::string err;
  if (!readJobData(s, __func__, ninitial, colindex, initvalues, nintcontrols, intcontrolids,
                   intcontrolvalues, ndblcontrols, dblcontrolids, dblcontrolvalues, job, err))
    return s->fail("%s", err.c_str());
  job.description = description ? description : "";
  job.object = jobobject;
  return addToQueue(s, __func__, std::move(job));
} NVRL_CATCH(slp)

NVRL_API int NSLPmsaddpreset(NSLPprob slp, const char *description, int preset, int maxjobs,
                             void *jobobject) NVRL_TRY {
  return addPreset(slp, __func__, description, preset, maxjobs, 0, nullptr, nullptr, 0, nullptr,
                   nullptr, 0, nullptr, nullptr, jobobject);
} NVRL_CATCH(slp)

NVRL_API int NSLPmsaddcustompreset(NSLPprob slp, const char *description, int preset,
                                   int maxjobs, int ninitial, const int colindex[],
                                   const double initvalues[], int nintcontrols,
                                   const int intcontrolids[], const int intcontrolvalues[],
                                   int ndblcontrols, const int dblcontrolids[],
                                   const double dblcontrolvalues[], void *jobobject) NVRL_TRY {
  return addPreset(slp, __func__, description, preset, maxjobs, ninitial, colindex, initvalues,
                   nintcontrols, intcontrolids, intcontrolvalues, ndblcontrols, dblcontrolids,
                   dblcontrolvalues, jobobject);
} NVRL_CATCH(slp)

NVRL_API int NSLPmsclear(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  s->data.msjobs.clear();
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPglobal(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const int starts = static_cast<int>(intValue(s->controls, *findParam(id::kSlpGlobalStarts)));
  if (starts > kMaxQueuedJobs - queuedJobs(s->data.msjobs))
    return s->fail("NSLPglobal: more than %d multistart jobs would run", kMaxQueuedJobs);
  struct Starts {
    Starts(const nslp_problem_s *s, int n) {
      t_globalFor = s;
      t_globalStarts = n;
    }
    ~Starts() {
      t_globalFor = nullptr;
      t_globalStarts = 0;
    }
  } scope(s, starts);
  return NSLPnlpoptimize(slp, "g");
} NVRL_CATCH(slp)

}  // extern "C"

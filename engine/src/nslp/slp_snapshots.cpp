// NSLPsave, NSLPsaveas, NSLPrestore and NSLPwriteslxsol. A nonlinear snapshot holds the
// optimiser problem's records (lp_data/snapshot.h) followed by the nonlinear data, the
// nonlinear solver's answers and its controls. User functions are kept by name and calling
// convention only: addresses and objects belong to the running program and are set again by
// the caller after a restore.
#include <cmath>
#include <memory>
#include <string>

#include "core/entry.h"
#include "core/text.h"
#include "lp_data/snapshot.h"
#include "nslp/slp_presolve.h"
#include "nslp/slp_problem.h"
#include "solve/highs_session.h"
#include "solve/solution_files.h"

namespace nvrl {
namespace {

using snap::Reader;
using snap::Writer;

constexpr uint32_t kTagSlpData = 0x41544144;      // "DATA"
constexpr uint32_t kTagSlpState = 0x54415453;     // "STAT"
constexpr uint32_t kTagSlpControls = 0x4c54434e;  // "NCTL"

// Fields of SlpData, one record each. A reader takes them in any order and refuses a tag it
// does not know (a newer build's data would otherwise be lost without a word); a field that
// is missing keeps its default, so a new field needs only a tag, a write and a read here.
enum SlpField : uint32_t {
  kCoefficients = 1,
  kColumns = 2,
  kRowStatus = 3,
  kRowWeight = 4,
  kUserFunctions = 5,
  kStrings = 6,
  kTolsets = 7,
  kEstimates = 8,
  kStepTypes = 9,
  kMultistartJobs = 10,
  kCascadeOrder = 11,
  kRowScale = 12,
};

[[noreturn]] void corrupt(const std::string &what) {
  throw snap::SnapshotError("corrupt: " + what);
}

void writeSlpData(Writer &w, const SlpData &d) {
  w.record(kCoefficients, [&](Writer &x) {
    x.u64(d.coefs.size());
    for (const SlpCoefficient &c : d.coefs) {
      x.i32(c.row);
      x.i32(c.col);
      x.f64(c.factor);
      x.u64(c.formula.size());
      for (const SlpToken &t : c.formula) {
        x.i32(t.type);
        x.f64(t.value);
      }
    }
  });
  w.record(kColumns, [&](Writer &x) {
    x.u64(d.columns.size());
    for (const SlpColumn &c : d.columns) {
      x.u8(c.has_initial);
      x.f64(c.initial);
      x.f64(c.init_step_bound);
      x.f64(c.penalty);
      x.f64(c.damping);
      x.i32(c.det_row);
      x.i32(c.tolset);
      x.i32(c.vartype);
      x.i32(c.cascade_limit);
      x.f64(c.step_bound);
      x.i32(c.history);
      x.i32(c.converged);
      x.i32(c.seqnum);
    }
  });
  w.record(kRowStatus, [&](Writer &x) { x.ints(d.rowstatus); });
  w.record(kRowWeight, [&](Writer &x) { x.dbls(d.rowweight); });
  w.record(kUserFunctions, [&](Writer &x) {
    x.u64(static_cast<uint64_t>(d.userfuncs.size()));
    for (int k = 1; k <= d.userfuncs.size(); ++k) {
      const UserFunction &f = d.userfuncs.at(k);
      x.str(f.name);
      x.i32(f.inputs);
      x.u8(f.derivatives);
    }
  });
  w.record(kStrings, [&](Writer &x) { x.strs(d.strings); });
  w.record(kTolsets, [&](Writer &x) {
    x.u64(d.tolsets.size());
    for (const SlpTolset &t : d.tolsets) {
      x.i32(t.status);
      for (double v : t.tol) x.f64(v);
    }
  });
  w.record(kEstimates, [&](Writer &x) {
    x.u64(d.dfs.size());
    for (const auto &[cr, v] : d.dfs) {
      x.i32(cr.first);
      x.i32(cr.second);
      x.f64(v);
    }
  });
  // A record of its own: the column record has a fixed layout.
  w.record(kStepTypes, [&](Writer &x) {
    x.u64(d.columns.size());
    for (const SlpColumn &c : d.columns) {
      x.i32(c.delta_type);
      x.f64(c.delta_value);
    }
  });
  w.record(kCascadeOrder, [&](Writer &x) { x.ints(d.cascade_order); });
  w.record(kRowScale, [&](Writer &x) { x.dbls(d.rowscale); });
  // The jobs' objects are the caller's and are not saved (as user functions' objects).
  w.record(kMultistartJobs, [&](Writer &x) {
    x.u64(d.msjobs.size());
    for (const SlpMultistartJob &j : d.msjobs) {
      x.str(j.description);
      x.i32(j.preset);
      x.i32(j.count);
      x.u64(j.initial.size());
      for (const auto &[c, v] : j.initial) {
        x.i32(c);
        x.f64(v);
      }
      x.u64(j.intctls.size());
      for (const auto &[id, v] : j.intctls) {
        x.i32(id);
        x.i64(v);
      }
      x.u64(j.dblctls.size());
      for (const auto &[id, v] : j.dblctls) {
        x.i32(id);
        x.f64(v);
      }
    }
  });
}

SlpData readSlpData(Reader &r, const Model &m) {
  SlpData d;
  std::vector<std::pair<int, double>> steptypes;  // applied once the columns are read
  const int nc = m.cols(), nr = m.rows();
  while (!r.atEnd()) {
    const uint32_t tag = r.peekTag();
    switch (tag) {
      case kCoefficients:
        r.record(tag, "nonlinear coefficients", [&](Reader &x) {
          d.coefs.resize(x.count(24));
          for (SlpCoefficient &c : d.coefs) {
            c.row = x.i32();
            c.col = x.i32();
            c.factor = x.f64();
            c.formula.resize(x.count(12));
            for (SlpToken &t : c.formula) {
              t.type = x.i32();
              t.value = x.f64();
            }
          }
        });
        break;
      case kColumns:
        r.record(tag, "nonlinear columns", [&](Reader &x) {
          d.columns.resize(x.count(61));
          for (SlpColumn &c : d.columns) {
            c.has_initial = x.u8();
            c.initial = x.f64();
            c.init_step_bound = x.f64();
            c.penalty = x.f64();
            c.damping = x.f64();
            c.det_row = x.i32();
            c.tolset = x.i32();
            c.vartype = x.i32();
            c.cascade_limit = x.i32();
            c.step_bound = x.f64();
            c.history = x.i32();
            c.converged = x.i32();
            c.seqnum = x.i32();
          }
        });
        break;
      case kRowStatus:
        r.record(tag, "row statuses", [&](Reader &x) { d.rowstatus = x.ints(); });
        break;
      case kRowWeight:
        r.record(tag, "row weights", [&](Reader &x) { d.rowweight = x.dbls(); });
        break;
      case kUserFunctions:
        r.record(tag, "user functions", [&](Reader &x) {
          const size_t n = x.count(13);
          for (size_t k = 0; k < n; ++k) {
            UserFunction f;
            f.name = x.str();
            f.inputs = x.i32();
            f.derivatives = x.u8();
            d.userfuncs.add(std::move(f));
          }
        });
        break;
      case kStrings:
        r.record(tag, "strings", [&](Reader &x) { d.strings = x.strs(); });
        break;
      case kTolsets:
        r.record(tag, "tolerance sets", [&](Reader &x) {
          d.tolsets.resize(x.count(4 + 8 * NSLP_TOLSET_SIZE));
          for (SlpTolset &t : d.tolsets) {
            t.status = x.i32();
            for (double &v : t.tol) v = x.f64();
          }
        });
        break;
      case kEstimates:
        r.record(tag, "derivative estimates", [&](Reader &x) {
          const size_t n = x.count(16);
          for (size_t k = 0; k < n; ++k) {
            const int col = x.i32(), row = x.i32();
            const double v = x.f64();
            if (col < 0 || col >= nc || row < -1 || row >= nr || !std::isfinite(v))
              corrupt("a derivative estimate names a row or column the problem lacks");
            d.dfs[{col, row}] = v;
          }
        });
        break;
      case kStepTypes:
        r.record(tag, "step types", [&](Reader &x) {
          steptypes.resize(x.count(12));
          for (auto &[type, value] : steptypes) {
            type = x.i32();
            value = x.f64();
          }
        });
        break;
      case kCascadeOrder:
        r.record(tag, "cascade order", [&](Reader &x) { d.cascade_order = x.ints(); });
        break;
      case kRowScale:
        r.record(tag, "row scale factors", [&](Reader &x) { d.rowscale = x.dbls(); });
        break;
      case kMultistartJobs:
        r.record(tag, "multistart jobs", [&](Reader &x) {
          d.msjobs.resize(x.count(20));
          for (SlpMultistartJob &j : d.msjobs) {
            j.description = x.str();
            j.preset = x.i32();
            j.count = x.i32();
            j.initial.resize(x.count(12));
            for (auto &[c, v] : j.initial) {
              c = x.i32();
              v = x.f64();
              if (c < 0 || c >= nc) corrupt("a multistart job names a column the problem lacks");
            }
            j.intctls.resize(x.count(12));
            for (auto &[id, v] : j.intctls) {
              id = x.i32();
              v = x.i64();
            }
            j.dblctls.resize(x.count(12));
            for (auto &[id, v] : j.dblctls) {
              id = x.i32();
              v = x.f64();
            }
          }
        });
        break;
      default:
        corrupt(format("unknown nonlinear data field %u (written by a newer library?)", tag));
    }
  }

  if (!steptypes.empty()) {
    if (steptypes.size() != d.columns.size())
      corrupt("the step types do not match the nonlinear columns");
    for (size_t j = 0; j < steptypes.size(); ++j) {
      if (steptypes[j].first < NSLP_DELTA_ADAPTIVE || steptypes[j].first > NSLP_DELTA_FROZEN ||
          !std::isfinite(steptypes[j].second))
        corrupt("a step type is out of range");
      d.columns[j].delta_type = steptypes[j].first;
      d.columns[j].delta_value = steptypes[j].second;
    }
  }
  // The solver and the deletion follower index by these without further checks.
  for (const SlpCoefficient &c : d.coefs) {
    if (c.row < -1 || c.row >= nr || c.col < -1 || c.col >= nc || !std::isfinite(c.factor))
      corrupt("a nonlinear coefficient names a row or column the problem lacks");
    if (c.formula.empty() || c.formula.back().type != NSLP_TOK_EOF)
      corrupt("a formula does not end with its end token");
    for (const SlpToken &t : c.formula) {
      if (t.type == NSLP_TOK_COL && (t.value != std::floor(t.value) || t.value < -1 || t.value >= nc))
        corrupt("a formula names a column the problem lacks");
      if (t.type == NSLP_TOK_UFUN && !d.userfuncs.valid(static_cast<int>(t.value)))
        corrupt("a formula calls a user function that is not defined");
    }
  }
  if (d.columns.size() > static_cast<size_t>(nc)) corrupt("more nonlinear columns than columns");
  for (const SlpColumn &c : d.columns) {
    if (c.det_row < -1 || c.det_row >= nr) corrupt("a determining row is out of range");
    if (c.tolset < 0 || c.tolset > static_cast<int>(d.tolsets.size()))
      corrupt("a column names a tolerance set the problem lacks");
  }
  if (d.rowstatus.size() > static_cast<size_t>(nr) || d.rowweight.size() > static_cast<size_t>(nr))
    corrupt("more row settings than rows");
  for (double wgt : d.rowweight)
    if (!(wgt > 0) || !std::isfinite(wgt)) corrupt("a row weight is not a finite number > 0");
  if (d.rowscale.size() > static_cast<size_t>(nr)) corrupt("more row scale factors than rows");
  for (double f : d.rowscale)
    if (!(f > 0) || !std::isfinite(f)) corrupt("a row scale factor is not a finite number > 0");
  for (int j : d.cascade_order)
    if (j < 0 || j >= nc) corrupt("the cascade order names a column the problem lacks");
  return d;
}

// SlpState is written as fields too, with the same rules as SlpData.
enum SlpStateField : uint32_t {
  kStatus = 1,
  kAnswers = 2,
  kMultistart = 3,
  kDetail = 4,
  kCascadePresolve = 5,
};

void writeSlpState(Writer &w, const SlpState &s) {
  w.record(kStatus, [&](Writer &x) {
    x.i32(s.constant_col);
    // The presolved form is not saved: a restored problem is not presolved.
    x.i32(s.statebits & ~kPresolvedBit);
    x.i32(s.nlpstatus);
    x.i32(s.stopstatus);
    x.i32(s.iterations);
    x.f64(s.objval);
    x.f64(s.last_penalty);
    x.f64(s.fixed_penalty);
  });
  w.record(kAnswers, [&](Writer &x) {
    x.dbls(s.x);
    x.dbls(s.slack);
    x.dbls(s.duals);
    x.dbls(s.djs);
  });
  w.record(kMultistart, [&](Writer &x) {
    x.i32(s.multistart.jobs_run);
    x.i32(s.multistart.winner);
    x.i32(s.multistart.jobs_optimal);
    x.f64(s.multistart.base_objective);
  });
  w.record(kCascadePresolve, [&](Writer &x) {
    x.i32(s.cascade_failures);
    x.i32(s.presolve_fixed);
    x.i32(s.presolve_linear);
  });
  w.record(kDetail, [&](Writer &x) {
    x.dbls(s.detail.step);
    x.dbls(s.detail.step_bound);
    x.ints(s.detail.penalty_iterations);
    x.dbls(s.detail.penalty_max);
    x.dbls(s.detail.penalty_total);
  });
}

SlpState readSlpState(Reader &r, const Model &m) {
  SlpState s;
  while (!r.atEnd()) {
    const uint32_t tag = r.peekTag();
    switch (tag) {
      case kStatus:
        r.record(tag, "nonlinear status", [&](Reader &x) {
          s.constant_col = x.i32();
          s.statebits = x.i32();
          s.nlpstatus = x.i32();
          s.stopstatus = x.i32();
          s.iterations = x.i32();
          s.objval = x.f64();
          s.last_penalty = x.f64();
          s.fixed_penalty = x.f64();
        });
        break;
      case kAnswers:
        r.record(tag, "nonlinear answers", [&](Reader &x) {
          s.x = x.dbls();
          s.slack = x.dbls();
          s.duals = x.dbls();
          s.djs = x.dbls();
        });
        break;
      case kMultistart:
        r.record(tag, "multistart report", [&](Reader &x) {
          s.multistart.jobs_run = x.i32();
          s.multistart.winner = x.i32();
          s.multistart.jobs_optimal = x.i32();
          s.multistart.base_objective = x.f64();
        });
        break;
      case kCascadePresolve:
        r.record(tag, "cascade and presolve counts", [&](Reader &x) {
          s.cascade_failures = x.i32();
          s.presolve_fixed = x.i32();
          s.presolve_linear = x.i32();
        });
        break;
      case kDetail:
        r.record(tag, "solve detail", [&](Reader &x) {
          s.detail.step = x.dbls();
          s.detail.step_bound = x.dbls();
          s.detail.penalty_iterations = x.ints();
          s.detail.penalty_max = x.dbls();
          s.detail.penalty_total = x.dbls();
        });
        break;
      default:
        corrupt(format("unknown nonlinear answer field %u (written by a newer library?)", tag));
    }
  }
  const size_t nc = m.cols(), nr = m.rows();
  // NSLPgetslpsol checks these sizes itself; only sizes no problem has are refused here.
  if ((!s.x.empty() && s.x.size() != nc) || (!s.djs.empty() && s.djs.size() != nc) ||
      (!s.slack.empty() && s.slack.size() != nr) || (!s.duals.empty() && s.duals.size() != nr))
    corrupt("the nonlinear answers do not match the problem's size");
  const SlpSolveDetail &dt = s.detail;
  for (size_t k : {dt.step.size(), dt.step_bound.size()})
    if (k != 0 && k != nc) corrupt("the solve detail does not match the problem's columns");
  for (size_t k : {dt.penalty_iterations.size(), dt.penalty_max.size(), dt.penalty_total.size()})
    if (k != 0 && k != nr) corrupt("the solve detail does not match the problem's rows");
  return s;
}

struct SlpImage {
  snap::ProblemImage prob;
  SlpData data;
  SlpState state;
  ControlValues controls;
};

}  // namespace
}  // namespace nvrl

using nvrl::checkSlpProblem;
namespace snap = nvrl::snap;

namespace {

int saveSlp(nslp_problem_s *s, const char *fn, const std::string &path) {
  snap::Writer w;
  nvrl_problem_s *p = s->prob;
  snap::writeProblem(w, p->model, p->sol, p->controls);
  w.record(nvrl::kTagSlpData, [&](snap::Writer &x) { nvrl::writeSlpData(x, s->data); });
  w.record(nvrl::kTagSlpState, [&](snap::Writer &x) { nvrl::writeSlpState(x, s->state); });
  w.record(nvrl::kTagSlpControls, [&](snap::Writer &x) { snap::writeControls(x, s->controls); });
  try {
    snap::writeFileReplacing(path, snap::wrap(snap::Kind::Nonlinear, w.bytes()));
  } catch (const snap::SnapshotError &e) {
    return s->fail("%s: %s", fn, e.what());
  }
  return 0;
}

}  // namespace

extern "C" {

NVRL_API int NSLPsaveas(NSLPprob slp, const char *filename) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!filename || !*filename) return s->fail("NSLPsaveas: no file name given");
  return saveSlp(s, __func__, filename);
} NVRL_CATCH(slp)

NVRL_API int NSLPsave(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  return saveSlp(s, __func__, snap::savePath(s->prob->model.name));
} NVRL_CATCH(slp)

NVRL_API int NSLPrestore(NSLPprob slp, const char *probname) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  nvrl_problem_s *p = s->prob;
  const std::string name = probname && *probname ? std::string(probname)
                           : p->model.name.empty() ? std::string("problem")
                                                   : p->model.name;
  const std::string path = snap::restorePath(name);
  nvrl::SlpImage img;
  std::vector<std::string> skipped;
  try {
    const std::string bytes = snap::readFileBytes(path);
    snap::Reader r(snap::unwrap(bytes, snap::Kind::Nonlinear));
    img.prob = snap::readProblem(r);
    const nvrl::Model &m = img.prob.model;
    r.record(nvrl::kTagSlpData, "nonlinear data",
             [&](snap::Reader &x) { img.data = nvrl::readSlpData(x, m); });
    r.record(nvrl::kTagSlpState, "nonlinear answers",
             [&](snap::Reader &x) { img.state = nvrl::readSlpState(x, m); });
    r.record(nvrl::kTagSlpControls, "nonlinear controls",
             [&](snap::Reader &x) { img.controls = snap::readControls(x, true, &skipped); });
    r.expectEnd("snapshot");
  } catch (const snap::SnapshotError &e) {
    return s->fail("NSLPrestore: '%s': %s", path.c_str(), e.what());
  }
  skipped.insert(skipped.end(), img.prob.skipped_controls.begin(),
                 img.prob.skipped_controls.end());
  std::string skippedText;
  for (const std::string &k : skipped) skippedText += (skippedText.empty() ? "" : ", ") + k;
  std::unique_ptr<nvrl::HighsSession> session;
  if (img.prob.sol.have_basis) {
    session.reset(new nvrl::HighsSession());
    session->setPendingBasis(img.prob.sol.rowstat, img.prob.sol.colstat);
  }

  // Everything has been read and checked: from here on nothing can fail.
  p->model = std::move(img.prob.model);
  p->modelChanged();
  p->sol = std::move(img.prob.sol);
  p->controls = std::move(img.prob.controls);
  p->highs.reset(session.release());
  s->data = std::move(img.data);  // the user-function table keeps its owner
  s->state = std::move(img.state);
  s->controls = std::move(img.controls);
  if (!skippedText.empty()) {
    try {
      s->logLine(NVRL_MSG_WARNING,
                 "NSLPrestore: controls this library does not know were skipped: " + skippedText);
    } catch (...) {
      // The restore has been committed; a warning that cannot be delivered is dropped.
    }
  }
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPwriteslxsol(NSLPprob slp, const char *filename, const char *flags) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!filename || !*filename) return s->fail("NSLPwriteslxsol: no file name given");
  nvrl::solfile::WriteFlags f;
  std::string err;
  if (!nvrl::solfile::parseWriteFlags(__func__, flags, f, err)) return s->fail("%s", err.c_str());
  const nvrl::SlpState &st = s->state;
  const nvrl::Model &m = s->prob->model;
  const size_t nc = m.cols(), nr = m.rows();
  if (st.x.size() != nc || st.slack.size() != nr)
    return s->fail("NSLPwriteslxsol: no solution is available (solve the problem first; a "
                   "change of its rows or columns drops the solution)");
  if ((f.duals || f.reduced_costs) && (st.duals.size() != nr || st.djs.size() != nc))
    return s->fail("NSLPwriteslxsol: no multipliers are available (the last nonlinear solve "
                   "produced none)");
  nvrl::solfile::Contents c;
  c.objective = st.objval;
  c.x = &st.x;
  if (f.slacks) c.slack = &st.slack;
  if (f.duals) c.duals = &st.duals;
  if (f.reduced_costs) c.djs = &st.djs;
  try {
    snap::writeFileReplacing(filename, nvrl::solfile::format(m, c));
  } catch (const snap::SnapshotError &e) {
    return s->fail("NSLPwriteslxsol: %s", e.what());
  }
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

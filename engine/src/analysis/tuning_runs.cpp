// NVRLtune, NVRLtunerwritemethod and NVRLtunerreadmethod: timing the problem's solve under a
// list of control combinations (the method) and keeping the fastest.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "core/entry.h"
#include "core/ids.h"
#include "core/problem.h"
#include "core/registry.h"

namespace nvrl {

namespace {

struct Setting {
  const ParamInfo *param;
  int64_t ival;
  double dval;
};
using Combination = std::vector<Setting>;  // empty: the problem's own controls

}  // namespace

struct TunerState {
  std::vector<Combination> method;  // read by NVRLtunerreadmethod; empty: the default method
  bool haveBest = false;
  Combination best;
};

void TunerStateDeleter::operator()(TunerState *s) const noexcept { delete s; }

namespace {

TunerState &tunerOf(nvrl_problem_s *p) {
  if (!p->tuner) p->tuner.reset(new TunerState());
  return *p->tuner;
}

Setting intSetting(int id, int64_t v) { return {findParam(id), v, 0.0}; }
Setting dblSetting(int id, double v) { return {findParam(id), 0, v}; }

bool hasEntities(const Model &m) {
  return !m.sets.empty() || !m.gencons.empty() || !m.pwlcons.empty() ||
         std::any_of(m.coltype.begin(), m.coltype.end(), [](char t) { return t != 'C'; }) ||
         std::any_of(m.indcol.begin(), m.indcol.end(), [](int c) { return c >= 0; });
}

std::vector<Combination> defaultMethod(bool mip) {
  if (mip)
    return {{},
            {intSetting(id::kPresolve, 0)},
            {dblSetting(id::kMipHeuristicEffort, 0.0)},
            {dblSetting(id::kMipHeuristicEffort, 0.3)},
            {intSetting(id::kTreeSearch, 1)}};
  return {{},
          {intSetting(id::kPresolve, 1), intSetting(id::kLpAlgorithm, 2)},
          {intSetting(id::kPresolve, 1), intSetting(id::kLpAlgorithm, 3)},
          {intSetting(id::kPresolve, 1), intSetting(id::kLpAlgorithm, 4)},
          {intSetting(id::kPresolve, 0), intSetting(id::kLpAlgorithm, 2)},
          {intSetting(id::kPresolve, 0), intSetting(id::kLpAlgorithm, 3)}};
}

void applyCombination(nvrl_problem_s *p, const Combination &c) {
  for (const Setting &s : c) {
    if (s.param->isIntegral()) p->controls.ints[s.param->id] = s.ival;
    else p->controls.dbls[s.param->id] = s.dval;
  }
}

std::string describe(const Combination &c) {
  if (c.empty()) return "the problem's own controls";
  std::string out;
  char buf[64];
  for (const Setting &s : c) {
    if (!out.empty()) out += ", ";
    if (s.param->isIntegral()) std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(s.ival));
    else std::snprintf(buf, sizeof buf, "%.17g", s.dval);
    out += std::string(s.param->name) + " " + buf;
  }
  return out;
}

double limitOrInf(double v) { return v > 0 && v < kInf ? v : INFINITY; }

struct Outcome {
  bool finished = false;
  double seconds = 0.0;
  double gap = INFINITY;
  double obj = INFINITY;  // in minimisation form
};

bool better(const Outcome &a, const Outcome &b) {
  if (a.finished != b.finished) return a.finished;
  if (a.finished) return a.seconds < b.seconds;
  if (a.gap != b.gap) return a.gap < b.gap;
  return a.obj < b.obj;
}

// Restores the problem's controls on the way out unless the tune commits its result.
struct ControlsGuard {
  nvrl_problem_s *p;
  ControlValues saved;
  bool committed = false;
  ~ControlsGuard() {
    if (!committed) p->controls = std::move(saved);
  }
};

const char *statusWord(const SolveState &s, bool mip) {
  if (mip) {
    switch (s.mipstatus) {
      case NVRL_MIP_OPTIMAL: return "optimal";
      case NVRL_MIP_INFEAS: return "infeasible";
      case NVRL_MIP_UNBOUNDED: return "unbounded";
      case NVRL_MIP_SOLUTION: return "stopped with a solution";
      default: return "stopped without a solution";
    }
  }
  switch (s.lpstatus) {
    case NVRL_LP_OPTIMAL: return "optimal";
    case NVRL_LP_INFEAS: return "infeasible";
    case NVRL_LP_UNBOUNDED: return "unbounded";
    case NVRL_LP_CUTOFF: return "cut off";
    default: return "stopped";
  }
}

int tune(nvrl_problem_s *p, const char *flags) {
  bool lpOnly = false;
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c == 'l') lpOnly = true;
    else if (*c != ' ') return p->fail("NVRLtune: unknown flag '%c'", *c);
  }
  if (p->model.cols() == 0) return p->fail("NVRLtune: the problem has no columns");
  const bool mip = !lpOnly && hasEntities(p->model);
  TunerState &st = tunerOf(p);
  const std::vector<Combination> method = st.method.empty() ? defaultMethod(mip) : st.method;
  const bool log = getIntControl(p, id::kLogLevel) > 0;
  const double total = limitOrInf(getDblControl(p, id::kTunerTimeLimit));
  const double perRun = limitOrInf(getDblControl(p, id::kTunerRunTimeLimit));

  ControlsGuard guard{p, p->controls};
  const auto t0 = std::chrono::steady_clock::now();
  int bestIndex = -1;
  Outcome best;
  if (log)
    p->log(NVRL_MSG_INFO, "Tuner: %zu combinations of controls for the %s solve", method.size(),
           mip ? "MIP" : "LP");
  for (size_t k = 0; k < method.size(); ++k) {
    const double used = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    const double left = total - used;
    if (k > 0 && left <= 0) break;
    p->controls = guard.saved;
    applyCombination(p, method[k]);
    const double own = limitOrInf(getDblControl(p, id::kTimeLimit));
    const double limit = std::min({own, perRun, std::max(left, 1e-3)});
    p->controls.dbls[id::kTimeLimit] = std::isinf(limit) ? 0.0 : limit;
    p->controls.ints[id::kLogLevel] = 0;
    p->highs.reset();  // each run from scratch: a warm start would flatter the later ones
    const auto r0 = std::chrono::steady_clock::now();
    const int rc = mip ? NVRLmipoptimize(p, "") : NVRLlpoptimize(p, "");
    Outcome o;
    o.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - r0).count();
    if (rc != 0) {
      std::string why;
      {
        std::lock_guard<std::mutex> lock(p->errmu);
        why = p->lasterror;
      }
      p->highs.reset();
      p->sol.clear();
      return p->fail("NVRLtune: run %zu (%s) failed: %s", k + 1, describe(method[k]).c_str(),
                     why.c_str());
    }
    const SolveState &s = p->sol;
    if (mip) {
      o.finished = s.mipstatus == NVRL_MIP_OPTIMAL || s.mipstatus == NVRL_MIP_INFEAS ||
                   s.mipstatus == NVRL_MIP_UNBOUNDED;
      if (s.have_primal) {
        o.gap = s.mipgap;
        o.obj = p->model.objsense * s.mipobjval;
      }
    } else {
      o.finished = s.lpstatus == NVRL_LP_OPTIMAL || s.lpstatus == NVRL_LP_INFEAS ||
                   s.lpstatus == NVRL_LP_UNBOUNDED || s.lpstatus == NVRL_LP_CUTOFF;
    }
    if (log)
      p->log(NVRL_MSG_INFO, "Tuner run %zu of %zu (%s): %.3f s, %s", k + 1, method.size(),
             describe(method[k]).c_str(), o.seconds, statusWord(s, mip));
    if (bestIndex < 0 || better(o, best)) {
      best = o;
      bestIndex = static_cast<int>(k);
    }
    const int stop = s.stopstatus;
    if (stop != NVRL_STOP_NONE && stop != NVRL_STOP_TIMELIMIT && stop != NVRL_STOP_NODELIMIT &&
        stop != NVRL_STOP_ITERLIMIT && stop != NVRL_STOP_MIPGAP && stop != NVRL_STOP_SOLLIMIT) {
      if (log) p->log(NVRL_MSG_INFO, "Tuner interrupted");
      break;
    }
  }

  // Commit: the winner's controls on top of the problem's own, no answers left.
  Combination winner = method[bestIndex];
  p->controls = std::move(guard.saved);
  guard.committed = true;
  applyCombination(p, winner);
  st.best = std::move(winner);
  st.haveBest = true;
  p->highs.reset();
  p->sol.clear();
  if (log)
    p->log(NVRL_MSG_INFO, "Tuner: best is run %d (%s), %.3f s%s", bestIndex + 1,
           describe(st.best).c_str(), best.seconds, best.finished ? "" : ", stopped at its limit");
  return 0;
}

std::string methodText(const std::vector<Combination> &method, const char *what) {
  std::string out = "# nuvrel tuner method: ";
  out += what;
  out += "\n# one combination per 'combination' line, then one 'name value' line per control\n";
  char buf[64];
  for (const Combination &c : method) {
    out += "combination\n";
    for (const Setting &s : c) {
      if (s.param->isIntegral())
        std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(s.ival));
      else std::snprintf(buf, sizeof buf, "%.17g", s.dval);
      out += std::string(s.param->name) + " " + buf + "\n";
    }
  }
  return out;
}

// Parses a method file; returns false with the reason in err.
bool parseMethod(std::istream &in, std::vector<Combination> &method, std::string &err) {
  std::string line;
  int lineno = 0;
  bool open = false;
  while (std::getline(in, line)) {
    ++lineno;
    std::istringstream ls(line);
    std::string name, value, rest;
    if (!(ls >> name) || name[0] == '#') continue;
    std::string lower = name;
    for (char &ch : lower) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    if (lower == "combination") {
      method.emplace_back();
      open = true;
      continue;
    }
    if (!(ls >> value) || (ls >> rest)) {
      err = "line " + std::to_string(lineno) + ": expected a control name and one value";
      return false;
    }
    const ParamInfo *pi = findParamByName(name.c_str());
    if (!pi || !pi->isControl() || pi->isNonlinear() || pi->type == ParamType::String) {
      err = "line " + std::to_string(lineno) + ": '" + name +
            "' is not a numerical control of the optimiser";
      return false;
    }
    Setting s{pi, 0, 0.0};
    char *end = nullptr;
    std::string why;
    if (pi->isIntegral()) {
      errno = 0;
      s.ival = std::strtoll(value.c_str(), &end, 10);
      if (*end || errno) why = "not an integer";
      else why = checkIntValue(*pi, s.ival);
    } else {
      s.dval = std::strtod(value.c_str(), &end);
      if (*end || std::isnan(s.dval)) why = "not a number";
      else why = checkDblValue(*pi, s.dval);
    }
    if (!why.empty()) {
      err = "line " + std::to_string(lineno) + ": " + name + " " + value + ": " + why;
      return false;
    }
    if (!open) {
      method.emplace_back();
      open = true;
    }
    method.back().push_back(s);
  }
  if (in.bad()) {
    err = "read error";
    return false;
  }
  if (method.empty()) {
    err = "no combination in the file";
    return false;
  }
  return true;
}

}  // namespace

}  // namespace nvrl

extern "C" {

NVRL_API int NVRLtune(NVRLprob prob, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  return nvrl::tune(p, flags);
} NVRL_CATCH(prob)

NVRL_API int NVRLtunerwritemethod(NVRLprob prob, const char *methodfile) NVRL_TRY {
  using namespace nvrl;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!methodfile) return p->fail("NVRLtunerwritemethod: null file name");
  const TunerState *st = p->tuner.get();
  std::string text;
  if (st && st->haveBest) text = methodText({st->best}, "the best combination of the last tune");
  else if (st && !st->method.empty()) text = methodText(st->method, "as read");
  else text = methodText(defaultMethod(hasEntities(p->model)), "the default method");
  std::ofstream out(methodfile, std::ios::binary | std::ios::trunc);
  if (out) out << text;
  if (!out || !out.flush())
    return p->fail("NVRLtunerwritemethod: cannot write %s: %s", methodfile, std::strerror(errno));
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLtunerreadmethod(NVRLprob prob, const char *methodfile) NVRL_TRY {
  using namespace nvrl;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!methodfile) return p->fail("NVRLtunerreadmethod: null file name");
  std::ifstream in(methodfile, std::ios::binary);
  if (!in)
    return p->fail("NVRLtunerreadmethod: cannot open %s: %s", methodfile, std::strerror(errno));
  std::vector<Combination> method;
  std::string err;
  if (!parseMethod(in, method, err))
    return p->fail("NVRLtunerreadmethod: %s: %s", methodfile, err.c_str());
  TunerState &st = tunerOf(p);
  st.method.swap(method);
  // A method read afresh is what the next write shows until the next tune.
  st.haveBest = false;
  st.best.clear();
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

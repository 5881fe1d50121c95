// The nonlinear problem object's bookkeeping and its life cycle functions.
#include "nslp/slp_problem.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <set>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/environment.h"
#include "core/text.h"
#include "nslp/slp_tolsets.h"

namespace nvrl {

int SlpData::nonlinearRows() const {
  std::set<int> rows;
  for (const SlpCoefficient &c : coefs) rows.insert(c.row);
  return static_cast<int>(rows.size());
}

nslp_problem_s *checkSlpProblem(NSLPprob slp, const char *fn) {
  if (!liveHandle(slp, ObjectKind::SlpProblem)) return nullptr;
  if (!slpStarted()) {
    const char *msg =
        "The nonlinear solver is not started (NSLPinit has not been called or was released)";
    slp->fail("%s", msg);
    failGlobal(1, "%s", msg);
    return nullptr;
  }
  if (!isLiveObject(slp->prob)) {
    slp->fail("The optimiser problem beneath this nonlinear problem has been destroyed");
    return nullptr;
  }
  // The nonlinear problem shares the optimiser problem's model and solve marker.
  if (!allowedNow(slp->prob, fn)) {
    slp->fail(NVRL_SOLVING_REFUSAL, fn);
    return nullptr;
  }
  return slp;
}

}  // namespace nvrl

nslp_problem_s::nslp_problem_s(nvrl_problem_s *underlying)
    : nvrl_object_s(nvrl::ObjectKind::SlpProblem), prob(underlying) {
  data.userfuncs.setOwner(this);
  nvrl::registerObject(this);
}

nslp_problem_s::~nslp_problem_s() {
  nvrl::unregisterObject(this);
  magic = 0;
}

namespace nvrl {

bool SlpDeletionFollower::prepareDeletion(const std::vector<int> *rowmap,
                                          const std::vector<int> *colmap, std::string &why) {
  const SlpData &data = owner_->data;
  std::vector<SlpCoefficient> coefs;
  coefs.reserve(data.coefs.size());
  for (const SlpCoefficient &c : data.coefs) {
    if (rowmap && (c.row < 0 || c.row >= static_cast<int>(rowmap->size()) || (*rowmap)[c.row] < 0))
      continue;  // the row goes, and its coefficients with it
    SlpCoefficient nc = c;
    if (rowmap) nc.row = (*rowmap)[c.row];
    if (colmap) {
      if (c.col >= 0 && c.col < static_cast<int>(colmap->size())) {
        if ((*colmap)[c.col] < 0) {
          why = format("column %d multiplies the nonlinear coefficient of row %d; delete "
                             "the coefficient first", c.col, c.row);
          return false;
        }
        nc.col = (*colmap)[c.col];
      }
      for (SlpToken &t : nc.formula) {
        if (t.type != NSLP_TOK_COL || t.value < 0) continue;
        const int j = static_cast<int>(t.value);
        if (j >= static_cast<int>(colmap->size()) || (*colmap)[j] < 0) {
          why = format("column %d is used by the formula of the nonlinear coefficient of "
                             "row %d; delete the coefficient first", j, c.row);
          return false;
        }
        t.value = (*colmap)[j];
      }
    }
    coefs.push_back(std::move(nc));
  }
  // Everything starts as a copy, so that data indexed by neither rows nor columns (user
  // functions, strings, tolerance sets, ...) carries over without being listed here; what
  // rows and columns index is rebuilt below.
  auto next = std::make_unique<SlpData>(data);
  next->coefs = std::move(coefs);
  next->columns.clear();
  next->rowstatus.clear();
  next->rowweight.clear();
  next->rowscale.clear();
  next->cascade_order.clear();
  next->presolved.reset();  // made for the old rows and columns
  auto compact = [](auto &out, const auto &in, const std::vector<int> *map) {
    if (!map) {
      out = in;
      return;
    }
    for (size_t i = 0; i < in.size() && i < map->size(); ++i) {
      const int to = (*map)[i];
      if (to < 0) continue;
      if (out.size() <= static_cast<size_t>(to)) out.resize(to + 1);
      out[to] = in[i];
    }
  };
  next->dfs = renumberEstimates(data.dfs, rowmap, colmap);
  next->msjobs = followColumnDeletion(data.msjobs, colmap);
  compact(next->columns, data.columns, colmap);
  compact(next->rowstatus, data.rowstatus, rowmap);
  compact(next->rowweight, data.rowweight, rowmap);
  compact(next->rowscale, data.rowscale, rowmap);
  // Determining rows follow their rows (a deleted one leaves its column undetermined), and
  // the cascade order its columns.
  if (rowmap)
    for (SlpColumn &c : next->columns)
      if (c.det_row >= 0)
        c.det_row = c.det_row < static_cast<int>(rowmap->size()) ? (*rowmap)[c.det_row] : -1;
  for (int j : data.cascade_order) {
    const int to = !colmap ? j : j < static_cast<int>(colmap->size()) ? (*colmap)[j] : -1;
    if (to >= 0 && to < static_cast<int>(next->columns.size()) && next->columns[to].det_row >= 0)
      next->cascade_order.push_back(to);
  }
  // Entries filled only by resizing hold defaults: weight 1 (resize gives 0).
  if (rowmap) {
    for (size_t i = 0; i < next->rowweight.size(); ++i)
      if (next->rowweight[i] <= 0) next->rowweight[i] = 1.0;
    for (double &f : next->rowscale)
      if (f <= 0) f = 1.0;
  }
  pending_ = std::move(next);
  return true;
}

void SlpDeletionFollower::commitDeletion() noexcept {
  if (!pending_) return;
  owner_->data = std::move(*pending_);
  pending_.reset();
  // The answers were in the old rows and columns.
  SlpState &state = owner_->state;
  // The presolved form (not carried over) was made for the old rows and columns.
  state.statebits &= ~(1 << 29);
  state.x.clear();
  state.slack.clear();
  state.duals.clear();
  state.djs.clear();
  state.detail = SlpSolveDetail();
}

}  // namespace nvrl

int nslp_problem_s::fail(const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string msg = nvrl::vformat(fmt, ap);
  va_end(ap);
  std::lock_guard<std::mutex> lock(errmu);
  lasterror.swap(msg);
  lasterror_code = 1;  // not logged, as for the optimiser's problems
  return 1;
}

int nslp_problem_s::failException(const char *fn) noexcept {
  return nvrl::recordCurrentException(fn, errmu, lasterror_code, lasterror);
}

namespace nvrl {

int entryFailed(const char *fn, NSLPprob slp) noexcept {
  if (slp && isLiveObject(slp) && slp->kind == ObjectKind::SlpProblem)
    return slp->failException(fn);
  return entryFailed(fn, nullptr);
}

}  // namespace nvrl

// Exported for the engine's tests, which drive the log directly.
__attribute__((visibility("default"))) void nslp_problem_s::log(int msgtype, const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string line = nvrl::vformat(fmt, ap);
  va_end(ap);
  logLine(msgtype, line);
}

void nslp_problem_s::logLine(int msgtype, const std::string &line) {
  // Copied first: the callback may replace or remove itself.
  NSLPmsgcb cb = msgcb;
  void *data = msgdata;
  if (cb) cb(this, data, line.c_str(), static_cast<int>(line.size()), msgtype);
  nvrl::dispatchGlobal(this, msgtype, line.c_str(), static_cast<int>(line.size()));
}

using nvrl::checkSlpProblem;
using nvrl::failGlobal;

extern "C" {

NVRL_API int NSLPcreateprob(NSLPprob *slp, NVRLprob *prob) NVRL_TRY {
  if (!slp) return failGlobal(1, "NSLPcreateprob: null output pointer");
  if (!prob) return failGlobal(1, "NSLPcreateprob: null problem pointer");
  if (!nvrl::slpStarted())
    return failGlobal(1,
                      "NSLPcreateprob: the nonlinear solver is not started (call NSLPinit first)");
  nvrl_problem_s *p = nvrl::checkProblem(*prob, __func__);
  if (!p) return 1;
  auto created = std::make_unique<nslp_problem_s>(p);
  // The optimiser problem tells its nonlinear problems about deletions.
  p->dependents.push_back(&created->follower);
  *slp = created.release();
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NSLPdestroyprob(NSLPprob slp) NVRL_TRY {
  // Like NVRLdestroyprob, this must work after the solver has been released.
  if (!slp) return failGlobal(1, "Null nonlinear problem handle");
  if (!nvrl::isLiveObject(slp) || slp->kind != nvrl::ObjectKind::SlpProblem)
    return failGlobal(1, "Invalid or destroyed nonlinear problem handle");
  if (nvrl::isLiveObject(slp->prob) && !nvrl::allowedNow(slp->prob, __func__))
    return slp->fail(NVRL_SOLVING_REFUSAL, __func__);
  if (nvrl::isLiveObject(slp->prob)) {
    auto &deps = slp->prob->dependents;
    deps.erase(std::remove(deps.begin(), deps.end(), &slp->follower), deps.end());
  }
  delete slp;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPcopyprob(NSLPprob dest, NSLPprob src, const char *name) NVRL_TRY {
  (void)name;
  nslp_problem_s *d = checkSlpProblem(dest, __func__);
  if (!d) return 1;
  nslp_problem_s *s = checkSlpProblem(src, __func__);
  if (!s) return d->fail("NSLPcopyprob: invalid source nonlinear problem");
  if (d == s) return 0;
  nvrl::SlpData copy = s->data;  // aside first: a failed copy changes nothing
  d->data = std::move(copy);
  d->state = s->state;
  return 0;
} NVRL_CATCH(dest)

NVRL_API int NSLPcopycontrols(NSLPprob dest, NSLPprob src) NVRL_TRY {
  return nvrl::copyControlValues(dest, src, __func__, "nonlinear problem", checkSlpProblem);
} NVRL_CATCH(dest)

NVRL_API int NSLPsetcbmessage(NSLPprob slp, NSLPmsgcb cb, void *data) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  s->msgcb = cb;
  s->msgdata = cb ? data : nullptr;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetlasterror(NSLPprob slp, int *code, char *msg, int maxbytes,
                             int *nbytes) NVRL_TRY {
  if (!nvrl::liveHandle(slp, nvrl::ObjectKind::SlpProblem)) return 1;
  return nvrl::writeHandleLastError(__func__, slp, code, msg, maxbytes, nbytes);
} NVRL_CATCH(slp)

NVRL_API int NSLPinterrupt(NSLPprob slp, int reason) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (reason <= 0)
    return s->fail("NSLPinterrupt: reason %d is not a stop code (must be > 0)", reason);
  s->interrupt_reason.store(reason);
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

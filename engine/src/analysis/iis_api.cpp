// The C API of irreducible infeasible sets: searches, the sets' data, isolations and files.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string>

#include "analysis/iis_search.h"
#include "core/entry.h"
#include "core/problem.h"
#include "io/lp_writer.h"
#include "io/mps_writer.h"
#include "io/problem_files.h"
#include "io/text_input.h"
#include "solve/interrupts.h"

using nvrl::IisClock;
using nvrl::IisSet;
using nvrl::IisStore;

namespace {

// Holds the problem as being solved for a search, so that no other thread changes it while
// HiGHS works; the problem's own answers and session are not touched.
// Ctrl-C and NVRLinterrupt stop it between two solves.
struct SearchScope {
  nvrl::SolveMarker marker;
  std::optional<nvrl::InterruptGuard> guard;
  SearchScope(nvrl_problem_s *p, const char *fn) : marker(p, fn) {
    if (!marker.acquired()) return;  // another thread's solve owns the stop request
    p->interrupt_reason.store(0);
    guard.emplace(p);
  }
  ~SearchScope() {
    guard.reset();
    marker.finished();
  }
};

// The store for the current model; a store built for an older version is dropped.
IisStore *currentStore(nvrl_problem_s *p) {
  if (p->iis && p->iis->version != p->version) p->iis.reset();
  return p->iis.get();
}

IisClock::time_point deadlineOf(const nvrl_problem_s *p) {
  const double tl = nvrl::getDblControl(p, NVRL_CTRL_IIS_TIME_LIMIT);
  if (!(tl > 0) || tl >= 1e20) return IisClock::time_point::max();
  return IisClock::now() + std::chrono::duration_cast<IisClock::duration>(
                               std::chrono::duration<double>(tl));
}

// A new search: the store rebuilt for the current model and entry 0 filled.
int first(nvrl_problem_s *p, const char *fn, int mode, IisClock::time_point deadline,
          int *status) {
  std::unique_ptr<IisStore, nvrl::IisStoreDeleter> store(new IisStore());
  store->interrupt_reason = &p->interrupt_reason;
  std::string err;
  if (!nvrl::buildIisStore(p, *store, err)) return p->fail("%s: %s", fn, err.c_str());
  IisSet found, initial;
  const int st = nvrl::searchIis(*store, {}, mode != 0, deadline, found, &initial);
  store->searched = true;
  if (st == nvrl::kIisFound || st == nvrl::kIisApproximate) {
    store->sets[0] = initial;
    if (mode != 0) {
      for (int u : found.units) store->queue.push_back(u), store->queued[u] = 1;
      store->sets.push_back(std::move(found));
    }
  }
  p->iis = std::move(store);
  *status = st;
  return 0;
}

// Searches for a set unlike those found: each unit of a found set is left out in turn (it is
// relaxed, and the deletion filter then starts without it), until a new set turns up.
int next(nvrl_problem_s *p, IisStore &s, IisClock::time_point deadline, int *status) {
  while (s.next < s.queue.size()) {
    const int u = s.queue[s.next];
    IisSet found;
    const int st = nvrl::searchIis(s, {u}, true, deadline, found, nullptr);
    if (st == nvrl::kIisStopped) {
      *status = st;  // this exclusion is tried again by the next call
      return 0;
    }
    ++s.next;
    if (st == nvrl::kIisFeasible) continue;  // u is in every infeasible set
    const bool known = std::any_of(s.sets.begin() + 1, s.sets.end(),
                                   [&](const IisSet &k) { return k.units == found.units; });
    if (known) continue;
    for (int m : found.units)
      if (!s.queued[m]) s.queue.push_back(m), s.queued[m] = 1;
    s.sets.push_back(std::move(found));
    *status = st;
    return 0;
  }
  *status = nvrl::kIisNoMore;
  return 0;
}

// The set numbered num of the current store, or null after recording an error.
const IisSet *setOf(nvrl_problem_s *p, const char *fn, int num, IisStore **store) {
  IisStore *s = currentStore(p);
  const int count = s ? static_cast<int>(s->sets.size()) : 1;
  if (num < 0 || num >= count) {
    p->fail("%s: there is no infeasible set %d (%d found)", fn, num, count - 1);
    return nullptr;
  }
  if (!s) {
    // No search yet: entry 0 exists and is empty.
    static const IisSet empty;
    if (store) *store = nullptr;
    return &empty;
  }
  if (store) *store = s;
  return &s->sets[num];
}

}  // namespace

NVRL_API int NVRLiisfirst(NVRLprob prob, int mode, int *status) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  if (!status) return p->fail("NVRLiisfirst: status is null");
  if (mode != 0 && mode != 1) return p->fail("NVRLiisfirst: mode %d is not 0 or 1", mode);
  SearchScope scope(p, __func__);
  if (!scope.marker.acquired()) return 1;
  return first(p, __func__, mode, deadlineOf(p), status);
}
NVRL_CATCH(prob)

NVRL_API int NVRLiisnext(NVRLprob prob, int *status) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  if (!status) return p->fail("NVRLiisnext: status is null");
  SearchScope scope(p, __func__);
  if (!scope.marker.acquired()) return 1;
  IisStore *s = currentStore(p);
  const auto deadline = deadlineOf(p);
  if (!s || s->sets.size() < 2) {
    // Nothing found yet (or only the initial subsystem): start over with a full search.
    if (s && s->searched && s->sets[0].units.empty()) {
      *status = nvrl::kIisFeasible;
      return 0;
    }
    return first(p, __func__, 1, deadline, status);
  }
  return next(p, *s, deadline, status);
}
NVRL_CATCH(prob)

NVRL_API int NVRLiisall(NVRLprob prob) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  SearchScope scope(p, __func__);
  if (!scope.marker.acquired()) return 1;
  const auto deadline = deadlineOf(p);
  const int64_t most = nvrl::getIntControl(p, NVRL_CTRL_IIS_MAX_SETS);
  int status = 0;
  if (first(p, __func__, 1, deadline, &status)) return 1;
  IisStore &s = *p->iis;
  while (status == nvrl::kIisFound || status == nvrl::kIisApproximate) {
    if (p->interrupt_reason.load() != 0) break;
    if (most > 0 && static_cast<int64_t>(s.sets.size()) - 1 >= most) break;
    if (next(p, s, deadline, &status)) return 1;
  }
  return 0;
}
NVRL_CATCH(prob)

NVRL_API int NVRLiisstatus(NVRLprob prob, int *count, int rowsizes[], int colsizes[],
                           double suminfeas[], int numinfeas[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  if (!count) return p->fail("NVRLiisstatus: count is null");
  IisStore *s = currentStore(p);
  if (!s) {
    *count = 1;
    if (rowsizes) rowsizes[0] = 0;
    if (colsizes) colsizes[0] = 0;
    if (suminfeas) suminfeas[0] = 0.0;
    if (numinfeas) numinfeas[0] = 0;
    return 0;
  }
  *count = static_cast<int>(s->sets.size());
  for (size_t k = 0; k < s->sets.size(); ++k) {
    const IisSet &set = s->sets[k];
    int r = 0;
    for (int u : set.units) r += !s->units[u].col;
    if (rowsizes) rowsizes[k] = r;
    if (colsizes) colsizes[k] = static_cast<int>(set.units.size()) - r;
    if (suminfeas) suminfeas[k] = set.suminfeas;
    if (numinfeas) numinfeas[k] = set.numinfeas;
  }
  return 0;
}
NVRL_CATCH(prob)

NVRL_API int NVRLgetiisdata(NVRLprob prob, int num, int *rownumber, int *colnumber,
                            int miisrow[], int miiscol[], char constrainttype[],
                            char colbndtype[], double duals[], double rdcs[],
                            char isolationrows[], char isolationcols[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  IisStore *s = nullptr;
  const IisSet *set = setOf(p, __func__, num, &s);
  if (!set) return 1;
  int r = 0, c = 0;
  for (size_t k = 0; k < set->units.size(); ++k) {
    const nvrl::IisUnit &U = s->units[set->units[k]];
    const double m = set->mult.empty() ? 0.0 : set->mult[k];
    const char iso = set->isolated.empty() ? 0 : set->isolated[k];
    if (!U.col) {
      if (miisrow) miisrow[r] = U.index;
      if (constrainttype) constrainttype[r] = U.type;
      if (duals) duals[r] = m;
      if (isolationrows) isolationrows[r] = iso;
      ++r;
    } else {
      if (miiscol) miiscol[c] = U.index;
      if (colbndtype) colbndtype[c] = U.type;
      if (rdcs) rdcs[c] = m;
      if (isolationcols) isolationcols[c] = iso;
      ++c;
    }
  }
  if (rownumber) *rownumber = r;
  if (colnumber) *colnumber = c;
  return 0;
}
NVRL_CATCH(prob)

NVRL_API int NVRLiisisolations(NVRLprob prob, int num) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  IisStore *s = nullptr;
  if (!setOf(p, __func__, num, &s)) return 1;
  if (s) nvrl::computeIsolations(*s, num);
  return 0;
}
NVRL_CATCH(prob)

NVRL_API int NVRLiiswrite(NVRLprob prob, int num, const char *filename, int filetype,
                          const char *flags) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLiiswrite: no file name given");
  if (filetype != 0 && filetype != 1)
    return p->fail("NVRLiiswrite: file type %d is not 0 (LP) or 1 (MPS)", filetype);
  if (flags && *flags) return p->fail("NVRLiiswrite: unknown flag '%c'", *flags);
  IisStore *s = nullptr;
  const IisSet *set = setOf(p, __func__, num, &s);
  if (!set) return 1;
  if (!s) return p->fail("NVRLiiswrite: no search has been run");
  const bool lp = filetype == 0;
  const std::string path = nvrl::io::writePath(filename, lp);
  const nvrl::Model m = nvrl::iisModel(p->model, *s, *set);
  std::string text;
  try {
    text = lp ? nvrl::io::writeLp(m) : nvrl::io::writeMps(m);
  } catch (const nvrl::io::WriteError &e) {
    return p->fail("Cannot write '%s': %s", path.c_str(), e.what());
  }
  try {
    nvrl::io::writeTextFile(path, text);
  } catch (const nvrl::io::FileError &e) {
    return p->fail("%s", e.what());
  }
  return 0;
}
NVRL_CATCH(prob)

NVRL_API int NVRLiisclear(NVRLprob prob) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  p->iis.reset();
  return 0;
}
NVRL_CATCH(prob)

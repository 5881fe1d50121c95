// Problem life cycle: creation, destruction, copying, the problem name, the last error and
// the per-problem message callbacks.
#include <algorithm>
#include <cstring>

#include "core/entry.h"
#include "core/environment.h"
#include "core/text.h"

using nvrl::checkProblem;
using nvrl::checkProblemHandle;
using nvrl::failGlobal;

extern "C" {

NVRL_API int NVRLcreateprob(NVRLprob *prob) NVRL_TRY {
  if (!prob) return failGlobal(1, "NVRLcreateprob: null output pointer");
  if (!nvrl::libraryStarted())
    return failGlobal(1, "NVRLcreateprob: the library is not started (call NVRLinit first)");
  *prob = new nvrl_problem_s();
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRLdestroyprob(NVRLprob prob) NVRL_TRY {
  // Works after NVRLfree too: a released library must still let its problems go.
  nvrl_problem_s *p = checkProblemHandle(prob, __func__);
  if (!p) return 1;
  delete p;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLcopyprob(NVRLprob dest, NVRLprob src, const char *name) NVRL_TRY {
  nvrl_problem_s *d = checkProblem(dest, __func__);
  if (!d) return 1;
  // A source being solved is refused on the destination, whose caller asked for the copy.
  if (nvrl::isLiveProblem(src) && !nvrl::allowedNow(src, __func__))
    return d->fail(NVRL_SOLVING_REFUSAL, __func__);
  nvrl_problem_s *s = checkProblem(src, __func__);
  if (!s) return d->fail("NVRLcopyprob: invalid source problem");
  size_t len = name ? std::strlen(name) : 0;
  if (len > NVRL_MAXNAMELEN)
    return d->fail("NVRLcopyprob: name of %zu characters exceeds the limit of %d", len,
                   NVRL_MAXNAMELEN);
  if (d == s) {
    if (len > 0) d->model.name = name;
    return 0;
  }
  // Copied aside first, so that running out of memory leaves the destination as it was.
  nvrl::Model copy = s->model;
  if (len > 0) copy.name = name;
  d->model = std::move(copy);
  d->modelChanged();
  return 0;
} NVRL_CATCH(dest)

NVRL_API int NVRLsetprobname(NVRLprob prob, const char *name) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!name) return p->fail("NVRLsetprobname: null name");
  size_t len = std::strlen(name);
  if (len > NVRL_MAXNAMELEN)
    return p->fail("NVRLsetprobname: name of %zu characters exceeds the limit of %d", len,
                   NVRL_MAXNAMELEN);
  p->model.name = name;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetprobname(NVRLprob prob, char *name) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!name) return p->fail("NVRLgetprobname: null output buffer");
  std::memcpy(name, p->model.name.c_str(), p->model.name.size() + 1);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetlasterror(NVRLprob prob, int *code, char *msg, int maxbytes,
                             int *nbytes) NVRL_TRY {
  if (!nvrl::liveHandle(prob, nvrl::ObjectKind::Problem)) return 1;
  return nvrl::writeHandleLastError(__func__, prob, code, msg, maxbytes, nbytes);
} NVRL_CATCH(prob)

NVRL_API int NVRLaddcbmessage(NVRLprob prob, NVRLmsgcb cb, void *data, int priority) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!cb) return p->fail("NVRLaddcbmessage: null callback");
  auto &cbs = p->msgcbs;
  // After every callback of equal or higher priority: equal priorities keep their order.
  auto pos = std::find_if(cbs.begin(), cbs.end(), [&](const nvrl::MessageCallback &m) {
    return m.priority < priority;
  });
  cbs.insert(pos, nvrl::MessageCallback{cb, data, priority});
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLremovecbmessage(NVRLprob prob, NVRLmsgcb cb, void *data) NVRL_TRY {
  nvrl_problem_s *p = checkProblemHandle(prob, __func__);
  if (!p) return 1;
  auto &cbs = p->msgcbs;
  cbs.erase(std::remove_if(cbs.begin(), cbs.end(),
                           [&](const nvrl::MessageCallback &m) {
                             return (!cb || m.cb == cb) && (!data || m.data == data);
                           }),
            cbs.end());
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

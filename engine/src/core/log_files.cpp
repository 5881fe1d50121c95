// A problem's log file and the status (shown or suppressed) of its coded messages.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "core/entry.h"
#include "core/problem.h"

using nvrl::checkProblem;

extern "C" {

NVRL_API int NVRLsetlogfile(NVRLprob prob, const char *filename) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) {
    p->logfile.reset();
    return 0;
  }
  std::FILE *f = std::fopen(filename, "a");
  if (!f)
    return p->fail("NVRLsetlogfile: cannot open '%s' for appending: %s", filename,
                   std::strerror(errno));
  p->logfile.reset(f, [](std::FILE *fp) { std::fclose(fp); });
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLsetmessagestatus(NVRLprob prob, int msgcode, int status) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (msgcode <= 0) return p->fail("NVRLsetmessagestatus: message code %d is not positive", msgcode);
  if (status != 0 && status != 1)
    return p->fail("NVRLsetmessagestatus: status %d is neither 0 (suppress) nor 1 (show)", status);
  std::vector<int> &codes = p->suppressed_codes;
  auto it = std::lower_bound(codes.begin(), codes.end(), msgcode);
  const bool present = it != codes.end() && *it == msgcode;
  if (status == 0 && !present) codes.insert(it, msgcode);
  if (status == 1 && present) codes.erase(it);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetmessagestatus(NVRLprob prob, int msgcode, int *status) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (msgcode <= 0) return p->fail("NVRLgetmessagestatus: message code %d is not positive", msgcode);
  if (!status) return p->fail("NVRLgetmessagestatus: status is null");
  *status = std::binary_search(p->suppressed_codes.begin(), p->suppressed_codes.end(), msgcode)
                ? 0
                : 1;
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

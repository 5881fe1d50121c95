// The global entities of a problem in one call: typed columns and special ordered sets.
#include <algorithm>

#include "core/entry.h"
#include "core/problem.h"

extern "C" {

NVRL_API int NVRLgetglobal64(NVRLprob prob, int *nentities, int *nsets, char coltype[],
                             int colind[], double limit[], char settype[], NVRLint64 start[],
                             int setcols[], double refval[], NVRLint64 *nmembers) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  const nvrl::Model &m = p->model;
  int n = 0;
  for (int j = 0; j < m.cols(); ++j) {
    if (m.coltype[j] == 'C') continue;
    if (coltype) coltype[n] = m.coltype[j];
    if (colind) colind[n] = j;
    if (limit) limit[n] = m.limit[j];
    ++n;
  }
  int64_t at = 0;
  for (int k = 0; k < m.nsets(); ++k) {
    const nvrl::SpecialOrderedSet &s = m.sets[k];
    if (settype) settype[k] = s.type;
    if (start) start[k] = at;
    if (setcols) std::copy(s.cols.begin(), s.cols.end(), setcols + at);
    if (refval) std::copy(s.refs.begin(), s.refs.end(), refval + at);
    at += static_cast<int64_t>(s.cols.size());
  }
  if (start) start[m.nsets()] = at;
  if (nentities) *nentities = n;
  if (nsets) *nsets = m.nsets();
  if (nmembers) *nmembers = at;
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

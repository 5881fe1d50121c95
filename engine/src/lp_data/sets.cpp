// Special ordered sets.
#include <algorithm>
#include <vector>

#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/model_rules.h"
#include "lp_data/renumber.h"
#include "lp_data/sparse_input.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

extern "C" {

NVRL_API int NVRLaddsets64(NVRLprob prob, int nsets, NVRLint64 nelems, const char settype[],
                           const NVRLint64 start[], const int colind[],
                           const double refval[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLaddsets64");
  nvrl::Model &m = p->model;
  if (!c.count(nsets, "nsets") || !c.room(m.nsets(), nsets, "sets")) return c.code();
  // Members are segments like the rows of NVRLaddrows64 (values are the reference values).
  nvrl::Segments s;
  if (!nvrl::segmentsFromStarts(c, start, nsets, nelems, colind, refval, "start", "nelems",
                                "colind", "refval", s) ||
      !nvrl::checkSets(c, nsets, settype, s.begin.data(), s.end.data(), colind, refval,
                       m.cols(), "settype", "colind", "refval"))
    return c.code();
  if (nsets == 0) return 0;
  nvrl::appendSets(m, nsets, settype, s.begin.data(), s.end.data(), colind, refval);
  nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLdelsets(NVRLprob prob, int nsets, const int sets[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLdelsets");
  nvrl::Model &m = p->model;
  if (!c.deletion(sets, nsets, "nsets", "sets", m.nsets(), "set")) return c.code();
  if (nsets == 0) return 0;
  const std::vector<int> map = nvrl::renumbering(m.nsets(), sets, nsets);
  nvrl::compactByMap(m.sets, map);
  nvrl::compactByMap(m.setnames, map);
  nvrl::commitChange(p, false);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetsets64(NVRLprob prob, char settype[], NVRLint64 start[], int colind[],
                           double refval[], NVRLint64 maxelems, NVRLint64 *nelems, int first,
                           int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetsets64");
  const nvrl::Model &m = p->model;
  if (!c.range(first, last, m.nsets(), "sets")) return c.code();
  const bool write = colind || refval;
  if (write && !c.count(maxelems, "maxelems")) return c.code();
  int64_t total = 0;
  for (int k = first; k <= last; ++k) total += static_cast<int64_t>(m.sets[k].cols.size());
  const int64_t room = write ? std::min<int64_t>(maxelems, total) : total;
  int64_t at = 0;
  for (int k = first; k <= last; ++k) {
    const nvrl::SpecialOrderedSet &s = m.sets[k];
    if (settype) settype[k - first] = s.type;
    if (start) start[k - first] = std::min(at, room);
    for (size_t e = 0; e < s.cols.size(); ++e, ++at) {
      if (!write || at >= room) continue;
      if (colind) colind[at] = s.cols[e];
      if (refval) refval[at] = s.refs[e];
    }
  }
  if (start) start[last - first + 1] = room;
  if (nelems) *nelems = total;
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

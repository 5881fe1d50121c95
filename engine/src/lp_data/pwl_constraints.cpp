// Piecewise-linear constraints: resultant = f(column), f through breakpoints (x, y).
#include <algorithm>
#include <vector>

#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/renumber.h"
#include "lp_data/sparse_input.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

extern "C" {

NVRL_API int NVRLaddpwlcons64(NVRLprob prob, int npwls, NVRLint64 npoints, const int colind[],
                              const int resultant[], const NVRLint64 start[],
                              const double xval[], const double yval[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLaddpwlcons64");
  nvrl::Model &m = p->model;
  if (!c.count(npwls, "npwls") ||
      !c.room(static_cast<int64_t>(m.pwlcons.size()), npwls,
              "piecewise-linear constraints") ||
      !c.array(colind, npwls, "colind") || !c.array(resultant, npwls, "resultant"))
    return c.code();
  nvrl::Segments pts;
  if (!nvrl::segmentsFromStarts(c, start, npwls, npoints, nullptr, xval, "start", "npoints",
                                nullptr, "xval", pts) ||
      !c.array(yval, npoints, "yval"))
    return c.code();
  for (int k = 0; k < npwls; ++k) {
    if (!c.col(colind[k], "colind", k) || !c.col(resultant[k], "resultant", k))
      return c.code();
    if (colind[k] == resultant[k])
      return c.fail("constraint %d uses column %d as both argument and resultant", k,
                    colind[k]);
    const int64_t b = pts.begin[k], e = pts.end[k];
    if (e - b < 2)
      return c.fail("constraint %d has %lld breakpoints; at least 2 are needed", k,
                    static_cast<long long>(e - b));
    for (int64_t i = b; i < e; ++i) {
      if (!c.finite(xval[i], "xval", i) || !c.finite(yval[i], "yval", i)) return c.code();
      if (i > b && xval[i] < xval[i - 1])
        return c.fail("constraint %d: breakpoints out of order, xval[%lld] = %g < xval[%lld] "
                      "= %g",
                      k, static_cast<long long>(i), xval[i], static_cast<long long>(i - 1),
                      xval[i - 1]);
      // Two equal x values make a jump; a third would leave f(x) undefined.
      if (i >= b + 2 && xval[i] == xval[i - 1] && xval[i] == xval[i - 2])
        return c.fail("constraint %d: xval[%lld] = %g appears three times in a row", k,
                      static_cast<long long>(i), xval[i]);
    }
  }
  if (npwls == 0) return 0;
  nvrl::reserveMore(m.pwlcons, npwls);
  for (int k = 0; k < npwls; ++k) {
    nvrl::PwlConstraint g;
    g.col = colind[k];
    g.resultant = resultant[k];
    g.x.assign(xval + pts.begin[k], xval + pts.end[k]);
    g.y.assign(yval + pts.begin[k], yval + pts.end[k]);
    m.pwlcons.push_back(std::move(g));
  }
  nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetpwlcons64(NVRLprob prob, int colind[], int resultant[], NVRLint64 start[],
                              double xval[], double yval[], NVRLint64 maxpoints,
                              NVRLint64 *npoints, int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetpwlcons64");
  const nvrl::Model &m = p->model;
  if (!c.range(first, last, static_cast<int>(m.pwlcons.size()),
               "piecewise-linear constraints"))
    return c.code();
  const bool write = xval || yval;
  if (write && !c.count(maxpoints, "maxpoints")) return c.code();
  int64_t total = 0;
  for (int k = first; k <= last; ++k) total += static_cast<int64_t>(m.pwlcons[k].x.size());
  const int64_t room = write ? std::min<int64_t>(maxpoints, total) : total;
  int64_t at = 0;
  for (int k = first; k <= last; ++k) {
    const nvrl::PwlConstraint &g = m.pwlcons[k];
    if (colind) colind[k - first] = g.col;
    if (resultant) resultant[k - first] = g.resultant;
    if (start) start[k - first] = std::min(at, room);
    for (size_t i = 0; i < g.x.size(); ++i, ++at) {
      if (!write || at >= room) continue;
      if (xval) xval[at] = g.x[i];
      if (yval) yval[at] = g.y[i];
    }
  }
  if (start) start[last - first + 1] = room;
  if (npoints) *npoints = total;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLdelpwlcons(NVRLprob prob, int npwls, const int pwlind[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLdelpwlcons");
  nvrl::Model &m = p->model;
  const int have = static_cast<int>(m.pwlcons.size());
  if (!c.deletion(pwlind, npwls, "npwls", "pwlind", have, "piecewise-linear constraint"))
    return c.code();
  if (npwls == 0) return 0;
  nvrl::compactByMap(m.pwlcons, nvrl::renumbering(have, pwlind, npwls));
  nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

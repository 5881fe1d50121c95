// General constraints: resultant = max, min, and, or, abs of columns (and constants).
#include <algorithm>
#include <vector>

#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/renumber.h"
#include "lp_data/sparse_input.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

namespace {

const char *typeName(int t) {
  static const char *names[] = {"max", "min", "and", "or", "abs"};
  return names[t];
}

// Shape rules of one constraint with nc columns and nv values.
bool checkShape(Check &c, int k, int type, int64_t nc, int64_t nv) {
  switch (type) {
    case NVRL_GENCONS_MAX:
    case NVRL_GENCONS_MIN:
      if (nc + nv > 0) return true;
      c.fail("constraint %d (%s) needs at least one column or value", k, typeName(type));
      return false;
    case NVRL_GENCONS_AND:
    case NVRL_GENCONS_OR:
      if (nc > 0 && nv == 0) return true;
      c.fail("constraint %d (%s) needs at least one column and takes no values (has %lld "
             "columns, %lld values)",
             k, typeName(type), static_cast<long long>(nc), static_cast<long long>(nv));
      return false;
    default:  // abs
      if (nc == 1 && nv == 0) return true;
      c.fail("constraint %d (abs) needs exactly one column and no values (has %lld columns, "
             "%lld values)",
             k, static_cast<long long>(nc), static_cast<long long>(nv));
      return false;
  }
}

}  // namespace

extern "C" {

NVRL_API int NVRLaddgencons64(NVRLprob prob, int ncons, NVRLint64 ncols, NVRLint64 nvals,
                              const int contype[], const int resultant[],
                              const NVRLint64 colstart[], const int colind[],
                              const NVRLint64 valstart[], const double val[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLaddgencons64");
  nvrl::Model &m = p->model;
  if (!c.count(ncons, "ncons") ||
      !c.room(static_cast<int64_t>(m.gencons.size()), ncons, "general constraints") ||
      !c.array(contype, ncons, "contype") || !c.array(resultant, ncons, "resultant"))
    return c.code();
  nvrl::Segments cols, vals;
  if (!nvrl::segmentsFromStarts(c, colstart, ncons, ncols, colind, nullptr, "colstart",
                                "ncols", "colind", nullptr, cols))
    return c.code();
  if (!c.count(nvals, "nvals")) return c.code();
  if (nvals > 0 && !c.given(valstart, "valstart")) return c.code();
  if (!nvrl::segmentsFromStarts(c, valstart, ncons, nvals, nullptr, val, "valstart", "nvals",
                                nullptr, "val", vals))
    return c.code();
  for (int k = 0; k < ncons; ++k) {
    if (contype[k] < NVRL_GENCONS_MAX || contype[k] > NVRL_GENCONS_ABS)
      return c.fail("contype[%d] = %d is not a general constraint type (0 max, 1 min, 2 and, "
                    "3 or, 4 abs)",
                    k, contype[k]);
    if (!c.col(resultant[k], "resultant", k)) return c.code();
    if (!checkShape(c, k, contype[k], cols.end[k] - cols.begin[k], vals.end[k] - vals.begin[k]))
      return c.code();
    for (int64_t e = cols.begin[k]; e < cols.end[k]; ++e) {
      if (!c.col(colind[e], "colind", e)) return c.code();
      if (colind[e] == resultant[k])
        return c.fail("constraint %d uses its resultant column %d as an argument (colind[%lld])",
                      k, resultant[k], static_cast<long long>(e));
    }
    for (int64_t e = vals.begin[k]; e < vals.end[k]; ++e)
      if (!c.finite(val[e], "val", e)) return c.code();
  }
  if (ncons == 0) return 0;
  nvrl::reserveMore(m.gencons, ncons);
  for (int k = 0; k < ncons; ++k) {
    nvrl::GeneralConstraint g;
    g.type = contype[k];
    g.resultant = resultant[k];
    g.cols.assign(colind + cols.begin[k], colind + cols.end[k]);
    if (vals.end[k] > vals.begin[k]) g.vals.assign(val + vals.begin[k], val + vals.end[k]);
    m.gencons.push_back(std::move(g));
  }
  nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetgencons64(NVRLprob prob, int contype[], int resultant[],
                              NVRLint64 colstart[], int colind[], NVRLint64 maxcols,
                              NVRLint64 *ncols, NVRLint64 valstart[], double val[],
                              NVRLint64 maxvals, NVRLint64 *nvals, int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetgencons64");
  const nvrl::Model &m = p->model;
  if (!c.range(first, last, static_cast<int>(m.gencons.size()), "general constraints"))
    return c.code();
  if ((colind && !c.count(maxcols, "maxcols")) || (val && !c.count(maxvals, "maxvals")))
    return c.code();
  int64_t tc = 0, tv = 0;
  for (int k = first; k <= last; ++k) {
    tc += static_cast<int64_t>(m.gencons[k].cols.size());
    tv += static_cast<int64_t>(m.gencons[k].vals.size());
  }
  const int64_t room_c = colind ? std::min<int64_t>(maxcols, tc) : tc;
  const int64_t room_v = val ? std::min<int64_t>(maxvals, tv) : tv;
  int64_t ac = 0, av = 0;
  for (int k = first; k <= last; ++k) {
    const nvrl::GeneralConstraint &g = m.gencons[k];
    if (contype) contype[k - first] = g.type;
    if (resultant) resultant[k - first] = g.resultant;
    if (colstart) colstart[k - first] = std::min(ac, room_c);
    if (valstart) valstart[k - first] = std::min(av, room_v);
    for (int j : g.cols) {
      if (colind && ac < room_c) colind[ac] = j;
      ++ac;
    }
    for (double v : g.vals) {
      if (val && av < room_v) val[av] = v;
      ++av;
    }
  }
  if (colstart) colstart[last - first + 1] = room_c;
  if (valstart) valstart[last - first + 1] = room_v;
  if (ncols) *ncols = tc;
  if (nvals) *nvals = tv;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLdelgencons(NVRLprob prob, int ncons, const int conind[]) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLdelgencons");
  nvrl::Model &m = p->model;
  const int have = static_cast<int>(m.gencons.size());
  if (!c.deletion(conind, ncons, "ncons", "conind", have, "general constraint"))
    return c.code();
  if (ncons == 0) return 0;
  nvrl::compactByMap(m.gencons, nvrl::renumbering(have, conind, ncons));
  nvrl::commitChange(p, true);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

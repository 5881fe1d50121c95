// The optimiser's attributes, computed on demand from the model store and the last solve.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/environment.h"
#include "core/ids.h"
#include "core/text.h"

namespace nvrl {
namespace {

int digits(int n) {
  int d = 1;
  while (n >= 10) n /= 10, ++d;
  return d;
}

// Longest name of a category: given names, or the default name ("R12") of an unnamed item.
size_t longestName(const std::vector<std::string> &names, int count) {
  size_t longest = 0;
  bool any_unnamed = static_cast<int>(names.size()) < count;
  for (const std::string &n : names) {
    longest = std::max(longest, n.size());
    if (n.empty()) any_unnamed = true;
  }
  if (any_unnamed && count > 0) longest = std::max(longest, static_cast<size_t>(1 + digits(count)));
  return longest;
}

int64_t nameLengthUnits(const Model &m) {
  size_t longest = std::max({longestName(m.rownames, m.rows()), longestName(m.colnames, m.cols()),
                             longestName(m.setnames, m.nsets())});
  return static_cast<int64_t>((longest + 7) / 8);
}

double maxPrimalInfeasibility(const Model &m, const SolveState &s) {
  if (!s.have_point) return 0.0;
  double worst = 0.0;
  for (int j = 0; j < m.cols() && j < static_cast<int>(s.x.size()); ++j) {
    if (!isInfLo(m.lb[j])) worst = std::max(worst, m.lb[j] - s.x[j]);
    if (!isInfUp(m.ub[j])) worst = std::max(worst, s.x[j] - m.ub[j]);
  }
  for (int i = 0; i < m.rows() && i < static_cast<int>(s.slack.size()); ++i) {
    double slack = s.slack[i];  // rhs - activity
    switch (m.rowtype[i]) {
      case 'L': worst = std::max(worst, -slack); break;
      case 'G': worst = std::max(worst, slack); break;
      case 'E': worst = std::max(worst, std::fabs(slack)); break;
      case 'R': worst = std::max({worst, -slack, slack - m.range[i]}); break;
      default: break;
    }
  }
  return worst;
}

// Reduced costs of the wrong sign for the column's position (c - A'y convention, so that a
// minimising optimum has nonnegative reduced costs at lower bounds).
double maxDualInfeasibility(const Model &m, const SolveState &s, double feastol) {
  if (!s.have_dual || !s.have_point) return 0.0;
  double worst = 0.0;
  int n = std::min({m.cols(), static_cast<int>(s.x.size()), static_cast<int>(s.djs.size())});
  for (int j = 0; j < n; ++j) {
    double d = m.objsense * s.djs[j];
    bool at_lb = !isInfLo(m.lb[j]) && s.x[j] <= m.lb[j] + feastol;
    bool at_ub = !isInfUp(m.ub[j]) && s.x[j] >= m.ub[j] - feastol;
    if (at_lb && at_ub) continue;
    if (at_lb) worst = std::max(worst, -d);
    else if (at_ub) worst = std::max(worst, d);
    else worst = std::max(worst, std::fabs(d));
  }
  return worst;
}

bool intAttribute(const nvrl_problem_s *p, int attrib, int64_t &v) {
  const Model &m = p->model;
  const SolveState &s = p->sol;
  switch (attrib) {
    case id::kRows: case id::kOriginalRows: v = m.rows(); return true;
    case id::kCols: case id::kOriginalCols: v = m.cols(); return true;
    case id::kSets: case id::kOriginalSets: v = m.nsets(); return true;
    case id::kSpareRows: v = 0; return true;
    case id::kElems: v = m.A.nnz(); return true;
    case id::kQElems: v = static_cast<int64_t>(m.qobj.size()); return true;
    case id::kQConstraints: v = static_cast<int64_t>(m.qrows.size()); return true;
    case id::kLpStatus: v = s.lpstatus; return true;
    case id::kMipStatus: v = s.mipstatus; return true;
    case id::kStopStatus: v = s.stopstatus; return true;
    case id::kSimplexIter: v = s.simplex_iter; return true;
    case id::kBarIter: v = s.barrier_iter; return true;
    case id::kNodes: v = s.nodes; return true;
    case id::kSolutions: v = s.solutions; return true;
    case id::kSolStatus: v = s.have_primal ? 1 : 0; return true;
    case id::kNamelength: v = nameLengthUnits(m); return true;
    case id::kHasDualRay: v = s.has_dual_ray ? 1 : 0; return true;
    case id::kHasPrimalRay: v = s.has_primal_ray ? 1 : 0; return true;
    case id::kMipEnts:
      v = std::count_if(m.coltype.begin(), m.coltype.end(), [](char t) {
        return t == 'I' || t == 'B' || t == 'S' || t == 'R' || t == 'P';
      });
      return true;
    case id::kProbNameLength: v = static_cast<int64_t>(m.name.size()) + 1; return true;
    case id::kIndicators:
      v = std::count_if(m.indcomp.begin(), m.indcomp.end(), [](int c) { return c != 0; });
      return true;
    case id::kGenConsAndPwl:
      v = static_cast<int64_t>(m.gencons.size() + m.pwlcons.size());
      return true;
    case id::kPwlCons: v = static_cast<int64_t>(m.pwlcons.size()); return true;
  }
  return false;
}

bool dblAttribute(const nvrl_problem_s *p, int attrib, double &v) {
  const SolveState &s = p->sol;
  switch (attrib) {
    case id::kLpObjVal: v = s.lpobjval; return true;
    case id::kBestBound: v = s.bestbound; return true;
    case id::kMipObjVal: v = s.mipobjval; return true;
    case id::kMipRelGapAttr: v = s.mipgap; return true;
    case id::kSolveTime: v = s.solvetime; return true;
    case id::kObjConstant: v = p->model.objconst; return true;
    case id::kObjSenseAttr: v = p->model.objsense; return true;
    case id::kMaxPrimalInfeas: v = maxPrimalInfeasibility(p->model, s); return true;
    case id::kMaxDualInfeas:
      v = maxDualInfeasibility(p->model, s, getDblControl(p, id::kFeasTol));
      return true;
  }
  return false;
}

bool strAttribute(const nvrl_problem_s *, int attrib, std::string &v) {
  switch (attrib) {
    case id::kVersionAttr: v = kLibraryVersion; return true;
  }
  return false;
}

nvrl_problem_s *prepare(NVRLprob prob, const char *fn, int attrib, Access access,
                        const void *ptr) {
  nvrl_problem_s *p = checkProblem(prob, fn);
  if (!p) return nullptr;
  if (!ptr) {
    p->fail("%s: null value pointer", fn);
    return nullptr;
  }
  std::string err;
  if (!resolveParam(fn, attrib, access, false, false, err)) {
    p->fail("%s", err.c_str());
    return nullptr;
  }
  return p;
}

int missing(nvrl_problem_s *p, const char *fn, int attrib) {
  // A registered attribute without a computation is a defect of the engine, not of the caller.
  return p->fail("%s: attribute %d is registered but not computed by this build", fn, attrib);
}

}  // namespace
}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NVRLgetintattrib(NVRLprob prob, int attrib, int *value) NVRL_TRY {
  nvrl_problem_s *p = prepare(prob, "NVRLgetintattrib", attrib, Access::Integral, value);
  if (!p) return 1;
  int64_t v;
  if (!intAttribute(p, attrib, v)) return missing(p, "NVRLgetintattrib", attrib);
  if (v < INT_MIN || v > INT_MAX)
    return p->fail("NVRLgetintattrib: attribute %d holds %lld, which needs NVRLgetintattrib64",
                   attrib, static_cast<long long>(v));
  *value = static_cast<int>(v);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetintattrib64(NVRLprob prob, int attrib, NVRLint64 *value) NVRL_TRY {
  nvrl_problem_s *p = prepare(prob, "NVRLgetintattrib64", attrib, Access::Integral, value);
  if (!p) return 1;
  int64_t v;
  if (!intAttribute(p, attrib, v)) return missing(p, "NVRLgetintattrib64", attrib);
  *value = v;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetdblattrib(NVRLprob prob, int attrib, double *value) NVRL_TRY {
  nvrl_problem_s *p = prepare(prob, "NVRLgetdblattrib", attrib, Access::Double, value);
  if (!p) return 1;
  double v;
  if (!dblAttribute(p, attrib, v)) return missing(p, "NVRLgetdblattrib", attrib);
  *value = v;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetstrattrib(NVRLprob prob, int attrib, char *value) NVRL_TRY {
  nvrl_problem_s *p = prepare(prob, "NVRLgetstrattrib", attrib, Access::String, value);
  if (!p) return 1;
  std::string v;
  if (!strAttribute(p, attrib, v)) return missing(p, "NVRLgetstrattrib", attrib);
  copyText(value, NVRL_MAXNAMELEN, v.c_str());
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

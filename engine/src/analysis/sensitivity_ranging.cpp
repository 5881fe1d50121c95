// Cost, right-hand side and bound ranging, basis solves, the pivot ratio test and the basis's
// condition, all from the basis of the last LP solve.
#include "analysis/sensitivity_ranging.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/entry.h"
#include "core/problem.h"

using nvrl::BasisView;
using nvrl::checkProblem;
using nvrl::kInf;

// Entries of a solve below this are round-off: a pivot on them would be meaningless.
static constexpr double kPivotTol = 1e-9;

namespace nvrl {

namespace {

double clampInto(double v, double lo, double up) { return std::min(std::max(v, lo), up); }

}  // namespace

void basicRatioTest(const BasisView &bv, const std::vector<double> &dir, double &down,
                    double &up) {
  down = -kInf;
  up = kInf;
  const auto &piv = bv.pivots();
  for (size_t k = 0; k < piv.size(); ++k) {
    const double d = dir[k];
    if (std::fabs(d) <= kPivotTol) continue;
    const int var = piv[k];
    const double lo = bv.lower(var), hi = bv.upper(var);
    // Values a hair outside their bounds (within HiGHS's tolerance) count as on them.
    const double v = clampInto(bv.value(var), lo, hi);
    const double toHi = hi < kInf ? (hi - v) / d : (d > 0 ? kInf : -kInf);
    const double toLo = lo > -kInf ? (lo - v) / d : (d > 0 ? -kInf : kInf);
    if (d > 0) {
      up = std::min(up, toHi);
      down = std::max(down, toLo);
    } else {
      up = std::min(up, toLo);
      down = std::max(down, toHi);
    }
  }
  up = std::max(up, 0.0);
  down = std::min(down, 0.0);
}

bool costRange(const BasisView &bv, int var, double &down, double &up, std::string &err) {
  const int sigma = bv.sense();
  down = -kInf;
  up = kInf;
  const int k = bv.position(var);
  if (k < 0) {
    const double d = bv.dj(var);
    switch (bv.side(var)) {
      case 0: return true;  // fixed: no cost makes it move
      case 2: down = up = 0.0; return true;
      default: {
        // At lower: sigma*(d + delta) must stay >= 0; at upper, <= 0.
        const double edge = -d;
        if (bv.side(var) * sigma > 0) down = std::min(edge, 0.0);
        else up = std::max(edge, 0.0);
        return true;
      }
    }
  }
  // A basic variable's cost moves every reduced cost by -delta times its entry in row k of
  // B^-1 [A I].
  std::vector<double> rho(bv.rows(), 0.0);
  rho[k] = 1.0;
  if (!bv.btran(rho, err)) return false;
  for (int v = 0; v < bv.vars(); ++v) {
    if (bv.position(v) >= 0) continue;
    const int s = bv.side(v);
    if (s == 0) continue;
    const double alpha = bv.dot(rho, v);
    if (std::fabs(alpha) <= kPivotTol) continue;
    if (s == 2) {
      down = up = 0.0;
      return true;
    }
    const double g = std::max(s * sigma * bv.dj(v), 0.0);
    const double a = s * sigma * alpha;
    if (a > 0) up = std::min(up, g / a);
    else down = std::max(down, g / a);
  }
  return true;
}

bool rhsRange(const BasisView &bv, int row, double &down, double &up, std::string &err) {
  const int k = bv.position(row);
  if (k >= 0) {
    // The row's logical z is basic and stays put while its bounds [lo, hi] move by -delta.
    const double z = bv.value(row), lo = bv.lower(row), hi = bv.upper(row);
    down = lo > -kInf ? std::min(lo - z, 0.0) : -kInf;
    up = hi < kInf ? std::max(hi - z, 0.0) : kInf;
    return true;
  }
  // Nonbasic logical: it follows its bound, z moves by -delta, basics by +delta * B^-1 e_i.
  std::vector<double> w(bv.rows(), 0.0);
  w[row] = 1.0;
  if (!bv.ftran(w, err)) return false;
  basicRatioTest(bv, w, down, up);
  return true;
}

bool boundRanges(const BasisView &bv, int var, double lbRange[2], double ubRange[2],
                 std::string &err) {
  const double lo = bv.lower(var), hi = bv.upper(var), x = bv.value(var);
  auto at = [](double base, double delta) {
    return delta >= kInf ? kInf : delta <= -kInf ? -kInf : base + delta;
  };
  const int s = bv.position(var) >= 0 ? 2 : bv.side(var);
  if (s == 2) {
    // Basic or between its bounds: each bound may move up to the value and away from it.
    lbRange[0] = -kInf;
    lbRange[1] = x;
    ubRange[0] = x;
    ubRange[1] = kInf;
    return true;
  }
  // The variable sits on a bound and moves with it: basics move by -delta * B^-1 a.
  std::vector<double> w;
  bv.column(var, w);
  if (!bv.ftran(w, err)) return false;
  for (double &e : w) e = -e;
  double down, up;
  basicRatioTest(bv, w, down, up);
  if (s == 1) {
    lbRange[0] = at(lo, down);
    lbRange[1] = std::min(at(lo, up), hi);
    ubRange[0] = x;  // down to the value it sits at
    ubRange[1] = kInf;
  } else if (s == -1) {
    ubRange[0] = std::max(at(hi, down), lo);
    ubRange[1] = at(hi, up);
    lbRange[0] = -kInf;
    lbRange[1] = x;
  } else {
    // Fixed: neither bound can pass the other. Opening the pair, the value stays on the bound
    // its reduced cost favours (dragged along by it) or on the other one (free to go).
    const double sd = bv.sense() * bv.dj(var);
    lbRange[0] = sd > 0 ? at(lo, down) : -kInf;
    lbRange[1] = lo;
    ubRange[0] = hi;
    ubRange[1] = sd < 0 ? at(hi, up) : kInf;
  }
  return true;
}

}  // namespace nvrl

namespace {

// Shared entry steps: a problem whose basis is usable, loaded into `bv`.
nvrl_problem_s *withBasis(NVRLprob prob, const char *fn, bool needOptimal, BasisView &bv) {
  nvrl_problem_s *p = checkProblem(prob, fn);
  if (!p) return nullptr;
  const nvrl::LoweredModel *L = nullptr;
  void *h = nvrl::basisOfProblem(p, needOptimal, &L);
  if (!h) return nullptr;
  std::string err;
  if (!bv.load(h, *L, err)) {
    p->fail("%s", err.c_str());
    return nullptr;
  }
  return p;
}

bool indicesValid(nvrl_problem_s *p, int n, const int idx[], int limit, const char *what) {
  if (n < 0) return p->fail("The number of %ss must not be negative", what) == 0;
  if (n > 0 && !idx) return p->fail("The %s indices must not be null", what) == 0;
  for (int k = 0; k < n; ++k)
    if (idx[k] < 0 || idx[k] >= limit)
      return p->fail("%c%s index %d is out of range", what[0] - 32, what + 1, idx[k]) == 0;
  return true;
}

double shifted(double base, double delta) {
  if (delta >= kInf) return kInf;
  if (delta <= -kInf) return -kInf;
  return base + delta;
}

}  // namespace

extern "C" {

NVRL_API int NVRLobjsa(NVRLprob prob, int ncols, const int colind[], double lower[],
                       double upper[]) NVRL_TRY {
  BasisView bv;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!indicesValid(p, ncols, colind, p->model.cols(), "column")) return 1;
  if (!withBasis(prob, __func__, true, bv)) return 1;
  std::vector<double> lo(ncols), up(ncols);
  std::string err;
  for (int k = 0; k < ncols; ++k) {
    double d, u;
    if (!nvrl::costRange(bv, bv.rows() + colind[k], d, u, err)) return p->fail("%s", err.c_str());
    lo[k] = shifted(p->model.obj[colind[k]], d);
    up[k] = shifted(p->model.obj[colind[k]], u);
  }
  if (lower) std::copy(lo.begin(), lo.end(), lower);
  if (upper) std::copy(up.begin(), up.end(), upper);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLrhssa(NVRLprob prob, int nrows, const int rowind[], double lower[],
                       double upper[]) NVRL_TRY {
  BasisView bv;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!indicesValid(p, nrows, rowind, p->model.rows(), "row")) return 1;
  if (!withBasis(prob, __func__, true, bv)) return 1;
  std::vector<double> lo(nrows), up(nrows);
  std::string err;
  for (int k = 0; k < nrows; ++k) {
    double d, u;
    if (!nvrl::rhsRange(bv, rowind[k], d, u, err)) return p->fail("%s", err.c_str());
    lo[k] = shifted(p->model.rhs[rowind[k]], d);
    up[k] = shifted(p->model.rhs[rowind[k]], u);
  }
  if (lower) std::copy(lo.begin(), lo.end(), lower);
  if (upper) std::copy(up.begin(), up.end(), upper);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLbndsa(NVRLprob prob, int ncols, const int colind[], double lblower[],
                       double lbupper[], double ublower[], double ubupper[]) NVRL_TRY {
  BasisView bv;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!indicesValid(p, ncols, colind, p->model.cols(), "column")) return 1;
  if (!withBasis(prob, __func__, true, bv)) return 1;
  std::vector<double> out[4];
  for (auto &o : out) o.resize(ncols);
  std::string err;
  for (int k = 0; k < ncols; ++k) {
    const int j = colind[k];
    double lb[2], ub[2];
    if (!nvrl::boundRanges(bv, bv.rows() + j, lb, ub, err)) return p->fail("%s", err.c_str());
    out[0][k] = lb[0];
    out[1][k] = lb[1];
    out[2][k] = ub[0];
    out[3][k] = ub[1];
  }
  double *dst[4] = {lblower, lbupper, ublower, ubupper};
  for (int i = 0; i < 4; ++i)
    if (dst[i]) std::copy(out[i].begin(), out[i].end(), dst[i]);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLftran(NVRLprob prob, double vec[]) NVRL_TRY {
  BasisView bv;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!vec) return p->fail("NVRLftran: vec must not be null");
  if (!withBasis(prob, __func__, false, bv)) return 1;
  std::vector<double> v(vec, vec + bv.rows());
  std::string err;
  if (!bv.ftran(v, err)) return p->fail("%s", err.c_str());
  std::copy(v.begin(), v.end(), vec);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLbtran(NVRLprob prob, double vec[]) NVRL_TRY {
  BasisView bv;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!vec) return p->fail("NVRLbtran: vec must not be null");
  if (!withBasis(prob, __func__, false, bv)) return 1;
  std::vector<double> v(vec, vec + bv.rows());
  std::string err;
  if (!bv.btran(v, err)) return p->fail("%s", err.c_str());
  std::copy(v.begin(), v.end(), vec);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetpivots(NVRLprob prob, int in, int outlist[], double x[], double *dobj,
                           int *npiv, int maxpiv) NVRL_TRY {
  BasisView bv;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const int nv = p->model.rows() + p->model.cols();
  if (in < 0 || in >= nv) return p->fail("Variable index %d is out of range", in);
  if (maxpiv < 0) return p->fail("The maximum number of pivots must not be negative");
  if (!withBasis(prob, __func__, false, bv)) return 1;
  if (bv.position(in) >= 0) return p->fail("Variable %d is basic and cannot enter the basis", in);
  int dir = bv.side(in);
  if (dir == 0) return p->fail("Variable %d is fixed and cannot enter the basis", in);
  if (dir == 2) dir = bv.sense() * bv.dj(in) > 0 ? -1 : 1;  // the improving direction

  std::vector<double> w;
  bv.column(in, w);
  std::string err;
  if (!bv.ftran(w, err)) return p->fail("%s", err.c_str());
  // The entering variable moves by dir*theta, the basics by -dir*theta*w.
  struct Cand {
    int var;
    double ratio;
  };
  std::vector<Cand> cands;
  const auto &piv = bv.pivots();
  for (size_t k = 0; k < piv.size(); ++k) {
    const double d = -dir * w[k];
    if (std::fabs(d) <= kPivotTol) continue;
    const int var = piv[k];
    const double lo = bv.lower(var), hi = bv.upper(var);
    const double v = std::min(std::max(bv.value(var), lo), hi);
    const double bound = d > 0 ? hi : lo;
    if (bound >= kInf || bound <= -kInf) continue;
    cands.push_back({var, std::max((bound - v) / d, 0.0)});
  }
  if (bv.lower(in) > -kInf && bv.upper(in) < kInf)
    cands.push_back({in, bv.upper(in) - bv.lower(in)});  // a bound flip
  std::stable_sort(cands.begin(), cands.end(),
                   [](const Cand &a, const Cand &b) { return a.ratio < b.ratio; });
  const int n = std::min<int>(static_cast<int>(cands.size()), maxpiv);
  if (n > 0 && (!outlist || !x))
    return p->fail("NVRLgetpivots: outlist and x must not be null");
  for (int k = 0; k < n; ++k) {
    outlist[k] = cands[k].var;
    x[k] = cands[k].ratio;
  }
  if (npiv) *npiv = n;
  if (dobj) {
    const double slope = dir * bv.dj(in);
    if (!cands.empty()) *dobj = bv.objective() + cands[0].ratio * slope;
    else *dobj = slope == 0 ? bv.objective() : (slope > 0 ? kInf : -kInf);
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLbasisstability(NVRLprob prob, int type, int norm, int scaled,
                                double *value) NVRL_TRY {
  BasisView bv;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!value) return p->fail("NVRLbasisstability: value must not be null");
  if (type < 0 || type > 2)
    return p->fail("Invalid stability type %d: 0 condition number, 1 norm of the inverse, "
                   "2 norm of the basis", type);
  if (norm != 0 && norm != 1)
    return p->fail("Invalid norm %d: 0 for the infinity norm, 1 for the one-norm", norm);
  if (!withBasis(prob, __func__, false, bv)) return 1;
  const int m = bv.rows();
  if (m == 0) {
    *value = type == 2 ? 0.0 : 1.0;
    return 0;
  }
  // Scaling divides each basis column by its largest entry (so B becomes B*C and its inverse
  // C^-1 * B^-1, whose row k is scaled by that column's largest entry).
  const auto &piv = bv.pivots();
  std::vector<double> colScale(m, 1.0);
  if (scaled)
    for (int k = 0; k < m; ++k) {
      const double s = bv.columnMaxAbs(piv[k]);
      colScale[k] = s > 0 ? s : 1.0;
    }
  // Norm of B: one-norm = largest column sum, infinity norm = largest row sum.
  double normB = 0.0;
  if (norm == 1) {
    for (int k = 0; k < m; ++k) normB = std::max(normB, bv.columnSumAbs(piv[k]) / colScale[k]);
  } else {
    std::vector<double> rowSum(m, 0.0), col;
    for (int k = 0; k < m; ++k) {
      bv.column(piv[k], col);
      for (int i = 0; i < m; ++i) rowSum[i] += std::fabs(col[i]) / colScale[k];
    }
    normB = *std::max_element(rowSum.begin(), rowSum.end());
  }
  // Norm of the inverse from its columns B^-1 e_i.
  double normInv = 0.0;
  std::vector<double> rowSum(m, 0.0), e(m);
  std::string err;
  for (int i = 0; i < m && type != 2; ++i) {
    std::fill(e.begin(), e.end(), 0.0);
    e[i] = 1.0;
    if (!bv.ftran(e, err)) return p->fail("%s", err.c_str());
    double colSum = 0.0;
    for (int k = 0; k < m; ++k) {
      const double a = std::fabs(e[k]) * colScale[k];
      colSum += a;
      rowSum[k] += a;
    }
    normInv = std::max(normInv, colSum);
  }
  if (norm == 0 && type != 2) normInv = *std::max_element(rowSum.begin(), rowSum.end());
  *value = type == 0 ? normB * normInv : type == 1 ? normInv : normB;
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

// Analyses that re-solve from the optimal basis on a scratch copy of the LP, so that the
// problem's own HiGHS instance, basis and answers stay as the last solve left them: strong
// branching and the estimate of the range of a row's dual value.
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "analysis/basis_solves.h"
#include "analysis/sensitivity_ranging.h"
#include "core/entry.h"
#include "core/problem.h"
#include "interfaces/highs_c_api.h"
#include "solve/highs_session.h"

using nvrl::checkProblem;
using nvrl::kInf;

namespace {

constexpr double kHighsInfinity = std::numeric_limits<double>::infinity();

// A copy of the LP in a new HiGHS instance, started from the basis of the problem's instance
// and set for short warm-started dual simplex runs.
struct Scratch {
  nvrl::HighsInstance inst;
  nvrl::LoweredModel L;
  std::vector<HighsInt> colBasis, rowBasis;

  bool open(void *source, const nvrl::LoweredModel &model, int iterlim, std::string &err) {
    L = model;
    inst.reset(nvrl::createHighs());
    void *h = inst.get();
    Highs_setBoolOptionValue(h, "output_flag", false);
    Highs_setStringOptionValue(h, "presolve", "off");
    Highs_setStringOptionValue(h, "solver", "simplex");
    Highs_setIntOptionValue(h, "simplex_strategy", 1);  // dual: the basis stays dual feasible
    Highs_setIntOptionValue(h, "threads", 1);
    if (iterlim >= 0) Highs_setIntOptionValue(h, "simplex_iteration_limit", iterlim);
    if (Highs_passLp(h, L.cols(), L.rows(), static_cast<HighsInt>(L.nnz()),
                     kHighsMatrixFormatRowwise,
                     L.sense > 0 ? kHighsObjSenseMinimize : kHighsObjSenseMaximize, L.offset,
                     L.cost.data(), L.col_lo.data(), L.col_up.data(), L.row_lo.data(),
                     L.row_up.data(), L.a_start.data(), L.a_index.data(),
                     L.a_value.data()) == kHighsStatusError) {
      err = "HiGHS rejected a copy of the problem";
      return false;
    }
    colBasis.resize(L.cols());
    rowBasis.resize(L.rows());
    if (Highs_getBasis(source, colBasis.data(), rowBasis.data()) == kHighsStatusError) {
      err = "No basis is available: solve the problem as an LP first";
      return false;
    }
    return restart(err);
  }

  bool restart(std::string &err) {
    if (Highs_setBasis(inst.get(), colBasis.data(), rowBasis.data()) == kHighsStatusError) {
      err = "HiGHS did not accept the basis of the last solve";
      return false;
    }
    return true;
  }

  int run() {
    Highs_run(inst.get());
    return Highs_getModelStatus(inst.get());
  }
};

int lpStatusOf(int ms) {
  switch (ms) {
    case kHighsModelStatusOptimal: return NVRL_LP_OPTIMAL;
    case kHighsModelStatusInfeasible: return NVRL_LP_INFEAS;
    case kHighsModelStatusUnbounded:
    case kHighsModelStatusUnboundedOrInfeasible: return NVRL_LP_UNBOUNDED;
    case kHighsModelStatusIterationLimit:
    case kHighsModelStatusTimeLimit: return NVRL_LP_UNFINISHED;
    case kHighsModelStatusObjectiveBound:
    case kHighsModelStatusObjectiveTarget: return NVRL_LP_CUTOFF;
    default: return NVRL_LP_UNSOLVED;
  }
}

double toHighs(double v) {
  if (v >= kInf) return kHighsInfinity;
  if (v <= -kInf) return -kHighsInfinity;
  return v;
}

// Moves row i's finite activity bounds by delta in the scratch copy.
void shiftRow(Scratch &s, int i, double delta) {
  double &lo = s.L.row_lo[i], &up = s.L.row_up[i];
  if (lo > -kHighsInfinity) lo += delta;
  if (up < kHighsInfinity) up += delta;
  Highs_changeRowBounds(s.inst.get(), i, lo, up);
}

}  // namespace

extern "C" {

NVRL_API int NVRLstrongbranch(NVRLprob prob, int nbnds, const int colind[], const char bndtype[],
                              const double bndval[], int iterlim, double objval[],
                              int status[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (nbnds < 0) return p->fail("The number of bounds must not be negative");
  if (nbnds > 0 && (!colind || !bndtype || !bndval))
    return p->fail("NVRLstrongbranch: colind, bndtype and bndval must not be null");
  for (int k = 0; k < nbnds; ++k) {
    if (colind[k] < 0 || colind[k] >= p->model.cols())
      return p->fail("Column index %d is out of range", colind[k]);
    if (bndtype[k] != 'L' && bndtype[k] != 'U' && bndtype[k] != 'B')
      return p->fail("Invalid bound type '%c': use 'L', 'U' or 'B'", bndtype[k]);
  }
  if (iterlim < 0) return p->fail("The iteration limit must not be negative");
  const nvrl::LoweredModel *L = nullptr;
  void *h = nvrl::basisOfProblem(p, true, &L);
  if (!h) return 1;
  Scratch s;
  std::string err;
  if (!s.open(h, *L, iterlim, err)) return p->fail("%s", err.c_str());
  std::vector<double> obj(nbnds), colLo = s.L.col_lo, colUp = s.L.col_up;
  std::vector<int> st(nbnds);
  for (int k = 0; k < nbnds; ++k) {
    const int j = colind[k];
    double lo = colLo[j], up = colUp[j];
    const double v = toHighs(bndval[k]);
    if (bndtype[k] != 'U') lo = v;
    if (bndtype[k] != 'L') up = v;
    if (lo > up) {
      st[k] = NVRL_LP_INFEAS;
      obj[k] = p->model.objsense * kInf;
      continue;
    }
    Highs_changeColBounds(s.inst.get(), j, lo, up);
    if (!s.restart(err)) return p->fail("%s", err.c_str());
    st[k] = lpStatusOf(s.run());
    // A stopped dual simplex's objective bounds the branch's optimum: that is what ranks it.
    obj[k] = st[k] == NVRL_LP_INFEAS ? p->model.objsense * kInf
                                     : Highs_getObjectiveValue(s.inst.get());
    Highs_changeColBounds(s.inst.get(), j, colLo[j], colUp[j]);
  }
  if (objval) std::copy(obj.begin(), obj.end(), objval);
  if (status) std::copy(st.begin(), st.end(), status);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLestimaterowdualranges(NVRLprob prob, int nrows, const int rowind[], int iterlim,
                                       double mindual[], double maxdual[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (nrows < 0) return p->fail("The number of rows must not be negative");
  if (nrows > 0 && !rowind) return p->fail("NVRLestimaterowdualranges: rowind must not be null");
  for (int k = 0; k < nrows; ++k)
    if (rowind[k] < 0 || rowind[k] >= p->model.rows())
      return p->fail("Row index %d is out of range", rowind[k]);
  if (iterlim < 0) return p->fail("The iteration limit must not be negative");
  const nvrl::LoweredModel *L = nullptr;
  void *h = nvrl::basisOfProblem(p, true, &L);
  if (!h) return 1;
  std::string err;
  std::vector<double> lo(nrows), hi(nrows);
  std::vector<double> colv(L->cols()), cold(L->cols()), rowv(L->rows()), rowd(L->rows());
  for (int k = 0; k < nrows; ++k) {
    const int i = rowind[k];
    lo[k] = hi[k] = p->sol.duals[i];
    // Follow the rhs past each end of its range, one basis change after another: each new
    // optimal basis gives the dual on the next piece of the piecewise-constant dual function.
    for (int dir = -1; dir <= 1; dir += 2) {
      Scratch s;
      if (!s.open(h, *L, -1, err)) return p->fail("%s", err.c_str());
      double moved = 0.0;
      for (int step = 0; step < iterlim; ++step) {
        if (s.run() != kHighsModelStatusOptimal) break;
        nvrl::BasisView bv;
        if (!bv.load(s.inst.get(), s.L, err)) return p->fail("%s", err.c_str());
        double down, up;
        if (!nvrl::rhsRange(bv, i, down, up, err)) return p->fail("%s", err.c_str());
        const double edge = dir > 0 ? up : down;
        if (std::fabs(edge) >= kInf) break;
        // Just past the edge, by a step relative to the rhs (a zero-width range still moves).
        const double base = std::fabs(p->model.rhs[i] + moved + edge);
        const double delta = edge + dir * 1e-6 * std::max(1.0, base);
        shiftRow(s, i, delta);
        moved += delta;
        if (s.run() != kHighsModelStatusOptimal) break;
        Highs_getSolution(s.inst.get(), colv.data(), cold.data(), rowv.data(), rowd.data());
        lo[k] = std::min(lo[k], rowd[i]);
        hi[k] = std::max(hi[k], rowd[i]);
      }
    }
  }
  if (mindual) std::copy(lo.begin(), lo.end(), mindual);
  if (maxdual) std::copy(hi.begin(), hi.end(), maxdual);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

// The first-order optimality check NSLPvalidatekkt. In minimisation form, at a point x with row
// multipliers y and bound multipliers z, the conditions are
//   stationarity     grad f(x) - J(x)'y - z = 0,
//   feasibility      every row and bound holds,
//   complementarity  a multiplier is non-zero only on the bound it pushes against: y_i > 0
//                    at the row's lower bound, y_i < 0 at its upper (the sign convention of
//                    the solver's duals), likewise z_j.
// The multipliers are the last solve's or, when its active set is not kept, the best fit
// (smallest largest stationarity residual, an LP) over the rows and bounds active at x.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/text.h"
#include "interfaces/highs_c_api.h"
#include "lp_data/name_index.h"
#include "nslp/slp_loop.h"
#include "nslp/slp_model.h"
#include "nslp/slp_row_terms.h"
#include "nslp/slp_validate.h"
#include "solve/highs_session.h"

namespace nvrl {

namespace {

double ctl(const nslp_problem_s *s, int id) {
  const ParamInfo *info = findParam(id);
  return info ? dblValue(s->controls, *info) : 0.0;
}

// Which bounds of an item with value a are active: within tol times its size (at least 1),
// or violated.
struct Active {
  bool lo = false, up = false;
};
Active activeSides(double a, double lo, double up, double size, double tol) {
  const double t = tol * std::max(1.0, size);
  return {std::isfinite(lo) && a - lo <= t, std::isfinite(up) && up - a <= t};
}

// Complementarity of multiplier u of an item with value a: its size times the distance to
// the bound it pushes against (u > 0: the lower). A multiplier pushing against an infinite
// bound has the wrong sign; it counts as a whole size (at least 1) away.
double complementarity(double u, double a, double lo, double up, double size) {
  if (u == 0.0) return 0.0;
  const double b = u > 0 ? lo : up;
  const double dist = std::isfinite(b) ? std::fabs(a - b) : std::max(1.0, size);
  return std::fabs(u) * dist;
}

// The multipliers of the active rows that make the largest stationarity residual (weighted by
// w) smallest, bound multipliers of the active columns included, each with the sign its
// bound allows. False, with err set, when HiGHS cannot solve the fit.
bool fitMultipliers(int n, const std::vector<double> &g, const std::vector<double> &w,
                    const std::vector<std::vector<std::pair<int, double>>> &J,
                    const std::vector<Active> &rowActive, const std::vector<Active> &colActive,
                    std::vector<double> &y, std::string &err) {
  const int nr = static_cast<int>(J.size());
  // Variables: y of the active rows, z of the active columns, then t.
  std::vector<double> lo, up;
  std::vector<int> yvar(nr, -1), zvar(n, -1);
  auto addVar = [&](const Active &a) {
    lo.push_back(a.lo ? (a.up ? -INFINITY : 0.0) : -INFINITY);
    up.push_back(a.up ? (a.lo ? INFINITY : 0.0) : INFINITY);
    return static_cast<int>(lo.size()) - 1;
  };
  for (int i = 0; i < nr; ++i)
    if (rowActive[i].lo || rowActive[i].up) yvar[i] = addVar(rowActive[i]);
  for (int j = 0; j < n; ++j)
    if (colActive[j].lo || colActive[j].up) zvar[j] = addVar(colActive[j]);
  const int t = static_cast<int>(lo.size());
  lo.push_back(0.0);
  up.push_back(INFINITY);
  const int nv = t + 1;

  // Per column j: g_j - w_j t <= sum_i J_ij y_i + z_j <= g_j + w_j t, as two rows.
  std::vector<std::vector<std::pair<int, double>>> byCol(n);
  for (int i = 0; i < nr; ++i)
    if (yvar[i] >= 0)
      for (const auto &[j, v] : J[i]) byCol[j].push_back({yvar[i], v});
  std::vector<double> rlo, rup, val;
  std::vector<HighsInt> start{0}, idx;
  for (int j = 0; j < n; ++j) {
    for (int side = 0; side < 2; ++side) {
      for (const auto &[var, v] : byCol[j]) {
        idx.push_back(var);
        val.push_back(v);
      }
      if (zvar[j] >= 0) {
        idx.push_back(zvar[j]);
        val.push_back(1.0);
      }
      idx.push_back(t);
      val.push_back(side == 0 ? w[j] : -w[j]);
      rlo.push_back(side == 0 ? g[j] : -INFINITY);
      rup.push_back(side == 0 ? INFINITY : g[j]);
      start.push_back(static_cast<HighsInt>(idx.size()));
    }
  }
  std::vector<double> cost(nv, 0.0);
  cost[t] = 1.0;
  HighsInstance h(createHighs());
  Highs_setBoolOptionValue(h.get(), "output_flag", false);
  const HighsInt rows = static_cast<HighsInt>(rlo.size());
  if (Highs_passModel(h.get(), nv, rows, static_cast<HighsInt>(idx.size()), 0,
                      kHighsMatrixFormatRowwise, kHighsHessianFormatTriangular,
                      kHighsObjSenseMinimize, 0.0, cost.data(), lo.data(), up.data(), rlo.data(),
                      rup.data(), start.data(), idx.data(), val.data(), nullptr, nullptr,
                      nullptr, nullptr) == kHighsStatusError) {
    err = "HiGHS refused the multiplier fit";
    return false;
  }
  Highs_run(h.get());
  if (Highs_getModelStatus(h.get()) != kHighsModelStatusOptimal) {
    err = format("the multiplier fit ended with HiGHS model status %d",
                 static_cast<int>(Highs_getModelStatus(h.get())));
    return false;
  }
  std::vector<double> cv(nv), cd(nv), rv(rows), rd(rows);
  Highs_getSolution(h.get(), cv.data(), cd.data(), rv.data(), rd.data());
  y.assign(nr, 0.0);
  for (int i = 0; i < nr; ++i)
    if (yvar[i] >= 0) y[i] = cv[yvar[i]];
  return true;
}

}  // namespace

}  // namespace nvrl

using namespace nvrl;

extern "C" {

NVRL_API int NSLPvalidatekkt(NSLPprob slp, int mode, int respectbasis, int updatemult,
                             double violtarget) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (mode != NSLP_KKT_ABSOLUTE && mode != NSLP_KKT_RELATIVE)
    return s->fail("%s: mode %d is neither NSLP_KKT_ABSOLUTE (%d) nor NSLP_KKT_RELATIVE (%d)",
                   __func__, mode, NSLP_KKT_ABSOLUTE, NSLP_KKT_RELATIVE);
  if (!(violtarget >= 0.0) || !std::isfinite(violtarget))
    return s->fail("%s: the target must be a finite number >= 0 (got %g)", __func__,
                   violtarget);
  const Model &m = s->prob->model;
  const int n = m.cols(), nr = m.rows();
  const SlpState &state = s->state;
  if (respectbasis && static_cast<int>(state.duals.size()) != nr)
    return s->fail("%s: there are no multipliers of a solve to keep (solve first, or pass "
                   "respectbasis 0 to estimate them at the point)", __func__);
  const int sense = slpSense(s);
  std::unique_ptr<SlpModel> model;
  std::unique_ptr<RowTerms> rt;
  try {
    model = std::make_unique<SlpModel>(m, s->data, sense);
    rt = std::make_unique<RowTerms>(s);
  } catch (const FormulaError &e) {
    return s->fail("%s: a nonlinear coefficient cannot be used: %s", __func__, e.what());
  }
  const SlpModel &M = *model;
  const std::vector<double> x = currentPoint(s);
  const bool relative = mode == NSLP_KKT_RELATIVE;
  const double tolact = ctl(s, NSLP_CTRL_VALIDATION_ACTIVE_TOLERANCE);

  // Everything at x: objective gradient (minimisation form), rows' activities, sizes and
  // gradients.
  FormulaWorkspace ws;
  std::string err;
  std::vector<double> g(n);
  M.objectiveGradient(x.data(), g.data());
  double fv = 0.0;
  if (!M.objectiveFormulas(x.data(), fv, g.data(), ws, err))
    return s->fail("%s: cannot differentiate at the current point: %s", __func__, err.c_str());
  std::vector<double> act(nr), size(nr), rlo(nr), rup(nr);
  std::vector<std::vector<std::pair<int, double>>> J(nr);
  std::vector<double> rg;
  for (int i = 0; i < nr; ++i) {
    if (!rt->measure(i, x.data(), act[i], size[i], ws, err))
      return s->fail("%s: cannot evaluate at the current point: %s", __func__, err.c_str());
    rowBounds(m, i, rlo[i], rup[i]);
    const int k = M.nonlinearIndex(i);
    if (k < 0) {
      const RowMatrix &mA = m.A.rows();
      for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e)
        J[i].push_back({mA.col[e], mA.val[e]});
      continue;
    }
    double v;
    if (!M.rowGradient(k, x.data(), v, rg, ws, err))
      return s->fail("%s: cannot differentiate at the current point: %s", __func__,
                     err.c_str());
    const std::vector<int> &cols = M.nonlinearRows()[k].cols;
    for (size_t q = 0; q < cols.size(); ++q) J[i].push_back({cols[q], rg[q]});
  }
  std::vector<double> clo(n), cup(n), csize(n);
  for (int j = 0; j < n; ++j) {
    clo[j] = isInfLo(m.lb[j]) ? -INFINITY : m.lb[j];
    cup[j] = isInfUp(m.ub[j]) ? INFINITY : m.ub[j];
    csize[j] = std::fabs(x[j]);
    if (std::isfinite(clo[j])) csize[j] = std::max(csize[j], std::fabs(clo[j]));
    if (std::isfinite(cup[j])) csize[j] = std::max(csize[j], std::fabs(cup[j]));
  }

  // The columns' active bounds are read at the point whichever multipliers are used: a
  // bound multiplier is what the reduced cost leaves, so only where it sits matters.
  std::vector<Active> colActive(n);
  for (int j = 0; j < n; ++j) colActive[j] = activeSides(x[j], clo[j], cup[j], csize[j], tolact);

  std::vector<double> y(nr, 0.0);
  if (respectbasis) {
    for (int i = 0; i < nr; ++i) y[i] = sense * state.duals[i];
  } else {
    std::vector<Active> rowActive(nr);
    for (int i = 0; i < nr; ++i)
      rowActive[i] = activeSides(act[i], rlo[i], rup[i], size[i], tolact);
    std::vector<double> w(n, 1.0);
    if (relative)
      for (int j = 0; j < n; ++j) w[j] = std::max(1.0, std::fabs(g[j]));
    if (!fitMultipliers(n, g, w, J, rowActive, colActive, y, err))
      return s->fail("%s: %s", __func__, err.c_str());
  }

  // d = grad f - J'y; the largest term of each entry scales it in relative mode.
  std::vector<double> d = g, termMax(n);
  for (int j = 0; j < n; ++j) termMax[j] = std::fabs(g[j]);
  for (int i = 0; i < nr; ++i) {
    if (y[i] == 0.0) continue;
    for (const auto &[j, v] : J[i]) {
      d[j] -= y[i] * v;
      termMax[j] = std::max(termMax[j], std::fabs(y[i] * v));
    }
  }
  double stat = 0.0, compl_ = 0.0, feas = 0.0;
  int statAt = -1, complAt = -1, feasAt = -1, complKind = kNameRows, feasKind = kNameRows;
  auto scaled = [&](double v, double scale) { return relative ? v / std::max(1.0, scale) : v; };
  for (int j = 0; j < n; ++j) {
    // The bound multiplier takes what its active bounds allow of d_j; the rest is residual.
    double z = 0.0;
    const Active &a = colActive[j];
    if (a.lo && a.up)
      z = d[j];
    else if (a.lo)
      z = std::max(d[j], 0.0);
    else if (a.up)
      z = std::min(d[j], 0.0);
    termMax[j] = std::max(termMax[j], std::fabs(z));
    const double r = scaled(std::fabs(d[j] - z), termMax[j]);
    if (r > stat) stat = r, statAt = j;
    const double c = scaled(complementarity(z, x[j], clo[j], cup[j], csize[j]),
                            std::fabs(z) * std::max(1.0, csize[j]));
    if (c > compl_) compl_ = c, complAt = j, complKind = kNameCols;
    const double f = scaled(outside(x[j], clo[j], cup[j]), csize[j]);
    if (f > feas) feas = f, feasAt = j, feasKind = kNameCols;
  }
  for (int i = 0; i < nr; ++i) {
    const double c = scaled(complementarity(y[i], act[i], rlo[i], rup[i], size[i]),
                            std::fabs(y[i]) * std::max(1.0, size[i]));
    if (c > compl_) compl_ = c, complAt = i, complKind = kNameRows;
    const double f = scaled(outside(act[i], rlo[i], rup[i]), size[i]);
    if (f > feas) feas = f, feasAt = i, feasKind = kNameRows;
  }
  const bool valid = stat <= violtarget && compl_ <= violtarget && feas <= violtarget;

  SlpValidation &r = s->validation;
  r.kkt_stationarity = stat;
  r.kkt_complementarity = compl_;
  r.kkt_feasibility = feas;
  r.kkt_valid = valid ? 1 : 0;
  if (updatemult && !respectbasis) {
    // Stored in the user's sense, as the solve stores its multipliers.
    std::vector<double> duals(nr), djs(n);
    for (int i = 0; i < nr; ++i) duals[i] = sense * y[i];
    for (int j = 0; j < n; ++j) djs[j] = sense * d[j];
    s->state.duals.swap(duals);
    s->state.djs.swap(djs);
  }
  auto where = [&](int kind, int k) {
    return k < 0 ? std::string()
                 : format(" (%s %s)", kind == kNameRows ? "row" : "column",
                          itemName(m, kind, k).c_str());
  };
  s->log(NVRL_MSG_INFO,
         "Optimality check (%s, %s): stationarity %.3e%s, complementarity %.3e%s, "
         "feasibility %.3e%s: %s the target %.1e",
         relative ? "relative" : "absolute",
         respectbasis ? "multipliers of the last solve" : "multipliers fitted at the point",
         stat, where(kNameCols, statAt).c_str(), compl_, where(complKind, complAt).c_str(), feas,
         where(feasKind, feasAt).c_str(), valid ? "within" : "beyond", violtarget);
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

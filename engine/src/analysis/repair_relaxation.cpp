// NVRLrepairinfeas, NVRLrepairweightedinfeas and NVRLrepairweightedinfeasbounds: the weighted
// elastic relaxation of an infeasible problem.
//
// The relaxation is a problem of its own, solved by the ordinary optimiser: a copy of the
// model whose objective is replaced by the penalty, with one violation column per relaxable
// row side and bound. HiGHS's own feasibility relaxation is not used: it takes one penalty per
// row (not one per side), no limits on the violations and no other penalty than the weighted
// sum. When the relaxed problem is solved, the problem's rhs and bounds move by the violations
// found, and the point found becomes the problem's solution.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/entry.h"
#include "core/ids.h"
#include "core/problem.h"

namespace nvrl {

namespace {

// What may be relaxed and at what cost: weight 0 means "may not be relaxed"; limit is the
// largest violation allowed (kInf: none).
struct Side {
  double weight = 0.0;
  double limit = kInf;
};

struct RepairInput {
  std::vector<Side> le, ge;   // per row: the <= side (activity above rhs), the >= side
  std::vector<Side> lb, ub;   // per column
  char penalty = 's';         // 's' sum, 'q' sum of squares, 'c' count
  char phase2 = 'n';          // 'n' none, 'o' original objective within (1+delta), 'f' fixed
  double delta = 0.0;
  bool keep = false;          // flag 'k': leave the problem's rhs and bounds as they are
  bool report = false;        // flag 'r': log each relaxation
};

// One violation column of the relaxed problem: which row side or bound it relaxes.
struct Violation {
  enum Kind { Le, Ge, Lb, Ub } kind;
  int index;   // row (Le, Ge) or column (Lb, Ub)
  int col;     // the violation column in the relaxed problem
  int flag;    // the count penalty's binary column, or -1
  double weight;
};

bool relaxableColumn(char t) { return t == 'C' || t == 'I' || t == 'P'; }

// The relaxed problem with the penalty as objective (minimised). Rows keep their indices;
// bound relaxations add one row each after them.
void buildRelaxation(const Model &m, const RepairInput &in, double bigM, Model &r,
                     std::vector<Violation> &vio) {
  r = m;
  const int n = m.cols();
  r.objsense = 1;
  r.objconst = 0.0;
  std::fill(r.obj.begin(), r.obj.end(), 0.0);
  r.qobj.clear();

  auto addCol = [&](double lb, double ub, char type) {
    r.obj.push_back(0.0);
    r.lb.push_back(lb);
    r.ub.push_back(ub);
    r.coltype.push_back(type);
    r.limit.push_back(0.0);
    r.colnames.emplace_back();
    return r.cols() - 1;
  };
  auto addViolation = [&](Violation::Kind kind, int index, const Side &s) {
    const int c = addCol(0.0, s.limit, 'C');
    vio.push_back({kind, index, c, -1, s.weight});
    return c;
  };

  // Row sides: activity - v + u keeps the row's type and rhs.
  std::vector<std::vector<std::pair<int, double>>> extra(m.rows());
  for (int i = 0; i < m.rows(); ++i) {
    const char t = m.rowtype[i];
    const bool hasLe = t == 'L' || t == 'E' || t == 'R';
    const bool hasGe = t == 'G' || t == 'E' || t == 'R';
    if (hasLe && in.le[i].weight > 0) extra[i].push_back({addViolation(Violation::Le, i, in.le[i]), -1.0});
    if (hasGe && in.ge[i].weight > 0) extra[i].push_back({addViolation(Violation::Ge, i, in.ge[i]), 1.0});
  }
  RowMatrix A;
  A.start.reserve(m.rows() + 1);
  const RowMatrix &mA = m.A.rows();
  for (int i = 0; i < m.rows(); ++i) {
    for (int64_t k = mA.start[i]; k < mA.start[i + 1]; ++k) {
      A.col.push_back(mA.col[k]);
      A.val.push_back(mA.val[k]);
    }
    for (auto [c, v] : extra[i]) {
      A.col.push_back(c);
      A.val.push_back(v);
    }
    A.start.push_back(static_cast<int64_t>(A.col.size()));
  }

  // Bounds: x + v >= lb and x - v <= ub as rows, the column's own bound widened by the limit.
  auto addRow = [&](char type, double rhs, int x, int v, double vcoef) {
    r.rowtype.push_back(type);
    r.rhs.push_back(rhs);
    r.range.push_back(0.0);
    r.indcol.push_back(-1);
    r.indcomp.push_back(0);
    r.rownames.emplace_back();
    A.col.push_back(x);
    A.val.push_back(1.0);
    A.col.push_back(v);
    A.val.push_back(vcoef);
    A.start.push_back(static_cast<int64_t>(A.col.size()));
  };
  for (int j = 0; j < n; ++j) {
    if (!relaxableColumn(m.coltype[j])) continue;
    if (!isInfLo(m.lb[j]) && in.lb[j].weight > 0) {
      const int v = addViolation(Violation::Lb, j, in.lb[j]);
      r.lb[j] = isInfUp(in.lb[j].limit) ? -kInf : m.lb[j] - in.lb[j].limit;
      addRow('G', m.lb[j], j, v, 1.0);
    }
    if (!isInfUp(m.ub[j]) && in.ub[j].weight > 0) {
      const int v = addViolation(Violation::Ub, j, in.ub[j]);
      r.ub[j] = isInfUp(in.ub[j].limit) ? kInf : m.ub[j] + in.ub[j].limit;
      addRow('L', m.ub[j], j, v, -1.0);
    }
  }
  r.A.assignRows(std::move(A));

  for (Violation &v : vio) {
    switch (in.penalty) {
      case 's': r.obj[v.col] = v.weight; break;
      // Diagonal entry d stands for the term d/2 * v^2.
      case 'q': r.qobj[{v.col, v.col}] = 2.0 * v.weight; break;
      case 'c': {
        // v <= M * z with z binary; the small cost on v makes the relaxation no larger than
        // needed among those that relax the same rows and bounds.
        const double M = std::min(bigM, r.ub[v.col]);
        v.flag = addCol(0.0, 1.0, 'B');
        r.obj[v.flag] = v.weight;
        r.obj[v.col] = 1e-6 * v.weight;
        r.ub[v.col] = M;
        r.rowtype.push_back('L');
        r.rhs.push_back(0.0);
        r.range.push_back(0.0);
        r.indcol.push_back(-1);
        r.indcomp.push_back(0);
        r.rownames.emplace_back();
        RowMatrix &RA = r.A.rowsToChange();
        RA.col.push_back(v.col);
        RA.val.push_back(1.0);
        RA.col.push_back(v.flag);
        RA.val.push_back(-M);
        RA.start.push_back(static_cast<int64_t>(RA.col.size()));
        break;
      }
    }
  }
}

// The penalty of a point of the relaxed problem.
double penaltyAt(const RepairInput &in, const std::vector<Violation> &vio,
                 const std::vector<double> &x) {
  double s = 0.0;
  for (const Violation &v : vio) {
    const double a = std::max(0.0, x[v.col]);
    switch (in.penalty) {
      case 's': s += v.weight * a; break;
      case 'q': s += v.weight * a * a; break;
      case 'c': s += v.weight * (x[v.flag] > 0.5 ? 1.0 : 0.0) + 1e-6 * v.weight * a; break;
    }
  }
  return s;
}

// Solves the relaxed problem; returns the repair status.
int solveRelaxed(nvrl_problem_s *aux) {
  if (NVRLmipoptimize(aux, "") != 0) return NVRL_REPAIR_ERROR;
  const SolveState &s = aux->sol;
  switch (s.mipstatus) {
    case NVRL_MIP_OPTIMAL: return NVRL_REPAIR_OPTIMAL;
    case NVRL_MIP_INFEAS: return NVRL_REPAIR_INFEASIBLE;
    case NVRL_MIP_UNBOUNDED: return NVRL_REPAIR_UNBOUNDED;
    default: break;
  }
  if (s.stopstatus != NVRL_STOP_NONE) return NVRL_REPAIR_LIMIT;
  return s.have_primal ? NVRL_REPAIR_LIMIT : NVRL_REPAIR_ERROR;
}

double objectiveAt(const Model &m, const std::vector<double> &x) {
  double f = m.objconst;
  for (int j = 0; j < m.cols(); ++j) f += m.obj[j] * x[j];
  for (const auto &[ij, v] : m.qobj)
    f += ij.first == ij.second ? 0.5 * v * x[ij.first] * x[ij.first] : v * x[ij.first] * x[ij.second];
  return f;
}

std::vector<double> activities(const Model &m, const std::vector<double> &x) {
  std::vector<double> act(m.rows(), 0.0);
  const RowMatrix &A = m.A.rows();
  for (int i = 0; i < m.rows(); ++i)
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k) act[i] += A.val[k] * x[A.col[k]];
  for (const auto &[row, q] : m.qrows)
    for (const auto &[ij, v] : q)
      act[row] += ij.first == ij.second ? v * x[ij.first] * x[ij.first]
                                        : 2.0 * v * x[ij.first] * x[ij.second];
  return act;
}

int repair(nvrl_problem_s *p, const char *fn, int *status, RepairInput &in) {
  if (!status) return p->fail("%s: null status pointer", fn);
  if (!std::isfinite(in.delta) || in.delta < 0)
    return p->fail("%s: delta must be a finite number of at least 0, not %g", fn, in.delta);
  if (!std::strchr("sqc", in.penalty) || in.penalty == '\0')
    return p->fail("%s: unknown penalty type '%c' (use 's', 'q' or 'c')", fn, in.penalty);
  if (!std::strchr("nof", in.phase2) || in.phase2 == '\0')
    return p->fail("%s: unknown phase 2 letter '%c' (use 'n', 'o' or 'f')", fn, in.phase2);

  const Model &m = p->model;
  const int n = m.cols(), rows = m.rows();
  const double bigM = getDblControl(p, id::kRepairBigM);
  const double feastol = getDblControl(p, id::kFeasTol);
  const bool log = getIntControl(p, id::kLogLevel) > 0;

  std::unique_ptr<nvrl_problem_s> aux(new nvrl_problem_s());
  aux->controls = p->controls;
  // The relaxed problem's objective is the penalty: the user's cutoff does not apply, and its
  // log would only repeat what the summary below says.
  aux->controls.dbls.erase(id::kCutoff);
  aux->controls.ints[id::kLogLevel] = 0;
  std::vector<Violation> vio;
  buildRelaxation(m, in, bigM, aux->model, vio);
  aux->modelChanged();
  p->clearError();
  if (log)
    p->log(NVRL_MSG_INFO, "Repairing infeasibility: %zu relaxable row sides and bounds",
           vio.size());

  int st = solveRelaxed(aux.get());
  if (st != NVRL_REPAIR_OPTIMAL && !(st == NVRL_REPAIR_LIMIT && aux->sol.have_primal)) {
    *status = st;
    if (log) p->log(NVRL_MSG_INFO, "Repair found no relaxation (status %d)", st);
    return 0;
  }
  std::vector<double> point = aux->sol.x;
  const double minPenalty = penaltyAt(in, vio, point);
  bool phase2Optimal = false;

  if (st == NVRL_REPAIR_OPTIMAL && in.phase2 != 'n') {
    Model &r = aux->model;
    r.objsense = m.objsense;
    r.objconst = m.objconst;
    std::copy(m.obj.begin(), m.obj.end(), r.obj.begin());
    std::fill(r.obj.begin() + n, r.obj.end(), 0.0);
    r.qobj = m.qobj;
    if (in.phase2 == 'f') {
      // Each relaxation at most what phase 1 chose (and count flags where they were).
      for (const Violation &v : vio) {
        r.ub[v.col] = std::max(0.0, point[v.col]);
        if (v.flag >= 0) r.ub[v.flag] = point[v.flag] > 0.5 ? 1.0 : 0.0;
      }
    } else {
      // The penalty at most (1+delta) times its minimum; the row's own feasibility tolerance
      // keeps phase 1's point feasible, so only rounding needs room here.
      const double bound = (1.0 + in.delta) * minPenalty + 1e-9 * (1.0 + std::fabs(minPenalty));
      r.rowtype.push_back('L');
      r.rhs.push_back(bound);
      r.range.push_back(0.0);
      r.indcol.push_back(-1);
      r.indcomp.push_back(0);
      r.rownames.emplace_back();
      const int row = r.rows() - 1;
      RowMatrix &RA = r.A.rowsToChange();
      for (const Violation &v : vio) {
        if (in.penalty == 'q') {
          r.qrows[row][{v.col, v.col}] = v.weight;
          continue;
        }
        RA.col.push_back(v.flag >= 0 ? v.flag : v.col);
        RA.val.push_back(v.weight);
        if (v.flag >= 0) {
          RA.col.push_back(v.col);
          RA.val.push_back(1e-6 * v.weight);
        }
      }
      RA.start.push_back(static_cast<int64_t>(RA.col.size()));
    }
    aux->modelChanged();
    const int st2 = solveRelaxed(aux.get());
    if (st2 == NVRL_REPAIR_OPTIMAL) {
      point = aux->sol.x;
      phase2Optimal = true;
    } else {
      // Phase 1's relaxation stands; the status says why phase 2 did not replace it.
      if (st2 == NVRL_REPAIR_LIMIT && aux->sol.have_primal) point = aux->sol.x;
      st = st2 == NVRL_REPAIR_INFEASIBLE ? NVRL_REPAIR_ERROR : st2;
    }
  }

  // The problem's new rhs, ranges and bounds, built aside: the violations found, ignoring those
  // within the feasibility tolerance.
  std::vector<double> rhs = m.rhs, range = m.range, lb = m.lb, ub = m.ub;
  int nrelaxed = 0;
  double total = 0.0;
  for (const Violation &v : vio) {
    const double a = point[v.col] > feastol ? point[v.col] : 0.0;
    if (a == 0.0) continue;
    ++nrelaxed;
    total += a;
    const int i = v.index;
    switch (v.kind) {
      case Violation::Le:
        rhs[i] += a;
        if (m.rowtype[i] == 'R') range[i] += a;
        break;
      case Violation::Ge:
        if (m.rowtype[i] == 'R') range[i] += a;
        else rhs[i] -= a;
        break;
      case Violation::Lb: lb[i] -= a; break;
      case Violation::Ub: ub[i] += a; break;
    }
    if (in.report)
      p->log(NVRL_MSG_INFO, "  %s %d relaxed by %g",
             v.kind == Violation::Le   ? "row (<= side)"
             : v.kind == Violation::Ge ? "row (>= side)"
             : v.kind == Violation::Lb ? "lower bound of column"
                                       : "upper bound of column",
             i, a);
  }
  std::vector<double> x(point.begin(), point.begin() + n);

  // Commit: nothing below throws except the answers' vectors, which are built first.
  SolveState sol;
  sol.x = x;
  const std::vector<double> act = activities(m, x);
  sol.slack.resize(rows);
  const std::vector<double> &rhsNow = in.keep ? m.rhs : rhs;
  for (int i = 0; i < rows; ++i) sol.slack[i] = rhsNow[i] - act[i];
  sol.was_mip = !m.sets.empty() || !m.gencons.empty() || !m.pwlcons.empty() ||
                std::any_of(m.coltype.begin(), m.coltype.end(), [](char t) { return t != 'C'; }) ||
                std::any_of(m.indcol.begin(), m.indcol.end(), [](int c) { return c >= 0; });
  sol.have_primal = sol.have_point = true;
  sol.lpobjval = sol.mipobjval = objectiveAt(m, x);
  sol.lpstatus = phase2Optimal ? NVRL_LP_OPTIMAL : NVRL_LP_UNFINISHED;
  sol.mipstatus = phase2Optimal ? NVRL_MIP_OPTIMAL : NVRL_MIP_SOLUTION;
  sol.solutions = 1;
  if (!in.keep) {
    p->model.rhs.swap(rhs);
    p->model.range.swap(range);
    p->model.lb.swap(lb);
    p->model.ub.swap(ub);
  }
  p->modelChanged();
  p->sol = std::move(sol);
  *status = st;
  if (log)
    p->log(NVRL_MSG_INFO,
           "Repair: %d row sides and bounds relaxed by %g in all (penalty %g), status %d", nrelaxed,
           total, minPenalty, st);
  return 0;
}

// A preference array (null: nothing of that kind is relaxed) into weights 1/pref.
bool readPrefs(nvrl_problem_s *p, const char *fn, const char *what, const double *pref,
               const double *relax, const char *relaxName, std::vector<Side> &out) {
  for (size_t i = 0; i < out.size(); ++i) {
    const double v = pref ? pref[i] : 0.0;
    if (std::isnan(v) || std::isinf(v)) {
      p->fail("%s: %s[%zu] is not a finite number", fn, what, i);
      return false;
    }
    out[i].weight = v > 0 ? 1.0 / v : 0.0;
    if (relax) {
      const double r = relax[i];
      if (std::isnan(r) || r < 0) {
        p->fail("%s: %s[%zu] must be at least 0", fn, relaxName, i);
        return false;
      }
      out[i].limit = r >= kInf ? kInf : r;
    }
  }
  return true;
}

// Penalty letter and flags ('k', 'r') of a flags string; blanks are ignored.
bool readFlags(nvrl_problem_s *p, const char *fn, const char *flags, bool penaltyAllowed,
               RepairInput &in) {
  for (const char *c = flags ? flags : ""; *c; ++c) {
    switch (*c) {
      case ' ': break;
      case 'k': in.keep = true; break;
      case 'r': in.report = true; break;
      case 's': case 'q': case 'c':
        if (penaltyAllowed) {
          in.penalty = *c;
          break;
        }
        [[fallthrough]];
      default:
        p->fail("%s: unknown flag '%c'", fn, *c);
        return false;
    }
  }
  return true;
}

int weighted(NVRLprob prob, const char *fn, int *status, const double lepref[],
             const double gepref[], const double lbpref[], const double ubpref[],
             const double lerelax[], const double gerelax[], const double lbrelax[],
             const double ubrelax[], char phase2, double delta, const char *flags) {
  nvrl_problem_s *p = checkProblem(prob, fn);
  if (!p) return 1;
  RepairInput in;
  const size_t rows = p->model.rows(), cols = p->model.cols();
  in.le.resize(rows);
  in.ge.resize(rows);
  in.lb.resize(cols);
  in.ub.resize(cols);
  const bool bounded = std::strcmp(fn, "NVRLrepairweightedinfeasbounds") == 0;
  if (bounded && (!lerelax || !gerelax || !lbrelax || !ubrelax))
    return p->fail("%s: null relaxation array", fn);
  if (!readPrefs(p, fn, "lepref", lepref, lerelax, "lerelax", in.le) ||
      !readPrefs(p, fn, "gepref", gepref, gerelax, "gerelax", in.ge) ||
      !readPrefs(p, fn, "lbpref", lbpref, lbrelax, "lbrelax", in.lb) ||
      !readPrefs(p, fn, "ubpref", ubpref, ubrelax, "ubrelax", in.ub) ||
      !readFlags(p, fn, flags, true, in))
    return 1;
  in.phase2 = phase2;
  in.delta = delta;
  return repair(p, fn, status, in);
}

}  // namespace

}  // namespace nvrl

extern "C" {

NVRL_API int NVRLrepairinfeas(NVRLprob prob, int *status, char penalty, char phase2, char flags,
                              double lepref, double gepref, double lbpref, double ubpref,
                              double delta) NVRL_TRY {
  using namespace nvrl;
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  RepairInput in;
  const char fl[2] = {flags == '0' ? ' ' : flags, '\0'};
  if (!readFlags(p, __func__, fl, false, in)) return 1;
  for (double v : {lepref, gepref, lbpref, ubpref})
    if (!std::isfinite(v)) return p->fail("%s: preferences must be finite numbers", __func__);
  auto w = [](double v) { return Side{v > 0 ? 1.0 / v : 0.0, kInf}; };
  in.le.assign(p->model.rows(), w(lepref));
  in.ge.assign(p->model.rows(), w(gepref));
  in.lb.assign(p->model.cols(), w(lbpref));
  in.ub.assign(p->model.cols(), w(ubpref));
  in.penalty = penalty;
  in.phase2 = phase2;
  in.delta = delta;
  return repair(p, __func__, status, in);
} NVRL_CATCH(prob)

NVRL_API int NVRLrepairweightedinfeas(NVRLprob prob, int *status, const double lepref[],
                                      const double gepref[], const double lbpref[],
                                      const double ubpref[], char phase2, double delta,
                                      const char *flags) NVRL_TRY {
  return nvrl::weighted(prob, __func__, status, lepref, gepref, lbpref, ubpref, nullptr, nullptr,
                        nullptr, nullptr, phase2, delta, flags);
} NVRL_CATCH(prob)

NVRL_API int NVRLrepairweightedinfeasbounds(NVRLprob prob, int *status, const double lepref[],
                                            const double gepref[], const double lbpref[],
                                            const double ubpref[], const double lerelax[],
                                            const double gerelax[], const double lbrelax[],
                                            const double ubrelax[], char phase2, double delta,
                                            const char *flags) NVRL_TRY {
  return nvrl::weighted(prob, __func__, status, lepref, gepref, lbpref, ubpref, lerelax, gerelax,
                        lbrelax, ubrelax, phase2, delta, flags);
} NVRL_CATCH(prob)

}  // extern "C"

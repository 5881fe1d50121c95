#include "solve/mip_starts.h"

#include <cmath>
#include <chrono>
#include <utility>

#include "core/ids.h"
#include "core/text.h"
#include "interfaces/highs_c_api.h"
#include "solve/collect_answers.h"
#include "solve/highs_session.h"

namespace nvrl {

namespace {

bool integerValued(char t) { return t == 'I' || t == 'B' || t == 'R'; }

// One run of L under the bounds lo/up; with_hessian false drops the quadratic part and
// with_integrality false the integer marks. Returns the point or the verdict.
Completion runOn(const LoweredModel &L, const std::vector<double> &lo, const std::vector<double> &up,
                 bool with_hessian, bool with_integrality, void *like, double seconds) {
  Completion c;
  HighsInstance instance(createHighs());
  void *h = instance.get();
  Highs_setBoolOptionValue(h, "output_flag", 0);
  if (like) {
    // The caller's thread count, so that HiGHS's shared scheduler is not restarted.
    HighsInt threads = 0;
    Highs_getIntOptionValue(like, "threads", &threads);
    Highs_setIntOptionValue(h, "threads", threads);
  }
  if (std::isfinite(seconds)) Highs_setDoubleOptionValue(h, "time_limit", std::fmax(seconds, 0.0));
  const bool hessian = with_hessian && L.hasHessian();
  const HighsInt status = Highs_passModel(
      h, L.cols(), L.rows(), static_cast<HighsInt>(L.nnz()),
      hessian ? static_cast<HighsInt>(L.q_value.size()) : 0, kHighsMatrixFormatRowwise,
      kHighsHessianFormatTriangular, L.sense > 0 ? kHighsObjSenseMinimize : kHighsObjSenseMaximize,
      L.offset, L.cost.data(), lo.data(), up.data(), L.row_lo.data(), L.row_up.data(),
      L.a_start.data(), L.a_index.data(), L.a_value.data(), hessian ? L.q_start.data() : nullptr,
      hessian ? L.q_index.data() : nullptr, hessian ? L.q_value.data() : nullptr,
      with_integrality && L.hasIntegers() ? L.integrality.data() : nullptr);
  if (status == kHighsStatusError) return c;
  Highs_run(h);
  const int ms = Highs_getModelStatus(h);
  HighsInt primal = kHighsSolutionStatusNone;
  Highs_getIntInfoValue(h, "primal_solution_status", &primal);
  if (primal == kHighsSolutionStatusFeasible) {
    c.x.assign(L.cols(), 0.0);
    std::vector<double> dj(L.cols()), rowv(L.rows()), rowd(L.rows());
    Highs_getSolution(h, c.x.data(), dj.data(), rowv.data(), rowd.data());
    c.status = Completion::Found;
  } else if (ms == kHighsModelStatusInfeasible) {
    c.status = Completion::Infeasible;
  }
  return c;
}

}  // namespace

Completion completePoint(const LoweredModel &L, const std::vector<ColumnFix> &fixes, void *like,
                         double seconds) {
  std::vector<double> lo = L.col_lo, up = L.col_up;
  for (const ColumnFix &f : fixes) {
    lo[f.col] = std::fmax(lo[f.col], f.lo);
    up[f.col] = std::fmin(up[f.col], f.up);
    if (lo[f.col] > up[f.col] + 1e-9) return Completion{Completion::Infeasible, {}};
    if (lo[f.col] > up[f.col]) lo[f.col] = up[f.col];
  }
  bool free_integers = false;
  const bool marks = static_cast<int>(L.integrality.size()) == L.cols();
  for (int j = 0; marks && j < L.cols() && !free_integers; ++j)
    free_integers = L.integrality[j] != 0 && lo[j] < up[j];
  if (!free_integers) return runOn(L, lo, up, true, false, like, seconds);
  const auto t0 = std::chrono::steady_clock::now();
  Completion c = runOn(L, lo, up, false, true, like, seconds);
  if (c.status != Completion::Found || !L.hasHessian()) return c;
  for (int j = 0; j < L.cols(); ++j)
    if (L.integrality[j] != 0) lo[j] = up[j] = std::round(c.x[j]);  // free_integers: marks exist
  const double used = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  Completion q = runOn(L, lo, up, true, false, like, seconds - used);
  // The QP only moves the continuous columns of a feasible point: when it ends without an
  // answer the MIP's point still stands.
  return q.status == Completion::Found ? q : c;
}

bool fixesOfSolution(const Model &m, const UserMipSolution &s, double inttol,
                     std::vector<ColumnFix> &fixes, std::string &why) {
  fixes.clear();
  const size_t n = s.vals.size();
  if (s.cols.empty() && static_cast<int>(n) != m.cols()) {
    why = format("it has %zu values for %d columns", n, m.cols());
    return false;
  }
  for (size_t k = 0; k < n; ++k) {
    const int j = s.cols.empty() ? static_cast<int>(k) : s.cols[k];
    if (j < 0 || j >= m.cols()) {
      why = format("column index %d is out of range (the problem has %d columns)", j, m.cols());
      return false;
    }
    double v = s.vals[k];
    const char t = m.coltype[j];
    const bool on_integer_part = integerValued(t) || (t == 'P' && v < m.limit[j]);
    if (on_integer_part) {
      const double r = std::round(v);
      if (std::fabs(v - r) > inttol) {
        why = format("column %d must take an integer value, and %.17g is not one", j, v);
        return false;
      }
      v = r;
    }
    fixes.push_back({j, v, v});
  }
  return true;
}

std::vector<ColumnFix> integerDecisions(const Model &m, const std::vector<double> &x) {
  std::vector<ColumnFix> fixes;
  constexpr double kZero = 1e-9;
  for (int j = 0; j < m.cols(); ++j) {
    const double v = x[j];
    switch (m.coltype[j]) {
      case 'I':
      case 'B': fixes.push_back({j, std::round(v), std::round(v)}); break;
      case 'S':
        if (std::fabs(v) <= kZero)
          fixes.push_back({j, 0.0, 0.0});
        else
          fixes.push_back({j, m.limit[j], HUGE_VAL});
        break;
      case 'R':
        if (std::fabs(v) <= kZero)
          fixes.push_back({j, 0.0, 0.0});
        else
          fixes.push_back({j, std::round(v), std::round(v)});
        break;
      case 'P':
        if (v < m.limit[j])
          fixes.push_back({j, std::round(v), std::round(v)});
        else
          fixes.push_back({j, m.limit[j], HUGE_VAL});
        break;
      default: break;
    }
  }
  for (const SpecialOrderedSet &s : m.sets)
    for (int j : s.cols)
      if (std::fabs(x[j]) <= kZero) fixes.push_back({j, 0.0, 0.0});
  return fixes;
}

std::vector<CompletedStart> completeStarts(nvrl_problem_s *p, void *like, bool log) {
  const std::vector<UserMipSolution> starts = std::exchange(p->user_mip_starts, {});
  std::vector<CompletedStart> out;
  if (starts.empty()) return out;
  const Model &m = p->model;
  LoweredModel L;
  std::string err;
  if (!lowerModel(m, LowerMode::Full, L, err)) {
    if (log) p->log(NVRL_MSG_WARNING, "User solutions not used: %s", err.c_str());
    return out;
  }
  const double tl = getDblControl(p, id::kTimeLimit);
  const double seconds = tl > 0.0 && tl < 1e20 ? tl : HUGE_VAL;
  const double inttol = getDblControl(p, id::kMipTol);
  int k = 0;
  for (const UserMipSolution &s : starts) {
    ++k;
    const std::string name = s.name.empty() ? format("%d", k) : "'" + s.name + "'";
    std::vector<ColumnFix> fixes;
    if (!fixesOfSolution(m, s, inttol, fixes, err)) {
      if (log) p->log(NVRL_MSG_WARNING, "User solution %s rejected: %s", name.c_str(), err.c_str());
      continue;
    }
    const Completion c = completePoint(L, fixes, like, seconds);
    if (c.status != Completion::Found) {
      if (log)
        p->log(NVRL_MSG_INFO, "User solution %s rejected: %s", name.c_str(),
               c.status == Completion::Infeasible ? "no feasible point within its values"
                                                  : "no feasible point found in time");
      continue;
    }
    CompletedStart cs;
    cs.name = s.name;
    cs.x.assign(c.x.begin(), c.x.begin() + L.user_cols);
    cs.lowered = c.x;
    cs.objective = userObjective(m, cs.x);
    if (log)
      p->log(NVRL_MSG_INFO, "User solution %s %s: objective %.9g", name.c_str(),
             s.cols.empty() || static_cast<int>(s.cols.size()) == m.cols() ? "accepted" : "completed",
             cs.objective);
    out.push_back(std::move(cs));
  }
  return out;
}

}  // namespace nvrl

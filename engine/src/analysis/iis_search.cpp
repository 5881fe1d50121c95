// The elastic and deletion filters of the infeasible-set search (Chinneck's filters), run on
// the store's persistent HiGHS instance.
#include <algorithm>
#include <cmath>
#include <limits>

#include "analysis/iis_search.h"
#include "core/entry.h"
#include "core/ids.h"
#include "interfaces/highs_c_api.h"
#include "lp_data/name_index.h"
#include "solve/highs_options.h"

namespace nvrl {

void IisStoreDeleter::operator()(IisStore *s) const noexcept { delete s; }

namespace {

constexpr double kInfD = std::numeric_limits<double>::infinity();

enum class Verdict { Feasible, Infeasible, Unknown };

// Copies the current bounds of the listed HiGHS rows and columns into the instance.
void pushBounds(IisStore &s, std::vector<int> &rows, std::vector<int> &cols) {
  void *h = s.highs.get();
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  std::sort(cols.begin(), cols.end());
  cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
  if (!rows.empty()) {
    std::vector<double> lo, up;
    for (int r : rows) lo.push_back(s.row_lo[r]), up.push_back(s.row_up[r]);
    Highs_changeRowsBoundsBySet(h, static_cast<HighsInt>(rows.size()), rows.data(), lo.data(),
                                up.data());
  }
  if (!cols.empty()) {
    std::vector<double> lo, up;
    for (int c : cols) lo.push_back(s.col_lo[c]), up.push_back(s.col_up[c]);
    Highs_changeColsBoundsBySet(h, static_cast<HighsInt>(cols.size()), cols.data(), lo.data(),
                                up.data());
  }
}

// Puts the listed units into state st: a relaxed unit's side becomes infinite, an elastic
// row side's elastic columns may move, an enforced unit has its side and no elastic move (a
// bound has no elastic column: elastic means enforced for it).
void setStates(IisStore &s, const std::vector<int> &units, UnitState st) {
  std::vector<int> rows, cols;
  for (int u : units) {
    if (s.state[u] == st) continue;
    s.state[u] = st;
    const IisUnit &U = s.units[u];
    const bool relaxed = st == UnitState::Relaxed;
    if (U.col) {
      if (U.type == 'L')
        s.col_lo[U.h] = relaxed ? -kInfD : s.orig_col_lo[U.h];
      else
        s.col_up[U.h] = relaxed ? kInfD : s.orig_col_up[U.h];
      cols.push_back(U.h);
    } else {
      if (U.type != 'L') s.row_lo[U.h] = relaxed ? -kInfD : s.orig_row_lo[U.h];
      if (U.type != 'G') s.row_up[U.h] = relaxed ? kInfD : s.orig_row_up[U.h];
      rows.push_back(U.h);
    }
    for (int e : U.elastic)
      if (e >= 0) {
        s.col_up[e] = st == UnitState::Elastic ? kInfD : 0.0;
        cols.push_back(e);
      }
  }
  pushBounds(s, rows, cols);
}

void setAll(IisStore &s, UnitState st) {
  std::vector<int> all(s.units.size());
  for (size_t u = 0; u < all.size(); ++u) all[u] = static_cast<int>(u);
  setStates(s, all, st);
}

double secondsLeft(IisClock::time_point deadline) {
  if (deadline == IisClock::time_point::max()) return kInfD;
  return std::chrono::duration<double>(deadline - IisClock::now()).count();
}

Verdict runOnce(IisStore &s, IisClock::time_point deadline, double *value);

// Solves the instance as it stands. For the elastic program `value` receives the total
// violation; Feasible means a solution (optimal for an LP) is at hand. The simplex may give
// up on a warm start that has gone numerically bad; the solve is then repeated from scratch
// with presolve, and only a second failure (or the time limit) leaves the verdict open.
Verdict run(IisStore &s, IisClock::time_point deadline, double *value = nullptr) {
  Verdict v = runOnce(s, deadline, value);
  if (v != Verdict::Unknown || secondsLeft(deadline) <= 0) return v;
  void *h = s.highs.get();
  Highs_clearSolver(h);
  Highs_setStringOptionValue(h, "presolve", "on");
  v = runOnce(s, deadline, value);
  if (!s.mip) Highs_setStringOptionValue(h, "presolve", "off");
  return v;
}

Verdict runOnce(IisStore &s, IisClock::time_point deadline, double *value) {
  void *h = s.highs.get();
  const double left = secondsLeft(deadline);
  if (left <= 0 || (s.interrupt_reason != nullptr && s.interrupt_reason->load() != 0))
    return Verdict::Unknown;
  // HiGHS counts its time limit over all runs of an instance unless its clocks restart.
  Highs_zeroAllClocks(h);
  Highs_setDoubleOptionValue(h, "time_limit", left);
  Highs_run(h);
  const HighsInt ms = Highs_getModelStatus(h);
  if (ms == kHighsModelStatusInfeasible) return Verdict::Infeasible;
  // The elastic program is bounded below by 0 and the tests have no objective, so "infeasible
  // or unbounded" can only mean infeasible.
  if (ms == kHighsModelStatusUnboundedOrInfeasible) return Verdict::Infeasible;
  HighsInt primal = kHighsSolutionStatusNone;
  Highs_getIntInfoValue(h, "primal_solution_status", &primal);
  if (ms == kHighsModelStatusOptimal || primal == kHighsSolutionStatusFeasible) {
    if (value) *value = Highs_getObjectiveValue(h);
    return Verdict::Feasible;
  }
  return Verdict::Unknown;
}

// Total elastic move of each unit in the current solution.
std::vector<double> elasticValues(IisStore &s) {
  std::vector<double> x(s.hcols), rv(s.hrows), cd(s.hcols), rd(s.hrows);
  Highs_getSolution(s.highs.get(), x.data(), cd.data(), rv.data(), rd.data());
  std::vector<double> v(s.units.size(), 0.0);
  for (size_t u = 0; u < s.units.size(); ++u)
    for (int e : s.units[u].elastic)
      if (e >= 0) v[u] += x[e];
  return v;
}

// A violation counts when it exceeds the feasibility tolerance scaled to the side's size.
bool violated(const IisStore &s, int u, double move) {
  return move > s.ftol * std::max(1.0, std::fabs(s.units[u].bound));
}

// Least total violation when only `members` may be violated; Unknown when not settled.
Verdict leastViolation(IisStore &s, const std::vector<int> &members,
                       IisClock::time_point deadline, IisSet &set) {
  setAll(s, UnitState::Relaxed);
  setStates(s, members, UnitState::Elastic);
  double value = 0.0;
  const Verdict v = run(s, deadline, &value);
  if (v == Verdict::Feasible) {
    const std::vector<double> moves = elasticValues(s);
    set.suminfeas = value;
    set.numinfeas = 0;
    for (int u : members) set.numinfeas += violated(s, u, moves[u]);
  }
  return v;
}

// Contribution of one multiplier to the certificate's bound (see certificate()).
double contribution(const IisUnit &U, double m) {
  if (m == 0.0) return 0.0;
  if (U.type == 'E') return m * U.bound;
  const bool lowerSide = U.col ? U.type == 'L' : U.type == 'G';
  if (lowerSide) return m > 0 ? m * U.bound : -kInfD;
  return m < 0 ? m * U.bound : -kInfD;
}

// Multipliers of HiGHS's dual ray for the listed units, after a run that found the instance
// infeasible: y for row units, d = -A'y for bound units. False when HiGHS has no ray.
bool rayMultipliers(IisStore &s, const std::vector<int> &units, std::vector<double> &m) {
  HighsInt has = 0;
  std::vector<double> y(s.hrows, 0.0);
  if (Highs_getDualRay(s.highs.get(), &has, y.data()) == kHighsStatusError || !has) return false;
  m.clear();
  for (int u : units) {
    const IisUnit &U = s.units[u];
    if (!U.col) {
      m.push_back(y[U.h]);
    } else {
      double d = 0.0;
      for (int k = s.cstart[U.h]; k < s.cstart[U.h + 1]; ++k) d -= s.cvalue[k] * y[s.cindex[k]];
      m.push_back(d);
    }
  }
  return true;
}

// A Farkas certificate of the set (members enforced, everything else relaxed): multipliers y
// of the rows and d = -A'y of the columns with sum over members of y*side + d*bound > 0 while
// y'A + d' = 0, which no point can satisfy. From HiGHS's dual ray, sign chosen so that the
// sum is positive; left empty for MIPs and when HiGHS gives no ray.
void certificate(IisStore &s, IisSet &set, IisClock::time_point deadline) {
  set.mult.clear();
  if (s.mip) return;
  setAll(s, UnitState::Relaxed);
  setStates(s, set.units, UnitState::Enforced);
  std::vector<double> m;
  if (run(s, deadline) != Verdict::Infeasible || !rayMultipliers(s, set.units, m)) return;
  double best = -kInfD;
  int bestSign = 1;
  for (int sign : {1, -1}) {
    double total = 0.0;
    for (size_t k = 0; k < m.size(); ++k) {
      // A multiplier below rounding noise carries no side; keep it out of the sign test.
      const double mk = std::fabs(m[k]) < 1e-12 ? 0.0 : sign * m[k];
      total += contribution(s.units[set.units[k]], mk);
    }
    if (total > best) best = total, bestSign = sign;
  }
  if (!(best > 0)) return;
  for (double &v : m) v *= bestSign;
  set.mult = std::move(m);
}

// After a run that found the instance infeasible: the untested units that HiGHS's ray does
// not use are relaxed together when the rest stays infeasible, which spares the deletion
// filter one solve each. LPs only (a MIP's infeasibility has no ray).
void shrinkByRay(IisStore &s, const std::vector<int> &untested, IisClock::time_point deadline) {
  if (s.mip || untested.empty()) return;
  std::vector<int> live;
  for (int u : untested)
    if (s.state[u] == UnitState::Enforced) live.push_back(u);
  std::vector<double> m;
  if (live.empty() || !rayMultipliers(s, live, m)) return;
  double big = 0.0;
  for (double v : m) big = std::max(big, std::fabs(v));
  std::vector<int> drop;
  for (size_t k = 0; k < live.size(); ++k)
    if (std::fabs(m[k]) <= 1e-9 * std::max(big, 1.0)) drop.push_back(live[k]);
  if (drop.empty()) return;
  setStates(s, drop, UnitState::Relaxed);
  if (run(s, deadline) != Verdict::Infeasible) setStates(s, drop, UnitState::Enforced);
}

// Adds to the candidate rows the active bounds that can matter to them: for an LP those of
// the columns in the rows, for a MIP all (the rows of reformulated entities tie columns
// together beyond the candidate rows).
void addBoundsOfRows(const IisStore &s, const std::vector<int> &active,
                     std::vector<int> &candidate) {
  std::vector<char> rowIn(s.hrows, 0);
  for (int u : candidate) rowIn[s.units[u].h] = 1;
  for (int u : active) {
    const IisUnit &U = s.units[u];
    if (!U.col) continue;
    bool in = s.mip;
    for (int k = s.cstart[U.h]; k < s.cstart[U.h + 1] && !in; ++k) in = rowIn[s.cindex[k]];
    if (in) candidate.push_back(u);
  }
}

}  // namespace

bool buildIisStore(const nvrl_problem_s *p, IisStore &s, std::string &err) {
  const Model &m = p->model;
  if (!m.qrows.empty()) {
    err = "problems with quadratic rows are not supported";
    return false;
  }
  s.mip = hasGlobalEntities(m);
  LoweredModel L;
  if (!lowerModel(m, s.mip ? LowerMode::Full : LowerMode::Relaxation, L, err)) return false;
  s.version = p->version;
  s.ftol = getDblControl(p, id::kFeasTol);

  // Units, in the order rows then columns.
  s.units.clear();
  for (int i = 0; i < m.rows(); ++i) {
    const int h = L.user_row_to_highs[i];
    if (h < 0) continue;
    const double lo = L.row_lo[h], up = L.row_up[h];
    IisUnit U;
    U.index = i, U.h = h;
    if (std::isfinite(lo) && lo == up) {
      U.type = 'E', U.bound = lo;
      s.units.push_back(U);
      continue;
    }
    if (std::isfinite(lo)) U.type = 'G', U.bound = lo, s.units.push_back(U);
    if (std::isfinite(up)) U.type = 'L', U.bound = up, s.units.push_back(U);
  }
  for (int j = 0; j < m.cols(); ++j) {
    IisUnit U;
    U.col = true, U.index = j, U.h = j;
    if (std::isfinite(L.col_lo[j])) U.type = 'L', U.bound = L.col_lo[j], s.units.push_back(U);
    if (std::isfinite(L.col_up[j])) U.type = 'U', U.bound = L.col_up[j], s.units.push_back(U);
  }

  // Column-wise matrix of the lowered model, then the rows' elastic columns appended. Bounds
  // get none: they stay in force in the elastic filter (a copy of every bounded column would
  // double the matrix and make the elastic program far harder), and the deletion filter
  // then sorts out which bounds of the candidate rows' columns are needed.
  const int n = L.cols(), rows = L.rows();
  std::vector<std::vector<std::pair<int, double>>> cols(n);
  for (int r = 0; r < rows; ++r)
    for (int k = L.a_start[r]; k < L.a_start[r + 1]; ++k)
      cols[L.a_index[k]].push_back({r, L.a_value[k]});
  s.cstart.assign(1, 0), s.cindex.clear(), s.cvalue.clear();
  for (int j = 0; j < m.cols(); ++j) {
    for (auto &e : cols[j]) s.cindex.push_back(e.first), s.cvalue.push_back(e.second);
    s.cstart.push_back(static_cast<int>(s.cindex.size()));
  }
  std::vector<double> cost(n, 0.0), clo(L.col_lo), cup(L.col_up);
  std::vector<int> integrality = L.integrality;
  integrality.resize(n, 0);
  auto addElastic = [&](std::vector<std::pair<int, double>> entries) {
    cols.push_back(std::move(entries));
    cost.push_back(1.0), clo.push_back(0.0), cup.push_back(0.0), integrality.push_back(0);
    return static_cast<int>(cols.size()) - 1;
  };
  for (IisUnit &U : s.units) {
    if (!U.col) {
      // Moves the activity: +e lets it fall below the lower side, -e rise above the upper.
      if (U.type != 'L') U.elastic[0] = addElastic({{U.h, 1.0}});
      if (U.type != 'G') U.elastic[U.type == 'E' ? 1 : 0] = addElastic({{U.h, -1.0}});
    }
  }
  s.hcols = static_cast<int>(cols.size());
  s.hrows = rows;
  std::vector<HighsInt> start{0}, index;
  std::vector<double> value;
  for (auto &c : cols) {
    for (auto &e : c) index.push_back(e.first), value.push_back(e.second);
    start.push_back(static_cast<HighsInt>(index.size()));
  }

  s.highs.reset(createHighs());
  void *h = s.highs.get();
  applyControls(h, p, SolveFlags{}, s.mip, false);
  Highs_setBoolOptionValue(h, "output_flag", false);
  // Presolve would hide the dual ray and the warm start that the many re-solves rely on.
  if (!s.mip) Highs_setStringOptionValue(h, "presolve", "off");
  const HighsInt st = Highs_passModel(
      h, s.hcols, rows, static_cast<HighsInt>(index.size()), 0, kHighsMatrixFormatColwise,
      kHighsHessianFormatTriangular, kHighsObjSenseMinimize, 0.0, cost.data(), clo.data(),
      cup.data(), L.row_lo.data(), L.row_up.data(), start.data(), index.data(), value.data(),
      nullptr, nullptr, nullptr, s.mip ? integrality.data() : nullptr);
  if (st == kHighsStatusError) {
    s.highs.reset();
    err = "HiGHS rejected the model";
    return false;
  }
  s.orig_row_lo = s.row_lo = L.row_lo;
  s.orig_row_up = s.row_up = L.row_up;
  s.orig_col_lo = s.col_lo = clo;
  s.orig_col_up = s.col_up = cup;
  s.state.assign(s.units.size(), UnitState::Enforced);
  s.queued.assign(s.units.size(), 0);
  return true;
}

int searchIis(IisStore &s, const std::vector<int> &excluded, bool full,
              IisClock::time_point deadline, IisSet &out, IisSet *initial) {
  const int nu = static_cast<int>(s.units.size());
  std::vector<char> out_of(nu, 0);
  for (int u : excluded) out_of[u] = 1;
  std::vector<int> active;
  for (int u = 0; u < nu; ++u)
    if (!out_of[u]) active.push_back(u);

  // Elastic filter: every active row side may be violated at a price (bounds stay in force);
  // the violated ones are enforced and the program solved again, until enforcing makes it
  // infeasible. The enforced rows with the bounds of their columns are then an infeasible
  // subsystem.
  setStates(s, excluded, UnitState::Relaxed);
  setStates(s, active, UnitState::Elastic);
  double value = 0.0;
  Verdict v = run(s, deadline, &value);
  if (v == Verdict::Unknown) return kIisStopped;
  std::vector<int> candidate;
  IisSet first;
  if (v == Verdict::Feasible) {
    std::vector<double> moves = elasticValues(s);
    bool any = false;
    for (int u : active) any |= violated(s, u, moves[u]);
    if (!any) return kIisFeasible;
    first.suminfeas = value;
    for (int u : active) first.numinfeas += violated(s, u, moves[u]);
    for (;;) {
      std::vector<int> now;
      for (int u : active)
        if (s.state[u] == UnitState::Elastic && violated(s, u, moves[u])) now.push_back(u);
      if (now.empty()) {
        // Rounding let the elastic program through with nothing violated: fall back on
        // every active unit, which the deletion filter reduces.
        candidate = active;
        break;
      }
      setStates(s, now, UnitState::Enforced);
      v = run(s, deadline, &value);
      if (v == Verdict::Infeasible) {
        for (int u : active)
          if (!s.units[u].col && s.state[u] == UnitState::Enforced) candidate.push_back(u);
        addBoundsOfRows(s, active, candidate);
        break;
      }
      if (v == Verdict::Unknown) return kIisStopped;
      moves = elasticValues(s);
    }
  }
  if (v == Verdict::Infeasible && candidate.empty()) {
    // Infeasible with every row elastic: the bounds conflict with what no unit controls
    // (integrality, the rows of a reformulated entity) or among themselves.
    for (int u : active)
      if (s.units[u].col) candidate.push_back(u);
  }
  first.units = candidate;
  if (initial) *initial = first;
  out = first;
  if (!full) return kIisFound;

  // Deletion filter: only the candidate set enforced; each member in turn is relaxed and
  // stays out when the rest is still infeasible.
  setStates(s, active, UnitState::Relaxed);
  setStates(s, candidate, UnitState::Enforced);
  bool approximate = false;
  std::vector<int> kept;
  if (run(s, deadline) == Verdict::Infeasible) shrinkByRay(s, candidate, deadline);
  for (size_t k = 0; k < candidate.size(); ++k) {
    const int u = candidate[k];
    if (s.state[u] == UnitState::Relaxed) continue;  // dropped by the ray
    setStates(s, {u}, UnitState::Relaxed);
    v = run(s, deadline);
    if (v == Verdict::Infeasible) {
      shrinkByRay(s, std::vector<int>(candidate.begin() + k + 1, candidate.end()), deadline);
      continue;
    }
    setStates(s, {u}, UnitState::Enforced);
    kept.push_back(u);
    if (v == Verdict::Unknown) {
      // Out of time: the untested members stay, so the set is infeasible but perhaps not
      // irreducible.
      approximate = true;
      for (size_t r = k + 1; r < candidate.size(); ++r)
        if (s.state[candidate[r]] == UnitState::Enforced) kept.push_back(candidate[r]);
      break;
    }
  }
  std::sort(kept.begin(), kept.end());
  out = IisSet();
  out.units = kept;
  out.approximate = approximate;
  leastViolation(s, kept, deadline, out);
  certificate(s, out, deadline);
  return approximate ? kIisApproximate : kIisFound;
}

void computeIsolations(IisStore &s, int k) {
  IisSet &set = s.sets[k];
  std::vector<char> elsewhere(s.units.size(), 0);
  // Set 0 is a candidate set, not an IIS: it counts as "other" only for itself.
  for (size_t j = 1; j < s.sets.size(); ++j)
    if (static_cast<int>(j) != k)
      for (int u : s.sets[j].units) elsewhere[u] = 1;
  set.isolated.resize(set.units.size());
  for (size_t i = 0; i < set.units.size(); ++i) set.isolated[i] = !elsewhere[set.units[i]];
}

Model iisModel(const Model &m, const IisStore &s, const IisSet &set) {
  Model out;
  out.name = m.name.empty() ? std::string("iis") : m.name + "_iis";
  const int n = m.cols();
  out.obj.assign(n, 0.0);
  out.lb.assign(n, -kInf);
  out.ub.assign(n, kInf);
  out.limit.assign(n, 0.0);
  out.coltype.assign(n, 'C');
  out.colnames.resize(n);
  for (int j = 0; j < n; ++j) {
    out.colnames[j] = itemName(m, kNameCols, j);
    // Integrality is part of a MIP's infeasibility; other entities are not written.
    if (s.mip && (m.coltype[j] == 'I' || m.coltype[j] == 'B')) out.coltype[j] = 'I';
  }
  const RowMatrix &mA = m.A.rows();
  RowMatrix &outA = out.A.rowsToChange();
  for (int u : set.units) {
    const IisUnit &U = s.units[u];
    if (U.col) {
      (U.type == 'L' ? out.lb : out.ub)[U.index] = U.bound;
      continue;
    }
    out.rowtype.push_back(U.type);
    out.rhs.push_back(U.bound);
    out.range.push_back(0.0);
    out.rownames.push_back(itemName(m, kNameRows, U.index));
    for (int64_t k = mA.start[U.index]; k < mA.start[U.index + 1]; ++k) {
      outA.col.push_back(mA.col[k]);
      outA.val.push_back(mA.val[k]);
    }
    outA.start.push_back(static_cast<int64_t>(outA.col.size()));
  }
  out.indcol.assign(out.rows(), -1);
  out.indcomp.assign(out.rows(), 0);
  return out;
}

}  // namespace nvrl

// Irreducible infeasible sets: sets known by construction, the shared data's infeasible
// instances and infeasible variants of its LPs, a MIP. Every set is checked with HiGHS
// directly, on a model built here from the store: the set is infeasible and each member is
// needed.
#include <cstdio>
#include <cstring>
#include <set>
#include <tuple>

#include "interfaces/highs_c_api.h"
#include "test_solve_support.h"

namespace solvetest {
namespace {

struct Member {
  bool col;
  int index;
  char type;
  double mult;
  bool operator<(const Member &o) const {
    return std::tie(col, index, type) < std::tie(o.col, o.index, o.type);
  }
};

std::vector<Member> membersOf(NVRLprob prob, int k) {
  int r = 0, c = 0;
  EXPECT_EQ(NVRLgetiisdata(prob, k, &r, &c, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr),
            0);
  std::vector<int> ri(r), ci(c);
  std::vector<char> rt(r), ct(c);
  std::vector<double> du(r), dj(c);
  EXPECT_EQ(NVRLgetiisdata(prob, k, &r, &c, ri.data(), ci.data(), rt.data(), ct.data(),
                           du.data(), dj.data(), nullptr, nullptr),
            0);
  std::vector<Member> out;
  for (int i = 0; i < r; ++i) out.push_back({false, ri[i], rt[i], du[i]});
  for (int j = 0; j < c; ++j) out.push_back({true, ci[j], ct[j], dj[j]});
  return out;
}

// The value of a member's side in the model.
double sideValue(const nvrl::Model &m, const Member &u) {
  if (u.col) return u.type == 'L' ? m.lb[u.index] : m.ub[u.index];
  const char t = m.rowtype[u.index];
  const double rhs = m.rhs[u.index];
  return t == 'R' && u.type == 'G' ? rhs - m.range[u.index] : rhs;
}

// 1 when the members other than `skip` admit a point, 0 when HiGHS proves they do not, -1
// when HiGHS cannot tell. Integrality of integer and binary columns is kept when mip.
int feasibleWithout(const nvrl::Model &m, const std::vector<Member> &set, int skip, bool mip) {
  const double inf = INFINITY;
  const int n = m.cols();
  std::vector<double> lo(n, -inf), up(n, inf), cost(n, 0.0), rlo, rup, val;
  std::vector<HighsInt> start{0}, index, integrality(n, 0);
  for (int j = 0; j < n; ++j)
    integrality[j] = mip && (m.coltype[j] == 'I' || m.coltype[j] == 'B');
  for (size_t k = 0; k < set.size(); ++k) {
    if (static_cast<int>(k) == skip) continue;
    const Member &u = set[k];
    const double v = sideValue(m, u);
    if (u.col) {
      (u.type == 'L' ? lo : up)[u.index] = v;
      continue;
    }
    rlo.push_back(u.type == 'L' ? -inf : v);
    rup.push_back(u.type == 'G' ? inf : v);
    for (int64_t e = m.A.start[u.index]; e < m.A.start[u.index + 1]; ++e)
      index.push_back(m.A.col[e]), val.push_back(m.A.val[e]);
    start.push_back(static_cast<HighsInt>(index.size()));
  }
  void *h = Highs_create();
  Highs_setBoolOptionValue(h, "output_flag", false);
  Highs_setDoubleOptionValue(h, "time_limit", 60.0);
  Highs_passModel(h, n, static_cast<HighsInt>(rlo.size()), static_cast<HighsInt>(index.size()),
                  0, kHighsMatrixFormatRowwise, kHighsHessianFormatTriangular,
                  kHighsObjSenseMinimize, 0.0, cost.data(), lo.data(), up.data(), rlo.data(),
                  rup.data(), start.data(), index.data(), val.data(), nullptr, nullptr, nullptr,
                  mip ? integrality.data() : nullptr);
  Highs_run(h);
  const HighsInt st = Highs_getModelStatus(h);
  Highs_destroy(h);
  if (st == kHighsModelStatusOptimal || st == kHighsModelStatusModelEmpty) return 1;
  if (st == kHighsModelStatusInfeasible) return 0;
  return -1;
}

// The set is infeasible and removing any one member leaves a feasible rest. Each removal is a
// solve from scratch, so a set of more than 150 members is checked on 150 of them spread
// evenly over the rows and bounds.
void expectIrreducible(const nvrl::Model &m, const std::vector<Member> &set, bool mip) {
  ASSERT_FALSE(set.empty());
  EXPECT_EQ(feasibleWithout(m, set, -1, mip), 0) << "the set is not infeasible";
  const size_t step = std::max<size_t>(1, (set.size() + 149) / 150);
  for (size_t k = 0; k < set.size(); k += step) {
    EXPECT_EQ(feasibleWithout(m, set, static_cast<int>(k), mip), 1)
        << "member " << k << " (" << (set[k].col ? "bound" : "row") << " " << set[k].index
        << " " << set[k].type << ") is not needed";
  }
}

// The multipliers certify infeasibility: y'A + d' = 0 on every column, and the sum of
// multiplier times side is positive, each side used in the direction its type allows.
void expectCertificate(const nvrl::Model &m, const std::vector<Member> &set) {
  std::vector<double> combo(m.cols(), 0.0);
  double total = 0.0, scale = 0.0;
  for (const Member &u : set) {
    ASSERT_NE(u.mult, 0.0) << "member without multiplier";
    const double v = sideValue(m, u);
    const bool lower = u.col ? u.type == 'L' : u.type == 'G';
    if (u.type != 'E') {
      EXPECT_EQ(u.mult > 0, lower) << "multiplier of the wrong sign";
    }
    total += u.mult * v;
    scale = std::max(scale, std::fabs(u.mult * v));
    if (u.col) {
      combo[u.index] += u.mult;
    } else {
      for (int64_t e = m.A.start[u.index]; e < m.A.start[u.index + 1]; ++e)
        combo[m.A.col[e]] += u.mult * m.A.val[e];
    }
  }
  double big = 0.0;
  for (const Member &u : set) big = std::max(big, std::fabs(u.mult));
  for (int j = 0; j < m.cols(); ++j) EXPECT_NEAR(combo[j], 0.0, 1e-7 * std::max(1.0, big)) << j;
  EXPECT_GT(total, 1e-9 * std::max(1.0, scale));
}

class Iis : public SolveTest {
 protected:
  int first(int mode = 1) {
    int status = -1;
    EXPECT_EQ(NVRLiisfirst(prob, mode, &status), 0) << lastError();
    return status;
  }
  int count() {
    int k = -1;
    EXPECT_EQ(NVRLiisstatus(prob, &k, nullptr, nullptr, nullptr, nullptr), 0);
    return k;
  }
};

using Key = std::set<std::tuple<bool, int, char>>;
Key keys(const std::vector<Member> &v) {
  Key out;
  for (auto &u : v) out.insert({u.col, u.index, u.type});
  return out;
}

// ---- sets known by construction ------------------------------------------------------------

// Each case: rows (type, rhs, range, entries on two free columns) and the sets iisall must
// find, as sets of (row, side).
struct KnownCase {
  const char *name;
  std::vector<std::tuple<char, double, double, std::vector<std::pair<int, double>>>> rows;
  std::vector<Key> sets;
  std::vector<std::vector<int>> isolatedRows;  // per set, the rows flagged isolated
};

class IisKnown : public Iis, public ::testing::WithParamInterface<KnownCase> {};

TEST_P(IisKnown, IisallFindsExactlyTheSetsWithTheirIsolations) {
  const KnownCase &c = GetParam();
  col(-1e20, 1e20, 0), col(-1e20, 1e20, 0);
  for (auto &[t, rhs, range, e] : c.rows) row(t, rhs, e, range);
  ASSERT_EQ(NVRLiisall(prob), 0) << lastError();
  ASSERT_EQ(count(), static_cast<int>(c.sets.size()) + 1);
  std::vector<Key> found;
  for (int k = 1; k < count(); ++k) {
    const auto set = membersOf(prob, k);
    expectIrreducible(model(), set, false);
    expectCertificate(model(), set);
    found.push_back(keys(set));
  }
  std::sort(found.begin(), found.end());
  std::vector<Key> want = c.sets;
  std::sort(want.begin(), want.end());
  EXPECT_EQ(found, want);

  // Isolations of each set: flagged rows are those in no other set.
  for (int k = 1; k < count(); ++k) {
    ASSERT_EQ(NVRLiisisolations(prob, k), 0);
    int r = 0, cc = 0;
    ASSERT_EQ(NVRLgetiisdata(prob, k, &r, &cc, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr), 0);
    std::vector<int> ri(r);
    std::vector<char> iso(r);
    ASSERT_EQ(NVRLgetiisdata(prob, k, &r, &cc, ri.data(), nullptr, nullptr, nullptr, nullptr,
                             nullptr, iso.data(), nullptr), 0);
    const Key mine = keys(membersOf(prob, k));
    const size_t pos = std::find(want.begin(), want.end(), mine) - want.begin();
    ASSERT_LT(pos, want.size());
    std::vector<int> flagged;
    for (int i = 0; i < r; ++i)
      if (iso[i]) flagged.push_back(ri[i]);
    std::sort(flagged.begin(), flagged.end());
    // want was sorted: find the isolations listed for the same set in the case's order.
    const size_t orig = std::find(c.sets.begin(), c.sets.end(), mine) - c.sets.begin();
    EXPECT_EQ(flagged, c.isolatedRows[orig]);
  }
  int status = -1;
  ASSERT_EQ(NVRLiisnext(prob, &status), 0);
  EXPECT_EQ(status, NVRL_IIS_NO_MORE);
}

INSTANTIATE_TEST_SUITE_P(
    Sets, IisKnown,
    ::testing::Values(
        KnownCase{"Disjoint",
                  {{'G', 3, 0, {{0, 1}}}, {'L', 1, 0, {{0, 1}}},
                   {'G', 5, 0, {{1, 1}}}, {'L', 2, 0, {{1, 1}}}},
                  {{{false, 0, 'G'}, {false, 1, 'L'}}, {{false, 2, 'G'}, {false, 3, 'L'}}},
                  {{0, 1}, {2, 3}}},
        KnownCase{"SharedMember",
                  {{'L', 1, 0, {{0, 1}}}, {'G', 2, 0, {{0, 1}}}, {'G', 3, 0, {{0, 1}}}},
                  {{{false, 0, 'L'}, {false, 1, 'G'}}, {{false, 0, 'L'}, {false, 2, 'G'}}},
                  {{1}, {2}}},
        // A range row enters by the side that matters, an equality row as 'E'.
        KnownCase{"RangeAndEquality",
                  {{'R', 1, 1, {{0, 1}, {1, 1}}}, {'E', 5, 0, {{0, 1}, {1, 1}}},
                   {'G', 0, 0, {{0, 1}}}, {'G', 0, 0, {{1, 1}}}},
                  {{{false, 0, 'L'}, {false, 1, 'E'}}},
                  {{0, 1}}},
        KnownCase{"ChainOfThree",
                  {{'G', 1, 0, {{0, 1}, {1, -1}}}, {'G', 1, 0, {{1, 1}}},
                   {'L', 1.5, 0, {{0, 1}}}},
                  {{{false, 0, 'G'}, {false, 1, 'G'}, {false, 2, 'L'}}},
                  {{0, 1, 2}}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(Iis, FeasibleProblemHasNothingAndModeZeroStopsAtTheInitialSubsystem) {
  const int x = col(0, 4, 1);
  row('L', 3, {{x, 1}});
  EXPECT_EQ(first(), NVRL_IIS_FEASIBLE);
  EXPECT_EQ(count(), 1);
  int status = -1;
  ASSERT_EQ(NVRLiisnext(prob, &status), 0);
  EXPECT_EQ(status, NVRL_IIS_FEASIBLE);

  row('G', 5, {{x, 1}});  // beyond the upper bound 4
  EXPECT_EQ(first(0), NVRL_IIS_FOUND);
  EXPECT_EQ(count(), 1);  // the initial subsystem only
  EXPECT_FALSE(membersOf(prob, 0).empty());
}

// ---- a MIP ---------------------------------------------------------------------------------

TEST_F(Iis, IntegerInfeasibilityIsFoundWithIntegralityKept) {
  // 2x + 2y = 3 has no integer point although its relaxation is feasible; x + y <= 10 and
  // the bounds are not needed.
  const int x = col(0, 10, 1, 'I'), y = col(0, 10, 1, 'I');
  row('E', 3, {{x, 2}, {y, 2}});
  row('L', 10, {{x, 1}, {y, 1}});
  ASSERT_EQ(first(), NVRL_IIS_FOUND);
  const auto set = membersOf(prob, 1);
  EXPECT_EQ(keys(set), (Key{{false, 0, 'E'}}));
  expectIrreducible(model(), set, true);

  const std::string file = ::testing::TempDir() + "iis_mip";
  ASSERT_EQ(NVRLiiswrite(prob, 1, file.c_str(), 1, nullptr), 0) << lastError();
  NVRLprob back = nullptr;
  ASSERT_EQ(NVRLcreateprob(&back), 0);
  NVRLsetintcontrol(back, nvrl::id::kLogLevel, 0);
  ASSERT_EQ(NVRLreadprob(back, (file + ".mps").c_str(), ""), 0) << lastError(back);
  ASSERT_EQ(NVRLmipoptimize(back, ""), 0);
  EXPECT_EQ(intAttr(back, nvrl::id::kMipStatus), NVRL_MIP_INFEAS);
  NVRLdestroyprob(back);
  std::remove((file + ".mps").c_str());
}

// ---- the shared data -----------------------------------------------------------------------

// How an instance is made infeasible: as it is (already infeasible), by a row bounding the
// objective one unit (or 0.1%) beyond its optimum, or by moving the rhs of the binding row
// with the largest dual past the range of activity that the other rows and bounds allow.
enum class Variant { AsIs, ObjectiveCut, RhsMoved };

struct DataCase {
  std::string file;
  Variant variant;
};

class IisData : public Iis, public ::testing::WithParamInterface<DataCase> {
 protected:
  void objectiveCut(double optimum) {
    const nvrl::Model &m = model();
    std::vector<std::pair<int, double>> e;
    for (int j = 0; j < m.cols(); ++j)
      if (m.obj[j] != 0) e.push_back({j, m.obj[j]});
    const double margin = std::max(1.0, 1e-3 * std::fabs(optimum));
    const double target = optimum - m.objconst;
    if (m.objsense > 0)
      row('L', target - margin, e);
    else
      row('G', target + margin, e);
  }

  // The most activity of row r over the other rows and the bounds for a 'G' row, the least
  // for an 'L' or 'E' row; false when unbounded.
  bool activityLimit(int r, double &limit) {
    const nvrl::Model &m = model();
    const int n = m.cols();
    std::vector<double> lo(n), up(n), cost(n, 0.0), rlo, rup, val;
    std::vector<HighsInt> start{0}, index;
    for (int j = 0; j < n; ++j) {
      lo[j] = m.lb[j] <= -1e20 ? -INFINITY : m.lb[j];
      up[j] = m.ub[j] >= 1e20 ? INFINITY : m.ub[j];
    }
    for (int64_t e = m.A.start[r]; e < m.A.start[r + 1]; ++e) cost[m.A.col[e]] = m.A.val[e];
    for (int i = 0; i < m.rows(); ++i) {
      const char t = m.rowtype[i];
      if (i == r || t == 'N') continue;
      const double rhs = m.rhs[i];
      rlo.push_back(t == 'L' ? -INFINITY : t == 'R' ? rhs - m.range[i] : rhs);
      rup.push_back(t == 'G' ? INFINITY : rhs);
      for (int64_t e = m.A.start[i]; e < m.A.start[i + 1]; ++e)
        index.push_back(m.A.col[e]), val.push_back(m.A.val[e]);
      start.push_back(static_cast<HighsInt>(index.size()));
    }
    void *h = Highs_create();
    Highs_setBoolOptionValue(h, "output_flag", false);
    Highs_passModel(h, n, static_cast<HighsInt>(rlo.size()), static_cast<HighsInt>(index.size()),
                    0, kHighsMatrixFormatRowwise, kHighsHessianFormatTriangular,
                    m.rowtype[r] == 'G' ? kHighsObjSenseMaximize : kHighsObjSenseMinimize, 0.0,
                    cost.data(), lo.data(), up.data(), rlo.data(), rup.data(), start.data(),
                    index.data(), val.data(), nullptr, nullptr, nullptr, nullptr);
    Highs_run(h);
    const bool ok = Highs_getModelStatus(h) == kHighsModelStatusOptimal;
    limit = Highs_getObjectiveValue(h);
    Highs_destroy(h);
    return ok;
  }

  // Moves the rhs of the binding 'L', 'G' or 'E' row with the largest dual past its limit
  // (an 'E' row below its least activity).
  bool moveRhs() {
    if (NVRLlpoptimize(prob, "") != 0) return false;
    const nvrl::Model &m = model();
    std::vector<double> duals(m.rows());
    if (NVRLgetlpsol(prob, nullptr, nullptr, duals.data(), nullptr) != 0) return false;
    std::vector<int> order;
    for (int i = 0; i < m.rows(); ++i)
      if (std::strchr("LGE", m.rowtype[i]) && std::fabs(duals[i]) > 1e-7)
        order.push_back(i);
    std::sort(order.begin(), order.end(),
              [&](int a, int b) { return std::fabs(duals[a]) > std::fabs(duals[b]); });
    for (int r : order) {
      double limit = 0.0;
      if (!activityLimit(r, limit)) continue;
      const double margin = std::max(1.0, 1e-2 * std::fabs(limit));
      const double rhs = m.rowtype[r] == 'G' ? limit + margin : limit - margin;
      return NVRLchgrhs(prob, 1, &r, &rhs) == 0;
    }
    return false;
  }
};

TEST_P(IisData, SetIsInfeasibleEveryMemberIsNeededAndItsFileReadsBackInfeasible) {
  const DataCase &c = GetParam();
  const std::string path = std::string(NVRL_DATA_DIR) + "/" + c.file;
  ASSERT_EQ(NVRLreadprob(prob, path.c_str(), ""), 0) << lastError();
  if (c.variant == Variant::ObjectiveCut) {
    double optimum = NAN;
    for (auto &inst : nvtest::dataInstances())
      if (inst.file == c.file) optimum = inst.objective;
    ASSERT_FALSE(std::isnan(optimum));
    objectiveCut(optimum);
  } else if (c.variant == Variant::RhsMoved) {
    ASSERT_TRUE(moveRhs()) << "no binding row with a finite activity limit";
  }
  ASSERT_EQ(first(), NVRL_IIS_FOUND);
  const auto set = membersOf(prob, 1);
  expectIrreducible(model(), set, false);
  expectCertificate(model(), set);
  int count = 0;
  std::vector<int> rows(2), cols(2);
  std::vector<double> sum(2);
  std::vector<int> num(2);
  ASSERT_EQ(NVRLiisstatus(prob, &count, rows.data(), cols.data(), sum.data(), num.data()), 0);
  EXPECT_EQ(rows[1] + cols[1], static_cast<int>(set.size()));
  EXPECT_GT(sum[1], 0.0);
  EXPECT_GE(num[1], 1);

  const std::string file = ::testing::TempDir() + "iis_" + nvtest::testName(c.file);
  // MPS: some of these column names cannot be written in LP format.
  ASSERT_EQ(NVRLiiswrite(prob, 1, file.c_str(), 1, ""), 0) << lastError();
  NVRLprob back = nullptr;
  ASSERT_EQ(NVRLcreateprob(&back), 0);
  NVRLsetintcontrol(back, nvrl::id::kLogLevel, 0);
  ASSERT_EQ(NVRLreadprob(back, (file + ".mps").c_str(), ""), 0) << lastError(back);
  EXPECT_EQ(intAttr(back, nvrl::id::kRows), rows[1]);
  ASSERT_EQ(NVRLlpoptimize(back, ""), 0);
  EXPECT_EQ(intAttr(back, nvrl::id::kLpStatus), NVRL_LP_INFEAS);
  NVRLdestroyprob(back);
  std::remove((file + ".mps").c_str());
}

// Every LP with a moved rhs; the objective cut too for the smaller ones (on the large ones its
// IIS spans most of the problem, which makes a long test and adds little).
std::vector<DataCase> dataCases() {
  const std::set<std::string> cut = {"afiro.mps", "adlittle.mps", "avgas.mps", "blending.mps",
                                     "sctest.mps", "israel.mps", "e226.mps"};
  std::vector<DataCase> out;
  for (auto &inst : nvtest::dataInstances()) {
    if (inst.kind != "lp") continue;
    if (inst.status == "infeasible") out.push_back({inst.file, Variant::AsIs});
    if (inst.status == "optimal") {
      out.push_back({inst.file, Variant::RhsMoved});
      if (cut.count(inst.file)) out.push_back({inst.file, Variant::ObjectiveCut});
    }
  }
  return out;
}

std::string dataCaseName(const ::testing::TestParamInfo<DataCase> &info) {
  static const char *suffix[] = {"", "_cut", "_rhs"};
  return nvtest::testName(info.param.file) + suffix[static_cast<int>(info.param.variant)];
}

INSTANTIATE_TEST_SUITE_P(Shared, IisData, ::testing::ValuesIn(dataCases()), dataCaseName);

TEST_F(Iis, IisnextOnGalenetNeverRepeatsASet) {
  ASSERT_EQ(NVRLreadprob(prob, (std::string(NVRL_DATA_DIR) + "/galenet.mps").c_str(), ""), 0);
  ASSERT_EQ(NVRLiisall(prob), 0) << lastError();
  ASSERT_GE(count(), 2);
  std::set<Key> seen;
  for (int k = 1; k < count(); ++k) {
    const auto set = membersOf(prob, k);
    expectIrreducible(model(), set, false);
    EXPECT_TRUE(seen.insert(keys(set)).second) << "set " << k << " repeats an earlier one";
  }
}

}  // namespace
}  // namespace solvetest

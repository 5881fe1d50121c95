// The nonlinear data through the C API: the problem object, coefficients, per-column
// settings, deletions beneath it, tolerance sets and user functions.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "core/ids.h"
#include "core/problem.h"
#include "core/registry.h"
#include "nslp/formula.h"
#include "nslp/slp_problem.h"
#include "nvrl.h"
#include "test_nslp_support.h"
#include "test_support.h"

using nvrl::ParamInfo;
using nvrl::ParamOwner;
using nvrl::ParamType;
using nslptest::getVar;
using nslptest::NslpTest;
using nslptest::setVar;
using nslptest::VarIn;
using nslptest::VarOut;
using nslptest::F;
using nslptest::defineUserFunction;

// ---- The nonlinear problem object: life cycle on top of an optimiser problem, its controls and
// attributes, lists, lookup by name, messages, copies and interrupts.
namespace {

using Slp = nvtest::SlpHandleTest;

std::vector<std::string> g_lines;
NSLPprob g_from = nullptr;
void slpCb(NSLPprob slp, void *data, const char *msg, int len, int) {
  g_from = slp;
  g_lines.push_back(std::string(static_cast<const char *>(data)) + ":" + std::string(msg, len));
}

int g_global_calls = 0;
std::string g_global_type;
int globalCb(NVRLobject obj, void *, void *, const char *, int, int) {
  const char *t = "?";
  NVRLgetobjecttypename(obj, &t);
  g_global_type = t;
  ++g_global_calls;
  return 0;
}

}  // namespace

TEST_F(Slp, AttributesOfAFreshObjectFollowTheProblemBeneath) {
  using namespace nvrl::id;
  EXPECT_EQ(0, intAttr(kSlpRows));
  EXPECT_EQ(0, intAttr(kSlpCols));
  EXPECT_EQ(-1, intAttr(kSlpConstantCol));
  EXPECT_EQ(0, intAttr(kSlpCoefs));
  EXPECT_EQ(0, intAttr(kSlpNonlinearRows));
  EXPECT_EQ(0, intAttr(kSlpNlpStatus));
  EXPECT_EQ(0, intAttr(kSlpStateBits));
  double obj = -1;
  ASSERT_EQ(0, NSLPgetdblattrib(slp_, kSlpObjVal, &obj));
  EXPECT_EQ(0.0, obj);

  prob_->model.rowtype = {'L', 'G'};
  prob_->model.obj = {1, 2, 3};
  EXPECT_EQ(2, intAttr(kSlpRows));
  EXPECT_EQ(3, intAttr(kSlpCols));

  slp_->data.coefs.push_back({0, 1, 2.0, {}});
  slp_->data.coefs.push_back({0, 2, 1.0, {}});
  slp_->data.coefs.push_back({1, 2, 1.0, {}});
  EXPECT_EQ(3, intAttr(kSlpCoefs));
  EXPECT_EQ(2, intAttr(kSlpNonlinearRows));
}

TEST_F(Slp, ControlsReadDefaultsAndRefuseBadValues) {
  for (const ParamInfo &p : nvrl::paramTable()) {
    if (!p.isNonlinear() || !p.isControl()) continue;
    SCOPED_TRACE(p.name);
    if (p.isIntegral()) {
      int v = -99;
      ASSERT_EQ(0, NSLPgetintcontrol(slp_, p.id, &v));
      EXPECT_EQ(p.idef, v);
      ASSERT_EQ(0, NSLPsetintcontrol(slp_, p.id, static_cast<int>(p.ihi)));
      EXPECT_NE(0, NSLPsetintcontrol(slp_, p.id, static_cast<int>(p.ilo) - 1));
      ASSERT_EQ(0, NSLPgetintcontrol(slp_, p.id, &v));
      EXPECT_EQ(p.ihi, v);
    } else if (p.type == ParamType::Double) {
      double v = -99;
      ASSERT_EQ(0, NSLPgetdblcontrol(slp_, p.id, &v));
      EXPECT_EQ(p.ddef, v);
      ASSERT_EQ(0, NSLPsetdblcontrol(slp_, p.id, p.dlo));
      if (p.dhi < 1e300) {
        EXPECT_NE(0, NSLPsetdblcontrol(slp_, p.id, p.dhi * 2 + 1));
      }
      ASSERT_EQ(0, NSLPgetdblcontrol(slp_, p.id, &v));
      EXPECT_EQ(p.dlo, v);
    }
  }
  ASSERT_EQ(0, NSLPsetdefaults(slp_));
  int post = -1;
  ASSERT_EQ(0, NSLPgetintcontrol(slp_, nvrl::id::kSlpPostsolve, &post));
  EXPECT_EQ(0, post);
}

TEST_F(Slp, ListsAndLookupByName) {
  const NVRLcaentry *main_list = nullptr, *ipm_list = nullptr;
  ASSERT_EQ(0, NSLPgetcalist(slp_, &main_list));
  ASSERT_EQ(0, NSLPgetIPMcalist(slp_, &ipm_list));
  size_t listed = 0;
  for (const NVRLcaentry *list : {main_list, ipm_list}) {
    for (const NVRLcaentry *e = list; e->type != -1; ++e, ++listed) {
      SCOPED_TRACE(e->name);
      EXPECT_GE(e->id, 11999);
      EXPECT_LE(e->id, 12999);
      int id = 0, flags = 0;
      ASSERT_EQ(0, NSLPcontrolcode(slp_, e->name, &id, &flags));
      EXPECT_EQ(e->id, id);
      EXPECT_EQ(e->flags, flags);
      EXPECT_EQ(0, flags & NSLP_CCFLAG_SKIP);
      const ParamInfo *p = nvrl::findParam(e->id);
      ASSERT_NE(nullptr, p);
      EXPECT_EQ(list == ipm_list, p->owner == ParamOwner::NonlinearIpm);
      EXPECT_EQ(p->isControl(), (flags & NSLP_CCFLAG_CONTROL) != 0);
    }
  }
  size_t registered = 0;
  for (const ParamInfo &p : nvrl::paramTable()) registered += p.isNonlinear() ? 1 : 0;
  EXPECT_EQ(registered, listed);
  EXPECT_GT(registered, 0u);

  int id = 0, flags = 0;
  ASSERT_EQ(0, NSLPcontrolcode(slp_, "NSLP_POSTSOLVE", &id, &flags));
  EXPECT_EQ(12416, id);
  EXPECT_EQ(NSLP_CCFLAG_INT | NSLP_CCFLAG_CONTROL, flags);
}

TEST_F(Slp, CopiesTakeDataOrControlsSeparately) {
  slp_->data.coefs.push_back({0, 0, 1.5, {{1, 2.0}}});
  slp_->state.iterations = 4;
  ASSERT_EQ(0, NSLPsetintcontrol(slp_, nvrl::id::kSlpIterLimit, 7));

  nslptest::SecondPair second;
  NVRLprob prob2 = second.prob;
  NSLPprob slp2 = second.slp;
  ASSERT_EQ(0, NSLPmsaddjob(slp_, "job", 0, nullptr, nullptr, 0, nullptr, nullptr, 0, nullptr,
                            nullptr, nullptr));
  ASSERT_EQ(0, NSLPcopyprob(slp2, slp_, nullptr));
  nslptest::expectSameData(slp_->data, slp2->data);
  int v = 0;
  ASSERT_EQ(0, NSLPgetintattrib(slp2, nvrl::id::kSlpIterations, &v));
  EXPECT_EQ(4, v);
  ASSERT_EQ(0, NSLPgetintcontrol(slp2, nvrl::id::kSlpIterLimit, &v));
  EXPECT_EQ(1000, v);  // controls stay behind

  slp_->data.coefs[0].factor = -3;
  EXPECT_EQ(1.5, slp2->data.coefs[0].factor);
  EXPECT_EQ(prob2, slp2->prob);  // still stacked on its own problem

  EXPECT_NE(0, NSLPcopycontrols(slp2, nullptr));
  EXPECT_EQ("NSLPcopycontrols: invalid source nonlinear problem", nvtest::slpError(slp2));
  ASSERT_EQ(0, NSLPgetintcontrol(slp2, nvrl::id::kSlpIterLimit, &v));
  EXPECT_EQ(1000, v);  // a failed copy changes nothing
  ASSERT_EQ(0, NSLPcopycontrols(slp2, slp_));
  ASSERT_EQ(0, NSLPgetintcontrol(slp2, nvrl::id::kSlpIterLimit, &v));
  EXPECT_EQ(7, v);
  ASSERT_EQ(0, NSLPsetintcontrol(slp_, nvrl::id::kSlpIterLimit, 9));
  ASSERT_EQ(0, NSLPgetintcontrol(slp2, nvrl::id::kSlpIterLimit, &v));
  EXPECT_EQ(7, v);
}

TEST_F(Slp, MessagesGoToTheCallbackAndTheGlobalHandlers) {
  g_lines.clear();
  g_global_calls = 0;
  char first[] = "first", second[] = "second";
  ASSERT_EQ(0, NSLPsetcbmessage(slp_, slpCb, first));
  ASSERT_EQ(0, NSLPsetcbmessage(slp_, slpCb, second));  // replaces the first
  ASSERT_EQ(0, NVRL_ge_addcbmsghandler(globalCb, nullptr, 0));
  EXPECT_NE(0, NSLPinterrupt(slp_, -1));  // failures are not logged
  EXPECT_TRUE(g_lines.empty());
  slp_->log(NVRL_MSG_INFO, "iteration %d", 3);
  ASSERT_EQ(0, NVRL_ge_removecbmsghandler(globalCb, nullptr));
  EXPECT_EQ((std::vector<std::string>{"second:iteration 3"}), g_lines);
  EXPECT_EQ(slp_, g_from);
  EXPECT_EQ(1, g_global_calls);
  EXPECT_EQ("NSLPprob", g_global_type);

  ASSERT_EQ(0, NSLPsetcbmessage(slp_, nullptr, nullptr));
  g_lines.clear();
  slp_->log(NVRL_MSG_INFO, "iteration %d", 4);
  EXPECT_TRUE(g_lines.empty());
}

TEST_F(Slp, CreationAndHandlesAreChecked) {
  NSLPprob other = nullptr;
  EXPECT_NE(0, NSLPcreateprob(nullptr, &prob_));
  EXPECT_NE(0, NSLPcreateprob(&other, nullptr));
  NVRLprob null_prob = nullptr;
  EXPECT_NE(0, NSLPcreateprob(&other, &null_prob));
  EXPECT_EQ("Null problem handle", nvtest::globalError());
  EXPECT_EQ(nullptr, other);

  // An object whose problem has gone refuses work but can still be destroyed.
  NVRLprob beneath;
  ASSERT_EQ(0, NVRLcreateprob(&beneath));
  ASSERT_EQ(0, NSLPcreateprob(&other, &beneath));
  ASSERT_EQ(0, NVRLdestroyprob(beneath));
  int v;
  EXPECT_NE(0, NSLPgetintattrib(other, nvrl::id::kSlpRows, &v));
  EXPECT_EQ("The optimiser problem beneath this nonlinear problem has been destroyed",
            nvtest::slpError(other));
  ASSERT_EQ(0, NSLPdestroyprob(other));
  EXPECT_NE(0, NSLPdestroyprob(other));
  EXPECT_EQ("Invalid or destroyed nonlinear problem handle", nvtest::globalError());
  EXPECT_NE(0, NSLPsetdefaults(other));

  // Handles of the other kind are refused in both directions.
  EXPECT_NE(0, NSLPsetdefaults(reinterpret_cast<NSLPprob>(prob_)));
  EXPECT_NE(0, NVRLsetdefaults(reinterpret_cast<NVRLprob>(slp_)));
}

TEST(SlpStart, ObjectsNeedAStartedNonlinearSolver) {
  ASSERT_EQ(0, NVRLinit(nullptr));
  NVRLprob prob;
  ASSERT_EQ(0, NVRLcreateprob(&prob));
  ASSERT_EQ(0, NSLPinit(nullptr));
  NSLPprob slp;
  ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
  // Release every start (other suites may hold some, besides ours) to observe the stopped
  // solver; the others' starts are given back at the end.
  int held = 0;
  while (NSLPfree() == 0) ++held;
  ASSERT_GE(held, 1);
  EXPECT_NE(0, NSLPsetdefaults(slp));
  NSLPprob other = nullptr;
  EXPECT_NE(0, NSLPcreateprob(&other, &prob));
  EXPECT_EQ(nullptr, other);
  // Destruction still works while stopped.
  EXPECT_EQ(0, NSLPdestroyprob(slp));
  for (int i = 0; i < held - 1; ++i) NSLPinit(nullptr);
  NVRLdestroyprob(prob);
  NVRLfree();
}

// ---- Nonlinear coefficients through the C API: add, replace, delete, read as tokens and text, and
// evaluate (bad input is in the bad-input table).
namespace {

const int CON = NSLP_TOK_CON, COL = NSLP_TOK_COL, OP = NSLP_TOK_OP, IFUN = NSLP_TOK_IFUN,
          DEL = NSLP_TOK_DEL, END = NSLP_TOK_EOF;

// Formulas in reverse Polish, concatenated, with their starts.
struct Batch {
  std::vector<int> rows, cols, start{0}, type;
  std::vector<double> factor, value;
  Batch &add(int row, int col, double f, std::vector<std::pair<int, double>> toks) {
    rows.push_back(row), cols.push_back(col), factor.push_back(f);
    for (auto &t : toks) type.push_back(t.first), value.push_back(t.second);
    start.push_back(int(type.size()));
    return *this;
  }
  int n() const { return int(rows.size()); }
};

class SlpCoefs : public nvtest::SlpHandleTest {
 protected:
  void SetUp() override {
    SlpHandleTest::SetUp();
    load({'L', 'G'}, {1, 2}, {1, -3, -1e20}, {5, -1, 1e20});  // x, y, z; rows r0, r1
  }
  int add(const Batch &b, int parsed = 1) {
    return NSLPaddcoefs(slp_, b.n(), b.rows.data(), b.cols.data(), b.factor.data(),
                        b.start.data(), parsed, b.type.data(), b.value.data());
  }
  std::vector<std::pair<int, int>> places() {
    int n = -1;
    EXPECT_EQ(0, NSLPgetcoefs(slp_, &n, nullptr, nullptr));
    std::vector<int> r(n), c(n);
    EXPECT_EQ(0, NSLPgetcoefs(slp_, &n, r.data(), c.data()));
    std::vector<std::pair<int, int>> out;
    for (int k = 0; k < n; ++k) out.push_back({r[k], c[k]});
    return out;
  }
  std::string text(int row, int col, double *factor = nullptr) {
    char buf[256];
    EXPECT_EQ(0, NSLPgetccoef(slp_, row, col, factor, buf, sizeof buf)) << error();
    return buf;
  }
  double evaluate(int row, int col) {
    double v = NAN;
    EXPECT_EQ(0, NSLPevaluatecoef(slp_, row, col, &v)) << error();
    return v;
  }
};

TEST_F(SlpCoefs, AddKeepsOnePerPlaceInOrder) {
  Batch b;
  b.add(1, 0, 2.0, {{COL, 1}, {END, 0}})                           // 2*x*y
      .add(0, 2, 1.0, {{COL, 0}, {CON, 2}, {OP, NSLP_OP_EXPONENT}, {END, 0}})  // z*x^2
      .add(-1, -1, 3.0, {{DEL, 0}, {COL, 0}, {IFUN, NSLP_FN_LN}, {END, 0}})     // 3*ln(x)
      .add(1, 0, 4.0, {{COL, 2}, {END, 0}});  // the same place again: this one stays
  ASSERT_EQ(0, add(b)) << error();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{-1, -1}, {0, 2}, {1, 0}}), places());
  EXPECT_EQ(3, intAttr(nvrl::id::kSlpCoefs));
  EXPECT_EQ(3, intAttr(nvrl::id::kSlpNonlinearRows));
  double f = 0;
  EXPECT_EQ("z", text(1, 0, &f));
  EXPECT_EQ(4.0, f);

  // A second call merges: (0, 2) is replaced, (0, 1) slots in between.
  Batch c;
  c.add(0, 2, -1.0, {{COL, 1}, {OP, NSLP_OP_UMINUS}, {END, 0}}).add(0, 1, 1.0, {{CON, 7}, {END, 0}});
  ASSERT_EQ(0, add(c)) << error();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{-1, -1}, {0, 1}, {0, 2}, {1, 0}}), places());
  EXPECT_EQ("-y", text(0, 2, &f));
  EXPECT_EQ(-1.0, f);
  EXPECT_EQ(-1, intAttr(nvrl::id::kSlpConstantCol));

  // Load replaces everything; delete takes what it names.
  Batch d;
  d.add(1, 2, 1.0, {{COL, 0}, {END, 0}}).add(0, 0, 1.0, {{COL, 1}, {END, 0}});
  ASSERT_EQ(0, NSLPloadcoefs(slp_, d.n(), d.rows.data(), d.cols.data(), nullptr, d.start.data(),
                             1, d.type.data(), d.value.data()))
      << error();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 0}, {1, 2}}), places());
  int r[] = {1, 1}, cc[] = {2, 2};
  ASSERT_EQ(0, NSLPdelcoefs(slp_, 2, r, cc)) << error();
  EXPECT_EQ((std::vector<std::pair<int, int>>{{0, 0}}), places());
}

TEST_F(SlpCoefs, FormulaInBothTokenFormsAndAsText) {
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, "max(x, 2)*(y - z)^2 + pwl(x, 0, 0, 1, 2)"))
      << error();
  EXPECT_EQ("max(x, 2)*(y - z)^2 + pwl(x, 0, 0, 1, 2)", text(0, -1));

  int n = 0;
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 1, 0, &n, nullptr, nullptr));
  std::vector<int> pt(n);
  std::vector<double> pv(n);
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 1, n, &n, pt.data(), pv.data()));
  EXPECT_EQ(END, pt.back());
  EXPECT_EQ(OP, pt[n - 2]);  // the sum is last
  EXPECT_EQ(NSLP_OP_PLUS, pv[n - 2]);
  EXPECT_NE(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 1, n - 1, &n, pt.data(), pv.data()));
  EXPECT_NE(std::string::npos, error().find("more than maxtypes"));

  int m = 0;
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 0, 0, &m, nullptr, nullptr));
  std::vector<int> ut(m);
  std::vector<double> uv(m);
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 0, m, &m, ut.data(), uv.data()));
  EXPECT_EQ(NSLP_TOK_LB, ut[7]);  // max ( x , 2 ) * ( ...: the bracket the difference needs
  // Both forms, and the text, mean the same formula: x = 1, y = -1, z = 0 -> 2*1 + 2.
  double vp = 0, vu = 0;
  ASSERT_EQ(0, NSLPevaluateformula(slp_, 1, pt.data(), pv.data(), &vp)) << error();
  ASSERT_EQ(0, NSLPevaluateformula(slp_, 0, ut.data(), uv.data(), &vu)) << error();
  EXPECT_EQ(4.0, vp);
  EXPECT_EQ(vp, vu);
  EXPECT_EQ(vp, evaluate(0, -1));
  // Reading the written form back gives the stored tokens.
  ASSERT_EQ(0, NSLPchgcoef(slp_, 1, 1, nullptr, 0, ut.data(), uv.data())) << error();
  std::vector<int> again(n);
  std::vector<double> againv(n);
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 1, 1, nullptr, 1, n, &n, again.data(), againv.data()));
  EXPECT_EQ(pt, again);
  EXPECT_EQ(pv, againv);

  char small[8];
  EXPECT_NE(0, NSLPgetccoef(slp_, 0, -1, nullptr, small, sizeof small));
  EXPECT_NE(std::string::npos, error().find("needs 41 bytes")) << error();
}

TEST_F(SlpCoefs, ChangeFactorOnlyAndEvaluateAtTheCurrentPoint) {
  double two = 2.0;
  ASSERT_EQ(0, NSLPchgccoef(slp_, 1, 0, &two, "exp(z) - y*x")) << error();
  EXPECT_EQ(2.0 * (1 + 1), evaluate(1, 0));  // x = 1 (lower bound), y = -1 (upper), z = 0
  double half = 0.5;
  ASSERT_EQ(0, NSLPchgcoef(slp_, 1, 0, &half, 1, nullptr, nullptr)) << error();
  ASSERT_EQ(0, NSLPchgccoef(slp_, 1, 0, &half, nullptr)) << error();
  EXPECT_EQ("exp(z) - y*x", text(1, 0));
  EXPECT_EQ(0.5 * 2, evaluate(1, 0));
  // An initial value moves the current point.
  slp_->data.columns.resize(3);
  slp_->data.columns[2].has_initial = true;
  slp_->data.columns[2].initial = std::log(3.0);
  EXPECT_NEAR(0.5 * (3 + 1), evaluate(1, 0), 1e-15);
}

// ---- Per-column settings of the nonlinear solver as the solve sees them: initial values chosen
// through each entry point decide which local optimum is found, and the current point can
// become the next start.

// min -x^2 on [-1, 2]: a local minimum at each bound (-1 and -4), chosen by the start.
class ConcaveStart : public NslpTest, public ::testing::WithParamInterface<const char *> {
 protected:
  void SetUp() override {
    NslpTest::SetUp();
    x = col(-1, 2, 0);
    qobj({{x, x, -2.0}});
  }
  void setStart(double v) {
    const std::string how = GetParam();
    if (how == "chgvar") {
      ASSERT_EQ(0, setVar(slp, x, &VarIn::initvalue, v));
    } else if (how == "addvars") {
      ASSERT_EQ(0, NSLPaddvars(slp, 1, &x, nullptr, nullptr, nullptr, nullptr, &v, nullptr));
    } else {
      ASSERT_EQ(0, NSLPloadvars(slp, 1, &x, nullptr, nullptr, nullptr, nullptr, &v, nullptr));
    }
  }
  int x = -1;
};

TEST_P(ConcaveStart, TheInitialValueChoosesTheLocalOptimum) {
  for (auto [start, end] : {std::pair{-0.5, -1.0}, std::pair{0.5, 2.0}}) {
    setStart(start);
    solve();
    EXPECT_NEAR(end, NslpTest::x()[x], 1e-6) << "from " << start;
  }
  // Deleting the settings brings back the default start: the point of the bounds nearest to 0.
  ASSERT_EQ(0, NSLPdelvars(slp, 1, &x));
  EXPECT_EQ(0.0, getVar(slp, x, &VarOut::initvalue));
}

INSTANTIATE_TEST_SUITE_P(EntryPoints, ConcaveStart,
                         ::testing::Values("chgvar", "addvars", "loadvars"));

TEST_F(NslpTest, CurrentPointBecomesTheNextStart) {
  // Rosen-Suzuki's rows with a linear objective: a few iterations from 0, none to speak of
  // from the optimum.
  for (int j = 0; j < 4; ++j) col(-1e20, 1e20, j == 2 ? -1.0 : 0.0);
  int r = row('L', 8, {{0, 1}, {1, -1}, {2, 1}, {3, -1}});
  qrow(r, {{0, 0, 1}, {1, 1, 1}, {2, 2, 1}, {3, 3, 1}});
  ASSERT_EQ(0, optimize()) << slpError();
  const int first = intAttr(NSLP_ATTR_ITERATIONS);
  const double obj = objective();
  ASSERT_EQ(0, NSLPsetcurrentiv(slp));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_NEAR(obj, objective(), 1e-7);
  EXPECT_LT(intAttr(NSLP_ATTR_ITERATIONS), first);
  // Forgetting the solve leaves nothing to take the start from.
  ASSERT_EQ(0, NSLPreinitialize(slp));
  EXPECT_EQ(NSLP_NLP_UNSTARTED, status());
  EXPECT_NE(0, NSLPsetcurrentiv(slp));
}

// ---- Deleting rows and columns of the optimiser problem beneath a nonlinear problem: the
// nonlinear data follows the new numbering (the refusal to delete a column a formula needs is
// in the bad-input table).

constexpr double kFree = 1e20;

class Deletions : public NslpTest {
 protected:
  // HS 7 (min ln(1 + x^2) - y  s.t.  (1 + x^2)^2 + y^2 = 4, optimum -sqrt(3) at (0, sqrt(3)))
  // with data of every kind that rows and columns index. With spare, a spare column before x
  // and a spare row before the constraint carry data of their own, and the spare row
  // determines x: deleting the spares must leave what the problem built without them holds.
  void build(bool spare) {
    const int s = spare ? col(-kFree, kFree, 0) : -1;
    x = col(-kFree, kFree, 0);
    y = col(-kFree, kFree, 0);
    const int sr = spare ? row('L', 100.0, {{s, 1.0}, {x, 1.0}}) : -1;
    if (spare) coef(sr, -1, 1.0, F().x(s).k(2).pow());
    const int r = row('E', 4.0, {});
    coef(r, -1, 1.0, F().k(1).x(x).k(2).pow().add().k(2).pow().x(y).k(2).pow().add());
    formulaObjective(F().args().k(1).x(x).k(2).pow().add().fn(NSLP_FN_LN).x(y).sub());
    start(x, 2.0);
    start(y, 2.0);
    int index = 0;
    ASSERT_EQ(0, NSLPsetstring(slp, &index, "kept"));
    const double tols[NSLP_TOLSET_SIZE] = {1e-3, 0, 0, 0, 0, 0};
    ASSERT_EQ(0, NSLPloadtolsets(slp, 1, tols));
    ASSERT_EQ(0, setVar(slp, y, &VarIn::tolset, 1));
    ASSERT_EQ(0, setVar(slp, y, &VarIn::detrow, r)) << slpError();
    ASSERT_EQ(0, NSLPchgcascadenlimit(slp, y, 7));
    const int fixed = NSLP_DELTA_FIXED;
    const double bound = 0.25, weight = 3.0;
    ASSERT_EQ(0, NSLPchgdeltatype(slp, 1, &x, &fixed, &bound));
    ASSERT_EQ(0, NSLPchgrowwt(slp, r, &weight));
    // Estimates by (column, row), and a job's initial values.
    std::vector<int> cols{y, x}, rows{r, r}, job{y, x};
    std::vector<double> values{4.0, 5.0};
    if (spare) {
      ASSERT_EQ(0, setVar(slp, x, &VarIn::detrow, sr)) << slpError();
      ASSERT_EQ(0, setVar(slp, s, &VarIn::initvalue, 1.0));
      ASSERT_EQ(0, NSLPchgrowwt(slp, sr, &weight));
      cols.insert(cols.end(), {s, x});
      rows.insert(rows.end(), {r, sr});
      values.insert(values.end(), {6.0, 7.0});
      job.push_back(s);
    }
    ASSERT_EQ(0, NSLPloaddfs(slp, int(cols.size()), cols.data(), rows.data(), values.data()));
    ASSERT_EQ(0, NSLPmsaddjob(slp, "job", int(job.size()), job.data(), values.data(), 0,
                              nullptr, nullptr, 0, nullptr, nullptr, nullptr));
    ASSERT_EQ(0, NSLPcascadeorder(slp));
    ASSERT_EQ(0, NSLPscaling(slp)) << slpError();
    if (spare) {
      ASSERT_EQ(0, NVRLdelrows(prob, 1, &sr)) << lastError();
      ASSERT_EQ(0, NVRLdelcols(prob, 1, &s)) << lastError();
      --x, --y;
    }
  }
  int x = -1, y = -1;
};

TEST_F(Deletions, TheDataFollowsTheNewNumbering) {
  build(true);
  // The same problem built without the spares, in a second pair.
  nslptest::SecondPair other;
  std::swap(prob, other.prob);
  std::swap(slp, other.slp);
  build(false);
  std::swap(prob, other.prob);
  std::swap(slp, other.slp);
  nslptest::expectSameData(other.slp->data, slp->data);

  solve();
  EXPECT_NEAR(-std::sqrt(3.0), objective(), 1e-6);
  // To the step tolerance of y's set.
  EXPECT_NEAR(0.0, NslpTest::x()[x], 1e-3);
  EXPECT_NEAR(std::sqrt(3.0), NslpTest::x()[y], 1e-3);

  // A destroyed nonlinear problem no longer follows: x, which its formulas read, can go.
  ASSERT_EQ(0, NSLPdestroyprob(slp));
  slp = nullptr;
  EXPECT_EQ(0, NVRLdelcols(prob, 1, &x)) << lastError();
  ASSERT_EQ(0, NSLPcreateprob(&slp, &prob));
}

// ---- Tolerance sets, step types, derivative estimates and item queries: each changes what a
// solve does (iterations, steps, the point reached). Bad input is in the bad-input table.

class ColumnRules : public NslpTest {
 protected:
  // min x0 + 2 x1 + exp(x0)  s.t.  x0^2 + x1^2 <= 5 from (1, 1): the optimum is where
  // (1 + e^x0, 2) is parallel to (x0, x1), near (-1.216, -1.876), objective -4.672.
  void curved() {
    x0 = col(-kFree, kFree, 1);
    x1 = col(-kFree, kFree, 2);
    coef(-1, -1, 1.0, F().args().x(x0).fn(NSLP_FN_EXP));
    const int r = row('L', 5.0, {});
    coef(r, -1, 1.0, F().x(x0).k(2).pow().x(x1).k(2).pow().add());
    start(x0, 1.0);
    start(x1, 1.0);
  }
  int useSet(int tolset) {
    for (int c : {x0, x1}) EXPECT_EQ(0, setVar(slp, c, &VarIn::tolset, tolset)) << slpError();
    return tolset;
  }
  int converged(int c) { return getVar(slp, c, &VarOut::converged); }
  int tolsetOf(int c) { return getVar(slp, c, &VarOut::tolset); }
  // An item of column c or row r, of the item's type.
  template <typename T = double>
  T colInfo(int item, int c) {
    T v = T(-1);
    EXPECT_EQ(0, NSLPgetcolinfo(slp, item, c, &v)) << slpError();
    return v;
  }
  template <typename T = double>
  T rowInfo(int item, int r) {
    T v = T(-1);
    EXPECT_EQ(0, NSLPgetrowinfo(slp, item, r, &v)) << slpError();
    return v;
  }
  std::vector<double> set(int entry, double tol) {
    std::vector<double> t(NSLP_TOLSET_SIZE, 0.0);
    t[entry] = tol;
    return t;
  }
  int x0 = -1, x1 = -1;
};

// Each entry of a tolerance set, loose, ends the solve earlier than the same entry tight,
// both near the optimum; the columns report the entry that converged them.
class TolsetEntry : public ColumnRules, public ::testing::WithParamInterface<std::pair<int, double>> {};

TEST_P(TolsetEntry, ALooseSetEndsTheSolveSooner) {
  const auto [entry, loose] = GetParam();
  curved();
  // Stationarity as tight as it goes, so that the step test decides when a solve ends.
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_OPTIMALITY_TOLERANCE, 1e-12));
  ASSERT_EQ(0, optimize()) << slpError();
  const std::vector<double> best = NslpTest::x();
  const double bestObj = objective();
  EXPECT_NEAR(-4.672, bestObj, 1e-3);
  std::vector<double> both = set(entry, 1e-13);
  const std::vector<double> l = set(entry, loose);
  both.insert(both.end(), l.begin(), l.end());
  ASSERT_EQ(0, NSLPloadtolsets(slp, 2, both.data())) << slpError();
  int iterations[2];
  for (int tolset : {1, 2}) {
    useSet(tolset);
    solve();
    EXPECT_NEAR(bestObj, objective(), 1e-3);
    for (int c : {x0, x1}) EXPECT_NEAR(best[c], NslpTest::x()[c], 1e-2) << "set " << tolset;
    iterations[tolset - 1] = intAttr(NSLP_ATTR_ITERATIONS);
  }
  EXPECT_LT(iterations[1], iterations[0]);
  // The loose solve ended by its step test: each column passed this entry.
  EXPECT_EQ(entry + 1, converged(x0));
  EXPECT_EQ(entry + 1, converged(x1));
}

INSTANTIATE_TEST_SUITE_P(Entries, TolsetEntry,
                         ::testing::Values(std::pair{NSLP_TOL_STEP_ABS, 0.1},
                                           std::pair{NSLP_TOL_STEP_REL, 0.1},
                                           std::pair{NSLP_TOL_OBJ_ABS, 0.2},
                                           std::pair{NSLP_TOL_OBJ_REL, 0.05},
                                           std::pair{NSLP_TOL_ROW_ABS, 0.4},
                                           std::pair{NSLP_TOL_ROW_REL, 0.08}));

TEST_F(ColumnRules, TolsetsAreNumberedChangedAndDeleted) {
  x0 = col(0, 1, 0);
  x1 = col(0, 1, 0);
  const double three[3 * NSLP_TOLSET_SIZE] = {1e-3, 0, 0, 0, 0, 0,  // set 1
                                              0, 2e-3, -1, 0, 0, 0,  // set 2
                                              0, 0, 0, 0, 0, 3e-3};  // set 3
  ASSERT_EQ(0, NSLPloadtolsets(slp, 3, three)) << slpError();
  int status = -1;
  double tols[NSLP_TOLSET_SIZE];
  ASSERT_EQ(0, NSLPgettolset(slp, 2, &status, tols));
  EXPECT_EQ(1 << NSLP_TOL_STEP_REL, status);
  EXPECT_EQ(-1.0, tols[2]);  // inactive entries keep their value
  // Status alone switches entries; an active entry needs a tolerance > 0.
  const int onlyObj = 1 << NSLP_TOL_OBJ_ABS;
  EXPECT_NE(0, NSLPchgtolset(slp, 2, &onlyObj, nullptr));  // its value is -1
  const double newTols[NSLP_TOLSET_SIZE] = {0, 0, 5e-4, 0, 0, 0};
  ASSERT_EQ(0, NSLPchgtolset(slp, 2, &onlyObj, newTols)) << slpError();
  ASSERT_EQ(0, NSLPgettolset(slp, 2, &status, tols));
  EXPECT_EQ(onlyObj, status);
  EXPECT_EQ(5e-4, tols[2]);

  useSet(3);
  ASSERT_EQ(0, setVar(slp, x0, &VarIn::tolset, 2));
  // Deleting set 2 moves set 3 down, and the column that used set 2 loses it.
  const int del[] = {2, 2};
  ASSERT_EQ(0, NSLPdeltolsets(slp, 2, del)) << slpError();
  EXPECT_EQ(0, tolsetOf(x0));
  EXPECT_EQ(2, tolsetOf(x1));
  ASSERT_EQ(0, NSLPgettolset(slp, 2, nullptr, tols));
  EXPECT_EQ(3e-3, tols[NSLP_TOL_ROW_REL]);
  EXPECT_NE(0, NSLPgettolset(slp, 3, &status, tols));
  // Reloading fewer sets than a column uses is refused; adding numbers the new sets on.
  EXPECT_NE(0, NSLPloadtolsets(slp, 1, three));
  ASSERT_EQ(0, NSLPaddtolsets(slp, 1, three + NSLP_TOLSET_SIZE)) << slpError();
  ASSERT_EQ(0, NSLPgettolset(slp, 3, &status, tols));
  EXPECT_EQ(1 << NSLP_TOL_STEP_REL, status);
}

// min (x - 10)^2 + (y - 3)^2 + ... from x = 1: the step type of x decides how fast it gets
// there. The lower bounds on the iterations follow from the step bounds alone.
struct StepCase {
  int type;
  double value;
  int minIterations, maxIterations;
};

class StepTypes : public ColumnRules, public ::testing::WithParamInterface<StepCase> {};

TEST_P(StepTypes, TheStepTypeBoundsEachStep) {
  const StepCase c = GetParam();
  x0 = col(-kFree, kFree, 0);
  coef(-1, -1, 1.0, F().x(x0).k(10).sub().k(2).pow());
  start(x0, 1.0);
  ASSERT_EQ(0, NSLPchgdeltatype(slp, 1, &x0, &c.type, &c.value)) << slpError();
  EXPECT_EQ(c.type, colInfo<int>(NSLP_COLINFO_DELTATYPE, x0));
  solve();
  EXPECT_NEAR(10.0, NslpTest::x()[x0], 1e-5);
  const int it = intAttr(NSLP_ATTR_ITERATIONS);
  EXPECT_GE(it, c.minIterations);
  EXPECT_LE(it, c.maxIterations);
  const double bound = colInfo(NSLP_COLINFO_STEPBOUND, x0);
  if (c.type == NSLP_DELTA_FIXED) EXPECT_EQ(c.value, bound);
  if (c.type == NSLP_DELTA_RELATIVE) EXPECT_NEAR(c.value * 10.0, bound, 1e-3);
  EXPECT_LE(std::fabs(colInfo(NSLP_COLINFO_STEP, x0)), bound + 1e-12);
}

INSTANTIATE_TEST_SUITE_P(Types, StepTypes,
                         ::testing::Values(StepCase{NSLP_DELTA_ADAPTIVE, 0.0, 1, 5},
                                           // 9 / 0.1 steps
                                           StepCase{NSLP_DELTA_FIXED, 0.1, 90, 200},
                                           // 1.1^n >= 10
                                           StepCase{NSLP_DELTA_RELATIVE, 0.1, 25, 60}));

TEST_F(ColumnRules, FrozenColumnsKeepTheirStart) {
  // min (x - 5)^2 + (y - 3)^2 - z, z in [0, 10] linear; x and z frozen.
  x0 = col(-kFree, kFree, 0);
  x1 = col(-kFree, kFree, 0);
  const int z = col(0, 10, -1);
  coef(-1, -1, 1.0, F().x(x0).k(5).sub().k(2).pow().x(x1).k(3).sub().k(2).pow().add());
  start(x0, 1.0);
  start(z, 2.0);
  const int cols[] = {x0, z}, frozen[] = {NSLP_DELTA_FROZEN, NSLP_DELTA_FROZEN};
  ASSERT_EQ(0, NSLPchgdeltatype(slp, 2, cols, frozen, nullptr)) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  const std::vector<double> sol = NslpTest::x();
  EXPECT_EQ(1.0, sol[x0]);
  EXPECT_NEAR(3.0, sol[x1], 1e-6);
  EXPECT_EQ(2.0, sol[z]);
  EXPECT_EQ(NSLP_CONVERGED_FROZEN, converged(x0));
  // Back to adaptive: both move.
  const int adaptive[] = {NSLP_DELTA_ADAPTIVE, NSLP_DELTA_ADAPTIVE};
  ASSERT_EQ(0, NSLPchgdeltatype(slp, 2, cols, adaptive, nullptr)) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_NEAR(5.0, NslpTest::x()[x0], 1e-6);
  EXPECT_NEAR(10.0, NslpTest::x()[z], 1e-9);
}

// min x + y  s.t.  x*y >= 1 on [0, 10]^2 from (0, 0): the row's gradient is 0 there, so the
// linearisation cannot see how to reach the row.
class Estimates : public ColumnRules {
 protected:
  void build() {
    x0 = col(0, 10, 1);
    x1 = col(0, 10, 1);
    r = row('G', 1.0, {});
    coef(r, x0, 1.0, F().x(x1));
    lin = row('L', 50, {{x0, 1}, {x1, 1}});
  }
  int r = -1, lin = -1;
};

TEST_F(Estimates, AnEstimateLeavesAStartWithAZeroDerivative) {
  build();
  solve(NSLP_NLP_LOCALLY_INFEASIBLE);
  // Only the row's penalty columns could meet the linearised row 0 >= 1, at every iteration;
  // the linear row never needed them.
  const int iters = rowInfo<int>(NSLP_ROWINFO_PENALTYITERATIONS, r);
  EXPECT_EQ(intAttr(NSLP_ATTR_ITERATIONS), iters);
  EXPECT_NEAR(1.0, rowInfo(NSLP_ROWINFO_PENALTYMAX, r), 1e-9);
  EXPECT_NEAR(iters, rowInfo(NSLP_ROWINFO_PENALTYTOTAL, r), 1e-9);
  EXPECT_EQ(0, rowInfo<int>(NSLP_ROWINFO_PENALTYITERATIONS, lin));

  const int cols[] = {x0, x1}, rows[] = {r, r};
  const double ones[] = {1.0, 1.0};
  ASSERT_EQ(0, NSLPloaddfs(slp, 2, cols, rows, ones)) << slpError();
  solve();
  EXPECT_NEAR(2.0, objective(), 1e-6);
  for (double v : NslpTest::x()) EXPECT_NEAR(1.0, v, 1e-4);
}

TEST_F(ColumnRules, AnObjectiveEstimateLeavesAStationaryStart) {
  // max x*y (min -x*y) s.t. x + y <= 2 on [0, 2]^2 from (0, 0), where the gradient is 0.
  x0 = col(0, 2, 0);
  x1 = col(0, 2, 0);
  row('L', 2.0, {{x0, 1}, {x1, 1}});
  coef(-1, x0, -1.0, F().x(x1));
  // One linearisation: without estimates it sees a zero gradient, and only the solver's
  // check for saddle points nudges it off the start.
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 1));
  ASSERT_EQ(0, optimize()) << slpError();
  const double nudged = -objective();
  EXPECT_GE(nudged, 0.0);
  EXPECT_LT(nudged, 0.01);
  // The estimates are in the objective's own sense.
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_OBJECTIVE_SENSE, -1.0));
  model().obj = {0.0, 0.0};
  slp->data.coefs.back().factor = 1.0;  // max x*y
  const int cols[] = {x0, x1}, rows[] = {-1, -1};
  const double ones[] = {1.0, 1.0};
  ASSERT_EQ(0, NSLPadddfs(slp, 2, cols, rows, ones)) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  // With estimates the first linearisation already leads most of the way.
  EXPECT_GT(objective(), 100 * nudged);
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 1000));
  solve();
  EXPECT_NEAR(1.0, objective(), 1e-6);
}

TEST_F(Estimates, GetdfAndItemQueriesAgreeWithThePointAndTheSolution) {
  build();
  start(x0, 2.0);
  start(x1, 3.0);
  // NSLPgetdf gives the estimate, else the derivative at the current point.
  auto df = [&](int c, int rr) {
    double v = NAN;
    EXPECT_EQ(0, NSLPgetdf(slp, c, rr, &v)) << slpError();
    return v;
  };
  EXPECT_EQ(3.0, df(x0, r));    // d(x*y)/dx = y
  EXPECT_EQ(1.0, df(x1, lin));  // a linear row's coefficient
  EXPECT_EQ(1.0, df(x1, -1));   // the objective's
  const double est = 7.5;
  ASSERT_EQ(0, NSLPchgdf(slp, x0, r, &est));
  EXPECT_EQ(7.5, df(x0, r));
  ASSERT_EQ(0, NSLPchgdf(slp, x0, r, nullptr));
  EXPECT_EQ(3.0, df(x0, r));

  start(x1, 2.0);
  ASSERT_EQ(0, optimize()) << slpError();
  std::vector<double> x(2), slack(2), duals(2), djs(2);
  ASSERT_EQ(0, NSLPgetslpsol(slp, x.data(), slack.data(), duals.data(), djs.data()));
  for (int i : {r, lin}) {
    EXPECT_NEAR(slack[i], rowInfo(NSLP_ROWINFO_SLACK, i), 1e-12);
    EXPECT_EQ(duals[i], rowInfo(NSLP_ROWINFO_DUAL, i));
    EXPECT_EQ(1.0, rowInfo(NSLP_ROWINFO_PENALTYWEIGHT, i));
  }
  for (int c : {x0, x1}) {
    EXPECT_EQ(x[c], colInfo(NSLP_COLINFO_VALUE, c));
    EXPECT_EQ(djs[c], colInfo(NSLP_COLINFO_REDUCEDCOST, c));
    EXPECT_GT(colInfo(NSLP_COLINFO_STEPBOUND, c), 0.0);
  }
  EXPECT_EQ(1, rowInfo<int>(NSLP_ROWINFO_NONLINEARCOEFS, r));
  EXPECT_EQ(0, rowInfo<int>(NSLP_ROWINFO_NONLINEARCOEFS, lin));
  // x0 multiplies the coefficient, x1 is in its formula.
  EXPECT_EQ(1, colInfo<int>(NSLP_COLINFO_NONLINEARCOEFS, x0));
  EXPECT_EQ(1, colInfo<int>(NSLP_COLINFO_NONLINEARCOEFS, x1));

  // Without a solve there are no multipliers; the slack is taken at the start.
  ASSERT_EQ(0, NSLPreinitialize(slp));
  double d = 0;
  EXPECT_NE(0, NSLPgetrowinfo(slp, NSLP_ROWINFO_DUAL, r, &d));
  EXPECT_NE(0, NSLPgetcolinfo(slp, NSLP_COLINFO_REDUCEDCOST, x0, &d));
  EXPECT_EQ(1.0 - 4.0, rowInfo(NSLP_ROWINFO_SLACK, r));
}

// ---- User functions through the C API: definition, names, addresses, objects, the call
// description a function reads, values and derivatives in formulas, and failures of a call
// (bad definitions are in the bad-input table).

// What the functions saw on their last call.
struct Seen {
  int ninputs = -1, derivatives = -1, results = -1, index = -1;
  NSLPprob slp = nullptr;
  void *object = nullptr;
  int calls = 0;
};
thread_local Seen seen;
int expoDerivativeCalls = 0;

void look(void *context) {
  void *info = nullptr;
  ASSERT_EQ(0, NSLPgetfuncobject(context, NSLP_FUNCOBJ_INFO, &info));
  ASSERT_EQ(0, NSLPgetfuncinfo(info, &seen.ninputs, &seen.derivatives, &seen.results, &seen.slp,
                               &seen.index));
  ASSERT_EQ(0, NSLPgetuserfuncobject(seen.slp, seen.index, &seen.object));
  ++seen.calls;
}

// a - 2*b^3 times the scale its object holds; values only.
double cubic(const double *x, void *context) {
  look(context);
  double scale = seen.object ? *static_cast<double *>(seen.object) : 1.0;
  return scale * (x[0] - 2 * x[1] * x[1] * x[1]);
}

// a*exp(b) with derivatives; gives the derivative by a only, so b's is differenced.
double expo(const double *x, void *context, const double *deltas, double *results) {
  look(context);
  if (deltas) ++expoDerivativeCalls;
  results[0] = x[0] * std::exp(x[1]);
  if (deltas && deltas[0] != 0) results[1] = std::exp(x[1]);
  return -1.0;  // ignored: the value travels in results[0]
}

// Fails for inputs above 1, as a values-only function (NaN) and with results (none set).
double failing(const double *x, void *) { return x[0] > 1 ? NAN : x[0]; }
double failingDeriv(const double *x, void *, const double *, double *results) {
  if (x[0] <= 1) results[0] = x[0];
  return 0;
}

class SlpUserFuncs : public nvtest::SlpHandleTest {
 protected:
  double scale_ = 2.0;

  void SetUp() override {
    SlpHandleTest::SetUp();
    load({'L'}, {1}, {0.5, 1.5, -1e20}, {5, 3, 1e20});
  }
  double evaluate(const char *text) {
    EXPECT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, text)) << error();
    double v = NAN;
    EXPECT_EQ(0, NSLPevaluatecoef(slp_, 0, -1, &v)) << error();
    return v;
  }
};

TEST_F(SlpUserFuncs, CalledWithArgumentsInOrderAndTheirContextAndDifferenced) {
  EXPECT_EQ(1, defineUserFunction(slp_, "cubic", false, cubic, &scale_));
  EXPECT_EQ(2, defineUserFunction(slp_, "expo", true, expo));
  // Current point x = 0.5, y = 1.5 (lower bounds), z = 0.
  EXPECT_DOUBLE_EQ(2.0 * (1.5 - 2 * 0.125), evaluate("cubic(y, x)"));
  EXPECT_EQ(2, seen.ninputs);
  EXPECT_EQ(0, seen.derivatives);
  EXPECT_EQ(0, seen.results);
  EXPECT_EQ(slp_, seen.slp);
  EXPECT_EQ(1, seen.index);
  EXPECT_EQ(&scale_, seen.object);
  EXPECT_DOUBLE_EQ(0.5 * std::exp(1.5) + 1, evaluate("expo(x, y) + 1"));
  EXPECT_EQ(1, seen.results);
  EXPECT_EQ(2, seen.index);

  // The text form names them, and the parsed form puts their arguments last-first.
  char buf[128];
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, 1, nullptr, "cubic(z, expo(x, y))")) << error();
  ASSERT_EQ(0, NSLPgetccoef(slp_, 0, 1, nullptr, buf, sizeof buf)) << error();
  EXPECT_STREQ("cubic(z, expo(x, y))", buf);
  int n = 0, type[16];
  double value[16];
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, 1, nullptr, 1, 16, &n, type, value));
  std::vector<int> want{NSLP_TOK_DEL, NSLP_TOK_DEL, NSLP_TOK_COL, NSLP_TOK_COL,
                        NSLP_TOK_UFUN, NSLP_TOK_COL, NSLP_TOK_UFUN, NSLP_TOK_EOF};
  EXPECT_EQ(want, std::vector<int>(type, type + n));
  EXPECT_EQ(1, value[2]);  // expo's y first
  EXPECT_EQ(2, value[4]);
  EXPECT_EQ(2, value[5]);  // then cubic's z

  // Gradients: expo's own, the rest differenced.
  nvrl::FormulaScope scope{3, &slp_->data.userfuncs};
  auto colIndex = [](const std::string &s) { return s == "x" ? 0 : s == "y" ? 1 : -1; };
  nvrl::FormulaTape tape(nvrl::parseFormulaText("cubic(x, y) + expo(y, x)", scope, colIndex),
                         scope);
  nvrl::FormulaWorkspace ws;
  double x[] = {0.7, 1.3, 0}, v, g[2];
  seen.calls = 0;
  expoDerivativeCalls = 0;
  ASSERT_TRUE(tape.gradient(x, v, g, ws)) << ws.error;
  EXPECT_DOUBLE_EQ(2 * (0.7 - 2 * std::pow(1.3, 3)) + 1.3 * std::exp(0.7), v);
  EXPECT_NEAR(2 + 1.3 * std::exp(0.7), g[0], 1e-8);        // expo's own by its b: differenced
  EXPECT_NEAR(-12 * 1.69 + std::exp(0.7), g[1], 1e-8);      // expo's own by its a
  EXPECT_EQ(1, expoDerivativeCalls);
  // one call each with derivatives, which also gives the value; 2 more per differenced input
  EXPECT_EQ(1 + 2 + 1 + 4, seen.calls);
}

TEST_F(SlpUserFuncs, FailuresStopEvaluation) {
  defineUserFunction(slp_, "f1", false, failing);
  defineUserFunction(slp_, "f2", true, failingDeriv);
  for (const char *text : {"f1(y)", "f2(y)"}) {
    ASSERT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, text)) << error();
    double v = 5;
    EXPECT_NE(0, NSLPevaluatecoef(slp_, 0, -1, &v)) << text;
    std::string name(text, 2);
    EXPECT_NE(std::string::npos, error().find("user function " + name + ": failed")) << error();
    EXPECT_EQ(5, v);
  }
  EXPECT_DOUBLE_EQ(0.5, evaluate("f1(x)"));
  EXPECT_DOUBLE_EQ(0.5, evaluate("f2(x)"));
  // Without an address a function cannot run.
  int name = 0, link = 0;
  NSLPsetstring(slp_, &name, "bare");
  NSLPsetstring(slp_, &link, "DirectC");
  int type[] = {NSLP_UFDEF_STRING, NSLP_UFDEF_CALL, NSLP_UFDEF_STRING, 0};
  double value[] = {double(name), NSLP_UFCALL_VALUES, double(link), 0};
  ASSERT_EQ(0, NSLPadduserfuncs(slp_, 1, type, value)) << error();
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, "bare(x)")) << error();
  double v;
  EXPECT_NE(0, NSLPevaluatecoef(slp_, 0, -1, &v));
  EXPECT_NE(std::string::npos, error().find("user function bare: has no function address"));
}

TEST_F(SlpUserFuncs, RepeatedNamesReadTheFirst) {
  defineUserFunction(slp_, "same", false, cubic, &scale_);
  defineUserFunction(slp_, "same", false, failing);
  int s1 = 0, s2 = 0;
  NSLPsetstring(slp_, &s1, "same");
  NSLPsetstring(slp_, &s2, "same");
  EXPECT_EQ(s1, s2);  // one string kept once
  ASSERT_EQ(0, NSLPchgccoef(slp_, 0, -1, nullptr, "same(x, y)")) << error();
  int n = 0, type[8];
  double value[8];
  ASSERT_EQ(0, NSLPgetcoefformula(slp_, 0, -1, nullptr, 1, 8, &n, type, value));
  EXPECT_EQ(1, value[3]);
  // A formula calling the second one has no text form.
  int t[] = {NSLP_TOK_DEL, NSLP_TOK_COL, NSLP_TOK_UFUN, NSLP_TOK_EOF};
  double v[] = {0, 0, 2, 0};
  ASSERT_EQ(0, NSLPchgcoef(slp_, 0, 0, nullptr, 1, t, v)) << error();
  char buf[64];
  EXPECT_NE(0, NSLPgetccoef(slp_, 0, 0, nullptr, buf, sizeof buf));
  EXPECT_NE(std::string::npos, error().find("cannot be written")) << error();
}

}  // namespace

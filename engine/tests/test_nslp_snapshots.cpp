// Nonlinear snapshots (NSLPsave, NSLPsaveas, NSLPrestore) and NSLPwriteslxsol: the solved
// nonlinear test problems come back in another problem pair with their data, answers and
// controls; user functions come back without their addresses; bad files change nothing.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/registry.h"
#include "lp_data/snapshot.h"
#include "solve/solution_files.h"
#include "test_io_support.h"
#include "test_nslp_support.h"

namespace {

namespace snap = nvrl::snap;
using nslptest::attributes;
using nslptest::expectSameData;
using nslptest::sameBits;

using iotest::readBytes;

void expectSameState(const nvrl::SlpState &a, const nvrl::SlpState &b) {
  // A restored problem is not presolved (the presolved form is not saved).
  const int presolved = 1 << 29;
  EXPECT_EQ(std::tuple(a.constant_col, a.statebits & ~presolved, a.nlpstatus, a.stopstatus,
                       a.iterations, a.cascade_failures, a.presolve_fixed, a.presolve_linear),
            std::tuple(b.constant_col, b.statebits, b.nlpstatus, b.stopstatus, b.iterations,
                       b.cascade_failures, b.presolve_fixed, b.presolve_linear));
  EXPECT_EQ(std::tuple(a.multistart.jobs_run, a.multistart.winner, a.multistart.jobs_optimal),
            std::tuple(b.multistart.jobs_run, b.multistart.winner, b.multistart.jobs_optimal));
  EXPECT_TRUE(sameBits(a.multistart.base_objective, b.multistart.base_objective));
  EXPECT_TRUE(sameBits(a.detail.step, b.detail.step));
  EXPECT_TRUE(sameBits(a.detail.penalty_total, b.detail.penalty_total));
  EXPECT_EQ(a.detail.penalty_iterations, b.detail.penalty_iterations);
  EXPECT_TRUE(sameBits({a.objval, a.last_penalty, a.fixed_penalty},
                       {b.objval, b.last_penalty, b.fixed_penalty}));
  EXPECT_TRUE(sameBits(a.x, b.x));
  EXPECT_TRUE(sameBits(a.slack, b.slack));
  EXPECT_TRUE(sameBits(a.duals, b.duals));
  EXPECT_TRUE(sameBits(a.djs, b.djs));
}

// A second problem pair to restore into, and a directory for the files.
class SlpSnapshotTest : public nslptest::NslpTest, public iotest::TestDir {
 protected:
  SlpSnapshotTest() : TestDir("nvrl_slpsnap_") {}
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(NslpTest::SetUp());
    ASSERT_EQ(0, NVRLcreateprob(&prob2));
    ASSERT_EQ(0, NSLPcreateprob(&slp2, &prob2));
    NSLPsetintcontrol(slp2, NSLP_CTRL_LOG_LEVEL, 0);
    NVRLsetintcontrol(prob2, NVRL_CTRL_LOG_LEVEL, 0);
  }
  void TearDown() override {
    NSLPdestroyprob(slp2);
    NVRLdestroyprob(prob2);
    NslpTest::TearDown();
  }
  std::string error2() const {
    char msg[NVRL_MAXMESSAGELEN] = {};
    NSLPgetlasterror(slp2, nullptr, msg);
    return msg;
  }
  void expectSameProblems() {
    expectSameData(slp->data, slp2->data);
    expectSameState(slp->state, slp2->state);
    EXPECT_EQ(attributes(slp), attributes(slp2));
    EXPECT_EQ(slp->controls.ints, slp2->controls.ints);
    EXPECT_EQ(slp->controls.dbls, slp2->controls.dbls);
    EXPECT_EQ(prob->model.colnames, prob2->model.colnames);
    EXPECT_EQ(prob->model.A.val, prob2->model.A.val);
  }
  NVRLprob prob2 = nullptr;
  NSLPprob slp2 = nullptr;
};

// ----- The nonlinear test problems -----------------------------------------------------

class SlpSnapshotFile : public SlpSnapshotTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(SlpSnapshotFile, SolvedProblemComesBackWithItsDataAndAnswers) {
  const std::string file = nslptest::nlpFile(GetParam());
  ASSERT_EQ(0, NSLPreadprob(slp, file.c_str(), "")) << slpError();
  bool integers = false;
  for (char t : model().coltype) integers = integers || t != 'C';
  NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 200);
  const int rc = optimize(integers ? "g" : "");
  // Settings of every kind the nonlinear data holds, so that each is carried.
  const double weight = 2.5, damp = 0.25, penalty = 7;
  const int history = 3;
  if (model().rows() > 0) ASSERT_EQ(0, NSLPchgrowwt(slp, 0, &weight)) << slpError();
  ASSERT_EQ(0, NSLPchgvar(slp, 0, nullptr, nullptr, nullptr, &penalty, &damp, nullptr, nullptr,
                          nullptr, &history, nullptr, nullptr))
      << slpError();
  int index = 0;
  ASSERT_EQ(0, NSLPsetstring(slp, &index, "a kept string"));
  slp->data.userfuncs.add({"unused", 2, true, {}, nullptr, nullptr});
  const double tols[NSLP_TOLSET_SIZE] = {1e-3, 0, 0, 2e-4, 0, 0}, estimate = 0.5, value = 0.125;
  const int zero = 0, one = 1, objrow = -1, fixed = NSLP_DELTA_FIXED;
  ASSERT_EQ(0, NSLPloadtolsets(slp, 1, tols)) << slpError();
  ASSERT_EQ(0, NSLPchgvar(slp, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                          &one, nullptr, nullptr, nullptr))
      << slpError();
  ASSERT_EQ(0, NSLPloaddfs(slp, 1, &zero, &objrow, &estimate)) << slpError();
  ASSERT_EQ(0, NSLPchgdeltatype(slp, 1, &zero, &fixed, &value)) << slpError();
  ASSERT_EQ(0, NSLPmsaddjob(slp, "a job", 1, &zero, &value, 0, nullptr, nullptr, 0, nullptr,
                            nullptr, nullptr))
      << slpError();
  slp->data.cascade_order = {0};
  slp->data.rowscale.assign(model().rows(), 0.25);
  NSLPsetdblcontrol(slp, NSLP_CTRL_PENALTY, 250);

  ASSERT_EQ(0, NSLPsaveas(slp, path("s.svf").c_str())) << slpError();
  ASSERT_EQ(0, NSLPrestore(slp2, path("s").c_str())) << error2();
  expectSameProblems();
  std::vector<double> x1(model().cols()), x2(model().cols());
  EXPECT_EQ(NSLPgetslpsol(slp, x1.data(), nullptr, nullptr, nullptr),
            NSLPgetslpsol(slp2, x2.data(), nullptr, nullptr, nullptr));
  EXPECT_TRUE(sameBits(x1, x2));

  // The restored pair solves as the original does (each from the initial values).
  if (rc != 0) return;
  ASSERT_EQ(0, NSLPnlpoptimize(slp2, integers ? "g" : "")) << error2();
  ASSERT_EQ(0, optimize(integers ? "g" : "")) << slpError();
  int status2 = -1;
  double obj2 = NAN;
  NSLPgetintattrib(slp2, NSLP_ATTR_STATUS, &status2);
  NSLPgetdblattrib(slp2, NSLP_ATTR_OBJECTIVE, &obj2);
  EXPECT_EQ(intAttr(NSLP_ATTR_STATUS), status2);
  EXPECT_NEAR(objective(), obj2, 1e-6 * (1 + std::fabs(obj2)));
}

INSTANTIATE_TEST_SUITE_P(Published, SlpSnapshotFile, ::testing::ValuesIn(nslptest::nlpStems()),
                         [](const ::testing::TestParamInfo<std::string> &i) { return i.param; });

// ----- User functions ------------------------------------------------------------------

double squared(const double *x, void *) { return x[0] * x[0]; }

// min (x - 3)^2 written as sq(x) - 6x + 9 with sq a user function.
TEST_F(SlpSnapshotTest, UserFunctionsComeBackWithoutAddresses) {
  const int x = col(-10, 10, -6);
  slp->data.userfuncs.add(
      {"sq", 1, false, {}, reinterpret_cast<NSLPfuncaddress>(&squared), nullptr});
  std::vector<nvrl::SlpToken> f = {
      {NSLP_TOK_DEL, 0}, {NSLP_TOK_COL, double(x)}, {NSLP_TOK_UFUN, 1}, {NSLP_TOK_EOF, 0}};
  const int t = col(-1e20, 1e20, 1);
  const int r = row('E', 0, {{t, -1}});
  slp->data.coefs.push_back({r, -1, 1.0, f});
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_NEAR(3, this->x()[x], 1e-5);

  ASSERT_EQ(0, NSLPsaveas(slp, path("u.svf").c_str()));
  ASSERT_EQ(0, NSLPrestore(slp2, path("u.svf").c_str())) << error2();
  ASSERT_EQ(1, slp2->data.userfuncs.size());
  EXPECT_EQ(nullptr, slp2->data.userfuncs.at(1).address);
  EXPECT_NE(0, NSLPnlpoptimize(slp2, ""));
  EXPECT_NE(error2().find("no function address"), std::string::npos) << error2();
  ASSERT_EQ(0, NSLPchguserfuncaddress(slp2, 1, reinterpret_cast<NSLPfuncaddress>(&squared)));
  ASSERT_EQ(0, NSLPnlpoptimize(slp2, "")) << error2();
  double obj2 = NAN;
  NSLPgetdblattrib(slp2, NSLP_ATTR_OBJECTIVE, &obj2);
  EXPECT_NEAR(objective(), obj2, 1e-9);
}

// The restored problem is still followed by its nonlinear data on deletions.
TEST_F(SlpSnapshotTest, RestoredDataFollowsDeletions) {
  const int a = col(0, 1, 0), b = col(0, 4, 1);
  const int r = row('L', 3, {{a, 1}});
  coef(r, -1, 1.0, nslptest::F().x(b).k(2).pow());
  start(b, 1.5);
  ASSERT_EQ(0, NSLPsaveas(slp, path("d.svf").c_str()));
  ASSERT_EQ(0, NSLPrestore(slp2, path("d").c_str())) << error2();
  const int del[] = {a};
  ASSERT_EQ(0, NVRLdelcols(prob2, 1, del));
  ASSERT_EQ(1u, slp2->data.coefs.size());
  EXPECT_EQ(0, slp2->data.coefs[0].formula[0].value);  // b is column 0 now
  ASSERT_GE(slp2->data.columns.size(), 1u);
  EXPECT_EQ(1.5, slp2->data.columns[0].initial);
}

// ----- Solution files ------------------------------------------------------------------

TEST_F(SlpSnapshotTest, SolutionFileHoldsTheNonlinearAnswer) {
  const int x = col(-5, 5, 0, 'C', 0, "x");
  formulaObjective(nslptest::F().x(x).k(1).sub().k(2).pow());  // (x - 1)^2
  EXPECT_NE(0, NSLPwriteslxsol(slp, path("n.slx").c_str(), ""));
  EXPECT_NE(slpError().find("no solution"), std::string::npos) << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  ASSERT_EQ(0, NSLPwriteslxsol(slp, path("n.slx").c_str(), "sdr")) << slpError();
  const std::string text = readBytes(path("n.slx"));
  char obj[64];
  std::snprintf(obj, sizeof obj, "OBJECTIVE %.17g\n", slp->state.objval);
  EXPECT_NE(text.find(obj), std::string::npos) << text;
  const nvrl::solfile::Values v = nvrl::solfile::parse(prob, text);
  EXPECT_TRUE(sameBits(v.x, slp->state.x));
  EXPECT_TRUE(sameBits(v.slack, slp->state.slack));
  EXPECT_TRUE(sameBits(v.duals, slp->state.duals));
  EXPECT_TRUE(sameBits(v.djs, slp->state.djs));
  EXPECT_NE(0, NSLPwriteslxsol(slp, path("n.slx").c_str(), "z"));
  EXPECT_NE(0, NSLPwriteslxsol(slp, nullptr, ""));
  EXPECT_NE(0, NSLPwriteslxsol(nullptr, path("n.slx").c_str(), ""));
}

// ----- Bad files -----------------------------------------------------------------------

TEST_F(SlpSnapshotTest, BadFilesChangeNeitherProblem) {
  const int x = col(0, 2, 1, 'C', 0, "x");
  coef(row('L', 1, {}), -1, 1.0, nslptest::F().x(x).k(2).pow());
  ASSERT_EQ(0, optimize()) << slpError();
  ASSERT_EQ(0, NSLPsaveas(slp, path("good.svf").c_str()));
  ASSERT_EQ(0, NVRLsaveas(prob, path("linear.svf").c_str()));
  const std::string good = readBytes(path("good.svf"));
  std::ofstream(path("cut.svf"), std::ios::binary) << good.substr(0, good.size() - 20);

  // Forged: a coefficient on a row the model lacks, with a valid checksum.
  snap::Writer w;
  snap::writeProblem(w, prob->model, prob->sol, prob->controls);
  w.record(0x41544144, [&](snap::Writer &d) {
    d.record(1, [&](snap::Writer &c) {
      c.u64(1);
      c.i32(5), c.i32(-1), c.f64(1.0), c.u64(1), c.i32(NSLP_TOK_EOF), c.f64(0);
    });
  });
  std::ofstream(path("forged.svf"), std::ios::binary) << snap::wrap(snap::Kind::Nonlinear, w.bytes());
  // A field of the nonlinear data this build does not know.
  snap::Writer u;
  snap::writeProblem(u, prob->model, prob->sol, prob->controls);
  u.record(0x41544144, [&](snap::Writer &d) { d.record(99, [](snap::Writer &) {}); });
  std::ofstream(path("newer.svf"), std::ios::binary) << snap::wrap(snap::Kind::Nonlinear, u.bytes());

  // slp2 holds a problem of its own, which must survive every failed restore.
  ASSERT_EQ(0, NSLPrestore(slp2, path("good").c_str()));
  ASSERT_EQ(0, NVRLaddcols64(prob2, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
  const nvrl::Model before = prob2->model;
  const auto attrs = attributes(slp2);
  for (auto [leaf, message] : {std::pair("cut", "truncated"), {"forged", "names a row or column"},
                               {"newer", "unknown nonlinear data field 99"},
                               {"linear", "restore it with NVRLrestore"},
                               {"missing", "cannot open"}}) {
    EXPECT_NE(0, NSLPrestore(slp2, path(leaf).c_str())) << leaf;
    EXPECT_NE(error2().find(message), std::string::npos) << leaf << ": " << error2();
    EXPECT_EQ(before.cols(), prob2->model.cols()) << leaf;
    EXPECT_EQ(attrs, attributes(slp2)) << leaf;
    expectSameData(slp->data, slp2->data);
  }
  EXPECT_NE(0, NVRLrestore(prob2, path("good").c_str(), ""));
  EXPECT_NE(nvtest::lastError(prob2).find("restore it with NSLPrestore"), std::string::npos);
  EXPECT_NE(0, NSLPsaveas(slp, ""));
  EXPECT_NE(0, NSLPsaveas(nullptr, path("x").c_str()));
  EXPECT_NE(0, NSLPrestore(nullptr, "x"));
}

}  // namespace

// Multistart jobs and the global search: the best answer over several starts wins, a job's
// controls act for that job only, and presets generate their jobs reproducibly (bad jobs, presets
// and handles are in the bad-input table).
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "test_nslp_support.h"

using nslptest::F;
using nslptest::NslpTest;

namespace {

// x^4 - 4x^2 + x on [-3, 3]: local minima at x = 1.3470 (f = -2.6186) and, the global one,
// x = -1.4730 (f = -5.4442). With step bounds of 0.5 the solver stays in the basin it starts
// in: from x = 2 it ends in the worse minimum.
constexpr double kLocalX = 1.3469974, kLocalF = -2.6185560;
constexpr double kGlobalX = -1.4729976, kGlobalF = -5.4441921;
// The six-hump camel function on [-3, 3] x [-2, 2]: global minimum -1.031628 at
// (0.0898, -0.7126) and (-0.0898, 0.7126); a local one of -0.215464 at (1.7036, -0.7961).
constexpr double kCamelGlobal = -1.0316285, kCamelLocal = -0.2154638;  // to 1e-7

class Multistart : public NslpTest {
 protected:
  // The quartic, minimised (sense 1) or its negation maximised (sense -1).
  int quartic(int sense = 1, double x0 = 2.0) {
    const int x = col(-3, 3, 0);
    F f;
    f.x(x).k(4).pow().k(4).x(x).k(2).pow().mul().sub().x(x).add();
    if (sense < 0) f.k(-1).mul();
    formulaObjective(f);
    if (sense < 0) NSLPsetdblcontrol(slp, NSLP_CTRL_OBJECTIVE_SENSE, -1.0);
    NSLPsetdblcontrol(slp, NSLP_CTRL_INITIAL_STEP_BOUND, 0.5);
    start(x, x0);
    return x;
  }
  void camel() {
    const int a = col(-3, 3, 0), b = col(-2, 2, 0);
    formulaObjective(F().k(4).k(2.1).x(a).k(2).pow().mul().sub().k(1.0 / 3).x(a).k(4).pow()
                         .mul().add().x(a).k(2).pow().mul()
                         .x(a).x(b).mul().add()
                         .k(-4).k(4).x(b).k(2).pow().mul().add().x(b).k(2).pow().mul().add());
    start(a, 1.7);
    start(b, -0.8);
  }
  int addStart(double v, const char *desc = "start") {
    const int c = 0;
    return NSLPmsaddjob(slp, desc, 1, &c, &v, 0, nullptr, nullptr, 0, nullptr, nullptr, nullptr);
  }
  int queued() { return intAttr(NSLP_ATTR_MULTISTART_JOBS); }
  int jobsRun() { return intAttr(NSLP_ATTR_MULTISTART_JOBS_RUN); }
  int winner() { return intAttr(NSLP_ATTR_MULTISTART_WINNER); }
  double baseObjective() {
    double v = NAN;
    EXPECT_EQ(0, NSLPgetdblattrib(slp, NSLP_ATTR_MULTISTART_BASE_OBJECTIVE, &v));
    return v;
  }
};

class MultistartSense : public Multistart, public ::testing::WithParamInterface<int> {};

TEST_P(MultistartSense, ThreeJobsFindTheGlobalOptimumTheSingleStartMisses) {
  const int sense = GetParam();
  const int xc = quartic(sense);
  ASSERT_EQ(0, optimize()) << slpError();
  ASSERT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_NEAR(sense * kLocalF, objective(), 1e-5);
  EXPECT_EQ(0, jobsRun());
  EXPECT_EQ(0, winner());
  const int alone = intAttr(NSLP_ATTR_ITERATIONS);

  // 2.5 and 0.5 lead to the local minimum, -2.5 to the global one.
  ASSERT_EQ(0, addStart(2.5)) << slpError();
  ASSERT_EQ(0, addStart(-2.5)) << slpError();
  ASSERT_EQ(0, addStart(0.5)) << slpError();
  EXPECT_EQ(3, queued());
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  EXPECT_EQ(3, jobsRun());
  EXPECT_EQ(2, winner());
  EXPECT_EQ(4, intAttr(NSLP_ATTR_MULTISTART_JOBS_OPTIMAL));
  EXPECT_NEAR(sense * kLocalF, baseObjective(), 1e-5);
  EXPECT_NEAR(sense * kGlobalF, objective(), 1e-5);
  EXPECT_NEAR(kGlobalX, x()[xc], 1e-4);
  EXPECT_GT(intAttr(NSLP_ATTR_ITERATIONS), alone);  // every solve's iterations count

  // The queue stays until cleared.
  ASSERT_EQ(0, optimize());
  EXPECT_EQ(3, jobsRun());
  EXPECT_NEAR(sense * kGlobalF, objective(), 1e-5);
  ASSERT_EQ(0, NSLPmsclear(slp));
  EXPECT_EQ(0, queued());
  ASSERT_EQ(0, optimize());
  EXPECT_EQ(0, jobsRun());
  EXPECT_NEAR(sense * kLocalF, objective(), 1e-5);
  EXPECT_NEAR(kLocalX, x()[xc], 1e-4);
}

INSTANTIATE_TEST_SUITE_P(Sense, MultistartSense, ::testing::Values(1, -1),
                         [](const auto &i) { return i.param > 0 ? "minimise" : "maximise"; });

TEST_F(Multistart, JobControlsActForTheJobOnlyAndAreRestored) {
  quartic();
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, 500));
  const int c = 0;
  const double v = -2.5;
  // One iteration from the global basin leaves the job unfinished: a locally optimal base
  // answer beats it whatever its objective.
  const int ids[] = {NSLP_CTRL_ITERATION_LIMIT, NVRL_CTRL_LP_ALGORITHM};
  const int vals[] = {1, 3};
  const int dids[] = {NSLP_CTRL_INITIAL_STEP_BOUND};
  const double dvals[] = {0.25};
  ASSERT_EQ(0, NSLPmsaddjob(slp, "limited", 1, &c, &v, 2, ids, vals, 1, dids, dvals, nullptr))
      << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(1, jobsRun());
  EXPECT_EQ(0, winner());
  EXPECT_NEAR(kLocalF, objective(), 1e-5);

  int iv = 0;
  double dv = 0;
  ASSERT_EQ(0, NSLPgetintcontrol(slp, NSLP_CTRL_ITERATION_LIMIT, &iv));
  EXPECT_EQ(500, iv);
  ASSERT_EQ(0, NSLPgetdblcontrol(slp, NSLP_CTRL_INITIAL_STEP_BOUND, &dv));
  EXPECT_EQ(0.5, dv);
  ASSERT_EQ(0, NVRLgetintcontrol(prob, NVRL_CTRL_LP_ALGORITHM, &iv));
  EXPECT_EQ(1, iv);

  // The same job without the limit wins.
  ASSERT_EQ(0, NSLPmsclear(slp));
  ASSERT_EQ(0, NSLPmsaddjob(slp, "free", 1, &c, &v, 1, ids + 1, vals + 1, 1, dids, dvals,
                            nullptr));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(1, winner());
  EXPECT_NEAR(kGlobalF, objective(), 1e-5);
}

struct PresetCase {
  const char *name;
  int preset, maxjobs, queued;
  bool findsGlobal;  // the preset moves the start, and the quartic's global optimum is found
};

class MultistartPreset : public Multistart, public ::testing::WithParamInterface<PresetCase> {};

TEST_P(MultistartPreset, GeneratesItsJobs) {
  const PresetCase &pc = GetParam();
  quartic();
  ASSERT_EQ(0, NSLPsetdblcontrol(slp, NSLP_CTRL_MULTISTART_PERTURBATION, 3.0));
  int token = 0;
  ASSERT_EQ(0, NSLPmsaddpreset(slp, pc.name, pc.preset, pc.maxjobs, &token)) << slpError();
  EXPECT_EQ(pc.queued, queued());
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(pc.queued, jobsRun());
  EXPECT_EQ(NSLP_NLP_LOCALLY_OPTIMAL, status());
  if (pc.findsGlobal) {
    EXPECT_GT(winner(), 0);
    EXPECT_NEAR(kGlobalF, objective(), 1e-5);
  } else {
    // Control variations from the same start may not leave the basin; never worse.
    EXPECT_LE(objective(), kLocalF + 1e-6);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Presets, MultistartPreset,
    ::testing::Values(PresetCase{"initial", NSLP_MSSET_INITIALVALUES, 6, 6, true},
                      PresetCase{"filtered", NSLP_MSSET_INITIALFILTERED, 3, 3, true},
                      PresetCase{"perturbed", NSLP_MSSET_PERTURBATIONS, 10, 10, true},
                      PresetCase{"solvers", NSLP_MSSET_SOLVERS, 100, 4, false},
                      PresetCase{"basic", NSLP_MSSET_SLP_BASIC, 100, 8, false},
                      PresetCase{"extended", NSLP_MSSET_SLP_EXTENDED, 5, 5, false}),
    [](const auto &i) { return std::string(i.param.name); });

TEST_F(Multistart, CustomPresetAddsItsControlsToEveryJob) {
  quartic();
  // Random starts, each limited to one iteration: none can be locally optimal.
  const int ids[] = {NSLP_CTRL_ITERATION_LIMIT};
  const int vals[] = {1};
  ASSERT_EQ(0, NSLPmsaddcustompreset(slp, "one step", NSLP_MSSET_INITIALVALUES, 6, 0, nullptr,
                                     nullptr, 1, ids, vals, 0, nullptr, nullptr, nullptr))
      << slpError();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(6, jobsRun());
  EXPECT_EQ(1, intAttr(NSLP_ATTR_MULTISTART_JOBS_OPTIMAL));  // the base solve only
  EXPECT_EQ(0, winner());

  // A custom initial value overrides the preset's draw: every job starts at -2.5.
  ASSERT_EQ(0, NSLPmsclear(slp));
  const int c = 0;
  const double v = -2.5;
  ASSERT_EQ(0, NSLPmsaddcustompreset(slp, "fixed", NSLP_MSSET_SLP_BASIC, 2, 1, &c, &v, 0,
                                     nullptr, nullptr, 0, nullptr, nullptr, nullptr));
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(1, winner());
  EXPECT_NEAR(kGlobalF, objective(), 1e-5);
}

TEST_F(Multistart, GlobalSearchFindsTheCamelMinimumReproducibly) {
  camel();
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_NEAR(kCamelLocal, objective(), 1e-5);

  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_MULTISTART_SEED, 7));
  ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_GLOBAL_STARTS, 12));
  ASSERT_EQ(0, NSLPglobal(slp)) << slpError();
  EXPECT_NEAR(kCamelGlobal, objective(), 1e-5);
  EXPECT_EQ(12, jobsRun());
  const int first = winner();
  EXPECT_GT(first, 0);
  const std::vector<double> x1 = x();
  // The starts were for that solve only.
  EXPECT_EQ(0, queued());

  ASSERT_EQ(0, NSLPglobal(slp)) << slpError();
  EXPECT_EQ(first, winner());
  EXPECT_EQ(x1, x());  // same seed, same starts, same answer to the last bit

  ASSERT_EQ(0, optimize());
  EXPECT_EQ(0, jobsRun());
}

TEST_F(Multistart, InterruptEndsTheMultistartWithTheBestSoFar) {
  quartic();
  ASSERT_EQ(0, addStart(-2.5, "first"));
  ASSERT_EQ(0, addStart(2.5, "second"));
  ASSERT_EQ(0, addStart(0.5, "third"));
  // Interrupt when the first job's line is logged.
  NSLPsetintcontrol(slp, NSLP_CTRL_LOG_LEVEL, 1);
  NSLPsetcbmessage(
      slp,
      [](NSLPprob p, void *, const char *msg, int len, int) {
        if (std::string(msg, len).find("job 1 (first)") != std::string::npos)
          NSLPinterrupt(p, NVRL_STOP_USER);
      },
      nullptr);
  ASSERT_EQ(0, optimize()) << slpError();
  EXPECT_EQ(1, jobsRun());
  EXPECT_EQ(NVRL_STOP_USER, intAttr(NSLP_ATTR_STOP_STATUS));
  EXPECT_EQ(1, winner());
  EXPECT_NEAR(kGlobalF, objective(), 1e-5);
}

TEST_F(Multistart, ANullDescriptionIsAnEmptyOne) {
  quartic();
  ASSERT_EQ(0, addStart(-2.5));
  const int c = 0;
  const double v = 1.0;
  EXPECT_EQ(0, NSLPmsaddjob(slp, nullptr, 1, &c, &v, 0, nullptr, nullptr, 0, nullptr, nullptr,
                            nullptr));
  EXPECT_EQ(2, queued());
}

}  // namespace

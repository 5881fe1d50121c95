// Writing problems: a model using every feature the formats carry comes back identical from
// MPS and LP files, and what a format cannot carry is refused with a clear message.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "test_io_support.h"

namespace {

constexpr double kInf = nvrl::kInf;

class RoundTrip : public iotest::FileTest {
 protected:
  // Values chosen to have long decimal expansions, so that any rounding on the way shows.
  void buildEverything(bool with_partial_integer) {
    nvrl::Model &m = prob->model;
    m.name = "synthetic";
    m.objsense = -1;
    m.objconst = -7.25;
    int x = col(0, 40, 3, 'C', 0, "x");
    int y = col(-kInf, kInf, -0.1, 'C', 0, "y");
    int u = col(-5, 12, 1.0 / 3, 'I', 0, "");
    int b = col(0, 1, 0, 'B', 0, "b");
    int b1 = col(1, 1, 2, 'B', 0, "b_fixed");
    int s = col(0, 6, 0.7, 'S', 1.5, "s");
    int r = col(0, 9, 0, 'R', 2, "r");
    int n = col(0, -3, 0, 'C', 0, "neg");
    int mi = col(-kInf, -2, 1e-300, 'C', 0, "mi");
    int f = col(2.5, 2.5, 0, 'C', 0, "f");
    col(0, kInf, 0, 'C', 0, "empty");
    int i2 = col(0, kInf, 6.02214076e19, 'I', 0, "i2");
    if (with_partial_integer) col(0, 10, 1, 'P', 4, "p");

    row('L', 10, {{x, 1}, {y, 1}, {n, 1}, {mi, 1}}, 0, "c1");
    row('G', -3, {{x, 2}, {u, 1e-12}, {f, 1}}, 0, "");
    row('E', 0.3, {{y, 0.1}, {b1, -1}, {i2, 1}}, 0, "eq");
    row('R', 0.3, {{x, 1}, {y, -1}}, 0.1, "rg");
    row('R', 1e15 + 1, {{u, 1}, {s, 1}}, 0.375, "rg2");
    row('N', 0, {{y, 1}, {r, 2}}, 0, "nrow");
    int ind = row('L', 3, {{x, 1}}, 0, "ind");
    int ind0 = row('G', 1, {{y, 1}}, 0, "ind0");
    int qr = row('L', 4, {{x, 1}}, 0, "qr");
    row('L', 5, {}, 0, "nothing");
    m.indcol[ind] = b;
    m.indcomp[ind] = 1;
    m.indcol[ind0] = b;
    m.indcomp[ind0] = -1;
    m.qrows[qr] = {{{x, x}, 1.0}, {{x, y}, 0.5}, {{u, s}, -1.0 / 7}};
    m.qobj = {{{x, x}, 2.0}, {{x, y}, -1.0}, {{y, y}, 0.2}, {{s, r}, 1.0 / 3}};
    m.sets.push_back({'1', {x, y}, {1, 2}});
    m.sets.push_back({'2', {u, b, s}, {1, 2.5, 3}});
    m.setnames = {"s1", ""};
    prob->modelChanged();
  }

  void expectRoundTrip(const char *flags, const char *ext) {
    const nvrl::Model original = prob->model;
    std::string p = path("out");
    ASSERT_EQ(NVRLwriteprob(prob, p.c_str(), flags), 0) << lastError();
    ASSERT_TRUE(std::filesystem::exists(p + ext));
    ASSERT_EQ(NVRLreadprob(prob, (p + ext).c_str(), ""), 0) << lastError();
    iotest::expectSameModel(original, prob->model, std::string(ext) == ".mps");
  }
};

TEST_F(RoundTrip, MpsKeepsEverything) {
  buildEverything(true);
  expectRoundTrip("", ".mps");
}

TEST_F(RoundTrip, LpKeepsEverything) {
  buildEverything(false);
  expectRoundTrip("l", ".lp");
}

TEST_F(RoundTrip, EmptyModelInBothFormats) {
  prob->model = nvrl::Model();
  prob->model.name = "nothing";
  expectRoundTrip("", ".mps");
  prob->model = nvrl::Model();
  expectRoundTrip("l", ".lp");
}

TEST_F(RoundTrip, RangeRowsThroughLpFilesKeepTheLimits) {
  // An LP file holds a range row's two limits, so the range comes back as hi - lo: exactly
  // when that difference is a double, within an ulp of rhs otherwise. MPS keeps it exactly.
  int x = col(0, kInf, 1, 'C', 0, "x");
  const double cases[][2] = {
      {0.3, 0.1}, {1.0 / 3, 2.0 / 3}, {1e15 + 1, 0.375}, {0.7, 0.1}, {1000.1, 0.2}};
  for (auto &c : cases) row('R', c[0], {{x, 1}}, c[1], "");
  const nvrl::Model original = prob->model;
  for (const char *flags : {"", "l"}) {
    SCOPED_TRACE(flags);
    prob->model = original;
    std::string p = path("ranges");
    ASSERT_EQ(NVRLwriteprob(prob, p.c_str(), flags), 0) << lastError();
    ASSERT_EQ(NVRLreadprob(prob, (p + (*flags ? ".lp" : ".mps")).c_str(), ""), 0) << lastError();
    const nvrl::Model &m = prob->model;
    EXPECT_EQ(m.rhs, original.rhs);
    EXPECT_EQ(m.rowtype, original.rowtype);
    for (int i = 0; i < m.rows(); ++i) {
      if (!*flags || i < 3)
        EXPECT_EQ(m.range[i], original.range[i]) << i;
      else
        EXPECT_NEAR(m.range[i], original.range[i], std::nextafter(m.rhs[i], HUGE_VAL) - m.rhs[i])
            << i;
    }
  }
}

struct Refusal {
  const char *label;
  const char *flags;
  void (*spoil)(nvrl::Model &);
  const char *message;
};


class WriteRefusal : public RoundTrip, public ::testing::WithParamInterface<Refusal> {};

TEST_P(WriteRefusal, FailsWithAClearMessageAndWritesNothing) {
  const Refusal &r = GetParam();
  buildEverything(false);
  r.spoil(prob->model);
  std::string p = path("refused");
  EXPECT_NE(NVRLwriteprob(prob, p.c_str(), r.flags), 0);
  EXPECT_NE(lastError().find(r.message), std::string::npos) << lastError();
  EXPECT_FALSE(std::filesystem::exists(p + (*r.flags ? ".lp" : ".mps")));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, WriteRefusal,
    ::testing::Values(
        Refusal{"partial_integer_in_lp", "l",
                [](nvrl::Model &m) {
                  m.coltype[0] = 'P';
                  m.limit[0] = 2;
                },
                "partially integer column 'x' cannot be written in LP format"},
        Refusal{"blank_in_mps_name", "", [](nvrl::Model &m) { m.colnames[0] = "a b"; },
                "column name 'a b' contains blanks"},
        Refusal{"keyword_in_lp", "l", [](nvrl::Model &m) { m.colnames[0] = "st"; },
                "column name 'st' is a keyword of the LP format"},
        Refusal{"operator_in_lp", "l", [](nvrl::Model &m) { m.colnames[0] = "a+b"; },
                "column name 'a+b' contains a character"},
        Refusal{"digit_first_in_lp", "l", [](nvrl::Model &m) { m.colnames[0] = "2x"; },
                "column name '2x' does not start with a letter"},
        Refusal{"duplicate_row_name", "", [](nvrl::Model &m) { m.rownames[2] = "c1"; },
                "row name 'c1' is used more than once"},
        Refusal{"default_name_taken", "l", [](nvrl::Model &m) { m.rownames[0] = "R2"; },
                "row name 'R2' is used more than once"},
        Refusal{"general_constraints", "", [](nvrl::Model &m) { m.gencons.push_back({}); },
                "general and piecewise-linear constraints cannot be written"}), nvtest::byLabel);

TEST_F(RoundTrip, FlagsAndFileNames) {
  buildEverything(false);
  EXPECT_NE(NVRLwriteprob(prob, path("h").c_str(), "x"), 0);
  EXPECT_EQ(lastError(), "NVRLwriteprob: hexadecimal values (flag 'x') are not supported");
  EXPECT_NE(NVRLwriteprob(prob, path("h").c_str(), "z"), 0);
  EXPECT_EQ(lastError(), "NVRLwriteprob: unknown flag 'z'");
  // A given extension is kept, whatever the format.
  ASSERT_EQ(NVRLwriteprob(prob, path("given.txt").c_str(), "l"), 0) << lastError();
  EXPECT_TRUE(std::filesystem::exists(path("given.txt")));
  std::string unwritable = path("no/such/dir/file.mps");
  EXPECT_NE(NVRLwriteprob(prob, unwritable.c_str(), ""), 0);
  EXPECT_EQ(lastError(), "Cannot open '" + unwritable + "' for writing: No such file or directory");
}

}  // namespace

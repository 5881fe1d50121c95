// Solution files (NVRLwriteslxsol, NVRLreadslxsol): what is written reads back bit for bit,
// reading gives the next solve its start, and faulty files are refused naming the line.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "solve/solution_files.h"
#include "test_io_support.h"

namespace {

using iotest::dataFile;
using iotest::readBytes;
using iotest::sameBits;

class SolutionFileTest : public iotest::FileTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(FileTest::SetUp());
    NVRLsetintcontrol(prob, NVRL_CTRL_LOG_LEVEL, 0);
  }
  void solve(const char *file, bool mip) {
    ASSERT_EQ(0, NVRLreadprob(prob, dataFile(file).c_str(), "")) << lastError();
    ASSERT_EQ(0, mip ? NVRLmipoptimize(prob, "") : NVRLlpoptimize(prob, "")) << lastError();
  }
};

class SolutionFileFlags : public SolutionFileTest,
                          public ::testing::WithParamInterface<const char *> {};

TEST_P(SolutionFileFlags, ReadsBackBitForBit) {
  solve("afiro.mps", false);
  const std::string flags = GetParam();
  const std::string file = path("afiro.slx");
  ASSERT_EQ(0, NVRLwriteslxsol(prob, file.c_str(), flags.c_str())) << lastError();
  const std::string text = readBytes(file);
  EXPECT_EQ(0u, text.find("* nuvrel solution\nNAME AFIRO\nOBJECTIVE -464.7531428571")) << text;
  const nvrl::solfile::Values v = nvrl::solfile::parse(prob, text);
  const nvrl::SolveState &s = prob->sol;
  EXPECT_TRUE(sameBits(v.x, s.x));
  const auto has = [&](char f) { return flags.find(f) != std::string::npos; };
  EXPECT_TRUE(sameBits(v.slack, has('s') ? s.slack : std::vector<double>()));
  EXPECT_TRUE(sameBits(v.duals, has('d') ? s.duals : std::vector<double>()));
  EXPECT_TRUE(sameBits(v.djs, has('r') ? s.djs : std::vector<double>()));
  // Reading it back is accepted and leaves the answers in place.
  EXPECT_EQ(0, NVRLreadslxsol(prob, file.c_str(), "")) << lastError();
  EXPECT_EQ(NVRL_LP_OPTIMAL, intAttr(NVRL_ATTR_LP_STATUS));
}

INSTANTIATE_TEST_SUITE_P(Flags, SolutionFileFlags, ::testing::Values("", "s", "d", "r", "sdr"));

TEST_F(SolutionFileTest, NamesWithBlanksAndQuotesReadBack) {
  const int a = col(0, 4, -1, 'C', 0, "a b");
  const int q = col(0, 4, -2, 'C', 0, "\"q\"");
  const int u = col(0, 4, -3);  // unnamed: written as its default name
  row('L', 5, {{a, 1}, {q, 1}, {u, 1}}, 0, "cap row");
  ASSERT_EQ(0, NVRLlpoptimize(prob, "")) << lastError();
  ASSERT_EQ(0, NVRLwriteslxsol(prob, path("n.slx").c_str(), "s"));
  const std::string text = readBytes(path("n.slx"));
  EXPECT_NE(text.find("\"a b\""), std::string::npos) << text;
  EXPECT_NE(text.find("\"\"\"q\"\"\""), std::string::npos) << text;
  EXPECT_NE(text.find(" C3 "), std::string::npos) << text;
  const nvrl::solfile::Values v = nvrl::solfile::parse(prob, text);
  EXPECT_TRUE(sameBits(v.x, prob->sol.x));
  EXPECT_TRUE(sameBits(v.slack, prob->sol.slack));
}

// The file's solution is the MIP's first incumbent: with a limit of one solution, the solve
// ends at once with it, where on its own it stops at a worse one.
TEST_F(SolutionFileTest, AReadSolutionStartsTheNextMipSolve) {
  solve("p0548.mps", true);
  const double optimum = dblAttr(NVRL_ATTR_MIP_OBJECTIVE);
  ASSERT_EQ(0, NVRLwriteslxsol(prob, path("opt.slx").c_str(), ""));

  NVRLprob fresh;
  ASSERT_EQ(0, NVRLcreateprob(&fresh));
  NVRLsetintcontrol(fresh, NVRL_CTRL_LOG_LEVEL, 0);
  NVRLsetintcontrol(fresh, NVRL_CTRL_SOLUTION_LIMIT, 1);
  ASSERT_EQ(0, NVRLreadprob(fresh, dataFile("p0548.mps").c_str(), ""));
  ASSERT_EQ(0, NVRLmipoptimize(fresh, ""));
  const double alone = dblAttr(fresh, NVRL_ATTR_MIP_OBJECTIVE);
  ASSERT_EQ(0, NVRLreadprob(fresh, dataFile("p0548.mps").c_str(), ""));
  ASSERT_EQ(0, NVRLreadslxsol(fresh, path("opt.slx").c_str(), "")) << lastError(fresh);
  ASSERT_EQ(0, NVRLmipoptimize(fresh, ""));
  const double started = dblAttr(fresh, NVRL_ATTR_MIP_OBJECTIVE);
  NVRLdestroyprob(fresh);
  EXPECT_GT(alone, optimum + 1);
  EXPECT_NEAR(optimum, started, 1e-6 * std::fabs(optimum));
}

TEST_F(SolutionFileTest, WritingNeedsTheAnswersItIsAskedFor) {
  col(0, 1, 1);
  EXPECT_NE(0, NVRLwriteslxsol(prob, path("a.slx").c_str(), ""));
  EXPECT_EQ("NVRLwriteslxsol: no solution is available", lastError());
  solve("small_mip.mps", true);
  EXPECT_EQ(0, NVRLwriteslxsol(prob, path("a.slx").c_str(), "s")) << lastError();
  EXPECT_NE(0, NVRLwriteslxsol(prob, path("a.slx").c_str(), "d"));
  EXPECT_NE(lastError().find("no duals"), std::string::npos) << lastError();
  EXPECT_NE(0, NVRLwriteslxsol(prob, path("a.slx").c_str(), "sq"));
  EXPECT_NE(lastError().find("unknown flag 'q'"), std::string::npos) << lastError();
  EXPECT_NE(0, NVRLwriteslxsol(prob, "", ""));
  EXPECT_NE(0, NVRLwriteslxsol(nullptr, path("a.slx").c_str(), ""));
  EXPECT_NE(0, NVRLreadslxsol(prob, path("a.slx").c_str(), "s"));
  EXPECT_NE(lastError().find("unknown flag 's'"), std::string::npos) << lastError();
  EXPECT_NE(0, NVRLreadslxsol(prob, path("none.slx").c_str(), ""));
  EXPECT_NE(lastError().find("cannot open"), std::string::npos) << lastError();
}

struct BadFile {
  const char *label, *text, *message;
};


const BadFile kBadFiles[] = {
    {"unknown_column", "COLUMNS value\n    x  1\n    w  2\nEND\n", "line 3: unknown column 'w'"},
    {"repeated_column", "COLUMNS value\n    x  1\n    x  2\nEND\n", "line 3: column 'x' is repeated"},
    {"not_a_number", "COLUMNS value\n    x  1e\nEND\n", "line 2: '1e' is not a finite number"},
    {"nan", "COLUMNS value\n    x  nan\nEND\n", "line 2: 'nan' is not a finite number"},
    {"missing_end", "COLUMNS value\n    x  1\n", "ends without END"},
    {"unknown_field", "COLUMNS value price\n", "line 1: unknown field 'price'"},
    {"no_value_field", "COLUMNS reducedcost\n", "line 1: COLUMNS must list the field 'value'"},
    {"too_few_numbers", "COLUMNS value reducedcost\n    x  1\nEND\n",
     "line 2: expected a name and 2 numbers"},
    {"unknown_keyword", "COLUMNS value\nx  1\nEND\n", "line 2: unknown keyword 'x'"},
    {"data_before_columns", "NAME t\n    x  1\nEND\n", "line 2: a data line outside"},
    {"rows_before_columns", "ROWS slack\n    c  1\nEND\n", "line 1: ROWS is out of place"},
    {"unknown_row", "COLUMNS value\n    x  1\nROWS slack\n    d  0\nEND\n", "line 4: unknown row 'd'"},
    {"after_end", "COLUMNS value\n    x  1\nEND\nEND\n", "line 4: text after END"},
    {"open_quote", "COLUMNS value\n    \"x  1\nEND\n", "line 2: a quoted name has no closing quote"},
    {"no_columns", "END\n", "no COLUMNS section"},
};

class SolutionFileBad : public SolutionFileTest, public ::testing::WithParamInterface<BadFile> {};

TEST_P(SolutionFileBad, IsRefusedNamingTheLine) {
  col(0, 1, 1, 'C', 0, "x");
  col(0, 1, 1, 'C', 0, "y");
  row('L', 1, {{0, 1}, {1, 1}}, 0, "c");
  ASSERT_EQ(0, NVRLlpoptimize(prob, ""));
  const std::string file = path("bad.slx");
  std::ofstream(file, std::ios::binary) << GetParam().text;
  EXPECT_NE(0, NVRLreadslxsol(prob, file.c_str(), ""));
  EXPECT_NE(lastError().find(GetParam().message), std::string::npos) << lastError();
  EXPECT_NE(lastError().find("bad.slx"), std::string::npos) << lastError();
  EXPECT_EQ(NVRL_LP_OPTIMAL, intAttr(NVRL_ATTR_LP_STATUS));
}

INSTANTIATE_TEST_SUITE_P(Files, SolutionFileBad, ::testing::ValuesIn(kBadFiles), nvtest::byLabel);

}  // namespace

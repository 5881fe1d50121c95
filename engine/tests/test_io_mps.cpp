// Reading MPS files: each section and bound type into exact store contents, fixed columns
// with blanks in names, and malformed files that must fail naming the line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_io_support.h"

namespace {

constexpr double kInf = nvrl::kInf;

using MpsRead = iotest::FileTest;

// A one-column model (x in row r and in the objective) with the given BOUNDS lines.
std::string withBounds(const std::string &bounds) {
  return "NAME b\nROWS\n N obj\n L r\nCOLUMNS\n    x obj 1 r 1\nRHS\n    RHS r 1\nBOUNDS\n" + bounds +
         "ENDATA\n";
}

struct BoundCase {
  const char *label;
  const char *lines;
  char type;
  double lb, ub, limit;
};


class MpsBounds : public iotest::FileTest, public ::testing::WithParamInterface<BoundCase> {};

TEST_P(MpsBounds, GiveTheExpectedColumn) {
  const BoundCase &c = GetParam();
  const nvrl::Model &m = load("b.mps", withBounds(c.lines));
  ASSERT_EQ(m.cols(), 1);
  EXPECT_EQ(m.coltype[0], c.type);
  EXPECT_EQ(m.lb[0], c.lb);
  EXPECT_EQ(m.ub[0], c.ub);
  EXPECT_EQ(m.limit[0], c.limit);
}

INSTANTIATE_TEST_SUITE_P(
    Types, MpsBounds,
    ::testing::Values(
        BoundCase{"up", " UP BND x 4\n", 'C', 0, 4, 0},
        BoundCase{"up_negative_frees_zero_lb", " UP BND x -4\n", 'C', -kInf, -4, 0},
        BoundCase{"up_negative_keeps_given_lb", " LO BND x -9\n UP BND x -4\n", 'C', -9, -4, 0},
        BoundCase{"lo", " LO BND x 2\n", 'C', 2, kInf, 0},
        BoundCase{"fx", " FX BND x 3.5\n", 'C', 3.5, 3.5, 0},
        BoundCase{"fr", " FR BND x\n", 'C', -kInf, kInf, 0},
        BoundCase{"mi", " UP BND x 6\n MI BND x\n", 'C', -kInf, 6, 0},
        BoundCase{"pl", " UP BND x 6\n PL BND x\n", 'C', 0, kInf, 0},
        BoundCase{"bv", " BV BND x\n", 'B', 0, 1, 0},
        BoundCase{"li", " LI BND x -2\n", 'I', -2, kInf, 0},
        BoundCase{"ui", " UI BND x 7\n", 'I', 0, 7, 0},
        BoundCase{"sc_without_lower", " SC BND x 8\n", 'S', 0, 8, 0},
        BoundCase{"sc_then_lo", " SC BND x 8\n LO BND x 2\n", 'S', 0, 8, 2},
        BoundCase{"lo_then_si", " LO BND x 2\n SI BND x 8\n", 'R', 0, 8, 2},
        BoundCase{"pi", " PI BND x 3\n", 'P', 0, kInf, 3},
        BoundCase{"huge_is_infinite", " LO BND x -1e30\n UP BND x 1e+30\n", 'C', -kInf, kInf, 0},
        BoundCase{"inf_words", " LO BND x -Inf\n UP BND x infinity\n", 'C', -kInf, kInf, 0},
        BoundCase{"no_vector_name", " UP x 4\n", 'C', 0, 4, 0},
        BoundCase{"no_vector_name_without_value", " FR x\n", 'C', -kInf, kInf, 0},
        BoundCase{"bv_with_value", " BV x 1\n", 'B', 0, 1, 0}), nvtest::byLabel);

struct RangeCase {
  const char *label;
  char type;
  double rhs, range;
  char want_type;
  double want_rhs, want_range;
};


class MpsRanges : public iotest::FileTest, public ::testing::WithParamInterface<RangeCase> {};

TEST_P(MpsRanges, FollowTheSignRules) {
  const RangeCase &c = GetParam();
  std::string text = std::string("NAME r\nROWS\n N obj\n ") + c.type + " r\nCOLUMNS\n    x r 1\nRHS\n    RHS r " +
                     std::to_string(c.rhs) + "\nRANGES\n    RNG r " + std::to_string(c.range) + "\nENDATA\n";
  const nvrl::Model &m = load("r.mps", text);
  ASSERT_EQ(m.rows(), 1);
  EXPECT_EQ(m.rowtype[0], c.want_type);
  EXPECT_EQ(m.rhs[0], c.want_rhs);
  EXPECT_EQ(m.range[0], c.want_range);
}

INSTANTIATE_TEST_SUITE_P(Rows, MpsRanges,
                         ::testing::Values(RangeCase{"L_positive", 'L', 10, 4, 'R', 10, 4},
                                           RangeCase{"L_negative", 'L', 10, -4, 'R', 10, 4},
                                           RangeCase{"G_positive", 'G', 3, 2, 'R', 5, 2},
                                           RangeCase{"G_negative", 'G', 3, -2, 'R', 5, 2},
                                           RangeCase{"E_positive", 'E', 1, 5, 'R', 6, 5},
                                           RangeCase{"E_negative", 'E', 1, -5, 'R', 1, 5},
                                           RangeCase{"E_zero", 'E', 1, 0, 'E', 1, 0},
                                           RangeCase{"E_infinite_up", 'E', 1, 1e30, 'G', 1, 0},
                                           RangeCase{"E_infinite_down", 'E', 1, -1e30, 'L', 1, 0}),
                         nvtest::byLabel);

TEST_F(MpsRead, EverySectionLandsInTheStore) {
  const nvrl::Model &m = load("all.mps",
                              "* a comment line\n"
                              "NAME          demo  extra words are ignored\n"
                              "OBJSENSE\n"
                              "    MAXIMIZE\n"
                              "ROWS\n"
                              " N  cost\n"
                              " L  lim\n"
                              " G  low\n"
                              " N  spare\n"
                              " E  bal\n"
                              "COLUMNS\n"
                              "    M1  'MARKER'  'INTORG'\n"
                              "    i   cost  1   lim  2\n"
                              "    i   bal  -1\n"
                              "    M2  'MARKER'  'INTEND'\n"
                              "    x   cost  -0   low  1.5\n"
                              "    x   spare  4\n"
                              "\n"
                              "    y   lim   1\n"
                              "    b   bal   0\n"
                              "RHS\n"
                              "    RHS  cost  -2.5   lim  10\n"
                              "    RHS  low   -3\n"
                              "BOUNDS\n"
                              " BV BND b\n"
                              "SOS\n"
                              " S2 SOS s1 9\n"
                              "    s1 x 1\n"
                              "    s1 y 2.5\n"
                              " S1 SOS s2\n"
                              "    i:3\n"
                              "QUADOBJ\n"
                              "    x  x  4\n"
                              "    y  x  -1\n"
                              "QCMATRIX   lim\n"
                              "    x  y  3\n"
                              "    y  x  3\n"
                              "    y  y  0.5\n"
                              "INDICATORS\n"
                              " IF lim b 1\n"
                              " IF low b 0\n"
                              "ENDATA\n"
                              "anything after ENDATA is ignored\n");
  EXPECT_EQ(m.name, "demo");
  EXPECT_EQ(m.objsense, -1);
  EXPECT_EQ(m.objconst, 2.5);
  ASSERT_EQ(m.cols(), 4);
  EXPECT_EQ(m.colnames, (std::vector<std::string>{"i", "x", "y", "b"}));
  EXPECT_EQ(m.coltype, (std::vector<char>{'I', 'C', 'C', 'B'}));
  EXPECT_EQ(m.obj, (std::vector<double>{1, 0, 0, 0}));
  // Integer columns from markers keep [0, +inf) unless bounded.
  EXPECT_EQ(m.lb, (std::vector<double>{0, 0, 0, 0}));
  EXPECT_EQ(m.ub, (std::vector<double>{kInf, kInf, kInf, 1}));
  ASSERT_EQ(m.rows(), 4);
  EXPECT_EQ(m.rownames, (std::vector<std::string>{"lim", "low", "spare", "bal"}));
  EXPECT_EQ(m.rowtype, (std::vector<char>{'L', 'G', 'N', 'E'}));
  EXPECT_EQ(m.rhs, (std::vector<double>{10, -3, 0, 0}));
  auto rows = iotest::rowsOf(m);
  using Row = std::vector<std::pair<int, double>>;
  EXPECT_EQ(rows[0], (Row{{0, 2}, {2, 1}}));
  EXPECT_EQ(rows[1], (Row{{1, 1.5}}));
  EXPECT_EQ(rows[2], (Row{{1, 4}}));
  EXPECT_EQ(rows[3], (Row{{0, -1}}));  // the explicit zero of b is not stored
  ASSERT_EQ(m.nsets(), 2);
  EXPECT_EQ(m.setnames, (std::vector<std::string>{"s1", "s2"}));
  EXPECT_EQ(m.sets[0].type, '2');
  EXPECT_EQ(m.sets[0].cols, (std::vector<int>{1, 2}));
  EXPECT_EQ(m.sets[0].refs, (std::vector<double>{1, 2.5}));
  EXPECT_EQ(m.sets[1].type, '1');
  EXPECT_EQ(m.sets[1].cols, (std::vector<int>{0}));
  EXPECT_EQ(m.sets[1].refs, (std::vector<double>{3}));
  // QUADOBJ: 1/2 x'Qx with Q(x,x) = 4, Q(x,y) = -1, stored as given.
  EXPECT_EQ(m.qobj, (nvrl::QMatrix{{{1, 1}, 4.0}, {{1, 2}, -1.0}}));
  // QCMATRIX lists the full matrix of x'Qx: the pair (x,y) is Q(x,y) = 3.
  ASSERT_EQ(m.qrows.size(), 1u);
  EXPECT_EQ(m.qrows.at(0), (nvrl::QMatrix{{{1, 2}, 3.0}, {{2, 2}, 0.5}}));
  EXPECT_EQ(m.indcol, (std::vector<int>{3, 3, -1, -1}));
  EXPECT_EQ(m.indcomp, (std::vector<int>{1, -1, 0, 0}));
}

TEST_F(MpsRead, QmatrixListsTheFullObjectiveMatrix) {
  const nvrl::Model &m = load("q.mps",
                              "NAME q\nOBJSENSE MAX\nROWS\n N obj\nCOLUMNS\n    x obj 1\n    y obj 1\n"
                              "RHS\nQMATRIX\n    x x 2\n    x y -3\n    y x -3\nENDATA\n");
  EXPECT_EQ(m.objsense, -1);
  EXPECT_EQ(m.qobj, (nvrl::QMatrix{{{0, 0}, 2.0}, {{0, 1}, -3.0}}));
}

TEST_F(MpsRead, ObjectiveSenseSpellings) {
  // Each read replaces the model, so a file without OBJSENSE after a maximisation minimises.
  const char *senses[][2] = {{"OBJSENSE MAX\n", "-1"}, {"", "1"},
                             {"OBJSENSE\n    MAXIMIZE\n", "-1"}, {"OBJSENSE MINIMIZE\n", "1"},
                             {"OBJSENSE\nMAX\n", "-1"}, {"OBJSENSE\n    MIN\n", "1"}};
  for (auto &sense : senses) {
    SCOPED_TRACE(sense[0]);
    const nvrl::Model &m = load("o.mps", std::string("NAME o\n") + sense[0] +
                                             "ROWS\n N obj\nCOLUMNS\n    x obj 1\nRHS\nENDATA\n");
    EXPECT_EQ(m.objsense, std::stoi(sense[1]));
  }
}

TEST_F(MpsRead, ObjnameChoosesTheObjectiveAmongFreeRows) {
  const nvrl::Model &m = load("o.mps",
                              "NAME o\nOBJNAME second\nROWS\n N first\n N second\nCOLUMNS\n"
                              "    x first 1 second 5\nRHS\n    RHS second 2\nENDATA\n");
  ASSERT_EQ(m.rows(), 1);
  EXPECT_EQ(m.rownames[0], "first");
  EXPECT_EQ(m.rowtype[0], 'N');
  EXPECT_EQ(m.obj[0], 5);
  EXPECT_EQ(m.objconst, -2);
}

// Lines laid out by the fixed columns 2-3, 5-12, 15-22, 25-36, 40-47, 50-61.
std::string fixedLine(std::vector<std::string> fields) {
  static const size_t pos[] = {1, 4, 14, 24, 39, 49};
  std::string line;
  for (size_t k = 0; k < fields.size(); ++k) {
    line.resize(pos[k], ' ');
    line += fields[k];
  }
  return line + "\n";
}

TEST_F(MpsRead, FixedColumnsAllowBlanksInNames) {
  std::string text = "NAME          FIXED\nROWS\n" + fixedLine({"N", "COST"}) + fixedLine({"L", "LIM 1"}) +
                     fixedLine({"G", "LIM 2"}) + "COLUMNS\n" +
                     fixedLine({"", "X ONE", "COST", "1.0", "LIM 1", "1.0"}) +
                     fixedLine({"", "X ONE", "LIM 2", "1.0"}) +
                     fixedLine({"", "Y TWO", "COST", "2.0", "LIM 1", "-1.0"}) + "RHS\n" +
                     fixedLine({"", "", "LIM 1", "4.0", "LIM 2", "1.0"}) + "RANGES\n" +
                     fixedLine({"", "RNG", "LIM 2", "2.0"}) + "BOUNDS\n" +
                     fixedLine({"UP", "BND", "X ONE", "4.0"}) + fixedLine({"MI", "BND", "Y TWO"}) + "ENDATA\n";
  const nvrl::Model &m = load("fixed.mps", text);
  EXPECT_EQ(m.name, "FIXED");
  EXPECT_EQ(m.colnames, (std::vector<std::string>{"X ONE", "Y TWO"}));
  EXPECT_EQ(m.rownames, (std::vector<std::string>{"LIM 1", "LIM 2"}));
  EXPECT_EQ(m.obj, (std::vector<double>{1, 2}));
  EXPECT_EQ(m.rowtype, (std::vector<char>{'L', 'R'}));
  EXPECT_EQ(m.rhs, (std::vector<double>{4, 3}));
  EXPECT_EQ(m.range, (std::vector<double>{0, 2}));
  EXPECT_EQ(m.lb, (std::vector<double>{0, -kInf}));
  EXPECT_EQ(m.ub, (std::vector<double>{4, kInf}));
  using Row = std::vector<std::pair<int, double>>;
  EXPECT_EQ(iotest::rowsOf(m)[0], (Row{{0, 1}, {1, -1}}));
}

TEST_F(MpsRead, SosHeadersAndMembersInEachCommonLayout) {
  const char *layouts[] = {
      " S1 SOS s 5\n    s x 1\n    s y 2\n",  // vector name, set name, priority
      " S1 SOS s\n    x:1\n    y:2\n",        // member as column:weight
      " S1 s\n    x 1\n    y 2\n",            // no "SOS" word; members without the set name
  };
  for (const char *layout : layouts) {
    SCOPED_TRACE(layout);
    const nvrl::Model &m = load("s.mps", std::string("NAME s\nROWS\n N obj\nCOLUMNS\n    x obj 1\n    y obj 1\n"
                                                     "RHS\nSOS\n") +
                                             layout + "ENDATA\n");
    ASSERT_EQ(m.nsets(), 1);
    EXPECT_EQ(m.setnames[0], "s");
    EXPECT_EQ(m.sets[0].type, '1');
    EXPECT_EQ(m.sets[0].cols, (std::vector<int>{0, 1}));
    EXPECT_EQ(m.sets[0].refs, (std::vector<double>{1, 2}));
  }
}

TEST_F(MpsRead, FortranExponentsReadInEverySection) {
  const nvrl::Model &m = load("f.mps",
                              "NAME f\nROWS\n N obj\n L r\nCOLUMNS\n    x obj 1.5D2 r -2d-1\n"
                              "RHS\n    RHS r 1.0D+1\nRANGES\n    RNG r 4D0\n"
                              "BOUNDS\n UP BND x 1d400\n LO BND x -.5D1\nENDATA\n");
  ASSERT_EQ(m.cols(), 1);
  EXPECT_EQ(m.obj[0], 150.0);
  EXPECT_EQ(m.A.val[0], -0.2);
  EXPECT_EQ(m.rhs[0], 10.0);
  EXPECT_EQ(m.range[0], 4.0);
  EXPECT_EQ(m.ub[0], kInf);
  EXPECT_EQ(m.lb[0], -5.0);
}

TEST_F(MpsRead, NameFallsBackToTheFileName) {
  const nvrl::Model &m = load("unnamed.mps", "NAME\nROWS\n N obj\nCOLUMNS\n    x obj 1\nRHS\nENDATA\n");
  EXPECT_EQ(m.name, "unnamed");
}

using iotest::Malformed;
using MpsMalformed = iotest::MalformedTest;

TEST_P(MpsMalformed, FailsNamingTheLineAndKeepsTheModel) {
  check("good.mps",
        "NAME good\nROWS\n N obj\n L r\nCOLUMNS\n    x obj 1 r 2\nRHS\n    RHS r 3\nENDATA\n");
}

#define HEAD "NAME t\nROWS\n N obj\n L r\nCOLUMNS\n    x obj 1 r 2\n"
INSTANTIATE_TEST_SUITE_P(
    Files, MpsMalformed,
    ::testing::Values(
        Malformed{"unknown_row", HEAD "    y R99 1\nRHS\nENDATA\n",
                  7, "unknown row name 'R99' in COLUMNS"},
        Malformed{"unknown_section", HEAD "RHS\nFOO\nENDATA\n", 8, "unknown section 'FOO'"},
        Malformed{"bad_number", HEAD "    y r 1.2.3\nRHS\nENDATA\n",
                  7, "invalid number '1.2.3' in COLUMNS"},
        Malformed{"nan", HEAD "    y r nan\nRHS\nENDATA\n", 7, "invalid number 'nan' in COLUMNS"},
        Malformed{"fortran_exponent_without_digits", HEAD "    y r 1.5D\nRHS\nENDATA\n", 7,
                  "invalid number '1.5D' in COLUMNS"},
        Malformed{"fortran_exponent_twice", HEAD "    y r 1D2D3\nRHS\nENDATA\n", 7,
                  "invalid number '1D2D3' in COLUMNS"},
        Malformed{"duplicate_entry", HEAD "    x r 5\nRHS\nENDATA\n", 7,
                  "duplicate entry for column 'x' in row 'r'"},
        Malformed{"unknown_bound_type", HEAD "RHS\nBOUNDS\n XX BND x 1\nENDATA\n", 9,
                  "unknown bound type 'XX' in BOUNDS"},
        Malformed{"bound_on_unknown_column", HEAD "RHS\nBOUNDS\n UP BND z 1\nENDATA\n", 9,
                  "unknown column name 'z' in BOUNDS"},
        Malformed{"bound_without_value", HEAD "RHS\nBOUNDS\n UP BND x\nENDATA\n", 9,
                  "bound type UP needs a value"},
        Malformed{"duplicate_row", "NAME t\nROWS\n N obj\n L r\n G r\nCOLUMNS\nENDATA\n", 5,
                  "duplicate row name 'r' in ROWS"},
        Malformed{"row_type", "NAME t\nROWS\n N obj\n Q r\nCOLUMNS\nENDATA\n",
                  4, "unknown row type 'Q' in ROWS"},
        Malformed{"no_objective", "NAME t\nROWS\n L r\nCOLUMNS\nENDATA\n",
                  4, "no objective row (type N) in ROWS"},
        Malformed{"rhs_unknown_row", HEAD "RHS\n    RHS q 1\nENDATA\n",
                  8, "unknown row name 'q' in RHS"},
        Malformed{"range_on_objective", HEAD "RHS\nRANGES\n    RNG obj 1\nENDATA\n", 9,
                  "RANGES entry for free row 'obj'"},
        Malformed{"missing_endata", HEAD "RHS\n    RHS r 1\n", 8, "file ends without ENDATA"},
        Malformed{"marker", HEAD "    M 'MARKER' 'INTXXX'\nRHS\nENDATA\n",
                  7, "unknown marker ''INTXXX'' in COLUMNS"},
        Malformed{"objsense", "NAME t\nOBJSENSE\n    UP\nROWS\nENDATA\n", 3,
                  "unknown objective sense 'UP' (expected MIN or MAX)"},
        Malformed{"data_after_name", "NAME t\n    stray words\nROWS\nENDATA\n",
                  2, "unexpected data after NAME"},
        Malformed{"sos_member_first", HEAD "RHS\nSOS\n    x:1\nENDATA\n", 9,
                  "SOS member before any set header (S1 or S2)"},
        Malformed{"sos_repeated_member", HEAD "RHS\nSOS\n S1 SOS s\n    x:1\n    x:2\nENDATA\n", 11,
                  "column 'x' appears twice in one set"},
        Malformed{"quadobj_column", HEAD "RHS\nQUADOBJ\n    x z 1\nENDATA\n", 9,
                  "unknown column name 'z' in quadratic section"},
        Malformed{"qcmatrix_without_row", HEAD "RHS\nQCMATRIX\n    x x 1\nENDATA\n",
                  8, "QCMATRIX needs a row name"},
        Malformed{"indicator_value", HEAD "RHS\nINDICATORS\n IF r x 2\nENDATA\n", 9,
                  "indicator value must be 0 or 1, not '2'"},
        Malformed{"columns_field_count", HEAD "    y r 1 r\nRHS\nENDATA\n", 7,
                  "COLUMNS expects a column name and one or two pairs of row name and value"}),
    nvtest::byLabel);
#undef HEAD

TEST_F(MpsRead, MissingFileIsReportedAndLeavesTheModel) {
  load("keep.mps", "NAME keep\nROWS\n N obj\nCOLUMNS\n    x obj 1\nRHS\nENDATA\n");
  std::string missing = path("nothere.mps");
  EXPECT_NE(NVRLreadprob(prob, missing.c_str(), ""), 0);
  EXPECT_EQ(lastError(), "Cannot open problem file '" + missing + "': No such file or directory");
  EXPECT_EQ(prob->model.name, "keep");
  EXPECT_EQ(prob->model.cols(), 1);
}

TEST_F(MpsRead, FormatComesFromFlagsExtensionOrTheFileFound) {
  const std::string mps = "NAME m\nROWS\n N obj\nCOLUMNS\n    x obj 1\nRHS\nENDATA\n";
  const std::string lp = "Minimize\n obj: 2 y + 3 z\nEnd\n";
  writeText("only.lp", lp);
  writeText("both.mps", mps);
  writeText("both.lp", lp);
  writeText("lptext.mps", lp);
  struct {
    std::string file, flags;
    int cols;
  } cases[] = {{"only", "", 2}, {"both", "", 1}, {"both", "l", 2}, {"lptext.mps", "l", 2}, {"both.lp", "", 2}};
  for (auto &c : cases) {
    SCOPED_TRACE(c.file + " '" + c.flags + "'");
    ASSERT_EQ(NVRLreadprob(prob, path(c.file).c_str(), c.flags.c_str()), 0) << lastError();
    EXPECT_EQ(prob->model.cols(), c.cols);
  }
  EXPECT_NE(NVRLreadprob(prob, path("both").c_str(), "q"), 0);
  EXPECT_EQ(lastError(), "NVRLreadprob: unknown flag 'q'");
  // LP text read as MPS fails cleanly.
  EXPECT_NE(NVRLreadprob(prob, path("lptext.mps").c_str(), ""), 0);
  EXPECT_NE(lastError().find("lptext.mps:1: unknown section 'Minimize'"), std::string::npos) << lastError();
}

TEST_F(MpsRead, SuccessfulReadDropsTheLastSolution) {
  load("a.mps", "NAME a\nROWS\n N obj\nCOLUMNS\n    x obj 1\nRHS\nENDATA\n");
  uint64_t version = prob->version;
  prob->sol.lpstatus = NVRL_LP_OPTIMAL;
  load("a.mps", "NAME a\nROWS\n N obj\nCOLUMNS\n    x obj 1\nRHS\nENDATA\n");
  EXPECT_GT(prob->version, version);
  EXPECT_EQ(prob->sol.lpstatus, NVRL_LP_UNSTARTED);
}

}  // namespace

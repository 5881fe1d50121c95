// Problem files: reading LP and MPS files, writing them back, and the bundled instances.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "test_io_support.h"

using iotest::Malformed;
using iotest::dataFile;
using iotest::expectSameModel;
using iotest::expectSameModelByColumnName;

// ---- Reading LP files: every construct into exact store contents, the spellings of keywords
// and operators, and malformed files that must fail naming the line.
namespace {

constexpr double kInf = nvrl::kInf;
using Row = std::vector<std::pair<int, double>>;

using LpRead = iotest::FileTest;

TEST_F(LpRead, EveryConstructLandsInTheStore) {
  const nvrl::Model &m = load("all.lp",
                              "\\ a comment line\n"
                              "Maximize\n"
                              " profit: 3 x + 2 y - z + [ x ^2 + 4 x * y ] / 2 + 7\n"
                              "Subject To\n"
                              " c1: x + y <= 10\n"
                              " c2: 2 x - y >= -3   \\ trailing comment\n"
                              " -x + z = 1\n"
                              " rng: -2 <= x - z <= 8\n"
                              " rev: 5 >= y\n"
                              " ind: b = 1 -> x + y <= 3\n"
                              " ind0: b = 0 -> z >= 1\n"
                              " q1: x + [ x ^2 + 2 x * y ] <= 4\n"
                              " k: x + y - 2 >= 1\n"
                              " split: x\n"
                              "   + y\n"
                              "   >= 0.5 c3: x >= 0\n"
                              "Bounds\n"
                              " x <= 40\n"
                              " -inf <= z <= 5\n"
                              " y free\n"
                              " 2 <= w <= 9\n"
                              " s >= 1.5\n"
                              " s <= 6\n"
                              " u = 4\n"
                              "Generals\n"
                              " w\n"
                              "Binaries\n"
                              " b\n"
                              "Semi-continuous\n"
                              " s\n"
                              "SOS\n"
                              " set1: S1:: x:1 y:2\n"
                              " S2:: z:1 w:2\n"
                              "   u:3\n"
                              "End\n");
  EXPECT_EQ(m.name, "all");
  EXPECT_EQ(m.objsense, -1);
  EXPECT_EQ(m.objconst, 7);
  // Columns in order of first appearance.
  ASSERT_EQ(m.cols(), 7);
  EXPECT_EQ(m.colnames, (std::vector<std::string>{"x", "y", "z", "b", "w", "s", "u"}));
  EXPECT_EQ(m.obj, (std::vector<double>{3, 2, -1, 0, 0, 0, 0}));
  EXPECT_EQ(m.coltype, (std::vector<char>{'C', 'C', 'C', 'B', 'I', 'S', 'C'}));
  EXPECT_EQ(m.lb, (std::vector<double>{0, -kInf, -kInf, 0, 2, 0, 4}));
  EXPECT_EQ(m.ub, (std::vector<double>{40, kInf, 5, 1, 9, 6, 4}));
  EXPECT_EQ(m.limit, (std::vector<double>{0, 0, 0, 0, 0, 1.5, 0}));
  // [x^2 + 4xy]/2 is 0.5 x^2 + 2 xy: stored as (x,x) 1 (v/2 x^2) and (x,y) 2.
  EXPECT_EQ(m.qobj, (nvrl::QMatrix{{{0, 0}, 1.0}, {{0, 1}, 2.0}}));

  ASSERT_EQ(m.rows(), 11);
  EXPECT_EQ(m.rownames, (std::vector<std::string>{"c1", "c2", "", "rng", "rev", "ind", "ind0", "q1", "k",
                                                  "split", "c3"}));
  EXPECT_EQ(m.rowtype, (std::vector<char>{'L', 'G', 'E', 'R', 'L', 'L', 'G', 'L', 'G', 'G', 'G'}));
  EXPECT_EQ(m.rhs, (std::vector<double>{10, -3, 1, 8, 5, 3, 1, 4, 3, 0.5, 0}));
  EXPECT_EQ(m.range, (std::vector<double>{0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0}));
  auto rows = iotest::rowsOf(m);
  EXPECT_EQ(rows[0], (Row{{0, 1}, {1, 1}}));
  EXPECT_EQ(rows[1], (Row{{0, 2}, {1, -1}}));
  EXPECT_EQ(rows[2], (Row{{0, -1}, {2, 1}}));
  EXPECT_EQ(rows[3], (Row{{0, 1}, {2, -1}}));
  EXPECT_EQ(rows[4], (Row{{1, 1}}));
  EXPECT_EQ(rows[7], (Row{{0, 1}}));
  EXPECT_EQ(rows[9], (Row{{0, 1}, {1, 1}}));
  EXPECT_EQ(m.indcol, (std::vector<int>{-1, -1, -1, -1, -1, 3, 3, -1, -1, -1, -1}));
  EXPECT_EQ(m.indcomp, (std::vector<int>{0, 0, 0, 0, 0, 1, -1, 0, 0, 0, 0}));
  // Row brackets are x'Qx as written: x^2 + 2xy is (x,x) 1 and (x,y) 1 (the term 2v xy).
  ASSERT_EQ(m.qrows.size(), 1u);
  EXPECT_EQ(m.qrows.at(7), (nvrl::QMatrix{{{0, 0}, 1.0}, {{0, 1}, 1.0}}));

  ASSERT_EQ(m.nsets(), 2);
  EXPECT_EQ(m.setnames, (std::vector<std::string>{"set1", ""}));
  EXPECT_EQ(m.sets[0].type, '1');
  EXPECT_EQ(m.sets[0].cols, (std::vector<int>{0, 1}));
  EXPECT_EQ(m.sets[0].refs, (std::vector<double>{1, 2}));
  EXPECT_EQ(m.sets[1].type, '2');
  EXPECT_EQ(m.sets[1].cols, (std::vector<int>{2, 4, 6}));
  EXPECT_EQ(m.sets[1].refs, (std::vector<double>{1, 2, 3}));
}

// Spellings that must all give the same model as the reference.
class LpSpelling : public iotest::FileTest, public ::testing::WithParamInterface<const char *> {};

TEST_P(LpSpelling, GivesTheReferenceModel) {
  const char *reference =
      "Minimize\n obj: x + 2 y + [ 2 x ^2 + 2 x * y ] / 2\nSubject To\n c1: x + y >= 1\n c2: x - y <= 3\n"
      "Bounds\n y <= 4\nGenerals\n y\nBinaries\n b\nEnd\n";
  load("ref.lp", reference);
  const nvrl::Model ref = prob->model;
  load("variant.lp", GetParam());
  iotest::expectSameModel(ref, prob->model, false);
}

INSTANTIATE_TEST_SUITE_P(
    Variants, LpSpelling,
    ::testing::Values(
        "minimise\n obj: x + 2y + [2x^2 + 2x*y]/2\nsubject to\n c1: x + y => 1\n c2: x - y =< 3\n"
        "bounds\n y <= 4\ngeneral\n y\nbinary\n b\nend\n",
        "MIN\nobj: x + 2 y + [ 2 x * x + 2 y * x ] / 2\nst\nc1: x + y > 1\nc2: x - y < 3\n"
        "BOUNDS\n4 >= y\nINTEGERS\ny\nBIN\nb\nEND\n",
        "Minimize obj: x + 2 y\n + [ x^2 + x^2 + 2 x*y ]/2\ns.t. c1: 1 <= x + y\n c2: x - y <= 3\n"
        "Bounds\n -0 <= y <= 4\nGen y\nBinaries b\n",
        "minimum\n obj: x + y + y + [ 2 x ^ 2 + 2 x * y ] / 2\nsuch that\n c1: x + y + 1 >= 2\n c2: x - y - 3 <= 0\n"
        "Bounds\n y <= 4\nGenerals\n y\nBinary\n b\nEnd\n"),
    [](const auto &info) { return "variant" + std::to_string(info.index); });

TEST_F(LpRead, SemiIntegerFromBothLists) {
  for (const char *order : {"Semis\n s\nGenerals\n s\n", "Generals\n s\nSemi-continuous\n s\n"}) {
    SCOPED_TRACE(order);
    const nvrl::Model &m =
        load("si.lp", std::string("Minimize\n obj: s\nSubject To\n c: s >= 0\nBounds\n 2 <= s <= 7\n") + order + "End\n");
    EXPECT_EQ(m.coltype[0], 'R');
    EXPECT_EQ(m.limit[0], 2);
    EXPECT_EQ(m.lb[0], 0);
    EXPECT_EQ(m.ub[0], 7);
  }
}

TEST_F(LpRead, BinaryKeepsBoundsGivenInBounds) {
  const nvrl::Model &m = load("b.lp", "Minimize\n obj: a + b\nSubject To\nBounds\n b = 1\nBinaries\n a b\nEnd\n");
  EXPECT_EQ(m.coltype, (std::vector<char>{'B', 'B'}));
  EXPECT_EQ(m.lb, (std::vector<double>{0, 1}));
  EXPECT_EQ(m.ub, (std::vector<double>{1, 1}));
}

TEST_F(LpRead, RowsMayBeFreeOrWithoutAConstant) {
  const nvrl::Model &m = load("f.lp", "Minimize\n obj: 5\nSubject To\n f: x + y >= -inf\n g: 3 <= x\nEnd\n");
  EXPECT_EQ(m.objconst, 5);
  EXPECT_EQ(m.rowtype, (std::vector<char>{'N', 'G'}));
  EXPECT_EQ(m.rhs, (std::vector<double>{0, 3}));
}

using LpMalformed = iotest::MalformedTest;

TEST_P(LpMalformed, FailsNamingTheLineAndKeepsTheModel) {
  check("good.lp", "Minimize\n obj: x\nSubject To\n c: x >= 1\nEnd\n");
}

INSTANTIATE_TEST_SUITE_P(
    Files, LpMalformed,
    ::testing::Values(
        Malformed{"text_before_objective", "x + y\nMinimize\n obj: x\nEnd\n", 1,
                  "expected Minimize or Maximize before 'x + y'"},
        Malformed{"missing_relation", "Minimize\n obj: x\nSubject To\n c: x + y 5\nEnd\n", 4,
                  "unexpected '5' where '<=', '>=' or '=' should be"},
        Malformed{"missing_rhs", "Minimize\n obj: x\nSubject To\n c: x + y <=\nBounds\nEnd\n", 4,
                  "unexpected end of section where the right-hand side should be a number"},
        Malformed{"objective_bracket_without_half", "Minimize\n obj: x + [ x ^2 ]\nEnd\n", 2,
                  "the objective's quadratic terms must be followed by '/ 2'"},
        Malformed{"linear_in_bracket", "Minimize\n obj: [ x + y ] / 2\nEnd\n", 2,
                  "linear term inside '[ ]': quadratic terms are x ^2 or x * y"},
        Malformed{"cube", "Minimize\n obj: [ x ^3 ] / 2\nEnd\n",
                  2, "only squares (^2) may appear inside '[ ]'"},
        Malformed{"unclosed_bracket", "Minimize\n obj: [ x ^2 \nEnd\n",
                  2, "'[' without a closing ']'"},
        Malformed{"mixed_range", "Minimize\n obj: x\nSubject To\n r: 1 <= x >= 2\nEnd\n", 4,
                  "a range needs two '<=' or two '>='"},
        Malformed{"empty_range", "Minimize\n obj: x\nSubject To\n r: 5 <= x <= 2\nEnd\n", 4,
                  "the lower limit of the row is above its upper limit"},
        Malformed{"indicator_value", "Minimize\n obj: x\nSubject To\n i: b = 2 -> x <= 1\nEnd\n", 4,
                  "indicator value must be 0 or 1"},
        Malformed{"duplicate_row", "Minimize\n obj: x\nSubject To\n c: x >= 1\n c: x <= 3\nEnd\n", 5,
                  "duplicate row name 'c'"},
        Malformed{"bad_character", "Minimize\n obj: x \x7f y\nEnd\n", 2, "unexpected character"},
        Malformed{"bound_without_value", "Minimize\n obj: x\nBounds\n x >=\n y <= 3\nEnd\n", 5,
                  "unexpected 'y' where a bound should be a number"},
        Malformed{"bound_operator", "Minimize\n obj: x\nBounds\n x 3\nEnd\n", 4,
                  "expected '<=', '>=', '=' or 'free' after the column name"},
        Malformed{"sos_without_header", "Minimize\n obj: x\nSOS\n x:1 y:2\nEnd\n", 4,
                  "unexpected 'x' where a set (name: S1:: or S2::) should start"},
        Malformed{"sos_repeated_member", "Minimize\n obj: x\nSOS\n s: S1:: x:1 x:2\nEnd\n", 4,
                  "column 'x' appears twice in one set"},
        Malformed{"second_objective", "Minimize\n obj: x\nMaximize\n obj: y\nEnd\n",
                  3, "a second objective section"},
        Malformed{"unsupported_section", "Minimize\n obj: x\nLazy Constraints\n l: x <= 1\nEnd\n", 3,
                  "unsupported section 'Lazy Constraints'"},
        Malformed{"general_needs_names", "Minimize\n obj: x\nGenerals\n x 3\nEnd\n", 4,
                  "unexpected '3' where a column name should be"},
        Malformed{"terms_need_signs", "Minimize\n obj: x y\nEnd\n",
                  2, "unexpected 'y' in the objective"}), nvtest::byLabel);

TEST_F(LpRead, FileWithoutObjectiveFails) {
  std::string p = writeText("noobj.lp", "Subject To\n c: x >= 1\nEnd\n");
  EXPECT_NE(NVRLreadprob(prob, p.c_str(), ""), 0);
  EXPECT_EQ(lastError(), p + ": no Minimize or Maximize section");
}

// ---- Reading MPS files: each section and bound type into exact store contents, fixed columns
// with blanks in names, and malformed files that must fail naming the line.


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

// Each read replaces the model, so a file without OBJSENSE after a maximisation minimises.
// QMATRIX lists the full objective matrix: the pair (x,y) is given twice and stored once.
TEST_F(MpsRead, ObjectiveSenseSpellingsAndQmatrix) {
  const char *senses[][2] = {{"OBJSENSE MAX\n", "-1"}, {"", "1"},
                             {"OBJSENSE\n    MAXIMIZE\n", "-1"}, {"OBJSENSE MINIMIZE\n", "1"},
                             {"OBJSENSE\nMAX\n", "-1"}, {"OBJSENSE\n    MIN\n", "1"}};
  for (auto &sense : senses) {
    SCOPED_TRACE(sense[0]);
    const nvrl::Model &m =
        load("o.mps", std::string("NAME o\n") + sense[0] +
                          "ROWS\n N obj\nCOLUMNS\n    x obj 1\n    y obj 1\n"
                          "RHS\nQMATRIX\n    x x 2\n    x y -3\n    y x -3\nENDATA\n");
    EXPECT_EQ(m.objsense, std::stoi(sense[1]));
    EXPECT_EQ(m.qobj, (nvrl::QMatrix{{{0, 0}, 2.0}, {{0, 1}, -3.0}}));
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

// Fortran exponents read in every section; without a name the problem is named after the file.
TEST_F(MpsRead, FortranExponentsAndNameFromTheFile) {
  const nvrl::Model &m = load("unnamed.mps",
                              "NAME\nROWS\n N obj\n L r\nCOLUMNS\n    x obj 1.5D2 r -2d-1\n"
                              "RHS\n    RHS r 1.0D+1\nRANGES\n    RNG r 4D0\n"
                              "BOUNDS\n UP BND x 1d400\n LO BND x -.5D1\nENDATA\n");
  ASSERT_EQ(m.cols(), 1);
  EXPECT_EQ(m.obj[0], 150.0);
  EXPECT_EQ(m.A.rows().val[0], -0.2);
  EXPECT_EQ(m.rhs[0], 10.0);
  EXPECT_EQ(m.range[0], 4.0);
  EXPECT_EQ(m.ub[0], kInf);
  EXPECT_EQ(m.lb[0], -5.0);
  EXPECT_EQ(m.name, "unnamed");
}

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

// A missing file is reported and leaves the model and its solution; a successful read drops
// the solution.
TEST_F(MpsRead, MissingFileLeavesTheModelAndAReadDropsTheSolution) {
  load("keep.mps", "NAME keep\nROWS\n N obj\nCOLUMNS\n    x obj 1\nRHS\nENDATA\n");
  const uint64_t version = prob->version;
  prob->sol.lpstatus = NVRL_LP_OPTIMAL;
  std::string missing = path("nothere.mps");
  EXPECT_NE(NVRLreadprob(prob, missing.c_str(), ""), 0);
  EXPECT_EQ(lastError(), "Cannot open problem file '" + missing + "': No such file or directory");
  EXPECT_EQ(prob->model.name, "keep");
  EXPECT_EQ(prob->model.cols(), 1);
  EXPECT_EQ(prob->sol.lpstatus, NVRL_LP_OPTIMAL);
  load("a.mps", "NAME a\nROWS\n N obj\nCOLUMNS\n    x obj 1\nRHS\nENDATA\n");
  EXPECT_GT(prob->version, version);
  EXPECT_EQ(prob->sol.lpstatus, NVRL_LP_UNSTARTED);
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

// ---- Writing problems: a model using every feature the formats carry comes back identical from
// MPS and LP files, and what a format cannot carry is refused with a clear message.

// Writes the problem as leaf with the flags ('l': LP) and reads the file back; its path.
std::string writeAndRead(NVRLprob prob, const std::string &leaf, const char *flags) {
  const std::string file = leaf + (*flags ? ".lp" : ".mps");
  EXPECT_EQ(NVRLwriteprob(prob, leaf.c_str(), flags), 0) << nvtest::lastError(prob);
  EXPECT_EQ(NVRLreadprob(prob, file.c_str(), ""), 0) << nvtest::lastError(prob);
  return file;
}

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
    EXPECT_EQ(writeAndRead(prob, path("out"), flags), path("out") + ext);
    iotest::expectSameModel(original, prob->model, std::string(ext) == ".mps");
  }
};

// Every feature each format carries (LP files have no partially integer columns), and nothing.
TEST_F(RoundTrip, EverythingAndNothingInBothFormats) {
  for (auto [flags, ext] : {std::pair{"", ".mps"}, std::pair{"l", ".lp"}}) {
    SCOPED_TRACE(ext);
    prob->model = nvrl::Model();
    buildEverything(*flags == '\0');
    expectRoundTrip(flags, ext);
    prob->model = nvrl::Model();
    prob->model.name = "nothing";
    expectRoundTrip(flags, ext);
  }
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
    writeAndRead(prob, path("ranges"), flags);
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

// A name the store holds twice, or an item's name that is another's default name, is written
// once as it is and then with the first free suffix; the file reads back with every row.
TEST_F(RoundTrip, RepeatedNamesAreWrittenWithSuffixes) {
  for (const char *flags : {"", "l"}) {
    SCOPED_TRACE(*flags ? "LP" : "MPS");
    buildEverything(false);
    nvrl::Model &m = prob->model;
    m.rownames[0] = "R2";    // row 1 is unnamed: its default name is R2
    m.rownames[2] = "R2";    // and a third row is given it too
    m.rownames[3] = "R2_2";  // so R2's first free suffix is _3
    m.rownames[4] = "obj";   // and an MPS file's objective row, "obj" by default, is obj_1
    prob->modelChanged();
    const int rows = m.rows();
    const std::string file = writeAndRead(prob, path("repeated"), flags);
    if (!*flags) EXPECT_NE(iotest::readBytes(file).find("obj_1"), std::string::npos);
    ASSERT_EQ(prob->model.rows(), rows);
    EXPECT_EQ(std::vector<std::string>(prob->model.rownames.begin(),
                                       prob->model.rownames.begin() + 5),
              (std::vector<std::string>{"R2", "R2_3", "R2_4", "R2_2", "obj"}));
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
  // Without a format flag the name chooses, as for reading: ".lp" (any case) is LP, so what
  // is written reads back; "m" forces MPS whatever the name.
  for (const char *name : {"plain.lp", "upper.LP"}) {
    ASSERT_EQ(NVRLwriteprob(prob, path(name).c_str(), ""), 0) << lastError();
    EXPECT_EQ(iotest::readBytes(path(name)).rfind("\\", 0), 0u) << name;
    ASSERT_EQ(NVRLreadprob(prob, path(name).c_str(), ""), 0) << lastError();
  }
  ASSERT_EQ(NVRLwriteprob(prob, path("forced.lp").c_str(), "m"), 0) << lastError();
  EXPECT_EQ(iotest::readBytes(path("forced.lp")).rfind("NAME", 0), 0u);
  std::string unwritable = path("no/such/dir/file.mps");
  EXPECT_NE(NVRLwriteprob(prob, unwritable.c_str(), ""), 0);
  EXPECT_EQ(lastError(), "Cannot open '" + unwritable + "' for writing: No such file or directory");
}

// ---- The bundled instances: each reads with the sizes an independent reader (HiGHS 1.15.1)
// reports for it, each survives being written and read back in both formats, and an LP file
// loads the same model as its MPS twin.
// gas11 differs in one respect: HiGHS drops its 12 coefficients of magnitude below 1e-9,
// which the store keeps (2154 + 12 nonzeros).

struct Instance {
  const char *file;
  int rows, cols;
  long nnz;
  int integer_like;  // columns of type I, B, S, R
  int qobj;          // quadratic objective entries (one per pair)
  bool lp_names = true;  // every column name can stand in an LP file
};

const Instance kInstances[] = {
    {"25fv47.mps", 821, 1571, 10400, 0, 0, false},  {"adlittle.mps", 56, 97, 383, 0, 0},
    {"afiro.mps", 27, 32, 83, 0, 0},          {"avgas.mps", 10, 8, 30, 0, 0},
    {"bell5.mps", 91, 104, 266, 58, 0},       {"blending.mps", 2, 2, 4, 0, 0},
    {"e226.mps", 223, 282, 2578, 0, 0},       {"egout.mps", 98, 141, 282, 55, 0},
    {"flugpl.mps", 18, 18, 46, 11, 0},        {"galenet.mps", 8, 8, 16, 0, 0},
    {"gas11.mps", 459, 862, 2166, 0, 0},      {"gt2.mps", 29, 188, 376, 188, 0},
    {"israel.mps", 174, 142, 2269, 0, 0},     {"klein1.mps", 54, 54, 696, 0, 0},
    {"lseu.mps", 28, 89, 309, 89, 0},         {"p0548.mps", 176, 548, 1711, 548, 0},
    {"qjh.mps", 1, 3, 2, 0, 4},               {"sctest.mps", 10, 6, 29, 0, 0},
    {"semi-continuous.mps", 4, 4, 8, 1, 0},   {"semi-integer.mps", 4, 4, 8, 1, 0},
    {"shell.mps", 536, 1775, 3556, 0, 0},     {"small_mip.mps", 5, 8, 14, 2, 0},
    {"stair.mps", 356, 467, 3856, 0, 0},      {"standata.mps", 359, 1075, 3031, 0, 0},
    {"qjh.lp", 1, 3, 2, 0, 4},                {"qptestnw.lp", 3, 2, 6, 0, 2},
    {"semi-continuous.lp", 4, 4, 8, 1, 0},    {"semi-integer.lp", 4, 4, 8, 1, 0},
};

class DataFile : public iotest::FileTest, public ::testing::WithParamInterface<Instance> {};

TEST_P(DataFile, ReadsWithTheExpectedSizesAndWritesBackUnchanged) {
  const Instance &inst = GetParam();
  ASSERT_EQ(NVRLreadprob(prob, dataFile(inst.file).c_str(), ""), 0) << lastError();
  const nvrl::Model &m = prob->model;
  EXPECT_EQ(m.rows(), inst.rows);
  EXPECT_EQ(m.cols(), inst.cols);
  EXPECT_EQ(m.A.nnz(), inst.nnz);
  int integer_like = 0;
  for (char t : m.coltype) integer_like += t != 'C';
  EXPECT_EQ(integer_like, inst.integer_like);
  EXPECT_EQ(static_cast<int>(m.qobj.size()), inst.qobj);
  EXPECT_TRUE(m.qrows.empty());
  EXPECT_EQ(m.nsets(), 0);
  // The store's invariants hold for what was read.
  EXPECT_EQ(m.lb.size(), m.obj.size());
  EXPECT_EQ(m.limit.size(), m.obj.size());
  EXPECT_EQ(m.indcol.size(), m.rowtype.size());
  for (double v : m.A.rows().val) EXPECT_NE(v, 0.0);
  for (int i = 0; i < m.rows(); ++i)
    if (m.rowtype[i] != 'R') EXPECT_EQ(m.range[i], 0.0);

  // An LP file loads the same model as its MPS twin, if it has one.
  const nvrl::Model original = prob->model;
  const std::string file = inst.file, twin = dataFile(file.substr(0, file.size() - 3) + ".mps");
  if (file.ends_with(".lp") && std::filesystem::exists(twin)) {
    ASSERT_EQ(NVRLreadprob(prob, twin.c_str(), ""), 0) << lastError();
    expectSameModelByColumnName(prob->model, original);
    prob->model = original;
  }

  // Written and read back, it is unchanged in both formats.
  for (const char *flags : {"", "l"}) {
    SCOPED_TRACE(std::string("flags '") + flags + "'");
    std::string out = path("copy");
    if (*flags && !inst.lp_names) {
      // Names starting with a digit would read as numbers in an LP file.
      EXPECT_NE(NVRLwriteprob(prob, out.c_str(), flags), 0);
      EXPECT_NE(lastError().find("column name '1G0EXP'"), std::string::npos) << lastError();
      EXPECT_FALSE(std::filesystem::exists(out + ".lp"));
      continue;
    }
    writeAndRead(prob, out, flags);
    // An LP file has no problem name; the reader names the problem after the file.
    expectSameModel(original, prob->model, !*flags);
    if (*flags) EXPECT_EQ(prob->model.name, "copy");
    prob->model = original;
  }
}

INSTANTIATE_TEST_SUITE_P(Instances, DataFile, ::testing::ValuesIn(kInstances),
                         [](const auto &info) { return nvtest::testName(info.param.file); });

}  // namespace

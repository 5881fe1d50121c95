// Reading LP files: every construct into exact store contents, the spellings of keywords
// and operators, and malformed files that must fail naming the line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_io_support.h"

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

using iotest::Malformed;
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

}  // namespace

// The bundled instances: each reads with the sizes an independent reader (HiGHS 1.15.1)
// reports for it, each survives being written and read back in both formats, and an LP file
// loads the same model as its MPS twin.
// gas11 differs in one respect: HiGHS drops its 12 coefficients of magnitude below 1e-9,
// which the store keeps (2154 + 12 nonzeros).
#include <gtest/gtest.h>

#include <string>

#include "test_io_support.h"

namespace {

using iotest::dataFile;
using iotest::expectSameModel;
using iotest::expectSameModelByColumnName;

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
  for (double v : m.A.val) EXPECT_NE(v, 0.0);
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
    ASSERT_EQ(NVRLwriteprob(prob, out.c_str(), flags), 0) << lastError();
    out += *flags ? ".lp" : ".mps";
    ASSERT_EQ(NVRLreadprob(prob, out.c_str(), ""), 0) << lastError();
    // An LP file has no problem name; the reader names the problem after the file.
    expectSameModel(original, prob->model, !*flags);
    if (*flags) EXPECT_EQ(prob->model.name, "copy");
    prob->model = original;
  }
}

INSTANTIATE_TEST_SUITE_P(Instances, DataFile, ::testing::ValuesIn(kInstances),
                         [](const auto &info) { return nvtest::testName(info.param.file); });

}  // namespace

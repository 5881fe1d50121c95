// Names of rows, columns and sets: default names, look-up, renaming, buffers, bad input.
#include <string>
#include <vector>

#include "core/problem.h"
#include "test_store_support.h"

namespace storetest {
namespace {

int indexOf(NVRLprob prob, int type, const char *name) {
  int index = -1;
  return NVRLgetindex(prob, type, name, &index) == 0 ? index : -1;
}

TEST_F(StoreTest, LookUpFindsUserNamesAndDefaultNamesOfUnnamedItems) {
  buildRichModel();
  struct Case {
    int type;
    const char *name;
    int index;
  } cases[] = {
      {1, "cap", 0}, {1, "need", 1}, {1, "R3", 2}, {1, "R1", -1},  // row 0 is called "cap"
      {1, "R03", -1}, {1, "R4", -1}, {2, "w", 3}, {2, "C3", 2},    {2, "x", 0},
      {2, "cap", -1}, {3, "s", 0},   {3, "S1", -1}, {2, "", -1},
  };
  for (const Case &c : cases) EXPECT_EQ(indexOf(prob, c.type, c.name), c.index) << c.name;
}

TEST_F(StoreTest, AUserNameWinsOverAnotherItemsDefaultName) {
  buildRichModel();
  ASSERT_EQ(NVRLaddnames(prob, 2, "C3", 0, 0), 0) << lastError(prob);
  EXPECT_EQ(indexOf(prob, 2, "C3"), 0);
  EXPECT_EQ(names(prob, 2, 0, 3), (std::vector<std::string>{"C3", "y", "C3", "w"}));
}

TEST_F(StoreTest, RenamingReleasesTheOldNameAndSwapsWork) {
  buildRichModel();
  ASSERT_EQ(NVRLaddnames(prob, 2, "z", 0, 0), 0);
  EXPECT_EQ(indexOf(prob, 2, "x"), -1);
  EXPECT_EQ(indexOf(prob, 2, "z"), 0);
  ASSERT_EQ(NVRLaddnames(prob, 2, "x", 1, 1), 0) << lastError(prob);  // "x" is free again
  ASSERT_EQ(NVRLaddnames(prob, 2, "x\0z", 0, 1), 0) << lastError(prob);  // swap in one call
  EXPECT_EQ(indexOf(prob, 2, "x"), 0);
  EXPECT_EQ(indexOf(prob, 2, "z"), 1);
  ASSERT_EQ(NVRLaddnames(prob, 2, "", 0, 0), 0);  // unnamed again: the default name applies
  EXPECT_EQ(indexOf(prob, 2, "x"), -1);
  EXPECT_EQ(indexOf(prob, 2, "C1"), 0);
}

TEST_F(StoreTest, NamesGivenOneByOneStayFindableThroughAdditionsAndDeletions) {
  const int n = 1000;
  ASSERT_EQ(NVRLaddcols64(prob, n, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  for (int j = 0; j < n; ++j) {
    const std::string name = "v" + std::to_string(j);
    ASSERT_EQ(NVRLaddnames(prob, 2, name.c_str(), j, j), 0) << lastError(prob);
    ASSERT_EQ(indexOf(prob, 2, name.c_str()), j);
  }
  std::vector<int> del;
  for (int j = 0; j < n; j += 3) del.push_back(j);
  ASSERT_EQ(NVRLdelcols(prob, static_cast<int>(del.size()), del.data()), 0);
  EXPECT_EQ(indexOf(prob, 2, "v0"), -1);
  EXPECT_EQ(indexOf(prob, 2, "v1"), 0);
  EXPECT_EQ(indexOf(prob, 2, "v2"), 1);
  EXPECT_EQ(indexOf(prob, 2, "v998"), 665);
  EXPECT_EQ(indexOf(prob, 2, "v999"), -1);
  ASSERT_EQ(NVRLaddcols64(prob, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(indexOf(prob, 2, "C667"), 666);
}

TEST_F(StoreTest, LookUpFollowsNamesWrittenStraightIntoTheStore) {
  buildRichModel();
  ASSERT_EQ(indexOf(prob, 2, "x"), 0);  // builds the index
  // Other engine code (file reading, copying) writes names directly and reports the change.
  prob->model.colnames[0] = "direct";
  prob->modelChanged();
  EXPECT_EQ(indexOf(prob, 2, "direct"), 0);
  EXPECT_EQ(indexOf(prob, 2, "x"), -1);
}

TEST_F(StoreTest, ANewProblemDoesNotInheritLookUpsOfADestroyedOne) {
  ASSERT_EQ(NVRLaddcols64(prob, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(NVRLaddnames(prob, 2, "old", 0, 0), 0);
  ASSERT_EQ(indexOf(prob, 2, "old"), 0);
  ASSERT_EQ(NVRLdestroyprob(prob), 0);
  // The allocator often hands the same address to the next problem, which then makes as many
  // changes as the old one had made before its look-up.
  ASSERT_EQ(NVRLcreateprob(&prob), 0);
  ASSERT_EQ(NVRLaddcols64(prob, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  const int j = 0;
  const double c = 1;
  ASSERT_EQ(NVRLchgobj(prob, 1, &j, &c), 0);
  EXPECT_EQ(indexOf(prob, 2, "old"), -1);
  EXPECT_EQ(cols(prob, 0, 0).idx.size(), 0u);
}

TEST_F(StoreTest, NameBuffersArePackedAndSized) {
  buildRichModel();
  int nbytes = 0;
  ASSERT_EQ(NVRLgetnamelist(prob, 1, nullptr, 0, &nbytes, 0, 2), 0);
  EXPECT_EQ(nbytes, 4 + 5 + 3);  // "cap", "need", "R3" with terminators
  std::vector<char> buf(nbytes);
  EXPECT_NE(NVRLgetnamelist(prob, 1, buf.data(), nbytes - 1, &nbytes, 0, 2), 0);
  EXPECT_NE(lastError(prob).find("maxbytes = 11 is too small: the names need 12 bytes"),
            std::string::npos);
  ASSERT_EQ(NVRLgetnames(prob, 1, buf.data(), 1, 2), 0);
  EXPECT_EQ(std::string(buf.data(), 8), std::string("need\0R3\0", 8));
  // Attribute 1028 sizes a slot for the longest name, default names included.
  EXPECT_GE(8 * intAttr(prob, nvrl::id::kNamelength), 4);
}

TEST_F(StoreTest, NamesUpToTheLimitAreAccepted) {
  buildRichModel();
  const std::string longest(NVRL_MAXNAMELEN, 'a');
  ASSERT_EQ(NVRLaddnames(prob, 3, longest.c_str(), 0, 0), 0) << lastError(prob);
  EXPECT_EQ(names(prob, 3, 0, 0)[0], longest);
  EXPECT_EQ(indexOf(prob, 3, longest.c_str()), 0);
}

const BadCall kBadNames[] = {
    {"UnknownType", +[](NVRLprob p) { return NVRLaddnames(p, 4, "a", 0, 0); },
     "NVRLaddnames: type = 4 must be 1 (rows), 2 (columns) or 3 (sets)"},
    {"ReversedRange", +[](NVRLprob p) { return NVRLaddnames(p, 1, "a\0b", 1, 0); },
     "first = 1 and last = 0 must satisfy 0 <= first <= last <= 2 (the problem has 3 rows)"},
    {"RangeBeyondSets", +[](NVRLprob p) { return NVRLaddsetnames(p, "a\0b", 0, 1); },
     "NVRLaddsetnames: first = 0 and last = 1 must satisfy 0 <= first <= last <= 0"},
    {"RepeatedInOneCall", +[](NVRLprob p) { return NVRLaddnames(p, 2, "a\0b\0a", 0, 2); },
     "name 'a' is given to both column 0 and column 2"},
    {"TakenByAnotherItem", +[](NVRLprob p) { return NVRLaddnames(p, 2, "w", 1, 1); },
     "name 'w' of column 1 is already the name of column 3"},
    {"TooLong",
     +[](NVRLprob p) {
       const std::string name(NVRL_MAXNAMELEN + 1, 'a');
       return NVRLaddnames(p, 1, name.c_str(), 2, 2);
     },
     "the name of row 2 is 1025 characters long; at most 1024 are allowed"},
    {"LookUpOfAnUnknownName",
     +[](NVRLprob p) {
       int index;
       return NVRLgetindex(p, 2, "nosuch", &index);
     },
     "NVRLgetindex: there is no column named 'nosuch'"},
    {"NameListWithoutOutputs",
     +[](NVRLprob p) { return NVRLgetnamelist(p, 1, nullptr, 0, nullptr, 0, 0); },
     "names and nbytes must not both be null"},
};

INSTANTIATE_TEST_SUITE_P(Names, BadCalls, ::testing::ValuesIn(kBadNames), nvtest::byLabel);

}  // namespace
}  // namespace storetest

// The flat hash tables that file reading and writing use for names and matrix entries, against
// the standard containers on inputs large enough to grow them many times.
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "io/flat_tables.h"

namespace {

TEST(FlatTables, NameLookupFindsTheFirstPositionOfEveryName) {
  std::mt19937 rng(5);
  std::vector<std::string> names;
  std::unordered_map<std::string, int> first;
  nvrl::io::NameLookup lookup;
  for (int i = 0; i < 60000; ++i) {
    // Every fifth name repeats an earlier one; lengths vary past the small-string size.
    std::string name = i % 5 == 4 ? names[rng() % names.size()]
                                  : "n" + std::to_string(rng()) + std::string(i % 23, 'x');
    names.push_back(name);
    const bool fresh = first.emplace(name, i).second;
    EXPECT_EQ(lookup.insert(names, i), fresh) << i;
  }
  for (const auto &[name, index] : first) ASSERT_EQ(lookup.find(names, name), index) << name;
  for (const char *absent : {"", "n", "x", "n1x"}) EXPECT_EQ(lookup.find(names, absent), -1);
  lookup.clear();
  EXPECT_EQ(lookup.find(names, names[0]), -1);
  EXPECT_TRUE(lookup.insert(names, 7));
  EXPECT_EQ(lookup.find(names, names[7]), 7);
}

TEST(FlatTables, KeySetAgreesWithAStandardSet) {
  std::mt19937_64 rng(9);
  std::set<uint64_t> reference;
  nvrl::io::KeySet keys;
  for (int i = 0; i < 200000; ++i) {
    // Row and column pairs from a small range, so that many repeat.
    const uint64_t key = (rng() % 700) << 32 | (rng() % 700);
    ASSERT_EQ(keys.insert(key), reference.insert(key).second) << i;
  }
  for (uint64_t row = 0; row < 700; row += 7)
    for (uint64_t col = 0; col < 700; col += 3)
      ASSERT_EQ(keys.contains(row << 32 | col), reference.count(row << 32 | col) != 0);
  keys.clear();
  EXPECT_FALSE(keys.contains(*reference.begin()));
}

}  // namespace

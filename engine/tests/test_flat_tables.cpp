// The flat hash tables of names and matrix entries (file reading and writing, the index of
// names), against the standard containers on inputs large enough to grow them many times.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/flat_tables.h"

namespace {

TEST(FlatTables, NameLookupFindsTheFirstPositionOfEveryName) {
  std::mt19937 rng(5);
  std::vector<std::string> names;
  std::unordered_map<std::string, int> first;
  nvrl::NameLookup lookup;
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

TEST(FlatTables, NameLookupErasesInAnyOrderAndKeepsTheRest) {
  // Erasing must keep every other entry findable, whatever probe runs the erased slots sat in:
  // a table at its fullest, entries erased in random order and names re-entered under new
  // positions, checked against a standard map after every step of a sample.
  std::mt19937 rng(11);
  std::vector<std::string> names;
  for (int i = 0; i < 4000; ++i)
    names.push_back("c" + std::to_string(i % 97) + "_" + std::to_string(i));
  nvrl::NameLookup lookup;
  std::unordered_map<std::string, int> reference;
  lookup.reserve(names, names.size());
  for (int i = 0; i < static_cast<int>(names.size()); ++i) {
    ASSERT_TRUE(lookup.insert(names, i));
    reference.emplace(names[i], i);
  }
  std::vector<int> order(names.size());
  for (int i = 0; i < static_cast<int>(order.size()); ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), rng);
  for (size_t step = 0; step < order.size(); ++step) {
    const int gone = order[step];
    lookup.erase(names, gone);
    reference.erase(names[gone]);
    if (step % 3 == 0) {  // a rename: the position comes back under a new name
      names[gone] += "_renamed";
      ASSERT_TRUE(lookup.insert(names, gone));
      reference.emplace(names[gone], gone);
    }
    ASSERT_EQ(lookup.size(), reference.size());
    if (step % 97 == 0 || step + 1 == order.size())
      for (const auto &[name, index] : reference) ASSERT_EQ(lookup.find(names, name), index) << step;
    ASSERT_EQ(lookup.find(names, names[gone]), step % 3 == 0 ? gone : -1);
  }
  lookup.erase(names, order[1]);  // erased before and not entered again: nothing happens
  EXPECT_EQ(lookup.size(), reference.size());
}

TEST(FlatTables, KeySetAgreesWithAStandardSet) {
  std::mt19937_64 rng(9);
  std::set<uint64_t> reference;
  nvrl::KeySet keys;
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

// The id constants of nvrl.h are generated from the registry; these tests keep the two in step
// and check that the published names are usable C identifiers.
#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

#include "core/registry.h"
#include "test_support.h"

namespace {

// The id block of nvrl.h is rewritten from the registry with NVRL_UPDATE_DOCS=1.
TEST(HeaderIds, MatchTheRegistry) {
  nvtest::expectGenerated(std::string(NVRL_SOURCE_DIR) + "/engine/include/nvrl.h",
                          nvrl::idDefines(), nvrl::kIdsBegin, nvrl::kIdsEnd);
}

TEST(HeaderIds, NamesAreDistinctIdentifiersThatKeepTheirPrefix) {
  std::set<std::string> names;
  for (const nvrl::ParamInfo &p : nvrl::paramTable()) {
    const std::string name = nvrl::publishedIdName(p);
    EXPECT_TRUE(names.insert(name).second) << name << " is published twice";
    for (char c : name)
      EXPECT_TRUE(std::isupper(static_cast<unsigned char>(c)) ||
                  std::isdigit(static_cast<unsigned char>(c)) || c == '_')
          << p.name << " gives the name " << name;
    // NSLP_ replaces the "nslp_" of nonlinear names; an entry without it would break the
    // pattern that users derive names by.
    if (p.isNonlinear()) EXPECT_EQ(0u, std::string(p.name).rfind("nslp_", 0)) << p.name;
  }
}

}  // namespace

// The id constants of nvrl.h are generated from the registry; these tests keep the two in step
// and check that the published names are usable C identifiers.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "core/registry.h"
#include "nvrl.h"

namespace {

std::string readFile(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// The id block of nvrl.h is rewritten from the registry with NVRL_UPDATE_DOCS=1.
TEST(HeaderIds, MatchTheRegistry) {
  const std::string path = std::string(NVRL_SOURCE_DIR) + "/engine/include/nvrl.h";
  std::string header = readFile(path);
  ASSERT_FALSE(header.empty()) << path << " is missing";
  const size_t begin = header.find(nvrl::kIdsBegin);
  const size_t end = header.find(nvrl::kIdsEnd);
  ASSERT_NE(begin, std::string::npos) << path << " lacks the line " << nvrl::kIdsBegin;
  ASSERT_NE(end, std::string::npos) << path << " lacks the line " << nvrl::kIdsEnd;
  ASSERT_LT(begin, end);
  const size_t from = begin + std::string(nvrl::kIdsBegin).size();
  const std::string expected = nvrl::idDefines();
  if (const char *update = std::getenv("NVRL_UPDATE_DOCS"); update && *update == '1') {
    header.replace(from, end - from, expected);
    std::ofstream(path, std::ios::binary) << header;
  }
  EXPECT_TRUE(header.substr(from, end - from) == expected)
      << path << " differs from the registry; run with NVRL_UPDATE_DOCS=1 to regenerate it";
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

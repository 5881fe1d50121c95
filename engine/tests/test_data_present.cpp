// Many suites read the shared instances; without them those suites would fail one by one on
// null problems instead of saying what is missing. A fatal failure here skips every test.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

class SharedDataPresent : public ::testing::Environment {
 public:
  void SetUp() override {
    const std::string optima = std::string(NVRL_DATA_DIR) + "/optima.csv";
    ASSERT_TRUE(std::ifstream(optima).good())
        << "the shared test data is missing: " << optima
        << " (the data folder is expected at ../shared/data beside the checkout)";
  }
};

[[maybe_unused]] ::testing::Environment *const kSharedData =
    ::testing::AddGlobalTestEnvironment(new SharedDataPresent);

}  // namespace

// The engine's folders form layers, and a file may include only its own folder and the
// layers below it:
//
//   core     the objects, the registry, errors, the environment
//   lp_data  the model store and its cache (on core)
//   io       reading and writing files (on lp_data)
//   solve    lowering to HiGHS and the answers (on core)
//   nslp     the nonlinear layer (on the C API and core)
//   tree     the engine's own branch and bound (on solve and core)
//   analysis infeasibility sets, repair, sensitivity and tuning (on solve, io, lp_data, core)
//
// Includes of anything else (the C API header, HiGHS's headers) are not checked.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const std::map<std::string, int> kLayer = {
    {"core", 0}, {"lp_data", 1}, {"io", 2}, {"solve", 2}, {"nslp", 3}, {"tree", 3}, {"analysis", 3},
};

TEST(EngineLayering, FilesIncludeOnlyTheirLayerAndTheLayersBelow) {
  const fs::path src = fs::path(NVRL_SOURCE_DIR) / "engine" / "src";
  const std::regex include_line(R"re(^\s*#\s*include\s*"([A-Za-z_]+)/)re");
  std::vector<std::string> violations;
  int files = 0;
  for (const auto &[folder, layer] : kLayer) {
    ASSERT_TRUE(fs::is_directory(src / folder)) << src / folder;
    for (const auto &entry : fs::directory_iterator(src / folder)) {
      const std::string ext = entry.path().extension().string();
      if (ext != ".h" && ext != ".cpp") continue;
      ++files;
      std::ifstream in(entry.path());
      std::string line;
      int lineno = 0;
      std::smatch m;
      while (std::getline(in, line)) {
        ++lineno;
        if (!std::regex_search(line, m, include_line)) continue;
        auto target = kLayer.find(m[1].str());
        if (target == kLayer.end() || target->first == folder) continue;
        if (target->second >= layer)
          violations.push_back(folder + "/" + entry.path().filename().string() + ":" +
                               std::to_string(lineno) + ": " + line);
      }
    }
  }
  EXPECT_GT(files, 50);  // the walk found the sources
  for (const auto &v : violations) ADD_FAILURE() << "include against the layers: " << v;
}

}  // namespace

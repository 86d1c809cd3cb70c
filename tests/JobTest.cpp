// What the tests of the modes share.
#include "JobTest.h"

#include <algorithm>

namespace orvane::testing_support {

std::string OutputOfMode(const RunResult& result) {
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  return WithoutPlace(result.out);
}

std::vector<std::string> NamesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string JobTest::Run(const std::vector<std::string>& options) const {
  std::vector<std::string> words{mode_};
  words.insert(words.end(), options.begin(), options.end());
  return OutputOfMode(RunRavelo(words, folder.path()));
}

}  // namespace orvane::testing_support

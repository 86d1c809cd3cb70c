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

InstallationTest::InstallationTest() {
  std::filesystem::create_directories(folder.path() / "bin/data");
  std::filesystem::copy_file(RAVELO_PROGRAM, folder.path() / "bin/ravelo");
  std::filesystem::create_directory(folder.path() / "work");
}

void InstallationTest::WriteData(const std::string& name, const std::string& text) const {
  folder.Write("bin/data/" + name, text);
}

void InstallationTest::Write(const std::string& name, const std::string& text) const {
  folder.Write("work/" + name, text);
}

std::string InstallationTest::Read(const std::string& name) const {
  return folder.Read("work/" + name);
}

bool InstallationTest::Exists(const std::string& name) const {
  return std::filesystem::exists(folder.path() / "work" / name);
}

std::vector<std::string> InstallationTest::Files() const {
  return NamesIn(folder.path() / "work");
}

std::string InstallationTest::Run(const std::vector<std::string>& words) const {
  std::string out =
      OutputOfMode(RunProgram(folder.path() / "bin/ravelo", words, folder.path() / "work"));
  const std::string data = std::filesystem::canonical(folder.path()).string() + "/bin/data/";
  for (std::size_t at; (at = out.find(data)) != std::string::npos;) {
    out.replace(at, data.size(), "DATA/");
  }
  return out;
}

}  // namespace orvane::testing_support

// What the tests of the modes share: a mode run as the user runs it, and the files that it leaves.
#ifndef RAVELO_TESTS_JOBTEST_H
#define RAVELO_TESTS_JOBTEST_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "TestSupport.h"

namespace orvane::testing_support {

/// What a run printed on standard output, without the place of a message at its end. Fails the test
/// unless the run ended with status 0 and printed nothing on standard error, as all runs of a mode
/// do.
std::string OutputOfMode(const RunResult& result);

/// The names of the files in a folder, sorted.
std::vector<std::string> NamesIn(const std::filesystem::path& folder);

/// A folder of its own for each test, in which the built program runs a mode.
class JobTest : public testing::Test {
 protected:
  explicit JobTest(std::string mode) : mode_(std::move(mode)) {}

  /// Runs the mode with these options and returns its `OutputOfMode`.
  std::string Run(const std::vector<std::string>& options) const;

  std::vector<std::string> Files() const { return NamesIn(folder.path()); }

  const TemporaryFolder folder;

 private:
  std::string mode_;
};

/// An installation of the program for each test, with a data folder of its own, run in a folder
/// beside it.
class InstallationTest : public testing::Test {
 protected:
  InstallationTest();

  /// Makes or replaces a file of the data folder.
  void WriteData(const std::string& name, const std::string& text) const;

  // Files of the folder in which the program runs.
  void Write(const std::string& name, const std::string& text) const;
  std::string Read(const std::string& name) const;
  bool Exists(const std::string& name) const;
  std::vector<std::string> Files() const;

  /// Runs the program with these words and returns its `OutputOfMode`, in which the data folder is
  /// called "DATA/".
  std::string Run(const std::vector<std::string>& words) const;

  const TemporaryFolder folder;
};

}  // namespace orvane::testing_support

#endif

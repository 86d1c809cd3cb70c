// What the tests share: folders that go away, runs of the built programs, messages that end a run,
// lists of terms, and the force field's equilibrium values.
#ifndef RAVELO_TESTS_TESTSUPPORT_H
#define RAVELO_TESTS_TESTSUPPORT_H

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "TermList.h"

namespace orvane::testing_support {

/// What a process left: its exit status (128 + N for signal N) and what it printed.
struct RunResult {
  int status = -1;
  std::string out;
  std::string err;
};

/// Runs a program in a folder and waits for it.
RunResult RunProgram(const std::filesystem::path& program,
                     const std::vector<std::string>& arguments,
                     const std::filesystem::path& folder);

/// Runs the built `ravelo` in a folder.
RunResult RunRavelo(const std::vector<std::string>& arguments, const std::filesystem::path& folder);

/// Runs a piece of code in a child process, for code that ends the process with a message. A child
/// in which the code returns ends with status 77.
RunResult RunInChild(const std::function<void()>& code);
inline constexpr int kCodeReturned = 77;

/// What a child that ended with a message printed, without the place " (in FILE at line N, ...)" at
/// its end; a text that says so where the code returned or the status was not 0.
std::string MessageOf(const std::function<void()>& code);

/// What a piece of code prints on standard output.
std::string OutputOf(const std::function<void()>& code);

/// The text without a closing " (in FILE at line N, SIGNATURE)".
std::string WithoutPlace(const std::string& text);

/// A new empty folder, removed with everything in it at the end of its life.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

  /// Writes a file of this folder and returns its path.
  std::string Write(const std::string& name, const std::string& text) const;
  std::string Read(const std::string& name) const;

 private:
  std::filesystem::path path_;
};

/// The whole of a file; fails the test where it cannot be read.
std::string ReadWhole(const std::filesystem::path& path);

/// The project's own root folder.
std::filesystem::path SourceFolder();

/// Lets the tests' own executable find the project's data folder, as the program's does.
void LinkDataFolder();

/// The folder of shared material beside the project; empty where there is none, so that a test can
/// say GTEST_SKIP() << "...".
std::filesystem::path SharedFolder();

/// Terms of a topology as lists of atom indices.
using Terms = std::vector<std::vector<int>>;
Terms AsLists(const TermList& terms);

/// The same as the program keeps them; each must have `degree` atoms.
TermList TermListOf(int degree, const Terms& terms);

/// What ends a run in a plain version of the program's code: the message without its place.
struct PlainFailure {
  std::string message;
};

/// Equilibrium lengths (of two types, in Angstrom) and angles (of three, in degrees) of the force
/// field, by types in either order.
const std::map<std::vector<std::string>, double>& EquilibriumValues();

/// A line of a PDB file as `ravelo` writes it.
std::string PdbLine(const std::string& record, int serial, const std::string& name,
                    const std::string& residue, const std::string& chain, int number, double x,
                    double y, double z, double occupancy = 1.0, double temperature = 0.0);

}  // namespace orvane::testing_support

#endif

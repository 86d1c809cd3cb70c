// What the tests share.
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <span>
#include <sstream>
#include <system_error>

#include "RunStatus.h"

namespace orvane::testing_support {

namespace {

int StatusOf(int wait_status) {
  return WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 128 + WTERMSIG(wait_status);
}

// Standard output and error go to files, which, unlike pipes, nobody has to empty meanwhile.
RunResult RunForked(const std::function<void()>& in_child) {
  const TemporaryFolder folder;
  const std::string out = folder / "out";
  const std::string err = folder / "err";
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    if (!std::freopen(out.c_str(), "w", stdout) || !std::freopen(err.c_str(), "w", stderr))
      _exit(99);
    in_child();
    std::fflush(nullptr);
    _exit(kCodeReturned);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return {StatusOf(status), ReadWhole(out), ReadWhole(err)};
}

}  // namespace

RunResult RunProgram(const std::filesystem::path& program,
                     const std::vector<std::string>& arguments,
                     const std::filesystem::path& folder) {
  return RunForked([&] {
    std::vector<std::string> words{program.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    if (chdir(folder.c_str()) != 0) _exit(98);
    execv(program.c_str(), pointers.data());
    _exit(97);
  });
}

RunResult RunRavelo(const std::vector<std::string>& arguments,
                    const std::filesystem::path& folder) {
  return RunProgram(RAVELO_PROGRAM, arguments, folder);
}

RunResult RunInChild(const std::function<void()>& code) {
  return RunForked(code);
}

std::string MessageOf(const std::function<void()>& code) {
  const RunResult result = RunInChild(code);
  if (result.status == kCodeReturned) return "(the code returned)" + result.out;
  if (result.status != 0)
    return "(status " + std::to_string(result.status) + ")" + result.out + result.err;
  return WithoutPlace(result.out);
}

std::string OutputOf(const std::function<void()>& code) {
  testing::internal::CaptureStdout();
  code();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

std::string WithoutPlace(const std::string& text) {
  const std::size_t place = text.rfind(" (in src/");
  if (place == std::string::npos || text.empty() || text.back() != ')') return text;
  return text.substr(0, place);
}

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "ravelo-test-XXXXXX").string();
  if (!mkdtemp(name.data())) std::abort();
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::Write(const std::string& name, const std::string& text) const {
  std::ofstream(path_ / name, std::ios::binary) << text;
  return (path_ / name).string();
}

std::string TemporaryFolder::Read(const std::string& name) const {
  return ReadWhole(path_ / name);
}

std::string ReadWhole(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << "cannot read " << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::filesystem::path SourceFolder() {
  return RAVELO_SOURCE_DIR;
}

void LinkDataFolder() {
  std::error_code exists_already;
  const std::filesystem::path link =
      std::filesystem::path(RunStatus::GetProgramAbsolutePath()).parent_path();
  std::filesystem::create_directory_symlink(SourceFolder() / "data", link, exists_already);
}

std::filesystem::path SharedFolder() {
  const std::filesystem::path folder = SourceFolder().parent_path() / "shared";
  return std::filesystem::is_directory(folder) ? folder : std::filesystem::path();
}

Terms AsLists(const TermList& terms) {
  Terms lists;
  for (std::size_t i = 0; i < terms.size(); ++i) {
    lists.emplace_back(terms[i].begin(), terms[i].end());
  }
  return lists;
}

TermList TermListOf(int degree, const Terms& terms) {
  TermList list(degree);
  for (const std::vector<int>& term : terms) {
    EXPECT_EQ(term.size(), static_cast<std::size_t>(degree));
    list.push_back(std::span<const int>(term));
  }
  return list;
}

const std::map<std::vector<std::string>, double>& EquilibriumValues() {
  static const std::map<std::vector<std::string>, double> values = [] {
    std::map<std::vector<std::string>, double> table;
    std::ifstream file(SourceFolder() / "tests/data/equilibrium.tsv");
    for (std::string line; std::getline(file, line);) {
      if (line.starts_with("#")) continue;
      std::istringstream fields(line);
      std::vector<std::string> words(std::istream_iterator<std::string>(fields), {});
      const double value = std::stod(words.back());
      words.pop_back();
      table[words] = value;
      std::ranges::reverse(words);
      table[words] = value;
    }
    return table;
  }();
  return values;
}

std::string PdbLine(const std::string& record, int serial, const std::string& name,
                    const std::string& residue, const std::string& chain, int number, double x,
                    double y, double z, double occupancy, double temperature) {
  char line[256];
  std::snprintf(line, sizeof line,
                "%-6s%5d  %-4s%3s %s%4d    %8.3f%8.3f%8.3f%6.2f%6.2f              \n",
                record.c_str(), serial, name.c_str(), residue.c_str(), chain.c_str(), number, x, y,
                z, occupancy, temperature);
  return line;
}

}  // namespace orvane::testing_support

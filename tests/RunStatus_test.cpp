// Facts about the run: data folder, working directory, version and name.
#include "RunStatus.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "TestSupport.h"

namespace orvane {
namespace {

namespace fs = std::filesystem;
using testing_support::RunInChild;
using testing_support::RunProgram;
using testing_support::RunResult;
using testing_support::SourceFolder;
using testing_support::TemporaryFolder;
using testing_support::WithoutPlace;

// An installed program: the executable in lib/, and a link to it in bin/.
void Install(const TemporaryFolder& folder) {
  fs::create_directories(folder / "lib/ravelo");
  fs::create_directories(folder / "bin");
  fs::copy_file(RAVELO_PROGRAM, folder / "lib/ravelo/ravelo");
  fs::create_symlink("../lib/ravelo/ravelo", folder / "bin/ravelo");
  folder.Write("empty.pdb", "END\n");
}

TEST(RunStatus, GivesTheDataFolderBesideTheExecutable) {
  EXPECT_EQ(RunStatus::GetProgramAbsolutePath(),
            fs::read_symlink("/proc/self/exe").parent_path().string() + "/data/");
}

TEST(RunStatus, GivesTheWorkingDirectoryWithASlashAtTheEnd) {
  EXPECT_EQ(RunStatus::GetCurrentPath(), fs::current_path().string() + "/");
}

TEST(RunStatus, TurnsBackslashesOfTheWorkingDirectoryIntoSlashes) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "a\\b");
  const RunResult result = RunInChild([&] {
    if (chdir((folder / "a\\b").c_str()) == 0)
      std::fputs(RunStatus::GetCurrentPath().c_str(), stdout);
  });
  EXPECT_EQ(result.out, fs::canonical(folder.path()).string() + "/a/b/");
}

TEST(RunStatus, TellsVersionAndName) {
  EXPECT_EQ(RunStatus::GetVersion(), "Linux-1.0");
  EXPECT_EQ(RunStatus::GetProgramName(), "ravelo");
}

TEST(RunStatus, ALinkToTheProgramFindsTheDataBesideTheExecutable) {
  const TemporaryFolder folder;
  Install(folder);
  fs::create_directory_symlink(SourceFolder() / "data", folder / "lib/ravelo/data");
  const RunResult result =
      RunProgram(folder / "bin/ravelo", {"topol", "-i", "empty.pdb", "-o", "x"}, folder.path());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.find("Error occurs"), std::string::npos) << result.out;
  EXPECT_TRUE(fs::exists(folder / "x.psf"));
}

TEST(RunStatus, ALinkToTheProgramDoesNotLookForDataBesideItself) {
  const TemporaryFolder folder;
  Install(folder);
  fs::create_directory_symlink(SourceFolder() / "data", folder / "bin/data");
  const RunResult result =
      RunProgram(folder / "bin/ravelo", {"topol", "-i", "empty.pdb"}, folder.path());
  EXPECT_EQ(result.status, 0);
  const std::string file =
      fs::canonical(folder.path()).string() + "/lib/ravelo/data/top_all36_prot.rtf";
  EXPECT_EQ(WithoutPlace(result.out),
            "Read: empty.pdb\n"
            "Building topology library ...\n"
            " Load topology: " +
                file + "\nError occurs: Cannot open file \"" + file + "\".");
}

TEST(RunStatus, FindsTheDataOfAProgramFarDownInFolders) {
  const TemporaryFolder folder;
  // The system takes paths of less than 4096 characters.
  std::string far_down = fs::canonical(folder.path()).string();
  while (far_down.size() < 3500) far_down += "/" + std::string(200, 'd');
  fs::create_directories(far_down);
  fs::copy_file(RAVELO_PROGRAM, far_down + "/ravelo");
  folder.Write("empty.pdb", "END\n");
  const RunResult result =
      RunProgram(far_down + "/ravelo", {"topol", "-i", "empty.pdb"}, folder.path());
  EXPECT_EQ(result.status, 0);
  const std::string file = far_down + "/data/top_all36_prot.rtf";
  EXPECT_EQ(WithoutPlace(result.out),
            "Read: empty.pdb\n"
            "Building topology library ...\n"
            " Load topology: " +
                file + "\nError occurs: Cannot open file \"" + file + "\".");
}

}  // namespace
}  // namespace orvane

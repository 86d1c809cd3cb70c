// The table of modes, and the way from the command line to a mode.
#include "Job.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;
using testing_support::RunRavelo;
using testing_support::RunResult;
using testing_support::TemporaryFolder;
using testing_support::WithoutPlace;

TEST(Job, KnowsTheModesThatAreBuilt) {
  std::vector<std::string> modes;
  for (const auto& [mode, driver] : Job::AvailableModes) {
    modes.push_back(mode);
    EXPECT_NE(driver, nullptr) << mode;
  }
  EXPECT_EQ(modes, (std::vector<std::string>{"check", "ligand", "modify", "pdb", "psf", "remove",
                                             "solvate", "topol"}));
}

TEST(Job, RefusesAnUnknownMode) {
  EXPECT_EQ(MessageOf([] { Job::Do("nomode", CmdArgs()); }),
            "Error occurs: Unknown mode: \"nomode\".");
}

TEST(Job, AcceptsNoAbbreviationAndNoUpperCaseWord) {
  EXPECT_EQ(MessageOf([] { Job::Do("chec", CmdArgs()); }), "Error occurs: Unknown mode: \"chec\".");
  EXPECT_EQ(MessageOf([] { Job::Do("CHECK", CmdArgs()); }),
            "Error occurs: Unknown mode: \"CHECK\".");
  EXPECT_EQ(MessageOf([] { Job::Do("", CmdArgs()); }), "Error occurs: Unknown mode: \"\".");
}

TEST(Job, RunsTheDriverOfTheMode) {
  EXPECT_EQ(MessageOf([] { Job::Do("check", CmdArgs()); }),
            "Error occurs: An input file must be given with \"-i\".");
}

TEST(Program, EndsAnUnknownModeWithAMessageAndStatusZero) {
  const TemporaryFolder folder;
  const RunResult result = RunRavelo({"Chec"}, folder.path());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(WithoutPlace(result.out), "Error occurs: Unknown mode: \"chec\".");
  EXPECT_EQ(result.err, "");
}

TEST(Program, FoldsTheModeToLowerCase) {
  const TemporaryFolder folder;
  const RunResult result = RunRavelo({"CHECK"}, folder.path());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(WithoutPlace(result.out), "Error occurs: An input file must be given with \"-i\".");
}

TEST(Program, ListsEveryModeInItsBanner) {
  const TemporaryFolder folder;
  const std::string banner = RunRavelo({}, folder.path()).out;
  for (const auto& [mode, driver] : Job::AvailableModes) {
    EXPECT_NE(banner.find("    " + mode + "\n"), std::string::npos) << mode;
  }
}

TEST(Program, RunsAModeWithoutAnyOption) {
  const TemporaryFolder folder;
  const RunResult result = RunRavelo({"psf"}, folder.path());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "Write PSF file: .psf\n"
            "Total charge: 0.00000\n");
  EXPECT_EQ(result.err, "");
}

}  // namespace
}  // namespace orvane

// The parameter text that is built into the program.
#include "CGenFFParameters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "CHARMMParameterFiles.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::ReadWhole;
using testing_support::SharedFolder;

std::vector<std::string> Lines() {
  std::istringstream text(CGenFFParameterText());
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> WordsOf(const std::string& line) {
  std::istringstream text(line);
  std::vector<std::string> words;
  for (std::string word; text >> word;) words.push_back(word);
  return words;
}

// The number of lines with so many words behind a head, up to the next head.
std::ptrdiff_t CountLines(const std::string& head, std::size_t word_count) {
  const std::vector<std::string> lines = Lines();
  const std::vector<std::string> heads = {"BONDS",     "ANGLES", "DIHEDRALS", "IMPROPERS",
                                          "NONBONDED", "HBOND",  "END"};
  bool inside = false;
  std::ptrdiff_t count = 0;
  for (const std::string& line : lines) {
    const std::vector<std::string> words = WordsOf(line);
    if (std::find(heads.begin(), heads.end(), words.at(0)) != heads.end()) {
      inside = words[0] == head;
    } else if (inside && words.size() == word_count) {
      ++count;
    }
  }
  return count;
}

TEST(CGenFFParameters, TheTextHoldsSectionsAndTermsAlone) {
  const std::string text = CGenFFParameterText();
  EXPECT_TRUE(text.starts_with("BONDS\nCG1N1 CG2R61 345.00 1.4350\n"));
  EXPECT_TRUE(text.ends_with("\nHBOND CUTHB 0.5\nEND\n"));
  EXPECT_EQ(text.find_first_of("!*\t\r"), std::string::npos);
  for (const std::string& line : Lines()) {
    EXPECT_FALSE(line.empty());
    EXPECT_NE(line.back(), ' ');
    EXPECT_EQ(line.find("  "), std::string::npos) << line;
  }
}

TEST(CGenFFParameters, EverySectionHasItsLines) {
  EXPECT_EQ(CountLines("BONDS", 4), 501);
  EXPECT_EQ(CountLines("ANGLES", 5), 1235);
  EXPECT_EQ(CountLines("ANGLES", 7), 318);
  EXPECT_EQ(CountLines("DIHEDRALS", 7), 3921);
  EXPECT_EQ(CountLines("IMPROPERS", 7), 125);
  EXPECT_EQ(CountLines("NONBONDED", 4), 136);
  EXPECT_EQ(CountLines("NONBONDED", 7), 19);
  EXPECT_EQ(CountLines("NONBONDED", 12), 1);
  // Those, the five section heads, HBOND and END.
  EXPECT_EQ(Lines().size(), 501u + 1235u + 318u + 3921u + 125u + 136u + 19u + 1u + 5u + 2u);
}

TEST(CGenFFParameters, ItGivesTheTablesOfThePublishedFile) {
  const std::string path = (SharedFolder() / "toppar" / "par_all36_cgenff.prm").string();
  if (SharedFolder().empty() || !std::ifstream(path)) GTEST_SKIP() << "no published files";
  CHARMMParameterFiles built_in;
  built_in.Initialize();
  CHARMMParameterFiles published;
  published.Parse(ReadWhole(path));
  EXPECT_TRUE(built_in.GetBondParams() == published.GetBondParams());
  EXPECT_TRUE(built_in.GetAngleParams() == published.GetAngleParams());
  EXPECT_TRUE(built_in.GetDihedralParams() == published.GetDihedralParams());
  EXPECT_TRUE(built_in.GetImproperParams() == published.GetImproperParams());
  EXPECT_TRUE(built_in.GetLennardJonesParams() == published.GetLennardJonesParams());
}

}  // namespace
}  // namespace orvane

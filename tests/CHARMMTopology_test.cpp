// Reading topology files, held against a plain walk over their lines.
#include "CHARMMTopology.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Parser.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;
using testing_support::OutputOf;
using testing_support::PlainFailure;
using testing_support::TemporaryFolder;

using Record = TopologyLibrary::Residue;
using Words = std::vector<std::string>;

// What a file or several files defined.
struct Contents {
  std::map<std::string, Record> residues;
  std::map<std::string, double> masses;
};

void ReadText(const std::string& text, Contents& contents) {
  const TemporaryFolder folder;
  CHARMMTopology::ReadTopologyFile(folder.Write("x.rtf", text), contents.residues, contents.masses);
}

// The contents of a text about which nothing is printed.
Contents ContentsOf(const std::string& text) {
  Contents contents;
  EXPECT_EQ(OutputOf([&] { ReadText(text, contents); }), "");
  return contents;
}

std::string MessageFor(const std::string& text) {
  return MessageOf([&] {
    Contents contents;
    ReadText(text, contents);
  });
}

Words NamesOf(const Contents& contents) {
  Words names;
  for (const auto& [name, record] : contents.residues) names.push_back(name);
  return names;
}

std::string Text(const TopologyLibrary::InternalCoord& term) {
  std::string text = term.is_improper ? "*" : "";
  for (const std::string& atom : term.atoms) text += atom + ",";
  for (const double value : term.values) {
    char digits[64];
    std::snprintf(digits, sizeof digits, "%a,", value);
    text += digits;
  }
  return text;
}

Words Texts(const std::vector<TopologyLibrary::InternalCoord>& terms) {
  Words texts;
  for (const auto& term : terms) texts.push_back(Text(term));
  return texts;
}

Words FirstAndLast(const std::vector<TopologyLibrary::InternalCoord>& terms) {
  Words texts;
  for (const auto& term : terms) texts.push_back(term.atoms[0] + " " + term.atoms[3]);
  return texts;
}

TEST(CHARMMTopology, AnEmptyFileAddsNothing) {
  const Contents contents = ContentsOf("");
  EXPECT_TRUE(contents.residues.empty());
  EXPECT_TRUE(contents.masses.empty());
}

TEST(CHARMMTopology, AFileWithoutAKeywordThatMattersAddsNothing) {
  const Contents contents = ContentsOf("* title\nATOM N NH1 bad\nBOND A\nDECL -C\nEND\n");
  EXPECT_TRUE(contents.residues.empty());
  EXPECT_TRUE(contents.masses.empty());
}

TEST(CHARMMTopology, ReadsARecordWhole) {
  const Contents contents = ContentsOf(
      "MASS    31 H      1.12500 ! polar H\n"
      "RESI ALA   0.25\n"
      "GROUP\n"
      "ATOM N    NH1  -0.5  ! backbone\n"
      "\tATOM HN H 0.25\r\n"
      "BOND N HN  N CA\n"
      "DOUBLE O C\n"
      "TRIPLE X Y\n"
      "IMPR N -C CA HN\n"
      "CMAP -C N CA C N CA C +N\n"
      "IC -C CA *N HN 1.375 126.5 180.0 115.25 0.5\n"
      "END\n");
  EXPECT_EQ(contents.masses, (std::map<std::string, double>{{"H", 1.125}}));
  ASSERT_EQ(NamesOf(contents), Words{"ALA"});
  const Record& record = contents.residues.at("ALA");
  EXPECT_EQ(record.name, "ALA");
  EXPECT_EQ(record.charge, 0.25);
  EXPECT_FALSE(record.is_patch);
  EXPECT_EQ(record.atom_names, (Words{"N", "HN"}));
  EXPECT_EQ(record.atom_types, (Words{"NH1", "H"}));
  EXPECT_EQ(record.atom_charges, (std::vector<double>{-0.5, 0.25}));
  EXPECT_EQ(record.bonds, (std::vector<Words>{{"N", "HN"}, {"N", "CA"}, {"O", "C"}, {"X", "Y"}}));
  EXPECT_EQ(record.impropers, (std::vector<Words>{{"N", "-C", "CA", "HN"}}));
  EXPECT_EQ(record.cmaps, (std::vector<Words>{{"-C", "N", "CA", "C"}, {"N", "CA", "C", "+N"}}));
  ASSERT_EQ(record.ics.size(), 1u);
  EXPECT_TRUE(record.ics[0].is_improper);
  EXPECT_EQ(record.ics[0].atoms, (std::array<std::string, 4>{"-C", "CA", "N", "HN"}));
  EXPECT_EQ(record.ics[0].values, (std::array<double, 5>{1.375, 126.5, 180.0, 115.25, 0.5}));
  EXPECT_TRUE(record.deleted_atoms.empty());
}

TEST(CHARMMTopology, ReadsAPatchWithItsDeletions) {
  const Contents contents = ContentsOf("PRES NTER 1.00\nDELETE ATOM HN\nDELETE ACCE O\nEND\n");
  const Record& record = contents.residues.at("NTER");
  EXPECT_TRUE(record.is_patch);
  EXPECT_EQ(record.charge, 1.0);
  EXPECT_EQ(record.deleted_atoms,
            (std::vector<std::array<std::string, 2>>{{"ATOM", "HN"}, {"ACCE", "O"}}));
}

TEST(CHARMMTopology, FoldsAllTextToUpperCase) {
  const Contents contents =
      ContentsOf("mass -1 nh1 14.007\nresi ala 0\nic n ca c o 1 2 3 4 5\nend\n");
  EXPECT_EQ(contents.masses.count("NH1"), 1u);
  const Record& record = contents.residues.at("ALA");
  ASSERT_EQ(record.ics.size(), 1u);
  EXPECT_EQ(record.ics[0].atoms, (std::array<std::string, 4>{"N", "CA", "C", "O"}));
  EXPECT_EQ(record.ics[0].values, (std::array<double, 5>{1, 2, 3, 4, 5}));
}

TEST(CHARMMTopology, IgnoresEveryOtherKeywordAndShortForms) {
  const Contents contents = ContentsOf(
      "RESI ALA 0\nDOUB A B\nDELE ATOM N\nATOMS N T 0\nANGL A B C\nDIHE A\nDONO A\nACCE A\n"
      "PATCH X\nAUTO\nDEFA FIRS\nEND\n");
  const Record& record = contents.residues.at("ALA");
  EXPECT_TRUE(record.atom_names.empty());
  EXPECT_TRUE(record.bonds.empty());
  EXPECT_TRUE(record.deleted_atoms.empty());
}

TEST(CHARMMTopology, AKeywordOfATermAloneAddsNothing) {
  const Contents contents = ContentsOf("RESI ALA 0\nBOND\nDOUBLE\nTRIPLE\nIMPR\nCMAP\nEND\n");
  const Record& record = contents.residues.at("ALA");
  EXPECT_TRUE(record.bonds.empty());
  EXPECT_TRUE(record.impropers.empty());
  EXPECT_TRUE(record.cmaps.empty());
}

TEST(CHARMMTopology, CutsLongTermLinesIntoTerms) {
  const Contents contents =
      ContentsOf("RESI ALA 0\nIMPR A B C D E F G H\nCMAP A B C D E F G H\nEND\n");
  const std::vector<Words> terms = {{"A", "B", "C", "D"}, {"E", "F", "G", "H"}};
  EXPECT_EQ(contents.residues.at("ALA").impropers, terms);
  EXPECT_EQ(contents.residues.at("ALA").cmaps, terms);
}

TEST(CHARMMTopology, DoesNotCompareNamesInTermsWithTheAtoms) {
  const Contents contents = ContentsOf("RESI ALA 0\nATOM N T 0\nBOND N NOBODY\nEND\n");
  EXPECT_EQ(contents.residues.at("ALA").bonds, (std::vector<Words>{{"N", "NOBODY"}}));
}

TEST(CHARMMTopology, AnotherDefinitionReplacesTheWholeRecordAndTheMass) {
  Contents contents;
  EXPECT_EQ(OutputOf([&] {
              ReadText("MASS 1 T 1\nRESI ALA 0\nATOM N T 0\nBOND A B\nEND\n", contents);
              ReadText("MASS 1 T 2\nRESI ALA 1\nEND\n", contents);
            }),
            "");
  EXPECT_EQ(contents.masses.at("T"), 2.0);
  EXPECT_EQ(contents.residues.at("ALA").charge, 1.0);
  EXPECT_TRUE(contents.residues.at("ALA").atom_names.empty());
  EXPECT_TRUE(contents.residues.at("ALA").bonds.empty());
}

TEST(CHARMMTopology, ALastRecordNeedsNoEndAndNoLineFeed) {
  EXPECT_EQ(ContentsOf("RESI ALA 0\nATOM N T 0").residues.at("ALA").atom_names, Words{"N"});
  EXPECT_EQ(NamesOf(ContentsOf("RESI ALA 0\n\n")), Words{"ALA"});
}

TEST(CHARMMTopology, AHeaderAsTheVeryLastLineIsLost) {
  EXPECT_EQ(NamesOf(ContentsOf("RESI ALA 0\nRESI GLY 0")), Words{"ALA"});
  // No line follows a line feed at the very end, so nothing closes the record either.
  EXPECT_EQ(NamesOf(ContentsOf("RESI ALA 0\nRESI GLY 0\n")), Words{"ALA"});
  EXPECT_EQ(NamesOf(ContentsOf("RESI ALA 0\n")), Words{});
}

TEST(CHARMMTopology, AnyLineOutsideARecordThatHoldsAHeaderWordOpensANamelessOne) {
  const Contents contents = ContentsOf("* All residues\nATOM N T 0.5\nRESI ALA 0\nEND\n");
  EXPECT_EQ(NamesOf(contents), (Words{"", "ALA"}));
  EXPECT_EQ(contents.residues.at("").name, "");
  EXPECT_EQ(contents.residues.at("").atom_names, Words{"N"});
}

TEST(CHARMMTopology, ACommentThatHoldsAHeaderWordCutsARecord) {
  const Contents contents =
      ContentsOf("RESI ALA 0\nATOM N T 0\n! present in all\nATOM CA T 0\nRESI GLY 0\nEND\n");
  EXPECT_EQ(NamesOf(contents), (Words{"", "ALA", "GLY"}));
  EXPECT_EQ(contents.residues.at("ALA").atom_names, Words{"N"});
  EXPECT_EQ(contents.residues.at("").atom_names, Words{"CA"});
}

TEST(CHARMMTopology, EachNamelessRecordReplacesTheOneBefore) {
  const Contents contents =
      ContentsOf("! RESI\nATOM A T 0\n! PRES\nATOM B T 0\n! RESIDUE\nATOM C T 0\n");
  EXPECT_EQ(NamesOf(contents), Words{""});
  EXPECT_EQ(contents.residues.at("").atom_names, Words{"C"});
}

TEST(CHARMMTopology, TheOpeningLineIsPartOfTheRecordWhateverItSays) {
  const Contents contents = ContentsOf("ATOM N T 0 ! RESIDUE\nEND\n");
  EXPECT_EQ(contents.residues.at("").atom_names, Words{"N"});
}

TEST(CHARMMTopology, AnyLineThatHoldsMassIsAMassLine) {
  const Contents contents = ContentsOf("RESI ALA 0\nATOM N T 0.5 ! its mass\nEND\n");
  // "ATOM N T 0.5" is the mass 0.5 of the type T.
  EXPECT_EQ(contents.masses, (std::map<std::string, double>{{"T", 0.5}}));
  EXPECT_EQ(contents.residues.at("ALA").atom_names, Words{"N"});
}

TEST(CHARMMTopology, AMassLineMayHaveMoreWords) {
  const Contents contents = ContentsOf("XMASSX anything T 1.5 C more\n");
  EXPECT_EQ(contents.masses, (std::map<std::string, double>{{"T", 1.5}}));
}

TEST(CHARMMTopology, ALineThatOpensARecordAndHoldsMassIsBoth) {
  // It is visited twice where it ends the record before, without effect.
  const Contents contents = ContentsOf("RESI ALA 0\nATOM N T 2.5 ! RESI MASS\nATOM CA T 0\n");
  EXPECT_EQ(contents.masses, (std::map<std::string, double>{{"T", 2.5}}));
  EXPECT_EQ(NamesOf(contents), (Words{"", "ALA"}));
  EXPECT_EQ(contents.residues.at("").atom_names, (Words{"N", "CA"}));
  EXPECT_TRUE(contents.residues.at("ALA").atom_names.empty());
}

TEST(CHARMMTopology, AResidueCannotBeCalledMass) {
  EXPECT_EQ(MessageFor("RESI MASS 1.0\nEND\n"),
            "Error occurs: Incorrect MASS format: \"RESI MASS 1.0\": There should be at least 3 "
            "items: -1, atom type, mass.");
}

TEST(CHARMMTopology, ReadsImproperTermsByTheStarOfTheThirdAtomOnly) {
  const Contents contents = ContentsOf(
      "RESI ALA 0\nIC *A *B C *D 1 2 3 4 5\nIC A B * D 1 2 3 4 5\nBILD A B **C D 1 2 3 4 5\n"
      "IC A B *+C D 1 2 3 4 5\nEND\n");
  const auto& ics = contents.residues.at("ALA").ics;
  ASSERT_EQ(ics.size(), 4u);
  EXPECT_FALSE(ics[0].is_improper);
  EXPECT_EQ(ics[0].atoms, (std::array<std::string, 4>{"*A", "*B", "C", "*D"}));
  EXPECT_TRUE(ics[1].is_improper);
  EXPECT_EQ(ics[1].atoms, (std::array<std::string, 4>{"A", "B", "", "D"}));
  EXPECT_TRUE(ics[2].is_improper);
  EXPECT_EQ(ics[2].atoms, (std::array<std::string, 4>{"A", "B", "*C", "D"}));
  EXPECT_TRUE(ics[3].is_improper);
  EXPECT_EQ(ics[3].atoms, (std::array<std::string, 4>{"A", "B", "+C", "D"}));
}

constexpr const char* kOneHydrogen =
    "Warning: In \"ALA\", for the IC term \"IC HA CA C O 1 2 3 4 5\": This term contains only one "
    "hydrogen and is the first one. It will NOT be used for hydrogen adding.\n";

TEST(CHARMMTopology, ClassifiesTermsByWhereTheirHydrogensAre) {
  Contents contents;
  EXPECT_EQ(OutputOf([&] {
              ReadText(
                  "RESI ALA 0\n"
                  "IC HB1 CB CA HA 1 2 3 4 5\n"
                  "IC N CA C HO 1 2 3 4 5\n"
                  "  ic ha ca c o 1 2 3 4 5 ! reversed\n"
                  "IC N CA C O 1 2 3 4 5\n"
                  "IC +HN CA C HX 1 2 3 4 5\n"
                  "IC N -CA C O 1 2 3 4 5\n"
                  "IC N CA C +HN 1 2 3 4 5\n"
                  "IC HB2 CB *+CA HG 1 2 3 4 5\n"
                  "END\n",
                  contents);
            }),
            kOneHydrogen);
  const Record& record = contents.residues.at("ALA");
  EXPECT_EQ(record.ics.size(), 8u);
  EXPECT_EQ(FirstAndLast(record.ics_inter_residue), (Words{"+HN HX", "N O", "N +HN", "HB2 HG"}));
  // "+HN" does not begin with an H.
  EXPECT_EQ(FirstAndLast(record.ics_hydrogen_last), (Words{"N HO", "+HN HX"}));
  EXPECT_EQ(FirstAndLast(record.ics_hydrogen_both), (Words{"HB1 HA", "HB2 HG"}));
  EXPECT_EQ(FirstAndLast(record.ics_ending_in_hydrogen),
            (Words{"N HO", "+HN HX", "HB1 HA", "HB2 HG"}));
}

TEST(CHARMMTopology, WarnsOfALoneLeadingHydrogenWithTheNameThatIsKnownByThen) {
  Contents contents;
  EXPECT_EQ(OutputOf([&] { ReadText("! RESI\nIC HA CA C O 1 2 3 4 5\nEND\n", contents); }),
            "Warning: In \"\", for the IC term \"IC HA CA C O 1 2 3 4 5\": This term contains only "
            "one hydrogen and is the first one. It will NOT be used for hydrogen adding.\n");
  EXPECT_TRUE(contents.residues.at("").ics_hydrogen_last.empty());
  EXPECT_EQ(contents.residues.at("").ics.size(), 1u);
}

TEST(CHARMMTopology, APrefixInFrontOfAHydrogenKeepsTheWarningAway) {
  // Only the first character counts, and it is not an H.
  const Contents contents =
      ContentsOf("RESI ALA 0\nIC +HN CA C O 1 2 3 4 5\nIC -HA CA C O 1 2 3 4 5\nEND\n");
  EXPECT_EQ(contents.residues.at("ALA").ics.size(), 2u);
}

TEST(CHARMMTopology, ASecondHeaderInTheLinesOfARecordOverwritesNameAndCharge) {
  const Record record =
      CHARMMTopology::ParseResidue({"RESI ALA 1", "ATOM N T 0", "", "  ", "PRES GLY 2"});
  EXPECT_EQ(record.name, "GLY");
  EXPECT_EQ(record.charge, 2.0);
  EXPECT_TRUE(record.is_patch);
  EXPECT_EQ(record.atom_names, Words{"N"});
}

TEST(CHARMMTopology, ASecondHeaderOfAResidueMakesItNoPatch) {
  EXPECT_FALSE(CHARMMTopology::ParseResidue({"PRES GLY 2", "RESI ALA 1"}).is_patch);
}

TEST(CHARMMTopology, AFileThatCannotBeOpenedEndsTheRun) {
  EXPECT_EQ(MessageOf([] {
              Contents contents;
              CHARMMTopology::ReadTopologyFile("/nowhere/x.rtf", contents.residues,
                                               contents.masses);
            }),
            "Error occurs: Cannot open file \"/nowhere/x.rtf\".");
}

TEST(CHARMMTopology, AMassLineWithTooFewWordsEndsTheRun) {
  constexpr const char* kRest = "\": There should be at least 3 items: -1, atom type, mass.";
  // The line is quoted as it stands, but in upper case.
  EXPECT_EQ(
      MessageFor("  mass -1 Ct1 ! 12.011 \r\n"),
      "Error occurs: Incorrect MASS format: \"  MASS -1 CT1 ! 12.011 \r" + std::string(kRest));
  // A comment has no words at all.
  EXPECT_EQ(MessageFor("! masses follow\n"),
            "Error occurs: Incorrect MASS format: \"! MASSES FOLLOW" + std::string(kRest));
}

TEST(CHARMMTopology, AMassThatIsNoNumberEndsTheRun) {
  EXPECT_EQ(MessageFor("MASS -1 CT1 12.0x C ! carbon\n"),
            "Error occurs: Incorrect MASS format: \"12.0X\": The mass should be a real number.");
}

std::string ResidueMessage(const std::string& line, const std::string& rest) {
  return "Error occurs: Incorrect residue format: \"" + line + "\": " + rest;
}

TEST(CHARMMTopology, EveryMalformedLineOfARecordEndsTheRunWithItsMessage) {
  struct Case {
    const char* line;
    const char* rest;
  };
  const std::vector<Case> cases = {
      {"RESI", "There should be 2 items: residue name, charge."},
      {"RESI ALA", "There should be 2 items: residue name, charge."},
      {"PRES ALA 0 0", "There should be 2 items: residue name, charge."},
      {"RESI ALA x", "The charge should be a real number."},
      {"PRES ALA 1e", "The charge should be a real number."},
      {"ATOM N T", "There should be 3 items: atom name, atom type, charge."},
      {"ATOM N T 0 0", "There should be 3 items: atom name, atom type, charge."},
      {"ATOM N T zero", "The charge should be a real number."},
      {"BOND A", "There should be 2N atom names."},
      {"BOND A B C", "There should be 2N atom names."},
      {"DOUBLE A", "There should be 2N atom names."},
      {"TRIPLE A B C", "There should be 2N atom names."},
      {"IMPR A B C", "There should be 4N atom names."},
      {"IMPR A B C D E", "There should be 4N atom names."},
      {"CMAP A B", "There should be 4N atom names."},
      {"DELETE N", "There should be 1 type and 1 atom name."},
      // Legal elsewhere, but here each deletion names one atom.
      {"DELETE ANGLE A B C D", "There should be 1 type and 1 atom name."},
      {"IC A B C D 1 2 3 4", "There should be 9 items."},
      {"IC A B C D 1 2 3 4 5 6", "There should be 9 items."},
      {"BILD A", "There should be 9 items."},
      {"IC A B C D 1 2 3 4 x", "The coordinate should be a real number."},
      {"BILD A B C D 1.. 2 3 4 5", "The coordinate should be a real number."},
  };
  for (const Case& one : cases) {
    const std::string upper = Parser::ToUpperCase(one.line);
    EXPECT_EQ(MessageFor(std::string("RESI GOOD 0\n! RESI\n\t ") + one.line + " ! rest\r\nEND\n"),
              ResidueMessage(upper, one.rest));
  }
}

TEST(CHARMMTopology, ABadMassLineComesBeforeAnEarlierBadLineOfTheSameRecord) {
  // A record is parsed when it ends, a mass line where it stands.
  EXPECT_EQ(MessageFor("RESI ALA 0\nATOM N\nMASS\nEND\n"),
            "Error occurs: Incorrect MASS format: \"MASS\": There should be at least 3 items: -1, "
            "atom type, mass.");
  EXPECT_EQ(MessageFor("RESI ALA 0\nATOM N\nRESI MASS 0\nEND\n"),
            ResidueMessage("ATOM N", "There should be 3 items: atom name, atom type, charge."));
  EXPECT_EQ(MessageFor("RESI ALA 0\nATOM N\nMASS"),
            ResidueMessage("ATOM N", "There should be 3 items: atom name, atom type, charge."));
}

TEST(CHARMMTopology, WhatABadLineFollowsIsStillWarnedOf) {
  EXPECT_EQ(MessageFor("RESI ALA 0\nIC HA CA C O 1 2 3 4 5\nATOM\nEND\n"),
            kOneHydrogen +
                ResidueMessage("ATOM", "There should be 3 items: atom name, atom type, charge."));
}

TEST(CHARMMTopology, ABadNumberOfATermEndsTheRunBeforeItsWarning) {
  EXPECT_EQ(MessageFor("RESI ALA 0\nIC HA CA C O 1 2 x 4 5\nEND\n"),
            ResidueMessage("IC HA CA C O 1 2 X 4 5", "The coordinate should be a real number."));
}

// The reader as one would write it first: a walk by index with a flag, which visits a line that
// ends a record twice. What it prints and what ends it are collected.
class PlainReader {
 public:
  void Read(const std::string& text) {
    const Words lines = LinesOf(text);
    Words block;
    bool in_block = false;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const std::string& line = lines[i];
      const bool header = Holds(line, "RESI") || Holds(line, "PRES");
      bool again = false;
      if (in_block) {
        if (header) {
          Store(block);
          in_block = false;
          again = true;
        } else {
          block.push_back(Parser::Trim('!', line));
          if (i + 1 == lines.size()) {
            Store(block);
            in_block = false;
          }
        }
      } else if (header) {
        block.assign(1, Parser::Trim('!', line));
        in_block = true;
      }
      if (Holds(line, "MASS")) ReadMass(line);
      if (again) --i;
    }
  }

  Contents contents;
  std::string output;

 private:
  static bool Holds(const std::string& line, const char* word) {
    return line.find(word) != std::string::npos;
  }

  static Words LinesOf(const std::string& text) {
    Words lines;
    std::string line;
    for (const char c : text) {
      if (c == '\n') {
        lines.push_back(Parser::ToUpperCase(line));
        line.clear();
      } else {
        line += c;
      }
    }
    if (!line.empty()) lines.push_back(Parser::ToUpperCase(line));
    return lines;
  }

  static Words Split(const std::string& line) {
    Words words;
    Parser::SplitSentence(line, words);
    return words;
  }

  void ReadMass(const std::string& line) {
    const Words words = Split(Parser::Trim('!', line));
    if (words.size() < 4) {
      throw PlainFailure{"Error occurs: Incorrect MASS format: \"" + line +
                         "\": There should be at least 3 items: -1, atom type, mass."};
    }
    double mass = 0.0;
    if (!Parser::ParseRealNumber(words[3], mass)) {
      throw PlainFailure{"Error occurs: Incorrect MASS format: \"" + words[3] +
                         "\": The mass should be a real number."};
    }
    contents.masses[words[2]] = mass;
  }

  void Store(const Words& block) {
    const Record record = Parse(block);
    contents.residues[record.name] = record;
  }

  static double Number(const std::string& line, const std::string& word, const char* what) {
    double number = 0.0;
    if (!Parser::ParseRealNumber(word, number)) {
      throw PlainFailure{
          ResidueMessage(line, "The " + std::string(what) + " should be a real number.")};
    }
    return number;
  }

  static void Need(bool good, const std::string& line, const char* rest) {
    if (!good) throw PlainFailure{ResidueMessage(line, rest)};
  }

  static void Cut(const Words& w, std::size_t degree, std::vector<Words>& terms) {
    for (std::size_t i = 1; i + degree <= w.size(); i += degree) {
      Words& term = terms.emplace_back();
      for (std::size_t k = 0; k < degree; ++k) term.push_back(w[i + k]);
    }
  }

  Record Parse(const Words& block) {
    Record record;
    for (const std::string& line : block) {
      const Words w = Split(line);
      const std::size_t n = w.size();
      if (n == 0) continue;
      if (w[0] == "RESI" || w[0] == "PRES") {
        Need(n == 3, line, "There should be 2 items: residue name, charge.");
        record.name = w[1];
        record.charge = Number(line, w[2], "charge");
        record.is_patch = w[0] == "PRES";
      } else if (w[0] == "ATOM") {
        Need(n == 4, line, "There should be 3 items: atom name, atom type, charge.");
        record.atom_names.push_back(w[1]);
        record.atom_types.push_back(w[2]);
        record.atom_charges.push_back(Number(line, w[3], "charge"));
      } else if (w[0] == "BOND" || w[0] == "DOUBLE" || w[0] == "TRIPLE") {
        Need(n % 2 == 1, line, "There should be 2N atom names.");
        Cut(w, 2, record.bonds);
      } else if (w[0] == "DELETE") {
        Need(n == 3, line, "There should be 1 type and 1 atom name.");
        record.deleted_atoms.push_back({w[1], w[2]});
      } else if (w[0] == "IMPR") {
        Need(n % 4 == 1, line, "There should be 4N atom names.");
        Cut(w, 4, record.impropers);
      } else if (w[0] == "CMAP") {
        Need(n % 4 == 1, line, "There should be 4N atom names.");
        Cut(w, 4, record.cmaps);
      } else if (w[0] == "IC" || w[0] == "BILD") {
        Need(n == 10, line, "There should be 9 items.");
        TopologyLibrary::InternalCoord term;
        for (std::size_t i = 0; i < 4; ++i) term.atoms[i] = w[i + 1];
        if (term.atoms[2].rfind('*', 0) == 0) {
          term.is_improper = true;
          term.atoms[2] = term.atoms[2].substr(1);
        }
        for (std::size_t i = 0; i < 5; ++i) {
          term.values[i] = Number(line, w[i + 5], "coordinate");
        }
        if (IsHydrogen(term.atoms[0]) && !IsHydrogen(term.atoms[3])) {
          output += "Warning: In \"" + record.name + "\", for the IC term \"" + line +
                    "\": This term contains only one hydrogen and is the first one. It will NOT be "
                    "used for hydrogen adding.\n";
        }
        record.ics.push_back(term);
      }
    }
    for (const auto& term : record.ics) {
      bool inter = false;
      for (const std::string& atom : term.atoms) {
        inter = inter || (!atom.empty() && (atom[0] == '+' || atom[0] == '-'));
      }
      if (inter) record.ics_inter_residue.push_back(term);
      const bool first = IsHydrogen(term.atoms[0]);
      const bool last = IsHydrogen(term.atoms[3]);
      if (first && last) record.ics_hydrogen_both.push_back(term);
      if (!first && last) record.ics_hydrogen_last.push_back(term);
    }
    record.ics_ending_in_hydrogen = record.ics_hydrogen_last;
    for (const auto& term : record.ics_hydrogen_both) {
      record.ics_ending_in_hydrogen.push_back(term);
    }
    return record;
  }

  static bool IsHydrogen(const std::string& name) { return !name.empty() && name[0] == 'H'; }
};

void ExpectSame(const Contents& own, const Contents& plain) {
  ASSERT_EQ(own.masses, plain.masses);
  ASSERT_EQ(NamesOf(own), NamesOf(plain));
  for (const auto& [name, a] : own.residues) {
    const Record& b = plain.residues.at(name);
    ASSERT_EQ(a.name, b.name);
    ASSERT_EQ(a.charge, b.charge);
    ASSERT_EQ(a.is_patch, b.is_patch);
    ASSERT_EQ(a.atom_names, b.atom_names);
    ASSERT_EQ(a.atom_types, b.atom_types);
    ASSERT_EQ(a.atom_charges, b.atom_charges);
    ASSERT_EQ(a.bonds, b.bonds);
    ASSERT_EQ(a.impropers, b.impropers);
    ASSERT_EQ(a.cmaps, b.cmaps);
    ASSERT_EQ(a.deleted_atoms, b.deleted_atoms);
    ASSERT_EQ(Texts(a.ics), Texts(b.ics));
    ASSERT_EQ(Texts(a.ics_inter_residue), Texts(b.ics_inter_residue));
    ASSERT_EQ(Texts(a.ics_hydrogen_last), Texts(b.ics_hydrogen_last));
    ASSERT_EQ(Texts(a.ics_hydrogen_both), Texts(b.ics_hydrogen_both));
    ASSERT_EQ(Texts(a.ics_ending_in_hydrogen), Texts(b.ics_ending_in_hydrogen));
  }
}

TEST(CHARMMTopology, RandomFilesComeOutAsFromAPlainWalkOverTheirLines) {
  const Words good = {"RESI ALA 0",
                      "RESI GLY -1.5",
                      "PRES ALA 1",
                      "Pres nter 1 ! patch",
                      "ATOM N NH1 -0.47",
                      "atom HN H 0.31 ! massive 2.5",
                      "ATOM CA CT1 0.07 ! residue",
                      "BOND N HN N CA",
                      "DOUBLE A B",
                      "BOND",
                      "IMPR N -C CA HN",
                      "CMAP -C N CA C N CA C +N",
                      "DELETE ATOM HN",
                      "IC N CA C O 1 2 3 4 5",
                      "IC HN CA *C O 1 2 3 4 5",
                      "IC HN -CA C HO 1 2 3 4 5",
                      "BILD +N CA * HO 1 2 3 4 5",
                      "MASS -1 NH1 14.007",
                      "MASS 2 NH1 15 N ! RESI",
                      "! a comment",
                      "! RESI of a kind",
                      "* PRESENT",
                      "",
                      "   \t",
                      "GROUP",
                      "END"};
  const Words bad = {"RESI ALA",     "PRES X y",          "ATOM N NH1", "BOND A",
                     "IMPR A B",     "DELETE ATOM HN CA", "! MASS",     "MASS -1 CT x",
                     "IC A B C D 1", "RESI MASS 1",       "CMAP A",     "BILD A B C D 1 2 3 4 x",
                     "ATOM A B c"};
  const TemporaryFolder folder;
  std::mt19937 engine(5);
  const auto below = [&](std::size_t limit) { return engine() % limit; };
  int failures = 0;
  std::size_t most_records = 0;
  for (int round = 0; round < 4000; ++round) {
    std::string text;
    const std::size_t lines = below(16);
    for (std::size_t i = 0; i < lines; ++i) {
      text += below(100) < 1 ? bad[below(bad.size())] : good[below(good.size())];
      if (i + 1 < lines || below(2) == 0) text += below(5) == 0 ? "\r\n" : "\n";
    }
    SCOPED_TRACE(text);
    PlainReader plain;
    std::optional<std::string> failure;
    try {
      plain.Read(text);
    } catch (const PlainFailure& caught) {
      failure = caught.message;
    }
    if (failure) {
      ++failures;
      // Each needs a process of its own.
      if (failures <= 60) {
        ASSERT_EQ(MessageFor(text), plain.output + *failure);
      }
    } else {
      Contents own;
      const std::string path = folder.Write("x.rtf", text);
      ASSERT_EQ(OutputOf([&] { CHARMMTopology::ReadTopologyFile(path, own.residues, own.masses); }),
                plain.output);
      ASSERT_NO_FATAL_FAILURE(ExpectSame(own, plain.contents));
      most_records = std::max(most_records, own.residues.size());
    }
  }
  EXPECT_GT(failures, 100);
  EXPECT_EQ(most_records, 4u);
}

}  // namespace
}  // namespace orvane

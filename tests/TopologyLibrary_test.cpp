// The library of residue templates: what it loads, and how it finds atoms and terms in a record.
#include "TopologyLibrary.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "RunStatus.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::LinkDataFolder;
using testing_support::MessageOf;
using testing_support::OutputOf;
using testing_support::TemporaryFolder;

TEST(TopologyLibrary, IsEmptyAtFirst) {
  const TopologyLibrary library;
  EXPECT_TRUE(library.GetResidues().empty());
  EXPECT_TRUE(library.GetMasses().empty());
}

TEST(TopologyLibrary, LoadsTheTwoStandardFilesOfTheDataFolder) {
  LinkDataFolder();
  const std::string folder = RunStatus::GetProgramAbsolutePath();
  TopologyLibrary library;
  EXPECT_EQ(OutputOf([&] { library.Build(); }),
            " Load topology: " + folder + "top_all36_prot.rtf\n Load topology: " + folder +
                "top_all36_na.rtf\n");
  for (const char* name : {"ALA", "GLY", "ADE", "NTER", "CTER", "GLYP"}) {
    EXPECT_EQ(library.GetResidues().count(name), 1u) << name;
  }
  EXPECT_EQ(library.GetMasses().count("CT1"), 1u);
}

TEST(TopologyLibrary, ASecondLoadOfTheStandardFilesForgetsOtherResiduesAndKeepsMasses) {
  LinkDataFolder();
  const TemporaryFolder other;
  const std::string path = other.Write("x.rtf", "MASS -1 XX 2.5\nRESI QQQ 0\nEND\n");
  TopologyLibrary library;
  OutputOf([&] {
    library.Build(path);
    library.Build();
  });
  EXPECT_EQ(library.GetResidues().count("QQQ"), 0u);
  EXPECT_EQ(library.GetResidues().count("ALA"), 1u);
  EXPECT_EQ(library.GetMasses().at("XX"), 2.5);
}

TEST(TopologyLibrary, NamesAnAdditionalFileAsItWasGiven) {
  const TemporaryFolder folder;
  folder.Write("x.rtf", "RESI QQQ 0\nEND\n");
  const std::string path = folder / "./x.rtf";
  TopologyLibrary library;
  EXPECT_EQ(OutputOf([&] { library.Build(path); }), " Load additional topology: " + path + "\n");
  EXPECT_EQ(library.GetResidues().size(), 1u);
}

TEST(TopologyLibrary, AnAdditionalFileReplacesWholeRecordsAndMasses) {
  const TemporaryFolder folder;
  const std::string first = folder.Write("first.rtf",
                                         "MASS -1 T1 1.0\nMASS -1 T2 2.0\n"
                                         "RESI ALA 1\nATOM N T1 0.5\nBOND N CA\n"
                                         "IC A B C D 1 2 3 4 5\nDELETE ATOM X\n"
                                         "RESI GLY 0\nEND\n");
  const std::string second = folder.Write("second.rtf",
                                          "MASS -1 T1 3.0\n"
                                          "PRES ALA -1\nATOM CA T2 0\nEND\n");
  TopologyLibrary library;
  OutputOf([&] {
    library.Build(first);
    library.Build(second);
  });
  ASSERT_EQ(library.GetResidues().size(), 2u);
  const TopologyLibrary::Residue& alanine = library.GetResidues().at("ALA");
  EXPECT_EQ(alanine.charge, -1.0);
  EXPECT_TRUE(alanine.is_patch);
  EXPECT_EQ(alanine.atom_names, std::vector<std::string>{"CA"});
  EXPECT_EQ(alanine.FindAtom("N"), -1);
  EXPECT_TRUE(alanine.bonds.empty());
  EXPECT_TRUE(alanine.ics.empty());
  EXPECT_EQ(alanine.FindTermEndingIn("D"), nullptr);
  EXPECT_TRUE(alanine.deleted_atoms.empty());
  EXPECT_EQ(library.GetMasses(), (std::map<std::string, double>{{"T1", 3.0}, {"T2", 2.0}}));
}

TEST(TopologyLibrary, AFileThatIsNotThereEndsTheRunAfterTheLineThatNamesIt) {
  EXPECT_EQ(MessageOf([] { TopologyLibrary().Build("/nowhere/x.rtf"); }),
            " Load additional topology: /nowhere/x.rtf\n"
            "Error occurs: Cannot open file \"/nowhere/x.rtf\".");
}

TopologyLibrary::InternalCoord Term(const char* a, const char* d, double length) {
  TopologyLibrary::InternalCoord term;
  term.atoms = {a, "B", "C", d};
  term.values[4] = length;
  return term;
}

TEST(TopologyLibrary, ARecordFindsTheFirstAtomOfAName) {
  TopologyLibrary::Residue record;
  EXPECT_EQ(record.FindAtom("CA"), -1);
  record.atom_names = {"N", "CA", "N", ""};
  record.BuildLookups();
  EXPECT_EQ(record.FindAtom("N"), 0);
  EXPECT_EQ(record.FindAtom("CA"), 1);
  EXPECT_EQ(record.FindAtom(""), 3);
  EXPECT_EQ(record.FindAtom("C"), -1);
  EXPECT_EQ(record.FindAtom("CA "), -1);
}

TEST(TopologyLibrary, ARecordFindsTheFirstTermWithAnAtomAtOneOfItsEnds) {
  TopologyLibrary::Residue record;
  EXPECT_EQ(record.FindTermEndingIn("H"), nullptr);
  record.ics = {Term("N", "+H", 1.0), Term("H", "O", 2.0), Term("N", "H", 3.0),
                Term("N", "H", 4.0)};
  record.BuildLookups();
  // The name "+H" is not the name "H".
  EXPECT_EQ(record.FindTermEndingIn("H"), &record.ics[2]);
  EXPECT_EQ(record.FindTermEndingIn("+H"), &record.ics[0]);
  EXPECT_EQ(record.FindTermEndingIn("N"), nullptr);
  EXPECT_EQ(record.FindTermBeginningWith("N"), &record.ics[0]);
  EXPECT_EQ(record.FindTermBeginningWith("H"), &record.ics[1]);
  EXPECT_EQ(record.FindTermBeginningWith("O"), nullptr);
  // Atoms in the middle are no ends.
  EXPECT_EQ(record.FindTermBeginningWith("B"), nullptr);
  EXPECT_EQ(record.FindTermEndingIn("C"), nullptr);
}

TEST(TopologyLibrary, ACopyOfARecordFindsItsOwnTerms) {
  TopologyLibrary::Residue record;
  record.atom_names = {"N"};
  record.ics = {Term("N", "H", 1.0)};
  record.BuildLookups();
  const TopologyLibrary::Residue copy = record;
  record.ics.clear();
  record.BuildLookups();
  EXPECT_EQ(copy.FindTermEndingIn("H"), &copy.ics[0]);
  EXPECT_EQ(copy.FindAtom("N"), 0);
  EXPECT_EQ(record.FindTermEndingIn("H"), nullptr);
}

TEST(TopologyLibrary, RecordsFromFilesFindTheirAtomsAndTerms) {
  const TemporaryFolder folder;
  TopologyLibrary library;
  OutputOf([&] {
    library.Build(folder.Write(
        "x.rtf", "RESI AAA 0\nATOM N T 0\nATOM H T 0\nIC -C CA *N H 1 2 3 4 5\nEND\n"));
  });
  const TopologyLibrary::Residue& record = library.GetResidues().at("AAA");
  EXPECT_EQ(record.FindAtom("H"), 1);
  EXPECT_EQ(record.FindTermEndingIn("H"), &record.ics[0]);
  EXPECT_EQ(record.FindTermBeginningWith("-C"), &record.ics[0]);
}

}  // namespace
}  // namespace orvane

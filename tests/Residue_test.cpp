// Residue names: what kind of thing each stands for.
#include "Residue.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvane {
namespace {

const std::vector<std::string> kAminoAcids{"ALA", "ARG", "ASN", "ASP", "CYS", "GLN", "GLU", "GLY",
                                           "HIS", "HSD", "HSE", "HSP", "ILE", "LEU", "LYS", "MET",
                                           "PHE", "PRO", "SER", "THR", "TRP", "TYR", "VAL"};
const std::vector<std::string> kNucleicAcids{"GUA", "ADE", "CYT", "THY", "URA",
                                             "DG",  "DA",  "DC",  "DT",  "DU"};
const std::vector<std::string> kWaters{"HOH", "WAT", "TIP"};
const std::vector<std::string> kIons{"SOD", "CLA", "POT", "MG", "CAL", "SO4", "NA"};

// Names that are in none of the lists, though near to some.
const std::vector<std::string> kOthers{"UNK",  "ZN",   "his", "Ala", "TIP3", "TIP3P", "tip", "hoh",
                                       "ALAA", "AL",   "",    " ",   "ALA ", " ALA",  "A",   "C",
                                       "G",    "U",    "T",   "HSC", "MSE",  "CL",    "K",   "CA",
                                       "LIT",  "SO4 ", "HEM", "na",  "D",    "DGG",   "NAG", "MGA"};

void ExpectKind(const std::string& name, bool amino, bool nucleic, bool water, bool ion,
                Residue::Type type) {
  SCOPED_TRACE("\"" + name + "\"");
  EXPECT_EQ(Residue::IsAminoAcid(name), amino);
  EXPECT_EQ(Residue::IsNucleicAcid(name), nucleic);
  EXPECT_EQ(Residue::IsWater(name), water);
  EXPECT_EQ(Residue::IsIon(name), ion);
  EXPECT_EQ(Residue::IdentifyType(name), type);
}

TEST(Residue, KnowsTheAminoAcids) {
  for (const std::string& name : kAminoAcids) {
    ExpectKind(name, true, false, false, false, Residue::AminoAcid);
  }
}

TEST(Residue, KnowsTheNucleicAcids) {
  for (const std::string& name : kNucleicAcids) {
    ExpectKind(name, false, true, false, false, Residue::NucleicAcid);
  }
}

TEST(Residue, KnowsTheWaters) {
  for (const std::string& name : kWaters) {
    ExpectKind(name, false, false, true, false, Residue::Water);
  }
}

TEST(Residue, KnowsTheIons) {
  for (const std::string& name : kIons) ExpectKind(name, false, false, false, true, Residue::Ion);
}

TEST(Residue, TakesAnythingElseForALigand) {
  // Zinc and the four-letter name of water are among these, and so is lower case.
  for (const std::string& name : kOthers) {
    ExpectKind(name, false, false, false, false, Residue::Ligand);
  }
}

TEST(Residue, KnowsNoOtherNameOfUpToThreeCharacters) {
  std::size_t counts[5] = {0, 0, 0, 0, 0};
  const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  std::vector<std::string> names{""};
  for (std::size_t begin = 0, length = 1; length <= 3; ++length) {
    const std::size_t end = names.size();
    for (; begin < end; ++begin) {
      for (const char c : letters) names.push_back(names[begin] + c);
    }
  }
  for (const std::string& name : names) ++counts[Residue::IdentifyType(name)];
  EXPECT_EQ(counts[Residue::AminoAcid], kAminoAcids.size());
  EXPECT_EQ(counts[Residue::NucleicAcid], kNucleicAcids.size());
  EXPECT_EQ(counts[Residue::Water], kWaters.size());
  EXPECT_EQ(counts[Residue::Ion], kIons.size());
}

TEST(Residue, NumbersItsKinds) {
  EXPECT_EQ(static_cast<int>(Residue::AminoAcid), 0);
  EXPECT_EQ(static_cast<int>(Residue::NucleicAcid), 1);
  EXPECT_EQ(static_cast<int>(Residue::Water), 2);
  EXPECT_EQ(static_cast<int>(Residue::Ion), 3);
  EXPECT_EQ(static_cast<int>(Residue::Ligand), 4);
}

}  // namespace
}  // namespace orvane

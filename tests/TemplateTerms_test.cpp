// Terms of templates at a residue: names become atoms, internal coordinates become places.
#include "TemplateTerms.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "ComputationalGeometry.h"
#include "PlainPatching.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::AsLists;
using testing_support::LibraryOf;
using testing_support::MessageOf;
using testing_support::MoleculeOf;
using testing_support::PlainFailure;
using testing_support::PlainPatching;
using testing_support::RandomChemistry;

using Names = std::vector<std::vector<std::string>>;
using Lists = testing_support::Terms;

// Three residues of two atoms each.
PDB Three() {
  return MoleculeOf(
      {{"AAA", "A", 1, {"N", "C"}}, {"BBB", "A", 2, {"C", "N"}}, {"CCC", "B", 7, {"N", "C"}}});
}

Lists Resolved(const PDB& molecule, int residue, int degrees, const Names& terms) {
  TermList resolved(degrees);
  AppendResolvedTerms(MoleculeAtoms(molecule), residue, degrees, terms, resolved);
  return AsLists(resolved);
}

TEST(TemplateTerms, NamesBecomeTheAtomsOfTheResidueAndItsNeighbours) {
  const PDB molecule = Three();
  EXPECT_EQ(Resolved(molecule, 1, 4, {{"-N", "C", "N", "+C"}}), (Lists{{0, 2, 3, 5}}));
  // The neighbour may be of another chain: only the order of the residues counts.
  EXPECT_EQ(Resolved(molecule, 1, 2, {{"N", "+N"}, {"C", "-C"}}), (Lists{{3, 4}, {1, 2}}));
}

TEST(TemplateTerms, PairsAreSortedAndLongerTermsBeginAtTheLowerEnd) {
  const PDB molecule = Three();
  EXPECT_EQ(Resolved(molecule, 1, 2, {{"C", "N"}, {"N", "C"}, {"N", "N"}}),
            (Lists{{2, 3}, {2, 3}, {3, 3}}));
  EXPECT_EQ(Resolved(molecule, 1, 4, {{"N", "+N", "-N", "C"}}), (Lists{{2, 0, 4, 3}}));
  EXPECT_EQ(Resolved(molecule, 1, 4, {{"C", "+N", "-N", "N"}}), (Lists{{2, 4, 0, 3}}));
  // Equal ends turn a term around, too.
  EXPECT_EQ(Resolved(molecule, 1, 4, {{"C", "+N", "-N", "C"}}), (Lists{{2, 0, 4, 2}}));
}

TEST(TemplateTerms, TermsThatLeaveTheMoleculeAreDroppedWhole) {
  const PDB molecule = Three();
  EXPECT_EQ(Resolved(molecule, 0, 2, {{"N", "-C"}, {"N", "C"}, {"-N", "C"}}), (Lists{{0, 1}}));
  EXPECT_EQ(Resolved(molecule, 2, 2, {{"C", "+N"}, {"N", "C"}, {"+C", "N"}}), (Lists{{4, 5}}));
  // What stands behind the name that leaves the molecule is not looked at.
  EXPECT_EQ(Resolved(molecule, 0, 4, {{"N", "-C", "NOBODY", "C"}}), Lists{});
}

TEST(TemplateTerms, AMissingAtomEndsTheRunAndIsNamedWithTheResidueThatWasSearched) {
  const PDB molecule = Three();
  const auto message = [&](int residue, const std::vector<std::string>& term) {
    return MessageOf([&] { Resolved(molecule, residue, static_cast<int>(term.size()), {term}); });
  };
  EXPECT_EQ(message(1, {"N", "CA"}),
            "Error occurs: Cannot find atom \"CA\" in residue BBB2 at chain A.");
  EXPECT_EQ(message(1, {"+CA", "N"}),
            "Error occurs: Cannot find atom \"CA\" in residue CCC7 at chain B.");
  EXPECT_EQ(message(1, {"N", "-CA"}),
            "Error occurs: Cannot find atom \"CA\" in residue AAA1 at chain A.");
  EXPECT_EQ(message(1, {"N", "+"}),
            "Error occurs: Cannot find atom \"\" in residue CCC7 at chain B.");
  // It comes first if it stands first, though the term would be dropped.
  EXPECT_EQ(message(0, {"N", "CA", "-C", "C"}),
            "Error occurs: Cannot find atom \"CA\" in residue AAA1 at chain A.");
  // Only one prefix is taken off.
  EXPECT_EQ(message(1, {"N", "+-C"}),
            "Error occurs: Cannot find atom \"-C\" in residue CCC7 at chain B.");
}

TEST(TemplateTerms, OtherNumbersOfAtomsEndTheRun) {
  const PDB molecule = Three();
  for (const int degrees : {-1, 0, 1, 3, 5, 8}) {
    EXPECT_EQ(MessageOf([&] {
                TermList resolved(4);
                AppendResolvedTerms(MoleculeAtoms(molecule), 0, degrees, {}, resolved);
              }),
              "Error occurs: The number of degrees of freedom must be 2 or 4.");
  }
}

TEST(TemplateTerms, ResolvedTermsAreAppended) {
  const PDB molecule = Three();
  TermList resolved(2);
  resolved.assign_flat({7, 8});
  AppendResolvedTerms(MoleculeAtoms(molecule), 0, 2, {{"C", "N"}}, resolved);
  EXPECT_EQ(AsLists(resolved), (Lists{{7, 8}, {0, 1}}));
}

TEST(TemplateTerms, RandomTermsResolveAsInThePlainWay) {
  RandomChemistry random(23);
  int good = 0;
  int failed = 0;
  for (int round = 0; round < 300; ++round) {
    const TopologyLibrary library = LibraryOf(random.Library());
    const PDB molecule = random.Molecule(library);
    const PlainPatching plain(molecule);
    for (const auto& [name, record] : library.GetResidues()) {
      for (int residue = 0; residue < molecule.numResidues; ++residue) {
        Lists expected;
        const bool bonds = random.Chance(50);
        const Names& terms = bonds ? record.bonds : record.cmaps;
        try {
          plain.BuildTopologyTerms(residue, bonds ? 2 : 4, terms, expected);
          ASSERT_EQ(Resolved(molecule, residue, bonds ? 2 : 4, terms), expected);
          good += expected.empty() ? 0 : 1;
        } catch (const PlainFailure& failure) {
          // Each needs a process of its own.
          if (++failed > 60) continue;
          ASSERT_EQ(MessageOf([&] { Resolved(molecule, residue, bonds ? 2 : 4, terms); }),
                    failure.message);
        }
      }
    }
  }
  EXPECT_GT(good, 500);
  EXPECT_GT(failed, 200);
}

// A record with these lines of internal coordinates.
TopologyLibrary::Residue RecordWith(const std::string& lines) {
  return LibraryOf("RESI REC 0\n" + lines + "END\n").GetResidues().at("REC");
}

struct Guess {
  bool placed;
  Vec3D coord;
};

Guess GuessOf(const PDB& molecule, int residue, const std::string& name, const std::string& lines) {
  const TopologyLibrary::Residue record = RecordWith(lines);
  Guess guess{false, Vec3D(-1.0, -1.0, -1.0)};
  guess.placed = GuessCoordAmong(MoleculeAtoms(molecule), residue, name, record, guess.coord);
  return guess;
}

void ExpectAt(const Guess& guess, bool placed, const Vec3D& coord) {
  EXPECT_EQ(guess.placed, placed);
  EXPECT_EQ(guess.coord.x, coord.x);
  EXPECT_EQ(guess.coord.y, coord.y);
  EXPECT_EQ(guess.coord.z, coord.z);
}

// The conversion factor is a little less than pi / 180.
double Radians(double degrees) {
  return degrees * 0.017453292519444445;
}

Vec3D Placed(const PDB& molecule, int a, int b, int c, double length, double angle,
             double dihedral) {
  Vec3D coord;
  ComputationalGeometry::CalcCoord(molecule.atoms[a].Coord, molecule.atoms[b].Coord,
                                   molecule.atoms[c].Coord, length, Radians(angle),
                                   Radians(dihedral), coord);
  return coord;
}

TEST(TemplateTerms, AnAtomIsPlacedByTheTermThatEndsInIt) {
  const PDB molecule = Three();
  const Guess guess = GuessOf(molecule, 1, "H", "IC -C C N H 9 8 60.0 110.0 1.25\n");
  ExpectAt(guess, true, Placed(molecule, 1, 2, 3, 1.25, 110.0, 60.0));
  const Vec3D& reference = molecule.atoms[3].Coord;
  EXPECT_NEAR(ComputationalGeometry::CalcLength(reference, guess.coord), 1.25, 1e-12);
  EXPECT_NEAR(ComputationalGeometry::CalcAngle(molecule.atoms[2].Coord, reference, guess.coord),
              Radians(110.0), 1e-12);
  EXPECT_NEAR(ComputationalGeometry::CalcDihedral(molecule.atoms[1].Coord, molecule.atoms[2].Coord,
                                                  reference, guess.coord),
              Radians(60.0), 1e-12);
}

TEST(TemplateTerms, AnImproperTermIsUsedAsItStands) {
  const PDB molecule = Three();
  ExpectAt(GuessOf(molecule, 1, "H", "IC -C C *N H 9 8 -120.0 110.0 1.25\n"), true,
           Placed(molecule, 1, 2, 3, 1.25, 110.0, -120.0));
}

TEST(TemplateTerms, AnAtomThatOnlyBeginsATermIsPlacedByTheReversedTerm) {
  const PDB molecule = Three();
  ExpectAt(GuessOf(molecule, 1, "X", "IC X C N +N 1.5 100.0 60.0 8 9\n"), true,
           Placed(molecule, 4, 3, 2, 1.5, 100.0, 60.0));
  // An improper term gets no special treatment.
  ExpectAt(GuessOf(molecule, 1, "X", "IC X C *N +N 1.5 100.0 60.0 8 9\n"), true,
           Placed(molecule, 4, 3, 2, 1.5, 100.0, 60.0));
}

TEST(TemplateTerms, ATermThatEndsInTheAtomComesBeforeAnEarlierOneThatBeginsWithIt) {
  const PDB molecule = Three();
  ExpectAt(
      GuessOf(molecule, 1, "X", "IC X C N +N 1.5 100.0 60.0 8 9\nIC -C C N X 9 8 20.0 90.0 2.0\n"),
      true, Placed(molecule, 1, 2, 3, 2.0, 90.0, 20.0));
}

TEST(TemplateTerms, OfTwoTermsForAnAtomTheEarlierIsUsedEvenIfItCannotBeResolved) {
  const PDB molecule = Three();
  const std::string unknown = "IC A B D H 1 90 60 90 1\n";
  const std::string known = "IC -C C N H 1 90 60 90 1\n";
  ExpectAt(GuessOf(molecule, 1, "H", unknown + known), false, Vec3D(99.0, 99.0, 99.0));
  ExpectAt(GuessOf(molecule, 1, "H", known + unknown), true,
           Placed(molecule, 1, 2, 3, 1.0, 90.0, 60.0));
}

TEST(TemplateTerms, WithoutTheFirstAtomOnlyLengthAndAngleAreMet) {
  const PDB molecule = Three();
  Vec3D expected;
  ComputationalGeometry::CalcCoord(molecule.atoms[0].Coord, molecule.atoms[1].Coord, 1.25,
                                   Radians(110.0), expected);
  // In front of the first residue there is none.
  ExpectAt(GuessOf(molecule, 0, "H", "IC -C N C H 9 8 60.0 110.0 1.25\n"), false, expected);
  ExpectAt(GuessOf(molecule, 0, "H", "IC NOBODY N C H 9 8 60.0 110.0 1.25\n"), false, expected);
  ExpectAt(GuessOf(molecule, 0, "H", "IC +NOBODY N C H 9 8 60.0 110.0 1.25\n"), false, expected);
}

TEST(TemplateTerms, WithoutTheSecondOrThirdAtomThePlaceIsUnknown) {
  const PDB molecule = Three();
  const Vec3D unknown(99.0, 99.0, 99.0);
  ExpectAt(GuessOf(molecule, 0, "H", "IC N X C H 9 8 60 110 1.25\n"), false, unknown);
  ExpectAt(GuessOf(molecule, 0, "H", "IC N C X H 9 8 60 110 1.25\n"), false, unknown);
  ExpectAt(GuessOf(molecule, 0, "H", "IC N -C C H 9 8 60 110 1.25\n"), false, unknown);
  ExpectAt(GuessOf(molecule, 2, "H", "IC N C +N H 9 8 60 110 1.25\n"), false, unknown);
}

TEST(TemplateTerms, AnAtomThatStandsInNoTermEndsTheRun) {
  const PDB molecule = Three();
  const std::string message =
      "Error occurs: Cannot find the internal coordinate for atom H in residue CCC7 at chain B.\n";
  EXPECT_EQ(MessageOf([&] { GuessOf(molecule, 2, "H", ""); }), message);
  // Neither a name with a prefix nor one in the middle of a term is meant.
  EXPECT_EQ(MessageOf([&] { GuessOf(molecule, 2, "H", "IC +H H H -H 1 2 3 4 5\n"); }), message);
}

TEST(TemplateTerms, AReferenceThatLiesNowhereGivesAPlaceNearIt) {
  PDB molecule = Three();
  molecule.atoms[3].Coord = Vec3D(99.0, 99.0, 99.0);
  const Guess guess = GuessOf(molecule, 1, "H", "IC -C C N H 9 8 60.0 110.0 1.25\n");
  ExpectAt(guess, true, Placed(molecule, 1, 2, 3, 1.25, 110.0, 60.0));
  EXPECT_NEAR(ComputationalGeometry::CalcLength(molecule.atoms[3].Coord, guess.coord), 1.25, 1e-9);
}

}  // namespace
}  // namespace orvane

// Patching many residues in one pass, held against the plain algorithms.
#include "ResidueEditor.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "PlainPatching.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::AsLists;
using testing_support::Describe;
using testing_support::LibraryOf;
using testing_support::MessageOf;
using testing_support::OutputOf;
using testing_support::PlainFailure;
using testing_support::PlainPatching;
using testing_support::RandomChemistry;
using testing_support::Terms;

constexpr int kFailuresCompared = 60;

// How many of the random cases went through and how many ended with a message.
struct Outcomes {
  int good = 0;
  int failed = 0;
};

// Runs an edit of a molecule in the plain way and in the program's: the molecules must be equal
// afterwards, what is printed too, or else the messages that ended them.
template <typename Plain, typename Own>
void ExpectSame(const PDB& molecule, Plain plain_edit, Own own_edit, Outcomes& outcomes) {
  PlainPatching plain(molecule);
  std::optional<std::string> failure;
  try {
    plain_edit(plain);
  } catch (const PlainFailure& caught) {
    failure = caught.message;
  }
  PDB own = molecule;
  if (failure) {
    // Each needs a process of its own, so not all of them are held against each other.
    if (++outcomes.failed > kFailuresCompared) return;
    ASSERT_EQ(MessageOf([&] { own_edit(own); }), plain.output() + *failure);
  } else {
    ++outcomes.good;
    const std::string output = OutputOf([&] { own_edit(own); });
    ASSERT_EQ(output, plain.output());
    ASSERT_EQ(Describe(own), Describe(plain.Result()));
  }
}

const TopologyLibrary::Residue& RandomRecord(RandomChemistry& random,
                                             const TopologyLibrary& library) {
  static const std::vector<std::string> names = {"PA", "PB", "PC", "PA", "PB", "PC", "RA", "RB"};
  return library.GetResidues().at(random.OneOf(names));
}

// A random library for every few molecules.
template <typename Check>
void ForRandomMolecules(unsigned seed, int libraries, int molecules, Check check) {
  RandomChemistry random(seed);
  for (int i = 0; i < libraries; ++i) {
    const std::string text = random.Library();
    SCOPED_TRACE(text);
    const TopologyLibrary library = LibraryOf(text);
    for (int k = 0; k < molecules; ++k) {
      check(random, library);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(ResidueEditor, OnePatchGivesWhatInsertingAndErasingAtomByAtomGives) {
  for (const bool with_topology : {false, true}) {
    Outcomes outcomes;
    ForRandomMolecules(17, 200, 10, [&](RandomChemistry& random, const TopologyLibrary& library) {
      PDB molecule = random.Molecule(library);
      if (with_topology || random.Chance(50)) random.AddTopology(molecule);
      const int residue = random.Below(molecule.numResidues);
      const TopologyLibrary::Residue& patch = RandomRecord(random, library);
      ExpectSame(
          molecule,
          [&](PlainPatching& plain) {
            plain.PatchResidue(residue, library.GetMasses(), patch, with_topology);
          },
          [&](PDB& own) { own.PatchResidue(residue, library.GetMasses(), patch, with_topology); },
          outcomes);
    });
    EXPECT_GT(outcomes.good, 800);
    EXPECT_GT(outcomes.failed, 300);
  }
}

TEST(ResidueEditor, TheCoreOfAPatchNamesTheSameAtomsToPlaceAgain) {
  Outcomes outcomes;
  ForRandomMolecules(18, 100, 10, [&](RandomChemistry& random, const TopologyLibrary& library) {
    PDB molecule = random.Molecule(library);
    random.AddTopology(molecule);
    const int residue = random.Below(molecule.numResidues);
    const TopologyLibrary::Residue& patch = RandomRecord(random, library);
    const bool with_topology = random.Chance(50);
    std::vector<std::string> plain_names = {"OLD"};
    std::vector<std::string> own_names = {"OLD"};
    ExpectSame(
        molecule,
        [&](PlainPatching& plain) {
          plain.PatchResidueCore(residue, library.GetMasses(), patch, with_topology, plain_names);
          ASSERT_NE(plain_names, std::vector<std::string>{"OLD"});
        },
        [&](PDB& own) {
          own.PatchResidueCore(residue, library.GetMasses(), patch, with_topology, own_names);
          ASSERT_EQ(own_names, plain_names);
        },
        outcomes);
  });
  EXPECT_GT(outcomes.good, 300);
}

// Patches by one editor, which carries out what it has behind those that `commits_behind` picks.
template <typename CommitsBehind>
void ExpectThatManyPatchesGiveWhatOneAfterTheOtherGives(unsigned seed,
                                                        CommitsBehind commits_behind) {
  for (const bool with_topology : {false, true}) {
    Outcomes outcomes;
    ForRandomMolecules(seed, 200, 10, [&](RandomChemistry& random, const TopologyLibrary& library) {
      PDB molecule = random.Molecule(library);
      if (with_topology) random.AddTopology(molecule);
      // Few residues, so that some are patched more than once.
      struct Step {
        int residue;
        const TopologyLibrary::Residue* patch;
        bool commits;
      };
      std::vector<Step> steps;
      const int count = 1 + random.Below(5);
      for (int i = 0; i < count; ++i) {
        const int residue = random.Below(molecule.numResidues);
        const TopologyLibrary::Residue& patch = RandomRecord(random, library);
        steps.push_back({residue, &patch, commits_behind(random)});
      }
      ExpectSame(
          molecule,
          [&](PlainPatching& plain) {
            for (const Step& step : steps) {
              plain.PatchResidue(step.residue, library.GetMasses(), *step.patch, with_topology);
            }
          },
          [&](PDB& own) {
            ResidueEditor editor(own, library.GetMasses(), with_topology);
            for (const Step& step : steps) {
              editor.PatchResidue(step.residue, *step.patch);
              if (step.commits) editor.Commit();
            }
            editor.Commit();
          },
          outcomes);
    });
    EXPECT_GT(outcomes.good, 400);
    EXPECT_GT(outcomes.failed, 400);
  }
}

TEST(ResidueEditor, ManyPatchesInOnePassGiveWhatOneAfterTheOtherGives) {
  ExpectThatManyPatchesGiveWhatOneAfterTheOtherGives(19, [](RandomChemistry&) { return false; });
}

TEST(ResidueEditor, BeginsAnotherEditBehindEachCommit) {
  ExpectThatManyPatchesGiveWhatOneAfterTheOtherGives(
      28, [](RandomChemistry& random) { return random.Chance(60); });
}

TEST(ResidueEditor, CompletingAMoleculeInOnePassGivesWhatResidueByResidueGives) {
  Outcomes outcomes;
  ForRandomMolecules(20, 400, 10, [&](RandomChemistry& random, const TopologyLibrary& library) {
    PDB molecule = random.Molecule(library);
    // The topology of before is left alone.
    if (random.Chance(20)) random.AddTopology(molecule);
    ExpectSame(
        molecule, [&](PlainPatching& plain) { plain.AddMissingHydrogens(library); },
        [&](PDB& own) { own.AddMissingHydrogens(library); }, outcomes);
  });
  EXPECT_GT(outcomes.good, 3500);
  EXPECT_GT(outcomes.failed, 30);
}

TEST(ResidueEditor, BuildingATopologyGivesWhatThePlainWayGives) {
  Outcomes outcomes;
  ForRandomMolecules(21, 200, 10, [&](RandomChemistry& random, const TopologyLibrary& library) {
    PDB molecule = random.CompleteMolecule(library);
    if (random.Chance(20)) random.AddTopology(molecule);
    ExpectSame(
        molecule, [&](PlainPatching& plain) { plain.BuildTopology(library); },
        [&](PDB& own) { own.BuildTopology(library); }, outcomes);
  });
  EXPECT_GT(outcomes.good, 1000);
  EXPECT_GT(outcomes.failed, 300);
}

TEST(ResidueEditor, EditingTheListsByHandGivesWhatThePlainWayGives) {
  Outcomes outcomes;
  ForRandomMolecules(22, 100, 10, [&](RandomChemistry& random, const TopologyLibrary& library) {
    PDB molecule = random.Molecule(library);
    if (random.Chance(90)) random.AddTopology(molecule);
    const int deleted = random.Below(molecule.numAtoms);
    const int added = random.Below(molecule.numAtoms + 1);
    ExpectSame(
        molecule,
        [&](PlainPatching& plain) {
          plain.ModifyTmpTopolUponAddingAtom(added);
          plain.ModifyTmpTopolUponDeletingAtom(deleted);
        },
        [&](PDB& own) {
          own.ModifyTmpTopolUponAddingAtom(added);
          own.ModifyTmpTopolUponDeletingAtom(deleted);
        },
        outcomes);
  });
  EXPECT_EQ(outcomes.good, 1000);
}

// One residue of the atoms CA and C, without topology.
PDB TwoAtoms() {
  PDB molecule;
  for (const char* name : {"CA", "C"}) {
    PDB::Atom& atom = molecule.atoms.emplace_back();
    atom.Name = name;
    atom.ResName = "ALA";
    atom.ChainID = "A";
    atom.ResSeq = 3;
    atom.Coord = Vec3D(static_cast<double>(molecule.atoms.size()), 0.0, 0.0);
  }
  molecule.Analyze();
  return molecule;
}

TEST(ResidueEditor, LeavesTheMoleculeAloneUntilTheEditIsCarriedOut) {
  const TopologyLibrary library =
      LibraryOf("PRES PA 0\nATOM H1 HA 0\nIC X CA C H1 1.0 90.0 0.0 90.0 1.0\nEND\n");
  PDB molecule = TwoAtoms();
  ResidueEditor editor(molecule, library.GetMasses(), false);
  std::vector<std::string> to_place;
  editor.PatchResidueCore(0, library.GetResidues().at("PA"), to_place);
  EXPECT_EQ(to_place, std::vector<std::string>{"H1"});
  EXPECT_EQ(Describe(molecule), Describe(TwoAtoms()));
  editor.Commit();
  EXPECT_EQ(molecule.atomNames, (std::vector<std::string>{"H1", "CA", "C"}));
}

TEST(ResidueEditor, AnEditWithoutPatchesChangesNothing) {
  PDB molecule = TwoAtoms();
  molecule.tmpAtoms.resize(2);  // A topology would be rebuilt from these.
  const std::string before = Describe(molecule);
  const std::map<std::string, double> masses;
  ResidueEditor editor(molecule, masses, true);
  editor.Commit();
  EXPECT_EQ(Describe(molecule), before);
}

TEST(ResidueEditor, APatchThatChangesNoAtomStillRebuildsTheTopology) {
  const TopologyLibrary library = LibraryOf("PRES PA 0\nBOND C CA\nEND\n");
  PDB molecule = TwoAtoms();
  molecule.tmpAtoms.resize(2);
  ResidueEditor editor(molecule, library.GetMasses(), true);
  editor.PatchResidue(0, library.GetResidues().at("PA"));
  editor.Commit();
  EXPECT_EQ(molecule.topology.GetAtoms().size(), 2u);
  EXPECT_EQ(AsLists(molecule.topology.GetBonds()), (Terms{{0, 1}}));
}

TEST(ResidueEditor, ANewNameHoldsAtOnceAndForTheAtomsThatAPatchAddsBehindIt) {
  const TopologyLibrary library =
      LibraryOf("PRES PA 0\nATOM Q1 QT 0\nIC X CA C Q1 1.5 90.0 0.0 90.0 1.5\nEND\n");
  PDB molecule = TwoAtoms();
  molecule.tmpAtoms.resize(2);
  ResidueEditor editor(molecule, library.GetMasses(), true);
  editor.RenameResidue(0, "Gly");
  EXPECT_EQ(molecule.GetResidueString(0), "Gly3 at chain A");
  EXPECT_EQ(OutputOf([&] { editor.PatchResidue(0, library.GetResidues().at("PA")); }),
            "Warning: The position of atom Q1 in residue Gly3 at chain A cannot be well "
            "predicted.\n");
  editor.Commit();
  ASSERT_EQ(molecule.numAtoms, 3);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(molecule.atoms[i].ResName, "Gly");
    EXPECT_EQ(molecule.topology.GetAtoms()[i].residue_name, "Gly");
  }
}

TEST(ResidueEditor, ANameIsGivenToAMoleculeWithoutTopologyOrWithAShortOne) {
  const std::map<std::string, double> masses;
  for (const std::size_t size : {0, 1}) {
    PDB molecule = TwoAtoms();
    molecule.tmpAtoms.resize(size);
    ResidueEditor editor(molecule, masses, size > 0);
    editor.RenameResidue(0, "GLY");
    editor.Commit();
    EXPECT_EQ(molecule.atoms[1].ResName, "GLY");
    EXPECT_EQ(molecule.topology.GetAtoms().size(), size);
  }
}

TEST(ResidueEditor, BondsAreNamedByPositionsBeforeTheEditAndGoWithTheirAtoms) {
  const TopologyLibrary library = LibraryOf("PRES PA 0\nDELETE ATOM CA\n\nEND\n");
  PDB molecule = TwoAtoms();
  molecule.tmpAtoms.resize(2);
  ResidueEditor editor(molecule, library.GetMasses(), true);
  editor.PatchResidue(0, library.GetResidues().at("PA"));
  editor.AddBond(1, 0);
  editor.AddBond(1, 1);
  editor.Commit();
  EXPECT_EQ(AsLists(molecule.topology.GetBonds()), (Terms{{0, 0}}));
  // The editor goes on with what is left.
  editor.AddBond(0, 0);
  EXPECT_EQ(MessageOf([&] { editor.AddBond(0, 1); }), "Error occurs: Invalid atom index: 1 2.");
  editor.Commit();
  EXPECT_EQ(AsLists(molecule.topology.GetBonds()), (Terms{{0, 0}, {0, 0}}));
  editor.Commit();
  EXPECT_EQ(AsLists(molecule.topology.GetBonds()), (Terms{{0, 0}, {0, 0}}));
}

TEST(ResidueEditor, IndicesThatNoMoleculeHasWrapAround) {
  constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  const TopologyLibrary library =
      LibraryOf("PRES PA 0\nATOM Q1 QT 0\nIC X CA C Q1 1.5 90.0 0.0 90.0 1.5\nEND\n");
  PDB molecule = TwoAtoms();
  molecule.tmpAtoms.resize(2);
  molecule.tmpImpropers.push_back({0, least, most - 1, most});
  ResidueEditor editor(molecule, library.GetMasses(), true);
  OutputOf([&] { editor.PatchResidue(0, library.GetResidues().at("PA")); });
  editor.Commit();
  ASSERT_EQ(molecule.numAtoms, 3);
  EXPECT_EQ(AsLists(molecule.tmpImpropers), (Terms{{1, least, most, least}}));
}

TEST(ResidueEditor, ABondThatLeavesTheAtomsEndsTheRunAtTheFirstStepWhicheverItIs) {
  const TopologyLibrary library = LibraryOf("PRES PA 0\nEND\n");
  using Step = std::function<void(ResidueEditor&)>;
  const Step patch = [&](ResidueEditor& editor) {
    editor.PatchResidue(0, library.GetResidues().at("PA"));
  };
  const Step bond = [](ResidueEditor& editor) { editor.AddBond(0, 1); };
  const Step rename = [](ResidueEditor& editor) { editor.RenameResidue(0, "GLY"); };
  for (const Step& step : {patch, bond, rename}) {
    PDB molecule = TwoAtoms();
    molecule.tmpAtoms.resize(2);
    molecule.tmpBonds.push_back({0, 7});
    ResidueEditor editor(molecule, library.GetMasses(), true);
    EXPECT_EQ(MessageOf([&] { step(editor); }),
              "Error occurs: The bond 1-8 is wrong: there are atoms from 1 to 2 only.");
    // Nobody reads the bonds without topology.
    ResidueEditor without_topology(molecule, library.GetMasses(), false);
    EXPECT_EQ(MessageOf([&] { rename(without_topology); }), "(the code returned)");
  }
}

TEST(ResidueEditor, ATopologyOfAnotherNumberOfAtomsEndsTheRun) {
  const TopologyLibrary library = LibraryOf("PRES PA 0\nEND\n");
  PDB molecule = TwoAtoms();
  molecule.tmpAtoms.resize(3);
  const auto patch = [&](bool with_topology) {
    molecule.PatchResidue(0, library.GetMasses(), library.GetResidues().at("PA"), with_topology);
  };
  EXPECT_EQ(MessageOf([&] { patch(true); }),
            "Error occurs: The topology has 3 atoms, but the molecule has 2.");
  EXPECT_EQ(MessageOf([&] { patch(false); }), "(the code returned)");
}

}  // namespace
}  // namespace orvane

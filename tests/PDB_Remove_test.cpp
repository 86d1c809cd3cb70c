// Removing residues and atoms, held against removing them one by one.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "PDB.h"
#include "PlainPatching.h"
#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::AsLists;
using testing_support::Describe;
using testing_support::MessageOf;
using testing_support::MoleculeOf;
using testing_support::OutputOf;
using testing_support::PlainPatching;

using Lists = testing_support::Terms;
using Names = std::set<std::string>;
using Numbers = std::vector<int>;
using Texts = std::vector<std::string>;

// A peptide with all that can be taken from it.
PDB Mixture() {
  return MoleculeOf({{"ALA", "A", 1, {"N", "HN", "CA"}},
                     {"GLY", "A", 2, {"N", "HA1", "HA2"}},
                     {"LIG", "B", 1, {"C1", "1H"}},
                     {"HOH", "A", 10, {"OH2", "H1", "H2"}},
                     {"TIP", "W", 11, {"OH2", "H1"}},
                     {"SOD", "W", 12, {"SOD"}},
                     {"MSE", "A", 3, {"SE", "HG"}},
                     {"HOH", "W", 13, {"OH2"}}});
}

bool AtomsAreCoveredWithoutGaps(const PDB& molecule) {
  int next = 0;
  for (int residue = 0; residue < molecule.numResidues; ++residue) {
    if (molecule.residueFirstAtoms[residue] != next) return false;
    next = molecule.residueLastAtoms[residue] + 1;
  }
  return next == molecule.numAtoms && next == static_cast<int>(molecule.atoms.size());
}

TEST(PDB_Remove, AResidueGoesWithItsAtomsAndItsLineInTheTables) {
  PDB molecule = Mixture();
  for (int i = 0; i < molecule.numAtoms; ++i) molecule.atoms[i].SN = 100 + i;
  EXPECT_EQ(OutputOf([&] { molecule.RemoveResidue(1); }), "");
  EXPECT_EQ(molecule.numAtoms, 14);
  EXPECT_EQ(molecule.numResidues, 7);
  EXPECT_EQ(molecule.atomNames, (Texts{"N", "HN", "CA", "C1", "1H", "OH2", "H1", "H2", "OH2", "H1",
                                       "SOD", "SE", "HG", "OH2"}));
  EXPECT_EQ(molecule.residueNames, (Texts{"ALA", "LIG", "HOH", "TIP", "SOD", "MSE", "HOH"}));
  EXPECT_EQ(molecule.residueChains, (Texts{"A", "B", "A", "W", "W", "A", "W"}));
  EXPECT_EQ(molecule.residueSeqs, (Numbers{1, 1, 10, 11, 12, 3, 13}));
  EXPECT_EQ(
      molecule.residueTypes,
      (std::vector<Residue::Type>{Residue::AminoAcid, Residue::Ligand, Residue::Water,
                                  Residue::Water, Residue::Ion, Residue::Ligand, Residue::Water}));
  EXPECT_EQ(molecule.residueFirstAtoms, (Numbers{0, 3, 5, 8, 10, 11, 13}));
  EXPECT_EQ(molecule.residueLastAtoms, (Numbers{2, 4, 7, 9, 10, 12, 13}));
  // Nothing is renumbered.
  EXPECT_EQ(molecule.atoms[2].SN, 102);
  EXPECT_EQ(molecule.atoms[3].SN, 106);
  EXPECT_EQ(molecule.atoms[3].Name, "C1");
  EXPECT_EQ(molecule.atoms[3].ResSeq, 1);
}

TEST(PDB_Remove, AResidueOutOfRangeIsPassedOverInSilence) {
  PDB molecule = Mixture();
  const std::string before = Describe(molecule);
  EXPECT_EQ(OutputOf([&] {
              for (const int residue : {-1, INT_MIN, molecule.numResidues, INT_MAX}) {
                molecule.RemoveResidue(residue);
              }
            }),
            "");
  EXPECT_EQ(Describe(molecule), before);
  PDB empty;
  empty.RemoveResidue(0);
  EXPECT_EQ(empty.numResidues, 0);
}

TEST(PDB_Remove, AResidueIsFoundByChainAndNumber) {
  PDB molecule = Mixture();
  molecule.RemoveResidue("B", 1);
  EXPECT_EQ(molecule.residueNames, (Texts{"ALA", "GLY", "HOH", "TIP", "SOD", "MSE", "HOH"}));
  // The first of several.
  PDB twice = MoleculeOf({{"ALA", "A", 1, {"N"}}, {"GLY", "B", 1, {"N"}}, {"PRO", "A", 1, {"N"}}});
  twice.RemoveResidue("A", 1);
  EXPECT_EQ(twice.residueNames, (Texts{"GLY", "PRO"}));
}

TEST(PDB_Remove, AResidueThatIsNotThereEndsTheRun) {
  PDB molecule = Mixture();
  EXPECT_EQ(MessageOf([&] { molecule.RemoveResidue("A", 99); }),
            "Error occurs: Cannot find the residue 99 in chain A.");
  EXPECT_EQ(MessageOf([&] { molecule.RemoveResidue("C", 1); }),
            "Error occurs: Cannot find the residue 1 in chain C.");
  EXPECT_EQ(MessageOf([&] { molecule.RemoveResidue("b", 1); }),
            "Error occurs: Cannot find the residue 1 in chain b.");
  EXPECT_EQ(MessageOf([] { PDB().RemoveResidue("", -5); }),
            "Error occurs: Cannot find the residue -5 in chain .");
}

TEST(PDB_Remove, AChainGoesWhereverItsResiduesStand) {
  PDB molecule = Mixture();
  EXPECT_EQ(molecule.RemoveResiduesByChain("A"), 4);
  EXPECT_EQ(molecule.residueNames, (Texts{"LIG", "TIP", "SOD", "HOH"}));
  EXPECT_EQ(molecule.atomNames, (Texts{"C1", "1H", "OH2", "H1", "SOD", "OH2"}));
  EXPECT_EQ(molecule.residueFirstAtoms, (Numbers{0, 2, 4, 5}));
  EXPECT_EQ(molecule.residueLastAtoms, (Numbers{1, 3, 4, 5}));
  EXPECT_EQ(molecule.numAtoms, 6);
}

TEST(PDB_Remove, ChainsAreComparedWithTheirCase) {
  PDB molecule = Mixture();
  const std::string before = Describe(molecule);
  EXPECT_EQ(molecule.RemoveResiduesByChain("a"), 0);
  EXPECT_EQ(molecule.RemoveResiduesByChain(""), 0);
  EXPECT_EQ(molecule.RemoveResiduesByChain("AW"), 0);
  EXPECT_EQ(Describe(molecule), before);
}

TEST(PDB_Remove, AllResiduesCanGo) {
  PDB molecule = Mixture();
  EXPECT_EQ(molecule.RemoveResiduesByChain("A"), 4);
  EXPECT_EQ(molecule.RemoveResiduesByChain("B"), 1);
  EXPECT_EQ(molecule.RemoveResiduesByChain("W"), 3);
  EXPECT_EQ(molecule.numAtoms, 0);
  EXPECT_EQ(molecule.numResidues, 0);
  EXPECT_TRUE(molecule.atoms.empty());
  EXPECT_TRUE(molecule.atomNames.empty());
  EXPECT_TRUE(molecule.residueTypes.empty());
  EXPECT_TRUE(molecule.residueSeqs.empty());
  EXPECT_TRUE(molecule.residueChains.empty());
  EXPECT_TRUE(molecule.residueNames.empty());
  EXPECT_TRUE(molecule.residueFirstAtoms.empty());
  EXPECT_TRUE(molecule.residueLastAtoms.empty());
  EXPECT_EQ(molecule.RemoveResiduesByChain("A"), 0);
  EXPECT_EQ(molecule.RemoveHydrogens(), 0);
}

TEST(PDB_Remove, WatersOfAllNamesAreCountedByResiduesAndNamedOnce) {
  PDB molecule = Mixture();
  Names names = {"before"};
  EXPECT_EQ(molecule.RemoveWaters(names), 3);
  EXPECT_EQ(names, (Names{"HOH", "TIP"}));
  EXPECT_EQ(molecule.residueNames, (Texts{"ALA", "GLY", "LIG", "SOD", "MSE"}));
  EXPECT_TRUE(AtomsAreCoveredWithoutGaps(molecule));
}

TEST(PDB_Remove, IonsAndLigandsGoByTheirKind) {
  PDB molecule = Mixture();
  Names names;
  EXPECT_EQ(molecule.RemoveIons(names), 1);
  EXPECT_EQ(names, Names{"SOD"});
  // A modified amino acid is a ligand like all that is unknown.
  EXPECT_EQ(molecule.RemoveLigands(names), 2);
  EXPECT_EQ(names, (Names{"LIG", "MSE"}));
  EXPECT_EQ(molecule.residueNames, (Texts{"ALA", "GLY", "HOH", "TIP", "HOH"}));
  EXPECT_EQ(molecule.RemoveResiduesByType(Residue::AminoAcid, names), 2);
  EXPECT_EQ(names, (Names{"ALA", "GLY"}));
}

TEST(PDB_Remove, TheKindInTheTablesDecidesAndNotTheName) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N"}}, {"HOH", "A", 2, {"O"}}});
  std::swap(molecule.residueNames[0], molecule.residueNames[1]);
  Names names;
  EXPECT_EQ(molecule.RemoveWaters(names), 1);
  EXPECT_EQ(names, Names{"ALA"});
  EXPECT_EQ(molecule.atomNames, Texts{"N"});
}

TEST(PDB_Remove, TheListOfNamesIsEmptiedAlsoWhenNothingIsRemoved) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N"}}});
  const std::string before = Describe(molecule);
  for (const auto& remove : {&PDB::RemoveIons, &PDB::RemoveWaters, &PDB::RemoveLigands}) {
    Names names = {"old"};
    EXPECT_EQ((molecule.*remove)(names), 0);
    EXPECT_EQ(names, Names{});
  }
  EXPECT_EQ(Describe(molecule), before);
  Names names = {"old"};
  EXPECT_EQ(PDB().RemoveWaters(names), 0);
  EXPECT_EQ(names, Names{});
}

TEST(PDB_Remove, HydrogensAreKnownByTheFirstLetterOfTheirName) {
  PDB molecule = Mixture();
  // Neither the element counts nor what the atom may be: "HG" goes, and "1H" stays.
  molecule.atoms[0].Element = "H";
  molecule.atoms[1].Element = "O";
  EXPECT_EQ(molecule.RemoveHydrogens(), 7);
  EXPECT_EQ(molecule.atomNames,
            (Texts{"N", "CA", "N", "C1", "1H", "OH2", "OH2", "SOD", "SE", "OH2"}));
  EXPECT_EQ(molecule.numAtoms, 10);
  EXPECT_EQ(molecule.numResidues, 8);
  EXPECT_EQ(molecule.residueFirstAtoms, (Numbers{0, 2, 3, 5, 6, 7, 8, 9}));
  EXPECT_EQ(molecule.residueLastAtoms, (Numbers{1, 2, 4, 5, 6, 7, 8, 9}));
  EXPECT_TRUE(AtomsAreCoveredWithoutGaps(molecule));
  EXPECT_EQ(molecule.atoms[3].Name, "C1");
  EXPECT_EQ(molecule.RemoveHydrogens(), 0);
}

TEST(PDB_Remove, AWaterKeepsItsOxygenAlone) {
  PDB molecule = MoleculeOf({{"HOH", "A", 1, {"H1", "O", "H2"}}});
  EXPECT_EQ(molecule.RemoveHydrogens(), 2);
  EXPECT_EQ(molecule.atomNames, Texts{"O"});
  EXPECT_EQ(molecule.residueFirstAtoms, Numbers{0});
  EXPECT_EQ(molecule.residueLastAtoms, Numbers{0});
}

TEST(PDB_Remove, AnEmptyNameIsNoHydrogen) {
  PDB molecule = MoleculeOf({{"LIG", "A", 1, {"", "h", "H"}}});
  EXPECT_EQ(molecule.RemoveHydrogens(), 1);
  EXPECT_EQ(molecule.atomNames, (Texts{"", "h"}));
}

TEST(PDB_Remove, AResidueOfHydrogensAloneStaysInTheTables) {
  PDB molecule =
      MoleculeOf({{"HYD", "A", 1, {"H1", "H2"}}, {"ALA", "A", 2, {"N"}}, {"HYD", "A", 3, {"H1"}}});
  EXPECT_EQ(molecule.RemoveHydrogens(), 3);
  EXPECT_EQ(molecule.numResidues, 3);
  EXPECT_EQ(molecule.residueFirstAtoms, (Numbers{0, 0, 1}));
  EXPECT_EQ(molecule.residueLastAtoms, (Numbers{-1, 0, 0}));
  EXPECT_TRUE(AtomsAreCoveredWithoutGaps(molecule));
  // It goes on being counted, and goes without taking atoms along.
  EXPECT_NE(OutputOf([&] { molecule.Report(); }).find("Number of ligands:       2\n"),
            std::string::npos);
  Names names;
  EXPECT_EQ(molecule.RemoveLigands(names), 2);
  EXPECT_EQ(molecule.residueNames, Texts{"ALA"});
  EXPECT_EQ(molecule.atomNames, Texts{"N"});
  EXPECT_EQ(molecule.residueFirstAtoms, Numbers{0});
  EXPECT_EQ(molecule.residueLastAtoms, Numbers{0});
}

TEST(PDB_Remove, AnAtomThatNoResidueHoldsIsTakenFromTheFirst) {
  PDB molecule = MoleculeOf({{"ALA", "A", 1, {"N", "CA"}}, {"GLY", "A", 2, {"N", "HA", "CA"}}});
  // As behind a merge, which leaves the tables alone.
  molecule.MergePDB(MoleculeOf({{"HOH", "W", 1, {"O", "H1", "H2"}}}), /*with_topology=*/false);
  EXPECT_EQ(molecule.RemoveHydrogens(), 3);
  EXPECT_EQ(molecule.numAtoms, 5);
  EXPECT_EQ(molecule.residueFirstAtoms, (Numbers{0, 0}));
  EXPECT_EQ(molecule.residueLastAtoms, (Numbers{-1, 1}));
}

TEST(PDB_Remove, WithoutResidueTablesOnlyAtomsGo) {
  PDB molecule = Mixture();
  PDB bare;
  bare.atoms = molecule.atoms;
  EXPECT_EQ(bare.RemoveHydrogens(), 7);
  EXPECT_EQ(bare.atoms.size(), 10u);
  bare.DeleteAtom(0);
  EXPECT_EQ(bare.atoms.size(), 9u);
  EXPECT_EQ(bare.numResidues, 0);
  EXPECT_EQ(PDB().RemoveHydrogens(), 0);
}

TEST(PDB_Remove, TheTopologyIsLeftAloneByAllButTheDeletionOfAnAtom) {
  testing_support::RandomChemistry chemistry(3);
  PDB molecule = Mixture();
  chemistry.AddTopology(molecule);
  const PDB before = molecule;
  Names names;
  molecule.RemoveResidue(0);
  molecule.RemoveWaters(names);
  molecule.RemoveResiduesByChain("B");
  molecule.RemoveHydrogens();
  EXPECT_LT(molecule.atoms.size(), before.atoms.size());
  EXPECT_EQ(molecule.tmpAtoms, before.tmpAtoms);
  EXPECT_EQ(molecule.tmpBonds, before.tmpBonds);
  EXPECT_EQ(molecule.tmpImpropers, before.tmpImpropers);
  EXPECT_EQ(molecule.tmpCmaps, before.tmpCmaps);
  EXPECT_EQ(molecule.topology.GetAtoms(), before.topology.GetAtoms());
  EXPECT_EQ(molecule.topology.GetAngles(), before.topology.GetAngles());
}

// Ethane's heavy atoms with one hydrogen, and a single ion behind it, bonded from head to tail.
PDB Chain() {
  PDB molecule = MoleculeOf(
      {{"ETH", "A", 1, {"H", "C1"}}, {"ETH", "A", 2, {"C2"}}, {"SOD", "A", 3, {"SOD", "X"}}});
  for (const std::string& name : molecule.atomNames) {
    MolecularMechanicsTopology::Atom atom;
    atom.name = name;
    molecule.tmpAtoms.push_back(atom);
  }
  molecule.tmpBonds.push_back({0, 1});
  molecule.tmpBonds.push_back({1, 2});
  molecule.tmpBonds.push_back({2, 3});
  molecule.tmpBonds.push_back({3, 4});
  molecule.tmpImpropers.push_back({0, 1, 2, 3});
  molecule.tmpImpropers.push_back({4, 3, 1, 0});
  molecule.tmpCmaps.push_back({1, 2, 3, 4});
  molecule.tmpCmaps.push_back({4, 3, 1, 0});
  molecule.topology.Build(molecule.tmpAtoms, molecule.tmpBonds, molecule.tmpImpropers,
                          molecule.tmpCmaps);
  return molecule;
}

TEST(PDB_Remove, ADeletedAtomTakesItsTermsAlong) {
  PDB molecule = Chain();
  EXPECT_EQ(OutputOf([&] { molecule.DeleteAtom(0); }), "");
  EXPECT_EQ(molecule.numAtoms, 4);
  EXPECT_EQ(molecule.atomNames, (Texts{"C1", "C2", "SOD", "X"}));
  EXPECT_EQ(molecule.atoms[0].Name, "C1");
  EXPECT_EQ(molecule.tmpAtoms[0].name, "C1");
  EXPECT_EQ(molecule.residueFirstAtoms, (Numbers{0, 1, 2}));
  EXPECT_EQ(molecule.residueLastAtoms, (Numbers{0, 1, 3}));
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{0, 1}, {1, 2}, {2, 3}}));
  EXPECT_EQ(AsLists(molecule.tmpImpropers), Lists{});
  EXPECT_EQ(AsLists(molecule.tmpCmaps), (Lists{{0, 1, 2, 3}}));
  EXPECT_EQ(molecule.topology.GetAtoms(), molecule.tmpAtoms);
  EXPECT_EQ(AsLists(molecule.topology.GetBonds()), AsLists(molecule.tmpBonds));
  // The derived lists are made anew.
  EXPECT_EQ(AsLists(molecule.topology.GetAngles()), (Lists{{0, 1, 2}, {1, 2, 3}}));
  EXPECT_EQ(AsLists(molecule.topology.GetDihedrals()), (Lists{{0, 1, 2, 3}}));
}

TEST(PDB_Remove, AResidueWhoseOnlyAtomIsDeletedStaysInTheTables) {
  PDB molecule = Chain();
  molecule.DeleteAtom(2);
  EXPECT_EQ(molecule.numResidues, 3);
  EXPECT_EQ(molecule.residueNames, (Texts{"ETH", "ETH", "SOD"}));
  EXPECT_EQ(molecule.residueFirstAtoms, (Numbers{0, 2, 2}));
  EXPECT_EQ(molecule.residueLastAtoms, (Numbers{1, 1, 3}));
  EXPECT_TRUE(AtomsAreCoveredWithoutGaps(molecule));
  EXPECT_EQ(AsLists(molecule.tmpBonds), (Lists{{0, 1}, {2, 3}}));
  EXPECT_EQ(AsLists(molecule.tmpImpropers), (Lists{{3, 2, 1, 0}}));
  // What stands there now belongs to the next residue.
  molecule.DeleteAtom(2);
  EXPECT_EQ(molecule.residueLastAtoms, (Numbers{1, 1, 2}));
  EXPECT_EQ(molecule.atomNames, (Texts{"H", "C1", "X"}));
}

TEST(PDB_Remove, EveryAtomCanBeDeleted) {
  PDB molecule = Chain();
  while (!molecule.atoms.empty()) molecule.DeleteAtom(static_cast<int>(molecule.atoms.size()) - 1);
  EXPECT_EQ(molecule.numAtoms, 0);
  EXPECT_EQ(molecule.numResidues, 3);
  EXPECT_TRUE(molecule.tmpBonds.empty());
  EXPECT_TRUE(molecule.topology.GetAtoms().empty());
  EXPECT_EQ(MessageOf([&] { molecule.DeleteAtom(0); }), "Error occurs: Invalid atom index: 1.");
}

TEST(PDB_Remove, ADeletedAtomMustBeThere) {
  PDB molecule = Chain();
  EXPECT_EQ(MessageOf([&] { molecule.DeleteAtom(-1); }), "Error occurs: Invalid atom index: 0.");
  EXPECT_EQ(MessageOf([&] { molecule.DeleteAtom(5); }), "Error occurs: Invalid atom index: 6.");
  EXPECT_EQ(MessageOf([&] { molecule.DeleteAtom(INT_MAX); }),
            "Error occurs: Invalid atom index: 2147483648.");
  EXPECT_EQ(MessageOf([&] { molecule.DeleteAtom(INT_MIN); }),
            "Error occurs: Invalid atom index: -2147483647.");
}

TEST(PDB_Remove, ADeletedAtomNeedsATopologyOfTheMoleculesSizeOrNone) {
  PDB molecule = Chain();
  molecule.tmpAtoms.pop_back();
  EXPECT_EQ(MessageOf([&] { molecule.DeleteAtom(4); }),
            "Error occurs: The topology has 4 atoms, but the molecule has 5.");
  for (int i = 0; i < 2; ++i) molecule.tmpAtoms.emplace_back();
  EXPECT_EQ(MessageOf([&] { molecule.DeleteAtom(4); }),
            "Error occurs: The topology has 6 atoms, but the molecule has 5.");
  PDB bare = Mixture();
  bare.DeleteAtom(3);
  EXPECT_EQ(bare.residueLastAtoms[1], 4);
  EXPECT_TRUE(bare.topology.GetAtoms().empty());
}

// Removal as one would write it first: each atom and each residue is erased on its own, and what
// follows is shifted.
class PlainRemoval {
 public:
  explicit PlainRemoval(PDB molecule) : molecule_(std::move(molecule)) {}

  void RemoveResidue(int residue) {
    if (residue < 0 || residue >= molecule_.numResidues) return;
    int erased = 0;
    for (int i = molecule_.residueLastAtoms[residue]; i >= molecule_.residueFirstAtoms[residue];
         --i) {
      // Tables that say more than there is must do no harm.
      if (i < 0 || i >= static_cast<int>(molecule_.atoms.size())) continue;
      EraseAtom(i);
      ++erased;
    }
    for (int later = residue + 1; later < molecule_.numResidues; ++later) Shift(later, erased);
    EraseAt(residue, molecule_.residueTypes);
    EraseAt(residue, molecule_.residueSeqs);
    EraseAt(residue, molecule_.residueChains);
    EraseAt(residue, molecule_.residueNames);
    EraseAt(residue, molecule_.residueFirstAtoms);
    EraseAt(residue, molecule_.residueLastAtoms);
    --molecule_.numResidues;
    molecule_.numAtoms = static_cast<int>(molecule_.atoms.size());
  }

  int RemoveResiduesByChain(const std::string& chain) {
    int count = 0;
    for (int residue = 0; residue < molecule_.numResidues;) {
      if (molecule_.residueChains[residue] == chain) {
        RemoveResidue(residue);
        ++count;
      } else {
        ++residue;
      }
    }
    return count;
  }

  int RemoveResiduesByType(Residue::Type type, Names& names) {
    names.clear();
    int count = 0;
    for (int residue = 0; residue < molecule_.numResidues;) {
      if (molecule_.residueTypes[residue] == type) {
        names.insert(molecule_.residueNames[residue]);
        RemoveResidue(residue);
        ++count;
      } else {
        ++residue;
      }
    }
    return count;
  }

  int RemoveHydrogens() {
    int count = 0;
    for (int i = 0; i < static_cast<int>(molecule_.atoms.size());) {
      const std::string& name = molecule_.atoms[i].Name;
      if (name.empty() || name[0] != 'H') {
        ++i;
        continue;
      }
      const int owner = Owner(i);
      EraseAtom(i);
      --molecule_.numAtoms;
      TakeFrom(owner);
      ++count;
    }
    return count;
  }

  void DeleteAtom(int atom) {
    PlainPatching topology(molecule_);
    topology.ModifyTmpTopolUponDeletingAtom(atom);
    molecule_ = topology.Result();
    const int owner = Owner(atom);
    EraseAtom(atom);
    --molecule_.numAtoms;
    TakeFrom(owner);
    molecule_.topology.Build(molecule_.tmpAtoms, molecule_.tmpBonds, molecule_.tmpImpropers,
                             molecule_.tmpCmaps);
  }

  const PDB& molecule() const { return molecule_; }

 private:
  template <typename List>
  static void EraseAt(int index, List& list) {
    if (index < static_cast<int>(list.size())) list.erase(list.begin() + index);
  }

  void EraseAtom(int index) {
    EraseAt(index, molecule_.atomNames);
    EraseAt(index, molecule_.atoms);
  }

  void Shift(int residue, int by) {
    molecule_.residueFirstAtoms[residue] -= by;
    molecule_.residueLastAtoms[residue] -= by;
  }

  int Owner(int atom) const {
    for (int residue = 0; residue < molecule_.numResidues; ++residue) {
      if (molecule_.residueFirstAtoms[residue] <= atom &&
          molecule_.residueLastAtoms[residue] >= atom) {
        return residue;
      }
    }
    return 0;
  }

  void TakeFrom(int owner) {
    if (molecule_.numResidues == 0) return;
    for (int later = owner + 1; later < molecule_.numResidues; ++later) Shift(later, 1);
    --molecule_.residueLastAtoms[owner];
  }

  PDB molecule_;
};

// Random molecules and random removals from them.
class RandomRemoval {
 public:
  explicit RandomRemoval(unsigned seed) : engine_(seed) {}

  int Below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }

  PDB Molecule() {
    std::vector<testing_support::NamedResidue> residues;
    const int count = Below(12);
    for (int i = 0; i < count; ++i) {
      Texts atoms;
      const int size = 1 + Below(4);
      for (int k = 0; k < size; ++k) atoms.push_back(OneOf(kAtoms));
      residues.push_back({OneOf(kResidues), OneOf(kChains), 1 + i, atoms});
    }
    return MoleculeOf(residues);
  }

  // Sets up the tables as no reader does.
  void MakeOdd(PDB& molecule) {
    const int changes = 1 + Below(3);
    for (int change = 0; change < changes; ++change) {
      switch (Below(4)) {
        case 0: {  // Atoms that the tables do not know.
          const PDB other = Molecule();
          molecule.MergePDB(other, /*with_topology=*/false);
          break;
        }
        case 1:  // A run that is shorter: a gap, or a residue without atoms.
          if (molecule.numResidues > 0) {
            --molecule.residueLastAtoms[Below(molecule.numResidues)];
          }
          break;
        case 2:
          if (molecule.numResidues > 0) {
            ++molecule.residueFirstAtoms[Below(molecule.numResidues)];
          }
          break;
        default:  // Fewer atoms than the tables say.
          if (!molecule.atoms.empty()) {
            molecule.atoms.pop_back();
            molecule.numAtoms -= Below(2);
          }
      }
    }
  }

  // Runs that overlap, or lie in another order than their residues.
  void MakeUnordered(PDB& molecule) {
    if (molecule.numResidues == 0) return;
    const int one = Below(molecule.numResidues);
    const int other = Below(molecule.numResidues);
    if (Below(2) == 0) {
      std::swap(molecule.residueFirstAtoms[one], molecule.residueFirstAtoms[other]);
      std::swap(molecule.residueLastAtoms[one], molecule.residueLastAtoms[other]);
    } else {
      molecule.residueFirstAtoms[one] -= Below(4);
      molecule.residueLastAtoms[other] += Below(4);
    }
  }

  // The same random removal from both. Returns what it did, and its result.
  std::pair<std::string, std::string> Remove(PDB& molecule, PlainRemoval& plain) {
    Names names;
    Names plain_names;
    switch (Below(4)) {
      case 0: {
        const std::string chain = OneOf(kChains);
        return {std::to_string(molecule.RemoveResiduesByChain(chain)),
                std::to_string(plain.RemoveResiduesByChain(chain))};
      }
      case 1: {
        const auto type = static_cast<Residue::Type>(Below(5));
        std::string result = std::to_string(molecule.RemoveResiduesByType(type, names));
        std::string expected = std::to_string(plain.RemoveResiduesByType(type, plain_names));
        for (const std::string& name : names) result += " " + name;
        for (const std::string& name : plain_names) expected += " " + name;
        return {result, expected};
      }
      case 2:
        return {std::to_string(molecule.RemoveHydrogens()),
                std::to_string(plain.RemoveHydrogens())};
      default: {
        const int residue = Below(14) - 1;
        molecule.RemoveResidue(residue);
        plain.RemoveResidue(residue);
        return {};
      }
    }
  }

 private:
  const std::string& OneOf(const Texts& list) {
    return list[static_cast<std::size_t>(Below(static_cast<int>(list.size())))];
  }

  inline static const Texts kAtoms = {"N", "CA", "H", "H1", "HG", "1HB", "", "O"};
  inline static const Texts kResidues = {"ALA", "GUA", "HOH", "TIP", "SOD", "LIG"};
  inline static const Texts kChains = {"A", "B", "a", "SEG"};
  std::mt19937 engine_;
};

// Several removals in a row, so that the later ones find residues without atoms.
void CompareWithPlainRemoval(RandomRemoval& random, const PDB& start) {
  PDB molecule = start;
  PlainRemoval plain(start);
  const int steps = 1 + random.Below(5);
  for (int step = 0; step < steps; ++step) {
    const auto [result, expected] = random.Remove(molecule, plain);
    ASSERT_EQ(result, expected);
    ASSERT_EQ(Describe(molecule), Describe(plain.molecule()));
  }
}

TEST(PDB_Remove, RandomRemovalsAreThoseOfErasingOneByOne) {
  for (unsigned seed = 0; seed < 4000; ++seed) {
    SCOPED_TRACE(seed);
    RandomRemoval random(seed);
    const PDB start = random.Molecule();
    ASSERT_NO_FATAL_FAILURE(CompareWithPlainRemoval(random, start));
  }
}

TEST(PDB_Remove, RandomRemovalsAreTheSameWithOddTables) {
  for (unsigned seed = 0; seed < 6000; ++seed) {
    SCOPED_TRACE(seed);
    RandomRemoval random(seed);
    PDB start = random.Molecule();
    random.MakeOdd(start);
    if (seed % 3 == 0) random.MakeUnordered(start);
    ASSERT_NO_FATAL_FAILURE(CompareWithPlainRemoval(random, start));
  }
}

TEST(PDB_Remove, RandomDeletionsAreThoseOfThePlainWay) {
  for (unsigned seed = 0; seed < 1000; ++seed) {
    SCOPED_TRACE(seed);
    RandomRemoval random(seed);
    testing_support::RandomChemistry chemistry(seed);
    PDB molecule = random.Molecule();
    if (seed % 10 != 0) chemistry.AddTopology(molecule);
    PlainRemoval plain(molecule);
    for (int k = 0; k < 3 && !molecule.atoms.empty(); ++k) {
      const int atom = random.Below(static_cast<int>(molecule.atoms.size()));
      molecule.DeleteAtom(atom);
      plain.DeleteAtom(atom);
      ASSERT_EQ(Describe(molecule), Describe(plain.molecule()));
    }
  }
}

TEST(PDB_Remove, ALargeMoleculeIsEmptied) {
  PDB molecule;
  constexpr int kAtoms = 300000;
  for (int i = 0; i < kAtoms; ++i) {
    PDB::Atom& atom = molecule.atoms.emplace_back();
    atom.Name = i % 3 == 0 ? "OH2" : "H1";
    atom.ResName = i / 3 % 2 == 0 ? "HOH" : "LIG";
    atom.ResSeq = i / 3;
    atom.ChainID = "W";
  }
  molecule.Analyze();
  EXPECT_EQ(molecule.RemoveHydrogens(), kAtoms / 3 * 2);
  Names names;
  EXPECT_EQ(molecule.RemoveWaters(names), kAtoms / 6);
  EXPECT_TRUE(AtomsAreCoveredWithoutGaps(molecule));
  EXPECT_EQ(molecule.RemoveResiduesByChain("W"), kAtoms / 6);
  EXPECT_EQ(molecule.numAtoms, 0);
}

}  // namespace
}  // namespace orvane

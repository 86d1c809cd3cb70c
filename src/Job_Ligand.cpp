// The mode "ligand": a force-field description of a small molecule or a molecular crystal, guessed
// from its coordinates alone.
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "Elements.h"
#include "Job.h"
#include "MolecularMechanicsTopology.h"
#include "PDB.h"
#include "PeriodicCell.h"
#include "Website.h"

namespace orvane {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

struct Lattice {
  Vec3D t1;
  Vec3D t2;
  Vec3D t3;
};

// Six numbers are the lengths and angles of the cell, nine its vectors.
Lattice ReadLattice(const std::vector<double>& pbc) {
  Lattice lattice;
  if (pbc.size() == 6) {
    std::printf("A:     %15.8f Angstrom\n", pbc[0]);
    std::printf("B:     %15.8f Angstrom\n", pbc[1]);
    std::printf("C:     %15.8f Angstrom\n", pbc[2]);
    std::printf("Alpha: %15.8f Degree\n", pbc[3]);
    std::printf("Beta:  %15.8f Degree\n", pbc[4]);
    std::printf("Gamma: %15.8f Degree\n", pbc[5]);
    CalcCell(pbc[0], pbc[1], pbc[2], pbc[3] * kRadiansPerDegree, pbc[4] * kRadiansPerDegree,
             pbc[5] * kRadiansPerDegree, lattice.t1, lattice.t2, lattice.t3);
  } else {
    lattice.t1 = Vec3D(pbc[0], pbc[1], pbc[2]);
    lattice.t2 = Vec3D(pbc[3], pbc[4], pbc[5]);
    lattice.t3 = Vec3D(pbc[6], pbc[7], pbc[8]);
  }
  return lattice;
}

void PrintVector(const char* label, const Vec3D& vector) {
  std::printf("%s: %15.8f %15.8f %15.8f\n", label, vector.x, vector.y, vector.z);
}

// Moves the atoms so that molecules are whole and near each other; returns the lattice.
Lattice ApplyLattice(const CmdArgs& args, PDB& molecule) {
  std::puts("PBC is provided:");
  const Lattice lattice = ReadLattice(args.pbc);
  PrintVector("T1", lattice.t1);
  PrintVector("T2", lattice.t2);
  PrintVector("T3", lattice.t3);
  const std::vector<int>& cells = args.superCells;
  std::printf("Super cells: %d %d %d\n", cells[0], cells[1], cells[2]);
  // A block that is too large ends the run here, and not after all the work on one cell.
  CountSuperCells(molecule.numAtoms, cells[0], cells[1], cells[2]);
  molecule.AdjustCoordsToGetFewestFragmentsInCell(lattice.t1, lattice.t2, lattice.t3);
  molecule.AdjustCoordsToMakeFragmentClosest(lattice.t1, lattice.t2, lattice.t3);
  return lattice;
}

// Symbols that stand for no element, each once. "X" is the symbol of no element by agreement.
std::set<std::string> FindUnknownElements(const PDB& molecule) {
  const std::vector<PeriodicTable::ElementInformation> elements = FindElements(molecule.atoms);
  std::set<std::string> symbols;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const std::string& symbol = molecule.atoms[i].Element;
    if (elements[i].atomic_number == 0 && symbol != elements[i].symbol) symbols.insert(symbol);
  }
  return symbols;
}

// A damaged file can hold any number of symbols that stand for nothing: a few of them tell enough.
void WarnOfUnknownElements(const PDB& molecule) {
  constexpr std::size_t kMostNamed = 10;
  const std::set<std::string> symbols = FindUnknownElements(molecule);
  if (symbols.empty()) return;
  std::string list;
  std::size_t named = 0;
  for (const std::string& symbol : symbols) {
    if (named == kMostNamed) break;
    list += (named == 0 ? "\"" : ", \"") + symbol + "\"";
    ++named;
  }
  if (symbols.size() > named) list += " and " + std::to_string(symbols.size() - named) + " more";
  std::printf("Warning: Atoms of unknown elements have no known radius and type: %s.\n",
              list.c_str());
}

void WriteParameters(const CmdArgs& args, const PDB& molecule) {
  const std::string prm_filename = args.outPrefix + "-naive.prm";
  std::printf("Write naive parameters: %s\n", prm_filename.c_str());
  molecule.WriteNaiveParams(prm_filename);
}

// The molecule becomes the super cell; its topology goes on describing one cell. Returns the number
// of cells.
int BuildSuperCells(const CmdArgs& args, const Lattice& lattice, PDB& molecule) {
  const std::vector<int>& cells = args.superCells;
  const int copies = CountSuperCells(molecule.numAtoms, cells[0], cells[1], cells[2]);
  molecule.BuildSuperCells(lattice.t1, lattice.t2, lattice.t3, cells[0], cells[1], cells[2]);
  return copies;
}

// No bond crosses from one cell to the next.
MolecularMechanicsTopology TopologyOfCells(const PDB& molecule, int copies) {
  MolecularMechanicsTopology merged;
  merged.Merge(molecule.GetTopology(), copies);
  return merged;
}

}  // namespace

void Job::DoLigand(const CmdArgs& args) {
  PDB molecule;
  ReadMolecule(args, molecule);

  const bool is_periodic = !args.pbc.empty();
  Lattice lattice;
  if (is_periodic) {
    lattice = ApplyLattice(args, molecule);
  } else {
    std::puts("No PBC is applied.");
  }
  std::puts("Current state:");
  molecule.Report();

  std::puts("Guess topology and parameters ...");
  WarnOfUnknownElements(molecule);
  molecule.GuessTopology();
  std::puts(
      "Warning: Impropers cannot be generated automatically. You have to add them manually if "
      "necessary.");
  std::puts("Guess topology and parameters done.");

  WriteMolecule(args, molecule);
  WriteParameters(args, molecule);
  ReportTotalCharge(molecule.GetTopology());
  std::puts(
      "Warning: Please pay attention to the charges in PSF file. You may probably need to "
      "recalculate them.");
  std::printf("More information: %s/doc/tutorial-2.html\n", kWebsite);

  if (is_periodic) {
    const int copies = BuildSuperCells(args, lattice, molecule);
    WritePDB(args.outPrefix + "-sc.pdb", molecule);
    WritePSF(args.outPrefix + "-sc.psf", TopologyOfCells(molecule, copies));
  }
}

}  // namespace orvane

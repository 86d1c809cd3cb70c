// A molecule's topology without templates: guessed from its elements and coordinates.
#include <algorithm>
#include <cstddef>
#include <set>
#include <utility>

#include "AtomTyper.h"
#include "BondRule.h"
#include "BondSearch.h"
#include "Elements.h"
#include "PDB.h"
#include "RingClasses.h"
#include "udgcd.h"

namespace orvane {

namespace {

using BondGraph = boost::adjacency_list<boost::vecS, boost::vecS, boost::undirectedS>;
using Vertex = unsigned long;

// What an atom has before its type is looked up, and keeps where that is not known.
constexpr double kUnknownCharge = -1.0;

}  // namespace

void PDB::BuildCycles(std::vector<std::vector<int>>& cycles) const {
  EndIfBondLeavesAtoms(tmpBonds, static_cast<std::size_t>(numAtoms));
  BondGraph graph(static_cast<std::size_t>(numAtoms));
  std::set<std::pair<int, int>> known;
  for (std::size_t i = 0; i < tmpBonds.size(); ++i) {
    const int first = tmpBonds[i][0];
    const int second = tmpBonds[i][1];
    if (first == second || !known.insert(std::minmax(first, second)).second) continue;
    boost::add_edge(static_cast<Vertex>(first), static_cast<Vertex>(second), graph);
  }
  cycles.clear();
  for (const std::vector<Vertex>& cycle : udgcd::FindCycles<BondGraph, Vertex>(graph)) {
    std::vector<int>& members = cycles.emplace_back();
    for (const Vertex vertex : cycle) members.push_back(static_cast<int>(vertex));
  }
}

void PDB::GuessTopology() {
  const std::vector<PeriodicTable::ElementInformation> infos = FindElements(atoms);
  tmpAtoms.clear();
  tmpAtoms.reserve(atoms.size());
  std::vector<int> elements;
  elements.reserve(atoms.size());
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    MolecularMechanicsTopology::Atom& atom = tmpAtoms.emplace_back();
    atom.name = atoms[i].Name;
    atom.charge = kUnknownCharge;
    atom.mass = infos[i].weight;
    atom.segment = atoms[i].ChainID;
    atom.residue_name = atoms[i].ResName;
    atom.residue_sn = atoms[i].ResSeq;
    elements.push_back(infos[i].atomic_number);
  }

  std::vector<Vec3D> coords;
  GetCoords(coords);
  FindBonds(coords, FindBondRadii(infos), tmpBonds);

  // The smallest members of the list of `BuildCycles`, which would take for ever on a cage.
  const std::vector<int> ring_sizes = FindRingClasses(numAtoms, tmpBonds);
  std::vector<std::string> types;
  AtomTyper().Type(elements, ring_sizes, tmpBonds, types);
  for (std::size_t i = 0; i < tmpAtoms.size(); ++i) tmpAtoms[i].type = types[i];

  tmpImpropers.clear();
  tmpCmaps.clear();
  topology.Build(tmpAtoms, tmpBonds, tmpImpropers, tmpCmaps);
  topology.AssignParams();
  // Made now and not when the first file needs them: where there is no room for them, the run must
  // end before it has written anything.
  topology.GetDihedrals();
}

}  // namespace orvane

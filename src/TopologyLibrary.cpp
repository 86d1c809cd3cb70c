// The residue templates and patches of the CHARMM topology files, and the masses of atom types.
#include "TopologyLibrary.h"

#include <cstdio>

#include "CHARMMTopology.h"
#include "RunStatus.h"

namespace orvane {

namespace {

constexpr const char* kStandardFiles[] = {"top_all36_prot.rtf", "top_all36_na.rtf"};

int PositionIn(const std::unordered_map<std::string, int>& positions, const std::string& name) {
  const auto found = positions.find(name);
  return found == positions.end() ? -1 : found->second;
}

}  // namespace

int TopologyLibrary::Residue::FindAtom(const std::string& atom) const {
  return PositionIn(atom_positions, atom);
}

const TopologyLibrary::InternalCoord* TopologyLibrary::Residue::FindTermEndingIn(
    const std::string& atom) const {
  const int position = PositionIn(terms_by_last_atom, atom);
  return position < 0 ? nullptr : &ics[position];
}

const TopologyLibrary::InternalCoord* TopologyLibrary::Residue::FindTermBeginningWith(
    const std::string& atom) const {
  const int position = PositionIn(terms_by_first_atom, atom);
  return position < 0 ? nullptr : &ics[position];
}

void TopologyLibrary::Residue::BuildLookups() {
  atom_positions.clear();
  terms_by_last_atom.clear();
  terms_by_first_atom.clear();
  // The first of several entries of one name stays: `emplace` does not replace.
  for (std::size_t i = 0; i < atom_names.size(); ++i) {
    atom_positions.emplace(atom_names[i], static_cast<int>(i));
  }
  for (std::size_t i = 0; i < ics.size(); ++i) {
    terms_by_last_atom.emplace(ics[i].atoms[3], static_cast<int>(i));
    terms_by_first_atom.emplace(ics[i].atoms[0], static_cast<int>(i));
  }
}

void TopologyLibrary::Build() {
  residues.clear();
  const std::string folder = RunStatus::GetProgramAbsolutePath();
  for (const char* file : kStandardFiles) {
    const std::string path = folder + file;
    std::printf(" Load topology: %s\n", path.c_str());
    CHARMMTopology::ReadTopologyFile(path, residues, masses);
  }
}

void TopologyLibrary::Build(const std::string& filename) {
  std::printf(" Load additional topology: %s\n", filename.c_str());
  CHARMMTopology::ReadTopologyFile(filename, residues, masses);
}

}  // namespace orvane

// Tells what kind of thing a residue name stands for.
#include "Residue.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace orvane {

namespace {

constexpr std::string_view kAminoAcids[] = {"ALA", "ARG", "ASN", "ASP", "CYS", "GLN", "GLU", "GLY",
                                            "HIS", "HSD", "HSE", "HSP", "ILE", "LEU", "LYS", "MET",
                                            "PHE", "PRO", "SER", "THR", "TRP", "TYR", "VAL"};

constexpr std::string_view kNucleicAcids[] = {"GUA", "ADE", "CYT", "THY", "URA",
                                              "DG",  "DA",  "DC",  "DT",  "DU"};

constexpr std::string_view kWaters[] = {"HOH", "WAT", "TIP"};

constexpr std::string_view kIons[] = {"SOD", "CLA", "POT", "MG", "CAL", "SO4", "NA"};

template <std::size_t size>
bool Contains(const std::string_view (&names)[size], const std::string& name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

}  // namespace

bool Residue::IsAminoAcid(const std::string& name) {
  return Contains(kAminoAcids, name);
}

bool Residue::IsNucleicAcid(const std::string& name) {
  return Contains(kNucleicAcids, name);
}

bool Residue::IsWater(const std::string& name) {
  return Contains(kWaters, name);
}

bool Residue::IsIon(const std::string& name) {
  return Contains(kIons, name);
}

Residue::Type Residue::IdentifyType(const std::string& name) {
  if (IsAminoAcid(name)) return AminoAcid;
  if (IsNucleicAcid(name)) return NucleicAcid;
  if (IsWater(name)) return Water;
  if (IsIon(name)) return Ion;
  return Ligand;
}

}  // namespace orvane

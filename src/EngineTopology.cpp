// A topology in the form that simulation engines read.
#include "EngineTopology.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <span>
#include <string_view>
#include <utility>

#include "Error.h"
#include "Parser.h"
#include "RunStatus.h"
#include "TextFile.h"

namespace orvane {

namespace {

using Atom = MolecularMechanicsTopology::Atom;
using Half = std::array<int, 4>;

// Which kind of term a message speaks of.
struct TermKind {
  const char* name;
  const TermList& terms;
};

void CheckIndices(const TermKind& kind, std::size_t atoms, const std::string& source) {
  const std::vector<int>& indices = kind.terms.flat();
  for (std::size_t i = 0; i < indices.size(); ++i) {
    const long long index = indices[i];
    if (index >= 0 && index < static_cast<long long>(atoms)) continue;
    RAVELO_FAIL("In the PSF file \"%s\", %s %d names atom %d, but there are %d atoms.", source,
                kind.name, i / static_cast<std::size_t>(kind.terms.degree()) + 1, index + 1, atoms);
  }
}

// The same term read from its other end is the same term: this is the direction for comparisons.
// But a whole cross-term has only one direction, since its two dihedrals must not change places;
// that its halves can be turned around is settled when they are joined.
std::vector<int> InOneDirection(const TermList& terms) {
  if (terms.degree() > 4) return terms.flat();
  std::vector<int> indices;
  indices.reserve(terms.flat().size());
  for (std::size_t i = 0; i < terms.size(); ++i) {
    const std::span<const int> term = terms[i];
    if (std::lexicographical_compare(term.rbegin(), term.rend(), term.begin(), term.end())) {
      indices.insert(indices.end(), term.rbegin(), term.rend());
    } else {
      indices.insert(indices.end(), term.begin(), term.end());
    }
  }
  return indices;
}

// Marks the terms that stand before with the same atoms. Sorting is what makes it n log n.
std::vector<bool> MarkRepeats(const TermList& terms) {
  const std::size_t degree = static_cast<std::size_t>(terms.degree());
  const std::vector<int> indices = InOneDirection(terms);
  const auto term = [&](std::size_t i) { return std::span(indices).subspan(i * degree, degree); };
  std::vector<std::size_t> order(terms.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    const auto [in_a, in_b] = std::ranges::mismatch(term(a), term(b));
    return in_a == term(a).end() ? a < b : *in_a < *in_b;
  });
  std::vector<bool> repeats(terms.size());
  for (std::size_t i = 1; i < order.size(); ++i) {
    repeats[order[i]] = std::ranges::equal(term(order[i - 1]), term(order[i]));
  }
  return repeats;
}

// The terms without those that have stood before.
TermList WithoutRepeats(const TermList& terms, std::size_t& repeats) {
  const std::vector<bool> is_repeat = MarkRepeats(terms);
  TermList kept(terms.degree());
  kept.reserve(terms.size());
  for (std::size_t i = 0; i < terms.size(); ++i) {
    if (!is_repeat[i]) kept.push_back(terms[i]);
  }
  repeats = terms.size() - kept.size();
  return kept;
}

// Makes angles and dihedrals as the bonds alone give them.
void RemakeAnglesAndDihedrals(EngineTopology& topology) {
  MolecularMechanicsTopology of_bonds;
  of_bonds.Build(topology.atoms, topology.bonds, TermList(4), TermList(4));
  topology.angles = of_bonds.GetAngles();
  topology.dihedrals = of_bonds.GetDihedrals();
}

bool IsHydrogen(const Atom& atom) {
  constexpr double kLightest = 0.5;
  constexpr double kHeaviest = 3.5;  // tritium included
  return atom.mass > kLightest && atom.mass < kHeaviest;
}

// Takes out the angles around hydrogens that are bonded to each other.
void LeaveOutHydrogenAngles(EngineTopology& topology) {
  std::vector<bool> bonded_to_hydrogen(topology.atoms.size());
  for (std::size_t i = 0; i < topology.bonds.size(); ++i) {
    const int first = topology.bonds[i][0];
    const int second = topology.bonds[i][1];
    if (first == second || !IsHydrogen(topology.atoms[first]) ||
        !IsHydrogen(topology.atoms[second])) {
      continue;
    }
    bonded_to_hydrogen[first] = true;
    bonded_to_hydrogen[second] = true;
  }
  TermList kept(3);
  kept.reserve(topology.angles.size());
  for (std::size_t i = 0; i < topology.angles.size(); ++i) {
    if (!bonded_to_hydrogen[topology.angles[i][1]]) kept.push_back(topology.angles[i]);
  }
  topology.hydrogen_angles = topology.angles.size() - kept.size();
  topology.angles = std::move(kept);
}

// A half as it stands and turned around.
std::array<Half, 2> BothDirections(std::span<const int> half) {
  return {Half{half[0], half[1], half[2], half[3]}, Half{half[3], half[2], half[1], half[0]}};
}

// Appends two halves as one term if they belong together.
bool Join(std::span<const int> first, std::span<const int> second, TermList& joined) {
  for (const Half& a : BothDirections(first)) {
    for (const Half& b : BothDirections(second)) {
      if (!std::equal(a.begin() + 1, a.end(), b.begin())) continue;
      joined.push_back({a[0], a[1], a[2], a[3], b[0], b[1], b[2], b[3]});
      return true;
    }
  }
  return false;
}

bool InSameResidue(const Atom& a, const Atom& b) {
  return a.residue_sn == b.residue_sn && a.residue_name == b.residue_name;
}

// One past the last atom of the residue that begins at `first`; a new segment is a new residue too
// if `segments_count`.
std::size_t EndOfResidue(const std::vector<Atom>& atoms, std::size_t first, bool segments_count) {
  std::size_t end = first + 1;
  while (end < atoms.size() && InSameResidue(atoms[end], atoms[first]) &&
         !(segments_count && atoms[end].segment != atoms[first].segment)) {
    ++end;
  }
  return end;
}

// Columns of an atom line. Each field but the numbers at the end is set off by a blank.
//
//   width   field
//   10      number, right
//   8       segment
//   8       residue number
//   8       residue name
//   8       atom name
//   6       atom type
//   14      charge, right, 6 decimals
//   14      mass, right, 4 decimals
//   8       0: the atom is free to move
constexpr int kIndexWidth = 10;
constexpr int kNameWidth = 8;
constexpr int kTypeWidth = 6;
constexpr int kRealWidth = 14;
// Sign, six digits, point and six decimals fill the 14 columns; a larger number could be rounded up
// to a seventh digit.
constexpr int kMostReal = 999999;

// What has to be said of an atom that does not fit: its number, and the file.
struct AtomPlace {
  std::size_t number;
  const std::string& path;
};

void CheckWidth(const char* field, const std::string& text, int width, const AtomPlace& place) {
  if (!text.empty() && text.size() <= static_cast<std::size_t>(width)) return;
  RAVELO_FAIL(
      "The %s \"%s\" of atom %d does not fit the PSF file \"%s\": it may have 1 to %d characters.",
      field, text, place.number, place.path, width);
}

void CheckReal(const char* field, double value, const AtomPlace& place) {
  if (std::fabs(value) <= kMostReal) return;
  RAVELO_FAIL("The %s of atom %d does not fit the PSF file \"%s\": it may lie between -%d and %d.",
              field, place.number, place.path, kMostReal, kMostReal);
}

void CheckAtom(const Atom& atom, const AtomPlace& place) {
  CheckWidth("segment", atom.segment, kNameWidth, place);
  CheckWidth("residue number", std::to_string(atom.residue_sn), kNameWidth, place);
  CheckWidth("residue name", atom.residue_name, kNameWidth, place);
  CheckWidth("name", atom.name, kNameWidth, place);
  CheckWidth("type", atom.type, kTypeWidth, place);
  CheckReal("charge", atom.charge, place);
  CheckReal("mass", atom.mass, place);
}

void WriteAtomLine(std::size_t number, const Atom& atom, TextFileWriter& out) {
  out.Integer(static_cast<long long>(number), kIndexWidth);
  out.Text(" ");
  out.Left(atom.segment, kNameWidth);
  out.Text(" ");
  out.Left(std::to_string(atom.residue_sn), kNameWidth);
  out.Text(" ");
  out.Left(atom.residue_name, kNameWidth);
  out.Text(" ");
  out.Left(atom.name, kNameWidth);
  out.Text(" ");
  out.Left(atom.type, kTypeWidth);
  out.Text(" ");
  out.Fixed(atom.charge, kRealWidth, 6);
  out.Fixed(atom.mass, kRealWidth, 4);
  out.Integer(0, 8);
  out.Text("\n");
}

void WriteCount(std::size_t count, const char* label, TextFileWriter& out) {
  out.Integer(static_cast<long long>(count), kIndexWidth);
  out.Text(label);
  out.Text("\n");
}

// Numbers in lines of `per_line`, the last one shorter, and nothing behind them.
void WriteNumbers(std::span<const long long> numbers, std::size_t per_line, TextFileWriter& out) {
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    out.Integer(numbers[i], kIndexWidth);
    if ((i + 1) % per_line == 0 || i + 1 == numbers.size()) out.Text("\n");
  }
}

// A section of terms, with indices from 1, and the empty line behind it. An empty section has one
// empty line more, in place of the terms: that is how the format's own program writes it.
void WriteTerms(const TermList& terms, const char* label, std::size_t terms_per_line,
                TextFileWriter& out) {
  WriteCount(terms.size(), label, out);
  const std::size_t per_line = terms_per_line * static_cast<std::size_t>(terms.degree());
  const std::vector<int>& indices = terms.flat();
  for (std::size_t i = 0; i < indices.size(); ++i) {
    out.Integer(static_cast<long long>(indices[i]) + 1, kIndexWidth);
    if ((i + 1) % per_line == 0 || i + 1 == indices.size()) out.Text("\n");
  }
  if (terms.empty()) out.Text("\n");
  out.Text("\n");
}

// No exclusions beyond those that follow from the bonds: an empty list, and for each atom the end
// of its part of that list.
void WriteExclusions(std::size_t atoms, TextFileWriter& out) {
  WriteCount(0, " !NNB", out);
  out.Text("\n");
  WriteNumbers(std::vector<long long>(atoms), 8, out);
  out.Text("\n");
}

// How a group is charged, as group-wise cutoffs want to know it.
enum GroupKind { kNoCharges = 0, kNeutral = 1, kCharged = 2 };

GroupKind KindOfGroup(std::span<const Atom> atoms) {
  constexpr double kNoCharge = 1e-5;  // half a unit of the charges' last printed figure, and more
  double total = 0.0;
  bool any = false;
  for (const Atom& atom : atoms) {
    total += atom.charge;
    any = any || atom.charge != 0.0;
  }
  if (std::fabs(total) > kNoCharge) return kCharged;
  return any ? kNeutral : kNoCharges;
}

// Three numbers for each group: the atoms in front of it, its kind, and 0 for free to move.
void WriteGroups(const std::vector<Atom>& atoms, TextFileWriter& out) {
  std::vector<long long> numbers;
  for (std::size_t first = 0; first < atoms.size();) {
    const std::size_t end = EndOfResidue(atoms, first, true);
    const GroupKind kind = KindOfGroup(std::span(atoms).subspan(first, end - first));
    numbers.insert(numbers.end(), {static_cast<long long>(first), kind, 0});
    first = end;
  }
  out.Integer(static_cast<long long>(numbers.size() / 3), kIndexWidth);
  WriteCount(0, " !NGRP NST2", out);
  WriteNumbers(numbers, 9, out);
  if (numbers.empty()) out.Text("\n");
  out.Text("\n");
}

}  // namespace

TermList JoinCrossTerms(const TermList& halves, std::size_t& lone_halves) {
  TermList joined(8);
  lone_halves = 0;
  for (std::size_t i = 0; i < halves.size();) {
    if (i + 1 < halves.size() && Join(halves[i], halves[i + 1], joined)) {
      i += 2;
    } else {
      ++lone_halves;
      ++i;
    }
  }
  return joined;
}

EngineTopology MakeEngineTopology(const MolecularMechanicsTopology& topology,
                                  const std::string& source) {
  for (const TermKind& kind :
       {TermKind{"bond", topology.GetBonds()}, TermKind{"angle", topology.GetAngles()},
        TermKind{"dihedral", topology.GetDihedrals()},
        TermKind{"improper", topology.GetImpropers()},
        TermKind{"half of a cross-term", topology.GetCmaps()}}) {
    CheckIndices(kind, topology.GetAtoms().size(), source);
  }
  EngineTopology result;
  result.atoms = topology.GetAtoms();
  EngineTopology::Repeats& repeats = result.repeats;
  result.bonds = WithoutRepeats(topology.GetBonds(), repeats.bonds);
  result.angles = WithoutRepeats(topology.GetAngles(), repeats.angles);
  result.dihedrals = WithoutRepeats(topology.GetDihedrals(), repeats.dihedrals);
  if (repeats.bonds > 0) RemakeAnglesAndDihedrals(result);
  LeaveOutHydrogenAngles(result);
  result.impropers = WithoutRepeats(topology.GetImpropers(), repeats.impropers);
  result.cross_terms =
      WithoutRepeats(JoinCrossTerms(topology.GetCmaps(), result.lone_halves), repeats.cross_terms);
  return result;
}

EngineTopology LoadEngineTopology(const std::string& path) {
  std::string text;
  if (ReadTextFile(path, text) && text.find("!NDON") != std::string::npos) {
    RAVELO_FAIL(
        "The PSF file \"%s\" has a section of donors, so %s did not write it, or it has been "
        "exported before.",
        path, RunStatus::GetProgramName());
  }
  text = {};
  MolecularMechanicsTopology topology;
  topology.LoadFromPSF(path);
  return MakeEngineTopology(topology, path);
}

void TakeSegments(const PDB& pdb, const std::string& pdb_path, const std::string& psf_path,
                  EngineTopology& topology) {
  if (pdb.atoms.size() != topology.atoms.size()) {
    RAVELO_FAIL("The PDB file \"%s\" has %d atoms, but the PSF file \"%s\" has %d.", pdb_path,
                pdb.atoms.size(), psf_path, topology.atoms.size());
  }
  for (std::size_t i = 0; i < pdb.atoms.size(); ++i) {
    const PDB::Atom& partner = pdb.atoms[i];
    Atom& atom = topology.atoms[i];
    // A PDB file is read in upper case, while a PSF file keeps the case of its names.
    if (Parser::ToUpperCase(atom.name) != Parser::ToUpperCase(partner.Name)) {
      RAVELO_FAIL(
          "Atom %d is \"%s\" in the PDB file \"%s\" but \"%s\" in the PSF file \"%s\": the files "
          "do not belong together.",
          i + 1, partner.Name, pdb_path, atom.name, psf_path);
    }
    atom.segment = partner.ChainID.empty() ? "X" : partner.ChainID;
  }
}

std::size_t CountSplitResidues(const EngineTopology& topology) {
  std::size_t count = 0;
  for (std::size_t first = 0; first < topology.atoms.size();) {
    const std::size_t end = EndOfResidue(topology.atoms, first, false);
    if (EndOfResidue(topology.atoms, first, true) != end) ++count;
    first = end;
  }
  return count;
}

std::size_t CountAtomsWithoutMass(const EngineTopology& topology) {
  return static_cast<std::size_t>(
      std::ranges::count_if(topology.atoms, [](const Atom& atom) { return !(atom.mass > 0.0); }));
}

void WriteEnginePSF(const EngineTopology& topology, const std::string& path) {
  // First of all, so that a failure leaves no half of a file.
  for (std::size_t i = 0; i < topology.atoms.size(); ++i) {
    CheckAtom(topology.atoms[i], {i + 1, path});
  }
  TextFileWriter out;
  if (!out.Open(path)) RAVELO_FAIL("Cannot open the PSF file \"%s\" for writing.", path);
  out.Text("PSF EXT CMAP XPLOR\n\n");
  WriteCount(1, " !NTITLE", out);
  out.Text(" REMARKS Generated by " + RunStatus::GetProgramName() + "-export\n\n");
  WriteCount(topology.atoms.size(), " !NATOM", out);
  for (std::size_t i = 0; i < topology.atoms.size(); ++i) {
    WriteAtomLine(i + 1, topology.atoms[i], out);
  }
  out.Text("\n");
  const TermList none(2);
  WriteTerms(topology.bonds, " !NBOND: bonds", 4, out);
  WriteTerms(topology.angles, " !NTHETA: angles", 3, out);
  WriteTerms(topology.dihedrals, " !NPHI: dihedrals", 2, out);
  WriteTerms(topology.impropers, " !NIMPHI: impropers", 2, out);
  WriteTerms(none, " !NDON: donors", 4, out);
  WriteTerms(none, " !NACC: acceptors", 8, out);
  WriteExclusions(topology.atoms.size(), out);
  WriteGroups(topology.atoms, out);
  out.Integer(0, kIndexWidth);
  WriteCount(0, " !NUMLP NUMLPH", out);
  out.Text("\n");
  WriteTerms(topology.cross_terms, " !NCRTERM: cross-terms", 1, out);
  if (!out.Close()) RAVELO_FAIL("Cannot write the PSF file \"%s\" to its end.", path);
}

}  // namespace orvane

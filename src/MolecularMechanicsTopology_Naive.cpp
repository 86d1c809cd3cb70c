// Parameters of a molecule that the force field covers in part only: known terms from its tables,
// all others guessed from the molecule's own geometry.
#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "AtomTypeParameters.h"
#include "CHARMMParameterFiles.h"
#include "ComputationalGeometry.h"
#include "Error.h"
#include "MolecularMechanicsTopology.h"
#include "TextFile.h"

namespace orvane {

namespace {

using Geometry = ComputationalGeometry;
using Params = CHARMMParameterFiles;

// Of guessed terms.
constexpr double kGuessedBondConstant = 300.0;
constexpr double kGuessedAngleConstant = 50.0;
constexpr double kGuessedDihedralConstant = 1.0;
constexpr int kGuessedMultiplicity = 2;

double Degrees(double radians) {
  return radians * 180.0 / kFilePi;
}

// The lines of a section, one behind the other in one text, since a large molecule can have
// millions of them. Fields are set right and separated by blanks. Lines can have any length.
class SectionLines {
 public:
  // As "%*s" on the text up to its first NUL byte.
  void Text(std::string_view text, std::size_t width) {
    if (text_.size() > begin_) text_ += ' ';
    text = text.substr(0, text.find('\0'));
    if (text.size() < width) text_.append(width - text.size(), ' ');
    text_ += text;
  }

  // As "%15.8f".
  void Real(double value) {
    char digits[512];
    const std::to_chars_result result =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 8);
    Text({digits, static_cast<std::size_t>(result.ptr - digits)}, 15);
  }

  // As "%4d".
  void Integer(int value) { Text(std::to_string(value), 4); }

  // The end of a bonded term's line: a blank, and a comment if the term was guessed.
  void EndOfTerm(bool guessed) {
    Text(guessed ? "! Guess" : "", 0);
    EndOfLine();
  }

  void EndOfLine() {
    lines_.push_back({begin_, text_.size() - begin_});
    begin_ = text_.size();
  }

  // Writes the section's name, the lines in byte-wise order, each once, and an empty line.
  void Write(std::string_view name, TextFileWriter& out) {
    std::sort(lines_.begin(), lines_.end(),
              [this](const Line& a, const Line& b) { return View(a) < View(b); });
    const auto last =
        std::unique(lines_.begin(), lines_.end(),
                    [this](const Line& a, const Line& b) { return View(a) == View(b); });
    out.Text(name);
    out.Text("\n");
    for (auto line = lines_.begin(); line != last; ++line) {
      out.Text(View(*line));
      out.Text("\n");
    }
    out.Text("\n");
  }

 private:
  struct Line {
    std::size_t begin;
    std::size_t size;
  };

  std::string_view View(const Line& line) const {
    return std::string_view(text_).substr(line.begin, line.size);
  }

  std::string text_;
  std::size_t begin_ = 0;
  std::vector<Line> lines_;
};

// The different atom types of a molecule, by number.
class AtomTypes {
 public:
  explicit AtomTypes(const std::vector<MolecularMechanicsTopology::Atom>& atoms) {
    numbers_.reserve(atoms.size());
    std::unordered_map<std::string_view, int> known;
    for (const MolecularMechanicsTopology::Atom& atom : atoms) {
      const auto [entry, is_new] = known.try_emplace(atom.type, static_cast<int>(names_.size()));
      if (is_new) names_.push_back(&atom.type);
      numbers_.push_back(entry->second);
    }
  }

  std::size_t size() const { return names_.size(); }
  int OfAtom(int atom) const { return numbers_[atom]; }
  const std::string& Name(int type) const { return *names_[type]; }

 private:
  std::vector<int> numbers_;
  std::vector<const std::string*> names_;
};

template <std::size_t N>
using TypeNumbers = std::array<int, N>;

// Hands terms to where their lines are made. What the table holds depends on the types alone, so it
// is asked once for all terms of the same types in the same order: `add_known` takes their types
// and tells whether the table had them. `add_guess` takes each term of types that it has not.
template <std::size_t N, typename AddKnown, typename AddGuess>
void ForEachTerm(const TermList& terms, const AtomTypes& types, AddKnown add_known,
                 AddGuess add_guess) {
  std::map<TypeNumbers<N>, bool> is_known;
  for (std::size_t t = 0; t < terms.size(); ++t) {
    const std::span<const int> term = terms[t];
    TypeNumbers<N> key;
    for (std::size_t i = 0; i < N; ++i) key[i] = types.OfAtom(term[i]);
    const auto [entry, is_new] = is_known.try_emplace(key, false);
    if (is_new) entry->second = add_known(key);
    if (!entry->second) add_guess(key, term);
  }
}

template <std::size_t N>
void StartLine(const TypeNumbers<N>& key, const AtomTypes& types, SectionLines& lines) {
  for (const int type : key) lines.Text(types.Name(type), 7);
}

// "%7s %7s %15.8f %15.8f %s"
void AddBonds(const TermList& bonds, const AtomTypes& types, const std::vector<Vec3D>& coords,
              const Params& params, SectionLines& lines) {
  const auto add = [&](const TypeNumbers<2>& key, const Params::BondParam& param, bool guessed) {
    StartLine(key, types, lines);
    lines.Real(param.Kb);
    lines.Real(param.b0);
    lines.EndOfTerm(guessed);
  };
  ForEachTerm<2>(
      bonds, types,
      [&](const TypeNumbers<2>& key) {
        Params::BondParam param;
        if (!params.GetBondParam(types.Name(key[0]), types.Name(key[1]), param)) return false;
        add(key, param, false);
        return true;
      },
      [&](const TypeNumbers<2>& key, std::span<const int> atoms) {
        const double length = Geometry::CalcLength(coords[atoms[0]], coords[atoms[1]]);
        add(key, {kGuessedBondConstant, length}, true);
      });
}

// "%7s %7s %7s %15.8f %15.8f %15.8f %15.8f %s"
void AddAngles(const TermList& angles, const AtomTypes& types, const std::vector<Vec3D>& coords,
               const Params& params, SectionLines& lines) {
  const auto add = [&](const TypeNumbers<3>& key, const Params::AngleParam& param, bool guessed) {
    StartLine(key, types, lines);
    lines.Real(param.Ktheta);
    lines.Real(param.theta0);
    lines.Real(param.Kub);
    lines.Real(param.S0);
    lines.EndOfTerm(guessed);
  };
  ForEachTerm<3>(
      angles, types,
      [&](const TypeNumbers<3>& key) {
        Params::AngleParam param;
        if (!params.GetAngleParam(types.Name(key[0]), types.Name(key[1]), types.Name(key[2]),
                                  param)) {
          return false;
        }
        add(key, param, false);
        return true;
      },
      [&](const TypeNumbers<3>& key, std::span<const int> atoms) {
        const double angle =
            Geometry::CalcAngle(coords[atoms[0]], coords[atoms[1]], coords[atoms[2]]);
        add(key, {kGuessedAngleConstant, Degrees(angle), 0.0, 0.0}, true);
      });
}

// "%7s %7s %7s %7s %15.8f %4d %15.8f %s"
void AddDihedrals(const TermList& dihedrals, const AtomTypes& types,
                  const std::vector<Vec3D>& coords, const Params& params, SectionLines& lines) {
  const auto add = [&](const TypeNumbers<4>& key, const Params::DihedralParam& param,
                       bool guessed) {
    StartLine(key, types, lines);
    lines.Real(param.Kchi);
    lines.Integer(param.n);
    lines.Real(param.delta);
    lines.EndOfTerm(guessed);
  };
  std::vector<Params::DihedralParam> known;
  ForEachTerm<4>(
      dihedrals, types,
      [&](const TypeNumbers<4>& key) {
        if (!params.GetDihedralParam(types.Name(key[0]), types.Name(key[1]), types.Name(key[2]),
                                     types.Name(key[3]), known)) {
          return false;
        }
        for (const Params::DihedralParam& param : known) add(key, param, false);
        return true;
      },
      [&](const TypeNumbers<4>& key, std::span<const int> atoms) {
        const double phase = Geometry::CalcDihedral(coords[atoms[0]], coords[atoms[1]],
                                                    coords[atoms[2]], coords[atoms[3]]);
        add(key, {kGuessedDihedralConstant, kGuessedMultiplicity, Degrees(phase)}, true);
      });
}

// "%7s 0.0 %15.8f %15.8f". An atom with the very values of the last one of its type adds nothing.
void AddNonbonded(const std::vector<MolecularMechanicsTopology::Atom>& atoms,
                  const AtomTypes& types, SectionLines& lines) {
  using Bits = std::pair<std::uint64_t, std::uint64_t>;
  std::vector<std::optional<Bits>> last_values(types.size());
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    const MolecularMechanicsTopology::Atom& atom = atoms[i];
    // Compared as bits: zeros of both signs are printed differently.
    const Bits values(std::bit_cast<std::uint64_t>(atom.lj_epsilon),
                      std::bit_cast<std::uint64_t>(atom.lj_sigma));
    std::optional<Bits>& last = last_values[types.OfAtom(static_cast<int>(i))];
    if (last == values) continue;
    last = values;
    lines.Text(atom.type, 7);
    lines.Text("0.0", 0);
    lines.Real(atom.lj_epsilon / kEpsilonOfWellDepth);
    lines.Real(atom.lj_sigma / kSigmaOfHalfDistance);
    lines.EndOfLine();
  }
}

// Terms of a PSF file may name any atom, and its molecule may have other atoms than the topology.
void EndIfTermLeavesAtoms(const TermList& terms, const char* kind, std::size_t atoms) {
  for (const int index : terms.flat()) {
    if (index < 0 || static_cast<std::size_t>(index) >= atoms) {
      RAVELO_FAIL(
          "%s of the topology has atom %d: there are atoms with coordinates from 1 to %d "
          "only.",
          kind, static_cast<long long>(index) + 1, atoms);
    }
  }
}

}  // namespace

void MolecularMechanicsTopology::AssignParams() {
  for (Atom& atom : atoms) {
    const AtomTypeParameters* const params = FindAtomTypeParameters(atom.type);
    if (params == nullptr) continue;
    atom.charge = params->charge;
    atom.lj_epsilon = kEpsilonOfWellDepth * params->well_depth;
    atom.lj_sigma = kSigmaOfHalfDistance * params->half_distance;
  }
}

void MolecularMechanicsTopology::WriteNaiveParams(const std::vector<Vec3D>& coords,
                                                  const std::string& filename) const {
  // All that can end the run comes first: it must leave no half of a file.
  const TermList& all_angles = GetAngles();
  const TermList& all_dihedrals = GetDihedrals();
  const std::size_t atoms_with_coords = std::min(atoms.size(), coords.size());
  EndIfTermLeavesAtoms(bonds, "A bond", atoms_with_coords);
  EndIfTermLeavesAtoms(all_angles, "An angle", atoms_with_coords);
  EndIfTermLeavesAtoms(all_dihedrals, "A dihedral", atoms_with_coords);
  Params params;
  params.Initialize();
  TextFileWriter out;
  if (!out.Open(filename)) {
    RAVELO_FAIL("Cannot open \"%s\" to export parameter file.", filename);
  }

  out.Text(
      "! Naive Force Field Parameters for a Molecule\n"
      "! Please cite:\n"
      "! Marrin, T. J. Mol. Tools 2021, 48, 100731\n"
      "\n"
      "ATOMS\n"
      "! Nothing to write.\n"
      "\n");
  const AtomTypes types(atoms);
  const auto write_section = [&out](const char* name, auto add_lines) {
    SectionLines lines;
    add_lines(lines);
    lines.Write(name, out);
  };
  write_section("BONDS",
                [&](SectionLines& lines) { AddBonds(bonds, types, coords, params, lines); });
  write_section("ANGLES",
                [&](SectionLines& lines) { AddAngles(all_angles, types, coords, params, lines); });
  write_section("DIHEDRALS", [&](SectionLines& lines) {
    AddDihedrals(all_dihedrals, types, coords, params, lines);
  });
  write_section("NONBONDED", [&](SectionLines& lines) { AddNonbonded(atoms, types, lines); });
  out.Text("END\n\n");
  if (!out.Close()) RAVELO_FAIL("Cannot write the parameter file \"%s\" to its end.", filename);
}

}  // namespace orvane

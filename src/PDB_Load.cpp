// Reading a molecule from a PDB or XYZ file, and bringing it to the program's normal form.
#include <algorithm>
#include <cstdio>
#include <utility>

#include "Error.h"
#include "PDB.h"
#include "Parser.h"
#include "TextFile.h"

namespace orvane {

namespace {

// An atom line of a PDB file, as this program reads it. Columns count from 1.
//
//   columns  field                    needed
//   1-6      ATOM or HETATM           yes
//   7-11     serial number            yes
//   13-16    atom name
//   17       alternate location
//   18-20    residue name
//   22       chain
//   23-26    residue number           yes
//   27       insertion code
//   31-38    x, 39-46 y, 47-54 z      yes
//   55-60    occupancy                yes
//   61-66    temperature factor       yes
//   73-76    element
//   77-78    carried along
//   79-80    carried along
constexpr std::size_t kShortestAtomLine = 66;

// The trimmed text of the columns `first` to `last`, or nothing if the line has no more than
// `longer_than` characters.
std::string_view Field(std::string_view line, std::size_t first, std::size_t last,
                       std::size_t longer_than = 0) {
  if (line.size() <= longer_than) return {};
  return Parser::TrimmedPart(line.substr(first - 1, last - first + 1));
}

bool IsAtomLine(std::string_view line) {
  return line.substr(0, 4) == "ATOM" || line.substr(0, 6) == "HETATM";
}

// Elements of ions whose line names none, by the atom's name.
constexpr std::pair<std::string_view, std::string_view> kIonElements[] = {
    {"LIT", "Li"}, {"SOD", "Na"}, {"MG", "Mg"}, {"POT", "K"},  {"CAL", "Ca"},
    {"CLA", "Cl"}, {"CAD", "Cd"}, {"ZN", "Zn"}, {"BAR", "Ba"},
};

std::string_view ElementFromName(std::string_view name) {
  for (const auto& [ion, element] : kIonElements) {
    if (name == ion) return element;
  }
  return name.substr(0, 1);
}

// Reads the fields of an atom line, which is upper case and of at least 66 characters.
void ReadAtomLine(const std::string& path, std::string_view line, PDB::Atom& atom) {
  const std::string_view serial = Field(line, 7, 11);
  if (!Parser::ParseInteger(serial, atom.SN)) {
    RAVELO_FAIL(
        "Atom serial number \"%s\" at the line of \"%s\" in \"%s\" is wrong: it should be an "
        "integer.",
        serial, line, path);
  }
  const std::string_view number = Field(line, 23, 26);
  if (!Parser::ParseInteger(number, atom.ResSeq)) {
    RAVELO_FAIL(
        "Residue sequence number \"%s\" at the line of \"%s\" in \"%s\" is wrong: it should be an "
        "integer.",
        number, line, path);
  }
  const std::string_view x = Field(line, 31, 38);
  const std::string_view y = Field(line, 39, 46);
  const std::string_view z = Field(line, 47, 54);
  if (!Parser::ParseRealNumber(x, atom.Coord.x) || !Parser::ParseRealNumber(y, atom.Coord.y) ||
      !Parser::ParseRealNumber(z, atom.Coord.z)) {
    RAVELO_FAIL(
        "Coordinate \"%s %s %s\" at the line of \"%s\" in \"%s\" is wrong: they should be real "
        "numbers.",
        x, y, z, line, path);
  }
  const std::string_view occupancy = Field(line, 55, 60);
  if (!Parser::ParseRealNumber(occupancy, atom.Occupancy)) {
    RAVELO_FAIL(
        "Occupancy \"%s\" at the line of \"%s\" in \"%s\" is wrong: it should be a real number.",
        occupancy, line, path);
  }
  const std::string_view temperature = Field(line, 61, 66);
  if (!Parser::ParseRealNumber(temperature, atom.TempFactor)) {
    RAVELO_FAIL(
        "Temperature factor \"%s\" at the line of \"%s\" in \"%s\" is wrong: it should be a real "
        "number.",
        temperature, line, path);
  }

  atom.IsHetero = line.substr(0, 6) == "HETATM";
  atom.Name = Field(line, 13, 16);
  atom.AltLoc = Field(line, 17, 17);
  atom.ResName = Field(line, 18, 20);
  atom.ChainID = Field(line, 22, 22);
  atom.ICode = Field(line, 27, 27);
  // The element counts as missing unless the line goes to column 76 at least.
  atom.Element = Field(line, 73, 76, 75);
  atom.Column77 = Field(line, 77, 78, 77);
  atom.Column79 = Field(line, 79, 80, 79);
  if (atom.Element.empty()) atom.Element = ElementFromName(atom.Name);
  // Names of four letters are written one column further right, as `WritePDB` does: their last
  // letter is then found in the column of the alternate location.
  if (atom.Name.size() == 3 && !atom.AltLoc.empty()) atom.Name += atom.AltLoc;
}

// Reads a whole file or ends the run.
std::string TextOf(const std::string& path) {
  std::string text;
  if (!ReadTextFile(path, text)) RAVELO_FAIL("Cannot open file \"%s\".", path);
  return text;
}

// The same in upper case, in which all lines of a PDB file are read.
std::string UpperCaseTextOf(const std::string& path) {
  std::string text = TextOf(path);
  Parser::MakeUpperCase(text);
  return text;
}

// Erases the atoms of a name, with a warning for each. The atom behind an erased one is not looked
// at: that is the walk of a loop which erases and then steps on, and its result is wanted.
void EraseAtomsNamed(const char* name, const char* where, std::vector<PDB::Atom>& atoms) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].Name == name) {
      std::printf(
          "Warning: The atom name of the %zu-th atom is \"%s\". It is probably a non-standard atom "
          "in %s and is deleted.\n",
          kept + 1, name, where);
      if (++i == atoms.size()) break;
    }
    if (kept != i) atoms[kept] = std::move(atoms[i]);
    ++kept;
  }
  atoms.resize(kept);
}

constexpr std::pair<const char*, const char*> kNucleotideNames[] = {
    {"DA", "ADE"}, {"DC", "CYT"}, {"DG", "GUA"}, {"DT", "THY"}, {"DU", "URA"},
};

void RenameAtom(std::size_t position, const char* from, const char* to, PDB::Atom& atom) {
  if (atom.Name != from) return;
  atom.Name = to;
  std::printf("Warning: The atom name of the %zu-th atom is changed from \"%s\" to \"%s\".\n",
              position, from, to);
}

void RenameResidueOfAtom(std::size_t position, const char* from, const char* to, PDB::Atom& atom) {
  atom.ResName = to;
  std::printf("Warning: The residue name of the %zu-th atom is changed from \"%s\" to \"%s\".\n",
              position, from, to);
}

void RenameNucleotide(std::size_t position, PDB::Atom& atom) {
  for (const auto& [deposited, standard] : kNucleotideNames) {
    if (atom.ResName != deposited) continue;
    RenameResidueOfAtom(position, deposited, standard, atom);
    RenameAtom(position, "OP1", "O1P", atom);
    RenameAtom(position, "OP2", "O2P", atom);
    if (atom.ResName == "THY") RenameAtom(position, "C7", "C5M", atom);
    return;
  }
}

// Points out atoms that the file gives only in part, as alternate conformations are.
void WarnOfOccupancies(const std::vector<PDB::Atom>& atoms) {
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    const PDB::Atom& atom = atoms[i];
    if (!(atom.Occupancy < 0.999999)) continue;
    std::printf("Warning: The atom %s in residue %s%d at chain %s has an occupancy of %.3f.",
                atom.Name.c_str(), atom.ResName.c_str(), atom.ResSeq, atom.ChainID.c_str(),
                atom.Occupancy);
    if (i + 1 < atoms.size() && atoms[i + 1].Name == atom.Name &&
        atoms[i + 1].ResSeq == atom.ResSeq) {
      std::printf(" Probably, only 1 of atom %s%d and %s%d can be kept!\n", atom.Name.c_str(),
                  atom.SN, atoms[i + 1].Name.c_str(), atoms[i + 1].SN);
    } else {
      std::printf("\n");
    }
  }
}

}  // namespace

void PDB::Load(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos) RAVELO_FAIL("Unknown molecule file type: \"%s\".", path);
  const std::string extension = Parser::ToLowerCase(std::string_view(path).substr(dot));
  if (extension == ".pdb") {
    LoadPDBFile(path);
  } else if (extension == ".xyz") {
    LoadXYZFile(path);
  } else {
    RAVELO_FAIL("Unknown molecule file type: \"%s\".", extension);
  }
  // Set only now: the readers' messages print the name of the file that was read before.
  filename = path;
  Regularize();
  Analyze();
}

void PDB::LoadPDBFile(const std::string& path) {
  const std::string text = UpperCaseTextOf(path);
  description = "Load from PDB file";
  atoms.clear();
  // Room for a file of nothing but atom lines.
  const std::size_t lines_at_most = 1 + std::count(text.begin(), text.end(), '\n');
  atoms.reserve(std::min(lines_at_most, text.size() / kShortestAtomLine));
  LineReader lines(text);
  for (std::string_view line; lines.Next(line);) {
    if (!IsAtomLine(line)) continue;
    if (line.size() < kShortestAtomLine) {
      RAVELO_FAIL("The line \"%s\" in \"%s\" is too short. It should be at least longer than 66.",
                  line, path);
    }
    ReadAtomLine(path, line, atoms.emplace_back());
  }
}

void PDB::LoadPDBFileExtractModels(const std::string& path,
                                   std::vector<std::string>& models) const {
  const std::string text = UpperCaseTextOf(path);
  models.clear();
  std::string model;
  LineReader lines(text);
  for (std::string_view line; lines.Next(line);) {
    if (IsAtomLine(line)) {
      model.append(line).push_back('\n');
    } else if (line.substr(0, 6) == "ENDMDL" && !model.empty()) {
      models.push_back(std::move(model));
      model.clear();
    }
  }
}

void PDB::LoadXYZFile(const std::string& path) {
  const std::string text = TextOf(path);
  atoms.clear();
  LineReader lines(text);
  std::string_view line;
  lines.Next(line);
  if (!Parser::ParseInteger(line, numAtoms) || numAtoms < 1) {
    RAVELO_FAIL("Incorrect XYZ format at \"%s\" in \"%s\": A positive integer is needed.", path,
                line);
  }
  lines.Next(line);
  description = line;

  std::vector<std::string_view> words;
  for (int i = 0; i < numAtoms; ++i) {
    if (!lines.Next(line)) {
      RAVELO_FAIL(
          "Incorrect XYZ format in \"%s\": %d lines are expected but only %d lines are read.", path,
          numAtoms, i);
    }
    Parser::SplitSentence(line, words);
    if (words.size() != 4) {
      RAVELO_FAIL("Incorrect XYZ format in \"%s\" at \"%s\": 4 words are expected.", filename,
                  line);
    }
    Atom& atom = atoms.emplace_back();
    if (!Parser::ParseRealNumber(words[1], atom.Coord.x) ||
        !Parser::ParseRealNumber(words[2], atom.Coord.y) ||
        !Parser::ParseRealNumber(words[3], atom.Coord.z)) {
      RAVELO_FAIL("Incorrect XYZ format in \"%s\" at \"%s\": 3 real numbers are expected.",
                  filename, line);
    }
    atom.IsHetero = true;
    atom.SN = i + 1;
    atom.ResSeq = 1;
    atom.Occupancy = 1.0;
    atom.Name = words[0];
    atom.ResName = "UNK";
    atom.ChainID = "X";
    atom.Element = words[0];
  }
}

void PDB::Regularize() {
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (!atoms[i].ChainID.empty()) continue;
    atoms[i].ChainID = "X";
    std::printf("Warning: The %zu-th atom has no chain ID, so \"X\" is assigned.\n", i + 1);
  }
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].ResName == "HIS") RenameResidueOfAtom(i + 1, "HIS", "HSE", atoms[i]);
  }
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    if (atoms[i].ResName == "ILE") RenameAtom(i + 1, "CD1", "CD", atoms[i]);
  }
  EraseAtomsNamed("OXT", "C-terminus", atoms);
  EraseAtomsNamed("H5T", "5'-terminus DNA/RNA", atoms);
  for (std::size_t i = 0; i < atoms.size(); ++i) RenameNucleotide(i + 1, atoms[i]);
  WarnOfOccupancies(atoms);
}

}  // namespace orvane

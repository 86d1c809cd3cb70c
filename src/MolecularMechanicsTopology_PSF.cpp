// The PSF file of a topology, in the EXT form: its writer and its reader.
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Error.h"
#include "MolecularMechanicsTopology.h"
#include "Parser.h"
#include "RunStatus.h"
#include "TextFile.h"

namespace orvane {

namespace {

// Writes an index section: a count line, the terms with indices from 1, and an empty line. Lines
// hold `terms_per_line` terms; none is empty but the last.
void WriteSection(const TermList& terms, const char* label, int width, std::size_t terms_per_line,
                  TextFileWriter& out) {
  out.Integer(static_cast<long long>(terms.size()), 8);
  out.Text(" !");
  out.Text(label);
  out.Text("\n");
  const std::size_t per_line = terms_per_line * static_cast<std::size_t>(terms.degree());
  std::size_t in_line = 0;
  for (const int index : terms.flat()) {
    out.Integer(static_cast<long long>(index) + 1, width);
    if (++in_line == per_line) {
      out.Text("\n");
      in_line = 0;
    }
  }
  if (in_line > 0) out.Text("\n");
  out.Text("\n");
}

// Writes "%8d %-5s%5d%7s  %-5s%-8s%10.6f %13.4f           0\n".
void WriteAtomLine(long long number, const MolecularMechanicsTopology::Atom& atom,
                   TextFileWriter& out) {
  out.Integer(number, 8);
  out.Text(" ");
  out.Left(atom.segment, 5);
  out.Integer(atom.residue_sn, 5);
  out.Right(atom.residue_name, 7);
  out.Text("  ");
  out.Left(atom.name, 5);
  out.Left(atom.type, 8);
  out.Fixed(atom.charge, 10, 6);
  out.Text(" ");
  out.Fixed(atom.mass, 13, 4);
  out.Text("           0\n");
}

// Walks a PSF file section by section and ends the run where the text is not what it should be.
class PSFReader {
 public:
  PSFReader(const std::string& filename, std::string_view text)
      : filename_(filename), lines_(text) {}

  void SkipLine() { NextLine(); }

  // Reads a count line, of which only the first word matters.
  int ReadCount() {
    NextLine();
    Parser::SplitSentence(line_, words_);
    int count = 0;
    if (words_.empty() || !Parser::ParseInteger(words_[0], count)) EndForFormat();
    return count;
  }

  // Skips the titles and the empty line behind them.
  void SkipTitles(int titles) {
    for (long long i = 0; i < static_cast<long long>(titles) + 1; ++i) {
      if (!NextLine()) {
        RAVELO_FAIL("In the PSF file \"%s\", there should be %d remarks.", filename_, titles);
      }
    }
  }

  void ReadAtoms(int count, std::vector<MolecularMechanicsTopology::Atom>& atoms) {
    atoms.clear();
    for (int i = 0; i < count; ++i) {
      if (!NextLine()) {
        RAVELO_FAIL("In the PSF file \"%s\", there should be %d lines of atomic information.",
                    filename_, count);
      }
      ReadAtomLine(atoms.emplace_back());
    }
  }

  // Reads an index section into terms with indices from 0. The lines decide, not the count.
  void ReadSection(const char* what, TermList& terms) {
    const int count = ReadCount();
    // The one malformed file that ends by an exception and not by a message of the program: the
    // exit status is part of the interface.
    if (count < 0) throw std::length_error("negative number of terms in a PSF file");
    terms.clear();
    std::vector<int> indices;
    while (NextLine()) {
      Parser::SplitSentence(line_, words_);
      if (words_.empty()) break;
      for (const std::string_view word : words_) {
        int index = 0;
        if (!Parser::ParseInteger(word, index)) EndForFormat();
        indices.push_back(index);
      }
    }
    const int degree = terms.degree();
    if (indices.size() % static_cast<std::size_t>(degree) != 0) {
      RAVELO_FAIL("There should be %dn number of %s indices in \"%s\" but not %d.", degree, what,
                  filename_, indices.size());
    }
    // Wraps around for the smallest number, which is as wrong after the subtraction as before.
    for (int& index : indices) index = ShiftedIndex(index, -1);
    terms.assign_flat(std::move(indices));
  }

 private:
  bool NextLine() { return lines_.Next(line_); }

  // The columns of an atom line are words: number (not looked at), segment, residue number, residue
  // name, atom name, type, charge, mass, and one or three more that are not looked at.
  void ReadAtomLine(MolecularMechanicsTopology::Atom& atom) {
    Parser::SplitSentence(line_, words_);
    if (words_.size() != 9 && words_.size() != 11) EndForFormat();
    atom.segment = words_[1];
    if (!Parser::ParseInteger(words_[2], atom.residue_sn))
      EndForWord("residue ID", "an integer", 2);
    atom.residue_name = words_[3];
    atom.name = words_[4];
    atom.type = words_[5];
    if (!Parser::ParseRealNumber(words_[6], atom.charge)) EndForWord("charge", "a real number", 6);
    if (!Parser::ParseRealNumber(words_[7], atom.mass)) EndForWord("mass", "a real number", 7);
  }

  [[noreturn]] void EndForFormat() const {
    RAVELO_FAIL("The format of PSF file \"%s\" near \"%s\" is wrong.", filename_, line_);
  }

  [[noreturn]] void EndForWord(const char* field, const char* kind, std::size_t word) const {
    RAVELO_FAIL("In the PSF file \"%s\", %s should be %s but not \"%s\".", filename_, field, kind,
                words_[word]);
  }

  const std::string& filename_;
  LineReader lines_;
  std::string_view line_;
  std::vector<std::string_view> words_;
};

}  // namespace

void MolecularMechanicsTopology::WritePSF(const std::string& filename) const {
  // Derived first: a run that ends there must leave no half of a file.
  const TermList& all_angles = GetAngles();
  const TermList& all_dihedrals = GetDihedrals();
  TextFileWriter out;
  if (!out.Open(filename)) {
    RAVELO_FAIL("Cannot write topology to a PSF file %s.\n", filename);
  }
  out.Text("PSF EXT\n\n       1 !NTITLE\n REMARKS Generated by ");
  out.Text(RunStatus::GetProgramName());
  out.Text("\n\n");
  out.Integer(static_cast<long long>(atoms.size()), 8);
  out.Text(" !NATOM\n");
  for (std::size_t i = 0; i < atoms.size(); ++i) {
    WriteAtomLine(static_cast<long long>(i) + 1, atoms[i], out);
  }
  out.Text("\n");
  // Bonds are narrower than all other terms.
  WriteSection(bonds, "NBOND: bonds", 8, 4, out);
  WriteSection(all_angles, "NTHETA: angles", 10, 3, out);
  WriteSection(all_dihedrals, "NPHI: dihedrals", 10, 2, out);
  WriteSection(impropers, "NIMPHI: impropers", 10, 2, out);
  WriteSection(cmaps, "NCRTERM: cross-terms", 10, 2, out);
  if (!out.Close()) RAVELO_FAIL("Cannot write the PSF file \"%s\" to its end.", filename);
}

void MolecularMechanicsTopology::LoadFromPSF(const std::string& filename) {
  std::string text;
  if (!ReadTextFile(filename, text)) {
    RAVELO_FAIL("Cannot open PSF file \"%s\".", filename);
  }
  PSFReader reader(filename, text);
  reader.SkipLine();
  reader.SkipLine();
  reader.SkipTitles(reader.ReadCount());
  reader.ReadAtoms(reader.ReadCount(), atoms);
  reader.SkipLine();
  reader.ReadSection("bond", bonds);
  reader.ReadSection("angle", angles);
  reader.ReadSection("dihedral", dihedrals);
  reader.ReadSection("improper", impropers);
  reader.ReadSection("cmap", cmaps);
  derived_lists_stale = false;
}

}  // namespace orvane

// Reads residue topology (RTF) files of the CHARMM force fields into the residue library.
#include "CHARMMTopology.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include "Error.h"
#include "Parser.h"
#include "TextFile.h"

namespace orvane {

namespace {

using Words = std::vector<std::string>;

// Whether a line opens a record (and so ends the one before). It is a test on the whole line, be it
// a comment or a longer word.
bool OpensRecord(std::string_view line) {
  return line.find("RESI") != std::string_view::npos || line.find("PRES") != std::string_view::npos;
}

bool IsMassLine(std::string_view line) {
  return line.find("MASS") != std::string_view::npos;
}

// "MASS number type mass", where neither of the first two words is looked at.
void ReadMassLine(std::string_view line, std::map<std::string, double>& masses) {
  Words words;
  Parser::SplitSentence(Parser::Trim('!', line), words);
  if (words.size() < 4) {
    RAVELO_FAIL(
        "Incorrect MASS format: \"%s\": There should be at least 3 items: -1, atom type, mass.",
        line);
  }
  double mass = 0.0;
  if (!Parser::ParseRealNumber(words[3], mass)) {
    RAVELO_FAIL("Incorrect MASS format: \"%s\": The mass should be a real number.", words[3]);
  }
  masses[words[2]] = mass;
}

[[noreturn]] void EndForLine(const std::string& line, const char* what) {
  RAVELO_FAIL("Incorrect residue format: \"%s\": %s", line, what);
}

double ReadCharge(const std::string& line, const std::string& word) {
  double charge = 0.0;
  if (!Parser::ParseRealNumber(word, charge)) {
    EndForLine(line, "The charge should be a real number.");
  }
  return charge;
}

// Appends the names behind the keyword, `degree` at a time.
void AppendNames(const Words& words, std::size_t degree, std::vector<Words>& terms) {
  for (std::size_t i = 1; i < words.size(); i += degree) {
    const auto first = words.begin() + static_cast<std::ptrdiff_t>(i);
    terms.emplace_back(first, first + static_cast<std::ptrdiff_t>(degree));
  }
}

bool BeginsWith(const std::string& name, char letter) {
  return !name.empty() && name[0] == letter;
}

// "IC A B C D" or "IC A B *C D", distance, angle, dihedral, angle, distance.
TopologyLibrary::InternalCoord ReadInternalCoord(const std::string& line, const Words& words,
                                                 const std::string& residue_name) {
  if (words.size() != 10) EndForLine(line, "There should be 9 items.");
  TopologyLibrary::InternalCoord term;
  for (std::size_t i = 0; i < 4; ++i) {
    term.atoms[i] = words[i + 1];
    if (i == 2 && BeginsWith(term.atoms[i], '*')) {
      term.is_improper = true;
      term.atoms[i].erase(0, 1);
    }
  }
  for (std::size_t i = 0; i < 5; ++i) {
    if (!Parser::ParseRealNumber(words[i + 5], term.values[i])) {
      EndForLine(line, "The coordinate should be a real number.");
    }
  }
  if (BeginsWith(term.atoms[0], 'H') && !BeginsWith(term.atoms[3], 'H')) {
    std::printf(
        "Warning: In \"%s\", for the IC term \"%s\": This term contains only one hydrogen and is "
        "the first one. It will NOT be used for hydrogen adding.\n",
        residue_name.c_str(), line.c_str());
  }
  return term;
}

// Sorts the terms of a record by what they lead to.
void ClassifyTerms(TopologyLibrary::Residue& residue) {
  for (const TopologyLibrary::InternalCoord& term : residue.ics) {
    for (const std::string& atom : term.atoms) {
      if (BeginsWith(atom, '+') || BeginsWith(atom, '-')) {
        residue.ics_inter_residue.push_back(term);
        break;
      }
    }
    if (!BeginsWith(term.atoms[3], 'H')) continue;
    if (BeginsWith(term.atoms[0], 'H')) {
      residue.ics_hydrogen_both.push_back(term);
    } else {
      residue.ics_hydrogen_last.push_back(term);
    }
  }
  residue.ics_ending_in_hydrogen = residue.ics_hydrogen_last;
  residue.ics_ending_in_hydrogen.insert(residue.ics_ending_in_hydrogen.end(),
                                        residue.ics_hydrogen_both.begin(),
                                        residue.ics_hydrogen_both.end());
}

}  // namespace

void CHARMMTopology::ReadTopologyFile(const std::string& filename,
                                      std::map<std::string, TopologyLibrary::Residue>& residues,
                                      std::map<std::string, double>& masses) {
  std::string text;
  if (!ReadTextFile(filename, text)) RAVELO_FAIL("Cannot open file \"%s\".", filename);
  Parser::MakeUpperCase(text);

  bool in_block = false;
  std::vector<std::string> block;
  const auto store_block = [&] {
    TopologyLibrary::Residue residue = ParseResidue(block);
    residues[residue.name] = std::move(residue);
    in_block = false;
  };

  LineReader lines(text);
  std::string_view line;
  for (bool more = lines.Next(line); more;) {
    const std::string_view current = line;
    more = lines.Next(line);
    const bool opens_record = OpensRecord(current);
    if (in_block && opens_record) store_block();
    if (opens_record) {
      block.clear();
      in_block = true;
    }
    if (in_block) {
      block.push_back(Parser::Trim('!', current));
      // A header that is the very last line is never parsed, since nothing follows that could end
      // it.
      if (!opens_record && !more) store_block();
    }
    if (IsMassLine(current)) ReadMassLine(current, masses);
  }
}

TopologyLibrary::Residue CHARMMTopology::ParseResidue(const std::vector<std::string>& lines) {
  TopologyLibrary::Residue residue;
  Words words;
  for (const std::string& line : lines) {
    Parser::SplitSentence(line, words);
    if (words.empty()) continue;
    const std::string& keyword = words[0];
    if (keyword == "RESI" || keyword == "PRES") {
      if (words.size() != 3) EndForLine(line, "There should be 2 items: residue name, charge.");
      residue.name = words[1];
      residue.charge = ReadCharge(line, words[2]);
      residue.is_patch = keyword == "PRES";
    } else if (keyword == "ATOM") {
      if (words.size() != 4) {
        EndForLine(line, "There should be 3 items: atom name, atom type, charge.");
      }
      residue.atom_names.push_back(words[1]);
      residue.atom_types.push_back(words[2]);
      residue.atom_charges.push_back(ReadCharge(line, words[3]));
    } else if (keyword == "BOND" || keyword == "DOUBLE" || keyword == "TRIPLE") {
      if (words.size() % 2 != 1) EndForLine(line, "There should be 2N atom names.");
      AppendNames(words, 2, residue.bonds);
    } else if (keyword == "DELETE") {
      if (words.size() != 3) EndForLine(line, "There should be 1 type and 1 atom name.");
      residue.deleted_atoms.push_back({words[1], words[2]});
    } else if (keyword == "IMPR" || keyword == "CMAP") {
      if (words.size() % 4 != 1) EndForLine(line, "There should be 4N atom names.");
      AppendNames(words, 4, keyword == "IMPR" ? residue.impropers : residue.cmaps);
    } else if (keyword == "IC" || keyword == "BILD") {
      residue.ics.push_back(ReadInternalCoord(line, words, residue.name));
    }
  }
  ClassifyTerms(residue);
  residue.BuildLookups();
  return residue;
}

}  // namespace orvane

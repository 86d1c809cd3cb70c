// Force-field parameters by atom types: read from a CHARMM parameter text, and looked up.
#include "CHARMMParameterFiles.h"

#include <algorithm>
#include <string_view>

#include "CGenFFParameters.h"
#include "Error.h"
#include "Parser.h"
#include "TextFile.h"

namespace orvane {

namespace {

template <typename Record>
bool CopyIfFound(const Record* found, Record& out) {
  if (found != nullptr) out = *found;
  return found != nullptr;
}

using Words = std::vector<std::string>;
using AddLine = void (CHARMMParameterFiles::*)(const Words&);

// Whether a line's first word, in upper case, begins a section, and what its lines then go to; null
// for a section that is not read. Heads are known by their full names: IMPROPERS is none, and what
// stands under it stays in the section before.
bool BeginsSection(std::string_view word, AddLine& add_line) {
  if (word == "BONDS") {
    add_line = &CHARMMParameterFiles::AddBondParams;
  } else if (word == "ANGLES") {
    add_line = &CHARMMParameterFiles::AddAngleParams;
  } else if (word == "DIHEDRALS") {
    add_line = &CHARMMParameterFiles::AddDihedralParams;
  } else if (word == "IMPROPER") {
    add_line = &CHARMMParameterFiles::AddImproperParams;
  } else if (word == "CMAP") {
    add_line = nullptr;
  } else if (word == "NONBONDED") {
    add_line = &CHARMMParameterFiles::AddLennardJonesParams;
  } else {
    return false;
  }
  return true;
}

template <std::size_t N>
bool HoldsWildcard(const std::array<std::string, N>& key) {
  return std::find(key.begin(), key.end(), CHARMMParameterFiles::AtomWildcard) != key.end();
}

// Whether each element of the key is the wildcard or the type in its place.
template <std::size_t N>
bool Fits(const std::array<std::string, N>& key, const std::array<std::string, N>& types) {
  return std::equal(key.begin(), key.end(), types.begin(),
                    [](const std::string& element, const std::string& type) {
                      return element == type || element == CHARMMParameterFiles::AtomWildcard;
                    });
}

void ReadLennardJonesPair(std::string_view source, const Words& words, std::size_t first,
                          double& epsilon, double& half_distance) {
  if (!Parser::ParseRealNumber(words[first], epsilon) ||
      !Parser::ParseRealNumber(words[first + 1], half_distance)) {
    RAVELO_FAIL(
        "The Lennard-Jones parameters in \"%s\" should be real numbers but not \"%s\" and \"%s\".",
        source, words[first], words[first + 1]);
  }
}

}  // namespace

template <std::size_t N, typename Record>
Record& CHARMMParameterFiles::Table<N, Record>::operator[](const Types<N>& key) {
  if (HoldsWildcard(key)) keys_with_wildcard_.insert(key);
  return entries_[key];
}

// Where the exact key is missing both ways round, only a key with a wildcard can still fit: any
// other would have to be equal to the types or to their reverse. So those keys alone are walked, in
// their order, and the first that fits is the first of the whole table that does.
template <std::size_t N, typename Record>
const Record* CHARMMParameterFiles::Table<N, Record>::Find(const Types<N>& types) const {
  const Types<N>& forward = types;
  auto found = entries_.find(forward);
  if (found != entries_.end()) return &found->second;
  Types<N> backward = types;
  std::reverse(backward.begin(), backward.end());
  found = entries_.find(backward);
  if (found != entries_.end()) return &found->second;
  for (const Types<N>& key : keys_with_wildcard_) {
    if (Fits(key, forward) || Fits(key, backward)) return &entries_.at(key);
  }
  return nullptr;
}

std::string_view CHARMMParameterFiles::Source() const {
  return filenames.empty() ? std::string_view("parameter text") : filenames.back();
}

void CHARMMParameterFiles::Initialize() {
  Parse(CGenFFParameterText());
}

void CHARMMParameterFiles::Parse(const std::string& text) {
  AddLine add_line = nullptr;
  Words words;
  LineReader lines(text);
  for (std::string_view line; lines.Next(line);) {
    Parser::SplitSentence(Parser::Trim('!', line), words);
    if (words.empty()) continue;
    const std::string first_word = Parser::ToUpperCase(words[0]);
    if (first_word == "END") return;
    if (BeginsSection(first_word, add_line)) continue;
    if (add_line != nullptr) (this->*add_line)(words);
  }
}

void CHARMMParameterFiles::AddBondParams(const Words& words) {
  if (words.size() != 4) return;
  BondParam param;
  if (!Parser::ParseRealNumber(words[2], param.Kb) ||
      !Parser::ParseRealNumber(words[3], param.b0)) {
    RAVELO_FAIL("The bond parameters in \"%s\" should be real numbers but not \"%s\" and \"%s\".",
                Source(), words[2], words[3]);
  }
  bond_params[{words[0], words[1]}] = param;
}

void CHARMMParameterFiles::AddAngleParams(const Words& words) {
  if (words.size() != 5 && words.size() != 7) return;
  AngleParam param;
  const bool good = Parser::ParseRealNumber(words[3], param.Ktheta) &&
                    Parser::ParseRealNumber(words[4], param.theta0);
  if (words.size() == 5) {
    if (!good) {
      RAVELO_FAIL(
          "The angle parameters in \"%s\" should be real numbers but not \"%s\" and \"%s\".",
          Source(), words[3], words[4]);
    }
  } else if (!good || !Parser::ParseRealNumber(words[5], param.Kub) ||
             !Parser::ParseRealNumber(words[6], param.S0)) {
    RAVELO_FAIL(
        "The angle and Urey-Bradley parameters in \"%s\" should be real numbers but not \"%s\", "
        "\"%s\", \"%s\", and \"%s\".",
        Source(), words[3], words[4], words[5], words[6]);
  }
  angle_params[{words[0], words[1], words[2]}] = param;
}

void CHARMMParameterFiles::AddDihedralParams(const Words& words) {
  if (words.size() != 7) return;
  DihedralParam param;
  if (!Parser::ParseRealNumber(words[4], param.Kchi) || !Parser::ParseInteger(words[5], param.n) ||
      !Parser::ParseRealNumber(words[6], param.delta)) {
    RAVELO_FAIL(
        "The dihedral parameters in \"%s\" should be real numbers but not \"%s\", \"%s\" and "
        "\"%s\".",
        Source(), words[4], words[5], words[6]);
  }
  dihedral_params[{words[0], words[1], words[2], words[3]}].push_back(param);
}

void CHARMMParameterFiles::AddImproperParams(const Words& words) {
  if (words.size() != 7) return;
  ImproperParam param;
  // The sixth word, a multiplicity, is not looked at.
  if (!Parser::ParseRealNumber(words[4], param.Kpsi) ||
      !Parser::ParseRealNumber(words[6], param.psi0)) {
    RAVELO_FAIL(
        "The improper parameters in \"%s\" should be real numbers but not \"%s\" and \"%s\".",
        Source(), words[4], words[6]);
  }
  improper_params[{words[0], words[1], words[2], words[3]}] = param;
}

void CHARMMParameterFiles::AddLennardJonesParams(const Words& words) {
  if (words.size() != 4 && words.size() != 7) return;
  LennardJonesParam param;
  ReadLennardJonesPair(Source(), words, 2, param.epsilon, param.Rmin_half);
  param.epsilon14 = param.epsilon;
  param.Rmin_half14 = param.Rmin_half;
  if (words.size() == 7) {
    ReadLennardJonesPair(Source(), words, 5, param.epsilon14, param.Rmin_half14);
  }
  lj_params[words[0]] = param;
}

bool CHARMMParameterFiles::GetBondParam(const std::string& a, const std::string& b,
                                        BondParam& out) const {
  return CopyIfFound(bond_params.Find({a, b}), out);
}

bool CHARMMParameterFiles::GetAngleParam(const std::string& a, const std::string& b,
                                         const std::string& c, AngleParam& out) const {
  return CopyIfFound(angle_params.Find({a, b, c}), out);
}

bool CHARMMParameterFiles::GetDihedralParam(const std::string& a, const std::string& b,
                                            const std::string& c, const std::string& d,
                                            std::vector<DihedralParam>& out) const {
  return CopyIfFound(dihedral_params.Find({a, b, c, d}), out);
}

bool CHARMMParameterFiles::GetImproperParam(const std::string& a, const std::string& b,
                                            const std::string& c, const std::string& d,
                                            ImproperParam& out) const {
  return CopyIfFound(improper_params.Find({a, b, c, d}), out);
}

bool CHARMMParameterFiles::GetLennardJonesParam(const std::string& type,
                                                LennardJonesParam& out) const {
  const auto found = lj_params.find(type);
  if (found == lj_params.end()) return false;
  out = found->second;
  return true;
}

}  // namespace orvane

// The table of options, and the checks of their values.
#include "CmdArgs.h"

#include <cstdio>
#include <cstdlib>

#include "Error.h"
#include "Parser.h"
#include "RunStatus.h"
#include "Website.h"

namespace orvane {

namespace {

// An option as the usage text lists it.
struct OptionRow {
  const char* name;
  char short_name;  // 0 for none
  bool has_value;
  const char* description;
};

constexpr OptionRow kOptions[] = {
    {"in", 'i', true, "Input PDB filename or XYZ filename"},
    {"out", 'o', true, "Output prefix"},
    {"ions", 0, false, "Remove ions"},
    {"waters", 0, false, "Remove waters"},
    {"ligands", 0, false, "Remove ligands"},
    {"Hs", 0, false, "Remove hydrogens"},
    {"chains", 0, true, "Remove chains, like A or \"A B\""},
    {"no-patching-terminus", 0, false, "Do not patch C-/N-terminus"},
    {"top", 't', true, "Input PSF filename"},
    {"merge", 'm', true, "Merge a set of psf files"},
    {"add-rtfs", 0, true, "Additional residue topology files"},
    {"add-bonds", 0, true, "Add bonds, like \"12 178\"."},
    {"del-atom", 0, true, "Delete an atom, like 12."},
    {"mml", 0, true, "Mono-Methyl-Lysine."},
    {"dml", 0, true, "Di-Methyl-Lysine."},
    {"tml", 0, true, "Tri-Methyl-Lysine."},
    {"mma", 0, true, "Mono-Methyl-Arginine."},
    {"adma", 0, true, "Asymmetric Di-Methyl-Arginine."},
    {"sdma", 0, true, "Symmetric Di-Methyl-Arginine."},
    {"pho", 0, true, "Phosphorylation."},
    {"mutate", 0, true, "Mutations, like \"12A LYS 13A Arg\"."},
    {"my-mod", 0, true, "Phosphorylation."},
    {"box", 0, true, "Box size, like \"70 70 70\""},
    {"no-add-ions", 0, false, "Do not add ions"},
    {"charge", 0, true, "Target total charge. Default: 0"},
    {"ionic-strength", 0, true, "Target ionic strength in mol/L. Default: 0.01"},
    {"droplet", 0, false, "Build a droplet instead of a box"},
    {"move", 0, true, "Move the center of the box, like \"10 10 10\""},
    {"pbc", 0, true,
     "Lattice vector, like \"5.95900000 0.00000000 0.00000000 "
     "0.02651499 7.59595372 0.00000000 0.93662692 2.37133022 15.39997192\""},
    {"super-cells", 0, true, "Number of super cells, like \"2 2 2\""},
};

// In the order in which the banner lists them.
constexpr const char* kBannerModes[] = {"check",  "remove", "topol",   "modify",
                                        "ligand", "psf",    "solvate", "pdb"};

void PrintBanner() {
  const std::string name = RunStatus::GetProgramName();
  std::printf("%s: a light-weight but powerful tool for molecular topology manipulation\n",
              name.c_str());
  std::printf("Version:   %s\n", RunStatus::GetVersion().c_str());
  std::puts("Author:    Marrin, Teo");
  std::puts("Reference: Marrin, Teo. J. Mol. Tools 2021, 48, 100731");
  std::printf("Website:   %s\n", kWebsite);
  std::printf("Usage: %s <mode> [options]\n", name.c_str());
  std::puts("  <mode>:");
  for (const char* mode : kBannerModes) std::printf("    %s\n", mode);
}

// Lets the parser read the command line, and ends the run where it is malformed or asks for help.
void ReadOptions(cmdline::parser& parser, int argc, const char* const* argv) {
  if (!parser.known("help")) parser.add("help", '?', "print this message");
  const bool is_good = parser.parse(argc, argv);
  if ((argc == 1 && !is_good) || parser.exist("help")) {
    std::fputs(parser.usage().c_str(), stderr);
    std::exit(0);
  }
  if (!is_good) {
    std::fprintf(stderr, "%s\n%s", parser.errors.front().c_str(), parser.usage().c_str());
    std::exit(1);
  }
}

// The text of an option; empty if it was not given.
std::string TextOf(const cmdline::parser& parser, const char* option) {
  return parser.exist(option) ? parser.get<std::string>(option) : std::string();
}

// The words of an option's text; none if it was not given.
std::vector<std::string> WordsOf(const cmdline::parser& parser, const char* option) {
  std::vector<std::string> words;
  Parser::SplitSentence(TextOf(parser, option), words);
  return words;
}

int CountOf(const std::vector<std::string>& words) {
  return static_cast<int>(words.size());
}

std::string DefaultOutPrefix(const std::string& in_filename, const std::string& mode) {
  if (in_filename.empty()) return "";
  return in_filename.substr(0, in_filename.rfind('.')) + "-" + mode;
}

int BondIndex(const std::string& word) {
  int index = 0;
  if (!Parser::ParseInteger(word, index)) {
    RAVELO_FAIL("The bond index should be an integer but not \"%s\".\n", word);
  }
  return index;
}

std::vector<std::vector<int>> AddBondsOf(const cmdline::parser& parser) {
  const std::vector<std::string> words = WordsOf(parser, "add-bonds");
  if (words.size() % 2 != 0) {
    RAVELO_FAIL("The number of arguments for \"add-bonds\" should be an even number.\n");
  }
  std::vector<std::vector<int>> bonds;
  for (std::size_t i = 0; i < words.size(); i += 2) {
    const int first = BondIndex(words[i]);
    const int second = BondIndex(words[i + 1]);
    bonds.push_back({first, second});
  }
  return bonds;
}

int DelAtomOf(const cmdline::parser& parser) {
  if (!parser.exist("del-atom")) return -1;
  const std::string text = TextOf(parser, "del-atom");
  int atom = -1;
  if (!Parser::ParseInteger(text, atom)) {
    RAVELO_FAIL("The atom index should be an integer but not \"%s\".\n", text);
  }
  return atom;
}

std::vector<std::vector<std::string>> MutateOf(const cmdline::parser& parser) {
  const std::vector<std::string> words = WordsOf(parser, "mutate");
  if (words.size() % 2 != 0) {
    RAVELO_FAIL("The number of arguments for \"mutate\" should be an even number.\n");
  }
  std::vector<std::vector<std::string>> mutations;
  for (std::size_t i = 0; i < words.size(); i += 2) mutations.push_back({words[i], words[i + 1]});
  return mutations;
}

std::vector<std::string> MyModOf(const cmdline::parser& parser) {
  const std::vector<std::string> words = WordsOf(parser, "my-mod");
  if (parser.exist("my-mod") && words.size() != 2) {
    RAVELO_FAIL(
        "The number of arguments for \"my-mod\" should be 2 but not %d: residue name and site.\n",
        CountOf(words));
  }
  return words;
}

std::vector<double> BoxOf(const cmdline::parser& parser) {
  const std::vector<std::string> words = WordsOf(parser, "box");
  if (parser.exist("box") && words.size() != 3) {
    RAVELO_FAIL("The number of arguments for \"box\" should be 3 but not %d.\n", CountOf(words));
  }
  std::vector<double> box;
  for (const std::string& word : words) {
    double edge = 0.0;
    // An edge that is not a number is not greater than 0 either.
    if (!Parser::ParseRealNumber(word, edge) || !(edge > 0.0)) {
      RAVELO_FAIL("The box size should be a positive real number but not \"%s\".\n", word);
    }
    box.push_back(edge);
  }
  return box;
}

int ChargeOf(const cmdline::parser& parser) {
  if (!parser.exist("charge")) return 0;
  const std::string text = TextOf(parser, "charge");
  int charge = 0;
  if (!Parser::ParseInteger(text, charge)) {
    RAVELO_FAIL("The charge should be an integer but not \"%s\".\n", text);
  }
  return charge;
}

double IonicStrengthOf(const cmdline::parser& parser) {
  if (!parser.exist("ionic-strength")) return 0.01;
  const std::string text = TextOf(parser, "ionic-strength");
  double strength = 0.0;
  if (!Parser::ParseRealNumber(text, strength)) {
    RAVELO_FAIL("The ionic strength should be a real number but not \"%s\".\n", text);
  }
  if (strength < 0.0) {
    RAVELO_FAIL("The ionic strength should be non-negative but not %.5f.\n", strength);
  }
  return strength;
}

// The numbers of "move" and of "pbc", which share the message.
std::vector<double> RealNumbers(const std::vector<std::string>& words) {
  std::vector<double> numbers;
  for (const std::string& word : words) {
    double number = 0.0;
    if (!Parser::ParseRealNumber(word, number)) {
      RAVELO_FAIL("The move should be a real number but not \"%s\".\n", word);
    }
    numbers.push_back(number);
  }
  return numbers;
}

std::vector<double> MoveOf(const cmdline::parser& parser) {
  if (!parser.exist("move")) return {0.0, 0.0, 0.0};
  const std::vector<std::string> words = WordsOf(parser, "move");
  if (words.size() != 3) {
    RAVELO_FAIL("The number of arguments for \"move\" should be 3 but not %d.\n", CountOf(words));
  }
  return RealNumbers(words);
}

std::vector<double> PbcOf(const cmdline::parser& parser) {
  const std::vector<std::string> words = WordsOf(parser, "pbc");
  if (parser.exist("pbc") && words.size() != 6 && words.size() != 9) {
    RAVELO_FAIL("The number of arguments for \"pbc\" should be 6 or 9 but not %d.\n",
                CountOf(words));
  }
  return RealNumbers(words);
}

std::vector<int> SuperCellsOf(const cmdline::parser& parser) {
  if (!parser.exist("super-cells")) return {0, 0, 0};
  const std::vector<std::string> words = WordsOf(parser, "super-cells");
  if (words.size() != 3) {
    RAVELO_FAIL("The number of arguments for \"super-cell\" should be 3 but not %d.\n",
                CountOf(words));
  }
  std::vector<int> cells;
  for (const std::string& word : words) {
    int count = 0;
    if (!Parser::ParseInteger(word, count) || count < 0) {
      RAVELO_FAIL("The super-cell should be a positive integer but not \"%s\".\n", word);
    }
    cells.push_back(count);
  }
  return cells;
}

}  // namespace

CmdArgs::CmdArgs() {
  for (const OptionRow& row : kOptions) {
    if (row.has_value) {
      parser.add<std::string>(row.name, row.short_name, row.description, false, "");
    } else {
      parser.add(row.name, row.short_name, row.description);
    }
  }
}

std::string CmdArgs::Parse(int argc, char** argv) {
  if (argc < 2) {
    PrintBanner();
    std::exit(0);
  }
  std::string mode = Parser::ToLowerCase(argv[1]);
  // The mode's word, as typed, stands in the place of the program's name.
  ReadOptions(parser, argc - 1, argv + 1);

  // The order decides which of several bad values is reported.
  inFilename = TextOf(parser, "in");
  outPrefix = parser.exist("out") ? TextOf(parser, "out") : DefaultOutPrefix(inFilename, mode);
  removeIons = parser.exist("ions");
  removeWaters = parser.exist("waters");
  removeLigands = parser.exist("ligands");
  removeHs = parser.exist("Hs");
  removeChains = WordsOf(parser, "chains");
  noPatchingTerminus = parser.exist("no-patching-terminus");
  topFilename = TextOf(parser, "top");
  mergeFilenames = WordsOf(parser, "merge");
  addRtfs = WordsOf(parser, "add-rtfs");
  addBonds = AddBondsOf(parser);
  delAtom = DelAtomOf(parser);
  mml = WordsOf(parser, "mml");
  dml = WordsOf(parser, "dml");
  tml = WordsOf(parser, "tml");
  mma = WordsOf(parser, "mma");
  adma = WordsOf(parser, "adma");
  sdma = WordsOf(parser, "sdma");
  pho = WordsOf(parser, "pho");
  mutate = MutateOf(parser);
  myMod = MyModOf(parser);
  box = BoxOf(parser);
  noAddIons = parser.exist("no-add-ions");
  charge = ChargeOf(parser);
  ionicStrength = IonicStrengthOf(parser);
  droplet = parser.exist("droplet");
  move = MoveOf(parser);
  pbc = PbcOf(parser);
  superCells = SuperCellsOf(parser);
  return mode;
}

}  // namespace orvane

// The command line of the program: banner, usage, values, and the messages about bad ones.
#include "CmdArgs.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing::PrintToString;
using testing_support::kCodeReturned;
using testing_support::MessageOf;
using testing_support::RunInChild;
using testing_support::RunRavelo;
using testing_support::RunResult;
using testing_support::TemporaryFolder;
using testing_support::WithoutPlace;

using List = std::vector<std::string>;

constexpr const char* kBanner =
    "ravelo: a light-weight but powerful tool for molecular topology manipulation\n"
    "Version:   Linux-1.0\n"
    "Author:    Marrin, Teo\n"
    "Reference: Marrin, Teo. J. Mol. Tools 2021, 48, 100731\n"
    "Website:   https://orvane.example/ravelo\n"
    "Usage: ravelo <mode> [options]\n"
    "  <mode>:\n"
    "    check\n"
    "    remove\n"
    "    topol\n"
    "    modify\n"
    "    ligand\n"
    "    psf\n"
    "    solvate\n"
    "    pdb\n";

// The usage text behind the program's name.
constexpr const char* kUsage =
    " [options] ... \n"
    "options:\n"
    "  -i, --in                      Input PDB filename or XYZ filename (string [=])\n"
    "  -o, --out                     Output prefix (string [=])\n"
    "      --ions                    Remove ions\n"
    "      --waters                  Remove waters\n"
    "      --ligands                 Remove ligands\n"
    "      --Hs                      Remove hydrogens\n"
    "      --chains                  Remove chains, like A or \"A B\" (string [=])\n"
    "      --no-patching-terminus    Do not patch C-/N-terminus\n"
    "  -t, --top                     Input PSF filename (string [=])\n"
    "  -m, --merge                   Merge a set of psf files (string [=])\n"
    "      --add-rtfs                Additional residue topology files (string [=])\n"
    "      --add-bonds               Add bonds, like \"12 178\". (string [=])\n"
    "      --del-atom                Delete an atom, like 12. (string [=])\n"
    "      --mml                     Mono-Methyl-Lysine. (string [=])\n"
    "      --dml                     Di-Methyl-Lysine. (string [=])\n"
    "      --tml                     Tri-Methyl-Lysine. (string [=])\n"
    "      --mma                     Mono-Methyl-Arginine. (string [=])\n"
    "      --adma                    Asymmetric Di-Methyl-Arginine. (string [=])\n"
    "      --sdma                    Symmetric Di-Methyl-Arginine. (string [=])\n"
    "      --pho                     Phosphorylation. (string [=])\n"
    "      --mutate                  Mutations, like \"12A LYS 13A Arg\". (string [=])\n"
    "      --my-mod                  Phosphorylation. (string [=])\n"
    "      --box                     Box size, like \"70 70 70\" (string [=])\n"
    "      --no-add-ions             Do not add ions\n"
    "      --charge                  Target total charge. Default: 0 (string [=])\n"
    "      --ionic-strength          Target ionic strength in mol/L. Default: 0.01 (string [=])\n"
    "      --droplet                 Build a droplet instead of a box\n"
    "      --move                    Move the center of the box, like \"10 10 10\" (string [=])\n"
    "      --pbc                     Lattice vector, like \"5.95900000 0.00000000 0.00000000 "
    "0.02651499 7.59595372 0.00000000 0.93662692 2.37133022 15.39997192\" (string [=])\n"
    "      --super-cells             Number of super cells, like \"2 2 2\" (string [=])\n"
    "  -?, --help                    print this message\n";

std::string UsageOf(const std::string& name) {
  return "usage: " + name + kUsage;
}

std::string ParseWords(CmdArgs& args, List words) {
  words.insert(words.begin(), "ravelo");
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  return args.Parse(static_cast<int>(pointers.size()), pointers.data());
}

// What `show` tells about the record of a command line. A child reads the line, since a bad one
// ends the process.
std::string Shown(const List& words, const std::function<std::string(const CmdArgs&)>& show) {
  const RunResult result = RunInChild([&] {
    CmdArgs args;
    ParseWords(args, words);
    std::fputs(show(args).c_str(), stdout);
  });
  if (result.status != kCodeReturned) return "(ended) " + result.out + result.err;
  return result.out;
}

// The message with which a command line ends.
std::string MessageFor(const List& words) {
  return MessageOf([&] {
    CmdArgs args;
    ParseWords(args, words);
  });
}

std::string Prefix(const CmdArgs& args) {
  return args.outPrefix;
}

RunResult Ravelo(const List& words) {
  const TemporaryFolder folder;
  return RunRavelo(words, folder.path());
}

// Banner and usage, as the program prints them.

TEST(CommandLine, WithoutArgumentsPrintsTheBanner) {
  const RunResult result = Ravelo({});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, kBanner);
  EXPECT_EQ(result.err, "");
}

TEST(CommandLine, PrintsTheUsageWhenAskedForHelp) {
  for (const char* help : {"--help", "-?"}) {
    const RunResult result = Ravelo({"check", help});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, UsageOf("check"));
  }
}

TEST(CommandLine, ShowsTheModeAsTypedInTheUsage) {
  EXPECT_EQ(Ravelo({"ChecK", "--help"}).err, UsageOf("ChecK"));
  EXPECT_EQ(Ravelo({"anything", "-?"}).err, UsageOf("anything"));
  EXPECT_EQ(Ravelo({"", "-?"}).err, UsageOf(""));
}

TEST(CommandLine, AnswersHelpBeforeBadOptionsAndBadValues) {
  for (const List& words : {List{"check", "--bogus", "--help"}, List{"check", "-?", "--waters=1"},
                            List{"check", "--box", "x", "--help"}, List{"check", "-z?"}}) {
    const RunResult result = Ravelo(words);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, UsageOf("check"));
  }
}

TEST(CommandLine, WithAnUnknownOptionEndsWithStatusOne) {
  const RunResult result = Ravelo({"ChecK", "--bogus"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "undefined option: --bogus\n" + UsageOf("ChecK"));
}

TEST(CommandLine, ReportsTheFirstOfSeveralBadOptions) {
  const RunResult result = Ravelo({"check", "-z", "--bogus", "--box", "x"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "undefined short option: -z\n" + UsageOf("check"));
}

TEST(CommandLine, RefusesAValueForAFlagAlsoForHelp) {
  RunResult result = Ravelo({"check", "--waters=1"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "option value is invalid: --waters=1\n" + UsageOf("check"));
  result = Ravelo({"check", "--help=1"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "option value is invalid: --help=1\n" + UsageOf("check"));
}

TEST(CommandLine, MissesAValueAtItsEnd) {
  const RunResult result = Ravelo({"check", "--in"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "option needs value: --in\n" + UsageOf("check"));
}

TEST(CommandLine, TakesItsFirstArgumentForTheModeWhateverItLooksLike) {
  const RunResult result = Ravelo({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(WithoutPlace(result.out), "Error occurs: Unknown mode: \"--help\".");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(WithoutPlace(Ravelo({"-?"}).out), "Error occurs: Unknown mode: \"-?\".");
}

TEST(CommandLine, ChecksValuesBeforeTheMode) {
  const RunResult result = Ravelo({"nomode", "--charge", "x"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(WithoutPlace(result.out),
            "Error occurs: The charge should be an integer but not \"x\".\n");
}

TEST(CommandLine, NamesThePlaceOfABadValueAfterItsMessage) {
  const RunResult result = Ravelo({"check", "--charge", "x"});
  EXPECT_EQ(result.out.find("Error occurs: The charge should be an integer but not \"x\".\n (in "
                            "src/CmdArgs.cpp at line "),
            0u);
  EXPECT_EQ(result.out.back(), ')');
}

// Values.

TEST(CmdArgs, FoldsTheModeToLowerCase) {
  const RunResult result = RunInChild([] {
    CmdArgs args;
    std::fputs(ParseWords(args, {"cHeCK-1"}).c_str(), stdout);
  });
  EXPECT_EQ(result.status, kCodeReturned);
  EXPECT_EQ(result.out, "check-1");
}

TEST(CmdArgs, BeginsWithEmptyAndZeroMembers) {
  const CmdArgs args;
  EXPECT_EQ(args.inFilename, "");
  EXPECT_EQ(args.outPrefix, "");
  EXPECT_FALSE(args.removeIons || args.removeWaters || args.removeLigands || args.removeHs);
  EXPECT_FALSE(args.noPatchingTerminus || args.noAddIons || args.droplet);
  EXPECT_EQ(args.delAtom, 0);
  EXPECT_EQ(args.charge, 0);
  EXPECT_EQ(args.ionicStrength, 0.0);
  EXPECT_TRUE(args.move.empty());
  EXPECT_TRUE(args.superCells.empty());
}

// All members but the parser, in the order of their declaration.
std::string AllOf(const CmdArgs& args) {
  std::string all;
  const auto add = [&all](const auto& member) { all += PrintToString(member) + "\n"; };
  add(args.inFilename);
  add(args.outPrefix);
  add(args.removeIons);
  add(args.removeWaters);
  add(args.removeLigands);
  add(args.removeHs);
  add(args.removeChains);
  add(args.noPatchingTerminus);
  add(args.topFilename);
  add(args.mergeFilenames);
  add(args.addRtfs);
  add(args.addBonds);
  add(args.delAtom);
  add(args.mml);
  add(args.dml);
  add(args.tml);
  add(args.mma);
  add(args.adma);
  add(args.sdma);
  add(args.pho);
  add(args.mutate);
  add(args.myMod);
  add(args.box);
  add(args.noAddIons);
  add(args.charge);
  add(args.ionicStrength);
  add(args.droplet);
  add(args.move);
  add(args.pbc);
  add(args.superCells);
  return all;
}

TEST(CmdArgs, HasDefaultsForAbsentOptions) {
  EXPECT_EQ(Shown({"check"}, AllOf),
            "\"\"\n"
            "\"\"\n"
            "false\n"
            "false\n"
            "false\n"
            "false\n"
            "{}\n"
            "false\n"
            "\"\"\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "-1\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "{}\n"
            "false\n"
            "0\n"
            "0.01\n"
            "false\n"
            "{ 0, 0, 0 }\n"
            "{}\n"
            "{ 0, 0, 0 }\n");
}

TEST(CmdArgs, ForgetsWhatItsMembersHeldBefore) {
  const RunResult result = RunInChild([] {
    CmdArgs args;
    args.inFilename = args.outPrefix = args.topFilename = "old";
    args.removeIons = args.removeWaters = args.removeLigands = args.removeHs = true;
    args.noPatchingTerminus = args.noAddIons = args.droplet = true;
    for (List* list :
         {&args.removeChains, &args.mergeFilenames, &args.addRtfs, &args.mml, &args.dml, &args.tml,
          &args.mma, &args.adma, &args.sdma, &args.pho, &args.myMod}) {
      *list = {"old"};
    }
    args.addBonds = {{1, 2}};
    args.mutate = {{"1A", "LYS"}};
    args.delAtom = args.charge = 7;
    args.ionicStrength = 7.0;
    args.box = args.move = args.pbc = {7.0};
    args.superCells = {7};
    ParseWords(args, {"check"});
    std::fputs(AllOf(args).c_str(), stdout);
  });
  EXPECT_EQ(result.status, kCodeReturned);
  EXPECT_EQ(result.out, Shown({"check"}, AllOf));
}

TEST(CmdArgs, CanReadASecondCommandLine) {
  const RunResult result = RunInChild([] {
    CmdArgs args;
    ParseWords(args, {"check", "--charge", "1"});
    ParseWords(args, {"check", "--charge", "2"});
    std::printf("%d", args.charge);
  });
  EXPECT_EQ(result.status, kCodeReturned) << result.err;
  EXPECT_EQ(result.out, "2");
}

TEST(CmdArgs, HoldsTheValuesOfAllOptions) {
  EXPECT_EQ(Shown({"check",
                   "-i",
                   "a.pdb",
                   "-o",
                   "b",
                   "--ions",
                   "--waters",
                   "--ligands",
                   "--Hs",
                   "--chains",
                   "A B",
                   "--no-patching-terminus",
                   "-t",
                   "c.psf",
                   "-m",
                   "d.psf e.psf",
                   "--add-rtfs",
                   "f.rtf  g.rtf",
                   "--add-bonds",
                   "1 2 -3 +4",
                   "--del-atom",
                   "5",
                   "--mml",
                   "1A",
                   "--dml",
                   "2A",
                   "--tml",
                   "3A",
                   "--mma",
                   "4A",
                   "--adma",
                   "5A",
                   "--sdma",
                   "6A",
                   "--pho",
                   "7A 8a",
                   "--mutate",
                   "12A LYS 13A Arg",
                   "--my-mod",
                   "PROP 1A",
                   "--box",
                   "10 20.5 3e1",
                   "--no-add-ions",
                   "--charge",
                   "-2",
                   "--ionic-strength",
                   "0.15",
                   "--droplet",
                   "--move",
                   "-1 .5 2.",
                   "--pbc",
                   "1 2 3 90 90 90",
                   "--super-cells",
                   "1 0 2"},
                  AllOf),
            "\"a.pdb\"\n"
            "\"b\"\n"
            "true\n"
            "true\n"
            "true\n"
            "true\n"
            "{ \"A\", \"B\" }\n"
            "true\n"
            "\"c.psf\"\n"
            "{ \"d.psf\", \"e.psf\" }\n"
            "{ \"f.rtf\", \"g.rtf\" }\n"
            "{ { 1, 2 }, { -3, 4 } }\n"
            "5\n"
            "{ \"1A\" }\n"
            "{ \"2A\" }\n"
            "{ \"3A\" }\n"
            "{ \"4A\" }\n"
            "{ \"5A\" }\n"
            "{ \"6A\" }\n"
            "{ \"7A\", \"8a\" }\n"
            "{ { \"12A\", \"LYS\" }, { \"13A\", \"Arg\" } }\n"
            "{ \"PROP\", \"1A\" }\n"
            "{ 10, 20.5, 30 }\n"
            "true\n"
            "-2\n"
            "0.15\n"
            "true\n"
            "{ -1, 0.5, 2 }\n"
            "{ 1, 2, 3, 90, 90, 90 }\n"
            "{ 1, 0, 2 }\n");
}

// Each flag sets its own member and no other.
TEST(CmdArgs, TellsItsFlagsApart) {
  const auto flags = [](const CmdArgs& args) {
    return PrintToString(std::vector<bool>{args.removeIons, args.removeWaters, args.removeLigands,
                                           args.removeHs, args.noPatchingTerminus, args.noAddIons,
                                           args.droplet});
  };
  const char* const options[] = {
      "--ions",        "--waters", "--ligands", "--Hs", "--no-patching-terminus",
      "--no-add-ions", "--droplet"};
  for (std::size_t i = 0; i < std::size(options); ++i) {
    std::vector<bool> expected(std::size(options), false);
    expected[i] = true;
    EXPECT_EQ(Shown({"check", options[i]}, flags), PrintToString(expected)) << options[i];
  }
}

TEST(CmdArgs, CutsTheDefaultPrefixAtTheLastDotOfTheWholePath) {
  EXPECT_EQ(Shown({"check", "--in", "./run.1/model"}, Prefix), "./run-check");
  EXPECT_EQ(Shown({"check", "--in", "a.b.pdb"}, Prefix), "a.b-check");
}

TEST(CmdArgs, MakesTheDefaultPrefixOfInputAndMode) {
  EXPECT_EQ(Shown({"remove", "--in", "model.pdb"}, Prefix), "model-remove");
  EXPECT_EQ(Shown({"cHeCk", "--in", "model"}, Prefix), "model-check");
}

TEST(CmdArgs, TakesTheGivenPrefix) {
  EXPECT_EQ(Shown({"check", "--in", "a.pdb", "--out", "b"}, Prefix), "b");
  EXPECT_EQ(Shown({"check", "--in", "a.pdb", "--out=x=y"}, Prefix), "x=y");
  EXPECT_EQ(Shown({"check", "--in", "a.pdb", "--out="}, Prefix), "");
}

TEST(CmdArgs, KeepsBlanksOfNames) {
  const auto names = [](const CmdArgs& args) {
    return args.inFilename + "|" + args.outPrefix + "|" + args.topFilename;
  };
  EXPECT_EQ(Shown({"check", "-i", " a b.pdb ", "-o", " c ", "-t", " d\t"}, names),
            " a b.pdb | c | d\t");
  EXPECT_EQ(Shown({"check", "-i", " a b.pdb "}, names), " a b.pdb | a b-check|");
}

TEST(CmdArgs, HasNoPrefixWithoutAnInput) {
  EXPECT_EQ(Shown({"check"}, Prefix), "");
  EXPECT_EQ(Shown({"check", "--in="}, Prefix), "");
}

TEST(CmdArgs, AcceptsZeroForSuperCells) {
  const auto cells = [](const CmdArgs& args) { return PrintToString(args.superCells); };
  EXPECT_EQ(Shown({"check", "--super-cells", "0 0 0"}, cells), "{ 0, 0, 0 }");
}

TEST(CmdArgs, AcceptsZeroForTheIonicStrength) {
  const auto strength = [](const CmdArgs& args) { return PrintToString(args.ionicStrength); };
  EXPECT_EQ(Shown({"check", "--ionic-strength", "0"}, strength), "0");
  EXPECT_EQ(Shown({"check", "--ionic-strength", "-0"}, strength), "-0");
}

TEST(CmdArgs, HasTheDoubleNearestToOneHundredthForTheIonicStrength) {
  const auto is_exact = [](const CmdArgs& args) {
    return PrintToString(args.ionicStrength == 0.01);
  };
  EXPECT_EQ(Shown({"check"}, is_exact), "true");
}

TEST(CmdArgs, AcceptsSixOrNineNumbersForTheLattice) {
  const auto pbc = [](const CmdArgs& args) { return PrintToString(args.pbc); };
  EXPECT_EQ(Shown({"check", "--pbc", "1 2 3 4 5 6"}, pbc), "{ 1, 2, 3, 4, 5, 6 }");
  EXPECT_EQ(Shown({"check", "--pbc", "1 2 3 4 5 6 7 8 9"}, pbc), "{ 1, 2, 3, 4, 5, 6, 7, 8, 9 }");
}

TEST(CmdArgs, AcceptsAnInfiniteBox) {
  const auto box = [](const CmdArgs& args) { return PrintToString(args.box); };
  EXPECT_EQ(Shown({"check", "--box", "1e400 5 5"}, box), "{ inf, 5, 5 }");
}

TEST(CmdArgs, KeepsTheCaseOfMutations) {
  const auto mutations = [](const CmdArgs& args) { return PrintToString(args.mutate); };
  EXPECT_EQ(Shown({"check", "--mutate", "12A LYS 13A Arg"}, mutations),
            "{ { \"12A\", \"LYS\" }, { \"13A\", \"Arg\" } }");
}

TEST(CmdArgs, TakesBlankListsForEmptyOnes) {
  const auto lists = [](const CmdArgs& args) {
    return PrintToString(args.removeChains) + PrintToString(args.addBonds) +
           PrintToString(args.mutate) + PrintToString(args.mml);
  };
  EXPECT_EQ(
      Shown({"check", "--chains", "  ", "--add-bonds", " ", "--mutate=", "--mml", "\t"}, lists),
      "{}{}{}{}");
}

TEST(CmdArgs, IgnoresStrayArguments) {
  const auto chains = [](const CmdArgs& args) { return PrintToString(args.removeChains); };
  EXPECT_EQ(Shown({"check", "x", "--chains", "A", "B"}, chains), "{ \"A\" }");
}

TEST(CmdArgs, AcceptsBlanksAroundASingleInteger) {
  const auto integers = [](const CmdArgs& args) {
    return PrintToString(args.charge) + " " + PrintToString(args.delAtom);
  };
  EXPECT_EQ(Shown({"check", "--charge", " +3 ", "--del-atom", "\t7 "}, integers), "3 7");
}

// Messages.

TEST(CmdArgsMessages, AskForAnEvenNumberOfBondIndices) {
  const char* message =
      "Error occurs: The number of arguments for \"add-bonds\" should be an even number.\n";
  EXPECT_EQ(MessageFor({"check", "--add-bonds", "1 2 3"}), message);
  EXPECT_EQ(MessageFor({"check", "--add-bonds", "x"}), message);
}

TEST(CmdArgsMessages, AskForIntegersAsBondIndices) {
  EXPECT_EQ(MessageFor({"check", "--add-bonds", "1 x"}),
            "Error occurs: The bond index should be an integer but not \"x\".\n");
  EXPECT_EQ(MessageFor({"check", "--add-bonds", "1 2 3 4.0"}),
            "Error occurs: The bond index should be an integer but not \"4.0\".\n");
  EXPECT_EQ(MessageFor({"check", "--add-bonds", "y x"}),
            "Error occurs: The bond index should be an integer but not \"y\".\n");
}

TEST(CmdArgsMessages, AskForAnIntegerAsAtomIndex) {
  EXPECT_EQ(MessageFor({"check", "--del-atom", "1 2"}),
            "Error occurs: The atom index should be an integer but not \"1 2\".\n");
  EXPECT_EQ(MessageFor({"check", "--del-atom="}),
            "Error occurs: The atom index should be an integer but not \"\".\n");
}

TEST(CmdArgsMessages, AskForAnEvenNumberOfWordsForMutations) {
  EXPECT_EQ(MessageFor({"check", "--mutate", "12A LYS 13A"}),
            "Error occurs: The number of arguments for \"mutate\" should be an even number.\n");
}

TEST(CmdArgsMessages, AskForTwoWordsForAModification) {
  const std::string head =
      "Error occurs: The number of arguments for \"my-mod\" should be 2 but not ";
  const std::string tail = ": residue name and site.\n";
  EXPECT_EQ(MessageFor({"check", "--my-mod", "XYZ"}), head + "1" + tail);
  EXPECT_EQ(MessageFor({"check", "--my-mod", "XYZ 12A 13A"}), head + "3" + tail);
  EXPECT_EQ(MessageFor({"check", "--my-mod", " "}), head + "0" + tail);
}

TEST(CmdArgsMessages, AskForThreeEdgesOfTheBox) {
  const std::string head = "Error occurs: The number of arguments for \"box\" should be 3 but not ";
  EXPECT_EQ(MessageFor({"check", "--box", "10 20"}), head + "2.\n");
  EXPECT_EQ(MessageFor({"check", "--box", "   "}), head + "0.\n");
}

TEST(CmdArgsMessages, AskForPositiveEdgesOfTheBox) {
  const std::string head = "Error occurs: The box size should be a positive real number but not \"";
  EXPECT_EQ(MessageFor({"check", "--box", "10 20 -1"}), head + "-1\".\n");
  EXPECT_EQ(MessageFor({"check", "--box", "10 20 0"}), head + "0\".\n");
  EXPECT_EQ(MessageFor({"check", "--box", "1 2e+ 3"}), head + "2e+\".\n");
  EXPECT_EQ(MessageFor({"check", "--box", "1 0e400 3"}), head + "0e400\".\n") << "not a number";
}

TEST(CmdArgsMessages, AskForAnIntegerAsCharge) {
  EXPECT_EQ(MessageFor({"check", "--charge", "+"}),
            "Error occurs: The charge should be an integer but not \"+\".\n");
  EXPECT_EQ(MessageFor({"check", "--charge", "1.0"}),
            "Error occurs: The charge should be an integer but not \"1.0\".\n");
  EXPECT_EQ(MessageFor({"check", "--charge="}),
            "Error occurs: The charge should be an integer but not \"\".\n");
}

TEST(CmdArgsMessages, AskForARealNumberAsIonicStrength) {
  EXPECT_EQ(MessageFor({"check", "--ionic-strength", "much"}),
            "Error occurs: The ionic strength should be a real number but not \"much\".\n");
  EXPECT_EQ(MessageFor({"check", "--ionic-strength="}),
            "Error occurs: The ionic strength should be a real number but not \"\".\n");
}

TEST(CmdArgsMessages, QuoteSingleValuesWithTheirBlanks) {
  EXPECT_EQ(MessageFor({"check", "--del-atom", " x "}),
            "Error occurs: The atom index should be an integer but not \" x \".\n");
  EXPECT_EQ(MessageFor({"check", "--charge", " x\t"}),
            "Error occurs: The charge should be an integer but not \" x\t\".\n");
  EXPECT_EQ(MessageFor({"check", "--ionic-strength", "  "}),
            "Error occurs: The ionic strength should be a real number but not \"  \".\n");
}

TEST(CmdArgsMessages, AskForAnIonicStrengthThatIsNotNegative) {
  EXPECT_EQ(MessageFor({"check", "--ionic-strength", "-0.5"}),
            "Error occurs: The ionic strength should be non-negative but not -0.50000.\n");
  EXPECT_EQ(MessageFor({"check", "--ionic-strength", "-1e-9"}),
            "Error occurs: The ionic strength should be non-negative but not -0.00000.\n");
}

TEST(CmdArgsMessages, AskForThreeNumbersForTheMove) {
  EXPECT_EQ(MessageFor({"check", "--move", "1"}),
            "Error occurs: The number of arguments for \"move\" should be 3 but not 1.\n");
  EXPECT_EQ(MessageFor({"check", "--move="}),
            "Error occurs: The number of arguments for \"move\" should be 3 but not 0.\n");
  EXPECT_EQ(MessageFor({"check", "--move", "1 2 x"}),
            "Error occurs: The move should be a real number but not \"x\".\n");
}

TEST(CmdArgsMessages, AskForSixOrNineNumbersForTheLattice) {
  const std::string head =
      "Error occurs: The number of arguments for \"pbc\" should be 6 or 9 but not ";
  EXPECT_EQ(MessageFor({"check", "--pbc", "1 2 3 4 5 6 7"}), head + "7.\n");
  EXPECT_EQ(MessageFor({"check", "--pbc", " "}), head + "0.\n");
}

TEST(CmdArgsMessages, SpeakOfTheMoveForABadNumberOfTheLattice) {
  EXPECT_EQ(MessageFor({"check", "--pbc", "1 2 3 4 x 6"}),
            "Error occurs: The move should be a real number but not \"x\".\n");
}

TEST(CmdArgsMessages, AskForThreeCountsOfSuperCells) {
  EXPECT_EQ(MessageFor({"check", "--super-cells", "1"}),
            "Error occurs: The number of arguments for \"super-cell\" should be 3 but not 1.\n");
  EXPECT_EQ(MessageFor({"check", "--super-cells", " "}),
            "Error occurs: The number of arguments for \"super-cell\" should be 3 but not 0.\n");
}

TEST(CmdArgsMessages, AskForCountsOfSuperCellsThatAreNotNegative) {
  const std::string head = "Error occurs: The super-cell should be a positive integer but not \"";
  EXPECT_EQ(MessageFor({"check", "--super-cells", "1 2 -1"}), head + "-1\".\n");
  EXPECT_EQ(MessageFor({"check", "--super-cells", "1 2 x"}), head + "x\".\n");
  EXPECT_EQ(MessageFor({"check", "--super-cells", "1 2 1.0"}), head + "1.0\".\n");
}

// Each pair of options comes with a bad value, and the message of the first is expected: options
// are checked in a fixed order, not in that of the command line.
TEST(CmdArgsMessages, ComeInAFixedOrder) {
  struct BadOption {
    List words;
    const char* message;
  };
  const BadOption options[] = {
      {{"--add-bonds", "1"},
       "Error occurs: The number of arguments for \"add-bonds\" should be an even number.\n"},
      {{"--del-atom", "x"}, "Error occurs: The atom index should be an integer but not \"x\".\n"},
      {{"--mutate", "1"},
       "Error occurs: The number of arguments for \"mutate\" should be an even number.\n"},
      {{"--my-mod", "1"},
       "Error occurs: The number of arguments for \"my-mod\" should be 2 but not 1: residue name "
       "and site.\n"},
      {{"--box", "1"},
       "Error occurs: The number of arguments for \"box\" should be 3 but not 1.\n"},
      {{"--charge", "x"}, "Error occurs: The charge should be an integer but not \"x\".\n"},
      {{"--ionic-strength", "x"},
       "Error occurs: The ionic strength should be a real number but not \"x\".\n"},
      {{"--move", "1"},
       "Error occurs: The number of arguments for \"move\" should be 3 but not 1.\n"},
      {{"--pbc", "1"},
       "Error occurs: The number of arguments for \"pbc\" should be 6 or 9 but not 1.\n"},
      {{"--super-cells", "1"},
       "Error occurs: The number of arguments for \"super-cell\" should be 3 but not 1.\n"},
  };
  for (std::size_t i = 0; i + 1 < std::size(options); ++i) {
    List words{"check"};
    words.insert(words.end(), options[i + 1].words.begin(), options[i + 1].words.end());
    words.insert(words.end(), options[i].words.begin(), options[i].words.end());
    EXPECT_EQ(MessageFor(words), options[i].message);
  }
}

}  // namespace
}  // namespace orvane

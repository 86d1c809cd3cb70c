// Parameters by atom types: what is read from a text, and what is found.
#include "CHARMMParameterFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::MessageOf;
using testing_support::OutputOf;

using Params = CHARMMParameterFiles;
using Terms = std::vector<Params::DihedralParam>;
using Words = std::vector<std::string>;

Params Parsed(const std::string& text) {
  Params params;
  EXPECT_EQ(OutputOf([&] { params.Parse(text); }), "");
  return params;
}

std::string MessageOfParsing(const std::string& text) {
  return MessageOf([&] { Params().Parse(text); });
}

Params::BondParam BondOf(const Params& params, const std::string& a, const std::string& b) {
  Params::BondParam out;
  EXPECT_TRUE(params.GetBondParam(a, b, out)) << a << " " << b;
  return out;
}

bool HasBond(const Params& params, const std::string& a, const std::string& b) {
  Params::BondParam out = {-1.0, -2.0};
  const bool found = params.GetBondParam(a, b, out);
  if (!found) {
    EXPECT_EQ(out, (Params::BondParam{-1.0, -2.0}));
  }
  return found;
}

// Reading.

TEST(CHARMMParameterFiles, EverySectionFillsItsTable) {
  const Params params = Parsed(
      "BONDS\n"
      "CT HA 330.0 1.10\n"
      "ANGLES\n"
      "HA CT HA 35.5 109.0\n"
      "HA CT OH 45.0 110.0 5.4 1.80\n"
      "DIHEDRALS\n"
      "HA CT OH H 0.14 3 -180.0\n"
      "IMPROPER\n"
      "N C CT H 20.0 0 1.5\n"
      "NONBONDED nbxmod 5 atom\n"
      "CT 0.0 -0.02 2.2\n"
      "HA 0.0 -0.03 1.3 0.0 -0.01 1.9\n"
      "END\n");
  EXPECT_EQ(BondOf(params, "CT", "HA"), (Params::BondParam{330.0, 1.1}));
  Params::AngleParam angle;
  ASSERT_TRUE(params.GetAngleParam("HA", "CT", "HA", angle));
  EXPECT_EQ(angle, (Params::AngleParam{35.5, 109.0, 0.0, 0.0}));
  ASSERT_TRUE(params.GetAngleParam("HA", "CT", "OH", angle));
  EXPECT_EQ(angle, (Params::AngleParam{45.0, 110.0, 5.4, 1.8}));
  Terms terms;
  ASSERT_TRUE(params.GetDihedralParam("HA", "CT", "OH", "H", terms));
  EXPECT_EQ(terms, (Terms{{0.14, 3, -180.0}}));
  Params::ImproperParam improper;
  ASSERT_TRUE(params.GetImproperParam("N", "C", "CT", "H", improper));
  EXPECT_EQ(improper, (Params::ImproperParam{20.0, 1.5}));
  Params::LennardJonesParam lj;
  ASSERT_TRUE(params.GetLennardJonesParam("CT", lj));
  EXPECT_EQ(lj, (Params::LennardJonesParam{-0.02, 2.2, -0.02, 2.2}));
  ASSERT_TRUE(params.GetLennardJonesParam("HA", lj));
  EXPECT_EQ(lj, (Params::LennardJonesParam{-0.03, 1.3, -0.01, 1.9}));
  EXPECT_EQ(params.GetBondParams().size(), 1u);
  EXPECT_EQ(params.GetAngleParams().size(), 2u);
  EXPECT_EQ(params.GetDihedralParams().size(), 1u);
  EXPECT_EQ(params.GetImproperParams().size(), 1u);
  EXPECT_EQ(params.GetLennardJonesParams().size(), 2u);
}

TEST(CHARMMParameterFiles, HeadsAreKnownInAnyCaseAndTypesKeepTheirs) {
  const Params params = Parsed("bonds\nCt hA 1 2\nEnd\nA B 3 4\n");
  EXPECT_TRUE(HasBond(params, "Ct", "hA"));
  EXPECT_FALSE(HasBond(params, "CT", "HA"));
  EXPECT_EQ(params.GetBondParams().size(), 1u);
  const Params upper = Parsed("BONDS\nCT HA 1 2\n");
  EXPECT_TRUE(HasBond(upper, "CT", "HA"));
  EXPECT_FALSE(HasBond(upper, "ct", "ha"));
}

TEST(CHARMMParameterFiles, TheRestOfAHeadLineIsIgnored) {
  // Each rest would be a good line of the section that its head begins.
  const Params params = Parsed(
      "BONDS C D 5 6\nA B 1 2\n"
      "Angles D E F 5 6\nA B C 3 4\n"
      "DIHEDRALS E F G H 5 6 7\nA B C D 1 2 3\n"
      "IMPROPER E F G H 5 0 7\nA B C D 1 0 3\n"
      "NONBONDED E 0 5 6\nA 0 1 2\n");
  EXPECT_TRUE(HasBond(params, "A", "B"));
  EXPECT_EQ(params.GetBondParams().size(), 1u);
  EXPECT_EQ(params.GetAngleParams().size(), 1u);
  EXPECT_EQ(params.GetDihedralParams().size(), 1u);
  EXPECT_EQ(params.GetImproperParams().size(), 1u);
  EXPECT_EQ(params.GetLennardJonesParams().size(), 1u);
}

TEST(CHARMMParameterFiles, AHeadIsMatchedInFull) {
  const Params params = Parsed(
      "BOND\nA B 1 2\n"
      "BONDS\nA B 1 2\n"
      "ANGL\nTHETAS\nDIHE\nPHI\nIMPR\nIMPHI\nNONB\nNBFIX\nATOMS\nHBOND CUTHB 0.5\n"
      "C D 3 4\n");
  EXPECT_EQ(params.GetBondParams().size(), 2u);
}

TEST(CHARMMParameterFiles, LinesOutsideOfAnySectionAndInCrossTermsAreDropped) {
  const Params params = Parsed(
      "* Title of four words\nATOMS\nMASS -1 CT 12.0\nA B 1 2\n"
      "BONDS\nA B 1 2\n"
      "CMAP\nC D 3 4\nnot a number\n0.1 0.2 0.3 0.4 0.5\n"
      "NONBONDED\nA 0.0 -1.0 2.0\n");
  EXPECT_EQ(params.GetBondParams().size(), 1u);
  EXPECT_EQ(params.GetLennardJonesParams().size(), 1u);
  EXPECT_EQ(params.GetAngleParams().size(), 0u);
}

TEST(CHARMMParameterFiles, LinesOfAnotherNumberOfWordsVanish) {
  const Params params = Parsed(
      "BONDS\nA B 1\nA B 1 2 3\nA\n"
      "ANGLES\nA B C 1\nA B C 1 2 3\nA B C 1 2 3 4 5\n"
      "DIHEDRALS\nA B C D 1 2\nA B C D 1 2 3 4\n"
      "IMPROPER\nA B C D 1 2\nA B C D 1 2 3 4\n"
      "NONBONDED\ncutnb 14.0 ctofnb 12.0 ctonnb 10.0 eps 1.0 e14fac 1.0 wmin 1.5\n"
      "A 0.0 1.0\nA 0 1 2 3\nA 0 1 2 3 4\n");
  EXPECT_TRUE(params.GetBondParams().empty());
  EXPECT_TRUE(params.GetAngleParams().empty());
  EXPECT_TRUE(params.GetDihedralParams().empty());
  EXPECT_TRUE(params.GetImproperParams().empty());
  EXPECT_TRUE(params.GetLennardJonesParams().empty());
}

TEST(CHARMMParameterFiles, CommentsBlanksAndCarriageReturnsAreCut) {
  const Params params = Parsed(
      "! BONDS\n\nBONDS!\r\n \t A\tB  1 2 ! from a paper, and some words\r\n!C D 3 4\nE F! 5 6\n"
      "   \n! END\nG H 7 8!9 10\n");
  EXPECT_EQ(params.GetBondParams().size(), 2u);
  EXPECT_EQ(BondOf(params, "A", "B"), (Params::BondParam{1.0, 2.0}));
  EXPECT_EQ(BondOf(params, "G", "H"), (Params::BondParam{7.0, 8.0}));
}

TEST(CHARMMParameterFiles, NothingButAnExclamationMarkBeginsAComment) {
  const Params params = Parsed("BONDS\n*A B 1 2\n#C D 3 4\nE* F# 5 6\n\"G H\" 7 8\nI J 9 10 -\n");
  EXPECT_EQ(params.GetBondParams().size(), 4u);
  EXPECT_EQ(BondOf(params, "*A", "B"), (Params::BondParam{1.0, 2.0}));
  EXPECT_EQ(BondOf(params, "#C", "D"), (Params::BondParam{3.0, 4.0}));
  EXPECT_EQ(BondOf(params, "E*", "F#"), (Params::BondParam{5.0, 6.0}));
  EXPECT_EQ(BondOf(params, "\"G", "H\""), (Params::BondParam{7.0, 8.0}));
}

TEST(CHARMMParameterFiles, NothingAfterEndIsRead) {
  const Params params = Parsed("BONDS\nA B 1 2\nend of it\nC D x y\nBONDS\nE F 3 4\n");
  EXPECT_EQ(params.GetBondParams().size(), 1u);
}

TEST(CHARMMParameterFiles, WithoutEndATextIsReadToItsLastLine) {
  EXPECT_TRUE(HasBond(Parsed("BONDS\nA B 1 2\nC D 3 4"), "C", "D"));
  EXPECT_TRUE(HasBond(Parsed("BONDS\nA B 1 2\nC D 3 4\n"), "C", "D"));
  EXPECT_TRUE(Parsed("").GetBondParams().empty());
}

TEST(CHARMMParameterFiles, ALaterLineOfTheSameTypesReplacesTheEarlierOne) {
  const Params params = Parsed(
      "BONDS\nA B 1 2\nA B 3 4\nB A 5 6\n"
      "ANGLES\nA B C 1 2 3 4\nA B C 5 6\n"
      "IMPROPER\nA B C D 1 0 2\nA B C D 3 0 4\n"
      "NONBONDED\nA 0 1 2 0 3 4\nA 0 5 6\n");
  EXPECT_EQ(BondOf(params, "A", "B"), (Params::BondParam{3.0, 4.0}));
  EXPECT_EQ(BondOf(params, "B", "A"), (Params::BondParam{5.0, 6.0}));
  Params::AngleParam angle;
  ASSERT_TRUE(params.GetAngleParam("A", "B", "C", angle));
  EXPECT_EQ(angle, (Params::AngleParam{5.0, 6.0, 0.0, 0.0}));
  Params::ImproperParam improper;
  ASSERT_TRUE(params.GetImproperParam("A", "B", "C", "D", improper));
  EXPECT_EQ(improper, (Params::ImproperParam{3.0, 4.0}));
  Params::LennardJonesParam lj;
  ASSERT_TRUE(params.GetLennardJonesParam("A", lj));
  EXPECT_EQ(lj, (Params::LennardJonesParam{5.0, 6.0, 5.0, 6.0}));
}

TEST(CHARMMParameterFiles, DihedralsOfTheSameTypesAddUp) {
  const Params params =
      Parsed("DIHEDRALS\nA B C D 1.0 2 180.0\nD C B A 9.0 1 0.0\nA B C D 0.5 3 0.0\n");
  Terms terms;
  ASSERT_TRUE(params.GetDihedralParam("A", "B", "C", "D", terms));
  EXPECT_EQ(terms, (Terms{{1.0, 2, 180.0}, {0.5, 3, 0.0}}));
  ASSERT_TRUE(params.GetDihedralParam("D", "C", "B", "A", terms));
  EXPECT_EQ(terms, (Terms{{9.0, 1, 0.0}}));
}

TEST(CHARMMParameterFiles, EqualDihedralsAreAllKept) {
  const Params params = Parsed("DIHEDRALS\nA B C D 1 2 3\nA B C D 1 2 3\nA B C D 4 2 3\n");
  Terms terms;
  ASSERT_TRUE(params.GetDihedralParam("A", "B", "C", "D", terms));
  EXPECT_EQ(terms, (Terms{{1.0, 2, 3.0}, {1.0, 2, 3.0}, {4.0, 2, 3.0}}));
}

TEST(CHARMMParameterFiles, ImpropersIsNoHeadAndItsLinesJoinTheDihedrals) {
  const Params params = Parsed("DIHEDRALS\nA B C D 1.0 2 180.0\nIMPROPERS\nN C CT H 20.0 0 0.0\n");
  EXPECT_TRUE(params.GetImproperParams().empty());
  Terms terms;
  ASSERT_TRUE(params.GetDihedralParam("N", "C", "CT", "H", terms));
  EXPECT_EQ(terms, (Terms{{20.0, 0, 0.0}}));
  EXPECT_EQ(Parsed("IMPROPER\nN C CT H 20.0 0 0.0\n").GetImproperParams().size(), 1u);
}

TEST(CHARMMParameterFiles, TheMultiplicityOfAnImproperIsNotLookedAt) {
  const Params params = Parsed("IMPROPER\nA B C D 20.0 none 3.0\n");
  Params::ImproperParam improper;
  ASSERT_TRUE(params.GetImproperParam("A", "B", "C", "D", improper));
  EXPECT_EQ(improper, (Params::ImproperParam{20.0, 3.0}));
}

TEST(CHARMMParameterFiles, TheIgnoredWordsOfALennardJonesLineMayBeAnything) {
  const Params params = Parsed("NONBONDED\nA ? -1 2 ? -3 4\nB ? -5 6\n");
  Params::LennardJonesParam lj;
  ASSERT_TRUE(params.GetLennardJonesParam("A", lj));
  EXPECT_EQ(lj, (Params::LennardJonesParam{-1.0, 2.0, -3.0, 4.0}));
  EXPECT_TRUE(params.GetLennardJonesParam("B", lj));
}

TEST(CHARMMParameterFiles, ParsingTwiceAddsToTheTables) {
  Params params = Parsed("BONDS\nA B 1 2\nDIHEDRALS\nA B C D 1 1 1\nEND\n");
  params.Parse("E F 7 8\nBONDS\nC D 3 4\nDIHEDRALS\nA B C D 2 2 2\n");
  EXPECT_EQ(params.GetBondParams().size(), 2u);
  Terms terms;
  ASSERT_TRUE(params.GetDihedralParam("A", "B", "C", "D", terms));
  EXPECT_EQ(terms.size(), 2u);
}

TEST(CHARMMParameterFiles, WordsCanBeAddedDirectly) {
  Params params;
  params.AddBondParams({"A", "B", "1", "2"});
  params.AddBondParams({});
  params.AddAngleParams({"A", "B", "C", "1", "2", "3", "4"});
  params.AddDihedralParams({"A", "B", "C", "D", "1", "-2", "3"});
  params.AddImproperParams({"A", "B", "C", "D", "1", "2", "3"});
  params.AddLennardJonesParams({"A", "0", "1", "2"});
  EXPECT_EQ(params.GetBondParams().size(), 1u);
  EXPECT_EQ(params.GetAngleParams().size(), 1u);
  EXPECT_EQ(params.GetDihedralParams().begin()->second, (Terms{{1.0, -2, 3.0}}));
  EXPECT_EQ(params.GetImproperParams().begin()->second, (Params::ImproperParam{1.0, 3.0}));
  EXPECT_EQ(params.GetLennardJonesParams().size(), 1u);
}

TEST(CHARMMParameterFiles, AWordThatIsNoNumberEndsTheRun) {
  EXPECT_EQ(MessageOfParsing("BONDS\nA B 1a 2\n"),
            "Error occurs: The bond parameters in \"parameter text\" should be real numbers but "
            "not \"1a\" and \"2\".");
  EXPECT_EQ(MessageOfParsing("BONDS\nA B 1 nan\n"),
            "Error occurs: The bond parameters in \"parameter text\" should be real numbers but "
            "not \"1\" and \"nan\".");
  EXPECT_EQ(MessageOfParsing("ANGLES\nA B C 1 two\n"),
            "Error occurs: The angle parameters in \"parameter text\" should be real numbers but "
            "not \"1\" and \"two\".");
  EXPECT_EQ(MessageOfParsing("ANGLES\nA B C one 2\n"),
            "Error occurs: The angle parameters in \"parameter text\" should be real numbers but "
            "not \"one\" and \"2\".");
  for (const char* line : {"w 2 3 4", "1 w 3 4", "1 2 w 4", "1 2 3 w"}) {
    const std::string text(line);
    EXPECT_EQ(MessageOfParsing("ANGLES\nA B C " + text + "\n"),
              "Error occurs: The angle and Urey-Bradley parameters in \"parameter text\" should be "
              "real numbers but not \"" +
                  text.substr(0, 1) + "\", \"" + text.substr(2, 1) + "\", \"" + text.substr(4, 1) +
                  "\", and \"" + text.substr(6, 1) + "\".");
  }
  EXPECT_EQ(MessageOfParsing("IMPROPER\nA B C D 1 0 b\n"),
            "Error occurs: The improper parameters in \"parameter text\" should be real numbers "
            "but not \"1\" and \"b\".");
  EXPECT_EQ(MessageOfParsing("IMPROPER\nA B C D a 0 2\n"),
            "Error occurs: The improper parameters in \"parameter text\" should be real numbers "
            "but not \"a\" and \"2\".");
}

TEST(CHARMMParameterFiles, TheMultiplicityOfADihedralMustBeAnInteger) {
  const std::string message =
      "Error occurs: The dihedral parameters in \"parameter text\" should be real numbers but not ";
  EXPECT_EQ(MessageOfParsing("DIHEDRALS\nA B C D 1 2.0 3\n"),
            message + "\"1\", \"2.0\" and \"3\".");
  EXPECT_EQ(MessageOfParsing("DIHEDRALS\nA B C D x 2 3\n"), message + "\"x\", \"2\" and \"3\".");
  EXPECT_EQ(MessageOfParsing("DIHEDRALS\nA B C D 1 2 y\n"), message + "\"1\", \"2\" and \"y\".");
  EXPECT_EQ(MessageOfParsing("DIHEDRALS\nA B C D 1 99999999999 3\n"),
            message + "\"1\", \"99999999999\" and \"3\".");
}

TEST(CHARMMParameterFiles, LennardJonesMessagesNameThePairInQuestion) {
  const std::string message =
      "Error occurs: The Lennard-Jones parameters in \"parameter text\" should be real numbers but "
      "not ";
  EXPECT_EQ(MessageOfParsing("NONBONDED\nA 0 x 2\n"), message + "\"x\" and \"2\".");
  EXPECT_EQ(MessageOfParsing("NONBONDED\nA 0 1 y\n"), message + "\"1\" and \"y\".");
  EXPECT_EQ(MessageOfParsing("NONBONDED\nA 0 1 2 0 x 4\n"), message + "\"x\" and \"4\".");
  EXPECT_EQ(MessageOfParsing("NONBONDED\nA 0 1 2 0 3 y\n"), message + "\"3\" and \"y\".");
  EXPECT_EQ(MessageOfParsing("NONBONDED\nA 0 u 2 0 v 4\n"), message + "\"u\" and \"2\".");
}

TEST(CHARMMParameterFiles, MessagesNameTheLastSource) {
  Params params;
  EXPECT_TRUE(params.GetFilenames().empty());
  params.filenames = {"first.prm", "second.prm"};
  EXPECT_EQ(params.GetFilenames(), (Words{"first.prm", "second.prm"}));
  EXPECT_EQ(MessageOf([&] {
              params.AddBondParams({"A", "B", "x", "y"});
            }),
            "Error occurs: The bond parameters in \"second.prm\" should be real numbers but not "
            "\"x\" and \"y\".");
}

// The parameters that are built in.

TEST(CHARMMParameterFiles, TheBuiltInTextFillsTheTables) {
  Params params;
  EXPECT_EQ(OutputOf([&] { params.Initialize(); }), "");
  EXPECT_EQ(params.GetBondParams().size(), 501u);
  EXPECT_EQ(params.GetAngleParams().size(), 1553u);
  EXPECT_EQ(params.GetDihedralParams().size(), 3343u);
  EXPECT_TRUE(params.GetImproperParams().empty());
  EXPECT_EQ(params.GetLennardJonesParams().size(), 155u);
  EXPECT_TRUE(params.GetFilenames().empty());
  std::size_t terms = 0;
  std::size_t terms_of_impropers = 0;
  std::size_t keys_of_impropers = 0;
  std::size_t most_terms = 0;
  for (const auto& [types, entry] : params.GetDihedralParams()) {
    terms += entry.size();
    most_terms = std::max(most_terms, entry.size());
    if (entry[0].n == 0) ++keys_of_impropers;
    for (const Params::DihedralParam& term : entry) terms_of_impropers += term.n == 0;
    for (const std::string& type : types) EXPECT_NE(type, Params::AtomWildcard);
  }
  EXPECT_EQ(terms, 4046u);
  EXPECT_EQ(terms_of_impropers, 125u);
  EXPECT_EQ(keys_of_impropers, 125u);
  EXPECT_EQ(most_terms, 5u);
}

TEST(CHARMMParameterFiles, TheBuiltInParametersAreFoundBothWaysRound) {
  Params params;
  params.Initialize();
  EXPECT_EQ(BondOf(params, "CG331", "HGA3"), (Params::BondParam{322.0, 1.111}));
  EXPECT_EQ(BondOf(params, "HGA3", "CG331"), (Params::BondParam{322.0, 1.111}));
  Params::AngleParam angle;
  ASSERT_TRUE(params.GetAngleParam("HGA3", "CG331", "CG331", angle));
  EXPECT_EQ(angle, (Params::AngleParam{37.5, 110.1, 22.53, 2.179}));
  Terms terms = {{7.0, 7, 7.0}};
  ASSERT_TRUE(params.GetDihedralParam("HGP1", "OG311", "CG321", "CG2D1", terms));
  ASSERT_EQ(terms.size(), 3u);
  const Terms expected = {{1.3, 1, 0.0}, {0.7, 2, 0.0}, {0.14, 3, 0.0}};
  for (std::size_t i = 0; i < terms.size(); ++i) {
    EXPECT_DOUBLE_EQ(terms[i].Kchi, expected[i].Kchi);
    EXPECT_EQ(terms[i].n, expected[i].n);
    EXPECT_EQ(terms[i].delta, expected[i].delta);
  }
  // Of the list of impropers.
  ASSERT_TRUE(params.GetDihedralParam("CG2D1", "CG331", "NG2D1", "HGA4", terms));
  EXPECT_EQ(terms, (Terms{{25.0, 0, 0.0}}));
  Params::ImproperParam improper;
  EXPECT_FALSE(params.GetImproperParam("CG2D1", "CG331", "NG2D1", "HGA4", improper));
  Params::LennardJonesParam lj;
  ASSERT_TRUE(params.GetLennardJonesParam("CG301", lj));
  EXPECT_EQ(lj, (Params::LennardJonesParam{-0.032, 2.0, -0.01, 1.9}));
  EXPECT_FALSE(HasBond(params, "hga3", "cg331"));
}

// Looking up.

TEST(CHARMMParameterFiles, AnEmptyTableFindsNothingAndLeavesTheResultAsItWas) {
  const Params params;
  EXPECT_FALSE(HasBond(params, "A", "B"));
  Params::AngleParam angle = {1.0, 2.0, 3.0, 4.0};
  EXPECT_FALSE(params.GetAngleParam("A", "B", "C", angle));
  EXPECT_EQ(angle, (Params::AngleParam{1.0, 2.0, 3.0, 4.0}));
  Terms terms = {{1.0, 2, 3.0}, {4.0, 5, 6.0}};
  EXPECT_FALSE(params.GetDihedralParam("A", "B", "C", "D", terms));
  EXPECT_EQ(terms, (Terms{{1.0, 2, 3.0}, {4.0, 5, 6.0}}));
  Params::ImproperParam improper = {1.0, 2.0};
  EXPECT_FALSE(params.GetImproperParam("A", "B", "C", "D", improper));
  EXPECT_EQ(improper, (Params::ImproperParam{1.0, 2.0}));
  Params::LennardJonesParam lj = {1.0, 2.0, 3.0, 4.0};
  EXPECT_FALSE(params.GetLennardJonesParam("A", lj));
  EXPECT_EQ(lj, (Params::LennardJonesParam{1.0, 2.0, 3.0, 4.0}));
}

TEST(CHARMMParameterFiles, TheExactKeyComesBeforeItsReverseAndThatBeforeWildcards) {
  const Params params = Parsed("BONDS\nA X 1 1\nB A 2 2\nX A 4 4\nA B 3 3\nA C 5 5\n");
  EXPECT_EQ(BondOf(params, "A", "B").Kb, 3.0);
  EXPECT_EQ(BondOf(params, "B", "A").Kb, 2.0);
  EXPECT_EQ(BondOf(params, "C", "A").Kb, 5.0);
  EXPECT_EQ(BondOf(params, "D", "A").Kb, 1.0);
}

TEST(CHARMMParameterFiles, AWildcardFitsBackwardsToo) {
  const Params params = Parsed("BONDS\nA X 1 1\n");
  EXPECT_TRUE(HasBond(params, "B", "A"));
  EXPECT_TRUE(HasBond(params, "A", "B"));
  EXPECT_FALSE(HasBond(params, "B", "C"));
}

TEST(CHARMMParameterFiles, OfTheKeysThatFitTheFirstInOrderWins) {
  const Params params =
      Parsed("DIHEDRALS\nX C D E 1 1 1\nB X X X 2 2 2\nE X X X 3 3 3\nA X X E 4 4 4\n");
  Terms terms;
  // Before the more specific one.
  ASSERT_TRUE(params.GetDihedralParam("B", "C", "D", "E", terms));
  EXPECT_EQ(terms, (Terms{{2.0, 2, 2.0}}));
  // Backwards, before one that fits forwards.
  ASSERT_TRUE(params.GetDihedralParam("E", "D", "C", "A", terms));
  EXPECT_EQ(terms, (Terms{{4.0, 4, 4.0}}));
}

TEST(CHARMMParameterFiles, TheWildcardWorksInKeysAlone) {
  const Params params = Parsed("BONDS\nA B 1 1\nNONBONDED\nX 0 1 2\n");
  EXPECT_FALSE(HasBond(params, "A", "X"));
  EXPECT_FALSE(HasBond(params, "X", "X"));
  EXPECT_TRUE(HasBond(Parsed("BONDS\nA X 1 1\n"), "X", "A"));
  EXPECT_FALSE(HasBond(Parsed("BONDS\nA x 1 1\n"), "A", "B"));
  Params::LennardJonesParam lj;
  EXPECT_FALSE(params.GetLennardJonesParam("A", lj));
  EXPECT_TRUE(params.GetLennardJonesParam("X", lj));
}

TEST(CHARMMParameterFiles, AnEmptyTypeFitsWildcardsAlone) {
  EXPECT_FALSE(HasBond(Parsed("BONDS\nA B 1 1\n"), "A", ""));
  EXPECT_TRUE(HasBond(Parsed("BONDS\nA X 1 1\n"), "A", ""));
  EXPECT_TRUE(HasBond(Parsed("BONDS\nX X 1 1\n"), "", ""));
}

TEST(CHARMMParameterFiles, TypesAreFoundInTheirOwnCaseOnly) {
  const Params params = Parsed("BONDS\nCa b 1 2\nNONBONDED\nCa 0 1 2\n");
  EXPECT_TRUE(HasBond(params, "Ca", "b"));
  EXPECT_FALSE(HasBond(params, "CA", "B"));
  Params::LennardJonesParam lj;
  EXPECT_TRUE(params.GetLennardJonesParam("Ca", lj));
  EXPECT_FALSE(params.GetLennardJonesParam("CA", lj));
  EXPECT_FALSE(params.GetLennardJonesParam("ca", lj));
}

TEST(CHARMMParameterFiles, AnEntryIsTakenWholeAndReplacesTheResult) {
  const Params params = Parsed(
      "DIHEDRALS\nA B C D 3 3 3\nD C B A 9 9 9\nX B C X 8 8 8\nA B C D 1 1 1\nA B C D 2 2 2\n");
  Terms terms(10, {5.0, 5, 5.0});
  ASSERT_TRUE(params.GetDihedralParam("A", "B", "C", "D", terms));
  EXPECT_EQ(terms, (Terms{{3.0, 3, 3.0}, {1.0, 1, 1.0}, {2.0, 2, 2.0}}));
}

TEST(CHARMMParameterFiles, CopiesFindWhatTheOriginalFinds) {
  Params copy;
  {
    const Params params = Parsed("BONDS\nA X 1 1\n");
    copy = params;
  }
  EXPECT_TRUE(HasBond(copy, "Q", "A"));
}

// A look-up as one would write it first: the exact key, its reverse, and a walk over the whole
// table.
template <typename Record>
const Record* PlainFind(const std::map<Words, Record>& table, const Words& types) {
  const Words reversed(types.rbegin(), types.rend());
  if (table.count(types) > 0) return &table.at(types);
  if (table.count(reversed) > 0) return &table.at(reversed);
  for (const auto& [key, record] : table) {
    for (const Words& wanted : {types, reversed}) {
      bool fits = true;
      for (std::size_t i = 0; i < key.size(); ++i) {
        if (key[i] != wanted[i] && key[i] != "X") fits = false;
      }
      if (fits) return &record;
    }
  }
  return nullptr;
}

class RandomTables {
 public:
  explicit RandomTables(unsigned seed) : engine_(seed) {}

  Words Types(std::size_t count) {
    // "X" sorts between the others, and among them there is the lower-case letter.
    static const Words kTypes = {"A", "B", "W", "X", "X", "Y", "a", "x", "AB"};
    Words types;
    while (types.size() < count) types.push_back(kTypes[engine_() % kTypes.size()]);
    return types;
  }

  unsigned Below(unsigned limit) { return static_cast<unsigned>(engine_() % limit); }

 private:
  std::mt19937 engine_;
};

std::string Line(const Words& words) {
  std::string line;
  for (const std::string& word : words) line += word + " ";
  return line;
}

TEST(CHARMMParameterFiles, RandomTablesAreSearchedAsByAPlainWalk) {
  RandomTables random(7);
  std::size_t hits = 0;
  std::size_t misses = 0;
  for (int round = 0; round < 400; ++round) {
    std::map<Words, double> bonds, angles, impropers;
    std::map<Words, std::vector<double>> dihedrals;
    std::string bond_text = "BONDS\n", angle_text = "ANGLES\n", dihedral_text = "DIHEDRALS\n",
                improper_text = "IMPROPER\n";
    const unsigned size = random.Below(12);
    for (unsigned i = 0; i < size; ++i) {
      const double value = i + 1.0;
      const std::string number = std::to_string(i + 1);
      const Words two = random.Types(2), three = random.Types(3), four = random.Types(4),
                  other_four = random.Types(4);
      bonds[two] = angles[three] = impropers[other_four] = value;
      dihedrals[four].push_back(value);
      bond_text += Line(two) + number + " 0\n";
      angle_text += Line(three) + number + " 0\n";
      dihedral_text += Line(four) + number + " 1 0\n";
      improper_text += Line(other_four) + number + " 0 0\n";
    }
    Params params;
    params.Parse(bond_text + angle_text + dihedral_text + improper_text + "END\n");
    for (int i = 0; i < 30; ++i) {
      const Words t = random.Types(4);
      Params::BondParam bond;
      const double* const plain_bond = PlainFind(bonds, {t[0], t[1]});
      ASSERT_EQ(params.GetBondParam(t[0], t[1], bond), plain_bond != nullptr);
      if (plain_bond != nullptr) {
        EXPECT_EQ(bond.Kb, *plain_bond);
      }
      Params::AngleParam angle;
      const double* const plain_angle = PlainFind(angles, {t[0], t[1], t[2]});
      ASSERT_EQ(params.GetAngleParam(t[0], t[1], t[2], angle), plain_angle != nullptr);
      if (plain_angle != nullptr) {
        EXPECT_EQ(angle.Ktheta, *plain_angle);
      }
      Terms terms;
      const std::vector<double>* const plain_terms = PlainFind(dihedrals, t);
      ASSERT_EQ(params.GetDihedralParam(t[0], t[1], t[2], t[3], terms), plain_terms != nullptr);
      std::vector<double> constants;
      for (const Params::DihedralParam& term : terms) constants.push_back(term.Kchi);
      EXPECT_EQ(constants, plain_terms != nullptr ? *plain_terms : std::vector<double>());
      Params::ImproperParam improper;
      const double* const plain_improper = PlainFind(impropers, t);
      ASSERT_EQ(params.GetImproperParam(t[0], t[1], t[2], t[3], improper),
                plain_improper != nullptr);
      if (plain_improper != nullptr) {
        EXPECT_EQ(improper.Kpsi, *plain_improper);
      }
      ++(plain_improper != nullptr ? hits : misses);
    }
  }
  EXPECT_GT(hits, 500u);
  EXPECT_GT(misses, 500u);
}

}  // namespace
}  // namespace orvane

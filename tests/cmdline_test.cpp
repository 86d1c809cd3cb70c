// The option parser: declarations, command lines, errors and the usage text.
#include "cmdline.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

// A second type of value, which not every text can be.
template <>
struct cmdline::default_reader<int> {
  int operator()(const std::string& text) const { return std::stoi(text); }
};

template <>
struct cmdline::value_form<int> {
  static std::string type_name() { return "int"; }
  static std::string text(int value) { return std::to_string(value); }
};

namespace cmdline {
namespace {

using Flag = parser::option_without_value;
using TextOption = parser::option_with_value_with_reader<std::string, default_reader<std::string>>;
using IntOption = parser::option_with_value_with_reader<int, default_reader<int>>;
using List = std::vector<std::string>;

static_assert(std::is_abstract_v<parser::option_base>);
static_assert(std::is_abstract_v<parser::option_with_value<std::string>>);
static_assert(std::is_base_of_v<std::exception, cmdline_error>);

// Lets a parser read these arguments, behind a program's name.
bool Parse(parser& options, const List& arguments) {
  std::vector<const char*> pointers{"tool"};
  for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
  return options.parse(static_cast<int>(pointers.size()), pointers.data());
}

// A parser with two options with a value and two flags.
class CmdlineParse : public testing::Test {
 protected:
  CmdlineParse() {
    options.add<std::string>("in", 'i', "Input", false, "");
    options.add<std::string>("out", 'o', "Output", false, "default");
    options.add("waters", 'w', "Waters");
    options.add("ions", 0, "Ions");
  }

  // The errors of a command line.
  List ErrorsOf(const List& arguments) {
    const bool is_good = Parse(options, arguments);
    EXPECT_EQ(is_good, options.errors.empty());
    return options.errors;
  }

  parser options;
};

template <typename Code>
std::string ErrorOf(Code code) {
  try {
    code();
  } catch (const cmdline_error& error) {
    EXPECT_EQ(error.what(), error.message);
    return error.message;
  }
  return "(no error)";
}

TEST(CmdlineReader, CopiesAText) {
  EXPECT_EQ(default_reader<std::string>()(" a=b "), " a=b ");
}

TEST(CmdlineFlag, IsGivenWithoutAValueOnly) {
  Flag flag("ions", 'n', "Remove ions");
  EXPECT_FALSE(flag.has_value());
  EXPECT_FALSE(flag.set("1"));
  EXPECT_FALSE(flag.has_set());
  EXPECT_TRUE(flag.set());
  EXPECT_TRUE(flag.has_set());
}

TEST(CmdlineFlag, IsNeverRequired) {
  const Flag flag("ions", 'n', "Remove ions");
  EXPECT_TRUE(flag.valid());
  EXPECT_FALSE(flag.must());
}

TEST(CmdlineFlag, TellsItsNamesAndDescriptions) {
  const Flag flag("ions", 'n', "Remove ions");
  EXPECT_EQ(flag.name(), "ions");
  EXPECT_EQ(flag.short_name(), 'n');
  EXPECT_EQ(flag.description(), "Remove ions");
  EXPECT_EQ(flag.short_description(), "--ions");
}

TEST(CmdlineValueOption, IsGivenWithAValueOnly) {
  TextOption option("out", 'o', false, "default", "Output");
  EXPECT_TRUE(option.has_value());
  EXPECT_FALSE(option.set());
  EXPECT_FALSE(option.has_set());
  EXPECT_EQ(option.get(), "default");
  EXPECT_TRUE(option.set(""));
  EXPECT_TRUE(option.has_set());
  EXPECT_EQ(option.get(), "");
}

TEST(CmdlineValueOption, KeepsItsStateWhenItsReaderThrows) {
  IntOption option("count", 'c', false, 7, "Count");
  EXPECT_FALSE(option.set("many"));
  EXPECT_FALSE(option.has_set());
  EXPECT_EQ(option.get(), 7);
  EXPECT_TRUE(option.set("12"));
  EXPECT_FALSE(option.set("many"));
  EXPECT_TRUE(option.has_set());
  EXPECT_EQ(option.get(), 12);
}

TEST(CmdlineValueOption, IsInvalidWhenItIsRequiredAndNotGiven) {
  TextOption required("in", 'i', true, "", "Input");
  EXPECT_TRUE(required.must());
  EXPECT_FALSE(required.valid());
  required.set("a");
  EXPECT_TRUE(required.valid());
  const TextOption optional("in", 'i', false, "", "Input");
  EXPECT_FALSE(optional.must());
  EXPECT_TRUE(optional.valid());
}

TEST(CmdlineValueOption, TellsTypeAndDefaultInItsDescription) {
  EXPECT_EQ(TextOption("out", 'o', false, "", "Output prefix").description(),
            "Output prefix (string [=])");
  EXPECT_EQ(TextOption("out", 'o', false, "x", "Output prefix").description(),
            "Output prefix (string [=x])");
  EXPECT_EQ(TextOption("out", 'o', true, "x", "Output prefix").description(),
            "Output prefix (string)");
  EXPECT_EQ(IntOption("n", 0, false, 7, "Count").description(), "Count (int [=7])");
}

TEST(CmdlineValueOption, TellsItsTypeInTheUsageLine) {
  EXPECT_EQ(TextOption("out", 'o', true, "", "Output").short_description(), "--out=string");
}

TEST(CmdlineParser, IsEmptyAfterItsConstruction) {
  const parser options;
  EXPECT_EQ(options.footer, "");
  EXPECT_EQ(options.program_name, "");
  EXPECT_TRUE(options.others.empty());
  EXPECT_TRUE(options.errors.empty());
}

TEST_F(CmdlineParse, WithoutOptionsIsGood) {
  EXPECT_TRUE(Parse(options, {}));
  EXPECT_FALSE(options.exist("in"));
  EXPECT_FALSE(options.exist("waters"));
  EXPECT_EQ(options.get<std::string>("out"), "default");
}

TEST_F(CmdlineParse, NeedsAProgramName) {
  EXPECT_FALSE(options.parse(0, nullptr));
  EXPECT_EQ(options.errors, (List{"argument number must be longer than 0"}));
}

TEST_F(CmdlineParse, NamesTheProgramUnlessItHasAName) {
  Parse(options, {});
  EXPECT_EQ(options.program_name, "tool");
  const char* const other[] = {"other"};
  options.parse(1, other);
  EXPECT_EQ(options.program_name, "tool");
}

TEST_F(CmdlineParse, GivesALongOptionTheNextArgument) {
  EXPECT_EQ(ErrorsOf({"--out", "x", "--waters"}), List{});
  EXPECT_EQ(options.get<std::string>("out"), "x");
  EXPECT_TRUE(options.exist("waters"));
  EXPECT_FALSE(options.exist("ions"));
}

TEST_F(CmdlineParse, GivesALongOptionAllBehindTheFirstEqualsSign) {
  EXPECT_EQ(ErrorsOf({"--out=x=y"}), List{});
  EXPECT_EQ(options.get<std::string>("out"), "x=y");
}

TEST_F(CmdlineParse, GivesALongOptionAnEmptyValueBehindAnEqualsSign) {
  EXPECT_EQ(ErrorsOf({"--out="}), List{});
  EXPECT_TRUE(options.exist("out"));
  EXPECT_EQ(options.get<std::string>("out"), "");
}

TEST_F(CmdlineParse, RefusesAValueForAFlag) {
  EXPECT_EQ(ErrorsOf({"--waters=1"}), (List{"option value is invalid: --waters=1"}));
  EXPECT_EQ(ErrorsOf({"--waters="}), (List{"option value is invalid: --waters="}));
  EXPECT_FALSE(options.exist("waters"));
}

TEST_F(CmdlineParse, TakesWhateverFollowsForAValue) {
  EXPECT_EQ(ErrorsOf({"--in", "-x", "-o", "--waters"}), List{});
  EXPECT_EQ(options.get<std::string>("in"), "-x");
  EXPECT_EQ(options.get<std::string>("out"), "--waters");
  EXPECT_FALSE(options.exist("waters"));
}

TEST_F(CmdlineParse, MissesAValueAtItsEnd) {
  EXPECT_EQ(ErrorsOf({"--in"}), (List{"option needs value: --in"}));
  EXPECT_EQ(ErrorsOf({"-i"}), (List{"option needs value: --in"}));
}

TEST_F(CmdlineParse, ReportsUnknownLongOptions) {
  EXPECT_EQ(
      ErrorsOf({"--bogus", "--other=3", "--=x"}),
      (List{"undefined option: --bogus", "undefined option: --other", "undefined option: --"}));
}

TEST_F(CmdlineParse, KnowsNoAbbreviationOfAnOption) {
  EXPECT_EQ(ErrorsOf({"--water"}), (List{"undefined option: --water"}));
}

TEST_F(CmdlineParse, TakesTwoDashesForAnUnknownOptionAndGoesOn) {
  EXPECT_EQ(ErrorsOf({"--", "--waters"}), (List{"undefined option: --"}));
  EXPECT_TRUE(options.exist("waters"));
}

TEST_F(CmdlineParse, DropsALoneDash) {
  EXPECT_EQ(ErrorsOf({"-", "a"}), List{});
  EXPECT_EQ(options.others, (List{"a"}));
}

TEST_F(CmdlineParse, KeepsOtherArgumentsBetweenOptions) {
  EXPECT_EQ(ErrorsOf({"foo", "--out", "x", "bar", ""}), List{});
  EXPECT_EQ(options.others, (List{"foo", "bar", ""}));
  EXPECT_EQ(options.get<std::string>("out"), "x");
}

TEST_F(CmdlineParse, GivesTheLastLetterOfAGroupTheNextArgument) {
  EXPECT_EQ(ErrorsOf({"-wo", "x"}), List{});
  EXPECT_TRUE(options.exist("waters"));
  EXPECT_EQ(options.get<std::string>("out"), "x");
}

TEST_F(CmdlineParse, HasNoValueForALetterInsideAGroup) {
  EXPECT_EQ(ErrorsOf({"-io", "name"}), (List{"option needs value: --in"}));
  EXPECT_FALSE(options.exist("in"));
  EXPECT_EQ(options.get<std::string>("out"), "name");
}

TEST_F(CmdlineParse, TakesTextBehindALetterForMoreLetters) {
  EXPECT_EQ(ErrorsOf({"-oname"}), (List{"option needs value: --out", "undefined short option: -n",
                                        "undefined short option: -a", "undefined short option: -m",
                                        "undefined short option: -e"}));
}

TEST_F(CmdlineParse, LeavesTheArgumentBehindAGroupThatEndsInAFlag) {
  EXPECT_EQ(ErrorsOf({"-w", "x"}), List{});
  EXPECT_EQ(options.others, (List{"x"}));
}

TEST_F(CmdlineParse, LeavesTheArgumentBehindAnUnknownLetter) {
  EXPECT_EQ(ErrorsOf({"-z", "x"}), (List{"undefined short option: -z"}));
  EXPECT_EQ(options.others, (List{"x"}));
}

TEST_F(CmdlineParse, TakesTheLaterOfTwoValues) {
  EXPECT_EQ(ErrorsOf({"--out", "x", "-o", "y"}), List{});
  EXPECT_EQ(options.get<std::string>("out"), "y");
}

TEST_F(CmdlineParse, IsReadToItsEndAndReportsErrorsInOrder) {
  EXPECT_EQ(ErrorsOf({"-z", "--bogus", "--ions", "--waters=1", "--in"}),
            (List{"undefined short option: -z", "undefined option: --bogus",
                  "option value is invalid: --waters=1", "option needs value: --in"}));
  EXPECT_TRUE(options.exist("ions"));
}

TEST_F(CmdlineParse, ForgetsErrorsAndOtherArgumentsOfTheOneBefore) {
  ErrorsOf({"--bogus", "a"});
  EXPECT_EQ(ErrorsOf({}), List{});
  EXPECT_EQ(options.others, List{});
}

TEST_F(CmdlineParse, RefusesAValueThatCannotBeRead) {
  options.add<int>("count", 'c', "Count", false, 1);
  EXPECT_EQ(ErrorsOf({"--count=a", "--count", "b", "-c", "d", "e"}),
            (List{"option value is invalid: --count=a", "option value is invalid: --count=b",
                  "option value is invalid: --count=d"}));
  EXPECT_EQ(options.others, (List{"e"}));
  EXPECT_EQ(options.get<int>("count"), 1);
}

TEST_F(CmdlineParse, MissesRequiredOptionsInTheOrderOfTheirNames) {
  options.add<std::string>("z", 0, "Z", true, "");
  options.add<std::string>("b", 0, "B", true, "");
  EXPECT_EQ(ErrorsOf({"--bogus"}),
            (List{"undefined option: --bogus", "need option: --b", "need option: --z"}));
  EXPECT_EQ(ErrorsOf({"--z=1", "--b=2"}), List{});
}

TEST_F(CmdlineParse, IsNotReadAtAllWhenTwoOptionsHaveOneLetter) {
  options.add("other", 'o', "Other");
  EXPECT_EQ(ErrorsOf({"--bogus", "a", "--waters"}), (List{"short option 'o' is ambiguous"}));
  EXPECT_EQ(options.others, List{});
  EXPECT_FALSE(options.exist("waters"));
}

TEST_F(CmdlineParse, CannotNameAnOptionWithAnEmptyNameByItsLetter) {
  options.add("", 'e', "Empty");
  EXPECT_EQ(ErrorsOf({"-e"}), (List{"undefined short option: -e"}));
  EXPECT_EQ(ErrorsOf({"--"}), List{});
  EXPECT_TRUE(options.exist(""));
}

TEST_F(CmdlineParse, HasAUsageTextWithOneLineForEachOption) {
  options.program_name = "tool";
  EXPECT_EQ(options.usage(),
            "usage: tool [options] ... \n"
            "options:\n"
            "  -i, --in        Input (string [=])\n"
            "  -o, --out       Output (string [=default])\n"
            "  -w, --waters    Waters\n"
            "      --ions      Ions\n");
}

TEST(CmdlineUsage, StartsDescriptionsInOneColumn) {
  parser options;
  options.add("a", 0, "First");
  options.add("abc", 'x', "Second");
  EXPECT_EQ(options.usage(),
            "usage:  [options] ... \n"
            "options:\n"
            "      --a      First\n"
            "  -x, --abc    Second\n");
}

TEST(CmdlineUsage, NamesRequiredOptionsAndFooterInItsFirstLine) {
  parser options;
  options.add<std::string>("z", 0, "Z", true, "");
  options.add("flag", 0, "Flag");
  options.add<std::string>("b", 'b', "B", true, "");
  options.program_name = "tool";
  options.footer = "files";
  EXPECT_EQ(options.usage(),
            "usage: tool --z=string --b=string [options] ... files\n"
            "options:\n"
            "      --z       Z (string)\n"
            "      --flag    Flag\n"
            "  -b, --b       B (string)\n");
}

TEST_F(CmdlineParse, ThrowsWhenAskedForAnUnknownOption) {
  EXPECT_EQ(ErrorOf([&] { options.exist("bogus"); }), "there is no flag: --bogus");
  EXPECT_EQ(ErrorOf([&] { options.get<std::string>("bogus"); }), "there is no flag: --bogus");
}

TEST_F(CmdlineParse, ThrowsWhenAskedForAValueOfAnotherType) {
  options.add<int>("count", 0, "Count", false, 1);
  EXPECT_EQ(ErrorOf([&] { options.get<std::string>("waters"); }), "type mismatch flag 'waters'");
  EXPECT_EQ(ErrorOf([&] { options.get<std::string>("count"); }), "type mismatch flag 'count'");
  EXPECT_EQ(ErrorOf([&] { options.get<int>("out"); }), "type mismatch flag 'out'");
}

TEST_F(CmdlineParse, ThrowsWhenAnOptionIsDeclaredTwice) {
  EXPECT_EQ(ErrorOf([&] { options.add("in", 0, "Again"); }), "multiple definition: in");
  EXPECT_EQ(ErrorOf([&] { options.add<std::string>("ions", 0, "Again", false, ""); }),
            "multiple definition: ions");
}

TEST_F(CmdlineParse, TellsWhichOptionsWereDeclared) {
  EXPECT_TRUE(options.known("in"));
  EXPECT_FALSE(options.known("i"));
}

}  // namespace
}  // namespace cmdline

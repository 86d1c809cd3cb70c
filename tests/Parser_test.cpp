// Numbers, words and letters: what every reader takes for them.
#include "Parser.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace orvane {
namespace {

constexpr int kUntouched = -99;

// What a parse gave: its result, and the value, which begins as `kUntouched`.
struct Integer {
  bool result;
  int value;
  bool operator==(const Integer&) const = default;
};

struct Real {
  bool result;
  double value;
};

// Equality of bits, so that -0 is not 0; one not-a-number is as good as another.
bool operator==(const Real& a, const Real& b) {
  if (a.result != b.result) return false;
  if (std::isnan(a.value) || std::isnan(b.value)) return std::isnan(a.value) == std::isnan(b.value);
  return std::bit_cast<std::uint64_t>(a.value) == std::bit_cast<std::uint64_t>(b.value);
}

void PrintTo(const Integer& integer, std::ostream* out) {
  *out << integer.result << " with " << integer.value;
}

void PrintTo(const Real& real, std::ostream* out) {
  *out << real.result << " with " << std::hexfloat << real.value;
}

Integer ParsedInteger(const std::string& text) {
  Integer integer{false, kUntouched};
  integer.result = Parser::ParseInteger(text, integer.value);
  return integer;
}

Real ParsedReal(const std::string& text) {
  Real real{false, kUntouched};
  real.result = Parser::ParseRealNumber(text, real.value);
  return real;
}

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words{"left over"};
  Parser::SplitSentence(text, words);
  return words;
}

using List = std::vector<std::string>;

TEST(ParserInteger, MayHaveASignAndBlanksAroundIt) {
  EXPECT_EQ(ParsedInteger("  +7  "), (Integer{true, 7}));
  EXPECT_EQ(ParsedInteger("\t-12\t"), (Integer{true, -12}));
  EXPECT_EQ(ParsedInteger("007"), (Integer{true, 7}));
}

TEST(ParserInteger, HasNoBlankBehindItsSign) {
  EXPECT_EQ(ParsedInteger("- 7"), (Integer{false, kUntouched}));
}

TEST(ParserInteger, HasOneSignAtMost) {
  EXPECT_EQ(ParsedInteger("+-7"), (Integer{false, kUntouched}));
  EXPECT_EQ(ParsedInteger("--7"), (Integer{false, kUntouched}));
}

TEST(ParserInteger, NeedsADigit) {
  for (const char* text : {"+", "-", "", "   ", " \t ", "A", ".5"}) {
    EXPECT_EQ(ParsedInteger(text), (Integer{false, kUntouched})) << text;
  }
}

TEST(ParserInteger, FitsThirtyTwoBits) {
  EXPECT_EQ(ParsedInteger("2147483647"), (Integer{true, 2147483647}));
  EXPECT_EQ(ParsedInteger("2147483648"), (Integer{false, kUntouched}));
  EXPECT_EQ(ParsedInteger("-2147483648"), (Integer{true, std::numeric_limits<int>::min()}));
  EXPECT_EQ(ParsedInteger("-2147483649"), (Integer{false, kUntouched}));
  EXPECT_EQ(ParsedInteger("21474836470"), (Integer{false, kUntouched}));
  EXPECT_EQ(ParsedInteger("000000000000002147483647"), (Integer{true, 2147483647}));
}

TEST(ParserInteger, IsStoredAlsoInFrontOfOtherText) {
  EXPECT_EQ(ParsedInteger("12A"), (Integer{false, 12}));
  EXPECT_EQ(ParsedInteger("12.0"), (Integer{false, 12}));
  EXPECT_EQ(ParsedInteger("1 2"), (Integer{false, 1}));
  EXPECT_EQ(ParsedInteger("0x10"), (Integer{false, 0}));
}

TEST(ParserInteger, FailsBeforeALineFeed) {
  EXPECT_EQ(ParsedInteger("12\n"), (Integer{false, 12}));
  EXPECT_EQ(ParsedInteger("12\r"), (Integer{false, 12}));
  EXPECT_EQ(ParsedInteger("\n12"), (Integer{false, kUntouched}));
}

TEST(ParserInteger, EndsAtANulByte) {
  EXPECT_EQ(ParsedInteger(std::string("12\0A", 4)), (Integer{true, 12}));
  EXPECT_EQ(ParsedInteger(std::string("\0"
                                      "12",
                                      3)),
            (Integer{false, kUntouched}));
}

TEST(ParserInteger, MayBePartOfALongerText) {
  const std::string_view line = "ATOM  12345";
  int value = kUntouched;
  EXPECT_TRUE(Parser::ParseInteger(line.substr(6, 3), value));
  EXPECT_EQ(value, 123);
}

TEST(ParserReal, MayLackDigitsOnOneSideOfTheDot) {
  EXPECT_EQ(ParsedReal("1."), (Real{true, 1.0}));
  EXPECT_EQ(ParsedReal(".5"), (Real{true, 0.5}));
  EXPECT_EQ(ParsedReal("-.5e1"), (Real{true, -5.0}));
  EXPECT_EQ(ParsedReal("1.e2"), (Real{true, 100.0}));
}

TEST(ParserReal, MayHaveSignsAndAnExponent) {
  EXPECT_EQ(ParsedReal("1E+3"), (Real{true, 1000.0}));
  EXPECT_EQ(ParsedReal("+2"), (Real{true, 2.0}));
  EXPECT_EQ(ParsedReal("-0"), (Real{true, -0.0}));
  EXPECT_EQ(ParsedReal(" \t25e-1 \t"), (Real{true, 2.5}));
}

TEST(ParserReal, NeedsADigitInItsMantissa) {
  for (const char* text : {".", "e5", "", "  ", "+", "-.", ".e5", "nan", "inf", "-inf"}) {
    EXPECT_EQ(ParsedReal(text), (Real{false, kUntouched})) << text;
  }
}

TEST(ParserReal, NeedsADigitInItsExponent) {
  for (const char* text : {"1e", "1e+", "1.5E-", "1ex", "1e 5", "1e.5", "1e+-5"}) {
    EXPECT_EQ(ParsedReal(text), (Real{false, kUntouched})) << text;
  }
}

TEST(ParserReal, IsStoredAlsoInFrontOfOtherText) {
  EXPECT_EQ(ParsedReal("1.5x"), (Real{false, 1.5}));
  EXPECT_EQ(ParsedReal("1.2.3"), (Real{false, 1.0 + 2.0 * std::pow(10.0, -1.0)}));
  EXPECT_EQ(ParsedReal("0x10"), (Real{false, 0.0}));
  EXPECT_EQ(ParsedReal("1 2"), (Real{false, 1.0}));
  EXPECT_EQ(ParsedReal("1e5e"), (Real{false, 1e5}));
  EXPECT_EQ(ParsedReal("1d5"), (Real{false, 1.0}));
}

TEST(ParserReal, HasNoBlankInsideIt) {
  EXPECT_EQ(ParsedReal("- 1"), (Real{false, kUntouched}));
  EXPECT_EQ(ParsedReal("1 .5"), (Real{false, 1.0}));
}

TEST(ParserReal, FailsBeforeALineFeed) {
  EXPECT_EQ(ParsedReal("1.5\n"), (Real{false, 1.5}));
  EXPECT_EQ(ParsedReal("1.5\r"), (Real{false, 1.5}));
}

TEST(ParserReal, EndsAtANulByte) {
  EXPECT_EQ(ParsedReal(std::string("1.5\0x", 5)), (Real{true, 1.5}));
}

TEST(ParserReal, IsAccumulatedAndThenScaled) {
  EXPECT_EQ(ParsedReal("0.045"), (Real{true, 45.0 * std::pow(10.0, -3.0)}));
  EXPECT_EQ(ParsedReal("-1.001"), (Real{true, -1.0 - 1.0 * std::pow(10.0, -3.0)}));
  EXPECT_EQ(ParsedReal("1.1e-7"),
            (Real{true, (1.0 + 1.0 * std::pow(10.0, -1.0)) * std::pow(10.0, -7.0)}));
}

TEST(ParserReal, MayHaveAnExponentThatLeadsToInfinityOrZero) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(ParsedReal("1e400"), (Real{true, infinity}));
  EXPECT_EQ(ParsedReal("-1e400"), (Real{true, -infinity}));
  EXPECT_EQ(ParsedReal("1e-400"), (Real{true, 0.0}));
  EXPECT_EQ(ParsedReal("0e400"), (Real{true, std::numeric_limits<double>::quiet_NaN()}));
}

TEST(ParserReal, FailsWhenItsIntegerPartExceedsTheLargestDouble) {
  EXPECT_TRUE(ParsedReal(std::string(308, '9')).result);
  EXPECT_EQ(ParsedReal(std::string(310, '9')), (Real{false, kUntouched}));
  EXPECT_EQ(ParsedReal("-" + std::string(310, '9')), (Real{false, kUntouched}));
  EXPECT_EQ(ParsedReal(std::string(1000, '0') + "5"), (Real{true, 5.0}));
}

TEST(ParserReal, FailsWhenItsExponentExceedsTheLargestDouble) {
  EXPECT_TRUE(ParsedReal("1e" + std::string(308, '9')).result);
  EXPECT_EQ(ParsedReal("1e" + std::string(310, '9')), (Real{false, kUntouched}));
  EXPECT_EQ(ParsedReal("1e-" + std::string(310, '9')), (Real{false, kUntouched}));
}

TEST(ParserReal, FailsWhenItsFractionHasMoreThan308Digits) {
  EXPECT_TRUE(ParsedReal("1." + std::string(308, '9')).result);
  EXPECT_EQ(ParsedReal("1." + std::string(309, '9')), (Real{false, kUntouched}));
  EXPECT_EQ(ParsedReal(" -." + std::string(309, '0') + "e5"), (Real{false, kUntouched}));
  EXPECT_EQ(ParsedReal("7x." + std::string(309, '9')), (Real{false, 7.0}));
}

// The rules for integers, one after the other.
Integer PlainInteger(const std::string& text) {
  std::size_t at = 0;
  const auto skip_blanks = [&] {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) ++at;
  };
  skip_blanks();
  bool negative = false;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
  const std::size_t first_digit = at;
  long long number = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    const int digit = text[at] - '0';
    number = 10 * number + (negative ? -digit : digit);
    if (number > std::numeric_limits<int>::max() || number < std::numeric_limits<int>::min()) {
      return {false, kUntouched};
    }
  }
  if (at == first_digit) return {false, kUntouched};
  skip_blanks();
  return {at == text.size(), static_cast<int>(number)};
}

// The rules for real numbers, one after the other.
Real PlainReal(const std::string& text) {
  const Real no_number{false, kUntouched};
  std::size_t at = 0;
  const auto skip_blanks = [&] {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) ++at;
  };
  const auto take = [&](const char* characters) {
    const bool hit =
        at < text.size() && std::string(characters).find(text[at]) != std::string::npos;
    if (hit) ++at;
    return hit;
  };
  // Reads digits; the number is infinite if it is too large.
  const auto digits = [&](double& number) {
    std::size_t count = 0;
    for (number = 0.0; take("0123456789"); ++count) number = 10.0 * number + (text[at - 1] - '0');
    return count;
  };

  skip_blanks();
  const bool negative = take("+-") && text[at - 1] == '-';
  double number = 0.0;
  const std::size_t integer_digits = digits(number);
  if (std::isinf(number)) return no_number;
  if (negative) number = -number;
  if (take(".")) {
    double fraction = 0.0;
    const std::size_t fraction_digits = digits(fraction);
    if (integer_digits + fraction_digits == 0 || fraction_digits > 308) return no_number;
    if (fraction_digits > 0) {
      fraction *= std::pow(10.0, -static_cast<double>(fraction_digits));
      number = negative ? number - fraction : number + fraction;
    }
  } else if (integer_digits == 0) {
    return no_number;
  }
  if (take("eE")) {
    const bool negative_exponent = take("+-") && text[at - 1] == '-';
    double exponent = 0.0;
    if (digits(exponent) == 0 || std::isinf(exponent)) return no_number;
    number *= std::pow(10.0, negative_exponent ? -exponent : exponent);
  }
  skip_blanks();
  return {at == text.size(), number};
}

// A text of up to `length` of these characters.
std::string RandomText(std::mt19937& random, const std::string& characters, std::size_t length) {
  std::string text(random() % (length + 1), ' ');
  for (char& c : text) c = characters[random() % characters.size()];
  return text;
}

TEST(ParserInteger, FollowsThePlainRulesOnRandomTexts) {
  std::mt19937 random(1);
  int numbers = 0;
  for (int i = 0; i < 200000; ++i) {
    const std::string text = RandomText(random, "0123456789012345678921+- \t.", 14);
    const Integer plain = PlainInteger(text);
    numbers += plain.result;
    ASSERT_EQ(ParsedInteger(text), plain) << '"' << text << '"';
  }
  EXPECT_GT(numbers, 5000);
}

TEST(ParserReal, FollowsThePlainRulesOnRandomTexts) {
  std::mt19937 random(2);
  int numbers = 0;
  for (int i = 0; i < 200000; ++i) {
    const std::string text = RandomText(random, "01234567890123456789..eE+- \t", 14);
    const Real plain = PlainReal(text);
    numbers += plain.result;
    ASSERT_EQ(ParsedReal(text), plain) << '"' << text << '"';
  }
  EXPECT_GT(numbers, 5000);
}

TEST(ParserReal, FollowsThePlainRulesOnRandomTextsThatAreNearlyNumbers) {
  std::mt19937 random(3);
  int numbers = 0;
  for (int i = 0; i < 200000; ++i) {
    std::string text = RandomText(random, " \t", 2) + RandomText(random, "+-", 1) +
                       RandomText(random, "0123456789", 12) + RandomText(random, ".", 1) +
                       RandomText(random, "0123456789", 12);
    if (random() % 2 != 0) {
      text += RandomText(random, "eE", 1) + RandomText(random, "+-", 1) +
              RandomText(random, "0123456789", 3);
    }
    text += RandomText(random, " \tx", 1);
    const Real plain = PlainReal(text);
    numbers += plain.result;
    ASSERT_EQ(ParsedReal(text), plain) << '"' << text << '"';
  }
  EXPECT_GT(numbers, 50000);
}

TEST(ParserReal, FollowsThePlainRulesOnRandomLongTexts) {
  std::mt19937 random(4);
  for (int i = 0; i < 20000; ++i) {
    const std::string text = RandomText(random, "+-", 1) + RandomText(random, "0123456789", 330) +
                             RandomText(random, ".", 1) + RandomText(random, "0123456789", 330) +
                             RandomText(random, "e", 1) + RandomText(random, "0123456789", 330);
    ASSERT_EQ(ParsedReal(text), PlainReal(text)) << '"' << text << '"';
  }
}

TEST(ParserTrim, RemovesBlanksTabsAndLineEndsFromBothEnds) {
  EXPECT_EQ(Parser::Trim(" \t\r\n a \t b \n\r\t "), "a \t b");
  EXPECT_EQ(Parser::Trim("ab"), "ab");
}

TEST(ParserTrim, LeavesNothingOfATextOfBlanks) {
  EXPECT_EQ(Parser::Trim(" \t\r\n"), "");
  EXPECT_EQ(Parser::Trim(""), "");
}

TEST(ParserTrim, KeepsOtherWhiteSpace) {
  EXPECT_EQ(Parser::Trim(" \va\f "), "\va\f");
}

TEST(ParserTrim, CutsAtTheFirstCommentCharacterBeforehand) {
  EXPECT_EQ(Parser::Trim('!', "ATOM N NH1 -0.47 ! comment"), "ATOM N NH1 -0.47");
  EXPECT_EQ(Parser::Trim('!', " a ! b ! c"), "a");
  EXPECT_EQ(Parser::Trim('!', " a # b "), "a # b");
  EXPECT_EQ(Parser::Trim('!', "! all of it"), "");
}

TEST(ParserTrim, GivesAPartOfTheTextWithoutACopy) {
  const std::string_view text = "  ab  ";
  EXPECT_EQ(Parser::TrimmedPart(text), "ab");
  EXPECT_EQ(Parser::TrimmedPart(text).data(), text.data() + 2);
  EXPECT_EQ(Parser::TrimmedPart(" \n"), "");
}

TEST(ParserCase, ChangesAsciiLettersOnly) {
  EXPECT_EQ(Parser::ToUpperCase("az AZ@[`{ 09\xe4\xc4"), "AZ AZ@[`{ 09\xe4\xc4");
  EXPECT_EQ(Parser::ToLowerCase("az AZ@[`{ 09\xe4\xc4"), "az az@[`{ 09\xe4\xc4");
  EXPECT_EQ(Parser::ToUpperCase(""), "");
}

TEST(ParserCase, CanBeChangedInPlace) {
  std::string text = "az AZ@[`{ 09\xe4\xc4";
  Parser::MakeUpperCase(text);
  EXPECT_EQ(text, "AZ AZ@[`{ 09\xe4\xc4");
}

TEST(ParserCase, KeepsNulBytes) {
  EXPECT_EQ(Parser::ToUpperCase(std::string_view("a\0b", 3)), std::string("A\0B", 3));
}

TEST(ParserWords, AreRunsWithoutWhiteSpace) {
  EXPECT_EQ(Words(" one\ttwo\nthree\vfour\ffive\rsix "),
            (List{"one", "two", "three", "four", "five", "six"}));
  EXPECT_EQ(Words("one"), (List{"one"}));
}

TEST(ParserWords, TakeAQuoteForAnOrdinaryCharacter) {
  EXPECT_EQ(Words("a  \"b c\""), (List{"a", "\"b", "c\""}));
}

TEST(ParserWords, AreNoneInABlankText) {
  EXPECT_EQ(Words(""), List{});
  EXPECT_EQ(Words(" \t\n\v\f\r"), List{});
}

TEST(ParserWords, MayHoldNulBytes) {
  EXPECT_EQ(Words(std::string("a\0b c", 5)), (List{std::string("a\0b", 3), "c"}));
}

TEST(ParserWords, ComeAsPartsOfTheTextToo) {
  const std::string_view text = " ab c";
  std::vector<std::string_view> words{"left over"};
  Parser::SplitSentence(text, words);
  EXPECT_EQ(words, (std::vector<std::string_view>{"ab", "c"}));
  EXPECT_EQ(words[0].data(), text.data() + 1);
}

}  // namespace
}  // namespace orvane

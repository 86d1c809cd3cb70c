// The message that ends a run.
#include "Error.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::RunInChild;

constexpr MessagePlace kPlace{"src/a.cpp", 12, "void f(int)"};

TEST(Error, PrintsTextAndPlaceWithoutALineBreakAndEndsWithStatusZero) {
  const auto result = RunInChild([] { FailWith(kPlace, "It is bad."); });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Error occurs: It is bad. (in src/a.cpp at line 12, void f(int))");
  EXPECT_EQ(result.err, "");
}

TEST(Error, PrintsTextsWholeNumbersAndRealNumbers) {
  const auto result = RunInChild([] {
    FailWith(kPlace, "%s, \"%s\": %d of %d, %.5f", "a", std::string("b"), -3, 4000000000L, -0.5);
  });
  EXPECT_EQ(result.out,
            "Error occurs: a, \"b\": -3 of 4000000000, -0.50000 (in src/a.cpp at line 12, void "
            "f(int))");
}

TEST(Error, KeepsALineBreakOfItsOwnTextInFrontOfThePlace) {
  const auto result = RunInChild([] { FailWith(kPlace, "Bad.\n"); });
  EXPECT_EQ(result.out, "Error occurs: Bad.\n (in src/a.cpp at line 12, void f(int))");
}

TEST(Error, ContinuesALineThatWasBegun) {
  const auto result = RunInChild([] {
    std::printf("Files: a");
    FailWith(kPlace, "Bad.");
  });
  EXPECT_EQ(result.out, "Files: aError occurs: Bad. (in src/a.cpp at line 12, void f(int))");
}

TEST(Error, PrintsPercentSignsOfAValueAsTheyStand) {
  const auto result = RunInChild([] { FailWith(kPlace, "%s and %s", "100%d", "%s"); });
  EXPECT_EQ(result.out, "Error occurs: 100%d and %s (in src/a.cpp at line 12, void f(int))");
}

TEST(Error, PrintsAnEmptyTextThatHasNoAddress) {
  const auto result = RunInChild([] { FailWith(kPlace, "\"%s\".", std::string_view()); });
  EXPECT_EQ(result.out, "Error occurs: \"\". (in src/a.cpp at line 12, void f(int))");
}

TEST(Error, PrintsATextWithItsNulBytes) {
  const auto result = RunInChild([] { FailWith(kPlace, "\"%s\".", std::string("a\0b", 3)); });
  EXPECT_EQ(result.out,
            std::string("Error occurs: \"a\0b\".", 20) + " (in src/a.cpp at line 12, void f(int))");
}

TEST(Error, EndsWithStatusOneAndAPlainLineWhereThatWasAskedFor) {
  for (const char* text : {"Bad %s.", "Bad %s.\n"}) {
    const auto result = RunInChild([text] {
      ReportFailuresByExitStatus();
      std::printf("Files: a\n");
      FailWith(kPlace, text, "luck");
    });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "Files: a\n");
    EXPECT_EQ(result.err, "Error occurs: Bad luck.\n");
  }
}

[[noreturn]] void FailHere(int line) {
  std::printf("%d %s\n", line, __PRETTY_FUNCTION__);
  RAVELO_FAIL("Bad %s.", "luck");
}

TEST(Error, NamesFileLineAndSignatureOfTheFunctionThatFails) {
  constexpr int line = __LINE__ - 4;
  const auto result = RunInChild([] { FailHere(line); });
  const std::size_t line_end = result.out.find('\n');
  ASSERT_NE(line_end, std::string::npos);
  const std::string head = std::to_string(line) + " ";
  const std::string function = result.out.substr(head.size(), line_end - head.size());
  EXPECT_NE(function.find("FailHere(int)"), std::string::npos) << function;
  EXPECT_EQ(result.out.substr(line_end + 1),
            "Error occurs: Bad luck. (in tests/Error_test.cpp at line " + std::to_string(line) +
                ", " + function + ")");
}

}  // namespace
}  // namespace orvane

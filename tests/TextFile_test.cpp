// Text files: lines against the standard library's, formatted output against the C library's.
#include "TextFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "TestSupport.h"

namespace orvane {
namespace {

using testing_support::TemporaryFolder;

using List = std::vector<std::string>;

// What the C library's formatted output makes of the arguments.
__attribute__((format(printf, 1, 2))) std::string Printed(const char* format, ...) {
  char text[1024];
  std::va_list arguments;
  va_start(arguments, format);
  const int size = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return {text, static_cast<std::size_t>(size)};
}

// The bytes of a file to which a piece of code wrote.
std::string Written(const std::function<void(TextFileWriter&)>& code) {
  const TemporaryFolder folder;
  TextFileWriter out;
  EXPECT_TRUE(out.Open(folder / "out"));
  code(out);
  EXPECT_TRUE(out.Close());
  return folder.Read("out");
}

// Compares line by line, so that a failure shows one line and not a whole file.
void ExpectSameLines(const std::string& actual, const std::string& expected) {
  EXPECT_EQ(actual.size(), expected.size());
  std::istringstream actual_lines(actual);
  std::istringstream expected_lines(expected);
  std::string actual_line;
  std::string expected_line;
  for (int number = 1; std::getline(expected_lines, expected_line); ++number) {
    ASSERT_TRUE(std::getline(actual_lines, actual_line)) << "at line " << number;
    ASSERT_EQ(actual_line, expected_line) << "at line " << number;
  }
}

struct Form {
  int width;
  int precision;
};

// The forms that the program's files use, and the ends of what the writer takes.
constexpr Form kForms[] = {{8, 3},  {6, 2}, {10, 6}, {13, 4}, {14, 6}, {14, 4}, {20, 6},
                           {20, 4}, {0, 0}, {1, 1},  {3, 5},  {12, 7}, {12, 8}, {64, 9}};

void ExpectPrintedAlike(const std::vector<double>& values) {
  std::string expected;
  const std::string actual = Written([&](TextFileWriter& out) {
    for (const double value : values) {
      for (const Form& form : kForms) {
        out.Fixed(value, form.width, form.precision);
        out.Text("\n");
        expected += Printed("%*.*f\n", form.width, form.precision, value);
      }
    }
  });
  ExpectSameLines(actual, expected);
}

TEST(TextFileWriter, PrintsSpecialValuesAsTheCLibraryDoes) {
  const double infinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  ExpectPrintedAlike(
      {0.0, -0.0, 1.0, -1.0,
       // Ties in the decimal text that are none, or exact ones, in binary.
       0.5, 1.5, 2.5, -2.5, 0.0005, -0.0005, 0.0015, 2.5e-4, 0.125, 0.375, 0.045, 1.005, 0.0625,
       0.00390625, -0.0001, 0.9999, 0.99999999, 99.995, 99.9995, 9999.9995, -999.9995, 999999.5,
       // Where the fast way of formatting ends: at 4e9 after scaling.
       4e9, 3999999999.0, 3999999999.5, 4e6, 3999999.9995, 3999999.9994, 4000.0, 3999.9999995,
       40000000.0, 39999999.995, 4294967295.5, 18446744073709551616.0, 1e15, 1e16, 1e22, 1e23,
       1e300, -1e300, std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest(),
       std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min(),
       -std::numeric_limits<double>::denorm_min(), infinity, -infinity, nan, -nan});
}

TEST(TextFileWriter, PrintsRandomValuesOfEveryMagnitudeAsTheCLibraryDoes) {
  std::mt19937_64 random(1);
  std::vector<double> values;
  // Any bits at all.
  for (int i = 0; i < 10000; ++i) values.push_back(std::bit_cast<double>(random()));
  // Magnitudes that files hold.
  for (int exponent = -10; exponent <= 12; ++exponent) {
    std::uniform_real_distribution<double> near_scale(-std::pow(10.0, exponent),
                                                      std::pow(10.0, exponent));
    for (int i = 0; i < 800; ++i) values.push_back(near_scale(random));
  }
  ExpectPrintedAlike(values);
}

TEST(TextFileWriter, RoundsTiesAndTheirNeighboursAsTheCLibraryDoes) {
  std::mt19937_64 random(2);
  std::vector<double> values;
  for (int precision = 0; precision <= 9; ++precision) {
    const double scale = std::pow(10.0, precision);
    std::uniform_int_distribution<long long> whole(-5'000'000'000LL, 5'000'000'000LL);
    std::uniform_int_distribution<long long> small(-5000, 5000);
    for (int i = 0; i < 300; ++i) {
      for (const long long number : {whole(random), small(random)}) {
        const double tie = (static_cast<double>(number) + 0.5) / scale;
        values.push_back(tie);
        values.push_back(std::nextafter(tie, 1e30));
        values.push_back(std::nextafter(tie, -1e30));
      }
    }
  }
  // Ties that are exact in binary: odd numbers over powers of two.
  for (int power = 1; power <= 10; ++power) {
    for (int odd = -301; odd <= 301; odd += 2) values.push_back(std::ldexp(odd, -power));
  }
  ExpectPrintedAlike(values);
}

TEST(TextFileWriter, PrintsIntegersAsTheCLibraryDoes) {
  std::vector<int> values{0,
                          1,
                          -1,
                          9,
                          10,
                          99999,
                          100000,
                          -9999,
                          -10000,
                          std::numeric_limits<int>::max(),
                          std::numeric_limits<int>::min()};
  std::mt19937 random(3);
  for (int i = 0; i < 20000; ++i) values.push_back(static_cast<int>(random()) >> (i % 32));
  std::string expected;
  const std::string actual = Written([&](TextFileWriter& out) {
    for (const int value : values) {
      for (const int width : {0, 1, 4, 5, 8, 10, 12}) {
        out.Integer(value, width);
        out.Text("\n");
        expected += Printed("%*d\n", width, value);
      }
    }
  });
  ExpectSameLines(actual, expected);
}

TEST(TextFileWriter, PrintsTheSmallestAndLargestLongNumbers) {
  EXPECT_EQ(Written([](TextFileWriter& out) {
              out.Integer(std::numeric_limits<long long>::min(), 0);
              out.Text(" ");
              out.Integer(std::numeric_limits<long long>::max(), 21);
            }),
            "-9223372036854775808   9223372036854775807");
}

TEST(TextFileWriter, PadsTextsAsTheCLibraryDoesAndNeverCutsThem) {
  std::mt19937 random(4);
  std::string expected;
  const std::string actual = Written([&](TextFileWriter& out) {
    for (int i = 0; i < 5000; ++i) {
      std::string text(random() % 12, ' ');
      for (char& c : text) c = static_cast<char>('!' + random() % 90);
      for (const int width : {0, 1, 2, 3, 4, 5, 6, 7, 8}) {
        out.Left(text, width);
        out.Text("|");
        out.Right(text, width);
        out.Text("|");
        out.Text(text);
        out.Text("\n");
        expected +=
            Printed("%-*s|%*s|%s\n", width, text.c_str(), width, text.c_str(), text.c_str());
      }
    }
  });
  ExpectSameLines(actual, expected);
}

TEST(TextFileWriter, EndsTextsAtTheirFirstNulByte) {
  // Names are quoted from files, which can hold anything; the C library stops there.
  const std::string text("AB\0CDE", 6);
  EXPECT_EQ(Written([&](TextFileWriter& out) {
              out.Text(text);
              out.Text("|");
              out.Left(text, 4);
              out.Text("|");
              out.Right(text, 4);
              out.Text("|");
              out.Right(std::string_view("\0A", 2), 2);
              out.Text("|");
            }),
            "AB|AB  |  AB|  |");
}

TEST(TextFileWriter, KeepsEverythingAcrossItsBlocks) {
  // Lines of uneven length, so that blocks end at every place within a line.
  std::string expected;
  const std::string actual = Written([&](TextFileWriter& out) {
    for (int i = 0; i < 150000; ++i) {
      out.Integer(i, i % 11);
      out.Left("left", i % 13);
      out.Right("right", i % 17);
      out.Fixed(i * 0.37, i % 19, i % 7);
      out.Text("\n");
      expected += Printed("%*d%-*s%*s%*.*f\n", i % 11, i, i % 13, "left", i % 17, "right", i % 19,
                          i % 7, i * 0.37);
    }
  });
  ASSERT_GT(expected.size(), std::size_t{3} << 20);
  ExpectSameLines(actual, expected);
}

TEST(TextFileWriter, WritesASingleCharacter) {
  EXPECT_EQ(Written([](TextFileWriter& out) { out.Text("x"); }), "x");
}

TEST(TextFileWriter, TakesATextThatIsLargerThanABlock) {
  std::string text(5'000'000, 'x');
  for (std::size_t i = 0; i < text.size(); i += 97) text[i] = '\n';
  EXPECT_TRUE(Written([&](TextFileWriter& out) {
                out.Text("first ");
                out.Text(text);
                out.Text(" last");
              }) == "first " + text + " last");
}

TEST(TextFileWriter, WritesAnEmptyFileWhereNothingIsGiven) {
  EXPECT_EQ(Written([](TextFileWriter&) {}), "");
}

TEST(TextFileWriter, ReplacesWhatAFileHeld) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("file", "a longer text than the new one");
  TextFileWriter out;
  ASSERT_TRUE(out.Open(path));
  out.Text("new");
  ASSERT_TRUE(out.Close());
  EXPECT_EQ(folder.Read("file"), "new");
}

TEST(TextFileWriter, WritesWhatIsLeftAtTheEndOfItsLife) {
  const TemporaryFolder folder;
  {
    TextFileWriter out;
    ASSERT_TRUE(out.Open(folder / "file"));
    out.Text("kept");
  }
  EXPECT_EQ(folder.Read("file"), "kept");
}

TEST(TextFileWriter, CanBeOpenedAgain) {
  const TemporaryFolder folder;
  TextFileWriter out;
  for (const char* name : {"one", "two"}) {
    ASSERT_TRUE(out.Open(folder / name));
    out.Text(name);
    ASSERT_TRUE(out.Close());
  }
  EXPECT_EQ(folder.Read("one"), "one");
  EXPECT_EQ(folder.Read("two"), "two");
}

TEST(TextFileWriter, DoesNotOpenAFileInAFolderThatIsNotThere) {
  const TemporaryFolder folder;
  TextFileWriter out;
  EXPECT_FALSE(out.Open(folder / "missing/file"));
  EXPECT_FALSE(out.Open(folder.path().string()));
}

TEST(TextFileWriter, TellsAtTheEndWhetherAWriteFailed) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no device that is always full";
  TextFileWriter out;
  ASSERT_TRUE(out.Open("/dev/full"));
  out.Text("lost");
  EXPECT_FALSE(out.Close());
  // Also where a block went before the end.
  ASSERT_TRUE(out.Open("/dev/full"));
  out.Text(std::string(3'000'000, 'x'));
  out.Text("lost");
  EXPECT_FALSE(out.Close());
  // A later file knows nothing of it.
  const TemporaryFolder folder;
  ASSERT_TRUE(out.Open(folder / "good"));
  EXPECT_TRUE(out.Close());
}

List LinesOf(const std::string& text) {
  List lines;
  LineReader reader(text);
  for (std::string_view line; reader.Next(line);) lines.emplace_back(line);
  return lines;
}

TEST(LineReader, TakesALastLineWithoutALineFeed) {
  EXPECT_EQ(LinesOf("a\nb"), (List{"a", "b"}));
}

TEST(LineReader, SeesNoFurtherLineBehindALastLineFeed) {
  EXPECT_EQ(LinesOf("a\nb\n"), (List{"a", "b"}));
  EXPECT_EQ(LinesOf("a\n\n"), (List{"a", ""}));
  EXPECT_EQ(LinesOf("\n"), (List{""}));
  EXPECT_EQ(LinesOf(""), List{});
}

TEST(LineReader, LeavesCarriageReturnsInTheLine) {
  EXPECT_EQ(LinesOf("a\r\nb\r"), (List{"a\r", "b\r"}));
}

TEST(LineReader, EmptiesTheLineAtTheEnd) {
  // Messages quote the line, and at the end of the text there is none.
  LineReader reader("a");
  std::string_view line;
  ASSERT_TRUE(reader.Next(line));
  EXPECT_EQ(line, "a");
  EXPECT_FALSE(reader.Next(line));
  EXPECT_EQ(line, "");
  EXPECT_FALSE(reader.Next(line));
}

TEST(LineReader, AgreesWithTheStandardLibraryOnRandomText) {
  std::mt19937 random(5);
  const std::string letters("ab \n\n\r\0", 7);
  for (int i = 0; i < 20000; ++i) {
    std::string text(random() % 30, ' ');
    for (char& c : text) c = letters[random() % letters.size()];
    List expected;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) expected.push_back(line);
    ASSERT_EQ(LinesOf(text), expected) << testing::PrintToString(text);
  }
}

TEST(ReadTextFile, ReadsEveryByte) {
  const TemporaryFolder folder;
  std::string text;
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{1} << 20,
                                 (std::size_t{1} << 20) + 1, std::size_t{5'000'000}}) {
    std::string expected(size, ' ');
    for (std::size_t i = 0; i < size; ++i) expected[i] = static_cast<char>(i * 31 + i / 256);
    const std::string path = folder.Write("file", expected);
    text = "left over";
    EXPECT_TRUE(ReadTextFile(path, text));
    EXPECT_TRUE(text == expected) << "with a size of " << size;
  }
}

TEST(ReadTextFile, ReadsWhatDoesNotTellItsSize) {
  // A pipe has no size, and files of the system claim one of 0.
  std::string expected(3'000'000, ' ');
  for (std::size_t i = 0; i < expected.size(); ++i)
    expected[i] = static_cast<char>(i * 7 + i / 999);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::thread writer([&] {
    for (std::size_t at = 0; at < expected.size();) {
      const ssize_t put = write(ends[1], expected.data() + at, expected.size() - at);
      if (put <= 0) break;
      at += static_cast<std::size_t>(put);
    }
    close(ends[1]);
  });
  std::string text;
  EXPECT_TRUE(ReadTextFile("/dev/fd/" + std::to_string(ends[0]), text));
  writer.join();
  close(ends[0]);
  EXPECT_TRUE(text == expected);

  if (!std::filesystem::exists("/proc/version")) GTEST_SKIP() << "no files of the system";
  ASSERT_EQ(std::filesystem::file_size("/proc/version"), 0u);
  EXPECT_TRUE(ReadTextFile("/proc/version", text));
  EXPECT_EQ(text, testing_support::ReadWhole("/proc/version"));
  EXPECT_GT(text.size(), 1u);
}

TEST(ReadTextFile, FailsForAMissingFileAndForAFolder) {
  const TemporaryFolder folder;
  std::string text = "left over";
  EXPECT_FALSE(ReadTextFile(folder / "missing", text));
  EXPECT_EQ(text, "");
  text = "left over";
  EXPECT_FALSE(ReadTextFile(folder.path().string(), text));
  EXPECT_EQ(text, "");
}

}  // namespace
}  // namespace orvane

// Turns text into numbers and words, for every reader and for the command line.
#ifndef RAVELO_PARSER_H
#define RAVELO_PARSER_H

#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// Text helpers. None of them prints; parsers report by their result.
class Parser {
 public:
  Parser() {}
  ~Parser() {}

  /// Reads a whole text as a 32-bit integer with an optional sign; blanks and tabs may surround it.
  /// The text ends at its first NUL byte. `value` is written as soon as a number was found, also
  /// when something else follows it and the result is false.
  static bool ParseInteger(std::string_view text, int& value);

  /// Reads a whole text as a decimal number: sign, digits with a fraction, exponent. "1." and ".5"
  /// are numbers; ".", "1e", "nan" and "inf" are not. Blanks, NUL and `value` as in `ParseInteger`.
  /// The digits are accumulated and then scaled by powers of ten in double arithmetic, so the last
  /// bit can differ from that of a correctly rounded conversion.
  static bool ParseRealNumber(std::string_view text, double& value);

  /// The text without the spaces, tabs, line feeds and carriage returns at both ends.
  static std::string Trim(std::string_view text);

  /// The same for the part of the text in front of the first `comment` character.
  static std::string Trim(char comment, std::string_view text);

  /// As `Trim`, without a copy: a part of `text`.
  static std::string_view TrimmedPart(std::string_view text);

  /// The text with its ASCII letters in upper or lower case; other bytes stay.
  static std::string ToUpperCase(std::string_view text);
  static std::string ToLowerCase(std::string_view text);

  /// As `ToUpperCase`, in place.
  static void MakeUpperCase(std::string& text);

  /// Fills `words` with the runs of characters without white space (space, \t, \n, \v, \f, \r).
  static void SplitSentence(std::string_view text, std::vector<std::string>& words);

  /// The same without copies: parts of `text`.
  static void SplitSentence(std::string_view text, std::vector<std::string_view>& words);
};

}  // namespace orvane

#endif

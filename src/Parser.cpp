// Turns text into numbers and words.
#include "Parser.h"

#include <algorithm>

// Instrumented for the sanitizers, the library's optional values look uninitialised to GCC.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <boost/spirit/include/classic_assign_actor.hpp>
#include <boost/spirit/include/classic_core.hpp>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace orvane {

namespace {

namespace spirit = boost::spirit::classic;

// This many digits of a fraction certainly fit into a double when they are read as an integer.
constexpr std::size_t kLongestFraction = 308;

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

bool IsTrimmed(char c) {
  return IsBlank(c) || c == '\n' || c == '\r';
}

bool IsWhiteSpace(char c) {
  return IsTrimmed(c) || c == '\v' || c == '\f';
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view UpToNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// Whether the text begins with a number whose fraction is too long to be one.
bool BeginsWithTooLongFraction(std::string_view text) {
  if (text.size() <= kLongestFraction) return false;
  auto at = std::find_if_not(text.begin(), text.end(), IsBlank);
  if (at != text.end() && (*at == '+' || *at == '-')) ++at;
  at = std::find_if_not(at, text.end(), IsDigit);
  if (at == text.end() || *at != '.') return false;
  const auto fraction = at + 1;
  const auto behind = std::find_if_not(fraction, text.end(), IsDigit);
  return static_cast<std::size_t>(behind - fraction) > kLongestFraction;
}

// Hands each run of characters without white space to `take`.
template <typename Taker>
void ForEachWord(std::string_view text, Taker take) {
  auto at = text.begin();
  while (true) {
    const auto begin = std::find_if_not(at, text.end(), IsWhiteSpace);
    if (begin == text.end()) return;
    at = std::find_if(begin, text.end(), IsWhiteSpace);
    take(std::string_view(begin, at));
  }
}

}  // namespace

bool Parser::ParseInteger(std::string_view text, int& value) {
  text = UpToNul(text);
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  return spirit::parse(begin, end, spirit::int_p[spirit::assign_a(value)] >> spirit::end_p,
                       spirit::blank_p)
      .full;
}

bool Parser::ParseRealNumber(std::string_view text, double& value) {
  text = UpToNul(text);
  // The library would take the part in front of an overflowing fraction for the number.
  if (BeginsWithTooLongFraction(text)) return false;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  return spirit::parse(begin, end, spirit::real_p[spirit::assign_a(value)] >> spirit::end_p,
                       spirit::blank_p)
      .full;
}

std::string Parser::Trim(std::string_view text) {
  return std::string(TrimmedPart(text));
}

std::string Parser::Trim(char comment, std::string_view text) {
  return Trim(text.substr(0, text.find(comment)));
}

std::string_view Parser::TrimmedPart(std::string_view text) {
  while (!text.empty() && IsTrimmed(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsTrimmed(text.back())) text.remove_suffix(1);
  return text;
}

void Parser::MakeUpperCase(std::string& text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
}

std::string Parser::ToUpperCase(std::string_view text) {
  std::string result(text);
  MakeUpperCase(result);
  return result;
}

std::string Parser::ToLowerCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

void Parser::SplitSentence(std::string_view text, std::vector<std::string>& words) {
  words.clear();
  ForEachWord(text, [&words](std::string_view word) { words.emplace_back(word); });
}

void Parser::SplitSentence(std::string_view text, std::vector<std::string_view>& words) {
  words.clear();
  ForEachWord(text, [&words](std::string_view word) { words.push_back(word); });
}

}  // namespace orvane

// The one way out of a run that cannot go on: a message, and the end of the process.
#ifndef RAVELO_ERROR_H
#define RAVELO_ERROR_H

#include <concepts>
#include <initializer_list>
#include <string_view>
#include <variant>

namespace orvane {

/// A value that a message prints. Texts are printed whole, NUL bytes included, since they can quote
/// any file.
class MessageValue {
 public:
  template <std::integral Integer>
  MessageValue(Integer value)
      : value_(static_cast<long long>(value)) {}  // NOLINT: meant to convert
  MessageValue(double value) : value_(value) {}   // NOLINT
  template <std::convertible_to<std::string_view> Text>
  MessageValue(const Text& text) : value_(std::string_view(text)) {}  // NOLINT

  const std::variant<long long, double, std::string_view>& value() const { return value_; }

 private:
  std::variant<long long, double, std::string_view> value_;
};

/// Where in the program a message comes from.
struct MessagePlace {
  const char* file;
  int line;
  const char* function;
};

/// Prints "Error occurs: ", the text and its place " (in FILE at line N, SIGNATURE)" on standard
/// output, without a line break after it, and ends the process with `exit(0)`. In the text, "%s"
/// and "%d" stand for the next of the values (a text, a whole number) and "%.5f" for a real number
/// with five decimals.
[[noreturn]] void FailAt(const MessagePlace& place, std::string_view text,
                         std::initializer_list<MessageValue> values);

/// From now on, failures print their text, without the place but with a line break, on standard
/// error and end the process with `exit(1)`.
void ReportFailuresByExitStatus();

/// As `FailAt`, with the values as arguments.
template <typename... Values>
[[noreturn]] void FailWith(const MessagePlace& place, std::string_view text,
                           const Values&... values) {
  FailAt(place, text, {MessageValue(values)...});
}

}  // namespace orvane

/// Ends the run with a message; takes a text, without "Error occurs: ", and the values that it
/// prints. A macro, since the message names the place from which it comes.
#define RAVELO_FAIL(...) ::orvane::FailWith({__FILE__, __LINE__, __PRETTY_FUNCTION__}, __VA_ARGS__)

#endif

// The one way out of a run that cannot go on.
#include "Error.h"

#include <cstdio>
#include <cstdlib>

namespace orvane {

namespace {

bool failures_by_exit_status = false;

void Print(std::string_view text, std::FILE* out) {
  // An empty text can have no address at all, which `fwrite` must not be given.
  if (!text.empty()) std::fwrite(text.data(), 1, text.size(), out);
}

void PrintValue(const MessageValue& value, std::FILE* out) {
  if (const auto* whole = std::get_if<long long>(&value.value())) {
    std::fprintf(out, "%lld", *whole);
  } else if (const auto* real = std::get_if<double>(&value.value())) {
    std::fprintf(out, "%.5f", *real);
  } else {
    Print(std::get<std::string_view>(value.value()), out);
  }
}

// Nothing here allocates: the message may be that there is no memory left.
void PrintMessage(std::string_view text, std::initializer_list<MessageValue> values,
                  std::FILE* out) {
  constexpr std::string_view kPlaceholders[] = {"%s", "%d", "%.5f"};
  Print("Error occurs: ", out);
  for (const MessageValue& value : values) {
    const std::size_t mark = text.find('%');
    if (mark == std::string_view::npos) break;
    Print(text.substr(0, mark), out);
    PrintValue(value, out);
    text.remove_prefix(mark);
    for (const std::string_view placeholder : kPlaceholders) {
      if (text.starts_with(placeholder)) {
        text.remove_prefix(placeholder.size());
        break;
      }
    }
  }
  Print(text, out);
}

}  // namespace

void ReportFailuresByExitStatus() {
  failures_by_exit_status = true;
}

void FailAt(const MessagePlace& place, std::string_view text,
            std::initializer_list<MessageValue> values) {
  if (failures_by_exit_status) {
    std::fflush(stdout);
    PrintMessage(text, values, stderr);
    if (!text.ends_with('\n')) std::fputc('\n', stderr);
    std::exit(1);
  }
  PrintMessage(text, values, stdout);
  std::printf(" (in %s at line %d, %s)", place.file, place.line, place.function);
  std::exit(0);
}

}  // namespace orvane

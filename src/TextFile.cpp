// Files as text: read whole, taken apart line by line, and written in large blocks.
#include "TextFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <system_error>

namespace orvane {

namespace {

constexpr std::size_t kBlockSize = std::size_t{1} << 20;

// Room for the longest text of a double with `%f` and at most nine decimals: sign, 309 digits,
// point, decimals.
constexpr std::size_t kLongestFixed = 512;

constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};

// C strings end at their first NUL byte, and so do the texts that formatted output prints.
std::string_view AsCString(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// Numbers are made on such a piece of memory, from its end to its front. Behind the end it goes on,
// so that a short number can be copied as a block of fixed size, which is one or two instructions.
constexpr std::size_t kShortNumber = 32;
constexpr std::size_t kWidestField = 64;
struct Field {
  char text[kWidestField + kShortNumber];

  Field() { std::memset(text, ' ', sizeof text); }
  char* end() { return text + kWidestField; }
};

// Writes the decimal digits of a number in front of `end` and returns where they begin.
template <typename Unsigned>
char* DigitsBackwards(Unsigned value, char* end) {
  do {
    *--end = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  return end;
}

// Formats a value of moderate size in front of `end` if the digits are certain: if the scaled value
// is not so near to the middle between two results that the rounding of the product could decide.
// Returns where the text begins, or null.
char* FormatIfCertain(double value, int precision, char* end) {
  constexpr double kLargest = 4e9;
  constexpr double kMargin = 1e-5;  // far above the rounding error of the product, 4e9 * 2^-53
  const double scaled = std::fabs(value) * kPowersOfTen[precision];
  if (!(scaled < kLargest)) return nullptr;
  auto whole = static_cast<std::uint32_t>(scaled);
  const double rest = scaled - static_cast<double>(whole);
  if (std::fabs(rest - 0.5) < kMargin) return nullptr;
  if (rest > 0.5) ++whole;

  char* begin = end;
  if (precision > 0) {
    for (int i = 0; i < precision; ++i) {
      *--begin = static_cast<char>('0' + whole % 10);
      whole /= 10;
    }
    *--begin = '.';
  }
  begin = DigitsBackwards(whole, begin);
  if (std::signbit(value)) *--begin = '-';
  return begin;
}

}  // namespace

bool ReadTextFile(const std::string& path, std::string& text) {
  text.clear();
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return false;
  // One block for the size that the file claims to have; a pipe claims none and grows the text.
  std::error_code no_size;
  const std::uintmax_t claimed = std::filesystem::file_size(path, no_size);
  std::size_t used = 0;
  std::size_t block = no_size ? kBlockSize : static_cast<std::size_t>(claimed) + 1;
  while (true) {
    text.resize(used + block);
    const std::size_t got = std::fread(text.data() + used, 1, block, file);
    used += got;
    if (got < block) break;
    block = std::max(kBlockSize, used);
  }
  const bool good = std::ferror(file) == 0;
  std::fclose(file);
  text.resize(good ? used : 0);
  return good;
}

bool LineReader::Next(std::string_view& line) {
  line = {};
  if (rest_.empty()) return false;
  const std::size_t end = rest_.find('\n');
  line = rest_.substr(0, end);
  rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
  return true;
}

TextFileWriter::~TextFileWriter() {
  if (file_) Close();
}

bool TextFileWriter::Open(const std::string& path) {
  file_ = std::fopen(path.c_str(), "wb");
  if (!file_) return false;
  // Blocks go to the system as they are; a second buffer would only copy them.
  std::setvbuf(file_, nullptr, _IONBF, 0);
  buffer_.resize(kBlockSize);
  used_ = 0;
  good_ = true;
  return true;
}

void TextFileWriter::Flush() {
  if (used_ > 0 && std::fwrite(buffer_.data(), 1, used_, file_) != used_) good_ = false;
  used_ = 0;
}

char* TextFileWriter::Room(std::size_t size) {
  if (buffer_.size() - used_ < size) {
    Flush();
    if (buffer_.size() < size) buffer_.resize(size);
  }
  return buffer_.data() + used_;
}

void TextFileWriter::Blanks(std::size_t count) {
  std::memset(Room(count), ' ', count);
  used_ += count;
}

void TextFileWriter::Text(std::string_view text) {
  Justify(AsCString(text), 0);
}

void TextFileWriter::Left(std::string_view text, int width) {
  text = AsCString(text);
  const std::size_t columns = static_cast<std::size_t>(width);
  Text(text);
  if (text.size() < columns) Blanks(columns - text.size());
}

void TextFileWriter::Right(std::string_view text, int width) {
  Justify(AsCString(text), width);
}

void TextFileWriter::Justify(std::string_view text, int width) {
  const std::size_t columns = static_cast<std::size_t>(width);
  const std::size_t blanks = text.size() < columns ? columns - text.size() : 0;
  char* out = Room(blanks + text.size());
  for (std::size_t i = 0; i < blanks; ++i) *out++ = ' ';
  for (const char c : text) *out++ = c;
  used_ += blanks + text.size();
}

// Appends a number that ends with a field, with blanks in front of it up to a width.
void TextFileWriter::AppendNumber(const char* begin, const char* end, int width) {
  begin = std::min(begin, end - width);
  const std::size_t size = static_cast<std::size_t>(end - begin);
  char* out = Room(kWidestField);
  if (size <= kShortNumber) {
    std::memcpy(out, begin, kShortNumber);
  } else {
    std::memcpy(out, begin, size);
  }
  used_ += size;
}

void TextFileWriter::Integer(long long value, int width) {
  Field field;
  // Negated as unsigned, since the smallest value has no positive counterpart.
  const std::uint64_t magnitude =
      value < 0 ? ~static_cast<std::uint64_t>(value) + 1 : static_cast<std::uint64_t>(value);
  char* begin = magnitude <= std::numeric_limits<std::uint32_t>::max()
                    ? DigitsBackwards(static_cast<std::uint32_t>(magnitude), field.end())
                    : DigitsBackwards(magnitude, field.end());
  if (value < 0) *--begin = '-';
  AppendNumber(begin, field.end(), width);
}

void TextFileWriter::Fixed(double value, int width, int precision) {
  Field field;
  if (const char* begin = FormatIfCertain(value, precision, field.end())) {
    AppendNumber(begin, field.end(), width);
    return;
  }
  char text[kLongestFixed];
  const std::to_chars_result result =
      std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, precision);
  Justify({text, static_cast<std::size_t>(result.ptr - text)}, width);
}

bool TextFileWriter::Close() {
  Flush();
  if (std::fclose(file_) != 0) good_ = false;
  file_ = nullptr;
  return good_;
}

}  // namespace orvane

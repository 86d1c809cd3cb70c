// Files as text: read whole, taken apart line by line, and written in large blocks.
#ifndef RAVELO_TEXTFILE_H
#define RAVELO_TEXTFILE_H

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// Reads a whole file into `text`. False if it cannot be opened or is a folder.
bool ReadTextFile(const std::string& path, std::string& text);

/// Takes the lines of a text, one after the other. Lines end at a line feed, which is not part of
/// them; a carriage return is. A last line without a line feed counts, and behind a line feed at
/// the very end there is no further line.
class LineReader {
 public:
  explicit LineReader(std::string_view text) : rest_(text) {}

  /// Puts the next line into `line`; false, and an empty line, at the end of the text.
  bool Next(std::string_view& line);

 private:
  std::string_view rest_;
};

/// Collects formatted text and writes it to a file in large blocks. The results are those of the C
/// library's formatted output, to the byte, at a fraction of its cost.
class TextFileWriter {
 public:
  TextFileWriter() = default;
  ~TextFileWriter();
  TextFileWriter(const TextFileWriter&) = delete;
  TextFileWriter& operator=(const TextFileWriter&) = delete;

  /// Opens a file, replacing any of this name. False on failure. No other file may be open.
  bool Open(const std::string& path);

  /// As "%s" on the text up to its first NUL byte; `Left` as "%-*s", `Right` as "%*s".
  void Text(std::string_view text);
  void Left(std::string_view text, int width);
  void Right(std::string_view text, int width);

  /// As "%*d"; `width` is at most 64.
  void Integer(long long value, int width);

  /// As "%*.*f"; `width` is at most 64 and `precision` at most 9.
  void Fixed(double value, int width, int precision);

  /// Writes what is left and closes the file, which must be open. False if any write failed.
  bool Close();

 private:
  void Flush();
  char* Room(std::size_t size);
  void Blanks(std::size_t count);
  void Justify(std::string_view text, int width);
  void AppendNumber(const char* begin, const char* end, int width);

  std::FILE* file_ = nullptr;
  std::vector<char> buffer_;
  std::size_t used_ = 0;
  bool good_ = true;
};

}  // namespace orvane

#endif

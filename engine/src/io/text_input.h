// Plain-text input shared by the problem file readers: the whole file in memory, split into
// numbered lines, and the error type that carries the offending line back to the caller.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace nvrl::io {

// A problem in the file's content; line is 1-based (0 when no single line is to blame).
struct ParseError : std::runtime_error {
  int line;
  ParseError(int line_no, const std::string &what) : std::runtime_error(what), line(line_no) {}
};

// A problem that keeps a model from being written (names the format cannot carry, ...).
struct WriteError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Lines of a text without their terminators ("\n", "\r\n" or "\r"); numbering starts at 1.
class TextLines {
 public:
  explicit TextLines(std::string text);
  int count() const { return static_cast<int>(lines_.size()); }
  std::string_view line(int number) const { return lines_[static_cast<size_t>(number - 1)]; }

 private:
  std::string text_;
  std::vector<std::string_view> lines_;
};

// Splits at blanks and tabs.
std::vector<std::string_view> splitWords(std::string_view line);

// Removes leading and trailing blanks and tabs.
std::string_view trim(std::string_view s);

// Case-insensitive equality for ASCII keywords.
bool equalsNoCase(std::string_view a, std::string_view b);

}  // namespace nvrl::io

#include "io/text_input.h"

#include <cctype>

namespace nvrl::io {

TextLines::TextLines(std::string text) : text_(std::move(text)) {
  std::string_view all(text_);
  size_t pos = 0;
  while (pos < all.size()) {
    size_t end = all.find_first_of("\r\n", pos);
    if (end == std::string_view::npos) {
      lines_.push_back(all.substr(pos));
      break;
    }
    lines_.push_back(all.substr(pos, end - pos));
    pos = end + ((all[end] == '\r' && end + 1 < all.size() && all[end + 1] == '\n') ? 2 : 1);
  }
}

static bool isBlank(char c) { return c == ' ' || c == '\t'; }

std::vector<std::string_view> splitWords(std::string_view line) {
  std::vector<std::string_view> words;
  size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && isBlank(line[i])) ++i;
    size_t start = i;
    while (i < line.size() && !isBlank(line[i])) ++i;
    if (i > start) words.push_back(line.substr(start, i - start));
  }
  return words;
}

std::string_view trim(std::string_view s) {
  while (!s.empty() && isBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
  return s;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

}  // namespace nvrl::io

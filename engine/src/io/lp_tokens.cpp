#include "io/lp_tokens.h"

#include <array>
#include <cctype>

#include "io/numbers.h"

namespace nvrl::io {
namespace {

struct Keyword {
  const char *words;  // lower case, blank-separated
  LpSection section;
  int sense;
};

constexpr Keyword kKeywords[] = {
    {"minimize", LpSection::Objective, 1},     {"minimise", LpSection::Objective, 1},
    {"minimum", LpSection::Objective, 1},      {"min", LpSection::Objective, 1},
    {"maximize", LpSection::Objective, -1},    {"maximise", LpSection::Objective, -1},
    {"maximum", LpSection::Objective, -1},     {"max", LpSection::Objective, -1},
    {"subject to", LpSection::Constraints, 0}, {"such that", LpSection::Constraints, 0},
    {"s.t.", LpSection::Constraints, 0},       {"st", LpSection::Constraints, 0},
    {"bounds", LpSection::Bounds, 0},          {"bound", LpSection::Bounds, 0},
    {"generals", LpSection::General, 0},       {"general", LpSection::General, 0},
    {"integers", LpSection::General, 0},       {"gen", LpSection::General, 0},
    {"binaries", LpSection::Binary, 0},        {"binary", LpSection::Binary, 0},
    {"bin", LpSection::Binary, 0},             {"semi-continuous", LpSection::Semi, 0},
    {"semi continuous", LpSection::Semi, 0},   {"semicontinuous", LpSection::Semi, 0},
    {"semis", LpSection::Semi, 0},             {"semi", LpSection::Semi, 0},
    {"sos", LpSection::Sos, 0},
};

constexpr const char *kUnsupported[] = {"lazy constraints", "user cuts", "general constraints"};

// Character classes of names, as tables: names are most of a large file's characters.
struct NameChars {
  std::array<bool, 256> start{}, inner{};
  NameChars() {
    for (int c = 0; c < 256; ++c) start[c] = std::isalpha(c) != 0;
    for (unsigned char c : std::string_view("_!\"#$%&(),;?@'{}|~`")) start[c] = true;
    inner = start;
    for (int c = '0'; c <= '9'; ++c) inner[c] = true;
    inner['.'] = true;
  }
};
const NameChars kNameChars;

bool isNameStart(char c) { return kNameChars.start[static_cast<unsigned char>(c)]; }

bool isNameChar(char c) { return kNameChars.inner[static_cast<unsigned char>(c)]; }

// Length of the keyword phrase at the start of line (matched word by word, any case, any
// blanks between words), or 0.
size_t matchPhrase(std::string_view line, std::string_view phrase) {
  size_t i = 0;
  bool first = true;
  while (!phrase.empty()) {
    size_t space = phrase.find(' ');
    std::string_view word = phrase.substr(0, space);
    phrase = space == std::string_view::npos ? std::string_view() : phrase.substr(space + 1);
    if (!first) {
      size_t b = i;
      while (b < line.size() && (line[b] == ' ' || line[b] == '\t')) ++b;
      if (b == i) return 0;
      i = b;
    }
    first = false;
    if (line.size() - i < word.size() || !equalsNoCase(line.substr(i, word.size()), word))
      return 0;
    i += word.size();
  }
  // The keyword must end there, and what follows must not make it a name in an expression.
  if (i < line.size() && isNameChar(line[i])) return 0;
  std::string_view rest = trim(line.substr(i));
  if (!rest.empty() && std::string_view(":<>=+-*/^[]").find(rest[0]) != std::string_view::npos)
    return 0;
  return i;
}

// Whether a line starting with c may start a section keyword, "end" or an unsupported
// section: most lines of a large file are rows, terms or bounds, and trying some thirty
// phrases on each of them was a fifth of the reading time.
bool mayStartKeyword(char c) {
  static const std::array<bool, 256> table = [] {
    std::array<bool, 256> t{};
    auto mark = [&t](const char *phrase) {
      const unsigned char first = static_cast<unsigned char>(phrase[0]);
      t[first] = true;
      t[static_cast<unsigned char>(std::toupper(first))] = true;
    };
    for (const Keyword &k : kKeywords) mark(k.words);
    for (const char *u : kUnsupported) mark(u);
    mark("end");
    return t;
  }();
  return table[static_cast<unsigned char>(c)];
}

void tokeniseLine(std::string_view s, int line, std::vector<LpToken> &out) {
  size_t i = 0;
  auto push = [&](LpTok kind, size_t len) {
    out.push_back({kind, s.substr(i, len), 0.0, line});
    i += len;
  };
  while (i < s.size()) {
    char c = s[i];
    char n = i + 1 < s.size() ? s[i + 1] : '\0';
    size_t label_end = i;
    while (label_end < s.size() && isNameChar(s[label_end])) ++label_end;
    if (c == ' ' || c == '\t') {
      ++i;
    } else if (label_end > i && label_end < s.size() && s[label_end] == ':' &&
               (label_end + 1 == s.size() || s[label_end + 1] != ':')) {
      // A label (row, set or set member name) before ':' may start with a digit or '.',
      // as names in MPS files often do.
      push(LpTok::Name, label_end - i);
    } else if (std::isdigit(static_cast<unsigned char>(c)) ||
               (c == '.' && std::isdigit(static_cast<unsigned char>(n)))) {
      size_t j = i;
      while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) ++j;
      if (j < s.size() && s[j] == '.') {
        ++j;
        while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) ++j;
      }
      if (j < s.size() && (s[j] == 'e' || s[j] == 'E')) {
        size_t k = j + 1;
        if (k < s.size() && (s[k] == '+' || s[k] == '-')) ++k;
        if (k < s.size() && std::isdigit(static_cast<unsigned char>(s[k]))) {
          while (k < s.size() && std::isdigit(static_cast<unsigned char>(s[k]))) ++k;
          j = k;
        }
      }
      LpToken t{LpTok::Number, s.substr(i, j - i), 0.0, line};
      if (!parseNumber(t.text, t.value))
        throw ParseError(line, "invalid number '" + std::string(t.text) + "'");
      out.push_back(t);
      i = j;
    } else if (isNameStart(c) || c == '.') {
      // '.' before a digit began a number above; otherwise it may start a name.
      size_t j = i;
      while (j < s.size() && isNameChar(s[j])) ++j;
      push(LpTok::Name, j - i);
    } else if (c == '<') {
      push(LpTok::Le, n == '=' ? 2 : 1);
    } else if (c == '>') {
      push(LpTok::Ge, n == '=' ? 2 : 1);
    } else if (c == '=') {
      push(n == '<' ? LpTok::Le : n == '>' ? LpTok::Ge : LpTok::Eq, (n == '<' || n == '>') ? 2 : 1);
    } else if (c == '-' && n == '>') {
      push(LpTok::Arrow, 2);
    } else if (c == ':') {
      push(n == ':' ? LpTok::DoubleColon : LpTok::Colon, n == ':' ? 2 : 1);
    } else if (c == '+') {
      push(LpTok::Plus, 1);
    } else if (c == '-') {
      push(LpTok::Minus, 1);
    } else if (c == '*') {
      push(LpTok::Star, 1);
    } else if (c == '^') {
      push(LpTok::Caret, 1);
    } else if (c == '/') {
      push(LpTok::Slash, 1);
    } else if (c == '[') {
      push(LpTok::LBracket, 1);
    } else if (c == ']') {
      push(LpTok::RBracket, 1);
    } else {
      throw ParseError(line, std::string("unexpected character '") + c + "'");
    }
  }
}

}  // namespace

std::vector<LpSectionTokens> tokeniseLp(const TextLines &text) {
  std::vector<LpSectionTokens> sections;
  for (int ln = 1; ln <= text.count(); ++ln) {
    std::string_view line = text.line(ln);
    size_t comment = line.find('\\');
    if (comment != std::string_view::npos) line = line.substr(0, comment);
    line = trim(line);
    if (line.empty()) continue;
    if (mayStartKeyword(line[0])) {
      if (size_t len = matchPhrase(line, "end"); len && trim(line.substr(len)).empty()) break;
      for (const char *u : kUnsupported)
        if (matchPhrase(line, u))
          throw ParseError(ln, "unsupported section '" + std::string(line) + "'");
      for (const Keyword &k : kKeywords) {
        size_t len = matchPhrase(line, k.words);
        if (!len) continue;
        sections.push_back({k.section, k.sense, ln, {}});
        line = trim(line.substr(len));
        break;
      }
    }
    if (sections.empty())
      throw ParseError(ln, "expected Minimize or Maximize before '" + std::string(line) + "'");
    tokeniseLine(line, ln, sections.back().tokens);
  }
  for (auto &s : sections) {
    int last = s.tokens.empty() ? s.line : s.tokens.back().line;
    s.tokens.push_back({LpTok::End, "", 0.0, last});
  }
  return sections;
}

std::string describe(const LpToken &t) {
  if (t.kind == LpTok::End) return "end of section";
  std::string s = "'";
  s += t.text;
  s += '\'';
  return s;
}

}  // namespace nvrl::io

// Tokens of the LP text format and the split of a file into sections.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "io/text_input.h"

namespace nvrl::io {

enum class LpTok {
  Name, Number, Plus, Minus, Star, Caret, Slash, LBracket, RBracket, Colon, DoubleColon,
  Le, Ge, Eq, Arrow, End  // End: past the last token of a section
};

struct LpToken {
  LpTok kind;
  std::string_view text;
  double value = 0.0;  // for Number
  int line = 0;
};

enum class LpSection { Objective, Constraints, Bounds, General, Binary, Semi, Sos };

struct LpSectionTokens {
  LpSection section;
  int sense = 1;  // Objective: 1 minimise, -1 maximise
  int line = 0;   // line of the keyword
  std::vector<LpToken> tokens;
};

// Splits the text into sections at their keywords (which start a line; the rest of that
// line belongs to the section) and tokenises each; comments run from '\' to the end of the
// line, and "End" ends the file. Throws ParseError for text before the first section, an
// unsupported section or a character that starts no token.
std::vector<LpSectionTokens> tokeniseLp(const TextLines &text);

// The token's text for messages ("end of section" for End).
std::string describe(const LpToken &t);

}  // namespace nvrl::io

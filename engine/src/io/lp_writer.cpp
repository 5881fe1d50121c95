// LP format writer. The objective lists every column (zero coefficients included) so that
// reading the file back numbers the columns as they are numbered here.
#include "io/lp_writer.h"

#include <cctype>
#include <cmath>
#include <string>
#include <vector>

#include "io/numbers.h"
#include "io/text_input.h"
#include "io/written_names.h"

namespace nvrl::io {
namespace {

constexpr std::string_view kReservedNames[] = {
    "inf", "infinity", "free", "minimize", "minimise", "minimum", "min", "maximize", "maximise",
    "maximum", "max", "st", "s.t.", "bounds", "bound", "generals", "general", "integers", "gen",
    "binaries", "binary", "bin", "semis", "semi", "semicontinuous", "sos", "end"};

std::string lpNameProblem(std::string_view name) {
  if (name.empty()) return "is empty";
  auto start = [](char c) {
    return std::isalpha(static_cast<unsigned char>(c)) ||
           std::string_view("_!\"#$%&(),;?@'{}|~`").find(c) != std::string_view::npos;
  };
  // A name may start with '.' unless a digit follows, which would read as a number.
  bool dot_start =
      name[0] == '.' && !(name.size() > 1 && std::isdigit(static_cast<unsigned char>(name[1])));
  if (!start(name[0]) && !dot_start)
    return "does not start with a letter, '.' or one of _!\"#$%&(),;?@'{}|~` "
           "(LP files would read it as a number)";
  for (char c : name)
    if (!start(c) && !std::isdigit(static_cast<unsigned char>(c)) && c != '.')
      return "contains a character that LP files do not allow in names";
  for (std::string_view r : kReservedNames)
    if (equalsNoCase(name, r)) return "is a keyword of the LP format";
  return {};
}

// Row and set names stand before ':' only, where the reader also takes names that start
// with a digit or '.'.
std::string lpLabelProblem(std::string_view name) {
  if (name.empty()) return "is empty";
  for (char c : name)
    if (!std::isalnum(static_cast<unsigned char>(c)) &&
        std::string_view("_!\"#$%&(),;?@'{}|~`.").find(c) == std::string_view::npos)
      return "contains a character that LP files do not allow in names";
  for (std::string_view r : kReservedNames)
    if (equalsNoCase(name, r)) return "is a keyword of the LP format";
  return {};
}

class LpWriter {
 public:
  explicit LpWriter(const Model &m)
      : m_(m), names_(makeWrittenNames(m, lpNameProblem, lpLabelProblem)) {}
  std::string run();

 private:
  // Appends " + c name" / " - c name", wrapping long statements onto continuation lines
  // (which then start with the sign, never with something that reads as a keyword).
  void term(double coef, std::string_view name, bool first);
  void piece(const std::string &text);
  void quadratic(const QMatrix &q, bool objective);
  void objective();
  void constraints();
  void bounds();
  void typeLists();
  void sets();

  const Model &m_;
  WrittenNames names_;
  std::string out_;
  size_t line_start_ = 0;
};

std::string LpWriter::run() {
  if (!m_.gencons.empty() || !m_.pwlcons.empty())
    throw WriteError("general and piecewise-linear constraints cannot be written to LP files");
  for (int j = 0; j < m_.cols(); ++j)
    if (m_.coltype[j] == 'P')
      throw WriteError("partially integer column '" + names_.cols[j] +
                       "' cannot be written in LP format; write an MPS file instead");
  if (m_.cols() == 0 && m_.rows() > 0)
    throw WriteError("rows without any column cannot be written in LP format");
  if (!m_.name.empty()) out_ += "\\ Problem name: " + m_.name + "\n";
  objective();
  constraints();
  bounds();
  typeLists();
  sets();
  out_ += "End\n";
  return std::move(out_);
}

void LpWriter::piece(const std::string &text) {
  if (out_.size() - line_start_ + text.size() > 100) {
    out_ += "\n   ";
    line_start_ = out_.size() - 3;
  }
  out_ += text;
}

void LpWriter::term(double coef, std::string_view name, bool first) {
  std::string text;
  const bool unit = !name.empty() && std::fabs(coef) == 1.0;  // "x" rather than "1 x"
  if (first && !std::signbit(coef)) {
    text = " ";
    if (!unit) text += formatNumber(coef);
  } else {
    text = std::signbit(coef) ? " - " : " + ";
    if (!unit) text += formatNumber(std::fabs(coef));
  }
  if (!name.empty()) {
    if (!unit) text += ' ';
    text += name;
  }
  piece(text);
}

// Objective brackets are halved by "/ 2": (i,j,v) is written as 2v for i != j and v on the
// diagonal. Row brackets are not: 2v off the diagonal and v on it as well, since the row
// term is 2v*xi*xj. Both come out as the same coefficients.
void LpWriter::quadratic(const QMatrix &q, bool objective) {
  if (q.empty()) return;
  piece(" + [");
  bool first = true;
  for (const auto &[ij, v] : q) {
    double c = ij.first == ij.second ? v : 2 * v;
    std::string name = ij.first == ij.second
                           ? names_.cols[ij.first] + " ^2"
                           : names_.cols[ij.first] + " * " + names_.cols[ij.second];
    term(c, name, first);
    first = false;
  }
  piece(objective ? " ] / 2" : " ]");
}

void LpWriter::objective() {
  out_ += m_.objsense < 0 ? "Maximize\n" : "Minimize\n";
  line_start_ = out_.size();
  out_ += " obj:";
  for (int j = 0; j < m_.cols(); ++j) term(m_.obj[j], names_.cols[j], j == 0);
  quadratic(m_.qobj, true);
  // An objective without columns still needs a term: its constant, even when 0.
  if (m_.objconst != 0.0 || m_.cols() == 0)
    term(m_.objconst, "", m_.cols() == 0 && m_.qobj.empty());
  out_ += "\n";
}

void LpWriter::constraints() {
  out_ += "Subject To\n";
  const RowMatrix &A = m_.A.rows();
  for (int i = 0; i < m_.rows(); ++i) {
    line_start_ = out_.size();
    out_ += " " + names_.rows[i] + ":";
    if (i < static_cast<int>(m_.indcol.size()) && m_.indcol[i] >= 0 && m_.indcomp[i] != 0)
      out_ += " " + names_.cols[m_.indcol[i]] + (m_.indcomp[i] > 0 ? " = 1 ->" : " = 0 ->");
    const char type = m_.rowtype[i];
    const double rhs = m_.rhs[i];
    if (type == 'R') {
      out_ += ' ';
      // The file holds the limits, so the range comes back as rhs - lo: exact whenever the
      // range is a difference of doubles near rhs, otherwise off by an ulp of rhs.
      out_ += formatNumber(rhs - m_.range[i]);
      out_ += " <=";
    }
    bool first = true;
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k, first = false)
      term(A.val[k], names_.cols[A.col[k]], first);
    auto q = m_.qrows.find(i);
    bool has_q = q != m_.qrows.end() && !q->second.empty();
    // A row without terms still names a column, with a zero coefficient.
    if (first && !has_q) term(0.0, names_.cols[0], true);
    if (has_q) quadratic(q->second, false);
    switch (type) {
      case 'L': piece(" <= " + formatNumber(rhs)); break;
      case 'G': piece(" >= " + formatNumber(rhs)); break;
      case 'E': piece(" = " + formatNumber(rhs)); break;
      case 'R': piece(" <= " + formatNumber(rhs)); break;
      default: piece(" >= -inf"); break;  // 'N'
    }
    out_ += "\n";
  }
}

void LpWriter::bounds() {
  out_ += "Bounds\n";
  auto value = [](double v) {
    return isInfUp(v) ? std::string("+inf") : isInfLo(v) ? std::string("-inf") : formatNumber(v);
  };
  for (int j = 0; j < m_.cols(); ++j) {
    const std::string &n = names_.cols[j];
    const double lb = m_.lb[j], ub = m_.ub[j];
    const char t = m_.coltype[j];
    if (t == 'S' || t == 'R') {
      // The reader takes the lower bound as the limit (and 0 or below as lb).
      if (m_.limit[j] != 0.0) out_ += " " + n + " >= " + value(m_.limit[j]) + "\n";
      if (!isInfUp(ub)) out_ += " " + n + " <= " + value(ub) + "\n";
      continue;
    }
    const double def_lb = 0.0, def_ub = t == 'B' ? 1.0 : kInf;
    if (lb == def_lb && ub == def_ub) continue;
    if (t == 'B' || (lb != def_lb && ub != def_ub)) {
      // Binaries keep given bounds only when both are given.
      if (lb == ub)
        out_ += " " + n + " = " + value(lb) + "\n";
      else if (isInfLo(lb) && isInfUp(ub))
        out_ += " " + n + " free\n";
      else
        out_ += ' ' + value(lb) + " <= " + n + " <= " + value(ub) + "\n";
    } else if (lb != def_lb) {
      out_ += " " + n + " >= " + value(lb) + "\n";
    } else {
      out_ += " " + n + " <= " + value(ub) + "\n";
    }
  }
}

void LpWriter::typeLists() {
  auto list = [&](const char *title, auto wanted) {
    bool any = false;
    for (int j = 0; j < m_.cols(); ++j) {
      if (!wanted(m_.coltype[j])) continue;
      if (!any) out_ += title;
      any = true;
      out_ += " " + names_.cols[j] + "\n";
    }
  };
  list("Generals\n", [](char t) { return t == 'I' || t == 'R'; });
  list("Binaries\n", [](char t) { return t == 'B'; });
  list("Semi-continuous\n", [](char t) { return t == 'S' || t == 'R'; });
}

void LpWriter::sets() {
  if (m_.sets.empty()) return;
  out_ += "SOS\n";
  for (int k = 0; k < m_.nsets(); ++k) {
    const SpecialOrderedSet &s = m_.sets[k];
    line_start_ = out_.size();
    out_ += " " + names_.sets[k] + (s.type == '2' ? ": S2::" : ": S1::");
    for (size_t e = 0; e < s.cols.size(); ++e)
      piece(" " + names_.cols[s.cols[e]] + ":" + formatNumber(s.refs[e]));
    out_ += "\n";
  }
}

}  // namespace

std::string writeLp(const Model &model) {
  LpWriter writer(model);
  return writer.run();
}

}  // namespace nvrl::io

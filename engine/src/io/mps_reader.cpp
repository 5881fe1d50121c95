// MPS reader. Each data line is first read as free format (words separated by blanks); when
// that does not make sense for the section, the line is read again by the fixed columns
// (fields at columns 2-3, 5-12, 15-22, 25-36, 40-47, 50-61), where names may hold blanks.
// A line is applied only once one of the two readings has been checked completely, so a
// failed reading never leaves half of a line behind.
#include "io/mps_reader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "io/model_assembly.h"
#include "io/numbers.h"

namespace nvrl::io {
namespace {

using Words = std::vector<std::string_view>;

enum class Section {
  None, Name, ObjSense, ObjName, Rows, Columns, Rhs, Ranges, Bounds, Sos, QuadObj, QMatrix,
  QcMatrix, Indicators, NlCoefficients, InitialValues, End
};

std::string quote(std::string_view s) {
  std::string q = "'";
  q += s;
  q += '\'';
  return q;
}

// The six fixed-format fields of a data line, blanks trimmed; missing ones are empty.
Words fixedFields(std::string_view line) {
  static constexpr size_t kPos[6][2] = {{1, 2}, {4, 8}, {14, 8}, {24, 12}, {39, 8}, {49, 12}};
  Words f;
  for (const auto &p : kPos) f.push_back(p[0] < line.size() ? trim(line.substr(p[0], p[1])) : "");
  return f;
}

// Drops empty fields at the end (fixed-format lines stop after the last field they use).
Words dropTrailingEmpty(Words w) {
  while (!w.empty() && w.back().empty()) w.pop_back();
  return w;
}

class MpsReader {
 public:
  MpsReader(const TextLines &text, NonlinearSections *nonlinear)
      : text_(text), nonlinear_(nonlinear) {}
  Model run(std::string_view fallback_name);

 private:
  // A reading of a line that does not fit; the message explains why.
  struct Reject {
    std::string message;
  };
  using Result = std::optional<Reject>;

  [[noreturn]] void fail(const std::string &message) const { throw ParseError(line_, message); }

  void header(std::string_view line);
  void dataLine(std::string_view line);
  Result applyLine(const Words &w);

  Result rowsLine(const Words &w);
  Result columnsLine(const Words &w);
  Result rhsLine(const Words &w, bool ranges);
  Result boundsLine(const Words &w);
  Result sosLine(const Words &w, std::string_view line);
  Result quadraticLine(const Words &w);
  Result indicatorsLine(const Words &w);
  Result nlCoefficientLine(std::string_view line);
  Result initialValueLine(const Words &w);
  Result objSenseWord(std::string_view word);

  // Canonical layouts of free-format words per section (see dataLine).
  Words freeRhs(const Words &w) const;
  Words freeBounds(const Words &w) const;

  void finish();

  const TextLines &text_;
  NonlinearSections *nonlinear_;
  bool columns_seen_ = false;
  int line_ = 0;
  Section section_ = Section::None;
  ModelAssembly m_;
  std::string obj_name_;        // objective row (first N row unless OBJNAME chose one)
  bool have_obj_ = false;
  std::vector<char> obj_seen_;  // per column: objective coefficient already given
  int last_col_ = -1;           // column of the previous COLUMNS line
  bool integer_marker_ = false;
  std::vector<double> range_;   // per row: RANGES value, NaN when none
  int qrow_ = -1;               // row of the current QCMATRIX section (-1 objective)
  bool qfull_ = false;          // the current quadratic section lists the full matrix
  int current_set_ = -1;
  std::vector<char> in_set_;    // per column: member of the current set
};

Model MpsReader::run(std::string_view fallback_name) {
  for (line_ = 1; line_ <= text_.count(); ++line_) {
    std::string_view line = text_.line(line_);
    if (line.empty() || line[0] == '*' || trim(line).empty()) continue;
    if (line[0] != ' ' && line[0] != '\t') {
      header(line);
      if (section_ == Section::End) break;
    } else {
      dataLine(line);
    }
  }
  if (section_ != Section::End) {
    line_ = text_.count();
    fail("file ends without ENDATA");
  }
  line_ = 0;
  finish();
  if (m_.model.name.empty()) m_.model.name = std::string(fallback_name);
  return std::move(m_.model);
}

void MpsReader::header(std::string_view line) {
  Words w = splitWords(line);
  std::string_view key = w[0];
  auto rest = [&](Section s) {
    if (w.size() > 1) fail("unexpected text " + quote(w[1]) + " after " + std::string(key));
    section_ = s;
  };
  if (key == "NAME") {
    // Older writers put more after the name (sizes, comments); the name is the first word.
    if (w.size() > 1) m_.model.name = std::string(w[1]);
    section_ = Section::Name;
  } else if (key == "OBJSENSE" || key == "OBJSENSE:") {
    section_ = Section::ObjSense;
    if (w.size() > 1)
      if (Result r = objSenseWord(w[1])) fail(r->message);
  } else if (key == "OBJNAME") {
    section_ = Section::ObjName;
    if (w.size() > 1) {
      if (m_.model.rows() > 0 || have_obj_) fail("OBJNAME must come before ROWS");
      obj_name_ = std::string(w[1]);
    }
  } else if (key == "ROWS") {
    rest(Section::Rows);
  } else if (key == "COLUMNS") {
    rest(Section::Columns);
    columns_seen_ = true;
    if (!have_obj_) fail("no objective row (type N) in ROWS");
  } else if (key == "RHS") {
    rest(Section::Rhs);
  } else if (key == "RANGES") {
    rest(Section::Ranges);
  } else if (key == "BOUNDS") {
    rest(Section::Bounds);
  } else if (key == "SOS") {
    rest(Section::Sos);
  } else if (key == "QUADOBJ" || key == "QMATRIX") {
    rest(key == "QUADOBJ" ? Section::QuadObj : Section::QMatrix);
    qrow_ = -1;
    qfull_ = key == "QMATRIX";
  } else if (key == "QCMATRIX" || key == "QSECTION") {
    if (w.size() < 2) fail(std::string(key) + " needs a row name");
    if (w.size() > 2) fail("unexpected text " + quote(w[2]) + " after " + std::string(key));
    if (key == "QSECTION" && w[1] == obj_name_) {
      // A QSECTION on the objective lists the lower triangle, as QUADOBJ does.
      section_ = Section::QuadObj;
      qrow_ = -1;
      qfull_ = false;
    } else {
      int row = m_.rowIndex(w[1]);
      if (row < 0) fail("unknown row name " + quote(w[1]) + " in " + std::string(key));
      section_ = Section::QcMatrix;
      qrow_ = row;
      qfull_ = true;
    }
  } else if (key == "INDICATORS") {
    rest(Section::Indicators);
  } else if (key == "NLCOEFFICIENTS" || key == "INITIALVALUES") {
    if (!nonlinear_)
      fail("section " + std::string(key) +
           " holds nonlinear data: read this file with NSLPreadprob");
    // Coefficients and starting values name columns, which only COLUMNS declares.
    if (!columns_seen_) fail(std::string(key) + " must come after COLUMNS");
    rest(key == "NLCOEFFICIENTS" ? Section::NlCoefficients : Section::InitialValues);
  } else if (key == "ENDATA") {
    section_ = Section::End;
  } else if (section_ == Section::ObjSense && w.size() == 1 && !objSenseWord(key)) {
    // Some writers put the sense of OBJSENSE in the first column.
  } else {
    fail("unknown section " + quote(key));
  }
}

void MpsReader::dataLine(std::string_view line) {
  Words free = splitWords(line);
  Words canonical = free;
  if (section_ == Section::Rhs || section_ == Section::Ranges) canonical = freeRhs(free);
  if (section_ == Section::Bounds) canonical = freeBounds(free);
  if (section_ == Section::Sos) {
    if (Result r = sosLine(free, line)) fail(r->message);
    return;
  }
  if (section_ == Section::NlCoefficients || section_ == Section::InitialValues) {
    Result r = section_ == Section::NlCoefficients ? nlCoefficientLine(line)
                                                   : initialValueLine(free);
    if (r) fail(r->message);
    return;
  }
  Result first = applyLine(canonical);
  if (!first) return;

  // Fixed columns: the same layouts, with fields taken by position.
  Words f = fixedFields(line);
  Words fixed;
  switch (section_) {
    case Section::Rows: fixed = {f[0], f[1]}; break;
    case Section::Columns: fixed = dropTrailingEmpty({f[1], f[2], f[3], f[4], f[5]}); break;
    case Section::Rhs:
    case Section::Ranges: fixed = dropTrailingEmpty({f[1], f[2], f[3], f[4], f[5]}); break;
    case Section::Bounds: fixed = {f[0], f[1], f[2], f[3]}; break;
    default: fail(first->message);
  }
  // Only a name with blanks needs the fixed reading; otherwise it would merely misread a
  // faulty free-format line.
  bool blank_inside = false;
  for (std::string_view field : fixed)
    blank_inside = blank_inside || field.find_first_of(" \t") != std::string_view::npos;
  if (blank_inside && !applyLine(fixed)) return;
  fail(first->message);
}

MpsReader::Result MpsReader::applyLine(const Words &w) {
  switch (section_) {
    case Section::Name: return Reject{"unexpected data after NAME"};
    case Section::ObjSense:
      if (w.size() != 1) return Reject{"OBJSENSE expects MIN or MAX"};
      return objSenseWord(w[0]);
    case Section::ObjName:
      if (w.size() != 1) return Reject{"OBJNAME expects one row name"};
      if (m_.model.rows() > 0 || have_obj_) return Reject{"OBJNAME must come before ROWS"};
      obj_name_ = std::string(w[0]);
      return {};
    case Section::Rows: return rowsLine(w);
    case Section::Columns: return columnsLine(w);
    case Section::Rhs: return rhsLine(w, false);
    case Section::Ranges: return rhsLine(w, true);
    case Section::Bounds: return boundsLine(w);
    case Section::QuadObj:
    case Section::QMatrix:
    case Section::QcMatrix: return quadraticLine(w);
    case Section::Indicators: return indicatorsLine(w);
    default: return Reject{"data line outside any section"};
  }
}

MpsReader::Result MpsReader::objSenseWord(std::string_view word) {
  if (word == "MAX" || word == "MAXIMIZE" || word == "MAXIMISE") {
    m_.model.objsense = -1;
  } else if (word == "MIN" || word == "MINIMIZE" || word == "MINIMISE") {
    m_.model.objsense = 1;
  } else {
    return Reject{"unknown objective sense " + quote(word) + " (expected MIN or MAX)"};
  }
  return {};
}

MpsReader::Result MpsReader::rowsLine(const Words &w) {
  if (w.size() != 2 || w[1].empty()) return Reject{"ROWS expects a row type and a row name"};
  std::string_view type = w[0], name = w[1];
  if (type.size() != 1 || std::string_view("NLGEnlge").find(type[0]) == std::string_view::npos)
    return Reject{"unknown row type " + quote(type) + " in ROWS"};
  if (name.size() > NVRL_MAXNAMELEN) return Reject{"row name longer than 1024 characters"};
  if (m_.rowIndex(name) >= 0 || (have_obj_ && name == obj_name_))
    return Reject{"duplicate row name " + quote(name) + " in ROWS"};
  char t = static_cast<char>(std::toupper(static_cast<unsigned char>(type[0])));
  // The first free row is the objective, unless OBJNAME named another; further free rows
  // stay in the model as rows without bounds.
  if (t == 'N' && !have_obj_ && (obj_name_.empty() || name == obj_name_)) {
    obj_name_ = std::string(name);
    have_obj_ = true;
    return {};
  }
  m_.addRow(name, t);
  range_.push_back(NAN);
  return {};
}

MpsReader::Result MpsReader::columnsLine(const Words &w) {
  if (w.size() == 3 && w[1] == "'MARKER'") {
    if (w[2] == "'INTORG'") {
      integer_marker_ = true;
    } else if (w[2] == "'INTEND'") {
      integer_marker_ = false;
    } else {
      return Reject{"unknown marker " + quote(w[2]) + " in COLUMNS"};
    }
    return {};
  }
  if (w.size() != 3 && w.size() != 5)
    return Reject{"COLUMNS expects a column name and one or two pairs of row name and value"};
  std::string_view colname = w[0];
  if (colname.empty()) return Reject{"COLUMNS line without a column name"};
  if (colname.size() > NVRL_MAXNAMELEN) return Reject{"column name longer than 1024 characters"};
  // A column's lines usually follow one another: the previous line's column is tried first.
  int col = last_col_ >= 0 && m_.model.colnames[static_cast<size_t>(last_col_)] == colname
                ? last_col_
                : m_.colIndex(colname);
  int rows[2];
  double vals[2];
  const size_t npairs = (w.size() - 1) / 2;
  for (size_t k = 0; k < npairs; ++k) {
    std::string_view rowname = w[1 + 2 * k], valtext = w[2 + 2 * k];
    if (!parseNumber(valtext, vals[k]))
      return Reject{"invalid number " + quote(valtext) + " in COLUMNS"};
    if (std::isinf(vals[k])) return Reject{"infinite coefficient in COLUMNS"};
    rows[k] = rowname == obj_name_ ? -1 : m_.rowIndex(rowname);
    if (rows[k] < 0 && rowname != obj_name_)
      return Reject{"unknown row name " + quote(rowname) + " in COLUMNS"};
    bool dup = (k == 1 && rows[0] == rows[1]) ||
               (col >= 0 && (rows[k] < 0 ? obj_seen_[col] != 0 : m_.hasEntry(rows[k], col)));
    if (dup)
      return Reject{"duplicate entry for column " + quote(colname) + " in row " + quote(rowname)};
  }
  if (col < 0) {
    col = m_.addColumn(colname);
    obj_seen_.push_back(0);
    in_set_.push_back(0);
    if (integer_marker_) m_.model.coltype[col] = 'I';
  }
  last_col_ = col;
  for (size_t k = 0; k < npairs; ++k) {
    if (rows[k] < 0) {
      m_.model.obj[col] = vals[k];
      obj_seen_[col] = 1;
    } else {
      m_.addEntry(rows[k], col, vals[k]);
    }
  }
  return {};
}

Words MpsReader::freeRhs(const Words &w) const {
  // The vector name is optional: an even number of words means it was left out.
  Words out = w;
  if (w.size() % 2 == 0) out.insert(out.begin(), std::string_view());
  return out;
}

MpsReader::Result MpsReader::rhsLine(const Words &w, bool ranges) {
  const char *what = ranges ? "RANGES" : "RHS";
  if (w.size() != 3 && w.size() != 5)
    return Reject{std::string(what) + " expects one or two pairs of row name and value"};
  int rows[2];
  double vals[2];
  const size_t npairs = (w.size() - 1) / 2;
  for (size_t k = 0; k < npairs; ++k) {
    std::string_view rowname = w[1 + 2 * k], valtext = w[2 + 2 * k];
    if (!parseNumber(valtext, vals[k]))
      return Reject{"invalid number " + quote(valtext) + " in " + what};
    bool is_obj = have_obj_ && rowname == obj_name_;
    rows[k] = is_obj ? -1 : m_.rowIndex(rowname);
    if (!is_obj && rows[k] < 0)
      return Reject{"unknown row name " + quote(rowname) + " in " + what};
    if (ranges && (is_obj || m_.model.rowtype[rows[k]] == 'N'))
      return Reject{"RANGES entry for free row " + quote(rowname)};
    if (is_obj && std::isinf(vals[k])) return Reject{"infinite objective constant in RHS"};
  }
  for (size_t k = 0; k < npairs; ++k) {
    if (ranges) {
      range_[rows[k]] = vals[k];
    } else if (rows[k] < 0) {
      // An RHS on the objective row moves the constant to the other side.
      m_.model.objconst = -vals[k];
    } else {
      m_.model.rhs[rows[k]] = clampInfinite(vals[k]);
    }
  }
  return {};
}

Words MpsReader::freeBounds(const Words &w) const {
  // Canonical layout: type, bound vector name (may be empty), column, value (may be empty).
  if (w.size() == 4 || w.empty()) return w;
  if (w.size() == 2) return {w[0], "", w[1], ""};
  if (w.size() == 3) {
    static constexpr std::string_view kNoValue[] = {"FR", "MI", "PL", "BV"};
    bool needs_value = true;
    for (auto t : kNoValue) needs_value = needs_value && w[0] != t;
    double dummy;
    // Without a value the three words are type, vector and column; a type that needs one,
    // or a third word that reads as a number while the second names a column, means the
    // vector name was left out.
    if (needs_value && m_.colIndex(w[1]) < 0 && m_.colIndex(w[2]) >= 0)
      return {w[0], w[1], w[2], ""};  // the value is missing
    if (needs_value || (m_.colIndex(w[1]) >= 0 && m_.colIndex(w[2]) < 0 &&
                        parseNumber(w[2], dummy)))
      return {w[0], "", w[1], w[2]};
    return {w[0], w[1], w[2], ""};
  }
  return w;
}

MpsReader::Result MpsReader::boundsLine(const Words &w) {
  if (w.size() != 4) return Reject{"BOUNDS expects a bound type, a column name and a value"};
  std::string_view type = w[0], colname = w[2], valtext = w[3];
  static constexpr std::string_view kTypes[] = {"UP", "LO", "FX", "FR", "MI", "PL", "BV",
                                                "LI", "UI", "SC", "SI", "PI"};
  bool known = false;
  for (auto t : kTypes) known = known || t == type;
  if (!known) return Reject{"unknown bound type " + quote(type) + " in BOUNDS"};
  int col = m_.colIndex(colname);
  if (col < 0) return Reject{"unknown column name " + quote(colname) + " in BOUNDS"};
  bool needs_value = type != "FR" && type != "MI" && type != "PL" && type != "BV";
  double v = 0.0;
  if (!valtext.empty() && !parseNumber(valtext, v))
    return Reject{"invalid number " + quote(valtext) + " in BOUNDS"};
  if (needs_value && valtext.empty())
    return Reject{"bound type " + std::string(type) + " needs a value"};
  v = clampInfinite(v);

  Model &md = m_.model;
  double &lb = md.lb[col], &ub = md.ub[col];
  char &ct = md.coltype[col];
  if (type == "UP" || type == "UI") {
    // A negative upper bound on a column still at the default lower bound 0 frees the
    // lower bound, as MPS files customarily assume.
    if (v < 0 && lb == 0.0) lb = -kInf;
    ub = v;
    if (type == "UI") ct = 'I';
  } else if (type == "LO" || type == "LI") {
    lb = v;
    if (type == "LI") ct = 'I';
  } else if (type == "FX") {
    lb = ub = v;
  } else if (type == "FR") {
    lb = -kInf;
    ub = kInf;
  } else if (type == "MI") {
    lb = -kInf;
  } else if (type == "PL") {
    ub = kInf;
  } else if (type == "BV") {
    ct = 'B';
    lb = 0.0;
    ub = 1.0;
  } else if (type == "SC" || type == "SI") {
    // The value is the upper bound; the lower bound, wherever it is given, becomes the
    // limit in finish(). The bound type decides the kind, whatever the markers said.
    ct = type == "SC" ? 'S' : 'R';
    ub = v;
  } else {  // PI: partially integer below the given limit
    ct = 'P';
    md.limit[col] = v;
  }
  return {};
}

MpsReader::Result MpsReader::sosLine(const Words &w, std::string_view line) {
  Model &md = m_.model;
  size_t indent = line.find_first_not_of(" \t");
  bool is_header = (w[0] == "S1" || w[0] == "S2") &&
                   (w.size() == 2 || w[1] == "SOS" || indent < 4);
  double num;
  if (is_header) {
    std::string_view name, priority;
    if (w.size() == 2) {
      name = w[1];
    } else if (w[1] == "SOS" && w.size() >= 3 && w.size() <= 4) {
      name = w[2];
      if (w.size() == 4) priority = w[3];
    } else if (w.size() == 3) {
      name = w[1];
      priority = w[2];
    } else {
      return Reject{"SOS header expects S1 or S2, a set name and an optional priority"};
    }
    // Set headers in MPS files often carry a branching priority: it is checked and read so
    // that such files load, but HiGHS takes no set priorities, so it is not kept.
    if (!priority.empty() && !parseNumber(priority, num))
      return Reject{"invalid priority " + quote(priority) + " in SOS"};
    SpecialOrderedSet set;
    set.type = w[0][1];
    md.sets.push_back(std::move(set));
    md.setnames.emplace_back(name);
    if (current_set_ >= 0)
      for (int c : md.sets[current_set_].cols) in_set_[c] = 0;
    current_set_ = md.nsets() - 1;
    return {};
  }
  if (current_set_ < 0) return Reject{"SOS member before any set header (S1 or S2)"};
  std::string_view colname, weight;
  if (w.size() == 1) {
    size_t colon = w[0].rfind(':');
    if (colon == std::string_view::npos) return Reject{"SOS member expects a column and a weight"};
    colname = w[0].substr(0, colon);
    weight = w[0].substr(colon + 1);
  } else if (w.size() == 2) {
    colname = w[0];
    weight = w[1];
  } else if (w.size() == 3) {
    if (w[0] != md.setnames[current_set_])
      return Reject{"SOS member names set " + quote(w[0]) + " inside set " +
                    quote(md.setnames[current_set_])};
    colname = w[1];
    weight = w[2];
  } else {
    return Reject{"SOS member expects a column and a weight"};
  }
  int col = m_.colIndex(colname);
  if (col < 0) return Reject{"unknown column name " + quote(colname) + " in SOS"};
  if (!parseNumber(weight, num) || std::isinf(num))
    return Reject{"invalid weight " + quote(weight) + " in SOS"};
  if (in_set_[col]) return Reject{"column " + quote(colname) + " appears twice in one set"};
  in_set_[col] = 1;
  md.sets[current_set_].cols.push_back(col);
  md.sets[current_set_].refs.push_back(num);
  return {};
}

MpsReader::Result MpsReader::quadraticLine(const Words &w) {
  if (w.size() != 3) return Reject{"quadratic entry expects two column names and a value"};
  int c1 = m_.colIndex(w[0]), c2 = m_.colIndex(w[1]);
  if (c1 < 0) return Reject{"unknown column name " + quote(w[0]) + " in quadratic section"};
  if (c2 < 0) return Reject{"unknown column name " + quote(w[1]) + " in quadratic section"};
  double v;
  if (!parseNumber(w[2], v) || std::isinf(v))
    return Reject{"invalid number " + quote(w[2]) + " in quadratic section"};
  QMatrix &q = qrow_ < 0 ? m_.model.qobj : m_.model.qrows[qrow_];
  // Triangle listings give each pair once; full listings give (i,j) and (j,i), so each
  // carries half of the pair's value.
  if (qfull_ && c1 != c2) v /= 2;
  q[{std::min(c1, c2), std::max(c1, c2)}] += v;
  return {};
}

MpsReader::Result MpsReader::indicatorsLine(const Words &w) {
  if (w.size() != 4 || w[0] != "IF")
    return Reject{"INDICATORS expects IF, a row name, a column name and 0 or 1"};
  int row = m_.rowIndex(w[1]);
  if (row < 0) return Reject{"unknown row name " + quote(w[1]) + " in INDICATORS"};
  int col = m_.colIndex(w[2]);
  if (col < 0) return Reject{"unknown column name " + quote(w[2]) + " in INDICATORS"};
  double v;
  if (!parseNumber(w[3], v) || (v != 0.0 && v != 1.0))
    return Reject{"indicator value must be 0 or 1, not " + quote(w[3])};
  m_.model.indcol[row] = col;
  m_.model.indcomp[row] = v == 1.0 ? 1 : -1;
  return {};
}

MpsReader::Result MpsReader::nlCoefficientLine(std::string_view line) {
  // Row, column and factor are words; the formula is the rest of the line, blanks and all.
  std::string_view w[3];
  std::string_view rest = line;
  for (std::string_view &word : w) {
    rest = trim(rest);
    size_t end = rest.find_first_of(" \t");
    word = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end);
  }
  rest = trim(rest);
  if (rest.empty())
    return Reject{"NLCOEFFICIENTS expects a row name, a column name or =, a factor and a formula"};
  NonlinearSections::Coefficient c{line_, -1, -1, 0.0, std::string(rest)};
  if (w[0] != obj_name_) {
    c.row = m_.rowIndex(w[0]);
    if (c.row < 0) return Reject{"unknown row name " + quote(w[0]) + " in NLCOEFFICIENTS"};
  }
  if (w[1] != "=") {
    c.col = m_.colIndex(w[1]);
    if (c.col < 0) return Reject{"unknown column name " + quote(w[1]) + " in NLCOEFFICIENTS"};
  }
  if (!parseNumber(w[2], c.factor) || std::isinf(c.factor))
    return Reject{"invalid factor " + quote(w[2]) + " in NLCOEFFICIENTS"};
  nonlinear_->coefs.push_back(std::move(c));
  return {};
}

MpsReader::Result MpsReader::initialValueLine(const Words &w) {
  if (w.size() != 2) return Reject{"INITIALVALUES expects a column name and a value"};
  int col = m_.colIndex(w[0]);
  if (col < 0) return Reject{"unknown column name " + quote(w[0]) + " in INITIALVALUES"};
  double v;
  if (!parseNumber(w[1], v) || std::isinf(v))
    return Reject{"invalid number " + quote(w[1]) + " in INITIALVALUES"};
  nonlinear_->initial.push_back({line_, col, v});
  return {};
}

void MpsReader::finish() {
  Model &md = m_.model;
  for (int i = 0; i < md.rows(); ++i) {
    double r = range_[i];
    if (std::isnan(r)) continue;
    char &t = md.rowtype[i];
    double &rhs = md.rhs[i];
    if (std::fabs(r) >= kInf) {
      // An infinite range removes the missing side: an equality becomes one-sided.
      if (t == 'E') t = r > 0 ? 'G' : 'L';
      continue;
    }
    if (t == 'L') {
      md.range[i] = std::fabs(r);
    } else if (t == 'G') {
      rhs += std::fabs(r);
      md.range[i] = std::fabs(r);
    } else if (t == 'E') {
      if (r == 0.0) continue;
      if (r > 0) rhs += r;
      md.range[i] = std::fabs(r);
    }
    t = 'R';
  }
  for (int j = 0; j < md.cols(); ++j) {
    if (md.coltype[j] == 'S' || md.coltype[j] == 'R') {
      // The column is 0 or in [limit, ub]; the given lower bound is that limit.
      md.limit[j] = md.lb[j];
      md.lb[j] = std::min(md.lb[j], 0.0);
    }
  }
  for (auto it = md.qrows.begin(); it != md.qrows.end();) {
    std::erase_if(it->second, [](const auto &e) { return e.second == 0.0; });
    it = it->second.empty() ? md.qrows.erase(it) : std::next(it);
  }
  std::erase_if(md.qobj, [](const auto &e) { return e.second == 0.0; });
  m_.buildMatrix();
}

}  // namespace

Model readMps(const TextLines &text, std::string_view fallback_name,
              NonlinearSections *nonlinear) {
  MpsReader reader(text, nonlinear);
  return reader.run(fallback_name);
}

}  // namespace nvrl::io

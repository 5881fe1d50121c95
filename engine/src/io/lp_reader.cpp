// LP format reader. Columns are numbered in the order their names first appear. Statements
// end where the grammar says so (after a right-hand side, a bound value, a set's last
// member), so they may span lines and share them.
#include "io/lp_reader.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "io/lp_tokens.h"
#include "io/model_assembly.h"
#include "io/numbers.h"

namespace nvrl::io {
namespace {

// A linear and quadratic expression as written: coefficients of the written terms.
struct Expression {
  std::map<int, double> linear;
  std::map<std::pair<int, int>, double> quadratic;  // term coefficient of x_i*x_j, i <= j
  double constant = 0.0;
};

bool isInfinityName(const LpToken &t) {
  return t.kind == LpTok::Name && (equalsNoCase(t.text, "inf") || equalsNoCase(t.text, "infinity"));
}

bool isRelation(LpTok k) { return k == LpTok::Le || k == LpTok::Ge || k == LpTok::Eq; }

class LpReader {
 public:
  Model run(const TextLines &text, std::string_view name);

 private:
  const LpToken &peek(size_t ahead = 0) const {
    return tokens_[std::min(pos_ + ahead, tokens_.size() - 1)];
  }
  const LpToken &next() {
    const LpToken &t = peek();
    if (pos_ < tokens_.size() - 1) ++pos_;
    return t;
  }
  [[noreturn]] void fail(const LpToken &at, const std::string &message) const {
    throw ParseError(at.line, message);
  }
  [[noreturn]] void unexpected(const std::string &where) const {
    fail(peek(), "unexpected " + describe(peek()) + " " + where);
  }

  int column(const LpToken &name);
  bool atSignedNumber() const;
  double signedNumber(const char *where);
  Expression expression(bool objective);
  void quadraticBracket(Expression &e);

  void objective(int sense);
  void constraints();
  void constraint();
  void bounds();
  void boundStatement();
  void typeList(LpSection section);
  void sos();

  std::vector<LpToken> tokens_;
  size_t pos_ = 0;
  ModelAssembly m_;
  bool have_objective_ = false;
  std::vector<char> lb_given_, ub_given_;  // per column: set in Bounds
};

Model LpReader::run(const TextLines &text, std::string_view name) {
  std::vector<LpSectionTokens> sections = tokeniseLp(text);
  for (LpSectionTokens &s : sections) {
    tokens_ = std::move(s.tokens);
    pos_ = 0;
    switch (s.section) {
      case LpSection::Objective:
        if (have_objective_) throw ParseError(s.line, "a second objective section");
        objective(s.sense);
        break;
      case LpSection::Constraints: constraints(); break;
      case LpSection::Bounds: bounds(); break;
      case LpSection::General:
      case LpSection::Binary:
      case LpSection::Semi: typeList(s.section); break;
      case LpSection::Sos: sos(); break;
    }
  }
  if (!have_objective_) throw ParseError(0, "no Minimize or Maximize section");
  Model &md = m_.model;
  for (int j = 0; j < md.cols(); ++j) {
    if (md.coltype[j] == 'S' || md.coltype[j] == 'R') {
      // As in MPS files: the column is 0 or in [limit, ub], the given lower bound the limit.
      md.limit[j] = md.lb[j];
      md.lb[j] = std::min(md.lb[j], 0.0);
    }
  }
  m_.buildMatrix();
  md.name = std::string(name);
  return std::move(md);
}

int LpReader::column(const LpToken &name) {
  if (isInfinityName(name)) fail(name, "'" + std::string(name.text) + "' is not a column name");
  if (name.text.size() > NVRL_MAXNAMELEN) fail(name, "column name longer than 1024 characters");
  int j = m_.colIndex(name.text);
  if (j < 0) {
    j = m_.addColumn(name.text);
    lb_given_.push_back(0);
    ub_given_.push_back(0);
  }
  return j;
}

bool LpReader::atSignedNumber() const {
  size_t k = (peek().kind == LpTok::Plus || peek().kind == LpTok::Minus) ? 1 : 0;
  return peek(k).kind == LpTok::Number || isInfinityName(peek(k));
}

double LpReader::signedNumber(const char *where) {
  double sign = 1.0;
  if (peek().kind == LpTok::Plus || peek().kind == LpTok::Minus)
    sign = next().kind == LpTok::Minus ? -1.0 : 1.0;
  const LpToken &t = peek();
  if (t.kind == LpTok::Number) return sign * next().value;
  if (isInfinityName(t)) {
    next();
    return sign * kInf;
  }
  unexpected(std::string("where ") + where + " should be a number");
}

// Terms up to the first token that cannot continue the expression. Quadratic terms sit in
// brackets; the objective's bracket is followed by "/ 2".
Expression LpReader::expression(bool objective) {
  Expression e;
  bool first = true;
  for (;;) {
    double sign = 1.0;
    bool signed_term = false;
    while (peek().kind == LpTok::Plus || peek().kind == LpTok::Minus) {
      if (next().kind == LpTok::Minus) sign = -sign;
      signed_term = true;
    }
    if (!first && !signed_term) break;  // terms after the first need a sign
    const LpToken &t = peek();
    if (t.kind == LpTok::LBracket) {
      Expression q;
      quadraticBracket(q);
      double divisor = 1.0;
      if (peek().kind == LpTok::Slash) {
        next();
        const LpToken &d = next();
        if (d.kind != LpTok::Number || d.value == 0.0)
          fail(d, "expected a non-zero number after '/'");
        divisor = d.value;
      } else if (objective) {
        fail(peek(), "the objective's quadratic terms must be followed by '/ 2'");
      }
      for (const auto &[ij, v] : q.quadratic) e.quadratic[ij] += sign * v / divisor;
    } else if (t.kind == LpTok::Number || isInfinityName(t)) {
      double value = t.kind == LpTok::Number ? t.value : kInf;
      next();
      if (peek().kind == LpTok::Star) next();
      if (peek().kind == LpTok::Name && !isInfinityName(peek())) {
        if (t.kind != LpTok::Number || std::isinf(value)) fail(t, "infinite coefficient");
        e.linear[column(next())] += sign * value;
      } else {
        // A number standing alone ends the expression unless it is a term of a sum, so that
        // "x <= 4" followed by "-y ..." is two statements.
        e.constant += sign * value;
      }
    } else if (t.kind == LpTok::Name) {
      e.linear[column(next())] += sign;
    } else {
      if (signed_term) unexpected("after a sign");
      break;
    }
    first = false;
  }
  return e;
}

void LpReader::quadraticBracket(Expression &e) {
  const LpToken &open = next();  // '['
  bool first = true;
  for (;;) {
    if (peek().kind == LpTok::RBracket) {
      next();
      return;
    }
    if (peek().kind == LpTok::End) fail(open, "'[' without a closing ']'");
    double coef = 1.0;
    bool signed_term = false;
    while (peek().kind == LpTok::Plus || peek().kind == LpTok::Minus) {
      if (next().kind == LpTok::Minus) coef = -coef;
      signed_term = true;
    }
    if (!first && !signed_term) unexpected("inside '[ ]' (terms need a sign between them)");
    first = false;
    if (peek().kind == LpTok::Number) coef *= next().value;
    if (peek().kind == LpTok::Star) next();
    if (peek().kind != LpTok::Name || isInfinityName(peek()))
      unexpected("inside '[ ]' where a column name should be");
    int i = column(next()), j;
    if (peek().kind == LpTok::Caret) {
      next();
      const LpToken &power = next();
      if (power.kind != LpTok::Number || power.value != 2.0)
        fail(power, "only squares (^2) may appear inside '[ ]'");
      j = i;
    } else if (peek().kind == LpTok::Star) {
      next();
      if (peek().kind != LpTok::Name || isInfinityName(peek()))
        unexpected("after '*' where a column name should be");
      j = column(next());
    } else {
      fail(peek(), "linear term inside '[ ]': quadratic terms are x ^2 or x * y");
    }
    e.quadratic[{std::min(i, j), std::max(i, j)}] += coef;
  }
}

void LpReader::objective(int sense) {
  have_objective_ = true;
  m_.model.objsense = sense;
  // An optional objective name, which the store does not keep.
  if (peek().kind == LpTok::Name && peek(1).kind == LpTok::Colon) {
    next();
    next();
  }
  Expression e = expression(true);
  if (peek().kind != LpTok::End) unexpected("in the objective");
  Model &md = m_.model;
  for (const auto &[j, v] : e.linear) md.obj[j] += v;
  md.objconst = e.constant;
  // Store convention: (i,j,v) is v*xi*xj off the diagonal and v/2*xi^2 on it.
  for (const auto &[ij, t] : e.quadratic) {
    double v = ij.first == ij.second ? 2 * t : t;
    if (v != 0.0) md.qobj[ij] = v;
  }
}

void LpReader::constraints() {
  while (peek().kind != LpTok::End) constraint();
}

void LpReader::constraint() {
  const LpToken &start = peek();
  std::string_view name;
  if (peek().kind == LpTok::Name && peek(1).kind == LpTok::Colon) {
    name = next().text;
    next();
    if (name.size() > NVRL_MAXNAMELEN) fail(start, "row name longer than 1024 characters");
    if (m_.rowIndex(name) >= 0) fail(start, "duplicate row name '" + std::string(name) + "'");
  }
  // Indicator: "b = 1 -> constraint".
  int indcol = -1, indcomp = 0;
  if (peek().kind == LpTok::Name && peek(1).kind == LpTok::Eq &&
      peek(2).kind == LpTok::Number && peek(3).kind == LpTok::Arrow) {
    const LpToken &col = next();
    next();
    const LpToken &val = next();
    next();
    if (val.value != 0.0 && val.value != 1.0) fail(val, "indicator value must be 0 or 1");
    indcol = column(col);
    indcomp = val.value == 1.0 ? 1 : -1;
  }

  double lo = -kInf, hi = kInf;
  Expression body;
  const LpToken &first = peek();
  const size_t after_number = peek().kind == LpTok::Plus || peek().kind == LpTok::Minus ? 2 : 1;
  if (atSignedNumber() && isRelation(peek(after_number).kind)) {
    // "lo <= expr <= hi", or "c <= expr" written the other way round.
    double left = signedNumber("a bound");
    LpTok op1 = next().kind;
    body = expression(false);
    if (body.linear.empty() && body.quadratic.empty())
      fail(first, "a constraint needs at least one column");
    if (isRelation(peek().kind)) {
      const LpToken &op2tok = next();
      double right = signedNumber("a bound");
      if (op1 == LpTok::Eq || op2tok.kind != op1)
        fail(op2tok, "a range needs two '<=' or two '>='");
      lo = op1 == LpTok::Le ? left : right;
      hi = op1 == LpTok::Le ? right : left;
    } else if (op1 == LpTok::Le) {
      lo = left;
    } else if (op1 == LpTok::Ge) {
      hi = left;
    } else {
      lo = hi = left;
    }
  } else {
    body = expression(false);
    if (!isRelation(peek().kind)) unexpected("where '<=', '>=' or '=' should be");
    LpTok op = next().kind;
    double rhs = signedNumber("the right-hand side");
    if (op == LpTok::Le) hi = rhs;
    if (op == LpTok::Ge) lo = rhs;
    if (op == LpTok::Eq) lo = hi = rhs;
  }
  // Constants of the body move to the other side.
  if (!isInfLo(lo)) lo = clampInfinite(lo - body.constant);
  if (!isInfUp(hi)) hi = clampInfinite(hi - body.constant);
  if (lo > hi) fail(start, "the lower limit of the row is above its upper limit");

  char type;
  double rhs = 0.0, range = 0.0;
  if (isInfLo(lo) && isInfUp(hi)) {
    type = 'N';
  } else if (isInfLo(lo)) {
    type = 'L';
    rhs = hi;
  } else if (isInfUp(hi)) {
    type = 'G';
    rhs = lo;
  } else if (lo == hi) {
    type = 'E';
    rhs = lo;
  } else {
    type = 'R';
    rhs = hi;
    range = hi - lo;
  }
  int row = m_.addRow(name, type);
  Model &md = m_.model;
  md.rhs[row] = rhs;
  md.range[row] = range;
  md.indcol[row] = indcol;
  md.indcomp[row] = indcomp;
  for (const auto &[j, v] : body.linear) m_.addEntry(row, j, v);
  // Store convention for rows: (i,j,v) is 2v*xi*xj off the diagonal and v*xi^2 on it.
  for (const auto &[ij, t] : body.quadratic) {
    double v = ij.first == ij.second ? t : t / 2;
    if (v != 0.0) md.qrows[row][ij] = v;
  }
}

void LpReader::bounds() {
  while (peek().kind != LpTok::End) boundStatement();
}

void LpReader::boundStatement() {
  Model &md = m_.model;
  auto apply = [&](int j, LpTok op, double v, const LpToken &at) {
    if (op == LpTok::Eq) {
      if (isInfLo(v) || isInfUp(v)) fail(at, "a column cannot be fixed at infinity");
      md.lb[j] = md.ub[j] = v;
      lb_given_[j] = ub_given_[j] = 1;
    } else if (op == LpTok::Ge) {
      md.lb[j] = clampInfinite(v);
      lb_given_[j] = 1;
    } else {
      md.ub[j] = clampInfinite(v);
      ub_given_[j] = 1;
    }
  };
  auto flip = [](LpTok op) {
    return op == LpTok::Le ? LpTok::Ge : op == LpTok::Ge ? LpTok::Le : op;
  };

  const LpToken &start = peek();
  if (atSignedNumber() && !(isInfinityName(peek()) && !isRelation(peek(1).kind))) {
    // "l <= x", "l <= x <= u", "u >= x".
    double left = signedNumber("a bound");
    const LpToken &op1 = next();
    if (!isRelation(op1.kind)) fail(op1, "expected '<=', '>=' or '=' after " + describe(start));
    if (peek().kind != LpTok::Name) unexpected("where a column name should be");
    int j = column(next());
    apply(j, flip(op1.kind), left, start);
    if (isRelation(peek().kind)) {
      const LpToken &op2 = next();
      double right = signedNumber("a bound");
      if (op2.kind != op1.kind || op1.kind == LpTok::Eq)
        fail(op2, "a double bound needs two '<=' or two '>='");
      apply(j, op2.kind, right, op2);
    }
    return;
  }
  if (peek().kind != LpTok::Name) unexpected("where a bound should start");
  int j = column(next());
  if (peek().kind == LpTok::Name && equalsNoCase(peek().text, "free")) {
    next();
    md.lb[j] = -kInf;
    md.ub[j] = kInf;
    lb_given_[j] = ub_given_[j] = 1;
    return;
  }
  const LpToken &op = next();
  if (!isRelation(op.kind)) fail(op, "expected '<=', '>=', '=' or 'free' after the column name");
  apply(j, op.kind, signedNumber("a bound"), op);
}

void LpReader::typeList(LpSection section) {
  Model &md = m_.model;
  while (peek().kind != LpTok::End) {
    if (peek().kind != LpTok::Name) unexpected("where a column name should be");
    int j = column(next());
    char &t = md.coltype[j];
    if (section == LpSection::General) {
      t = t == 'S' || t == 'R' ? 'R' : 'I';
    } else if (section == LpSection::Semi) {
      t = t == 'I' || t == 'R' ? 'R' : 'S';
    } else {
      t = 'B';
      // Binaries are [0, 1] unless Bounds said otherwise.
      if (!lb_given_[j] && !ub_given_[j]) {
        md.lb[j] = 0.0;
        md.ub[j] = 1.0;
      }
    }
  }
}

void LpReader::sos() {
  Model &md = m_.model;
  auto isSetType = [](const LpToken &t) {
    return t.kind == LpTok::Name && (t.text == "S1" || t.text == "S2" || t.text == "s1" ||
                                     t.text == "s2");
  };
  auto atHeader = [&]() {
    return (peek().kind == LpTok::Name && peek(1).kind == LpTok::Colon && isSetType(peek(2)) &&
            peek(3).kind == LpTok::DoubleColon) ||
           (isSetType(peek()) && peek(1).kind == LpTok::DoubleColon);
  };
  while (peek().kind != LpTok::End) {
    if (!atHeader()) unexpected("where a set (name: S1:: or S2::) should start");
    std::string_view name;
    if (peek(1).kind == LpTok::Colon) {
      name = next().text;
      next();
    }
    SpecialOrderedSet set;
    set.type = next().text[1];
    next();  // '::'
    std::vector<char> member(static_cast<size_t>(md.cols()), 0);
    while (peek().kind != LpTok::End && !atHeader()) {
      if (peek().kind != LpTok::Name || peek(1).kind != LpTok::Colon)
        unexpected("where a set member (column:weight) should be");
      const LpToken &colname = next();
      next();
      const LpToken &weight = peek();
      double w = signedNumber("a weight");
      if (isInfLo(w) || isInfUp(w)) fail(weight, "infinite weight in a set");
      int j = column(colname);
      member.resize(static_cast<size_t>(md.cols()), 0);
      if (member[j])
        fail(colname, "column '" + std::string(colname.text) + "' appears twice in one set");
      member[j] = 1;
      set.cols.push_back(j);
      set.refs.push_back(w);
    }
    md.sets.push_back(std::move(set));
    md.setnames.emplace_back(name);
  }
}

}  // namespace

Model readLp(const TextLines &text, std::string_view fallback_name) {
  LpReader reader;
  return reader.run(text, fallback_name);
}

}  // namespace nvrl::io

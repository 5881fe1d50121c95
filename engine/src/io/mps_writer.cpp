// Free-format MPS writer. Everything the reader understands is written so that reading the
// file back gives the same model: range rows as L rows with a RANGES entry (the range then
// comes back unchanged), bounds in an order that the reader's customs cannot alter, the
// objective constant as a negated RHS on the objective row.
#include "io/mps_writer.h"

#include <string>
#include <vector>

#include "io/numbers.h"
#include "io/text_input.h"
#include "io/written_names.h"

namespace nvrl::io {
namespace {

std::string mpsNameProblem(std::string_view name) {
  if (name.empty()) return "is empty";
  if (name.find_first_of(" \t\r\n") != std::string_view::npos)
    return "contains blanks, which free-format MPS cannot hold";
  return {};
}

class MpsWriter {
 public:
  MpsWriter(const Model &m, const MpsExtraSections &extra)
      : m_(m), extra_(extra), names_(makeWrittenNames(m, mpsNameProblem, mpsNameProblem)) {}
  std::string run();

 private:
  void line(std::initializer_list<std::string_view> fields, std::string_view indent = "    ");
  void rows();
  void columns();
  void rhsAndRanges();
  void bounds();
  void bound(std::string_view type, int col, const std::string &value = {});
  void sets();
  void quadratics();
  void indicators();

  const Model &m_;
  const MpsExtraSections &extra_;
  WrittenNames names_;
  std::string out_;
};

void MpsWriter::line(std::initializer_list<std::string_view> fields, std::string_view indent) {
  out_ += indent;
  bool first = true;
  for (std::string_view f : fields) {
    if (!first) out_ += "  ";
    out_ += f;
    first = false;
  }
  out_ += '\n';
}

std::string MpsWriter::run() {
  if (!m_.gencons.empty() || !m_.pwlcons.empty())
    throw WriteError("general and piecewise-linear constraints cannot be written to MPS files");
  std::string name = m_.name;
  for (char &c : name)
    if (c == ' ' || c == '\t') c = '_';
  out_ += name.empty() ? "NAME\n" : "NAME          " + name + "\n";
  if (m_.objsense < 0) out_ += "OBJSENSE\n    MAX\n";
  rows();
  columns();
  rhsAndRanges();
  bounds();
  sets();
  quadratics();
  indicators();
  if (extra_) out_ += extra_(names_);
  out_ += "ENDATA\n";
  return std::move(out_);
}

void MpsWriter::rows() {
  out_ += "ROWS\n";
  line({"N", names_.objective}, " ");
  for (int i = 0; i < m_.rows(); ++i) {
    char t = m_.rowtype[i] == 'R' ? 'L' : m_.rowtype[i];
    line({std::string_view(&t, 1), names_.rows[i]}, " ");
  }
}

void MpsWriter::columns() {
  // Column-wise copy of the row-wise matrix.
  const RowMatrix &A = m_.A.rows();
  const int ncols = m_.cols();
  std::vector<int64_t> start(static_cast<size_t>(ncols) + 1, 0);
  for (int64_t k = 0; k < A.nnz(); ++k) ++start[A.col[k] + 1];
  for (int j = 0; j < ncols; ++j) start[j + 1] += start[j];
  std::vector<int> rowOf(static_cast<size_t>(A.nnz()));
  std::vector<double> valOf(static_cast<size_t>(A.nnz()));
  std::vector<int64_t> next(start.begin(), start.end() - 1);
  for (int i = 0; i < A.rows(); ++i)
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k) {
      int64_t at = next[A.col[k]]++;
      rowOf[at] = i;
      valOf[at] = A.val[k];
    }

  out_ += "COLUMNS\n";
  bool in_marker = false;
  int marker = 0;
  for (int j = 0; j < ncols; ++j) {
    bool integer = m_.coltype[j] == 'I' || m_.coltype[j] == 'B';
    if (integer != in_marker) {
      std::string mname = "MARKER" + std::to_string(marker++);
      line({mname, "'MARKER'", integer ? "'INTORG'" : "'INTEND'"});
      in_marker = integer;
    }
    const std::string &cname = names_.cols[j];
    // A column without any entry still has to appear; its zero objective entry names it.
    if (m_.obj[j] != 0.0 || start[j] == start[j + 1])
      line({cname, names_.objective, formatNumber(m_.obj[j])});
    for (int64_t k = start[j]; k < start[j + 1]; ++k)
      line({cname, names_.rows[rowOf[k]], formatNumber(valOf[k])});
  }
  if (in_marker) line({"MARKER" + std::to_string(marker), "'MARKER'", "'INTEND'"});
}

void MpsWriter::rhsAndRanges() {
  out_ += "RHS\n";
  if (m_.objconst != 0.0) line({"RHS", names_.objective, formatNumber(-m_.objconst)});
  for (int i = 0; i < m_.rows(); ++i)
    if (m_.rhs[i] != 0.0) line({"RHS", names_.rows[i], formatNumber(m_.rhs[i])});
  bool any = false;
  for (int i = 0; i < m_.rows(); ++i) {
    if (m_.rowtype[i] != 'R') continue;
    if (!any) out_ += "RANGES\n";
    any = true;
    line({"RNG", names_.rows[i], formatNumber(m_.range[i])});
  }
}

void MpsWriter::bound(std::string_view type, int col, const std::string &value) {
  if (value.empty())
    line({type, "BND", names_.cols[col]}, " ");
  else
    line({type, "BND", names_.cols[col], value}, " ");
}

void MpsWriter::bounds() {
  out_ += "BOUNDS\n";
  for (int j = 0; j < m_.cols(); ++j) {
    const double lb = m_.lb[j], ub = m_.ub[j];
    // Bounds the reader holds for the column once its type lines are read.
    double cur_lb = 0.0, cur_ub = kInf;
    switch (m_.coltype[j]) {
      case 'B':
        bound("BV", j);
        cur_ub = 1.0;
        break;
      case 'S':
      case 'R':
        // The reader takes the lower bound as the limit and keeps min(limit, 0) as lb.
        bound(m_.coltype[j] == 'S' ? "SC" : "SI", j, formatNumber(ub));
        if (m_.limit[j] != 0.0) bound("LO", j, formatNumber(m_.limit[j]));
        continue;
      case 'P':
        bound("PI", j, formatNumber(m_.limit[j]));
        break;
      default:
        break;
    }
    if (isInfLo(lb) && isInfUp(ub)) {
      if (!(isInfLo(cur_lb) && isInfUp(cur_ub))) bound("FR", j);
      continue;
    }
    if (lb == ub) {
      if (!(cur_lb == lb && cur_ub == ub)) bound("FX", j, formatNumber(lb));
      continue;
    }
    // Upper bound first: a negative UP frees a zero lower bound, which LO/MI then restore.
    if (ub != cur_ub) {
      if (isInfUp(ub)) {
        bound("PL", j);
      } else {
        bound("UP", j, formatNumber(ub));
        if (ub < 0 && cur_lb == 0.0) cur_lb = -kInf;
      }
    }
    if (lb != cur_lb) {
      if (isInfLo(lb))
        bound("MI", j);
      else
        bound("LO", j, formatNumber(lb));
    }
  }
}

void MpsWriter::sets() {
  if (m_.sets.empty()) return;
  out_ += "SOS\n";
  for (int k = 0; k < m_.nsets(); ++k) {
    const SpecialOrderedSet &s = m_.sets[k];
    line({s.type == '2' ? "S2" : "S1", "SOS", names_.sets[k]}, " ");
    for (size_t e = 0; e < s.cols.size(); ++e)
      line({names_.sets[k], names_.cols[s.cols[e]], formatNumber(s.refs[e])});
  }
}

void MpsWriter::quadratics() {
  // QUADOBJ lists each pair once with the store's value (term v*xi*xj, or v/2*xi^2).
  if (!m_.qobj.empty()) {
    out_ += "QUADOBJ\n";
    for (const auto &[ij, v] : m_.qobj)
      line({names_.cols[ij.first], names_.cols[ij.second], formatNumber(v)});
  }
  // QCMATRIX lists the full symmetric matrix of x'Qx, so off-diagonal pairs appear twice.
  for (const auto &[row, q] : m_.qrows) {
    if (q.empty()) continue;
    out_ += "QCMATRIX   " + names_.rows[row] + "\n";
    for (const auto &[ij, v] : q) {
      std::string value = formatNumber(v);
      line({names_.cols[ij.first], names_.cols[ij.second], value});
      if (ij.first != ij.second) line({names_.cols[ij.second], names_.cols[ij.first], value});
    }
  }
}

void MpsWriter::indicators() {
  bool any = false;
  for (int i = 0; i < m_.rows(); ++i) {
    if (i >= static_cast<int>(m_.indcol.size()) || m_.indcol[i] < 0 || m_.indcomp[i] == 0)
      continue;
    if (!any) out_ += "INDICATORS\n";
    any = true;
    line({"IF", names_.rows[i], names_.cols[m_.indcol[i]], m_.indcomp[i] > 0 ? "1" : "0"}, " ");
  }
}

}  // namespace

std::string writeMps(const Model &model, const MpsExtraSections &extra) {
  MpsWriter writer(model, extra);
  return writer.run();
}

}  // namespace nvrl::io

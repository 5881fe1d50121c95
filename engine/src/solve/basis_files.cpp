// Basis files (NVRLwritebasis, NVRLreadbasis) in the usual MPS basis format:
//
//   NAME <problem name>
//    XU <column> <row>     column basic, row nonbasic at its upper limit
//    XL <column> <row>     column basic, row nonbasic at its lower limit
//    UL <column>           column nonbasic at its upper bound
//    LL <column>           column nonbasic at its lower bound
//   ENDATA
//
// Everything not listed is in its default state: rows basic, columns nonbasic at the bound
// nearest a finite value (lower, else upper, else superbasic at 0 for a free column). Two
// extensions cover bases that are not square or hold superbasic items: "BS <name>" (basic,
// no partner), "SB <name>" (superbasic); and UL/LL/BS/SB take a row name where no column of
// that name exists.
#include <algorithm>
#include <string>
#include <vector>

#include "core/entry.h"
#include "core/problem.h"
#include "lp_data/name_index.h"
#include "lp_data/snapshot.h"
#include "solve/solution_files.h"

namespace nvrl::basisfile {

namespace {

int defaultColumnStatus(const Model &m, int j) {
  if (!isInfLo(m.lb[j])) return NVRL_BASIS_NONBASIC_LOWER;
  if (!isInfUp(m.ub[j])) return NVRL_BASIS_NONBASIC_UPPER;
  return NVRL_BASIS_SUPERBASIC;
}

const char *singleCode(int status) {
  switch (status) {
    case NVRL_BASIS_NONBASIC_LOWER: return "LL";
    case NVRL_BASIS_NONBASIC_UPPER: return "UL";
    case NVRL_BASIS_BASIC: return "BS";
    default: return "SB";
  }
}

}  // namespace

std::string format(const Model &m, const std::vector<int> &rowstat,
                   const std::vector<int> &colstat, bool all) {
  using solfile::quoted;
  std::string out = "NAME " + quoted(m.name) + "\n";
  std::vector<int> basic, nonbasic;
  for (int j = 0; j < m.cols(); ++j)
    if (colstat[j] == NVRL_BASIS_BASIC) basic.push_back(j);
  for (int i = 0; i < m.rows(); ++i)
    if (rowstat[i] != NVRL_BASIS_BASIC) nonbasic.push_back(i);
  const size_t pairs = std::min(basic.size(), nonbasic.size());
  for (size_t k = 0; k < pairs; ++k) {
    const int i = nonbasic[k];
    out += std::string(rowstat[i] == NVRL_BASIS_NONBASIC_UPPER ? " XU " : " XL ") +
           quoted(itemName(m, kNameCols, basic[k])) + " " + quoted(itemName(m, kNameRows, i)) +
           "\n";
  }
  for (size_t k = pairs; k < basic.size(); ++k)
    out += " BS " + quoted(itemName(m, kNameCols, basic[k])) + "\n";
  for (size_t k = pairs; k < nonbasic.size(); ++k)
    out += std::string(" ") + singleCode(rowstat[nonbasic[k]]) + " " +
           quoted(itemName(m, kNameRows, nonbasic[k])) + "\n";
  // A superbasic row paired above is read back at its lower limit: the pairs cannot say more.
  for (size_t k = 0; k < pairs; ++k)
    if (rowstat[nonbasic[k]] == NVRL_BASIS_SUPERBASIC)
      out += " SB " + quoted(itemName(m, kNameRows, nonbasic[k])) + "\n";
  for (int j = 0; j < m.cols(); ++j) {
    const int st = colstat[j];
    if (st == NVRL_BASIS_BASIC || (!all && st == defaultColumnStatus(m, j))) continue;
    out += std::string(" ") + singleCode(st) + " " + quoted(itemName(m, kNameCols, j)) + "\n";
  }
  return out + "ENDATA\n";
}

// Statuses read against p's names; throws solfile::ParseError naming the line.
void parse(nvrl_problem_s *p, const std::string &text, std::vector<int> &rowstat,
           std::vector<int> &colstat) {
  using solfile::fault;
  const Model &m = p->model;
  rowstat.assign(m.rows(), NVRL_BASIS_BASIC);
  colstat.resize(m.cols());
  for (int j = 0; j < m.cols(); ++j) colstat[j] = defaultColumnStatus(m, j);
  std::vector<char> setRow(m.rows(), 0), setCol(m.cols(), 0);
  bool ended = false, named = false;
  const auto mark = [&](std::vector<char> &seen, int idx, const std::string &name, int line) {
    if (seen[idx]) fault(line, "'" + name + "' is given a status twice");
    seen[idx] = 1;
  };
  solfile::forEachLine(text, [&](int line, std::string_view s) {
    if (ended) fault(line, "text after ENDATA");
    const std::vector<std::string> w = solfile::words(s, line);
    if (s[0] != ' ' && s[0] != '\t') {
      if (w[0] == "NAME" && !named) {
        named = true;
        return;
      }
      if (w[0] == "ENDATA" && w.size() == 1) {
        ended = true;
        return;
      }
      fault(line, "unknown or misplaced keyword '" + w[0] +
                      "' (NAME first, ENDATA last; data lines start with a blank)");
    }
    const std::string &code = w[0];
    if (code == "XU" || code == "XL") {
      if (w.size() != 3) fault(line, code + " takes a column and a row name");
      const int j = findName(p, kNameCols, w[1]);
      if (j < 0) fault(line, "unknown column '" + w[1] + "'");
      const int i = findName(p, kNameRows, w[2]);
      if (i < 0) fault(line, "unknown row '" + w[2] + "'");
      mark(setCol, j, w[1], line);
      mark(setRow, i, w[2], line);
      colstat[j] = NVRL_BASIS_BASIC;
      rowstat[i] = code == "XU" ? NVRL_BASIS_NONBASIC_UPPER : NVRL_BASIS_NONBASIC_LOWER;
      return;
    }
    int status;
    if (code == "UL") status = NVRL_BASIS_NONBASIC_UPPER;
    else if (code == "LL") status = NVRL_BASIS_NONBASIC_LOWER;
    else if (code == "BS") status = NVRL_BASIS_BASIC;
    else if (code == "SB") status = NVRL_BASIS_SUPERBASIC;
    else fault(line, "unknown status code '" + code + "' (known: XU, XL, UL, LL, BS, SB)");
    if (w.size() != 2) fault(line, code + " takes one name");
    const int j = findName(p, kNameCols, w[1]);
    if (j >= 0) {
      mark(setCol, j, w[1], line);
      colstat[j] = status;
      return;
    }
    const int i = findName(p, kNameRows, w[1]);
    if (i < 0) fault(line, "unknown column or row '" + w[1] + "'");
    // SB after an XU/XL pair refines the row's status (see format()).
    if (!(status == NVRL_BASIS_SUPERBASIC && setRow[i] && rowstat[i] == NVRL_BASIS_NONBASIC_LOWER))
      mark(setRow, i, w[1], line);
    rowstat[i] = status;
  });
  if (!ended) throw solfile::ParseError("the file ends without ENDATA (is it cut short?)");
}

}  // namespace nvrl::basisfile

using nvrl::checkProblem;

extern "C" {

NVRL_API int NVRLwritebasis(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  bool all = false;
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c != 'a')
      return p->fail("NVRLwritebasis: unknown flag '%c' (known: 'a' list every nonbasic column)",
                     *c);
    all = true;
  }
  if (!p->sol.have_basis) return p->fail("NVRLwritebasis: no basis is available");
  const std::string path = filename && *filename
                               ? std::string(filename)
                               : (p->model.name.empty() ? std::string("problem") : p->model.name) +
                                     ".bss";
  try {
    nvrl::snap::writeFileReplacing(
        path, nvrl::basisfile::format(p->model, p->sol.rowstat, p->sol.colstat, all));
  } catch (const nvrl::snap::SnapshotError &e) {
    return p->fail("NVRLwritebasis: %s", e.what());
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLreadbasis(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLreadbasis: no file name given");
  if (flags && *flags)
    return p->fail("NVRLreadbasis: unknown flag '%c' (the reader takes no flags)", *flags);
  std::vector<int> rowstat, colstat;
  try {
    nvrl::basisfile::parse(p, nvrl::snap::readFileBytes(filename), rowstat, colstat);
  } catch (const nvrl::snap::SnapshotError &e) {
    return p->fail("NVRLreadbasis: %s", e.what());
  } catch (const nvrl::solfile::ParseError &e) {
    return p->fail("NVRLreadbasis: %s: %s", filename, e.what());
  }
  // A problem without rows or columns still passes arrays: null means "not given".
  int none = 0;
  return NVRLloadbasis(prob, rowstat.empty() ? &none : rowstat.data(),
                       colstat.empty() ? &none : colstat.data());
} NVRL_CATCH(prob)

}  // extern "C"

// Solution files (NVRLwriteslxsol, NVRLreadslxsol) and their text format:
//
//   * comment
//   NAME <problem name>
//   OBJECTIVE <value>
//   COLUMNS value [reducedcost]
//       <column name> <value> [<reduced cost>]
//   ROWS [slack] [dual]
//       <row name> <slack> [<dual>]
//   END
//
// Keywords start in the first column, data lines with a blank. Names with blanks or quotes
// are written between double quotes (a quote inside doubled). Numbers are written with 17
// significant digits, so a written solution reads back bit for bit.
#include "solve/solution_files.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "core/entry.h"
#include "core/text.h"
#include "lp_data/name_index.h"
#include "lp_data/snapshot.h"
#include "solve/highs_session.h"

namespace nvrl::solfile {

std::string number(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

namespace {
bool needsQuotes(std::string_view name) {
  if (name.empty() || name[0] == '"' || name[0] == '*') return true;
  for (char c : name)
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') return true;
  return false;
}

}  // namespace

std::string quoted(std::string_view name) {
  if (!needsQuotes(name)) return std::string(name);
  std::string q = "\"";
  for (char c : name) {
    if (c == '"') q += '"';
    q += c;
  }
  return q + '"';
}

[[noreturn]] void fault(int line, const std::string &what) {
  throw ParseError("line " + std::to_string(line) + ": " + what);
}

// Splits a line at blanks; a word starting with a quote runs to its closing quote.
std::vector<std::string> words(std::string_view s, int line) {
  std::vector<std::string> out;
  size_t i = 0;
  while (true) {
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\r')) ++i;
    if (i >= s.size()) return out;
    std::string w;
    if (s[i] == '"') {
      ++i;
      while (true) {
        if (i >= s.size()) fault(line, "a quoted name has no closing quote");
        if (s[i] == '"') {
          if (i + 1 < s.size() && s[i + 1] == '"') {
            w += '"';
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        w += s[i++];
      }
    } else {
      while (i < s.size() && s[i] != ' ' && s[i] != '\t' && s[i] != '\r') w += s[i++];
    }
    out.push_back(std::move(w));
  }
}

double parseNumber(const std::string &w, int line) {
  errno = 0;
  char *end = nullptr;
  const double v = std::strtod(w.c_str(), &end);
  if (w.empty() || *end || std::isnan(v) || std::isinf(v))
    fault(line, "'" + w + "' is not a finite number");
  return v;
}

bool parseWriteFlags(const char *fn, const char *flags, WriteFlags &out, std::string &err) {
  WriteFlags f;
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c == 's') f.slacks = true;
    else if (*c == 'd') f.duals = true;
    else if (*c == 'r') f.reduced_costs = true;
    else {
      err = nvrl::format("%s: unknown flag '%c' (known: 's' slacks, 'd' duals, 'r' reduced "
                         "costs)", fn, *c);
      return false;
    }
  }
  out = f;
  return true;
}

std::string format(const Model &m, const Contents &c) {
  std::string out = "* nuvrel solution\nNAME " + quoted(m.name) + "\nOBJECTIVE " +
                    number(c.objective) + "\nCOLUMNS value";
  if (c.djs) out += " reducedcost";
  out += '\n';
  for (int j = 0; j < m.cols(); ++j) {
    out += "    " + quoted(itemName(m, kNameCols, j)) + "  " + number((*c.x)[j]);
    if (c.djs) out += "  " + number((*c.djs)[j]);
    out += '\n';
  }
  if (c.slack || c.duals) {
    out += "ROWS";
    if (c.slack) out += " slack";
    if (c.duals) out += " dual";
    out += '\n';
    for (int i = 0; i < m.rows(); ++i) {
      out += "    " + quoted(itemName(m, kNameRows, i));
      if (c.slack) out += "  " + number((*c.slack)[i]);
      if (c.duals) out += "  " + number((*c.duals)[i]);
      out += '\n';
    }
  }
  return out + "END\n";
}

Values parse(nvrl_problem_s *p, const std::string &text) {
  const Model &m = p->model;
  Values v;
  std::vector<char> seen_row;
  // Per section: fields of its data lines (0 value/slack, 1 reduced cost/dual) in file order.
  enum Section { None, Columns, Rows, Done } section = None;
  std::vector<int> fields;
  bool have[2][2] = {};  // [columns/rows][first/second field] given in the header
  forEachLine(text, [&](int line, std::string_view s) {
    if (section == Done) fault(line, "text after END");
    const std::vector<std::string> w = words(s, line);
    if (s[0] != ' ' && s[0] != '\t') {
      const std::string &key = w[0];
      if (key == "NAME" || key == "OBJECTIVE") {
        if (section != None) fault(line, key + " after the data");
        if (key == "OBJECTIVE") {
          if (w.size() != 2) fault(line, "OBJECTIVE takes one number");
          parseNumber(w[1], line);
        }
      } else if (key == "COLUMNS" || key == "ROWS") {
        const bool cols = key == "COLUMNS";
        if (section != (cols ? None : Columns))
          fault(line, key + " is out of place (COLUMNS, then ROWS, each once)");
        section = cols ? Columns : Rows;
        fields.clear();
        for (size_t k = 1; k < w.size(); ++k) {
          const char *first = cols ? "value" : "slack";
          const char *second = cols ? "reducedcost" : "dual";
          const int f = w[k] == first ? 0 : w[k] == second ? 1 : -1;
          if (f < 0)
            fault(line, "unknown field '" + w[k] + "' (known: " + first + ", " + second + ")");
          if (have[!cols][f]) fault(line, "field '" + w[k] + "' is repeated");
          have[!cols][f] = true;
          fields.push_back(f);
        }
        if (cols && !have[0][0]) fault(line, "COLUMNS must list the field 'value'");
        if (fields.empty()) fault(line, key + " names no fields");
        if (cols) {
          v.have_x.assign(m.cols(), 0);
          v.x.assign(m.cols(), 0.0);
          if (have[0][1]) v.djs.assign(m.cols(), 0.0);
        } else {
          seen_row.assign(m.rows(), 0);
          if (have[1][0]) v.slack.assign(m.rows(), 0.0);
          if (have[1][1]) v.duals.assign(m.rows(), 0.0);
        }
      } else if (key == "END") {
        if (w.size() != 1) fault(line, "text after END");
        section = Done;
      } else {
        fault(line, "unknown keyword '" + key + "' (data lines start with a blank)");
      }
      return;
    }
    if (section != Columns && section != Rows) fault(line, "a data line outside COLUMNS and ROWS");
    if (w.size() != fields.size() + 1)
      fault(line, nvrl::format("expected a name and %zu numbers", fields.size()));
    const bool cols = section == Columns;
    const int idx = findName(p, cols ? kNameCols : kNameRows, w[0]);
    if (idx < 0) fault(line, std::string("unknown ") + (cols ? "column" : "row") + " '" + w[0] + "'");
    char &seen = cols ? v.have_x[idx] : seen_row[idx];
    if (seen) fault(line, std::string(cols ? "column" : "row") + " '" + w[0] + "' is repeated");
    seen = 1;
    for (size_t k = 0; k < fields.size(); ++k) {
      const double value = parseNumber(w[k + 1], line);
      if (cols) (fields[k] == 0 ? v.x : v.djs)[idx] = value;
      else (fields[k] == 0 ? v.slack : v.duals)[idx] = value;
    }
  });
  if (section != Done) throw ParseError("the file ends without END (is it cut short?)");
  if (v.have_x.empty()) throw ParseError("the file has no COLUMNS section");
  // Fields of rows and reduced costs are used only when given for every item.
  for (char s : v.have_x)
    if (!s) v.djs.clear();
  for (char s : seen_row)
    if (!s) v.slack.clear(), v.duals.clear();
  return v;
}

int readFlags(nvrl_problem_s *p, const char *fn, const char *flags, bool &valuesOnly) {
  valuesOnly = false;
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c != 'x') return p->fail("%s: unknown flag '%c' (known: 'x' column values only)", fn, *c);
    valuesOnly = true;
  }
  return 0;
}

void stageReadPoint(nvrl_problem_s *p, std::vector<double> x, const std::vector<double> &slack,
                    std::vector<double> duals, std::vector<double> djs, std::vector<int> rowstat,
                    std::vector<int> colstat) {
  const Model &m = p->model;
  std::vector<double> activity;
  if (!slack.empty()) {
    activity.resize(m.rows());
    for (int i = 0; i < m.rows(); ++i) activity[i] = m.rhs[i] - slack[i];
  }
  std::unique_ptr<HighsSession> fresh;
  if (!p->highs) fresh.reset(new HighsSession());
  HighsSession &session = p->highs ? *p->highs : *fresh;
  if (!rowstat.empty()) {
    session.setPendingBasis(rowstat, colstat);
    p->sol.rowstat = std::move(rowstat);
    p->sol.colstat = std::move(colstat);
    p->sol.have_basis = true;
  } else {
    session.setPendingSolution(std::move(x), std::move(activity), std::move(duals),
                               std::move(djs));
  }
  if (fresh) p->highs.reset(fresh.release());
}

}  // namespace nvrl::solfile

using nvrl::checkProblem;
namespace solfile = nvrl::solfile;

extern "C" {

NVRL_API int NVRLwriteslxsol(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLwriteslxsol: no file name given");
  solfile::WriteFlags f;
  std::string err;
  if (!solfile::parseWriteFlags(__func__, flags, f, err)) return p->fail("%s", err.c_str());
  const nvrl::SolveState &s = p->sol;
  if (!s.have_primal) return p->fail("NVRLwriteslxsol: no solution is available");
  if ((f.duals || f.reduced_costs) && !s.have_dual)
    return p->fail("NVRLwriteslxsol: no duals or reduced costs are available (the last solve "
                   "was not a continuous one, or it found none)");
  solfile::Contents c;
  c.objective = s.was_mip ? s.mipobjval : s.lpobjval;
  c.x = &s.x;
  if (f.slacks) c.slack = &s.slack;
  if (f.duals) c.duals = &s.duals;
  if (f.reduced_costs) c.djs = &s.djs;
  try {
    nvrl::snap::writeFileReplacing(filename, solfile::format(p->model, c));
  } catch (const nvrl::snap::SnapshotError &e) {
    return p->fail("NVRLwriteslxsol: %s", e.what());
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLreadslxsol(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLreadslxsol: no file name given");
  bool values_only = false;
  if (int rc = solfile::readFlags(p, __func__, flags, values_only)) return rc;
  solfile::Values v;
  try {
    v = solfile::parse(p, nvrl::snap::readFileBytes(filename));
  } catch (const nvrl::snap::SnapshotError &e) {
    return p->fail("NVRLreadslxsol: %s", e.what());
  } catch (const solfile::ParseError &e) {
    return p->fail("NVRLreadslxsol: %s: %s", filename, e.what());
  }
  const nvrl::Model &m = p->model;
  // Columns the file leaves out start at the point of their bounds nearest to 0.
  for (int j = 0; j < m.cols(); ++j)
    if (!v.have_x[j]) v.x[j] = std::min(std::max(0.0, m.lb[j]), m.ub[j]);
  if (values_only) v.slack.clear(), v.duals.clear(), v.djs.clear();
  solfile::stageReadPoint(p, std::move(v.x), v.slack, std::move(v.duals), std::move(v.djs));
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

// NSLPreadprob and NSLPwriteprob: nonlinear problem files, free-format MPS with the sections
// NLCOEFFICIENTS (row, column or "=", factor, formula text) and INITIALVALUES. The MPS reader
// resolves the names; the formulas are parsed here, once the whole file has been read, and
// nothing is changed before every line has been understood.
#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/entry.h"
#include "io/lp_writer.h"
#include "io/mps_writer.h"
#include "io/numbers.h"
#include "io/problem_files.h"
#include "io/text_input.h"
#include "io/written_names.h"
#include "nslp/formula.h"
#include "nslp/slp_problem.h"

namespace nvrl {
namespace {

[[noreturn]] void failAt(const std::string &path, int line, const std::string &message) {
  throw io::FileError(path + ":" + std::to_string(line) + ": " + message);
}

std::string quote(std::string_view s) {
  std::string q = "'";
  q += s;
  q += '\'';
  return q;
}

std::string rowLabel(const Model &model, int row) {
  return row < 0 ? std::string("the objective") : "row " + quote(model.rownames[row]);
}

std::string colLabel(const Model &model, int col) {
  return col < 0 ? std::string("the constant column") : "column " + quote(model.colnames[col]);
}

// The nonlinear data of a file just read: formulas parsed with the file's column names,
// coefficients unique and sorted by (row, col), initial values by column.
SlpData nonlinearData(const Model &model, const io::NonlinearSections &nl,
                      const std::string &path) {
  std::unordered_map<std::string_view, int> index;
  index.reserve(static_cast<size_t>(model.cols()));
  for (int j = 0; j < model.cols(); ++j) index.emplace(model.colnames[j], j);
  auto colIndex = [&](const std::string &name) {
    auto it = index.find(name);
    return it == index.end() ? -1 : it->second;
  };
  const FormulaScope scope{model.cols(), nullptr};

  SlpData data;
  data.coefs.reserve(nl.coefs.size());
  for (const io::NonlinearSections::Coefficient &c : nl.coefs) {
    SlpCoefficient coef;
    coef.row = c.row;
    coef.col = c.col;
    coef.factor = c.factor;
    try {
      coef.formula = parseFormulaText(c.formula, scope, colIndex);
    } catch (const FormulaError &e) {
      failAt(path, c.line, std::string("formula: ") + e.what());
    }
    data.coefs.push_back(std::move(coef));
  }
  // Sorted with the file's order kept among equal keys, so a repeated pair is reported at
  // its later line.
  std::vector<size_t> order(data.coefs.size());
  for (size_t k = 0; k < order.size(); ++k) order[k] = k;
  auto key = [&](size_t k) { return std::pair(data.coefs[k].row, data.coefs[k].col); };
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return key(a) < key(b); });
  for (size_t k = 1; k < order.size(); ++k)
    if (key(order[k]) == key(order[k - 1]))
      failAt(path, nl.coefs[order[k]].line,
             "second nonlinear coefficient for " + rowLabel(model, data.coefs[order[k]].row) +
                 " and " + colLabel(model, data.coefs[order[k]].col) + " (the first is on line " +
                 std::to_string(nl.coefs[order[k - 1]].line) + ")");
  std::vector<SlpCoefficient> sorted;
  sorted.reserve(order.size());
  for (size_t k : order) sorted.push_back(std::move(data.coefs[k]));
  data.coefs = std::move(sorted);

  if (!nl.initial.empty()) {
    data.columns.resize(static_cast<size_t>(model.cols()));
    std::vector<int> seen(static_cast<size_t>(model.cols()), 0);
    for (const io::NonlinearSections::Initial &v : nl.initial) {
      if (seen[v.col])
        failAt(path, v.line,
               "second initial value for " + colLabel(model, v.col) + " (the first is on line " +
                   std::to_string(seen[v.col]) + ")");
      seen[v.col] = v.line;
      data.columns[v.col].has_initial = true;
      data.columns[v.col].initial = v.value;
    }
  }
  return data;
}

bool sameTokens(const std::vector<SlpToken> &a, const std::vector<SlpToken> &b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const SlpToken &x, const SlpToken &y) {
    return x.type == y.type && x.value == y.value;
  });
}

// The sections NLCOEFFICIENTS and INITIALVALUES with the names the MPS writer chose.
std::string nonlinearSections(const SlpData &data, const Model &model,
                              const io::WrittenNames &names) {
  const FormulaScope scope{model.cols(), nullptr};
  std::unordered_map<std::string_view, int> index;
  for (int j = 0; j < model.cols(); ++j) index.emplace(names.cols[j], j);
  auto colName = [&](int j) { return names.cols[j]; };
  auto colIndex = [&](const std::string &name) {
    auto it = index.find(name);
    return it == index.end() ? -1 : it->second;
  };

  std::vector<const SlpCoefficient *> coefs;
  coefs.reserve(data.coefs.size());
  for (const SlpCoefficient &c : data.coefs) coefs.push_back(&c);
  std::stable_sort(coefs.begin(), coefs.end(), [](const SlpCoefficient *a, const SlpCoefficient *b) {
    return std::pair(a->row, a->col) < std::pair(b->row, b->col);
  });

  std::string out;
  if (!coefs.empty()) out += "NLCOEFFICIENTS\n";
  for (const SlpCoefficient *c : coefs) {
    if (c->row < -1 || c->row >= model.rows() || c->col < -1 || c->col >= model.cols())
      throw io::WriteError("a nonlinear coefficient names a row or column the problem lacks");
    const std::string where =
        (c->row < 0 ? std::string("the objective") : "row " + quote(names.rows[c->row])) + ", " +
        (c->col < 0 ? std::string("the constant column") : "column " + quote(names.cols[c->col]));
    if (c->col >= 0 && names.cols[c->col] == "=")
      throw io::WriteError("column '=' has a nonlinear coefficient; the name means the "
                           "constant column in files");
    std::string text;
    try {
      text = formatFormulaText(c->formula, scope, colName);
      // Names that do not read as names in a formula would give another formula back.
      if (!sameTokens(parseFormulaText(text, scope, colIndex), c->formula))
        throw FormulaError("it does not read back the same from '" + text +
                           "' (are its column names plain names?)");
    } catch (const FormulaError &e) {
      throw io::WriteError("the formula of " + where + " cannot be written: " + e.what());
    }
    out += "    " + (c->row < 0 ? names.objective : names.rows[c->row]) + "  " +
           (c->col < 0 ? std::string("=") : names.cols[c->col]) + "  " +
           io::formatNumber(c->factor) + "  " + text + "\n";
  }
  bool any = false;
  const int ncols = std::min(model.cols(), static_cast<int>(data.columns.size()));
  for (int j = 0; j < ncols; ++j) {
    if (!data.columns[j].has_initial) continue;
    if (!any) out += "INITIALVALUES\n";
    any = true;
    out += "    " + names.cols[j] + "  " + io::formatNumber(data.columns[j].initial) + "\n";
  }
  return out;
}

}  // namespace
}  // namespace nvrl

using nvrl::checkSlpProblem;

namespace {

// File failures are recorded on the optimiser problem too: the read was to replace its model,
// and callers that try NVRLreadprob first look there for the message.
int failBoth(nslp_problem_s *s, const char *message) {
  s->prob->fail("%s", message);
  return s->fail("%s", message);
}

}  // namespace

extern "C" {

NVRL_API int NSLPreadprob(NSLPprob slp, const char *filename, const char *flags) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!filename || !*filename) return s->fail("NSLPreadprob: no file name given");
  char format = 0;  // 'l' LP, 'm' MPS, 0 from the file name, as NVRLreadprob
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c != 'l' && *c != 'm') return s->fail("NSLPreadprob: unknown flag '%c'", *c);
    format = *c;
  }
  try {
    std::string path;
    nvrl::io::NonlinearSections sections;  // LP files have none
    nvrl::Model model = nvrl::io::readProblemFile(filename, format, &sections, &path);
    nvrl::SlpData data = nvrl::nonlinearData(model, sections, path);
    // Everything has been read: from here on nothing can fail.
    s->prob->model = std::move(model);
    s->prob->modelChanged();
    s->data = std::move(data);
    s->state = nvrl::SlpState{};
  } catch (const nvrl::io::FileError &e) {
    return failBoth(s, e.what());
  }
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPwriteprob(NSLPprob slp, const char *filename, const char *flags) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!filename || !*filename) return s->fail("NSLPwriteprob: no file name given");
  bool lp = false;
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c == 'x') return s->fail("NSLPwriteprob: hexadecimal values (flag 'x') are not supported");
    // 'g' asks for this writer rather than the optimiser's, which is already the case.
    if (*c != 'l' && *c != 'm' && *c != 'g') return s->fail("NSLPwriteprob: unknown flag '%c'", *c);
    if (*c != 'g') lp = *c == 'l';
  }
  const nvrl::SlpData &data = s->data;
  const bool nonlinear =
      !data.coefs.empty() || std::any_of(data.columns.begin(), data.columns.end(),
                                         [](const nvrl::SlpColumn &c) { return c.has_initial; });
  if (lp && nonlinear)
    return s->fail("NSLPwriteprob: LP files cannot hold nonlinear coefficients or initial "
                   "values; write an MPS file instead");
  const std::string path = nvrl::io::writePath(filename, lp);
  const nvrl::Model &model = s->prob->model;
  try {
    std::string text;
    try {
      text = lp ? nvrl::io::writeLp(model)
                : nvrl::io::writeMps(model, [&](const nvrl::io::WrittenNames &names) {
                    return nvrl::nonlinearSections(data, model, names);
                  });
    } catch (const nvrl::io::WriteError &e) {
      return failBoth(s, ("Cannot write '" + path + "': " + e.what()).c_str());
    }
    nvrl::io::writeTextFile(path, text);
  } catch (const nvrl::io::FileError &e) {
    return failBoth(s, e.what());
  }
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

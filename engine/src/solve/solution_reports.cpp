// Solution reports and binary solution files:
// - NVRLwritesol: comma-separated values for spreadsheets and scripts, a line per column and
//   per row;
// - NVRLwriteprtsol: the same answers as an aligned report for people;
// - NVRLwritebinsol/NVRLreadbinsol: the answers bit for bit in a versioned binary file that
//   a later run reads back as its starting point.
// The layouts are in docs/file-formats.md.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "core/entry.h"
#include "core/problem.h"
#include "core/text.h"
#include "lp_data/name_index.h"
#include "lp_data/snapshot.h"
#include "solve/highs_session.h"
#include "solve/solution_files.h"

namespace nvrl::solreport {

namespace {

const char *basisCode(const SolveState &s, bool row, int k) {
  if (!s.have_basis) return "";
  switch ((row ? s.rowstat : s.colstat)[k]) {
    case NVRL_BASIS_BASIC: return "BS";
    case NVRL_BASIS_NONBASIC_LOWER: return "LL";
    case NVRL_BASIS_NONBASIC_UPPER: return "UL";
    default: return "SB";
  }
}

std::string csvText(const std::string &t) {
  std::string q = "\"";
  for (char c : t) {
    if (c == '"') q += '"';
    q += c;
  }
  return q + '"';
}

// The row's lower and upper limits (infinite ones as +-1e20).
void rowLimits(const Model &m, int i, double &lo, double &up) {
  const double r = m.rhs[i];
  switch (m.rowtype[i]) {
    case 'L': lo = -kInf, up = r; break;
    case 'G': lo = r, up = kInf; break;
    case 'E': lo = up = r; break;
    case 'R': lo = r - m.range[i], up = r; break;
    default: lo = -kInf, up = kInf; break;
  }
}

}  // namespace

std::string statusText(const SolveState &s) {
  if (s.was_mip) {
    switch (s.mipstatus) {
      case NVRL_MIP_OPTIMAL: return "MIP optimal";
      case NVRL_MIP_SOLUTION: return "MIP solution found (search unfinished)";
      case NVRL_MIP_INFEAS: return "MIP infeasible";
      case NVRL_MIP_UNBOUNDED: return "MIP unbounded";
      case NVRL_MIP_NO_SOL_FOUND: return "MIP search unfinished without a solution";
      default: return "MIP status " + std::to_string(s.mipstatus);
    }
  }
  switch (s.lpstatus) {
    case NVRL_LP_OPTIMAL: return "LP optimal";
    case NVRL_LP_INFEAS: return "LP infeasible";
    case NVRL_LP_UNBOUNDED: return "LP unbounded";
    case NVRL_LP_UNFINISHED: return "LP unfinished";
    case NVRL_LP_CUTOFF: return "LP cut off";
    default: return "LP status " + std::to_string(s.lpstatus);
  }
}

// Columns: "C",index,name,value,reduced cost,lower,upper,objective coefficient,basis code.
// Rows: "R",index,name,activity,slack,dual,lower,upper,basis code. Unavailable values are
// empty fields.
std::string csv(const Model &m, const SolveState &s, bool columnsOnly) {
  using solfile::number;
  const auto opt = [](bool have, double v) { return have ? number(v) : std::string(); };
  std::string out = "\"H\"," + csvText(m.name) + "," + number(s.was_mip ? s.mipobjval : s.lpobjval) +
                    "," + csvText(statusText(s)) + "," + std::to_string(m.rows()) + "," +
                    std::to_string(m.cols()) + "\n";
  for (int j = 0; j < m.cols(); ++j)
    out += "\"C\"," + std::to_string(j) + "," + csvText(itemName(m, kNameCols, j)) + "," +
           number(s.x[j]) + "," + opt(s.have_dual, s.have_dual ? s.djs[j] : 0.0) + "," +
           number(m.lb[j]) + "," + number(m.ub[j]) + "," + number(m.obj[j]) + "," +
           csvText(basisCode(s, false, j)) + "\n";
  if (columnsOnly) return out;
  for (int i = 0; i < m.rows(); ++i) {
    double lo, up;
    rowLimits(m, i, lo, up);
    out += "\"R\"," + std::to_string(i) + "," + csvText(itemName(m, kNameRows, i)) + "," +
           number(m.rhs[i] - s.slack[i]) + "," + number(s.slack[i]) + "," +
           opt(s.have_dual, s.have_dual ? s.duals[i] : 0.0) + "," + number(lo) + "," +
           number(up) + "," + csvText(basisCode(s, true, i)) + "\n";
  }
  return out;
}

std::string printable(const Model &m, const SolveState &s, bool columnsOnly) {
  const auto g = [](double v) { return nvrl::format("%15.8g", v); };
  const auto opt = [&](bool have, double v) { return have ? g(v) : std::string(15, ' ') ; };
  size_t width = 8;
  for (int j = 0; j < m.cols(); ++j) width = std::max(width, itemName(m, kNameCols, j).size());
  if (!columnsOnly)
    for (int i = 0; i < m.rows(); ++i) width = std::max(width, itemName(m, kNameRows, i).size());
  const auto name = [&](const std::string &n) { return n + std::string(width - n.size(), ' '); };
  std::string out = "Problem:   " + m.name + "\nStatus:    " + statusText(s) +
                    "\nObjective: " + nvrl::format("%.10g", s.was_mip ? s.mipobjval : s.lpobjval) +
                    "\n\nColumns (" + std::to_string(m.cols()) + ")\n" +
                    nvrl::format("%7s  %s  At %15s %15s %15s %15s %15s\n", "Number",
                                 name("Name").c_str(), "Value", "Reduced cost", "Lower", "Upper",
                                 "Cost");
  for (int j = 0; j < m.cols(); ++j)
    out += nvrl::format("%7d  %s  %-2s ", j, name(itemName(m, kNameCols, j)).c_str(),
                        basisCode(s, false, j)) +
           g(s.x[j]) + " " + opt(s.have_dual, s.have_dual ? s.djs[j] : 0.0) + " " + g(m.lb[j]) +
           " " + g(m.ub[j]) + " " + g(m.obj[j]) + "\n";
  if (columnsOnly) return out;
  out += "\nRows (" + std::to_string(m.rows()) + ")\n" +
         nvrl::format("%7s  %s  Ty At %15s %15s %15s %15s %15s\n", "Number",
                      name("Name").c_str(), "Activity", "Slack", "Dual", "Lower", "Upper");
  for (int i = 0; i < m.rows(); ++i) {
    double lo, up;
    rowLimits(m, i, lo, up);
    out += nvrl::format("%7d  %s  %c  %-2s ", i, name(itemName(m, kNameRows, i)).c_str(),
                        m.rowtype[i], basisCode(s, true, i)) +
           g(m.rhs[i] - s.slack[i]) + " " + g(s.slack[i]) + " " +
           opt(s.have_dual, s.have_dual ? s.duals[i] : 0.0) + " " + g(lo) + " " + g(up) + "\n";
  }
  return out;
}

// ----- Binary solution files ------------------------------------------------------------

constexpr char kMagic[8] = {'N', 'V', 'R', 'L', 'B', 'S', 'O', 'L'};
constexpr uint32_t kVersion = 1;
enum Part : uint32_t { X = 1, Slack = 2, Duals = 4, Djs = 8, Basis = 16 };

uint64_t fnv1a(std::string_view s) {
  uint64_t h = 1469598103934665603ull;
  for (unsigned char c : s) h = (h ^ c) * 1099511628211ull;
  return h;
}

std::string binary(const Model &m, const SolveState &s) {
  snap::Writer w;
  w.u32(kVersion);
  w.u32(static_cast<uint32_t>(m.rows()));
  w.u32(static_cast<uint32_t>(m.cols()));
  uint32_t parts = X | Slack;
  if (s.have_dual) parts |= Duals | Djs;
  if (s.have_basis) parts |= Basis;
  w.u32(parts);
  w.f64(s.was_mip ? s.mipobjval : s.lpobjval);
  w.i32(s.lpstatus);
  w.i32(s.mipstatus);
  w.dbls(s.x);
  w.dbls(s.slack);
  if (parts & Duals) w.dbls(s.duals), w.dbls(s.djs);
  if (parts & Basis) w.ints(s.rowstat), w.ints(s.colstat);
  std::string out(kMagic, sizeof kMagic);
  out += w.bytes();
  snap::Writer sum;
  sum.u64(fnv1a(out));
  return out + sum.bytes();
}

struct BinaryValues {
  double objective = 0.0;
  std::vector<double> x, slack, duals, djs;
  std::vector<int> rowstat, colstat;
};

// Throws snap::SnapshotError saying what is wrong.
BinaryValues readBinary(const Model &m, std::string_view file) {
  using snap::SnapshotError;
  if (file.size() < sizeof kMagic || std::memcmp(file.data(), kMagic, sizeof kMagic) != 0)
    throw SnapshotError("not a binary solution file (no header)");
  if (file.size() < sizeof kMagic + 4 + 8) throw SnapshotError("truncated");
  const std::string_view body = file.substr(0, file.size() - 8);
  snap::Reader sum(file.substr(file.size() - 8));
  snap::Reader r(body.substr(sizeof kMagic));
  const uint32_t version = r.u32();
  if (version == 0 || version > kVersion)
    throw SnapshotError(nvrl::format("written in binary solution format %u; this library reads "
                                     "format %u", version, kVersion));
  if (sum.u64() != fnv1a(body))
    throw SnapshotError("corrupt: the checksum does not match the contents (truncated?)");
  const uint32_t rows = r.u32(), cols = r.u32();
  if (rows != static_cast<uint32_t>(m.rows()) || cols != static_cast<uint32_t>(m.cols()))
    throw SnapshotError(nvrl::format("the solution has %u rows and %u columns; the problem has "
                                     "%d and %d", rows, cols, m.rows(), m.cols()));
  const uint32_t parts = r.u32();
  if ((parts & ~(X | Slack | Duals | Djs | Basis)) || !(parts & X) || !(parts & Slack) ||
      !(parts & Duals) != !(parts & Djs))
    throw SnapshotError("corrupt: unknown parts");
  BinaryValues v;
  v.objective = r.f64();
  r.i32();  // statuses: for the reader's information only
  r.i32();
  const auto sized = [](auto vec, size_t n) {
    if (vec.size() != n) throw SnapshotError("corrupt: a vector has the wrong length");
    return vec;
  };
  v.x = sized(r.dbls(), cols);
  v.slack = sized(r.dbls(), rows);
  if (parts & Duals) {
    v.duals = sized(r.dbls(), rows);
    v.djs = sized(r.dbls(), cols);
  }
  if (parts & Basis) {
    v.rowstat = sized(r.ints(), rows);
    v.colstat = sized(r.ints(), cols);
    for (const auto *st : {&v.rowstat, &v.colstat})
      for (int b : *st)
        if (b < NVRL_BASIS_NONBASIC_LOWER || b > NVRL_BASIS_SUPERBASIC)
          throw SnapshotError("corrupt: a basis status out of range");
  }
  r.expectEnd("binary solution file");
  return v;
}

}  // namespace nvrl::solreport

using nvrl::checkProblem;
namespace solreport = nvrl::solreport;

namespace {

// Checks filename and the flags of the text reports ('x': columns only) and that there is a
// solution; returns 0 or the failure code.
int reportArgs(nvrl_problem_s *p, const char *fn, const char *filename, const char *flags,
               bool &columnsOnly) {
  if (!filename || !*filename) return p->fail("%s: no file name given", fn);
  columnsOnly = false;
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c != 'x') return p->fail("%s: unknown flag '%c' (known: 'x' columns only)", fn, *c);
    columnsOnly = true;
  }
  if (!p->sol.have_primal) return p->fail("%s: no solution is available", fn);
  return 0;
}

int writeText(nvrl_problem_s *p, const char *fn, const char *filename, const std::string &text) {
  try {
    nvrl::snap::writeFileReplacing(filename, text);
  } catch (const nvrl::snap::SnapshotError &e) {
    return p->fail("%s: %s", fn, e.what());
  }
  return 0;
}

}  // namespace

extern "C" {

NVRL_API int NVRLwritesol(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  bool columnsOnly = false;
  if (int rc = reportArgs(p, __func__, filename, flags, columnsOnly)) return rc;
  return writeText(p, __func__, filename, solreport::csv(p->model, p->sol, columnsOnly));
} NVRL_CATCH(prob)

NVRL_API int NVRLwriteprtsol(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  bool columnsOnly = false;
  if (int rc = reportArgs(p, __func__, filename, flags, columnsOnly)) return rc;
  return writeText(p, __func__, filename, solreport::printable(p->model, p->sol, columnsOnly));
} NVRL_CATCH(prob)

NVRL_API int NVRLwritebinsol(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLwritebinsol: no file name given");
  if (flags && *flags)
    return p->fail("NVRLwritebinsol: unknown flag '%c' (the writer takes no flags)", *flags);
  if (!p->sol.have_primal) return p->fail("NVRLwritebinsol: no solution is available");
  return writeText(p, __func__, filename, solreport::binary(p->model, p->sol));
} NVRL_CATCH(prob)

NVRL_API int NVRLreadbinsol(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLreadbinsol: no file name given");
  bool valuesOnly = false;
  if (int rc = nvrl::solfile::readFlags(p, __func__, flags, valuesOnly)) return rc;
  solreport::BinaryValues v;
  try {
    v = solreport::readBinary(p->model, nvrl::snap::readFileBytes(filename));
  } catch (const nvrl::snap::SnapshotError &e) {
    return p->fail("NVRLreadbinsol: %s: %s", filename, e.what());
  }
  if (valuesOnly) {
    v.slack.clear();
    v.duals.clear();
    v.djs.clear();
    v.rowstat.clear();
    v.colstat.clear();
  }
  nvrl::solfile::stageReadPoint(p, std::move(v.x), v.slack, std::move(v.duals), std::move(v.djs),
                          std::move(v.rowstat), std::move(v.colstat));
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

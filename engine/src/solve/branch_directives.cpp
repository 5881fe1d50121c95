// Branching directives: per column a priority, a preferred first branch and initial
// pseudocosts for the engine's tree search; loaded from arrays or from a directive file:
//
//   * comment
//   NAME <problem name>                  (optional)
//   DIRECTIVES
//    <column> <priority> <U|D|N> [<up pseudocost> <down pseudocost>]
//   ENDATA
//
// The engine keeps no presolved form of a problem, so presolved directives are the
// directives themselves.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "core/entry.h"
#include "core/problem.h"
#include "core/text.h"
#include "lp_data/name_index.h"
#include "lp_data/snapshot.h"
#include "solve/solution_files.h"

namespace nvrl::dirs {

constexpr int kMaxPriority = 1000;

// Checks one directive against the model; returns false with why set.
bool valid(const Model &m, const BranchDirective &d, std::string &why) {
  if (d.col < 0 || d.col >= m.cols()) {
    why = nvrl::format("column index %d is out of range (0..%d)", d.col, m.cols() - 1);
    return false;
  }
  if (d.priority < 0 || d.priority > kMaxPriority) {
    why = nvrl::format("priority %d of column %d is outside 0..%d", d.priority, d.col, kMaxPriority);
    return false;
  }
  if (d.dir != 'U' && d.dir != 'D' && d.dir != 'N') {
    why = nvrl::format("direction '%c' of column %d is not 'U', 'D' or 'N'", d.dir, d.col);
    return false;
  }
  if (!std::isfinite(d.up) || !std::isfinite(d.down)) {
    why = nvrl::format("a pseudocost of column %d is not finite", d.col);
    return false;
  }
  return true;
}

// Sorts by column and refuses a column given twice.
bool sortUnique(std::vector<BranchDirective> &v, std::string &why) {
  std::sort(v.begin(), v.end(),
            [](const BranchDirective &a, const BranchDirective &b) { return a.col < b.col; });
  for (size_t k = 1; k < v.size(); ++k)
    if (v[k].col == v[k - 1].col) {
      why = nvrl::format("column %d is given more than one directive", v[k].col);
      return false;
    }
  return true;
}

std::string format(const Model &m) {
  using solfile::number;
  using solfile::quoted;
  std::string out = "NAME " + quoted(m.name) + "\nDIRECTIVES\n";
  for (const BranchDirective &d : m.directives) {
    out += " " + quoted(itemName(m, kNameCols, d.col)) + " " + std::to_string(d.priority) + " " +
           d.dir;
    if (d.up >= 0.0 || d.down >= 0.0) out += " " + number(d.up) + " " + number(d.down);
    out += '\n';
  }
  return out + "ENDATA\n";
}

std::vector<BranchDirective> parse(nvrl_problem_s *p, const std::string &text) {
  using solfile::fault;
  std::vector<BranchDirective> out;
  enum { Start, Named, Data, Done } state = Start;
  std::vector<char> seen(p->model.cols(), 0);
  solfile::forEachLine(text, [&](int line, std::string_view s) {
    if (state == Done) fault(line, "text after ENDATA");
    const std::vector<std::string> w = solfile::words(s, line);
    if (s[0] != ' ' && s[0] != '\t') {
      if (w[0] == "NAME" && state == Start) state = Named;
      else if (w[0] == "DIRECTIVES" && w.size() == 1 && state != Data) state = Data;
      else if (w[0] == "ENDATA" && w.size() == 1 && state == Data) state = Done;
      else
        fault(line, "unknown or misplaced keyword '" + w[0] +
                        "' (NAME, DIRECTIVES, data lines starting with a blank, ENDATA)");
      return;
    }
    if (state != Data) fault(line, "a data line before DIRECTIVES");
    if (w.size() != 3 && w.size() != 5)
      fault(line, "expected a column name, a priority, a direction and optionally two "
                  "pseudocosts");
    BranchDirective d;
    d.col = findName(p, kNameCols, w[0]);
    if (d.col < 0) fault(line, "unknown column '" + w[0] + "'");
    if (seen[d.col]) fault(line, "column '" + w[0] + "' is repeated");
    seen[d.col] = 1;
    const double prio = solfile::parseNumber(w[1], line);
    if (prio != std::floor(prio) || prio < 0 || prio > kMaxPriority)
      fault(line, "priority '" + w[1] + "' is not a whole number in 0.." + std::to_string(kMaxPriority));
    d.priority = static_cast<int>(prio);
    if (w[2].size() != 1 || (w[2][0] != 'U' && w[2][0] != 'D' && w[2][0] != 'N'))
      fault(line, "direction '" + w[2] + "' is not U, D or N");
    d.dir = w[2][0];
    if (w.size() == 5) {
      d.up = solfile::parseNumber(w[3], line);
      d.down = solfile::parseNumber(w[4], line);
    }
    out.push_back(d);
  });
  if (state != Done) throw solfile::ParseError("the file ends without ENDATA (is it cut short?)");
  std::sort(out.begin(), out.end(),
            [](const BranchDirective &a, const BranchDirective &b) { return a.col < b.col; });
  return out;
}

}  // namespace nvrl::dirs

using nvrl::checkProblem;

namespace {

int loadDirs(NVRLprob prob, const char *fn, int ndirs, const int colind[], const int priority[],
             const char dir[], const double uppseudo[], const double downpseudo[]) {
  nvrl_problem_s *p = checkProblem(prob, fn);
  if (!p) return 1;
  if (ndirs < 0) return p->fail("%s: ndirs is negative (%d)", fn, ndirs);
  if (ndirs > 0 && !colind) return p->fail("%s: colind is null", fn);
  std::vector<nvrl::BranchDirective> v(static_cast<size_t>(ndirs));
  std::string why;
  for (int k = 0; k < ndirs; ++k) {
    nvrl::BranchDirective &d = v[k];
    d.col = colind[k];
    if (priority) d.priority = priority[k];
    if (dir) d.dir = dir[k];
    if (uppseudo) d.up = uppseudo[k];
    if (downpseudo) d.down = downpseudo[k];
    if (!nvrl::dirs::valid(p->model, d, why)) return p->fail("%s: %s", fn, why.c_str());
  }
  if (!nvrl::dirs::sortUnique(v, why)) return p->fail("%s: %s", fn, why.c_str());
  p->model.directives.swap(v);
  return 0;
}

}  // namespace

extern "C" {

NVRL_API int NVRLloaddirs(NVRLprob prob, int ndirs, const int colind[], const int priority[],
                          const char dir[], const double uppseudo[],
                          const double downpseudo[]) NVRL_TRY {
  return loadDirs(prob, __func__, ndirs, colind, priority, dir, uppseudo, downpseudo);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadpresolvedirs(NVRLprob prob, int ndirs, const int colind[],
                                  const int priority[], const char dir[],
                                  const double uppseudo[], const double downpseudo[]) NVRL_TRY {
  return loadDirs(prob, __func__, ndirs, colind, priority, dir, uppseudo, downpseudo);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadbranchdirs(NVRLprob prob, int ncols, const int colind[],
                                const int dir[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (ncols < 0) return p->fail("NVRLloadbranchdirs: ncols is negative (%d)", ncols);
  if (ncols > 0 && (!colind || !dir)) return p->fail("NVRLloadbranchdirs: colind or dir is null");
  std::vector<nvrl::BranchDirective> v = p->model.directives;
  std::vector<nvrl::BranchDirective> added;
  std::vector<char> given(p->model.cols(), 0);
  std::string why;
  for (int k = 0; k < ncols; ++k) {
    const int j = colind[k];
    if (j < 0 || j >= p->model.cols())
      return p->fail("NVRLloadbranchdirs: column index %d is out of range", j);
    if (given[j]) return p->fail("NVRLloadbranchdirs: column %d is given twice", j);
    given[j] = 1;
    const char d = dir[k] > 0 ? 'U' : dir[k] < 0 ? 'D' : 'N';
    auto it = std::lower_bound(v.begin(), v.end(), j, [](const nvrl::BranchDirective &a, int c) {
      return a.col < c;
    });
    if (it != v.end() && it->col == j) {
      it->dir = d;
    } else {
      nvrl::BranchDirective nd;
      nd.col = j;
      nd.dir = d;
      added.push_back(nd);
    }
  }
  v.insert(v.end(), added.begin(), added.end());
  nvrl::dirs::sortUnique(v, why);
  p->model.directives.swap(v);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetdirs(NVRLprob prob, int *ndirs, int colind[], int priority[], char dir[],
                         double uppseudo[], double downpseudo[]) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  const std::vector<nvrl::BranchDirective> &v = p->model.directives;
  if (ndirs) *ndirs = static_cast<int>(v.size());
  for (size_t k = 0; k < v.size(); ++k) {
    if (colind) colind[k] = v[k].col;
    if (priority) priority[k] = v[k].priority;
    if (dir) dir[k] = v[k].dir;
    if (uppseudo) uppseudo[k] = v[k].up;
    if (downpseudo) downpseudo[k] = v[k].down;
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLwritedirs(NVRLprob prob, const char *filename) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLwritedirs: no file name given");
  try {
    nvrl::snap::writeFileReplacing(filename, nvrl::dirs::format(p->model));
  } catch (const nvrl::snap::SnapshotError &e) {
    return p->fail("NVRLwritedirs: %s", e.what());
  }
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLreaddirs(NVRLprob prob, const char *filename) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLreaddirs: no file name given");
  std::vector<nvrl::BranchDirective> v;
  try {
    v = nvrl::dirs::parse(p, nvrl::snap::readFileBytes(filename));
  } catch (const nvrl::snap::SnapshotError &e) {
    return p->fail("NVRLreaddirs: %s", e.what());
  } catch (const nvrl::solfile::ParseError &e) {
    return p->fail("NVRLreaddirs: %s: %s", filename, e.what());
  }
  p->model.directives.swap(v);
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

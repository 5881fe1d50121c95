// Determining rows and cascading (NSLPcascadeorder, NSLPcascade, NSLPchgcascadenlimit,
// NSLPgetcascadeorder), and the cascade the solve applies to its trial points.
#include "nslp/slp_cascade.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <queue>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/text.h"
#include "nslp/slp_loop.h"

namespace nvrl {

namespace {

const SlpColumn &columnOf(const SlpData &d, int j) {
  static const SlpColumn kDefault;
  return j < static_cast<int>(d.columns.size()) ? d.columns[j] : kDefault;
}

// Every column row reads: its linear and quadratic parts and its coefficients' columns and
// formulas. byRow: the problem's coefficients grouped by row.
void rowColumns(const Model &m, const std::map<int, std::vector<const SlpCoefficient *>> &byRow,
                int row, std::set<int> &out) {
  const RowMatrix &mA = m.A.rows();
  for (int64_t e = mA.start[row]; e < mA.start[row + 1]; ++e) out.insert(mA.col[e]);
  if (auto q = m.qrows.find(row); q != m.qrows.end())
    for (const auto &[ij, v] : q->second)
      if (v != 0.0) out.insert({ij.first, ij.second});
  if (auto f = byRow.find(row); f != byRow.end())
    for (const SlpCoefficient *c : f->second) {
      if (c->col >= 0) out.insert(c->col);
      for (const SlpToken &t : c->formula)
        if (t.type == NSLP_TOK_COL && t.value >= 0) out.insert(static_cast<int>(t.value));
    }
}

std::map<int, std::vector<const SlpCoefficient *>> coefsByRow(const SlpData &d) {
  std::map<int, std::vector<const SlpCoefficient *>> byRow;
  for (const SlpCoefficient &c : d.coefs) byRow[c.row].push_back(&c);
  return byRow;
}

int64_t controlInt(const nslp_problem_s *s, int id) {
  const ParamInfo *info = findParam(id);
  return info ? intValue(s->controls, *info) : 0;
}

double controlDbl(const nslp_problem_s *s, int id) {
  const ParamInfo *info = findParam(id);
  return info ? dblValue(s->controls, *info) : 0.0;
}

// Value of row i at x and its derivative by column j.
bool rowAndPartial(const SlpModel &M, int i, int j, const std::vector<double> &x, double &v,
                   double &dv, FormulaWorkspace &ws, std::vector<double> &grad) {
  const int k = M.nonlinearIndex(i);
  if (k >= 0) {
    std::string err;
    if (!M.rowGradient(k, x.data(), v, grad, ws, err)) return false;
    const std::vector<int> &cols = M.nonlinearRows()[k].cols;
    auto it = std::lower_bound(cols.begin(), cols.end(), j);
    dv = it != cols.end() && *it == j ? grad[it - cols.begin()] : 0.0;
    return true;
  }
  const Model &m = M.model();
  v = dv = 0.0;
  const RowMatrix &mA = m.A.rows();
  for (int64_t e = mA.start[i]; e < mA.start[i + 1]; ++e) {
    v += mA.val[e] * x[mA.col[e]];
    if (mA.col[e] == j) dv = mA.val[e];
  }
  return std::isfinite(v);
}

}  // namespace

std::string detRowProblem(const Model &m, const SlpData &d, int col, int row) {
  if (row < 0) return "";
  std::set<int> cols;
  rowColumns(m, coefsByRow(d), row, cols);
  if (cols.count(col)) return "";
  return format("column %d does not occur in row %d, so that row cannot determine it", col, row);
}

std::vector<int> cascadeOrder(const Model &m, const SlpData &d, std::vector<std::string> &cycles) {
  const int n = m.cols();
  std::vector<int> det;
  for (int j = 0; j < n; ++j) {
    const int r = columnOf(d, j).det_row;
    if (r >= 0 && r < m.rows()) det.push_back(j);
  }
  if (det.empty()) return {};
  // deps[a]: the determined columns (positions in det) that column det[a]'s row reads.
  std::vector<int> pos(n, -1);
  for (size_t a = 0; a < det.size(); ++a) pos[det[a]] = static_cast<int>(a);
  const auto byRow = coefsByRow(d);
  const size_t nd = det.size();
  std::vector<std::vector<int>> deps(nd), users(nd);
  for (size_t a = 0; a < nd; ++a) {
    std::set<int> cols;
    rowColumns(m, byRow, columnOf(d, det[a]).det_row, cols);
    for (int c : cols)
      if (c != det[a] && c < n && pos[c] >= 0) {
        deps[a].push_back(pos[c]);
        users[pos[c]].push_back(static_cast<int>(a));
      }
  }
  auto key = [&](int a) { return std::make_pair(columnOf(d, det[a]).seqnum, det[a]); };
  auto before = [&](int a, int b) { return key(a) > key(b); };  // for a min-heap
  std::priority_queue<int, std::vector<int>, decltype(before)> ready(before);
  std::vector<int> waiting(nd);
  std::vector<char> done(nd, 0);
  for (size_t a = 0; a < nd; ++a) {
    waiting[a] = static_cast<int>(deps[a].size());
    if (waiting[a] == 0) ready.push(static_cast<int>(a));
  }
  std::vector<int> order;
  order.reserve(nd);
  while (order.size() < nd) {
    if (ready.empty()) {
      // A cycle: walk back along unfinished dependencies from the first unfinished column
      // until a column repeats; the columns from its first visit on form a cycle, and the
      // first of them by (sequence number, index) goes first.
      int a = -1;
      for (size_t b = 0; b < nd; ++b)
        if (!done[b] && (a < 0 || key(static_cast<int>(b)) < key(a))) a = static_cast<int>(b);
      std::vector<int> path;
      std::vector<int> seen(nd, -1);
      while (seen[a] < 0) {
        seen[a] = static_cast<int>(path.size());
        path.push_back(a);
        int next = -1;
        for (int b : deps[a])
          if (!done[b] && (next < 0 || key(b) < key(next))) next = b;
        a = next;
      }
      std::vector<int> cycle(path.begin() + seen[a], path.end());
      const int first = *std::min_element(cycle.begin(), cycle.end(),
                                          [&](int p, int q) { return key(p) < key(q); });
      std::string line = format("Cascade order: columns");
      std::sort(cycle.begin(), cycle.end(), [&](int p, int q) { return key(p) < key(q); });
      for (size_t q = 0; q < cycle.size(); ++q)
        line += format("%s %d", q ? "," : "", det[cycle[q]]);
      line += format(" depend on each other through their determining rows; column %d is "
                     "cascaded first", det[first]);
      cycles.push_back(line);
      waiting[first] = 0;
      ready.push(first);
    }
    const int a = ready.top();
    ready.pop();
    if (done[a]) continue;
    done[a] = 1;
    order.push_back(det[a]);
    for (int u : users[a])
      if (!done[u] && --waiting[u] == 0) ready.push(u);
  }
  return order;
}

bool slpLogOn(const nslp_problem_s *s) { return controlInt(s, NSLP_CTRL_LOG_LEVEL) > 0; }

SlpCascade makeCascade(nslp_problem_s *s, const Model &m, bool integers) {
  std::vector<std::string> cycles;
  std::vector<int> order = cascadeOrder(s->prob->model, s->data, cycles);
  if (slpLogOn(s))
    for (const std::string &line : cycles) s->logLine(NVRL_MSG_INFO, line);
  SlpCascade c;
  const int deflimit = static_cast<int>(controlInt(s, NSLP_CTRL_CASCADE_ITERATION_LIMIT));
  c.tolerance = controlDbl(s, NSLP_CTRL_CASCADE_TOLERANCE);
  for (int j : order) {
    if (integers && (m.coltype[j] == 'I' || m.coltype[j] == 'B')) continue;
    if (m.lb[j] == m.ub[j]) continue;
    const SlpColumn &col = columnOf(s->data, j);
    c.order.push_back(j);
    c.row.push_back(col.det_row);
    c.limit.push_back(col.cascade_limit > 0 ? col.cascade_limit : deflimit);
  }
  s->data.cascade_order.swap(order);
  return c;
}

int cascadePoint(const SlpModel &M, const SlpCascade &c, std::vector<double> &x,
                 const SlpHooks *hooks, const std::function<void(const std::string &)> &log) {
  if (c.order.empty()) return 0;
  const Model &m = M.model();
  if (hooks && hooks->cascadeStart) hooks->cascadeStart(hooks->data);
  FormulaWorkspace ws;
  std::vector<double> grad;
  int failures = 0;
  for (size_t q = 0; q < c.order.size(); ++q) {
    const int j = c.order[q], i = c.row[q];
    const double lo = M.rowLo(i), up = M.rowUp(i);
    const double lb = isInfLo(m.lb[j]) ? -INFINITY : m.lb[j];
    const double ub = isInfUp(m.ub[j]) ? INFINITY : m.ub[j];
    const double saved = x[j];
    double v = 0.0, dv = 0.0;
    const char *why = nullptr;
    bool holds = false;
    for (int it = 0;; ++it) {
      if (!rowAndPartial(M, i, j, x, v, dv, ws, grad)) {
        why = "the row cannot be evaluated";
        break;
      }
      // An inequality row is brought to its nearer bound only when it is violated.
      const double target = v < lo ? lo : v > up ? up : v;
      if (std::fabs(v - target) <= c.tolerance * std::max(1.0, std::fabs(target))) {
        holds = true;
        break;
      }
      if (it >= c.limit[q]) {
        why = "the iteration limit was reached";
        break;
      }
      if (dv == 0.0 || !std::isfinite(dv)) {
        why = "the row does not depend on the column here";
        break;
      }
      double step = (target - v) / dv;
      const double before = x[j];
      // Halve a step that leaves the formulas' domain.
      bool moved = false;
      for (int half = 0; half < 30 && !moved; ++half, step *= 0.5) {
        x[j] = std::min(std::max(before + step, lb), ub);
        double v2, d2;
        moved = rowAndPartial(M, i, j, x, v2, d2, ws, grad);
      }
      if (!moved) {
        x[j] = before;
        why = "every step leaves the domain of the row's formulas";
        break;
      }
      if (x[j] == before) {
        why = "a bound of the column is in the way";
        break;
      }
    }
    if (!holds) {
      x[j] = saved;
      ++failures;
      if (log)
        log(format("Cascade: column %d was left at %.10g: %s (row %d residual %.3g)", j, saved,
                   why, i, v - (v < lo ? lo : v > up ? up : v)));
    }
    if (hooks && hooks->cascadeColumn) hooks->cascadeColumn(hooks->data, j, holds);
  }
  if (hooks && hooks->cascadeEnd) hooks->cascadeEnd(hooks->data, failures);
  return failures;
}

}  // namespace nvrl

using namespace nvrl;

namespace {

// The order computed afresh, kept in the problem and its cycles logged.
void refreshOrder(nslp_problem_s *s) {
  std::vector<std::string> cycles;
  std::vector<int> order = cascadeOrder(s->prob->model, s->data, cycles);
  s->data.cascade_order.swap(order);
  if (slpLogOn(s))
    for (const std::string &line : cycles) s->logLine(NVRL_MSG_INFO, line);
}

}  // namespace

extern "C" {

NVRL_API int NSLPcascadeorder(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  refreshOrder(s);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetcascadeorder(NSLPprob slp, int *ncols, int cols[], int size) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (size < 0) return s->fail("NSLPgetcascadeorder: negative size %d", size);
  if (size > 0 && !cols) return s->fail("NSLPgetcascadeorder: null column array");
  const std::vector<int> &order = s->data.cascade_order;
  const int n = static_cast<int>(order.size());
  if (ncols) *ncols = n;
  if (cols) std::copy(order.begin(), order.begin() + std::min(n, size), cols);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPchgcascadenlimit(NSLPprob slp, int col, int limit) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (col < 0 || col >= s->prob->model.cols())
    return s->fail("NSLPchgcascadenlimit: column %d is out of range (the problem has %d "
                   "columns)", col, s->prob->model.cols());
  if (limit < 0)
    return s->fail("NSLPchgcascadenlimit: the limit must be >= 0 (0: the control's), got %d",
                   limit);
  std::vector<SlpColumn> &cols = s->data.columns;
  if (static_cast<int>(cols.size()) <= col) cols.resize(col + 1);
  cols[col].cascade_limit = limit;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPcascade(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  const Model &m = s->prob->model;
  std::unique_ptr<SlpModel> model;
  try {
    model.reset(new SlpModel(m, s->data, 1));
  } catch (const FormulaError &e) {
    return s->fail("NSLPcascade: a nonlinear coefficient cannot be used: %s", e.what());
  }
  SlpCascade c = makeCascade(s, m, false);
  std::vector<double> x = currentPoint(s);
  const int failures =
      cascadePoint(*model, c, x, nullptr, [s](const std::string &l) {
        if (slpLogOn(s)) s->logLine(NVRL_MSG_INFO, l);
      });
  // The slacks of the last solve follow the point they describe.
  std::vector<double> slack;
  if (s->state.slack.size() == static_cast<size_t>(m.rows())) {
    std::vector<double> act;
    FormulaWorkspace ws;
    std::string err;
    if (model->activities(x.data(), act, ws, err)) {
      slack.resize(m.rows());
      for (int i = 0; i < m.rows(); ++i) slack[i] = m.rhs[i] - act[i];
    }
  }
  s->state.x.swap(x);
  if (!slack.empty()) s->state.slack.swap(slack);
  s->state.cascade_failures = failures;
  if (slpLogOn(s))
    s->log(NVRL_MSG_INFO, "Cascade: %zu columns, %d failed", c.order.size(), failures);
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

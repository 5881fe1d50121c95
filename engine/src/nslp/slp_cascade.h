// Determining rows and cascading: a column with a determining row is recomputed from that row
// (a Newton solve in the column alone, the others fixed) so that the row holds exactly. The
// columns are visited in the cascade order: a determined column after every determined
// column its row reads, ties by sequence number, then index.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "nslp/slp_model.h"
#include "nslp/slp_problem.h"

namespace nvrl {

struct SlpHooks;

// What a cascade needs, fixed for a solve.
struct SlpCascade {
  std::vector<int> order;      // determined columns in cascade order
  std::vector<int> row;        // per entry of order: its determining row
  std::vector<int> limit;      // per entry of order: Newton iterations
  double tolerance = 1e-10;    // the row holds when |residual| <= tolerance * max(1, |target|)
};

// The cascade order of the problem's determined columns. cycles receives one line per cycle
// that had to be broken (the column taken first and the others on the cycle).
std::vector<int> cascadeOrder(const Model &m, const SlpData &d, std::vector<std::string> &cycles);

// Why row cannot determine col (the column does not occur in it), or an empty string.
std::string detRowProblem(const Model &m, const SlpData &d, int col, int row);

// Computes the problem's cascade order afresh (kept in s->data.cascade_order, cycles
// logged) and the cascade of its columns: each one's row and Newton limit (the column's own,
// else the control's). Columns fixed by their bounds cannot move and are left out, and so
// are integer columns when integers is set. m: the model the cascade will evaluate (the user's
// or a presolved form of it, with the same rows and columns).
SlpCascade makeCascade(nslp_problem_s *s, const Model &m, bool integers);

// Whether s's log level (nslp_log_level) asks for the lines of cascading, presolve and
// scaling.
bool slpLogOn(const nslp_problem_s *s);

// Cascades x in place: each column of the order in turn gets the value at which its row
// holds, clipped to the column's bounds. A column whose Newton solve fails (no derivative, a
// formula that cannot be evaluated, the limit reached, a bound in the way) keeps its value.
// Returns the number of failures; log receives one line per failure.
NVRL_INTERNAL_API int cascadePoint(const SlpModel &M, const SlpCascade &c, std::vector<double> &x,
                 const SlpHooks *hooks, const std::function<void(const std::string &)> &log);

}  // namespace nvrl

// Irreducible infeasible sets: the sets found for a problem and the HiGHS instance that the
// searches share. A search works on "units": one side of a row (an equality row is one unit
// for both sides) or one finite bound of a column. The instance holds the lowered model with
// an elastic column per row side that can move the row's activity past that side. Switching
// units between enforced, elastic and relaxed changes bounds only, so every re-solve
// warm-starts.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "core/problem.h"
#include "solve/highs_session.h"
#include "solve/lowered_model.h"

namespace nvrl {

struct IisUnit {
  bool col = false;  // a column bound, else a row side
  int index = 0;     // user row or column
  // Rows: 'L' the upper side, 'G' the lower side, 'E' both of an equality. Columns: 'L' the
  // lower bound, 'U' the upper bound.
  char type = 'L';
  int h = -1;            // HiGHS row (row units) or column (bound units)
  double bound = 0.0;    // the side's value
  int elastic[2] = {-1, -1};  // elastic HiGHS columns of a row (an equality row has two)
};

enum class UnitState : char { Enforced, Elastic, Relaxed };

struct IisSet {
  std::vector<int> units;     // unit numbers, ascending
  double suminfeas = 0.0;     // least total violation when only these units may be violated
  int numinfeas = 0;          // units violated in that least violation
  std::vector<double> mult;   // Farkas multiplier per unit (units' order); empty: none
  std::vector<char> isolated; // per unit: 1 in no other set found; empty until computed
  bool approximate = false;   // a limit ended the deletion filter before it was done
};

// Outcomes of iisfirst and iisnext (NVRL_IIS_... in nvrl.h).
enum IisOutcome { kIisFound = 0, kIisFeasible = 1, kIisNoMore = 2, kIisApproximate = 3,
                  kIisStopped = 4 };

struct IisStore {
  uint64_t version = 0;  // the problem's version the units and the instance were built for
  bool mip = false;      // integrality kept in the feasibility tests
  std::vector<IisUnit> units;
  // Entry 0: the initial infeasible subsystem (the elastic filter's candidate set) of the
  // first search; the sets proper follow in the order found.
  std::vector<IisSet> sets{IisSet()};
  bool searched = false;
  // Units whose exclusion iisnext tries next: members of the sets found, in order.
  std::vector<int> queue;
  size_t next = 0;
  std::vector<char> queued;  // per unit

  HighsInstance highs;
  // The problem's stop request (NVRLinterrupt, Ctrl-C), polled between solves; a stopped
  // search ends as if its time limit had passed.
  const std::atomic<int> *interrupt_reason = nullptr;
  int hcols = 0, hrows = 0;
  std::vector<UnitState> state;
  std::vector<double> row_lo, row_up, col_lo, col_up;  // current HiGHS bounds
  std::vector<double> orig_row_lo, orig_row_up, orig_col_lo, orig_col_up;
  // Column-wise copy of the user columns' entries, for the certificate's reduced costs.
  std::vector<int> cstart, cindex;
  std::vector<double> cvalue;
  double ftol = 1e-6;
};

using IisClock = std::chrono::steady_clock;

// Builds the units and the elastic instance for the current model. Throws EngineError when
// HiGHS rejects the model; returns false with a message for a model it cannot analyse.
bool buildIisStore(const nvrl_problem_s *p, IisStore &s, std::string &err);

// One search: the elastic filter over every unit not in `excluded`, then (full) the deletion
// filter over its candidate set. On kIisFound/kIisApproximate `out` holds the set with its
// multipliers and least violation; `initial` receives the candidate set.
int searchIis(IisStore &s, const std::vector<int> &excluded, bool full,
              IisClock::time_point deadline, IisSet &out, IisSet *initial);

// Marks the members of set k that are in no other set found.
void computeIsolations(IisStore &s, int k);

// The set as a model of its own: every column, the member rows with their member sides, the
// member bounds (others infinite); integrality kept for a MIP.
Model iisModel(const Model &m, const IisStore &s, const IisSet &set);

}  // namespace nvrl

// Engine objects: the common object header, the model store and the problem object.
//
// The model store is the source of truth for every query; HiGHS only ever sees a lowered
// copy built at solve time (solve/). All members are plain data with the invariants stated
// beside them; code that changes the store keeps those invariants and calls
// Problem::modelChanged() so that cached views and answers are dropped.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/flat_tables.h"
#include "nvrl.h"

namespace nvrl {

enum class ObjectKind : uint32_t { Env = 1, Problem = 2, SlpProblem = 3, BranchObject = 4 };

constexpr uint32_t kObjectMagic = 0x4e56524cu;  // tags live objects; cleared on destruction

}  // namespace nvrl

// Every handle the C API hands out starts with this header.
struct nvrl_object_s {
  uint32_t magic = nvrl::kObjectMagic;
  nvrl::ObjectKind kind;
  explicit nvrl_object_s(nvrl::ObjectKind k) : kind(k) {}
};

namespace nvrl {

// Makes room for `more` further entries before anything is appended, so that the appends
// cannot fail half way. Capacity at least doubles: reserving the exact size on every call
// would copy the whole vector each time rows or columns are added one by one.
template <class Vec>
void reserveMore(Vec &v, size_t more) {
  const size_t need = v.size() + more;
  if (need > v.capacity()) v.reserve(std::max(need, 2 * v.capacity()));
}

constexpr double kInf = 1e20;
inline bool isInfUp(double v) { return v >= kInf; }
inline bool isInfLo(double v) { return v <= -kInf; }

// Row-wise sparse matrix (CSR). start has rows+1 entries, start[0] == 0; entries of a row have
// distinct column indices (order within a row is not significant) and non-zero values.
struct RowMatrix {
  std::vector<int64_t> start{0};
  std::vector<int> col;
  std::vector<double> val;
  int rows() const { return static_cast<int>(start.size()) - 1; }
  int64_t nnz() const { return start.back(); }
};

// Column-wise sparse matrix (CSC), the mirror of RowMatrix: entries of a column have distinct
// row indices and non-zero values.
struct ColMatrix {
  std::vector<int64_t> start{0};
  std::vector<int> row;
  std::vector<double> val;
  int cols() const { return static_cast<int>(start.size()) - 1; }
  int64_t nnz() const { return start.back(); }
};

// The model's linear coefficients, held row-wise, column-wise or both. A matrix loaded by
// columns stays column-wise until something needs its rows: turning it into rows costs more
// than the rest of a load, and a model loaded to be solved or queried by column never needs
// them. Readers ask for the form they need (built on first use and kept until a change);
// writers change the row-wise form through rowsToChange(), which drops the column-wise copy,
// so that no form can be read stale. Exported for the engine's tests, which build and inspect
// models directly.
class __attribute__((visibility("default"))) ModelMatrix {
 public:
  int64_t nnz() const { return has_rows_ ? rows_.nnz() : cols_.nnz(); }
  // The row-wise form; from a column-wise matrix each row's columns ascend. Building it may
  // throw std::bad_alloc, which leaves the matrix as it was.
  const RowMatrix &rows() const {
    if (!has_rows_) buildRows();
    return rows_;
  }
  // The column-wise form when one is held, with rows ascending in each column (sorted on first
  // use); null for a matrix only held row-wise (its column view is the store cache's).
  const ColMatrix *heldColumns() const;
  // The row-wise form for a change of the matrix; the column-wise copy is dropped.
  RowMatrix &rowsToChange();
  void assignRows(RowMatrix &&a) noexcept;
  // Column-wise entries of nrows rows; rows_ascending tells whether each column's rows are
  // already in ascending order.
  void assignColumns(ColMatrix &&a, int nrows, bool rows_ascending) noexcept;

 private:
  void buildRows() const;
  // Invariant: has_rows_ || has_cols_; when both are held they hold the same entries.
  mutable RowMatrix rows_;
  mutable ColMatrix cols_;
  mutable bool has_rows_ = true;
  bool has_cols_ = false;
  mutable bool cols_ascending_ = true;
  int nrows_ = 0;  // rows of the column-wise form
};

// Symmetric quadratic form stored as its upper triangle: key (i, j) with i <= j. Values are
// as the C API's triplets give them (see nvrl.h for the objective and row conventions).
using QMatrix = std::map<std::pair<int, int>, double>;

struct SpecialOrderedSet {
  char type = '1';            // '1' or '2'
  std::vector<int> cols;
  std::vector<double> refs;   // reference values (weights), same length as cols
};

struct GeneralConstraint {
  int type = 0;               // NVRL_GENCONS_...
  int resultant = -1;
  std::vector<int> cols;
  std::vector<double> vals;
};

struct PwlConstraint {
  int col = -1;
  int resultant = -1;
  std::vector<double> x, y;   // breakpoints, x non-decreasing
};

// How the tree search treats one column (NVRLloaddirs): smaller priorities are branched on
// first; dir 'U' up branch first, 'D' down first, 'N' the search's choice; a negative
// pseudocost leaves that direction's estimate to the search.
struct BranchDirective {
  int col = -1;
  int priority = 500;
  char dir = 'N';
  double up = -1.0, down = -1.0;
};
constexpr int kDefaultDirectivePriority = 500;

// The user's model. Vectors indexed by column have cols() entries, by row rows() entries.
struct Model {
  std::string name;
  int objsense = 1;           // 1 minimise, -1 maximise
  double objconst = 0.0;      // objective = objconst + obj'x + quadratic part

  // columns
  std::vector<double> obj, lb, ub;
  std::vector<char> coltype;  // 'C','I','B','S','R','P'
  std::vector<double> limit;  // threshold of 'S','R','P' columns, 0 otherwise

  // rows
  std::vector<char> rowtype;  // 'L','G','E','R','N'
  std::vector<double> rhs;
  std::vector<double> range;  // meaningful for 'R' rows only (>= 0), 0 otherwise
  ModelMatrix A;

  QMatrix qobj;                       // quadratic objective
  std::map<int, QMatrix> qrows;       // row index -> quadratic part (only non-empty ones)

  std::vector<SpecialOrderedSet> sets;
  std::vector<int> indcol;            // per row: indicator column or -1
  std::vector<int> indcomp;           // per row: 1 (col = 1), -1 (col = 0), 0 none
  std::vector<GeneralConstraint> gencons;
  std::vector<PwlConstraint> pwlcons;
  std::vector<BranchDirective> directives;  // ascending columns, one at most per column

  // names; an empty string means "unnamed" (reported as the default name)
  std::vector<std::string> rownames, colnames, setnames;

  int cols() const { return static_cast<int>(obj.size()); }
  int rows() const { return static_cast<int>(rowtype.size()); }
  int nsets() const { return static_cast<int>(sets.size()); }
};

// Answers of the last optimisation, in the user's rows and columns.
struct SolveState {
  int lpstatus = NVRL_LP_UNSTARTED;
  int mipstatus = NVRL_MIP_NOT_LOADED;
  int stopstatus = NVRL_STOP_NONE;
  // have_primal: a solution, that is a point HiGHS reports primal feasible (and within the
  // cutoff); have_point: x and slack hold a point of HiGHS's, feasible or not, which only the
  // infeasibility queries read.
  bool have_primal = false, have_point = false, have_dual = false, have_basis = false;
  bool cut_off = false;  // the solve ended because nothing meets the cutoff
  bool was_mip = false;
  bool barrier_ran = false;  // a continuous solve in which the barrier iterated
  double lpobjval = 0.0, mipobjval = 0.0, bestbound = 0.0, mipgap = 0.0;
  int64_t simplex_iter = 0, barrier_iter = 0, nodes = 0;
  int solutions = 0;
  double solvetime = 0.0;
  std::vector<double> x, slack, duals, djs;   // slack: rhs - activity
  std::vector<int> rowstat, colstat;          // NVRL_BASIS_...
  bool has_primal_ray = false, has_dual_ray = false;
  std::vector<double> primal_ray, dual_ray;
  int unbounded_col = -1;
  void clear() { *this = SolveState(); }
};

// Control values of one problem or of the nonlinear layer; the registry gives defaults.
struct ControlValues {
  std::unordered_map<int, int64_t> ints;
  std::unordered_map<int, double> dbls;
  std::unordered_map<int, std::string> strs;
};

struct MessageCallback {
  NVRLmsgcb cb;
  void *data;
  int priority;
};

// Views of the model store kept between calls, each stamped with the problem's version it
// was built for: a change of the model (which bumps the version) makes them stale without
// the code that changes the model knowing about them. Built and used by lp_data/.
struct StoreCache {
  static constexpr uint64_t kStale = UINT64_MAX;

  // User names of rows, columns and sets (indexed kind - 1) -> the lowest index of an item
  // of that name, over the model's name vectors; names_repeated: some name of the kind is
  // held by more than one item.
  uint64_t names_version = kStale;
  NameLookup names[3];
  bool names_repeated[3] = {false, false, false};

  uint64_t colview_version = kStale;
  ColMatrix colview;
};

// Something above the store that keeps row or column indices of its own (a nonlinear
// problem stacked on this one) and follows deletions. A deletion first asks every dependent
// to prepare its renumbered data aside (which may refuse, changing nothing), and commits them
// only once the store itself has changed.
class StoreDependent {
 public:
  virtual ~StoreDependent() = default;
  // rowmap/colmap: old index -> new index or -1 (deleted); either may be null. Returns false
  // with a message in why when the deletion must be refused.
  virtual bool prepareDeletion(const std::vector<int> *rowmap, const std::vector<int> *colmap,
                               std::string &why) = 0;
  virtual void commitDeletion() noexcept = 0;
  virtual void abandonDeletion() noexcept = 0;
};

class HighsSession;  // solve/highs_session.h: the persistent HiGHS instance
// Destroys a session where its type is complete (solve/), so that the problem object need
// not know it.
struct HighsSessionDeleter {
  void operator()(HighsSession *s) const noexcept;
};

struct IisStore;  // analysis/iis_search.h: the infeasible sets found and their search state
struct IisStoreDeleter {
  void operator()(IisStore *s) const noexcept;
};

struct TunerState;  // analysis/tuning_runs.cpp: the tuner's method and its last result
struct TunerStateDeleter {
  void operator()(TunerState *s) const noexcept;
};

// A solution given by the user (NVRLaddmipsol, NVRLloadmipsol) for the next MIP solve: values
// of some columns, or of all of them in order when cols is empty.
struct UserMipSolution {
  std::string name;
  std::vector<int> cols;
  std::vector<double> vals;
};

}  // namespace nvrl

struct nvrl_problem_s : nvrl_object_s {
  nvrl_problem_s();
  ~nvrl_problem_s();

  nvrl::Model model;
  nvrl::SolveState sol;
  nvrl::ControlValues controls;
  std::vector<nvrl::MessageCallback> msgcbs;  // sorted by priority, highest first

  // Written by fail() and clearError() and read by NVRLgetlasterror under errmu: a call
  // refused because of a running solve records its error from another thread. Success paths
  // never touch them.
  std::mutex errmu;
  std::atomic<int> lasterror_code{0};
  std::string lasterror;

  // Set by NVRLinterrupt or the SIGINT handler; the running solve polls it.
  std::atomic<int> interrupt_reason{0};
  // Non-null while a solve runs: identifies the solving thread (see SolveMarker).
  std::atomic<const void *> solving_thread{nullptr};
  // Created lazily by the solver.
  std::unique_ptr<nvrl::HighsSession, nvrl::HighsSessionDeleter> highs;
  // Created by the first infeasible-set search; stamped with the version it analysed.
  std::unique_ptr<nvrl::IisStore, nvrl::IisStoreDeleter> iis;
  // Incremented by modelChanged(); the solver and the store cache compare it with the
  // version they were built for.
  uint64_t version = 0;
  nvrl::StoreCache store_cache;
  // The nonlinear problems stacked on this one (not owned; each removes itself when it is
  // destroyed).
  std::vector<nvrl::StoreDependent *> dependents;
  // The tuner's method and its last result (analysis/), kept with the problem it tunes.
  std::unique_ptr<nvrl::TunerState, nvrl::TunerStateDeleter> tuner;
  // Solutions given by the user, taken by the next MIP solve.
  std::vector<nvrl::UserMipSolution> user_mip_starts;

  // Records an error (message formatted printf-style) and returns its non-zero code.
  int fail(const char *fmt, ...) __attribute__((format(printf, 2, 3)));
  void clearError();
  // Records "fn: message" for an exception that reached an entry point; never throws.
  int failException(const char *fn) noexcept;
  bool busy() const { return solving_thread.load(std::memory_order_acquire) != nullptr; }
  // Drops answers and cached views after any change to the model.
  void modelChanged();
  // Lines of the problem's log are also appended here (NVRLsetlogfile); null: no file.
  std::shared_ptr<std::FILE> logfile;
  // Message codes whose lines are dropped (NVRLsetmessagestatus), ascending.
  std::vector<int> suppressed_codes;

  // Sends one log line to the problem's callbacks and the global handlers.
  void log(int msgtype, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
  void logLine(int msgtype, const std::string &line);
  // A line that carries a message code: dropped when the code is suppressed.
  void logCoded(int code, int msgtype, const std::string &line);
  // For a line logged after a change has been committed: a call that has changed the problem
  // must not fail, so a line that cannot be delivered for want of memory is dropped.
  void logAfterCommit(int msgtype, const std::string &line) noexcept;
};

namespace nvrl {

// Validates a handle for the entry point fn; on failure records a global error and returns
// null. A problem that is being solved is refused (recorded on the problem, null returned)
// unless fn is allowed during a solve (the allowance table in core/problem.cpp).
nvrl_problem_s *checkProblem(NVRLprob prob, const char *fn);

// Validates a problem handle without requiring a started library (for the calls that must
// keep working after the library has been released: destroy, last error, callback removal).
// Refuses a problem being solved as checkProblem() does.
nvrl_problem_s *checkProblemHandle(NVRLprob prob, const char *fn);

// Whether fn may run on p now: p is not being solved, or the allowance table lets fn run
// from the calling thread during the solve.
bool allowedNow(const nvrl_problem_s *p, const char *fn);

// The message of a call refused during a solve (printf format taking the function's name).
#define NVRL_SOLVING_REFUSAL \
  "%s: the problem is being solved; it cannot be changed or read until the solve returns"

// Refuses fn on p when p is being solved and fn is not allowed from the calling thread:
// records the error on p and returns true. For handles checked by other means.
bool refusedWhileSolving(nvrl_problem_s *p, const char *fn);

// Marks a problem as being solved for the lifetime of the marker, recording the calling
// thread as the solving thread. Every solver (linear, mixed-integer, nonlinear) takes one
// before it touches the problem; a problem already being solved is not marked again and
// the refusal is recorded on it (check acquired()).
class SolveMarker {
 public:
  SolveMarker(nvrl_problem_s *p, const char *fn);
  ~SolveMarker();
  SolveMarker(const SolveMarker &) = delete;
  SolveMarker &operator=(const SolveMarker &) = delete;
  bool acquired() const { return acquired_; }
  // The solve ran to its end (with or without a verdict). A marker destroyed without this
  // is unwinding an exception: the HiGHS session and the answers of the interrupted solve are
  // dropped, so the next solve starts from a fresh HiGHS instance.
  void finished() { finished_ = true; }

 private:
  nvrl_problem_s *p_;
  bool acquired_ = false;
  bool finished_ = false;
};

// Global error (environment calls and invalid handles).
int failGlobal(int code, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

// Sends a line to the global message handlers on behalf of obj.
void dispatchGlobal(NVRLobject obj, int msgtype, const char *msg, int len);

// Reads a control value of a problem (defaults from the registry when never set).
int64_t getIntControl(const nvrl_problem_s *p, int id);
double getDblControl(const nvrl_problem_s *p, int id);

}  // namespace nvrl

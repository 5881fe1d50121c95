// Rules of the model shared by the loading, adding and changing calls: infinite values,
// column types and special ordered sets.
#pragma once

#include <cstdint>

#include "core/problem.h"
#include "lp_data/check.h"

namespace nvrl {

// Bounds and right-hand sides at or beyond +-1e20 are infinite and stored as +-1e20.
inline double normInf(double v) { return v >= kInf ? kInf : v <= -kInf ? -kInf : v; }

// Gives column j type t (already validated). A binary column's bounds are narrowed into
// [0, 1]; limits exist only for 'S', 'R' and 'P' columns (lim is used for those).
void applyColType(Model &m, int j, char t, double lim);

// Checks nsets sets whose members are set k: start[k] .. end[k]-1 of colind and refval.
bool checkSets(Check &c, int nsets, const char *settype, const int64_t *begin,
               const int64_t *end, const int *colind, const double *refval, int ncols,
               const char *typearg, const char *indarg, const char *refarg);

// Appends validated sets to m (unnamed).
void appendSets(Model &m, int nsets, const char *settype, const int64_t *begin,
                const int64_t *end, const int *colind, const double *refval);

// Adds triplets to a quadratic form (upper triangle): repeated pairs sum, zeros vanish.
void addTriplets(QMatrix &q, int64_t n, const int *c1, const int *c2, const double *v);

// Entries of a quadratic form that is already in the model: add sums them in (as
// addTriplets), otherwise each sets its entry, the last of a repeated pair winning, and zeros
// vanish. Strong guarantee: the entries new to q are allocated (constructor) before anything
// changes, and applyTo() splices them in without allocating.
class QEntries {
 public:
  QEntries(const QMatrix &q, int64_t n, const int *c1, const int *c2, const double *v, bool add);
  // Applies the entries to q (the form given to the constructor, unchanged since); no-throw.
  void applyTo(QMatrix &q) noexcept;

 private:
  QMatrix fresh_;  // the keys missing from q, as nodes to splice in
  int64_t n_;
  const int *c1_, *c2_;
  const double *v_;
  bool add_;
};

// Checks triplets: both columns in 0..ncols-1 and finite values.
bool checkTriplets(Check &c, int64_t n, const int *c1, const int *c2, const double *v,
                   const char *arg1, const char *arg2, const char *valarg, int ncols);

}  // namespace nvrl

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

// Checks triplets: both columns in 0..ncols-1 and finite values.
bool checkTriplets(Check &c, int64_t n, const int *c1, const int *c2, const double *v,
                   const char *arg1, const char *arg2, const char *valarg, int ncols);

}  // namespace nvrl

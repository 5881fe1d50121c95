// Perspective strengthening of the search's QP relaxations for columns that a binary switches
// off (z = 0 forces x = 0) and that carry a quadratic cost. Part of the diagonal, D, is split
// off the Hessian (what is left stays positive semidefinite), each d_j x_j^2 moves into an
// epigraph column t_j >= 0 with cost d_j (t_j stands for x_j^2), and t_j is bounded by
// perspective cuts
//     t_j >= 2 a x_j - a^2 z_j,
// the tangent of x^2 at a when z_j = 1 and t_j >= 0 when z_j = 0 (then x_j = 0). The
// relaxation of x_j <= u z_j alone lets a fractional z_j carry x_j for nothing; the cuts
// charge d_j x_j^2 / z_j there.
#pragma once

#include <vector>

#include "solve/highs_session.h"
#include "solve/lowered_model.h"
#include "tree/cuts.h"

#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl::tree {

struct OnOffColumn {
  int x, z;           // continuous column, and the binary that switches it off
  double lo1, up1;    // x's range when z = 1 (from its bounds and the linking rows)
  double q;           // x's diagonal of the Hessian, minimisation form (objective q/2 x^2)
  double d = 0.0;     // split off: d x^2 becomes d t (so d <= q/2)
  int t = -1;         // epigraph column
};

// Exported for the engine's tests.
// Continuous columns x with a positive Hessian diagonal that two-column rows tie to a binary
// z so that z = 0 forces x = 0 (within 1e-9) under L's column bounds.
NVRL_INTERNAL_API std::vector<OnOffColumn> findOnOffColumns(const LoweredModel &L);

// Sets each column's d so that the Hessian (minimisation form) less 2 diag(d) stays positive
// semidefinite, checked by a Cholesky factorisation; drops the columns whose d is negligible.
// False (and no columns) when nothing is split off, or the Hessian's support exceeds
// maxDense columns (the computation is dense).
NVRL_INTERNAL_API bool splitDiagonal(const LoweredModel &L, std::vector<OnOffColumn> &cols,
                                     int maxDense = 400);

// L with an epigraph column per entry of cols (their t set) and the split Hessian.
NVRL_INTERNAL_API LoweredModel withEpigraphs(const LoweredModel &L,
                                             std::vector<OnOffColumn> &cols);

// The cut of column c tangent at a: 2 a x - a^2 z - t <= 0, scaled by a positive factor.
NVRL_INTERNAL_API Cut perspectiveCut(const OnOffColumn &c, double a);

// Cuts violated by more than minViolation at the point p (of the model withEpigraphs made),
// each tangent at p_x / p_z (within x's range when on), the most violated first; violations
// in the objective's units, d (2 a x - a^2 z - t).
NVRL_INTERNAL_API std::vector<Cut> separatePerspective(const std::vector<OnOffColumn> &cols,
                                                       const std::vector<double> &p,
                                                       double minViolation, int maxCuts);

// How far the epigraph columns fall short at p, in the objective's units: sum of
// d max(0, x^2 - t).
NVRL_INTERNAL_API double epigraphDeficit(const std::vector<OnOffColumn> &cols,
                                         const std::vector<double> &p);

// A lower bound, in minimisation form, on the objective at every point of the model that the
// HiGHS instance h holds (its column bounds and rows, cuts included) whose epigraph columns
// equal x_j^2: the Lagrangian at h's solution and row duals, linearised there (the objective
// is convex) and minimised over the column bounds, with t_j <= max(lo1^2, up1^2). It holds for
// any point and duals, so HiGHS's tolerances can only weaken it, never overstate it as its
// own objective value can. -infinity when a free direction leaves it without a bound.
NVRL_INTERNAL_API double lagrangianBound(void *h, const std::vector<OnOffColumn> &cols);

// The reformulation on the session's HiGHS instance for the time of a search: the epigraph
// columns are appended and the split Hessian passed; both are undone when it goes away (or,
// if HiGHS refuses, the session passes its whole model at the next solve).
class PerspectiveModel {
 public:
  PerspectiveModel(HighsSession &session, bool enabled);
  ~PerspectiveModel();
  PerspectiveModel(const PerspectiveModel &) = delete;
  PerspectiveModel &operator=(const PerspectiveModel &) = delete;

  bool active() const { return active_; }
  // The model the search works on: the session's, or the reformulated one when active.
  const LoweredModel &model() const { return active_ ? model_ : session_.lowered(); }
  const std::vector<OnOffColumn> &columns() const { return cols_; }
  // The session's model, without the epigraph columns.
  const LoweredModel &original() const { return session_.lowered(); }

 private:
  HighsSession &session_;
  bool active_ = false;
  LoweredModel model_;
  std::vector<OnOffColumn> cols_;
};

}  // namespace nvrl::tree

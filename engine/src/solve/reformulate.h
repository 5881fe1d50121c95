// Exact MIP reformulations of the entities HiGHS does not know. Each function appends
// auxiliary columns and rows to the lowered model and may tighten the bounds or integrality of
// user columns. Big-M values come from the lowered (finite) bounds; when one is infinite the
// function fails with a message in `err` rather than guessing.
#pragma once

#include <string>

#include "core/problem.h"
#include "solve/lowered_model.h"

namespace nvrl {

// Semi-continuous 'S', semi-integer 'R' and partially integer 'P' columns.
bool reformulateColumnTypes(const Model &m, LoweredModel &L, std::string &err);
// Special ordered sets of type 1 and 2.
bool reformulateSets(const Model &m, LoweredModel &L, std::string &err);
// Indicator rows: the user row is replaced by big-M rows switched by its indicator column.
bool reformulateIndicators(const Model &m, LoweredModel &L, std::string &err);
// General constraints: max, min, and, or, abs.
bool reformulateGeneralConstraints(const Model &m, LoweredModel &L, std::string &err);
// Piecewise-linear constraints (convex-combination form with segment binaries).
bool reformulatePiecewiseLinear(const Model &m, LoweredModel &L, std::string &err);

}  // namespace nvrl

// The column view of the model's matrix, kept in the problem's store cache.
#pragma once

#include "core/problem.h"

namespace nvrl {

// Column-wise copy of m.A in O(nnz + cols); rows ascending within each column.
ColMatrix buildColumnView(const Model &m);

// The problem's column view: the model's own column-wise matrix when it holds one, else built
// on first use and kept until the model changes. The reference stays valid until the next
// change of the model.
const ColMatrix &columnView(nvrl_problem_s *p);

}  // namespace nvrl

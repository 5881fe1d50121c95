// MIPs with a quadratic objective, and MIPs whose user asks for it, are solved by the
// engine's own tree search, which lives in the layer above this one; it registers its entry
// here when the library is loaded.
#pragma once

#include <chrono>

#include "core/problem.h"
#include "solve/highs_session.h"

namespace nvrl {

// Runs the search on the session (synced in LowerMode::Tree, controls applied) and fills
// p->sol as a MIP solve does. start: when the solve began (time limit, solve time). Returns
// 0 or a failure recorded on p.
using TreeSearch = int (*)(nvrl_problem_s *p, HighsSession &session,
                           std::chrono::steady_clock::time_point start, bool log);

void setTreeSearch(TreeSearch search);
TreeSearch treeSearch();

}  // namespace nvrl

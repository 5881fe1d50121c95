// The registration point of the solver of problems with quadratic rows.
#include "solve/quadratic_rows.h"

#include <atomic>

namespace nvrl {

namespace {
std::atomic<QuadraticRowSolver> g_solver{nullptr};
}

void setQuadraticRowSolver(QuadraticRowSolver solver) { g_solver.store(solver); }

QuadraticRowSolver quadraticRowSolver() { return g_solver.load(); }

}  // namespace nvrl

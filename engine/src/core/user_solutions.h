// Solutions given by the user (NVRLaddmipsol, NVRLloadmipsol) for a problem's next MIP solve,
// kept beside the problem object until that solve takes them or the problem goes away.
#pragma once

#include <string>
#include <vector>

#include "core/problem.h"

#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl {

// Values of some columns (all of them, in order, when cols is empty).
struct UserMipSolution {
  std::string name;
  std::vector<int> cols;
  std::vector<double> vals;
};

void addUserMipStart(const nvrl_problem_s *p, UserMipSolution s);
// Removes and returns the problem's solutions.
std::vector<UserMipSolution> takeUserMipStarts(const nvrl_problem_s *p);
// Exported for the engine's tests.
NVRL_INTERNAL_API size_t countUserMipStarts(const nvrl_problem_s *p);
void dropUserMipStarts(const nvrl_problem_s *p) noexcept;

}  // namespace nvrl

#include "core/user_solutions.h"

#include <mutex>
#include <unordered_map>

namespace nvrl {

namespace {

// Different problems may be used from different threads.
std::mutex g_mu;
std::unordered_map<const nvrl_problem_s *, std::vector<UserMipSolution>> g_starts;

}  // namespace

void addUserMipStart(const nvrl_problem_s *p, UserMipSolution s) {
  std::lock_guard<std::mutex> lock(g_mu);
  g_starts[p].push_back(std::move(s));
}

std::vector<UserMipSolution> takeUserMipStarts(const nvrl_problem_s *p) {
  std::lock_guard<std::mutex> lock(g_mu);
  auto it = g_starts.find(p);
  if (it == g_starts.end()) return {};
  std::vector<UserMipSolution> out = std::move(it->second);
  g_starts.erase(it);
  return out;
}

size_t countUserMipStarts(const nvrl_problem_s *p) {
  std::lock_guard<std::mutex> lock(g_mu);
  auto it = g_starts.find(p);
  return it == g_starts.end() ? 0 : it->second.size();
}

void dropUserMipStarts(const nvrl_problem_s *p) noexcept {
  std::lock_guard<std::mutex> lock(g_mu);
  g_starts.erase(p);
}

}  // namespace nvrl

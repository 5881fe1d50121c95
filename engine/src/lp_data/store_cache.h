// Per-problem caches of the model store: the hash index of user names and the column view.
// They live beside the problem (keyed by its address) and carry the model version they were
// built for, so any change made elsewhere in the engine (file reading, copying) invalidates
// them through Problem::modelChanged() without knowing about them.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "core/problem.h"

namespace nvrl {

struct StoreCache {
  static constexpr uint64_t kStale = UINT64_MAX;

  // User names of rows, columns and sets (indexed kind - 1) -> item index. Valid while
  // names_version equals the problem's version.
  uint64_t names_version = kStale;
  std::unordered_map<std::string, int> names[3];

  uint64_t colview_version = kStale;
  ColMatrix colview;
};

// The cache of a problem (created empty on first use).
StoreCache &storeCache(const nvrl_problem_s *p);

// The user-name index of a kind, rebuilt first when stale.
std::unordered_map<std::string, int> &nameIndex(nvrl_problem_s *p, int kind);

// Gives the problem a version no other problem can have (unless it has one already). Called
// before a cache is stamped with the version, since versions counted up from 0 repeat
// across problems.
void ensureUniqueVersion(nvrl_problem_s *p);

// Records a change of the model. names_kept tells that the caller kept the name index in step
// with its change (or did not touch names), so the index survives the version bump. Never
// fails, so callers can make it their last step after a change that cannot fail either.
void commitChange(nvrl_problem_s *p, bool names_kept) noexcept;

}  // namespace nvrl

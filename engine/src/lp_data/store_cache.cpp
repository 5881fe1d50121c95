// The side table of per-problem store caches.
#include "lp_data/store_cache.h"

#include <atomic>
#include <memory>
#include <mutex>

#include "lp_data/store.h"

namespace nvrl {

namespace {

// Problems are used from several threads at once, each problem by one thread at a time: the
// mutex guards the table only; a cache itself is touched by its problem's thread.
struct CacheTable {
  std::mutex mu;
  std::unordered_map<const nvrl_problem_s *, std::unique_ptr<StoreCache>> caches;
};

CacheTable &table() {
  static CacheTable *t = new CacheTable;  // never destroyed: problems may outlive statics
  return *t;
}

// Versions at or above the floor come from this counter, spaced far apart, so a version the
// store has stamped (plus the increments other code adds to it) belongs to one problem only:
// a cache entry left by a destroyed problem can never match a later problem that happens to
// get the same address.
constexpr uint64_t kUniqueFloor = uint64_t{1} << 62;
constexpr uint64_t kSpacing = uint64_t{1} << 24;
std::atomic<uint64_t> next_version{kUniqueFloor};

}  // namespace

void ensureUniqueVersion(nvrl_problem_s *p) {
  if (p->version < kUniqueFloor) p->version = next_version.fetch_add(kSpacing);
}

StoreCache &storeCache(const nvrl_problem_s *p) {
  CacheTable &t = table();
  std::lock_guard<std::mutex> lock(t.mu);
  auto &slot = t.caches[p];
  if (!slot) slot = std::make_unique<StoreCache>();
  return *slot;
}

void dropStoreCache(const nvrl_problem_s *p) {
  CacheTable &t = table();
  std::lock_guard<std::mutex> lock(t.mu);
  t.caches.erase(p);
}

void commitChange(nvrl_problem_s *p, bool names_kept) noexcept {
  // Looked up, not created: this runs after the model has changed and must not fail. A
  // problem without a cache has no name index to keep.
  StoreCache *c = nullptr;
  {
    CacheTable &t = table();
    std::lock_guard<std::mutex> lock(t.mu);
    auto it = t.caches.find(p);
    if (it != t.caches.end()) c = it->second.get();
  }
  const bool names_valid = c && c->names_version == p->version;
  p->modelChanged();
  ensureUniqueVersion(p);
  if (c) c->names_version = names_valid && names_kept ? p->version : StoreCache::kStale;
}

}  // namespace nvrl

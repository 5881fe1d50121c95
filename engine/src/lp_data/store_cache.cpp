// Keeping the problem's store cache in step with changes of the model.
#include "lp_data/store_cache.h"

namespace nvrl {

void commitChange(nvrl_problem_s *p, bool names_kept) noexcept {
  StoreCache &c = p->store_cache;
  const bool names_valid = c.names_version == p->version;
  p->modelChanged();
  c.names_version = names_valid && names_kept ? p->version : StoreCache::kStale;
}

}  // namespace nvrl

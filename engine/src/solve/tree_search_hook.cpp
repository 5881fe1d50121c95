// The registration point of the engine's tree search.
#include "solve/tree_search_hook.h"

#include <atomic>

namespace nvrl {

namespace {
std::atomic<TreeSearch> g_search{nullptr};
}

void setTreeSearch(TreeSearch search) { g_search.store(search); }

TreeSearch treeSearch() { return g_search.load(); }

}  // namespace nvrl

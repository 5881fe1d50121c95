// Names of rows, columns and sets: default names and look-up by name.
#include <charconv>

#include "lp_data/name_index.h"

namespace nvrl {

namespace {

const std::vector<std::string> &namesOf(const Model &m, int kind) {
  return kind == kNameRows ? m.rownames : kind == kNameCols ? m.colnames : m.setnames;
}

char defaultPrefix(int kind) { return kind == kNameRows ? 'R' : kind == kNameCols ? 'C' : 'S'; }

// Index named by a default name ("R12" -> 11), or -1 when the text is not one.
int parseDefaultName(int kind, std::string_view name) {
  if (name.size() < 2 || name[0] != defaultPrefix(kind) || name[1] == '0') return -1;
  long long k = 0;
  auto [end, ec] = std::from_chars(name.data() + 1, name.data() + name.size(), k);
  if (ec != std::errc() || end != name.data() + name.size() || k < 1 || k > INT32_MAX) return -1;
  return static_cast<int>(k - 1);
}

}  // namespace

std::string defaultName(int kind, int index) {
  return defaultPrefix(kind) + std::to_string(static_cast<long long>(index) + 1);
}

std::string itemName(const Model &m, int kind, int index) {
  const std::string &n = namesOf(m, kind)[index];
  return n.empty() ? defaultName(kind, index) : n;
}

NameLookup &nameIndex(nvrl_problem_s *p, int kind) {
  StoreCache &c = p->store_cache;
  if (c.names_version != p->version) {
    // Marked stale first: a rebuild that fails for want of memory leaves an index that the
    // next call rebuilds again, never a half-built one taken as valid.
    c.names_version = StoreCache::kStale;
    for (int k = kNameRows; k <= kNameSets; ++k) {
      NameLookup &idx = c.names[k - 1];
      idx.clear();
      c.names_repeated[k - 1] = false;
      const auto &names = namesOf(p->model, k);
      idx.reserve(names, names.size());
      // In ascending order, so that a repeated name keeps its lowest-numbered item.
      for (size_t i = 0; i < names.size(); ++i)
        if (!names[i].empty() && !idx.insert(names, static_cast<int>(i)))
          c.names_repeated[k - 1] = true;
    }
    c.names_version = p->version;
  }
  return c.names[kind - 1];
}

int findName(nvrl_problem_s *p, int kind, std::string_view name) {
  if (name.empty()) return -1;
  const auto &names = namesOf(p->model, kind);
  const int found = nameIndex(p, kind).find(names, name);
  if (found >= 0) return found;
  int i = parseDefaultName(kind, name);
  if (i >= 0 && static_cast<size_t>(i) < names.size() && names[i].empty()) return i;
  return -1;
}

}  // namespace nvrl

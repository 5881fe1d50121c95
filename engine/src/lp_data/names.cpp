// Names of rows, columns and sets.
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/entry.h"
#include "lp_data/check.h"
#include "lp_data/name_index.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

namespace {

const char *kindWord(int type) {
  return type == nvrl::kNameRows ? "row" : type == nvrl::kNameCols ? "column" : "set";
}

int itemCount(const nvrl::Model &m, int type) {
  return type == nvrl::kNameRows ? m.rows() : type == nvrl::kNameCols ? m.cols() : m.nsets();
}

std::vector<std::string> &namesOf(nvrl::Model &m, int type) {
  return type == nvrl::kNameRows ? m.rownames : type == nvrl::kNameCols ? m.colnames : m.setnames;
}
const std::vector<std::string> &namesOf(const nvrl::Model &m, int type) {
  return type == nvrl::kNameRows ? m.rownames : type == nvrl::kNameCols ? m.colnames : m.setnames;
}

// A name as messages show it: long names are cut so that the message stays readable within
// the room of a last-error buffer.
std::string shown(std::string_view name) {
  constexpr size_t kShown = 64;
  return name.size() <= kShown ? std::string(name) : std::string(name.substr(0, kShown)) + "...";
}

bool checkType(Check &c, int type) {
  if (type >= nvrl::kNameRows && type <= nvrl::kNameSets) return true;
  c.fail("type = %d must be 1 (rows), 2 (columns) or 3 (sets)", type);
  return false;
}

bool checkNameRange(Check &c, const nvrl::Model &m, int type, int first, int last) {
  static const char *plural[] = {"rows", "columns", "sets"};
  return c.range(first, last, itemCount(m, type), plural[type - 1]);
}

int addNames(const char *fn, NVRLprob prob, int type, const char names[], int first, int last) {
  nvrl_problem_s *p = nvrl::checkProblem(prob, fn);
  if (!p) return 1;
  Check c(p, fn);
  nvrl::Model &m = p->model;
  if (!checkType(c, type) || !checkNameRange(c, m, type, first, last) ||
      !c.given(names, "names"))
    return c.code();
  const int n = last - first + 1;
  std::vector<std::string_view> given(n);
  const char *s = names;
  for (int k = 0; k < n; ++k) {
    const size_t len = std::strlen(s);
    if (len > NVRL_MAXNAMELEN)
      return c.fail("the name of %s %d is %zu characters long; at most %d are allowed",
                    kindWord(type), first + k, len, NVRL_MAXNAMELEN);
    given[k] = std::string_view(s, len);
    s += len + 1;
  }
  // Names need not be unique (a model read from a file may name its rows R1, R2, ... and an
  // unnamed row added later get one of those as its default name); a look-up finds the
  // lowest-numbered item of a name. The index of names is built by the first look-up that
  // needs it: until then (a model built in bulk is often never searched by name) names are
  // only stored. Once built, it is kept up to date here while every name of the kind is
  // different; once a name repeats, it is rebuilt by the next look-up.
  std::vector<std::string> fresh_names(given.begin(), given.end());
  auto &stored = namesOf(m, type);
  if (p->store_cache.names_version != p->version) {
    for (int k = 0; k < n; ++k) stored[first + k].swap(fresh_names[k]);
    nvrl::commitChange(p, false);
    return 0;
  }
  nvrl::NameLookup &index = nvrl::nameIndex(p, type);
  bool repeats = p->store_cache.names_repeated[type - 1];
  std::unordered_map<std::string_view, int> in_call;
  for (int k = 0; k < n && !repeats; ++k) {
    if (given[k].empty()) continue;
    if (!in_call.emplace(given[k], first + k).second) repeats = true;
    const int owner = index.find(stored, given[k]);
    if (owner >= 0 && (owner < first || owner > last)) repeats = true;
  }
  if (repeats) {
    for (int k = 0; k < n; ++k) stored[first + k].swap(fresh_names[k]);
    nvrl::commitChange(p, false);
    return 0;
  }
  // Room is made in the index before anything changes; then the old names leave it, the new
  // names are swapped in and entered, none of which allocates.
  index.reserve(stored, index.size() + in_call.size());
  for (int k = 0; k < n; ++k)
    if (!stored[first + k].empty()) index.erase(stored, first + k);
  for (int k = 0; k < n; ++k) {
    stored[first + k].swap(fresh_names[k]);
    if (!stored[first + k].empty()) index.insert(stored, first + k);
  }
  nvrl::commitChange(p, true);
  return 0;
}

// Writes the names of items first..last, each followed by a null character.
void writeNames(const nvrl::Model &m, int type, int first, int last, char *names) {
  for (int i = first; i <= last; ++i) {
    const std::string n = nvrl::itemName(m, type, i);
    std::memcpy(names, n.c_str(), n.size() + 1);
    names += n.size() + 1;
  }
}

}  // namespace

extern "C" {

NVRL_API int NVRLaddnames(NVRLprob prob, int type, const char names[], int first,
                          int last) NVRL_TRY {
  return addNames("NVRLaddnames", prob, type, names, first, last);
} NVRL_CATCH(prob)

NVRL_API int NVRLaddsetnames(NVRLprob prob, const char names[], int first, int last) NVRL_TRY {
  return addNames("NVRLaddsetnames", prob, nvrl::kNameSets, names, first, last);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetnamelist(NVRLprob prob, int type, char names[], int maxbytes, int *nbytes,
                             int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetnamelist");
  const nvrl::Model &m = p->model;
  if (!checkType(c, type) || !checkNameRange(c, m, type, first, last)) return c.code();
  if (!names && !nbytes) return c.fail("names and nbytes must not both be null");
  int64_t need = 0;
  for (int i = first; i <= last; ++i) {
    const std::string &n = namesOf(m, type)[i];
    need += static_cast<int64_t>(n.empty() ? nvrl::defaultName(type, i).size() : n.size()) + 1;
  }
  if (need > INT32_MAX) return c.fail("the names need %lld bytes, more than an int can count",
                                      static_cast<long long>(need));
  if (nbytes) *nbytes = static_cast<int>(need);
  if (!names) return 0;
  if (maxbytes < need)
    return c.fail("maxbytes = %d is too small: the names need %lld bytes", maxbytes,
                  static_cast<long long>(need));
  writeNames(m, type, first, last, names);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetnames(NVRLprob prob, int type, char names[], int first, int last) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetnames");
  const nvrl::Model &m = p->model;
  if (!checkType(c, type) || !checkNameRange(c, m, type, first, last) ||
      !c.given(names, "names"))
    return c.code();
  writeNames(m, type, first, last, names);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetindex(NVRLprob prob, int type, const char *name, int *index) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  Check c(p, "NVRLgetindex");
  if (!checkType(c, type) || !c.given(name, "name") || !c.given(index, "index"))
    return c.code();
  const int i = nvrl::findName(p, type, name);
  if (i < 0) return c.fail("there is no %s named '%s'", kindWord(type), shown(name).c_str());
  *index = i;
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

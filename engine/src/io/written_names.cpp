#include "io/written_names.h"

#include <unordered_set>

#include "core/flat_tables.h"
#include "io/model_assembly.h"
#include "io/text_input.h"

namespace nvrl::io {

namespace {

void fillNames(const std::vector<std::string> &given, int count, char prefix, const char *what,
               const NameCheck &valid,
               std::vector<std::string> &out) {
  out.resize(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    const bool named = i < static_cast<int>(given.size()) && !given[i].empty();
    out[i] = named ? given[i] : defaultName(prefix, i);
  }
  // A file needs every name once, while the store may repeat one (or give an item a name that
  // is another's default name): the first item keeps it, each later one is written with the
  // first suffix "_2", "_3", ... that no item uses. Most models repeat none, which one pass
  // over a flat table finds out.
  bool repeats = false;
  {
    NameLookup distinct;
    for (int i = 0; i < count && !repeats; ++i) repeats = !distinct.insert(out, i);
  }
  std::unordered_set<std::string> all, used;
  if (repeats) all.insert(out.begin(), out.end());
  for (int i = 0; i < count; ++i) {
    if (repeats && !used.insert(out[i]).second) {
      std::string renamed;
      for (int k = 2;; ++k) {
        renamed = out[i] + "_" + std::to_string(k);
        if (!all.count(renamed) && !used.count(renamed)) break;
      }
      out[i] = std::move(renamed);
      used.insert(out[i]);
    }
    std::string why = valid(out[i]);
    if (!why.empty())
      throw WriteError(std::string(what) + " name '" + out[i] + "' " + why);
  }
}
}  // namespace

WrittenNames makeWrittenNames(const Model &model, const NameCheck &column_check,
                              const NameCheck &label_check) {
  WrittenNames names;
  fillNames(model.rownames, model.rows(), 'R', "row", label_check, names.rows);
  fillNames(model.colnames, model.cols(), 'C', "column", column_check, names.cols);
  fillNames(model.setnames, model.nsets(), 'S', "set", label_check, names.sets);
  // Only the row names that begin like the candidates can be in the way.
  std::unordered_set<std::string_view> taken;
  for (const std::string &row : names.rows)
    if (row.compare(0, 3, "obj") == 0) taken.insert(row);
  names.objective = "obj";
  for (int k = 1; taken.count(names.objective); ++k) names.objective = "obj_" + std::to_string(k);
  return names;
}

}  // namespace nvrl::io

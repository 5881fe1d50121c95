// Builds a Model while a file is read: rows and columns by name, matrix entries in any order,
// and the row-wise matrix assembled once at the end.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/problem.h"
#include "core/flat_tables.h"

namespace nvrl::io {

class ModelAssembly {
 public:
  Model model;

  // New rows and columns take the store's defaults: rhs 0, no range, no indicator; objective
  // 0, bounds [0, +inf), continuous. Names must be new (check with rowIndex/colIndex).
  int addRow(std::string_view name, char type);
  int addColumn(std::string_view name);
  int rowIndex(std::string_view name) const;  // -1 when unknown
  int colIndex(std::string_view name) const;

  // Records a matrix entry (zeros are dropped). False when (row, col) already has an entry.
  bool addEntry(int row, int col, double value);
  bool hasEntry(int row, int col) const { return seen_.contains(key(row, col)); }
  // Fills model.A from the recorded entries; call once, after the last addEntry.
  void buildMatrix();

 private:
  static uint64_t key(int row, int col) {
    return (static_cast<uint64_t>(static_cast<uint32_t>(row)) << 32) | static_cast<uint32_t>(col);
  }
  struct Entry {
    int row, col;
    double value;
  };
  NameLookup rows_, cols_;
  // Files tend to name columns in the order they were declared (an objective, a row over a
  // block of columns, the bounds), so the column after the last one found is tried before the
  // table; not once a column name repeats, where the table's answer is the first holder.
  mutable int last_col_ = -1;
  bool col_names_repeat_ = false;
  std::vector<Entry> entries_;
  KeySet seen_;
};

// Default names of unnamed items, 1-based: "R1", "C1", "S1".
std::string defaultName(char prefix, int index);

}  // namespace nvrl::io

// Identifier -> row, column or set index: one per kind of object on every problem.
//
// Objects usually enter a problem in the order they were made, so consecutive identifiers land
// at consecutive indices (a load, an addition of rows or columns, an array of variables): such
// a stretch is held as one run (first identifier, first index, length) rather than one entry
// per object, so a load of 150,000 rows and columns enters them in one step. Lookups read the
// run arithmetically; a change that breaks the pattern (a deletion inside it, an index set to
// something else) first spills the run into the flat hash table (module/idmap.h) that holds
// every other entry, and keys that do not continue the run go there.
//
// Growth throws std::bad_alloc like the standard containers; the plain functions in termmaps.h
// turn that into a MemoryError.
#pragma once

#include <cstddef>
#include <cstdint>

#include "module/idmap.h"

class rowcolmap {
 public:
  size_t size() const { return slots_.size() + run_.count; }
  bool empty() const { return size() == 0; }

  // The index of key: true, or false when key is absent.
  bool get(uint64_t key, int64_t *index) const {
    if (run_.holds(key)) {
      *index = run_.index0 + static_cast<int64_t>(key - run_.key0);
      return true;
    }
    const int64_t *found = slots_.find(key);
    if (found == nullptr) return false;
    *index = *found;
    return true;
  }
  size_t count(uint64_t key) const {
    return run_.holds(key) || slots_.find(key) != nullptr ? 1 : 0;
  }

  // Enters keys key0 .. key0+n-1, none of them present, at indices index0 .. index0+n-1: as
  // the run when there is none or when they continue it, else one by one.
  void enter_consecutive(uint64_t key0, int64_t index0, size_t n) {
    if (n == 0) return;
    if (!has_run()) {
      run_ = {key0, index0, n};
      return;
    }
    if (continues_run(key0, index0)) {
      run_.count += n;
      return;
    }
    slots_.reserve(slots_.size() + n);
    for (size_t i = 0; i < n; ++i) slots_.set(key0 + i, index0 + static_cast<int64_t>(i));
  }

  // Moves the run into the table (before a change inside it, or a renumbering).
  void spill() {
    if (!has_run()) return;
    const Run run = run_;
    slots_.reserve(slots_.size() + run.count);  // the only step that may throw
    run_ = Run{};
    for (size_t i = 0; i < run.count; ++i)
      slots_.set(run.key0 + i, run.index0 + static_cast<int64_t>(i));
  }

  // Inserts or overwrites.
  void set(uint64_t key, int64_t index) {
    if (run_.holds(key)) {
      if (index == run_.index0 + static_cast<int64_t>(key - run_.key0)) return;
      spill();
    } else if ((!has_run() || continues_run(key, index)) && slots_.find(key) == nullptr) {
      // (a key already in the table is overwritten there instead)
      if (has_run()) ++run_.count;
      else run_ = {key, index, 1};
      return;
    }
    slots_.set(key, index);
  }

  // Erasing a key inside the run (not at either end) spills it, and so may throw: undoing a
  // batch erases from its last key down.
  size_t erase(uint64_t key) {
    if (run_.holds(key)) {
      if (key == run_.key0 + run_.count - 1) {
        --run_.count;
        return 1;
      }
      if (key == run_.key0) {
        ++run_.key0;
        ++run_.index0;
        --run_.count;
        return 1;
      }
      spill();
    }
    return slots_.erase(key) ? 1 : 0;
  }

  // f(index&) for every entry (the run spilled first, which may throw); an entry for which f
  // returns false is erased.
  template <class F>
  void update_indices(F f) {
    spill();
    slots_.update_each([&](uint64_t, int64_t &index) { return f(index); });
  }

  void clear() {
    slots_.clear();
    run_ = Run{};
  }

 private:
  struct Run {
    uint64_t key0 = 0;
    int64_t index0 = 0;
    size_t count = 0;
    bool holds(uint64_t key) const { return key - key0 < count; }  // wraps below key0
  };

  bool has_run() const { return run_.count != 0; }
  bool continues_run(uint64_t key, int64_t index) const {
    return key == run_.key0 + run_.count &&
           index == run_.index0 + static_cast<int64_t>(run_.count);
  }

  idmap<int64_t> slots_;
  Run run_;
};

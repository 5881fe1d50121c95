// Identifier -> row, column or set index: one per kind of object on every problem.
//
// An open-addressing hash table on one flat array. Loading a large problem enters one key per
// row and column, and deleting or reloading it drops them all again: a tree node per entry
// made those the largest costs of a load after the library's own work. Identifiers are handed
// out in increasing order; see slot_of for how they are spread.
//
// Objects usually enter a problem in the order they were made, so consecutive identifiers land
// at consecutive indices (a load, an addition of rows or columns, an array of variables): such
// a stretch is held as one run (first identifier, first index, length) rather than one slot per
// object, so a load of 150,000 rows and columns enters them in one step. Lookups read the run
// arithmetically; a change that breaks the pattern (a deletion inside it, an index set to
// something else) first spills the run into slots, and keys that do not continue it go to the
// slots.
//
// The interface is the subset of std::map the module uses: iteration (in no particular
// order, over a map whose run has been spilled) with erase while iterating, updates through
// iterators, lookups. Erased slots become tombstones, so erasing never moves another entry and
// an iteration in progress sees every remaining entry exactly once. Growth throws
// std::bad_alloc like the standard containers; the plain functions in termmaps.h turn that into
// a MemoryError.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class rowcolmap {
 public:
  struct value_type {
    uint64_t first;  // identifier
    int64_t second;  // index
  };

  template <class Entry>
  class basic_iterator {
   public:
    basic_iterator(Entry *at, Entry *end) : at_(at), end_(end) { skip(); }
    Entry &operator*() const { return *at_; }
    Entry *operator->() const { return at_; }
    basic_iterator &operator++() {
      ++at_;
      skip();
      return *this;
    }
    bool operator==(const basic_iterator &o) const { return at_ == o.at_; }
    bool operator!=(const basic_iterator &o) const { return at_ != o.at_; }

   private:
    friend class rowcolmap;
    void skip() {
      while (at_ != end_ && at_->first >= kTombstone) ++at_;
    }
    Entry *at_, *end_;
  };
  using iterator = basic_iterator<value_type>;

  size_t size() const { return size_ + run_.count; }
  bool empty() const { return size() == 0; }

  // Iteration covers the slots only: spill() the run first.
  bool has_run() const { return run_.count != 0; }

  iterator begin() { return {slots_.data(), slots_.data() + slots_.size()}; }
  iterator end() { return {slots_.data() + slots_.size(), slots_.data() + slots_.size()}; }

  // The index of key: true, or false when key is absent.
  bool get(uint64_t key, int64_t *index) const {
    if (run_.holds(key)) {
      *index = run_.index0 + static_cast<int64_t>(key - run_.key0);
      return true;
    }
    const ptrdiff_t at = locate(key);
    if (at < 0) return false;
    *index = slots_[static_cast<size_t>(at)].second;
    return true;
  }
  size_t count(uint64_t key) const { return run_.holds(key) || locate(key) >= 0 ? 1 : 0; }

  // Enters keys key0 .. key0+n-1, none of them present, at indices index0 .. index0+n-1: as
  // the run when there is none or when they continue it, else slot by slot.
  void enter_consecutive(uint64_t key0, int64_t index0, size_t n) {
    if (n == 0) return;
    if (!has_run()) {
      run_ = {key0, index0, n};
      return;
    }
    if (key0 == run_.key0 + run_.count &&
        index0 == run_.index0 + static_cast<int64_t>(run_.count)) {
      run_.count += n;
      return;
    }
    reserve(size_ + n);
    for (size_t i = 0; i < n; ++i) set(key0 + i, index0 + static_cast<int64_t>(i));
  }

  // Moves the run into slots (before an iteration or a change inside it).
  void spill() {
    if (!has_run()) return;
    const Run run = run_;
    reserve(size_ + run.count);
    run_ = Run{};
    for (size_t i = 0; i < run.count; ++i)
      place(run.key0 + i, run.index0 + static_cast<int64_t>(i));
  }

  // Inserts or overwrites.
  void set(uint64_t key, int64_t index) {
    if (run_.holds(key)) {
      if (index == run_.index0 + static_cast<int64_t>(key - run_.key0)) return;
      spill();
    } else if (!has_run() || (key == run_.key0 + run_.count &&
                              index == run_.index0 + static_cast<int64_t>(run_.count))) {
      if (locate(key) < 0) {  // a key held in a slot is overwritten there instead
        if (has_run()) ++run_.count;
        else run_ = {key, index, 1};
        return;
      }
    }
    if ((size_ + tombstones_ + 1) * 2 > slots_.size()) grow();
    const size_t mask = slots_.size() - 1;
    size_t i = slot_of(key), reuse = SIZE_MAX;
    for (;; i = (i + 1) & mask) {
      value_type &s = slots_[i];
      if (s.first == key) {
        s.second = index;
        return;
      }
      if (s.first == kTombstone && reuse == SIZE_MAX) reuse = i;
      if (s.first == kEmpty) break;
    }
    if (reuse != SIZE_MAX) {
      i = reuse;
      --tombstones_;
    }
    slots_[i] = {key, index};
    ++size_;
  }

  iterator erase(iterator it) {
    it.at_->first = kTombstone;
    --size_;
    ++tombstones_;
    ++it;
    return it;
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
    const ptrdiff_t at = locate(key);
    if (at < 0) return 0;
    slots_[static_cast<size_t>(at)].first = kTombstone;
    --size_;
    ++tombstones_;
    return 1;
  }

  void clear() {
    slots_.clear();
    slots_.shrink_to_fit();
    size_ = tombstones_ = 0;
    run_ = Run{};
  }

  // Room for n entries without growing.
  void reserve(size_t n) {
    if ((n + tombstones_) * 2 > slots_.size()) rehash(capacity_for(n));
  }

 private:
  struct Run {
    uint64_t key0 = 0;
    int64_t index0 = 0;
    size_t count = 0;
    bool holds(uint64_t key) const { return key - key0 < count; }  // wraps below key0
  };

  // A key known to be absent from the slots, with room for it reserved.
  void place(uint64_t key, int64_t index) {
    const size_t mask = slots_.size() - 1;
    size_t i = slot_of(key);
    while (slots_[i].first < kTombstone) i = (i + 1) & mask;
    if (slots_[i].first == kTombstone) --tombstones_;
    slots_[i] = {key, index};
    ++size_;
  }

  // Identifiers count up from small numbers, so the two largest values never occur as keys.
  static constexpr uint64_t kEmpty = UINT64_MAX;
  static constexpr uint64_t kTombstone = UINT64_MAX - 1;

  // Runs of kRun consecutive identifiers share one scattered block of kRun slots: a load
  // enters whole ranges of identifiers, and this keeps their slots adjacent in memory while the
  // blocks themselves stay spread, so clusters (and the probes of absent keys) stay short.
  static constexpr unsigned kRunBits = 3;
  static constexpr uint64_t kRun = uint64_t{1} << kRunBits;
  size_t slot_of(uint64_t key) const {
    const uint64_t block = ((key >> kRunBits) * 0x9E3779B97F4A7C15ull) >> shift_;
    return static_cast<size_t>((block << kRunBits) | (key & (kRun - 1)));
  }

  ptrdiff_t locate(uint64_t key) const {
    if (size_ == 0) return -1;
    const size_t mask = slots_.size() - 1;
    for (size_t i = slot_of(key);; i = (i + 1) & mask) {
      if (slots_[i].first == key) return static_cast<ptrdiff_t>(i);
      if (slots_[i].first == kEmpty) return -1;
    }
  }

  static size_t capacity_for(size_t n) {
    size_t cap = 16;
    while (cap < 2 * n + 2) cap *= 2;
    return cap;
  }

  // Doubles when full; only cleans out tombstones when they are what fills the table.
  void grow() { rehash(capacity_for(size_ + 1)); }

  void rehash(size_t cap) {
    std::vector<value_type> old(cap, value_type{kEmpty, 0});
    old.swap(slots_);
    unsigned bits = 0;
    while ((size_t{1} << bits) < cap) ++bits;
    shift_ = 64 - (bits - kRunBits);  // capacity is at least 16, so at least one block bit
    const size_t mask = cap - 1;
    for (const value_type &s : old) {
      if (s.first >= kTombstone) continue;
      size_t i = slot_of(s.first);
      while (slots_[i].first != kEmpty) i = (i + 1) & mask;
      slots_[i] = s;
    }
    tombstones_ = 0;
  }

  std::vector<value_type> slots_;
  size_t size_ = 0, tombstones_ = 0;
  Run run_;
  unsigned shift_ = 64;
};

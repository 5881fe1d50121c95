// Identifier -> row, column or set index: one per kind of object on every problem.
//
// An open-addressing hash table on one flat array. Loading a large problem enters one key per
// row and column, and deleting or reloading it drops them all again: a tree node per entry
// made those the largest costs of a load after the library's own work. Identifiers are handed
// out in increasing order; see slot_of for how they are spread.
//
// The interface is the subset of std::map the module uses: iteration (in no particular
// order) with erase while iterating, find, emplace, operator-free updates through iterators.
// Erased slots become tombstones, so erasing never moves another entry and an iteration in
// progress sees every remaining entry exactly once. Growth throws std::bad_alloc like the
// standard containers; the plain functions in termmaps.h turn that into a MemoryError.
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
  using const_iterator = basic_iterator<const value_type>;

  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  iterator begin() { return {slots_.data(), slots_.data() + slots_.size()}; }
  iterator end() { return {slots_.data() + slots_.size(), slots_.data() + slots_.size()}; }
  const_iterator begin() const { return {slots_.data(), slots_.data() + slots_.size()}; }
  const_iterator end() const {
    return {slots_.data() + slots_.size(), slots_.data() + slots_.size()};
  }

  iterator find(uint64_t key) {
    const ptrdiff_t at = locate(key);
    return at < 0 ? end() : iterator(slots_.data() + at, slots_.data() + slots_.size());
  }
  const_iterator find(uint64_t key) const {
    const ptrdiff_t at = locate(key);
    return at < 0 ? end() : const_iterator(slots_.data() + at, slots_.data() + slots_.size());
  }
  size_t count(uint64_t key) const { return locate(key) < 0 ? 0 : 1; }

  // Inserts or overwrites.
  void set(uint64_t key, int64_t index) {
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
  size_t erase(uint64_t key) {
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
  }

  // Starts bringing key's home slot into the cache: a batch entering consecutive keys asks
  // for a later one while it makes the objects in between, instead of waiting on each miss.
  void prefetch(uint64_t key) const {
    if (!slots_.empty()) __builtin_prefetch(slots_.data() + slot_of(key), 1);
  }

  // Room for n entries without growing.
  void reserve(size_t n) {
    if ((n + tombstones_) * 2 > slots_.size()) rehash(capacity_for(n));
  }

 private:
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
  unsigned shift_ = 64;
};

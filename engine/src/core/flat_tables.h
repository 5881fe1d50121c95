// Flat hash tables over names and keys: names to positions (the file readers' look-ups and the
// problem's index of names), and a set of (row, column) keys.
//
// A file with a million rows looks a row name up for every matrix entry. Node-based tables
// (a node per entry, a string copy per look-up) made those look-ups a quarter of the time of
// reading such a file, and building an index of a million names took 0.3 s; these keep one
// flat array of slots with linear probing and no copy of the names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace nvrl {

// Names -> positions in a vector of names kept by the caller (passed to every call, as it may
// grow between calls). Each slot holds part of the name's hash and the position, so a probe
// compares a stored name only when that part matches.
class NameLookup {
 public:
  // Position of name, or -1.
  int find(const std::vector<std::string> &names, std::string_view name) const {
    if (used_ == 0) return -1;
    const uint64_t h = hashOf(name);
    const size_t mask = slots_.size() - 1;
    for (size_t i = h & mask;; i = (i + 1) & mask) {
      const Slot &s = slots_[i];
      if (s.index < 0) return -1;
      if (s.tag == tagOf(h) && names[static_cast<size_t>(s.index)] == name) return s.index;
    }
  }

  // Enters position index under its name, names[index], unless that name is entered already
  // (the first position of a name is the one found). True when it was entered.
  bool insert(const std::vector<std::string> &names, int index) {
    if (find(names, names[static_cast<size_t>(index)]) >= 0) return false;
    if ((used_ + 1) * 2 > slots_.size()) grow(names);
    place(hashOf(names[static_cast<size_t>(index)]), index);
    ++used_;
    return true;
  }

  // Removes the entry of position index, whose name is names[index] (the name it was entered
  // under); nothing when that position is not entered. Never allocates.
  void erase(const std::vector<std::string> &names, int index) {
    if (used_ == 0) return;
    const size_t mask = slots_.size() - 1;
    size_t i = hashOf(names[static_cast<size_t>(index)]) & mask;
    for (;; i = (i + 1) & mask) {
      if (slots_[i].index < 0) return;
      if (slots_[i].index == index) break;
    }
    // Backward shift: later entries of the probe run move up into the gap when their home
    // slot allows, so no tombstones are needed.
    for (size_t j = (i + 1) & mask;; j = (j + 1) & mask) {
      if (slots_[j].index < 0) break;
      const size_t home = hashOf(names[static_cast<size_t>(slots_[j].index)]) & mask;
      // The entry at j may fill the gap at i unless its home lies cyclically in (i, j].
      const bool stays = i <= j ? (i < home && home <= j) : (i < home || home <= j);
      if (stays) continue;
      slots_[i] = slots_[j];
      i = j;
    }
    slots_[i] = Slot{};
    --used_;
  }

  // Room for n entries in all, so that the inserts up to that count do not allocate.
  void reserve(const std::vector<std::string> &names, size_t n) {
    while (n * 2 > slots_.size()) grow(names);
  }

  size_t size() const { return used_; }

  void clear() {
    std::vector<Slot>().swap(slots_);
    used_ = 0;
  }

 private:
  struct Slot {
    uint32_t tag = 0;
    int32_t index = -1;  // -1: empty
  };

  static uint64_t hashOf(std::string_view name) { return std::hash<std::string_view>{}(name); }
  static uint32_t tagOf(uint64_t h) { return static_cast<uint32_t>(h >> 32); }

  void place(uint64_t h, int index) {
    const size_t mask = slots_.size() - 1;
    size_t i = h & mask;
    while (slots_[i].index >= 0) i = (i + 1) & mask;
    slots_[i] = {tagOf(h), index};
  }

  void grow(const std::vector<std::string> &names) {
    std::vector<Slot> old(slots_.empty() ? 16 : slots_.size() * 2);
    old.swap(slots_);
    for (const Slot &s : old)
      if (s.index >= 0) place(hashOf(names[static_cast<size_t>(s.index)]), s.index);
  }

  std::vector<Slot> slots_;
  size_t used_ = 0;
};

// A set of 64-bit keys other than UINT64_MAX.
class KeySet {
 public:
  // True when key was not in the set (and is now).
  bool insert(uint64_t key) {
    if ((used_ + 1) * 2 > slots_.size()) grow();
    if (!place(key)) return false;
    ++used_;
    return true;
  }

  bool contains(uint64_t key) const {
    if (used_ == 0) return false;
    const size_t mask = slots_.size() - 1;
    for (size_t i = slotOf(key);; i = (i + 1) & mask) {
      if (slots_[i] == key) return true;
      if (slots_[i] == kEmpty) return false;
    }
  }

  void clear() {
    std::vector<uint64_t>().swap(slots_);
    used_ = 0;
    shift_ = 64;
  }

 private:
  static constexpr uint64_t kEmpty = UINT64_MAX;

  size_t slotOf(uint64_t key) const {
    return static_cast<size_t>((key * 0x9E3779B97F4A7C15ull) >> shift_);
  }

  bool place(uint64_t key) {
    const size_t mask = slots_.size() - 1;
    for (size_t i = slotOf(key);; i = (i + 1) & mask) {
      if (slots_[i] == key) return false;
      if (slots_[i] == kEmpty) {
        slots_[i] = key;
        return true;
      }
    }
  }

  void grow() {
    const size_t cap = slots_.empty() ? 16 : slots_.size() * 2;
    std::vector<uint64_t> old(cap, kEmpty);
    old.swap(slots_);
    unsigned bits = 0;
    while ((size_t{1} << bits) < cap) ++bits;
    shift_ = 64 - bits;
    for (uint64_t k : old)
      if (k != kEmpty) place(k);
  }

  std::vector<uint64_t> slots_;
  size_t used_ = 0;
  unsigned shift_ = 64;
};

}  // namespace nvrl

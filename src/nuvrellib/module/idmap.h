// Identifier -> value hash table: open addressing with linear probing on one flat array of
// slots. It holds the problem's identifier -> position entries outside their runs
// (model/rowcolmap.h) and the page directory of the environment's side tables
// (module/idpages.h).
//
// Identifiers count up from 1, and runs of consecutive identifiers share a block of slots (see
// slot_of), so entering or dropping a batch touches few cache lines. Erased slots become
// tombstones; the table shrinks once it is mostly empty, so a process that dropped its large
// model does not keep the room.
//
// set() throws std::bad_alloc like the standard containers; erase() never fails (a shrink that
// finds no memory is skipped).
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

template <class V>
class idmap {
 public:
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  // The value of key, or null when absent.
  const V *find(uint64_t key) const {
    if (size_ == 0) return nullptr;
    const size_t mask = slots_.size() - 1;
    for (size_t i = slot_of(key);; i = (i + 1) & mask) {
      if (slots_[i].key == key) return &slots_[i].value;
      if (slots_[i].key == kEmpty) return nullptr;
    }
  }

  // Inserts or overwrites.
  void set(uint64_t key, V value) {
    if ((size_ + tombstones_ + 1) * 2 > slots_.size()) rehash(capacity_for(size_ + 1));
    const size_t mask = slots_.size() - 1;
    size_t i = slot_of(key), reuse = SIZE_MAX;
    for (;; i = (i + 1) & mask) {
      Slot &s = slots_[i];
      if (s.key == key) {
        s.value = value;
        return;
      }
      if (s.key == kTombstone && reuse == SIZE_MAX) reuse = i;
      if (s.key == kEmpty) break;
    }
    if (reuse != SIZE_MAX) {
      i = reuse;
      --tombstones_;
    }
    slots_[i] = {key, value};
    ++size_;
  }

  // Removes key; true, and its value in *old when old is not null, if it was present.
  bool erase(uint64_t key, V *old = nullptr) {
    if (size_ == 0) return false;
    const size_t mask = slots_.size() - 1;
    for (size_t i = slot_of(key);; i = (i + 1) & mask) {
      Slot &s = slots_[i];
      if (s.key == kEmpty) return false;
      if (s.key != key) continue;
      if (old != nullptr) *old = s.value;
      s.key = kTombstone;
      --size_;
      ++tombstones_;
      if (slots_.size() > kMinShrink && size_ * 8 < slots_.size()) {
        try {
          rehash(capacity_for(size_));
        } catch (const std::bad_alloc &) {
        }
      }
      return true;
    }
  }

  // f(key, value) for every entry, in no particular order.
  template <class F>
  void for_each(F f) const {
    for (const Slot &s : slots_)
      if (s.key < kTombstone) f(s.key, s.value);
  }

  // f(key, value&) for every entry, which may change the value; an entry for which f returns
  // false is erased. No entry moves while this runs.
  template <class F>
  void update_each(F f) {
    for (Slot &s : slots_)
      if (s.key < kTombstone && !f(s.key, s.value)) {
        s.key = kTombstone;
        --size_;
        ++tombstones_;
      }
  }

  // Room for n entries in all, so that the sets that follow do not grow the table.
  void reserve(size_t n) {
    if ((n + tombstones_) * 2 > slots_.size()) rehash(capacity_for(n));
  }

  void clear() {
    std::vector<Slot>().swap(slots_);
    size_ = tombstones_ = 0;
  }

 private:
  struct Slot {
    uint64_t key;
    V value;
  };

  // Identifiers count up from small numbers, so the two largest values never occur as keys.
  static constexpr uint64_t kEmpty = UINT64_MAX;
  static constexpr uint64_t kTombstone = UINT64_MAX - 1;
  static constexpr size_t kMinShrink = 1024;

  // Blocks of 8 consecutive identifiers share 8 adjacent slots; the blocks are spread by a
  // multiplicative hash.
  static constexpr unsigned kRunBits = 3;
  size_t slot_of(uint64_t key) const {
    const uint64_t block = ((key >> kRunBits) * 0x9E3779B97F4A7C15ull) >> shift_;
    return static_cast<size_t>((block << kRunBits) | (key & ((uint64_t{1} << kRunBits) - 1)));
  }

  static size_t capacity_for(size_t n) {
    size_t cap = 16;
    while (cap < 2 * n + 2) cap *= 2;
    return cap;
  }

  void rehash(size_t cap) {
    std::vector<Slot> old(cap, Slot{kEmpty, V{}});
    old.swap(slots_);
    unsigned bits = 0;
    while ((size_t{1} << bits) < cap) ++bits;
    shift_ = 64 - (bits - kRunBits);  // capacity is at least 16, so at least one block bit
    const size_t mask = cap - 1;
    for (const Slot &s : old) {
      if (s.key >= kTombstone) continue;
      size_t i = slot_of(s.key);
      while (slots_[i].key != kEmpty) i = (i + 1) & mask;
      slots_[i] = s;
    }
    tombstones_ = 0;
  }

  std::vector<Slot> slots_;
  size_t size_ = 0, tombstones_ = 0;
  unsigned shift_ = 64;
};

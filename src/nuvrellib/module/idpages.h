// Identifier -> value tables of the environment (unusual bounds, thresholds, names): pages of
// 64 consecutive identifiers, found through a flat table of page numbers.
//
// Identifiers count up from 1 and objects are mostly made in batches (an array of a million
// variables with the same bounds), so the entries of a table are runs of consecutive
// identifiers. A page holds the values of 64 of them side by side with a bitmap of those
// present: entering or dropping a batch writes memory in order and touches the page table once
// per 64 entries, where a hash slot per entry cost a cache miss and a probe sequence each. A
// page is freed when its last entry goes, so a process that dropped its large model does not
// keep the room; the price is a page (about half a kilobyte) for an identifier whose 63
// neighbours have no entry.
//
// set() throws std::bad_alloc like the standard containers; erase() never fails.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "module/idmap.h"

template <class V>
class idpages {
 public:
  idpages() = default;
  idpages(const idpages &) = delete;
  idpages &operator=(const idpages &) = delete;
  ~idpages() {
    pages_.for_each([](uint64_t, Page *page) { delete page; });
  }

  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  // The value of key, or null when absent.
  const V *find(uint64_t key) const {
    Page *const *page = pages_.find(key >> kPageBits);
    if (page == nullptr || !((*page)->present & bit_of(key))) return nullptr;
    return &(*page)->values[key & kPageMask];
  }

  // Inserts or overwrites.
  void set(uint64_t key, V value) {
    Page *page = page_for(key >> kPageBits);
    if (page == nullptr) {
      std::unique_ptr<Page> fresh(new Page());
      pages_.set(key >> kPageBits, fresh.get());
      page = fresh.release();
      remember(key >> kPageBits, page);
    }
    page->values[key & kPageMask] = value;
    if (!(page->present & bit_of(key))) {
      page->present |= bit_of(key);
      ++size_;
    }
  }

  // Removes key; true, and its value in *old when old is not null, if it was present.
  bool erase(uint64_t key, V *old = nullptr) {
    Page *page = page_for(key >> kPageBits);
    if (page == nullptr || !(page->present & bit_of(key))) return false;
    if (old != nullptr) *old = page->values[key & kPageMask];
    page->present &= ~bit_of(key);
    --size_;
    if (page->present == 0) {
      pages_.erase(key >> kPageBits);
      if (last_page_ == page) last_page_ = nullptr;
      delete page;
    }
    return true;
  }

  // f(key, value) for every entry, in no particular order.
  template <class F>
  void for_each(F f) const {
    pages_.for_each([&](uint64_t number, Page *page) {
      for (uint64_t bits = page->present; bits != 0; bits &= bits - 1) {
        const unsigned slot = static_cast<unsigned>(__builtin_ctzll(bits));
        f((number << kPageBits) | slot, page->values[slot]);
      }
    });
  }

 private:
  static constexpr unsigned kPageBits = 6;
  static constexpr uint64_t kPageMask = (uint64_t{1} << kPageBits) - 1;

  struct Page {
    uint64_t present = 0;  // bit i: identifier (page number << 6) | i has an entry
    V values[uint64_t{1} << kPageBits];
  };

  static uint64_t bit_of(uint64_t key) { return uint64_t{1} << (key & kPageMask); }

  // The page of a page number, or null; the last page used is kept at hand, as a batch
  // enters or leaves in order.
  Page *page_for(uint64_t number) {
    if (last_page_ != nullptr && last_number_ == number) return last_page_;
    Page *const *page = pages_.find(number);
    if (page == nullptr) return nullptr;
    remember(number, *page);
    return *page;
  }

  void remember(uint64_t number, Page *page) {
    last_number_ = number;
    last_page_ = page;
  }

  idmap<Page *> pages_;
  size_t size_ = 0;
  uint64_t last_number_ = 0;
  Page *last_page_ = nullptr;
};

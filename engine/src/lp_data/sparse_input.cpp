// Validation of segmented sparse input and its merge into the store's matrix forms.
#include "lp_data/sparse_input.h"

#include <algorithm>
#include <cmath>
#include <utility>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace nvrl {

void adviseHugePages(const void *data, size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  constexpr uintptr_t kHuge = uintptr_t{1} << 21;
  if (bytes < 2 * kHuge) return;
  const uintptr_t from = (reinterpret_cast<uintptr_t>(data) + kHuge - 1) & ~(kHuge - 1);
  const uintptr_t to = (reinterpret_cast<uintptr_t>(data) + bytes) & ~(kHuge - 1);
  if (to > from) madvise(reinterpret_cast<void *>(from), to - from, MADV_HUGEPAGE);
#else
  (void)data;
  (void)bytes;
#endif
}

int64_t Segments::entries() const {
  int64_t n = 0;
  for (size_t k = 0; k < begin.size(); ++k) n += end[k] - begin[k];
  return n;
}

bool segmentsFromStarts(Check &c, const int64_t *start, int64_t n, int64_t total,
                        const int *idx, const double *val, const char *startarg,
                        const char *totalarg, const char *idxarg, const char *valarg,
                        Segments &out) {
  if (!c.count(total, totalarg)) return false;
  if (n > 0 && total > 0 && !c.starts(start, n, total, startarg, totalarg)) return false;
  if ((idxarg && !c.array(idx, total, idxarg)) || (valarg && !c.array(val, total, valarg)))
    return false;
  out.begin.assign(static_cast<size_t>(n), 0);
  out.end.assign(static_cast<size_t>(n), 0);
  out.idx = idx;
  out.val = val;
  if (total == 0) return true;  // start may be null: every segment is empty
  for (int64_t k = 0; k < n; ++k) {
    out.begin[k] = start[k];
    out.end[k] = k + 1 < n ? start[k + 1] : total;
  }
  return true;
}

bool checkSegmentEntries(Check &c, const Segments &s, int limit, const char *idxarg,
                         const char *valarg, const char *what) {
  // One branch-free pass over the entries; the first bad one is looked for only when there is
  // one, so that the message names exactly that entry.
  bool bad = false;
  for (int64_t k = 0; k < s.size(); ++k) {
    const int *idx = s.idx;
    const double *val = s.val;
    for (int64_t e = s.begin[k]; e < s.end[k]; ++e)
      bad |= (static_cast<unsigned>(idx[e]) >= static_cast<unsigned>(limit)) |
             !(std::fabs(val[e]) < kInf);
  }
  if (!bad) return true;
  for (int64_t k = 0; k < s.size(); ++k) {
    for (int64_t e = s.begin[k]; e < s.end[k]; ++e) {
      int i = s.idx[e];
      if (i < 0 || i >= limit) {
        c.fail("%s[%lld] = %d is not a valid %s index (the problem has %d %ss)", idxarg,
               static_cast<long long>(e), i, what, limit, what);
        return false;
      }
      if (!c.coefficient(s.val[e], valarg, e)) return false;
    }
  }
  return true;
}

namespace {

// reserveMore for the matrix arrays: a grown array is moved into new advised memory.
template <class T>
void reserveMoreAdvised(std::vector<T> &v, size_t more) {
  const size_t need = v.size() + more;
  if (need <= v.capacity()) return;
  std::vector<T> bigger;
  bigger.reserve(std::max(need, 2 * v.capacity()));
  adviseHugePages(bigger.data(), bigger.capacity() * sizeof(T));
  bigger.insert(bigger.end(), v.begin(), v.end());
  v.swap(bigger);
}

// Where a row's next entry goes and the column of its latest one, side by side: one memory
// access per entry finds both, and a repeat is found without reading the output.
struct RowFill {
  int64_t next;
  int last;
};

// Places entry (col, v) of a row; columns arrive in ascending order, so a repeated (row,
// column) pair is always the row's latest entry and is summed there. True for a repeat.
inline bool place(RowFill &f, int col, double v, int *out_col, double *out_val) {
  if (f.last == col) {
    out_val[f.next - 1] += v;
    return true;
  }
  out_col[f.next] = col;
  out_val[f.next] = v;
  ++f.next;
  f.last = col;
  return false;
}

// Below this many entries the output fits in the cache and entries go straight to their rows.
constexpr int64_t kBlockedFrom = int64_t{1} << 17;
// Entries per block of rows in the two-pass placement (the block's output stays in the cache).
constexpr int64_t kBlockEntries = int64_t{1} << 15;

// Straight into the rows: one random write per entry.
bool placeDirect(const Segments &cols, int first_col, RowFill *fill, int *out_col,
                 double *out_val) {
  const int *idx = cols.idx;
  const double *val = cols.val;
  bool merged = false;
  for (int64_t j = 0; j < cols.size(); ++j) {
    const int col = first_col + static_cast<int>(j);
    for (int64_t e = cols.begin[j]; e < cols.end[j]; ++e) {
      const double v = val[e];
      if (v != 0.0) merged |= place(fill[idx[e]], col, v, out_col, out_val);
    }
  }
  return merged;
}

// In two passes over blocks of 2^shift rows: the first moves each entry into its block's
// part of the output (one sequential stream per block, in column order), the second places
// one block at a time into its rows, where the block's part of the output is in the cache.
// On a large matrix each entry's random write would otherwise miss the cache twice.
bool placeBlocked(const Segments &cols, int nrows, int first_col, const int64_t *start,
                  RowFill *fill, int *out_col, double *out_val) {
  const int64_t nnz = start[nrows];
  int shift = 0;  // at most 16: a row's place in its block is kept in 16 bits
  while (shift < 16 && (nnz << (shift + 1)) <= kBlockEntries * nrows) ++shift;
  const int nblocks = static_cast<int>((static_cast<int64_t>(nrows) + (1 << shift) - 1) >> shift);
  const unsigned mask = (1u << shift) - 1;
  std::vector<int64_t> block_next(static_cast<size_t>(nblocks));
  for (int b = 0; b < nblocks; ++b) block_next[b] = start[static_cast<int64_t>(b) << shift];
  std::vector<uint16_t> row_in_block(static_cast<size_t>(nnz));
  const int *idx = cols.idx;
  const double *val = cols.val;
  for (int64_t j = 0; j < cols.size(); ++j) {
    const int col = first_col + static_cast<int>(j);
    for (int64_t e = cols.begin[j]; e < cols.end[j]; ++e) {
      const double v = val[e];
      if (v == 0.0) continue;
      const unsigned r = static_cast<unsigned>(idx[e]);
      const int64_t p = block_next[r >> shift]++;
      out_col[p] = col;
      out_val[p] = v;
      row_in_block[p] = static_cast<uint16_t>(r & mask);
    }
  }
  bool merged = false;
  std::vector<int> block_col;
  std::vector<double> block_val;
  for (int b = 0; b < nblocks; ++b) {
    const int first = b << shift;
    const int64_t from = start[first];
    const int64_t to = start[std::min(nrows, first + (1 << shift))];
    block_col.assign(out_col + from, out_col + to);
    block_val.assign(out_val + from, out_val + to);
    RowFill *block_fill = fill + first;
    for (int64_t k = 0; k < to - from; ++k)
      merged |= place(block_fill[row_in_block[from + k]], block_col[k], block_val[k], out_col,
                      out_val);
  }
  return merged;
}

// Transposes column segments (column j = first_col + segment index) into a row-wise matrix,
// summing repeated (row, column) pairs and dropping zeros.
RowMatrix transposeColumns(const Segments &cols, int nrows, int first_col) {
  RowMatrix out;
  out.start.assign(static_cast<size_t>(nrows) + 1, 0);
  int64_t *count = out.start.data() + 1;
  for (int64_t j = 0; j < cols.size(); ++j)
    for (int64_t e = cols.begin[j]; e < cols.end[j]; ++e)
      count[cols.idx[e]] += cols.val[e] != 0.0;
  for (int r = 0; r < nrows; ++r) out.start[r + 1] += out.start[r];
  const int64_t nnz = out.start[nrows];
  freshArray(out.col, static_cast<size_t>(nnz));
  freshArray(out.val, static_cast<size_t>(nnz));
  std::vector<RowFill> fill(static_cast<size_t>(nrows));
  for (int r = 0; r < nrows; ++r) fill[r] = {out.start[r], -1};
  const bool merged =
      nnz < kBlockedFrom
          ? placeDirect(cols, first_col, fill.data(), out.col.data(), out.val.data())
          : placeBlocked(cols, nrows, first_col, out.start.data(), fill.data(), out.col.data(),
                         out.val.data());
  // Without repeats every row is full and holds no zero: nothing to close up.
  if (!merged) return out;
  // Close the gaps left by merged repeats and drop entries that summed to zero. Each row's
  // old start is read before it is overwritten with the new one.
  int64_t w = 0;
  for (int r = 0; r < nrows; ++r) {
    const int64_t b = out.start[r];
    out.start[r] = w;
    for (int64_t p = b; p < fill[r].next; ++p) {
      if (out.val[p] == 0.0) continue;
      out.col[w] = out.col[p];
      out.val[w] = out.val[p];
      ++w;
    }
  }
  out.start[nrows] = w;
  out.col.resize(w);
  out.val.resize(w);
  return out;
}

// Marks the columns seen in the current row, so that repeats are found in O(1) without
// clearing anything between rows. One per thread, grown to the widest problem seen.
struct RowMarker {
  std::vector<int64_t> pos;
  std::vector<uint32_t> stamp;
  uint32_t current = 0;
  void prepare(int ncols) {
    // Each sized on its own: when memory runs out between the two, the next call must still
    // see the short one.
    const size_t n = static_cast<size_t>(ncols);
    if (pos.size() < n) pos.resize(n);
    if (stamp.size() < n) stamp.resize(n, 0);
  }
  void nextRow() {
    if (++current == 0) {  // wrapped: old stamps could collide
      std::fill(stamp.begin(), stamp.end(), 0);
      current = 1;
    }
  }
};

}  // namespace

RowMatrix rowsFromColumns(const Segments &cols, int nrows) {
  return transposeColumns(cols, nrows, 0);
}

RowMatrix rowsFromColumns(const ColMatrix &cols, int nrows) {
  Segments s;
  s.begin.assign(cols.start.begin(), cols.start.end() - 1);
  s.end.assign(cols.start.begin() + 1, cols.start.end());
  s.idx = cols.row.data();
  s.val = cols.val.data();
  return transposeColumns(s, nrows, 0);
}

bool columnsFromSegments(Check &c, const Segments &cols, int nrows, const char *idxarg,
                         const char *valarg, ColMatrix &out, bool &rows_ascending) {
  const int64_t ncols = cols.size();
  const size_t most = static_cast<size_t>(cols.entries());
  out.start.resize(static_cast<size_t>(ncols) + 1);
  // Sized for every entry and cut to the ones kept at the end: writing through plain pointers
  // keeps the loop below free of capacity checks.
  freshArray(out.row, most);
  freshArray(out.val, most);
  // The column that last had an entry in each row: a repeat within a column is found in O(1),
  // and nothing needs clearing between columns.
  std::vector<int> last_col(static_cast<size_t>(nrows), -1);
  int *last = last_col.data();
  int *orow = out.row.data();
  double *oval = out.val.data();
  const int *idx = cols.idx;
  const double *val = cols.val;
  bool ascending = true;
  int64_t n = 0;
  out.start[0] = 0;
  for (int64_t j = 0; j < ncols; ++j) {
    const int col = static_cast<int>(j);
    const int64_t first = n;
    bool repeats = false;
    int prev = -1;
    for (int64_t e = cols.begin[j]; e < cols.end[j]; ++e) {
      const double v = val[e];
      const int r = idx[e];
      if (static_cast<unsigned>(r) >= static_cast<unsigned>(nrows) || !(std::fabs(v) < kInf))
        return checkSegmentEntries(c, cols, nrows, idxarg, valarg, "row");  // names the entry
      if (v == 0.0) continue;
      if (last[r] == col) {
        // Summed into the column's earlier entry (in the order given, as the row-wise merge
        // does); rare, so the column is searched for it.
        int64_t at = first;
        while (orow[at] != r) ++at;
        oval[at] += v;
        repeats = true;
        continue;
      }
      last[r] = col;
      ascending &= r > prev;
      prev = r;
      orow[n] = r;
      oval[n] = v;
      ++n;
    }
    if (repeats) {
      // Repeats that cancelled leave zeros: close them up.
      int64_t w = first;
      for (int64_t p = first; p < n; ++p) {
        if (oval[p] == 0.0) continue;
        orow[w] = orow[p];
        oval[w] = oval[p];
        ++w;
      }
      n = w;
    }
    out.start[j + 1] = n;
  }
  out.row.resize(static_cast<size_t>(n));
  out.val.resize(static_cast<size_t>(n));
  rows_ascending = ascending;
  return true;
}

void appendRows(RowMatrix &A, const Segments &rows, int ncols) {
  thread_local RowMarker marker;
  marker.prepare(ncols);
  // Reserve first: once memory is secured nothing below can fail half way.
  reserveMoreAdvised(A.col, static_cast<size_t>(rows.entries()));
  reserveMoreAdvised(A.val, static_cast<size_t>(rows.entries()));
  reserveMore(A.start, rows.size());
  for (int64_t k = 0; k < rows.size(); ++k) {
    marker.nextRow();
    const size_t row_begin = A.col.size();
    bool summed_to_zero = false;
    for (int64_t e = rows.begin[k]; e < rows.end[k]; ++e) {
      const double v = rows.val[e];
      if (v == 0.0) continue;
      const int c = rows.idx[e];
      if (marker.stamp[c] == marker.current) {
        double &s = A.val[marker.pos[c]];
        s += v;
        summed_to_zero |= s == 0.0;
      } else {
        marker.stamp[c] = marker.current;
        marker.pos[c] = static_cast<int64_t>(A.col.size());
        A.col.push_back(c);
        A.val.push_back(v);
      }
    }
    if (summed_to_zero) {
      size_t w = row_begin;
      for (size_t p = row_begin; p < A.col.size(); ++p) {
        if (A.val[p] == 0.0) continue;
        A.col[w] = A.col[p];
        A.val[w] = A.val[p];
        ++w;
      }
      A.col.resize(w);
      A.val.resize(w);
    }
    A.start.push_back(static_cast<int64_t>(A.col.size()));
  }
}

void appendColumns(RowMatrix &A, const Segments &cols, int first_col) {
  RowMatrix add = transposeColumns(cols, A.rows(), first_col);
  if (add.nnz() == 0) return;
  const int nrows = A.rows();
  std::vector<int> col;
  std::vector<double> val;
  freshArray(col, static_cast<size_t>(A.nnz() + add.nnz()));
  freshArray(val, col.size());
  std::vector<int64_t> start(A.start.size());
  int64_t w = 0;
  for (int r = 0; r < nrows; ++r) {
    start[r] = w;
    for (int64_t p = A.start[r]; p < A.start[r + 1]; ++p, ++w) {
      col[w] = A.col[p];
      val[w] = A.val[p];
    }
    for (int64_t p = add.start[r]; p < add.start[r + 1]; ++p, ++w) {
      col[w] = add.col[p];
      val[w] = add.val[p];
    }
  }
  start[nrows] = w;
  A.start = std::move(start);
  A.col = std::move(col);
  A.val = std::move(val);
}

}  // namespace nvrl

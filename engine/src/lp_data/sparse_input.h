// Sparse input of the C API as segments (rows or columns) of caller arrays, its validation,
// and the matrix operations that turn validated input into the store's row-wise or
// column-wise form: repeated indices within a segment are summed and zeros (given or summed)
// are dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/problem.h"
#include "lp_data/check.h"

namespace nvrl {

// Segment k holds entries begin[k] .. end[k]-1 of idx and val.
struct Segments {
  std::vector<int64_t> begin, end;
  const int *idx = nullptr;
  const double *val = nullptr;
  int64_t size() const { return static_cast<int64_t>(begin.size()); }
  int64_t entries() const;  // total over segments
};

// Segments of an add call: segment k runs from start[k] to start[k+1] (the last one to
// total), so start[n] is never read and callers may pass n or n+1 starts. A null idxarg or
// valarg means the segments carry no indices or no values (that array is not checked).
bool segmentsFromStarts(Check &c, const int64_t *start, int64_t n, int64_t total,
                        const int *idx, const double *val, const char *startarg,
                        const char *totalarg, const char *idxarg, const char *valarg,
                        Segments &out);

// Checks that every index lies in 0..limit-1 (a `what` index) and every value is finite.
bool checkSegmentEntries(Check &c, const Segments &s, int limit, const char *idxarg,
                         const char *valarg, const char *what);

// Large arrays of the store are written in one sweep right after they are allocated. Asked
// for transparent huge pages before that first touch, the kernel faults them in per 2 MiB
// instead of per 4 KiB; on a 1,000,000-entry matrix the page faults otherwise cost as much
// as the writes. Only advice: where it is not available or refused, nothing changes.
void adviseHugePages(const void *data, size_t bytes);

// v (empty) sized to n value-initialised items in memory advised as above.
template <class T>
void freshArray(std::vector<T> &v, size_t n) {
  v.reserve(n);
  adviseHugePages(v.data(), n * sizeof(T));
  v.resize(n);
}

// Row-wise matrix of nrows rows from column segments (one per column, in column order).
RowMatrix rowsFromColumns(const Segments &cols, int nrows);
RowMatrix rowsFromColumns(const ColMatrix &cols, int nrows);

// Checks column segments as checkSegmentEntries does (row indices below nrows, finite values)
// and copies them into a column-wise matrix, repeats summed and zeros dropped, in one pass.
// rows_ascending tells whether every column's rows ascend.
bool columnsFromSegments(Check &c, const Segments &cols, int nrows, const char *idxarg,
                         const char *valarg, ColMatrix &out, bool &rows_ascending);

// Appends one row per segment to A; column indices are already valid for ncols columns.
void appendRows(RowMatrix &A, const Segments &rows, int ncols);

// Adds columns first_col .. first_col+cols.size()-1 with the segments' entries to A.
void appendColumns(RowMatrix &A, const Segments &cols, int first_col);

}  // namespace nvrl

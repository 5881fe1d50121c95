// Shared helpers of the model store tests: a started library with one problem per test, a
// small model that uses every kind of store data, and a snapshot of everything the public
// queries report, so a failed call can be shown to have changed nothing.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "test_support.h"

namespace storetest {

using nvtest::dblAttr;
using nvtest::intAttr;
using nvtest::chars;
using nvtest::dbls;
using nvtest::ints;
using nvtest::lastError;
using nvtest::starts;

// Names first..last of a kind, split at the terminators.
inline std::vector<std::string> names(NVRLprob prob, int type, int first, int last) {
  int nbytes = 0;
  EXPECT_EQ(NVRLgetnamelist(prob, type, nullptr, 0, &nbytes, first, last), 0);
  std::vector<char> buf(nbytes);
  EXPECT_EQ(NVRLgetnamelist(prob, type, buf.data(), nbytes, &nbytes, first, last), 0);
  std::vector<std::string> out;
  for (size_t at = 0; at < buf.size(); at += out.back().size() + 1) out.emplace_back(&buf[at]);
  return out;
}

inline std::vector<std::string> allNames(NVRLprob prob, int type, int count) {
  return count ? names(prob, type, 0, count - 1) : std::vector<std::string>{};
}

// A row-wise or column-wise matrix as the range queries report it.
struct Sparse {
  std::vector<NVRLint64> start;
  std::vector<int> idx;
  std::vector<double> val;
  bool operator==(const Sparse &) const = default;
};

inline void PrintTo(const Sparse &s, std::ostream *os) {
  *os << ::testing::PrintToString(std::tie(s.start, s.idx, s.val));
}

// Range queries sharing one signature: NVRLgetrows64, NVRLgetcols64, NVRLgetmqobj64.
using SparseQuery = int (*)(NVRLprob, NVRLint64[], int[], double[], NVRLint64, NVRLint64 *, int,
                            int);

inline Sparse sparse(SparseQuery query, NVRLprob prob, int first, int last) {
  Sparse s;
  NVRLint64 n = 0;
  EXPECT_EQ(query(prob, nullptr, nullptr, nullptr, 0, &n, first, last), 0);
  s.start.resize(last - first + 2);
  s.idx.resize(n);
  s.val.resize(n);
  EXPECT_EQ(query(prob, s.start.data(), s.idx.data(), s.val.data(), n, &n, first, last), 0);
  return s;
}

inline Sparse rows(NVRLprob prob, int first, int last) {
  return sparse(NVRLgetrows64, prob, first, last);
}
inline Sparse cols(NVRLprob prob, int first, int last) {
  return sparse(NVRLgetcols64, prob, first, last);
}
// The column view of a row-wise matrix, the entries of each column in row order.
inline Sparse transpose(const Sparse &r, int ncols) {
  Sparse c;
  c.start.assign(ncols + 1, 0);
  for (int j : r.idx) ++c.start[j + 1];
  for (int j = 0; j < ncols; ++j) c.start[j + 1] += c.start[j];
  c.idx.resize(r.idx.size());
  c.val.resize(r.val.size());
  std::vector<NVRLint64> at(c.start.begin(), c.start.end() - 1);
  for (size_t i = 0; i + 1 < r.start.size(); ++i)
    for (NVRLint64 k = r.start[i]; k < r.start[i + 1]; ++k) {
      c.idx[at[r.idx[k]]] = static_cast<int>(i);
      c.val[at[r.idx[k]]++] = r.val[k];
    }
  return c;
}

// Sorts the entries of each row by column: their order within a row carries no meaning.
inline void sortRows(Sparse &r) {
  for (size_t i = 0; i + 1 < r.start.size(); ++i) {
    std::vector<std::pair<int, double>> e;
    for (NVRLint64 k = r.start[i]; k < r.start[i + 1]; ++k) e.push_back({r.idx[k], r.val[k]});
    std::sort(e.begin(), e.end());
    for (size_t k = 0; k < e.size(); ++k)
      std::tie(r.idx[r.start[i] + k], r.val[r.start[i] + k]) = e[k];
  }
}

inline Sparse qobj(NVRLprob prob, int ncols) {
  return ncols ? sparse(NVRLgetmqobj64, prob, 0, ncols - 1) : Sparse{};
}

struct Triplets {
  std::vector<int> c1, c2;
  std::vector<double> v;
  bool operator==(const Triplets &) const = default;
};

inline Triplets qrow(NVRLprob prob, int row) {
  Triplets t;
  int n = 0;
  EXPECT_EQ(NVRLgetqrowqmatrixtriplets(prob, row, &n, nullptr, nullptr, nullptr), 0);
  t.c1.resize(n);
  t.c2.resize(n);
  t.v.resize(n);
  EXPECT_EQ(NVRLgetqrowqmatrixtriplets(prob, row, &n, t.c1.data(), t.c2.data(), t.v.data()), 0);
  return t;
}

struct Sets {
  std::vector<char> type;
  Sparse members;  // idx: columns, val: reference values
  bool operator==(const Sets &) const = default;
};

inline Sets sets(NVRLprob prob, int nsets) {
  Sets s;
  if (nsets == 0) return s;
  NVRLint64 n = 0;
  EXPECT_EQ(NVRLgetsets64(prob, nullptr, nullptr, nullptr, nullptr, 0, &n, 0, nsets - 1), 0);
  s.type.resize(nsets);
  s.members.start.resize(nsets + 1);
  s.members.idx.resize(n);
  s.members.val.resize(n);
  EXPECT_EQ(NVRLgetsets64(prob, s.type.data(), s.members.start.data(), s.members.idx.data(),
                          s.members.val.data(), n, &n, 0, nsets - 1),
            0);
  return s;
}

struct GenCons {
  std::vector<int> type, resultant;
  Sparse cols, vals;  // cols: idx used; vals: val used
  bool operator==(const GenCons &) const = default;
};

inline GenCons gencons(NVRLprob prob, int n) {
  GenCons g;
  if (n == 0) return g;
  NVRLint64 nc = 0, nv = 0;
  EXPECT_EQ(NVRLgetgencons64(prob, nullptr, nullptr, nullptr, nullptr, 0, &nc, nullptr, nullptr,
                             0, &nv, 0, n - 1),
            0);
  g.type.resize(n);
  g.resultant.resize(n);
  g.cols.start.resize(n + 1);
  g.cols.idx.resize(nc);
  g.vals.start.resize(n + 1);
  g.vals.val.resize(nv);
  EXPECT_EQ(NVRLgetgencons64(prob, g.type.data(), g.resultant.data(), g.cols.start.data(),
                             g.cols.idx.data(), nc, &nc, g.vals.start.data(), g.vals.val.data(),
                             nv, &nv, 0, n - 1),
            0);
  return g;
}

struct Pwls {
  std::vector<int> col, resultant;
  std::vector<NVRLint64> start;
  std::vector<double> x, y;
  bool operator==(const Pwls &) const = default;
};

inline Pwls pwls(NVRLprob prob, int n) {
  Pwls g;
  if (n == 0) return g;
  NVRLint64 np = 0;
  EXPECT_EQ(NVRLgetpwlcons64(prob, nullptr, nullptr, nullptr, nullptr, nullptr, 0, &np, 0, n - 1),
            0);
  g.col.resize(n);
  g.resultant.resize(n);
  g.start.resize(n + 1);
  g.x.resize(np);
  g.y.resize(np);
  EXPECT_EQ(NVRLgetpwlcons64(prob, g.col.data(), g.resultant.data(), g.start.data(), g.x.data(),
                             g.y.data(), np, &np, 0, n - 1),
            0);
  return g;
}

// Everything the public queries report about a model.
struct Snapshot {
  int nrows = 0, ncols = 0, nsets = 0, ngencons = 0, npwls = 0;
  double objconst = 0, objsense = 0;
  std::vector<double> obj, lb, ub, limit, rhs, range;
  std::vector<char> coltype, rowtype;
  Sparse byrow, bycol, q;
  std::vector<int> qrowind;
  std::vector<Triplets> qrows;
  Sets sos;
  std::vector<int> indcol, indcomp;
  GenCons gen;
  Pwls pwl;
  std::vector<std::string> rownames, colnames, setnames;
  bool operator==(const Snapshot &) const = default;
};

inline Snapshot snapshot(NVRLprob prob) {
  Snapshot s;
  s.nrows = intAttr(prob, nvrl::id::kRows);
  s.ncols = intAttr(prob, nvrl::id::kCols);
  s.nsets = intAttr(prob, nvrl::id::kSets);
  s.npwls = intAttr(prob, nvrl::id::kPwlCons);
  s.ngencons = intAttr(prob, nvrl::id::kGenConsAndPwl) - s.npwls;
  s.objconst = dblAttr(prob, nvrl::id::kObjConstant);
  s.objsense = dblAttr(prob, nvrl::id::kObjSenseAttr);
  if (s.ncols) {
    const int n = s.ncols, l = n - 1;
    s.obj.resize(n), s.lb.resize(n), s.ub.resize(n), s.limit.resize(n), s.coltype.resize(n);
    EXPECT_EQ(NVRLgetobj(prob, s.obj.data(), 0, l), 0);
    EXPECT_EQ(NVRLgetlb(prob, s.lb.data(), 0, l), 0);
    EXPECT_EQ(NVRLgetub(prob, s.ub.data(), 0, l), 0);
    EXPECT_EQ(NVRLgetglblimit(prob, s.limit.data(), 0, l), 0);
    EXPECT_EQ(NVRLgetcoltype(prob, s.coltype.data(), 0, l), 0);
    s.bycol = cols(prob, 0, l);
    s.q = qobj(prob, n);
  }
  if (s.nrows) {
    const int n = s.nrows, l = n - 1;
    s.rhs.resize(n), s.range.resize(n), s.rowtype.resize(n), s.indcol.resize(n),
        s.indcomp.resize(n);
    EXPECT_EQ(NVRLgetrhs(prob, s.rhs.data(), 0, l), 0);
    EXPECT_EQ(NVRLgetrhsrange(prob, s.range.data(), 0, l), 0);
    EXPECT_EQ(NVRLgetrowtype(prob, s.rowtype.data(), 0, l), 0);
    EXPECT_EQ(NVRLgetindicators(prob, s.indcol.data(), s.indcomp.data(), 0, l), 0);
    s.byrow = rows(prob, 0, l);
    sortRows(s.byrow);
  }
  // The column view, built separately, must agree with the rows.
  if (s.ncols) {
    EXPECT_EQ(s.bycol, transpose(s.byrow, s.ncols));
  }
  int nq = 0;
  EXPECT_EQ(NVRLgetqrows(prob, &nq, nullptr), 0);
  s.qrowind.resize(nq);
  EXPECT_EQ(NVRLgetqrows(prob, &nq, s.qrowind.data()), 0);
  for (int r : s.qrowind) s.qrows.push_back(qrow(prob, r));
  s.sos = sets(prob, s.nsets);
  s.gen = gencons(prob, s.ngencons);
  s.pwl = pwls(prob, s.npwls);
  s.rownames = allNames(prob, 1, s.nrows);
  s.colnames = allNames(prob, 2, s.ncols);
  s.setnames = allNames(prob, 3, s.nsets);
  return s;
}

class StoreTest : public nvtest::ProblemTest {
 protected:
  // Rows: 0 'L' <= 4, 1 'G' >= 1, 2 'R' in [6, 10]. Columns 0..3, column 2 binary, column 3
  // semi-continuous with limit 2. Matrix:
  //   row 0: 1 x0 + 2 x1        row 1: 3 x1 + 4 x2        row 2: 5 x0 + 6 x3
  // Quadratic objective (0,0,2), (0,1,1); row 0 has the quadratic term (1,1,1). Set 0 is an
  // SOS1 over columns 0 and 1; row 1 is an indicator on column 2; general constraint
  // x3 = max(x0, x1, 1.5); piecewise-linear x0 = f(x1) through (0,0), (1,1), (2,4).
  // Names: rows "cap", "need", unnamed; columns "x", "y", unnamed, "w"; set "s".
  void buildRichModel() {
    const int q1[] = {0, 0}, q2[] = {0, 1};  // objective entries (0,0) and (0,1)
    const double qv[] = {2, 1};
    const int rq[] = {1};  // row 0: (1,1)
    const char coltype[] = {'B', 'S'};
    const int entind[] = {2, 3};
    const double limit[] = {0, 2};
    ASSERT_EQ(NVRLloadqcqpglobal64(prob, "rich", 4, 3, chars('L', 'G', 'R'), dbls(4, 1, 10),
                                   dbls(0, 0, 4), dbls(1, 2, 3, 4), starts(0, 2, 4, 5, 6),
                                   nullptr, ints(0, 2, 0, 1, 1, 2), dbls(1, 5, 2, 3, 4, 6),
                                   dbls(0, 0, 0, 0), dbls(10, 10, 1, 5), 2, q1, q2, qv, 1,
                                   ints(0), starts(1), rq, rq, dbls(1), 2, 1, coltype, entind,
                                   limit, chars('1'), starts(0, 2), ints(0, 1), dbls(1, 2)),
              0)
        << lastError(prob);
    ASSERT_EQ(NVRLaddnames(prob, 1, "cap\0need", 0, 1), 0) << lastError(prob);
    ASSERT_EQ(NVRLaddnames(prob, 2, "x\0y\0\0w", 0, 3), 0) << lastError(prob);
    ASSERT_EQ(NVRLaddsetnames(prob, "s", 0, 0), 0) << lastError(prob);
    ASSERT_EQ(NVRLsetindicators(prob, 1, ints(1), ints(2), ints(1)), 0) << lastError(prob);
    ASSERT_EQ(NVRLaddgencons64(prob, 1, 2, 1, ints(NVRL_GENCONS_MAX), ints(3), starts(0, 2),
                               ints(0, 1), starts(0, 1), dbls(1.5)),
              0)
        << lastError(prob);
    ASSERT_EQ(NVRLaddpwlcons64(prob, 1, 3, ints(1), ints(0), starts(0, 3), dbls(0, 1, 2),
                               dbls(0, 1, 4)),
              0)
        << lastError(prob);
  }
};

// One call that succeeds on the rich model and what it changes in the snapshot (the column
// view follows the rows; null: nothing); everything else must stay as it was.
struct GoodCall {
  const char *label;
  int (*call)(NVRLprob);
  void (*change)(Snapshot &);
};

// The test of both tables is in test_store.cpp; each family of calls instantiates its own.
class GoodCalls : public StoreTest, public ::testing::WithParamInterface<GoodCall> {};

// One bad call: what it does and a fragment its message must contain.
struct BadCall {
  const char *label;
  int (*call)(NVRLprob);
  const char *message;
};

class BadCalls : public StoreTest, public ::testing::WithParamInterface<BadCall> {};

}  // namespace storetest

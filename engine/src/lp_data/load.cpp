// Loading a whole problem: NVRLloadlp and its quadratic and global variants. The new model is
// built and checked on the side and replaces the old one only when everything is valid.
#include <cstring>
#include <utility>
#include <vector>

#include "core/entry.h"
#include "core/ids.h"
#include "core/text.h"
#include "lp_data/check.h"
#include "lp_data/model_rules.h"
#include "lp_data/sparse_input.h"
#include "lp_data/store_cache.h"

using nvrl::Check;

namespace {

struct LoadInput {
  const char *name = nullptr;
  int ncols = 0, nrows = 0;
  const char *rowtype = nullptr;
  const double *rhs = nullptr, *range = nullptr, *obj = nullptr;
  const int64_t *start = nullptr;
  const int *collen = nullptr, *rowind = nullptr;
  const double *rowcoef = nullptr, *lb = nullptr, *ub = nullptr;
  // quadratic objective
  int64_t nobjq = 0;
  const int *objq1 = nullptr, *objq2 = nullptr;
  const double *objqv = nullptr;
  // quadratic rows
  int nqrows = 0;
  const int *qrowind = nullptr;
  const int64_t *nrowq = nullptr;
  const int *rowq1 = nullptr, *rowq2 = nullptr;
  const double *rowqv = nullptr;
  // global entities
  int nentities = 0, nsets = 0;
  const char *coltype = nullptr;
  const int *entind = nullptr;
  const double *limit = nullptr;
  const char *settype = nullptr;
  const int64_t *setstart = nullptr;
  const int *setind = nullptr;
  const double *refval = nullptr;
};

bool checkRows(Check &c, const LoadInput &in) {
  if (!c.array(in.rowtype, in.nrows, "rowtype")) return false;
  for (int i = 0; i < in.nrows; ++i) {
    if (!c.rowType(in.rowtype[i], "rowtype", i)) return false;
    if (in.rhs && !c.notNaN(in.rhs[i], "rhs", i)) return false;
    if (in.rowtype[i] != 'R') continue;
    if (!in.range) {
      c.fail("range is null but rowtype[%d] is 'R'", i);
      return false;
    }
    if (!c.notNaN(in.range[i], "range", i)) return false;
    if (in.range[i] < 0) {
      c.fail("range[%d] = %g is negative", i, in.range[i]);
      return false;
    }
  }
  return true;
}

bool checkCols(Check &c, const LoadInput &in) {
  for (int j = 0; j < in.ncols; ++j) {
    if (in.obj && !c.coefficient(in.obj[j], "obj", j)) return false;
    if (in.lb && !c.notNaN(in.lb[j], "lb", j)) return false;
    if (in.ub && !c.notNaN(in.ub[j], "ub", j)) return false;
  }
  return true;
}

// The matrix: column segments from start/collen as the header describes (a null start means
// no coefficients at all), checked and copied into A.
bool loadMatrix(Check &c, const LoadInput &in, nvrl::ColMatrix &A, bool &rows_ascending) {
  nvrl::Segments s;
  s.begin.assign(in.ncols, 0);
  s.end.assign(in.ncols, 0);
  s.idx = in.rowind;
  s.val = in.rowcoef;
  if (!in.start) {
    if (in.collen && in.ncols > 0) {
      c.fail("start must not be null when collen is given");
      return false;
    }
    A.start.assign(static_cast<size_t>(in.ncols) + 1, 0);
    return true;
  }
  for (int j = 0; j < in.ncols; ++j) {
    s.begin[j] = in.start[j];
    if (in.collen) {
      if (in.collen[j] < 0) {
        c.fail("collen[%d] = %d is negative", j, in.collen[j]);
        return false;
      }
      s.end[j] = in.start[j] + in.collen[j];
    } else {
      s.end[j] = in.start[j + 1];
    }
    if (s.begin[j] < 0) {
      c.fail("start[%d] = %lld is negative", j, static_cast<long long>(s.begin[j]));
      return false;
    }
    if (s.end[j] < s.begin[j]) {
      c.fail("start must not decrease: start[%d] = %lld < start[%d] = %lld", j + 1,
             static_cast<long long>(s.end[j]), j, static_cast<long long>(s.begin[j]));
      return false;
    }
  }
  if (s.entries() > 0 && (!c.given(in.rowind, "rowind") || !c.given(in.rowcoef, "rowcoef")))
    return false;
  return nvrl::columnsFromSegments(c, s, in.nrows, "rowind", "rowcoef", A, rows_ascending);
}

bool checkQuadraticRows(Check &c, const LoadInput &in, int64_t &total) {
  total = 0;
  if (!c.count(in.nqrows, "nqrows")) return false;
  if (!c.array(in.qrowind, in.nqrows, "qrowind") || !c.array(in.nrowq, in.nqrows, "nrowqcoefs"))
    return false;
  std::vector<char> seen(in.nrows, 0);
  for (int k = 0; k < in.nqrows; ++k) {
    const int r = in.qrowind[k];
    if (r < 0 || r >= in.nrows) {
      c.fail("qrowind[%d] = %d is not a valid row index (the problem has %d rows)", k, r,
             in.nrows);
      return false;
    }
    if (seen[r]) {
      c.fail("qrowind[%d] = %d lists a row twice", k, r);
      return false;
    }
    seen[r] = 1;
    if (in.nrowq[k] < 0) {
      c.fail("nrowqcoefs[%d] = %lld is negative", k, static_cast<long long>(in.nrowq[k]));
      return false;
    }
    total += in.nrowq[k];
  }
  return nvrl::checkTriplets(c, total, in.rowq1, in.rowq2, in.rowqv, "rowqcol1", "rowqcol2",
                             "rowqcoef", in.ncols);
}

bool checkEntities(Check &c, const LoadInput &in) {
  if (!c.count(in.nentities, "nentities")) return false;
  if (!c.array(in.coltype, in.nentities, "coltype") ||
      !c.array(in.entind, in.nentities, "entind"))
    return false;
  std::vector<char> seen(in.ncols, 0);
  for (int k = 0; k < in.nentities; ++k) {
    if (!c.colType(in.coltype[k], "coltype", k)) return false;
    const int j = in.entind[k];
    if (j < 0 || j >= in.ncols) {
      c.fail("entind[%d] = %d is not a valid column index (the problem has %d columns)", k, j,
             in.ncols);
      return false;
    }
    if (seen[j]) {
      c.fail("entind[%d] = %d gives column %d a second type", k, j, j);
      return false;
    }
    seen[j] = 1;
    const char t = in.coltype[k];
    if (in.limit && (t == 'S' || t == 'R' || t == 'P') && !c.finite(in.limit[k], "limit", k))
      return false;
  }
  return true;
}

bool checkLoadSets(Check &c, const LoadInput &in, std::vector<int64_t> &begin,
                   std::vector<int64_t> &end) {
  if (!c.count(in.nsets, "nsets")) return false;
  if (in.nsets == 0) return true;
  if (!c.given(in.setstart, "setstart")) return false;
  // setstart has nsets+1 entries here: there is no separate count of members.
  if (!c.starts(in.setstart, in.nsets + 1, INT64_MAX, "setstart", "the number of members"))
    return false;
  const int64_t members = in.setstart[in.nsets] - in.setstart[0];
  if (members > 0 && (!c.given(in.setind, "setind") || !c.given(in.refval, "refval")))
    return false;
  begin.assign(in.setstart, in.setstart + in.nsets);
  end.assign(in.setstart + 1, in.setstart + in.nsets + 1);
  return nvrl::checkSets(c, in.nsets, in.settype, begin.data(), end.data(), in.setind,
                         in.refval, in.ncols, "settype", "setind", "refval");
}

int load(NVRLprob prob, const char *fn, const LoadInput &in) {
  nvrl_problem_s *p = nvrl::checkProblem(prob, fn);
  if (!p) return 1;
  Check c(p, fn);
  if (!c.count(in.ncols, "ncols") || !c.count(in.nrows, "nrows")) return c.code();
  if (in.name && std::strlen(in.name) > NVRL_MAXNAMELEN)
    return c.fail("name is longer than %d characters", NVRL_MAXNAMELEN);
  if (!checkRows(c, in) || !checkCols(c, in)) return c.code();
  // Kept column-wise, as given: the rows are built only if something asks for them.
  nvrl::ColMatrix A;
  bool ascending = true;
  if (!loadMatrix(c, in, A, ascending)) return c.code();
  if (!nvrl::checkTriplets(c, in.nobjq, in.objq1, in.objq2, in.objqv, "objqcol1", "objqcol2",
                           "objqcoef", in.ncols))
    return c.code();
  int64_t nrowq = 0;
  if (!checkQuadraticRows(c, in, nrowq) || !checkEntities(c, in)) return c.code();
  std::vector<int64_t> set_begin, set_end;
  if (!checkLoadSets(c, in, set_begin, set_end)) return c.code();

  nvrl::Model m;
  m.name = in.name ? in.name : p->model.name;
  m.objsense = p->model.objsense;  // the sense belongs to the problem, not to the data
  m.obj.resize(in.ncols, 0.0);
  m.lb.resize(in.ncols, 0.0);
  m.ub.resize(in.ncols, nvrl::kInf);
  m.coltype.assign(in.ncols, 'C');
  m.limit.assign(in.ncols, 0.0);
  for (int j = 0; j < in.ncols; ++j) {
    if (in.obj) m.obj[j] = in.obj[j];
    if (in.lb) m.lb[j] = nvrl::normInf(in.lb[j]);
    if (in.ub) m.ub[j] = nvrl::normInf(in.ub[j]);
  }
  m.rowtype.assign(in.rowtype, in.rowtype + in.nrows);
  m.rhs.assign(in.nrows, 0.0);
  m.range.assign(in.nrows, 0.0);
  for (int i = 0; i < in.nrows; ++i) {
    if (in.rhs) m.rhs[i] = nvrl::normInf(in.rhs[i]);
    if (in.rowtype[i] == 'R') m.range[i] = nvrl::normInf(in.range[i]);
  }
  m.A.assignColumns(std::move(A), in.nrows, ascending);
  nvrl::addTriplets(m.qobj, in.nobjq, in.objq1, in.objq2, in.objqv);
  int64_t at = 0;
  for (int k = 0; k < in.nqrows; ++k) {
    nvrl::QMatrix q;
    nvrl::addTriplets(q, in.nrowq[k], in.rowq1 + at, in.rowq2 + at, in.rowqv + at);
    at += in.nrowq[k];
    if (!q.empty()) m.qrows[in.qrowind[k]] = std::move(q);
  }
  for (int k = 0; k < in.nentities; ++k)
    nvrl::applyColType(m, in.entind[k], in.coltype[k], in.limit ? in.limit[k] : 0.0);
  nvrl::appendSets(m, in.nsets, in.settype, set_begin.data(), set_end.data(), in.setind,
                   in.refval);
  m.indcol.assign(in.nrows, -1);
  m.indcomp.assign(in.nrows, 0);
  nvrl::freshArray(m.rownames, static_cast<size_t>(in.nrows));
  nvrl::freshArray(m.colnames, static_cast<size_t>(in.ncols));

  std::string loaded;  // formatted before the commit, which nothing may follow that can fail
  if (nvrl::getIntControl(p, nvrl::id::kLoadLog))
    loaded = nvrl::format("Problem '%s' loaded: %d rows, %d columns, %lld nonzeros",
                          m.name.c_str(), in.nrows, in.ncols, static_cast<long long>(m.A.nnz()));
  p->model = std::move(m);
  nvrl::commitChange(p, false);
  if (!loaded.empty()) p->logAfterCommit(NVRL_MSG_INFO, loaded);
  return 0;
}

LoadInput lpInput(const char *name, int ncols, int nrows, const char rowtype[],
                  const double rhs[], const double range[], const double obj[],
                  const NVRLint64 start[], const int collen[], const int rowind[],
                  const double rowcoef[], const double lb[], const double ub[]) {
  LoadInput in;
  in.name = name;
  in.ncols = ncols;
  in.nrows = nrows;
  in.rowtype = rowtype;
  in.rhs = rhs;
  in.range = range;
  in.obj = obj;
  in.start = start;
  in.collen = collen;
  in.rowind = rowind;
  in.rowcoef = rowcoef;
  in.lb = lb;
  in.ub = ub;
  return in;
}

void withObjective(LoadInput &in, NVRLint64 n, const int c1[], const int c2[],
                   const double v[]) {
  in.nobjq = n;
  in.objq1 = c1;
  in.objq2 = c2;
  in.objqv = v;
}

void withQuadraticRows(LoadInput &in, int nqrows, const int qrowind[],
                       const NVRLint64 nrowqcoefs[], const int c1[], const int c2[],
                       const double v[]) {
  in.nqrows = nqrows;
  in.qrowind = qrowind;
  in.nrowq = nrowqcoefs;
  in.rowq1 = c1;
  in.rowq2 = c2;
  in.rowqv = v;
}

void withEntities(LoadInput &in, int nentities, int nsets, const char coltype[],
                  const int entind[], const double limit[], const char settype[],
                  const NVRLint64 setstart[], const int setind[], const double refval[]) {
  in.nentities = nentities;
  in.nsets = nsets;
  in.coltype = coltype;
  in.entind = entind;
  in.limit = limit;
  in.settype = settype;
  in.setstart = setstart;
  in.setind = setind;
  in.refval = refval;
}

}  // namespace

extern "C" {

NVRL_API int NVRLloadlp(NVRLprob prob, const char *name, int ncols, int nrows,
                        const char rowtype[], const double rhs[], const double range[],
                        const double obj[], const int start[], const int collen[],
                        const int rowind[], const double rowcoef[], const double lb[],
                        const double ub[]) NVRL_TRY {
  // Widen the starts; their count depends on collen (ncols, or ncols+1 without it).
  std::vector<NVRLint64> start64;
  if (start && ncols > 0) start64.assign(start, start + ncols + (collen ? 0 : 1));
  LoadInput in = lpInput(name, ncols, nrows, rowtype, rhs, range, obj,
                         start64.empty() ? nullptr : start64.data(), collen, rowind, rowcoef, lb,
                         ub);
  return load(prob, "NVRLloadlp", in);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadlp64(NVRLprob prob, const char *name, int ncols, int nrows,
                          const char rowtype[], const double rhs[], const double range[],
                          const double obj[], const NVRLint64 start[], const int collen[],
                          const int rowind[], const double rowcoef[], const double lb[],
                          const double ub[]) NVRL_TRY {
  LoadInput in =
      lpInput(name, ncols, nrows, rowtype, rhs, range, obj, start, collen, rowind, rowcoef, lb, ub);
  return load(prob, "NVRLloadlp64", in);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadqp64(NVRLprob prob, const char *name, int ncols, int nrows,
                          const char rowtype[], const double rhs[], const double range[],
                          const double obj[], const NVRLint64 start[], const int collen[],
                          const int rowind[], const double rowcoef[], const double lb[],
                          const double ub[], NVRLint64 nobjqcoefs, const int objqcol1[],
                          const int objqcol2[], const double objqcoef[]) NVRL_TRY {
  LoadInput in =
      lpInput(name, ncols, nrows, rowtype, rhs, range, obj, start, collen, rowind, rowcoef, lb, ub);
  withObjective(in, nobjqcoefs, objqcol1, objqcol2, objqcoef);
  return load(prob, "NVRLloadqp64", in);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadglobal64(NVRLprob prob, const char *name, int ncols, int nrows,
                              const char rowtype[], const double rhs[], const double range[],
                              const double obj[], const NVRLint64 start[], const int collen[],
                              const int rowind[], const double rowcoef[], const double lb[],
                              const double ub[], int nentities, int nsets,
                              const char coltype[], const int entind[], const double limit[],
                              const char settype[], const NVRLint64 setstart[],
                              const int setind[], const double refval[]) NVRL_TRY {
  LoadInput in =
      lpInput(name, ncols, nrows, rowtype, rhs, range, obj, start, collen, rowind, rowcoef, lb, ub);
  withEntities(in, nentities, nsets, coltype, entind, limit, settype, setstart, setind, refval);
  return load(prob, "NVRLloadglobal64", in);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadqglobal64(NVRLprob prob, const char *name, int ncols, int nrows,
                               const char rowtype[], const double rhs[], const double range[],
                               const double obj[], const NVRLint64 start[], const int collen[],
                               const int rowind[], const double rowcoef[], const double lb[],
                               const double ub[], NVRLint64 nobjqcoefs, const int objqcol1[],
                               const int objqcol2[], const double objqcoef[], int nentities,
                               int nsets, const char coltype[], const int entind[],
                               const double limit[], const char settype[],
                               const NVRLint64 setstart[], const int setind[],
                               const double refval[]) NVRL_TRY {
  LoadInput in =
      lpInput(name, ncols, nrows, rowtype, rhs, range, obj, start, collen, rowind, rowcoef, lb, ub);
  withObjective(in, nobjqcoefs, objqcol1, objqcol2, objqcoef);
  withEntities(in, nentities, nsets, coltype, entind, limit, settype, setstart, setind, refval);
  return load(prob, "NVRLloadqglobal64", in);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadqcqp64(NVRLprob prob, const char *name, int ncols, int nrows,
                            const char rowtype[], const double rhs[], const double range[],
                            const double obj[], const NVRLint64 start[], const int collen[],
                            const int rowind[], const double rowcoef[], const double lb[],
                            const double ub[], NVRLint64 nobjqcoefs, const int objqcol1[],
                            const int objqcol2[], const double objqcoef[], int nqrows,
                            const int qrowind[], const NVRLint64 nrowqcoefs[],
                            const int rowqcol1[], const int rowqcol2[],
                            const double rowqcoef[]) NVRL_TRY {
  LoadInput in =
      lpInput(name, ncols, nrows, rowtype, rhs, range, obj, start, collen, rowind, rowcoef, lb, ub);
  withObjective(in, nobjqcoefs, objqcol1, objqcol2, objqcoef);
  withQuadraticRows(in, nqrows, qrowind, nrowqcoefs, rowqcol1, rowqcol2, rowqcoef);
  return load(prob, "NVRLloadqcqp64", in);
} NVRL_CATCH(prob)

NVRL_API int NVRLloadqcqpglobal64(NVRLprob prob, const char *name, int ncols, int nrows,
                                  const char rowtype[], const double rhs[], const double range[],
                                  const double obj[], const NVRLint64 start[],
                                  const int collen[], const int rowind[],
                                  const double rowcoef[], const double lb[], const double ub[],
                                  NVRLint64 nobjqcoefs, const int objqcol1[],
                                  const int objqcol2[], const double objqcoef[], int nqrows,
                                  const int qrowind[], const NVRLint64 nrowqcoefs[],
                                  const int rowqcol1[], const int rowqcol2[],
                                  const double rowqcoef[], int nentities, int nsets,
                                  const char coltype[], const int entind[],
                                  const double limit[], const char settype[],
                                  const NVRLint64 setstart[], const int setind[],
                                  const double refval[]) NVRL_TRY {
  LoadInput in =
      lpInput(name, ncols, nrows, rowtype, rhs, range, obj, start, collen, rowind, rowcoef, lb, ub);
  withObjective(in, nobjqcoefs, objqcol1, objqcol2, objqcoef);
  withQuadraticRows(in, nqrows, qrowind, nrowqcoefs, rowqcol1, rowqcol2, rowqcoef);
  withEntities(in, nentities, nsets, coltype, entind, limit, settype, setstart, setind, refval);
  return load(prob, "NVRLloadqcqpglobal64", in);
} NVRL_CATCH(prob)

}  // extern "C"

// Gathering the rows of one addConstraint call and flushing them to the library.
#include "problem/con_batch.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

#include "model/constraint.h"
#include "model/dispatch.h"
#include "module/alloc_buffer.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"

namespace {

constexpr int64_t kFirstCapacity = 2048;
constexpr double kInfinity = 1e20;

// Grows a group of arrays so that it holds more than needed + 1 entries: from nothing to 2048,
// then by doubling. On a failed reallocation the arrays keep their old size (those already
// grown are larger, which is harmless) and -1 is returned with a MemoryError set.
template <typename... Buffers>
int grow_buffers(int64_t *capacity, int64_t needed, Buffers &...arrays) {
  if (*capacity > needed + 1) return 0;
  int64_t cap = *capacity == 0 ? kFirstCapacity : *capacity;
  while (cap <= needed + 1) cap *= 2;
  if (((arrays.resize(static_cast<size_t>(cap)) != 0) || ...)) return -1;
  *capacity = cap;
  return 0;
}

// Makes room for one more row with the converted body's counts and name length.
int make_room(con_batch *b, size_t name_bytes) {
  // Room for entry nrows of every row array and for start[nrows + 1].
  if (grow_buffers(&b->row_capacity, b->nrows, b->start, b->qcount, b->rhs, b->range,
                   b->rowtype) != 0)
    return -1;
  if (grow_buffers(&b->lin_capacity, b->nlin + static_cast<int64_t>(b->body.lin_col.size()),
                   b->colind, b->coef) != 0)
    return -1;
  if (grow_buffers(&b->quad_capacity, b->nquad + static_cast<int64_t>(b->body.quad_col1.size()),
                   b->qcol1, b->qcol2, b->qval) != 0)
    return -1;
  return grow_buffers(&b->name_capacity, b->namelen + static_cast<int64_t>(name_bytes), b->names);
}

// Room for a default name "R<identifier>".
using DefaultName = char[24];

// The constraint's name as UTF-8 text (kept alive by *holder, or written into fallback when it
// is the default name: no string object is made for each of a million unnamed rows).
const char *constraint_name(PyObject *con, PyRef<> *holder, Py_ssize_t *len,
                            DefaultName &fallback) {
  const uint64_t word = reinterpret_cast<constraint_s *>(con)->rec;
  if (!(word & CON_NAME_ENTRY)) {
    fallback[0] = 'R';
    const auto written = std::to_chars(fallback + 1, fallback + sizeof fallback - 1,
                                       word & CON_ID_MASK);
    *written.ptr = '\0';
    *len = written.ptr - fallback;
    return fallback;
  }
  PyRef name(get_con_name(word));
  if (!name) return nullptr;
  if (!PyUnicode_Check(name.get())) {
    name = PyRef(PyObject_Str(name.get()));
    if (!name) return nullptr;
  }
  const char *text = PyUnicode_AsUTF8AndSize(name.get(), len);
  *holder = std::move(name);
  return text;
}

void append_row(con_batch *b, PyObject *con, const char *name, Py_ssize_t namelen) {
  const nvo_converted &body = b->body;
  const int32_t i = b->nrows;
  if (i == 0) b->start[0] = 0;
  const size_t nl = body.lin_col.size(), nq = body.quad_col1.size();
  if (nl > 0) {
    std::memcpy(b->colind.data() + b->nlin, body.lin_col.data(), nl * sizeof(int));
    std::memcpy(b->coef.data() + b->nlin, body.lin_coef.data(), nl * sizeof(double));
  }
  for (size_t k = 0; k < nq; ++k) {
    int c1 = body.quad_col1[k], c2 = body.quad_col2[k];
    b->qcol1[b->nquad + k] = c1;
    b->qcol2[b->nquad + k] = c2;
    b->qval[b->nquad + k] = nvo_row_qcoef(c1, c2, body.quad_coef[k]);
  }
  b->rhs[i] = -body.constant;
  b->range[i] = 0.0;
  getRhsSense(con, &b->rowtype[i], &b->rhs[i], &b->range[i]);
  b->start[i + 1] = b->start[i] + static_cast<int64_t>(nl);
  b->qcount[i] = static_cast<int64_t>(nq);
  std::memcpy(b->names.data() + b->namelen, name, static_cast<size_t>(namelen));
  b->names[b->namelen + namelen] = '\0';
  b->namelen += namelen + 1;
  b->nlin += static_cast<int64_t>(nl);
  b->nquad += static_cast<int64_t>(nq);
}

// The batch's nonlinear coefficients in one library call. When the library refuses them the
// batch's rows go too, so that no row is left without its nonlinear part.
int flush_nonlinear(con_batch *b, problem_s *p, int64_t r0) {
  nvo_nlcoefs &nl = b->nl;
  if (p->slpprob == nullptr || nslp_state(-1) != 1) {
    PyErr_SetString(nvpy_interf_exc, "The nonlinear solver is not available for this problem");
  } else if (nl.close_starts() == 0) {
    if (NSLPaddcoefs(p->slpprob, static_cast<int>(nl.size()), nl.row.data(), nl.col.data(),
                     nl.factor.data(), nl.start.data(), 1, nl.tokens.types(),
                     nl.tokens.values()) == 0) {
      ++p->n_nonlin_cons;
      return 0;
    }
    nvo_library_error(p);
  }
  PyObject *type, *value, *traceback;
  PyErr_Fetch(&type, &value, &traceback);
  AllocBuffer<int> rows;
  if (rows.allocate(static_cast<size_t>(b->nrows)) == 0) {
    for (int32_t i = 0; i < b->nrows; ++i) rows[i] = static_cast<int>(r0) + i;
    NVRLdelrows(p->prob, b->nrows, rows.data());
  }
  PyErr_Restore(type, value, traceback);
  return -1;
}

}  // namespace

void con_batch::release() {
  start.reset();
  qcount.reset();
  colind.reset();
  coef.reset();
  qcol1.reset();
  qcol2.reset();
  qval.reset();
  rhs.reset();
  range.reset();
  rowtype.reset();
  names.reset();
  nl.release();
  nrows = 0;
  nlin = nquad = namelen = 0;
  row_capacity = lin_capacity = quad_capacity = name_capacity = 0;
}

void getRhsSense(PyObject *con, char *rowtype, double *rhs, double *range) {
  const uint64_t word = reinterpret_cast<constraint_s *>(con)->rec;
  const double lb = get_con_lbound(word), ub = get_con_ubound(word);
  if (std::isnan(lb) || std::isnan(ub)) {
    // NaN fails every comparison below and would make a free row; passed on as the row's
    // right-hand side, it is refused by the library like a NaN coefficient.
    *rowtype = 'E';
    *rhs = std::nan("");
    return;
  }
  if (lb > -kInfinity) {
    if (ub < kInfinity) {
      if (ub == lb) {
        *rowtype = 'E';
        *rhs += lb;
      } else {
        *rowtype = 'R';
        *rhs += ub;
        *range = ub - lb;
      }
    } else {
      *rowtype = 'G';
      *rhs += lb;
    }
  } else if (ub < kInfinity) {
    *rowtype = 'L';
    *rhs += ub;
  } else {
    *rowtype = 'N';
  }
}

int64_t problem_row_count(problem_s *p) {
  int rows = 0;
  if (NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_ROWS, &rows) != 0)
    return nvo_library_error(p);
  return rows;
}

int con_batch_check(problem_s *p, PyObject *con) {
  if (!constraint_check(con)) {
    return nvo_model_error("Invalid constraint");
  }
  if (reinterpret_cast<constraint_s *>(con)->body == nullptr) {
    return nvo_model_error("Stale expression link, cannot add constraint");
  }
  if (rowcolmap_has(p->conmap, con_id(con))) {
    return nvo_model_error("Constraint already added to problem");
  }
  return 0;
}

int con_batch_queue(con_batch *b, problem_s *p, PyObject *con) {
  PyObject *body = reinterpret_cast<constraint_s *>(con)->body;
  const nvo_nl_problem view = problem_nl_view(p);
  b->body.clear();
  size_t nl_first = b->nl.size();
  if (convertExpr(&view, body, &b->body, &b->nl) != 0) return -1;
  PyRef name_holder;
  DefaultName default_name;
  Py_ssize_t namelen = 0;
  const char *name = constraint_name(con, &name_holder, &namelen, default_name);
  if (name == nullptr || make_room(b, static_cast<size_t>(namelen) + 1) != 0) {
    // Send what is queued before this row and start over with empty buffers; only a row that
    // cannot fit even alone is an error.
    b->nl.truncate(nl_first);
    if (name == nullptr) return -1;
    PyErr_Clear();
    if (con_batch_flush(b, p) != 0) return -1;
    b->body.clear();
    nl_first = 0;
    if (convertExpr(&view, body, &b->body, &b->nl) != 0 ||
        make_room(b, static_cast<size_t>(namelen) + 1) != 0) {
      b->release();
      return -1;
    }
  }
  if (b->nrows == 0) {
    b->first_row = problem_row_count(p);
    if (b->first_row < 0) {
      b->nl.truncate(nl_first);
      return -1;
    }
  }
  b->nl.set_rows(nl_first, static_cast<int>(b->first_row + b->nrows));
  append_row(b, con, name, namelen);
  ++b->nrows;
  return 0;
}

int con_batch_flush(con_batch *b, problem_s *p) {
  if (b->nrows == 0) {
    b->release();
    return 0;
  }
  const int64_t r0 = b->first_row;
  int rc = 0;
  if (NVRLaddrows64(p->prob, b->nrows, b->nlin, b->rowtype.data(), b->rhs.data(),
                    b->range.data(), b->start.data(), b->colind.data(), b->coef.data()) != 0 ||
      NVRLaddnames(p->prob, 1, b->names.data(), static_cast<int>(r0),
                   static_cast<int>(r0) + b->nrows - 1) != 0) {
    rc = nvo_library_error(p);
  } else {
    int64_t offset = 0;
    for (int32_t i = 0; i < b->nrows && rc == 0; ++i) {
      if (b->qcount[i] > 0 &&
          NVRLaddqmatrix64(p->prob, static_cast<int>(r0) + i, b->qcount[i],
                           b->qcol1.data() + offset, b->qcol2.data() + offset,
                           b->qval.data() + offset) != 0)
        rc = nvo_library_error(p);
      offset += b->qcount[i];
    }
  }
  if (rc == 0 && b->nl.size() > 0) rc = flush_nonlinear(b, p, r0);
  b->release();
  return rc;
}

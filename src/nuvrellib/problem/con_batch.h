// The constraint batch: the rows of one addConstraint call gathered in growable arrays and
// sent to the library with one call per kind of data.
#pragma once

#include <Python.h>

#include <cstdint>

#include "module/alloc_buffer.h"
#include "nonlinear/convert.h"
#include "problem/problem.h"

// The conversion's view of p.
inline nvo_nl_problem problem_nl_view(problem_s *p) {
  nvo_nl_problem view;
  view.owner = reinterpret_cast<PyObject *>(p);
  view.varmap = p->varmap;
  view.slpprob = p->slpprob;
  view.constant_col = &p->constant_col;
  view.userfuncs = &p->userfuncs;
  view.userfunc_errors = &p->userfunc_errors;
  return view;
}

struct con_batch {
  int32_t nrows = 0;
  int64_t first_row = 0;  // the problem's row count when the first queued row came in
  int64_t nlin = 0, nquad = 0, namelen = 0;
  int64_t row_capacity = 0, lin_capacity = 0, quad_capacity = 0, name_capacity = 0;
  AllocBuffer<int64_t> start;   // nrows + 1 row starts into colind/coef
  AllocBuffer<int64_t> qcount;  // quadratic triplets per row
  AllocBuffer<int> colind;
  AllocBuffer<double> coef;
  AllocBuffer<int> qcol1, qcol2;
  AllocBuffer<double> qval;
  AllocBuffer<double> rhs, range;
  AllocBuffer<char> rowtype;
  AllocBuffer<char> names;
  nvo_converted body;  // scratch space for converting one body
  nvo_nlcoefs nl;      // nonlinear coefficients of the queued rows

  con_batch() = default;
  con_batch(const con_batch &) = delete;
  con_batch &operator=(const con_batch &) = delete;
  // Frees every array and empties the batch.
  void release();
};

// Checks a constraint for addition to p (ModelError "Invalid constraint", "Stale expression
// link, cannot add constraint", "Constraint already added to problem"). 0 or -1.
int con_batch_check(problem_s *p, PyObject *con);
// Converts con and queues it as row first_row + nrows (its row is first_row + nrows - 1
// afterwards). Growth that fails flushes the batch
// and retries. 0, or -1 with an exception set (the batch then holds the rows before con).
int con_batch_queue(con_batch *b, problem_s *p, PyObject *con);
// Sends the queued rows to the library and empties the batch. 0, or -1 with an exception set.
int con_batch_flush(con_batch *b, problem_s *p);

// Row type, right-hand side and range of a constraint from its bounds; *rhs holds the
// negated constant of the body on entry.
void getRhsSense(PyObject *con, char *rowtype, double *rhs, double *range);

// The number of rows of p (attribute NVRL_ATTR_ORIGINAL_ROWS); -1 with an exception set on failure.
int64_t problem_row_count(problem_s *p);

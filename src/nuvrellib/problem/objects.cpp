// Adding variables and constraints to a problem, and the method table of the objects family.
#include "problem/objects.h"

#include <charconv>
#include <new>
#include <string>

#include "model/array_names.h"
#include "model/constraint.h"
#include "model/var.h"
#include "model/walk.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "module/pyref.h"
#include "problem/con_batch.h"
#include "problem/method_families.h"
#include "problem/problem.h"
#include "problem/removal.h"

namespace {



bool is_limited_type(char t) { return t == 'S' || t == 'R' || t == 'P'; }

int column_type(long vartype, char *coltype) {
  switch (vartype) {
    case VARTYPE_CONTINUOUS: *coltype = 'C'; return 0;
    case VARTYPE_BINARY: *coltype = 'B'; return 0;
    case VARTYPE_INTEGER: *coltype = 'I'; return 0;
    case VARTYPE_SEMICONTINUOUS: *coltype = 'S'; return 0;
    case VARTYPE_SEMIINTEGER: *coltype = 'R'; return 0;
    case VARTYPE_PARTIALLYINTEGER: *coltype = 'P'; return 0;
    default:
      return nvo_model_error("Incorrect variable type passed to addVariable()");
  }
}

// The columns of one addVariable call, gathered for one library call per kind of data.
struct NewColumns {
  AllocBuffer<double> lb, ub;
  AllocBuffer<int> index;
  AllocBuffer<char> type;
  AllocBuffer<int> limited;        // columns of type S, R, P
  AllocBuffer<double> threshold;   // their thresholds
  AllocBuffer<char> names;         // NUL-separated
  std::string pattern_name;        // the name of a variable of a named array, written here
};

// The name of a variable of a named array as text, without a string object in between; false
// where that does not apply (or memory runs out), and the name object is asked for instead.
bool pattern_name_text(uint64_t id, std::string *text) {
  try {
    return array_names_ascii_text(id, text);
  } catch (const std::bad_alloc &) {
    return false;
  }
}

int collect_variable(problem_s *p, PyObject *leaf, int first_col, NewColumns *cols) {
  if (!var_check(leaf)) {
    return nvo_model_error("Incorrect objects added as variables to problem");
  }
  const uint64_t word = reinterpret_cast<var_s *>(leaf)->rec;
  if (rowcolmap_has(p->varmap, var_word_id(word))) {
    return nvo_model_error("Variable already added to problem");
  }
  char coltype;
  if (column_type(get_var_type(word), &coltype) != 0) return -1;
  const double lb = get_var_lbound(word), ub = get_var_ubound(word);
  const double threshold = get_var_thold(word);
  if (is_limited_type(coltype) && !(lb <= threshold && threshold <= ub)) {
    return nvo_model_error("Incorrect semi-continuous, semi-integer, or partially integer "
                           "variable; check that its threshold is between its lower and upper "
                           "bounds");
  }
  // A default name "C<identifier>" is written here rather than made as a string object: for
  // the million unnamed variables of an array that cost more than the rest of the addition.
  char default_name[24] = {'C'};
  const char *text = default_name;
  Py_ssize_t len = 0;
  PyRef<> name;
  if (!(word & (VAR_NAME_ENTRY | VAR_NAME_PATTERN))) {
    const auto written =
        std::to_chars(default_name + 1, default_name + sizeof default_name, var_word_id(word));
    len = written.ptr - default_name;
  } else if ((word & VAR_NAME_PATTERN) &&
             pattern_name_text(var_word_id(word), &cols->pattern_name)) {
    text = cols->pattern_name.data();
    len = static_cast<Py_ssize_t>(cols->pattern_name.size());
  } else {
    name = PyRef<>::steal(get_var_name(word));
    if (!name) return -1;
    if (!PyUnicode_Check(name.get())) {
      return nvo_model_error("Invalid variable name (must be a string)");
    }
    text = PyUnicode_AsUTF8AndSize(name.get(), &len);
    if (text == nullptr) return -1;
  }
  if (PyList_Append(p->vars, leaf) != 0) return -1;
  const int col = first_col + static_cast<int>(cols->index.size());
  if (rowcolmap_set(p->varmap, var_word_id(word), col) != 0) {
    PyErr_Clear();
    return nvo_model_error("Could not amend variable map");
  }
  if (cols->index.push_back(col) != 0 || cols->type.push_back(coltype) != 0 ||
      cols->lb.push_back(lb) != 0 || cols->ub.push_back(ub) != 0)
    return -1;
  if (is_limited_type(coltype) &&
      (cols->limited.push_back(col) != 0 || cols->threshold.push_back(threshold) != 0))
    return -1;
  return cols->names.append(text, static_cast<size_t>(len) + 1);
}

int send_columns(problem_s *p, const NewColumns &cols) {
  const int n = static_cast<int>(cols.index.size());
  if (n == 0) return 0;
  const int first = cols.index[0];
  if (NVRLaddcols64(p->prob, n, 0, nullptr, nullptr, nullptr, nullptr, cols.lb.data(),
                    cols.ub.data()) != 0 ||
      NVRLchgcoltype(p->prob, n, cols.index.data(), cols.type.data()) != 0 ||
      NVRLaddnames(p->prob, 2, cols.names.data(), first, first + n - 1) != 0)
    return nvo_library_error(p);
  if (!cols.limited.empty() &&
      NVRLchgglblimit(p->prob, static_cast<int>(cols.limited.size()), cols.limited.data(),
                      cols.threshold.data()) != 0)
    return nvo_library_error(p);
  return 0;
}

// Drops the objects that were appended to list beyond the library's count n (their rows or
// columns never reached the library), so that a failed call leaves the problem as it was.
// The pending exception is kept.
void roll_back(PyObject *list, rowcolmap *map, int64_t n, uint64_t (*id_of)(const PyObject *)) {
  PendingError pending;
  const Py_ssize_t size = PyList_GET_SIZE(list);
  // Last first, so that a run of the map is taken apart from its top (see rowcolmap.h).
  for (Py_ssize_t i = size - 1; i >= static_cast<Py_ssize_t>(n); --i)
    rowcolmap_del(map, id_of(PyList_GET_ITEM(list, i)));
  if (n < size && PyList_SetSlice(list, static_cast<Py_ssize_t>(n), size, nullptr) != 0)
    PyErr_Clear();
}

// Columns that a failed addVariable added before a later call failed go again, so that the
// list and the library agree. The pending exception is kept.
void remove_new_columns(problem_s *p, int first_col) {
  PendingError pending;
  int ncols = 0;
  if (NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_COLUMNS, &ncols) != 0 || ncols <= first_col)
    return;
  AllocBuffer<int> extra;
  if (extra.allocate(static_cast<size_t>(ncols - first_col)) != 0) return;
  for (int j = first_col; j < ncols; ++j) extra[static_cast<size_t>(j - first_col)] = j;
  NVRLdelcols(p->prob, ncols - first_col, extra.data());
}

uint64_t variable_id(const PyObject *obj) { return var_id(obj); }
uint64_t constraint_id(const PyObject *obj) { return con_id(obj); }

PyDoc_STRVAR(problem_addVariable_doc,
             "addVariable(*variables)\n\n"
             "Adds variables (also in nested lists, tuples, dictionaries or arrays) as new\n"
             "columns of the problem, in the order given.\n\n"
             "Example: x = nuvrel.var(ub=10); y = [nuvrel.var() for i in range(5)]\n"
             "         p.addVariable(x, y)");

PyDoc_STRVAR(problem_addConstraint_doc,
             "addConstraint(*constraints)\n\n"
             "Adds constraints (also in nested lists, tuples, dictionaries or arrays) as new\n"
             "rows of the problem. All constraints of one call reach the solver together.\n\n"
             "Example: p.addConstraint(x + y <= 4, [x - y >= i for i in range(3)])");

}  // namespace

PyObject *problem_addVariable(PyObject *self, PyObject *args, PyObject *kwargs) {
  if (nvo_no_keywords("addVariable", kwargs) != 0) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int first_col = 0;
  if (NVRLgetintattrib(p->prob, NVRL_ATTR_ORIGINAL_COLUMNS, &first_col) != 0)
    return setNvrlErrIfNull(self, nullptr);
  NewColumns cols;
  if (nvo_walk_args(args, [&](PyObject *leaf) {
        return collect_variable(p, leaf, first_col, &cols);
      }) != 0 ||
      send_columns(p, cols) != 0) {
    remove_new_columns(p, first_col);
    roll_back(p->vars, p->varmap, first_col, variable_id);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject *problem_addConstraint(PyObject *self, PyObject *args, PyObject *kwargs) {
  if (nvo_no_keywords("addConstraint", kwargs) != 0) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  con_batch batch;
  int rc = nvo_walk_args(args, [&](PyObject *leaf) -> int {
    if (con_batch_check(p, leaf) != 0) return -1;
    if (con_batch_queue(&batch, p, leaf) != 0) return -1;
    if (PyList_Append(p->cons, leaf) != 0) return -1;
    if (rowcolmap_set(p->conmap, con_id(leaf), batch.first_row + batch.nrows - 1) != 0) {
      PyErr_Clear();
      return nvo_model_error("Cannot add constraint to problem");
    }
    return 0;
  });
  if (rc != 0 || con_batch_flush(&batch, p) != 0) {
    // Rows already flushed stay; the rest of the call is undone.
    int64_t rows = problem_row_count(p);
    if (rows >= 0) roll_back(p->cons, p->conmap, rows, constraint_id);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyMethodDef problem_methods_objects[] = {
    {"addVariable", NVO_KW_METHOD(problem_addVariable),
     METH_VARARGS | METH_KEYWORDS, problem_addVariable_doc},
    {"addConstraint", NVO_KW_METHOD(problem_addConstraint),
     METH_VARARGS | METH_KEYWORDS, problem_addConstraint_doc},
    {"addSOS", NVO_KW_METHOD(problem_addSOS), METH_VARARGS | METH_KEYWORDS, problem_addSOS_doc},
    {"addIndicator", problem_addIndicator, METH_VARARGS, problem_addIndicator_doc},
    {"delVariable", NVO_KW_METHOD(problem_delVariable),
     METH_VARARGS | METH_KEYWORDS, problem_delVariable_doc},
    {"delConstraint", NVO_KW_METHOD(problem_delConstraint),
     METH_VARARGS | METH_KEYWORDS, problem_delConstraint_doc},
    {"delSOS", NVO_KW_METHOD(problem_delSOS), METH_VARARGS | METH_KEYWORDS, problem_delSOS_doc},
    {"getVariable", NVO_KW_METHOD(problem_getVariable),
     METH_VARARGS | METH_KEYWORDS, problem_getVariable_doc},
    {"getConstraint", NVO_KW_METHOD(problem_getConstraint),
     METH_VARARGS | METH_KEYWORDS, problem_getConstraint_doc},
    {"getSOS", NVO_KW_METHOD(problem_getSOS), METH_VARARGS | METH_KEYWORDS, problem_getSOS_doc},
    {"getIndex", problem_getIndex, METH_O, problem_getIndex_doc},
    {nullptr, nullptr, 0, nullptr},
};

// Conversion of bodies and objectives: the linear and quadratic part into columns and
// coefficients, each nonlinear operand into one coefficient of the nonlinear solver.
#include "nonlinear/convert.h"

#include <climits>
#include <cmath>

#include "model/dispatch.h"
#include "model/expression.h"
#include "model/linterm.h"
#include "model/quadterm.h"
#include "model/termmaps.h"
#include "model/var.h"
#include "model/walk.h"
#include "module/env.h"
#include "module/errors.h"
#include "nonlinear/nonlin.h"
#include "nonlinear/user_tokens.h"
#include "module/pyref.h"

namespace {

// A missing variable is reported by where it sits in the body.
constexpr const char *kLinearTerm =
    "Variable in linear term defining constraint has not been added to problem yet";
constexpr const char *kLinearPart =
    "Variable in linear part of constraint has not been added to problem yet";
constexpr const char *kQuadraticTerm =
    "Variable in quadratic term defining constraint has not been added to problem yet";
constexpr const char *kQuadraticPart =
    "Variable in quadratic part of constraint has not been added to problem yet";
constexpr const char *kFormulaVar =
    "Variable in nonlinear part of constraint has not been added to problem yet";
constexpr const char *kFormulaTermVar =
    "Variable in nonlinear expression has not been added to problem yet";
constexpr const char *kFactorVar = "Variable in nonlinear term not added to problem yet";
constexpr const char *kDepth =
    "The expression tree depth reached the maximum limit, please reformulate or simplify the "
    "expression";

// Column of var in p, or -1 with ModelError msg.
inline int column_of(const nvo_nl_problem *p, PyObject *var, const char *msg) {
  int64_t col;
  if (rowcolmap_get(p->varmap, var_id(var), &col) != 0) return nvo_model_error(msg);
  return static_cast<int>(col);
}

inline PyObject *as_obj(const var_s *v) {
  return reinterpret_cast<PyObject *>(const_cast<var_s *>(v));
}

// --- linear and quadratic part ---------------------------------------------------------------

inline int add_lin(const nvo_nl_problem *p, PyObject *var, double coef, const char *msg,
                   nvo_converted *out) {
  int col = column_of(p, var, msg);
  if (col < 0) return -1;
  if (coef != 0.0 && (out->lin_col.push_back(col) != 0 || out->lin_coef.push_back(coef) != 0))
    return -1;
  return 0;
}

int add_quad(const nvo_nl_problem *p, PyObject *x, PyObject *y, double coef, const char *msg,
             nvo_converted *out) {
  int c1 = column_of(p, x, msg);
  if (c1 < 0) return -1;
  int c2 = column_of(p, y, msg);
  if (c2 < 0) return -1;
  if (coef != 0.0 && (out->quad_col1.push_back(c1) != 0 || out->quad_col2.push_back(c2) != 0 ||
                      out->quad_coef.push_back(coef) != 0))
    return -1;
  return 0;
}

int linear_expression(const nvo_nl_problem *p, expression_s *e, double sign, nvo_converted *out) {
  out->constant += sign * e->constant;
  if (e->lin != nullptr) {
    const size_t n = out->lin_col.size() + e->lin->size();
    if (out->lin_col.reserve(n) != 0 || out->lin_coef.reserve(n) != 0) return -1;
    for (const auto &[var, coef] : *e->lin)
      if (add_lin(p, as_obj(var), sign * coef, kLinearPart, out) != 0) return -1;
  }
  if (e->quad != nullptr) {
    for (const auto &[x, inner] : *e->quad)
      for (const auto &[y, coef] : *inner)
        if (add_quad(p, as_obj(x), as_obj(y), sign * coef, kQuadraticPart, out) != 0) return -1;
  }
  return 0;
}

// sign * body into *out for a body of kind (number .. expression). 1 when body is of no such
// kind (nothing is written), else 0 or -1.
int linear_part(const nvo_nl_problem *p, PyObject *body, int kind, double sign, nvo_converted *out) {
  switch (kind) {
    case NVO_KIND_NUMBER:
      out->constant += sign * nvo_number_value(body);
      return 0;
    case NVO_KIND_VAR:
      return add_lin(p, body, sign, kLinearTerm, out);
    case NVO_KIND_LINTERM: {
      auto *t = reinterpret_cast<linterm_s *>(body);
      return add_lin(p, t->var, sign * t->coef, kLinearTerm, out);
    }
    case NVO_KIND_QUADTERM: {
      auto *t = reinterpret_cast<quadterm_s *>(body);
      return add_quad(p, t->var1, t->var2, sign * t->coef, kQuadraticTerm, out);
    }
    case NVO_KIND_EXPRESSION:
      return linear_expression(p, reinterpret_cast<expression_s *>(body), sign, out);
    default:
      return 1;
  }
}

// --- formulas ------------------------------------------------------------------------------

// The library refuses such constants; refusing them here keeps the row out of the problem.
inline int check_finite(double v) {
  if (std::isfinite(v)) [[likely]]
    return 0;
  return nvo_model_error("A nonlinear expression cannot hold a constant that is NaN or infinite");
}

// Operator tokens after written operand i of k, so that the library's evaluation stack stays
// shallow: pairs are joined as soon as they are complete, then pairs of pairs, and the last
// operand closes everything. *written counts this node's operator tokens.
inline int balanced_ops(nvo_tokens *t, size_t i, size_t k, double op, size_t *written) {
  size_t j = i + 1;
  if (j < k) {
    while (j % 2 == 0) {
      j /= 2;
      if (t->emit(NVO_TOK_OP, op) != 0) return -1;
      ++*written;
    }
  } else {
    while (*written + 1 < k) {
      if (t->emit(NVO_TOK_OP, op) != 0) return -1;
      ++*written;
    }
  }
  return 0;
}

// c*x or c*x*y (y null for the former): c written only when it is not 1 or -1.
int write_term(const nvo_nl_problem *p, double c, PyObject *x, PyObject *y, nvo_tokens *t) {
  if (check_finite(c) != 0) return -1;
  const int cx = column_of(p, x, kFormulaTermVar);
  if (cx < 0) return -1;
  int cy = 0;
  if (y != nullptr && (cy = column_of(p, y, kFormulaTermVar)) < 0) return -1;
  if (t->reserve(5) != 0) return -1;
  const bool plain = c == 1.0 || c == -1.0;
  if (!plain) t->put(NVO_TOK_CON, c);
  t->put(NVO_TOK_COL, cx);
  if (y != nullptr) {
    t->put(NVO_TOK_COL, cy);
    t->put(NVO_TOK_OP, NVO_OP_MULTIPLY);
  }
  if (c == -1.0)
    t->put(NVO_TOK_OP, NVO_OP_UMINUS);
  else if (!plain)
    t->put(NVO_TOK_OP, NVO_OP_MULTIPLY);
  return 0;
}

// An expression leaf: its constant (when not 0) and its terms joined by balanced plus signs.
int write_expression(const nvo_nl_problem *p, expression_s *e, nvo_tokens *t) {
  if (check_finite(e->constant) != 0) return -1;
  size_t k = e->constant != 0.0 ? 1 : 0;
  if (e->lin != nullptr) k += e->lin->size();
  if (e->quad != nullptr)
    for (const auto &entry : *e->quad) k += entry.second->size();
  if (k == 0) return t->emit(NVO_TOK_CON, 0.0);
  size_t i = 0, written = 0;
  if (e->constant != 0.0) {
    if (t->emit(NVO_TOK_CON, e->constant) != 0 || balanced_ops(t, i++, k, NVO_OP_PLUS, &written))
      return -1;
  }
  if (e->lin != nullptr)
    for (const auto &[var, coef] : *e->lin)
      if (write_term(p, coef, as_obj(var), nullptr, t) != 0 ||
          balanced_ops(t, i++, k, NVO_OP_PLUS, &written) != 0)
        return -1;
  if (e->quad != nullptr)
    for (const auto &[x, inner] : *e->quad)
      for (const auto &[y, coef] : *inner)
        if (write_term(p, coef, as_obj(x), as_obj(y), t) != 0 ||
            balanced_ops(t, i++, k, NVO_OP_PLUS, &written) != 0)
          return -1;
  return 0;
}

// Operands of a top-level product that become the coefficient's column and factor instead of
// being written: the first variable, and every number.
struct Skipped {
  Py_ssize_t var_index = -1;
  bool numbers = false;
  bool skips(PyObject *item, Py_ssize_t i) const {
    return i == var_index || (numbers && nvo_is_number(item));
  }
};

int write_node(const nvo_nl_problem *p, PyObject *node, nvo_tokens *t, int depth, const Skipped *skip);

// Sum and product: operands in order with the balanced operator scheme.
int write_sum_or_product(const nvo_nl_problem *p, PyObject *args, int op, nvo_tokens *t, int depth,
                         const Skipped *skip) {
  if (!PyList_Check(args) && !PyTuple_Check(args))
    return nvo_model_error("N-ary operator should have list or tuple of arguments");
  const Py_ssize_t n = PySequence_Fast_GET_SIZE(args);
  PyObject **items = PySequence_Fast_ITEMS(args);
  size_t k = static_cast<size_t>(n);
  if (skip != nullptr)
    for (Py_ssize_t i = 0; i < n; ++i)
      if (skip->skips(items[i], i)) --k;
  // Nothing left to write: the empty sum or product.
  if (k == 0) return t->emit(NVO_TOK_CON, op == NL_SUM ? 0.0 : 1.0);
  const double opval = py_to_slp_fun[op];
  size_t w = 0, written = 0;
  // A user function's registration may run Python code that changes the list: it is held,
  // and each operand is read afresh and held while it is written.
  PyRef<> hold = PyRef<>::borrow(args);
  for (Py_ssize_t i = 0; i < n; ++i) {
    if (i >= PySequence_Fast_GET_SIZE(args)) return nvo_model_error("Cannot convert expression");
    PyRef<> item = PyRef<>::borrow(PySequence_Fast_GET_ITEM(args, i));
    if (skip != nullptr && skip->skips(item.get(), i)) continue;
    if (nvo_formula_operand(p, item.get(), t, depth - 1) != 0 ||
        balanced_ops(t, w++, k, opval, &written) != 0)
      return -1;
  }
  return 0;
}

int write_node(const nvo_nl_problem *p, PyObject *node, nvo_tokens *t, int depth, const Skipped *skip) {
  if (depth < 1) return nvo_model_error(kDepth);
  const int op = nonlin_op_of(node);
  PyObject *args = reinterpret_cast<nonlin_s *>(node)->args;
  if (op < 0 || op >= NL_OP_COUNT || args == nullptr)
    return nvo_model_error("Unrecognized member of a nonlinear expression");
  switch (op) {
    case NL_SUM:
    case NL_PROD:
      return write_sum_or_product(p, args, op, t, depth, skip);
    case NL_PWL:
    case NL_USER:
    case NL_USER2:
      return nvo_user_tokens(p, node, t, depth);
    case NL_MINUS:
    case NL_DIV:
    case NL_POW:
      if (!PyTuple_Check(args) || PyTuple_GET_SIZE(args) != 2)
        return nvo_model_error("Binary operator should have tuple for arguments");
      if (nvo_formula_operand(p, PyTuple_GET_ITEM(args, 0), t, depth - 1) != 0 ||
          nvo_formula_operand(p, PyTuple_GET_ITEM(args, 1), t, depth - 1) != 0)
        return -1;
      break;
    case NL_MIN:
    case NL_MAX:
    case NL_AND:
    case NL_OR: {
      if (!PyList_Check(args) && !PyTuple_Check(args))
        return nvo_model_error("N-ary operator should have list or tuple of arguments");
      if (t->emit(NVO_TOK_DEL, 0.0) != 0) return -1;
      PyRef<> hold = PyRef<>::borrow(args);  // held as in write_sum_or_product
      for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(args); ++i) {
        PyRef<> item = PyRef<>::borrow(PySequence_Fast_GET_ITEM(args, i));
        if (nvo_formula_operand(p, item.get(), t, depth - 1) != 0) return -1;
      }
      break;
    }
    default:  // unary minus and the one-argument functions
      if (op != NL_NEG && t->emit(NVO_TOK_DEL, 0.0) != 0) return -1;
      if (nvo_formula_operand(p, args, t, depth - 1) != 0) return -1;
      break;
  }
  return t->emit(py_to_slp_op[op], py_to_slp_fun[op]);
}

// One nonlinear coefficient from a node at the top of a body: sign * node. A product gives
// its first variable as the column and its numbers as the factor.
int add_coefficient(const nvo_nl_problem *p, PyObject *node, double sign, nvo_nlcoefs *nl) {
  int col = -1;
  double factor = sign;
  Skipped skip;
  const Skipped *skipping = nullptr;
  PyObject *args = reinterpret_cast<nonlin_s *>(node)->args;
  if (nonlin_op_of(node) == NL_PROD && args != nullptr &&
      (PyList_Check(args) || PyTuple_Check(args))) {
    const Py_ssize_t n = PySequence_Fast_GET_SIZE(args);
    PyObject **items = PySequence_Fast_ITEMS(args);
    for (Py_ssize_t i = 0; i < n; ++i) {
      if (skip.var_index < 0 && nvo_kind_noraise(items[i]) == NVO_KIND_VAR) {
        if ((col = column_of(p, items[i], kFactorVar)) < 0) return -1;
        skip.var_index = i;
      } else if (nvo_is_number(items[i])) {
        factor *= nvo_number_value(items[i]);
        skip.numbers = true;
      }
    }
    skipping = &skip;
  }
  if (check_finite(factor) != 0) return -1;
  if (col < 0 && nvo_constant_column(p, &col) != 0) return -1;
  nvo_tokens *t = &nl->tokens;
  const size_t start = t->size();
  if (write_node(p, node, t, NVO_MAX_FORMULA_DEPTH, skipping) != 0 ||
      t->emit(NVO_TOK_EOF, 0.0) != 0)
    return -1;
  if (start > static_cast<size_t>(INT_MAX))
    return nvo_model_error("Too many nonlinear formula tokens in one batch of constraints");
  if (nl->row.push_back(0) != 0 || nl->col.push_back(col) != 0 ||
      nl->factor.push_back(factor) != 0 || nl->start.push_back(static_cast<int>(start)) != 0)
    return -1;
  return 0;
}

// The library keeps one coefficient per (row, column): coefficients of one body that share a
// column are joined into one, factor * formula summed. Rare (several nonlinear terms on the
// constant column, or with the same leading variable), so done by copying.
int merge_shared_columns(nvo_nlcoefs *nl, size_t first) {
  const size_t m = nl->size();
  bool shared = false;
  for (size_t a = first; a < m && !shared; ++a)
    for (size_t b = a + 1; b < m && !shared; ++b) shared = nl->col[a] == nl->col[b];
  if (!shared) return 0;

  // Copies of this body's coefficients and tokens, then rewritten in place.
  const size_t tok0 = static_cast<size_t>(nl->start[first]), tokn = nl->tokens.size();
  AllocBuffer<int> cols, starts, types, used;
  AllocBuffer<double> factors, values;
  if (cols.allocate(m - first) != 0 || starts.allocate(m - first + 1) != 0 ||
      factors.allocate(m - first) != 0 || used.allocate(m - first, 0) != 0 ||
      types.allocate(tokn - tok0) != 0 || values.allocate(tokn - tok0) != 0)
    return -1;
  for (size_t k = first; k < m; ++k) {
    cols[k - first] = nl->col[k];
    factors[k - first] = nl->factor[k];
    starts[k - first] = nl->start[k] - static_cast<int>(tok0);
  }
  starts[m - first] = static_cast<int>(tokn - tok0);
  for (size_t i = tok0; i < tokn; ++i) {
    types[i - tok0] = nl->tokens.type_at(i);
    values[i - tok0] = nl->tokens.value_at(i);
  }
  nl->truncate(first);
  nvo_tokens *t = &nl->tokens;
  const size_t n = m - first;
  for (size_t a = 0; a < n; ++a) {
    if (used[a]) continue;
    size_t group = 0;
    for (size_t b = a; b < n; ++b) group += cols[b] == cols[a] && !used[b];
    const double common = group == 1 ? factors[a] : 1.0;
    const size_t start = t->size();
    size_t w = 0, written = 0;
    for (size_t b = a; b < n; ++b) {
      if (used[b] || cols[b] != cols[a]) continue;
      used[b] = 1;
      // The formula without its end token, times its factor when factors differ.
      const size_t len = static_cast<size_t>(starts[b + 1] - starts[b]) - 1;
      if (t->reserve(len + 2) != 0) return -1;
      for (size_t i = 0; i < len; ++i)
        t->put(types[starts[b] + i], values[starts[b] + i]);
      if (group > 1 && factors[b] != 1.0) {
        t->put(NVO_TOK_CON, factors[b]);
        t->put(NVO_TOK_OP, NVO_OP_MULTIPLY);
      }
      if (balanced_ops(t, w++, group, NVO_OP_PLUS, &written) != 0) return -1;
    }
    if (t->emit(NVO_TOK_EOF, 0.0) != 0) return -1;
    if (nl->row.push_back(0) != 0 || nl->col.push_back(cols[a]) != 0 ||
        nl->factor.push_back(common) != 0 || nl->start.push_back(static_cast<int>(start)) != 0)
      return -1;
  }
  return 0;
}

int convert_body(const nvo_nl_problem *p, PyObject *body, nvo_converted *out, nvo_nlcoefs *nl) {
  const int kind = nvo_kind_noraise(body);
  if (kind != NVO_KIND_NONLIN) {
    const int rc = linear_part(p, body, kind, 1.0, out);
    return rc > 0 ? nvo_model_error("Cannot convert expression") : rc;
  }
  PyObject *args = reinterpret_cast<nonlin_s *>(body)->args;
  switch (nonlin_op_of(body)) {
    case NL_SUM: {
      if (args == nullptr || !PyList_Check(args))
        return nvo_model_error("Erroneous type for argument of sum");
      // Registering a user function may run Python code that changes the list, so each
      // operand is held while it is converted and the size is read afresh.
      for (Py_ssize_t i = 0; i < PyList_GET_SIZE(args); ++i) {
        PyRef item = PyRef<>::borrow(PyList_GET_ITEM(args, i));
        const int k = nvo_kind_noraise(item.get());
        const int rc = k == NVO_KIND_NONLIN ? add_coefficient(p, item.get(), 1.0, nl)
                                            : linear_part(p, item.get(), k, 1.0, out);
        item.reset();
        if (rc > 0) return nvo_model_error("Invalid expression in nonlinear sum");
        if (rc < 0) return -1;
      }
      return 0;
    }
    case NL_MINUS: {
      if (args == nullptr || !PyTuple_Check(args) || PyTuple_GET_SIZE(args) != 2)
        return nvo_model_error("Erroneous type for argument of difference expression");
      for (Py_ssize_t i = 0; i < 2; ++i) {
        PyObject *item = PyTuple_GET_ITEM(args, i);
        const double sign = i == 0 ? 1.0 : -1.0;
        const int k = nvo_kind_noraise(item);
        const int rc = k == NVO_KIND_NONLIN ? add_coefficient(p, item, sign, nl)
                                            : linear_part(p, item, k, sign, out);
        if (rc > 0) return nvo_model_error("Invalid expression");
        if (rc < 0) return -1;
      }
      return 0;
    }
    default:
      return add_coefficient(p, body, 1.0, nl);
  }
}

}  // namespace

void nvo_nlcoefs::truncate(size_t k) {
  if (k >= size()) {
    // Only a closing start entry may be past the coefficients.
    start.resize(size());
    return;
  }
  tokens.truncate(static_cast<size_t>(start[k]));
  row.resize(k);
  col.resize(k);
  factor.resize(k);
  start.resize(k);
}

void nvo_nlcoefs::release() {
  row.reset();
  col.reset();
  start.reset();
  factor.reset();
  tokens.reset();
}

int nvo_nlcoefs::close_starts() {
  if (tokens.size() > static_cast<size_t>(INT_MAX))
    return nvo_model_error("Too many nonlinear formula tokens in one batch of constraints");
  return start.push_back(static_cast<int>(tokens.size()));
}

int nvo_formula_operand(const nvo_nl_problem *p, PyObject *obj, nvo_tokens *t, int depth) {
  if (depth < 1) return nvo_model_error(kDepth);
  switch (nvo_kind_noraise(obj)) {
    case NVO_KIND_NUMBER: {
      const double v = nvo_number_value(obj);
      if (check_finite(v) != 0) return -1;
      return t->emit(NVO_TOK_CON, v);
    }
    case NVO_KIND_VAR: {
      const int col = column_of(p, obj, kFormulaVar);
      return col < 0 ? -1 : t->emit(NVO_TOK_COL, col);
    }
    case NVO_KIND_LINTERM: {
      auto *term = reinterpret_cast<linterm_s *>(obj);
      return write_term(p, term->coef, term->var, nullptr, t);
    }
    case NVO_KIND_QUADTERM: {
      auto *term = reinterpret_cast<quadterm_s *>(obj);
      return write_term(p, term->coef, term->var1, term->var2, t);
    }
    case NVO_KIND_EXPRESSION:
      return write_expression(p, reinterpret_cast<expression_s *>(obj), t);
    case NVO_KIND_NONLIN:
      return write_node(p, obj, t, depth, nullptr);
    default:
      return nvo_model_error("Incorrect argument of nonlinear function");
  }
}

int nvo_constant_column(const nvo_nl_problem *p, int *col) {
  if (*p->constant_col == NVO_CONSTANT_COL_UNREAD) {
    if (p->slpprob == nullptr || nslp_state(-1) != 1) {
      PyErr_SetString(nvpy_interf_exc, "The nonlinear solver is not available for this problem");
      return -1;
    }
    int c = 0;
    if (NSLPgetintattrib(p->slpprob, NSLP_ATTR_CONSTANT_COLUMN, &c) != 0)
      return nvo_library_error(p->owner);
    *p->constant_col = c;
  }
  *col = *p->constant_col;
  return 0;
}

int convertExpr(const nvo_nl_problem *p, PyObject *body, nvo_converted *out, nvo_nlcoefs *nl) {
  const size_t first = nl->size();
  if (convert_body(p, body, out, nl) != 0 || merge_shared_columns(nl, first) != 0) {
    nl->truncate(first);
    return -1;
  }
  return 0;
}

// Conversion of bodies and objectives into columns and coefficients for the library.
#include "nonlinear/convert.h"

#include "model/dispatch.h"
#include "model/expression.h"
#include "model/linterm.h"
#include "model/quadterm.h"
#include "model/termmaps.h"
#include "model/var.h"
#include "module/env.h"
#include "module/errors.h"

namespace {

// A missing variable is reported by where it sits in the body; objectives share the texts.
struct Messages {
  const char *linear_term, *linear_part, *quadratic_term, *quadratic_part;
};

constexpr Messages kRowMessages = {
    "Variable in linear term defining constraint has not been added to problem yet",
    "Variable in linear part of constraint has not been added to problem yet",
    "Variable in quadratic term defining constraint has not been added to problem yet",
    "Variable in quadratic part of constraint has not been added to problem yet",
};

// Column of var in varmap, or -1 with ModelError msg.
int column_of(const rowcolmap *varmap, PyObject *var, const char *msg) {
  int64_t col;
  if (rowcolmap_get(varmap, var_id(var), &col) != 0) return nvo_model_error(msg);
  return static_cast<int>(col);
}

inline int add_lin(const rowcolmap *varmap, PyObject *var, double coef, const char *msg,
                   nvo_converted *out) {
  int col = column_of(varmap, var, msg);
  if (col < 0) return -1;
  if (coef != 0.0 && (out->lin_col.push_back(col) != 0 || out->lin_coef.push_back(coef) != 0))
    return -1;
  return 0;
}

int add_quad(const rowcolmap *varmap, PyObject *x, PyObject *y, double coef, const char *msg,
             nvo_converted *out) {
  int c1 = column_of(varmap, x, msg);
  if (c1 < 0) return -1;
  int c2 = column_of(varmap, y, msg);
  if (c2 < 0) return -1;
  if (coef != 0.0 && (out->quad_col1.push_back(c1) != 0 || out->quad_col2.push_back(c2) != 0 ||
                      out->quad_coef.push_back(coef) != 0))
    return -1;
  return 0;
}

int convert_expression(const rowcolmap *varmap, expression_s *e, const Messages &m,
                       nvo_converted *out) {
  out->constant += e->constant;
  if (e->lin != nullptr) {
    const size_t n = out->lin_col.size() + e->lin->size();
    if (out->lin_col.reserve(n) != 0 || out->lin_coef.reserve(n) != 0) return -1;
    for (const auto &[var, coef] : *e->lin)
      if (add_lin(varmap, reinterpret_cast<PyObject *>(const_cast<var_s *>(var)), coef,
                  m.linear_part, out) != 0)
        return -1;
  }
  if (e->quad != nullptr) {
    for (const auto &[x, inner] : *e->quad)
      for (const auto &[y, coef] : *inner)
        if (add_quad(varmap, reinterpret_cast<PyObject *>(const_cast<var_s *>(x)),
                     reinterpret_cast<PyObject *>(const_cast<var_s *>(y)), coef,
                     m.quadratic_part, out) != 0)
          return -1;
  }
  return 0;
}

}  // namespace

int convertExpr(const rowcolmap *varmap, PyObject *body, nvo_converted *out) {
  const Messages &m = kRowMessages;
  switch (nvo_kind_noraise(body)) {
    case NVO_KIND_NUMBER:
      out->constant += nvo_number_value(body);
      return 0;
    case NVO_KIND_VAR:
      return add_lin(varmap, body, 1.0, m.linear_term, out);
    case NVO_KIND_LINTERM: {
      auto *t = reinterpret_cast<linterm_s *>(body);
      return add_lin(varmap, t->var, t->coef, m.linear_term, out);
    }
    case NVO_KIND_QUADTERM: {
      auto *t = reinterpret_cast<quadterm_s *>(body);
      return add_quad(varmap, t->var1, t->var2, t->coef, m.quadratic_term, out);
    }
    case NVO_KIND_EXPRESSION:
      return convert_expression(varmap, reinterpret_cast<expression_s *>(body), m, out);
    case NVO_KIND_NONLIN:
      // Refused before anything reaches the library, so the problem stays as it was.
      return nvo_model_error(
          "Nonlinear constraints and objectives cannot be passed to a problem in this build");
    default:
      return nvo_model_error("Cannot convert expression");
  }
}

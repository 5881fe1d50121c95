// Array products over modelling objects (Dot and A @ x). Each result element is one sum
// accumulated in place: number-times-variable products go straight into the linear map of one
// expression and variable-times-variable products into its quadratic map, so no temporary
// object is made per product.
#include <cstdint>
#include <new>
#include <vector>

#include "arrays/arrays.h"
#include "model/dispatch.h"
#include "model/expression.h"
#include "model/linterm.h"
#include "model/var.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/pyref.h"
#include "module/scalars.h"
#include "nonlinear/nonlin.h"

namespace {

constexpr const char kWrongOut[] =
    "Output argument set with wrong type: must be float/int for products of floats/ints and "
    "expression/nonlin for products of variables/expressions/nonlinear";
constexpr const char kNoResult[] = "Could not initialize result of dot product";

// One result element: an expression for the linear and quadratic parts and, only when a
// nonlinear factor turns up, a node sum beside it. Number-times-variable products are
// collected in a buffer reused across elements and go into the linear map together (one
// allocation per map); anything else first flushes them, so that every coefficient is summed
// in the order of the products. The buffer borrows the variables from the operand arrays, and
// is flushed before anything that could run Python code.
class dot_sum {
 public:
  int start() {
    terms_.clear();
    expr_ = PyRef(expression_base());
    nl_.reset();
    return expr_ ? 0 : -1;
  }

  // c * obj.
  int add_scaled(PyObject *obj, double c) {
    if (c == 0.0) return 0;
    // Plain variables are the common operand of A @ x: no classification needed.
    if (Py_TYPE(obj) == &var_type) return collect(obj, c);
    if (Py_TYPE(obj) == &linterm_type) {
      auto *t = reinterpret_cast<linterm_s *>(obj);
      return collect(t->var, c * t->coef);
    }
    if (flush() < 0) return -1;
    const int kind = getExprType(obj);
    if (kind < 0) return -1;
    if (kind == NVO_KIND_VAR) return expression_addToLinTerm(expr_.get(), obj, c);
    if (kind != NVO_KIND_NONLIN) return expression_accumulate(expr_.get(), obj, c);
    return add_node(obj, c);
  }

  // a * b for two elements of object arrays (either may be a number).
  int add_product(PyObject *a, PyObject *b) {
    if (nvo_is_number(a)) return add_scaled(b, nvo_number_value(a));
    if (nvo_is_number(b)) return add_scaled(a, nvo_number_value(b));
    if (flush() < 0) return -1;
    if (var_check(a) && var_check(b)) return expression_addToQuadTerm(expr_.get(), a, b, 1.0);
    PyRef p(general_mul(a, b));
    if (!p) return -1;
    return add_scaled(p.get(), 1.0);
  }

  // The element's value; the sum is left empty for the next start().
  PyObject *finish() {
    if (flush() < 0) return nullptr;
    if (!nl_) return expr_.release_obj();
    auto *e = reinterpret_cast<expression_s *>(expr_.get());
    if (e->constant == 0.0 && expression_is_const(expr_.get())) return nl_.release_obj();
    PyObject *r = nonlin_incremental_alg_sum(nl_.get(), expr_.get(), 1.0);
    nl_.reset();
    expr_.reset();
    return r;
  }

 private:
  int collect(PyObject *var, double c) {
    try {
      terms_.push_back({reinterpret_cast<const var_s *>(var), c});
    } catch (const std::bad_alloc &) {
      PyErr_NoMemory();
      return -1;
    }
    return 0;
  }

  int flush() {
    if (terms_.empty()) return 0;
    int rc = expression_addLinTerms(expr_.get(), terms_.data(), static_cast<Py_ssize_t>(terms_.size()));
    terms_.clear();
    return rc;
  }

  int add_node(PyObject *node, double c) {
    PyObject *r = nonlin_incremental_alg_sum(nl_ ? nl_.get() : Py_None, node, c);
    if (r == nullptr) return -1;
    nl_ = PyRef(r);
    return 0;
  }

  PyRef<> expr_, nl_;
  std::vector<linmap_entry> terms_;
};

enum operand_kind { OPERAND_DOUBLE, OPERAND_OBJECT };

constexpr npy_intp kZeroBlock = 32;

// The first k' >= k below n whose contiguous double at p + k' * 8 is not a zero of either sign
// (c == 0.0 exactly; NaN is not zero), or n. Whole blocks are tested with one branch: a sparse
// row given dense is mostly zeros.
npy_intp next_nonzero(const char *p, npy_intp k, npy_intp n) {
  for (; k + kZeroBlock <= n; k += kZeroBlock) {
    uint64_t bits = 0;
    for (npy_intp j = 0; j < kZeroBlock; ++j) {
      uint64_t w;
      __builtin_memcpy(&w, p + (k + j) * static_cast<npy_intp>(sizeof w), sizeof w);
      bits |= w << 1;  // without the sign bit
    }
    if (bits != 0) break;
  }
  for (; k < n; ++k) {
    uint64_t w;
    __builtin_memcpy(&w, p + k * static_cast<npy_intp>(sizeof w), sizeof w);
    if ((w << 1) != 0) break;
  }
  return k;
}

// The sum over k of a[k] * b[k] (strided), of the given operand kinds, into sum.
int contract(dot_sum &sum, int ka, const char *a, npy_intp sa, int kb, const char *b,
             npy_intp sb, npy_intp n) {
  if (sum.start() < 0) return -1;
  if (ka == OPERAND_DOUBLE || kb == OPERAND_DOUBLE) {
    // Numbers times objects: a row given dense with its zeros is mostly skipped, so the scan
    // over the coefficients is kept tight and the object is only read for a non-zero one.
    const char *num = ka == OPERAND_DOUBLE ? a : b, *obj = ka == OPERAND_DOUBLE ? b : a;
    const npy_intp sn = ka == OPERAND_DOUBLE ? sa : sb, so = ka == OPERAND_DOUBLE ? sb : sa;
    npy_intp k = 0;
    while (k < n) {
      double c;
      __builtin_memcpy(&c, num + k * sn, sizeof c);
      if (c == 0.0) {
        k = sn == sizeof(double) ? next_nonzero(num, k + 1, n) : k + 1;
        continue;
      }
      PyObject *o = nvo_elem_load(obj + k * so);
      if (sum.add_scaled(o != nullptr ? o : Py_None, c) < 0) return -1;
      ++k;
    }
    return 0;
  }
  for (npy_intp k = 0; k < n; ++k, a += sa, b += sb) {
    int rc;
    if (ka == OPERAND_DOUBLE) {
      double c;
      __builtin_memcpy(&c, a, sizeof c);
      PyObject *o = nvo_elem_load(b);
      rc = sum.add_scaled(o != nullptr ? o : Py_None, c);
    } else if (kb == OPERAND_DOUBLE) {
      double c;
      __builtin_memcpy(&c, b, sizeof c);
      PyObject *o = nvo_elem_load(a);
      rc = sum.add_scaled(o != nullptr ? o : Py_None, c);
    } else {
      PyObject *x = nvo_elem_load(a), *y = nvo_elem_load(b);
      rc = sum.add_product(x != nullptr ? x : Py_None, y != nullptr ? y : Py_None);
    }
    if (rc < 0) return -1;
  }
  return 0;
}

// The operand kind of an array's elements: numbers (to be read as doubles), object references,
// or -1 for anything else.
int element_class(PyArrayObject *arr) {
  PyArray_Descr *d = PyArray_DESCR(arr);
  if (nvo_is_elem_descr(d, NVO_ELEM_VAR) || nvo_is_elem_descr(d, NVO_ELEM_EXPR) ||
      d->type_num == NPY_OBJECT)
    return OPERAND_OBJECT;
  if (PyTypeNum_ISINTEGER(d->type_num) || PyTypeNum_ISFLOAT(d->type_num) ||
      PyTypeNum_ISBOOL(d->type_num))
    return OPERAND_DOUBLE;
  return -1;
}

// arr as a two-dimensional array (rows, cols) with the contracted axis `axis` moved to
// position `to` (0 or 1); numbers are converted to doubles. New reference.
PyObject *as_matrix(PyArrayObject *arr, int cls, int axis, int to) {
  const int nd = PyArray_NDIM(arr);
  PyRef<> src = PyRef<>::borrow(reinterpret_cast<PyObject *>(arr));
  if (cls == OPERAND_DOUBLE) {
    src = PyRef(PyArray_FROM_OTF(src.get(), NPY_DOUBLE, NPY_ARRAY_ALIGNED));
    if (!src) return nullptr;
  }
  std::vector<npy_intp> perm;
  for (int i = 0; i < nd; ++i)
    if (i != axis) perm.push_back(i);
  perm.insert(to == 0 ? perm.begin() : perm.end(), axis);
  PyArray_Dims p{perm.data(), nd};
  PyRef moved(PyArray_Transpose(reinterpret_cast<PyArrayObject *>(src.get()), &p));
  if (!moved) return nullptr;
  const npy_intp k = PyArray_DIM(arr, axis);
  const npy_intp size = PyArray_SIZE(arr);
  const npy_intp other = k == 0 ? 0 : size / k;
  npy_intp shape[2] = {to == 0 ? k : other, to == 0 ? other : k};
  if (k == 0) {
    // numpy cannot infer the other extent of an empty array: count it from the dimensions.
    npy_intp prod = 1;
    for (int i = 0; i < nd; ++i)
      if (i != axis) prod *= PyArray_DIM(arr, i);
    shape[to == 0 ? 1 : 0] = prod;
  }
  PyArray_Dims s{shape, 2};
  return PyArray_Newshape(reinterpret_cast<PyArrayObject *>(moved.get()), &s, NPY_CORDER);
}

}  // namespace

PyObject *convert_const_to_expr(PyObject *obj) {
  if (nvo_is_array(obj)) {
    auto *arr = reinterpret_cast<PyArrayObject *>(obj);
    if (PyArray_SIZE(arr) != 1)
      return nvo_model_error("Scalar vector apparently contains more than one element");
    PyRef item(PyArray_GETITEM(arr, static_cast<const char *>(PyArray_DATA(arr))));
    if (!item) return nullptr;
    return convert_const_to_expr(item.get());
  }
  if (nvo_is_number(obj)) return PyFloat_FromDouble(nvo_number_value(obj));
  if (nvo_is_numpy_scalar(obj)) {
    PyRef f(PyNumber_Float(obj));
    if (!f) {
      PyErr_Clear();
      return nvo_model_error("Wrong expression resulting from cumulated operator (Sum, Prod, Dot)");
    }
    return f.release();
  }
  if (nvo_kind_noraise(obj) > NVO_KIND_NUMBER) return Py_NewRef(obj);
  return nvo_model_error("Invalid object in place of expression/constant");
}

PyObject *tensor_mult(PyObject *a_obj, PyObject *b_obj, PyObject *out) {
  if (a_obj == Py_None || a_obj == nullptr) {
    if (!nvo_is_array(b_obj)) return nvo_model_error("Dot product should only be on NumPy arrays");
    return Py_NewRef(b_obj);
  }
  if (!nvo_is_array(a_obj) || !nvo_is_array(b_obj))
    return nvo_model_error("Dot product can only occur between NumPy arrays");
  auto *a = reinterpret_cast<PyArrayObject *>(a_obj);
  auto *b = reinterpret_cast<PyArrayObject *>(b_obj);
  const int na = PyArray_NDIM(a), nb = PyArray_NDIM(b);
  const int ca = element_class(a), cb = element_class(b);

  if (na == 0 && nb == 0) {
    PyRef x(PyArray_GETITEM(a, static_cast<const char *>(PyArray_DATA(a))));
    PyRef y(PyArray_GETITEM(b, static_cast<const char *>(PyArray_DATA(b))));
    if (!x || !y) return nullptr;
    if (nvo_is_number(x.get()) && nvo_is_number(y.get()))
      return PyFloat_FromDouble(nvo_number_value(x.get()) * nvo_number_value(y.get()));
    return general_mul(x.get(), y.get());
  }
  if (na == 0)
    return nvo_model_error("Dot product between incompatible objects: first one is a scalar");
  if (nb == 0)
    return nvo_model_error("Dot product between incompatible objects: second one is a scalar");
  if (ca < 0 || cb < 0)
    return nvo_model_error("Dot product must be between long, double, and expressions/variables");

  const int b_axis = nb == 1 ? 0 : nb - 2;
  const npy_intp k = PyArray_DIM(a, na - 1);
  if (PyArray_DIM(b, b_axis) != k)
    return nvo_model_error(
        "Dot product must occur between NumPy vectors with matching sizes in the multiplying "
        "dimension");

  if (ca == OPERAND_DOUBLE && cb == OPERAND_DOUBLE) {
    // numpy's own product keeps integers integral and floats in floating point.
    if (out != nullptr && (!nvo_is_array(out) ||
                           element_class(reinterpret_cast<PyArrayObject *>(out)) !=
                               OPERAND_DOUBLE))
      return nvo_model_error(kWrongOut);
    return PyArray_MatrixProduct2(a_obj, b_obj, reinterpret_cast<PyArrayObject *>(out));
  }

  // Result dimensions: a's without its last, then b's without the contracted one.
  std::vector<npy_intp> dims;
  for (int i = 0; i < na - 1; ++i) dims.push_back(PyArray_DIM(a, i));
  for (int i = 0; i < nb; ++i)
    if (i != b_axis) dims.push_back(PyArray_DIM(b, i));

  PyRef<> result;
  if (out != nullptr) {
    if (!nvo_is_array(out)) return nvo_model_error(kWrongOut);
    auto *o = reinterpret_cast<PyArrayObject *>(out);
    PyArray_Descr *od = PyArray_DESCR(o);
    if (!nvo_is_elem_descr(od, NVO_ELEM_EXPR) && od->type_num != NPY_OBJECT)
      return nvo_model_error(kWrongOut);
    if (PyArray_NDIM(o) != static_cast<int>(dims.size()) ||
        !PyArray_CompareLists(PyArray_DIMS(o), dims.data(), PyArray_NDIM(o)) ||
        !PyArray_ISWRITEABLE(o))
      return nvo_model_error(kNoResult);
    result = PyRef<>::borrow(out);
  }

  if (na == 1 && nb == 1 && out == nullptr) {
    // Two vectors (Dot of a row and x): one sum straight from the operands' own data, without
    // the reshaped views of the general case; only a non-double number vector is converted.
    PyRef<> ca_arr = PyRef<>::borrow(a_obj), cb_arr = PyRef<>::borrow(b_obj);
    if (ca == OPERAND_DOUBLE && (PyArray_TYPE(a) != NPY_DOUBLE || !PyArray_ISNOTSWAPPED(a)))
      ca_arr = PyRef(PyArray_FROM_OTF(a_obj, NPY_DOUBLE, NPY_ARRAY_ALIGNED));
    if (cb == OPERAND_DOUBLE && (PyArray_TYPE(b) != NPY_DOUBLE || !PyArray_ISNOTSWAPPED(b)))
      cb_arr = PyRef(PyArray_FROM_OTF(b_obj, NPY_DOUBLE, NPY_ARRAY_ALIGNED));
    if (!ca_arr || !cb_arr) return nullptr;
    auto *va = reinterpret_cast<PyArrayObject *>(ca_arr.get());
    auto *vb = reinterpret_cast<PyArrayObject *>(cb_arr.get());
    dot_sum sum;
    if (contract(sum, ca, PyArray_BYTES(va), PyArray_STRIDE(va, 0), cb, PyArray_BYTES(vb),
                 PyArray_STRIDE(vb, 0), k) < 0)
      return nullptr;
    return sum.finish();
  }

  PyRef ma(as_matrix(a, ca, na - 1, 1));
  if (!ma) return nullptr;
  PyRef mb(as_matrix(b, cb, b_axis, 0));
  if (!mb) return nullptr;
  auto *A = reinterpret_cast<PyArrayObject *>(ma.get());
  auto *B = reinterpret_cast<PyArrayObject *>(mb.get());
  const npy_intp rows = PyArray_DIM(A, 0), cols = PyArray_DIM(B, 1);
  const npy_intp a0 = PyArray_STRIDE(A, 0), a1 = PyArray_STRIDE(A, 1);
  const npy_intp b0 = PyArray_STRIDE(B, 0), b1 = PyArray_STRIDE(B, 1);
  const char *pa = PyArray_BYTES(A), *pb = PyArray_BYTES(B);

  dot_sum sum;
  if (dims.empty() && !result) {
    // Two vectors: a single sum.
    if (contract(sum, ca, pa, a1, cb, pb, b0, k) < 0) return nullptr;
    return sum.finish();
  }
  if (!result) {
    result = PyRef(nvo_new_elem_array(NVO_ELEM_EXPR, static_cast<int>(dims.size()), dims.data()));
    if (!result) {
      if (PyErr_ExceptionMatches(PyExc_MemoryError)) {
        PyErr_Clear();
        return nvo_model_error(kNoResult);
      }
      return nullptr;
    }
  }
  // The result's elements in C order are (row, col) pairs, col fastest; out may be strided.
  PyRef it(PyArray_IterNew(result.get()));
  if (!it) return nullptr;
  auto *iter = reinterpret_cast<PyArrayIterObject *>(it.get());
  for (npy_intp i = 0; i < rows; ++i) {
    for (npy_intp j = 0; j < cols; ++j) {
      if (contract(sum, ca, pa + i * a0, a1, cb, pb + j * b1, b0, k) < 0) return nullptr;
      PyObject *v = sum.finish();
      if (v == nullptr) return nullptr;
      nvo_elem_store(static_cast<char *>(PyArray_ITER_DATA(iter)), v);
      PyArray_ITER_NEXT(iter);
    }
  }
  return result.release();
}

// The gufunc loop of matmul, (n,k),(k,m)->(n,m), with the operand kinds in data.
void nvo_matmul_loop(char **args, const npy_intp *dims, const npy_intp *steps, void *data) {
  const int flag = static_cast<int>(reinterpret_cast<intptr_t>(data));
  const int ka = flag == 1 ? OPERAND_DOUBLE : OPERAND_OBJECT;
  const int kb = flag == 2 ? OPERAND_DOUBLE : OPERAND_OBJECT;
  const npy_intp outer = dims[0], n = dims[1], k = dims[2], m = dims[3];
  const npy_intp s0 = steps[0], s1 = steps[1], s2 = steps[2];
  const npy_intp a_n = steps[3], a_k = steps[4], b_k = steps[5], b_m = steps[6];
  const npy_intp o_n = steps[7], o_m = steps[8];
  dot_sum sum;
  for (npy_intp t = 0; t < outer; ++t) {
    const char *a = args[0] + t * s0, *b = args[1] + t * s1;
    char *o = args[2] + t * s2;
    for (npy_intp i = 0; i < n; ++i)
      for (npy_intp j = 0; j < m; ++j) {
        PyObject *v = contract(sum, ka, a + i * a_n, a_k, kb, b + j * b_m, b_k, k) < 0
                          ? nullptr
                          : sum.finish();
        nvo_elem_store(o + i * o_n + j * o_m, v);
        if (v == nullptr) return;
      }
  }
}

// nuvrel.Sum, nuvrel.Prod and nuvrel.Dot: folds over collections of modelling objects.
//
// The accumulator starts empty; the first element is copied (general_copy) so that the in-place
// steps that follow amend a private object and never one of the caller's.
#include "model/sum.h"

#include <utility>

#include "model/dispatch.h"
#include "model/expression.h"
#include "model/walk.h"
#include "module/args.h"
#include "module/env.h"
#include "module/element_types.h"
#include "module/errors.h"
#include "module/numpy_api.h"
#include "module/pyref.h"

namespace {

constexpr const char kInvalidObject[] = "Invalid object in Sum or Prod operators";
constexpr const char kIncorrectObjects[] =
    "Incorrect objects used in Sum, Dot, Prod, or aggregate functions";
constexpr const char kInvalidSequence[] = "Invalid sequence of objects";

// Numbers, modelling objects and arrays are values to fold, never collections to open.
bool is_value(PyObject *obj) {
  return nvo_kind_noraise(obj) != NVO_KIND_INVALID || nvo_is_array(obj);
}

// A collection that the fold opens when it is nested (node is nvo_node_of(obj) for an obj that
// is not a value): anything iterable other than a string.
bool is_collection(PyObject *obj, nvo_node node) {
  if (node == NVO_NODE_ITERATOR) return Py_TYPE(obj)->tp_iter != nullptr;
  return node >= NVO_NODE_TUPLE;
}

template <class Visit>
int walk_indexed(PyObject *seq, Py_ssize_t n, Visit &visit) {
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyRef item(PySequence_GetItem(seq, i));
    if (!item || visit(item.get()) < 0) return -1;
  }
  return 0;
}

template <class Visit>
int walk_array(PyObject *obj, Visit &visit) {
  auto *arr = reinterpret_cast<PyArrayObject *>(obj);
  if (PyArray_NDIM(arr) == 0) {
    // A zero-dimensional array is one element.
    PyRef empty(PyTuple_New(0));
    if (!empty) return -1;
    PyRef item(PyObject_GetItem(obj, empty.get()));
    return item ? visit(item.get()) : -1;
  }
  return walk_indexed(obj, PyArray_DIM(arr, 0), visit);
}

// Calls visit for each element of a collection (node is nvo_node_of(coll)), in the
// collection's own order: an array along its first dimension, a sequence other than a tuple or
// list through the sequence protocol, a dictionary's values without None; tuples, lists and
// iterables as every walk reads them.
template <class Visit>
int for_each_element(PyObject *coll, nvo_node node, Visit &&visit) {
  switch (node) {
    case NVO_NODE_ARRAY:
      return walk_array(coll, visit);
    case NVO_NODE_SEQUENCE: {
      const Py_ssize_t n = PySequence_Size(coll);
      if (n < 0) {
        PyErr_Clear();
        return nvo_model_error(kInvalidSequence);
      }
      return walk_indexed(coll, n, visit);
    }
    case NVO_NODE_DICT:
      return nvo_for_each_item(coll, node, [&visit](PyObject *v) {
        return v == Py_None ? 0 : visit(v);
      });
    default:
      return nvo_for_each_item(coll, node, visit);
  }
}

// The positional arguments as the collection to fold: a single argument is itself the
// collection, several are the tuple. A single argument that cannot be walked (Sum(x) for a
// variable x) fails with the iterator protocol's own TypeError.
template <class Visit>
int for_each_argument(PyObject *args, Visit &&visit) {
  PyObject *collection = PyTuple_GET_SIZE(args) == 1 ? PyTuple_GET_ITEM(args, 0) : args;
  return for_each_element(collection, nvo_node_of(collection), visit);
}

// A failed combination keeps a ModelError of its own; the type and value errors of numpy's
// operators (element types or shapes that do not go together) become the fold's message, with
// the original kept as its cause.
int combine_failed() {
  if (!PyErr_Occurred()) {
    return nvo_model_error(kIncorrectObjects);
  }
  if (!PyErr_ExceptionMatches(PyExc_TypeError) && !PyErr_ExceptionMatches(PyExc_ValueError))
    return -1;
  return nvo_error_from_pending(nvpy_model_exc, kIncorrectObjects);
}

// Whether the in-place step may combine elem into acc, an array. numpy's in-place operators
// keep the accumulator's element type and shape, so acc must hold expressions (a float or
// variable array cannot take the results) and elem must be an array of variables, expressions
// or real numbers that broadcasts to acc's shape without growing it. Plain arrays only: a
// subclass may bring operators of its own.
bool amendable(PyObject *acc, PyObject *elem) {
  if (!PyArray_CheckExact(acc) || !PyArray_CheckExact(elem)) return false;
  auto *a = reinterpret_cast<PyArrayObject *>(acc);
  auto *e = reinterpret_cast<PyArrayObject *>(elem);
  auto type_of = [](PyObject *descr) { return reinterpret_cast<PyArray_Descr *>(descr)->type_num; };
  const int te = PyArray_TYPE(e);
  if (PyArray_TYPE(a) != type_of(nvr_py_env.npexpr) ||
      !(te == type_of(nvr_py_env.npexpr) || te == type_of(nvr_py_env.npvar) ||
        PyArray_ISINTEGER(e) || PyArray_ISFLOAT(e)))
    return false;
  const int na = PyArray_NDIM(a), ne = PyArray_NDIM(e);
  if (ne > na) return false;
  for (int k = 1; k <= ne; ++k) {
    const npy_intp de = PyArray_DIM(e, ne - k);
    if (de != 1 && de != PyArray_DIM(a, na - k)) return false;
  }
  return true;
}

// Folds elements into a private accumulator with an in-place step (Sum, Prod). Nested
// collections are opened, so Sum([[x, y], z]) is x + y + z.
class Folder {
 public:
  using step_fn = PyObject *(*)(PyObject *, PyObject *);
  Folder(step_fn inplace_step, step_fn plain_step)
      : inplace_step_(inplace_step), plain_step_(plain_step) {}

  int add(PyObject *elem) {
    if (elem == Py_None) return 0;
    if (!is_value(elem)) return open(elem);
    if (!acc_) {
      acc_ = PyRef(general_copy(elem, 1.0));
      return acc_ ? 0 : -1;
    }
    // An array of expressions is amended where numpy's in-place operators can (summing the
    // rows of a matrix would otherwise copy every growing element at every step); other
    // arrays are combined into a new array.
    const bool array_acc = nvo_is_array(acc_.get());
    step_fn step = array_acc && !amendable(acc_.get(), elem) ? plain_step_ : inplace_step_;
    PyRef next(step(acc_.get(), elem));
    if (!next) return combine_failed();
    // An operator may hand back the element itself (0 + e is e); the accumulator must stay
    // private, or the next in-place step would amend the caller's object.
    const bool mutable_elem =
        nvo_kind_noraise(elem) >= NVO_KIND_EXPRESSION || nvo_is_array(elem);
    if (next.get() == elem && mutable_elem) {
      next = PyRef(general_copy(elem, 1.0));
      if (!next) return -1;
    }
    acc_ = std::move(next);
    return 0;
  }

  // Folds the elements of a nested collection (elem is not a value); anything else cannot be
  // folded. Nesting is bounded by the interpreter's recursion limit, so a list that contains
  // itself ends in a RecursionError.
  int open(PyObject *elem) {
    const nvo_node node = nvo_node_of_other(elem);
    if (!is_collection(elem, node)) return nvo_model_error(kInvalidObject);
    if (Py_EnterRecursiveCall(" while opening nested collections in Sum or Prod") != 0) return -1;
    const int rc = for_each_element(elem, node, [this](PyObject *e) { return add(e); });
    Py_LeaveRecursiveCall();
    return rc;
  }

  // The accumulated object (null when nothing was folded).
  PyRef<> result() { return std::move(acc_); }

 private:
  step_fn inplace_step_, plain_step_;
  PyRef<> acc_;
};

// The array product of the accumulator and the next factor (acc null for the first factor);
// out is given only for the last step.
PyObject *dot_step(PyObject *acc, PyObject *factor, PyObject *out) {
  if (acc == nullptr) return nvo_arrays.tensor_mult(Py_None, factor, nullptr);
  return nvo_arrays.tensor_mult(acc, factor, out);
}

}  // namespace

// --- module functions -----------------------------------------------------------------------

PyObject *nuvrelmod_Sum(PyObject *, PyObject *args) {
  Folder fold(general_iadd, general_add);
  if (for_each_argument(args, [&fold](PyObject *e) { return fold.add(e); }) < 0) return nullptr;
  PyRef acc = fold.result();
  if (!acc) return expression_base();
  if (nvo_is_number(acc.get())) {
    // Sum always gives a modelling object, also for numbers only.
    auto e = PyRef<expression_s>::steal(expression_base());
    if (!e) return nullptr;
    e->constant = nvo_number_value(acc.get());
    return e.release_obj();
  }
  return acc.release();
}

PyObject *nuvrelmod_Prod(PyObject *, PyObject *args) {
  Folder fold(general_imul, general_mul);
  if (for_each_argument(args, [&fold](PyObject *e) { return fold.add(e); }) < 0) return nullptr;
  PyRef acc = fold.result();
  // A product of nothing is 0.0, as a sum of nothing is: a product built over an empty
  // selection then adds no term to a model instead of a constant 1.
  if (!acc) return PyFloat_FromDouble(0.0);
  return acc.release();
}

PyObject *nuvrelmod_Dot(PyObject *, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"out", nullptr};
  PyObject *out = nullptr;
  PyRef no_args(PyTuple_New(0));
  if (!no_args) return nullptr;
  if (!nvo_ParseTupleAndKeywords(no_args.get(), kwargs, "|O:Dot", kwlist, nullptr, &out))
    return nullptr;
  if (out == Py_None) out = nullptr;

  // The factors are gathered first: out belongs to the last step only.
  PyRef factors(PyList_New(0));
  if (!factors) return nullptr;
  if (for_each_argument(args, [&factors](PyObject *e) {
        return PyList_Append(factors.get(), e);
      }) < 0)
    return nullptr;
  const Py_ssize_t n = PyList_GET_SIZE(factors.get());
  if (n == 0) return PyFloat_FromDouble(0.0);

  PyRef acc;
  for (Py_ssize_t i = 0; i < n; ++i) {
    PyObject *factor = PyList_GET_ITEM(factors.get(), i);
    PyRef next(dot_step(acc.get(), factor, i == n - 1 ? out : nullptr));
    if (!next) {
      combine_failed();
      return nullptr;
    }
    acc = std::move(next);
  }
  return acc.release();
}

// --- docstrings -----------------------------------------------------------------------------

const char nuvrelmod_Sum_doc[] =
    "Purpose:\n"
    "  Adds any number of numbers, variables, terms, expressions or arrays into one object,\n"
    "  building the result in place (much faster than the built-in sum for long sums).\n\n"
    "Synopsis:\n"
    "  a = nuvrel.Sum(t1, t2, ...)\n"
    "  a = nuvrel.Sum(collection)\n\n"
    "Arguments:\n"
    "  t1, t2, ...: the objects to add, or a single list, tuple, dictionary (its values;\n"
    "               None values are skipped), generator, array or other iterable of them.\n"
    "               Nested lists, tuples and dictionaries are opened. The result is always\n"
    "               a modelling object: an empty sum is an empty expression (value 0).\n\n"
    "Example:\n"
    "  x = [nuvrel.var() for i in range(10)]\n"
    "  e = nuvrel.Sum(i * x[i] for i in range(10))\n";

const char nuvrelmod_Prod_doc[] =
    "Purpose:\n"
    "  Multiplies any number of numbers, variables, terms, expressions or arrays into one\n"
    "  object.\n\n"
    "Synopsis:\n"
    "  a = nuvrel.Prod(t1, t2, ...)\n"
    "  a = nuvrel.Prod(collection)\n\n"
    "Arguments:\n"
    "  t1, t2, ...: the factors, or a single list, tuple, dictionary (its values), generator,\n"
    "               array or other iterable of them. An empty product is 0.0.\n\n"
    "Example:\n"
    "  q = nuvrel.Prod([x, y])   # the quadratic term x*y\n";

const char nuvrelmod_Dot_doc[] =
    "Purpose:\n"
    "  The product of a sequence of NumPy arrays as in numpy.dot, for arrays whose elements\n"
    "  may be numbers, variables or expressions.\n\n"
    "Synopsis:\n"
    "  a = nuvrel.Dot(t1, t2, ..., out=None)\n\n"
    "Arguments:\n"
    "  t1, t2, ...: the arrays, multiplied left to right; the last dimension of each must\n"
    "               match the second-to-last dimension of the next (its only dimension for a\n"
    "               vector). No arrays give 0.0.\n"
    "  out:         optional array of the result's shape that receives the product.\n\n"
    "Example:\n"
    "  A = numpy.array([[1, 2], [3, 4]])\n"
    "  v = numpy.array([x, y], dtype=nuvrel.npvar)\n"
    "  e = nuvrel.Dot(A, v)      # [x + 2*y, 3*x + 4*y]\n";

// The table of element-wise loops and their registration on numpy's ufuncs.
#include "arrays/arrays.h"
#include "arrays/loops.h"
#include "module/element_types.h"
#include "module/pyref.h"

namespace {

struct named_loop {
  const char *ufunc;
  PyUFuncGenericFunction fn;
};

// Each row: the sets of types of the first and second operand (bits of the indices into
// nvo_typenum; no second set for a unary loop), the output's index, and the loops by ufunc
// name, ended by an empty name. The table ends with an empty first set. Object arrays (a
// modelling scalar that numpy turned into an array, or a list of mixed objects) hold the same
// references, so the object loops serve them too.
struct loop_row {
  unsigned first, second;
  int output;
  named_loop loops[16];
};

constexpr unsigned bit(int i) { return 1u << i; }
constexpr unsigned D = bit(NVO_ELEM_DOUBLE), VE = bit(NVO_ELEM_VAR) | bit(NVO_ELEM_EXPR),
                   VEO = VE | bit(NVO_ELEM_OBJECT), ANY = D | VEO;
constexpr int C = NVO_ELEM_CON, E = NVO_ELEM_EXPR;

const loop_row loop_table[] = {
    {VE, D, C, {{"less_equal", leq_con_of}, {"equal", eq_con_of}, {"greater_equal", geq_con_of}, {}}},
    {D, VE, C, {{"less_equal", leq_con_fo}, {"equal", eq_con_fo}, {"greater_equal", geq_con_fo}, {}}},
    {VEO, VEO, C, {{"less_equal", leq_con_oo}, {"equal", eq_con_oo}, {"greater_equal", geq_con_oo}, {}}},
    {D, VE, E, {{"add", nvr_arr_add_fo}, {"subtract", nvr_arr_sub_fo}, {}}},
    {VE, D, E, {{"add", nvr_arr_add_of}, {"subtract", nvr_arr_sub_of}, {}}},
    {VEO, VEO, E, {{"add", nvr_arr_add_oo}, {"subtract", nvr_arr_sub_oo}, {}}},
    {VE, 0, E, {{"negative", nvr_arr_neg}, {}}},
    {D, VE, E, {{"multiply", nvr_arr_mul_fo}, {}}},
    {VE, D, E, {{"multiply", nvr_arr_mul_of}, {}}},
    {VEO, VEO, E, {{"multiply", nvr_arr_mul_oo}, {}}},
    {VE, D, E, {{"divide", nvr_arr_div_of}, {"true_divide", nvr_arr_div_of}, {}}},
    {D, VE, E, {{"divide", nvr_arr_div_fo}, {"true_divide", nvr_arr_div_fo}, {}}},
    {VEO, VEO, E, {{"divide", nvr_arr_div_oo}, {"true_divide", nvr_arr_div_oo}, {}}},
    {VE, D, E, {{"power", nvr_arr_pow_of}, {}}},
    {D, VE, E, {{"power", nvr_arr_pow_fo}, {}}},
    {VEO, VEO, E, {{"power", nvr_arr_pow_oo}, {}}},
    {VE, 0, E, {{"square", nvr_arr_sqr}, {}}},
    {D, VE, E, {{"bitwise_and", nvr_arr_and_fo}, {}}},
    {VE, D, E, {{"bitwise_and", nvr_arr_and_of}, {}}},
    {VEO, VEO, E, {{"bitwise_and", nvr_arr_and_oo}, {}}},
    {D, VE, E, {{"bitwise_or", nvr_arr_or_fo}, {}}},
    {VE, D, E, {{"bitwise_or", nvr_arr_or_of}, {}}},
    {VEO, VEO, E, {{"bitwise_or", nvr_arr_or_oo}, {}}},
    // Matrix products of float matrices and arrays of modelling objects (A @ x).
    {ANY, ANY, E, {{"matmul", nvo_matmul_loop}, {}}},
    {0, 0, -1, {{}}},
};

// numpy's ufunc of that name, registered for user type `owner` with the given signature.
// The loop's data is the operand-kind flag (1: first operand double, 2: second, 0: neither).
int register_loop(PyObject *numpy, const char *name, PyUFuncGenericFunction fn, int owner,
                  int *types, int nargs, int flag) {
  PyRef ufunc(PyObject_GetAttrString(numpy, name));
  if (!ufunc) {
    // numpy 2 dropped some aliases (divide and true_divide are one ufunc there).
    if (!PyErr_ExceptionMatches(PyExc_AttributeError)) return -1;
    PyErr_Clear();
    return 0;
  }
  if (!PyObject_TypeCheck(ufunc.get(), &PyUFunc_Type) ||
      reinterpret_cast<PyUFuncObject *>(ufunc.get())->nargs != nargs) {
    PyErr_Format(PyExc_ImportError, "numpy.%s is not a ufunc of %d arguments", name, nargs);
    return -1;
  }
  return PyUFunc_RegisterLoopForType(reinterpret_cast<PyUFuncObject *>(ufunc.get()), owner, fn,
                                     types, reinterpret_cast<void *>(static_cast<intptr_t>(flag)));
}

}  // namespace

int nvo_register_ufunc_loops(PyObject *numpy) {
  for (const loop_row *row = loop_table; row->first != 0; ++row) {
    const bool unary = row->second == 0;
    for (int a = 0; a < NVO_ELEM_COUNT; ++a) {
      if (!(row->first & bit(a))) continue;
      for (int b = 0; b < NVO_ELEM_COUNT; ++b) {
        if (unary ? b != 0 : !(row->second & bit(b))) continue;
        // A loop belongs to one of its element types; the others are numpy's own.
        const int owner = (VE & bit(a)) ? a : (!unary && (VE & bit(b))) ? b : -1;
        if (owner < 0) continue;
        int types[3];
        int nargs = 0;
        types[nargs++] = nvo_typenum[a];
        if (!unary) types[nargs++] = nvo_typenum[b];
        types[nargs++] = nvo_typenum[row->output];
        const int flag = a == NVO_ELEM_DOUBLE ? 1 : (!unary && b == NVO_ELEM_DOUBLE) ? 2 : 0;
        for (const named_loop *l = row->loops; l->ufunc != nullptr; ++l)
          if (register_loop(numpy, l->ufunc, l->fn, nvo_typenum[owner], types, nargs, flag) < 0)
            return -1;
      }
    }
  }
  return 0;
}

namespace {

int register_all(PyObject *numpy) {
  if (nvo_register_element_types() != 0) return -1;
  return nvo_register_ufunc_loops(numpy);
}

}  // namespace

void arrays_install() {
  nvo_arrays.register_types = register_all;
  nvo_arrays.tensor_mult = tensor_mult;
}

// The table of element-wise loops and their registration on numpy's ufuncs.
#include "arrays/arrays.h"
#include "arrays/loops.h"
#include "module/pyref.h"

namespace {

struct named_loop {
  const char *ufunc;
  PyUFuncGenericFunction fn;
};

// Each row: the first operand's types [first_lo, first_hi] and the second's [second_lo,
// second_hi] as indices into nvo_typenum (second_lo < 0: a unary loop), the output's index,
// and the loops by ufunc name, ended by an empty name. The table ends with first_lo < 0.
struct loop_row {
  int first_lo, first_hi, second_lo, second_hi, output;
  named_loop loops[16];
};

constexpr int D = NVO_ELEM_DOUBLE, V = NVO_ELEM_VAR, E = NVO_ELEM_EXPR, C = NVO_ELEM_CON;

const loop_row loop_table[] = {
    {V, E, D, D, C, {{"less_equal", leq_con_of}, {"equal", eq_con_of}, {"greater_equal", geq_con_of}, {}}},
    {D, D, V, E, C, {{"less_equal", leq_con_fo}, {"equal", eq_con_fo}, {"greater_equal", geq_con_fo}, {}}},
    {V, E, V, E, C, {{"less_equal", leq_con_oo}, {"equal", eq_con_oo}, {"greater_equal", geq_con_oo}, {}}},
    {D, D, V, E, E, {{"add", nvr_arr_add_fo}, {"subtract", nvr_arr_sub_fo}, {}}},
    {V, E, D, D, E, {{"add", nvr_arr_add_of}, {"subtract", nvr_arr_sub_of}, {}}},
    {V, E, V, E, E, {{"add", nvr_arr_add_oo}, {"subtract", nvr_arr_sub_oo}, {}}},
    {V, E, -1, -1, E, {{"negative", nvr_arr_neg}, {}}},
    {D, D, V, E, E, {{"multiply", nvr_arr_mul_fo}, {}}},
    {V, E, D, D, E, {{"multiply", nvr_arr_mul_of}, {}}},
    {V, E, V, E, E, {{"multiply", nvr_arr_mul_oo}, {}}},
    {V, E, D, D, E, {{"divide", nvr_arr_div_of}, {"true_divide", nvr_arr_div_of}, {}}},
    {D, D, V, E, E, {{"divide", nvr_arr_div_fo}, {"true_divide", nvr_arr_div_fo}, {}}},
    {V, E, V, E, E, {{"divide", nvr_arr_div_oo}, {"true_divide", nvr_arr_div_oo}, {}}},
    {V, E, D, D, E, {{"power", nvr_arr_pow_of}, {}}},
    {D, D, V, E, E, {{"power", nvr_arr_pow_fo}, {}}},
    {V, E, V, E, E, {{"power", nvr_arr_pow_oo}, {}}},
    {V, E, -1, -1, E, {{"square", nvr_arr_sqr}, {}}},
    {D, D, V, E, E, {{"bitwise_and", nvr_arr_and_fo}, {}}},
    {V, E, D, D, E, {{"bitwise_and", nvr_arr_and_of}, {}}},
    {V, E, V, E, E, {{"bitwise_and", nvr_arr_and_oo}, {}}},
    {D, D, V, E, E, {{"bitwise_or", nvr_arr_or_fo}, {}}},
    {V, E, D, D, E, {{"bitwise_or", nvr_arr_or_of}, {}}},
    {V, E, V, E, E, {{"bitwise_or", nvr_arr_or_oo}, {}}},
    // Matrix products of float matrices and arrays of modelling objects (A @ x).
    {D, E, D, E, E, {{"matmul", nvo_matmul_loop}, {}}},
    {-1, -1, -1, -1, -1, {{}}},
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
  for (const loop_row *row = loop_table; row->first_lo >= 0; ++row) {
    const bool unary = row->second_lo < 0;
    for (int a = row->first_lo; a <= row->first_hi; ++a) {
      for (int b = unary ? 0 : row->second_lo; b <= (unary ? 0 : row->second_hi); ++b) {
        // A loop belongs to one of its user types; double x double is numpy's own.
        const int owner = a != D ? nvo_typenum[a] : b != D ? nvo_typenum[b] : -1;
        if (owner < 0) continue;
        int types[3];
        int nargs = 0;
        types[nargs++] = nvo_typenum[a];
        if (!unary) types[nargs++] = nvo_typenum[b];
        types[nargs++] = nvo_typenum[row->output];
        for (const named_loop *l = row->loops; l->ufunc != nullptr; ++l)
          if (register_loop(numpy, l->ufunc, l->fn, owner, types, nargs,
                            a == D ? 1 : (!unary && b == D) ? 2 : 0) < 0)
            return -1;
      }
    }
  }
  return 0;
}

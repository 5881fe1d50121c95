// The element-wise ufunc loops of the element types. Suffixes name the operand kinds: _oo both
// operands are objects, _of the second is a double, _fo the first is a double.
#pragma once

#include "module/numpy_api.h"

#define NVO_LOOP(name) void name(char **args, const npy_intp *dims, const npy_intp *steps, void *)

NVO_LOOP(nvr_arr_add_oo); NVO_LOOP(nvr_arr_add_of); NVO_LOOP(nvr_arr_add_fo);
NVO_LOOP(nvr_arr_sub_oo); NVO_LOOP(nvr_arr_sub_of); NVO_LOOP(nvr_arr_sub_fo);
NVO_LOOP(nvr_arr_mul_oo); NVO_LOOP(nvr_arr_mul_of); NVO_LOOP(nvr_arr_mul_fo);
NVO_LOOP(nvr_arr_div_oo); NVO_LOOP(nvr_arr_div_of); NVO_LOOP(nvr_arr_div_fo);
NVO_LOOP(nvr_arr_pow_oo); NVO_LOOP(nvr_arr_pow_of); NVO_LOOP(nvr_arr_pow_fo);
NVO_LOOP(nvr_arr_and_oo); NVO_LOOP(nvr_arr_and_of); NVO_LOOP(nvr_arr_and_fo);
NVO_LOOP(nvr_arr_or_oo); NVO_LOOP(nvr_arr_or_of); NVO_LOOP(nvr_arr_or_fo);
NVO_LOOP(nvr_arr_neg); NVO_LOOP(nvr_arr_sqr);

NVO_LOOP(leq_con_oo); NVO_LOOP(leq_con_of); NVO_LOOP(leq_con_fo);
NVO_LOOP(eq_con_oo); NVO_LOOP(eq_con_of); NVO_LOOP(eq_con_fo);
NVO_LOOP(geq_con_oo); NVO_LOOP(geq_con_of); NVO_LOOP(geq_con_fo);

#undef NVO_LOOP

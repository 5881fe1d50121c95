// The table of module constants. Kind 0 rows become ints (floor of the value), kind 1 floats.
#include "module/constants.h"

#include <cmath>

#include "module/pyref.h"
#include "nvrl.h"

namespace {

struct constant_row {
  const char *name;
  int kind;
  double value;
};

const constant_row constant_table[] = {
    // variable types
    {"continuous", 0, 0},
    {"binary", 0, 1},
    {"integer", 0, 2},
    {"semicontinuous", 0, 3},
    {"semiinteger", 0, 4},
    {"partiallyinteger", 0, 5},
    // objective sense
    {"minimize", 0, 1},
    {"maximize", 0, -1},
    // constraint types
    {"leq", 0, 1},
    {"geq", 0, 2},
    {"eq", 0, 3},
    {"range", 0, 4},
    {"infinity", 1, 1e20},
    // solution information
    {"solinfo_absprimalinfeas", 0, 0},
    {"solinfo_relprimalinfeas", 0, 1},
    {"solinfo_absdualinfeas", 0, 2},
    {"solinfo_reldualinfeas", 0, 3},
    {"solinfo_maxmipfractional", 0, 4},
    // basis status
    {"basis_nonbasic_lower", 0, 0},
    {"basis_basic", 0, 1},
    {"basis_nonbasic_upper", 0, 2},
    {"basis_superbasic", 0, 3},
    // LP status
    {"lp_unstarted", 0, NVRL_LP_UNSTARTED},
    {"lp_optimal", 0, NVRL_LP_OPTIMAL},
    {"lp_infeas", 0, NVRL_LP_INFEAS},
    {"lp_cutoff", 0, NVRL_LP_CUTOFF},
    {"lp_unfinished", 0, NVRL_LP_UNFINISHED},
    {"lp_unbounded", 0, NVRL_LP_UNBOUNDED},
    {"lp_cutoff_in_dual", 0, NVRL_LP_CUTOFF_IN_DUAL},
    {"lp_unsolved", 0, NVRL_LP_UNSOLVED},
    {"lp_nonconvex", 0, NVRL_LP_NONCONVEX},
    // MIP status
    {"mip_not_loaded", 0, NVRL_MIP_NOT_LOADED},
    {"mip_lp_not_optimal", 0, NVRL_MIP_LP_NOT_OPTIMAL},
    {"mip_lp_optimal", 0, NVRL_MIP_LP_OPTIMAL},
    {"mip_no_sol_found", 0, NVRL_MIP_NO_SOL_FOUND},
    {"mip_solution", 0, NVRL_MIP_SOLUTION},
    {"mip_infeas", 0, NVRL_MIP_INFEAS},
    {"mip_optimal", 0, NVRL_MIP_OPTIMAL},
    {"mip_unbounded", 0, NVRL_MIP_UNBOUNDED},
    // nonlinear status: a solution found by the local solver is locally optimal, hence one code
    {"nlp_unstarted", 0, 0},
    {"nlp_solution", 0, 1},
    {"nlp_locally_optimal", 0, 1},
    {"nlp_globally_optimal", 0, 2},
    {"nlp_locally_infeasible", 0, 3},
    {"nlp_infeasible", 0, 4},
    {"nlp_unbounded", 0, 5},
    {"nlp_unfinished", 0, 6},
    // stop reasons (7 and 8 are not used)
    {"stop_timelimit", 0, NVRL_STOP_TIMELIMIT},
    {"stop_ctrlc", 0, NVRL_STOP_CTRLC},
    {"stop_nodelimit", 0, NVRL_STOP_NODELIMIT},
    {"stop_iterlimit", 0, NVRL_STOP_ITERLIMIT},
    {"stop_mipgap", 0, NVRL_STOP_MIPGAP},
    {"stop_sollimit", 0, NVRL_STOP_SOLLIMIT},
    {"stop_user", 0, NVRL_STOP_USER},
    // control and attribute types
    {"type_notdefined", 0, NVRL_TYPE_NOTDEFINED},
    {"type_int", 0, NVRL_TYPE_INT},
    {"type_int64", 0, NVRL_TYPE_INT64},
    {"type_double", 0, NVRL_TYPE_DOUBLE},
    {"type_string", 0, NVRL_TYPE_STRING},
    // column information of the nonlinear solver
    {"colinfo_value", 0, 1},
    {"colinfo_rdj", 0, 2},
    {"colinfo_deltaindex", 0, 3},
    {"colinfo_delta", 0, 4},
    {"colinfo_deltadj", 0, 5},
    {"colinfo_updaterow", 0, 6},
    {"colinfo_sb", 0, 7},
    {"colinfo_sbdual", 0, 8},
    // row information of the nonlinear solver
    {"rowinfo_slack", 0, 1},
    {"rowinfo_dual", 0, 2},
    {"rowinfo_numpenaltyerrors", 0, 3},
    {"rowinfo_maxpenaltyerror", 0, 4},
    {"rowinfo_totalpenaltyerror", 0, 5},
    {"rowinfo_currentpenaltyerror", 0, 6},
    {"rowinfo_currentpenaltyfactor", 0, 7},
    {"rowinfo_penaltycolumnplus", 0, 8},
    {"rowinfo_penaltycolumnplusvalue", 0, 9},
    {"rowinfo_penaltycolumnplusdj", 0, 10},
    {"rowinfo_penaltycolumnminus", 0, 11},
    {"rowinfo_penaltycolumnminusvalue", 0, 12},
    {"rowinfo_penaltycolumnminusdj", 0, 13},
    // multistart sets
    {"msset_initialvalues", 0, 0},
    {"msset_initialfiltered", 0, 6},
    {"msset_solvers", 0, 1},
    {"msset_slp_basic", 0, 2},
    {"msset_slp_extended", 0, 3},
    {"msset_ipm_basic", 0, 4},
    {"msset_ipm_extended", 0, 5},
    // general constraint types
    {"gencons_max", 0, NVRL_GENCONS_MAX},
    {"gencons_min", 0, NVRL_GENCONS_MIN},
    {"gencons_and", 0, NVRL_GENCONS_AND},
    {"gencons_or", 0, NVRL_GENCONS_OR},
    {"gencons_abs", 0, NVRL_GENCONS_ABS},
    {nullptr, 0, 0},
};

}  // namespace

int nvo_add_constants(PyObject *module) {
  for (const constant_row *row = constant_table; row->name != nullptr; ++row) {
    PyRef value(row->kind == 0 ? PyLong_FromLong(static_cast<long>(std::floor(row->value)))
                               : PyFloat_FromDouble(row->value));
    if (!value || PyModule_AddObjectRef(module, row->name, value.get()) != 0) return -1;
  }
  return 0;
}

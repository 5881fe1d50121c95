// Bad input to the nonlinear solver's entry points: every call fails with a message naming
// the fault, logs nothing, and leaves the nonlinear data, every attribute, the controls and the
// optimiser problem as they were. The problem holds data of every kind, so that a failed call has
// something to spoil.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "test_nslp_support.h"

namespace {

using nslptest::NslpTest;
using nslptest::setVar;
using nslptest::VarIn;

const int CON = NSLP_TOK_CON, COL = NSLP_TOK_COL, OP = NSLP_TOK_OP, END = NSLP_TOK_EOF;
constexpr int X = 0, Y = 1, Z = 2;
const char *const kNull = "Null nonlinear problem handle";

// Where the message is: the nonlinear problem's last error, the optimiser problem's, or the
// global one (for calls without a valid context).
enum Where { kSlp, kProb, kGlobal };

struct BadCall {
  const char *name;
  int (*call)(NSLPprob);
  const char *message;
  Where where = kSlp;
};

void PrintTo(const BadCall &b, std::ostream *os) { *os << b.name; }

// Two coefficients added in one call; the first is good, so a failure must not keep it.
int addOne(NSLPprob s, int row, int col, double factor, std::vector<int> t,
           std::vector<double> v, int start0 = 0, int parsed = 1) {
  int rows[] = {0, row}, cols[] = {2, col}, start[] = {0, 2, 2 + start0 + int(t.size())};
  double factors[] = {1, factor};
  std::vector<int> ty{COL, END};
  std::vector<double> va{0, 0};
  ty.insert(ty.end(), t.begin(), t.end());
  va.insert(va.end(), v.begin(), v.end());
  return NSLPaddcoefs(s, 2, rows, cols, factors, start, parsed, ty.data(), va.data());
}

// A user function definition (strings 1 "fn", 2 "DirectC", 3 "Elsewhere").
int define(NSLPprob s, std::vector<int> type, std::vector<double> value, int n = 1) {
  return NSLPadduserfuncs(s, n, type.data(), value.data());
}
const int S = NSLP_UFDEF_STRING, A = NSLP_UFDEF_ARGS, C = NSLP_UFDEF_CALL;
const double V = NSLP_UFCALL_VALUES;

// NSLPvalidatevector at (x, y, 0); the outputs must stay as they were.
int validateAt(NSLPprob s, double x, double y) {
  const double p[] = {x, y, 0};
  double v = 7;
  const int rc = NSLPvalidatevector(s, p, &v, &v, &v);
  EXPECT_EQ(7, v);
  return rc;
}

int tokens(NSLPprob s, std::vector<int> t, std::vector<double> v) {
  return NSLPchgcoef(s, 0, 1, nullptr, 1, t.data(), v.data());
}
// NSLPloadcoefs of one coefficient at (0, 0).
int load(NSLPprob s, std::vector<int> t, std::vector<double> v) {
  const int start[] = {0, int(t.size())};
  return NSLPloadcoefs(s, 1, &X, &X, nullptr, start, 1, t.data(), v.data());
}
// NSLPloadvars (load) or NSLPaddvars of cols with the arrays given.
int vars(NSLPprob s, bool load, std::vector<int> cols, const int *rows, const int *tolsets,
         const double *initial) {
  return (load ? NSLPloadvars : NSLPaddvars)(s, int(cols.size()), cols.data(), nullptr, rows,
                                             nullptr, tolsets, initial, nullptr);
}
int tolset(NSLPprob s, int set, int status) { return NSLPchgtolset(s, set, &status, nullptr); }
int delta(NSLPprob s, int n, int col, int type, const double *value) {
  return NSLPchgdeltatype(s, n, &col, &type, value);
}
int rowweight(NSLPprob s, double w) { return NSLPchgrowwt(s, 0, &w); }
int kkt(NSLPprob s, int mode, int respect, double target) {
  return NSLPvalidatekkt(s, mode, respect, 0, target);
}
// A multistart job as NSLPmsaddjob and as NSLPmsaddcustompreset, which checks the same data:
// fails only when both do.
int job(NSLPprob s, int n, std::vector<int> cols, std::vector<double> values,
        std::vector<int> ids = {}, std::vector<int> ivals = {}, std::vector<int> dids = {},
        std::vector<double> dvals = {}) {
  const int *c = cols.empty() ? nullptr : cols.data();
  const int rc = NSLPmsaddjob(s, "bad", n, c, values.data(), int(ids.size()), ids.data(),
                              ivals.data(), int(dids.size()), dids.data(), dvals.data(), nullptr);
  const std::string first = nvtest::slpError(s);
  const int rp = NSLPmsaddcustompreset(s, "bad", NSLP_MSSET_INITIALVALUES, 2, n, c,
                                       values.data(), int(ids.size()), ids.data(), ivals.data(),
                                       int(dids.size()), dids.data(), dvals.data(), nullptr);
  const std::string second = nvtest::slpError(s);
  // For the same reason: the text after the function's name.
  auto reason = [](const std::string &m) { return m.substr(std::min(m.find(':'), m.size())); };
  EXPECT_EQ(reason(first), reason(second));
  return rc != 0 && rp != 0 ? rc : 0;
}
int preset(NSLPprob s, int which, int maxjobs = 3) {
  return NSLPmsaddpreset(s, "p", which, maxjobs, nullptr);
}

// Outputs of calls that must fail before writing them.
int gi = 0;
double gd = 0;
void *gp = nullptr;
char gbuf[64];
const double kHalf = 0.5, kZero = 0.0, kInf = INFINITY, kNan = NAN, kHalves[] = {0.5, 0.5};
const int kRows00[] = {0, 0}, kRows01[] = {0, 1}, kFixed = NSLP_DELTA_FIXED;
const double kGoodSet[NSLP_TOLSET_SIZE] = {1e-3, 0, 0, 0, 0, 0};
const double kNanSet[NSLP_TOLSET_SIZE] = {1e-3, NAN, 0, 0, 0, 0};

// A table row's call, on the problem s.
#define CALL(expr) [](NSLPprob s) -> int { return expr; }

const BadCall kCalls[] = {
    // ---- coefficients
    {"coef_row_high", CALL(addOne(s, 2, 0, 1, {CON, END}, {1, 0})),
     "coefficient 1: row 2 is out of range (-1 to 1)"},
    {"coef_row_low", CALL(addOne(s, -2, 0, 1, {CON, END}, {1, 0})), "row -2 is out of range"},
    {"coef_col_high", CALL(addOne(s, 0, 3, 1, {CON, END}, {1, 0})),
     "column 3 is out of range (-1 to 2)"},
    {"coef_factor_nan", CALL(addOne(s, 0, 0, NAN, {CON, END}, {1, 0})),
     "factor nan is not finite"},
    {"coef_unbalanced", CALL(addOne(s, 0, 0, 1, {CON, CON, END}, {1, 2, 0})),
     "coefficient 1 (row 0, column 0): unbalanced formula"},
    {"coef_formula_column", CALL(addOne(s, 0, 0, 1, {COL, END}, {3, 0})),
     "column 3 is out of range (-1 to 2) at token 0"},
    {"coef_no_end_in_range", CALL(addOne(s, 0, 0, 1, {CON, END}, {1, 0}, -1)),
     "without an end token"},
    {"coef_starts_decrease", CALL(addOne(s, 0, 0, 1, {CON, END}, {1, 0}, -3)),
     "not non-decreasing"},
    {"coef_unparsed_error", CALL(addOne(s, 0, 0, 1, {NSLP_TOK_LB, CON, END}, {0, 1, 0}, 0, 0)),
     "opening bracket without a closing one"},
    {"coef_negative_count",
     CALL(NSLPaddcoefs(s, -1, nullptr, nullptr, nullptr, nullptr, 1, nullptr, nullptr)),
     "negative coefficient count"},
    {"coef_null_arrays", CALL(NSLPloadcoefs(s, 1, &X, &X, nullptr, nullptr, 1, nullptr, nullptr)),
     "null row, column, formula start or token array"},
    {"coef_load_bad", CALL(load(s, {OP, END}, {NSLP_OP_UMINUS, 0})), "operator lacks operands"},
    {"coef_text_syntax", CALL(NSLPchgccoef(s, 0, 1, nullptr, "x + * y")),
     "operator where an operand is expected at character 5"},
    {"coef_text_unknown_column", CALL(NSLPchgccoef(s, 0, 1, nullptr, "x + w")),
     "unknown column 'w'"},
    {"coef_text_unknown_function", CALL(NSLPchgccoef(s, 0, -1, nullptr, "fn(x)")),
     "unknown function 'fn'"},
    {"coef_chg_token", CALL(tokens(s, {CON, 77, END}, {1, 0, 0})), "unknown token type 77"},
    {"coef_chg_factor_missing", CALL(NSLPchgcoef(s, 1, 1, &kHalf, 1, nullptr, nullptr)),
     "no coefficient at row 1, column 1"},
    {"coef_chg_factor_inf", CALL(NSLPchgccoef(s, 0, 1, &kInf, nullptr)), "not finite"},
    {"coef_del_missing", CALL(NSLPdelcoefs(s, 2, kRows01, std::vector{1, 1}.data())),
     "coefficient 1: no coefficient at row 1, column 1"},
    {"coef_get_missing", CALL(NSLPgetccoef(s, 1, 2, nullptr, gbuf, sizeof gbuf)),
     "no coefficient at row 1, column 2"},
    {"coef_evaluate_missing", CALL(NSLPevaluatecoef(s, 0, 0, &gd)),
     "no coefficient at row 0, column 0"},
    {"formula_evaluate_domain",
     CALL(NSLPevaluateformula(s, 1, std::vector{CON, CON, OP, END}.data(),
                              std::vector<double>{1, 0, NSLP_OP_DIVIDE, 0}.data(), &gd)),
     "division by zero"},
    {"delete_column_in_a_row_formula", CALL(NVRLdelcols(s->prob, 1, &X)), "formula", kProb},
    {"delete_column_in_the_objective", CALL(NVRLdelcols(s->prob, 1, &Z)), "formula", kProb},
    // ---- column settings, determining rows, cascading
    {"initial_nan", CALL(setVar(s, X, &VarIn::initvalue, NAN)), "initvalue is not a finite number"},
    {"step_bound_negative", CALL(setVar(s, X, &VarIn::initstepbound, -1.0)),
     "step bounds and the penalty must be >= 0"},
    {"column_out_of_range", CALL(setVar(s, 7, &VarIn::initvalue, 0.5)),
     "column 7 is out of range (the problem has 3 columns)"},
    {"initial_one_bad_column", CALL(vars(s, true, {Y, 9}, nullptr, nullptr, kHalves)),
     "colindex[1] = 9 is out of range (the problem has 3 columns)"},
    {"row_weight_zero", CALL(rowweight(s, 0.0)), "the weight must be a finite number > 0 (got 0)"},
    {"row_weight_negative", CALL(rowweight(s, -2.0)),
     "the weight must be a finite number > 0 (got -2)"},
    {"row_weight_nan", CALL(rowweight(s, NAN)), "the weight must be a finite number > 0 (got nan)"},
    {"row_status_row", CALL(NSLPchgrowstatus(s, 3, &X)),
     "row 3 is out of range (the problem has 2 rows)"},
    {"fix_penalties_unsolved", CALL(NSLPfixpenalties(s)), "no solve has set a penalty yet"},
    {"determining_row_without_the_column", CALL(setVar(s, Z, &VarIn::detrow, 1)),
     "does not occur in row"},
    {"determining_rows_one_bad", CALL(vars(s, false, {X, Z}, kRows00, nullptr, nullptr)),
     "does not occur in row"},
    {"cascade_limit_column_high", CALL(NSLPchgcascadenlimit(s, 3, 5)),
     "column 3 is out of range (the problem has 3 columns)"},
    {"cascade_limit_column_low", CALL(NSLPchgcascadenlimit(s, -1, 5)),
     "column -1 is out of range (the problem has 3 columns)"},
    {"cascade_limit_negative", CALL(NSLPchgcascadenlimit(s, 0, -1)),
     "the limit must be >= 0 (0: the control's), got -1"},
    {"cascade_order_negative_size", CALL(NSLPgetcascadeorder(s, &gi, nullptr, -1)),
     "negative size -1"},
    {"cascade_order_null_buffer", CALL(NSLPgetcascadeorder(s, &gi, nullptr, 3)),
     "null column array"},
    // ---- tolerance sets, step types, derivative estimates
    {"tolset_nan", CALL(NSLPloadtolsets(s, 1, kNanSet)), "entry 1 of set 0 is not a finite number"},
    {"tolsets_negative_count", CALL(NSLPaddtolsets(s, -1, kGoodSet)), "negative count -1"},
    {"tolsets_null", CALL(NSLPaddtolsets(s, 2, nullptr)), "null tolerance array"},
    {"tolset_change_nan", CALL(NSLPchgtolset(s, 1, nullptr, kNanSet)),
     "entry 1 is not a finite number"},
    {"tolset_status_bits", CALL(tolset(s, 1, 1 << NSLP_TOLSET_SIZE)),
     "status 0x40 has bits beyond the 6 entries"},
    {"tolset_zero", CALL(tolset(s, 0, 0)), "tolerance set 0 does not exist (sets are 1 to 1)"},
    {"tolset_missing", CALL(tolset(s, 2, 0)), "tolerance set 2 does not exist (sets are 1 to 1)"},
    {"tolset_active_without_value", CALL(tolset(s, 1, 1 << NSLP_TOL_OBJ_ABS)),
     "entry 2 is active but its tolerance 0 is not > 0"},
    {"tolset_get_missing", CALL(NSLPgettolset(s, 2, nullptr, &gd)),
     "tolerance set 2 does not exist (sets are 1 to 1)"},
    {"tolset_delete_missing", CALL(NSLPdeltolsets(s, 1, std::vector{7}.data())),
     "tolset[0] = 7 does not exist (sets are 1 to 1)"},
    {"tolset_delete_null", CALL(NSLPdeltolsets(s, 1, nullptr)), "null set array"},
    {"tolset_of_a_column", CALL(setVar(s, X, &VarIn::tolset, 7)),
     "tolerance set 7 does not exist (the problem has 1; 0 means"},
    {"tolset_of_columns_negative", CALL(vars(s, false, {X}, nullptr, std::vector{-1}.data(), 0)),
     "tolerance set -1 does not exist (the problem has 1; 0 means"},
    {"delta_unknown_type", CALL(delta(s, 1, X, 4, &kHalf)), "deltatypes[0] = 4 is not a step type"},
    {"delta_column", CALL(delta(s, 1, 3, NSLP_DELTA_FIXED, &kHalf)),
     "varind[0] = 3 is out of range (the problem has 3 columns)"},
    {"delta_zero", CALL(delta(s, 1, X, NSLP_DELTA_FIXED, &kZero)),
     "values[0] = 0 must be a finite number > 0"},
    {"delta_infinite", CALL(delta(s, 1, X, NSLP_DELTA_FIXED, &kInf)),
     "values[0] = inf must be a finite number > 0"},
    {"delta_no_value", CALL(delta(s, 1, X, NSLP_DELTA_FIXED, nullptr)),
     "deltatypes[0] = 1 needs a value, and values is null"},
    {"delta_negative_count", CALL(delta(s, -1, X, NSLP_DELTA_FIXED, &kHalf)), "negative count -1"},
    {"delta_null_columns", CALL(NSLPchgdeltatype(s, 1, nullptr, &kFixed, &kHalf)),
     "null column or type array"},
    {"estimate_nan", CALL(NSLPchgdf(s, X, 0, &kNan)), "the value is not a finite number"},
    {"estimate_row", CALL(NSLPchgdf(s, X, -2, &kHalf)),
     "row -2 is out of range (the problem has 2 rows; -1 is the objective)"},
    {"estimates_one_bad_column",
     CALL(NSLPloaddfs(s, 2, std::vector{X, 9}.data(), kRows00, kHalves)),
     "column 9 is out of range (the problem has 3 columns)"},
    {"estimates_null_rows", CALL(NSLPadddfs(s, 1, &X, nullptr, &kHalf)),
     "null column, row or value array"},
    {"estimate_null_value", CALL(NSLPgetdf(s, X, 0, nullptr)), "null value pointer"},
    // ---- item queries, scaling
    {"row_item_unknown", CALL(NSLPgetrowinfo(s, 99, 0, &gd)), "unknown item 99"},
    {"row_item_row", CALL(NSLPgetrowinfo(s, NSLP_ROWINFO_SLACK, 2, &gd)),
     "row 2 is out of range (the problem has 2 rows)"},
    {"row_item_null", CALL(NSLPgetrowinfo(s, NSLP_ROWINFO_SLACK, 0, nullptr)), "null info pointer"},
    {"row_item_dual_unsolved", CALL(NSLPgetrowinfo(s, NSLP_ROWINFO_DUAL, 0, &gd)),
     "no duals are available (the last solve left none, or the"},
    {"column_item_unknown", CALL(NSLPgetcolinfo(s, 0, X, &gd)), "unknown item 0"},
    {"column_item_column", CALL(NSLPgetcolinfo(s, NSLP_COLINFO_VALUE, -1, &gd)),
     "column -1 is out of range (the problem has 3 columns)"},
    {"column_item_reduced_cost_unsolved",
     CALL(NSLPgetcolinfo(s, NSLP_COLINFO_REDUCEDCOST, X, &gd)), "no reduced costs are available"},
    {"row_scale_row_high", CALL(NSLPgetrowscale(s, 2, &gd)),
     "row 2 is out of range (the problem has 2 rows)"},
    {"row_scale_row_low", CALL(NSLPgetrowscale(s, -1, &gd)),
     "row -1 is out of range (the problem has 2 rows)"},
    {"row_scale_null", CALL(NSLPgetrowscale(s, 0, nullptr)), "null factor pointer"},
    {"scaling_without_a_derivative", CALL(NSLPscaling(s)),
     "the rows cannot be differentiated at the current point: row"},
    // ---- validation
    {"validate_row_low", CALL(NSLPvalidaterow(s, -1)), "out of range"},
    {"validate_row_high", CALL(NSLPvalidaterow(s, 1000)), "out of range"},
    {"validate_row_domain", CALL(NSLPvalidaterow(s, 1)), "cannot be evaluated"},
    {"validate_domain", CALL(NSLPvalidate(s)), "cannot be evaluated"},
    {"validate_vector_null", CALL(NSLPvalidatevector(s, nullptr, &gd, nullptr, nullptr)),
     "null point"},
    {"validate_vector_nan", CALL(validateAt(s, NAN, -2)), "x[0] is not a finite number"},
    {"validate_vector_infinite", CALL(validateAt(s, 1, -INFINITY)), "x[1] is not a finite number"},
    {"validate_vector_domain", CALL(validateAt(s, 1, -2)), "cannot be evaluated"},
    {"kkt_no_multipliers", CALL(kkt(s, NSLP_KKT_ABSOLUTE, 1, 1e-6)), "no multipliers"},
    {"kkt_mode_low", CALL(kkt(s, -1, 0, 1e-6)), "mode -1 is neither NSLP_KKT_ABSOLUTE (0) nor"},
    {"kkt_mode_high", CALL(kkt(s, 2, 0, 1e-6)),
     "mode 2 is neither NSLP_KKT_ABSOLUTE (0) nor NSLP_KKT_RELATIVE"},
    {"kkt_target_negative", CALL(kkt(s, NSLP_KKT_ABSOLUTE, 0, -1)),
     "the target must be a finite number >= 0 (got -1)"},
    {"kkt_target_nan", CALL(kkt(s, NSLP_KKT_ABSOLUTE, 0, NAN)),
     "the target must be a finite number >= 0 (got nan)"},
    {"kkt_target_infinite", CALL(kkt(s, NSLP_KKT_ABSOLUTE, 0, INFINITY)),
     "the target must be a finite number >= 0 (got inf)"},
    // ---- multistart jobs and presets
    {"job_negative_count", CALL(job(s, -1, {}, {})), "negative count"},
    {"job_null_columns", CALL(job(s, 1, {}, {1.0})), "null array with a positive count"},
    {"job_column_below", CALL(job(s, 1, {-1}, {1.0})),
     "column -1 out of range (the problem has 3 columns)"},
    {"job_column_beyond", CALL(job(s, 1, {3}, {1.0})),
     "column 3 out of range (the problem has 3 columns)"},
    {"job_column_twice", CALL(job(s, 2, {0, 0}, {1.0, 2.0})), "column 0 has two initial values"},
    {"job_nan_value", CALL(job(s, 1, {0}, {NAN})), "the initial value of column 0 is not finite"},
    {"job_infinite_value", CALL(job(s, 1, {0}, {INFINITY})),
     "the initial value of column 0 is not finite"},
    {"job_unknown_control", CALL(job(s, 0, {}, {}, {99999}, {1})), "99999 is not a control"},
    {"job_attribute_id", CALL(job(s, 0, {}, {}, {NSLP_ATTR_ITERATIONS}, {1})),
     "12101 is not a control"},
    {"job_double_as_int", CALL(job(s, 0, {}, {}, {NSLP_CTRL_PENALTY}, {1})),
     "12130 (nslp_penalty) is not an integer control"},
    {"job_int_as_double", CALL(job(s, 0, {}, {}, {}, {}, {NSLP_CTRL_ITERATION_LIMIT}, {5.0})),
     "12100 (nslp_iteration_limit) is not a double control"},
    {"job_out_of_range", CALL(job(s, 0, {}, {}, {NSLP_CTRL_ITERATION_LIMIT}, {0})),
     "12100 (nslp_iteration_limit): value 0 is outside the range"},
    {"job_double_out_of_range", CALL(job(s, 0, {}, {}, {}, {}, {NSLP_CTRL_STEP_SHRINK}, {2.0})),
     "12124 (nslp_step_shrink): value 2 is outside the range"},
    {"job_nan_control", CALL(job(s, 0, {}, {}, {}, {}, {NSLP_CTRL_PENALTY}, {NAN})),
     "the value of control 12130 (nslp_penalty) is not finite"},
    {"job_control_twice",
     CALL(job(s, 0, {}, {}, {NSLP_CTRL_ITERATION_LIMIT, NSLP_CTRL_ITERATION_LIMIT}, {5, 6})),
     "control 12100 (nslp_iteration_limit) is given twice"},
    {"job_sense", CALL(job(s, 0, {}, {}, {}, {}, {NSLP_CTRL_OBJECTIVE_SENSE}, {-1.0})),
     "12146 (nslp_objective_sense) cannot differ between"},
    {"job_seed", CALL(job(s, 0, {}, {}, {NSLP_CTRL_MULTISTART_SEED}, {3})),
     "12250 (nslp_multistart_seed) cannot differ between"},
    {"preset_negative", CALL(preset(s, -1)), "unknown preset -1 (0 to 3, 6 or 7)"},
    {"preset_ipm_basic", CALL(preset(s, NSLP_MSSET_IPM_BASIC)),
     "preset 4 needs interior-point subproblems, which the"},
    {"preset_ipm_extended", CALL(preset(s, NSLP_MSSET_IPM_EXTENDED)),
     "preset 5 needs interior-point subproblems, which the"},
    {"preset_unknown", CALL(preset(s, 8)), "unknown preset 8 (0 to 3, 6 or 7)"},
    {"preset_no_jobs", CALL(preset(s, NSLP_MSSET_INITIALVALUES, 0)),
     "maxjobs 0 must be at least 1"},
    // ---- user functions
    {"userfunc_token", CALL(define(s, {S, C, S, 0, S, 99, 0}, {1, V, 2, 0, 1, 1, 0}, 2)),
     "definition 1, token 5: unknown token type 99"},
    {"userfunc_string", CALL(define(s, {S, C, 0}, {9, V, 0})), "string 9 is not defined"},
    {"userfunc_linkage", CALL(define(s, {S, C, S, 0}, {1, V, 3, 0})),
     "unsupported linkage \"Elsewhere\""},
    {"userfunc_no_name", CALL(define(s, {C, 0}, {V, 0})), "definition 0 has no name"},
    {"userfunc_no_convention", CALL(define(s, {S, 0}, {1, 0})), "has no calling convention"},
    {"userfunc_convention", CALL(define(s, {S, C, 0}, {1, 7, 0})),
     "unknown calling convention 7"},
    {"userfunc_argument_style", CALL(define(s, {S, A, C, 0}, {1, 2, V, 0})),
     "unsupported argument style 2"},
    {"names_type", CALL(NSLPaddnames(s, 1, "r", 0, 0)), "name type 1 is not supported"},
    {"names_beyond", CALL(NSLPaddnames(s, NSLP_NAMES_USERFUNCS, "a\0b", 1, 2)),
     "user functions 1 to 2 are not all defined (1 to 1)"},
    {"names_empty", CALL(NSLPaddnames(s, NSLP_NAMES_USERFUNCS, "", 1, 1)), "name 0 is empty"},
    {"userfunc_address_index",
     CALL(NSLPchguserfuncaddress(s, 2, reinterpret_cast<NSLPfuncaddress>(&define))),
     "user function 2 is not defined (1 to 1)"},
    {"userfunc_address_null", CALL(NSLPchguserfuncaddress(s, 1, nullptr)), "null function address"},
    {"userfunc_object_index", CALL(NSLPsetuserfuncobject(s, 0, nullptr)),
     "user function 0 is not defined (1 to 1)"},
    {"userfunc_get_object_index", CALL(NSLPgetuserfuncobject(s, 3, &gp)),
     "user function 3 is not defined (1 to 1)"},
    // ---- controls, attributes and lists (messages whole)
    {"optimiser_id", CALL(NSLPgetintcontrol(s, 8003, &gi)),
     "NSLPgetintcontrol: 8003 (threads) belongs to the optimiser; use the NVRL functions"},
    {"unknown_id", CALL(NSLPsetdblcontrol(s, 12998, 1.0)),
     "NSLPsetdblcontrol: unknown control id 12998"},
    {"wrong_type", CALL(NSLPsetintcontrol(s, 12146, 1)),
     "NSLPsetintcontrol: 12146 (nslp_objective_sense) is a double control, not an integer one"},
    {"sense_not_unit", CALL(NSLPsetdblcontrol(s, 12146, 0.5)),
     "NSLPsetdblcontrol: 12146 (nslp_objective_sense): value 0.5 must be 1 (minimise) or -1 "
     "(maximise)"},
    {"attribute_as_control", CALL(NSLPsetintcontrol(s, 12013, 4)),
     "NSLPsetintcontrol: 12013 (nslp_constant_column) is an attribute, not a control"},
    {"no_string_controls", CALL(NSLPsetstrcontrol(s, 12100, "x")),
     "NSLPsetstrcontrol: 12100 (nslp_iteration_limit) is an integer control, not a string one"},
    {"null_value", CALL(NSLPgetintattrib(s, 12044, nullptr)),
     "NSLPgetintattrib: null value pointer"},
    {"out_of_range", CALL(NSLPsetintcontrol(s, 12416, 2)),
     "NSLPsetintcontrol: 12416 (nslp_postsolve): value 2 is outside the range [0, 1]"},
    {"bad_interrupt", CALL(NSLPinterrupt(s, 0)),
     "NSLPinterrupt: reason 0 is not a stop code (must be > 0)"},
    {"optimiser_name", CALL(NSLPcontrolcode(s, "threads", nullptr, nullptr)),
     "NSLPcontrolcode: no control or attribute of the nonlinear solver is named 'threads'"},
    {"control_code_null", CALL(NSLPcontrolcode(s, nullptr, nullptr, nullptr)), "null name"},
    {"control_list_null", CALL(NSLPgetcalist(s, nullptr)), "null output pointer"},
    // ---- calls without a valid context
    {"function_object_context", CALL(NSLPgetfuncobject(nullptr, NSLP_FUNCOBJ_INFO, &gp)),
     "null context or object pointer", kGlobal},
    {"function_object_item", CALL(NSLPgetfuncobject(&gp, 1, &gp)), "unknown item 1", kGlobal},
    {"function_info_null",
     CALL(NSLPgetfuncinfo(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)),
     "null call description", kGlobal},
};

class SlpBadInput : public nslptest::NslpTest, public ::testing::WithParamInterface<BadCall> {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(NslpTest::SetUp());
    // y's start is -1, the point of its bounds nearest 0, where ln(y) has no value.
    col(1, 5, 0, 'C', 0, "x");
    col(-3, -1, 0, 'C', 0, "y");
    col(-1e20, 1e20, 0, 'C', 0, "z");
    row('L', 1, {});
    row('G', 2, {});
    ASSERT_EQ(0, NSLPchgccoef(slp, 0, 1, nullptr, "x + 1")) << slpError();
    ASSERT_EQ(0, NSLPchgccoef(slp, -1, -1, nullptr, "sin(z)")) << slpError();
    ASSERT_EQ(0, setVar(slp, X, &VarIn::initvalue, 1.25));
    ASSERT_EQ(0, NSLPloadtolsets(slp, 1, kGoodSet));
    ASSERT_EQ(0, delta(slp, 1, X, NSLP_DELTA_FIXED, &kHalf)) << slpError();
    const double estimate = 7.5;
    ASSERT_EQ(0, NSLPchgdf(slp, Y, 0, &estimate)) << slpError();
    ASSERT_EQ(0, NSLPmsaddjob(slp, "job", 1, &X, &kHalf, 0, nullptr, nullptr, 0, nullptr,
                              nullptr, nullptr));
    int index = 0;
    for (const char *s : {"fn", "DirectC", "Elsewhere"}) {
      ASSERT_EQ(0, NSLPsetstring(slp, &index, s));
    }
    ASSERT_EQ(3, index);
    slp->data.userfuncs.add({"good", 2, false, {}, nullptr, nullptr});
    // Results of a validation and an optimality check, which a failed call must keep.
    ASSERT_EQ(0, NSLPvalidate(slp)) << slpError();
    ASSERT_EQ(0, NSLPvalidatekkt(slp, NSLP_KKT_ABSOLUTE, 0, 0, 1e9)) << slpError();
    ASSERT_EQ(0, NSLPchgccoef(slp, 1, -1, nullptr, "ln(y)")) << slpError();
    ASSERT_EQ(0, NSLPsetintcontrol(slp, NSLP_CTRL_POSTSOLVE, 1));  // a control off its default
    captureLog();
  }
};

TEST_P(SlpBadInput, FailsWithItsMessageAndChangesNothing) {
  const BadCall &b = GetParam();
  const nvrl::SlpData before = slp->data;
  const auto attrs = nslptest::attributes(slp);
  const nvrl::ControlValues controls = slp->controls;
  const nvrl::Model model = prob->model;
  EXPECT_NE(0, b.call(slp));
  const std::string err = b.where == kSlp    ? slpError()
                          : b.where == kProb ? lastError()
                                             : nvtest::globalError();
  EXPECT_FALSE(err.empty());
  // A message given from the entry point's name on is the whole message.
  if (std::string(b.message).rfind("NSLP", 0) == 0) EXPECT_EQ(b.message, err);
  EXPECT_NE(std::string::npos, err.find(b.message)) << err;
  nslptest::expectSameData(before, slp->data);
  EXPECT_EQ(attrs, nslptest::attributes(slp));
  EXPECT_EQ(controls.ints, slp->controls.ints);
  EXPECT_EQ(controls.dbls, slp->controls.dbls);
  EXPECT_EQ(model.cols(), prob->model.cols());
  EXPECT_EQ(model.rows(), prob->model.rows());
  EXPECT_TRUE(lines.empty()) << lines.front().second;  // nor is anything logged
}

INSTANTIATE_TEST_SUITE_P(Calls, SlpBadInput, ::testing::ValuesIn(kCalls),
                         [](const auto &i) { return std::string(i.param.name); });

// A null problem is refused, with the global error, by entry points of every family.
TEST_F(NslpTest, NullHandlesAreRefused) {
  int (*const calls[])(NSLPprob) = {
      CALL(NSLPcascade(s)), CALL(NSLPcascadeorder(s)), CALL(NSLPchgcascadenlimit(s, 0, 1)),
      CALL(NSLPgetcascadeorder(s, nullptr, nullptr, 0)), CALL(NSLPgettolset(s, 1, nullptr, &gd)),
      CALL(NSLPgetcolinfo(s, NSLP_COLINFO_VALUE, X, &gd)), CALL(NSLPscaling(s)),
      CALL(NSLPgetrowscale(s, 0, &gd)), CALL(NSLPpresolve(s)), CALL(NSLPpostsolve(s)),
      CALL(NSLPvalidate(s)), CALL(NSLPvalidaterow(s, 0)),
      CALL(NSLPvalidatevector(s, &kHalf, nullptr, nullptr, nullptr)),
      CALL(kkt(s, NSLP_KKT_ABSOLUTE, 0, 1e-6)), CALL(NSLPprintevalinfo(s)),
      CALL(NSLPprintmemory(s)), CALL(preset(s, 0, 1)), CALL(NSLPmsclear(s)), CALL(NSLPglobal(s)),
      CALL(NSLPmsaddjob(s, "x", 1, &X, &kHalf, 0, nullptr, nullptr, 0, nullptr, nullptr, 0))};
  for (size_t k = 0; k < std::size(calls); ++k) {
    EXPECT_NE(0, calls[k](nullptr)) << "call " << k;
    EXPECT_EQ(kNull, nvtest::globalError()) << "call " << k;
  }
}

}  // namespace

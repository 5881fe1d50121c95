/*
 * nvrl.h - public C interface of libnvrl, the nuvrel solver library.
 *
 * Conventions
 * - Every function returns int: 0 on success, non-zero on failure. The failure's text is
 *   available from NVRLgetlasterror (problem calls), NSLPgetlasterror (nonlinear calls) or
 *   NVRL_ge_getlasterror (environment calls and invalid handles). The three share one
 *   contract: (handle,) int *code, char *msg, int maxbytes, int *nbytes. The code goes into
 *   *code (0 when there has been no failure), the message into msg cut to maxbytes bytes
 *   including its terminator (nothing is written when maxbytes is 0), and the bytes the
 *   whole message needs, terminator included, into *nbytes, so a caller whose buffer was
 *   too small can call again with a larger one. code, msg and nbytes may each be null.
 *   Reading does not clear the error. They return 1, recording the global last error and
 *   writing nothing, when msg is given with a negative maxbytes or (for the problem ones)
 *   the handle is null or not live.
 *   A failed call leaves the problem exactly as it was. Failures of problem calls are not
 *   logged; failures of environment calls are also sent to the global message handlers.
 * - Indices are 0-based. Ranges (first, last) are inclusive.
 * - "...64" variants take 64-bit start arrays (NVRLint64) so that a matrix may hold more
 *   than 2^31 nonzeros.
 * - Infinite bounds are +/-1e20 (NVRL_INFINITY) or beyond.
 * - Coefficients are numbers: objective coefficients (linear and quadratic, and the
 *   objective constant) and matrix coefficients (linear and quadratic rows) must be below
 *   NVRL_INFINITY in absolute value. NaN, infinite values and values at or beyond 1e20 are
 *   refused by every call that takes them (loading, adding rows or columns, changing the
 *   objective or the matrix) with a message naming the argument and index, and by
 *   NVRLreadprob with one naming the row and column. NaN right-hand sides, ranges and bounds
 *   are refused as well.
 * - Row types: 'L' (<=), 'G' (>=), 'E' (=), 'R' (range: rhs-range <= row <= rhs), 'N' (free).
 * - Column types: 'C' continuous, 'I' integer, 'B' binary, 'S' semi-continuous,
 *   'R' semi-integer, 'P' partially integer. 'S', 'R' and 'P' carry a limit (threshold):
 *   'S'/'R': the column is 0 or between the limit and its upper bound; 'P': integer below
 *   the limit, continuous above it.
 * - Bound types (NVRLchgbounds): 'U' upper, 'L' lower, 'B' both.
 * - Name types: 1 rows, 2 columns, 3 sets.
 * - Objective constant: NVRLchgobj on column -1 with value v makes the constant -v
 *   (as an RHS on the objective row of an MPS file does).
 * - Quadratic objective: c'x + 1/2 x'Qx with Q symmetric. A triplet (i, j, v) with i != j
 *   sets Q(i,j) = Q(j,i) = v, that is the term v*x_i*x_j; a triplet (i, i, v) sets
 *   Q(i,i) = v, that is the term v/2*x_i^2.
 * - Quadratic rows: a'x + x'Qx with Q symmetric. A triplet (i, j, v) with i != j sets
 *   Q(i,j) = Q(j,i) = v (the term 2v*x_i*x_j); (i, i, v) is the term v*x_i^2.
 * - Control and attribute ids are listed in docs/controls.md.
 * - Threads: problems are independent and may be used on different threads at once; one
 *   problem is used by one thread at a time. While a problem is being solved, every call that
 *   takes it (or a nonlinear problem on top of it) fails at once, changing nothing, with the
 *   last error "<function>: the problem is being solved; it cannot be changed or read until
 *   the solve returns". Exceptions: NVRLinterrupt, NSLPinterrupt, NVRLgetlasterror and
 *   NSLPgetlasterror from any thread, and NVRLaddcbmessage and NVRLremovecbmessage from the
 *   solve's own message callbacks. A second solve, NVRLdestroyprob and NVRLcopyprob to or from
 *   a problem being solved are refused too.
 * - Out of memory and other unexpected failures inside the library make a call fail with the
 *   last error "<function>: out of memory" or "<function>: internal error: ..."; the problem
 *   is left as it was.
 */
#ifndef NVRL_H
#define NVRL_H

#include <stdint.h>

#if defined(NVRL_BUILDING_LIBRARY)
#define NVRL_API __attribute__((visibility("default")))
#else
#define NVRL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef int64_t NVRLint64;

/* Opaque handles. Every engine object begins with a common header, so any handle may be
 * passed where an NVRLobject is expected (see NVRLgetobjecttypename). Handles are created
 * and destroyed only by the library's create/destroy calls; the caller owns what it creates
 * and must destroy it exactly once. */
typedef struct nvrl_object_s *NVRLobject;
typedef struct nvrl_problem_s *NVRLprob;
typedef struct nslp_problem_s *NSLPprob;

/* ===== Limits and codes ================================================================ */

#define NVRL_INFINITY 1.0e20
#define NVRL_MAXBANNERLEN 512  /* bytes of the buffer NVRLgetbanner writes, terminator included */
#define NVRL_MAXVERSIONLEN 32  /* bytes of the buffer NVRLgetversion writes, terminator included */
#define NVRL_MAXMESSAGELEN 512 /* a last-error buffer that holds most messages whole */
#define NVRL_MAXNAMELEN 1024   /* longest row, column, set or problem name */

/* Return code of NSLPinit when the nonlinear solver is not available. */
#define NSLP_NOT_AVAILABLE 279

/* Formula tokens: a formula is a list of (type, value) pairs ending with NSLP_TOK_EOF. In
 * parsed (reverse-Polish) form every function token is preceded by an NSLP_TOK_DEL token of
 * value 0 marking the start of its arguments; in unparsed (written) form brackets and commas
 * appear as in the text. */
#define NSLP_TOK_EOF 0   /* value 0: ends the formula */
#define NSLP_TOK_CON 1   /* value: the constant */
#define NSLP_TOK_COL 10  /* value: the column index (-1: the constant column, the value 1) */
#define NSLP_TOK_UFUN 11 /* value: the index of a registered user function */
#define NSLP_TOK_IFUN 12 /* value: an NSLP_FN_... internal function */
#define NSLP_TOK_LB 21   /* value 0: "(" (unparsed form) */
#define NSLP_TOK_DEL 22  /* value 0: argument-list marker (parsed); 1: "," (unparsed) */
#define NSLP_TOK_RB 23   /* value 0: ")" (unparsed form) */
#define NSLP_TOK_OP 31   /* value: an NSLP_OP_... operator */
/* Operators (NSLP_TOK_OP values). */
#define NSLP_OP_UMINUS 1
#define NSLP_OP_EXPONENT 2
#define NSLP_OP_MULTIPLY 3
#define NSLP_OP_DIVIDE 4
#define NSLP_OP_PLUS 5
#define NSLP_OP_MINUS 6
/* Internal functions (NSLP_TOK_IFUN values); min, max and pwl take argument lists. pwl's
 * arguments are the input then the breakpoints (x0, y0, x1, y1, ...) by increasing x, in
 * reverse order in the parsed form (last ordinate first, input last). */
#define NSLP_FN_LOG10 14
#define NSLP_FN_LN 15
#define NSLP_FN_EXP 16
#define NSLP_FN_ABS 17
#define NSLP_FN_SQRT 18
#define NSLP_FN_SIN 27
#define NSLP_FN_COS 28
#define NSLP_FN_TAN 29
#define NSLP_FN_ARCSIN 30
#define NSLP_FN_ARCCOS 31
#define NSLP_FN_ARCTAN 32
#define NSLP_FN_MIN 33
#define NSLP_FN_MAX 34
#define NSLP_FN_PWL 35
#define NSLP_FN_SIGN 46
#define NSLP_FN_ERF 49
#define NSLP_FN_ERFC 50

/* Message types passed to message callbacks. */
#define NVRL_MSG_INFO 1
#define NVRL_MSG_DEBUG 2
#define NVRL_MSG_WARNING 3
#define NVRL_MSG_ERROR 4

/* Types of controls and attributes (as in NVRLcaentry.type). */
#define NVRL_TYPE_NOTDEFINED 0
#define NVRL_TYPE_INT 1
#define NVRL_TYPE_INT64 2
#define NVRL_TYPE_DOUBLE 3
#define NVRL_TYPE_STRING 4

/* NVRLcaentry.flags for the optimiser's list (NVRLgetcalist_c). */
#define NVRL_CAFLAG_INT 0x1
#define NVRL_CAFLAG_DOUBLE 0x2
#define NVRL_CAFLAG_STRING 0x4
#define NVRL_CAFLAG_CONTROL 0x20
/* Flags reported by NSLPcontrolcode and set in the nonlinear solver's lists. */
#define NSLP_CCFLAG_INT 0x1
#define NSLP_CCFLAG_DOUBLE 0x2
#define NSLP_CCFLAG_STRING 0x4
#define NSLP_CCFLAG_CONTROL 0x10
#define NSLP_CCFLAG_SKIP 0x200

/* One entry of a control/attribute list. A list ends with an entry whose type is -1. */
typedef struct {
  const char *name; /* lower case */
  int id;
  int type;  /* NVRL_TYPE_... ; -1 ends the list */
  int flags; /* NVRL_CAFLAG_... or NSLP_CCFLAG_... */
} NVRLcaentry;

/* Values of the lp_status attribute (NVRL_ATTR_LP_STATUS). */
#define NVRL_LP_UNSTARTED 0
#define NVRL_LP_OPTIMAL 1
#define NVRL_LP_INFEAS 2
#define NVRL_LP_CUTOFF 3
#define NVRL_LP_UNFINISHED 4
#define NVRL_LP_UNBOUNDED 5
#define NVRL_LP_CUTOFF_IN_DUAL 6
#define NVRL_LP_UNSOLVED 7
#define NVRL_LP_NONCONVEX 8

/* Values of the mip_status attribute (NVRL_ATTR_MIP_STATUS). */
#define NVRL_MIP_NOT_LOADED 0
#define NVRL_MIP_LP_NOT_OPTIMAL 1
#define NVRL_MIP_LP_OPTIMAL 2
#define NVRL_MIP_NO_SOL_FOUND 3
#define NVRL_MIP_SOLUTION 4
#define NVRL_MIP_INFEAS 5
#define NVRL_MIP_OPTIMAL 6
#define NVRL_MIP_UNBOUNDED 7

/* Values of the stop_status attributes (NVRL_ATTR_STOP_STATUS, NSLP_ATTR_STOP_STATUS); a
 * reason passed to NVRLinterrupt or NSLPinterrupt is reported as given. */
#define NVRL_STOP_NONE 0
#define NVRL_STOP_TIMELIMIT 1
#define NVRL_STOP_CTRLC 2
#define NVRL_STOP_NODELIMIT 3
#define NVRL_STOP_ITERLIMIT 4
#define NVRL_STOP_MIPGAP 5
#define NVRL_STOP_SOLLIMIT 6
#define NVRL_STOP_USER 9

/* Basis statuses of rows and columns (NVRLgetbasis, NVRLloadbasis). */
#define NVRL_BASIS_NONBASIC_LOWER 0
#define NVRL_BASIS_BASIC 1
#define NVRL_BASIS_NONBASIC_UPPER 2
#define NVRL_BASIS_SUPERBASIC 3

/* General constraint types (NVRLaddgencons64). */
#define NVRL_GENCONS_MAX 0
#define NVRL_GENCONS_MIN 1
#define NVRL_GENCONS_AND 2
#define NVRL_GENCONS_OR 3
#define NVRL_GENCONS_ABS 4

/* ===== Control and attribute ids ======================================================= */
/* Generated from the engine's registry, which also generates docs/controls.md (meanings,
 * defaults and ranges); an engine test fails when this block and the registry differ. Do not
 * edit it by hand: run the engine tests with NVRL_UPDATE_DOCS=1 to rewrite it.
 * Optimiser ids (NVRL_...) go to the NVRL...control and NVRL...attrib functions, nonlinear
 * ids (NSLP_...) to the NSLP... ones; the comment after each id is its type. */
/* BEGIN ids generated from the registry */
/* Optimiser controls (NVRLget/set...control) */
#define NVRL_CTRL_MPS_RHS_NAME 6001 /* string */
#define NVRL_CTRL_MPS_BOUND_NAME 6002 /* string */
#define NVRL_CTRL_MPS_RANGE_NAME 6003 /* string */
#define NVRL_CTRL_TIME_LIMIT 7001 /* double */
#define NVRL_CTRL_MIP_RELATIVE_GAP 7002 /* double */
#define NVRL_CTRL_MIP_ABSOLUTE_GAP 7003 /* double */
#define NVRL_CTRL_FEASIBILITY_TOLERANCE 7004 /* double */
#define NVRL_CTRL_OPTIMALITY_TOLERANCE 7005 /* double */
#define NVRL_CTRL_MIPTOL 7006 /* double */
#define NVRL_CTRL_CUTOFF 7007 /* double */
#define NVRL_CTRL_BARRIER_TOLERANCE 7008 /* double */
#define NVRL_CTRL_NODE_LIMIT 8001 /* int64 */
#define NVRL_CTRL_SOLUTION_LIMIT 8002 /* int */
#define NVRL_CTRL_THREADS 8003 /* int */
#define NVRL_CTRL_PRESOLVE 8004 /* int */
#define NVRL_CTRL_LP_ALGORITHM 8005 /* int */
#define NVRL_CTRL_LOG_LEVEL 8006 /* int */
#define NVRL_CTRL_LP_ITERATION_LIMIT 8007 /* int64 */
#define NVRL_CTRL_BARRIER_ITERATION_LIMIT 8008 /* int */
#define NVRL_CTRL_CROSSOVER 8009 /* int */
#define NVRL_CTRL_TREE_SEARCH 8020 /* int */
#define NVRL_CTRL_TREE_CUT_ROUNDS 8021 /* int */
#define NVRL_CTRL_TREE_PERSPECTIVE 8022 /* int */
#define NVRL_CTRL_LOAD_LOG 8035 /* int */
#define NVRL_CTRL_IIS_TIME_LIMIT 8100 /* double */
#define NVRL_CTRL_IIS_MAX_SETS 8101 /* int */
#define NVRL_CTRL_REPAIR_BIG_M 8110 /* double */
#define NVRL_CTRL_TUNER_TIME_LIMIT 8111 /* double */
#define NVRL_CTRL_TUNER_RUN_TIME_LIMIT 8112 /* double */
#define NVRL_CTRL_MIP_HEURISTIC_EFFORT 8113 /* double */
#define NVRL_CTRL_RANDOM_SEED 22013 /* int */
/* Optimiser attributes (NVRLget...attrib) */
#define NVRL_ATTR_ROWS 1001 /* int */
#define NVRL_ATTR_ELEMENTS 1002 /* int64 */
#define NVRL_ATTR_OBJECTIVE_QUADRATIC_ELEMENTS 1003 /* int64 */
#define NVRL_ATTR_SETS 1004 /* int */
#define NVRL_ATTR_QUADRATIC_ROWS 1005 /* int */
#define NVRL_ATTR_LP_STATUS 1010 /* int */
#define NVRL_ATTR_MIP_STATUS 1011 /* int */
#define NVRL_ATTR_COLUMNS 1018 /* int */
#define NVRL_ATTR_SPARE_ROWS 1019 /* int */
#define NVRL_ATTR_STOP_STATUS 1020 /* int */
#define NVRL_ATTR_SIMPLEX_ITERATIONS 1021 /* int64 */
#define NVRL_ATTR_BARRIER_ITERATIONS 1022 /* int64 */
#define NVRL_ATTR_NODES 1023 /* int64 */
#define NVRL_ATTR_MIP_SOLUTIONS 1025 /* int */
#define NVRL_ATTR_SOLUTION_AVAILABLE 1026 /* int */
#define NVRL_ATTR_NAME_LENGTH 1028 /* int */
#define NVRL_ATTR_HAS_DUAL_RAY 1030 /* int */
#define NVRL_ATTR_HAS_PRIMAL_RAY 1031 /* int */
#define NVRL_ATTR_DISCRETE_COLUMNS 1032 /* int */
#define NVRL_ATTR_ORIGINAL_ROWS 1124 /* int */
#define NVRL_ATTR_PROBLEM_NAME_LENGTH 1158 /* int */
#define NVRL_ATTR_ORIGINAL_SETS 1194 /* int */
#define NVRL_ATTR_ORIGINAL_COLUMNS 1214 /* int */
#define NVRL_ATTR_INDICATORS 1325 /* int */
#define NVRL_ATTR_GENERAL_CONSTRAINTS 1327 /* int */
#define NVRL_ATTR_PWL_CONSTRAINTS 1328 /* int */
#define NVRL_ATTR_LP_OBJECTIVE 2001 /* double */
#define NVRL_ATTR_BEST_BOUND 2002 /* double */
#define NVRL_ATTR_MIP_OBJECTIVE 2003 /* double */
#define NVRL_ATTR_MIP_GAP 2004 /* double */
#define NVRL_ATTR_SOLVE_TIME 2005 /* double */
#define NVRL_ATTR_OBJECTIVE_CONSTANT 2006 /* double */
#define NVRL_ATTR_OBJECTIVE_SENSE 2008 /* double */
#define NVRL_ATTR_MAX_PRIMAL_INFEASIBILITY 2009 /* double */
#define NVRL_ATTR_MAX_DUAL_INFEASIBILITY 2010 /* double */
#define NVRL_ATTR_VERSION 3001 /* string */
/* Nonlinear solver controls (NSLPget/set...control) */
#define NSLP_CTRL_ITERATION_LIMIT 12100 /* int */
#define NSLP_CTRL_TIME_LIMIT 12103 /* double */
#define NSLP_CTRL_LOG_LEVEL 12104 /* int */
#define NSLP_CTRL_STEP_TOLERANCE 12110 /* double */
#define NSLP_CTRL_OBJECTIVE_ABSOLUTE_TOLERANCE 12111 /* double */
#define NSLP_CTRL_OBJECTIVE_RELATIVE_TOLERANCE 12112 /* double */
#define NSLP_CTRL_FEASIBILITY_TOLERANCE 12113 /* double */
#define NSLP_CTRL_OPTIMALITY_TOLERANCE 12114 /* double */
#define NSLP_CTRL_INITIAL_STEP_BOUND 12120 /* double */
#define NSLP_CTRL_MIN_STEP_BOUND 12121 /* double */
#define NSLP_CTRL_MAX_STEP_BOUND 12122 /* double */
#define NSLP_CTRL_STEP_EXPAND 12123 /* double */
#define NSLP_CTRL_STEP_SHRINK 12124 /* double */
#define NSLP_CTRL_PENALTY 12130 /* double */
#define NSLP_CTRL_PENALTY_GROWTH 12131 /* double */
#define NSLP_CTRL_PENALTY_MAX 12132 /* double */
#define NSLP_CTRL_DERIVATIVE_STEP 12140 /* double */
#define NSLP_CTRL_OBJECTIVE_SENSE 12146 /* double */
#define NSLP_CTRL_CASCADE 12230 /* int */
#define NSLP_CTRL_CASCADE_ITERATION_LIMIT 12231 /* int */
#define NSLP_CTRL_CASCADE_TOLERANCE 12232 /* double */
#define NSLP_CTRL_SCALING 12235 /* int */
#define NSLP_CTRL_MULTISTART_SEED 12250 /* int */
#define NSLP_CTRL_MULTISTART_BOX 12251 /* double */
#define NSLP_CTRL_MULTISTART_PERTURBATION 12252 /* double */
#define NSLP_CTRL_GLOBAL_STARTS 12253 /* int */
#define NSLP_CTRL_VALIDATION_TARGET_A 12270 /* double */
#define NSLP_CTRL_VALIDATION_TARGET_R 12271 /* double */
#define NSLP_CTRL_VALIDATION_ACTIVE_TOLERANCE 12272 /* double */
#define NSLP_CTRL_VALIDATION_DERIVATIVE_TOLERANCE 12273 /* double */
#define NSLP_CTRL_AUTO_PRESOLVE 12415 /* int */
#define NSLP_CTRL_POSTSOLVE 12416 /* int */
/* Nonlinear solver attributes (NSLPget...attrib) */
#define NSLP_ATTR_ROWS 11999 /* int */
#define NSLP_ATTR_COLUMNS 12000 /* int */
#define NSLP_ATTR_CONSTANT_COLUMN 12013 /* int */
#define NSLP_ATTR_COEFFICIENTS 12016 /* int */
#define NSLP_ATTR_NONLINEAR_ROWS 12026 /* int */
#define NSLP_ATTR_STATUS 12044 /* int */
#define NSLP_ATTR_STATE 12062 /* int */
#define NSLP_ATTR_ITERATIONS 12101 /* int */
#define NSLP_ATTR_STOP_STATUS 12102 /* int */
#define NSLP_ATTR_OBJECTIVE 12179 /* double */
#define NSLP_ATTR_INTERRUPT_REASON 12180 /* int */
#define NSLP_ATTR_CASCADE_COLUMNS 12220 /* int */
#define NSLP_ATTR_CASCADE_FAILURES 12221 /* int */
#define NSLP_ATTR_PRESOLVE_FIXED_COLUMNS 12222 /* int */
#define NSLP_ATTR_PRESOLVE_LINEAR_COEFFICIENTS 12223 /* int */
#define NSLP_ATTR_MULTISTART_JOBS 12240 /* int */
#define NSLP_ATTR_MULTISTART_JOBS_RUN 12241 /* int */
#define NSLP_ATTR_MULTISTART_WINNER 12242 /* int */
#define NSLP_ATTR_MULTISTART_JOBS_OPTIMAL 12243 /* int */
#define NSLP_ATTR_MULTISTART_BASE_OBJECTIVE 12244 /* double */
#define NSLP_ATTR_VALIDATION_INDEX_A 12260 /* double */
#define NSLP_ATTR_VALIDATION_INDEX_R 12261 /* double */
#define NSLP_ATTR_VALIDATION_FAILURES 12262 /* int */
#define NSLP_ATTR_VALIDATION_DERIVATIVE_ERRORS 12263 /* int */
#define NSLP_ATTR_KKT_STATIONARITY 12264 /* double */
#define NSLP_ATTR_KKT_COMPLEMENTARITY 12265 /* double */
#define NSLP_ATTR_KKT_FEASIBILITY 12266 /* double */
#define NSLP_ATTR_KKT_VALID 12267 /* int */
/* Nonlinear solver, interior-point list (NSLPget/set...control) */
#define NSLP_CTRL_IPM_SUBPROBLEMS 12900 /* int */
#define NSLP_CTRL_IPM_TOLERANCE 12901 /* double */
#define NSLP_CTRL_IPM_ITERATION_LIMIT 12902 /* int */
/* END ids generated from the registry */

/* ===== Callback signatures ============================================================= */

/* A global message handler (NVRL_ge_addcbmsghandler). obj is the object that wrote the line
 * (a problem, a nonlinear problem, or the environment object for the library's own lines),
 * thread is always null, msg is the line without a newline (len bytes, NUL-terminated, valid
 * only during the call) and msgtype is NVRL_MSG_... . The return value is ignored. */
typedef int (*NVRLgemsghandler)(NVRLobject obj, void *data, void *thread, const char *msg,
                                int len, int msgtype);
/* A problem's message callback (NVRLaddcbmessage); msg as for NVRLgemsghandler. */
typedef void (*NVRLmsgcb)(NVRLprob prob, void *data, const char *msg, int len, int msgtype);
/* A nonlinear problem's message callback (NSLPsetcbmessage); msg as for NVRLgemsghandler. */
typedef void (*NSLPmsgcb)(NSLPprob prob, void *data, const char *msg, int len, int msgtype);

/* ===== Environment ===================================================================== */
/* Library-wide state. Failures here are recorded as the global last error
 * (NVRL_ge_getlasterror) and sent to the global message handlers as NVRL_MSG_ERROR lines;
 * a failed call changes nothing. */

/* Starts the library. Starts are counted: each successful NVRLinit needs one NVRLfree.
 * path is ignored and may be null. Never fails. */
NVRL_API int NVRLinit(const char *path);
/* Releases one start of the library; the last release also releases every start of the
 * nonlinear solver. Problems that still exist then accept only NVRLdestroyprob,
 * NVRLgetlasterror and NVRLremovecbmessage.
 * Fails when the library is not started. */
NVRL_API int NVRLfree(void);
/* Writes the library version, "major.minor.patch", into version, which must hold
 * NVRL_MAXVERSIONLEN bytes. Works without NVRLinit. Fails when version is null. */
NVRL_API int NVRLgetversion(char *version);
/* Writes a one-line banner (library and HiGHS versions) into banner, which must hold
 * NVRL_MAXBANNERLEN bytes; a longer line is cut. Works without NVRLinit. Fails when banner
 * is null. */
NVRL_API int NVRLgetbanner(char *banner);
/* Reads the checked-mode switch (1 on, 0 off; on by default) into *checked. Fails when
 * checked is null. */
NVRL_API int NVRLgetcheckedmode(int *checked);
/* Sets the checked-mode switch: any non-zero value turns it on. The library validates every
 * argument whatever the switch says. Never fails. */
NVRL_API int NVRLsetcheckedmode(int checked);
/* Asks (non-zero) for results that are identical across machine architectures: solves that
 * leave the threads control at 0 (automatic) then run on one thread. Never fails. */
NVRL_API int NVRL_ge_setarchconsistency(int consistent);
/* Reads the switch of NVRL_ge_setarchconsistency (1 or 0) into *consistent. Fails when
 * consistent is null. */
NVRL_API int NVRL_ge_getarchconsistency(int *consistent);
/* The last error of the global environment (failed environment calls and failed handle
 * checks of any call): code, msg (maxbytes bytes at most, terminator included, cut when
 * longer) and nbytes (the bytes the whole message needs) as the conventions above say; each
 * may be null. Works without NVRLinit. Fails (1) only when msg is given with a negative
 * maxbytes, and then writes nothing, but that failure becomes the new last error. */
NVRL_API int NVRL_ge_getlasterror(int *code, char *msg, int maxbytes, int *nbytes);
/* Adds a global message handler, which receives every log line of every object, called
 * without the library's lock held (it may call the library, and remove itself). Handlers run
 * in decreasing priority, equal priorities in the order they were added; the same handler
 * and data may be added more than once. data is passed back untouched and stays the
 * caller's. Fails when handler is null. */
NVRL_API int NVRL_ge_addcbmsghandler(NVRLgemsghandler handler, void *data, int priority);
/* Removes every handler matching (handler, data); a null handler matches any handler and a
 * null data any data, so (null, null) removes all. Removing nothing is not an error. Never
 * fails. */
NVRL_API int NVRL_ge_removecbmsghandler(NVRLgemsghandler handler, void *data);
/* Points *name at the type name of a live engine object: "NVRLprob", "NSLPprob", "NVRLenv"
 * or "NVRLbranchobj" (a static string, not to be freed). Fails when obj or name is null or
 * obj is not a live object. */
NVRL_API int NVRLgetobjecttypename(NVRLobject obj, const char **name);

/* Starts the nonlinear solver (counted like NVRLinit; each success needs one NSLPfree).
 * path is ignored and may be null. Fails when the library is not started. */
NVRL_API int NSLPinit(const char *path);
/* Releases one start of the nonlinear solver. Fails when it is not started. */
NVRL_API int NSLPfree(void);

/* ===== Problems ======================================================================== */
/* Every call below that takes an NVRLprob first checks the handle: a null, destroyed or
 * foreign handle, or a library that is not started, fails with the global last error set.
 * Other failures are recorded on the problem (NVRLgetlasterror) and not logged. A failed
 * call changes nothing. Any call that changes the model discards the answers of the last
 * solve (solution, basis, rays and statuses). */

/* Creates an empty problem (no rows or columns, minimising, default controls) and stores
 * its handle in *prob; the caller owns it and releases it with NVRLdestroyprob.
 * Fails when prob is null or the library is not started. */
NVRL_API int NVRLcreateprob(NVRLprob *prob);
/* Destroys a problem and everything it holds. Works after NVRLfree too. A nonlinear problem
 * stacked on it is not destroyed, but then accepts only NSLPdestroyprob and
 * NSLPgetlasterror. Fails when prob is null or not a live problem. */
NVRL_API int NVRLdestroyprob(NVRLprob prob);
/* Replaces dest's model with a copy of src's: rows, columns, matrix, quadratic parts,
 * entities, sets, indicators, general and piecewise-linear constraints, names, the objective
 * sense and the problem name. Controls, callbacks and the answers of solves are not copied
 * (see NVRLcopycontrols). name, when neither null nor empty, becomes dest's name.
 * Fails when either handle is invalid or name is longer than NVRL_MAXNAMELEN. */
NVRL_API int NVRLcopyprob(NVRLprob dest, NVRLprob src, const char *name);
/* Sets the problem's name (copied). Fails when name is null or longer than
 * NVRL_MAXNAMELEN characters. */
NVRL_API int NVRLsetprobname(NVRLprob prob, const char *name);
/* Writes the problem's name into name, which must hold as many bytes as the attribute
 * NVRL_ATTR_PROBLEM_NAME_LENGTH gives (terminator included; never more than
 * NVRL_MAXNAMELEN + 1). Fails when name is null. */
NVRL_API int NVRLgetprobname(NVRLprob prob, char *name);
/* The problem's most recent failure: its code into *code (0 when there has been none), its
 * message into msg (maxbytes bytes at most, terminator included, cut when longer; an empty
 * string when there has been none) and the bytes the whole message needs into *nbytes; each
 * may be null. Successful calls leave the message in place, except NVRLlpoptimize and
 * NVRLmipoptimize, which clear it when they start. Works after NVRLfree and from any thread.
 * Fails (1), writing nothing and recording the global last error only, when prob is null or
 * not a live problem or msg is given with a negative maxbytes. */
NVRL_API int NVRLgetlasterror(NVRLprob prob, int *code, char *msg, int maxbytes, int *nbytes);

/* Adds a message callback, called with every log line of this problem (before the global
 * handlers). Callbacks run in decreasing priority, equal priorities in the order they were
 * added; a callback may remove itself or others. data stays the caller's.
 * Fails when cb is null. */
NVRL_API int NVRLaddcbmessage(NVRLprob prob, NVRLmsgcb cb, void *data, int priority);
/* Removes every callback matching (cb, data); a null cb matches any callback and a null data
 * any data. Removing nothing is not an error. Works after NVRLfree. */
NVRL_API int NVRLremovecbmessage(NVRLprob prob, NVRLmsgcb cb, void *data);

/* ----- Loading a whole problem ----- */
/* The load calls replace the whole model (names, entities, sets, indicators and general and
 * piecewise-linear constraints included) by the one given; the objective sense and the
 * controls stay. The new model is built and checked on the side, so a failed load leaves the
 * old model in place. Arguments shared by all of them:
 *   name      the problem's new name; null keeps the current one. At most NVRL_MAXNAMELEN.
 *   ncols, nrows  counts, >= 0.
 *   rowtype   nrows row types (required when nrows > 0); rhs: nrows values, null means 0.
 *   range     nrows ranges, read for 'R' rows only (must be >= 0); may be null when no row
 *             is 'R'.
 *   obj, lb, ub  ncols values each; null means 0, 0 and +infinity. obj values must be
 *             finite; bounds, rhs and ranges must not be NaN, and at or beyond
 *             +/-NVRL_INFINITY they are infinite.
 *   start, collen, rowind, rowcoef  the matrix column-wise: column j has the entries
 *             start[j] .. start[j]+collen[j]-1 of rowind/rowcoef, or start[j] .. start[j+1]-1
 *             when collen is null (start then has ncols+1 entries). start null: no matrix
 *             entries (collen must then be null). Starts must not decrease, lengths must not
 *             be negative, row indices must be valid, values finite; repeated (row, column)
 *             entries are summed.
 * Fails, changing nothing, when any of these is violated or memory runs out. */

/* Loads an LP with 32-bit column starts. */
NVRL_API int NVRLloadlp(NVRLprob prob, const char *name, int ncols, int nrows,
                        const char rowtype[], const double rhs[], const double range[],
                        const double obj[], const int start[], const int collen[],
                        const int rowind[], const double rowcoef[], const double lb[],
                        const double ub[]);
/* Loads an LP with 64-bit column starts. */
NVRL_API int NVRLloadlp64(NVRLprob prob, const char *name, int ncols, int nrows,
                          const char rowtype[], const double rhs[], const double range[],
                          const double obj[], const NVRLint64 start[], const int collen[],
                          const int rowind[], const double rowcoef[], const double lb[],
                          const double ub[]);
/* Loads a QP: an LP plus a quadratic objective of nobjqcoefs triplets (objqcol1[k],
 * objqcol2[k], objqcoef[k]) as the Conventions describe; repeated pairs add up. The arrays
 * may be null when nobjqcoefs is 0. Fails also on an invalid column index or a value that is
 * not finite. */
NVRL_API int NVRLloadqp64(NVRLprob prob, const char *name, int ncols, int nrows,
                          const char rowtype[], const double rhs[], const double range[],
                          const double obj[], const NVRLint64 start[], const int collen[],
                          const int rowind[], const double rowcoef[], const double lb[],
                          const double ub[], NVRLint64 nobjqcoefs, const int objqcol1[],
                          const int objqcol2[], const double objqcoef[]);
/* Loads an LP with global entities: nentities columns entind[k] get the type coltype[k]
 * ('I', 'B', 'S', 'R', 'P'; 'B' narrows the bounds into [0, 1]) and, for 'S', 'R' and 'P',
 * the limit limit[k] (limit null: 0); and nsets special ordered sets, set k of type
 * settype[k] ('1' or '2') with members setind[setstart[k] .. setstart[k+1]-1] and reference
 * values refval[...] (setstart has nsets+1 entries). The entity arrays may be null when
 * nentities is 0, the set arrays when nsets is 0. Fails also when a column gets two types or
 * an index, type or set layout is invalid. */
NVRL_API int NVRLloadglobal64(NVRLprob prob, const char *name, int ncols, int nrows,
                              const char rowtype[], const double rhs[], const double range[],
                              const double obj[], const NVRLint64 start[], const int collen[],
                              const int rowind[], const double rowcoef[], const double lb[],
                              const double ub[], int nentities, int nsets,
                              const char coltype[], const int entind[], const double limit[],
                              const char settype[], const NVRLint64 setstart[],
                              const int setind[], const double refval[]);
/* NVRLloadglobal64 with the quadratic objective of NVRLloadqp64. */
NVRL_API int NVRLloadqglobal64(NVRLprob prob, const char *name, int ncols, int nrows,
                               const char rowtype[], const double rhs[], const double range[],
                               const double obj[], const NVRLint64 start[], const int collen[],
                               const int rowind[], const double rowcoef[], const double lb[],
                               const double ub[], NVRLint64 nobjqcoefs, const int objqcol1[],
                               const int objqcol2[], const double objqcoef[], int nentities,
                               int nsets, const char coltype[], const int entind[],
                               const double limit[], const char settype[],
                               const NVRLint64 setstart[], const int setind[],
                               const double refval[]);
/* NVRLloadqp64 plus quadratic rows: nqrows rows qrowind[k] (each listed once), row k taking
 * the next nrowqcoefs[k] triplets, in order, of (rowqcol1, rowqcol2, rowqcoef) with the
 * meaning the Conventions give for quadratic rows. Fails also on an invalid or repeated row,
 * a negative count, an invalid column or a value that is not finite. */
NVRL_API int NVRLloadqcqp64(NVRLprob prob, const char *name, int ncols, int nrows,
                            const char rowtype[], const double rhs[], const double range[],
                            const double obj[], const NVRLint64 start[], const int collen[],
                            const int rowind[], const double rowcoef[], const double lb[],
                            const double ub[], NVRLint64 nobjqcoefs, const int objqcol1[],
                            const int objqcol2[], const double objqcoef[], int nqrows,
                            const int qrowind[], const NVRLint64 nrowqcoefs[],
                            const int rowqcol1[], const int rowqcol2[], const double rowqcoef[]);
/* NVRLloadqcqp64 with the global entities and sets of NVRLloadglobal64. */
NVRL_API int NVRLloadqcqpglobal64(NVRLprob prob, const char *name, int ncols, int nrows,
                                  const char rowtype[], const double rhs[], const double range[],
                                  const double obj[], const NVRLint64 start[],
                                  const int collen[], const int rowind[],
                                  const double rowcoef[], const double lb[], const double ub[],
                                  NVRLint64 nobjqcoefs, const int objqcol1[],
                                  const int objqcol2[], const double objqcoef[], int nqrows,
                                  const int qrowind[], const NVRLint64 nrowqcoefs[],
                                  const int rowqcol1[], const int rowqcol2[],
                                  const double rowqcoef[], int nentities, int nsets,
                                  const char coltype[], const int entind[],
                                  const double limit[], const char settype[],
                                  const NVRLint64 setstart[], const int setind[],
                                  const double refval[]);

/* ----- Adding and deleting rows and columns ----- */
/* Appends nrows rows. rowtype and rhs hold nrows entries (null only when nrows is 0); range
 * is read for 'R' rows only and may be null when there are none. Row-wise entries: row i has
 * the entries start[i] .. start[i+1]-1 of colind/rowcoef, the last row ending at ncoefs, so
 * start[nrows] is never read (the same holds for the starts of NVRLaddcols64,
 * NVRLaddsets64, NVRLaddgencons64 and NVRLaddpwlcons64); start, colind and rowcoef may be
 * null when ncoefs is 0. Repeated (row, column) entries are summed. New rows are unnamed.
 * Fails on a negative count, a null array that is needed, an invalid row type, a NaN rhs or
 * range, a negative range, decreasing starts, an invalid column index, a coefficient that
 * is not finite, or more than 2^31-1 rows in all. */
NVRL_API int NVRLaddrows64(NVRLprob prob, int nrows, NVRLint64 ncoefs, const char rowtype[],
                           const double rhs[], const double range[], const NVRLint64 start[],
                           const int colind[], const double rowcoef[]);
/* Appends ncols continuous, unnamed columns. Column-wise entries: column j has the entries
 * start[j] .. start[j+1]-1 of rowind/rowcoef, the last ending at ncoefs (start may be null
 * when ncoefs is 0). objcoef, lb and ub hold ncols values or are null (0, 0, +infinity).
 * Fails on a negative count, an objective value that is not finite, a NaN bound, decreasing
 * starts, an invalid row index, a coefficient that is not finite, or more than 2^31-1
 * columns in all. */
NVRL_API int NVRLaddcols64(NVRLprob prob, int ncols, NVRLint64 ncoefs, const double objcoef[],
                           const NVRLint64 start[], const int rowind[], const double rowcoef[],
                           const double lb[], const double ub[]);
/* Deletes the nrows rows rowind[] (in any order) with their quadratic parts, indicators and
 * names; later rows move down. rowind may be null when nrows is 0. Fails on a negative
 * count, an invalid index or an index listed twice. */
NVRL_API int NVRLdelrows(NVRLprob prob, int nrows, const int rowind[]);
/* Deletes the ncols columns colind[] (in any order) with their matrix and quadratic entries
 * and names; later columns move down. Special ordered sets lose the deleted members but
 * stay. Fails on a negative count, an invalid or repeated index, or when a deleted column is
 * used by an indicator, a general or a piecewise-linear constraint (delete those first). */
NVRL_API int NVRLdelcols(NVRLprob prob, int ncols, const int colind[]);

/* ----- Names ----- */
/* type selects the items: 1 rows, 2 columns, 3 sets; any other value fails. Items without a
 * name read as default names, 1-based: "R1", "C1", "S1". first..last must lie inside the
 * existing items (so a call on a kind with no items fails). */

/* Names items first..last: names holds last-first+1 NUL-terminated names one after another
 * (copied). An empty name removes the item's name. A name may be held by several items of a
 * kind: NVRLgetindex finds the lowest-numbered one, and the file writers add a suffix to the
 * others ("_2", "_3", ...). Fails on a null names or a name longer than NVRL_MAXNAMELEN. */
NVRL_API int NVRLaddnames(NVRLprob prob, int type, const char names[], int first, int last);
/* Writes the names of items first..last, NUL-terminated one after another, into names,
 * which must hold (last-first+1) * (8 * NVRL_ATTR_NAME_LENGTH + 1) bytes (NVRLgetnamelist
 * tells the exact size). Fails when names is null. */
NVRL_API int NVRLgetnames(NVRLprob prob, int type, char names[], int first, int last);
/* As NVRLgetnames with the buffer's size: *nbytes (when not null) receives the bytes the
 * names need; names, when not null, receives them and must then hold maxbytes >= that many
 * bytes. Fails when names and nbytes are both null, when maxbytes is too small (after
 * setting *nbytes; names is not written) or when the names need more than 2^31-1 bytes. */
NVRL_API int NVRLgetnamelist(NVRLprob prob, int type, char names[], int maxbytes, int *nbytes,
                             int first, int last);
/* Stores in *index the index of the row, column or set named name (given names are found
 * before default names of other items, and of several items given the name the
 * lowest-numbered). Fails when name or index is null or no item has the
 * name. */
NVRL_API int NVRLgetindex(NVRLprob prob, int type, const char *name, int *index);
/* NVRLaddnames for sets (type 3). */
NVRL_API int NVRLaddsetnames(NVRLprob prob, const char names[], int first, int last);

/* ----- Changes ----- */
/* Each call below checks all its entries before applying any; entries are then applied in
 * order, so a repeated index keeps the last value. Arrays of n entries may be null when n is
 * 0; a negative n fails. */

/* Sets objective coefficients objcoef[k] of columns colind[k]; colind -1 addresses the
 * objective constant (value v sets the constant to -v). Fails on an invalid column or a
 * value that is not finite. */
NVRL_API int NVRLchgobj(NVRLprob prob, int ncols, const int colind[], const double objcoef[]);
/* Sets the objective sense: 1 minimise, -1 maximise. Fails on any other value. */
NVRL_API int NVRLchgobjsense(NVRLprob prob, int objsense);
/* Sets bounds of columns colind[k]: bndtype[k] 'U' upper, 'L' lower, 'B' both, to
 * bndval[k] (at or beyond +/-NVRL_INFINITY: infinite). A lower bound above the upper one is
 * accepted here and makes the problem infeasible. Fails on an invalid column, a bound type
 * other than 'U', 'L', 'B', a null bndtype or a NaN value. */
NVRL_API int NVRLchgbounds(NVRLprob prob, int nbounds, const int colind[], const char bndtype[],
                           const double bndval[]);
/* Sets the right-hand sides of rows rowind[k] (a range row keeps its range below the new
 * rhs). Fails on an invalid row or a NaN value. */
NVRL_API int NVRLchgrhs(NVRLprob prob, int nrows, const int rowind[], const double rhs[]);
/* Sets the range of rows rowind[k] and makes them range rows ('R', rhs-range <= row <= rhs).
 * 'L' and 'R' rows keep their rhs as the upper end; 'G' and 'E' rows keep theirs as the lower
 * end (rhs becomes rhs+range). Fails on an invalid row, a NaN or negative range, or a free
 * ('N') row. */
NVRL_API int NVRLchgrhsrange(NVRLprob prob, int nrows, const int rowind[], const double rng[]);
/* Sets the types of rows rowind[k] ('L', 'G', 'E', 'R', 'N'). A row that stops being a
 * range row loses its range; one that becomes 'R' gets range 0 until NVRLchgrhsrange. Fails
 * on an invalid row or type. */
NVRL_API int NVRLchgrowtype(NVRLprob prob, int nrows, const int rowind[], const char rowtype[]);
/* Sets the types of columns colind[k] ('C', 'I', 'B', 'S', 'R', 'P'). Making a column binary
 * narrows its bounds into [0, 1]. Fails on an invalid column or type. */
NVRL_API int NVRLchgcoltype(NVRLprob prob, int ncols, const int colind[], const char coltype[]);
/* Sets the limits of semi-continuous, semi-integer and partially integer columns. Fails on
 * an invalid column, a column of another type, or a value that is not finite. */
NVRL_API int NVRLchgglblimit(NVRLprob prob, int ncols, const int colind[], const double limit[]);
/* Sets the matrix coefficient of (row, col) to coef; 0 deletes the entry. Fails on an
 * invalid row or column or a value that is not finite. */
NVRL_API int NVRLchgcoef(NVRLprob prob, int row, int col, double coef);
/* NVRLchgcoef for ncoefs entries (rowind[k], colind[k], rowcoef[k]); a repeated (row,
 * column) keeps the last value. */
NVRL_API int NVRLchgmcoef(NVRLprob prob, int ncoefs, const int rowind[], const int colind[],
                          const double rowcoef[]);
/* NVRLchgmcoef with a 64-bit count. */
NVRL_API int NVRLchgmcoef64(NVRLprob prob, NVRLint64 ncoefs, const int rowind[],
                            const int colind[], const double rowcoef[]);

/* ----- Quadratic objective and quadratic rows ----- */
/* Values mean what the Conventions say (objective: 1/2 x'Qx; rows: x'Qx). A pair (i, j) and
 * (j, i) address the same entry. The get calls below lay the upper triangle out column-wise:
 * for each column j of first..last, the entries (i, j) with i <= j, i ascending. */

/* Sets the quadratic objective entry (objqcol1, objqcol2) to objqcoef; 0 deletes it. Fails
 * on an invalid column or a value that is not finite. */
NVRL_API int NVRLchgqobj(NVRLprob prob, int objqcol1, int objqcol2, double objqcoef);
/* NVRLchgqobj for ncoefs entries (arrays may be null when ncoefs is 0); a repeated pair keeps
 * the last value. Nothing changes unless every entry is valid. */
NVRL_API int NVRLchgmqobj(NVRLprob prob, int ncoefs, const int objqcol1[], const int objqcol2[],
                          const double objqcoef[]);
/* NVRLchgmqobj with a 64-bit count. */
NVRL_API int NVRLchgmqobj64(NVRLprob prob, NVRLint64 ncoefs, const int objqcol1[],
                            const int objqcol2[], const double objqcoef[]);
/* Reads the quadratic objective's upper triangle for columns first..last: start receives
 * last-first+2 entries (column j's entries are start[j-first] .. start[j-first+1]-1),
 * colind the row index i of each entry and objqcoef its value. *ncoefs receives the total
 * number of entries. With colind and objqcoef both null only start and *ncoefs are set;
 * otherwise at most maxcoefs entries are written (starts capped accordingly). Any output may
 * be null. Fails on an invalid range, a negative maxcoefs when writing entries, or when the
 * total does not fit the 32-bit starts (use NVRLgetmqobj64). */
NVRL_API int NVRLgetmqobj(NVRLprob prob, int start[], int colind[], double objqcoef[],
                          int maxcoefs, int *ncoefs, int first, int last);
/* NVRLgetmqobj with 64-bit starts and counts. */
NVRL_API int NVRLgetmqobj64(NVRLprob prob, NVRLint64 start[], int colind[], double objqcoef[],
                            NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last);
/* Adds ncoefs triplets to the quadratic part of row (which need not have one yet); they add
 * up with existing entries and with each other. Fails on an invalid row or column, a
 * negative count, a null array when ncoefs > 0 or a value that is not finite. */
NVRL_API int NVRLaddqmatrix64(NVRLprob prob, int row, NVRLint64 ncoefs, const int rowqcol1[],
                              const int rowqcol2[], const double rowqcoef[]);
/* Sets entry (rowqcol1, rowqcol2) of row's quadratic part to rowqcoef; 0 deletes it. Fails on
 * an invalid row or column or a value that is not finite. */
NVRL_API int NVRLchgqrowcoeff(NVRLprob prob, int row, int rowqcol1, int rowqcol2,
                              double rowqcoef);
/* Removes the quadratic part of row (none is not an error). Fails on an invalid row. */
NVRL_API int NVRLdelqmatrix(NVRLprob prob, int row);
/* Reads row's quadratic part for columns first..last, laid out as NVRLgetmqobj does. Fails
 * on an invalid row, and as NVRLgetmqobj. */
NVRL_API int NVRLgetqrowqmatrix(NVRLprob prob, int row, int start[], int colind[],
                                double rowqcoef[], int maxcoefs, int *ncoefs, int first,
                                int last);
/* Reads all entries of row's quadratic part as triplets with rowqcol1 <= rowqcol2: the count
 * into *ncoefs, and, for each array that is not null, *ncoefs values (there is no size
 * argument: ask for the count first). Fails on an invalid row or a null ncoefs. */
NVRL_API int NVRLgetqrowqmatrixtriplets(NVRLprob prob, int row, int *ncoefs, int rowqcol1[],
                                        int rowqcol2[], double rowqcoef[]);
/* Reads entry (rowqcol1, rowqcol2) of row's quadratic part into *rowqcoef (0 when absent).
 * Fails on an invalid row or column or a null rowqcoef. */
NVRL_API int NVRLgetqrowcoeff(NVRLprob prob, int row, int rowqcol1, int rowqcol2,
                              double *rowqcoef);
/* Counts the rows with a quadratic part into *nrows and, when qrowind is not null, writes
 * their indices (ascending; qrowind must hold *nrows entries). Fails when nrows is null. */
NVRL_API int NVRLgetqrows(NVRLprob prob, int *nrows, int qrowind[]);

/* ----- Special ordered sets ----- */
/* Appends nsets sets: set k has type settype[k] ('1' or '2') and the members colind[start[k]
 * .. start[k+1]-1] with reference values refval[...], the last set ending at nelems. Fails on
 * a negative count, a null array that is needed, a set type other than '1' and '2', an
 * invalid column, a column or reference value repeated within a set, a reference value that
 * is not finite, decreasing starts, or more than 2^31-1 sets in all. */
NVRL_API int NVRLaddsets64(NVRLprob prob, int nsets, NVRLint64 nelems, const char settype[],
                           const NVRLint64 start[], const int colind[], const double refval[]);
/* Deletes the nsets sets sets[] with their names; later sets move down. Fails on a negative
 * count, an invalid index or an index listed twice. */
NVRL_API int NVRLdelsets(NVRLprob prob, int nsets, const int sets[]);
/* Reads sets first..last in NVRLaddsets64's layout: settype (last-first+1 entries), start
 * (last-first+2 entries), colind and refval; *nelems receives the total number of members.
 * With colind and refval both null only the types, starts and *nelems are set; otherwise at
 * most maxelems members are written (starts capped accordingly). Any output may be null.
 * Fails on an invalid range or a negative maxelems when writing members. */
NVRL_API int NVRLgetsets64(NVRLprob prob, char settype[], NVRLint64 start[], int colind[],
                           double refval[], NVRLint64 maxelems, NVRLint64 *nelems, int first,
                           int last);

/* ----- Indicator constraints ----- */
/* Makes rows rowind[k] indicator rows: complement[k] 1 means the row must hold when column
 * colind[k] is 1, -1 when it is 0; 0 removes the indicator (colind[k] is then not read).
 * The column must be binary when the problem is solved. Fails on a negative count, a null
 * array when nrows > 0, an invalid row or column, or a complement other than -1, 0, 1. */
NVRL_API int NVRLsetindicators(NVRLprob prob, int nrows, const int rowind[], const int colind[],
                               const int complement[]);
/* For rows first..last: the indicator column (-1 when none) into colind and the complement
 * (0 when none) into complement, last-first+1 entries each; either may be null. Fails on an
 * invalid range. */
NVRL_API int NVRLgetindicators(NVRLprob prob, int colind[], int complement[], int first,
                               int last);
/* Turns the rows first..last back into ordinary rows. Fails on an invalid range. */
NVRL_API int NVRLdelindicators(NVRLprob prob, int first, int last);

/* ----- General and piecewise-linear constraints ----- */
/* Appends ncons general constraints. Constraint k: resultant[k] = contype[k]( the columns
 * colind[colstart[k] .. colstart[k+1]-1] and the constants val[valstart[k] ..
 * valstart[k+1]-1] ), contype NVRL_GENCONS_...: max/min take at least one column or value;
 * and/or take at least one column (binary when solved) and no values; abs takes exactly
 * one column and no values. The last constraint ends at ncols (nvals). valstart and val
 * may be null when nvals is 0. Fails on a negative count, an invalid type, column or layout,
 * a shape the type does not allow, a resultant used as its own argument, or a value that is
 * not finite. */
NVRL_API int NVRLaddgencons64(NVRLprob prob, int ncons, NVRLint64 ncols, NVRLint64 nvals,
                              const int contype[], const int resultant[],
                              const NVRLint64 colstart[], const int colind[],
                              const NVRLint64 valstart[], const double val[]);
/* Reads general constraints first..last in NVRLaddgencons64's layout: contype and resultant
 * (last-first+1 entries), colstart and valstart (last-first+2 entries), colind (at most
 * maxcols entries written) and val (at most maxvals); *ncols and *nvals receive the totals.
 * Any output may be null; a null colind (val) means only counts for it. Fails on an invalid
 * range or a negative maxcols (maxvals) when colind (val) is given. */
NVRL_API int NVRLgetgencons64(NVRLprob prob, int contype[], int resultant[],
                              NVRLint64 colstart[], int colind[], NVRLint64 maxcols,
                              NVRLint64 *ncols, NVRLint64 valstart[], double val[],
                              NVRLint64 maxvals, NVRLint64 *nvals, int first, int last);
/* Deletes the ncons general constraints conind[]; later ones move down. Fails on a negative
 * count, an invalid index or an index listed twice. */
NVRL_API int NVRLdelgencons(NVRLprob prob, int ncons, const int conind[]);
/* Appends npwls piecewise-linear constraints. Constraint k: resultant[k] = f(colind[k]) with
 * f piecewise linear through the points (xval, yval)[start[k] .. start[k+1]-1] (the last
 * ending at npoints), at least 2 points, x non-decreasing (two equal x make a jump; three are
 * an error). Fails on a negative count, an invalid column or layout, a column used as both
 * argument and resultant, too few or unordered points, or a value that is not finite. */
NVRL_API int NVRLaddpwlcons64(NVRLprob prob, int npwls, NVRLint64 npoints, const int colind[],
                              const int resultant[], const NVRLint64 start[],
                              const double xval[], const double yval[]);
/* Reads piecewise-linear constraints first..last in NVRLaddpwlcons64's layout: colind and
 * resultant (last-first+1 entries), start (last-first+2), and at most maxpoints points into
 * xval and yval; *npoints receives the total. Any output may be null; with xval and yval both
 * null only counts are set. Fails on an invalid range or a negative maxpoints when writing
 * points. */
NVRL_API int NVRLgetpwlcons64(NVRLprob prob, int colind[], int resultant[], NVRLint64 start[],
                              double xval[], double yval[], NVRLint64 maxpoints,
                              NVRLint64 *npoints, int first, int last);
/* Deletes the npwls piecewise-linear constraints pwlind[]; later ones move down. Fails on a
 * negative count, an invalid index or an index listed twice. */
NVRL_API int NVRLdelpwlcons(NVRLprob prob, int npwls, const int pwlind[]);

/* ----- Queries ----- */
/* first..last (inclusive) must lie inside the existing rows or columns, so a query on a
 * problem without any fails. Output arrays receive last-first+1 entries. */

/* Lower bounds of columns first..last (infinite bounds read as -/+NVRL_INFINITY). Fails on
 * an invalid range or a null lb. */
NVRL_API int NVRLgetlb(NVRLprob prob, double lb[], int first, int last);
/* Upper bounds of columns first..last. Fails on an invalid range or a null ub. */
NVRL_API int NVRLgetub(NVRLprob prob, double ub[], int first, int last);
/* Objective coefficients of columns first..last. Fails on an invalid range or a null obj. */
NVRL_API int NVRLgetobj(NVRLprob prob, double obj[], int first, int last);
/* Right-hand sides of rows first..last. Fails on an invalid range or a null rhs. */
NVRL_API int NVRLgetrhs(NVRLprob prob, double rhs[], int first, int last);
/* Ranges of rows first..last (0 for rows that are not range rows). Fails on an invalid range
 * or a null rng. */
NVRL_API int NVRLgetrhsrange(NVRLprob prob, double rng[], int first, int last);
/* Types of rows first..last (not NUL-terminated). Fails on an invalid range or a null
 * rowtype. */
NVRL_API int NVRLgetrowtype(NVRLprob prob, char rowtype[], int first, int last);
/* Types of columns first..last (not NUL-terminated). Fails on an invalid range or a null
 * coltype. */
NVRL_API int NVRLgetcoltype(NVRLprob prob, char coltype[], int first, int last);
/* Limits of columns first..last (0 for columns without one). Fails on an invalid range or a
 * null limit. */
NVRL_API int NVRLgetglblimit(NVRLprob prob, double limit[], int first, int last);
/* Matrix rows first..last: start receives last-first+2 entries (row i's entries are
 * start[i-first] .. start[i-first+1]-1), colind the column indices and rowcoef the values;
 * *ncoefs receives the total. With colind and rowcoef both null only start and *ncoefs are
 * set; otherwise at most maxcoefs entries are written (starts capped
 * accordingly). Any output may be null. Fails on an invalid range or a negative maxcoefs
 * when writing entries. */
NVRL_API int NVRLgetrows64(NVRLprob prob, NVRLint64 start[], int colind[], double rowcoef[],
                           NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last);
/* Matrix columns first..last, laid out as NVRLgetrows64 (row indices ascending within a
 * column). Fails as NVRLgetrows64 does. */
NVRL_API int NVRLgetcols64(NVRLprob prob, NVRLint64 start[], int rowind[], double colcoef[],
                           NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last);
/* The matrix coefficient of (row, col) into *coef (0 when there is no entry). Fails on an
 * invalid row or column or a null coef. */
NVRL_API int NVRLgetcoef(NVRLprob prob, int row, int col, double *coef);

/* ===== Controls and attributes ======================================================== */
/* Ids are the NVRL_CTRL_... and NVRL_ATTR_... constants above (docs/controls.md gives
 * meanings, defaults and ranges). Every call fails, changing nothing, on an unknown id, an
 * id of the nonlinear solver, a control passed as an attribute or the other way round, an
 * id of another type (int and int64 ids are both "integral"), or a null value pointer. Values
 * are per problem. */

/* Reads an integral attribute as a 32-bit value. Fails also when the value does not fit in
 * 32 bits (use NVRLgetintattrib64). */
NVRL_API int NVRLgetintattrib(NVRLprob prob, int attrib, int *value);
/* Reads an integral attribute. */
NVRL_API int NVRLgetintattrib64(NVRLprob prob, int attrib, NVRLint64 *value);
/* Reads a double attribute. */
NVRL_API int NVRLgetdblattrib(NVRLprob prob, int attrib, double *value);
/* Reads a string attribute into value, which must hold NVRL_MAXNAMELEN bytes. */
NVRL_API int NVRLgetstrattrib(NVRLprob prob, int attrib, char *value);
/* Reads an integral control as a 32-bit value. Fails also when the value does not fit in 32
 * bits (use NVRLgetintcontrol64). */
NVRL_API int NVRLgetintcontrol(NVRLprob prob, int control, int *value);
/* Reads an integral control. */
NVRL_API int NVRLgetintcontrol64(NVRLprob prob, int control, NVRLint64 *value);
/* Sets an integral control. Fails also when value is outside the control's range. */
NVRL_API int NVRLsetintcontrol(NVRLprob prob, int control, int value);
/* NVRLsetintcontrol with a 64-bit value. */
NVRL_API int NVRLsetintcontrol64(NVRLprob prob, int control, NVRLint64 value);
/* Reads a double control. */
NVRL_API int NVRLgetdblcontrol(NVRLprob prob, int control, double *value);
/* Sets a double control. Fails also when value is NaN or outside the control's range. */
NVRL_API int NVRLsetdblcontrol(NVRLprob prob, int control, double value);
/* Reads a string control into value, which must hold NVRL_MAXNAMELEN bytes. */
NVRL_API int NVRLgetstrcontrol(NVRLprob prob, int control, char *value);
/* Sets a string control (copied). Fails also when value is null or NVRL_MAXNAMELEN
 * characters or longer. */
NVRL_API int NVRLsetstrcontrol(NVRLprob prob, int control, const char *value);
/* Points *list at the optimiser's controls and attributes, ascending by id and ending with
 * an entry of type -1. The list is static: the library owns it and it never changes. Fails
 * when list is null. */
NVRL_API int NVRLgetcalist_c(NVRLprob prob, const NVRLcaentry **list);
/* Looks up a control or attribute of the optimiser by name (any case): its id into *id,
 * its NVRL_TYPE_... into *type and 1 for a control, 0 for an attribute into *iscontrol
 * (each may be null). Fails when name is null or names no optimiser entry. */
NVRL_API int NVRLgetcontrolinfo(NVRLprob prob, const char *name, int *id, int *type,
                                int *iscontrol);
/* Sets every control of the problem back to its default. */
NVRL_API int NVRLsetdefaults(NVRLprob prob);
/* Copies every control of src to dest. Fails when either handle is invalid. */
NVRL_API int NVRLcopycontrols(NVRLprob dest, NVRLprob src);
/* Writes "name = value" for every control that differs from its default as NVRL_MSG_INFO
 * lines to the problem's message callbacks and the global handlers. */
NVRL_API int NVRLdumpcontrols(NVRLprob prob);

/* ===== Files =========================================================================== */

/* Reads a problem from an MPS (free or fixed) or LP file, replacing the whole model, its
 * objective sense included (controls stay); the model changes only when the whole file was
 * read. flags: "l" forces LP format, "m" MPS; otherwise a ".lp" extension (any case) means
 * LP and anything else MPS. A name that does not exist and has no extension tries ".mps", then ".lp". A missing problem
 * name becomes the file's name without directories and extension. Fails on a null or empty
 * filename, an unknown flag, a file that cannot be opened or read (the message names the
 * line of a syntax error), an MPS file with nonlinear sections (see NSLPreadprob), or memory
 * running out. */
NVRL_API int NVRLreadprob(NVRLprob prob, const char *filename, const char *flags);
/* Writes the problem to filename: flags "l" LP format, otherwise free MPS ("m" or none; the
 * last of several flags wins). A name without extension gets ".lp" or ".mps". Fails on a
 * null or empty filename, the flag "x" (hexadecimal values are not supported) or another
 * unknown flag, a model the format cannot hold, or a file that cannot be written (a
 * partly written file may then remain). The problem is not changed. */
NVRL_API int NVRLwriteprob(NVRLprob prob, const char *filename, const char *flags);

/* ----- Problem snapshots and solution files ----- */
/* Snapshots are binary files (docs/file-formats.md) holding everything the problem holds: the
 * model, the controls, and the answers and basis of the last solve, so that after a restore
 * the attributes, NVRLgetlpsol, NVRLgetmipsol and NVRLgetbasis answer as before the save and
 * the next solve starts from the saved basis. Values are kept bit for bit. */

/* Writes a snapshot of the problem to filename (used as given; an existing file is replaced
 * only once the new one has been written completely). Fails on a null or empty filename or a
 * file that cannot be written. The problem is not changed. */
NVRL_API int NVRLsaveas(NVRLprob prob, const char *filename);
/* NVRLsaveas to "<problem name>.svf" in the working directory ("problem.svf" when the problem
 * has no name). */
NVRL_API int NVRLsave(NVRLprob prob);
/* Replaces the problem's model, controls and answers by those of the snapshot
 * "<probname>.svf", or of the file probname itself when that does not exist and probname
 * does; a null or empty probname means the problem's own name. flags (null or ""): 'c' keeps
 * the problem's current controls, 'n' leaves out the saved answers (as after a model change).
 * Controls this library does not know are skipped with a warning log line. A nonlinear
 * problem stacked on prob keeps its data (NSLPrestore restores both). Fails, changing nothing,
 * on an unknown flag, a file that cannot be read, is not a snapshot, is truncated or
 * corrupt, was written by a newer format, or holds a nonlinear problem. */
NVRL_API int NVRLrestore(NVRLprob prob, const char *probname, const char *flags);
/* Writes the last solve's solution as a solution file (docs/file-formats.md): the problem's
 * name, the objective and each column's value; flags add 's' row slacks, 'd' row duals and
 * 'r' reduced costs. Values are written with 17 significant digits. Fails on a null or empty
 * filename, an unknown flag, no solution (or, for 'd' and 'r', no dual solution), or a file
 * that cannot be written. */
NVRL_API int NVRLwriteslxsol(NVRLprob prob, const char *filename, const char *flags);
/* Reads a solution file as the starting point of the next solve (as NVRLloadlpsol does; a
 * MIP solve takes it as its first incumbent when it is feasible). Columns and rows are
 * matched by name; columns the file leaves out start at the point of their bounds nearest to
 * 0; row slacks and duals, and reduced costs, are used only when the file gives them for
 * every row or column. flags: 'x' uses the column values only. The answers of the last solve
 * are not changed. Fails, changing nothing, on a null or empty filename, an unknown flag, a
 * file that cannot be read, or a fault in it (the message names the line: unknown or repeated
 * name, a value that is not a finite number, a missing END). */
NVRL_API int NVRLreadslxsol(NVRLprob prob, const char *filename, const char *flags);

/* ===== Optimisation ==================================================================== */
/* Answers of a solve stay until the next solve or model change. Solves that stop early or
 * prove infeasibility or unboundedness still succeed; their outcome is in the lp_status,
 * mip_status, stop_status and solution_available attributes. */

/* Solves the continuous problem: the LP, or the convex QP, with integrality and other global
 * entities relaxed. flags choose the LP algorithm: "p" primal simplex, "d" dual simplex, "b"
 * barrier, "n" network (solved by the dual simplex); null or "" leave the choice to the
 * lp_algorithm control; blanks are ignored; the last letter wins. The objective sense is the
 * problem's (NVRLchgobjsense). Clears the problem's last error when it starts. Fails on an
 * unknown flag, quadratic rows (a job for the nonlinear solver), a non-convex quadratic
 * objective (lp_status then reads NVRL_LP_NONCONVEX and the previous answers are gone), or
 * when HiGHS gives no verdict. */
NVRL_API int NVRLlpoptimize(NVRLprob prob, const char *flags);
/* Solves the MIP, with the same flags for its LP relaxations; a problem without global
 * entities is solved as by NVRLlpoptimize. A quadratic objective with global entities (or
 * the tree_search control at 1) is solved by the engine's own tree search on HiGHS's LP and
 * QP relaxations. Fails as NVRLlpoptimize does. */
NVRL_API int NVRLmipoptimize(NVRLprob prob, const char *flags);
/* Asks a running solve of prob to stop at the next safe point; reason (> 0, e.g.
 * NVRL_STOP_USER) becomes its stop_status. May be called from another thread or a callback.
 * Fails when reason <= 0. */
NVRL_API int NVRLinterrupt(NVRLprob prob, int reason);

/* Copies the last solve's answers in the user's rows and columns: x and djs (reduced costs)
 * receive cols entries, slack (rhs - activity) and duals rows entries; each may be null.
 * Fails when x or slack is asked for and there is no solution, or duals or djs are asked for
 * and there is no dual solution (after a MIP solve, or when the LP solve found none). */
NVRL_API int NVRLgetlpsol(NVRLprob prob, double x[], double slack[], double duals[],
                          double djs[]);
/* Copies the last solve's solution: x (cols entries) and slack (rows entries); each may be
 * null. Fails when one is asked for and there is no solution. */
NVRL_API int NVRLgetmipsol(NVRLprob prob, double x[], double slack[]);
/* One column's value and reduced cost (col >= 0) and/or one row's slack and dual (row >= 0);
 * -1 skips the column or row, and each output pointer may be null. Fails on an index below
 * -1 or beyond the last, or when an answer that is asked for is not available. */
NVRL_API int NVRLgetlpsolval(NVRLprob prob, int col, int row, double *x, double *slack,
                             double *dual, double *dj);
/* NVRLgetlpsolval for the solution values only (x of col, slack of row). */
NVRL_API int NVRLgetmipsolval(NVRLprob prob, int col, int row, double *x, double *slack);
/* Copies the last basis: rowstat (rows entries) and colstat (cols entries) of
 * NVRL_BASIS_...; either may be null. Fails when there is no basis (none left by the last
 * solve and none loaded since). */
NVRL_API int NVRLgetbasis(NVRLprob prob, int rowstat[], int colstat[]);
/* Loads a basis (rowstat: rows entries, colstat: cols entries of NVRL_BASIS_..., both
 * copied) as the start of the next LP solve; NVRLgetbasis returns it until then. Fails when
 * either array is null or holds a status other than 0..3. */
NVRL_API int NVRLloadbasis(NVRLprob prob, const int rowstat[], const int colstat[]);
/* One row's (row >= 0) and/or one column's (col >= 0) basis status; -1 skips either, and each
 * output pointer may be null. Fails on an index below -1 or beyond the last, or when there
 * is no basis. */
NVRL_API int NVRLgetbasisval(NVRLprob prob, int row, int col, int *rowstat, int *colstat);
/* Loads a starting point for the next LP solve: x and djs cols entries, slack and duals rows
 * entries, each copied, each may be null. Values are not checked. *status (when not null)
 * is set to 0. */
NVRL_API int NVRLloadlpsol(NVRLprob prob, const double x[], const double slack[],
                           const double duals[], const double djs[], int *status);
/* Infeasibilities of the current solution: counts of primal-infeasible columns (*npv) and
 * rows (*nps) and of dual-infeasible rows (*nds) and columns (*ndv), and, for each index
 * array that is not null, the indices (mx, mslack, mdual, mdj: as many as the counts, so ask
 * for the counts first). Any pointer may be null. Fails when there is no solution. */
NVRL_API int NVRLgetinfeas(NVRLprob prob, int *npv, int *nps, int *nds, int *ndv, int mx[],
                           int mslack[], int mdual[], int mdj[]);
/* NVRLgetinfeas for the scaled problem; the library does not scale, so the answers are the
 * same. */
NVRL_API int NVRLgetscaledinfeas(NVRLprob prob, int *npv, int *nps, int *nds, int *ndv,
                                 int mx[], int mslack[], int mdual[], int mdj[]);
/* The column (0..cols-1) along which the last LP solve found the problem unbounded, or -1,
 * into *seq. Fails when seq is null. */
NVRL_API int NVRLgetunbvec(NVRLprob prob, int *seq);
/* Whether the last LP solve left a primal ray proving unboundedness (1 or 0) into *has, and
 * the ray (cols entries) into ray when there is one and ray is not null; either may be
 * null. */
NVRL_API int NVRLgetprimalray(NVRLprob prob, double ray[], int *has);
/* As NVRLgetprimalray for a dual ray proving infeasibility (rows entries). */
NVRL_API int NVRLgetdualray(NVRLprob prob, double ray[], int *has);

/* ----- Delayed rows, model cuts and presolved answers ---------------------------------- */
/* Marks rows rowind[0..nrows-1] as delayed rows: rows a solver may check only at integer
 * solutions. The engine enforces every row from the start, so delayed rows are solved as
 * ordinary rows and the model is not changed. Fails on a negative nrows, a null rowind when
 * nrows > 0 or an invalid row index. */
NVRL_API int NVRLloaddelayedrows(NVRLprob prob, int nrows, const int rowind[]);
/* Marks rows rowind[0..nrows-1] as model cuts: rows of the model a solver may hold in a cut
 * pool. The engine has no cut pool and solves them as ordinary rows; the model is not
 * changed. Fails as NVRLloaddelayedrows. */
NVRL_API int NVRLloadmodelcuts(NVRLprob prob, int nrows, const int rowind[]);
/* Marks rows rowind[0..nrows-1] and columns colind[0..ncols-1] as secure: presolve must not
 * remove them. The engine's presolve maps every row and column back into each answer, so
 * they are secure already and the model is not changed. Fails on a negative count, a null
 * array for a positive count or an invalid index. */
NVRL_API int NVRLloadsecurevecs(NVRLprob prob, int nrows, int ncols, const int rowind[],
                                const int colind[]);

/* The library keeps no presolved form of a problem: HiGHS presolves inside each solve and
 * postsolves before the answers are read back. The presolved problem is therefore the
 * problem itself, and the four calls below answer as their counterparts without "presolve"
 * do (and fail as they do). */
/* NVRLgetlpsol for the presolved problem. */
NVRL_API int NVRLgetpresolvesol(NVRLprob prob, double x[], double slack[], double duals[],
                                double djs[]);
/* NVRLgetbasis for the presolved problem. */
NVRL_API int NVRLgetpresolvebasis(NVRLprob prob, int rowstat[], int colstat[]);
/* NVRLloadbasis for the presolved problem. */
NVRL_API int NVRLloadpresolvebasis(NVRLprob prob, const int rowstat[], const int colstat[]);
/* The presolved problem's rows and columns as the problem's: rowmap (rows entries) and colmap
 * (cols entries) receive the identity; either may be null. */
NVRL_API int NVRLgetpresolvemap(NVRLprob prob, int rowmap[], int colmap[]);
/* The answers of the last solve when it was a continuous one in which the barrier iterated
 * (after crossover, when that ran), laid out as NVRLgetlpsol's; *barsolstatus (when not null)
 * receives that solve's NVRL_LP_... status. Fails when the last solve did not run the barrier
 * (a MIP, a simplex solve, or a barrier solve that presolve settled without an iteration),
 * or as NVRLgetlpsol when an answer that is asked for is missing. */
NVRL_API int NVRLgetlastbarsol(NVRLprob prob, double x[], double slack[], double duals[],
                               double djs[], int *barsolstatus);
/* The basic variables of the last (or loaded) basis in the combined numbering (rows 0..rows-1,
 * then columns rows..rows+cols-1), ascending, into pivots (rows entries). Fails when pivots
 * is null, there is no basis, or the basis does not have one basic variable per row. */
NVRL_API int NVRLgetpivotorder(NVRLprob prob, int pivots[]);
/* The global entities: *nentities the columns of a type other than 'C' and, for each in
 * column order, its type into coltype, its index into colind and its limit (0 for 'I' and
 * 'B') into limit; *nsets the special ordered sets, with their types into settype, starts
 * into start (nsets+1 entries), members into setcols and reference values into refval
 * (*nmembers entries each). Any output may be null; ask for the counts first. */
NVRL_API int NVRLgetglobal64(NVRLprob prob, int *nentities, int *nsets, char coltype[],
                             int colind[], double limit[], char settype[], NVRLint64 start[],
                             int setcols[], double refval[], NVRLint64 *nmembers);

/* ===== Infeasibility analysis and repair =============================================== */

/* ----- Irreducible infeasible sets ----------------------------------------------------- */
/* An irreducible infeasible set (IIS) is a set of row sides and column bounds that admits no
 * point while every proper subset does. Members are row sides ('L' a row's upper side, 'G'
 * its lower side, 'E' an equality row; a range row appears by the side that matters) and
 * column bounds ('L' lower, 'U' upper). Each search runs an elastic filter, whose candidate
 * set is the "initial infeasible subsystem" kept as set 0, then a deletion filter over it on
 * a HiGHS instance of the search's own; for a MIP the tests are MIP solves (integrality and
 * other entities stay enforced). The sets belong to the problem until NVRLiisclear, another
 * NVRLiisfirst or NVRLiisall, or a change of the model (which drops them). The controls
 * NVRL_CTRL_IIS_TIME_LIMIT and NVRL_CTRL_IIS_MAX_SETS bound a search; see
 * docs/infeasibility.md. */
/* Statuses of NVRLiisfirst and NVRLiisnext. */
#define NVRL_IIS_FOUND 0       /* a new set was found (or, mode 0, the initial subsystem) */
#define NVRL_IIS_FEASIBLE 1    /* the problem is feasible: there is nothing to find */
#define NVRL_IIS_NO_MORE 2     /* NVRLiisnext: no set other than those already found */
#define NVRL_IIS_APPROXIMATE 3 /* the time limit ended the deletion filter: the new set is
                                * infeasible but perhaps not irreducible */
#define NVRL_IIS_STOPPED 4     /* the time limit ended the search before a set was found */
/* Starts a new search (earlier sets are dropped) and writes its NVRL_IIS_... status to
 * *status. mode 0: the elastic filter only (set 0, no set proper); mode 1: one IIS (set 1).
 * Fails for a null status, another mode, quadratic rows, or a model HiGHS rejects. */
NVRL_API int NVRLiisfirst(NVRLprob prob, int mode, int *status);
/* Searches for one further IIS, different from those found, and writes its status
 * (NVRL_IIS_NO_MORE when none is left). Without an earlier search it runs NVRLiisfirst in
 * mode 1. */
NVRL_API int NVRLiisnext(NVRLprob prob, int *status);
/* NVRLiisfirst (mode 1) and then NVRLiisnext until no set is left, the time limit or
 * NVRL_CTRL_IIS_MAX_SETS sets. A feasible problem leaves no set; that is not a failure. */
NVRL_API int NVRLiisall(NVRLprob prob);
/* *count: the number of sets, set 0 included (so at least 1; set 0 is empty before a search
 * and for a feasible problem). Each non-null array receives *count entries: the rows and
 * columns of each set (a column counted once per bound), its least total violation when only
 * its members may be violated, and the number of members violated then. Call first with null
 * arrays to learn the count. */
NVRL_API int NVRLiisstatus(NVRLprob prob, int *count, int rowsizes[], int colsizes[],
                           double suminfeas[], int numinfeas[]);
/* The members of set num (0 <= num < count): *rownumber rows and *colnumber bounds, and for
 * each non-null array that many entries: row indices, column indices, row types
 * ('L','G','E'), bound types ('L','U'), the rows' and bounds' multipliers in a Farkas
 * certificate (y and -A'y, signed so that the sum of multiplier times side is positive; 0
 * for MIPs and the initial subsystem), and isolation flags (1: the member is in no other set
 * found; all 0 until NVRLiisisolations has been called for the set). Ask for the counts
 * first. Fails for a set that does not exist. */
NVRL_API int NVRLgetiisdata(NVRLprob prob, int num, int *rownumber, int *colnumber,
                            int miisrow[], int miiscol[], char constrainttype[],
                            char colbndtype[], double duals[], double rdcs[],
                            char isolationrows[], char isolationcols[]);
/* Computes the isolation flags of set num (read by NVRLgetiisdata) from the sets found so
 * far. Fails for a set that does not exist. */
NVRL_API int NVRLiisisolations(NVRLprob prob, int num);
/* Writes set num as a problem of its own: every column, no objective, the member rows with
 * their member sides and the member bounds (other bounds infinite), integer and binary
 * columns as integers for a MIP (other entities are left out). filetype 0 LP, 1 MPS; a name
 * without extension gets ".lp" or ".mps". flags must be null or empty. Fails before any
 * search, for a set that does not exist, or a file that cannot be written. */
NVRL_API int NVRLiiswrite(NVRLprob prob, int num, const char *filename, int filetype,
                          const char *flags);
/* Drops the sets found and the search's HiGHS instance. */
NVRL_API int NVRLiisclear(NVRLprob prob);

/* ----- Repairing infeasibility --------------------------------------------------------- */
/* The repair solves a relaxation of the problem as a problem of its own (with the problem's
 * controls; a MIP when the problem has global entities): each row side and bound whose
 * preference is positive gets a violation amount v >= 0 ("<=" side: activity - v <= rhs; ">="
 * side: activity + v >= rhs; bounds: lb - v <= x <= ub + v) costing weight w = 1/preference.
 * A preference of 0 or less means "may not be relaxed". Equality and range rows have both
 * sides; infinite bounds and the bounds of binary, semi-continuous and semi-integer columns
 * are never relaxed. Penalty types: 's' sum of w*v, 'q' sum of w*v^2 (a QP), 'c' sum of w
 * over the relaxed items (a binary z per item with v <= M*z, M = the repair_big_m control or
 * the item's relaxation limit, plus 1e-6*w*v to keep amounts no larger than needed). Phase 2:
 * 'n' keep the point of least penalty; 'o' optimise the problem's own objective among the
 * relaxations whose penalty is at most (1+delta) times the least; 'f' optimise it among those
 * relaxing each item at most as much as the least-penalty point does.
 * On a relaxed optimum (or a point found before a limit stopped phase 1) the problem's rhs,
 * ranges and bounds move by the amounts found (those above the feasibility tolerance), unless
 * the flags hold 'k', and the point becomes the problem's solution: x and slacks (against the
 * new rows, or the old ones with 'k'), no duals or basis; lp_status/mip_status read optimal
 * after a phase 2 that reached its optimum, else unfinished/solution. Flags: 'k' keep the
 * rhs and bounds, 'r' log each relaxation, blanks ignored. *status receives an
 * NVRL_REPAIR_...; when phase 1 found no point (status 1, 3 or 4) nothing changes. */
#define NVRL_REPAIR_OPTIMAL 0    /* relaxed optimum found (and phase 2 done when asked) */
#define NVRL_REPAIR_INFEASIBLE 1 /* even the relaxation is infeasible */
#define NVRL_REPAIR_UNBOUNDED 2  /* phase 2 unbounded: phase 1's relaxation applied */
#define NVRL_REPAIR_LIMIT 3      /* a limit or interrupt stopped a phase */
#define NVRL_REPAIR_ERROR 4      /* the solver gave no verdict */
/* The same preferences for every row side and bound: lepref for "<=" sides, gepref for ">="
 * sides, lbpref and ubpref for bounds; penalty 's', 'q' or 'c'; flags one letter ('k', 'r',
 * or ' ', '0', '\0' for none). Fails on a null status, an unknown letter, a non-finite
 * preference or a delta below 0, changing nothing. */
NVRL_API int NVRLrepairinfeas(NVRLprob prob, int *status, char penalty, char phase2, char flags,
                              double lepref, double gepref, double lbpref, double ubpref,
                              double delta);
/* Preferences per row (lepref, gepref: rows entries) and per column (lbpref, ubpref: cols
 * entries); a null array relaxes nothing of its kind. flags: an optional penalty letter
 * ('s' by default, 'q', 'c') and 'k', 'r'. Fails as NVRLrepairinfeas and on a NaN or
 * infinite preference. */
NVRL_API int NVRLrepairweightedinfeas(NVRLprob prob, int *status, const double lepref[],
                                      const double gepref[], const double lbpref[],
                                      const double ubpref[], char phase2, double delta,
                                      const char *flags);
/* NVRLrepairweightedinfeas with each amount limited by the relaxation arrays (lerelax,
 * gerelax: rows entries; lbrelax, ubrelax: cols entries; 1e20 and beyond: no limit), all
 * four required. Fails also on a null or negative (or NaN) relaxation entry. */
NVRL_API int NVRLrepairweightedinfeasbounds(NVRLprob prob, int *status, const double lepref[],
                                            const double gepref[], const double lbpref[],
                                            const double ubpref[], const double lerelax[],
                                            const double gerelax[], const double lbrelax[],
                                            const double ubrelax[], char phase2, double delta,
                                            const char *flags);


/* ===== Sensitivity, basis solves and recomputed answers ================================ */

/* ----- Ranging and basis solves -------------------------------------------------------- */

/* All of these work on the basis of the last solve, which must have been an LP solve (not a
 * MIP) of the problem as it stands (unchanged since), with HiGHS seeing the problem's own rows
 * and columns: they fail on a problem with free rows, quadratic parts or global entities that
 * the solver reformulates, and when a basis was loaded after the solve. The basis matrix B has
 * a column of A for each basic column and the unit column +e_i for each basic row (its slack,
 * rhs - activity); its positions follow NVRLgetpivotorder. Infinite range ends are +-1e20. */
/* Cost ranging: for the ncols columns colind, lower[k]..upper[k] is the range of the column's
 * cost over which the basis stays optimal (the other data fixed). Either output may be null.
 * Needs an optimal last solve; fails on an index out of range. */
NVRL_API int NVRLobjsa(NVRLprob prob, int ncols, const int colind[], double lower[],
                       double upper[]);
/* Right-hand side ranging: lower[k]..upper[k] is the range of row rowind[k]'s rhs (a ranged
 * row keeps its range width) over which the basis stays feasible, hence optimal. */
NVRL_API int NVRLrhssa(NVRLprob prob, int nrows, const int rowind[], double lower[],
                       double upper[]);
/* Bound ranging: for each column, the range lblower..lbupper of its lower bound and
 * ublower..ubupper of its upper bound (each moved alone) over which the basis stays feasible,
 * hence optimal. Any output may be null. */
NVRL_API int NVRLbndsa(NVRLprob prob, int ncols, const int colind[], double lblower[],
                       double lbupper[], double ublower[], double ubupper[]);
/* An estimate of the range of each row's dual value as its rhs moves: from the optimal basis,
 * the rhs is moved just past each end of its range and the LP re-solved, up to iterlim times
 * each way; mindual/maxdual receive the smallest and largest duals seen (the current one
 * included). Works on a copy: the problem and its answers are unchanged. */
NVRL_API int NVRLestimaterowdualranges(NVRLprob prob, int nrows, const int rowind[], int iterlim,
                                       double mindual[], double maxdual[]);
/* Forward solve: vec (rows entries, indexed by row) is overwritten with B^-1 vec, indexed by
 * basis position. Needs a basis, not an optimal one. */
NVRL_API int NVRLftran(NVRLprob prob, double vec[]);
/* Backward solve: vec (rows entries, indexed by basis position) is overwritten with y, indexed
 * by row, where y'B = vec'. */
NVRL_API int NVRLbtran(NVRLprob prob, double vec[]);
/* A measure of the basis matrix into *value: type 0 its condition number ||B||*||B^-1||, 1 the
 * norm of B^-1, 2 the norm of B; norm 0 the infinity norm, 1 the one-norm; scaled non-zero
 * divides each basis column by its largest entry first. Computed exactly with one forward
 * solve per row. */
NVRL_API int NVRLbasisstability(NVRLprob prob, int type, int norm, int scaled, double *value);
/* Strong branching: for each of nbnds candidates, column colind[k]'s bound of type bndtype[k]
 * ('L', 'U' or 'B') set to bndval[k], the dual simplex runs from the optimal basis for at most
 * iterlim iterations; objval[k] receives its objective (a bound on the branch's optimum when
 * the limit stops it) and status[k] its NVRL_LP_... status (NVRL_LP_UNFINISHED when stopped;
 * an infeasible branch reads +-1e20 in the objective's sense). Works on a copy of the LP: the
 * problem, its bounds and answers are unchanged. Either output may be null. */
NVRL_API int NVRLstrongbranch(NVRLprob prob, int nbnds, const int colind[], const char bndtype[],
                              const double bndval[], int iterlim, double objval[], int status[]);
/* The ratio test of a nonbasic variable `in` (combined numbering: rows, then columns) entering
 * the basis: moving away from its bound (a free or superbasic one in its improving direction),
 * the basic variables that reach a bound, with the step at which each does, into outlist and
 * x in increasing order of the step (the entering variable itself when it reaches its other
 * bound first), at most maxpiv of them; *npiv receives their number and *dobj the objective
 * after the pivot on the first (+-1e20 when nothing limits the step). Fails when `in` is
 * basic or fixed. */
NVRL_API int NVRLgetpivots(NVRLprob prob, int in, int outlist[], double x[], double *dobj,
                           int *npiv, int maxpiv);


/* ----- Answers recomputed from given vectors ------------------------------------------- */

/* Properties for NVRLcalcsolinfo. */
#define NVRL_SOLINFO_ABSPRIMALINFEAS 0 /* largest violation of a bound or row */
#define NVRL_SOLINFO_RELPRIMALINFEAS 1 /* the same, each divided by 1 + |bound or rhs| */
#define NVRL_SOLINFO_ABSDUALINFEAS 2   /* largest reduced cost of the wrong sign */
#define NVRL_SOLINFO_RELDUALINFEAS 3   /* the same, each divided by 1 + |cost| */
#define NVRL_SOLINFO_MAXMIPFRACTIONAL 4 /* largest distance of an integer column from an integer */

/* The slacks rhs - activity (quadratic parts included) of every row at the given solution
 * (cols entries) into slacks (rows entries). Fails when solution or slacks is null. */
NVRL_API int NVRLcalcslacks(NVRLprob prob, const double solution[], double slacks[]);
/* The reduced costs (gradient of the objective minus the duals times the rows' gradients) at
 * the given duals (rows entries) and solution (cols entries; may be null for a problem without
 * quadratic parts) into djs (cols entries). Fails when duals or djs is null, or solution is
 * null for a problem with quadratic parts. */
NVRL_API int NVRLcalcreducedcosts(NVRLprob prob, const double duals[], const double solution[],
                                  double djs[]);
/* The objective (constant and quadratic part included) at the given solution into *objval.
 * Fails when solution or objval is null. */
NVRL_API int NVRLcalcobjective(NVRLprob prob, const double solution[], double *objval);
/* One NVRL_SOLINFO_... property of the given solution (and duals, which the dual properties
 * need) into *value. A dual violation counts a reduced cost that would improve the objective
 * by moving the variable off the bound it sits at, or any non-zero reduced cost of a variable
 * strictly between its bounds. Fails on an unknown property. */
NVRL_API int NVRLcalcsolinfo(NVRLprob prob, const double solution[], const double duals[],
                             int property, double *value);


/* ===== Tuning, directives, bases and solution files ==================================== */

/* ----- Tuning -------------------------------------------------------------------------- */
/* The tuner solves the problem once per combination of controls of its method, each run
 * starting afresh (no warm start) under a time limit: the smaller of tuner_run_time_limit and
 * what remains of tuner_time_limit (0: none). Every other control keeps the problem's value.
 * The default method for an LP (or with flag 'l') is the problem's own controls, then
 * lp_algorithm 2, 3 and 4 with presolve on, then 2 and 3 with presolve off; for a MIP it is
 * the problem's own controls, presolve 0, mip_heuristic_effort 0 and 0.3, and tree_search 1.
 * A run that finishes (an optimum or a proof of infeasibility or unboundedness) beats one that
 * stops at a limit; finished runs rank by time, stopped MIP runs by their gap and then their
 * best objective. The best combination's controls are applied to the problem, which is left
 * without answers. flags: 'l' tune NVRLlpoptimize even for a problem with global entities;
 * blanks ignored. Stops early, keeping the best so far, when the tuner's time is up or a run
 * is interrupted (NVRLinterrupt, SIGINT). Fails on an unknown flag, when the problem has no
 * columns, or when a run fails (the controls are then as before the call). */
NVRL_API int NVRLtune(NVRLprob prob, const char *flags);
/* Writes a method file: text, one "name value" line per control, combinations separated by
 * blank lines, "#" starting a comment line. After a tune it holds the best combination alone;
 * otherwise the combinations the next tune would run (those read by NVRLtunerreadmethod, or
 * the default method for the problem as it is). Fails on a null name or an unwritable file. */
NVRL_API int NVRLtunerwritemethod(NVRLprob prob, const char *methodfile);
/* Reads a method file (the format above) and makes its combinations the ones the next tunes
 * run, in order. Fails, keeping the previous method, on a null name, an unreadable file, an
 * unknown or non-optimiser control, a value of the wrong type or out of range, or a file
 * without any combination. */
NVRL_API int NVRLtunerreadmethod(NVRLprob prob, const char *methodfile);


/* ----- Branching directives ------------------------------------------------------------ */
/* Directives tell the engine's tree search (tree_search = 1, and MIPs with a quadratic
 * objective) how to treat a column: its priority (0..1000, smaller first; columns without a
 * directive have 500), which branch to take first (dir 'U' up, 'D' down, 'N' the search's
 * choice) and initial pseudocosts (objective change per unit of distance of the up and down
 * branches; a negative value leaves that estimate to the search). Directives of columns the
 * search never branches on are kept and ignored; HiGHS's own MIP solver ignores them all (a
 * warning with code NVRL_MSGCODE_DIRECTIVES_UNUSED says so). They follow deleted columns and
 * go with a model replaced by a load or read; snapshots do not hold them. */

/* Replaces all directives by ndirs new ones for the columns colind (each at most once);
 * priority, dir, uppseudo and downpseudo hold ndirs entries each or are null (500, 'N', -1,
 * -1). Fails, changing nothing, on a negative ndirs, a null colind with ndirs > 0, an index
 * out of range or repeated, a priority outside 0..1000, another direction or a pseudocost
 * that is not finite. */
NVRL_API int NVRLloaddirs(NVRLprob prob, int ndirs, const int colind[], const int priority[],
                          const char dir[], const double uppseudo[], const double downpseudo[]);
/* NVRLloaddirs for the presolved problem, which is the problem itself (the engine keeps no
 * presolved form). */
NVRL_API int NVRLloadpresolvedirs(NVRLprob prob, int ndirs, const int colind[],
                                  const int priority[], const char dir[],
                                  const double uppseudo[], const double downpseudo[]);
/* Sets the preferred first branch of the columns colind[0..ncols-1]: dir > 0 up, < 0 down,
 * 0 the search's choice. Other directives and the priorities and pseudocosts of these columns
 * stay; a column without a directive gets one with priority 500. Fails, changing nothing, on
 * a negative ncols, null arrays with ncols > 0, or an index out of range or repeated. */
NVRL_API int NVRLloadbranchdirs(NVRLprob prob, int ncols, const int colind[], const int dir[]);
/* The directives in ascending column order: their number into *ndirs, and into each array
 * that is not null one entry per directive (ask for the number first). */
NVRL_API int NVRLgetdirs(NVRLprob prob, int *ndirs, int colind[], int priority[], char dir[],
                         double uppseudo[], double downpseudo[]);
/* Writes the directives as a directive file (docs/file-formats.md), columns by name. Fails
 * on a null or empty filename or a file that cannot be written. */
NVRL_API int NVRLwritedirs(NVRLprob prob, const char *filename);
/* Replaces all directives by those of a directive file. Fails, changing nothing, on a null
 * or empty filename, a file that cannot be read, or a fault in it (the message names the
 * line: unknown or repeated column, bad priority or direction, a missing ENDATA). */
NVRL_API int NVRLreaddirs(NVRLprob prob, const char *filename);

/* ----- Basis, solution and snapshot files, logging and messages ------------------------ */
/* Writes the last (or loaded) basis as a basis file in the usual MPS basis format (XU, XL,
 * UL, LL lines by names; docs/file-formats.md), to filename or, when it is null or empty, to
 * "<problem name>.bss". flags: 'a' lists every nonbasic column, not only those away from
 * their default state. Fails on an unknown flag, no basis, or a file that cannot be
 * written. */
NVRL_API int NVRLwritebasis(NVRLprob prob, const char *filename, const char *flags);
/* Reads a basis file and loads it as NVRLloadbasis does (items not listed take their default
 * state). flags must be null or "". Fails, changing nothing, on a null or empty filename, a
 * flag, a file that cannot be read, or a fault in it (the message names the line: unknown
 * code or name, an item given twice, a missing ENDATA). */
NVRL_API int NVRLreadbasis(NVRLprob prob, const char *filename, const char *flags);
/* Writes the last solve's answers as comma-separated values: a header line, a line per
 * column (value, reduced cost, bounds, cost, basis status) and per row (activity, slack,
 * dual, limits, basis status); unavailable values are empty fields. flags: 'x' columns only.
 * Fails on a null or empty filename, an unknown flag, no solution, or a file that cannot be
 * written. */
NVRL_API int NVRLwritesol(NVRLprob prob, const char *filename, const char *flags);
/* As NVRLwritesol, as an aligned printable report. */
NVRL_API int NVRLwriteprtsol(NVRLprob prob, const char *filename, const char *flags);
/* Writes the last solve's answers bit for bit (values, slacks, duals and reduced costs when
 * there are some, the basis when there is one) to a versioned binary solution file. flags
 * must be null or "". Fails on a null or empty filename, a flag, no solution, or a file that
 * cannot be written. */
NVRL_API int NVRLwritebinsol(NVRLprob prob, const char *filename, const char *flags);
/* Reads a binary solution file written for a problem of the same size as the start of the
 * next solve: its basis when it holds one (loaded as NVRLloadbasis does), else its values
 * (as NVRLreadslxsol takes them). flags: 'x' the column values only. Fails, changing nothing, on a null or
 * empty filename, an unknown flag, a file that cannot be read, is not a binary solution file,
 * was written by a newer format, is truncated or corrupt, or has other dimensions. */
NVRL_API int NVRLreadbinsol(NVRLprob prob, const char *filename, const char *flags);
/* Appends every line of the problem's log to filename as well (created when missing), after
 * the callbacks and handlers have had it; null or "" stops. Fails, keeping the previous log
 * file, when the file cannot be opened. */
NVRL_API int NVRLsetlogfile(NVRLprob prob, const char *filename);
/* Some log lines carry a message code (NVRL_MSGCODE_...); status 0 suppresses the lines of
 * msgcode on this problem (callbacks, handlers and log file alike), 1 shows them again (the
 * default). Fails on a code <= 0 or another status. */
NVRL_API int NVRLsetmessagestatus(NVRLprob prob, int msgcode, int status);
/* The status of msgcode (1 shown, 0 suppressed) into *status. Fails on a code <= 0 or a null
 * status. */
NVRL_API int NVRLgetmessagestatus(NVRLprob prob, int msgcode, int *status);
/* Message codes. */
#define NVRL_MSGCODE_CONTROLS_SKIPPED 1001  /* NVRLrestore skipped unknown controls */
#define NVRL_MSGCODE_DIRECTIVES_UNUSED 1002 /* a MIP solved by HiGHS ignores the directives */

/* ----- MIP solutions and solver operations --------------------------------------------- */
/* Gives a solution for the next MIP solve (NVRLmipoptimize) to start from: the values
 * solval[0..length-1] of columns colind[0..length-1], or of all COLS columns in order when colind
 * is null (length must then be COLS). Several may be given; name (may be null) names the
 * solution in the log. When the solve starts, each is completed by fixing its columns
 * (integer columns at their nearest integer) and solving for the others; the feasible ones
 * become the search's first incumbents, the rest are dropped with a log line. The solve
 * consumes them. Fails for a length below 1, an index out of range or repeated, or a value
 * that is not finite; values off integrality are rejected only at the solve. */
NVRL_API int NVRLaddmipsol(NVRLprob prob, int length, const double solval[], const int colind[],
                           const char *name);
/* Checks the full solution x (COLS values) against every bound, row and global entity and,
 * when it is feasible and better than the problem's MIP solution (or there is none), makes it
 * that solution (MIP status NVRL_MIP_SOLUTION, objective and slacks computed from x). A
 * feasible x is also kept as a start for the next MIP solve, as NVRLaddmipsol does. *status
 * (may be null): 0 loaded, 1 infeasible, 2 feasible but not better. Fails for a null x, a
 * value that is not finite, or a problem with quadratic rows. */
NVRL_API int NVRLloadmipsol(NVRLprob prob, const double x[], int *status);
/* Refines the MIP solution `solution` (COLS values): its integer decisions (integer columns
 * at their rounded values, semi-continuous columns off or on, set members at zero) are kept
 * and the continuous columns solved again as an LP or QP; refined (COLS values) receives the
 * result, or a copy of solution when there is none. options 1 also makes the refined solution
 * the problem's MIP solution when it is better (as NVRLloadmipsol), 0 does not. flags: none are
 * defined (null or ""). *status (may be null): 0 refined, 1 the integer decisions admit no
 * feasible point, 2 no answer within the time limit. */
NVRL_API int NVRLrefinemipsol(NVRLprob prob, int options, const char *flags,
                              const double solution[], double refined[], int *status);
/* Crosses the last LP solution (a barrier run with crossover off) over to a basic solution;
 * the answers are then those of the basis. *status (may be null): 0 done, 1 the solution was
 * basic already, 2 crossover failed (answers unchanged). Fails without an LP solution with
 * duals, or for a QP. */
NVRL_API int NVRLcrossoverlpsol(NVRLprob prob, int *status);
/* Fixes the global entities at their values in the current MIP solution: integer and binary
 * columns (at the value, which options 1 rounds to the nearest integer), semi-continuous,
 * semi-integer and partially integer columns (which become continuous at their value) and
 * set members that are zero. The MIP solution is then gone (the model changed). Fails
 * without a MIP solution, for options other than 0 and 1, or, with options 0, for a value
 * farther than miptol from an integer (nothing is changed). */
NVRL_API int NVRLfixglobals(NVRLprob prob, int options);
/* The library keeps no presolved form (HiGHS presolves and postsolves inside each solve):
 * there is nothing to postsolve and the call only checks the handle. */
NVRL_API int NVRLpostsolve(NVRLprob prob);
/* Checks scale factors given as power-of-two exponents, rowscale (ROWS) and colscale (COLS),
 * either may be null; every exponent must lie in -64 .. 64. The store is not scaled: HiGHS
 * scales its own copy of the problem at each solve, so the call changes nothing. */
NVRL_API int NVRLscale(NVRLprob prob, const int rowscale[], const int colscale[]);
/* Expresses the row sum_k origrowcoef[k] x[origcolind[k]] (rowtype 'L', 'G' or 'E') origrhs of
 * the problem in the presolved problem's columns: the presolved problem is the problem itself
 * (see NVRLgetpresolvemap), so columns keep their indices; repeated columns are summed and
 * fixed columns (equal bounds) move into the right-hand side *rhs. *ncoefs receives the count;
 * when it exceeds maxcoefs nothing else is written and *status (may be null) is 1, else
 * colind and rowcoef receive the entries and *status is 0. */
NVRL_API int NVRLpresolverow(NVRLprob prob, char rowtype, int norigcoefs, const int origcolind[],
                             const double origrowcoef[], double origrhs, int maxcoefs,
                             int *ncoefs, int colind[], double rowcoef[], double *rhs,
                             int *status);

/* ===== Nonlinear solver ================================================================ */
/* Nonlinear problems are stacked on an optimiser problem. Every call below that takes an
 * NSLPprob checks the handle: a null, destroyed or foreign handle, or a nonlinear solver that
 * is not started (NSLPinit), fails with the global last error set; so does a nonlinear problem
 * whose optimiser problem has been destroyed (recorded on the nonlinear problem). Other
 * failures are recorded on the nonlinear problem (NSLPgetlasterror). A failed call changes
 * nothing. */

/* Creates a nonlinear problem on the optimiser problem *prob, which it uses but does not
 * own, and stores its handle in *slp; the caller owns it and releases it with
 * NSLPdestroyprob before destroying *prob. Fails when slp or prob is null, the nonlinear
 * solver is not started or *prob is not a valid problem. */
NVRL_API int NSLPcreateprob(NSLPprob *slp, NVRLprob *prob);
/* Destroys a nonlinear problem (not its optimiser problem). Works after NSLPfree. Fails when
 * slp is null or not a live nonlinear problem. */
NVRL_API int NSLPdestroyprob(NSLPprob slp);
/* Copies src's nonlinear data and state into dest (whose optimiser problem should already
 * hold a copy of src's: see NVRLcopyprob). Controls are not copied. name is ignored.
 * Fails when either handle is invalid. */
NVRL_API int NSLPcopyprob(NSLPprob dest, NSLPprob src, const char *name);
/* Copies every control of src to dest. Fails when either handle is invalid. */
NVRL_API int NSLPcopycontrols(NSLPprob dest, NSLPprob src);
/* Sets (replaces) the problem's one message callback; a null cb removes it. data stays the
 * caller's. */
NVRL_API int NSLPsetcbmessage(NSLPprob slp, NSLPmsgcb cb, void *data);
/* The nonlinear problem's last failure: its code into *code (0 when there has been none),
 * its message into msg (maxbytes bytes at most, terminator included, cut when longer) and
 * the bytes the whole message needs into *nbytes; each may be null. Works after NSLPfree
 * and from any thread. Fails (1), writing nothing and recording the global last error only,
 * when slp is null or not a live nonlinear problem or msg is given with a negative maxbytes. */
NVRL_API int NSLPgetlasterror(NSLPprob slp, int *code, char *msg, int maxbytes, int *nbytes);
/* The typed get/set calls below take the NSLP_CTRL_... and NSLP_ATTR_... ids, from both the
 * nonlinear solver's list and its interior-point list, and fail, changing nothing, on an
 * unknown id, an optimiser id, a control passed as an attribute or the other way round, an id
 * of another type, or a null value pointer. */

/* Reads an integral attribute. Fails also when the value does not fit in 32 bits. */
NVRL_API int NSLPgetintattrib(NSLPprob slp, int attrib, int *value);
/* Reads a double attribute. */
NVRL_API int NSLPgetdblattrib(NSLPprob slp, int attrib, double *value);
/* Reads a string attribute into value (NVRL_MAXNAMELEN bytes). The nonlinear solver has no
 * string attributes today, so every call fails. */
NVRL_API int NSLPgetstrattrib(NSLPprob slp, int attrib, char *value);
/* Reads an integral control. Fails also when the value does not fit in 32 bits. */
NVRL_API int NSLPgetintcontrol(NSLPprob slp, int control, int *value);
/* Sets an integral control. Fails also when value is outside the control's range. */
NVRL_API int NSLPsetintcontrol(NSLPprob slp, int control, int value);
/* Reads a double control. */
NVRL_API int NSLPgetdblcontrol(NSLPprob slp, int control, double *value);
/* Sets a double control. Fails also when value is NaN or outside the control's range
 * (NSLP_CTRL_OBJECTIVE_SENSE accepts only 1 and -1). */
NVRL_API int NSLPsetdblcontrol(NSLPprob slp, int control, double value);
/* Reads a string control into value (NVRL_MAXNAMELEN bytes). The nonlinear solver has no
 * string controls today, so every call fails. */
NVRL_API int NSLPgetstrcontrol(NSLPprob slp, int control, char *value);
/* Sets a string control (copied). The nonlinear solver has no string controls today, so
 * every call fails. */
NVRL_API int NSLPsetstrcontrol(NSLPprob slp, int control, const char *value);
/* Points *list at the nonlinear solver's own controls and attributes (flags NSLP_CCFLAG_...),
 * ascending by id and ending with an entry of type -1; static and owned by the library.
 * Fails when list is null. */
NVRL_API int NSLPgetcalist(NSLPprob slp, const NVRLcaentry **list);
/* As NSLPgetcalist for the list of the interior-point solver of the LP subproblems. */
NVRL_API int NSLPgetIPMcalist(NSLPprob slp, const NVRLcaentry **list);
/* Looks up a nonlinear control or attribute (of either list) by name, any case: its id into
 * *id and its NSLP_CCFLAG_... flags into *flags (each may be null). Fails when name is null
 * or names no nonlinear entry. */
NVRL_API int NSLPcontrolcode(NSLPprob slp, const char *name, int *id, int *flags);
/* Sets every control of the nonlinear problem back to its default. */
NVRL_API int NSLPsetdefaults(NSLPprob slp);
/* Asks a running nonlinear solve to stop; reason (> 0) is kept as the
 * NSLP_ATTR_INTERRUPT_REASON attribute. Fails when reason <= 0. */
NVRL_API int NSLPinterrupt(NSLPprob slp, int reason);

/* ----- Nonlinear coefficients and formulas --------------------------------------------- */

/* A nonlinear coefficient (row, col) contributes factor * x[col] * formula(x) to its row, or
 * factor * formula(x) when col is -1, the constant column. Rows are 0..rows-1 of the optimiser
 * problem and -1 for the objective; columns 0..cols-1 and -1. A problem holds at most one
 * coefficient per (row, col). Formulas are token lists (NSLP_TOK_...) ending with
 * NSLP_TOK_EOF, in reverse-Polish form when parsed is non-zero, else in written order with
 * brackets and commas; docs/nonlinear_formulas.md describes both and the text form. The
 * calls below fail, changing nothing, on a null handle or array they need, a row or column
 * out of range, a non-finite factor or a formula that cannot be read (the message names
 * the coefficient and the token or character). */

/* Replaces all nonlinear coefficients by the ncoef given: coefficient k is (rowindex[k],
 * colindex[k]) with factor[k] (factor null: all 1.0) and the formula in
 * type/value[formulastart[k] .. formulastart[k+1]-1] (formulastart has ncoef+1
 * non-decreasing entries; each range holds an end token; tokens after it are ignored). A
 * (row, col) given twice keeps the later one. */
NVRL_API int NSLPloadcoefs(NSLPprob slp, int ncoef, const int rowindex[], const int colindex[],
                           const double factor[], const int formulastart[], int parsed,
                           const int type[], const double value[]);
/* As NSLPloadcoefs, but adds to the coefficients held; a (row, col) held already is
 * replaced. */
NVRL_API int NSLPaddcoefs(NSLPprob slp, int ncoef, const int rowindex[], const int colindex[],
                          const double factor[], const int formulastart[], int parsed,
                          const int type[], const double value[]);
/* Sets the coefficient (row, col) to *factor (null: 1.0) times the formula in type/value,
 * read up to its end token, adding it when absent. With type null the formula is kept and
 * only the factor changes (fails when there is no such coefficient). */
NVRL_API int NSLPchgcoef(NSLPprob slp, int row, int col, const double *factor, int parsed,
                         const int type[], const double value[]);
/* As NSLPchgcoef with the formula as text, e.g. "x1^2 + 3*sin(x2)" (columns and user
 * functions by name); formula null keeps the formula. */
NVRL_API int NSLPchgccoef(NSLPprob slp, int row, int col, const double *factor,
                          const char *formula);
/* Deletes the ncoef coefficients (rowindex[k], colindex[k]). Fails when one of them is not
 * held (a pair given twice is deleted once). */
NVRL_API int NSLPdelcoefs(NSLPprob slp, int ncoef, const int rowindex[], const int colindex[]);
/* The number of coefficients into *ncoef and, when rowindex and colindex are both non-null,
 * their rows and columns ordered by row, then column (arrays of *ncoef entries). */
NVRL_API int NSLPgetcoefs(NSLPprob slp, int *ncoef, int rowindex[], int colindex[]);
/* The factor (into *factor, may be null) and the formula of coefficient (row, col), parsed
 * (reverse Polish) or in written order. *ntypes (may be null) receives the number of tokens,
 * end token included; type and value (both null: count only) receive them and must hold
 * maxtypes entries. Fails when the coefficient is not held or maxtypes is too small. */
NVRL_API int NSLPgetcoefformula(NSLPprob slp, int row, int col, double *factor, int parsed,
                                int maxtypes, int *ntypes, int type[], double value[]);
/* The factor (into *factor, may be null) and the formula of coefficient (row, col) as text
 * into formula, which holds maxbytes bytes. Fails when the coefficient is not held, the
 * text with its terminator needs more than maxbytes bytes (the message says how many), or a
 * column's name cannot be written in a formula. */
NVRL_API int NSLPgetccoef(NSLPprob slp, int row, int col, double *factor, char *formula,
                          int maxbytes);
/* The value factor * formula(x) of coefficient (row, col) at the current point (the last
 * solution, else the initial values, else for each column the point of its bounds nearest
 * to 0). Fails when the coefficient is not held or the formula cannot be evaluated there
 * (a domain error: the message says which). */
NVRL_API int NSLPevaluatecoef(NSLPprob slp, int row, int col, double *value);
/* The value of a formula (parsed or not, read up to its end token) at the current point, as
 * NSLPevaluatecoef. */
NVRL_API int NSLPevaluateformula(NSLPprob slp, int parsed, const int type[],
                                 const double value[], double *result);


/* User functions. A user function is a C function the formulas call by index (tokens
 * NSLP_TOK_UFUN; in text by name). It is defined by NSLPadduserfuncs from a token list:
 *   NSLP_UFDEF_STRING  the index of a string (NSLPsetstring): the first one names the
 *                      function, the second its linkage, which must be "DirectC" (a C
 *                      function address given with NSLPchguserfuncaddress);
 *   NSLP_UFDEF_ARGS    1: the inputs arrive as one array of doubles (the only style);
 *   NSLP_UFDEF_CALL    NSLP_UFCALL_VALUES or NSLP_UFCALL_DERIVATIVES, the calling convention;
 *   NSLP_TOK_EOF       ends the definition.
 * Calling conventions (context identifies the call: see NSLPgetfuncobject):
 *   values:      double f(const double *x, void *context) returns the value; NaN or an
 *                infinity means failure. Derivatives are taken by central differences.
 *   derivatives: double f(const double *x, void *context, const double *deltas,
 *                double *results) puts the value into results[0] (the return value is
 *                ignored) and, when deltas is non-null, the partial derivative by input k
 *                into results[k] (k = 1..n) for each deltas[k-1] != 0. results[] starts as
 *                NaN: a value left NaN means failure, a derivative left NaN is differenced.
 * A function may be called from any thread the solve uses, several at once. */
#define NSLP_UFDEF_STRING 5
#define NSLP_UFDEF_CALL 86
#define NSLP_UFDEF_ARGS 87
#define NSLP_UFCALL_VALUES 19
#define NSLP_UFCALL_DERIVATIVES 110611
/* Item of NSLPgetfuncobject: the description of the call, for NSLPgetfuncinfo. */
#define NSLP_FUNCOBJ_INFO 12602
/* Name type of NSLPaddnames: user functions. */
#define NSLP_NAMES_USERFUNCS 5

typedef double (*NSLPuserfunc)(const double *x, void *context);
typedef double (*NSLPuserfuncderiv)(const double *x, void *context, const double *deltas,
                                    double *results);
/* Any function address, cast to the function's own type according to its convention. */
typedef void (*NSLPfuncaddress)(void);

/* Keeps a copy of string and puts its index (1, 2, ...; the same index for a string kept
 * already) into *index. Fails when string or index is null. */
NVRL_API int NSLPsetstring(NSLPprob slp, int *index, const char *string);
/* Defines nfuncs user functions from consecutive definitions (see above) in type/value;
 * they get the next indices in order. Fails, defining none, on a missing name, an unknown
 * token, string index, argument style, convention or linkage. */
NVRL_API int NSLPadduserfuncs(NSLPprob slp, int nfuncs, const int type[],
                              const double value[]);
/* Names items first..last of a kind from names (NUL-terminated one after another). Only
 * NSLP_NAMES_USERFUNCS is supported; names may repeat, text finds the first. Fails on
 * another type, a range outside the defined functions, an empty name or a null names. */
NVRL_API int NSLPaddnames(NSLPprob slp, int type, const char names[], int first, int last);
/* Sets the address user function index calls (cast from NSLPuserfunc or NSLPuserfuncderiv
 * as its convention says). Fails when index is not a defined function or address is null. */
NVRL_API int NSLPchguserfuncaddress(NSLPprob slp, int index, NSLPfuncaddress address);
/* Keeps object, the caller's, with user function index (replacing the previous one). */
NVRL_API int NSLPsetuserfuncobject(NSLPprob slp, int index, void *object);
/* The object kept with user function index (null when none) into *object. Allowed from any
 * thread during a solve. */
NVRL_API int NSLPgetuserfuncobject(NSLPprob slp, int index, void **object);
/* Inside a user function: with item NSLP_FUNCOBJ_INFO, puts into *object the description
 * of the current call for NSLPgetfuncinfo. Fails when context or object is null or item is
 * unknown; valid only during the call. */
NVRL_API int NSLPgetfuncobject(void *context, int item, void **object);
/* Reads a call description: the number of inputs, whether derivatives are wanted (deltas
 * given), whether results[] is given, the nonlinear problem and the function's index; each
 * output may be null. Fails when info is null. */
NVRL_API int NSLPgetfuncinfo(const void *info, int *ninputs, int *derivatives, int *results,
                             NSLPprob *slp, int *index);

/* ----- Nonlinear columns, tolerance sets, rows and derivatives -------------------------- */
/* Changes the nonlinear solver's settings of column col; a null pointer leaves that setting
 * unchanged. detrow: determining row (-1 none); initstepbound: the first step bound (0: the
 * NSLP_CTRL_INITIAL_STEP_BOUND control), stepbound: the current one; penalty and damp (0: the
 * solver's own); initvalue: where the next solve starts; value: the current value (the last
 * solve's point when there is one, else the start); tolset: the column's tolerance set (0
 * none); converged: set by each solve (NSLP_CONVERGED_...); history and vartype are kept for
 * the caller. Fails on an invalid column or detrow, a tolerance set that does not exist, a
 * non-finite value, or a negative step bound or penalty. */
NVRL_API int NSLPchgvar(NSLPprob slp, int col, const int *detrow, const double *initstepbound,
                        const double *stepbound, const double *penalty, const double *damp,
                        const double *initvalue, const double *value, const int *tolset,
                        const int *history, const int *converged, const int *vartype);
/* Reads the settings NSLPchgvar sets (any pointer may be null); a column never set reports
 * the defaults, its initial value being the point of its bounds nearest to 0. Fails on an
 * invalid column. */
NVRL_API int NSLPgetvar(NSLPprob slp, int col, int *detrow, double *initstepbound,
                        double *stepbound, double *penalty, double *damp, double *initvalue,
                        double *value, int *tolset, int *history, int *converged, int *vartype);
/* Sets the settings of the n columns colindex[]: vartype, determining row, sequence number,
 * tolerance set, initial value and initial step bound (each array may be null: unchanged).
 * NSLPloadvars first resets every column's settings to the defaults; NSLPaddvars keeps the
 * others. Fails, changing nothing, on an invalid column, row or tolerance set, or a
 * non-finite value. */
NVRL_API int NSLPloadvars(NSLPprob slp, int n, const int colindex[], const int vartype[],
                          const int detrow[], const int seqnum[], const int tolindex[],
                          const double initvalue[], const double stepbound[]);
NVRL_API int NSLPaddvars(NSLPprob slp, int n, const int colindex[], const int vartype[],
                         const int detrow[], const int seqnum[], const int tolindex[],
                         const double initvalue[], const double stepbound[]);
/* Resets the nonlinear settings of the n columns colind[] to the defaults (the columns stay in
 * the problem). Fails on an invalid column. */
NVRL_API int NSLPdelvars(NSLPprob slp, int n, const int colind[]);
/* Sets / reads row's status bits (0 when never set). Bit 0x800 marks the row that holds a
 * nonlinear objective through a transfer column (an equality row to the solver). Fail on an
 * invalid row or a null pointer. */
NVRL_API int NSLPchgrowstatus(NSLPprob slp, int row, const int *status);
NVRL_API int NSLPgetrowstatus(NSLPprob slp, int row, int *status);
/* Sets / reads row's weight in the penalty of row violations (default 1). Fail on an invalid
 * row, a null pointer, or (chg) a weight that is not a finite number > 0. */
NVRL_API int NSLPchgrowwt(NSLPprob slp, int row, const double *weight);
NVRL_API int NSLPgetrowwt(NSLPprob slp, int row, double *weight);

/* ----- Tolerance sets, step types, derivative estimates and item queries ----------------- */
/* Tolerance sets. A tolerance set (numbered 1, 2, ... in the order added; 0 means none) holds
 * NSLP_TOLSET_SIZE tolerances for the columns that use it (NSLPchgvar, NSLPloadvars:
 * tolset/tolindex), and a status bitmap whose bit (1 << k) makes entry k an active test. At an
 * accepted step d from x, a column with a set has converged when one of its active tests
 * holds; a column without one when |d_j| <= nslp_step_tolerance * max(1, |x_j|). Impacts use
 * the gradients at x; the row tests look at the nonlinear rows the column occurs in (a
 * column in none passes them). The solve may end by the step test when every column has
 * converged (docs/nonlinear_solver.md). */
#define NSLP_TOLSET_SIZE 6
#define NSLP_TOL_STEP_ABS 0 /* |d_j| */
#define NSLP_TOL_STEP_REL 1 /* |d_j| / |x_j| */
#define NSLP_TOL_OBJ_ABS 2  /* |df/dx_j * d_j| */
#define NSLP_TOL_OBJ_REL 3  /* |df/dx_j * d_j| / |f(x)| */
#define NSLP_TOL_ROW_ABS 4  /* largest |dg_i/dx_j * d_j| over the nonlinear rows i */
#define NSLP_TOL_ROW_REL 5  /* largest |dg_i/dx_j * d_j| / |g_i(x)| */
/* Values of a column's converged setting after a solve (NSLPgetvar, NSLP_COLINFO_CONVERGED):
 * how the last accepted step of the solve passed the step test. */
#define NSLP_CONVERGED_NO 0      /* it did not (or no step was accepted) */
/* 1 .. NSLP_TOLSET_SIZE: by the test of entry (value - 1) of its tolerance set */
#define NSLP_CONVERGED_GLOBAL 7  /* no tolerance set: by nslp_step_tolerance */
#define NSLP_CONVERGED_FROZEN 8  /* step type NSLP_DELTA_FROZEN: it does not move */

/* Replaces every tolerance set by the ntolsets sets in tols (ntolsets * NSLP_TOLSET_SIZE
 * entries, set by set). An entry > 0 is an active test with that tolerance, an entry <= 0 is
 * off. Fails, changing nothing, on a negative count, a null tols with ntolsets > 0, a
 * non-finite entry, or when a column uses a set number beyond ntolsets. */
NVRL_API int NSLPloadtolsets(NSLPprob slp, int ntolsets, const double tols[]);
/* As NSLPloadtolsets, but adds the sets after those held (they get the next numbers). */
NVRL_API int NSLPaddtolsets(NSLPprob slp, int ntolsets, const double tols[]);
/* Changes set tolset: *status (null: unchanged) the bitmap of active entries, tols (null:
 * unchanged) all NSLP_TOLSET_SIZE values. Fails, changing nothing, on an unknown set, status
 * bits beyond NSLP_TOLSET_SIZE, a non-finite value, or an active entry whose value is not
 * > 0. */
NVRL_API int NSLPchgtolset(NSLPprob slp, int tolset, const int *status, const double tols[]);
/* Reads set tolset: its status bitmap into *status and its NSLP_TOLSET_SIZE values into tols
 * (each may be null). Inactive entries keep the value they were given. Fails on an unknown
 * set. */
NVRL_API int NSLPgettolset(NSLPprob slp, int tolset, int *status, double tols[]);
/* Deletes the n sets tolset[] (a set given twice is deleted once). The sets after each one
 * move down to close the gap, the columns' numbers with them; columns that used a deleted set
 * get none (the global step test). Fails, changing nothing, on an unknown set or a null
 * array with n > 0. */
NVRL_API int NSLPdeltolsets(NSLPprob slp, int n, const int tolset[]);

/* Step types of columns (NSLPchgdeltatype). */
#define NSLP_DELTA_ADAPTIVE 0 /* the trust region adapts the step bound (the default) */
#define NSLP_DELTA_FIXED 1    /* step bound = value, never adapted */
#define NSLP_DELTA_RELATIVE 2 /* step bound = value * max(1, |x_j|) at each iteration */
#define NSLP_DELTA_FROZEN 3   /* the column keeps its starting value */
/* Sets the step type of the n columns varind[] to deltatypes[k] with values[k] (used by the
 * fixed and relative types; values may be null when none of them is given). A typed column is
 * step-bounded even when it occurs in no nonlinear term. Read back with NSLPgetcolinfo.
 * Fails, changing nothing, on an invalid column or type, a null array, or a fixed or relative
 * type whose value is not a finite number > 0. */
NVRL_API int NSLPchgdeltatype(NSLPprob slp, int n, const int varind[], const int deltatypes[],
                              const double values[]);

/* Derivative estimates. An estimate of d row / d col (row -1: the objective) replaces the
 * computed derivative in the linearisations of a solve until its first step is accepted:
 * where a derivative is 0 at the start (x*y at 0,0) it lets the solve leave it. An estimate
 * for a column the row does not read is ignored. */
/* Replaces (load) or adds to (add; a pair held already gets the new value) the estimates:
 * estimate k is values[k] for (rowindex[k], colindex[k]). Fails, changing nothing, on a
 * negative count, a null array with n > 0, an invalid row or column, or a non-finite value. */
NVRL_API int NSLPloaddfs(NSLPprob slp, int n, const int colindex[], const int rowindex[],
                         const double values[]);
NVRL_API int NSLPadddfs(NSLPprob slp, int n, const int colindex[], const int rowindex[],
                        const double values[]);
/* Sets the estimate of d row / d col to *value; a null value removes it. Fails on an invalid
 * row or column or a non-finite value. */
NVRL_API int NSLPchgdf(NSLPprob slp, int col, int row, const double *value);
/* The estimate of d row / d col when one is set, else the derivative at the current point
 * (the last solve's point, else the start; 0 when the row does not read the column). Fails
 * on an invalid row or column, a null value, or a row that cannot be differentiated there. */
NVRL_API int NSLPgetdf(NSLPprob slp, int col, int row, double *value);

/* Items of NSLPgetrowinfo; the type info points to is given for each. The penalty items
 * describe the last solve (0 before one): its penalty columns p, n of the row (elastic
 * violation of the linearised row, docs/nonlinear_solver.md). */
#define NSLP_ROWINFO_SLACK 1           /* double: rhs - activity at the current point */
#define NSLP_ROWINFO_DUAL 2            /* double: the dual of the last solve */
#define NSLP_ROWINFO_PENALTYWEIGHT 3   /* double: the row's penalty weight (NSLPchgrowwt) */
#define NSLP_ROWINFO_PENALTYITERATIONS 4 /* int: subproblems in which p + n > feasibility tol */
#define NSLP_ROWINFO_PENALTYMAX 5      /* double: the largest p + n of a subproblem */
#define NSLP_ROWINFO_PENALTYTOTAL 6    /* double: p + n summed over the subproblems */
#define NSLP_ROWINFO_NONLINEARCOEFS 7  /* int: nonlinear coefficients of the row */
/* Items of NSLPgetcolinfo. Step and step bound describe the last solve (0 before one). */
#define NSLP_COLINFO_VALUE 1           /* double: the value at the current point */
#define NSLP_COLINFO_REDUCEDCOST 2     /* double: the reduced cost of the last solve */
#define NSLP_COLINFO_STEP 3            /* double: the last accepted step */
#define NSLP_COLINFO_STEPBOUND 4       /* double: the step bound at the end (0: none) */
#define NSLP_COLINFO_CONVERGED 5       /* int: NSLP_CONVERGED_... */
#define NSLP_COLINFO_DELTATYPE 6       /* int: NSLP_DELTA_... */
#define NSLP_COLINFO_DELTAVALUE 7      /* double: the step type's value */
#define NSLP_COLINFO_NONLINEARCOEFS 8  /* int: nonlinear coefficients it occurs in (as the
                                          multiplying column or in the formula) */
/* Writes item (NSLP_ROWINFO_... / NSLP_COLINFO_...) of row / col into *info, whose type the
 * item's comment gives. Fail on an unknown item, an invalid row or column, a null info,
 * a dual or reduced cost when the last solve left none, or a slack that cannot be evaluated
 * at the current point. */
NVRL_API int NSLPgetrowinfo(NSLPprob slp, int item, int row, void *info);
NVRL_API int NSLPgetcolinfo(NSLPprob slp, int item, int col, void *info);

/* ----- Determining rows, cascading, presolve and scaling -------------------------------- */
/* A column's determining row (NSLPchgvar, NSLPloadvars) is a row in which the column occurs
 * and that defines it given the other columns. Cascading recomputes each determined column
 * by a Newton solve in that column alone (the others fixed, at most its cascade limit
 * iterations, clipped to its bounds) so that its row holds: an equality exactly, an
 * inequality at its nearer bound when violated. A column whose solve fails keeps its value.
 * The cascade order puts a determined column after every determined column its row reads;
 * ties go by sequence number (NSLPloadvars), then index; a cycle is broken at its first
 * column in that order and reported in the log. With NSLP_CTRL_CASCADE 1 a solve cascades
 * its start and every trial point before judging it. */
/* Computes the cascade order and keeps it (NSLPgetcascadeorder, NSLP_ATTR_CASCADE_COLUMNS). */
NVRL_API int NSLPcascadeorder(NSLPprob slp);
/* Copies the kept cascade order: its length into *ncols (may be null) and its first size
 * columns into cols (may be null when size is 0). Fails on a negative size or a null cols
 * with size > 0. */
NVRL_API int NSLPgetcascadeorder(NSLPprob slp, int *ncols, int cols[], int size);
/* Cascades the current point (the last solve's, else the initial values) and keeps the
 * result as the current point (NSLPgetvar's value); the slacks of the last solve follow.
 * Sets NSLP_ATTR_CASCADE_FAILURES. Fails when a formula cannot be compiled. */
NVRL_API int NSLPcascade(NSLPprob slp);
/* Sets column col's Newton iteration limit for cascading (0: the control
 * NSLP_CTRL_CASCADE_ITERATION_LIMIT). Fails on an invalid column or a negative limit. */
NVRL_API int NSLPchgcascadenlimit(NSLPprob slp, int col, int limit);
/* Presolves: columns fixed by their bounds are substituted into formulas and quadratic row
 * terms and constants folded; coefficients left without a column become linear terms or
 * constants. The user's problem is unchanged (the presolved form is kept beside it, with the
 * same rows and columns); NSLP_ATTR_COEFFICIENTS and NSLP_ATTR_NONLINEAR_ROWS then count the
 * presolved form. Sets bit 29 of NSLP_ATTR_STATE. A form the problem no longer matches is
 * dropped by the next solve. */
NVRL_API int NSLPpresolve(NSLPprob slp);
/* Drops the presolved form and clears bit 29 of NSLP_ATTR_STATE. */
NVRL_API int NSLPpostsolve(NSLPprob slp);
/* Computes and keeps a scale factor per row: 1 / (largest |derivative| of the row at the
 * current point), a power of two within 2^-30 .. 2^30. With NSLP_CTRL_SCALING 1 (the
 * default) solves multiply each row's penalty weight by it. Fails when a formula cannot be
 * compiled or a row cannot be differentiated at the current point. */
NVRL_API int NSLPscaling(NSLPprob slp);
/* Reads row's scale factor (1 when none is kept). Fails on an invalid row or a null
 * pointer. */
NVRL_API int NSLPgetrowscale(NSLPprob slp, int row, double *factor);

/* ----- Nonlinear solving and answers ---------------------------------------------------- */
/* Values of NSLP_ATTR_STATUS. */
#define NSLP_NLP_UNSTARTED 0
#define NSLP_NLP_LOCALLY_OPTIMAL 1
#define NSLP_NLP_GLOBALLY_OPTIMAL 2 /* nothing nonlinear was left: the subproblem was exact */
#define NSLP_NLP_LOCALLY_INFEASIBLE 3
#define NSLP_NLP_INFEASIBLE 4       /* the linear rows and bounds (or integrality) admit no point */
#define NSLP_NLP_UNBOUNDED 5
#define NSLP_NLP_UNFINISHED 6       /* stopped early (NSLP_ATTR_STOP_STATUS says why) */

/* Solves the nonlinear problem by successive linear programming from the columns' initial
 * values (NSLPchgvar; otherwise each column at the point of its bounds nearest to 0), in the
 * sense of NSLP_CTRL_OBJECTIVE_SENSE once it has been set, else in the optimiser problem's. flags are those of NVRLlpoptimize plus 'g': keep
 * integer and binary columns integral (each subproblem is then a MIP). Sets NSLP_ATTR_STATUS,
 * NSLP_ATTR_STOP_STATUS, NSLP_ATTR_ITERATIONS and NSLP_ATTR_OBJECTIVE and keeps the final (or,
 * when stopped early, the best) point for NSLPgetslpsol. Ends at the next iteration after
 * NSLPinterrupt, NVRLinterrupt or SIGINT. Fails on unknown flags, a formula that cannot be
 * compiled, a start where the problem cannot be evaluated, 'g' with global entities other
 * than integer and binary columns, or a subproblem HiGHS cannot solve; a status is still set
 * and a point kept when one was reached. */
NVRL_API int NSLPnlpoptimize(NSLPprob slp, const char *flags);
/* Copies the last nonlinear solve's answer: x (columns), slack = rhs - activity (rows, the
 * full nonlinear activity), duals (rows) and djs (columns) of the last subproblem, with the
 * sign convention of NVRLgetlpsol (djs = objective gradient - sum of duals times row
 * gradients). Any pointer may be null. Fails when a requested answer is not available (no
 * solve yet, rows or columns changed since, or no multipliers, as after a 'g' solve). */
NVRL_API int NSLPgetslpsol(NSLPprob slp, double x[], double slack[], double duals[],
                           double djs[]);
/* Makes the last solve's point the initial values of every column. Fails when there is no
 * point. */
NVRL_API int NSLPsetcurrentiv(NSLPprob slp);
/* Checks that the solver's working structures can be built (every formula compiles against
 * the problem) and sets bit 0 of NSLP_ATTR_STATE; each solve builds them afresh. */
NVRL_API int NSLPconstruct(NSLPprob slp);
/* Clears bit 0 of NSLP_ATTR_STATE. */
NVRL_API int NSLPunconstruct(NSLPprob slp);
/* Evaluates and differentiates every nonlinear row at the current point (the last solve's, or
 * the start) and sets bit 0 of NSLP_ATTR_STATE. Fails when a formula does not compile or
 * cannot be evaluated or differentiated there. */
NVRL_API int NSLPupdatelinearization(NSLPprob slp);
/* Forgets the last solve: status, point, multipliers and a fixed penalty; keeps the data and
 * the state bits. */
NVRL_API int NSLPreinitialize(NSLPprob slp);
/* Makes the penalty the last solve ended with the starting penalty of the next solves (until
 * NSLPreinitialize). Fails when no solve has run. */
NVRL_API int NSLPfixpenalties(NSLPprob slp);

/* ----- Multistart and the global search ------------------------------------------------ */
/* Multistart presets (NSLPmsaddpreset, NSLPmsaddcustompreset); docs/nonlinear_solver.md
 * describes each. The interior-point presets are refused: the subproblems have no
 * interior-point solver. */
#define NSLP_MSSET_INITIALVALUES 0   /* random starting points within the bounds */
#define NSLP_MSSET_SOLVERS 1         /* subproblem algorithm variations */
#define NSLP_MSSET_SLP_BASIC 2       /* a fixed grid of penalty and step-bound variations */
#define NSLP_MSSET_SLP_EXTENDED 3    /* random variations of the penalty and step controls */
#define NSLP_MSSET_IPM_BASIC 4
#define NSLP_MSSET_IPM_EXTENDED 5
#define NSLP_MSSET_INITIALFILTERED 6 /* random starting points, the best by merit kept */
#define NSLP_MSSET_PERTURBATIONS 7   /* random perturbations of the starting point */

/* Queues a multistart job: NSLPnlpoptimize runs its base solve, then every queued job from
 * the same problem with the job's initial values (ninitial pairs colindex[k], initvalues[k])
 * and controls (nintcontrols integer and ndblcontrols double id/value pairs, nonlinear or
 * optimiser controls, in force for the job only), and keeps the best answer. description
 * (null: "") is copied; jobobject is the caller's, kept with the job and never touched.
 * Fails on a negative count, a null array with a positive count, a column out of range or
 * repeated, a non-finite value, an unknown control or one of the wrong type, out of range,
 * repeated, or not allowed in a job (the objective sense, the multistart controls); a
 * failed call queues nothing. Jobs stay queued until NSLPmsclear. */
NVRL_API int NSLPmsaddjob(NSLPprob slp, const char *description, int ninitial,
                          const int colindex[], const double initvalues[], int nintcontrols,
                          const int intcontrolids[], const int intcontrolvalues[],
                          int ndblcontrols, const int dblcontrolids[],
                          const double dblcontrolvalues[], void *jobobject);
/* Queues maxjobs jobs of a preset (NSLP_MSSET_...), generated when the solve runs from its
 * bounds, starting point and NSLP_CTRL_MULTISTART_SEED; every job gets jobobject. Presets
 * with a fixed list of variations make at most that many jobs. Fails on an unknown or
 * unavailable preset or maxjobs < 1; a failed call queues nothing. */
NVRL_API int NSLPmsaddpreset(NSLPprob slp, const char *description, int preset, int maxjobs,
                             void *jobobject);
/* As NSLPmsaddpreset, and every generated job also gets the initial values and controls
 * given as for NSLPmsaddjob (they take precedence over the preset's own). Fails as both. */
NVRL_API int NSLPmsaddcustompreset(NSLPprob slp, const char *description, int preset,
                                   int maxjobs, int ninitial, const int colindex[],
                                   const double initvalues[], int nintcontrols,
                                   const int intcontrolids[], const int intcontrolvalues[],
                                   int ndblcontrols, const int dblcontrolids[],
                                   const double dblcontrolvalues[], void *jobobject);
/* Removes every queued multistart job. */
NVRL_API int NSLPmsclear(NSLPprob slp);
/* A global search by multistart (a heuristic: it proves nothing about global optimality):
 * as NSLPnlpoptimize with flags "g" and, besides the queued jobs, NSLP_CTRL_GLOBAL_STARTS
 * random starting points within the bounds (infinite bounds boxed by
 * NSLP_CTRL_MULTISTART_BOX around the starting point), the best answer kept. The queued
 * jobs stay as they were. Fails as NSLPnlpoptimize. */
NVRL_API int NSLPglobal(NSLPprob slp);

/* ----- Validation and evaluation statistics --------------------------------------------- */
/* These calls look at the current point: the last solve's (as changed by NSLPchgvar), else
 * the initial values, else for each column the point of its bounds nearest to 0. Their
 * reports go to the message callback whatever NSLP_CTRL_LOG_LEVEL says. A row's size is the
 * largest absolute value of its terms and finite bounds at the point; a relative violation
 * is the violation over the size (at least 1), for a bound over the bound (at least 1). */

/* Checks every row (full nonlinear activity) and column bound at the current point. Sets
 * NSLP_ATTR_VALIDATION_INDEX_A and _R (largest absolute and relative violation) and
 * NSLP_ATTR_VALIDATION_FAILURES (rows and columns whose violation exceeds
 * NSLP_CTRL_VALIDATION_TARGET_A and whose relative violation exceeds
 * NSLP_CTRL_VALIDATION_TARGET_R), writes a warning for each of them and a summary line. Fails,
 * changing nothing, when a formula does not compile or cannot be evaluated at the point. */
NVRL_API int NSLPvalidate(NSLPprob slp);
/* Writes a report of row at the current point: each term (linear, quadratic, formula) with
 * its value and its derivatives, the activity, the bounds and the violation. The derivatives
 * of each formula term are checked against central differences; a difference beyond
 * NSLP_CTRL_VALIDATION_DERIVATIVE_TOLERANCE (relative to the larger, at least 1) is written as
 * a warning and counted in NSLP_ATTR_VALIDATION_DERIVATIVE_ERRORS. Fails, writing nothing, on
 * a row out of range or a row that cannot be evaluated or differentiated at the point. */
NVRL_API int NSLPvalidaterow(NSLPprob slp, int row);
/* Evaluates the point x (one value per column) without changing anything: the sum of the row
 * and bound violations into *suminf, the sum of the relative ones into *sumscaledinf and the
 * objective's value (formulas included) into *objval; each may be null. Fails
 * on a null x, a non-finite entry, or a point where the problem cannot be evaluated. */
NVRL_API int NSLPvalidatevector(NSLPprob slp, const double x[], double *suminf,
                                double *sumscaledinf, double *objval);
/* Values of the mode of NSLPvalidatekkt. */
#define NSLP_KKT_ABSOLUTE 0
#define NSLP_KKT_RELATIVE 1 /* each entry over its largest term, each violation over the size */
/* Checks the first-order optimality conditions at the current point. respectbasis non-zero:
 * with the last solve's row multipliers; zero: with the multipliers of the rows and bounds
 * active at the point (within
 * NSLP_CTRL_VALIDATION_ACTIVE_TOLERANCE) that fit the conditions best (an LP), which
 * updatemult non-zero then stores as the answer's duals and reduced costs (NSLPgetslpsol).
 * Sets NSLP_ATTR_KKT_STATIONARITY, _COMPLEMENTARITY and _FEASIBILITY (the largest violation
 * of each, absolute or relative as mode says) and NSLP_ATTR_KKT_VALID (1 when all three are
 * <= violtarget, else 0), and writes a summary line. Fails, changing nothing, on an unknown
 * mode, a negative or non-finite violtarget, respectbasis without multipliers of a solve, a
 * point where the problem cannot be evaluated or differentiated, or a fit HiGHS cannot
 * solve. */
NVRL_API int NSLPvalidatekkt(NSLPprob slp, int mode, int respectbasis, int updatemult,
                             double violtarget);
/* Writes the evaluation statistics of the last solve and of all solves so far: solves,
 * formula evaluations for values and with gradients, user function calls for values, with
 * derivatives and for finite differences, and the time spent evaluating (and of it in user
 * functions). */
NVRL_API int NSLPprintevalinfo(NSLPprob slp);
/* Writes the memory held by the nonlinear problem's structures, a line each (coefficients,
 * their tokens, user functions, strings, column settings, row statuses and weights, solution
 * vectors) and the total, in bytes. */
NVRL_API int NSLPprintmemory(NSLPprob slp);

/* ----- Nonlinear problem files ----------------------------------------------------------- */
/* Reads a nonlinear problem file (free-format MPS with the sections NLCOEFFICIENTS and
 * INITIALVALUES, see docs/nonlinear_files.md): the optimiser problem beneath gets the model as
 * NVRLreadprob would read it, the nonlinear problem the coefficients and initial values (its
 * other per-column settings and its solve state start afresh). Flags and file names as for
 * NVRLreadprob; an LP file gives a problem without nonlinear data. Fails on a null or empty
 * filename, an unknown flag, a file that cannot be opened or read, or a fault in the file (the
 * message names the line: unknown row or column, formula syntax, a repeated coefficient or
 * initial value); the message is recorded on the optimiser problem too. A failed read changes
 * neither problem. */
NVRL_API int NSLPreadprob(NSLPprob slp, const char *filename, const char *flags);
/* Writes the nonlinear problem and the optimiser problem beneath as a file NSLPreadprob reads
 * back to the same model, coefficients (same formula tokens and numbers) and initial values.
 * Flags as for NVRLwriteprob, plus "g" (accepted and ignored: callers use it to choose this
 * writer); "l" writes LP and is refused when there are nonlinear coefficients or initial
 * values. Fails on a null or empty filename, the flag "x" or another unknown flag, a model the
 * format cannot hold, a formula that calls a user function or whose column names do not read
 * back in formulas, or a file that cannot be written (recorded on the optimiser problem too
 * for the last two). Neither problem is changed. */
NVRL_API int NSLPwriteprob(NSLPprob slp, const char *filename, const char *flags);
/* Writes a snapshot of the nonlinear problem and the optimiser problem beneath it: what
 * NVRLsaveas writes, plus the nonlinear data (coefficients, per-column and per-row settings,
 * strings, user functions by name and calling convention), the nonlinear controls and the
 * last nonlinear answers. User function addresses and objects are not saved: after a restore
 * set them again (NSLPchguserfuncaddress, NSLPsetuserfuncobject). Fails on a null or empty
 * filename or a file that cannot be written. Neither problem is changed. */
NVRL_API int NSLPsaveas(NSLPprob slp, const char *filename);
/* NSLPsaveas to "<problem name>.svf" ("problem.svf" when the problem has no name). */
NVRL_API int NSLPsave(NSLPprob slp);
/* Restores both problems from a snapshot written by NSLPsaveas or NSLPsave, found as
 * NVRLrestore finds it; the optimiser problem's controls are restored too. Fails, changing
 * neither problem, as NVRLrestore does, and on a snapshot without nonlinear data. */
NVRL_API int NSLPrestore(NSLPprob slp, const char *probname);
/* Writes the last nonlinear solve's point as a solution file (the format of NVRLwriteslxsol,
 * with NSLP_ATTR_OBJECTIVE as the objective); flags as for NVRLwriteslxsol. Fails on a null
 * or empty filename, an unknown flag, no point (or, for 'd' and 'r', no multipliers), or a
 * file that cannot be written. */
NVRL_API int NSLPwriteslxsol(NSLPprob slp, const char *filename, const char *flags);

#ifdef __cplusplus
}
#endif

#endif /* NVRL_H */

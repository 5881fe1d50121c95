/*
 * nvrl.h - public C interface of libnvrl, the nuvrel solver library.
 *
 * Conventions
 * - Every function returns int: 0 on success, non-zero on failure. The failure's text is
 *   available from NVRLgetlasterror (problem calls), NSLPgetlasterror (nonlinear calls),
 *   NVRL_ge_getlasterror (environment calls) or NVRL_bo_getlasterror (branching objects).
 *   A failed call leaves the problem exactly as it was. Failures of problem calls are not
 *   logged; failures of environment calls are also sent to the global message handlers.
 * - Indices are 0-based. Ranges (first, last) are inclusive.
 * - "...64" variants take 64-bit start arrays (NVRLint64) so that a matrix may hold more
 *   than 2^31 nonzeros.
 * - Infinite bounds are +/-1e20 (NVRL_INFINITY) or beyond.
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
 * passed where an NVRLobject is expected (see NVRLgetobjecttypename). */
typedef struct nvrl_object_s *NVRLobject;
typedef struct nvrl_problem_s *NVRLprob;
typedef struct nslp_problem_s *NSLPprob;

#define NVRL_INFINITY 1.0e20
#define NVRL_MAXBANNERLEN 512
#define NVRL_MAXVERSIONLEN 32
#define NVRL_MAXMESSAGELEN 512
#define NVRL_MAXNAMELEN 1024 /* longest row, column, set or problem name */

/* Return code of NSLPinit when the nonlinear solver is not available. */
#define NSLP_NOT_AVAILABLE 279

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
/* Flags reported by NSLPcontrolcode. */
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
  int flags; /* NVRL_CAFLAG_... */
} NVRLcaentry;

/* Status codes. */
#define NVRL_LP_UNSTARTED 0
#define NVRL_LP_OPTIMAL 1
#define NVRL_LP_INFEAS 2
#define NVRL_LP_CUTOFF 3
#define NVRL_LP_UNFINISHED 4
#define NVRL_LP_UNBOUNDED 5
#define NVRL_LP_CUTOFF_IN_DUAL 6
#define NVRL_LP_UNSOLVED 7
#define NVRL_LP_NONCONVEX 8

#define NVRL_MIP_NOT_LOADED 0
#define NVRL_MIP_LP_NOT_OPTIMAL 1
#define NVRL_MIP_LP_OPTIMAL 2
#define NVRL_MIP_NO_SOL_FOUND 3
#define NVRL_MIP_SOLUTION 4
#define NVRL_MIP_INFEAS 5
#define NVRL_MIP_OPTIMAL 6
#define NVRL_MIP_UNBOUNDED 7

#define NVRL_STOP_NONE 0
#define NVRL_STOP_TIMELIMIT 1
#define NVRL_STOP_CTRLC 2
#define NVRL_STOP_NODELIMIT 3
#define NVRL_STOP_ITERLIMIT 4
#define NVRL_STOP_MIPGAP 5
#define NVRL_STOP_SOLLIMIT 6
#define NVRL_STOP_USER 9

#define NVRL_BASIS_NONBASIC_LOWER 0
#define NVRL_BASIS_BASIC 1
#define NVRL_BASIS_NONBASIC_UPPER 2
#define NVRL_BASIS_SUPERBASIC 3

/* General constraint types. */
#define NVRL_GENCONS_MAX 0
#define NVRL_GENCONS_MIN 1
#define NVRL_GENCONS_AND 2
#define NVRL_GENCONS_OR 3
#define NVRL_GENCONS_ABS 4

/* Callback signatures. */
typedef int (*NVRLgemsghandler)(NVRLobject obj, void *data, void *thread, const char *msg,
                                int len, int msgtype);
typedef void (*NVRLmsgcb)(NVRLprob prob, void *data, const char *msg, int len, int msgtype);
typedef void (*NSLPmsgcb)(NSLPprob prob, void *data, const char *msg, int len, int msgtype);

/* ===== Environment ===================================================================== */

/* Starts the library (counted; each NVRLinit needs one NVRLfree). path is unused, may be null. */
NVRL_API int NVRLinit(const char *path);
/* Releases one start of the library. */
NVRL_API int NVRLfree(void);
/* Writes the version ("major.minor.patch") into version (NVRL_MAXVERSIONLEN bytes). */
NVRL_API int NVRLgetversion(char *version);
/* Writes the banner line into banner (NVRL_MAXBANNERLEN bytes). */
NVRL_API int NVRLgetbanner(char *banner);
/* Checked mode validates every argument (on by default). */
NVRL_API int NVRLgetcheckedmode(int *checked);
NVRL_API int NVRLsetcheckedmode(int checked);
/* Asks for results that are identical across machine architectures (fixed thread count and
 * deterministic algorithms). */
NVRL_API int NVRL_ge_setarchconsistency(int consistent);
NVRL_API int NVRL_ge_getarchconsistency(int *consistent);
/* Last error of the global environment: code, message (at most maxbytes including the
 * terminator) and the full message length in *nbytes (any pointer may be null). */
NVRL_API int NVRL_ge_getlasterror(int *code, char *msg, int maxbytes, int *nbytes);
/* Global message handlers receive every log line of every object; higher priority first. */
NVRL_API int NVRL_ge_addcbmsghandler(NVRLgemsghandler handler, void *data, int priority);
/* Removes the handlers matching (handler, data); a null handler matches any handler and a
 * null data any data. */
NVRL_API int NVRL_ge_removecbmsghandler(NVRLgemsghandler handler, void *data);
/* Type name of an engine object: "NVRLprob", "NSLPprob", "NVRLenv", "NVRLbranchobj". */
NVRL_API int NVRLgetobjecttypename(NVRLobject obj, const char **name);

/* Starts the nonlinear solver (counted); NSLP_NOT_AVAILABLE when it is not available. */
NVRL_API int NSLPinit(const char *path);
NVRL_API int NSLPfree(void);

/* ===== Problems ======================================================================== */

NVRL_API int NVRLcreateprob(NVRLprob *prob);
NVRL_API int NVRLdestroyprob(NVRLprob prob);
/* Replaces dest's model with a copy of src's (controls are not copied; see
 * NVRLcopycontrols). name may be null or empty to keep src's name. */
NVRL_API int NVRLcopyprob(NVRLprob dest, NVRLprob src, const char *name);
NVRL_API int NVRLsetprobname(NVRLprob prob, const char *name);
/* name must hold attribute 1158 (probnamelength) bytes. */
NVRL_API int NVRLgetprobname(NVRLprob prob, char *name);
/* The problem's last error message; msg must hold NVRL_MAXMESSAGELEN bytes. */
NVRL_API int NVRLgetlasterror(NVRLprob prob, char *msg);

/* Per-problem message callbacks, called for each log line of the problem. */
NVRL_API int NVRLaddcbmessage(NVRLprob prob, NVRLmsgcb cb, void *data, int priority);
/* Removes matching callbacks; a null cb removes all, a null data matches any data. */
NVRL_API int NVRLremovecbmessage(NVRLprob prob, NVRLmsgcb cb, void *data);

/* ----- Loading a whole problem (replaces the current model; the objective sense stays) ----- */
/* Column-wise matrix: column j has entries start[j] .. start[j]+collen[j]-1, or
 * start[j] .. start[j+1]-1 when collen is null (start then has ncols+1 entries).
 * range may be null (no ranges); lb/ub null mean 0 and +infinity. */
NVRL_API int NVRLloadlp(NVRLprob prob, const char *name, int ncols, int nrows,
                        const char rowtype[], const double rhs[], const double range[],
                        const double obj[], const int start[], const int collen[],
                        const int rowind[], const double rowcoef[], const double lb[],
                        const double ub[]);
NVRL_API int NVRLloadlp64(NVRLprob prob, const char *name, int ncols, int nrows,
                          const char rowtype[], const double rhs[], const double range[],
                          const double obj[], const NVRLint64 start[], const int collen[],
                          const int rowind[], const double rowcoef[], const double lb[],
                          const double ub[]);
/* Adds a quadratic objective given by nqcoefs triplets (objqcol1, objqcol2, objqcoef). */
NVRL_API int NVRLloadqp64(NVRLprob prob, const char *name, int ncols, int nrows,
                          const char rowtype[], const double rhs[], const double range[],
                          const double obj[], const NVRLint64 start[], const int collen[],
                          const int rowind[], const double rowcoef[], const double lb[],
                          const double ub[], NVRLint64 nobjqcoefs, const int objqcol1[],
                          const int objqcol2[], const double objqcoef[]);
/* Adds global entities: nentities typed columns (coltype, entind, limit may be null) and
 * nsets special ordered sets (settype '1' or '2', setstart with nsets+1 entries, setind,
 * refval). */
NVRL_API int NVRLloadglobal64(NVRLprob prob, const char *name, int ncols, int nrows,
                              const char rowtype[], const double rhs[], const double range[],
                              const double obj[], const NVRLint64 start[], const int collen[],
                              const int rowind[], const double rowcoef[], const double lb[],
                              const double ub[], int nentities, int nsets,
                              const char coltype[], const int entind[], const double limit[],
                              const char settype[], const NVRLint64 setstart[],
                              const int setind[], const double refval[]);
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
/* Quadratic rows: nqrows rows qrowind[k], row k having nrowqcoefs[k] triplets taken in order
 * from (rowqcol1, rowqcol2, rowqcoef). */
NVRL_API int NVRLloadqcqp64(NVRLprob prob, const char *name, int ncols, int nrows,
                            const char rowtype[], const double rhs[], const double range[],
                            const double obj[], const NVRLint64 start[], const int collen[],
                            const int rowind[], const double rowcoef[], const double lb[],
                            const double ub[], NVRLint64 nobjqcoefs, const int objqcol1[],
                            const int objqcol2[], const double objqcoef[], int nqrows,
                            const int qrowind[], const NVRLint64 nrowqcoefs[],
                            const int rowqcol1[], const int rowqcol2[], const double rowqcoef[]);
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

/* ----- Adding and deleting ----- */
/* Row-wise entries: row i has start[i] .. start[i+1]-1 (start has nrows+1 entries; may be
 * null when ncoefs is 0). range may be null. The last row always ends at ncoefs, so start[nrows]
 * is never read (the same holds for the starts of NVRLaddcols64, NVRLaddsets64,
 * NVRLaddgencons64 and NVRLaddpwlcons64). Repeated (row, column) entries are summed. */
NVRL_API int NVRLaddrows64(NVRLprob prob, int nrows, NVRLint64 ncoefs, const char rowtype[],
                           const double rhs[], const double range[], const NVRLint64 start[],
                           const int colind[], const double rowcoef[]);
/* Column-wise entries: column j has start[j] .. start[j+1]-1 (start may be null when ncoefs
 * is 0). New columns are continuous. obj, lb, ub may be null (0, 0, +infinity). */
NVRL_API int NVRLaddcols64(NVRLprob prob, int ncols, NVRLint64 ncoefs, const double objcoef[],
                           const NVRLint64 start[], const int rowind[], const double rowcoef[],
                           const double lb[], const double ub[]);
/* Deletes rows or columns; later indices shift down. Duplicates are an error. */
NVRL_API int NVRLdelrows(NVRLprob prob, int nrows, const int rowind[]);
NVRL_API int NVRLdelcols(NVRLprob prob, int ncols, const int colind[]);

/* ----- Names (type 1 rows, 2 columns, 3 sets) ----- */
/* names holds last-first+1 NUL-terminated names one after another. */
NVRL_API int NVRLaddnames(NVRLprob prob, int type, const char names[], int first, int last);
/* Writes last-first+1 NUL-terminated names one after another into names, which must hold
 * (last-first+1) * (8 * attribute 1028 + 1) bytes. Unnamed items read as default names
 * ("R1", "C1", "S1": 1-based). */
NVRL_API int NVRLgetnames(NVRLprob prob, int type, char names[], int first, int last);
/* As NVRLgetnames with an explicit buffer size; with a null buffer only *nbytes (the bytes
 * needed) is set. */
NVRL_API int NVRLgetnamelist(NVRLprob prob, int type, char names[], int maxbytes, int *nbytes,
                             int first, int last);
/* Index of the row, column or set of the given name (a user name before another item's
 * default name); fails when there is none. */
NVRL_API int NVRLgetindex(NVRLprob prob, int type, const char *name, int *index);
NVRL_API int NVRLaddsetnames(NVRLprob prob, const char names[], int first, int last);

/* ----- Changes ----- */
/* colind -1 addresses the objective constant (value v sets the constant to -v). */
NVRL_API int NVRLchgobj(NVRLprob prob, int ncols, const int colind[], const double objcoef[]);
/* 1 minimise, -1 maximise. */
NVRL_API int NVRLchgobjsense(NVRLprob prob, int objsense);
NVRL_API int NVRLchgbounds(NVRLprob prob, int nbounds, const int colind[], const char bndtype[],
                           const double bndval[]);
NVRL_API int NVRLchgrhs(NVRLprob prob, int nrows, const int rowind[], const double rhs[]);
/* Sets the range of rows; a row of type 'L' or 'G' becomes 'R' (a negative range is an error).
 * 'G' and 'E' rows keep their rhs as the lower end (rhs becomes rhs+range); 'N' rows fail. */
NVRL_API int NVRLchgrhsrange(NVRLprob prob, int nrows, const int rowind[], const double rng[]);
NVRL_API int NVRLchgrowtype(NVRLprob prob, int nrows, const int rowind[], const char rowtype[]);
/* Making a column binary ('B') narrows its bounds into [0, 1]. */
NVRL_API int NVRLchgcoltype(NVRLprob prob, int ncols, const int colind[], const char coltype[]);
/* Limits of semi-continuous, semi-integer and partially integer columns. */
NVRL_API int NVRLchgglblimit(NVRLprob prob, int ncols, const int colind[], const double limit[]);
/* A zero coefficient deletes the entry. */
NVRL_API int NVRLchgcoef(NVRLprob prob, int row, int col, double coef);
NVRL_API int NVRLchgmcoef(NVRLprob prob, int ncoefs, const int rowind[], const int colind[],
                          const double rowcoef[]);
NVRL_API int NVRLchgmcoef64(NVRLprob prob, NVRLint64 ncoefs, const int rowind[],
                            const int colind[], const double rowcoef[]);

/* ----- Quadratic objective and quadratic rows ----- */
NVRL_API int NVRLchgqobj(NVRLprob prob, int objqcol1, int objqcol2, double objqcoef);
NVRL_API int NVRLchgmqobj(NVRLprob prob, int ncoefs, const int objqcol1[], const int objqcol2[],
                          const double objqcoef[]);
NVRL_API int NVRLchgmqobj64(NVRLprob prob, NVRLint64 ncoefs, const int objqcol1[],
                            const int objqcol2[], const double objqcoef[]);
/* Upper triangle of Q for columns first..last, column-wise: for column j (>= each entry's
 * column, entries with col2 >= col1), start[j-first] .. start[j-first+1]-1. With null arrays
 * only *ncoefs (the total) is set; otherwise at most maxcoefs entries are written and
 * *ncoefs is the total. */
NVRL_API int NVRLgetmqobj(NVRLprob prob, int start[], int colind[], double objqcoef[],
                          int maxcoefs, int *ncoefs, int first, int last);
NVRL_API int NVRLgetmqobj64(NVRLprob prob, NVRLint64 start[], int colind[], double objqcoef[],
                            NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last);
/* Adds triplets to the quadratic part of a row (entries add up with existing ones). */
NVRL_API int NVRLaddqmatrix64(NVRLprob prob, int row, NVRLint64 ncoefs, const int rowqcol1[],
                              const int rowqcol2[], const double rowqcoef[]);
NVRL_API int NVRLchgqrowcoeff(NVRLprob prob, int row, int rowqcol1, int rowqcol2,
                              double rowqcoef);
NVRL_API int NVRLdelqmatrix(NVRLprob prob, int row);
/* Quadratic part of a row as in NVRLgetmqobj (upper triangle, columns first..last). */
NVRL_API int NVRLgetqrowqmatrix(NVRLprob prob, int row, int start[], int colind[],
                                double rowqcoef[], int maxcoefs, int *ncoefs, int first,
                                int last);
/* All triplets of a row's quadratic part (col1 <= col2). Null arrays: only *ncoefs. */
NVRL_API int NVRLgetqrowqmatrixtriplets(NVRLprob prob, int row, int *ncoefs, int rowqcol1[],
                                        int rowqcol2[], double rowqcoef[]);
NVRL_API int NVRLgetqrowcoeff(NVRLprob prob, int row, int rowqcol1, int rowqcol2,
                              double *rowqcoef);
/* Rows with quadratic parts; qrowind may be null to count only. */
NVRL_API int NVRLgetqrows(NVRLprob prob, int *nrows, int qrowind[]);

/* ----- Special ordered sets ----- */
/* settype '1' or '2'; set k has members start[k] .. start[k+1]-1. */
NVRL_API int NVRLaddsets64(NVRLprob prob, int nsets, NVRLint64 nelems, const char settype[],
                           const NVRLint64 start[], const int colind[], const double refval[]);
NVRL_API int NVRLdelsets(NVRLprob prob, int nsets, const int sets[]);
/* Sets first..last in the same layout; null arrays count only (*nelems). */
NVRL_API int NVRLgetsets64(NVRLprob prob, char settype[], NVRLint64 start[], int colind[],
                           double refval[], NVRLint64 maxelems, NVRLint64 *nelems, int first,
                           int last);

/* ----- Indicator constraints ----- */
/* complement: 0 removes the indicator, 1 the row holds when the column is 1, -1 when it is 0.
 * The column must be binary at solve time. */
NVRL_API int NVRLsetindicators(NVRLprob prob, int nrows, const int rowind[], const int colind[],
                               const int complement[]);
/* For rows first..last: the indicator column (-1 when none) and complement (0 when none). */
NVRL_API int NVRLgetindicators(NVRLprob prob, int colind[], int complement[], int first,
                               int last);
/* Turns the rows first..last back into ordinary rows. */
NVRL_API int NVRLdelindicators(NVRLprob prob, int first, int last);

/* ----- General and piecewise-linear constraints ----- */
/* Constraint k: resultant[k] = type[k]( columns colind[colstart[k]..colstart[k+1]-1],
 * values val[valstart[k]..valstart[k+1]-1] ) for max/min (values are constants in the
 * max/min), and/or (binary columns), abs (exactly one column, no values). colstart and
 * valstart have ncons+1 entries; valstart and val may be null. */
NVRL_API int NVRLaddgencons64(NVRLprob prob, int ncons, NVRLint64 ncols, NVRLint64 nvals,
                              const int contype[], const int resultant[],
                              const NVRLint64 colstart[], const int colind[],
                              const NVRLint64 valstart[], const double val[]);
/* Null output arrays count only. Sizes *ncols and *nvals are totals over first..last. */
NVRL_API int NVRLgetgencons64(NVRLprob prob, int contype[], int resultant[],
                              NVRLint64 colstart[], int colind[], NVRLint64 maxcols,
                              NVRLint64 *ncols, NVRLint64 valstart[], double val[],
                              NVRLint64 maxvals, NVRLint64 *nvals, int first, int last);
NVRL_API int NVRLdelgencons(NVRLprob prob, int ncons, const int conind[]);
/* Constraint k: resultant[k] = f(colind[k]) with f piecewise linear through the points
 * (xval, yval)[start[k]..start[k+1]-1], x non-decreasing (a repeated x is a jump). */
NVRL_API int NVRLaddpwlcons64(NVRLprob prob, int npwls, NVRLint64 npoints, const int colind[],
                              const int resultant[], const NVRLint64 start[],
                              const double xval[], const double yval[]);
NVRL_API int NVRLgetpwlcons64(NVRLprob prob, int colind[], int resultant[], NVRLint64 start[],
                              double xval[], double yval[], NVRLint64 maxpoints,
                              NVRLint64 *npoints, int first, int last);
NVRL_API int NVRLdelpwlcons(NVRLprob prob, int npwls, const int pwlind[]);

/* ----- Queries (first..last inclusive) ----- */
NVRL_API int NVRLgetlb(NVRLprob prob, double lb[], int first, int last);
NVRL_API int NVRLgetub(NVRLprob prob, double ub[], int first, int last);
NVRL_API int NVRLgetobj(NVRLprob prob, double obj[], int first, int last);
NVRL_API int NVRLgetrhs(NVRLprob prob, double rhs[], int first, int last);
NVRL_API int NVRLgetrhsrange(NVRLprob prob, double rng[], int first, int last);
NVRL_API int NVRLgetrowtype(NVRLprob prob, char rowtype[], int first, int last);
NVRL_API int NVRLgetcoltype(NVRLprob prob, char coltype[], int first, int last);
/* Limits of columns first..last (0 for columns without one). */
NVRL_API int NVRLgetglblimit(NVRLprob prob, double limit[], int first, int last);
/* Rows first..last: start has last-first+2 entries. With null colind/rowcoef only *ncoefs
 * (the total) is set; otherwise at most maxcoefs entries are written. */
NVRL_API int NVRLgetrows64(NVRLprob prob, NVRLint64 start[], int colind[], double rowcoef[],
                           NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last);
NVRL_API int NVRLgetcols64(NVRLprob prob, NVRLint64 start[], int rowind[], double colcoef[],
                           NVRLint64 maxcoefs, NVRLint64 *ncoefs, int first, int last);
NVRL_API int NVRLgetcoef(NVRLprob prob, int row, int col, double *coef);

/* ===== Controls and attributes ======================================================== */
NVRL_API int NVRLgetintattrib(NVRLprob prob, int attrib, int *value);
NVRL_API int NVRLgetintattrib64(NVRLprob prob, int attrib, NVRLint64 *value);
NVRL_API int NVRLgetdblattrib(NVRLprob prob, int attrib, double *value);
/* value must hold NVRL_MAXNAMELEN bytes. */
NVRL_API int NVRLgetstrattrib(NVRLprob prob, int attrib, char *value);
NVRL_API int NVRLgetintcontrol(NVRLprob prob, int control, int *value);
NVRL_API int NVRLgetintcontrol64(NVRLprob prob, int control, NVRLint64 *value);
NVRL_API int NVRLsetintcontrol(NVRLprob prob, int control, int value);
NVRL_API int NVRLsetintcontrol64(NVRLprob prob, int control, NVRLint64 value);
NVRL_API int NVRLgetdblcontrol(NVRLprob prob, int control, double *value);
NVRL_API int NVRLsetdblcontrol(NVRLprob prob, int control, double value);
/* value must hold NVRL_MAXNAMELEN bytes. */
NVRL_API int NVRLgetstrcontrol(NVRLprob prob, int control, char *value);
NVRL_API int NVRLsetstrcontrol(NVRLprob prob, int control, const char *value);
/* The optimiser's controls and attributes; the list is static and ends with type -1. */
NVRL_API int NVRLgetcalist_c(NVRLprob prob, const NVRLcaentry **list);
/* Looks a control or attribute of the optimiser up by name (any case). */
NVRL_API int NVRLgetcontrolinfo(NVRLprob prob, const char *name, int *id, int *type,
                                int *iscontrol);
NVRL_API int NVRLsetdefaults(NVRLprob prob);
NVRL_API int NVRLcopycontrols(NVRLprob dest, NVRLprob src);
/* Writes every control that differs from its default to the message callbacks. */
NVRL_API int NVRLdumpcontrols(NVRLprob prob);

/* ===== Files =========================================================================== */
/* Reads an MPS (".mps", free or fixed) or LP (".lp") file; a name without extension tries
 * .mps then .lp. flags: "l" forces LP format, "m" forces MPS. */
NVRL_API int NVRLreadprob(NVRLprob prob, const char *filename, const char *flags);
/* Writes the problem: "l" LP format, otherwise MPS (free format; "x" hex values not
 * supported). A name without extension gets ".mps" or ".lp". */
NVRL_API int NVRLwriteprob(NVRLprob prob, const char *filename, const char *flags);

/* ===== Optimisation ==================================================================== */
/* flags: "" default (dual simplex), "p" primal simplex, "d" dual simplex, "b" interior point,
 * "n" network (treated as dual simplex); the maximise sense follows NVRLchgobjsense. */
NVRL_API int NVRLlpoptimize(NVRLprob prob, const char *flags);
/* Solves the MIP (or the LP/QP when there are no global entities). Same flags for the LP
 * relaxation. */
NVRL_API int NVRLmipoptimize(NVRLprob prob, const char *flags);
/* Asks a running solve to stop at the next safe point with the given stop reason. */
NVRL_API int NVRLinterrupt(NVRLprob prob, int reason);

/* Answers of the last solve in the user's rows and columns; any pointer may be null. */
NVRL_API int NVRLgetlpsol(NVRLprob prob, double x[], double slack[], double duals[],
                          double djs[]);
NVRL_API int NVRLgetmipsol(NVRLprob prob, double x[], double slack[]);
/* One column value and/or one row's slack; pass -1 to skip either. */
NVRL_API int NVRLgetlpsolval(NVRLprob prob, int col, int row, double *x, double *slack,
                             double *dual, double *dj);
NVRL_API int NVRLgetmipsolval(NVRLprob prob, int col, int row, double *x, double *slack);
/* Basis status per row and column (NVRL_BASIS_...); either pointer may be null. */
NVRL_API int NVRLgetbasis(NVRLprob prob, int rowstat[], int colstat[]);
NVRL_API int NVRLloadbasis(NVRLprob prob, const int rowstat[], const int colstat[]);
NVRL_API int NVRLgetbasisval(NVRLprob prob, int row, int col, int *rowstat, int *colstat);
/* Loads a starting point for the next LP solve; any pointer may be null. */
NVRL_API int NVRLloadlpsol(NVRLprob prob, const double x[], const double slack[],
                           const double duals[], const double djs[], int *status);
/* Infeasible columns and rows of the current solution (primal: x, slack; dual: duals, djs).
 * Counts go to the n... pointers; index arrays may be null to count only. */
NVRL_API int NVRLgetinfeas(NVRLprob prob, int *npv, int *nps, int *nds, int *ndv, int mx[],
                           int mslack[], int mdual[], int mdj[]);
NVRL_API int NVRLgetscaledinfeas(NVRLprob prob, int *npv, int *nps, int *nds, int *ndv,
                                 int mx[], int mslack[], int mdual[], int mdj[]);
/* Column (index in 0..cols-1) that proves unboundedness, or -1. */
NVRL_API int NVRLgetunbvec(NVRLprob prob, int *seq);
/* Rays of an unbounded (primal) or infeasible (dual) LP; *has tells whether one exists,
 * and the ray is written only when has is 1 and the array is not null. */
NVRL_API int NVRLgetprimalray(NVRLprob prob, double ray[], int *has);
NVRL_API int NVRLgetdualray(NVRLprob prob, double ray[], int *has);

/* ===== Nonlinear solver ================================================================ */
/* Creates the nonlinear problem stacked on prob (which it shares and does not own). */
NVRL_API int NSLPcreateprob(NSLPprob *slp, NVRLprob *prob);
NVRL_API int NSLPdestroyprob(NSLPprob slp);
/* Copies src's nonlinear data into dest (whose underlying problem should already hold a
 * copy of src's). name is unused. */
NVRL_API int NSLPcopyprob(NSLPprob dest, NSLPprob src, const char *name);
NVRL_API int NSLPcopycontrols(NSLPprob dest, NSLPprob src);
/* Sets (replaces) the message callback; null cb removes it. */
NVRL_API int NSLPsetcbmessage(NSLPprob slp, NSLPmsgcb cb, void *data);
NVRL_API int NSLPgetlasterror(NSLPprob slp, int *code, char *msg);
NVRL_API int NSLPgetintattrib(NSLPprob slp, int attrib, int *value);
NVRL_API int NSLPgetdblattrib(NSLPprob slp, int attrib, double *value);
NVRL_API int NSLPgetstrattrib(NSLPprob slp, int attrib, char *value);
NVRL_API int NSLPgetintcontrol(NSLPprob slp, int control, int *value);
NVRL_API int NSLPsetintcontrol(NSLPprob slp, int control, int value);
NVRL_API int NSLPgetdblcontrol(NSLPprob slp, int control, double *value);
NVRL_API int NSLPsetdblcontrol(NSLPprob slp, int control, double value);
NVRL_API int NSLPgetstrcontrol(NSLPprob slp, int control, char *value);
NVRL_API int NSLPsetstrcontrol(NSLPprob slp, int control, const char *value);
/* The nonlinear solver's own list and its interior-point local solver's list. */
NVRL_API int NSLPgetcalist(NSLPprob slp, const NVRLcaentry **list);
NVRL_API int NSLPgetIPMcalist(NSLPprob slp, const NVRLcaentry **list);
/* Id and NSLP_CCFLAG_... flags of a nonlinear control or attribute by name (any case). */
NVRL_API int NSLPcontrolcode(NSLPprob slp, const char *name, int *id, int *flags);
NVRL_API int NSLPsetdefaults(NSLPprob slp);
NVRL_API int NSLPinterrupt(NSLPprob slp, int reason);

#ifdef __cplusplus
}
#endif

#endif /* NVRL_H */

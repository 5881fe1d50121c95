// Validation and solving through the methods of nuvrel.problem: the checks of a point, a
// row and the optimality conditions, the steps of a solve that can be run one by one, the
// solve itself and the global search.

#include "lowlevel/conv.h"
#include "module/args.h"
#include "module/methods.h"
#include "lowlevel/nl_methods.h"
#include "nvrl.h"

namespace {

PyObject *NSLP_PY_validatevector(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"solution", nullptr};
  PyObject *obj = nullptr;
  problem_s *p = NL_ARGS("|O:validatevector", kw, &obj, 1, &obj);
  if (p == nullptr) return nullptr;
  int64_t n = nvo_int_attrib(p, NVRL_ATTR_ORIGINAL_COLUMNS);
  if (n < 0) return nullptr;
  ConvArray<double> x;
  if (x.convert(p, &n, obj, CONV_DOUBLE) != 0) return setNvrlErrIfNull(self, nullptr);
  double suminf = 0.0, sumscaledinf = 0.0, objval = 0.0;
  if (NSLPvalidatevector(p->slpprob, x.get(), &suminf, &sumscaledinf, &objval) != 0)
    return nvo_nl_fail(p);
  return Py_BuildValue("(ddd)", suminf, sumscaledinf, objval);
}

PyObject *NSLP_PY_validaterow(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"row", nullptr};
  PyObject *obj = nullptr;
  problem_s *p = NL_ARGS("|O:validaterow", kw, &obj, 1, &obj);
  if (p == nullptr) return nullptr;
  int row = 0;
  if (ObjInt2int(obj, p, &row, CONV_ROW) != 0) return setNvrlErrIfNull(self, nullptr);
  if (NSLPvalidaterow(p->slpprob, row) != 0) return nvo_nl_fail(p);
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_validatekkt(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"mode", "respectbasis", "updatemult", "violtarget", nullptr};
  int mode = 0, respectbasis = 0, updatemult = 0;
  double violtarget = 0.0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "iiid:validatekkt", kw, nullptr, &mode,
                                 &respectbasis, &updatemult, &violtarget))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  if (NSLPvalidatekkt(p->slpprob, mode, respectbasis, updatemult, violtarget) != 0)
    return nvo_nl_fail(p);
  // What the check found, so that a caller need not read four attributes.
  int valid = 0;
  double measure[3] = {};
  const int ids[3] = {NSLP_ATTR_KKT_STATIONARITY, NSLP_ATTR_KKT_COMPLEMENTARITY,
                      NSLP_ATTR_KKT_FEASIBILITY};
  if (NSLPgetintattrib(p->slpprob, NSLP_ATTR_KKT_VALID, &valid) != 0) return nvo_nl_fail(p);
  for (int i = 0; i < 3; ++i)
    if (NSLPgetdblattrib(p->slpprob, ids[i], &measure[i]) != 0) return nvo_nl_fail(p);
  return Py_BuildValue("(Nddd)", PyBool_FromLong(valid), measure[0], measure[1], measure[2]);
}

// The calls without arguments, each on the nonlinear problem alone.
template <int (*call)(NSLPprob)>
PyObject *no_args(PyObject *self, PyObject *) {
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  if (call(p->slpprob) != 0) return nvo_nl_fail(p);
  return setNvrlErrIfNull(self, Py_NewRef(Py_None));
}

int run_global(NSLPprob slp, const char *) { return NSLPglobal(slp); }

PyObject *NSLP_PY_globalsol(PyObject *self, PyObject *) {
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  return nvo_nl_run_guarded(p, run_global, nullptr);
}

PyObject *NSLP_PY_nlpoptimize(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"flags", nullptr};
  const char *flags = "";
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|s:nlpoptimize", kw, nullptr, &flags))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  return nvo_nl_run_guarded(p, NSLPnlpoptimize, flags);
}

#define NOARG(name, fn, doc) {#name, no_args<fn>, METH_NOARGS, doc}

}  // namespace

PyMethodDef problem_methods_nl_solving[] = {
    NL_ENTRY(validatevector,
             "validatevector(solution)\n\nEvaluates the point solution (a value per column)\n"
             "without changing anything, as the tuple (suminf, sumscaledinf, objval): the sum\n"
             "of the row and bound violations, the sum of the relative ones and the objective's\n"
             "value.\n\n"
             "Example: suminf, scaled, obj = p.validatevector([1, 1, 0, 0, 0])"),
    NL_ENTRY(validaterow,
             "validaterow(row)\n\nWrites a report of row at the current point: its terms, values,\n"
             "derivatives checked against differences, activity and violation.\n\n"
             "Example: p.validaterow(c1)"),
    NL_ENTRY(validatekkt,
             "validatekkt(mode, respectbasis, updatemult, violtarget)\n\nChecks the first-order\n"
             "optimality conditions at the current point (mode 0 absolute, 1 relative; with the\n"
             "last solve's multipliers when respectbasis, else fitted ones, stored as the\n"
             "answer's when updatemult) and returns the tuple (valid, stationarity,\n"
             "complementarity, feasibility): valid when each largest violation is at most\n"
             "violtarget.\n\n"
             "Example: ok, *_ = p.validatekkt(0, 0, 0, 1e-6)"),
    NOARG(validate, NSLPvalidate,
          "validate()\n\nChecks every row and column bound at the current point and writes a\n"
          "warning per violation (attributes nslp_validation_index_a, _r, _failures)."),
    NOARG(updatelinearization, NSLPupdatelinearization,
          "updatelinearization()\n\nEvaluates and differentiates every nonlinear row at the\n"
          "current point."),
    NOARG(unconstruct, NSLPunconstruct,
          "unconstruct()\n\nMarks the solver's working structures as not built."),
    NOARG(setcurrentiv, NSLPsetcurrentiv,
          "setcurrentiv()\n\nMakes the last solve's point the initial values of every column."),
    NOARG(scaling, NSLPscaling,
          "scaling()\n\nComputes a scale factor per row from its derivatives at the current\n"
          "point, used by the next solves."),
    NOARG(reinitialize, NSLPreinitialize,
          "reinitialize()\n\nForgets the last solve: status, point, multipliers and a fixed\n"
          "penalty."),
    NOARG(printevalinfo, NSLPprintevalinfo,
          "printevalinfo()\n\nWrites the evaluation statistics of the last solve and of all\n"
          "solves."),
    NOARG(printmemory, NSLPprintmemory,
          "printmemory()\n\nWrites the memory held by the nonlinear problem's structures."),
    // The coefficient count then describes the presolved form: the routing count stays.
    NOARG(presolve, NSLPpresolve,
          "presolve()\n\nSubstitutes columns fixed by their bounds into the formulas (the\n"
          "user's problem is kept beside the presolved form)."),
    NOARG(fixpenalties, NSLPfixpenalties,
          "fixpenalties()\n\nMakes the penalty the last solve ended with the starting penalty\n"
          "of the next solves."),
    NOARG(construct, NSLPconstruct,
          "construct()\n\nChecks that every formula compiles against the problem."),
    NOARG(cascade, NSLPcascade,
          "cascade()\n\nRecomputes each determined column from its determining row at the\n"
          "current point."),
    NOARG(cascadeorder, NSLPcascadeorder,
          "cascadeorder()\n\nComputes and keeps the order in which cascading visits the\n"
          "determined columns."),
    {"globalsol", NSLP_PY_globalsol, METH_NOARGS,
     "globalsol()\n\nA global search by multistart (a heuristic; it proves nothing): a solve\n"
     "keeping integer columns integral from the initial values, from every queued\n"
     "multistart job and from nslp_global_starts random points within the bounds; the best\n"
     "answer is kept.\n\nExample: p.globalsol(); print(p.getObjVal())"},
    NL_ENTRY(nlpoptimize,
             "nlpoptimize(flags='')\n\nSolves the nonlinear problem by successive linear\n"
             "programming (flags as for lpoptimize, plus 'g': keep integer columns integral),\n"
             "then the queued multistart jobs. Ctrl-C stops it with its best point so far.\n\n"
             "Example: p.nlpoptimize(); values = p.getslpsol()"),
    {nullptr, nullptr, 0, nullptr},
};

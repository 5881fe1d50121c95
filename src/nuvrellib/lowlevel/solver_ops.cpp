// Low-level solver operations: the optimisation calls lpoptimize and mipoptimize, and the
// problem-state calls (name, log file, controls, message codes, interruption).
#include <climits>

#include "lowlevel/lowlevel.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/method_families.h"

namespace {

inline PyObject *fail(problem_s *p) {
  return setNvrlErrIfNull(reinterpret_cast<PyObject *>(p), nullptr);
}

PyObject *result(problem_s *p, int rc) {
  if (rc != 0) return fail(p);
  Py_RETURN_NONE;
}

// An optimisation call: the interpreter lock is released and the SIGINT guard installed for
// the library's run. An exception raised by a callback during the run propagates once the
// library has returned.
PyObject *optimize(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                   int (*call)(NVRLprob, const char *)) {
  static const char *kw[] = {"flags", nullptr};
  const char *flags = "";
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("|s", name), kw, nullptr, &flags))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  const int rc = problem_run_released(p, [&] { return call(p->prob, flags); });
  if (rc != 0) return fail(p);
  if (PyErr_Occurred()) return nullptr;
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_lpoptimize(PyObject *self, PyObject *args, PyObject *kwargs) {
  return optimize(self, args, kwargs, "lpoptimize", NVRLlpoptimize);
}

PyObject *NVRL_PY_mipoptimize(PyObject *self, PyObject *args, PyObject *kwargs) {
  return optimize(self, args, kwargs, "mipoptimize", NVRLmipoptimize);
}

// A method taking one string argument `name` for a library call of that string.
PyObject *string_call(PyObject *self, PyObject *args, PyObject *kwargs, const char *method,
                      const char *name, int (*call)(NVRLprob, const char *)) {
  const char *kw[] = {name, nullptr};
  const char *value = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("s", method), kw, nullptr, &value))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return result(p, call(p->prob, value));
}

PyObject *NVRL_PY_setprobname(PyObject *self, PyObject *args, PyObject *kwargs) {
  return string_call(self, args, kwargs, "setprobname", "probname", NVRLsetprobname);
}

PyObject *NVRL_PY_setlogfile(PyObject *self, PyObject *args, PyObject *kwargs) {
  return string_call(self, args, kwargs, "setlogfile", "filename", NVRLsetlogfile);
}

PyObject *NVRL_PY_setdefaults(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return result(p, NVRLsetdefaults(p->prob));
}

PyObject *NVRL_PY_dumpcontrols(PyObject *self, PyObject *) {
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return result(p, NVRLdumpcontrols(p->prob));
}

PyObject *NVRL_PY_copycontrols(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"src", nullptr};
  PyObject *src = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O:copycontrols", kw, nullptr, &src)) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (!problem_check(src)) {
    PyErr_SetString(nvpy_interf_exc, "A problem must be passed for copying controls");
    return nullptr;
  }
  problem_s *from = problem_ready(src);
  if (from == nullptr) return nullptr;
  return result(p, NVRLcopycontrols(p->prob, from->prob));
}

PyObject *NVRL_PY_setmessagestatus(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"msgcode", "status", nullptr};
  static const char *kw_alt[] = {"errcode", "status", nullptr};
  int code = 0, status = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "ii:setmessagestatus", kw, kw_alt, &code, &status))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return result(p, NVRLsetmessagestatus(p->prob, code, status));
}

PyObject *NVRL_PY_getmessagestatus(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"msgcode", nullptr};
  static const char *kw_alt[] = {"errcode", nullptr};
  int code = 0, status = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "i:getmessagestatus", kw, kw_alt, &code))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  if (NVRLgetmessagestatus(p->prob, code, &status) != 0) return fail(p);
  return PyLong_FromLong(status);
}

// Usable during a solve (from the solve's own callbacks): the library takes the request from
// any thread, so the check for a running solve is left out.
PyObject *NVRL_PY_interrupt(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"reason", nullptr};
  long reason = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "l:interrupt", kw, nullptr, &reason)) return nullptr;
  problem_s *p = reinterpret_cast<problem_s *>(self);
  if (p->prob == nullptr) {
    PyErr_SetString(nvpy_interf_exc, "The problem has not been initialized");
    return nullptr;
  }
  // The library takes an int: a wider value cut to one would stop with a reason nobody gave
  // (2**31 became -2**31, -2**31-1 became the valid 2**31-1).
  if (reason < INT_MIN || reason > INT_MAX) {
    PyErr_Format(nvpy_interf_exc, "Invalid stop reason %ld: it is out of range", reason);
    return nullptr;
  }
  return result(p, NVRLinterrupt(p->prob, static_cast<int>(reason)));
}

#define KWM(name, doc) {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}

}  // namespace

PyMethodDef problem_methods_solver_ops[] = {
    KWM(lpoptimize, "lpoptimize(flags='')\n\nSolves the continuous relaxation: 'p' primal, 'd' "
                    "dual simplex, 'b' barrier. An exception raised by a callback during the "
                    "solve is raised once it ends.\n\nExample: p.lpoptimize('d')"),
    KWM(mipoptimize, "mipoptimize(flags='')\n\nSolves the mixed-integer problem (flags as for "
                     "lpoptimize).\n\nExample: p.mipoptimize()"),
    KWM(setprobname, "setprobname(probname)\n\nRenames the problem.\n\nExample: "
                     "p.setprobname('plant')"),
    KWM(setlogfile, "setlogfile(filename)\n\nAppends the problem's log lines to a file as well; "
                    "'' stops.\n\nExample: p.setlogfile('run.log')"),
    {"setdefaults", NVRL_PY_setdefaults, METH_NOARGS,
     "setdefaults()\n\nSets every control of the problem to its default.\n\nExample: "
     "p.setdefaults()"},
    {"dumpcontrols", NVRL_PY_dumpcontrols, METH_NOARGS,
     "dumpcontrols()\n\nLogs every control that differs from its default.\n\nExample: "
     "p.dumpcontrols()"},
    KWM(copycontrols, "copycontrols(src)\n\nCopies every control of the problem src.\n\n"
                      "Example: q = nuvrel.problem(); q.copycontrols(p)"),
    KWM(setmessagestatus, "setmessagestatus(msgcode, status)\n\n0 suppresses the log lines of a "
                          "message code, 1 shows them.\n\nExample: p.setmessagestatus(1002, 0)"),
    KWM(getmessagestatus, "getmessagestatus(msgcode)\n\nWhether the lines of a message code are "
                          "shown (1) or suppressed (0).\n\nExample: p.getmessagestatus(1002)"),
    KWM(interrupt, "interrupt(reason)\n\nAsks a running solve to stop (reason > 0 becomes its "
                   "stop status); usable from callbacks.\n\nExample: p.interrupt(9)"),
    {nullptr, nullptr, 0, nullptr},
};

// The tuner: tune (a long-running call, run like the optimisation calls) and its method files.
#include "module/args.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/method_families.h"
#include "problem/problem.h"

namespace {

PyDoc_STRVAR(tune_doc,
             "tune(flags='')\n\n"
             "Solves the problem once for each combination of controls of the tuner's method\n"
             "(see tunerreadmethod) within tuner_time_limit and tuner_run_time_limit, and\n"
             "keeps the fastest combination's controls. 'l' in flags tunes the LP solve of a\n"
             "problem with integer variables. The problem is left without a solution.\n\n"
             "Example: p.controls.tuner_run_time_limit = 10; p.tune()");

PyObject *NVRL_PY_tune(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"flags", nullptr};
  const char *flags = "";
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|s:tune", kwlist, nullptr, &flags)) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  const int rc = problem_run_released(p, [&] { return NVRLtune(p->prob, flags); });
  if (rc != 0) return setNvrlErrIfNull(self, nullptr);
  if (PyErr_Occurred()) return nullptr;  // raised by a callback during a run
  Py_RETURN_NONE;
}

PyDoc_STRVAR(tunerreadmethod_doc,
             "tunerreadmethod(methodfile)\n\n"
             "Reads a tuner method file: lines 'combination' each starting a combination of\n"
             "controls, then one 'name value' line per control; '#' starts a comment. The next\n"
             "tune runs these combinations.\n\n"
             "Example: p.tunerwritemethod('method.txt'); p.tunerreadmethod('method.txt'); p.tune()");

PyDoc_STRVAR(tunerwritemethod_doc,
             "tunerwritemethod(methodfile)\n\n"
             "Writes the tuner's method file: the best combination after a tune, otherwise the\n"
             "combinations the next tune would run.\n\n"
             "Example: p.tune(); p.tunerwritemethod('best.txt')");

template <int (*call)(NVRLprob, const char *)>
PyObject *method_file(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"methodfile", nullptr};
  const char *file = nullptr;
  const char *name = call == NVRLtunerreadmethod ? "tunerreadmethod" : "tunerwritemethod";
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("s", name), kwlist, nullptr, &file))
    return nullptr;
  problem_s *p = problem_ready_for(self, name);
  if (p == nullptr) return nullptr;
  if (call(p->prob, file) != 0) return setNvrlErrIfNull(self, nullptr);
  Py_RETURN_NONE;
}

PyObject *NVRL_PY_tunerreadmethod(PyObject *self, PyObject *args, PyObject *kwargs) {
  return method_file<NVRLtunerreadmethod>(self, args, kwargs);
}

PyObject *NVRL_PY_tunerwritemethod(PyObject *self, PyObject *args, PyObject *kwargs) {
  return method_file<NVRLtunerwritemethod>(self, args, kwargs);
}

}  // namespace

#define ENTRY(name) \
  {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, name##_doc}

PyMethodDef problem_methods_tuning[] = {
    ENTRY(tune),
    ENTRY(tunerreadmethod),
    ENTRY(tunerwritemethod),
    {nullptr, nullptr, 0, nullptr},
};

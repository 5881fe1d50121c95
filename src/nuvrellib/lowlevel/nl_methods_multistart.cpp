// Multistart through the methods of nuvrel.problem: jobs with their own initial values and
// controls, presets, and clearing the queue. Each job carries a Python object the library
// keeps as an opaque pointer; the problem holds a reference to it for as long as the job is
// queued (its msjobs list), so that the pointer stays valid for whoever is handed
// it back.
#include <strings.h>

#include "lowlevel/conv.h"
#include "module/alloc_buffer.h"
#include "module/args.h"
#include "module/methods.h"
#include "module/scalars.h"
#include "module/pyref.h"
#include "lowlevel/nl_methods.h"
#include "nvrl.h"

namespace {

// The controls of a job, split by type as the library takes them.
struct JobControls {
  AllocBuffer<int> int_ids, int_values, dbl_ids;
  AllocBuffer<double> dbl_values;
};

// A control of the nonlinear solver's lists or the optimiser's, by id or by name.
const NVRLcaentry *find_control(problem_s *p, PyObject *key) {
  const char *name = nullptr;
  long long id = -1;
  if (PyUnicode_Check(key)) {
    name = PyUnicode_AsUTF8(key);
    if (name == nullptr) return nullptr;
  } else if (nvo_is_integer(key)) {
    if (nvo_integer_value(key, &id) != 0) return nullptr;
  } else {
    PyErr_SetString(nvpy_interf_exc, "Job controls are keyed by control name or number");
    return nullptr;
  }
  const NVRLcaentry *lists[3] = {};
  NSLPgetcalist(p->slpprob, &lists[0]);
  NSLPgetIPMcalist(p->slpprob, &lists[1]);
  NVRLgetcalist_c(p->prob, &lists[2]);
  for (int l = 0; l < 3; ++l) {
    const int control_flag = l < 2 ? NSLP_CCFLAG_CONTROL : NVRL_CAFLAG_CONTROL;
    for (const NVRLcaentry *e = lists[l]; e != nullptr && e->type != -1; ++e) {
      if ((e->flags & control_flag) == 0) continue;
      if (name != nullptr ? strcasecmp(name, e->name) == 0 : e->id == id) return e;
    }
  }
  PyErr_Format(nvpy_interf_exc, "Unknown control %R in the job's controls", key);
  return nullptr;
}

int convert_controls(problem_s *p, PyObject *dict, JobControls *out) {
  if (dict == nullptr || dict == Py_None) return 0;
  if (!PyDict_Check(dict)) {
    PyErr_SetString(nvpy_interf_exc, "The job's controls must be a dictionary");
    return -1;
  }
  PyObject *key, *value;
  Py_ssize_t pos = 0;
  while (PyDict_Next(dict, &pos, &key, &value)) {
    const NVRLcaentry *e = find_control(p, key);
    if (e == nullptr) return -1;
    if (e->type == NVRL_TYPE_INT || e->type == NVRL_TYPE_INT64) {
      if (!nvo_is_integer(value)) {
        PyErr_Format(nvpy_interf_exc, "Control %s takes an integer value", e->name);
        return -1;
      }
      long long v;
      if (nvo_integer_value(value, &v) != 0) return -1;
      if (!nvo_fits_int(v)) {
        PyErr_Format(nvpy_interf_exc, "Value of control %s out of range", e->name);
        return -1;
      }
      if (out->int_ids.push_back(e->id) != 0 || out->int_values.push_back(static_cast<int>(v)))
        return -1;
    } else if (e->type == NVRL_TYPE_DOUBLE) {
      const double v = PyFloat_AsDouble(value);
      if (v == -1.0 && PyErr_Occurred()) return -1;
      if (out->dbl_ids.push_back(e->id) != 0 || out->dbl_values.push_back(v) != 0) return -1;
    } else {
      PyErr_Format(nvpy_interf_exc, "Control %s cannot be set for a job", e->name);
      return -1;
    }
  }
  return 0;
}

const char *description_of(PyObject *obj) {
  if (obj == nullptr || obj == Py_None) return nullptr;
  if (PyUnicode_Check(obj)) return PyUnicode_AsUTF8(obj);
  if (PyBytes_Check(obj)) return PyBytes_AS_STRING(obj);
  PyErr_SetString(nvpy_interf_exc, "The job's description must be a string");
  return nullptr;
}

// None stands for no object: the library then holds a null pointer.
void *job_pointer(PyObject *object) { return object == Py_None ? nullptr : object; }

// Keeps object alive for the library's copy of its pointer. 0, or -1 with an exception set.
int keep_job_object(problem_s *p, PyObject *object) {
  if (p->msjobs == nullptr && (p->msjobs = PyList_New(0)) == nullptr) return -1;
  return PyList_Append(p->msjobs, object);
}

// Gives back the reference taken last, for a job the library refused. Keeps the pending
// exception.
void drop_last_job_object(problem_s *p) {
  PendingError pending;
  const Py_ssize_t n = PyList_GET_SIZE(p->msjobs);
  if (n > 0) PyList_SetSlice(p->msjobs, n - 1, n, nullptr);
}

// msaddjob and msaddcustompreset share this body; preset < 0 queues one explicit job.
PyObject *job_body(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                   bool custom) {
  static const char *job_kw[] = {"description", "ivcols", "ivvalues", "control", "job_object",
                                 nullptr};
  static const char *custom_kw[] = {"description", "preset",  "count",      "ivcols",
                                    "ivvalues",    "control", "job_object", nullptr};
  PyObject *description = Py_None, *ivcols = Py_None, *ivvalues = Py_None, *control = Py_None,
           *job_object = Py_None;
  int preset = -1, count = 0;
  const bool ok =
      custom
          ? nvo_ParseTupleAndKeywords(args, kwargs, method_format("Oii|OOOO", name), custom_kw,
                                      nullptr, &description, &preset, &count, &ivcols, &ivvalues,
                                      &control, &job_object)
          : nvo_ParseTupleAndKeywords(args, kwargs, method_format("|OOOOO", name), job_kw, nullptr,
                                      &description, &ivcols, &ivvalues, &control, &job_object);
  if (!ok) return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  const char *text = description_of(description);
  if (text == nullptr && PyErr_Occurred()) return nullptr;
  int64_t n = -1;
  ConvArray<int> cols;
  ConvArray<double> values;
  if (cols.convert(p, &n, ivcols, CONV_COL) != 0 ||
      values.convert(p, &n, ivvalues, CONV_DOUBLE) != 0)
    return setNvrlErrIfNull(self, nullptr);
  if (cols.given() != values.given()) {
    PyErr_SetString(nvpy_interf_exc, "Initial-value columns and values must be given together");
    return nullptr;
  }
  if (nvo_nl_fits(n) != 0) return nullptr;
  JobControls c;
  if (convert_controls(p, control, &c) != 0) return nullptr;
  const int ninitial = n < 0 ? 0 : static_cast<int>(n);
  const int nint = static_cast<int>(c.int_ids.size()), ndbl = static_cast<int>(c.dbl_ids.size());
  void *object = job_pointer(job_object);
  if (object != nullptr && keep_job_object(p, job_object) != 0) return nullptr;
  const int rc =
      custom ? NSLPmsaddcustompreset(p->slpprob, text, preset, count, ninitial, cols.get(),
                                     values.get(), nint, c.int_ids.data(), c.int_values.data(),
                                     ndbl, c.dbl_ids.data(), c.dbl_values.data(), object)
             : NSLPmsaddjob(p->slpprob, text, ninitial, cols.get(), values.get(), nint,
                            c.int_ids.data(), c.int_values.data(), ndbl, c.dbl_ids.data(),
                            c.dbl_values.data(), object);
  if (rc != 0) {
    nvo_nl_fail(p);
    if (object != nullptr) drop_last_job_object(p);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_msaddjob(PyObject *self, PyObject *args, PyObject *kwargs) {
  return job_body(self, args, kwargs, "msaddjob", false);
}
PyObject *NSLP_PY_msaddcustompreset(PyObject *self, PyObject *args, PyObject *kwargs) {
  return job_body(self, args, kwargs, "msaddcustompreset", true);
}

PyObject *NSLP_PY_msaddpreset(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"description", "preset", "maxjobs", "data", nullptr};
  PyObject *description = Py_None, *data = Py_None;
  int preset = 0, maxjobs = 0;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "Oii|O:msaddpreset", kw, nullptr, &description,
                                 &preset, &maxjobs, &data))
    return nullptr;
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  const char *text = description_of(description);
  if (text == nullptr && PyErr_Occurred()) return nullptr;
  void *object = job_pointer(data);
  if (object != nullptr && keep_job_object(p, data) != 0) return nullptr;
  if (NSLPmsaddpreset(p->slpprob, text, preset, maxjobs, object) != 0) {
    nvo_nl_fail(p);
    if (object != nullptr) drop_last_job_object(p);
    return nullptr;
  }
  Py_RETURN_NONE;
}

PyObject *NSLP_PY_msclear(PyObject *self, PyObject *) {
  problem_s *p = NL_READY(self);
  if (p == nullptr) return nullptr;
  if (NSLPmsclear(p->slpprob) != 0) return nvo_nl_fail(p);
  Py_CLEAR(p->msjobs);
  Py_RETURN_NONE;
}

}  // namespace

PyMethodDef problem_methods_nl_multistart[] = {
    NL_ENTRY(msaddjob,
             "msaddjob(description=None, ivcols=None, ivvalues=None, control=None,\n"
             "job_object=None)\n\nQueues a multistart job: the next nlpoptimize solves the\n"
             "problem once more from the initial values ivvalues of the columns ivcols, with\n"
             "the controls of the dictionary control (name or number -> value) in force for\n"
             "the job only, and keeps the best answer. job_object is kept with the job until\n"
             "msclear.\n\nExample: p.msaddjob('from 2', [x], [2.0], {'nslp_penalty': 10.0})"),
    NL_ENTRY(msaddpreset,
             "msaddpreset(description, preset, maxjobs, data=None)\n\nQueues up to maxjobs\n"
             "jobs of a preset (0 random starting points, 2 and 3 penalty and step-bound\n"
             "variations, 6 filtered starting points, 7 perturbations); data goes with each.\n\n"
             "Example: p.msaddpreset('random', 0, 5)"),
    NL_ENTRY(msaddcustompreset,
             "msaddcustompreset(description, preset, count, ivcols=None, ivvalues=None,\n"
             "control=None, job_object=None)\n\nAs msaddpreset, every job also getting the\n"
             "initial values and controls given as for msaddjob.\n\n"
             "Example: p.msaddcustompreset('grid', 2, 4, control={'nslp_iteration_limit': 50})"),
    {"msclear", NSLP_PY_msclear, METH_NOARGS,
     "msclear()\n\nRemoves every queued multistart job (and the objects kept with them)."},
    {nullptr, nullptr, 0, nullptr},
};

// Module functions that manage the library: start and release, version and banner, checked
// mode, architecture consistency, and the module-level default controls.
#include "module/functions.h"

#include <cstring>
#include <string>

#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/scalars.h"
#include "nvrl.h"
#include "module/casing.h"

namespace {

// None for a library call that returned 0, else null (setNvrlErrIfNull then supplies the
// library's error).
PyObject *none_if_ok(int rc) {
  if (rc != 0) return nullptr;
  Py_RETURN_NONE;
}

// Starts the library and returns the text that get writes into a zeroed buffer of N bytes.
template <size_t N>
PyObject *library_text(int (*get)(char *)) {
  PyObject *result = nullptr;
  if (turnNVRLon(0) == 0) {
    char text[N];
    std::memset(text, 0, sizeof text);
    if (get(text) == 0) result = PyUnicode_FromString(text);
  }
  return setNvrlErrIfNull(nullptr, result);
}

}  // namespace

const char nuvrelmod_init_doc[] =
    "Purpose:\n"
    "  Starts the solver library now rather than at its first use.\n\n"
    "Synopsis:\n"
    "  nuvrel.init()\n\n"
    "Arguments:\n"
    "  None.\n\n"
    "Example:\n"
    "  nuvrel.init()\n"
    "  p = nuvrel.problem()\n";

PyObject *nuvrelmod_init(PyObject *self, PyObject *unused) {
  return setNvrlErrIfNull(nullptr, none_if_ok(turnNVRLon(1)));
}

const char nuvrelmod_free_doc[] =
    "Purpose:\n"
    "  Releases the solver library, even while problems still use it; their later library\n"
    "  calls then fail.\n\n"
    "Synopsis:\n"
    "  nuvrel.free()\n\n"
    "Arguments:\n"
    "  None.\n\n"
    "Example:\n"
    "  nuvrel.init()\n"
    "  ...\n"
    "  nuvrel.free()\n";

PyObject *nuvrelmod_free(PyObject *self, PyObject *unused) {
  return setNvrlErrIfNull(nullptr, none_if_ok(turnNVRLoff(1)));
}

const char nuvrelmod_getversion_doc[] =
    "Purpose:\n"
    "  Returns the version of the solver library.\n\n"
    "Synopsis:\n"
    "  v = nuvrel.getversion()\n\n"
    "Arguments:\n"
    "  None.\n\n"
    "Example:\n"
    "  print('solver library', nuvrel.getversion())\n";

PyObject *nuvrelmod_getversion(PyObject *self, PyObject *unused) {
  return library_text<NVRL_MAXVERSIONLEN>(NVRLgetversion);
}

const char nuvrelmod_getbanner_doc[] =
    "Purpose:\n"
    "  Returns the banner of the solver library: its name, version and copyright line.\n\n"
    "Synopsis:\n"
    "  b = nuvrel.getbanner()\n\n"
    "Arguments:\n"
    "  None.\n\n"
    "Example:\n"
    "  print(nuvrel.getbanner())\n";

PyObject *nuvrelmod_getbanner(PyObject *self, PyObject *unused) {
  return library_text<NVRL_MAXBANNERLEN>(NVRLgetbanner);
}

const char nuvrelmod_getcheckedmode_doc[] =
    "Purpose:\n"
    "  Tells whether the solver library checks every argument of its calls (checked mode).\n\n"
    "Synopsis:\n"
    "  on = nuvrel.getcheckedmode()\n\n"
    "Arguments:\n"
    "  None.\n\n"
    "Example:\n"
    "  if nuvrel.getcheckedmode():\n"
    "      print('arguments are checked')\n";

PyObject *nuvrelmod_getcheckedmode(PyObject *self, PyObject *unused) {
  PyObject *result = nullptr;
  if (turnNVRLon(0) == 0) {
    int checked = 0;
    if (NVRLgetcheckedmode(&checked) == 0) result = PyBool_FromLong(checked != 0);
  }
  return setNvrlErrIfNull(nullptr, result);
}

const char nuvrelmod_setcheckedmode_doc[] =
    "Purpose:\n"
    "  Switches the library's checked mode on (True) or off (anything else). Without checks\n"
    "  calls are slightly faster but bad arguments are not diagnosed.\n\n"
    "Synopsis:\n"
    "  nuvrel.setcheckedmode(checked_mode)\n\n"
    "Arguments:\n"
    "  checked_mode: True to check arguments; any other value, 1 included, switches checks "
    "off.\n\n"
    "Example:\n"
    "  nuvrel.setcheckedmode(False)\n";

PyObject *nuvrelmod_setcheckedmode(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"checked_mode", nullptr};
  PyObject *flag = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O:setcheckedmode", kwlist, nullptr, &flag))
    return nullptr;
  if (turnNVRLon(0) != 0) return setNvrlErrIfNull(nullptr, nullptr);
  // Only the object True switches checking on: checks cost time on every library call, so
  // they run only when asked for unmistakably (1 or a numpy bool is not taken as a yes).
  return setNvrlErrIfNull(nullptr,
                          none_if_ok(NVRLsetcheckedmode(nvo_flag_is_true(flag) ? 1 : 0)));
}

const char nuvrelmod_setarchconsistency_doc[] =
    "Purpose:\n"
    "  Asks the library for results that are identical on every machine architecture\n"
    "  (fixed thread count, deterministic algorithms).\n\n"
    "Synopsis:\n"
    "  nuvrel.setarchconsistency(ifArchConsistent)\n\n"
    "Arguments:\n"
    "  ifArchConsistent: None or False to switch it off; any other value, 0 included,\n"
    "                    switches it on.\n\n"
    "Example:\n"
    "  nuvrel.setarchconsistency(True)\n";

PyObject *nuvrelmod_setarchconsistency(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"ifArchConsistent", nullptr};
  PyObject *flag = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "O:setarchconsistency", kwlist, nullptr, &flag))
    return nullptr;
  // A global setting of the library: it needs no start.
  int on = nvo_flag_not_off(flag) ? 1 : 0;
  return setNvrlErrIfNull(nullptr, none_if_ok(NVRL_ge_setarchconsistency(on)));
}

const char nuvrelmod_setdefaultcontrol_doc[] =
    "Purpose:\n"
    "  Removes one module-level default control, so that new problems get the library's\n"
    "  own default for it. A name that is no control is accepted and ignored.\n\n"
    "Synopsis:\n"
    "  nuvrel.setdefaultcontrol(ipar)\n\n"
    "Arguments:\n"
    "  ipar: the control's name, all lower case or all upper case.\n\n"
    "Example:\n"
    "  nuvrel.controls.miptol = 1e-4\n"
    "  nuvrel.setdefaultcontrol('miptol')\n";

PyObject *nuvrelmod_setdefaultcontrol(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kwlist[] = {"ipar", nullptr};
  const char *name = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "s:setdefaultcontrol", kwlist, nullptr, &name))
    return nullptr;
  std::string lower;
  if (to_lowercase_all(name, &lower) != 0) return nullptr;
  bool done = false;
  {
    EnvLock lock(nvr_py_env.mtx_defaults);
    PyObject *dict = nvr_py_env.default_controls;
    PyObject *present = PyDict_GetItemString(dict, lower.c_str());
    done = present == nullptr || PyDict_DelItemString(dict, lower.c_str()) == 0;
  }
  if (!done) return nvo_library_error(nullptr);
  Py_RETURN_NONE;
}

const char nuvrelmod_setdefaults_doc[] =
    "Purpose:\n"
    "  Removes every module-level default control, the start-up default of nslp_postsolve\n"
    "  included: new problems then get the library's own defaults.\n\n"
    "Synopsis:\n"
    "  nuvrel.setdefaults()\n\n"
    "Arguments:\n"
    "  None.\n\n"
    "Example:\n"
    "  nuvrel.setdefaults()\n"
    "  p = nuvrel.problem()\n";

PyObject *nuvrelmod_setdefaults(PyObject *self, PyObject *unused) {
  {
    EnvLock lock(nvr_py_env.mtx_defaults);
    PyDict_Clear(nvr_py_env.default_controls);
  }
  Py_RETURN_NONE;
}

// vars() itself lives with the variable type; its entry in the module's table uses this text.
const char nuvrelmod_vars_doc[] =
    "Purpose:\n"
    "  Creates an indexed collection of new variables with common bounds and type.\n\n"
    "Synopsis:\n"
    "  x = nuvrel.vars(*indices, name='x', lb=0, ub=nuvrel.infinity, threshold=0,\n"
    "                  vartype=nuvrel.continuous)\n\n"
    "Arguments:\n"
    "  indices:   one or more index sets: lists, sets, ranges or other iterables, or a\n"
    "             number k standing for range(k). With numbers only, the result is a numpy\n"
    "             array of variables with those dimensions; otherwise a dictionary keyed by\n"
    "             the index tuples of the Cartesian product.\n"
    "  name:      prefix of the names; a variable's name is the prefix followed by its\n"
    "             indices in parentheses, for example y(a,2).\n"
    "  lb, ub:    lower and upper bound of every variable.\n"
    "  threshold: threshold of semi-continuous, semi-integer and partially integer variables.\n"
    "  vartype:   nuvrel.continuous, binary, integer, semicontinuous, semiinteger or\n"
    "             partiallyinteger.\n\n"
    "Example:\n"
    "  x = nuvrel.vars(['a', 'b'], range(3), name='x', vartype=nuvrel.binary)\n"
    "  y = nuvrel.vars(range(4), range(5), lb=-1, ub=1)\n";

// The module nuvrellib: its method table, import (PyInit_nuvrellib) and teardown. This is the
// one file above every layer: it assembles their types and functions and hands the lower
// layers what they need from the higher ones (error sources, the name-table filler).
#include <Python.h>

#include <utility>

#include "module/constants.h"
#include "module/element_types.h"
#include "module/env.h"
#include "module/env_setup.h"
#include "module/functions.h"
#include "callbacks/branchobj.h"
#include "module/methods.h"
#include "module/pyref.h"
#include "model/sum.h"
#include "model/var.h"
#include "arrays/arrays.h"
#include "nonlinear/nonlin.h"
#include "nonlinear/user.h"
#include "module/errors.h"
#include "nvrl.h"
#include "problem/ctrl.h"
#include "problem/evaluate.h"
#include "problem/method_families.h"
#include "problem/nametables.h"
#include "problem/problem.h"

PyObject *nvpy_model_exc = nullptr;
PyObject *nvpy_interf_exc = nullptr;
PyObject *nvpy_solver_exc = nullptr;

namespace {

constexpr int kInterpreterApiVersion = 1013;
// Set once import has completed, so that teardown releases only what import made.
bool module_ready = false;

PyMethodDef nuvrel_methods[] = {
    {"Sum", nuvrelmod_Sum, METH_VARARGS, nuvrelmod_Sum_doc},
    {"Prod", nuvrelmod_Prod, METH_VARARGS, nuvrelmod_Prod_doc},
    {"Dot", NVO_KW_METHOD(nuvrelmod_Dot), METH_VARARGS | METH_KEYWORDS, nuvrelmod_Dot_doc},
    {"sin", nuvrelmod_sin, METH_O, nuvrelmod_sin_doc},
    {"cos", nuvrelmod_cos, METH_O, nuvrelmod_cos_doc},
    {"tan", nuvrelmod_tan, METH_O, nuvrelmod_tan_doc},
    {"asin", nuvrelmod_asin, METH_O, nuvrelmod_asin_doc},
    {"acos", nuvrelmod_acos, METH_O, nuvrelmod_acos_doc},
    {"atan", nuvrelmod_atan, METH_O, nuvrelmod_atan_doc},
    {"exp", nuvrelmod_exp, METH_O, nuvrelmod_exp_doc},
    {"log", nuvrelmod_log, METH_O, nuvrelmod_log_doc},
    {"log10", nuvrelmod_log10, METH_O, nuvrelmod_log10_doc},
    {"abs", nuvrelmod_abs, METH_O, nuvrelmod_abs_doc},
    {"sqrt", nuvrelmod_sqrt, METH_O, nuvrelmod_sqrt_doc},
    {"sign", nuvrelmod_sign, METH_O, nuvrelmod_sign_doc},
    {"erf", nuvrelmod_erf, METH_O, nuvrelmod_erf_doc},
    {"erfc", nuvrelmod_erfc, METH_O, nuvrelmod_erfc_doc},
    {"max", nuvrelmod_max, METH_VARARGS, nuvrelmod_max_doc},
    {"min", nuvrelmod_min, METH_VARARGS, nuvrelmod_min_doc},
    {"user", NVO_KW_METHOD(nuvrelmod_user), METH_VARARGS | METH_KEYWORDS, nuvrelmod_user_doc},
    {"getlasterror", nuvrelmod_getlasterror, METH_NOARGS, nuvrelmod_getlasterror_doc},
    {"getversion", nuvrelmod_getversion, METH_NOARGS, nuvrelmod_getversion_doc},
    {"getcheckedmode", nuvrelmod_getcheckedmode, METH_NOARGS, nuvrelmod_getcheckedmode_doc},
    {"setcheckedmode", NVO_KW_METHOD(nuvrelmod_setcheckedmode), METH_VARARGS | METH_KEYWORDS,
     nuvrelmod_setcheckedmode_doc},
    {"setdefaultcontrol", NVO_KW_METHOD(nuvrelmod_setdefaultcontrol),
     METH_VARARGS | METH_KEYWORDS, nuvrelmod_setdefaultcontrol_doc},
    {"setdefaults", nuvrelmod_setdefaults, METH_NOARGS, nuvrelmod_setdefaults_doc},
    {"addcbmsghandler", NVO_KW_METHOD(nuvrelmod_addcbmsghandler), METH_VARARGS | METH_KEYWORDS,
     nuvrelmod_addcbmsghandler_doc},
    {"removecbmsghandler", NVO_KW_METHOD(nuvrelmod_removecbmsghandler),
     METH_VARARGS | METH_KEYWORDS, nuvrelmod_removecbmsghandler_doc},
    {"getbanner", nuvrelmod_getbanner, METH_NOARGS, nuvrelmod_getbanner_doc},
    {"init", nuvrelmod_init, METH_NOARGS, nuvrelmod_init_doc},
    {"free", nuvrelmod_free, METH_NOARGS, nuvrelmod_free_doc},
    {"vars", NVO_KW_METHOD(nuvrelmod_vars), METH_VARARGS | METH_KEYWORDS, nuvrelmod_vars_doc},
    {"setarchconsistency", NVO_KW_METHOD(nuvrelmod_setarchconsistency),
     METH_VARARGS | METH_KEYWORDS, nuvrelmod_setarchconsistency_doc},
    {"evaluate", NVO_KW_METHOD(nuvrelmod_evaluate), METH_VARARGS | METH_KEYWORDS,
     nuvrelmod_evaluate_doc},
    {"pwl", nuvrelmod_pwl, METH_O, nuvrelmod_pwl_doc},
    {"And", nuvrelmod_And, METH_VARARGS, nuvrelmod_And_doc},
    {"Or", nuvrelmod_Or, METH_VARARGS, nuvrelmod_Or_doc},
    {"getOutputEnabled", nuvrelmod_getOutputEnabled, METH_NOARGS,
     nuvrelmod_getOutputEnabled_doc},
    {"setOutputEnabled", nuvrelmod_setOutputEnabled, METH_O, nuvrelmod_setOutputEnabled_doc},
    {nullptr, nullptr, 0, nullptr},
};

void nuvrelmod_freeModule(void *module);

PyModuleDef nuvrel_module = {
    .m_base = PyModuleDef_HEAD_INIT,
    .m_name = "nuvrellib",
    .m_doc = "Creates, solves, queries and handles optimization problems with the nuvrel "
             "solver library.",
    .m_size = -1,
    .m_methods = nuvrel_methods,
    .m_free = nuvrelmod_freeModule,
};

// In the order they are made ready at import.
PyTypeObject *const all_types[] = {
    &var_type,     &sos_type,      &expression_type, &constraint_type, &ctrl_type,
    &attr_type,    &problem_type,  &branchobj_type,  &poolcut_type,    &nvrlobject_type,
    &voidstar_type, &linterm_type, &quadterm_type,   &nonlin_type,
};

int ready_types() {
  if (problem_build_method_table() != 0) return -1;
  nonlin_install();
  arrays_install();
  for (PyTypeObject *type : all_types) {
    // Types with a creation routine of their own keep it: fresh identifiers, or a refusal
    // for the types whose objects only the module makes.
    if (type->tp_new == nullptr) type->tp_new = PyType_GenericNew;
    if (PyType_Ready(type) < 0) return -1;
  }
  return 0;
}

int add_object(PyObject *module, const char *name, PyObject *obj) {
  return PyModule_AddObjectRef(module, name, obj) != 0 ? -1 : 0;
}

int add_types_and_exceptions(PyObject *module) {
  const std::pair<const char *, PyObject *> published[] = {
      {"var", reinterpret_cast<PyObject *>(&var_type)},
      {"expression", reinterpret_cast<PyObject *>(&expression_type)},
      {"sos", reinterpret_cast<PyObject *>(&sos_type)},
      {"constraint", reinterpret_cast<PyObject *>(&constraint_type)},
      {"problem", reinterpret_cast<PyObject *>(&problem_type)},
      {"branchobj", reinterpret_cast<PyObject *>(&branchobj_type)},
      {"poolcut", reinterpret_cast<PyObject *>(&poolcut_type)},
      {"ModelError", nvpy_model_exc},
      {"InterfaceError", nvpy_interf_exc},
      {"SolverError", nvpy_solver_exc},
  };
  for (const auto &[name, obj] : published)
    if (add_object(module, name, obj) != 0) return -1;
  return 0;
}

int create_exceptions() {
  nvpy_model_exc = PyErr_NewException("nuvrel.ModelError", nullptr, nullptr);
  nvpy_interf_exc = PyErr_NewException("nuvrel.InterfaceError", nullptr, nullptr);
  nvpy_solver_exc = PyErr_NewException("nuvrel.SolverError", nullptr, nullptr);
  return nvpy_model_exc && nvpy_interf_exc && nvpy_solver_exc ? 0 : -1;
}

// Module teardown: the exception types are plain globals, nulled before their release.
void release_exceptions() {
  Py_CLEAR(nvpy_model_exc);
  Py_CLEAR(nvpy_interf_exc);
  Py_CLEAR(nvpy_solver_exc);
}

int init_structures(PyObject *module) {
  nvr_py_env.next_var_id = 1;
  nvr_py_env.next_con_id = 1;
  nvr_py_env.next_sos_id = 1;
  return nvo_add_constants(module);
}

int add_element_types(PyObject *module) {
  PyObject *types[] = {nvr_py_env.npvar, nvr_py_env.npexpr, nvr_py_env.npconstraint};
  const char *names[] = {"npvar", "npexpr", "npconstraint"};
  for (int i = 0; i < 3; ++i)
    if (add_object(module, names[i], types[i] != nullptr ? types[i] : Py_None) != 0) return -1;
  return 0;
}

// New problems get nonlinear postsolve switched on unless the user removes this default.
int seed_startup_defaults() {
  PyRef one(PyLong_FromLong(1));
  if (!one) return -1;
  int rc = PyDict_SetItemString(reinterpret_cast<ctrl_s *>(nvr_py_env.controls)->dict,
                                "nslp_postsolve", one.get());
  if (rc == 0) {
    EnvLock lock(nvr_py_env.mtx_defaults);
    rc = PyDict_SetItemString(nvr_py_env.default_controls, "nslp_postsolve", one.get());
  }
  return rc;
}

int build_module(PyObject *module) {
  if (env_create_containers() != 0) return -1;
  nvr_py_env.controls = ctrl_create(nullptr);
  if (nvr_py_env.controls == nullptr) return -1;
  nvo_fill_name_tables = ctrl_attr_fill_typeobj;
  nvo_register_error_source(&problem_error_source);
  nvo_register_error_source(&branchobj_error_source);
  if (ctrl_attr_fill_typeobj(0) != 0) return -1;
  if (create_exceptions() != 0) return -1;
  if (add_types_and_exceptions(module) != 0) return -1;
  if (setAltNumOps(module) != 0) return -1;
  if (init_structures(module) != 0) return -1;
  if (add_element_types(module) != 0) return -1;
  if (seed_startup_defaults() != 0) return -1;
  return add_object(module, "controls", nvr_py_env.controls);
}

void nuvrelmod_freeModule(void *module) {
  if (!module_ready) return;
  module_ready = false;
  // The library keeps raw pointers to the handler entries: unregister them before the list
  // that owns them goes.
  NVRL_ge_removecbmsghandler(wrapper_msghandler, nullptr);
  env_release_containers();
  if (turnNVRLoff(0) != 0) PyErr_Clear();
  destroy_mutexes();
}

}  // namespace

PyMODINIT_FUNC PyInit_nuvrellib() {
  init_mutexes();
  PyRef module;
  if (ready_types() == 0) module = PyRef(PyModule_Create2(&nuvrel_module, kInterpreterApiVersion));
  if (module && build_module(module.get()) == 0) {
    module_ready = true;
    return module.release();
  }
  // Every failure ends here and undoes what was set up, in reverse order.
  if (module) {
    env_release_containers();
    release_exceptions();
    if (!PyErr_Occurred())
      PyErr_SetString(PyExc_RuntimeError, "Error initializing the Nuvrel module");
    module.reset();
  }
  destroy_mutexes();
  return nullptr;
}

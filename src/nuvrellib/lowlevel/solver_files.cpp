// Low-level file methods: snapshots of the whole problem (save, restore), solution files in
// their text, printable and binary forms, basis files and directive files.
#include "lowlevel/lowlevel.h"
#include "model/sos.h"
#include "module/args.h"
#include "module/env.h"
#include "module/errors.h"
#include "module/methods.h"
#include "problem/files.h"
#include "problem/method_families.h"

namespace {

inline PyObject *result(problem_s *p, int rc) {
  if (rc != 0) return setNvrlErrIfNull(reinterpret_cast<PyObject *>(p), nullptr);
  Py_RETURN_NONE;
}

// Nonlinear problems go to the nonlinear solver's snapshot calls, which hold both layers.
bool nonlinear(const problem_s *p) {
  return problem_is_nonlinear(p) && p->slpprob != nullptr && nslp_state(-1) == 1;
}

// (name, flags="") parsed by format ("s|s:method", or "|ss:method" when the name may be left
// out), then the entry check: the problem, or null with an exception set.
problem_s *name_and_flags(PyObject *self, PyObject *args, PyObject *kwargs, const char *format,
                          const char *name_kw, const char **name, const char **flags) {
  const char *kw[] = {name_kw, "flags", nullptr};
  if (!nvo_ParseTupleAndKeywords(args, kwargs, format, kw, nullptr, name, flags)) return nullptr;
  return problem_ready(self);
}

PyObject *NVRL_PY_save(PyObject *self, PyObject *args, PyObject *kwargs) {
  static const char *kw[] = {"filename", nullptr};
  const char *filename = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, "|s:save", kw, nullptr, &filename)) return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  int rc;
  if (nonlinear(p))
    rc = filename ? NSLPsaveas(p->slpprob, filename) : NSLPsave(p->slpprob);
  else
    rc = filename ? NVRLsaveas(p->prob, filename) : NVRLsave(p->prob);
  return result(p, rc);
}

// The restored model replaces the old one wholesale: the old modelling objects leave the
// problem and new ones stand for the restored columns, rows and sets.
PyObject *NVRL_PY_restore(PyObject *self, PyObject *args, PyObject *kwargs) {
  const char *probname = nullptr, *flags = "";
  problem_s *p = name_and_flags(self, args, kwargs, "s|s:restore", "probname", &probname, &flags);
  if (p == nullptr) return nullptr;
  const int rc = nonlinear(p) ? NSLPrestore(p->slpprob, probname)
                              : NVRLrestore(p->prob, probname, flags);
  if (rc != 0) return result(p, rc);
  nvo_drop_added_objects(p->vars, p->varmap, 0, true);
  nvo_drop_added_objects(p->cons, p->conmap, 0, false);
  rowcolmap_clear(p->sosmap);
  if (PyList_SetSlice(p->sets, 0, PyList_GET_SIZE(p->sets), nullptr) != 0) return nullptr;
  if (problem_objects_from_library(p) != 0) return nullptr;
  Py_RETURN_NONE;
}

using FileCall = int (*)(NVRLprob, const char *, const char *);

// filename (required) and flags (default "").
PyObject *file_flags(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                     FileCall call) {
  const char *filename = nullptr, *flags = "";
  problem_s *p =
      name_and_flags(self, args, kwargs, method_format("s|s", name), "filename", &filename, &flags);
  if (p == nullptr) return nullptr;
  return result(p, call(p->prob, filename, flags));
}

#define FILE_METHOD(name)                                                      \
  PyObject *NVRL_PY_##name(PyObject *self, PyObject *args, PyObject *kwargs) { \
    return file_flags(self, args, kwargs, #name, NVRL##name);                  \
  }
FILE_METHOD(writesol)
FILE_METHOD(writeprtsol)
FILE_METHOD(writebinsol)
FILE_METHOD(readslxsol)
FILE_METHOD(readbinsol)
FILE_METHOD(readbasis)

PyObject *NVRL_PY_writeslxsol(PyObject *self, PyObject *args, PyObject *kwargs) {
  const char *filename = nullptr, *flags = "";
  problem_s *p =
      name_and_flags(self, args, kwargs, "s|s:writeslxsol", "filename", &filename, &flags);
  if (p == nullptr) return nullptr;
  return result(p, nonlinear(p) ? NSLPwriteslxsol(p->slpprob, filename, flags)
                                : NVRLwriteslxsol(p->prob, filename, flags));
}

// Both arguments optional: without a file name the library writes "<problem name>.bss".
PyObject *NVRL_PY_writebasis(PyObject *self, PyObject *args, PyObject *kwargs) {
  const char *filename = nullptr, *flags = "";
  problem_s *p =
      name_and_flags(self, args, kwargs, "|ss:writebasis", "filename", &filename, &flags);
  if (p == nullptr) return nullptr;
  return result(p, NVRLwritebasis(p->prob, filename, flags));
}

PyObject *dirs_file(PyObject *self, PyObject *args, PyObject *kwargs, const char *name,
                    int (*call)(NVRLprob, const char *)) {
  static const char *kw[] = {"filename", nullptr};
  const char *filename = nullptr;
  if (!nvo_ParseTupleAndKeywords(args, kwargs, method_format("s", name), kw, nullptr, &filename))
    return nullptr;
  problem_s *p = problem_ready(self);
  if (p == nullptr) return nullptr;
  return result(p, call(p->prob, filename));
}

PyObject *NVRL_PY_writedirs(PyObject *self, PyObject *args, PyObject *kwargs) {
  return dirs_file(self, args, kwargs, "writedirs", NVRLwritedirs);
}

PyObject *NVRL_PY_readdirs(PyObject *self, PyObject *args, PyObject *kwargs) {
  return dirs_file(self, args, kwargs, "readdirs", NVRLreaddirs);
}

#define KWM(name, doc) {#name, NVO_KW_METHOD(NVRL_PY_##name), METH_VARARGS | METH_KEYWORDS, doc}

}  // namespace

PyMethodDef problem_methods_solver_files[] = {
    KWM(save, "save(filename=None)\n\nWrites a snapshot of the whole problem (model, controls, "
              "answers); without a file name to '<problem name>.svf'.\n\nExample: "
              "p.save('before.svf')"),
    KWM(restore, "restore(probname, flags='')\n\nReplaces the problem by a snapshot; 'c' keeps "
                 "the current controls, 'n' leaves out the saved answers. Variables and "
                 "constraints are created anew.\n\nExample: p.save('before.svf'); p.restore('before.svf')"),
    KWM(writesol, "writesol(filename, flags='')\n\nWrites the answers as comma-separated values; "
                  "'x' columns only.\n\nExample: p.writesol('answers.csv')"),
    KWM(writeprtsol, "writeprtsol(filename, flags='')\n\nWrites the answers as a printable "
                     "report; 'x' columns only.\n\nExample: p.writeprtsol('answers.txt')"),
    KWM(writebinsol, "writebinsol(filename, flags='')\n\nWrites the answers (and basis) bit for "
                     "bit to a binary solution file.\n\nExample: p.writebinsol('answers.bsol')"),
    KWM(writeslxsol, "writeslxsol(filename, flags='')\n\nWrites the solution as a solution file; "
                     "'s' slacks, 'd' duals, 'r' reduced costs.\n\nExample: "
                     "p.writeslxsol('x.slx', 'sdr')"),
    KWM(readslxsol, "readslxsol(filename, flags='')\n\nReads a solution file as the next "
                    "solve's start; 'x' values only.\n\nExample: p.writeslxsol('x.slx'); p.readslxsol('x.slx')"),
    KWM(readbinsol, "readbinsol(filename, flags='')\n\nReads a binary solution file as the next "
                    "solve's start (its basis, or its values); 'x' values only.\n\nExample: "
                    "p.writebinsol('a.bsol'); p.readbinsol('a.bsol')"),
    KWM(readbasis, "readbasis(filename, flags='')\n\nLoads a basis file (MPS basis format).\n\n"
                   "Example: p.writebasis('opt.bss'); p.readbasis('opt.bss')"),
    KWM(writebasis, "writebasis(filename=None, flags='')\n\nWrites the basis in the MPS basis "
                    "format; 'a' lists every nonbasic column.\n\nExample: "
                    "p.writebasis('opt.bss')"),
    KWM(writedirs, "writedirs(filename)\n\nWrites the branching directives to a file.\n\n"
                   "Example: p.writedirs('search.dir')"),
    KWM(readdirs, "readdirs(filename)\n\nReplaces the branching directives by those of a file."
                  "\n\nExample: p.writedirs('search.dir'); p.readdirs('search.dir')"),
    {nullptr, nullptr, 0, nullptr},
};

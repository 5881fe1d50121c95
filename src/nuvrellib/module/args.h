// Argument parsing shared by every Python-visible function: a keyword parser that accepts a
// second (legacy) list of keyword names, and the missing-argument messages.
#pragma once

#include <Python.h>

// Parses like PyArg_ParseTupleAndKeywords with kwlist; if that fails and kwlist_alt is not
// null, retries with kwlist_alt (same length and order, other names). When both fail the
// error of the first attempt is reported. Returns non-zero on success.
int nvo_ParseTupleAndKeywords(PyObject *args, PyObject *kwargs, const char *format,
                              const char **kwlist, const char **kwlist_alt, ...);

// A parse format with ":name" appended, for parsing shared by several methods: argument errors
// then name the method called ("getlb() takes at most 3 arguments") rather than "function".
class method_format {
 public:
  method_format(const char *format, const char *name);
  operator const char *() const { return text_; }

 private:
  char text_[96];
};

// For methods of positional arguments only that are called with keywords too: 0, or -1 with a
// TypeError "name() takes no keyword arguments" when kwargs holds any (which would otherwise
// be dropped without a word, with the objects they name).
int nvo_no_keywords(const char *name, PyObject *kwargs);

// Raises InterfaceError "Must provide argument(s) ..." naming kwlist[first..last-1].
void nvo_PyErr_MissingArgsRange(const char **kwlist, int first, int last);

// For required arguments parsed as optional ("|O..."), so that every missing one is named:
// values[i] is the parsed object of kwlist[i] (null when not given). Raises the message above
// for those of kwlist[0..nrequired-1] that are missing; 0 when none is, else -1.
int nvo_require_args(const char **kwlist, PyObject *const *values, int nrequired);

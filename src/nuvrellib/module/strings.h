// Conversion of Python str and bytes objects to C strings.
#pragma once

#include <Python.h>

// Length in bytes of obj as UTF-8 (str), of its ASCII form if UTF-8 fails, or of a bytes
// object; -1 when none applies.
Py_ssize_t pyStrLen(PyObject *obj);

// C string for a str (UTF-8, falling back to ASCII) or bytes object; null for a null object
// or a non-string. When the ASCII fallback is used, the temporary bytes object is returned
// in *temp_address (if given) and must be released by the caller after use. When
// buffer_address is given, the text is copied into *buffer_address, grown through the
// module allocator, and that buffer is returned (null on allocation failure).
const char *pyStrToStr(PyObject *obj, char **buffer_address, PyObject **temp_address);

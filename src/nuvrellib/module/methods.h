// Method tables: the one spelling for an entry whose function takes keywords.
#pragma once

#include <Python.h>

// A PyCFunctionWithKeywords as the PyCFunction a PyMethodDef holds (with METH_KEYWORDS the
// interpreter calls it with its real signature). The detour through void (*)() keeps the
// compiler's function-cast warning quiet.
#define NVO_KW_METHOD(f) reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(f))

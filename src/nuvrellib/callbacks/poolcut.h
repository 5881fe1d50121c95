// Cut-pool handles (nuvrel.poolcut): a Python handle on a cut stored in the library's cut pool.
#pragma once

#include <Python.h>

#include "module/opaque.h"  // struct poolcut_s

extern PyTypeObject poolcut_type;

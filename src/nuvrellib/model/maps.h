// Ordered containers of the modelling layer (term maps and side tables).
// boundmap and namemap are declared first because the global environment holds instances.
#pragma once

#include <Python.h>

#include <cstdint>
#include <map>

// identifier -> double (unusual bounds, thresholds)
using boundmap = std::map<uint64_t, double>;
// identifier -> Python name object (one strong reference held per entry)
using namemap = std::map<uint64_t, PyObject *>;

// The functions over these maps (boundmap_new, namemap_set, ...) and the other containers
// (linmap, quadmap, indexset, rowcolmap) are declared in model/termmaps.h.

// Low-level queries of a solve's answers (solution vectors, bases, infeasibilities, rays).
#pragma once

#include <Python.h>

extern PyMethodDef problem_methods_queries_solution[];

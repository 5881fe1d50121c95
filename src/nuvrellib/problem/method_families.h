// Method families of nuvrel.problem. Each family is a null-terminated PyMethodDef array
// defined in the file of its methods; the type's method table is assembled from them at
// import (problem_build_method_table), so new families need only a line here and there.
#pragma once

#include <Python.h>

extern PyMethodDef problem_methods_lifecycle[];  // problem.cpp: name, copy, reset
extern PyMethodDef problem_methods_objects[];    // objects.cpp: add/del/get of model objects
extern PyMethodDef problem_methods_solve[];      // solve.cpp: objective, solve, status
extern PyMethodDef problem_methods_controls[];   // controls.cpp: controls and attributes
extern PyMethodDef problem_methods_solution[];   // solution.cpp: solution retrieval
extern PyMethodDef problem_methods_files[];      // files.cpp: read and write
extern PyMethodDef problem_methods_conversion[]; // lowlevel/bounds.cpp: getIndexFromName, getlb, getub
extern PyMethodDef problem_methods_loading[];    // lowlevel/loading.cpp: loadproblem, addrows, addcols
extern PyMethodDef problem_methods_changes[];    // lowlevel/changes.cpp: chg..., add..., del... by arrays
extern PyMethodDef problem_methods_queries_matrix[];    // lowlevel/queries_matrix.cpp
extern PyMethodDef problem_methods_queries_solution[];  // lowlevel/queries_solution.cpp
extern PyMethodDef problem_methods_repair[];    // lowlevel/repair.cpp: repairinfeas and its weighted forms
extern PyMethodDef problem_methods_tuning[];    // lowlevel/tuning.cpp: tune and the tuner's method files
extern PyMethodDef problem_methods_mip_solutions[];  // lowlevel/mip_solutions.cpp
extern PyMethodDef problem_methods_nl_loading[], problem_methods_nl_queries[],  // lowlevel/nl_
    problem_methods_nl_changes[], problem_methods_nl_solving[], problem_methods_nl_multistart[];
extern PyMethodDef problem_methods_solver_ops[];    // lowlevel/solver_ops.cpp: optimize, state
extern PyMethodDef problem_methods_solver_files[];  // lowlevel/solver_files.cpp: save, solution, basis files
extern PyMethodDef problem_methods_directives[];    // lowlevel/directives.cpp: branching directives
extern PyMethodDef problem_methods_iis[];  // lowlevel/iis.cpp: irreducible infeasible sets
extern PyMethodDef problem_methods_sensitivity[];  // lowlevel/sensitivity.cpp: ranging, basis solves
extern PyMethodDef problem_methods_recompute[];    // lowlevel/recompute.cpp: calcslacks, calcobjective, ...

// Concatenates the families into problem_type.tp_methods. Call before PyType_Ready.
// 0 on success, -1 with an exception set.
int problem_build_method_table();

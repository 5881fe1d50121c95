// Walking a possibly nested structure of modelling objects: lists, tuples, dictionary values,
// other sequences, iterators and generators, and numpy arrays are opened; everything else is
// a leaf handed to the visitor in walk order.
#pragma once

#include <Python.h>

#include <functional>

// Deepest nesting a walk opens.
constexpr int NVO_MAX_WALK_DEPTH = 32;

// Visitor: 0 to go on, -1 with an exception set to stop the walk.
using nvo_leaf_visitor = std::function<int(PyObject *leaf)>;

// Calls visit for every leaf of obj. 0, or -1 with an exception set (ModelError "Maximum
// recursion (inclusion) level reached" beyond NVO_MAX_WALK_DEPTH levels).
int nvo_walk(PyObject *obj, const nvo_leaf_visitor &visit);
// The same over every item of an argument tuple (the tuple itself is not a level).
int nvo_walk_args(PyObject *args, const nvo_leaf_visitor &visit);

// The first element of a numpy array (in flat order): a new reference, or null with an
// exception set (ModelError "Empty array" for an array without elements).
PyObject *nvo_array_first_item(PyObject *array);

// Walking nested structures of modelling objects: tuples, lists, dictionaries (their values),
// other sequences, iterators and generators, and numpy arrays. One classification says what
// each object is to a walk and one depth rule bounds how deep a walk goes; three walks are
// built on them: the leaf walk below (the problem's add methods, its constructor and its
// solution readers), the shape-keeping structural evaluator (problem/evaluate.cpp) and the
// folds of Sum and Prod (model/sum.cpp; they bound their nesting by the interpreter's recursion
// limit instead, so that a list containing itself gives a RecursionError).
#pragma once

#include <Python.h>

#include <functional>

#include "module/pyref.h"

// --- what an object is to a walk -------------------------------------------------------------

enum nvo_node {
  // Never opened by a leaf walk.
  NVO_NODE_ITEM,      // a number or modelling object (constraints and sets included)
  NVO_NODE_TEXT,      // str or bytes: a sequence, opened only by the evaluator without a problem
  NVO_NODE_OTHER,     // anything else that cannot be iterated
  // Containers.
  NVO_NODE_TUPLE,
  NVO_NODE_LIST,
  NVO_NODE_DICT,
  NVO_NODE_ARRAY,     // a numpy array
  NVO_NODE_SEQUENCE,  // any other object with the sequence protocol (range, user sequences)
  NVO_NODE_ITERATOR,  // iterators and generators
  NVO_NODE_ITERABLE,  // other iterables (sets, dictionary views): only Sum and Prod open them
};

// Modelling objects, numbers and strings come first: they are never opened as containers, even
// when they could be iterated.
nvo_node nvo_node_of(PyObject *obj);
// nvo_node_of for an object already known to be neither a number, an operand of arithmetic
// (variable, term, expression, nonlinear node) nor an array, without testing those again.
nvo_node nvo_node_of_other(PyObject *obj);

// --- how deep a walk goes ----------------------------------------------------------------------

// The depth limits of every recursive walk, kept here together. Walking the containers users
// pass (nested tuples, lists, dictionaries) and walking formula trees (printing, converting
// and evaluating nonlinear nodes) are different concerns with different limits: containers
// nest a few levels, a formula one level per operator. The evaluator counts containers and
// formula levels together, so it takes the formula limit. Copying a formula and the folds of
// Sum and Prod stop at the interpreter's recursion limit instead: trees deeper than 64 can be
// built and must still copy, and a list that contains itself gives a RecursionError.
constexpr int NVO_MAX_NESTING = 32;
constexpr int NVO_MAX_FORMULA_DEPTH = 64;

// The depth of an object is the number of containers around it (0 for what the caller passed).
// Users meet two limits, each with its own exception, so both are set here:
// - the leaf walk opens a container only at a depth below 32 (a 33rd level gives ModelError
//   "Maximum recursion (inclusion) level reached");
// - the evaluator takes any object, leaves included, only at a depth below 64 (RuntimeError
//   "Evaluation of expression exceeded recursion depth limit").
struct nvo_depth_limit {
  int max;               // objects at this depth or deeper are refused
  PyObject *const *exc;  // the exception class (the address of the variable holding it)
  const char *message;
};
extern const nvo_depth_limit nvo_walk_limit, nvo_eval_limit;

// 0 when an object at depth may be entered under limit; -1 with the limit's exception otherwise.
inline int nvo_check_depth(const nvo_depth_limit &limit, int depth) {
  if (depth < limit.max) return 0;
  PyErr_SetString(*limit.exc, limit.message);
  return -1;
}

// --- the items of a container ------------------------------------------------------------------

// An iterator over a container that is neither a tuple, a list nor a dictionary: an array's
// elements in flat order, anything else's own iterator. New reference, or null with an
// exception set (the interpreter's TypeError for an object that is not iterable).
PyObject *nvo_items_iter(PyObject *container, nvo_node node);

// Calls visit(item) for every item of container (node is nvo_node_of(container)) in order: a
// tuple or list by index, read afresh at every step so that a list changed by a visit is read
// as it is then; a dictionary by a snapshot of its values; anything else as nvo_items_iter
// gives them. Each item is held while it is visited. visit returns 0 to go on, or -1 with an
// exception set to stop the walk, which then returns -1.
template <class Visit>
int nvo_for_each_item(PyObject *container, nvo_node node, Visit &&visit) {
  if (node == NVO_NODE_TUPLE || node == NVO_NODE_LIST) {
    for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(container); ++i) {
      PyRef item = PyRef<>::borrow(PySequence_Fast_GET_ITEM(container, i));
      if (visit(item.get()) != 0) return -1;
    }
    return 0;
  }
  if (node == NVO_NODE_DICT) {
    PyRef values(PyDict_Values(container));
    if (!values) return -1;
    return nvo_for_each_item(values.get(), NVO_NODE_LIST, visit);
  }
  PyRef it(nvo_items_iter(container, node));
  if (!it) return -1;
  while (PyObject *raw = PyIter_Next(it.get())) {
    PyRef item(raw);
    if (visit(item.get()) != 0) return -1;
  }
  return PyErr_Occurred() ? -1 : 0;
}

// --- the leaf walk -----------------------------------------------------------------------------

// Visitor: 0 to go on, -1 with an exception set to stop the walk.
using nvo_leaf_visitor = std::function<int(PyObject *leaf)>;

// Whether the leaf walk opens an object of this kind (tuples, lists, dictionaries, arrays,
// sequences and iterators) rather than handing it to the visitor. Any other iterable (a set, a
// dictionary view) reaches the visitor whole, which refuses it.
inline bool nvo_walk_opens(nvo_node node) {
  return node >= NVO_NODE_TUPLE && node != NVO_NODE_ITERABLE;
}

// Calls visit for every leaf of obj in walk order: what nvo_walk_opens is opened down to
// nvo_walk_limit, everything else is a leaf. 0, or -1 with an exception set.
int nvo_walk(PyObject *obj, const nvo_leaf_visitor &visit);
// The same over every item of an argument tuple (the tuple itself is not a level).
int nvo_walk_args(PyObject *args, const nvo_leaf_visitor &visit);

// The first element of a numpy array (in flat order): a new reference, or null with an
// exception set (ModelError "Empty array" for an array without elements).
PyObject *nvo_array_first_item(PyObject *array);

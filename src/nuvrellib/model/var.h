// The decision variable nuvrel.var: one packed 64-bit record per object, with the values that
// do not fit the record kept in the environment's side tables (lboundmap, uboundmap, tholdmap,
// varnamemap), keyed by the variable's identifier.
#pragma once

#include <Python.h>

#include <cstdint>

// Layout of the record word.
//   bits 0-51  identifier
//   bits 52-53 lower-bound code: 0 -> 0.0, 1 -> -1e20, 2 -> 1.0, 3 -> value in lboundmap
//   bit  54    lboundmap holds an entry
//   bits 55-56 upper-bound code: 0 -> 1e20, 1 -> 0.0, 2 -> 1.0, 3 -> value in uboundmap
//   bit  57    uboundmap holds an entry
//   bit  58    the threshold is set: its value is tholdmap's entry, or 0 when there is none
//               (arrays from vars() with the default threshold 0 store no entry); unset: -1e20
//   bit  59    varnamemap holds a name (else the name is "C<identifier>")
//   bits 60-62 variable type
//   bit  63    the name comes from an array's name pattern (model/array_names.h)
constexpr uint64_t VAR_ID_MASK = 0xfffffffffffffULL;
constexpr int VAR_LB_SHIFT = 52;
constexpr uint64_t VAR_LB_MASK = 3ULL << VAR_LB_SHIFT;
constexpr uint64_t VAR_LB_ENTRY = 1ULL << 54;
constexpr int VAR_UB_SHIFT = 55;
constexpr uint64_t VAR_UB_MASK = 3ULL << VAR_UB_SHIFT;
constexpr uint64_t VAR_UB_ENTRY = 1ULL << 57;
constexpr uint64_t VAR_THOLD_ENTRY = 1ULL << 58;
constexpr uint64_t VAR_NAME_ENTRY = 1ULL << 59;
constexpr int VAR_TYPE_SHIFT = 60;
constexpr uint64_t VAR_TYPE_MASK = 7ULL << VAR_TYPE_SHIFT;
constexpr uint64_t VAR_NAME_PATTERN = 1ULL << 63;

// Bound that stands for "unbounded" in either direction (the library's NVRL_INFINITY).
constexpr double NVO_INFINITY = 1e20;

// Variable type codes (also module constants).
enum : long {
  VARTYPE_CONTINUOUS = 0,
  VARTYPE_BINARY = 1,
  VARTYPE_INTEGER = 2,
  VARTYPE_SEMICONTINUOUS = 3,
  VARTYPE_SEMIINTEGER = 4,
  VARTYPE_PARTIALLYINTEGER = 5,
};

// The Python object: the header and one record word (24 bytes in all).
struct var_s {
  PyObject_HEAD
  uint64_t rec;
};

extern PyTypeObject var_type;

// --- the record word ----------------------------------------------------------------------

inline uint64_t var_word_id(uint64_t word) { return word & VAR_ID_MASK; }

// Identifier of a variable object (the caller guarantees that obj is a var).
inline uint64_t var_id(const PyObject *obj) {
  return reinterpret_cast<const var_s *>(obj)->rec & VAR_ID_MASK;
}

inline bool var_check(PyObject *obj) { return PyObject_TypeCheck(obj, &var_type); }

// Orders variables by identifier: the order of every term map over variables.
inline bool less_variable(const var_s *a, const var_s *b) {
  return (a->rec & VAR_ID_MASK) < (b->rec & VAR_ID_MASK);
}
struct less_variable_t {
  bool operator()(const var_s *a, const var_s *b) const { return less_variable(a, b); }
};

// Readers. get_var_name returns a new reference (NULL with an exception set on failure).
double get_var_lbound(uint64_t word);
double get_var_ubound(uint64_t word);
double get_var_thold(uint64_t word);
long get_var_type(uint64_t word);
PyObject *get_var_name(uint64_t word);

// Writers: update the word and the side tables. 0 on success, -1 with an exception set when a
// table entry cannot be stored (the word is then unchanged).
int set_var_lbound(uint64_t *word, double v);
int set_var_ubound(uint64_t *word, double v);
int set_var_thold(uint64_t *word, double v);
int set_var_type(uint64_t *word, long t);
int set_var_name(uint64_t *word, PyObject *name);

// Takes the next identifier under the variable mutex and stores it in bits 0-51.
void var_assign_id(uint64_t *word);
// Takes n consecutive identifiers under one lock and returns the first.
uint64_t var_reserve_ids(uint64_t n);

// --- creation -----------------------------------------------------------------------------

// Allocates a variable of exactly the var type with a fresh identifier, default bounds
// [0, 1e20], no threshold, continuous, default name. New reference or NULL.
PyObject *var_base();
// As var_create, but with an identifier from var_reserve_ids and allocated without the
// generic constructor: batches of columns pay for their objects one by one.
PyObject *var_create_with_id(uint64_t id, PyObject *name, double lb, double ub,
                             double threshold, long vartype);

// Confines the bounds of a binary to [0, 1] (a lower bound above 1 or an upper bound below 0
// is kept); other types are left alone. Applied after the feasibility test.
inline void var_binary_bounds(long vartype, double *lb, double *ub) {
  if (vartype != VARTYPE_BINARY) return;
  if (*lb < 0.0) *lb = 0.0;
  if (*ub > 1.0) *ub = 1.0;
}

// A complete variable for internal creators (problem reading, low-level column additions,
// vars()): bounds, threshold and type are stored as given, with no feasibility test; a NULL
// name leaves the default name. New reference or NULL with an exception set.
PyObject *var_create(PyObject *name, double lb, double ub, double threshold, long vartype);

// Scaled copy: c == 1 gives x itself, c == 0 the float 0.0, else the linear term c*x.
PyObject *var_copy(PyObject *x, double c);

// Number of entries in each variable side table (lower bounds, upper bounds, thresholds,
// names); tables that do not exist count 0. Used by tests to see that no entry outlives its
// variable.
void var_sidetable_sizes(Py_ssize_t sizes[4]);

// --- module function ----------------------------------------------------------------------

// nuvrel.vars(*indices, name=, lb=, ub=, threshold=, vartype=)
PyObject *nuvrelmod_vars(PyObject *self, PyObject *args, PyObject *kwargs);

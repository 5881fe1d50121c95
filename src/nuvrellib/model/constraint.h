// nuvrel.constraint: lb <= body <= ub. Like a variable, the bounds and the name flag are
// packed into one record word; other bound values and user names live in the environment's
// side tables conlboundmap, conuboundmap and connamemap under the constraint's identifier.
#pragma once

#include <Python.h>

#include <cstdint>

#include "model/var.h"

// Layout of the record word.
//   bits 0-56  identifier
//   bits 57-58 lower-bound code: 0 -> -1e20, 1 -> 0.0, 2 -> 1.0, 3 -> value in conlboundmap
//   bit  59    conlboundmap holds an entry
//   bits 60-61 upper-bound code: 0 -> 1e20, 1 -> 0.0, 2 -> 1.0, 3 -> value in conuboundmap
//   bit  62    conuboundmap holds an entry
//   bit  63    connamemap holds a name (else the name is "R<identifier>")
constexpr uint64_t CON_ID_MASK = 0x1ffffffffffffffULL;
constexpr int CON_LB_SHIFT = 57;
constexpr uint64_t CON_LB_MASK = 3ULL << CON_LB_SHIFT;
constexpr uint64_t CON_LB_ENTRY = 1ULL << 59;
constexpr int CON_UB_SHIFT = 60;
constexpr uint64_t CON_UB_MASK = 3ULL << CON_UB_SHIFT;
constexpr uint64_t CON_UB_ENTRY = 1ULL << 62;
constexpr uint64_t CON_NAME_ENTRY = 1ULL << 63;

// Sense codes of the explicit constructor (also module constants).
enum : long { CON_SENSE_LEQ = 1, CON_SENSE_GEQ = 2, CON_SENSE_EQ = 3, CON_SENSE_RANGE = 4 };

struct constraint_s {
  PyObject_HEAD
  uint64_t rec;
  PyObject *body;  // variable, term, expression, nonlinear node or number; NULL if none yet
};

extern PyTypeObject constraint_type;

inline bool constraint_check(PyObject *obj) { return PyObject_TypeCheck(obj, &constraint_type); }
inline uint64_t con_id(const PyObject *obj) {
  return reinterpret_cast<const constraint_s *>(obj)->rec & CON_ID_MASK;
}

double get_con_lbound(uint64_t word);
double get_con_ubound(uint64_t word);
// New reference to the name object, or a new "R<identifier>" string.
PyObject *get_con_name(uint64_t word);
// Setters update the word and the side tables: 0, or -1 with an exception set.
int set_con_lbound(uint64_t *word, double v);
int set_con_ubound(uint64_t *word, double v);
int set_con_name(uint64_t *word, PyObject *name);
// Takes the next identifier under the constraint mutex and stores it in bits 0-56.
void con_assign_id(uint64_t *word);
// Takes n consecutive identifiers under one lock and returns the first.
uint64_t con_reserve_ids(uint64_t n);

// A new constraint with a fresh identifier, infinite bounds and no body.
PyObject *constraint_base();
// As constraint_base, with an identifier from con_reserve_ids and allocated without the
// generic constructor, for batches of rows.
PyObject *constraint_base_with_id(uint64_t id);
// A new constraint lb <= body <= ub (one new reference to body); NULL on failure.
PyObject *constraint_create(PyObject *body, double lb, double ub);
// As constraint_create, with an identifier from con_reserve_ids.
PyObject *constraint_create_with_id(uint64_t id, PyObject *body, double lb, double ub);

// Bounds lo <= body <= up of a library row from its type ('E', 'G', 'L', 'R' or 'N'),
// right-hand side and range (an 'R' row spans [rhs - range, rhs]).
inline void constraint_bounds_of_row(char type, double rhs, double range, double *lo,
                                     double *up) {
  *lo = -NVO_INFINITY;
  *up = NVO_INFINITY;
  switch (type) {
    case 'E': *lo = *up = rhs; break;
    case 'G': *lo = rhs; break;
    case 'L': *up = rhs; break;
    case 'R': *lo = rhs - range; *up = rhs; break;
    default: break;  // 'N': free
  }
}

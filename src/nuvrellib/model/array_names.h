// Names of the variables of an array made by nuvrel.vars(k1, k2, ...): prefix(i1,i2,...),
// kept as one pattern per array and written out only when a name is asked for. A million
// names then cost no string objects and no table entries until they are read.
#pragma once

#include <Python.h>

#include <cstdint>
#include <string>
#include <vector>

struct array_name_pattern;

// Registers the pattern of the variables with the consecutive identifiers from first_id, in
// C order over the shape dims. Null with MemoryError on failure. The pattern stays until its
// last user is released; one that got no user is dropped by array_names_unused.
array_name_pattern *array_names_new(const std::string &prefix, const std::vector<Py_ssize_t> &dims,
                                    uint64_t first_id);
// One more variable takes its name from pattern.
void array_names_use(array_name_pattern *pattern);
// Drops pattern if nobody uses it (an array whose creation failed early).
void array_names_unused(array_name_pattern *pattern);
// The name of the variable id, which uses a pattern: a new reference, or null with an
// exception set.
PyObject *array_names_get(uint64_t id);
// The name array_names_get would give, as text, for the common case of an ASCII name within
// the length limit: true with the name in *text; false (no exception) otherwise, where the
// caller asks array_names_get. Saves a string object per name when names go to the library.
bool array_names_ascii_text(uint64_t id, std::string *text);
// The variable id stops using its pattern (deleted or renamed).
void array_names_release(uint64_t id);
// How many variables take their names from patterns (for the side-table counts).
Py_ssize_t array_names_live();

// A name as a str from its UTF-8 text, cut at the name length limit (in characters).
PyObject *array_name_object(const std::string &text, bool ascii);

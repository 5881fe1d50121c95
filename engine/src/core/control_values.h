// Typed access to control values stored in a ControlValues map, checked against the registry.
// Shared by the optimiser's and the nonlinear solver's get/set functions.
#pragma once

#include <cstdint>
#include <string>

#include "core/problem.h"
#include "core/registry.h"

namespace nvrl {

enum class Access { Integral, Double, String };

// Finds the entry for a typed access by function fn. Returns null and sets err when the id is
// unknown, of another type, of the wrong kind (control/attribute) or of the other solver.
const ParamInfo *resolveParam(const char *fn, int id, Access access, bool control,
                              bool nonlinear, std::string &err);

// Current values (the registry's default when never set).
int64_t intValue(const ControlValues &cv, const ParamInfo &p);
double dblValue(const ControlValues &cv, const ParamInfo &p);
std::string strValue(const ControlValues &cv, const ParamInfo &p);

// Stores a value after checking its bounds; on failure sets err and changes nothing.
bool setIntValue(ControlValues &cv, const ParamInfo &p, int64_t v, const char *fn,
                 std::string &err);
bool setDblValue(ControlValues &cv, const ParamInfo &p, double v, const char *fn,
                 std::string &err);
bool setStrValue(ControlValues &cv, const ParamInfo &p, const char *v, const char *fn,
                 std::string &err);

// Whether a control differs from its default, and its value as text (for dumps).
bool isNonDefault(const ControlValues &cv, const ParamInfo &p);
std::string valueText(const ControlValues &cv, const ParamInfo &p);

}  // namespace nvrl

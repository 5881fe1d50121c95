// Typed access to control values stored in a ControlValues map, checked against the registry.
// Shared by the optimiser's and the nonlinear solver's get/set functions.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

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

// The current value in the caller's type; false when an int cannot hold it.
bool readValue(const ControlValues &cv, const ParamInfo &p, int *out);
bool readValue(const ControlValues &cv, const ParamInfo &p, int64_t *out);
bool readValue(const ControlValues &cv, const ParamInfo &p, double *out);
bool readValue(const ControlValues &cv, const ParamInfo &p, char *out);  // NVRL_MAXNAMELEN bytes

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

// Copies src's controls onto dest, both handles checked by check(handle, fn); what names the
// kind of problem in the error. The copy is made aside first: a failed one changes nothing.
template <class Handle, class Problem>
int copyControlValues(Handle dest, Handle src, const char *fn, const char *what,
                      Problem *(*check)(Handle, const char *)) {
  Problem *d = check(dest, fn);
  if (!d) return 1;
  Problem *s = check(src, fn);
  if (!s) return d->fail("%s: invalid source %s", fn, what);
  if (d != s) {
    ControlValues copy = s->controls;
    d->controls = std::move(copy);
  }
  return 0;
}

}  // namespace nvrl

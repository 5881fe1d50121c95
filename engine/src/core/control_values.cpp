#include "core/control_values.h"

#include <climits>
#include <cstdlib>

#include "core/text.h"

namespace nvrl {

static const char *accessName(Access a) {
  switch (a) {
    case Access::Integral: return "an integer";
    case Access::Double: return "a double";
    case Access::String: return "a string";
  }
  return "?";
}

static Access accessOf(const ParamInfo &p) {
  if (p.isIntegral()) return Access::Integral;
  return p.type == ParamType::Double ? Access::Double : Access::String;
}

const ParamInfo *resolveParam(const char *fn, int id, Access access, bool control,
                              bool nonlinear, std::string &err) {
  const char *what = control ? "control" : "attribute";
  const ParamInfo *p = findParam(id);
  if (!p) {
    err = format("%s: unknown %s id %d", fn, what, id);
    return nullptr;
  }
  if (p->isNonlinear() != nonlinear) {
    err = format("%s: %d (%s) belongs to the %s; use the %s functions", fn, id, p->name,
                 p->isNonlinear() ? "nonlinear solver" : "optimiser",
                 p->isNonlinear() ? "NSLP" : "NVRL");
    return nullptr;
  }
  if (p->isControl() != control) {
    err = format("%s: %d (%s) is %s, not %s", fn, id, p->name,
                 p->isControl() ? "a control" : "an attribute",
                 control ? "a control" : "an attribute");
    return nullptr;
  }
  if (accessOf(*p) != access) {
    err = format("%s: %d (%s) is %s %s, not %s one", fn, id, p->name,
                 accessName(accessOf(*p)), what, accessName(access));
    return nullptr;
  }
  return p;
}

int64_t intValue(const ControlValues &cv, const ParamInfo &p) {
  auto it = cv.ints.find(p.id);
  return it == cv.ints.end() ? p.idef : it->second;
}

double dblValue(const ControlValues &cv, const ParamInfo &p) {
  auto it = cv.dbls.find(p.id);
  return it == cv.dbls.end() ? p.ddef : it->second;
}

std::string strValue(const ControlValues &cv, const ParamInfo &p) {
  auto it = cv.strs.find(p.id);
  return it == cv.strs.end() ? std::string(p.sdef) : it->second;
}

bool readValue(const ControlValues &cv, const ParamInfo &p, int *out) {
  int64_t v = intValue(cv, p);
  if (v < INT_MIN || v > INT_MAX) return false;
  *out = static_cast<int>(v);
  return true;
}

bool readValue(const ControlValues &cv, const ParamInfo &p, int64_t *out) {
  *out = intValue(cv, p);
  return true;
}

bool readValue(const ControlValues &cv, const ParamInfo &p, double *out) {
  *out = dblValue(cv, p);
  return true;
}

bool readValue(const ControlValues &cv, const ParamInfo &p, char *out) {
  copyText(out, NVRL_MAXNAMELEN, strValue(cv, p).c_str());
  return true;
}

bool setIntValue(ControlValues &cv, const ParamInfo &p, int64_t v, const char *fn,
                 std::string &err) {
  std::string why = checkIntValue(p, v);
  if (!why.empty()) {
    err = format("%s: %d (%s): %s", fn, p.id, p.name, why.c_str());
    return false;
  }
  cv.ints[p.id] = v;
  return true;
}

bool setDblValue(ControlValues &cv, const ParamInfo &p, double v, const char *fn,
                 std::string &err) {
  std::string why = checkDblValue(p, v);
  if (!why.empty()) {
    err = format("%s: %d (%s): %s", fn, p.id, p.name, why.c_str());
    return false;
  }
  cv.dbls[p.id] = v;
  return true;
}

bool setStrValue(ControlValues &cv, const ParamInfo &p, const char *v, const char *fn,
                 std::string &err) {
  std::string why = checkStrValue(p, v);
  if (!why.empty()) {
    err = format("%s: %d (%s): %s", fn, p.id, p.name, why.c_str());
    return false;
  }
  cv.strs[p.id] = v;
  return true;
}

bool isNonDefault(const ControlValues &cv, const ParamInfo &p) {
  if (p.isIntegral()) return intValue(cv, p) != p.idef;
  if (p.type == ParamType::Double) return dblValue(cv, p) != p.ddef;
  return strValue(cv, p) != p.sdef;
}

std::string valueText(const ControlValues &cv, const ParamInfo &p) {
  if (p.isIntegral()) return format("%lld", static_cast<long long>(intValue(cv, p)));
  if (p.type == ParamType::Double) {
    // Shortest form that reads back as the same double.
    double v = dblValue(cv, p);
    std::string t = format("%.15g", v);
    return std::strtod(t.c_str(), nullptr) == v ? t : format("%.17g", v);
  }
  return strValue(cv, p);
}

}  // namespace nvrl

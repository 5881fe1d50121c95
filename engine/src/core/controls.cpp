// The optimiser's controls: typed get/set, defaults, copies, dumps and the published list.
#include <cstring>
#include <type_traits>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/environment.h"
#include "core/text.h"

namespace nvrl {

// Internal readers for the engine's own code; an id of another type is a programming error,
// answered with the registry's neutral value rather than a crash.
int64_t getIntControl(const nvrl_problem_s *p, int id) {
  const ParamInfo *info = findParam(id);
  if (!info || !info->isIntegral()) return 0;
  return intValue(p->controls, *info);
}

double getDblControl(const nvrl_problem_s *p, int id) {
  const ParamInfo *info = findParam(id);
  if (!info || info->type != ParamType::Double) return 0.0;
  return dblValue(p->controls, *info);
}

}  // namespace nvrl

using namespace nvrl;

namespace {

// Checks the handle and resolves the id; on failure the error is recorded on the problem.
nvrl_problem_s *prepare(NVRLprob prob, const char *fn, int id, Access access, const void *ptr,
                        const ParamInfo **info) {
  nvrl_problem_s *p = checkProblem(prob, fn);
  if (!p) return nullptr;
  if (!ptr) {
    p->fail("%s: null value pointer", fn);
    return nullptr;
  }
  std::string err;
  *info = resolveParam(fn, id, access, true, false, err);
  if (!*info) {
    p->fail("%s", err.c_str());
    return nullptr;
  }
  return p;
}

// The typed setters: the id checked against the type, then set(controls, info, value, ...).
// A string is null-checked itself, a number through its address (never null).
template <class T>
int setTyped(NVRLprob prob, const char *fn, int id, Access access, T value,
             bool (*set)(ControlValues &, const ParamInfo &, T, const char *, std::string &)) {
  const ParamInfo *info;
  const void *given = &value;
  if constexpr (std::is_pointer_v<T>) given = value;
  nvrl_problem_s *p = prepare(prob, fn, id, access, given, &info);
  if (!p) return 1;
  std::string err;
  if (!set(p->controls, *info, value, fn, err)) return p->fail("%s", err.c_str());
  return 0;
}

// The typed getters: the id checked against the type, then the value read into *value. Only an
// int can be too narrow; wide says what to use instead.
template <class T>
int getTyped(NVRLprob prob, const char *fn, int id, Access access, T *value,
             const char *wide = "beyond 32 bits") {
  const ParamInfo *info;
  nvrl_problem_s *p = prepare(prob, fn, id, access, value, &info);
  if (!p) return 1;
  if (!readValue(p->controls, *info, value))
    return p->fail("%s: %d (%s) holds %lld, %s", fn, id, info->name,
                   static_cast<long long>(intValue(p->controls, *info)), wide);
  return 0;
}

}  // namespace

extern "C" {

NVRL_API int NVRLgetintcontrol(NVRLprob prob, int control, int *value) NVRL_TRY {
  return getTyped(prob, __func__, control, Access::Integral, value,
                  "which needs NVRLgetintcontrol64");
} NVRL_CATCH(prob)

NVRL_API int NVRLgetintcontrol64(NVRLprob prob, int control, NVRLint64 *value) NVRL_TRY {
  return getTyped(prob, __func__, control, Access::Integral, value);
} NVRL_CATCH(prob)

NVRL_API int NVRLsetintcontrol(NVRLprob prob, int control, int value) NVRL_TRY {
  return setTyped<int64_t>(prob, __func__, control, Access::Integral, value, setIntValue);
} NVRL_CATCH(prob)

NVRL_API int NVRLsetintcontrol64(NVRLprob prob, int control, NVRLint64 value) NVRL_TRY {
  return setTyped<int64_t>(prob, __func__, control, Access::Integral, value, setIntValue);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetdblcontrol(NVRLprob prob, int control, double *value) NVRL_TRY {
  return getTyped(prob, __func__, control, Access::Double, value);
} NVRL_CATCH(prob)

NVRL_API int NVRLsetdblcontrol(NVRLprob prob, int control, double value) NVRL_TRY {
  return setTyped<double>(prob, __func__, control, Access::Double, value, setDblValue);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetstrcontrol(NVRLprob prob, int control, char *value) NVRL_TRY {
  return getTyped(prob, __func__, control, Access::String, value);
} NVRL_CATCH(prob)

NVRL_API int NVRLsetstrcontrol(NVRLprob prob, int control, const char *value) NVRL_TRY {
  return setTyped<const char *>(prob, __func__, control, Access::String, value, setStrValue);
} NVRL_CATCH(prob)

NVRL_API int NVRLgetcalist_c(NVRLprob prob, const NVRLcaentry **list) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!list) return p->fail("NVRLgetcalist_c: null output pointer");
  *list = caList(ParamOwner::Optimiser);
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLgetcontrolinfo(NVRLprob prob, const char *name, int *id, int *type,
                                int *iscontrol) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!name) return p->fail("NVRLgetcontrolinfo: null name");
  const ParamInfo *info = findParamByName(name);
  if (!info || info->isNonlinear())
    return p->fail("NVRLgetcontrolinfo: no control or attribute of the optimiser is named '%s'",
                   name);
  if (id) *id = info->id;
  if (type) *type = static_cast<int>(info->type);
  if (iscontrol) *iscontrol = info->isControl() ? 1 : 0;
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLsetdefaults(NVRLprob prob) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  p->controls = ControlValues();
  return 0;
} NVRL_CATCH(prob)

NVRL_API int NVRLcopycontrols(NVRLprob dest, NVRLprob src) NVRL_TRY {
  return copyControlValues(dest, src, __func__, "problem", checkProblem);
} NVRL_CATCH(dest)

NVRL_API int NVRLdumpcontrols(NVRLprob prob) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  for (const ParamInfo &info : paramTable()) {
    if (info.owner != ParamOwner::Optimiser || !info.isControl()) continue;
    if (isNonDefault(p->controls, info))
      p->log(NVRL_MSG_INFO, "%s = %s", info.name, valueText(p->controls, info).c_str());
  }
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

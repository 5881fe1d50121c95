// The nonlinear solver's controls and attributes: typed get/set, lists, lookup by name and
// defaults. Attributes are read from the object and the optimiser problem beneath it.
#include <climits>
#include <type_traits>

#include "core/control_values.h"
#include "core/entry.h"
#include "core/environment.h"
#include "core/ids.h"
#include "core/text.h"
#include "nslp/slp_problem.h"
#include "nslp/slp_presolve.h"

using namespace nvrl;

namespace {

nslp_problem_s *prepare(NSLPprob slp, const char *fn, int id, Access access, bool control,
                        const void *ptr, const ParamInfo **info) {
  nslp_problem_s *s = checkSlpProblem(slp, fn);
  if (!s) return nullptr;
  if (!ptr) {
    s->fail("%s: null value pointer", fn);
    return nullptr;
  }
  std::string err;
  *info = resolveParam(fn, id, access, control, true, err);
  if (!*info) {
    s->fail("%s", err.c_str());
    return nullptr;
  }
  return s;
}

bool intAttribute(const nslp_problem_s *s, int attrib, int64_t &v) {
  if (validationIntAttribute(s, attrib, v)) return true;
  switch (attrib) {
    case id::kSlpRows: v = s->prob->model.rows(); return true;
    case id::kSlpCols: v = s->prob->model.cols(); return true;
    case id::kSlpConstantCol: v = s->state.constant_col; return true;
    // Of the presolved form while there is one.
    case id::kSlpCoefs: v = slpCoefficientCount(s); return true;
    case id::kSlpNonlinearRows: v = slpNonlinearRowCount(s); return true;
    case id::kSlpNlpStatus: v = s->state.nlpstatus; return true;
    case id::kSlpStateBits: v = s->state.statebits; return true;
    case id::kSlpIterations: v = s->state.iterations; return true;
    case id::kSlpStopStatus: v = s->state.stopstatus; return true;
    case id::kSlpInterruptReason: v = s->interrupt_reason.load(); return true;
    case id::kSlpMsJobs: v = queuedJobs(s->data.msjobs); return true;
    case id::kSlpMsJobsRun: v = s->state.multistart.jobs_run; return true;
    case id::kSlpMsWinner: v = s->state.multistart.winner; return true;
    case id::kSlpMsJobsOptimal: v = s->state.multistart.jobs_optimal; return true;
    case NSLP_ATTR_CASCADE_COLUMNS: v = static_cast<int64_t>(s->data.cascade_order.size()); return true;
    case NSLP_ATTR_CASCADE_FAILURES: v = s->state.cascade_failures; return true;
    case NSLP_ATTR_PRESOLVE_FIXED_COLUMNS: v = s->state.presolve_fixed; return true;
    case NSLP_ATTR_PRESOLVE_LINEAR_COEFFICIENTS: v = s->state.presolve_linear; return true;
  }
  return false;
}

bool dblAttribute(const nslp_problem_s *s, int attrib, double &v) {
  if (validationDblAttribute(s, attrib, v)) return true;
  switch (attrib) {
    case id::kSlpObjVal: v = s->state.objval; return true;
    case id::kSlpMsBaseObj: v = s->state.multistart.base_objective; return true;
  }
  return false;
}

// The typed setters: the id checked against the type, then set(controls, info, value, ...).
// A string is null-checked itself, a number through its address (never null).
template <class T>
int setTyped(NSLPprob slp, const char *fn, int id, Access access, T value,
             bool (*set)(ControlValues &, const ParamInfo &, T, const char *, std::string &)) {
  const ParamInfo *info;
  const void *given = &value;
  if constexpr (std::is_pointer_v<T>) given = value;
  nslp_problem_s *s = prepare(slp, fn, id, access, true, given, &info);
  if (!s) return 1;
  std::string err;
  if (!set(s->controls, *info, value, fn, err)) return s->fail("%s", err.c_str());
  return 0;
}

// The typed getters: the id checked against the type, then the value read into *value.
template <class T>
int getTyped(NSLPprob slp, const char *fn, int id, Access access, T *value) {
  const ParamInfo *info;
  nslp_problem_s *s = prepare(slp, fn, id, access, true, value, &info);
  if (!s) return 1;
  if (!readValue(s->controls, *info, value))
    return s->fail("%s: %d (%s) holds %lld, beyond 32 bits", fn, id, info->name,
                   static_cast<long long>(intValue(s->controls, *info)));
  return 0;
}

int missing(nslp_problem_s *s, const char *fn, int attrib) {
  return s->fail("%s: attribute %d is registered but not computed by this build", fn, attrib);
}

}  // namespace

extern "C" {

NVRL_API int NSLPgetintattrib(NSLPprob slp, int attrib, int *value) NVRL_TRY {
  const ParamInfo *info;
  nslp_problem_s *s =
      prepare(slp, "NSLPgetintattrib", attrib, Access::Integral, false, value, &info);
  if (!s) return 1;
  int64_t v;
  if (!intAttribute(s, attrib, v)) return missing(s, "NSLPgetintattrib", attrib);
  if (v < INT_MIN || v > INT_MAX)
    return s->fail("NSLPgetintattrib: attribute %d holds %lld, beyond 32 bits", attrib,
                   static_cast<long long>(v));
  *value = static_cast<int>(v);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetdblattrib(NSLPprob slp, int attrib, double *value) NVRL_TRY {
  const ParamInfo *info;
  nslp_problem_s *s =
      prepare(slp, "NSLPgetdblattrib", attrib, Access::Double, false, value, &info);
  if (!s) return 1;
  double v;
  if (!dblAttribute(s, attrib, v)) return missing(s, "NSLPgetdblattrib", attrib);
  *value = v;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetstrattrib(NSLPprob slp, int attrib, char *value) NVRL_TRY {
  const ParamInfo *info;
  nslp_problem_s *s =
      prepare(slp, "NSLPgetstrattrib", attrib, Access::String, false, value, &info);
  if (!s) return 1;
  // The nonlinear solver has no string attributes: resolveParam has already refused the id.
  return missing(s, "NSLPgetstrattrib", attrib);
} NVRL_CATCH(slp)

NVRL_API int NSLPgetintcontrol(NSLPprob slp, int control, int *value) NVRL_TRY {
  return getTyped(slp, __func__, control, Access::Integral, value);
} NVRL_CATCH(slp)

NVRL_API int NSLPsetintcontrol(NSLPprob slp, int control, int value) NVRL_TRY {
  return setTyped<int64_t>(slp, __func__, control, Access::Integral, value, setIntValue);
} NVRL_CATCH(slp)

NVRL_API int NSLPgetdblcontrol(NSLPprob slp, int control, double *value) NVRL_TRY {
  return getTyped(slp, __func__, control, Access::Double, value);
} NVRL_CATCH(slp)

NVRL_API int NSLPsetdblcontrol(NSLPprob slp, int control, double value) NVRL_TRY {
  return setTyped<double>(slp, __func__, control, Access::Double, value, setDblValue);
} NVRL_CATCH(slp)

NVRL_API int NSLPgetstrcontrol(NSLPprob slp, int control, char *value) NVRL_TRY {
  return getTyped(slp, __func__, control, Access::String, value);
} NVRL_CATCH(slp)

NVRL_API int NSLPsetstrcontrol(NSLPprob slp, int control, const char *value) NVRL_TRY {
  return setTyped<const char *>(slp, __func__, control, Access::String, value, setStrValue);
} NVRL_CATCH(slp)

NVRL_API int NSLPgetcalist(NSLPprob slp, const NVRLcaentry **list) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!list) return s->fail("NSLPgetcalist: null output pointer");
  *list = caList(ParamOwner::Nonlinear);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetIPMcalist(NSLPprob slp, const NVRLcaentry **list) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!list) return s->fail("NSLPgetIPMcalist: null output pointer");
  *list = caList(ParamOwner::NonlinearIpm);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPcontrolcode(NSLPprob slp, const char *name, int *id, int *flags) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!name) return s->fail("NSLPcontrolcode: null name");
  const ParamInfo *info = findParamByName(name);
  if (!info || !info->isNonlinear())
    return s->fail("NSLPcontrolcode: no control or attribute of the nonlinear solver is named '%s'",
                   name);
  int f = info->isIntegral() ? NSLP_CCFLAG_INT
          : info->type == ParamType::Double ? NSLP_CCFLAG_DOUBLE
                                            : NSLP_CCFLAG_STRING;
  if (info->isControl()) f |= NSLP_CCFLAG_CONTROL;
  if (id) *id = info->id;
  if (flags) *flags = f;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPsetdefaults(NSLPprob slp) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  s->controls = ControlValues();
  return 0;
} NVRL_CATCH(slp)

}  // extern "C"

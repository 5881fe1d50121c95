// The library's global environment: counted start and release, version and banner, global
// switches, the global last error, the live-object registry and object type names.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/entry.h"
#include "core/environment.h"
#include "core/text.h"
#include "interfaces/highs_c_api.h"

namespace {

// Global log lines come from this object; it never goes away.
nvrl_object_s g_environment_object(nvrl::ObjectKind::Env);

}  // namespace

namespace nvrl {

Environment &env() {
  // Never destroyed: handles may still be released while the process shuts down.
  static Environment *e = new Environment;
  return *e;
}

void registerObject(const nvrl_object_s *obj) {
  std::lock_guard<std::mutex> lock(env().mu);
  env().live.insert(obj);
}

void unregisterObject(const nvrl_object_s *obj) {
  std::lock_guard<std::mutex> lock(env().mu);
  env().live.erase(obj);
}

bool isLiveObject(const nvrl_object_s *obj) {
  if (obj == &g_environment_object) return true;
  std::lock_guard<std::mutex> lock(env().mu);
  return env().live.count(obj) != 0;
}

bool liveHandle(const nvrl_object_s *obj, ObjectKind kind) {
  const char *what = kind == ObjectKind::SlpProblem ? "nonlinear problem" : "problem";
  if (!obj) {
    failGlobal(1, "Null %s handle", what);
    return false;
  }
  if (!isLiveObject(obj) || obj->magic != kObjectMagic || obj->kind != kind) {
    failGlobal(1, "Invalid or destroyed %s handle", what);
    return false;
  }
  return true;
}

bool isLiveAndStarted(const nvrl_object_s *obj) {
  std::lock_guard<std::mutex> lock(env().mu);
  return env().live.count(obj) != 0 && env().startcount > 0;
}

bool libraryStarted() {
  std::lock_guard<std::mutex> lock(env().mu);
  return env().startcount > 0;
}

bool slpStarted() {
  std::lock_guard<std::mutex> lock(env().mu);
  return env().startcount > 0 && env().slpstartcount > 0;
}

bool archConsistent() {
  std::lock_guard<std::mutex> lock(env().mu);
  return env().archconsistent != 0;
}

int failGlobal(int code, const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string msg = vformat(fmt, ap);
  va_end(ap);
  if (code == 0) code = 1;
  {
    std::lock_guard<std::mutex> lock(env().mu);
    env().lasterror_code = code;
    env().lasterror = msg;
  }
  dispatchGlobal(&g_environment_object, NVRL_MSG_ERROR, msg.c_str(), static_cast<int>(msg.size()));
  return code;
}

}  // namespace nvrl

using nvrl::env;
using nvrl::copyText;
using nvrl::kLibraryVersion;
using nvrl::failGlobal;

extern "C" {

NVRL_API int NVRLinit(const char *path) NVRL_TRY {
  (void)path;  // nothing to locate: the library needs no data files
  std::lock_guard<std::mutex> lock(env().mu);
  ++env().startcount;
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRLfree(void) NVRL_TRY {
  {
    std::lock_guard<std::mutex> lock(env().mu);
    if (env().startcount > 0) {
      if (--env().startcount == 0) env().slpstartcount = 0;
      return 0;
    }
  }
  return failGlobal(1, "NVRLfree: the library is not started");
} NVRL_CATCH(nullptr)

NVRL_API int NVRLgetversion(char *version) NVRL_TRY {
  if (!version) return failGlobal(1, "NVRLgetversion: null output buffer");
  copyText(version, NVRL_MAXVERSIONLEN, kLibraryVersion);
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRLgetbanner(char *banner) NVRL_TRY {
  if (!banner) return failGlobal(1, "NVRLgetbanner: null output buffer");
  const char *hv = Highs_version();
  if (hv && hv[0] == 'v') ++hv;
  std::string line = std::string("libnvrl ") + kLibraryVersion + " (optimiser: HiGHS " +
                     (hv ? hv : "unknown") + ")";
  copyText(banner, NVRL_MAXBANNERLEN, line.c_str());
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRLgetcheckedmode(int *checked) NVRL_TRY {
  if (!checked) return failGlobal(1, "NVRLgetcheckedmode: null output pointer");
  std::lock_guard<std::mutex> lock(env().mu);
  *checked = env().checkedmode;
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRLsetcheckedmode(int checked) NVRL_TRY {
  std::lock_guard<std::mutex> lock(env().mu);
  env().checkedmode = checked ? 1 : 0;
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRL_ge_setarchconsistency(int consistent) NVRL_TRY {
  std::lock_guard<std::mutex> lock(env().mu);
  env().archconsistent = consistent ? 1 : 0;
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRL_ge_getarchconsistency(int *consistent) NVRL_TRY {
  if (!consistent) return failGlobal(1, "NVRL_ge_getarchconsistency: null output pointer");
  std::lock_guard<std::mutex> lock(env().mu);
  *consistent = env().archconsistent;
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRL_ge_getlasterror(int *code, char *msg, int maxbytes, int *nbytes) NVRL_TRY {
  std::string text;
  int c;
  {
    std::lock_guard<std::mutex> lock(env().mu);
    text = env().lasterror;
    c = env().lasterror_code;
  }
  return nvrl::writeLastError(__func__, c, text, code, msg, maxbytes, nbytes);
} NVRL_CATCH(nullptr)

NVRL_API int NVRLgetobjecttypename(NVRLobject obj, const char **name) NVRL_TRY {
  if (!obj) return failGlobal(1, "NVRLgetobjecttypename: null object handle");
  if (!name) return failGlobal(1, "NVRLgetobjecttypename: null output pointer");
  if (!nvrl::isLiveObject(obj))
    return failGlobal(1, "NVRLgetobjecttypename: invalid or destroyed object handle");
  switch (obj->kind) {
    case nvrl::ObjectKind::Env: *name = "NVRLenv"; return 0;
    case nvrl::ObjectKind::Problem: *name = "NVRLprob"; return 0;
    case nvrl::ObjectKind::SlpProblem: *name = "NSLPprob"; return 0;
    case nvrl::ObjectKind::BranchObject: *name = "NVRLbranchobj"; return 0;
  }
  return failGlobal(1, "NVRLgetobjecttypename: unknown object kind");
} NVRL_CATCH(nullptr)

NVRL_API int NSLPinit(const char *path) NVRL_TRY {
  (void)path;
  {
    std::lock_guard<std::mutex> lock(env().mu);
    if (env().startcount > 0) {
      ++env().slpstartcount;
      return 0;
    }
  }
  return failGlobal(1, "NSLPinit: the library is not started (call NVRLinit first)");
} NVRL_CATCH(nullptr)

NVRL_API int NSLPfree(void) NVRL_TRY {
  {
    std::lock_guard<std::mutex> lock(env().mu);
    if (env().slpstartcount > 0) {
      --env().slpstartcount;
      return 0;
    }
  }
  return failGlobal(1, "NSLPfree: the nonlinear solver is not started");
} NVRL_CATCH(nullptr)

}  // extern "C"

// Global message handlers: every log line of every object reaches them, highest priority
// first. Handlers are called without the global mutex held, so they may call back into the
// library, including removing themselves or others.
#include <algorithm>

#include "core/entry.h"
#include "core/environment.h"

namespace nvrl {

void dispatchGlobal(NVRLobject obj, int msgtype, const char *msg, int len) {
  std::vector<GlobalHandler> snapshot;
  {
    std::lock_guard<std::mutex> lock(env().mu);
    if (env().handlers.empty()) return;
    snapshot = env().handlers;
  }
  for (const GlobalHandler &h : snapshot) {
    // A handler removed by an earlier one in this round is not called any more.
    bool still_registered;
    {
      std::lock_guard<std::mutex> lock(env().mu);
      still_registered = std::any_of(env().handlers.begin(), env().handlers.end(),
                                     [&](const GlobalHandler &g) { return g.serial == h.serial; });
    }
    if (still_registered) h.handler(obj, h.data, nullptr, msg, len, msgtype);
  }
}

}  // namespace nvrl

using nvrl::env;

extern "C" {

NVRL_API int NVRL_ge_addcbmsghandler(NVRLgemsghandler handler, void *data, int priority) NVRL_TRY {
  if (!handler) return nvrl::failGlobal(1, "NVRL_ge_addcbmsghandler: null handler");
  std::lock_guard<std::mutex> lock(env().mu);
  auto &hs = env().handlers;
  // After every handler of equal or higher priority: equal priorities keep registration order.
  auto pos = std::find_if(hs.begin(), hs.end(),
                          [&](const nvrl::GlobalHandler &g) { return g.priority < priority; });
  hs.insert(pos, nvrl::GlobalHandler{handler, data, priority, env().next_serial++});
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NVRL_ge_removecbmsghandler(NVRLgemsghandler handler, void *data) NVRL_TRY {
  std::lock_guard<std::mutex> lock(env().mu);
  auto &hs = env().handlers;
  hs.erase(std::remove_if(hs.begin(), hs.end(),
                          [&](const nvrl::GlobalHandler &g) {
                            return (!handler || g.handler == handler) && (!data || g.data == data);
                          }),
           hs.end());
  return 0;
} NVRL_CATCH(nullptr)

}  // extern "C"

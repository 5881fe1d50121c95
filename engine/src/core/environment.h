// Process-wide state of the library: start counts, global message handlers, the last global
// error and the set of live object handles. One mutex guards all of it.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/problem.h"

namespace nvrl {

constexpr const char *kLibraryVersion = "0.1.0";

struct GlobalHandler {
  NVRLgemsghandler handler;
  void *data;
  int priority;
  uint64_t serial;  // identifies the registration while handlers are being called
};

struct Environment {
  std::mutex mu;
  int startcount = 0;      // NVRLinit calls not yet matched by NVRLfree
  int slpstartcount = 0;   // the same for NSLPinit/NSLPfree
  int checkedmode = 1;
  int archconsistent = 0;
  int lasterror_code = 0;
  std::string lasterror;
  std::vector<GlobalHandler> handlers;  // highest priority first; equal priorities keep order
  uint64_t next_serial = 1;
  std::unordered_set<const nvrl_object_s *> live;
};

Environment &env();

// Live-object registry: every handle the library gives out is registered on creation and
// removed before it is freed, so a stale pointer is recognised without being dereferenced.
void registerObject(const nvrl_object_s *obj);
void unregisterObject(const nvrl_object_s *obj);
bool isLiveObject(const nvrl_object_s *obj);
// A live optimiser problem (checked before the pointer is dereferenced).
inline bool isLiveProblem(const nvrl_problem_s *p) {
  return p && isLiveObject(p) && p->kind == ObjectKind::Problem;
}
// A live handle of the given kind (problem or nonlinear problem); otherwise records "Null
// <kind> handle" or "Invalid or destroyed <kind> handle" as the global last error.
bool liveHandle(const nvrl_object_s *obj, ObjectKind kind);
// Both checks under one lock, for the per-call handle validation.
bool isLiveAndStarted(const nvrl_object_s *obj);

bool libraryStarted();
bool slpStarted();

// The global switch for architecture-consistent results (fixed thread count, deterministic
// algorithms), read by the solvers.
bool archConsistent();

}  // namespace nvrl

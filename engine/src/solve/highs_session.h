// The persistent HiGHS instance of a problem: it holds the lowered model and its basis so
// that a re-solve after small changes warm-starts.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "solve/lowered_model.h"

namespace nvrl {

// A new HiGHS instance; throws EngineError when HiGHS cannot create one.
void *createHighs();

// Owns a HiGHS instance for a scope, so that it goes away on every path out.
struct HighsDeleter {
  void operator()(void *h) const noexcept;
};
using HighsInstance = std::unique_ptr<void, HighsDeleter>;

class HighsSession {
 public:
  HighsSession();
  ~HighsSession();
  HighsSession(const HighsSession &) = delete;
  HighsSession &operator=(const HighsSession &) = delete;

  void *handle() const { return highs_; }

  // Brings HiGHS up to date with the model. Nothing happens when the model version and mode
  // are those of the last call. When the lowered structure (matrix, Hessian, integrality) is
  // unchanged only the changed costs, bounds, offset and sense are passed, which keeps the
  // basis; otherwise the whole model is passed. Returns false with a message in `err`.
  bool sync(const Model &m, uint64_t version, LowerMode mode, std::string &err);

  const LoweredModel &lowered() const { return lowered_; }
  // The model version and mode HiGHS was last brought up to date with.
  uint64_t syncedVersion() const { return version_; }
  LowerMode syncedMode() const { return mode_; }
  bool loaded() const { return loaded_; }
  // HiGHS no longer holds the lowered model (a change could not be undone): the next sync
  // passes the whole model.
  void invalidate() { loaded_ = false; }

  // A basis (user rows and columns, NVRL_BASIS_... codes) to start the next solve from.
  void setPendingBasis(std::vector<int> rowstat, std::vector<int> colstat);
  // A starting point (user columns; rows as activities, empty when not given).
  void setPendingSolution(std::vector<double> x, std::vector<double> activity,
                          std::vector<double> duals, std::vector<double> djs);
  // Hands a pending basis or starting point to HiGHS (after sync).
  bool applyPending(std::string &err);

 private:
  bool passWholeModel(const LoweredModel &L, LowerMode mode, std::string &err);
  bool passChanges(const LoweredModel &L, std::string &err);

  void *highs_ = nullptr;  // Highs_create()
  LoweredModel lowered_;
  bool loaded_ = false;
  uint64_t version_ = 0;
  LowerMode mode_ = LowerMode::Relaxation;

  bool have_basis_ = false;
  std::vector<int> basis_rows_, basis_cols_;
  bool have_start_ = false;
  std::vector<double> start_x_, start_act_, start_duals_, start_djs_;
};

}  // namespace nvrl

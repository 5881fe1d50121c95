// NVRLsave, NVRLsaveas and NVRLrestore: the problem's store, controls and last answers as a
// binary snapshot (lp_data/snapshot.h). A restore builds everything aside, the HiGHS session
// with the saved basis included, and swaps it in only once the whole file has been accepted.
#include <memory>
#include <string>

#include "core/entry.h"
#include "core/problem.h"
#include "lp_data/snapshot.h"
#include "solve/highs_session.h"

using nvrl::checkProblem;
namespace snap = nvrl::snap;

namespace {

int save(nvrl_problem_s *p, const char *fn, const std::string &path) {
  snap::Writer w;
  snap::writeProblem(w, p->model, p->sol, p->controls);
  try {
    snap::writeFileReplacing(path, snap::wrap(snap::Kind::Optimiser, w.bytes()));
  } catch (const snap::SnapshotError &e) {
    return p->fail("%s: %s", fn, e.what());
  }
  return 0;
}

}  // namespace

extern "C" {

NVRL_API int NVRLsaveas(NVRLprob prob, const char *filename) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLsaveas: no file name given");
  return save(p, __func__, filename);
} NVRL_CATCH(prob)

NVRL_API int NVRLsave(NVRLprob prob) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  return save(p, __func__, snap::savePath(p->model.name));
} NVRL_CATCH(prob)

NVRL_API int NVRLrestore(NVRLprob prob, const char *probname, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = checkProblem(prob, __func__);
  if (!p) return 1;
  bool keep_controls = false, drop_answers = false;
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c == 'c') keep_controls = true;
    else if (*c == 'n') drop_answers = true;
    else return p->fail("NVRLrestore: unknown flag '%c' (known: 'c' keep the current controls, "
                        "'n' without the saved answers)", *c);
  }
  const std::string name = probname && *probname ? std::string(probname)
                           : p->model.name.empty() ? std::string("problem")
                                                   : p->model.name;
  const std::string path = snap::restorePath(name);
  snap::ProblemImage img;
  std::unique_ptr<nvrl::HighsSession> session;
  try {
    const std::string bytes = snap::readFileBytes(path);
    snap::Reader r(snap::unwrap(bytes, snap::Kind::Optimiser));
    img = snap::readProblem(r);
    r.expectEnd("snapshot");
  } catch (const snap::SnapshotError &e) {
    return p->fail("NVRLrestore: '%s': %s", path.c_str(), e.what());
  }
  if (drop_answers) img.sol = nvrl::SolveState();
  if (img.sol.have_basis) {
    // The next solve starts from the saved basis, as it would have in the saved problem.
    session.reset(new nvrl::HighsSession());
    session->setPendingBasis(img.sol.rowstat, img.sol.colstat);
  }
  std::string skipped;
  for (const std::string &s : img.skipped_controls) skipped += (skipped.empty() ? "" : ", ") + s;

  // Everything has been read and checked: from here on nothing can fail.
  p->model = std::move(img.model);
  p->modelChanged();
  p->sol = std::move(img.sol);
  if (!keep_controls) p->controls = std::move(img.controls);
  p->highs.reset(session.release());
  if (!skipped.empty() && !keep_controls)
    try {
      p->logCoded(NVRL_MSGCODE_CONTROLS_SKIPPED, NVRL_MSG_WARNING,
                  "NVRLrestore: controls this library does not know were skipped: " + skipped);
    } catch (...) {
      // The problem has changed: a line that cannot be delivered is dropped.
    }
  return 0;
} NVRL_CATCH(prob)

}  // extern "C"

#include "solve/feasibility_check.h"

#include <vector>

#include "interfaces/highs_c_api.h"
#include "solve/highs_session.h"

namespace nvrl {

int feasiblePoint(const LoweredModel &L, void *like) {
  HighsInstance instance(createHighs());
  void *h = instance.get();
  Highs_setBoolOptionValue(h, "output_flag", 0);
  // The same thread count as the caller's instance, so HiGHS's shared scheduler is not
  // restarted under a solve in progress.
  HighsInt threads = 0;
  double time_limit = Highs_getInfinity(h);
  Highs_getIntOptionValue(like, "threads", &threads);
  Highs_getDoubleOptionValue(like, "time_limit", &time_limit);
  Highs_setIntOptionValue(h, "threads", threads);
  Highs_setDoubleOptionValue(h, "time_limit", time_limit);
  const std::vector<double> zero(L.cols(), 0.0);
  const HighsInt status = Highs_passModel(
      h, L.cols(), L.rows(), static_cast<HighsInt>(L.nnz()), 0, kHighsMatrixFormatRowwise,
      kHighsHessianFormatTriangular, kHighsObjSenseMinimize, 0.0, zero.data(), L.col_lo.data(),
      L.col_up.data(), L.row_lo.data(), L.row_up.data(), L.a_start.data(), L.a_index.data(),
      L.a_value.data(), nullptr, nullptr, nullptr,
      L.hasIntegers() ? L.integrality.data() : nullptr);
  int found = -1;
  if (status != kHighsStatusError) {
    Highs_run(h);
    HighsInt primal = kHighsSolutionStatusNone;
    Highs_getIntInfoValue(h, "primal_solution_status", &primal);
    if (primal == kHighsSolutionStatusFeasible)
      found = 1;
    else if (Highs_getModelStatus(h) == kHighsModelStatusInfeasible)
      found = 0;
  }
  return found;
}

}  // namespace nvrl

#include "solve/highs_session.h"

#include "interfaces/highs_c_api.h"

namespace nvrl {

HighsSession::HighsSession() : highs_(Highs_create()) {}

HighsSession::~HighsSession() {
  if (highs_) Highs_destroy(highs_);
}

}  // namespace nvrl

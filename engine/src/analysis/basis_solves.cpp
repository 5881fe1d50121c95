// The basis matrix of the last LP solve: forward and backward solves through HiGHS's factor,
// in the engine's pivot order.
#include "analysis/basis_solves.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/entry.h"
#include "interfaces/highs_c_api.h"
#include "solve/highs_session.h"

namespace nvrl {

namespace {

constexpr double kHighsInfinity = std::numeric_limits<double>::infinity();

double fromHighsInf(double v) {
  if (v >= kHighsInfinity) return kInf;
  if (v <= -kHighsInfinity) return -kInf;
  return v;
}

}  // namespace

bool BasisView::load(void *highs, const LoweredModel &L, std::string &err) {
  h_ = highs;
  m_ = L.rows();
  n_ = L.cols();
  sense_ = L.sense;
  cost_ = L.cost;
  const int nv = m_ + n_;
  value_.assign(nv, 0.0);
  dj_.assign(nv, 0.0);
  lo_.resize(nv);
  up_.resize(nv);
  for (int i = 0; i < m_; ++i) {
    lo_[i] = -fromHighsInf(L.row_up[i]);
    up_[i] = -fromHighsInf(L.row_lo[i]);
  }
  for (int j = 0; j < n_; ++j) {
    lo_[m_ + j] = fromHighsInf(L.col_lo[j]);
    up_[m_ + j] = fromHighsInf(L.col_up[j]);
  }

  std::vector<double> colv(n_), cold(n_), rowv(m_), rowd(m_);
  if (nv > 0 && Highs_getSolution(h_, colv.data(), cold.data(), rowv.data(), rowd.data()) ==
                    kHighsStatusError) {
    err = "HiGHS holds no solution";
    return false;
  }
  for (int i = 0; i < m_; ++i) {
    value_[i] = -rowv[i];
    dj_[i] = -rowd[i];  // the logical's cost is 0 and its column +e_i
  }
  for (int j = 0; j < n_; ++j) {
    value_[m_ + j] = colv[j];
    dj_[m_ + j] = cold[j];
  }
  obj_ = Highs_getObjectiveValue(h_);

  std::vector<HighsInt> basic(m_);
  if (m_ > 0 && Highs_getBasicVariables(h_, basic.data()) != kHighsStatusOk) {
    err = "HiGHS holds no factored basis";
    return false;
  }
  std::vector<int> hposOf(nv, -1);
  for (int r = 0; r < m_; ++r) {
    const int var = basic[r] >= 0 ? m_ + static_cast<int>(basic[r]) : static_cast<int>(-basic[r] - 1);
    if (var < 0 || var >= nv || hposOf[var] >= 0) {
      err = "HiGHS reports an invalid basis";
      return false;
    }
    hposOf[var] = r;
  }
  pivots_.clear();
  pos_.assign(nv, -1);
  hpos_.clear();
  for (int var = 0; var < nv; ++var)
    if (hposOf[var] >= 0) {
      pos_[var] = static_cast<int>(pivots_.size());
      pivots_.push_back(var);
      hpos_.push_back(hposOf[var]);
    }

  // Column-wise copy of the row-wise matrix, for column dot products.
  cstart_.assign(n_ + 1, 0);
  for (int k : L.a_index) ++cstart_[k + 1];
  for (int j = 0; j < n_; ++j) cstart_[j + 1] += cstart_[j];
  crow_.resize(L.a_index.size());
  cval_.resize(L.a_index.size());
  std::vector<int> next(cstart_.begin(), cstart_.end() - 1);
  for (int i = 0; i < m_; ++i)
    for (int k = L.a_start[i]; k < L.a_start[i + 1]; ++k) {
      const int at = next[L.a_index[k]]++;
      crow_[at] = i;
      cval_[at] = L.a_value[k];
    }
  return true;
}

int BasisView::side(int var) const {
  const double lo = lo_[var], up = up_[var], v = value_[var];
  const bool hasLo = lo > -kInf, hasUp = up < kInf;
  if (hasLo && hasUp && up - lo <= 1e-12 * std::max(1.0, std::fabs(lo))) return 0;
  const double tol = 1e-9 * std::max(1.0, std::fabs(v));
  if (hasLo && (!hasUp || std::fabs(v - lo) <= std::fabs(up - v)) && std::fabs(v - lo) <= tol)
    return 1;
  if (hasUp && std::fabs(up - v) <= tol) return -1;
  return 2;
}

bool BasisView::ftran(std::vector<double> &v, std::string &err) const {
  if (m_ == 0) return true;
  std::vector<double> sol(m_, 0.0);
  std::vector<HighsInt> idx(m_);
  HighsInt nnz = 0;
  if (Highs_getBasisSolve(h_, v.data(), sol.data(), &nnz, idx.data()) != kHighsStatusOk) {
    err = "HiGHS could not solve with the basis matrix";
    return false;
  }
  for (int k = 0; k < m_; ++k) v[k] = sol[hpos_[k]];
  return true;
}

bool BasisView::btran(std::vector<double> &v, std::string &err) const {
  if (m_ == 0) return true;
  std::vector<double> rhs(m_), sol(m_, 0.0);
  for (int k = 0; k < m_; ++k) rhs[hpos_[k]] = v[k];
  std::vector<HighsInt> idx(m_);
  HighsInt nnz = 0;
  if (Highs_getBasisTransposeSolve(h_, rhs.data(), sol.data(), &nnz, idx.data()) !=
      kHighsStatusOk) {
    err = "HiGHS could not solve with the transposed basis matrix";
    return false;
  }
  v.swap(sol);
  return true;
}

void BasisView::column(int var, std::vector<double> &out) const {
  out.assign(m_, 0.0);
  if (var < m_) {
    out[var] = 1.0;
    return;
  }
  const int j = var - m_;
  for (int k = cstart_[j]; k < cstart_[j + 1]; ++k) out[crow_[k]] = cval_[k];
}

double BasisView::dot(const std::vector<double> &y, int var) const {
  if (var < m_) return y[var];
  const int j = var - m_;
  double s = 0.0;
  for (int k = cstart_[j]; k < cstart_[j + 1]; ++k) s += y[crow_[k]] * cval_[k];
  return s;
}

double BasisView::columnMaxAbs(int var) const {
  if (var < m_) return 1.0;
  double s = 0.0;
  for (int k = cstart_[var - m_]; k < cstart_[var - m_ + 1]; ++k) s = std::max(s, std::fabs(cval_[k]));
  return s;
}

double BasisView::columnSumAbs(int var) const {
  if (var < m_) return 1.0;
  double s = 0.0;
  for (int k = cstart_[var - m_]; k < cstart_[var - m_ + 1]; ++k) s += std::fabs(cval_[k]);
  return s;
}

void *basisOfProblem(nvrl_problem_s *p, bool needOptimal, const LoweredModel **Lout) {
  const SolveState &s = p->sol;
  if (s.was_mip) {
    p->fail("The last solve was a MIP, which leaves no simplex basis: solve the problem as an LP");
    return nullptr;
  }
  if (!s.have_basis || !p->highs || !p->highs->loaded()) {
    p->fail("No basis is available: solve the problem as an LP first");
    return nullptr;
  }
  HighsSession &session = *p->highs;
  if (session.syncedVersion() != p->version || session.syncedMode() != LowerMode::Relaxation) {
    p->fail("The problem has changed since its last solve: solve it again for a current basis");
    return nullptr;
  }
  const LoweredModel &L = session.lowered();
  bool same = L.cols() == p->model.cols() && L.rows() == p->model.rows() && !L.hasHessian() &&
              p->model.qrows.empty();
  for (int i = 0; same && i < L.user_rows; ++i) same = L.user_row_to_highs[i] == i;
  if (!same) {
    p->fail("The solver works on a reformulation of this problem (free rows dropped, or "
            "columns and rows added for quadratic or logical parts), so the basis is not one of "
            "the problem's own rows and columns");
    return nullptr;
  }
  if (needOptimal && (s.lpstatus != NVRL_LP_OPTIMAL || !s.have_dual)) {
    p->fail("Ranging needs an optimal basis: the last LP solve did not end optimal");
    return nullptr;
  }
  // A basis loaded after the solve is not the one HiGHS holds.
  std::vector<HighsInt> cs(L.cols()), rs(L.rows());
  if (Highs_getBasis(session.handle(), cs.data(), rs.data()) == kHighsStatusError) {
    p->fail("No basis is available: solve the problem as an LP first");
    return nullptr;
  }
  for (int j = 0; j < L.cols(); ++j)
    if ((cs[j] == kHighsBasisStatusBasic) != (s.colstat[j] == NVRL_BASIS_BASIC)) {
      p->fail("The basis has been replaced since the last solve: solve the problem again");
      return nullptr;
    }
  for (int i = 0; i < L.rows(); ++i)
    if ((rs[i] == kHighsBasisStatusBasic) != (s.rowstat[i] == NVRL_BASIS_BASIC)) {
      p->fail("The basis has been replaced since the last solve: solve the problem again");
      return nullptr;
    }
  *Lout = &L;
  return session.handle();
}

}  // namespace nvrl

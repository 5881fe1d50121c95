// Lowering the model store into the model HiGHS solves.
#include <algorithm>
#include <cmath>
#include <limits>

#include "solve/lowered_model.h"
#include "solve/reformulate.h"

namespace nvrl {

namespace {

constexpr double kHInf = std::numeric_limits<double>::infinity();

double toHighsLo(double v) { return isInfLo(v) ? -kHInf : v; }
double toHighsUp(double v) { return isInfUp(v) ? kHInf : v; }

bool isDiscreteType(char t) { return t != 'C'; }

}  // namespace

// Row bounds of a user row in activity terms.
void userRowBounds(const Model &m, int i, double &lo, double &up) {
  const double rhs = m.rhs[i];
  switch (m.rowtype[i]) {
    case 'L': lo = -kHInf; up = toHighsUp(rhs); break;
    case 'G': lo = toHighsLo(rhs); up = kHInf; break;
    case 'E': lo = rhs; up = rhs; break;
    case 'R': lo = toHighsLo(rhs - m.range[i]); up = toHighsUp(rhs); break;
    default: lo = -kHInf; up = kHInf; break;
  }
}

namespace {

bool isIndicatorRow(const Model &m, int i) {
  return i < static_cast<int>(m.indcol.size()) && m.indcol[i] >= 0 &&
         i < static_cast<int>(m.indcomp.size()) && m.indcomp[i] != 0;
}

}  // namespace

bool LoweredModel::hasIntegers() const {
  for (int t : integrality)
    if (t != 0) return true;
  return false;
}

int LoweredModel::addCol(double c, double lo, double up, int integer) {
  cost.push_back(c);
  col_lo.push_back(lo);
  col_up.push_back(up);
  integrality.push_back(integer);
  return cols() - 1;
}

int LoweredModel::addRow(double lo, double up, const std::vector<std::pair<int, double>> &entries) {
  row_lo.push_back(lo);
  row_up.push_back(up);
  // HiGHS rejects repeated indices in a row: merge them (a column may occur twice, e.g. an
  // indicator column that is also in its row).
  std::vector<std::pair<int, double>> merged(entries);
  std::sort(merged.begin(), merged.end(),
            [](const auto &a, const auto &b) { return a.first < b.first; });
  for (size_t k = 0; k < merged.size();) {
    const int col = merged[k].first;
    double val = 0.0;
    for (; k < merged.size() && merged[k].first == col; ++k) val += merged[k].second;
    if (val == 0.0) continue;
    a_index.push_back(col);
    a_value.push_back(val);
  }
  a_start.push_back(static_cast<int>(a_index.size()));
  return rows() - 1;
}

bool LoweredModel::sameStructure(const LoweredModel &o) const {
  return user_cols == o.user_cols && user_rows == o.user_rows && integrality == o.integrality &&
         a_start == o.a_start && a_index == o.a_index && a_value == o.a_value &&
         q_start == o.q_start && q_index == o.q_index && q_value == o.q_value &&
         user_row_to_highs == o.user_row_to_highs;
}

bool hasQuadraticObjective(const Model &m) {
  for (const auto &[key, v] : m.qobj)
    if (v != 0.0) return true;
  return false;
}

bool hasGlobalEntities(const Model &m) {
  for (char t : m.coltype)
    if (isDiscreteType(t)) return true;
  if (!m.sets.empty() || !m.gencons.empty() || !m.pwlcons.empty()) return true;
  for (int i = 0; i < m.rows(); ++i)
    if (isIndicatorRow(m, i)) return true;
  return false;
}

static bool lowerColumns(const Model &m, LowerMode mode, LoweredModel &L, std::string &err) {
  const int n = m.cols();
  L.cost.reserve(n);
  L.col_lo.reserve(n);
  L.col_up.reserve(n);
  L.integrality.reserve(n);
  for (int j = 0; j < n; ++j) {
    double lo = toHighsLo(m.lb[j]), up = toHighsUp(m.ub[j]);
    int integer = 0;
    switch (m.coltype[j]) {
      case 'I': integer = 1; break;
      case 'B':
        lo = std::max(lo, 0.0);
        up = std::min(up, 1.0);
        integer = 1;
        break;
      case 'S':
      case 'R':
        // In a relaxation the column may take anything between 0 and its upper bound.
        if (mode == LowerMode::Relaxation) lo = std::min(lo, 0.0);
        // The tree search branches on x = 0 or x >= threshold; negative values are outside
        // both, as in the full reformulation.
        if (mode == LowerMode::Tree) {
          lo = std::max(m.limit[j], lo) > 0.0 ? 0.0 : std::max(m.limit[j], lo);
          integer = m.coltype[j] == 'R';
        }
        break;
      default: break;  // 'C'; 'P' is continuous in a relaxation, rebuilt below otherwise
    }
    if (mode == LowerMode::Relaxation) integer = 0;
    L.addCol(m.obj[j], lo, up, integer);
  }
  return true;
}

static void lowerRows(const Model &m, LowerMode mode, LoweredModel &L) {
  const int nr = m.rows();
  L.user_row_to_highs.assign(nr, -1);
  L.row_lo.reserve(nr);
  L.row_up.reserve(nr);
  L.a_start.reserve(nr + 1);
  L.a_index.reserve(m.A.nnz());
  L.a_value.reserve(m.A.nnz());
  const RowMatrix &A = m.A.rows();
  for (int i = 0; i < nr; ++i) {
    if (m.rowtype[i] == 'N') continue;
    // Indicator rows only hold conditionally: the full model rebuilds them with big-M rows,
    // a relaxation leaves them out.
    if (isIndicatorRow(m, i)) continue;
    double lo, up;
    userRowBounds(m, i, lo, up);
    L.user_row_to_highs[i] = L.rows();
    L.row_lo.push_back(lo);
    L.row_up.push_back(up);
    for (int64_t k = A.start[i]; k < A.start[i + 1]; ++k) {
      L.a_index.push_back(A.col[k]);
      L.a_value.push_back(A.val[k]);
    }
    L.a_start.push_back(static_cast<int>(L.a_index.size()));
  }
}

// HiGHS takes the lower triangle column-wise; the store keeps (i, j) with i <= j, which is
// column i, row j of the lower triangle, already in column order.
static void lowerHessian(const Model &m, LoweredModel &L) {
  if (!hasQuadraticObjective(m)) return;
  const int n = m.cols();
  L.q_start.assign(n + 1, 0);
  for (const auto &[key, v] : m.qobj) {
    if (v == 0.0) continue;
    L.q_index.push_back(key.second);
    L.q_value.push_back(v);
    ++L.q_start[key.first + 1];
  }
  for (int j = 0; j < n; ++j) L.q_start[j + 1] += L.q_start[j];
  L.q_start.pop_back();  // HiGHS wants the n column starts only
}

void rowActivityRange(const Model &m, const LoweredModel &L, int row, double &lo, double &up) {
  lo = 0.0;
  up = 0.0;
  const RowMatrix &A = m.A.rows();
  for (int64_t k = A.start[row]; k < A.start[row + 1]; ++k) {
    const int j = A.col[k];
    const double a = A.val[k];
    const double cl = L.col_lo[j], cu = L.col_up[j];
    lo += a > 0 ? a * cl : a * cu;
    up += a > 0 ? a * cu : a * cl;
  }
  if (std::isnan(lo)) lo = -kHInf;
  if (std::isnan(up)) up = kHInf;
}

bool lowerModel(const Model &m, LowerMode mode, LoweredModel &out, std::string &err) {
  LoweredModel L;
  L.user_cols = m.cols();
  L.user_rows = m.rows();
  L.sense = m.objsense >= 0 ? 1 : -1;
  L.offset = m.objconst;
  if (m.A.nnz() > std::numeric_limits<int>::max()) {
    err = "The matrix has more nonzeros than HiGHS can take (2^31 - 1)";
    return false;
  }
  if (!lowerColumns(m, mode, L, err)) return false;
  lowerRows(m, mode, L);
  lowerHessian(m, L);
  if (mode == LowerMode::Full) {
    if (!reformulateColumnTypes(m, L, err) || !reformulateSets(m, L, err) ||
        !reformulateIndicators(m, L, err) || !reformulateGeneralConstraints(m, L, err) ||
        !reformulatePiecewiseLinear(m, L, err))
      return false;
  } else if (mode == LowerMode::Tree) {
    if (!reformulateIndicators(m, L, err) || !reformulateGeneralConstraints(m, L, err) ||
        !reformulatePiecewiseLinear(m, L, err))
      return false;
  }
  // Auxiliary columns carry no Hessian entries; extend the column starts to cover them.
  if (L.hasHessian()) L.q_start.resize(L.cols(), static_cast<int>(L.q_index.size()));
  out = std::move(L);
  return true;
}

}  // namespace nvrl

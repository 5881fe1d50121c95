// Column types, special ordered sets and quadratic triplets.
#include "lp_data/model_rules.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace nvrl {

void applyColType(Model &m, int j, char t, double lim) {
  m.coltype[j] = t;
  m.limit[j] = (t == 'S' || t == 'R' || t == 'P') ? lim : 0.0;
  if (t == 'B') {
    m.lb[j] = std::max(m.lb[j], 0.0);
    m.ub[j] = std::min(m.ub[j], 1.0);
  }
}

bool checkSets(Check &c, int nsets, const char *settype, const int64_t *begin,
               const int64_t *end, const int *colind, const double *refval, int ncols,
               const char *typearg, const char *indarg, const char *refarg) {
  if (!c.array(settype, nsets, typearg)) return false;
  std::unordered_set<int> cols;
  std::unordered_set<double> refs;
  for (int k = 0; k < nsets; ++k) {
    if (settype[k] != '1' && settype[k] != '2') {
      c.fail("%s[%d] must be '1' or '2'", typearg, k);
      return false;
    }
    cols.clear();
    refs.clear();
    for (int64_t e = begin[k]; e < end[k]; ++e) {
      const long long pos = static_cast<long long>(e);
      if (colind[e] < 0 || colind[e] >= ncols) {
        c.fail("%s[%lld] = %d is not a valid column index (the problem has %d columns)",
               indarg, pos, colind[e], ncols);
        return false;
      }
      if (!c.finite(refval[e], refarg, e)) return false;
      if (!cols.insert(colind[e]).second) {
        c.fail("set %d lists column %d twice (%s[%lld])", k, colind[e], indarg, pos);
        return false;
      }
      // The reference values order the members; a repeated one leaves the order undefined.
      if (!refs.insert(refval[e]).second) {
        c.fail("set %d repeats the reference value %g (%s[%lld])", k, refval[e], refarg, pos);
        return false;
      }
    }
  }
  return true;
}

void appendSets(Model &m, int nsets, const char *settype, const int64_t *begin,
                const int64_t *end, const int *colind, const double *refval) {
  reserveMore(m.sets, nsets);
  reserveMore(m.setnames, nsets);
  for (int k = 0; k < nsets; ++k) {
    SpecialOrderedSet s;
    s.type = settype[k];
    s.cols.assign(colind + begin[k], colind + end[k]);
    s.refs.assign(refval + begin[k], refval + end[k]);
    m.sets.push_back(std::move(s));
    m.setnames.emplace_back();
  }
}

void addTriplets(QMatrix &q, int64_t n, const int *c1, const int *c2, const double *v) {
  for (int64_t k = 0; k < n; ++k) {
    if (v[k] == 0.0) continue;
    auto key = std::minmax(c1[k], c2[k]);
    auto [it, fresh] = q.try_emplace({key.first, key.second}, v[k]);
    if (!fresh) {
      it->second += v[k];
      if (it->second == 0.0) q.erase(it);
    }
  }
}

QEntries::QEntries(const QMatrix &q, int64_t n, const int *c1, const int *c2, const double *v,
                   bool add)
    : n_(n), c1_(c1), c2_(c2), v_(v), add_(add) {
  for (int64_t k = 0; k < n; ++k) {
    if (add && v[k] == 0.0) continue;
    auto key = std::minmax(c1[k], c2[k]);
    if (!q.count({key.first, key.second})) fresh_.try_emplace({key.first, key.second}, 0.0);
  }
}

void QEntries::applyTo(QMatrix &q) noexcept {
  // Every key is present from here on (new ones at 0), so nothing below allocates.
  while (!fresh_.empty()) q.insert(fresh_.extract(fresh_.begin()));
  for (int64_t k = 0; k < n_; ++k) {
    if (add_ && v_[k] == 0.0) continue;
    auto key = std::minmax(c1_[k], c2_[k]);
    double &entry = q.find({key.first, key.second})->second;
    entry = add_ ? entry + v_[k] : v_[k];
  }
  for (int64_t k = 0; k < n_; ++k) {
    auto key = std::minmax(c1_[k], c2_[k]);
    auto it = q.find({key.first, key.second});
    if (it != q.end() && it->second == 0.0) q.erase(it);
  }
}

bool checkTriplets(Check &c, int64_t n, const int *c1, const int *c2, const double *v,
                   const char *arg1, const char *arg2, const char *valarg, int ncols) {
  if (!c.count(n, "the number of quadratic coefficients")) return false;
  if (!c.array(c1, n, arg1) || !c.array(c2, n, arg2) || !c.array(v, n, valarg)) return false;
  for (int64_t k = 0; k < n; ++k) {
    if (c1[k] < 0 || c1[k] >= ncols || c2[k] < 0 || c2[k] >= ncols) {
      const bool first_bad = c1[k] < 0 || c1[k] >= ncols;
      c.fail("%s[%lld] = %d is not a valid column index (the problem has %d columns)",
             first_bad ? arg1 : arg2, static_cast<long long>(k), first_bad ? c1[k] : c2[k],
             ncols);
      return false;
    }
    if (!c.coefficient(v[k], valarg, k)) return false;
  }
  return true;
}

}  // namespace nvrl

#include "tree/entities.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace nvrl::tree {

Entities readEntities(const Model &m, const LoweredModel &L) {
  Entities e;
  e.integer.assign(L.cols(), 0);
  for (int j = 0; j < L.cols(); ++j) e.integer[j] = L.integrality[j] != 0;
  for (int j = 0; j < m.cols(); ++j) {
    const char t = m.coltype[j];
    if (t == 'S' || t == 'R') {
      const double threshold = std::max(m.limit[j], m.lb[j]);
      // A threshold at or below 0 leaves an ordinary (integer) column.
      if (threshold > 0.0) e.semis.push_back({j, threshold});
    } else if (t == 'P') {
      if (m.limit[j] > L.col_lo[j]) e.partials.push_back({j, m.limit[j]});
    }
  }
  for (const SpecialOrderedSet &s : m.sets) {
    const int k = static_cast<int>(s.cols.size());
    // One member (type 1) or two (type 2) may always be non-zero: nothing to branch on.
    if (k <= (s.type == '2' ? 2 : 1)) continue;
    std::vector<int> order(k);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return s.refs[a] < s.refs[b]; });
    OrderedSet o{s.type, {}};
    for (int t : order) o.cols.push_back(s.cols[t]);
    e.sets.push_back(std::move(o));
  }
  for (char c : e.integer) e.integers += c;
  return e;
}

void setSupport(const OrderedSet &s, const std::vector<double> &x, double feastol, int &first,
                int &last) {
  first = last = -1;
  for (int t = 0; t < static_cast<int>(s.cols.size()); ++t)
    if (std::fabs(x[s.cols[t]]) > feastol) {
      if (first < 0) first = t;
      last = t;
    }
}

std::vector<Candidate> violations(const Entities &e, const std::vector<double> &x, double inttol,
                                  double feastol) {
  std::vector<Candidate> out;
  std::vector<char> special(e.integer.size(), 0);
  for (const SemiColumn &s : e.semis) {
    special[s.col] = 1;
    const double v = x[s.col];
    if (v > feastol && v < s.threshold - feastol)
      out.push_back({Candidate::Semi, s.col, v, s.threshold});
    else if (e.integer[s.col] && v > feastol && std::fabs(v - std::round(v)) > inttol)
      out.push_back({Candidate::Integer, s.col, v, 0.0});
  }
  for (const PartialColumn &pc : e.partials) {
    special[pc.col] = 1;
    const double v = x[pc.col];
    if (v < pc.limit - feastol && std::fabs(v - std::round(v)) > inttol)
      out.push_back({Candidate::Partial, pc.col, v, pc.limit});
  }
  for (size_t j = 0; j < e.integer.size(); ++j)
    if (e.integer[j] && !special[j] && std::fabs(x[j] - std::round(x[j])) > inttol)
      out.push_back({Candidate::Integer, static_cast<int>(j), x[j], 0.0});
  for (size_t s = 0; s < e.sets.size(); ++s) {
    int first, last;
    setSupport(e.sets[s], x, feastol, first, last);
    const int allowed = e.sets[s].type == '2' ? 1 : 0;
    if (first >= 0 && last - first > allowed)
      out.push_back({Candidate::Set, static_cast<int>(s), 0.0, 0.0});
  }
  return out;
}

}  // namespace nvrl::tree

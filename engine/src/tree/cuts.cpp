#include "tree/cuts.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace nvrl::tree {

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

struct Item {
  int col;
  double a;         // > 0, on x or on its complement 1 - x
  double v;         // the point's value of x or of the complement
  bool complement;
};

// Largest sum of values (integers, capped at cap) of a subset of items whose weight stays
// within room, from minWeight[v], the least weight reaching value v (kInf: none).
int bestValue(const std::vector<double> &minWeight, double room) {
  for (int v = static_cast<int>(minWeight.size()) - 1; v > 0; --v)
    if (minWeight[v] <= room + 1e-9) return v;
  return 0;
}

void addItem(std::vector<double> &minWeight, int value, double a) {
  const int cap = static_cast<int>(minWeight.size()) - 1;
  for (int v = cap; v >= 0; --v) {
    if (!std::isfinite(minWeight[v])) continue;
    const int t = std::min(cap, v + value);
    minWeight[t] = std::min(minWeight[t], minWeight[v] + a);
  }
  // Reaching a value also reaches every smaller one.
  for (int v = cap - 1; v >= 0; --v) minWeight[v] = std::min(minWeight[v], minWeight[v + 1]);
}

// One knapsack sum a_k y_k <= b over binaries y (x or 1 - x): a minimal cover C (sum over C
// of a > b) gives sum_C y <= |C| - 1, and every other item is lifted into it in turn (those
// the point holds highest first): its coefficient is what the cut's left side can still
// gain when the item takes its weight out of the knapsack, found by a small knapsack over
// the values of the items already in the cut.
// The items are taken into the cover in the given order.
bool coverFromOrder(const std::vector<Item> &items, const std::vector<size_t> &order, double b,
                    Cut &cut, double &violation) {
  std::vector<char> in(items.size(), 0);
  double w = 0.0;
  std::vector<size_t> members;
  for (size_t k = 0; k < order.size() && w <= b + 1e-9; ++k) {
    in[order[k]] = 1;
    w += items[order[k]].a;
    members.push_back(order[k]);
  }
  if (w <= b + 1e-9) return false;
  // Minimal: drop the members the point holds lowest while the rest still covers.
  std::sort(members.begin(), members.end(), [&](size_t p, size_t q) { return items[p].v < items[q].v; });
  for (size_t i : members)
    if (w - items[i].a > b + 1e-9) {
      in[i] = 0;
      w -= items[i].a;
    }
  int size = 0;
  for (size_t i = 0; i < items.size(); ++i) size += in[i];
  const int rhs = size - 1;
  std::vector<int> coef(items.size(), 0);
  std::vector<double> minWeight(rhs + 1, kInf);
  minWeight[0] = 0.0;
  for (size_t i = 0; i < items.size(); ++i)
    if (in[i]) {
      coef[i] = 1;
      addItem(minWeight, 1, items[i].a);
    }
  std::vector<size_t> rest;
  for (size_t i = 0; i < items.size(); ++i)
    if (!in[i]) rest.push_back(i);
  std::stable_sort(rest.begin(), rest.end(), [&](size_t p, size_t q) { return items[p].v > items[q].v; });
  for (size_t i : rest) {
    const double room = b - items[i].a;
    // An item heavier than the knapsack is 0 at every solution: any coefficient holds.
    const int alpha = room < -1e-9 ? rhs : rhs - bestValue(minWeight, room);
    if (alpha <= 0) continue;
    coef[i] = alpha;
    addItem(minWeight, alpha, items[i].a);
  }
  double lhs = 0.0;
  cut.index.clear();
  cut.value.clear();
  cut.rhs = rhs;
  for (size_t i = 0; i < items.size(); ++i) {
    if (coef[i] == 0) continue;
    lhs += coef[i] * items[i].v;
    cut.index.push_back(items[i].col);
    // alpha (1 - x) on a complemented item: -alpha x, and alpha moves to the right-hand side.
    cut.value.push_back(items[i].complement ? -coef[i] : coef[i]);
    if (items[i].complement) cut.rhs -= coef[i];
  }
  violation = lhs - rhs;
  return true;
}

// The more violated cover of two greedy orders: by (1 - y) per unit of weight (the classic
// one), and by y alone, which finds the cover of an LP vertex (its items at 1 and the
// fractional one) when a heavy item at 0 would come first in the classic order.
bool coverCut(const std::vector<Item> &items, double b, double minViolation, Cut &cut,
              double &violation) {
  double total = 0.0;
  for (const Item &it : items) total += it.a;
  if (b < 0.0 || total <= b + 1e-9) return false;
  std::vector<size_t> order(items.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  violation = -1.0;
  for (int pass = 0; pass < 2; ++pass) {
    if (pass == 0)
      std::sort(order.begin(), order.end(), [&](size_t p, size_t q) {
        return (1.0 - items[p].v) * items[q].a < (1.0 - items[q].v) * items[p].a;
      });
    else
      std::sort(order.begin(), order.end(), [&](size_t p, size_t q) { return items[p].v > items[q].v; });
    Cut c;
    double v = 0.0;
    if (coverFromOrder(items, order, b, c, v) && v > violation) {
      violation = v;
      cut = std::move(c);
    }
  }
  return violation > minViolation;
}

}  // namespace

std::vector<Cut> separateCovers(const LoweredModel &L, const std::vector<double> &lo,
                                const std::vector<double> &up, const std::vector<double> &x,
                                int maxCuts, double minViolation) {
  std::vector<std::pair<double, Cut>> found;
  if (static_cast<int>(L.integrality.size()) != L.cols()) return {};
  std::vector<Item> items;
  for (int i = 0; i < L.rows(); ++i) {
    // The row as <= (sign 1) and, for a finite lower side, as -row <= -lo (sign -1).
    for (const double sign : {1.0, -1.0}) {
      const double side = sign > 0 ? L.row_up[i] : -L.row_lo[i];
      if (!std::isfinite(side)) continue;
      double b = side;
      bool usable = true;
      items.clear();
      for (int k = L.a_start[i]; k < L.a_start[i + 1] && usable; ++k) {
        const int j = L.a_index[k];
        const double a = sign * L.a_value[k];
        if (lo[j] == up[j]) {
          b -= a * lo[j];
        } else if (L.integrality[j] && lo[j] == 0.0 && up[j] == 1.0) {
          if (a > 0)
            items.push_back({j, a, x[j], false});
          else {
            b -= a;
            items.push_back({j, -a, 1.0 - x[j], true});
          }
        } else {
          // The least this column can contribute leaves the most room for the binaries.
          const double bound = a > 0 ? lo[j] : up[j];
          if (!std::isfinite(bound)) usable = false;
          b -= a * bound;
        }
      }
      if (!usable || items.size() < 2) continue;
      Cut cut;
      double violation = 0.0;
      if (coverCut(items, b, minViolation, cut, violation)) found.push_back({violation, std::move(cut)});
    }
  }
  return mostViolated(std::move(found), maxCuts);
}

std::vector<Cut> mostViolated(std::vector<std::pair<double, Cut>> found, int maxCuts) {
  std::sort(found.begin(), found.end(),
            [](const auto &p, const auto &q) { return p.first > q.first; });
  std::vector<Cut> out;
  for (auto &f : found) {
    if (static_cast<int>(out.size()) >= maxCuts) break;
    out.push_back(std::move(f.second));
  }
  return out;
}

}  // namespace nvrl::tree

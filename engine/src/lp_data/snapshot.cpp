#include "lp_data/snapshot.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <sys/stat.h>

#include "core/registry.h"
#include "core/text.h"

namespace nvrl::snap {

namespace {

// PNG-style: the high byte and the line ends catch files mangled by text-mode transfers.
constexpr char kMagic[8] = {'\x89', 'N', 'V', 'S', 'V', '\r', '\n', '\x1a'};
constexpr size_t kHeader = 8 + 4 + 4 + 8;

// Record tags of an optimiser problem.
constexpr uint32_t kTagModel = 0x4c444f4d;     // "MODL"
constexpr uint32_t kTagSolve = 0x564c4f53;     // "SOLV"
constexpr uint32_t kTagControls = 0x4c525443;  // "CTRL"

uint64_t fnv1a(std::string_view bytes) {
  uint64_t h = 1469598103934665603ULL;
  for (unsigned char c : bytes) {
    h ^= c;
    h *= 1099511628211ULL;
  }
  return h;
}

[[noreturn]] void corrupt(const std::string &what) { throw SnapshotError("corrupt: " + what); }

void check(bool ok, const char *what) {
  if (!ok) corrupt(what);
}

bool inRange(int64_t v, int64_t lo, int64_t hi) { return v >= lo && v <= hi; }

template <class Vec>
void checkSize(const Vec &v, size_t n, const char *what) {
  if (v.size() != n) corrupt(format("%s has %zu entries for %zu items", what, v.size(), n));
}

// One entry per item when required, otherwise empty or one entry per item.
template <class Vec>
void checkSizeIf(bool required, const Vec &v, size_t n, const char *what) {
  if (required || !v.empty()) checkSize(v, n, what);
}

void writeQ(Writer &w, const QMatrix &q) {
  w.u64(q.size());
  for (const auto &[key, v] : q) {
    w.i32(key.first);
    w.i32(key.second);
    w.f64(v);
  }
}

QMatrix readQ(Reader &r, int ncols, const char *what) {
  QMatrix q;
  const size_t n = r.count(16);
  for (size_t k = 0; k < n; ++k) {
    const int i = r.i32(), j = r.i32();
    const double v = r.f64();
    if (!inRange(i, 0, ncols - 1) || !inRange(j, i, ncols - 1) || !std::isfinite(v))
      corrupt(format("%s has an entry (%d, %d) outside the columns or below the diagonal", what,
                     i, j));
    q.emplace_hint(q.end(), std::pair(i, j), v);
  }
  if (q.size() != n) corrupt(format("%s repeats an entry", what));
  return q;
}

bool validColType(char t) { return std::strchr("CIBSRP", t) && t; }
bool validRowType(char t) { return std::strchr("LGERN", t) && t; }

}  // namespace

// ----- Bytes ---------------------------------------------------------------------------

void Writer::u32(uint32_t v) {
  for (int k = 0; k < 4; ++k) out_.push_back(static_cast<char>(v >> (8 * k)));
}

void Writer::u64(uint64_t v) {
  for (int k = 0; k < 8; ++k) out_.push_back(static_cast<char>(v >> (8 * k)));
}

void Writer::f64(double v) {
  uint64_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  u64(bits);
}

void Writer::str(std::string_view s) {
  u64(s.size());
  out_.append(s.data(), s.size());
}

void Writer::ints(const std::vector<int> &v) {
  u64(v.size());
  for (int x : v) i32(x);
}

void Writer::dbls(const std::vector<double> &v) {
  u64(v.size());
  for (double x : v) f64(x);
}

void Writer::chars(const std::vector<char> &v) {
  u64(v.size());
  out_.append(v.data(), v.size());
}

void Writer::strs(const std::vector<std::string> &v) {
  u64(v.size());
  for (const std::string &s : v) str(s);
}

void Writer::record(uint32_t tag, const std::function<void(Writer &)> &body) {
  u32(tag);
  const size_t at = out_.size();
  u64(0);  // the length, filled in below
  body(*this);
  const uint64_t len = out_.size() - at - 8;
  for (int k = 0; k < 8; ++k) out_[at + k] = static_cast<char>(len >> (8 * k));
}

const char *Reader::take(size_t n) {
  if (n > in_.size() - pos_) throw SnapshotError("truncated: the data ends inside a record");
  const char *p = in_.data() + pos_;
  pos_ += n;
  return p;
}

uint8_t Reader::u8() { return static_cast<uint8_t>(*take(1)); }

uint32_t Reader::u32() {
  const unsigned char *p = reinterpret_cast<const unsigned char *>(take(4));
  uint32_t v = 0;
  for (int k = 3; k >= 0; --k) v = (v << 8) | p[k];
  return v;
}

uint64_t Reader::u64() {
  const unsigned char *p = reinterpret_cast<const unsigned char *>(take(8));
  uint64_t v = 0;
  for (int k = 7; k >= 0; --k) v = (v << 8) | p[k];
  return v;
}

double Reader::f64() {
  const uint64_t bits = u64();
  double v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

size_t Reader::count(size_t each) {
  const uint64_t n = u64();
  if (n > (in_.size() - pos_) / (each ? each : 1))
    throw SnapshotError(format("truncated: a count of %llu does not fit in the data left",
                               static_cast<unsigned long long>(n)));
  return static_cast<size_t>(n);
}

std::string Reader::str() {
  const size_t n = count(1);
  return std::string(take(n), n);
}

std::vector<int> Reader::ints() {
  std::vector<int> v(count(4));
  for (int &x : v) x = i32();
  return v;
}

std::vector<double> Reader::dbls() {
  std::vector<double> v(count(8));
  for (double &x : v) x = f64();
  return v;
}

std::vector<char> Reader::chars() {
  const size_t n = count(1);
  const char *p = take(n);
  return std::vector<char>(p, p + n);
}

std::vector<std::string> Reader::strs() {
  std::vector<std::string> v(count(8));
  for (std::string &s : v) s = str();
  return v;
}

uint32_t Reader::peekTag() const {
  if (in_.size() - pos_ < 4) return 0;
  Reader ahead(in_.substr(pos_, 4));
  return ahead.u32();
}

void Reader::record(uint32_t tag, const char *what, const std::function<void(Reader &)> &body) {
  if (u32() != tag) corrupt(format("the %s record is missing", what));
  const uint64_t len = u64();
  if (len > in_.size() - pos_) throw SnapshotError(format("truncated: the %s record is cut", what));
  Reader inner(in_.substr(pos_, static_cast<size_t>(len)));
  body(inner);
  inner.expectEnd(what);
  pos_ += static_cast<size_t>(len);
}

void Reader::expectEnd(const char *what) const {
  if (!atEnd()) corrupt(format("the %s record has %zu bytes left over", what, in_.size() - pos_));
}

// ----- The file envelope ---------------------------------------------------------------

std::string wrap(Kind kind, std::string_view payload) {
  Writer w;
  std::string out(kMagic, sizeof kMagic);
  w.u32(kFormatVersion);
  w.u32(static_cast<uint32_t>(kind));
  w.u64(payload.size());
  out += w.bytes();
  out.append(payload.data(), payload.size());
  Writer sum;
  sum.u64(fnv1a(out));
  out += sum.bytes();
  return out;
}

std::string_view unwrap(std::string_view file, Kind expected) {
  if (file.size() < sizeof kMagic || std::memcmp(file.data(), kMagic, sizeof kMagic) != 0)
    throw SnapshotError("not a problem snapshot (no snapshot header)");
  if (file.size() < kHeader + 8) throw SnapshotError("truncated: the header is incomplete");
  Reader head(file.substr(sizeof kMagic, kHeader - sizeof kMagic));
  const uint32_t version = head.u32();
  const uint32_t kind = head.u32();
  const uint64_t length = head.u64();
  if (version == 0 || version > kFormatVersion)
    throw SnapshotError(format("written in snapshot format %u; this library reads format %u",
                               version, kFormatVersion));
  if (file.size() - kHeader - 8 < length)
    throw SnapshotError(format("truncated: %zu of %llu bytes", file.size(),
                               static_cast<unsigned long long>(kHeader + length + 8)));
  if (file.size() - kHeader - 8 > length) corrupt("bytes after the end of the snapshot");
  const std::string_view body = file.substr(0, kHeader + length);
  Reader sum(file.substr(kHeader + length));
  if (sum.u64() != fnv1a(body)) corrupt("the checksum does not match the contents");
  if (kind != static_cast<uint32_t>(expected)) {
    if (kind == static_cast<uint32_t>(Kind::Nonlinear))
      throw SnapshotError("holds a nonlinear problem; restore it with NSLPrestore");
    if (kind == static_cast<uint32_t>(Kind::Optimiser))
      throw SnapshotError("holds an optimiser problem without nonlinear data; restore it "
                          "with NVRLrestore");
    corrupt(format("unknown snapshot kind %u", kind));
  }
  return file.substr(kHeader, length);
}

// ----- The model -----------------------------------------------------------------------

void writeModel(Writer &w, const Model &m) {
  w.str(m.name);
  w.i32(m.objsense);
  w.f64(m.objconst);
  w.dbls(m.obj);
  w.dbls(m.lb);
  w.dbls(m.ub);
  w.chars(m.coltype);
  w.dbls(m.limit);
  w.strs(m.colnames);

  w.chars(m.rowtype);
  w.dbls(m.rhs);
  w.dbls(m.range);
  w.strs(m.rownames);
  const RowMatrix &A = m.A.rows();
  w.u64(A.start.size());
  for (int64_t s : A.start) w.i64(s);
  w.ints(A.col);
  w.dbls(A.val);
  w.ints(m.indcol);
  w.ints(m.indcomp);

  writeQ(w, m.qobj);
  w.u64(m.qrows.size());
  for (const auto &[row, q] : m.qrows) {
    w.i32(row);
    writeQ(w, q);
  }

  w.u64(m.sets.size());
  for (const SpecialOrderedSet &s : m.sets) {
    w.u8(static_cast<uint8_t>(s.type));
    w.ints(s.cols);
    w.dbls(s.refs);
  }
  w.strs(m.setnames);

  w.u64(m.gencons.size());
  for (const GeneralConstraint &g : m.gencons) {
    w.i32(g.type);
    w.i32(g.resultant);
    w.ints(g.cols);
    w.dbls(g.vals);
  }
  w.u64(m.pwlcons.size());
  for (const PwlConstraint &c : m.pwlcons) {
    w.i32(c.col);
    w.i32(c.resultant);
    w.dbls(c.x);
    w.dbls(c.y);
  }
}

Model readModel(Reader &r) {
  Model m;
  m.name = r.str();
  check(m.name.size() <= NVRL_MAXNAMELEN, "the problem name is too long");
  m.objsense = r.i32();
  check(m.objsense == 1 || m.objsense == -1, "the objective sense is neither 1 nor -1");
  m.objconst = r.f64();
  check(std::isfinite(m.objconst), "the objective constant is not finite");
  m.obj = r.dbls();
  const size_t nc = m.obj.size();
  check(nc <= static_cast<size_t>(INT32_MAX), "too many columns");
  m.lb = r.dbls();
  m.ub = r.dbls();
  m.coltype = r.chars();
  m.limit = r.dbls();
  m.colnames = r.strs();
  checkSize(m.lb, nc, "the lower bounds");
  checkSize(m.ub, nc, "the upper bounds");
  checkSize(m.coltype, nc, "the column types");
  checkSize(m.limit, nc, "the column limits");
  checkSize(m.colnames, nc, "the column names");
  for (size_t j = 0; j < nc; ++j)
    check(validColType(m.coltype[j]) && std::isfinite(m.obj[j]) && !std::isnan(m.lb[j]) &&
              !std::isnan(m.ub[j]) && !std::isnan(m.limit[j]),
          "a column has an unknown type or a value that is not a number");
  const int ncols = static_cast<int>(nc);

  m.rowtype = r.chars();
  const size_t nr = m.rowtype.size();
  check(nr <= static_cast<size_t>(INT32_MAX), "too many rows");
  m.rhs = r.dbls();
  m.range = r.dbls();
  m.rownames = r.strs();
  checkSize(m.rhs, nr, "the right-hand sides");
  checkSize(m.range, nr, "the ranges");
  checkSize(m.rownames, nr, "the row names");
  for (size_t i = 0; i < nr; ++i)
    check(validRowType(m.rowtype[i]) && !std::isnan(m.rhs[i]) && !std::isnan(m.range[i]),
          "a row has an unknown type or a value that is not a number");
  const size_t nstart = r.count(8);
  if (nstart != nr + 1) corrupt(format("the matrix has %zu row starts for %zu rows", nstart, nr));
  RowMatrix &A = m.A.rowsToChange();
  A.start.resize(nstart);
  for (int64_t &s : A.start) s = r.i64();
  A.col = r.ints();
  A.val = r.dbls();
  checkSize(A.val, A.col.size(), "the matrix values");
  check(A.start[0] == 0 && A.start.back() == static_cast<int64_t>(A.col.size()),
        "the matrix starts do not span its entries");
  for (size_t i = 0; i < nr; ++i) check(A.start[i] <= A.start[i + 1], "a row start decreases");
  for (size_t k = 0; k < A.col.size(); ++k)
    check(inRange(A.col[k], 0, ncols - 1) && std::isfinite(A.val[k]),
          "a matrix entry has a column out of range or a value that is not finite");
  m.indcol = r.ints();
  m.indcomp = r.ints();
  checkSize(m.indcol, nr, "the indicator columns");
  checkSize(m.indcomp, nr, "the indicator senses");
  for (size_t i = 0; i < nr; ++i)
    check(m.indcomp[i] == 0 ? inRange(m.indcol[i], -1, ncols - 1)
                            : (m.indcomp[i] == 1 || m.indcomp[i] == -1) &&
                                  inRange(m.indcol[i], 0, ncols - 1),
          "an indicator names a column out of range");

  m.qobj = readQ(r, ncols, "the quadratic objective");
  const size_t nq = r.count(12);
  for (size_t k = 0; k < nq; ++k) {
    const int row = r.i32();
    check(inRange(row, 0, static_cast<int64_t>(nr) - 1), "a quadratic row is out of range");
    if (!m.qrows.emplace(row, readQ(r, ncols, "a quadratic row")).second)
      corrupt("a quadratic row is repeated");
  }

  const size_t ns = r.count(17);
  m.sets.resize(ns);
  for (SpecialOrderedSet &s : m.sets) {
    s.type = static_cast<char>(r.u8());
    s.cols = r.ints();
    s.refs = r.dbls();
    check(s.type == '1' || s.type == '2', "a set has an unknown type");
    checkSize(s.refs, s.cols.size(), "a set's reference values");
    for (int c : s.cols) check(inRange(c, 0, ncols - 1), "a set member is out of range");
  }
  m.setnames = r.strs();
  checkSize(m.setnames, ns, "the set names");

  const size_t ng = r.count(24);
  m.gencons.resize(ng);
  for (GeneralConstraint &g : m.gencons) {
    g.type = r.i32();
    g.resultant = r.i32();
    g.cols = r.ints();
    g.vals = r.dbls();
    check(inRange(g.resultant, 0, ncols - 1), "a general constraint's resultant is out of range");
    for (int c : g.cols) check(inRange(c, 0, ncols - 1), "a general constraint's column is out of range");
  }
  const size_t np = r.count(24);
  m.pwlcons.resize(np);
  for (PwlConstraint &c : m.pwlcons) {
    c.col = r.i32();
    c.resultant = r.i32();
    c.x = r.dbls();
    c.y = r.dbls();
    check(inRange(c.col, 0, ncols - 1) && inRange(c.resultant, 0, ncols - 1),
          "a piecewise-linear constraint's column is out of range");
    checkSize(c.y, c.x.size(), "a piecewise-linear constraint's breakpoints");
  }
  return m;
}

// ----- Answers -------------------------------------------------------------------------

void writeSolveState(Writer &w, const SolveState &s) {
  w.i32(s.lpstatus);
  w.i32(s.mipstatus);
  w.i32(s.stopstatus);
  w.u8(static_cast<uint8_t>(s.have_primal | s.have_point << 1 | s.have_dual << 2 |
                            s.have_basis << 3 | s.cut_off << 4 | s.was_mip << 5 |
                            s.has_primal_ray << 6 | s.has_dual_ray << 7));
  w.f64(s.lpobjval);
  w.f64(s.mipobjval);
  w.f64(s.bestbound);
  w.f64(s.mipgap);
  w.i64(s.simplex_iter);
  w.i64(s.barrier_iter);
  w.i64(s.nodes);
  w.i32(s.solutions);
  w.f64(s.solvetime);
  w.dbls(s.x);
  w.dbls(s.slack);
  w.dbls(s.duals);
  w.dbls(s.djs);
  w.ints(s.rowstat);
  w.ints(s.colstat);
  w.dbls(s.primal_ray);
  w.dbls(s.dual_ray);
  w.i32(s.unbounded_col);
}

SolveState readSolveState(Reader &r, const Model &m) {
  SolveState s;
  s.lpstatus = r.i32();
  s.mipstatus = r.i32();
  s.stopstatus = r.i32();
  const uint8_t bits = r.u8();
  s.have_primal = bits & 1;
  s.have_point = bits & 2;
  s.have_dual = bits & 4;
  s.have_basis = bits & 8;
  s.cut_off = bits & 16;
  s.was_mip = bits & 32;
  s.has_primal_ray = bits & 64;
  s.has_dual_ray = bits & 128;
  s.lpobjval = r.f64();
  s.mipobjval = r.f64();
  s.bestbound = r.f64();
  s.mipgap = r.f64();
  s.simplex_iter = r.i64();
  s.barrier_iter = r.i64();
  s.nodes = r.i64();
  s.solutions = r.i32();
  s.solvetime = r.f64();
  s.x = r.dbls();
  s.slack = r.dbls();
  s.duals = r.dbls();
  s.djs = r.dbls();
  s.rowstat = r.ints();
  s.colstat = r.ints();
  s.primal_ray = r.dbls();
  s.dual_ray = r.dbls();
  s.unbounded_col = r.i32();

  const size_t nc = static_cast<size_t>(m.cols()), nr = static_cast<size_t>(m.rows());
  // The queries index these vectors by the flags alone: each flag needs its full vectors.
  const bool point = s.have_primal || s.have_point;
  checkSizeIf(point, s.x, nc, "the solution");
  checkSizeIf(point, s.slack, nr, "the slacks");
  checkSizeIf(s.have_dual, s.duals, nr, "the duals");
  checkSizeIf(s.have_dual, s.djs, nc, "the reduced costs");
  checkSizeIf(s.have_basis, s.rowstat, nr, "the row basis");
  checkSizeIf(s.have_basis, s.colstat, nc, "the column basis");
  for (int b : s.rowstat) check(inRange(b, 0, 3), "a basis status is not 0..3");
  for (int b : s.colstat) check(inRange(b, 0, 3), "a basis status is not 0..3");
  checkSizeIf(s.has_primal_ray, s.primal_ray, nc, "the primal ray");
  checkSizeIf(s.has_dual_ray, s.dual_ray, nr, "the dual ray");
  check(inRange(s.unbounded_col, -1, static_cast<int64_t>(nc) - 1),
        "the unbounded column is out of range");
  return s;
}

// ----- Controls ------------------------------------------------------------------------

void writeControls(Writer &w, const ControlValues &c) {
  // Sorted by id so that equal controls give equal files.
  std::vector<std::pair<int, char>> ids;
  for (const auto &[id, v] : c.ints) ids.push_back({id, 'i'});
  for (const auto &[id, v] : c.dbls) ids.push_back({id, 'd'});
  for (const auto &[id, v] : c.strs) ids.push_back({id, 's'});
  std::sort(ids.begin(), ids.end());
  w.u64(ids.size());
  for (const auto &[id, kind] : ids) {
    const ParamInfo *p = findParam(id);
    w.str(p ? p->name : "");
    w.u8(static_cast<uint8_t>(kind));
    if (kind == 'i') w.i64(c.ints.at(id));
    else if (kind == 'd') w.f64(c.dbls.at(id));
    else w.str(c.strs.at(id));
  }
}

ControlValues readControls(Reader &r, bool nonlinear, std::vector<std::string> *skipped) {
  ControlValues c;
  const size_t n = r.count(17);
  for (size_t k = 0; k < n; ++k) {
    const std::string name = r.str();
    const char kind = static_cast<char>(r.u8());
    int64_t iv = 0;
    double dv = 0.0;
    std::string sv;
    if (kind == 'i') iv = r.i64();
    else if (kind == 'd') dv = r.f64();
    else if (kind == 's') sv = r.str();
    else corrupt("a control has an unknown value type");
    const ParamInfo *p = findParamByName(name.c_str());
    if (!p || !p->isControl() || p->isNonlinear() != nonlinear) {
      if (skipped) skipped->push_back(name);
      continue;
    }
    std::string why;
    if (kind == 'i' && p->isIntegral()) {
      why = checkIntValue(*p, iv);
      c.ints[p->id] = iv;
    } else if (kind == 'd' && p->type == ParamType::Double) {
      why = std::isnan(dv) ? "not a number" : checkDblValue(*p, dv);
      c.dbls[p->id] = dv;
    } else if (kind == 's' && p->type == ParamType::String) {
      why = sv.size() >= NVRL_MAXNAMELEN ? "too long" : checkStrValue(*p, sv.c_str());
      c.strs[p->id] = sv;
    } else {
      why = "of another type";
    }
    if (!why.empty()) corrupt("control " + name + ": " + why);
  }
  return c;
}

void writeProblem(Writer &w, const Model &m, const SolveState &s, const ControlValues &c) {
  w.record(kTagModel, [&](Writer &x) { writeModel(x, m); });
  w.record(kTagSolve, [&](Writer &x) { writeSolveState(x, s); });
  w.record(kTagControls, [&](Writer &x) { writeControls(x, c); });
}

ProblemImage readProblem(Reader &r) {
  ProblemImage img;
  r.record(kTagModel, "model", [&](Reader &x) { img.model = readModel(x); });
  r.record(kTagSolve, "answers", [&](Reader &x) { img.sol = readSolveState(x, img.model); });
  r.record(kTagControls, "controls",
           [&](Reader &x) { img.controls = readControls(x, false, &img.skipped_controls); });
  return img;
}

// ----- Files ---------------------------------------------------------------------------

namespace {

struct FileCloser {
  void operator()(std::FILE *f) const { std::fclose(f); }
};

bool exists(const std::string &path) {
  std::unique_ptr<std::FILE, FileCloser> f(std::fopen(path.c_str(), "rb"));
  return f != nullptr;
}

}  // namespace

void writeFileReplacing(const std::string &path, const std::string &bytes) {
  // Through a symbolic link the file it names is replaced, not the link. A device or pipe is
  // written as it is: renaming over it would put a regular file in its place.
  std::string target = path;
  struct stat st;
  if (lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) {
    std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    if (real) target = real.get();
  }
  const bool special = stat(target.c_str(), &st) == 0 && !S_ISREG(st.st_mode);
  const std::string tmp = special ? target : target + ".part";
  std::FILE *f = std::fopen(tmp.c_str(), "wb");
  if (!f)
    throw SnapshotError("cannot open '" + tmp + "' for writing: " + std::strerror(errno));
  bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  int err = errno;
  if (std::fclose(f) != 0 && ok) {
    ok = false;
    err = errno;
  }
  if (special) {
    if (!ok) throw SnapshotError("cannot write '" + path + "': " + std::strerror(err));
    return;
  }
  if (!ok || std::rename(tmp.c_str(), target.c_str()) != 0) {
    if (ok) err = errno;
    std::remove(tmp.c_str());
    throw SnapshotError("cannot write '" + path + "': " + std::strerror(err));
  }
}

std::string readFileBytes(const std::string &path) {
  std::unique_ptr<std::FILE, FileCloser> f(std::fopen(path.c_str(), "rb"));
  if (!f) throw SnapshotError("cannot open '" + path + "': " + std::strerror(errno));
  std::string bytes;
  char chunk[1 << 16];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, f.get())) > 0) bytes.append(chunk, got);
  if (std::ferror(f.get())) throw SnapshotError("cannot read '" + path + "': " + std::strerror(errno));
  return bytes;
}

std::string restorePath(const std::string &name) {
  const std::string svf = name + ".svf";
  if (!exists(svf) && exists(name)) return name;
  return svf;
}

std::string savePath(const std::string &probname) {
  return (probname.empty() ? std::string("problem") : probname) + ".svf";
}

}  // namespace nvrl::snap

// Problem snapshots: a versioned binary image of a problem's store, controls and last
// answers (see docs/file-formats.md, "Problem snapshots"). One writer and one reader per
// structure; readers check every size and index against what they have read before, so a
// file that passes the checksum but holds nonsense is refused rather than trusted.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/problem.h"

// The engine's tests forge and inspect snapshots with these.
#ifndef NVRL_INTERNAL_API
#define NVRL_INTERNAL_API __attribute__((visibility("default")))
#endif

namespace nvrl::snap {

// A file that cannot be read as a snapshot; the message says why (without the file name).
struct SnapshotError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Little-endian bytes, doubles as their exact bit patterns.
class NVRL_INTERNAL_API Writer {
 public:
  void u8(uint8_t v) { out_.push_back(static_cast<char>(v)); }
  void u32(uint32_t v);
  void u64(uint64_t v);
  void i32(int32_t v) { u32(static_cast<uint32_t>(v)); }
  void i64(int64_t v) { u64(static_cast<uint64_t>(v)); }
  void f64(double v);
  void str(std::string_view s);
  void ints(const std::vector<int> &v);
  void dbls(const std::vector<double> &v);
  void chars(const std::vector<char> &v);
  void strs(const std::vector<std::string> &v);
  // A record: tag, length, then what body writes. Its reader checks that it used exactly
  // the record's bytes.
  void record(uint32_t tag, const std::function<void(Writer &)> &body);
  const std::string &bytes() const { return out_; }
  std::string take() { return std::move(out_); }

 private:
  std::string out_;
};

class NVRL_INTERNAL_API Reader {
 public:
  explicit Reader(std::string_view in) : in_(in) {}
  uint8_t u8();
  uint32_t u32();
  uint64_t u64();
  int32_t i32() { return static_cast<int32_t>(u32()); }
  int64_t i64() { return static_cast<int64_t>(u64()); }
  double f64();
  std::string str();
  // A count of items each taking at least `each` bytes; refused when the rest of the input
  // cannot hold them (so a corrupt count cannot make a reader allocate wildly).
  size_t count(size_t each);
  std::vector<int> ints();
  std::vector<double> dbls();
  std::vector<char> chars();
  std::vector<std::string> strs();
  // The next record's tag (without consuming it), or 0 at the end of the input.
  uint32_t peekTag() const;
  // Reads the record with this tag through body, which must use exactly its bytes.
  void record(uint32_t tag, const char *what, const std::function<void(Reader &)> &body);
  bool atEnd() const { return pos_ == in_.size(); }
  void expectEnd(const char *what) const;

 private:
  const char *take(size_t n);
  std::string_view in_;
  size_t pos_ = 0;
};

// What a snapshot holds: an optimiser problem, or a nonlinear problem with the optimiser
// problem beneath it.
enum class Kind : uint32_t { Optimiser = 1, Nonlinear = 2 };

constexpr uint32_t kFormatVersion = 1;

// The whole file: header (magic, version, kind, payload length), payload, checksum.
NVRL_INTERNAL_API std::string wrap(Kind kind, std::string_view payload);
// The payload of a file's bytes after checking the header, the length and the checksum;
// throws SnapshotError (a foreign or truncated file, another kind, a newer version).
NVRL_INTERNAL_API std::string_view unwrap(std::string_view file, Kind expected);

// The optimiser problem's parts. Readers take what the file has already given (the model
// for the answers) to check sizes and indices.
NVRL_INTERNAL_API void writeModel(Writer &w, const Model &m);
NVRL_INTERNAL_API Model readModel(Reader &r);
NVRL_INTERNAL_API void writeSolveState(Writer &w, const SolveState &s);
NVRL_INTERNAL_API SolveState readSolveState(Reader &r, const Model &m);
// Controls by name, so that a snapshot stays readable when ids are added. Names this build
// does not know are skipped and listed in *skipped; a known control with a value it refuses
// makes the file corrupt.
NVRL_INTERNAL_API void writeControls(Writer &w, const ControlValues &c);
NVRL_INTERNAL_API ControlValues readControls(Reader &r, bool nonlinear, std::vector<std::string> *skipped);

// Model, answers and controls of an optimiser problem, as one record each.
NVRL_INTERNAL_API void writeProblem(Writer &w, const Model &m, const SolveState &s, const ControlValues &c);
struct ProblemImage {
  Model model;
  SolveState sol;
  ControlValues controls;
  std::vector<std::string> skipped_controls;
};
NVRL_INTERNAL_API ProblemImage readProblem(Reader &r);

// Files: written to a temporary name beside the target and renamed, so that a failed save
// leaves any earlier file intact (through a symbolic link, the file it names; a device or a
// pipe is written directly). Throw SnapshotError with a message naming the file.
NVRL_INTERNAL_API void writeFileReplacing(const std::string &path, const std::string &bytes);
NVRL_INTERNAL_API std::string readFileBytes(const std::string &path);
// The file NVRLrestore/NSLPrestore read for a name: "<name>.svf", or the name itself when no
// such file exists and the name names a file.
NVRL_INTERNAL_API std::string restorePath(const std::string &name);
// The file a save writes: "<name>.svf" for a problem name, "problem.svf" when it is empty.
NVRL_INTERNAL_API std::string savePath(const std::string &probname);

}  // namespace nvrl::snap

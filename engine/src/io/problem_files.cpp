// NVRLreadprob and NVRLwriteprob: choosing the format and the file, and keeping the problem
// unchanged unless the whole file was read; the file helpers are shared with NSLPreadprob.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "core/entry.h"
#include "core/problem.h"
#include "io/lp_reader.h"
#include "io/lp_writer.h"
#include "io/mps_reader.h"
#include "io/mps_writer.h"
#include "io/problem_files.h"
#include "io/text_input.h"
#include "lp_data/check.h"

namespace {

using nvrl::io::equalsNoCase;

// Position of the extension's dot in the last path component, or npos.
size_t extensionDot(const std::string &path) {
  size_t slash = path.find_last_of('/');
  size_t base = slash == std::string::npos ? 0 : slash + 1;
  size_t dot = path.find_last_of('.');
  if (dot == std::string::npos || dot <= base) return std::string::npos;
  return dot;
}

std::string extension(const std::string &path) {
  size_t dot = extensionDot(path);
  return dot == std::string::npos ? std::string() : path.substr(dot + 1);
}

// The file name without directories and extension; a read problem's name when the file
// does not give one.
std::string stem(const std::string &path) {
  size_t slash = path.find_last_of('/');
  size_t base = slash == std::string::npos ? 0 : slash + 1;
  size_t dot = extensionDot(path);
  return path.substr(base, (dot == std::string::npos ? path.size() : dot) - base);
}

bool fileExists(const std::string &path) {
  std::FILE *f = std::fopen(path.c_str(), "rb");
  if (!f) return false;
  std::fclose(f);
  return true;
}

struct FileCloser {
  void operator()(std::FILE *f) const { std::fclose(f); }
};

// Plain stdio rather than a stream: a stream swallows running out of memory and would hand
// back part of the file as if it were all of it.
bool readWholeFile(const std::string &path, std::string &content) {
  std::unique_ptr<std::FILE, FileCloser> f(std::fopen(path.c_str(), "rb"));
  if (!f) return false;
  std::string text;
  char chunk[1 << 16];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, f.get())) > 0) text.append(chunk, got);
  if (std::ferror(f.get())) return false;
  content = std::move(text);
  return true;
}

}  // namespace

namespace nvrl::io {

Model readProblemFile(const std::string &filename, char format, NonlinearSections *nonlinear,
                      std::string *path_out) {
  std::string path = filename;
  if (!fileExists(path)) {
    const int open_error = errno;
    // A bare name tries the usual extensions, MPS first.
    bool found = false;
    if (extensionDot(path) == std::string::npos) {
      for (const char *ext : {".mps", ".lp"}) {
        if ((format == 'l' && ext[1] == 'm') || (format == 'm' && ext[1] == 'l')) continue;
        if (fileExists(path + ext)) {
          path += ext;
          found = true;
          break;
        }
      }
    }
    if (!found)
      throw FileError("Cannot open problem file '" + filename + "': " + std::strerror(open_error));
  }
  if (!format) format = equalsNoCase(extension(path), "lp") ? 'l' : 'm';
  if (path_out) *path_out = path;

  std::string content;
  if (!readWholeFile(path, content))
    throw FileError("Cannot read problem file '" + path + "': " + std::strerror(errno));
  try {
    TextLines lines(std::move(content));
    Model model = format == 'l' ? readLp(lines, stem(path))
                                : readMps(lines, stem(path), nonlinear);
    if (model.name.size() > NVRL_MAXNAMELEN) model.name.resize(NVRL_MAXNAMELEN);
    // The argument checks of the other entry points do not see a file's numbers.
    const std::string bad = coefficientProblem(model);
    if (!bad.empty()) throw FileError(path + ": " + bad);
    return model;
  } catch (const ParseError &e) {
    if (e.line > 0) throw FileError(path + ":" + std::to_string(e.line) + ": " + e.what());
    throw FileError(path + ": " + e.what());
  }
}

std::string writePath(const std::string &filename, bool lp) {
  if (extensionDot(filename) != std::string::npos) return filename;
  return filename + (lp ? ".lp" : ".mps");
}

void writeTextFile(const std::string &path, const std::string &text) {
  std::FILE *f = std::fopen(path.c_str(), "wb");
  if (!f) throw FileError("Cannot open '" + path + "' for writing: " + std::strerror(errno));
  bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
  int err = errno;
  ok = (std::fclose(f) == 0) && ok;
  if (!ok) throw FileError("Cannot write '" + path + "': " + std::strerror(err));
}

}  // namespace nvrl::io

int NVRLreadprob(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLreadprob: no file name given");
  char format = 0;  // 'l' LP, 'm' MPS, 0 from the file name
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c != 'l' && *c != 'm') return p->fail("NVRLreadprob: unknown flag '%c'", *c);
    format = *c;
  }
  try {
    p->model = nvrl::io::readProblemFile(filename, format, nullptr, nullptr);
  } catch (const nvrl::io::FileError &e) {
    return p->fail("%s", e.what());
  }
  p->modelChanged();
  return 0;
} NVRL_CATCH(prob)

int NVRLwriteprob(NVRLprob prob, const char *filename, const char *flags) NVRL_TRY {
  nvrl_problem_s *p = nvrl::checkProblem(prob, __func__);
  if (!p) return 1;
  if (!filename || !*filename) return p->fail("NVRLwriteprob: no file name given");
  char format = 0;  // 'l' LP, 'm' MPS, 0 from the file name as a read would take it
  for (const char *c = flags ? flags : ""; *c; ++c) {
    if (*c == 'x') return p->fail("NVRLwriteprob: hexadecimal values (flag 'x') are not supported");
    if (*c != 'l' && *c != 'm') return p->fail("NVRLwriteprob: unknown flag '%c'", *c);
    format = *c;
  }
  const bool lp = format == 'l' ||
                  (format == 0 && equalsNoCase(extension(filename), "lp"));
  const std::string path = nvrl::io::writePath(filename, lp);
  try {
    std::string text;
    try {
      text = lp ? nvrl::io::writeLp(p->model) : nvrl::io::writeMps(p->model);
    } catch (const nvrl::io::WriteError &e) {
      return p->fail("Cannot write '%s': %s", path.c_str(), e.what());
    }
    nvrl::io::writeTextFile(path, text);
  } catch (const nvrl::io::FileError &e) {
    return p->fail("%s", e.what());
  }
  return 0;
} NVRL_CATCH(prob)

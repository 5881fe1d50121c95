// Finding, reading and writing problem files, shared by the optimiser's and the nonlinear
// solver's entry points.
#pragma once

#include <stdexcept>
#include <string>

#include "core/problem.h"
#include "io/mps_reader.h"

namespace nvrl::io {

// A problem file that cannot be found, read, understood or written; what() is the whole
// message for the last error (file, line and fault).
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Reads a problem file into a new model. format: 'l' LP, 'm' MPS, 0 chosen from the name; a
// name without an extension that does not exist is tried with .mps, then .lp. *path receives
// the file actually read; nonlinear is passed to the MPS reader. Throws FileError.
Model readProblemFile(const std::string &filename, char format, NonlinearSections *nonlinear,
                      std::string *path);

// The file written for a name: one without an extension gets .lp or .mps.
std::string writePath(const std::string &filename, bool lp);

// Writes text to path, replacing the file; throws FileError.
void writeTextFile(const std::string &path, const std::string &text);

}  // namespace nvrl::io

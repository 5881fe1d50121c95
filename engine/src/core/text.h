// Small text helpers shared by the engine's C API: printf-style formatting into std::string
// and bounded copies into caller buffers.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <mutex>
#include <string>

namespace nvrl {

std::string vformat(const char *fmt, va_list ap);
std::string format(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// Copies src into dst (capacity bytes, terminator included), truncating when needed.
void copyText(char *dst, size_t capacity, const char *src);

// What every getlasterror call hands back: code into *code_out, text into msg cut to maxbytes
// bytes with its terminator (nothing written when maxbytes is 0), and the bytes the whole
// text needs, terminator included, into *nbytes; each output may be null. A msg with a
// negative maxbytes writes nothing and fails as fn (the global last error): returns 1.
int writeLastError(const char *fn, int code, const std::string &text, int *code_out, char *msg,
                   int maxbytes, int *nbytes);

// writeLastError for a handle that keeps its last error in lasterror and lasterror_code,
// guarded by errmu (problems and nonlinear problems).
template <class Handle>
int writeHandleLastError(const char *fn, Handle *h, int *code_out, char *msg, int maxbytes,
                         int *nbytes) {
  std::string text;
  int code;
  {
    std::lock_guard<std::mutex> lock(h->errmu);
    text = h->lasterror;
    code = h->lasterror_code;
  }
  return writeLastError(fn, code, text, code_out, msg, maxbytes, nbytes);
}

}  // namespace nvrl

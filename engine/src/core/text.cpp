#include "core/text.h"

#include <cstdio>
#include <cstring>

#include "core/problem.h"

namespace nvrl {

std::string vformat(const char *fmt, va_list ap) {
  char buf[1024];
  va_list copy;
  va_copy(copy, ap);
  int n = std::vsnprintf(buf, sizeof buf, fmt, copy);
  va_end(copy);
  if (n < 0) return std::string(fmt);
  if (static_cast<size_t>(n) < sizeof buf) return std::string(buf, n);
  std::string big(static_cast<size_t>(n) + 1, '\0');
  std::vsnprintf(big.data(), big.size(), fmt, ap);
  big.resize(static_cast<size_t>(n));
  return big;
}

std::string format(const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string s = vformat(fmt, ap);
  va_end(ap);
  return s;
}

void copyText(char *dst, size_t capacity, const char *src) {
  if (!dst || capacity == 0) return;
  size_t n = std::strlen(src);
  if (n >= capacity) n = capacity - 1;
  std::memcpy(dst, src, n);
  dst[n] = '\0';
}

int writeLastError(const char *fn, int code, const std::string &text, int *code_out, char *msg,
                   int maxbytes, int *nbytes) {
  if (msg && maxbytes < 0) return failGlobal(1, "%s: negative buffer size %d", fn, maxbytes);
  if (code_out) *code_out = code;
  if (nbytes) *nbytes = static_cast<int>(text.size()) + 1;
  if (msg) copyText(msg, static_cast<size_t>(maxbytes), text.c_str());
  return 0;
}

}  // namespace nvrl

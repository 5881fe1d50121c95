// Small text helpers shared by the engine's C API: printf-style formatting into std::string
// and bounded copies into caller buffers.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

namespace nvrl {

std::string vformat(const char *fmt, va_list ap);
std::string format(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// Copies src into dst (capacity bytes, terminator included), truncating when needed.
void copyText(char *dst, size_t capacity, const char *src);

}  // namespace nvrl

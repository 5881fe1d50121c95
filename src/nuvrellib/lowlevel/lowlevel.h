// Helpers shared by the low-level method families (loading.cpp, changes.cpp).
#pragma once

#include <Python.h>

#include <cstdint>

#include "lowlevel/conv.h"
#include "module/args.h"

// Checks the starts of n segments of an array of total entries: every start within
// 0..total. what names the segments in the message. 0, or -1 with InterfaceError set.
int nvo_check_starts(const int64_t *start, int64_t n, int64_t total, const char *what);

// After a failed addition: removes the library rows (or columns) from first on and the
// modelling objects beyond first. The pending exception is kept.
void nvo_undo_added(problem_s *p, int64_t first, bool columns);

#!/usr/bin/env bash
# The whole test suite under AddressSanitizer and UndefinedBehaviorSanitizer:
#   tools/sanitize.sh [pytest args]
# Builds engine, engine tests and extension instrumented into build/asan (via devbuild.sh),
# runs the GoogleTest suite, then pytest with the sanitizer runtimes preloaded into the
# interpreter (which is not instrumented itself). Leak detection is off for pytest: the
# interpreter keeps its own allocations until exit. Any report fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
flags="-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer -g"
JOBS=${JOBS:-2} tools/devbuild.sh asan -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_C_FLAGS="$flags" \
    -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=address,undefined" \
    -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined"

export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
    ctest --test-dir build/asan --output-on-failure -j "${JOBS:-2}" -E AllocFailure
# The allocation-failure cases make HiGHS itself run out of memory, and HiGHS then leaks.
LSAN_OPTIONS=suppressions=$PWD/tools/lsan_alloc_failures.supp \
    ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
    ctest --test-dir build/asan --output-on-failure -j "${JOBS:-2}" -R AllocFailure

preload="$(g++ -print-file-name=libasan.so) $(g++ -print-file-name=libubsan.so)"
# Output is captured at the Python level only: a sanitizer report is written to file
# descriptor 2 just before the abort, and pytest's descriptor capture would lose it with the
# process.
LD_PRELOAD="$preload" ASAN_OPTIONS=detect_leaks=0:abort_on_error=1:allocator_may_return_null=1 \
    PYTHONPATH=build/asan/stage .venv/bin/python -m pytest tests -p no:cacheprovider \
    --capture=sys "$@"

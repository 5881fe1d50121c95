# Two entry points: `make demo` and `make test`. Both set up everything they need.
VENV    ?= .venv
PY      := $(VENV)/bin/python
PIP     := $(PY) -m pip
BUILD   := build/py
STAMP   := $(VENV)/.deps-stamp
SUDO    := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
JOBS    ?= $(shell nproc)

.PHONY: demo test build deps system-deps test-engine test-python test-np126 bench sanitize clean

demo: build
	$(PY) -m nuvrel examples/demo.mps

test: build test-engine test-python
	@if $(PY) -c 'import sys; sys.exit(sys.version_info >= (3, 13))'; then $(MAKE) test-np126; \
	else echo "test-np126 skipped: numpy 1.26 has no wheels for Python 3.13 and later"; fi

test-engine: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

test-python: build
	$(PY) -m pytest tests

build: deps
	CMAKE_BUILD_PARALLEL_LEVEL=$(JOBS) $(PIP) install --no-build-isolation --no-deps -q \
	    -C cmake.define.NVRL_BUILD_TESTS=ON .

deps: system-deps $(STAMP)

$(STAMP): pyproject.toml
	test -x $(PY) || python3 -m venv $(VENV)
	$(PIP) install -q --upgrade pip
	$(PIP) install -q "scikit-build-core>=0.10" "cmake>=3.21" ninja "numpy>=1.26,<3" \
	    "highsbox==1.15.1" "pytest>=8" "hypothesis>=6"
	touch $@

# The array tests again under numpy 1.26 at run time, with the package built against numpy 2:
# build/np126 is a venv of the same interpreter holding numpy 1.26 and the test tools (made once),
# and a .pth file appends the directory holding the installed nuvrel (by default .venv's
# site-packages, whose later place on the path keeps its numpy 2 hidden).
NP126     := build/np126
NP126_PY  := $(NP126)/bin/python
NP126_PKG ?= $(shell $(PY) -c 'import sysconfig; print(sysconfig.get_paths()["purelib"])')
NP126_TESTS := $(wildcard tests/test_arrays*.py tests/test_vars*.py) tests/test_module_import.py \
	tests/test_problem_solve.py tests/test_expression.py

$(NP126)/.deps-stamp: | $(STAMP)
	$(PY) -m venv $(NP126)
	$(NP126_PY) -m pip install -q --upgrade pip
	$(NP126_PY) -m pip install -q "numpy==1.26.*" "pytest>=8" "hypothesis>=6"
	touch $@

test-np126: $(NP126)/.deps-stamp
	@test -d "$(NP126_PKG)/nuvrel" || { echo "no installed nuvrel in '$(NP126_PKG)': run make build first"; exit 1; }
	echo "$(abspath $(NP126_PKG))" > "$$($(NP126_PY) -c 'import sysconfig; print(sysconfig.get_paths()["purelib"])')/nuvrel-under-test.pth"
	cd $(NP126) && ./bin/python -c 'import numpy, nuvrel; print("numpy", numpy.__version__, "with", nuvrel.__file__); assert numpy.__version__.startswith("1.26")'
	$(NP126_PY) -m pytest -p no:cacheprovider $(NP126_TESTS)

# GoogleTest for the engine's unit tests comes from Debian.
system-deps:
	@if [ ! -f /usr/include/gtest/gtest.h ]; then \
	    $(SUDO) apt-get update -qq && $(SUDO) apt-get install -y -qq libgtest-dev; \
	fi

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer (build/asan).
sanitize: deps
	tools/sanitize.sh

bench: build
	for b in benchmarks/*.py; do $(PY) $$b || exit 1; done

clean:
	rm -rf build

# Two entry points: `make demo` and `make test`. Both set up everything they need.
VENV    ?= .venv
PY      := $(VENV)/bin/python
PIP     := $(PY) -m pip
BUILD   := build/py
STAMP   := $(VENV)/.deps-stamp
SUDO    := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
JOBS    ?= $(shell nproc)

.PHONY: demo test build deps system-deps test-engine test-python bench sanitize clean

demo: build
	$(PY) -m nuvrel examples/demo.mps

test: build test-engine test-python

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

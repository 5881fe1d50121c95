"""Shared fixtures for the tests of the nuvrel package.

The native module keeps process-wide state (library start count, module defaults, output
switch), so tests that change it for good run their code in a fresh interpreter (run_python).
Internal helpers of the extension that no Python function exposes on its own are reached with
ctypes through the extension's exported symbols (native); the solver library itself through
its C interface (engine).
"""

import ctypes
import os
import subprocess
import sys
import textwrap

import pytest

import nuvrel
from nuvrel import nuvrellib


@pytest.fixture(scope="session")
def nv():
    return nuvrel


@pytest.fixture(scope="session")
def native():
    """The extension as a ctypes library that keeps the interpreter lock during calls and
    raises the Python error a call leaves set."""
    return ctypes.PyDLL(nuvrellib.__file__)


@pytest.fixture(scope="session")
def engine():
    """The solver library the extension is linked against. Opened by its soname, so that the
    copy already loaded for the extension is the one reached (ctypes releases the interpreter
    lock during calls, as the library's own threads run without it)."""
    return ctypes.CDLL("libnvrl.so")


@pytest.fixture
def run_python():
    """Runs code (or the given interpreter arguments) in a fresh interpreter with the same
    import path; returns the completed process."""

    def run(code, check=True, args=None):
        env = dict(os.environ)
        env["PYTHONPATH"] = os.pathsep.join(p for p in sys.path if p)
        proc = subprocess.run(
            [sys.executable, *(args or ["-c", textwrap.dedent(code)])],
            capture_output=True,
            text=True,
            env=env,
            timeout=120,
        )
        if check and proc.returncode != 0:
            raise AssertionError(f"child failed ({proc.returncode}):\n{proc.stdout}\n{proc.stderr}")
        return proc

    return run


@pytest.fixture
def output_switch(nv):
    """Restores the output switch after a test that changes it."""
    before = nv.getOutputEnabled()
    yield
    nv.setOutputEnabled(before)

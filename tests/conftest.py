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
from pathlib import Path

import pytest

import nuvrel
from nuvrel import nuvrellib


def _shared_data_dir():
    """The shared test data: ../shared/data beside the repository root. A linked worktree's
    root is its main checkout's, found through the worktree's .git file."""
    root = Path(__file__).resolve().parents[1]
    roots = [root]
    git = root / ".git"
    if git.is_file():
        gitdir = Path(git.read_text().split("gitdir:", 1)[1].strip())
        common = gitdir / "commondir"
        main_git = (gitdir / common.read_text().strip()).resolve() if common.exists() else gitdir
        roots.append(main_git.parent)
    for candidate in roots:
        data = candidate.parent / "shared" / "data"
        if data.is_dir():
            return data
    return roots[-1].parent / "shared" / "data"


# For parametrisation at collection time; tests otherwise use the shared_data fixture.
SHARED_DATA = _shared_data_dir()


@pytest.fixture(scope="session")
def shared_data():
    """Directory of the shared instances and their optima (optima.csv)."""
    if not (SHARED_DATA / "optima.csv").exists():
        pytest.skip(f"no test data in {SHARED_DATA}")
    return SHARED_DATA


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

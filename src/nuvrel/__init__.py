"""nuvrel: build and solve linear, mixed-integer, quadratic and nonlinear optimisation
problems from Python.

Every public name of the native module ``nuvrel.nuvrellib`` is available here, so that
models read ``import nuvrel; x = nuvrel.var()``.
"""

from importlib import metadata as _metadata

from . import nuvrellib

# Every public name of the extension, whatever it adds later (types, functions, constants).
for _name in dir(nuvrellib):
    if not _name.startswith("_"):
        globals()[_name] = getattr(nuvrellib, _name)
del _name

try:
    __version__ = _metadata.version("nuvrel")
except _metadata.PackageNotFoundError:  # running from a source or build tree
    __version__ = "0+local"

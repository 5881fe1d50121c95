"""Every type of the extension either refuses construction from Python or copes with an
object whose __init__ never ran. The unpublished types are reached through objects of them (a
message handler's arguments for the two handle types); each runs in a child interpreter, as
the faulty code crashed."""

import pytest

# Objects of these come only from the module (library handles, arithmetic, a problem).
NOT_CONSTRUCTIBLE = ["ctrl", "attr", "poolcut", "nvrlobject", "voidstar", "nonlin", "linterm",
                     "quadterm"]
CONSTRUCTIBLE = ["var", "sos", "expression", "constraint", "problem", "branchobj"]

PRELUDE = """
import ctypes, gc
import nuvrel as nv
nv.setOutputEnabled(False)
x = nv.var(name="x")
p = nv.problem(x, x <= 1, x)
handles = []
def record(obj, data, thread, msg, length, msgtype):
    handles[:] = [type(obj), type(thread)]
nv.addcbmsghandler(record, None, 0)
ctypes.CDLL("libnvrl.so").NVRLdestroyprob(None)  # an error message for the handler
nv.removecbmsghandler(record, None)
types = {"var": nv.var, "sos": nv.sos, "expression": nv.expression,
         "constraint": nv.constraint, "problem": nv.problem, "branchobj": nv.branchobj,
         "poolcut": nv.poolcut, "ctrl": type(p.controls), "attr": type(p.attributes),
         "nonlin": type(nv.sin(x)), "linterm": type(2 * x), "quadterm": type(x * x),
         "nvrlobject": handles[0], "voidstar": handles[1]}
"""


@pytest.mark.parametrize("name", NOT_CONSTRUCTIBLE)
def test_internal_types_refuse_construction(run_python, name):
    out = run_python(PRELUDE + f"""
T = types[{name!r}]
assert T.__name__ == {name!r}, T
for make in (lambda: T(), lambda: T.__new__(T), lambda: object.__new__(T)):
    try:
        make()
        print("constructed")
    except TypeError as e:
        print("TypeError")
""").stdout.split()
    assert out == ["TypeError"] * 3


@pytest.mark.parametrize("name", CONSTRUCTIBLE)
def test_objects_made_without_init_are_safe_to_use(run_python, name):
    """Every public method and the common slots of T.__new__(T), and the object handed to the
    problem's methods: exceptions are fine, crashes are not."""
    out = run_python(PRELUDE + f"""
T = types[{name!r}]
o = T.__new__(T)
calls = 0
def attempt(f, *args):
    global calls
    calls += 1
    try:
        f(*args)
    except Exception:
        pass
for f in (repr, str, hash, dir, bool, len, abs, lambda o: -o, lambda o: o.__dict__):
    attempt(f, o)
for op in ("__add__", "__radd__", "__sub__", "__mul__", "__rmul__", "__truediv__", "__pow__",
           "__le__", "__ge__", "__eq__", "__lt__"):
    attempt(lambda: getattr(o, op)(x))
    attempt(lambda: getattr(o, op)(2))
for attr in dir(o):
    if attr.startswith("__"):
        continue
    attempt(getattr, o, attr)
    method = getattr(o, attr, None)
    if callable(method):
        for args in ((), (x,), (0,), ("x",), ([x],), (x, 1), (p,)):
            attempt(method, *args)
    attempt(setattr, o, attr, 1)
for method in (p.addVariable, p.addConstraint, p.addSOS, p.setObjective, p.getSolution,
               p.getIndex, p.delVariable, p.delConstraint, p.delSOS, nv.Sum, nv.Dot):
    attempt(method, o)
    attempt(method, [o, x])
attempt(lambda: nv.problem(o))
attempt(lambda: o.__init__())
attempt(repr, o)
p.solve()
del o
gc.collect()
print(calls, p.getObjVal())
""").stdout.split()
    assert int(out[0]) > 40
    assert float(out[1]) in (0.0, 1.0)

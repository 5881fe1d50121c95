"""The environment's locks meet finalisers: the garbage collector can run Python code (and so
the module again) at any allocation made while the module holds one of them. That code must
neither deadlock on the same thread nor block other threads for good. The faulty code hung,
so the loops run in a child interpreter with a time limit."""

import pytest
from conftest import run_child

CYCLES = """
import gc, sys, threading
import nuvrel as nv
nv.setOutputEnabled(False)
x = nv.var()
p = nv.problem(x, x <= 1, x)
reads = []

class Finalised:
    # In a reference cycle, so that only the collector frees it.
    def __init__(self):
        self.me = self
    def __del__(self):
        reads.append(p.getControl("time_limit"))
        nv.controls.time_limit = 7.0          # the defaults lock
        p.getAttrib("rows")

# With threshold 1 and a fresh count, the collection falls on the next allocation of a
# collected object after the instance: the dictionary that getControl() builds while it holds
# the name-table lock.
gc.set_threshold(1)

def churn(rounds):
    for _ in range(rounds):
        gc.collect()
        Finalised()
        assert len(p.getControl()) > 10
        gc.collect()
        Finalised()
        assert len(p.getAttrib()) > 10

def read_controls(rounds):
    for _ in range(rounds):
        p.getControl()
        nv.problem()                           # defaults applied under their lock
"""


@pytest.mark.parametrize("threads", [1, 3])  # alone, and with threads using the same locks
def test_finalisers_reentering_the_module_under_its_locks(threads):
    out = run_child(CYCLES + f"""
workers = [threading.Thread(target=read_controls, args=(200,)) for _ in range({threads} - 1)]
for w in workers:
    w.start()
churn(40)
for w in workers:
    w.join()
gc.collect()
print(len(reads), set(reads) <= {{0.0, 7.0}})
""", timeout=30).stdout.split()
    assert int(out[0]) == 80
    assert out[1] == "True"

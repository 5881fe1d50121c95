"""The nonlinear methods read integer arguments by the module's one rule: a numpy integer
scalar counts wherever a Python int does."""

import numpy as np
import pytest

pytestmark = pytest.mark.usefixtures("quiet")


@pytest.fixture
def nonlinear(nv):
    x = nv.var(lb=-3, ub=3, name="x")
    p = nv.problem(x, nv.constraint(x * x <= 4, name="c"), name="nl")
    p.setObjective(x)
    return p, x


@pytest.mark.parametrize("kind", [int, np.int32, np.int64, np.uint16])
def test_numpy_integer_scalars_are_integers(nonlinear, kind):
    p, x = nonlinear
    # A status bit the row keeps (read back) and a job control keyed and valued by integers.
    status = p.getrowstatus(0) ^ 2
    p.chgrowstatus(0, kind(status))
    assert p.getrowstatus(0) == status
    p.msaddjob("job", [x], [1.0], {kind(12100): kind(3)})
    assert p.attributes.nslp_multistart_jobs == 1

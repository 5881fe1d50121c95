"""Mixed-integer problems with a quadratic objective, solved through the module by the
engine's own tree search; the optima are derived by hand in the comments."""

import pytest

pytestmark = pytest.mark.usefixtures("quiet")


def portfolio(nv, sense):
    # Four uncorrelated assets (variances 1, 2, 4, 8; returns 1, 2, 3, 4), fully invested,
    # return >= 2.5, at most two held. The best pair is assets 1 and 2 at one half each:
    # 2/4 + 4/4 = 1.5 (assets 1 and 3 give 1.625, pairs with asset 0 at least 2.25).
    var, mu = [1, 2, 4, 8], [1, 2, 3, 4]
    x = [nv.var(ub=1) for _ in range(4)]
    z = [nv.var(vartype=nv.binary) for _ in range(4)]
    sign = 1 if sense == nv.minimize else -1
    objective = sign * nv.Sum(v * xi * xi for v, xi in zip(var, x))
    p = nv.problem(x, z, objective, sense=sense)
    p.addConstraint([xi <= zi for xi, zi in zip(x, z)],
                    nv.Sum(x) == 1,
                    nv.Sum(m * xi for m, xi in zip(mu, x)) >= 2.5,
                    nv.Sum(z) <= 2)
    return p, x, z


@pytest.mark.parametrize("perspective", [-1, 0, 1, 2])
@pytest.mark.parametrize("sense_name, optimum", [("minimize", 1.5), ("maximize", -1.5)])
def test_cardinality_constrained_portfolio(nv, sense_name, optimum, perspective):
    p, x, z = portfolio(nv, getattr(nv, sense_name))
    p.controls.tree_perspective = perspective
    assert p.controls.tree_perspective == perspective
    p.solve()
    assert p.getProbStatusString() == "mip_optimal"
    assert p.getObjVal() == pytest.approx(optimum, abs=1e-6)
    assert p.getSolution(x) == pytest.approx([0, 0.5, 0.5, 0], abs=1e-5)
    assert p.getSolution(z)[1:3] == pytest.approx([1, 1], abs=1e-6)
    assert p.attributes.nodes >= 1
    assert p.attributes.best_bound == pytest.approx(optimum, abs=1e-3)


def test_node_limit_keeps_the_best_solution(nv):
    # Twelve binaries summing to six, each with its own target: the quadratic relaxation is
    # fractional, so one node cannot prove anything, while rounding finds solutions at once.
    y = [nv.var(vartype=nv.binary) for _ in range(12)]
    targets = [0.3 + 0.04 * i for i in range(12)]
    p = nv.problem(y, nv.Sum((yi - t) * (yi - t) for yi, t in zip(y, targets)))
    p.addConstraint(nv.Sum(y) == 6)
    p.controls.node_limit = 1
    p.solve()
    assert p.attributes.stop_status == nv.stop_nodelimit
    assert p.getProbStatusString() == "mip_solution"
    sol = p.getSolution(y)
    assert sum(sol) == pytest.approx(6)
    assert p.getObjVal() == pytest.approx(sum((s - t) ** 2 for s, t in zip(sol, targets)))


@pytest.mark.parametrize("mip", [False, True])
def test_nonconvex_objective_is_reported(nv, mip):
    x = nv.var(lb=-1, ub=1)
    b = nv.var(vartype=nv.binary if mip else nv.continuous)
    p = nv.problem(x, b, -x * x + b)
    with pytest.raises(nv.SolverError, match="determined to be nonconvex"):
        p.solve()

"""The tuner from Python: tune on a small MIP under the tuner's limits, and method files."""

import pytest
from conftest import read_problem

pytestmark = pytest.mark.usefixtures("quiet")


def settings(path):
    """The (name, value) lines of a method file, grouped by combination."""
    combos = []
    for line in path.read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        if line == "combination":
            combos.append([])
        else:
            name, value = line.split()
            combos[-1].append((name, float(value)))
    return combos


def test_tune_applies_the_winner_and_the_problem_still_solves(tmp_path):
    p = read_problem("small_mip.mps")
    p.controls.tuner_run_time_limit = 5
    assert p.tune() is None
    p.tunerwritemethod(str(tmp_path / "best.txt"))
    (best,) = settings(tmp_path / "best.txt")
    for name, value in best:
        assert getattr(p.controls, name) == pytest.approx(value)
    assert p.controls.time_limit == 0  # the tuner's own run limit does not stay
    p.solve()
    assert p.getObjVal() == pytest.approx(3.23684210526, rel=1e-6)


def test_method_file_round_trip_restricts_the_tuner(tmp_path):
    p = read_problem("small_mip.mps")
    first, second = tmp_path / "m1.txt", tmp_path / "m2.txt"
    p.tunerwritemethod(str(first))
    assert len(settings(first)) > 1
    # One combination read back: the tune can only end with it.
    first.write_text("# mine\ncombination\npresolve 0\nmip_heuristic_effort 0.2\n")
    p.tunerreadmethod(str(first))
    p.tunerwritemethod(str(second))
    assert settings(second) == settings(first)
    p.tune("")
    assert p.controls.presolve == 0
    assert p.controls.mip_heuristic_effort == pytest.approx(0.2)


@pytest.mark.parametrize("call,error,message", [
    (lambda p, d: p.tune("z"), "SolverError", "unknown flag 'z'"),
    (lambda p, d: p.tunerreadmethod(str(d / "missing.txt")), "SolverError", "cannot open"),
    (lambda p, d: p.tunerwritemethod(str(d / "no" / "dir.txt")), "SolverError", "cannot write"),
    (lambda p, d: p.tunerreadmethod(5), "TypeError", None),
])
def test_bad_calls_raise(nv, tmp_path, call, error, message):
    p = read_problem("small_mip.mps")
    exc = TypeError if error == "TypeError" else getattr(nv, error)
    with pytest.raises(exc) as err:
        call(p, tmp_path)
    if message:
        assert message in str(err.value)

"""The command line ``python -m nuvrel FILE [options]``: output, solution file, exit codes."""

from pathlib import Path

import pytest
from conftest import SHARED_DATA as DATA

DEMO = Path(__file__).resolve().parents[1] / "examples" / "demo.mps"
DEMO_PROFIT = {"MAKE_A": 12, "MAKE_B": 9, "MAKE_C": 15, "USE_A": -40, "USE_B": -25, "USE_C": -60}

# An infeasible LP and an unbounded one from the shared instances.
NO_SOLUTION = [pytest.param(DATA / name, status, id=name, marks=pytest.mark.skipif(
    not (DATA / name).exists(), reason=f"no test data in {DATA}"))
    for name, status in [("galenet.mps", "lp_infeas"), ("gas11.mps", "lp_unbounded")]]


@pytest.fixture
def cli(run_python):
    def run(*args):
        return run_python(None, check=False, args=["-m", "nuvrel", *map(str, args)])

    return run


def _summary(stdout):
    """The report lines "Key: value" that follow the solver log."""
    lines = {}
    for line in stdout.splitlines():
        key, sep, value = line.partition(": ")
        if sep and key in {"Problem", "Status", "Objective", "Solve time"}:
            lines[key] = value
    return lines


def test_demo_is_solved_with_log_status_and_objective(cli):
    proc = cli(DEMO)
    assert proc.returncode == 0, proc.stderr
    report = _summary(proc.stdout)
    assert report["Problem"].startswith("PRODPLAN (9 rows, 6 columns")
    assert report["Status"] == "mip_optimal"
    assert float(report["Objective"]) == pytest.approx(331)
    assert report["Solve time"].endswith(" s") and float(report["Solve time"][:-2]) >= 0
    # The solver's log comes first; --quiet keeps only the report.
    assert len(proc.stdout.splitlines()) > 4 + 5
    quiet = cli(DEMO, "--quiet", "--time-limit", "60", "--gap", "0", "--threads", "1")
    assert quiet.returncode == 0, quiet.stderr
    assert quiet.stdout.splitlines() == [
        f"{key}: {value}" for key, value in _summary(quiet.stdout).items()
    ]
    assert _summary(quiet.stdout)["Objective"] == "331"


def test_solution_file_lists_every_column(cli, tmp_path):
    out = tmp_path / "demo.sol"
    proc = cli(DEMO, "--quiet", "--solution", out, "--print-solution")
    assert proc.returncode == 0, proc.stderr
    header = [line for line in out.read_text().splitlines() if line.startswith("#")]
    body = [line for line in out.read_text().splitlines() if not line.startswith("#")]
    # The printed solution follows the report and holds the lines of the file.
    printed = proc.stdout.splitlines()
    start = printed.index("Solution:")
    assert set(_summary("\n".join(printed[:start]))) == {"Problem", "Status", "Objective",
                                                          "Solve time"}
    assert printed[start - 1] == f"Solution written to {out}"
    assert [line.strip() for line in printed[start + 1:]] == body
    assert header[0] == "# nuvrel solution"
    assert "# status mip_optimal" in header and "# objective 331" in header
    values = {name: float(value) for name, value in (line.rsplit(" ", 1) for line in body)}
    assert list(values) == list(DEMO_PROFIT)
    assert sum(DEMO_PROFIT[n] * v for n, v in values.items()) == pytest.approx(331)
    assert all(float(v).is_integer() for v in values.values())
    assert values["MAKE_A"] <= 30 * values["USE_A"] + 1e-9


@pytest.mark.parametrize("model, status", NO_SOLUTION)
def test_no_solution_exits_with_1_and_writes_no_file(cli, tmp_path, model, status):
    out = tmp_path / "never.sol"
    proc = cli(model, "--quiet", "--solution", out, "--print-solution")
    assert proc.returncode == 1
    report = _summary(proc.stdout)
    assert report["Status"] == status
    assert report["Objective"].startswith("none")
    assert not out.exists() and "Solution:" not in proc.stdout
    assert "no solution to write" in proc.stderr and "no solution to print" in proc.stderr


@pytest.mark.parametrize("args, complaint", [
    (["{tmp}/missing.mps"], "missing.mps"),
    (["{tmp}/broken.mps"], "broken.mps"),
    (["{demo}", "--threads", "two"], "--threads"),
    (["{demo}", "--gap", "-0.1"], "--gap"),
    (["{demo}", "--time-limit", "soon"], "--time-limit"),
    (["{demo}", "--time-limit", "NaN"], "--time-limit: not a number: 'NaN'"),
    (["{demo}", "--time-limit", "-1"], "--time-limit: must not be negative: '-1'"),
    (["{demo}", "--time-limit", "-inf"], "--time-limit: must not be negative: '-inf'"),
    (["{demo}", "--gap", "inf"], "--gap: must be finite: 'inf'"),
    (["{demo}", "--fast"], "--fast"),
    (["{demo}", "--quiet", "--solution", "{tmp}/no/such/dir.sol"], "dir.sol"),
])
def test_bad_input_exits_with_2_and_says_why(cli, tmp_path, args, complaint):
    (tmp_path / "broken.mps").write_text("NAME B\nROWS\n N  OBJ\nCOLUMNS\n  X  NOWHERE  1\nENDATA\n")
    proc = cli(*(a.format(tmp=tmp_path, demo=DEMO) for a in args))
    assert proc.returncode == 2
    assert complaint in proc.stderr
    assert "Traceback" not in proc.stderr


@pytest.mark.parametrize("spelling", ["inf", "+inf", "Infinity", "INF"])
def test_an_infinite_time_limit_means_no_limit(cli, spelling):
    proc = cli(DEMO, "--quiet", "--time-limit", spelling)
    assert proc.returncode == 0, proc.stderr
    assert _summary(proc.stdout)["Status"] == "mip_optimal"


def test_without_a_file_shows_the_versions(cli, nv):
    proc = cli()
    assert proc.returncode == 0, proc.stderr
    assert nv.getbanner() in proc.stdout and nv.getversion() in proc.stdout
    assert "usage:" in proc.stdout

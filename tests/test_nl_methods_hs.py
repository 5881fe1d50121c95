"""Hock-Schittkowski problems solved a second time through the nonlinear methods: each file
is read, its coefficients replaced by token formulas made in Python from the file's text
(loadcoefs) and its initial values given again (loadvars), then solved with nlpoptimize; the
answers agree with the file read and solved as it is and with the published optimum. The
full set: benchmarks/nlp_hock_schittkowski.py --methods."""

import pathlib
import sys

import pytest

import nuvrel as nv

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tools"))
import nlp_files  # noqa: E402
import nlp_tokens  # noqa: E402

pytestmark = pytest.mark.usefixtures("collect_cycles")

# Objective and constraint formulas of every shape the set uses: products, powers, quotients,
# square roots, exponentials, logarithms, trigonometric functions, equality rows.
SUBSET = ["hs006", "hs010", "hs026", "hs039", "hs046", "hs061", "hs065", "hs071", "hs078",
          "hs080", "hs104", "hs113"]


def _solved(path, through_methods):
    p = nv.problem()
    p.read(str(path))
    if through_methods:
        nlp_tokens.load_coefficients(p, nlp_files.read(path))
    p.nlpoptimize()
    return p


@pytest.mark.parametrize("name", SUBSET)
def test_token_formulas_give_the_same_answers(name):
    path = nlp_files.DATA_DIR / f"{name}.mps"
    if not path.exists():
        pytest.skip(f"{name} is not in the data set")
    model = nlp_files.read(path)
    ref, ours = _solved(path, False), _solved(path, True)
    # The same coefficients, written by an independent reading of the text.
    assert ours.getcoefs() == ref.getcoefs()
    for r, c in zip(*ref.getcoefs()):
        assert ours.evaluatecoef(r, c) == pytest.approx(ref.evaluatecoef(r, c), rel=1e-9,
                                                        abs=1e-12)
    assert ours.attributes.nslp_status == ref.attributes.nslp_status
    assert ours.getObjVal() == pytest.approx(ref.getObjVal(), rel=1e-6, abs=1e-8)
    tol = model.tolerance or 1e-6
    assert ours.getObjVal() == pytest.approx(model.optimum, rel=tol, abs=tol)
    x = ours.getslpsol()
    assert max(model.violations(x[:len(model.cols)]) or [0.0]) <= 1e-5

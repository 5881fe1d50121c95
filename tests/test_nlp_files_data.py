"""The nonlinear test problems in engine/tests/data/nlp: each file's published optimal point is
feasible and gives its optimum (tools/nlp_files.py). Hock-Schittkowski problems solved a second
time through the nonlinear methods: each file is read, its coefficients replaced by token
formulas made in Python from the file's text (loadcoefs) and its initial values given again
(loadvars), then solved with nlpoptimize; the answers agree with the file read and solved as it
is and with the published optimum. The full set: benchmarks/nlp_hock_schittkowski.py --methods."""

import sys
from pathlib import Path

import pytest

import nuvrel as nv
from conftest import read_problem

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tools"))
import nlp_files  # noqa: E402
import nlp_tokens  # noqa: E402

FILES = sorted(nlp_files.DATA_DIR.glob("*.mps"))


def test_the_set_is_there():
    names = {f.stem for f in FILES}
    assert len([n for n in names if n.startswith("hs")]) >= 30
    assert {"minlp1", "minlp2", "minlp3", "qcqp1", "qcqp2", "qcqp3"} <= names


@pytest.mark.parametrize("path", FILES, ids=lambda p: p.stem)
def test_published_optimum_holds(path):
    assert nlp_files.check_file(path) == []


# Faults a transcription could make; the check must notice each of them.
@pytest.mark.parametrize("name, old, new, complaint", [
    ("hs071", "c1  =  1  x1*x2*x3*x4", "c1  =  1  x1*x2*x3", "row c1"),
    ("hs071", "obj  x1  1  x4*(x1 + x2 + x3)", "obj  x1  1  x4*(x1 + x2 - x3)", "objective"),
    ("hs035", "x1  x2  2", "x1  x2  1", "objective"),
    ("hs104", "rng  c5  4.1", "rng  c5  0.1", "row c5"),
    ("hs036", "UP bnd  x2  11", "UP bnd  x2  10", "column x2"),
    ("minlp2", "budget  4", "budget  5", "enumeration"),
    ("minlp1", "x1 3 x2 3", "x1 3 x2 3.5", "integer column"),
])
def test_check_notices_a_wrong_file(tmp_path, name, old, new, complaint):
    text = (nlp_files.DATA_DIR / f"{name}.mps").read_text()
    assert old in text
    bad = tmp_path / f"{name}.mps"
    bad.write_text(text.replace(old, new))
    errors = nlp_files.check_file(bad)
    assert any(complaint in e for e in errors), errors


@pytest.mark.parametrize("line, message", [
    ("    c1  x9  1  x1", "unknown column 'x9'"),
    ("    c1  =  1  x1 * (x2", "syntax"),
    ("    c1  =  1  x1 x2", "syntax"),
    ("    obj  x1  1  x4*(x1 + x2 + x3)", "second coefficient"),
])
def test_reader_names_the_line_of_a_bad_coefficient(tmp_path, line, message):
    text = (nlp_files.DATA_DIR / "hs071.mps").read_text()
    text = text.replace("INITIALVALUES\n", line + "\nINITIALVALUES\n")
    bad = tmp_path / "bad.mps"
    bad.write_text(text)
    lines = text.splitlines()
    lineno = len(lines) - lines[::-1].index(line)  # the later one of a duplicate
    with pytest.raises(nlp_files.FileError, match=f"bad.mps:{lineno}: .*{message}"):
        nlp_files.read(bad)


@pytest.mark.parametrize("word, value", [
    ("1.5D3", 1500.0), ("-2d-2", -0.02), ("+.5e1", 5.0), ("1e20", float("inf")),
    ("-Infinity", float("-inf")),
])
def test_numbers(word, value):
    assert nlp_files.parse_number(word) == value


# Objective and constraint formulas of every shape the set uses: products, powers, quotients,
# square roots, exponentials, logarithms, trigonometric functions, equality rows.
SUBSET = ["hs006", "hs010", "hs026", "hs039", "hs046", "hs061", "hs065", "hs071", "hs078",
          "hs080", "hs104", "hs113"]


def _solved(path, through_methods):
    p = read_problem(path)
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

"""Every example in the module's docstrings (the "Example:" part of the docstring of each
public function, type and method) and every ```python block of README.md and docs/ runs.

Examples assume a small model; PREPARE below is all they may assume. Each example runs in a
fresh namespace in one child interpreter (examples change process-wide state such as the
library start or the output switch), in a scratch directory holding model.mps."""

import json
import re
import textwrap
from pathlib import Path

import pytest

import nuvrel
from conftest import run_child

ROOT = Path(__file__).resolve().parents[1]

# The names an example may use: variables x, y, z (binary), x1..x3, constraints c1, c2 named
# 'c1' and 'c2', and p, a solved LP holding x, y, x1..x3, c1, c2.
PREPARE = """
import numpy
import nuvrel
nuvrel.setOutputEnabled(False)
x, y = nuvrel.var(name='x', ub=10), nuvrel.var(name='y', ub=10)
z = nuvrel.var(name='z', vartype=nuvrel.binary)
x1, x2, x3 = (nuvrel.var(name=f'x{i}') for i in (1, 2, 3))
c1 = nuvrel.constraint(x + y <= 4, name='c1')
c2 = nuvrel.constraint(x - y >= -2, name='c2')
p = nuvrel.problem(x, y, x1, x2, x3, c1, c2, 3*x + 2*y, sense=nuvrel.maximize)
p.solve()
"""


def _example_of(doc):
    """The code of a docstring's "Example:" part, or None."""
    if not doc or "Example:" not in doc:
        return None
    first, _, rest = doc.split("Example:", 1)[1].partition("\n")
    if first.strip():
        # Inline form: continuation lines are aligned under the text after "Example: ".
        lines = [first.strip()] + [line[len("Example: "):] if line.startswith(" " * 9)
                                   else line.strip() for line in rest.splitlines()]
        return "\n".join(lines).strip() + "\n"
    return textwrap.dedent(rest).strip() + "\n"


def _docstring_examples():
    found = {}
    for name in sorted(dir(nuvrel)):
        if name.startswith("_"):
            continue
        obj = getattr(nuvrel, name)
        if not (callable(obj) or isinstance(obj, type)):
            continue
        owners = [(name, obj)]
        if isinstance(obj, type):
            owners += [(f"{name}.{m}", getattr(obj, m)) for m in sorted(vars(obj))
                       if not m.startswith("_")]
        for label, owner in owners:
            code = _example_of(getattr(owner, "__doc__", None))
            if code is not None:
                found[label] = code
    return found


def _markdown_examples():
    found = {}
    for path in [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]:
        text = path.read_text()
        for k, m in enumerate(re.finditer(r"```python\n(.*?)```", text, re.S)):
            found[f"{path.relative_to(ROOT)}#{k}"] = m.group(1)
    return found


EXAMPLES = {**_docstring_examples(), **_markdown_examples()}


def test_examples_are_found():
    # Guards the collection itself: the module documents dozens of methods with examples.
    assert len(EXAMPLES) > 40
    assert "problem.solve" in EXAMPLES and "README.md#0" in EXAMPLES


@pytest.fixture(scope="module")
def outcomes(tmp_path_factory):
    scratch = tmp_path_factory.mktemp("examples")
    code = PREPARE + "\np.write('model.mps')\n" + textwrap.dedent(f"""
        import json, traceback
        results = {{}}
        for label, example in {EXAMPLES!r}.items():
            namespace = {{}}
            try:
                exec({PREPARE!r}, namespace)
                exec(compile(example, label, "exec"), namespace)
                results[label] = None
            except BaseException:
                results[label] = traceback.format_exc(limit=-3)
            finally:
                nuvrel.setOutputEnabled(False)
                try:
                    nuvrel.removecbmsghandler(None, None)
                except nuvrel.InterfaceError:
                    pass
        print(json.dumps(results))
        """)
    proc = run_child(code, timeout=300, cwd=scratch)
    return json.loads(proc.stdout.strip().splitlines()[-1])


@pytest.mark.parametrize("label", sorted(EXAMPLES))
def test_example_runs(outcomes, label):
    assert outcomes[label] is None, f"{label}:\n{EXAMPLES[label]}\n{outcomes[label]}"

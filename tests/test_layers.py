"""The extension's folders form layers: a file may include headers of its own folder and of
lower layers only. Files at the top of the source tree assemble the module and may include
anything."""

import re
from pathlib import Path

SRC = Path(__file__).resolve().parents[1] / "src" / "nuvrellib"

# Lowest first; folders on one rank must not include each other.
RANKS = {
    "module": 0,
    "model": 1,
    "nonlinear": 2,
    "problem": 3,
    "arrays": 4,
    "lowlevel": 4,
    "callbacks": 4,
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def folder_edges(files):
    """(including folder, included folder, file, header) for every include that crosses
    folders; headers outside the folders (nvrl.h) are not the module's."""
    for path, text in files:
        rel = path.relative_to(SRC)
        if len(rel.parts) < 2:
            continue
        for header in INCLUDE.findall(text):
            target = header.split("/")[0] if "/" in header else None
            if target is not None and target != rel.parts[0]:
                yield rel.parts[0], target, str(rel), header


def violations(files):
    bad = []
    for src, dst, rel, header in folder_edges(files):
        if src not in RANKS or dst not in RANKS:
            bad.append(f"{rel}: {header} (folder not in the layer order)")
        elif RANKS[dst] >= RANKS[src]:
            bad.append(f"{rel}: {header}")
    return bad


def cycles(files):
    graph = {}
    for src, dst, _, _ in folder_edges(files):
        graph.setdefault(src, set()).add(dst)

    def reaches(start, goal, seen):
        for nxt in graph.get(start, ()):
            if nxt == goal or (nxt not in seen and reaches(nxt, goal, seen | {nxt})):
                return True
        return False

    return sorted(f for f in graph if reaches(f, f, {f}))


def source_files():
    return [(p, p.read_text()) for p in sorted(SRC.rglob("*")) if p.suffix in (".h", ".cpp")]


def test_includes_follow_the_layer_order():
    files = source_files()
    assert len(files) > 50, "the sources were not found"
    assert violations(files) == []
    assert cycles(files) == []


def test_checker_flags_upward_includes_and_cycles():
    # Without this the layer test would pass with a checker that finds nothing.
    files = [(SRC / path, text) for path, text in [
        ("module/env.h", '#include "model/termmaps.h"\n'),
        ("nonlinear/a.h", '#include "problem/problem.h"\n'),
        ("arrays/a.cpp", '#include "lowlevel/x.h"\n'),
        ("problem/a.cpp", '#include "model/var.h"\n#include "nvrl.h"\n'),
        ("nuvrellib.cpp", '#include "callbacks/branchobj.h"\n'),
        ("problem/p.h", '#include "nonlinear/a.h"\n'),
        ("module/m.h", '#include "module/n.h"\n'),
    ]]
    assert violations(files) == ["module/env.h: model/termmaps.h",
                                 "nonlinear/a.h: problem/problem.h", "arrays/a.cpp: lowlevel/x.h"]
    assert cycles(files) == ["nonlinear", "problem"]

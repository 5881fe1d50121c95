#!/usr/bin/env python3
"""Prints the code-health figures of the repository: run from its root.

    python tools/health_figures.py [--verbose]

Each figure is printed with a one-line definition. The script reads the sources only and
needs nothing beyond the standard library, so it runs before a build and on any checkout.
"""

import re
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path.cwd()
MODULE = ROOT / "src" / "nuvrellib"
ENGINE_SRC = ROOT / "engine" / "src"
HEADER = ROOT / "engine" / "include" / "nvrl.h"
VERBOSE = "--verbose" in sys.argv

MODULE_FOLDERS = ["module", "model", "problem", "nonlinear", "arrays", "lowlevel", "callbacks"]
# Folder -> folders it must not include. module/ is the base of everything; model/ builds
# expressions without knowing problems; nonlinear/ converts formulas for problem/ and so
# sits below it.
MODULE_FORBIDDEN = {
    "module": {"model", "problem", "nonlinear", "arrays", "lowlevel", "callbacks"},
    "model": {"problem"},
    "nonlinear": {"problem"},
}
# The engine's layers as engine/tests/test_layering.cpp states them: a file may include its
# own folder and folders of a lower number only.
ENGINE_LAYER = {"core": 0, "lp_data": 1, "io": 2, "solve": 2, "nslp": 3, "tree": 3,
                "analysis": 3}

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
SOURCE_EXT = {".h", ".cpp", ".hpp", ".c", ".inc"}


def heading(title, definition):
    print()
    print(f"== {title}")
    print(f"   {definition}")


def sources(folder):
    return sorted(p for p in folder.rglob("*") if p.suffix in SOURCE_EXT and p.is_file())


def strip_comments(text):
    """Text with C and C++ comments and string literals blanked, line breaks kept."""
    out, i, n = [], 0, len(text)
    while i < n:
        c = text[i]
        if text.startswith("//", i):
            j = text.find("\n", i)
            j = n if j < 0 else j
            i = j
        elif text.startswith("/*", i):
            j = text.find("*/", i + 2)
            j = n if j < 0 else j + 2
            out.append("\n" * text.count("\n", i, j))
            i = j
        elif c == '"' or c == "'":
            j = i + 1
            while j < n and text[j] != c:
                j += 2 if text[j] == "\\" else 1
            out.append(c + c)
            i = j + 1
        else:
            out.append(c)
            i += 1
    return "".join(out)


def includes(path):
    for lineno, line in enumerate(path.read_text(errors="replace").splitlines(), 1):
        m = INCLUDE.match(line)
        if m:
            yield lineno, line.strip(), m.group(1)


# ----------------------------------------------------------------------------------------
def find_cycles(graph):
    """Every elementary cycle of a small directed graph, each once, as a node list."""
    cycles, nodes = [], sorted(graph)
    for start_index, start in enumerate(nodes):
        allowed = set(nodes[start_index:])
        stack = [(start, [start])]
        while stack:
            node, path = stack.pop()
            for nxt in sorted(graph.get(node, ())):
                if nxt == start:
                    cycles.append(path + [start])
                elif nxt in allowed and nxt not in path:
                    stack.append((nxt, path + [nxt]))
    return cycles


def module_layers():
    heading("Module include cycles and wrong-way includes",
            "folder cycles among src/nuvrellib/*/ through #include; includes that break "
            "module < model < nonlinear < problem (module/ includes no other folder)")
    graph = defaultdict(set)
    wrong = []
    for folder in MODULE_FOLDERS:
        for path in sources(MODULE / folder):
            for lineno, line, target in includes(path):
                # Includes are written relative to src/nuvrellib, or bare for the same folder.
                dest = target.split("/")[0] if "/" in target else folder
                if dest not in MODULE_FOLDERS or dest == folder:
                    continue
                graph[folder].add(dest)
                if dest in MODULE_FORBIDDEN.get(folder, ()):
                    wrong.append(f"{path.relative_to(ROOT)}:{lineno}: {line}")
    cycles = find_cycles(graph)
    print(f"   folder cycles: {len(cycles)}")
    for c in cycles:
        print("     " + " -> ".join(c))
    print(f"   wrong-way includes: {len(wrong)}")
    for w in wrong:
        print("     " + w)
    print("   folder graph: " + "; ".join(f"{k} -> {','.join(sorted(v))}"
                                          for k, v in sorted(graph.items())))
    return len(cycles), len(wrong)


def engine_layers():
    heading("Engine wrong-way includes",
            "includes in engine/src/<folder>/*.{h,cpp} of a folder at the same or a higher "
            "layer (the rule engine/tests/test_layering.cpp checks)")
    wrong, graph = [], defaultdict(set)
    for folder, layer in ENGINE_LAYER.items():
        # test_layering.cpp reads each folder's own files, not subfolders: so does this.
        for path in sorted((ENGINE_SRC / folder).glob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            for lineno, line, target in includes(path):
                dest = target.split("/")[0] if "/" in target else None
                if dest not in ENGINE_LAYER or dest == folder:
                    continue
                graph[folder].add(dest)
                if ENGINE_LAYER[dest] >= layer:
                    wrong.append(f"{path.relative_to(ROOT)}:{lineno}: {line}")
    cycles = find_cycles(graph)
    print(f"   wrong-way includes: {len(wrong)}; folder cycles: {len(cycles)}")
    for w in wrong:
        print("     " + w)
    for c in cycles:
        print("     cycle " + " -> ".join(c))
    return len(wrong)


# ----------------------------------------------------------------------------------------
REFOPS = re.compile(r"\b(Py_X?DECREF|Py_X?INCREF|Py_CLEAR|Py_X?SETREF|Py_DecRef|Py_IncRef|"
                    r"Py_NewRef|Py_XNewRef)\s*\(")


# Type slots whose contract is written in terms of the reference counts themselves.
SLOT = re.compile(r"_(dealloc|clear|traverse|finalize|del|free)$")


def reference_operations():
    heading("Manual reference operations",
            "Py_(X)INCREF/Py_(X)DECREF/Py_CLEAR/Py_(X)SETREF/Py_NewRef calls in src/nuvrellib "
            "(code, not comments), per file; 'slots' are those in dealloc/clear/traverse "
            "functions and in module/pyref.h, the owner type itself")
    per_file, in_slots = {}, 0
    for path in sources(MODULE):
        text = strip_comments(path.read_text(errors="replace"))
        n = len(REFOPS.findall(text))
        if not n:
            continue
        rel = path.relative_to(MODULE)
        slots = n if str(rel) == "module/pyref.h" else sum(
            len(REFOPS.findall(body)) for name, body in functions(text) if SLOT.search(name))
        in_slots += slots
        per_file[rel] = (n, slots)
    total = sum(n for n, _ in per_file.values())
    print(f"   total: {total} in {len(per_file)} files; {in_slots} in slots, "
          f"{total - in_slots} elsewhere")
    for name, (n, slots) in sorted(per_file.items(), key=lambda kv: (-kv[1][0], str(kv[0]))):
        print(f"     {n:4d}  {name}" + (f"  ({slots} in slots)" if slots else ""))
    return total, total - in_slots


# ----------------------------------------------------------------------------------------
# A concern's primitives. A function whose own body uses one is a converter for that
# concern; a function matching several counts for the first (a number test accepts ints and
# a flag test accepts numpy integers, and neither is an integer check). Dispatching on an
# exact type (an int key against a str key) is not a conversion and is left out by listing
# only module-wide names and functions that accept or refuse an argument.
CONCERNS = {
    "booleans": r"PyBool_Check|==\s*Py_True|==\s*Py_False|!=\s*Py_False|!=\s*Py_True|"
                r"PyObject_IsTrue|PyObject_Not\b|PyArray_IsScalar\s*\([^,]*,\s*Bool\s*\)",
    "numbers": r"PyFloat_Check|PyFloat_CheckExact|PyNumber_Check|PyNumber_Float|"
               r"PyArray_IsScalar\s*\([^,]*,\s*(Number|Floating|Float\w*|Double\w*|Half)\s*\)",
    "integers": r"PyLong_Check|PyLong_CheckExact|PyIndex_Check|"
                r"PyArray_IsScalar\s*\([^,]*,\s*(Integer|SignedInteger|UnsignedInteger|Int\w*|"
                r"Long\w*|Short|Byte)\s*\)",
}
# Reading an integer's value into C (after the check): one helper would keep the overflow
# rule in one place.
# PyLong_AsDouble reads a number, not an integer.
INT_READ = re.compile(r"PyNumber_Index|PyLong_As(?!Double\b)\w+")
# Walking nested objects: a function that applies a depth limit of its own (the interpreter's
# recursion guard, the shared depth check, or a local maximum).
DEPTH_LIMIT = re.compile(r"Py_EnterRecursiveCall|nvo_check_depth|kMax\w*Depth|MAX_DEPTH")
# Raising a library error: reading the library's last error and setting an exception.
# (directly, or through an error source's reader).
LAST_ERROR = re.compile(r"NVRLgetlasterror|NSLPgetlasterror|NVRL_ge_getlasterror|\.last_error\(")
RAISE = re.compile(r"PyErr_Set\w*|PyErr_Format")
FUNCTION = re.compile(r"^(?:[A-Za-z_][\w:<>,\*&\s]*?[\s\*&])?([A-Za-z_]\w*)\s*\([^;{]*\)\s*"
                      r"(?:const\s*)?(?:noexcept\s*)?\{", re.M)
KEYWORDS = {"if", "for", "while", "switch", "return", "sizeof", "catch", "do", "else"}


def functions(text):
    """(name, body) of the functions defined at the top level of a file (or inline in a
    header), found by brace matching on comment-free text."""
    for m in FUNCTION.finditer(text):
        name = m.group(1)
        if name in KEYWORDS:
            continue
        depth, i = 0, m.end() - 1
        while i < len(text):
            if text[i] == "{":
                depth += 1
            elif text[i] == "}":
                depth -= 1
                if depth == 0:
                    break
            i += 1
        yield name, text[m.end():i]


def classify(name, body):
    for concern, pattern in CONCERNS.items():
        if re.search(pattern, body):
            return concern
    return None


def converters():
    heading("Converters per concern",
            "functions in src/nuvrellib whose own body applies a concern's primitive: a type "
            "test (booleans, numbers, integers), a depth limit of its own (nested sequences and "
            "formula trees), a last-error read that sets an exception (library errors)")
    found = defaultdict(list)
    for path in sources(MODULE):
        text = strip_comments(path.read_text(errors="replace"))
        where = path.relative_to(MODULE)
        for name, body in functions(text):
            concern = classify(name, body)
            if concern:
                found[concern].append(f"{name} ({where})")
            if DEPTH_LIMIT.search(body):
                found["nested sequences"].append(f"{name} ({where})")
            if INT_READ.search(body):
                found["integer reads"].append(f"{name} ({where})")
            if LAST_ERROR.search(body) and RAISE.search(body):
                found["library errors"].append(f"{name} ({where})")
    counts = {}
    for concern in list(CONCERNS) + ["integer reads", "nested sequences", "library errors"]:
        where = sorted(set(found[concern]))
        counts[concern] = len(where)
        print(f"   {concern}: {len(where)}")
        for w in where:
            print("     " + w)
    return counts


# ----------------------------------------------------------------------------------------
def header_comments():
    heading("Header declarations without a comment",
            "NVRL_API declarations in engine/include/nvrl.h with no comment directly above "
            "them (a group of declarations with no blank line between them shares one)")
    lines = HEADER.read_text().splitlines()
    missing, total, silent = [], 0, []
    documented_group = False
    in_decl = False
    comment, section_says, before_first = [], False, False
    for i, line in enumerate(lines):
        stripped = line.strip()
        if in_decl:
            in_decl = not stripped.endswith(";")
            continue
        if stripped.startswith(("/* =====", "/* -----")):
            # A section: what its opening comments say of failures holds for its calls.
            section_says, before_first = False, True
            continue
        if stripped.startswith("/*"):
            comment = []
        if stripped.startswith(("/*", "*", "//")):
            comment.append(stripped)
            if before_first and re.search(r"\bfail", stripped, re.I):
                section_says = True
        if stripped.startswith("NVRL_API"):
            before_first = False
            total += 1
            prev = lines[i - 1].strip() if i else ""
            name = re.search(r"(\w+)\s*\(", stripped)
            name = name.group(1) if name else stripped
            if prev.endswith("*/") or prev.startswith("//"):
                documented_group = True
                text = " ".join(comment)
                # Its own word on failure, its section's, or "NVRLx with/for ...": a variant
                # that fails as the call it names.
                if not (re.search(r"fail|error", text, re.I) or section_says or
                        re.match(r"/\*\s*(Like\s+)?(NVRL|NSLP)\w+\b", text)):
                    silent.append(name)
            elif not (prev and documented_group):
                # Neither a comment nor a member of a commented group directly above.
                missing.append(name)
            in_decl = not stripped.endswith(";")
        elif not stripped:
            documented_group = False
    print(f"   {len(missing)} of {total} declarations")
    for name in missing:
        print("     " + name)
    print("   comments silent on failure (neither they, their section's opening comments, "
          f"nor a call they are a variant of say when the call fails): {len(silent)}")
    for name in silent:
        print("     " + name)
    return len(missing), total, len(silent)


# ----------------------------------------------------------------------------------------
def count_lines(paths):
    return {p: sum(1 for line in p.read_text(errors="replace").splitlines() if line.strip())
            for p in paths}


def test_share():
    heading("Test lines as a share of code lines",
            "non-blank lines of tests/*.py (and conftest) and engine/tests/* against src/ "
            "(nuvrel and nuvrellib) and engine/src, engine/include")
    tests = count_lines(sorted(ROOT.glob("tests/**/*.py")) +
                        [p for p in sorted((ROOT / "engine" / "tests").rglob("*"))
                         if p.is_file() and p.suffix in SOURCE_EXT | {".txt"}])
    code = count_lines([p for p in sorted((ROOT / "src").rglob("*"))
                        if p.is_file() and p.suffix in SOURCE_EXT | {".py"}] +
                       sources(ENGINE_SRC) + sources(ROOT / "engine" / "include"))
    t, c = sum(tests.values()), sum(code.values())
    print(f"   tests {t} / code {c} = {100.0 * t / c:.1f}%")
    print("   largest test files:")
    for p, n in sorted(tests.items(), key=lambda kv: -kv[1])[:10]:
        print(f"     {n:6d}  {p.relative_to(ROOT)}")
    print("   largest code files:")
    for p, n in sorted(code.items(), key=lambda kv: -kv[1])[:10]:
        print(f"     {n:6d}  {p.relative_to(ROOT)}")
    return t, c


# ----------------------------------------------------------------------------------------
DECL = re.compile(r"^[A-Za-z_][\w:<>,\*&\s]*?[\s\*&]([A-Za-z_]\w*)\s*\([^;{]*\)\s*"
                  r"(?:const\s*)?(?:noexcept\s*)?;", re.M)


def name_mismatches():
    heading("Header/source name mismatches in engine/src",
            "headers whose declared functions are defined only in .cpp files of another "
            "name (x.h with neither x.cpp nor x_*.cpp defining any of them)")
    defined_in = defaultdict(set)
    cpps = [p for p in sources(ENGINE_SRC) if p.suffix == ".cpp"]
    for p in cpps:
        for name, _ in functions(strip_comments(p.read_text(errors="replace"))):
            defined_in[name].add(p)
    mismatches = []
    for h in (p for p in sources(ENGINE_SRC) if p.suffix == ".h"):
        text = strip_comments(h.read_text(errors="replace"))
        declared = {m.group(1) for m in DECL.finditer(text)} - KEYWORDS
        homes = set()
        for name in declared:
            homes |= defined_in.get(name, set())
        if not homes:
            continue  # inline-only or type-only header
        if not any(p.stem == h.stem or p.stem.startswith(h.stem + "_") for p in homes):
            mismatches.append(f"{h.relative_to(ROOT)} -> "
                              + ", ".join(sorted(str(p.relative_to(ROOT)) for p in homes)))
    print(f"   {len(mismatches)}")
    for m in mismatches:
        print("     " + m)
    return len(mismatches)


def main():
    if not (MODULE.is_dir() and HEADER.is_file()):
        sys.exit("run from the repository root")
    cycles, wrong = module_layers()
    engine_wrong = engine_layers()
    refs, refs_outside = reference_operations()
    conv = converters()
    missing, total, silent = header_comments()
    t, c = test_share()
    mism = name_mismatches()
    print()
    print("== Summary")
    print(f"   module folder cycles {cycles}, module wrong-way includes {wrong}, "
          f"engine wrong-way includes {engine_wrong}")
    print(f"   manual reference operations {refs} ({refs_outside} outside slots)")
    print("   converters " + ", ".join(f"{k} {v}" for k, v in conv.items()))
    print(f"   header declarations without a comment {missing} of {total}; "
          f"comments silent on failure {silent}")
    print(f"   tests/code {t}/{c} = {100.0 * t / c:.1f}%")
    print(f"   header/source name mismatches {mism}")


if __name__ == "__main__":
    main()

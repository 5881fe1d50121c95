"""Token formulas for the coefficients of a nonlinear problem file, made in plain Python.

nlp_files reads a file's formulas into Python source over x[j] and F.<function>; this module
turns that source into the solver's parsed (reverse Polish) token form, so that a model read
by the library can be given its coefficients a second time, through problem.loadcoefs, from
an independent reading of the same text. Used by the Hock-Schittkowski benchmark and tests.
"""
from __future__ import annotations

import ast

TOK_EOF, TOK_CON, TOK_COL, TOK_IFUN, TOK_DEL, TOK_OP = 0, 1, 10, 12, 22, 31
OPS = {ast.Pow: 2, ast.Mult: 3, ast.Div: 4, ast.Add: 5, ast.Sub: 6}
UMINUS = 1
FUNCTIONS = {"log10": 14, "ln": 15, "exp": 16, "abs": 17, "sqrt": 18, "sin": 27, "cos": 28,
             "tan": 29, "arcsin": 30, "arccos": 31, "arctan": 32, "min": 33, "max": 34,
             "pwl": 35, "sign": 46, "erf": 49, "erfc": 50}


def tokens(source: str, column=lambda j: j) -> tuple[list[int], list[float]]:
    """Parsed token types and values (end token included) of an nlp_files formula source;
    column maps the source's column numbers to the problem's."""
    types, values = [], []

    def put(t, v=0.0):
        types.append(t)
        values.append(float(v))

    def walk(node):
        if isinstance(node, ast.Constant) and isinstance(node.value, (int, float)):
            put(TOK_CON, node.value)
        elif isinstance(node, ast.Subscript):
            put(TOK_COL, column(node.slice.value))
        elif isinstance(node, ast.UnaryOp) and isinstance(node.op, (ast.USub, ast.UAdd)):
            walk(node.operand)
            if isinstance(node.op, ast.USub):
                put(TOK_OP, UMINUS)
        elif isinstance(node, ast.BinOp) and type(node.op) in OPS:
            walk(node.left)
            walk(node.right)
            put(TOK_OP, OPS[type(node.op)])
        elif isinstance(node, ast.Call) and isinstance(node.func, ast.Attribute):
            name = node.func.attr
            args = node.args
            # pwl's arguments go last first: the ordinates and abscissae, then the input.
            if name == "pwl":
                args = list(reversed(args))
            put(TOK_DEL)
            for a in args:
                walk(a)
            put(TOK_IFUN, FUNCTIONS[name])
        else:
            raise ValueError(f"cannot write {ast.dump(node)} as tokens")

    walk(ast.parse(source, mode="eval").body)
    put(TOK_EOF)
    return types, values


def load_coefficients(p, problem):
    """Replaces every nonlinear coefficient of p (a nuvrel.problem read from the same file)
    by those of problem (an nlp_files.Problem), as token formulas through loadcoefs, and its
    initial values through loadvars. Rows and columns are matched by name."""
    col = {j: p.getIndexFromName(2, name) for j, name in enumerate(problem.cols)}
    rows, cols, factors, starts, types, values = [], [], [], [], [], []
    for c in problem.nl:
        rows.append(-1 if c.row < 0 else p.getIndexFromName(1, problem.rows[c.row]))
        cols.append(-1 if c.col < 0 else col[c.col])
        factors.append(c.factor)
        starts.append(len(types))
        t, v = tokens(c.source, col.__getitem__)
        types += t
        values += v
    p.loadcoefs(rows, cols, factors, starts, 1, types, values)
    if problem.initial:
        names = sorted(problem.initial)
        p.loadvars([p.getIndexFromName(2, n) for n in names],
                   initvalue=[problem.initial[n] for n in names])

"""Command line of nuvrel: read a problem file, solve it, report the outcome.

    python -m nuvrel FILE [--time-limit S] [--gap G] [--threads N] [--print-solution]
                          [--solution OUT] [--quiet]

A time limit of 0 or inf means none.

Without FILE it shows the banner and versions of the package and the solver library.

Exit status: 0 when a solution was found (or no FILE was given), 1 when none was
(infeasible, unbounded, stopped before finding one, or the solve failed), 2 on bad input (bad
option, missing or unreadable file). The solution file format is described in docs/cli.md.
"""

import argparse
import math
import sys
import time

EXIT_SOLVED = 0
EXIT_NO_SOLUTION = 1
EXIT_BAD_INPUT = 2

# Status names (as getProbStatusString gives them) that come with a usable solution.
SOLVED_STATUSES = frozenset(
    {"lp_optimal", "mip_optimal", "mip_solution", "nlp_solution", "nlp_globally_optimal"}
)


def _non_negative(kind, infinity_means=None):
    """A parser of non-negative numbers of `kind`. +inf (spelled inf, +inf, infinity in any
    case) gives `infinity_means`, and is refused when that is None; NaN is refused."""

    def parse(text):
        try:
            value = kind(text)
        except ValueError:
            raise argparse.ArgumentTypeError(f"not a number: {text!r}") from None
        if value != value:
            raise argparse.ArgumentTypeError(f"not a number: {text!r}")
        if value < 0:
            raise argparse.ArgumentTypeError(f"must not be negative: {text!r}")
        if value == math.inf:
            if infinity_means is None:
                raise argparse.ArgumentTypeError(f"must be finite: {text!r}")
            return infinity_means
        return value

    parse.__name__ = kind.__name__
    return parse


# Options whose value may look like an option itself ("-1", "-inf"): such a value is joined
# to its option so that argparse reports it as a bad value rather than a missing one.
_NUMERIC_OPTIONS = ("--time-limit", "--gap", "--threads")


def _join_numeric_values(argv):
    out = []
    args = iter(argv)
    for arg in args:
        if arg in _NUMERIC_OPTIONS:
            value = next(args, None)
            if value is not None and value.startswith("-"):
                out.append(f"{arg}={value}")
                continue
            out.append(arg)
            if value is not None:
                out.append(value)
            continue
        out.append(arg)
    return out


def build_parser():
    parser = argparse.ArgumentParser(
        prog="python -m nuvrel",
        description="Read an MPS or LP file, solve it (as an LP or a MIP, as the file says) "
        "and print the status, the objective and the solve time.",
    )
    parser.add_argument(
        "file", metavar="FILE", nargs="?",
        help="problem file (.mps or .lp); without it, show the package and library in use",
    )
    parser.add_argument(
        "--time-limit", metavar="S", type=_non_negative(float, infinity_means=0.0),
        help="stop after S seconds (0 or inf: no limit)",
    )
    parser.add_argument(
        "--gap", metavar="G", type=_non_negative(float),
        help="relative MIP gap at which the search stops",
    )
    parser.add_argument(
        "--threads", metavar="N", type=_non_negative(int), help="threads to use (0: automatic)"
    )
    parser.add_argument(
        "--print-solution", action="store_true",
        help="print the solution after the report (one 'name value' line per column)",
    )
    parser.add_argument(
        "--solution", metavar="OUT", help="write the solution (one 'name value' line per column)"
    )
    parser.add_argument("--quiet", action="store_true", help="do not print the solver log")
    return parser


def _error(message):
    print(f"nuvrel: error: {message}", file=sys.stderr)


def _apply_options(problem, options):
    if options.time_limit is not None:
        problem.controls.time_limit = options.time_limit
    if options.gap is not None:
        problem.controls.mip_relative_gap = options.gap
    if options.threads is not None:
        problem.controls.threads = options.threads


def _format_value(value):
    # The shortest text that reads back as the same double; integral values without ".0",
    # and no negative zero.
    text = repr(float(value) + 0.0)
    return text[:-2] if text.endswith(".0") else text


def _describe(problem):
    attrs = problem.attributes
    text = f"{attrs.original_rows} rows, {attrs.original_columns} columns"
    if attrs.discrete_columns:
        text += f", {attrs.discrete_columns} discrete"
    if attrs.original_sets:
        text += f", {attrs.original_sets} sets"
    return text


def solution_lines(problem):
    """One "name value" line per column, in column order."""
    values = problem.getSolution()
    variables = problem.getVariable(first=0, last=len(values) - 1) if values else []
    return [f"{var.name} {_format_value(value)}" for var, value in zip(variables, values)]


def write_solution(path, problem, status, objective):
    """Writes the header and one "name value" line per column."""
    lines = solution_lines(problem)
    with open(path, "w", encoding="utf-8") as out:
        out.write("# nuvrel solution\n")
        out.write(f"# problem {problem.name()}\n")
        out.write(f"# status {status}\n")
        out.write(f"# objective {_format_value(objective)}\n")
        out.write(f"# columns {len(lines)}\n")
        for line in lines:
            out.write(line + "\n")


def show_versions(parser):
    import nuvrel

    print(nuvrel.getbanner())
    print(f"nuvrel {nuvrel.__version__}, solver library {nuvrel.getversion()}")
    print(parser.format_usage(), end="")


def run(options):
    import nuvrel

    if options.quiet:
        nuvrel.setOutputEnabled(False)

    problem = nuvrel.problem()
    try:
        problem.read(options.file)
    except Exception as exc:  # the library's message names the file and the fault
        _error(f"cannot read {options.file}: {exc}")
        return EXIT_BAD_INPUT
    try:
        _apply_options(problem, options)
    except Exception as exc:
        _error(f"cannot apply the options: {exc}")
        return EXIT_BAD_INPUT

    started = time.perf_counter()
    failure = None
    try:
        problem.solve()
    except Exception as exc:
        failure = exc
    elapsed = time.perf_counter() - started

    status = problem.getProbStatusString()
    solved = status in SOLVED_STATUSES
    print(f"Problem: {problem.name()} ({_describe(problem)})")
    print(f"Status: {status}")
    if solved:
        objective = problem.getObjVal()
        print(f"Objective: {objective:.12g}")
    else:
        print("Objective: none (no solution)")
    print(f"Solve time: {elapsed:.3f} s")
    if failure is not None and not solved:
        message = str(failure) or type(failure).__name__
        _error(f"the solve failed: {message}")

    if not solved:
        if options.solution:
            _error(f"no solution to write to {options.solution}")
        if options.print_solution:
            _error("no solution to print")
        return EXIT_NO_SOLUTION
    if options.solution:
        try:
            write_solution(options.solution, problem, status, objective)
        except OSError as exc:
            _error(f"cannot write the solution: {exc}")
            return EXIT_BAD_INPUT
        print(f"Solution written to {options.solution}")
    if options.print_solution:
        print("Solution:")
        for line in solution_lines(problem):
            print(f"  {line}")
    return EXIT_SOLVED


def main(argv=None):
    parser = build_parser()
    if argv is None:
        argv = sys.argv[1:]
    try:
        options = parser.parse_args(_join_numeric_values(argv))
    except SystemExit as exc:  # argparse reports bad options itself (status 2)
        return exc.code if isinstance(exc.code, int) else EXIT_BAD_INPUT
    if options.file is None:
        show_versions(parser)
        return EXIT_SOLVED
    return run(options)

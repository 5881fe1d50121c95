"""Import of the native module: published names, constants and docstrings."""

import pydoc
import types

import pytest

from nuvrel import nuvrellib

# The published constants, as (name, value) pairs.
CONSTANTS = [
    *zip("continuous binary integer semicontinuous semiinteger partiallyinteger".split(), range(6)),
    ("minimize", 1), ("maximize", -1),
    ("leq", 1), ("geq", 2), ("eq", 3), ("range", 4),
    ("infinity", 1e20),
    *zip(["solinfo_absprimalinfeas", "solinfo_relprimalinfeas", "solinfo_absdualinfeas",
          "solinfo_reldualinfeas", "solinfo_maxmipfractional"], range(5)),
    *zip(["basis_nonbasic_lower", "basis_basic", "basis_nonbasic_upper", "basis_superbasic"],
         range(4)),
    *zip(["lp_unstarted", "lp_optimal", "lp_infeas", "lp_cutoff", "lp_unfinished",
          "lp_unbounded", "lp_cutoff_in_dual", "lp_unsolved", "lp_nonconvex"], range(9)),
    *zip(["mip_not_loaded", "mip_lp_not_optimal", "mip_lp_optimal", "mip_no_sol_found",
          "mip_solution", "mip_infeas", "mip_optimal", "mip_unbounded"], range(8)),
    ("nlp_unstarted", 0), ("nlp_solution", 1), ("nlp_locally_optimal", 1),
    ("nlp_globally_optimal", 2), ("nlp_locally_infeasible", 3), ("nlp_infeasible", 4),
    ("nlp_unbounded", 5), ("nlp_unfinished", 6),
    ("stop_timelimit", 1), ("stop_ctrlc", 2), ("stop_nodelimit", 3), ("stop_iterlimit", 4),
    ("stop_mipgap", 5), ("stop_sollimit", 6), ("stop_user", 9),
    *zip(["type_notdefined", "type_int", "type_int64", "type_double", "type_string"], range(5)),
    *zip(["colinfo_value", "colinfo_rdj", "colinfo_deltaindex", "colinfo_delta",
          "colinfo_deltadj", "colinfo_updaterow", "colinfo_sb", "colinfo_sbdual"], range(1, 9)),
    *zip(["rowinfo_slack", "rowinfo_dual", "rowinfo_numpenaltyerrors",
          "rowinfo_maxpenaltyerror", "rowinfo_totalpenaltyerror",
          "rowinfo_currentpenaltyerror", "rowinfo_currentpenaltyfactor",
          "rowinfo_penaltycolumnplus", "rowinfo_penaltycolumnplusvalue",
          "rowinfo_penaltycolumnplusdj", "rowinfo_penaltycolumnminus",
          "rowinfo_penaltycolumnminusvalue", "rowinfo_penaltycolumnminusdj"], range(1, 14)),
    ("msset_initialvalues", 0), ("msset_initialfiltered", 6), ("msset_solvers", 1),
    ("msset_slp_basic", 2), ("msset_slp_extended", 3), ("msset_ipm_basic", 4),
    ("msset_ipm_extended", 5),
    *zip(["gencons_max", "gencons_min", "gencons_and", "gencons_or", "gencons_abs"], range(5)),
]

PUBLISHED_TYPES = ["var", "expression", "sos", "constraint", "problem", "branchobj", "poolcut"]
EXCEPTIONS = ["ModelError", "InterfaceError", "SolverError"]

RUNTIME_FUNCTIONS = [
    "getlasterror", "getversion", "getcheckedmode", "setcheckedmode", "setdefaultcontrol",
    "setdefaults", "addcbmsghandler", "removecbmsghandler", "getbanner", "init", "free",
    "vars", "setarchconsistency", "getOutputEnabled", "setOutputEnabled",
]


def test_module_publishes_its_types_exceptions_constants_and_controls():
    # Exactly these: an internal type (term, control table, handle) published by mistake fails.
    attributes = {k for k, v in vars(nuvrellib).items()
                  if not k.startswith("__") and not isinstance(v, types.BuiltinFunctionType)}
    assert attributes == {*PUBLISHED_TYPES, *EXCEPTIONS, *(name for name, _ in CONSTANTS),
                          "npvar", "npexpr", "npconstraint", "controls"}


@pytest.mark.parametrize("name,value", CONSTANTS)
def test_constant_value_and_type(name, value):
    got = getattr(nuvrellib, name)
    assert got == value
    # infinity is the only float; everything else is a plain int
    assert type(got) is (float if name == "infinity" else int)


@pytest.mark.parametrize("name", PUBLISHED_TYPES)
def test_published_types(name):
    t = getattr(nuvrellib, name)
    assert isinstance(t, type)
    assert t.__name__ == name and t.__module__ == "nuvrel"
    assert t.__doc__ and f"class {name}" in pydoc.render_doc(t)


@pytest.mark.parametrize("name", EXCEPTIONS)
def test_exceptions(name):
    exc = getattr(nuvrellib, name)
    assert issubclass(exc, Exception) and exc.__bases__ == (Exception,)
    assert f"{exc.__module__}.{exc.__name__}" == f"nuvrel.{name}"


@pytest.mark.parametrize("name", RUNTIME_FUNCTIONS)
def test_function_docstrings_have_four_sections(name):
    doc = getattr(nuvrellib, name).__doc__
    positions = [doc.find(section) for section in
                 ("Purpose:", "Synopsis:", "Arguments:", "Example:")]
    assert -1 not in positions and positions == sorted(positions)


def test_package_reexports_every_public_name(nv):
    public = [k for k in dir(nuvrellib) if not k.startswith("_")]
    assert {k for k in public if getattr(nv, k) is not getattr(nuvrellib, k)} == set()
    assert isinstance(nv.__version__, str) and nv.__version__

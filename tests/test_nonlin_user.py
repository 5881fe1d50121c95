"""User functions: building the nodes and their messages."""

import math

import pytest

import nuvrel as nv

x, y = nv.var(name="x"), nv.var(name="y")
FIRST = "Invalid user function, must specify at least one argument (the user function itself)"


@pytest.mark.parametrize("build, text", [
    (lambda: nv.user(math.hypot, x, y, derivatives=True), "user (user, x, y)"),
    (lambda: nv.user(arguments=[math.hypot, x, nv.exp(y)]), "user (user, x, exp (y))"),
    (lambda: nv.user(math.hypot, x, 3) + y, "(user (user, x, 3) + y)"),
])
def test_nodes_print_the_callable_as_user(build, text):
    assert str(build()) == text


@pytest.mark.parametrize("call, exc, message", [
    (lambda: nv.user(), nv.ModelError, FIRST),
    (lambda: nv.user(x, y), nv.ModelError, FIRST),
    (lambda: nv.user(arguments=()), nv.ModelError, FIRST),
    (lambda: nv.user(math.hypot, [x, y]), nv.ModelError, "Invalid object in n-ary operation"),
    # only the first argument may be a callable
    (lambda: nv.user(math.hypot, math.hypot), nv.ModelError, "Invalid object in n-ary operation"),
    (lambda: nv.user(math.hypot, x, arguments=[math.hypot, x]), nv.InterfaceError,
     "user() takes the function and its arguments either positionally or as the keyword "
     "arguments, not both"),
    (lambda: nv.user(math.hypot, x, flag=True), TypeError, None),
])
def test_messages(call, exc, message):
    with pytest.raises(exc) as err:
        call()
    assert message is None or str(err.value) == message

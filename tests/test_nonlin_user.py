"""User functions: building the nodes and their messages."""

import math

import pytest

import nuvrel as nv

x = nv.var(name="x")
y = nv.var(name="y")

MSG_FIRST = ("Invalid user function, must specify at least one argument (the user function "
             "itself)")


def hyp(a, b):
    return math.hypot(a, b)


class Scaled:
    def __call__(self, a):
        return 2 * a


@pytest.mark.parametrize("build, text", [
    (lambda: nv.user(hyp, x, y), "user (user, x, y)"),
    (lambda: nv.user(hyp, x, y, derivatives=True), "user (user, x, y)"),
    (lambda: nv.user(Scaled(), 2 * x + 1), "user (user, %s)" % (2 * x + 1)),
    (lambda: nv.user(arguments=[hyp, x, nv.exp(y)]), "user (user, x, exp (y))"),
    (lambda: nv.user(hyp, x, 3) + y, "(user (user, x, 3) + y)"),
])
def test_nodes_print_the_callable_as_user(build, text):
    node = build()
    assert type(node) is type(nv.exp(x)) and str(node) == text


@pytest.mark.parametrize("call, exc, message", [
    (lambda: nv.user(), nv.ModelError, MSG_FIRST),
    (lambda: nv.user(x, y), nv.ModelError, MSG_FIRST),
    (lambda: nv.user(3, x), nv.ModelError, MSG_FIRST),
    (lambda: nv.user(arguments=()), nv.ModelError, MSG_FIRST),
    (lambda: nv.user(hyp, [x, y]), nv.ModelError, "Invalid object in n-ary operation"),
    (lambda: nv.user(hyp, "x"), nv.ModelError, "Invalid object in n-ary operation"),
    # only the first argument may be a callable
    (lambda: nv.user(hyp, hyp), nv.ModelError, "Invalid object in n-ary operation"),
    (lambda: nv.user(hyp, x, arguments=[hyp, x]), nv.InterfaceError,
     "user() takes the function and its arguments either positionally or as the keyword "
     "arguments, not both"),
])
def test_messages(call, exc, message):
    with pytest.raises(exc) as err:
        call()
    assert str(err.value) == message


def test_derivatives_is_keyword_only_and_unknown_keywords_fail():
    with pytest.raises(TypeError):
        nv.user(hyp, x, y, flag=True)
    # a positional True is an argument like any number
    assert str(nv.user(hyp, x, True)) == "user (user, x, True)"

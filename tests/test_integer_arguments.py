"""Integer arguments: Python ints and numpy integer scalars of every width are integers
everywhere an integer is asked for; objects that merely convert to an integer are not."""
import numpy as np
import pytest

import nuvrel as nv


class IndexOnly:
    """Converts to an int through __index__ but is neither an int nor a numpy integer."""

    def __index__(self):
        return 2


@pytest.mark.parametrize("count", [2, np.int8(2), np.uint16(2), np.int64(2)])
def test_integer_widths_are_counts_for_vars(count):
    assert list(nv.vars(count, ["a"])) == [(0, "a"), (1, "a")]


@pytest.mark.parametrize("set_type", [2, np.int8(2), np.uint64(2)])
def test_integer_widths_are_set_types(set_type):
    x = [nv.var(), nv.var()]
    assert nv.sos(x, [1, 2], type=set_type).type == 2


@pytest.mark.parametrize("build", [
    lambda: nv.vars(IndexOnly(), ["a"]),
    lambda: nv.sos([nv.var(), nv.var()], [1, 2], type=IndexOnly()),
    lambda: nv.sos([nv.var(), nv.var()], [1, 2], type=2.0),
], ids=["vars count", "sos type", "sos type float"])
def test_non_integers_are_refused(build):
    with pytest.raises(nv.ModelError):
        build()

"""The shared argument helpers of the extension: the two-list keyword parser, the
missing-argument messages, the allocator and the SIGINT guard. They are
called through the extension's exported symbols with ctypes."""

import ctypes
import os
import signal
import time

import pytest

PARSE = "_Z25nvo_ParseTupleAndKeywordsP7_objectS0_PKcPS2_S3_z"
MISSING_RANGE = "_Z26nvo_PyErr_MissingArgsRangePPKcii"
MISSING = "_Z21nvo_PyErr_MissingArgsPPKcz"
ALLOC = "_Z33nvo_MemoryAllocator_Alloc_UntypedP19nvo_MemoryAllocatormPv"
REALLOC = "_Z35nvo_MemoryAllocator_Realloc_UntypedP19nvo_MemoryAllocatorPvm"
FREE = "_Z32nvo_MemoryAllocator_Free_UntypedP19nvo_MemoryAllocatorPv"
SET_GUARD = "_Z16setSigIntHandlerv"
RESET_GUARD = "_Z18resetSigIntHandlerv"


def kwlist(*names):
    return (ctypes.c_char_p * (len(names) + 1))(*[n.encode() for n in names], None)


@pytest.fixture
def parse(native):
    """parse(args, kwargs, alt=True) -> (ok, first, second) for format "i|i" with the
    keyword names (msgcode, flag) and, as the alternative list, (errcode, flag)."""
    fn = getattr(native, PARSE)
    fn.restype = ctypes.c_int

    def call(args, kwargs, alt=True):
        first, second = ctypes.c_int(-1), ctypes.c_int(-1)
        ok = fn(ctypes.py_object(args), ctypes.py_object(kwargs), b"i|i",
                kwlist("msgcode", "flag"), kwlist("errcode", "flag") if alt else None,
                ctypes.byref(first), ctypes.byref(second))
        return ok, first.value, second.value

    return call


@pytest.mark.parametrize("args,kwargs,expected", [
    ((7,), {}, (7, -1)),
    ((7, 8), {}, (7, 8)),
    ((), {"msgcode": 7}, (7, -1)),
    ((), {"errcode": 7, "flag": 1}, (7, 1)),     # the alternative name
    ((7,), {"flag": 2}, (7, 2)),
])
def test_parser_accepts_either_keyword_list(parse, args, kwargs, expected):
    ok, first, second = parse(args, kwargs)
    assert ok and (first, second) == expected


@pytest.mark.parametrize("args,kwargs,fragment", [
    ((), {}, "'msgcode'"),              # a missing argument is named after the primary list
    ((1,), {"bogus": 1}, "'bogus' is an invalid"),
    ((), {"msgcode": 1, "errcode": 2}, "'errcode' is an invalid"),  # mixing the lists fails
    ((1, 2, 3), {}, "at most 2"),
    (("x",), {}, "integer"),
])
def test_parser_reports_the_primary_lists_error(parse, args, kwargs, fragment):
    with pytest.raises(TypeError) as info:
        parse(args, kwargs)
    assert fragment in str(info.value)


def test_parser_without_alternative_list_rejects_legacy_name(parse):
    with pytest.raises(TypeError, match="'msgcode'"):
        parse((), {"errcode": 7}, alt=False)


@pytest.mark.parametrize("names,first,last,message", [
    (["x"], 0, 1, "Must provide argument x"),
    (["x", "y"], 0, 2, "Must provide arguments x, y"),
    (["a", "b", "c", "d"], 1, 4, "Must provide arguments b, c, d"),
])
def test_missing_arguments_range(native, nv, names, first, last, message):
    with pytest.raises(nv.InterfaceError) as info:
        getattr(native, MISSING_RANGE)(kwlist(*names), first, last)
    assert str(info.value) == message


def test_missing_arguments_message_is_cut_at_255(native, nv):
    names = [f"name{i:02d}" + "_" * 20 for i in range(20)]
    with pytest.raises(nv.InterfaceError) as info:
        getattr(native, MISSING_RANGE)(kwlist(*names), 0, len(names))
    full = "Must provide arguments " + ", ".join(names)
    assert str(info.value) == full[:255]


@pytest.mark.parametrize("indices,message", [
    ([2], "Must provide argument c"),
    ([0, 2], "Must provide arguments a, c"),
    ([3, 1], "Must provide arguments d, b"),
])
def test_missing_arguments_chosen(native, nv, indices, message):
    with pytest.raises(nv.InterfaceError) as info:
        getattr(native, MISSING)(kwlist("a", "b", "c", "d"), *[ctypes.c_int(i) for i in indices],
                                 ctypes.c_int(-1))
    assert str(info.value) == message


def test_default_heap_operations(native):
    heap = ctypes.c_void_p.in_dll(native, "nvo_MemoryAllocator_DefaultHeap")
    alloc, realloc, free = (getattr(native, n) for n in (ALLOC, REALLOC, FREE))
    p = ctypes.c_void_p(None)
    assert alloc(heap, ctypes.c_size_t(16), ctypes.byref(p)) == 0 and p.value
    ctypes.memmove(p, b"0123456789abcdef", 16)
    assert realloc(heap, ctypes.byref(p), ctypes.c_size_t(1 << 16)) == 0
    assert ctypes.string_at(p, 16) == b"0123456789abcdef"   # contents survive growth
    kept = p.value
    assert realloc(heap, ctypes.byref(p), ctypes.c_size_t(1 << 62)) == -1
    assert p.value == kept                                     # a failed resize keeps the block
    assert alloc(heap, ctypes.c_size_t(1 << 62), ctypes.byref(ctypes.c_void_p())) == -1
    assert free(heap, ctypes.byref(p)) == 0 and p.value is None
    assert free(heap, ctypes.byref(p)) == 0                    # freeing null is harmless


def sigint_action():
    """The process's current SIGINT handler address as the kernel sees it (0: default)."""
    libc = ctypes.CDLL(None, use_errno=True)
    buf = ctypes.create_string_buffer(512)  # larger than struct sigaction
    assert libc.sigaction(signal.SIGINT, None, buf) == 0
    return ctypes.c_void_p.from_buffer(buf).value or 0


def test_sigint_guard_nests(native):
    set_guard, reset_guard = getattr(native, SET_GUARD), getattr(native, RESET_GUARD)
    interpreter_handler = sigint_action()
    assert interpreter_handler != 0
    set_guard()
    try:
        assert sigint_action() == 0          # default action while the library runs
        set_guard()
        assert sigint_action() == 0
        reset_guard()
        assert sigint_action() == 0          # an inner guard does not restore
    finally:
        reset_guard()
    assert sigint_action() == interpreter_handler
    assert signal.getsignal(signal.SIGINT) is signal.default_int_handler
    with pytest.raises(KeyboardInterrupt):  # the interpreter's handler works again
        os.kill(os.getpid(), signal.SIGINT)
        time.sleep(2)

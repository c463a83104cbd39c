"""States files keep every payload exactly and refuse any file that is not one, with a clear error."""
import json

import numpy as np
import pytest
from hypothesis import given, settings, strategies as st
from hypothesis.extra import numpy as hnp

from quillmarsh.functions.builtins.longitudinal import ROLLING_MEAN, ROLLING_ZSCORE
from quillmarsh._reference.reductions import PnlWeightedReduction
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine._types import FunctionState

from quillmarsh.cli import states_format
from quillmarsh.cli.atomic_write import write_atomically
from quillmarsh.cli.states_io import load_states, states_writer

LIMIT = 1 << 30
ROWS = np.random.default_rng(3).normal(size=(7, 4)) * 1e3


def fed(instance):
    for row in ROWS:
        instance(row)
    return instance


def reduction_state():
    reduction = PnlWeightedReduction(3)
    for pnl in ([0.1, -0.2], [np.nan, 0.3], [0.2, 0.0], [0.5, 0.1]):
        reduction(np.ones((2, 4)), signal_pnl=np.array(pnl))
    return reduction.get_state()


PAYLOADS = {
    "rolling mean, long double sums": fed(default_registry().create_instance(ROLLING_MEAN, window=3)).get_state(),
    "rolling z-score, before any row": default_registry().create_instance(ROLLING_ZSCORE, window=5).get_state(),
    "pnl-weighted reduction": reduction_state(),
    "native operator shape": {"count": 12, "window": 4, "ring": np.arange(8.0).reshape(2, 4),
                              "nan_count": np.array([0, 1, 2, 3], np.int64),
                              "sums": np.array([1, 2, 3], np.longdouble) / 3},
    "scalars of every kind": {"nan": float("nan"), "inf": -float("inf"), "zero": -0.0, "big": 2 ** 80,
                              "flag": True, "none": None, "name": "r\u00e9sum\u00e9 \udcff",
                              "float32": np.float32(0.1), "int8": np.int8(-3), "ld": np.longdouble(1) / 7},
    "empty": {},
}


def save_and_load(tmp_path, states, graph_text="g"):
    path = tmp_path / "s.npz"
    write_atomically(path, states_writer(graph_text, states))
    return load_states(path, graph_text, LIMIT)


def assert_same_payload(restored, original):
    assert restored.keys() == original.keys()
    for name, value in original.items():
        back = restored[name]
        assert type(back) is type(value), name
        if isinstance(value, (np.ndarray, np.generic)):
            assert back.dtype == value.dtype and np.shape(back) == np.shape(value), name
            assert np.array_equal(back, value, equal_nan=back.dtype.kind == "f"), name
            assert np.array_equal(np.signbit(back), np.signbit(value)), name  # -0.0 stays negative
        elif isinstance(value, float):
            assert repr(back) == repr(value), name
        else:
            assert back == value, name


@pytest.mark.parametrize("payload", PAYLOADS.values(), ids=PAYLOADS.keys())
def test_payload_round_trips_exactly(tmp_path, payload):
    states = {"root.c0": FunctionState("f", "1", payload), "root": FunctionState("g", 2, {"count": 1})}
    restored = save_and_load(tmp_path, states)
    assert list(restored) == ["root.c0", "root"]
    assert (restored["root"].function_name, restored["root"].function_version) == ("g", 2)
    assert_same_payload(restored["root.c0"].data, payload)


real_dtypes = st.sampled_from(["?", "i1", "u2", "i8", "f2", "f4", "f8", "g"]).map(np.dtype)
arrays = real_dtypes.flatmap(lambda dtype: hnp.arrays(dtype, hnp.array_shapes(min_dims=0, max_dims=3, max_side=4)))
fields = st.one_of(st.none(), st.booleans(), st.integers(), st.floats(), st.text(max_size=8))
payloads = st.dictionaries(st.text(max_size=6), st.one_of(fields, arrays), max_size=6)


@settings(max_examples=40, deadline=None)
@given(payloads=st.lists(payloads, max_size=3), graph_text=st.text(max_size=20))
def test_drawn_payloads_round_trip(tmp_path_factory, payloads, graph_text):
    states = {f"root.c{i}": FunctionState(f"f{i}", "1", payload) for i, payload in enumerate(payloads)}
    restored = save_and_load(tmp_path_factory.mktemp("s"), states, graph_text)
    for key, state in states.items():
        assert_same_payload(restored[key].data, state.data)


def valid_members():
    return states_format.encode("g", {"k": FunctionState("f", "1", {"count": 2, "ring": np.ones(3)})})


def with_header(members, change):
    header = json.loads(members["header"].tobytes())
    change(header)
    return {**members, "header": np.frombuffer(json.dumps(header).encode(), np.uint8)}


def entry(**changes):
    return lambda header: header["states"][0].update(changes)


MALFORMED = {
    "no header": (lambda m: {k: v for k, v in m.items() if k != "header"}, "it has no header"),
    "header not JSON": (lambda m: {**m, "header": np.frombuffer(b"\xff{", np.uint8)}, "not JSON"),
    "newer version": (lambda m: with_header(m, lambda h: h.update(version=2)), "format version 2"),
    "missing array": (lambda m: with_header(m, entry(arrays={"ring": "a9"})), "'ring' names no array"),
    "array used twice": (lambda m: with_header(m, entry(arrays={"ring": "a0"}, scalars={"s": "a0"})), "used twice"),
    "scalar not 0-d": (lambda m: with_header(m, entry(arrays={}, scalars={"ring": "a0"})), "is an array of shape"),
    "stray array": (lambda m: {**m, "extra": np.ones(1)}, "'extra' belongs to no state"),
    "complex array": (lambda m: {**m, "a0": np.ones(3, complex)}, "has dtype complex128"),
    "foreign long double": (lambda m: with_header({**m, "a0": np.ones(3, np.longdouble)},
                                                  lambda h: h.update(long_double={"itemsize": 2})),
                            "long double arrays were written on a platform"),
}


@pytest.mark.parametrize("change, message", MALFORMED.values(), ids=MALFORMED.keys())
def test_malformed_members_are_refused(change, message):
    with pytest.raises(ValueError, match=message):
        states_format.decode(change(valid_members()))


json_values = st.recursive(st.one_of(fields, st.just(float("nan"))),
                           lambda inner: st.lists(inner, max_size=3) | st.dictionaries(st.text(max_size=5), inner,
                                                                                         max_size=3), max_leaves=8)


@settings(max_examples=150, deadline=None)
@given(place=st.sampled_from(["top", "entry", "fields", "arrays", "scalars"]), name=st.text(max_size=8),
       value=json_values)
def test_drawn_header_damage_gives_value_errors_only(place, name, value):
    def damage(header):
        target = {"top": header, "entry": header["states"][0]}.get(place) or header["states"][0][place]
        target[name] = value
    try:
        _, states = states_format.decode(with_header(valid_members(), damage))
    except ValueError:
        return
    assert all(isinstance(state.data, dict) for state in states.values())

import numpy as np
import pytest

from quillmarsh.functions.registry import FunctionRegistry, default_registry
from quillmarsh.simulator_engine._registry_protocols import RegistryProtocol
from quillmarsh.simulator_engine._types import FunctionState

ROW_A = np.array([1.0, -2.0, np.nan, 4.0])
ROW_B = np.array([0.5, 3.0, 1.0, np.nan])

ZERO_SUM = np.array([0.0, np.nan, 0.0, 0.0])
PAIR = np.vstack([ROW_A, ROW_B])

# name, config, positional inputs, keyword inputs, stateful, expected output
BUILTIN_CALLS = [
    ("latitudinal_rank_688068", {}, [ROW_A], {}, False, [2 / 3, 1 / 3, np.nan, 1.0]),
    ("numerical_combine_d65e04", {}, [ROW_A, ROW_B], {}, False, [0.5, -6.0, np.nan, np.nan]),
    ("longitudinal_accumulators_25c7fb", {"window": 1}, [ROW_A], {}, True, ROW_A),
    ("longitudinal_accumulators_a5b1f0", {"window": 1}, [ROW_A], {}, True, [0.0, 0.0, np.nan, 0.0]),
    ("longitudinal_accumulators_7e8468", {"window": 1}, [ROW_A], {}, True, [0.0, 0.0, np.nan, 0.0]),
    ("reduction_mean_3f9c2e", {}, [PAIR], {}, False, [0.75, 0.5, np.nan, np.nan]),
    ("reduction_pnl_weighted_b7d41a", {"window": 3}, [PAIR], {"signal_pnl": np.array([0.1, -0.2])}, True, ROW_A),
    ("cross_sectional_demean_5e2a7c", {}, [ROW_A], {}, False, [0.0, -3.0, np.nan, 3.0]),
    ("cross_sectional_scale_c81f06", {"target": 2.0}, [ROW_A], {}, False, [2 / 7, -4 / 7, np.nan, 8 / 7]),
    ("cross_sectional_scale_c81f06", {}, [ZERO_SUM], {}, False, ZERO_SUM),
]


@pytest.mark.parametrize("name, config, rows, keywords, stateful, expected", BUILTIN_CALLS)
def test_builtin_instances_honour_the_instance_contract(name, config, rows, keywords, stateful, expected):
    registry = default_registry()
    entry = registry.get_entry(name)
    assert not any(hasattr(entry, attr) for attr in ("factory", "module_path", "class_name", "implementation"))
    assert not registry.has_factory(name) and entry.stateful is stateful
    originals = [row.copy() for row in rows]
    instance = registry.create_instance(name, **config)
    out = instance(*rows, **keywords) if keywords else instance(*rows, context=None)
    assert instance.stateful is stateful and out.dtype == np.float64
    np.testing.assert_allclose(out, expected, rtol=0, atol=1e-15)
    for row, original in zip(rows, originals):
        np.testing.assert_array_equal(row, original)
    assert not stateful or (instance.get_state()["count"], instance.get_state()["window"]) == (1, config["window"])


class Counter:
    stateful = True

    def __init__(self, start=0):
        self.value = start

    def set_state(self, data):
        self.value = data["value"]


def test_user_functions_are_built_by_their_factory():
    registry = FunctionRegistry()
    entry = registry.register("counter_0a1b2c", factory=Counter, param_schema=[("start", "int")],
                              stateful=True, version="7")
    registry.register("plain_3d4e5f", factory=lambda: object())
    assert isinstance(registry, RegistryProtocol) and registry.get_entry("counter_0a1b2c") is entry
    assert registry.has_factory("counter_0a1b2c") and registry.get_function_version("counter_0a1b2c") == "7"
    assert registry.create_instance("counter_0a1b2c", start=4).value == 4
    saved = FunctionState("counter_0a1b2c", "7", {"value": 9})
    assert registry.create_instance_from_state("counter_0a1b2c", saved, start=1).value == 9
    with pytest.raises(TypeError, match="plain_3d4e5f.*set_state"):
        registry.create_instance_from_state("plain_3d4e5f", FunctionState("p", "1", {}))


@pytest.mark.parametrize("call, error, message", [
    (lambda r: r.get_entry("missing_000000"), KeyError, "missing_000000"),
    (lambda r: r.create_instance("missing_000000"), KeyError, "missing_000000"),
    (lambda r: r.get_function_version("missing_000000"), KeyError, "missing_000000"),
    (lambda r: r.register("latitudinal_rank_688068", factory=Counter), ValueError, "already"),
    (lambda r: r.create_instance(r.register("stub_abcdef").name), TypeError, "no factory"),
])
def test_lookup_and_registration_errors(call, error, message):
    registry = default_registry()
    assert not registry.has("missing_000000") and not registry.has_factory("missing_000000")
    with pytest.raises(error, match=message):
        call(registry)


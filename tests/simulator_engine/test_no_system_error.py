"""Wrongly typed containers anywhere the engine reads caller objects end in a typed Python error,
never SystemError. Each entry runs its drawn cases in a child process, so a crash fails that
entry instead of the test run."""
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
from hypothesis import given, strategies as st

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node, FunctionState, StageData, UsefulSignal

MEAN = "longitudinal_accumulators_25c7fb"
RED = "reduction_pnl_weighted_b7d41a"
WRONG = st.sampled_from([
    None, 0, 2**70, 1.5, "x", b"x", [], ["x"], [None], (), ("x",), (1, 2), {}, {"x": 0}, {"x": "0"}, {0: 1},
    {"x": [1]}, set(), frozenset(["x"]), np.zeros(3), np.zeros((3, 2)), np.zeros((2, 3, 2)),
    np.zeros((3, 2), dtype=object), np.array([["a", "b"]] * 3), object(), Node("feature", "x"),
    StageData({"y": np.ones((3, 2))}), FunctionState(MEAN, "1", {"count": 1}),
])
GRAPHS = st.sampled_from([
    lambda: Node("feature", "x"),
    lambda: Node("feature", "y"),
    lambda: Node("rotation", "latitudinal_rank_688068", [Node("feature", "x")]),
    lambda: Node("rotation", MEAN, [Node("feature", "x"), Node("int", 2)]),
    lambda: Node("reduction", RED, [Node("int", 2)]),
    lambda: Node("reduction", RED, [Node("filtration", "filtration", [Node("feature", "x")]), Node("int", 2)]),
]).map(lambda build: build())
CONTEXT_FIELDS = ["features", "feature_index", "useful_signals", "registry", "universe", "universe_mask",
                  "metaparameters", "transform_pipeline", "stage_data", "column_labels", "signal_pnl_vectors",
                  "current_day_index", "registers", "extraction_buffer", "_precomputed_node_outputs",
                  "_precomputed_node_nan_source", "_collect_states"]
CONSTRUCTOR_ARGUMENTS = ["features", "feature_index", "useful_signals", "universe", "metaparameters",
                         "transform_pipeline", "column_labels", "signal_pnl_vectors", "universe_mask",
                         "current_day_index", "transforms_already_combined", "validate_inputs"]


def _fields():
    signals = {"a": UsefulSignal(weights=np.ones((3, 2)), pnl=np.ones((3, 1))),
               "b": UsefulSignal(weights=np.full((3, 2), 2.0), pnl=np.zeros((3, 1)))}
    return dict(features=[np.arange(6.0).reshape(3, 2)], feature_index={"x": 0}, useful_signals=signals,
                registry=default_registry(), universe=np.ones((3, 2)), column_labels=["gross_returns"],
                stage_data=StageData({"y": np.ones((3, 2))}))


def _context(**changes):
    return ee.EvaluationContext(**{**_fields(), **changes}, validate_inputs=False)


def _saved_states(graph):
    return ee.evaluate(graph, _context()).states or None


def _context_field(draw):
    ctx = _context()
    setattr(ctx, draw(st.sampled_from(CONTEXT_FIELDS)), draw(WRONG))
    ee.evaluate(draw(GRAPHS), ctx)


def _constructor_argument(draw):
    ee.evaluate(draw(GRAPHS), ee.EvaluationContext(**{**_fields(), draw(st.sampled_from(CONSTRUCTOR_ARGUMENTS)):
                                                      draw(WRONG)}))


def _graph_field(draw):
    graph = draw(GRAPHS)
    node = draw(st.sampled_from([graph, *(graph.children or [])]))
    setattr(node, draw(st.sampled_from(["type", "node", "children", "config", "_state_identity",
                                        "_collect_nodes_cache", "_node_identities"])), draw(WRONG))
    ee.evaluate(graph, _context(), bound_function_instances=draw(st.sampled_from([None, {}])))


def _evaluate_argument(draw):
    graph = draw(GRAPHS)
    arguments = {"function_states": _saved_states(graph), "is_cold_start": True}
    arguments[draw(st.sampled_from(["function_states", "bound_function_instances", "data_nan_features"]))] = draw(WRONG)
    ee.evaluate(graph, _context(), **arguments)


def _saved_payload(draw):
    graph = draw(GRAPHS)
    states = _saved_states(graph) or {}
    for state in states.values():
        state.data = draw(st.one_of(WRONG, st.dictionaries(st.sampled_from(["count", "window"]), WRONG)))
    ee.evaluate(graph, _context(), states or None, True)


def _signal_field(draw):
    ctx = _context()
    setattr(ctx.useful_signals[draw(st.sampled_from(["a", "b"]))], draw(st.sampled_from(["weights", "pnl"])),
            draw(WRONG))
    ee.evaluate(draw(GRAPHS), ctx)


def _stage_data_value(draw):
    ctx = _context(features=draw(st.sampled_from([list, tuple]))(_fields()["features"]),
                   stage_data=StageData({"y": draw(WRONG), "z": draw(WRONG)}))
    for name in ("y", "z"):  # the second evaluation may attach a new name
        try:
            ee.evaluate(Node("feature", name), ctx)
        except SystemError:
            raise
        except Exception:
            pass


ENTRIES = {entry.__name__.lstrip("_"): entry for entry in [
    _context_field, _constructor_argument, _graph_field, _evaluate_argument, _saved_payload, _signal_field,
    _stage_data_value]}


def check(entry):
    """Runs the entry's drawn cases; any error but SystemError is an acceptable answer."""
    @given(st.data())
    def cases(data):
        try:
            ENTRIES[entry](data.draw)
        except SystemError:
            raise
        except Exception:
            pass

    cases()


@pytest.mark.parametrize("entry", sorted(ENTRIES))
def test_no_system_error(entry):
    root = Path(__file__).resolve().parents[2]
    code = f"import tests.conftest; from tests.simulator_engine.test_no_system_error import check; check({entry!r})"
    child = subprocess.run([sys.executable, "-c", code], cwd=root, capture_output=True, text=True, timeout=900)
    assert child.returncode == 0, child.stdout + child.stderr

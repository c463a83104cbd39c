import threading

import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionExecutionError, SchemaError, TransformStage
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

from .general_fakes import make_context


LEAF = Node("feature", "close")


def test_non_node_graph_is_rejected_before_the_context_is_touched():
    with pytest.raises(SchemaError, match="^evaluate graph must be FunctionGraphNode; got dict$"):
        ee.evaluate({"type": "feature"}, object())


def test_result_behaves_as_pair_and_as_weights():
    result = ee.evaluate(LEAF, make_context())
    weights, states = result
    assert len(result) == 2 and states == result.nan_source == result.node_outputs == {} and result[:1] == (weights,)
    assert result[-1] is states and result.shape == (4, 3) and np.asarray(result, dtype=np.float32).dtype == np.float32


def test_missing_universe_names_inputs_and_context_fields():
    ctx = make_context(universe=None, pool_id="pool_a", universe_tag="us")
    message = "^missing_simulation_universe: missing required evaluation inputs universe, universe_mask$"
    with pytest.raises(ee.MissingSimulationUniverseError, match=message) as err:
        ee.evaluate(LEAF, ctx)
    assert isinstance(err.value, EvaluationError) and err.value.missing_args == ["universe", "universe_mask"]
    assert (err.value.pool_id, err.value.universe_tag, err.value.feature_count) == ("pool_a", "us", 1)


def test_preflight_rejects_engine_only_config_even_on_a_fast_path_graph():
    graph = Node("rotation", "latitudinal_rank_688068", [LEAF], config={"N_alloc": 3, "A": 1})
    with pytest.raises(FunctionExecutionError, match="^Function 'latitudinal_rank_688068' at node 'root' config "
                                                     "contains engine-only parameter"):
        ee.evaluate(graph, make_context())


def test_transform_pipeline_is_combined_into_a_copy_once():
    ctx = make_context(transform_pipeline=[TransformStage("st", "missing_fn")])
    inner = Node("rotation", "f", [LEAF])
    graph = Node("rotation", "g", [inner])
    with pytest.raises(Exception):
        ee.evaluate(graph, ctx)
    assert ctx.transform_pipeline == [] and not hasattr(inner, "_state_identity") and graph.children == [inner]


def test_already_combined_pipeline_is_kept():
    stages = [TransformStage("st", "missing_fn")]
    ctx = make_context(transform_pipeline=stages, transforms_already_combined=True)
    ee.evaluate(LEAF, ctx)
    assert ctx.transform_pipeline is stages


def test_same_context_is_serialised_across_threads():
    ctx = make_context()
    ctx._evaluation_lock.acquire()
    done = threading.Event()
    worker = threading.Thread(target=lambda: (ee.evaluate(LEAF, ctx), done.set()))
    worker.start()
    assert not done.wait(0.2)
    ctx._evaluation_lock.release()
    assert done.wait(5)
    worker.join()


def test_lock_is_reentrant_on_one_thread_and_released_after_failure():
    ctx = make_context()
    with ctx._evaluation_lock:
        ee.evaluate(LEAF, ctx)
    with pytest.raises(SchemaError):
        ee.evaluate(Node("feature", "close", [{"bad": 1}]), ctx)
    assert ctx._evaluation_lock.acquire(blocking=False)
    ctx._evaluation_lock.release()

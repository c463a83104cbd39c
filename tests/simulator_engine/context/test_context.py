"""Context construction: shape validation, feature index and stage-data checks, pickling."""
import pickle

import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionGraphNode, SchemaError, UsefulSignal


REF = (250, 40)
_z = np.zeros


@pytest.mark.parametrize("features, universe, signals, message", [
    ([_z(REF), _z(REF), _z((250, 41))], None, None,
     "Feature dimension mismatch: 'feature_0' shape (250, 40) vs 'feature_2' shape (250, 41)"),
    ([_z(REF)], _z((250, 39)), None,
     "Feature dimension mismatch: features shape (250, 40) vs universe shape (250, 39)"),
    ([_z(REF)], None, {"s1": UsefulSignal(weights=_z((250, 41)), pnl=_z((3,)))},
     "useful signal 's1' weights shape (250, 41) does not match feature shape (250, 40)"),
    ([_z(REF)], None, {"s1": UsefulSignal(pnl=_z((249,)))},
     "useful signal 's1' pnl shape (249,) does not match feature shape (250, 40)"),
    ([_z(REF)], _z(REF + (1,)), None,
     "Feature dimension mismatch: features shape (250, 40) vs universe shape (250, 40, 1)"),
])
def test_first_shape_inconsistency_is_reported(features, universe, signals, message):
    with pytest.raises(EvaluationError) as err:
        ee._validate_evaluation_shapes(features, universe, signals)
    assert str(err.value) == message


@pytest.mark.parametrize("features, universe, signals", [
    ([], _z((3, 3)), None), (None, None, None), ([_z(REF)], _z(REF), {}),
    ([_z(REF)], None, {"s": UsefulSignal(weights=None, pnl=_z((250, 3)))}),
])
def test_consistent_shapes_pass(features, universe, signals):
    assert ee._validate_evaluation_shapes(features, universe, signals) is None


def test_evaluate_revalidates_a_context_changed_after_construction():
    ctx = ee.EvaluationContext([_z((4, 3))], {"close": 0}, universe=np.ones((4, 3)))
    ctx.universe = np.ones((4, 2))
    with pytest.raises(EvaluationError, match="vs universe shape"):
        ee.evaluate(FunctionGraphNode("feature", "close"), ctx)


@pytest.mark.parametrize("position", [3, -1])
def test_feature_index_out_of_bounds(position):
    with pytest.raises(EvaluationError) as err:
        ee.EvaluationContext([_z(REF)] * 3, {"open": 0, "close": position})
    assert str(err.value) == f"feature_index['close'] = {position} is out of bounds for 3 features"


def test_stage_data_type_is_checked_before_feature_index():
    with pytest.raises(SchemaError, match=r"^EvaluationContext\.stage_data must be StageData or None; got dict$"):
        ee.EvaluationContext([_z(REF)], {"close": 5}, stage_data={"x": 1})


def test_pickle_round_trip_gives_new_lock_and_same_fields():
    ctx = ee.EvaluationContext([_z((4, 3))], {"close": 0}, pool_id="p1")
    ctx.registers = np.ones((1, 3))
    assert "_evaluation_lock" not in ctx.__getstate__()
    restored = pickle.loads(pickle.dumps(ctx))
    assert restored._evaluation_lock is not ctx._evaluation_lock and restored._evaluation_lock.acquire(blocking=False)
    assert restored.pool_id == "p1" and restored._skip_evaluation_shape_validation is False
    np.testing.assert_array_equal(restored.registers, ctx.registers)


@pytest.mark.parametrize("features, feature_index, options", [
    (None, {}, {}), (None, None, {}), ([], {}, {}), ((), None, {"validate_inputs": None}),
    (None, {}, {"transforms_already_combined": None, "current_day_index": None, "validate_inputs": False}),
])
def test_a_context_without_features_fails_at_evaluate(features, feature_index, options):
    ctx = ee.EvaluationContext(features, feature_index, universe=np.ones((2, 2)), **options)
    with pytest.raises(EvaluationError, match="^No features provided$"):
        ee.evaluate(FunctionGraphNode("feature", "x"), ctx)


@pytest.mark.parametrize("features, feature_index, error, message", [
    (None, {"x": 0}, EvaluationError, r"^feature_index\['x'\] = 0 is out of bounds for 0 features$"),
    ([_z(REF)], ["x"], SchemaError, "^EvaluationContext.feature_index must be a map .* got list$"),
    ([_z(REF)], "x", SchemaError, "got str$"),
])
def test_wrong_typed_feature_index_is_a_typed_error(features, feature_index, error, message):
    with pytest.raises(error, match=message):
        ee.EvaluationContext(features, feature_index)


@pytest.mark.parametrize("config", [[("window", 3)], "window=3", 3, object()])
def test_graph_config_that_is_not_a_map_is_a_schema_error(config):
    graph = FunctionGraphNode("rotation", "f", [FunctionGraphNode("feature", "x")], config=config)
    ctx = ee.EvaluationContext([_z((2, 2))], {"x": 0}, universe=np.ones((2, 2)))
    with pytest.raises(SchemaError, match=f"^Graph node 'root' config must be a map or None; got {type(config).__name__}$"):
        ee.evaluate(graph, ctx)

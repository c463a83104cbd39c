import pickle

import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, SchemaError, UsefulSignal


def _features(count=3, shape=(250, 40)):
    return [np.zeros(shape) for _ in range(count)]


def test_extraction_buffer_has_one_zero_row_per_signal():
    signals = {s: UsefulSignal(weights=np.ones((250, 40))) for s in "abc"}
    buffer = ee.EvaluationContext(_features(1), {"close": 0}, useful_signals=signals).extraction_buffer
    assert buffer.shape == (3, 40) and buffer.dtype == np.float64 and not buffer.any()


def test_no_extraction_buffer_without_features():
    signals = {"a": UsefulSignal(weights=np.ones((2, 2)))}
    assert ee.EvaluationContext([], {}, useful_signals=signals).extraction_buffer is None


@pytest.mark.parametrize("position", [3, -1])
def test_feature_index_out_of_bounds(position):
    with pytest.raises(EvaluationError) as err:
        ee.EvaluationContext(_features(3), {"open": 0, "close": position})
    assert str(err.value) == f"feature_index['close'] = {position} is out of bounds for 3 features"


def test_validate_inputs_false_skips_checks_but_allocates_buffer():
    signals = {"a": UsefulSignal(weights=np.ones((5, 7)))}
    ctx = ee.EvaluationContext(_features(1), {"close": 9}, useful_signals=signals, validate_inputs=False)
    assert ctx._skip_evaluation_shape_validation is True
    assert ctx.extraction_buffer.shape == (1, 40)


def test_stage_data_type_is_checked_before_feature_index():
    with pytest.raises(SchemaError) as err:
        ee.EvaluationContext(_features(1), {"close": 5}, stage_data={"x": 1})
    assert str(err.value) == "EvaluationContext.stage_data must be StageData or None; got dict"


def test_pickle_round_trip_gives_new_lock_and_same_fields():
    ctx = ee.EvaluationContext(_features(1, (4, 3)), {"close": 0}, pool_id="p1")
    ctx.registers = np.ones((1, 3))
    assert "_evaluation_lock" not in ctx.__getstate__()
    restored = pickle.loads(pickle.dumps(ctx))
    assert restored._evaluation_lock is not ctx._evaluation_lock
    assert restored.pool_id == "p1" and restored._skip_evaluation_shape_validation is False
    np.testing.assert_array_equal(restored.registers, ctx.registers)
    with restored._evaluation_lock:
        pass

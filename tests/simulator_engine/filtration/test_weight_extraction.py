import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationShapeError, UsefulSignal

T, N_ALLOC = 250, 4


def signals(*ids, shape=(T, N_ALLOC)):
    return {sid: UsefulSignal(weights=np.arange(np.prod(shape), dtype=float).reshape(shape) * (i + 1))
            for i, sid in enumerate(ids)}


def test_rows_follow_passing_ids_and_are_copies():
    pool = signals("a", "b", None)
    pool["b"].weights = np.asfortranarray(pool["b"].weights.astype(np.int32))
    out = ee.extract_filtration_weights(pool, ["b", None, "a"], 7)
    np.testing.assert_array_equal(out, np.vstack([pool[k].weights[7] for k in ("b", None, "a")]))
    out[:] = -1
    assert pool["a"].weights[7, 0] == 7 * N_ALLOC


@pytest.mark.parametrize("t", [T, -1, 2**31 - 1])
def test_row_out_of_bounds(t):
    with pytest.raises(IndexError, match=rf"^t={t} out of bounds for weights array with valid range \[0, {T}\)$"):
        ee.extract_filtration_weights(signals("a"), ["a"], t)


@pytest.mark.parametrize("ids, error", [
    (["a", "zz", 5], KeyError), (["a", 5, "zz"], TypeError), (["zz"], KeyError), (["a", b"a"], TypeError),
])
def test_every_id_checked_in_order(ids, error):
    with pytest.raises(error) as info:
        ee.extract_filtration_weights(signals("a"), ids, 0)
    assert error is not KeyError or info.value.args == ("zz",)


@pytest.mark.parametrize("pool", [
    {"a": signals("a")["a"], "b": signals("b", shape=(T, 3))["b"]},
    {"a": signals("a")["a"], "b": UsefulSignal(weights=None)},
    {"a": UsefulSignal(weights=np.zeros(T)), "b": signals("b")["b"]},
])
def test_weights_of_other_shapes_are_rejected(pool):
    with pytest.raises(EvaluationShapeError):
        ee.extract_filtration_weights(pool, ["a", "b"], 0)

import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionGraphNode, UsefulSignal

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
def test_first_inconsistency_is_reported(features, universe, signals, message):
    with pytest.raises(EvaluationError) as err:
        ee._validate_evaluation_shapes(features, universe, signals)
    assert str(err.value) == message


@pytest.mark.parametrize("features, universe, signals", [
    ([], _z((3, 3)), None), (None, None, None), ([_z(REF)], _z(REF), {}),
    ([_z(REF)], None, {"s": UsefulSignal(weights=None, pnl=_z((250, 3)))}),
])
def test_consistent_inputs_pass(features, universe, signals):
    assert ee._validate_evaluation_shapes(features, universe, signals) is None


def test_evaluate_revalidates_a_context_changed_after_construction():
    ctx = ee.EvaluationContext([_z((4, 3))], {"close": 0}, universe=np.ones((4, 3)))
    ctx.universe = np.ones((4, 2))
    with pytest.raises(EvaluationError, match="vs universe shape"):
        ee.evaluate(FunctionGraphNode("feature", "close"), ctx)

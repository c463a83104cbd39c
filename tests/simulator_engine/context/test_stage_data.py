import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node, StageData


def _context(stage_values, **kwargs):
    features = [np.zeros((4, 3)) for _ in range(3)]
    return ee.EvaluationContext(features, {"a": 0, "b": 1, "c": 2}, stage_data=StageData(stage_values), **kwargs)


def test_two_dimensional_values_are_attached_in_name_order():
    depth = np.arange(12, dtype=np.int64).reshape(4, 3)
    ctx = _context({"depth": depth, "beta": np.ones((4, 3)), "alpha": np.ones((4, 3)), "flat": np.ones(3),
                    "a": np.full((4, 3), 7.0)})
    graph = Node("rotation", "f", [Node("feature", name) for name in ("depth", "beta", "alpha", "flat", "a")])
    ee._attach_stage_data_feature_leaves(graph, ctx)
    assert ctx.feature_index == {"a": 0, "b": 1, "c": 2, "alpha": 3, "beta": 4, "depth": 5}
    assert isinstance(ctx.features, tuple) and len(ctx.features) == 6 and not ctx.features[0].any()
    assert ctx.features[5].dtype == np.float64 and ctx.features[5].flags.c_contiguous
    np.testing.assert_array_equal(ctx.features[5], depth)


@pytest.mark.parametrize("container", [list, tuple])
def test_caller_features_are_never_changed(container):
    loaded = container(np.zeros((4, 3)) for _ in range(3))
    before = list(loaded)
    ctx = ee.EvaluationContext(loaded, {"a": 0, "b": 1, "c": 2}, universe=np.ones((4, 3)),
                               stage_data=StageData({"d": np.full((4, 3), 1.0), "e": np.full((4, 3), 2.0)}))
    for name, value in (("d", 1.0), ("e", 2.0), ("d", 1.0)):
        weights, _ = ee.evaluate(Node("feature", name), ctx)
        np.testing.assert_array_equal(weights, np.full((4, 3), value))
    assert type(loaded) is container and len(loaded) == 3 and all(a is b for a, b in zip(loaded, before))
    assert ctx.feature_index == {"a": 0, "b": 1, "c": 2, "d": 3, "e": 4} and isinstance(ctx.features, tuple)



def test_stage_data_supplies_the_only_features():
    ctx = ee.EvaluationContext(None, {}, universe=np.ones((4, 3)), stage_data=StageData({"d": np.ones((4, 3))}))
    weights, _ = ee.evaluate(Node("feature", "d"), ctx)
    np.testing.assert_array_equal(weights, np.ones((4, 3)))

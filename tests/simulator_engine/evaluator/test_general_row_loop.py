"""The per-row loop: leaf rows, argument conventions, instance failures and result checks."""
import numpy as np
import pytest
from .general_fakes import Fn, FakeRegistry, make_context

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationShapeError, FunctionExecutionError
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

CLOSE = Node("feature", "close")


def _args_seen(children, bound=True):
    """The row vectors the root instance received at its first row."""
    f = Fn(lambda *args: 0.0)
    graph = Node("rotation", "f", [CLOSE] + children)
    ee.evaluate(graph, make_context(), bound_function_instances={"root": f} if bound else None)
    return f.calls[0][0]


@pytest.mark.parametrize("kind, value, row", [
    ("float", 2.5, [2.5] * 3),
    ("int", 3, [3.0] * 3),
    ("int", "4", [4.0] * 3),
])
def test_numeric_literal_children_are_rows(kind, value, row):
    args = _args_seen([Node(kind, value)])
    assert len(args) == 2
    np.testing.assert_array_equal(args[1], row)


@pytest.mark.parametrize("kind, value, register", [("bool", True, 1.0), ("bool", 0, 0.0), ("string", "net", 0.0)])
def test_bool_and_string_children_fill_their_register_but_are_never_passed(kind, value, register):
    ctx = make_context()
    f = Fn(lambda *args: 0.0)
    ee.evaluate(Node("rotation", "f", [CLOSE, Node(kind, value)]), ctx, bound_function_instances={"root": f})
    assert all(len(args) == 1 for args, _ in f.calls)
    np.testing.assert_array_equal(ctx.registers[1], [register] * 3)


def test_bad_int_literal_fails_when_its_row_is_first_computed():
    with pytest.raises(ValueError, match="could not convert string to float"):
        _args_seen([Node("int", "seven")])


@pytest.mark.parametrize("universe_value, masked", [(0.0, True), (-0.0, True), (np.nan, True), (np.inf, False),
                                                    (None, False)])
def test_universe_masks_inactive_cells_of_feature_rows(universe_value, masked):
    data = np.arange(12.0).reshape(4, 3)
    data[0, 0] = np.nan
    universe = None
    if universe_value is not None:
        universe = np.ones((4, 3))
        universe[:, 1] = universe_value
    out = ee.evaluate(Node("rotation", "f", [CLOSE]), make_context([data], {"close": 0}, universe=universe),
                      bound_function_instances={"root": Fn(lambda x: x)})
    expected = data.copy()
    if masked:
        expected[:, 1] = np.nan
    np.testing.assert_array_equal(out.weights, expected)


def test_bound_instances_get_register_views_without_context():
    ctx = make_context()
    f = Fn(lambda x, y: x + y)
    ee.evaluate(Node("rotation", "f", [CLOSE, Node("int", 2)]), ctx, bound_function_instances={"root": f})
    (x, y), kwargs = f.calls[-1]
    assert kwargs == {} and x.base is ctx.registers and y.base is ctx.registers
    assert x.shape == (3,) and x.dtype == np.float64


def test_registry_instances_get_copies_context_and_no_int_or_config_children():
    ctx = make_context(registry=FakeRegistry({"f": lambda: f}))
    f = Fn(lambda x, y: x)
    ee.evaluate(Node("rotation", "f", [CLOSE, Node("int", 2), Node("float", 0.5)]), ctx)
    args, kwargs = f.calls[-1]
    assert kwargs == {"context": ctx} and len(args) == 2
    assert args[0].base is None and not np.shares_memory(args[0], ctx.registers)
    np.testing.assert_array_equal(args[1], [0.5] * 3)
    assert ctx.registry.created == [("create_instance", "f", None, {"window": 2})]


def test_bound_instance_with_arity_does_not_receive_configuration_children():
    f = Fn(lambda *args: 0.0)
    f.arity = 1
    ee.evaluate(Node("rotation", "f", [CLOSE, Node("int", 2)]), make_context(), bound_function_instances={"root": f})
    assert len(f.calls[0][0]) == 1


def test_current_day_index_is_set_before_each_row():
    ctx = make_context()
    days = []
    ee.evaluate(Node("rotation", "f", [CLOSE]), ctx,
                bound_function_instances={"root": Fn(lambda x: days.append(ctx.current_day_index) or x)})
    assert days == [0, 1, 2, 3] and ctx.current_day_index == 3


def test_instance_error_is_wrapped_with_the_row_and_cause():
    ctx = make_context()
    placeholder = []

    def fail_at_two(x):
        placeholder.append(ctx.registers)
        if ctx.current_day_index == 2:
            raise KeyError("boom")
        return x

    with pytest.raises(FunctionExecutionError) as err:
        ee.evaluate(Node("rotation", "f", [CLOSE]), ctx, bound_function_instances={"root": Fn(fail_at_two)})
    assert str(err.value) == "Function 'f' failed at row 2: 'boom'"
    assert isinstance(err.value.__cause__, KeyError)
    assert ctx.current_day_index == 2 and ctx.registers is placeholder[0]
    assert not ctx.registers.any()


@pytest.mark.parametrize("result, error, message", [
    (np.zeros(4), EvaluationShapeError, r"^Function 'f' returned shape \(4,\), expected \(3,\) at row 0$"),
    (np.zeros((1, 3)), EvaluationShapeError, r"^Function 'f' returned shape \(1, 3\), expected \(3,\) at row 0$"),
    (np.array(1.0), EvaluationShapeError, r"^Function 'f' returned shape \(\), expected \(3,\) at row 0$"),
    (np.zeros(3, dtype=np.float32), EvaluationShapeError, "^Function 'f' returned dtype float32, expected float64 at row 0$"),
    (np.zeros(3, dtype=">f8"), EvaluationShapeError, "^Function 'f' returned dtype >f8, expected float64 at row 0$"),
    (np.zeros(3, dtype=object), EvaluationShapeError, "returned dtype object"),
    ([1.0, 2.0], EvaluationShapeError, r"^Function 'f' returned list, expected a float64 array of shape \(3,\) or"),
    ("abc", EvaluationShapeError, r"^Function 'f' returned str, expected a float64 array of shape \(3,\) or a number at row 0$"),
    (None, EvaluationShapeError, "^Function 'f' returned NoneType, expected"),
    ({"a": 1}, EvaluationShapeError, "^Function 'f' returned dict, expected"),
])
def test_garbage_results_fail_with_a_typed_error(result, error, message):
    with pytest.raises(error, match=message):
        ee.evaluate(Node("rotation", "f", [CLOSE]), make_context(),
                    bound_function_instances={"root": Fn(lambda x: result)})


@pytest.mark.parametrize("result, row", [
    (0.5, [0.5] * 3),
    (np.float32(0.25), [0.25] * 3),
    ([1.0, 2.0, 3.0], [1.0, 2.0, 3.0]),
    (np.arange(6.0)[::2], [0.0, 2.0, 4.0]),
])
def test_plain_numbers_and_row_likes_are_stored(result, row):
    out = ee.evaluate(Node("rotation", "f", [CLOSE]), make_context(),
                      bound_function_instances={"root": Fn(lambda x: result)})
    np.testing.assert_array_equal(out.weights, [row] * 4)


def test_precomputed_node_is_not_executed_and_holds_its_row():
    f = Fn()
    graph = Node("rotation", "g", [Node("rotation", "f", [CLOSE], canonical_id="cid-f")])
    ctx = make_context()
    ctx._precomputed_node_outputs = {"cid-f": [[1.0], [2.0], [3.0]]}
    out = ee.evaluate(graph, ctx, bound_function_instances={"root": Fn(), "root.c0": f})
    assert f.calls == []
    np.testing.assert_array_equal(out.weights, [[1.0, 2.0, 3.0]] * 4)


def test_precomputed_row_of_the_wrong_size_fails():
    ctx = make_context()
    ctx._precomputed_node_outputs = {7: np.zeros((2, 2))}
    with pytest.raises(EvaluationShapeError, match=r"^Precomputed node '7' returned shape \(4,\), expected \(3,\) at row 0$"):
        ee.evaluate(Node("rotation", "f", [Node("feature", "close", canonical_id=7)]), ctx,
                    bound_function_instances={"root": Fn()})


@pytest.mark.parametrize("flag, captured", [(None, True), (False, False), (True, True)])
def test_node_outputs_capture_every_register_row(flag, captured):
    ctx = make_context()
    if flag is not None:
        ctx._collect_node_outputs = flag
    graph = Node("rotation", "f", [CLOSE, Node("float", 1.5)])
    out = ee.evaluate(graph, ctx, bound_function_instances={"root": Fn(lambda x, y: x * y)})
    if not captured:
        assert out.node_outputs == {}
        return
    assert list(out.node_outputs) == ["root.c0", "root.c1", "root"]
    np.testing.assert_array_equal(out.node_outputs["root.c0"], np.arange(12.0).reshape(4, 3))
    np.testing.assert_array_equal(out.node_outputs["root.c1"], np.full((4, 3), 1.5))
    np.testing.assert_array_equal(out.node_outputs["root"], out.weights)

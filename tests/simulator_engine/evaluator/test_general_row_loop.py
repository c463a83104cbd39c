"""The per-row loop: leaf rows, argument conventions, instance failures and result checks."""
import numpy as np
import pytest
from .general_fakes import Fn, FakeRegistry, make_context

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationShapeError, FunctionExecutionError, FunctionGraphNode as Node

CLOSE = Node("feature", "close")


def _run(f, *children, ctx=None):
    """Evaluates f(close, *children) with `f` bound at the root."""
    return ee.evaluate(Node("rotation", "f", [CLOSE, *children]), ctx or make_context(),
                       bound_function_instances={"root": f})


@pytest.mark.parametrize("kind, value, register, passed", [
    ("float", 2.5, 2.5, True), ("int", 3, 3.0, True), ("int", "4", 4.0, True),
    ("bool", True, 1.0, False), ("bool", 0, 0.0, False), ("string", "net", 0.0, False),
])
def test_literal_children_fill_their_register_and_only_numbers_are_passed(kind, value, register, passed):
    ctx = make_context()
    f = Fn(lambda *args: 0.0)
    _run(f, Node(kind, value), ctx=ctx)
    np.testing.assert_array_equal(ctx.registers[1], [register] * 3)
    assert all(len(args) == 1 + passed for args, _ in f.calls)


def test_bad_int_literal_fails_when_its_row_is_first_computed():
    with pytest.raises(ValueError, match="could not convert string to float"):
        _run(Fn(), Node("int", "seven"))


@pytest.mark.parametrize("arity, count", [(None, 2), (1, 1)])
def test_bound_instances_get_register_views_and_int_children_unless_their_arity_excludes_them(arity, count):
    ctx = make_context()
    f = Fn(lambda *args: args[0])
    if arity is not None:
        f.arity = arity
    _run(f, Node("int", 2), ctx=ctx)
    args, kwargs = f.calls[-1]
    assert kwargs == {} and len(args) == count
    assert all(a.base is ctx.registers and a.shape == (3,) and a.dtype == np.float64 for a in args)


@pytest.mark.parametrize("value", [2.5, -1.0])
def test_a_literal_row_overwritten_through_a_view_is_written_again_at_the_next_row(value):
    seen = []

    def spoil(close, literal):
        seen.append(literal.copy())
        literal[:] = 99.0  # the register behind the view
        return close

    _run(Fn(spoil), Node("float", value))
    assert len(seen) > 1
    np.testing.assert_array_equal(np.array(seen), np.full((len(seen), 3), value))


def test_registry_instances_get_copies_context_and_no_int_or_config_children():
    ctx = make_context(registry=FakeRegistry({"f": lambda: f}))
    f = Fn(lambda x, y: x)
    ee.evaluate(Node("rotation", "f", [CLOSE, Node("int", 2), Node("float", 0.5)]), ctx)
    args, kwargs = f.calls[-1]
    assert kwargs == {"context": ctx} and len(args) == 2
    assert args[0].base is None and not np.shares_memory(args[0], ctx.registers)
    np.testing.assert_array_equal(args[1], [0.5] * 3)
    assert ctx.registry.created == [("create_instance", "f", None, {"window": 2})]


def test_instance_error_is_wrapped_with_the_row_and_cause():
    ctx = make_context()
    seen = []

    def fail_at_two(x):
        seen.append(ctx.registers)
        if ctx.current_day_index == 2:
            raise KeyError("boom")
        return x

    with pytest.raises(FunctionExecutionError, match=r"^Function 'f' failed at row 2: 'boom'$") as err:
        _run(Fn(fail_at_two), ctx=ctx)
    assert isinstance(err.value.__cause__, KeyError)
    assert ctx.current_day_index == 2 and ctx.registers is seen[0] and not ctx.registers.any()


@pytest.mark.parametrize("result, message", [
    (np.zeros(4), r"shape \(4,\), expected \(3,\) at row 0$"), (np.array(1.0), r"shape \(\), expected \(3,\)"),
    (np.zeros((1, 3)), r"shape \(1, 3\), expected \(3,\) at row 0$"), (None, "NoneType, expected"),
    (np.zeros(3, dtype=np.float32), "dtype float32, expected float64 at row 0$"),
    (np.zeros(3, dtype=">f8"), "dtype >f8, expected float64 at row 0$"), ([1.0, 2.0], "list, expected a float64"),
    ("abc", r"str, expected a float64 array of shape \(3,\) or a number at row 0$"),
])
def test_garbage_results_fail_with_a_shape_error(result, message):
    with pytest.raises(EvaluationShapeError, match="^Function 'f' returned " + message):
        _run(Fn(lambda x: result))


@pytest.mark.parametrize("result, row", [(0.5, [0.5] * 3), (np.float32(0.25), [0.25] * 3),
                                         ([1.0, 2.0, 3.0], [1.0, 2.0, 3.0]), (np.arange(6.0)[::2], [0.0, 2.0, 4.0])])
def test_plain_numbers_and_row_likes_are_stored(result, row):
    np.testing.assert_array_equal(_run(Fn(lambda x: result)).weights, [row] * 4)


def test_precomputed_node_is_not_executed_and_holds_its_row_which_must_have_the_asset_count():
    f = Fn()
    graph = Node("rotation", "g", [Node("rotation", "f", [CLOSE], canonical_id=7)])
    ctx = make_context()
    ctx._precomputed_node_outputs = {7: [[1.0], [2.0], [3.0]]}
    out = ee.evaluate(graph, ctx, bound_function_instances={"root": Fn(), "root.c0": f})
    assert f.calls == []
    np.testing.assert_array_equal(out.weights, [[1.0, 2.0, 3.0]] * 4)
    ctx._precomputed_node_outputs = {7: np.zeros((2, 2))}
    with pytest.raises(EvaluationShapeError, match=r"^Precomputed node '7' returned shape \(4,\), expected \(3,\)"):
        ee.evaluate(graph, ctx, bound_function_instances={"root": Fn(), "root.c0": f})


def test_node_outputs_capture_every_register_row_unless_switched_off():
    out = _run(Fn(lambda x, y: x * y), Node("float", 1.5))
    assert list(out.node_outputs) == ["root.c0", "root.c1", "root"]
    np.testing.assert_array_equal(out.node_outputs["root.c0"], np.arange(12.0).reshape(4, 3))
    np.testing.assert_array_equal(out.node_outputs["root.c1"], np.full((4, 3), 1.5))
    np.testing.assert_array_equal(out.node_outputs["root"], out.weights)
    ctx = make_context()
    ctx._collect_node_outputs = False
    assert _run(Fn(lambda x, y: x * y), Node("float", 1.5), ctx=ctx).node_outputs == {}

import pytest
from .schema_fakes import entry, registry

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import (EvaluationError, FunctionExecutionError, FunctionGraphNode as N,
                                                SchemaError)

PREFIX = "Function 'f' at node 'root' config "
VIRTUAL_MAP = entry({"window": {"type": "int"}}, family="virtualization")


def message(check, *args):
    try:
        check(*args)
    except FunctionExecutionError as exc:
        return str(exc)


@pytest.mark.parametrize("fake, config, preflight, validation", [
    (None, {"N_alloc": 1, "A": 2}, "contains engine-only parameter(s): A, N_alloc", "same"),
    (registry(g=VIRTUAL_MAP), {"window": 3, "beta": 1}, None, None),
    (registry(f=VIRTUAL_MAP), {"window": 3, "beta": 1}, "contains unknown parameter(s): beta", "same"),
    (registry(f=entry({"window": {"type": "int"}})), {"window": 3, "beta": 1}, None, None),
    (registry(f=entry([("window", "int")], family="virtualization")), {"window": 3, "beta": 1}, None,
     "contains unknown parameter(s): beta, window"),
    (registry(f=entry([("window", {"type": "int", "default": 1})], family="virtualization")), {}, None, None),
    (registry(f=entry({"alpha": {"type": "float"}})), {}, None, "missing required parameter(s): alpha"),
    (registry(f=entry({"alpha": {"type": "float", "required": False}})), {}, None, None),
    (registry(f=entry({"alpha": {"type": "float"}}, family="virtualization")), {"beta": 1},
     "contains unknown parameter(s): beta", "missing required parameter(s): alpha"),
    (registry(f=entry({"alpha": {"type": "float"}})), {"A": 1}, "contains engine-only parameter(s): A", "same"),
])
def test_preflight_and_validation(fake, config, preflight, validation):
    validation = preflight if validation == "same" else validation
    graph = N("rotation", "f", [N("feature", "close")], config=config)
    assert message(ee._preflight_explicit_graph_config, fake, graph, "root") == (preflight and PREFIX + preflight)
    assert message(ee._validate_graph_function_config, fake, "f", config, "root") == (
        validation and PREFIX + validation)


def test_preflight_names_nested_function_node():
    graph = N("rotation", "outer", [N("int", 5), N("reduction", "inner", config={"A": 1})])
    with pytest.raises(FunctionExecutionError, match=r"^Function 'inner' at node 'root.c1' config contains engine"):
        ee._preflight_explicit_graph_config(None, graph, "root")


def test_preflight_rejects_malformed_children():
    untyped = N("feature", "x")
    del untyped.type
    with pytest.raises(SchemaError, match=r"^Graph node 'root.c1' must be FunctionGraphNode; got dict$"):
        ee._preflight_explicit_graph_config(None, N("rotation", "f", [N("int", 1), {"type": "int"}]), "root")
    with pytest.raises(EvaluationError, match=r"^Graph node 'root.c0' missing required key: type$"):
        ee._preflight_explicit_graph_config(None, N("rotation", "f", [untyped]), "root")
    cyclic = N("rotation", "f", [])
    cyclic.children = [cyclic]
    with pytest.raises(RecursionError):
        ee._preflight_explicit_graph_config(None, cyclic, "root")


import numpy as np
import pytest
from .schema_fakes import Rec, entry

from quillmarsh.simulator_engine import expression_evaluator as ee


@pytest.mark.parametrize("constraint, required", [
    ({}, True), ({"default": None}, False), ({"required": True, "default": 1}, True),
    ({"required": False}, False), ({"required": 1}, True), ({"required": 1, "default": 0}, False),
    ({"required": "yes", "default": 0}, False), ({"required": np.bool_(True), "default": 0}, False),
    (Rec(), True), (Rec(default=None), False), (Rec(required=False), False), ("int", True),
])
def test_required_flag_rules(constraint, required):
    assert ee._schema_param_required(constraint) is required


@pytest.mark.parametrize("schema, config_names, required_names, allowed", [
    (None, [], [], set()),
    ([("window", "int"), ("alpha", "float"), ("data", "data")], ["window", "alpha"], ["window", "alpha"], set()),
    ({"alpha": {"type": "float"}, "beta": {"type": "float", "default": 1.0}, "x": {"type": "data"}},
     ["alpha", "beta"], ["alpha"], {"alpha", "beta", "x"}),
    ([{"name": "a", "type": "data"}, {"name": "b", "type": "string", "required": False}, {"type": "int"}],
     ["b", "param_2"], ["param_2"], set()),
    ([Rec(name="", type="int"), Rec(name="n", type="other"), Rec(type="list", default=[]), (5, "int"),
      ("a", "int", "extra"), ("w", {}), ("v", Rec(type="bool", required=False))],
     ["param_2", "5", "v"], ["n", "5", "param_4", "w"], {"n"}),
])
def test_schema_name_lists(schema, config_names, required_names, allowed):
    assert ee._config_param_names(entry(schema)) == config_names
    assert ee._required_config_param_names(entry(schema)) == required_names
    assert ee._param_schema_names(entry(schema)) == ee._preflight_param_schema_names(entry(schema)) == allowed


@pytest.mark.parametrize("reader", [ee._config_param_names, ee._required_config_param_names, ee._param_schema_names])
def test_numeric_schema_raises_type_error(reader):
    with pytest.raises(TypeError):
        reader(entry(7))

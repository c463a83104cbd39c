"""Graph nodes from the parts of a text-form expression.

A part is a constant or a data term (a graph node). Operators on two constants fold at parse
time; an operator with one constant operand becomes the operator's scalar form with the
constant as its `value`; a constant branch of a conditional becomes `constant_like(cond)`, so
that both branches are data inputs. Numbers given for an "int" parameter (a window) are
floored; ints given for a "float" parameter become floats.
"""
from __future__ import annotations

import math
import re
from dataclasses import dataclass
from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.names import canonical_alias, registry_name, resolve_call
from quillmarsh.cli.text_operators import (BINARY_BY_ALIAS, CONSTANT_LIKE, UNARY_BY_ALIAS, WHERE,
                                           Binary, Unary)
from quillmarsh.cli.text_tokens import position

MAX_GRAPH_DEPTH = 200
DOLLAR_VOLUME = "amount"
GROUP_LEVELS = ("sector", "industry", "subindustry")
_ADV = re.compile(r"adv(\d+)")
_LITERAL_KINDS: tuple[tuple[type, str], ...] = (
    (bool, "bool"), (int, "int"), (float, "float"), (str, "string"), (list, "list"))


@dataclass(frozen=True)
class Const:
    value: Any
    offset: int


@dataclass(frozen=True)
class Data:
    node: FunctionGraphNode
    depth: int
    offset: int


Term = Const | Data


class GraphBuilder:
    def __init__(self, text: str, registry: Any) -> None:
        self.text = text
        self.registry = registry

    def error(self, offset: int, message: str, detail: str = "") -> UserError:
        return UserError(f"{message} at {position(self.text, offset)}" + (f": {detail}" if detail else ""))

    def name(self, name: str, offset: int) -> Term:
        """A bare name: a feature, or `advN`, the N-day mean of the daily dollar volume."""
        adv = _ADV.fullmatch(name)
        if adv:
            days = Const(int(adv.group(1)), offset)
            return self.call("mean", [Data(FunctionGraphNode("feature", DOLLAR_VOLUME), 1, offset), days],
                             {}, offset)
        return Data(FunctionGraphNode("feature", name), 1, offset)

    def group_level(self, owner: str, level: str, offset: int) -> Term:
        """`IndClass.industry`: the feature of industry codes."""
        if owner.lower() != "indclass":
            raise self.error(offset, f"unsupported expression '{owner}.{level}'",
                             "only IndClass.<level> names a group feature")
        if level.lower() not in GROUP_LEVELS:
            raise self.error(offset, f"unknown group level '{level}'",
                             f"IndClass has {', '.join(GROUP_LEVELS)}")
        return Data(FunctionGraphNode("feature", level.lower()), 1, offset)

    def binary(self, binary: Binary, left: Term, right: Term, offset: int) -> Term:
        if isinstance(left, Const) and isinstance(right, Const):
            return Const(binary.fold(self.number(left), self.number(right)), left.offset)
        if isinstance(right, Const):
            return self.node(binary.scalar, [left, self.value(right)], offset)
        if isinstance(left, Const):
            return self.node(binary.reflected, [right, self.value(left)], offset)
        return self.node(binary.alias, [left, right], offset)

    def unary(self, unary: Unary, operand: Term, offset: int) -> Term:
        if isinstance(operand, Const):
            return Const(unary.fold(self.number(operand)), offset)
        if unary.alias is None:
            return operand
        return self.node(unary.alias, [operand], offset)

    def conditional(self, condition: Term, chosen: Term, otherwise: Term, offset: int) -> Term:
        """`condition ? chosen : otherwise`; a constant condition picks its branch now (a NaN
        one picks neither: every cell is NaN, as `where` gives for a NaN condition)."""
        if isinstance(condition, Const):
            if math.isnan(self.number(condition)):
                return self.nan_like(chosen, otherwise)
            return chosen if self.number(condition) != 0 else otherwise
        branches = [self.node(CONSTANT_LIKE, [condition, self.value(branch)], branch.offset)
                    if isinstance(branch, Const) else branch for branch in (chosen, otherwise)]
        return self.node(WHERE, [condition, *branches], offset)

    def nan_like(self, *terms: Term) -> Term:
        """NaN in every cell: the constant NaN, or a NaN constant_like of a data term."""
        data = next((term for term in terms if isinstance(term, Data)), None)
        if data is None:
            return Const(math.nan, terms[0].offset)
        return self.node(CONSTANT_LIKE, [data, Const(math.nan, data.offset)], data.offset)

    def call(self, name: str, args: list[Term], keywords: dict[str, Const], offset: int) -> Term:
        alias = canonical_alias(name)
        if name.lower() in ("min", "max"):
            return self.min_max(name.lower(), args, keywords, offset)
        if not keywords and alias in BINARY_BY_ALIAS and len(args) == 2:
            return self.binary(BINARY_BY_ALIAS[alias], *args, offset)
        if not keywords and alias in UNARY_BY_ALIAS and len(args) == 1:
            return self.unary(UNARY_BY_ALIAS[alias], args[0], offset)
        if not keywords and alias == WHERE and len(args) == 3:
            return self.conditional(*args, offset)
        if not keywords and alias == "signedpower" and len(args) == 2 and isinstance(args[1], Data):
            return self.signed_power(*args, offset)
        resolved = resolve_call(name, self.registry)
        if resolved is None:
            raise self.error(offset, f"unknown function '{name}'")
        node_type, function_name = resolved
        return self.function(node_type, function_name, args, keywords, offset)

    def min_max(self, name: str, args: list[Term], keywords: dict[str, Const], offset: int) -> Term:
        """min(x, d) / max(x, d) with a number d are over d days; with two data terms, per cell."""
        if len(args) != 2 or keywords:
            raise self.error(offset, f"{name}() takes two arguments",
                             f"{name}(x, days) over time or {name}(a, b) per cell")
        if isinstance(args[1], Const):
            return self.call(f"ts_{name}", args, {}, offset)
        return self.binary(BINARY_BY_ALIAS["maximum" if name == "max" else "minimum"], *args, offset)

    def signed_power(self, base: Term, exponent: Data, offset: int) -> Term:
        """SignedPower with a data exponent, which the operator's float parameter cannot hold:
        sign(x) * abs(x) ** e."""
        magnitude = self.binary(BINARY_BY_ALIAS["power"], self.call("abs", [base], {}, offset),
                                exponent, offset)
        return self.binary(BINARY_BY_ALIAS["mul"], self.call("sign", [base], {}, offset), magnitude, offset)

    def node(self, alias: str, args: list[Term], offset: int) -> Data:
        """A node of an operator the text form itself writes (add, where, ...)."""
        name = registry_name(alias)
        if not self.registry.has(name):
            raise self.error(offset, f"unknown function '{alias}'", "the registry does not have it")
        return self.function("rotation", name, args, {}, offset)

    def function(self, node_type: str, function_name: str, args: list[Term],
                 keywords: dict[str, Const], offset: int) -> Data:
        types = self.parameter_types(function_name)
        children, literal_index = [], 0
        for arg in args:
            if isinstance(arg, Data):
                children.append(arg.node)
                continue
            param = types[literal_index] if literal_index < len(types) else None
            children.append(literal_node(self.coerced(arg, param)))
            literal_index += 1
        config = {key: self.coerced(value, next((p for p in types if p[0] == key), None))
                  for key, value in keywords.items()}
        depth = 1 + max((arg.depth for arg in args if isinstance(arg, Data)), default=0)
        if depth > MAX_GRAPH_DEPTH:
            raise self.error(offset, "expression too deep",
                             f"more than {MAX_GRAPH_DEPTH} nested operations")
        return Data(FunctionGraphNode(node_type, function_name, children, config or None), depth, offset)

    def parameter_types(self, function_name: str) -> list[tuple[str, str]]:
        """(name, type) of the function's parameters in schema order; empty when unknown."""
        if not self.registry.has(function_name):
            return []
        schema = getattr(self.registry.get_entry(function_name), "param_schema", None) or ()
        pairs = []
        for item in schema if isinstance(schema, list | tuple) else ():
            if isinstance(item, dict):
                pairs.append((item.get("name"), item.get("type")))
            elif isinstance(item, list | tuple) and len(item) == 2:
                pairs.append((item[0], item[1]))
        return pairs

    def coerced(self, const: Const, param: tuple[str, str] | None) -> Any:
        """The constant as the parameter's type: windows floored and at least 1."""
        value = const.value
        if param is None or isinstance(value, bool) or not isinstance(value, int | float):
            return value
        name, kind = param
        if kind == "int":
            if not math.isfinite(value):
                raise self.error(const.offset, f"{name} must be a finite number, got {value!r}")
            value = math.floor(value)
            if name == "window" and value < 1:
                raise self.error(const.offset, f"window must be at least 1, got {const.value!r}")
        elif kind == "float":
            value = float(value)
        return value

    def number(self, const: Const) -> float:
        if isinstance(const.value, bool) or not isinstance(const.value, int | float):
            raise self.error(const.offset, f"{const.value!r} is not a number")
        return const.value

    def value(self, const: Const) -> Const:
        return Const(float(self.number(const)), const.offset)


def literal_node(value: Any) -> FunctionGraphNode:
    kind = next(kind for cls, kind in _LITERAL_KINDS if isinstance(value, cls))
    return FunctionGraphNode(kind, value)

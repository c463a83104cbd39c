"""Printing a graph in the text form, with only the parentheses the binding levels need.

Parsing the printed text gives the same graph: operators print as their symbols, scalar forms
with their constant on its side (a constant factor first), `where` as `c ? a : b` (a `constant_like` of the condition as
its bare constant), the N-day mean of `amount` as `advN`, a group feature of `indneutralize`
as `IndClass.level`, everything else as a call.
"""
from __future__ import annotations

import math

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.graph_json import graph_to_dict
from quillmarsh.cli.names import alias_of, display_name
from quillmarsh.cli.node_kinds import FEATURE_LEAF_TYPES, LITERAL_TYPES
from quillmarsh.cli.text_build import DOLLAR_VOLUME, GROUP_LEVELS
from quillmarsh.cli.text_operators import (ATOM, BINARY_BY_ALIAS, CONSTANT_LIKE, OR, POWER, SCALAR_FORMS,
                                           TERNARY, TIMES, UNARY, UNARY_BY_ALIAS, WHERE, Binary)

_NUMBER_KINDS = frozenset({"int", "float"})


def graph_to_text(node: FunctionGraphNode) -> str:
    return _text(node)[0]


def _text(node: FunctionGraphNode) -> tuple[str, int]:
    """The text of a node and the level it binds at."""
    children = list(node.children or ())
    if node.type in FEATURE_LEAF_TYPES:
        return str(node.node), ATOM
    if node.type in LITERAL_TYPES:
        return _literal(node.node)
    alias = alias_of(node.node)
    if not node.config and alias is not None:
        special = _operator_text(alias, children)
        if special is not None:
            return special
    arguments = [_text(child)[0] for child in children]
    arguments += [f"{key}={_literal(value)[0]}" for key, value in (node.config or {}).items()]
    return f"{display_name(node.node)}({', '.join(arguments)})", ATOM


def _operator_text(alias: str, children: list[FunctionGraphNode]) -> tuple[str, int] | None:
    """Operator, conditional and advN forms; None when the node prints as a plain call."""
    data = [child for child in children if child.type not in LITERAL_TYPES]
    constants = [child for child in children if child.type in _NUMBER_KINDS]
    if alias in BINARY_BY_ALIAS and len(data) == 2 == len(children):
        return _binary(BINARY_BY_ALIAS[alias], _text(data[0]), _text(data[1]))
    if alias in SCALAR_FORMS and len(data) == 1 and len(constants) == 1 and len(children) == 2:
        binary, reflected = SCALAR_FORMS[alias]
        operands = (_literal(constants[0].node), _text(data[0]))
        return _binary(binary, *(operands if reflected or _factor_first(binary, operands[1]) else operands[::-1]))
    if alias in UNARY_BY_ALIAS and len(data) == 1 == len(children):
        operand, level = _text(data[0])
        return UNARY_BY_ALIAS[alias].symbol + _wrapped(operand, level, UNARY), UNARY
    if alias == WHERE and len(data) == 3 == len(children):
        return _conditional(*children)
    if alias == "mean" and _is_adv(children):
        return f"adv{children[1].node}", ATOM
    if alias == "indneutralize" and len(children) == 2 == len(data) and _is_group_level(children[1]):
        return f"indneutralize({_text(children[0])[0]}, IndClass.{children[1].node})", ATOM
    return None


def _factor_first(binary: Binary, operand: tuple[str, int]) -> bool:
    """A constant factor reads first (`-1.0 * rank(x)`, as formulas write it), unless the other
    factor is itself a product or quotient, which would then need parentheses."""
    return binary.symbol == "*" and operand[1] != TIMES


def _is_group_level(node: FunctionGraphNode) -> bool:
    return node.type == "feature" and node.node in GROUP_LEVELS and not node.children


def _binary(binary: Binary, left: tuple[str, int], right: tuple[str, int]) -> tuple[str, int]:
    if binary.symbol is None:
        return f"{binary.alias}({left[0]}, {right[0]})", ATOM
    if binary.symbol == "**":
        # The base is an operand; the exponent may carry a sign.
        return f"{_wrapped(*left, ATOM)} ** {_wrapped(*right, UNARY)}", POWER
    return f"{_wrapped(*left, binary.level)} {binary.symbol} {_wrapped(*right, binary.level + 1)}", binary.level


def _conditional(condition: FunctionGraphNode, chosen: FunctionGraphNode,
                 otherwise: FunctionGraphNode) -> tuple[str, int]:
    branches = [_branch(branch, condition) for branch in (chosen, otherwise)]
    return f"{_wrapped(*_text(condition), OR)} ? {branches[0]} : {branches[1]}", TERNARY


def _branch(branch: FunctionGraphNode, condition: FunctionGraphNode) -> str:
    """A constant_like of the condition prints as its constant, as it was written."""
    children = list(branch.children or ())
    if (alias_of(branch.node) == CONSTANT_LIKE and not branch.config and len(children) == 2
            and children[1].type == "float" and graph_to_dict(children[0]) == graph_to_dict(condition)):
        return _literal(children[1].node)[0]
    return _text(branch)[0]


def _is_adv(children: list[FunctionGraphNode]) -> bool:
    return (len(children) == 2 and children[0].type == "feature" and children[0].node == DOLLAR_VOLUME
            and children[1].type == "int" and not isinstance(children[1].node, bool)
            and children[1].node >= 0 and not children[0].children)


def _literal(value: object) -> tuple[str, int]:
    """A literal as written; a negative number binds like a unary minus, inf and NaN as divisions."""
    if isinstance(value, float) and not math.isfinite(value):
        text = "0.0 / 0.0" if math.isnan(value) else ("1.0 / 0.0" if value > 0 else "-1.0 / 0.0")
        return text, TIMES
    if isinstance(value, int | float) and not isinstance(value, bool) and math.copysign(1, value) < 0:
        return repr(value), UNARY  # -0.0 included: its sign must stay with it
    return repr(value), ATOM


def _wrapped(text: str, level: int, needed: int) -> str:
    return text if level >= needed else f"({text})"

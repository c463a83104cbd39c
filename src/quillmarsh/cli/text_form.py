"""The text form of graphs: `rank(close) * rank(volume)` to graph nodes and back.

Parsed with Python's `ast` module (nothing is ever evaluated): a call is a function node
(or a filter operator inside a filtration), a bare name a feature leaf, a literal its literal
kind, `a * b` the product function, and keyword arguments the node's configuration.
"""
from __future__ import annotations

import ast
from typing import Any, NoReturn

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.names import PRODUCT, display_name, resolve_call
from quillmarsh.cli.node_kinds import FEATURE_LEAF_TYPES, LITERAL_TYPES

_LITERAL_KINDS: tuple[tuple[type, str], ...] = (
    (bool, "bool"), (int, "int"), (float, "float"), (str, "string"))
_OPERATOR_SYMBOLS = {ast.Add: "+", ast.Sub: "-", ast.Div: "/", ast.FloorDiv: "//", ast.Mod: "%",
                     ast.Pow: "**", ast.MatMult: "@", ast.BitAnd: "&", ast.BitOr: "|"}


def parse_expression(text: str, registry: Any) -> FunctionGraphNode:
    """The graph of a text expression; a UserError names the first problem and its column."""
    if not text.strip():
        raise UserError("empty expression")
    try:
        tree = ast.parse(text.strip(), mode="eval")
    except SyntaxError as error:
        raise UserError(f"syntax error at column {error.offset or 1}: {error.msg}") from None
    return _Parser(text.strip(), registry).node(tree.body)


class _Parser:
    def __init__(self, source: str, registry: Any) -> None:
        self.source = source
        self.registry = registry

    def node(self, expr: ast.expr) -> FunctionGraphNode:
        if isinstance(expr, ast.Name):
            return FunctionGraphNode("feature", expr.id)
        if isinstance(expr, ast.Call):
            return self.call(expr)
        if isinstance(expr, ast.BinOp):
            return self.product(expr)
        if isinstance(expr, ast.List):
            return FunctionGraphNode("list", [self.literal_value(item) for item in expr.elts])
        kind, value = _literal(self.literal_value(expr))
        return FunctionGraphNode(kind, value)

    def call(self, expr: ast.Call) -> FunctionGraphNode:
        if not isinstance(expr.func, ast.Name):
            self.unsupported(expr.func)
        resolved = resolve_call(expr.func.id, self.registry)
        if resolved is None:
            raise UserError(f"unknown function '{expr.func.id}' at column {expr.col_offset + 1}")
        children = [self.node(arg) for arg in expr.args]
        config = {}
        for keyword in expr.keywords:
            if keyword.arg is None:
                self.unsupported(keyword.value)
            config[keyword.arg] = self.literal_value(keyword.value)
        node_type, node_value = resolved
        return FunctionGraphNode(node_type, node_value, children, config or None)

    def product(self, expr: ast.BinOp) -> FunctionGraphNode:
        if not isinstance(expr.op, ast.Mult):
            symbol = _OPERATOR_SYMBOLS.get(type(expr.op), type(expr.op).__name__)
            column = _operator_column(self.source, expr)
            raise UserError(f"unsupported operator '{symbol}' at column {column}: "
                            f"only '*' combines expressions; use functions for the rest")
        return FunctionGraphNode("rotation", PRODUCT, [self.node(expr.left), self.node(expr.right)])

    def literal_value(self, expr: ast.expr) -> Any:
        """The value of a number, string or boolean, negative numbers included."""
        if isinstance(expr, ast.Constant) and _is_literal(expr.value):
            return expr.value
        if (isinstance(expr, ast.UnaryOp) and isinstance(expr.op, ast.USub)
                and isinstance(expr.operand, ast.Constant)
                and isinstance(expr.operand.value, int | float)
                and not isinstance(expr.operand.value, bool)):
            return -expr.operand.value
        self.unsupported(expr)

    def unsupported(self, expr: ast.AST) -> NoReturn:
        segment = ast.get_source_segment(self.source, expr) or type(expr).__name__
        raise UserError(f"unsupported expression '{segment}' at column {expr.col_offset + 1}: "
                        f"use function calls, feature names, literals and '*'")


def _is_literal(value: Any) -> bool:
    return isinstance(value, bool | int | float | str)


def _literal(value: Any) -> tuple[str, Any]:
    return next(kind for cls, kind in _LITERAL_KINDS if isinstance(value, cls)), value


def _operator_column(source: str, expr: ast.BinOp) -> int:
    """1-based column of the operator symbol, found between the two operands."""
    gap = source.splitlines()[expr.left.end_lineno - 1][expr.left.end_col_offset:]
    skipped = len(gap) - len(gap.lstrip(" )\t"))
    return expr.left.end_col_offset + skipped + 1


def graph_to_text(node: FunctionGraphNode) -> str:
    """The text form of a graph; parsing it again gives the same nodes (aliases for built-ins)."""
    children = list(node.children or ())
    if node.type in FEATURE_LEAF_TYPES:
        return str(node.node)
    if node.type in LITERAL_TYPES:
        return repr(node.node)
    if node.node == PRODUCT and len(children) == 2 and not node.config:
        left, right = (graph_to_text(child) for child in children)
        if children[1].node == PRODUCT and children[1].type == "rotation":
            right = f"({right})"
        return f"{left} * {right}"
    arguments = [graph_to_text(child) for child in children]
    arguments += [f"{key}={value!r}" for key, value in (node.config or {}).items()]
    return f"{display_name(node.node)}({', '.join(arguments)})"

"""Checks of a graph against the function registry and the loaded features, before evaluation."""
from __future__ import annotations

from collections.abc import Collection, Iterator
from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.node_kinds import FEATURE_LEAF_TYPES, FUNCTION_NODE_TYPES



def walk(node: FunctionGraphNode, path: str = "root") -> Iterator[tuple[str, FunctionGraphNode]]:
    """(node identity, node) pairs in depth-first pre-order: "root", "root.c0", ..."""
    yield path, node
    for i, child in enumerate(node.children or ()):
        yield from walk(child, f"{path}.c{i}")


def check_functions(graph: FunctionGraphNode, registry: Any) -> None:
    """Every function node names a registered function."""
    for path, node in walk(graph):
        if node.type in FUNCTION_NODE_TYPES and not registry.has(node.node):
            raise UserError(f"unknown function '{node.node}' (node {path})")


def check_features(graph: FunctionGraphNode, feature_names: Collection[str]) -> None:
    for path, node in walk(graph):
        if node.type in FEATURE_LEAF_TYPES and node.node not in feature_names:
            raise UserError(unknown_feature_message(node.node, feature_names) + f" (node {path})")


def check_feature_list(names: Collection[str], feature_names: Collection[str]) -> None:
    for name in names:
        if name not in feature_names:
            raise UserError(unknown_feature_message(name, feature_names))


def check_state_functions(graph: FunctionGraphNode, states: dict, registry: Any) -> None:
    """A state saved under a node's identity belongs to that node's function and version."""
    functions = {path: node.node for path, node in walk(graph) if node.type in FUNCTION_NODE_TYPES}
    for key, state in states.items():
        if key not in functions:
            continue
        expected = (functions[key], registry.get_function_version(functions[key]))
        if (state.function_name, state.function_version) != expected:
            raise UserError(f"the state of node {key} was saved by {state.function_name} version "
                            f"{state.function_version}, the graph has {expected[0]} version "
                            f"{expected[1]} there")


def unknown_feature_message(name: str, feature_names: Collection[str]) -> str:
    return f"unknown feature '{name}'; the data has {', '.join(sorted(feature_names))}"


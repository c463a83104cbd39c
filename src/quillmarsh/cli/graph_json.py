"""The JSON form of graphs: nested objects with `type`, `node`, `children`, `config`, `canonical_id`."""
from __future__ import annotations

import json
from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.node_kinds import FEATURE_LEAF_TYPES, FUNCTION_NODE_TYPES

# Node kinds whose "node" is a name (a feature or a function), looked up by the checks.
NAMED_TYPES = FEATURE_LEAF_TYPES | FUNCTION_NODE_TYPES


def graph_from_json_text(text: str, source: str) -> FunctionGraphNode:
    """The graph held by a JSON document; `source` names it in error messages."""
    try:
        document = json.loads(text)
    except json.JSONDecodeError as error:
        raise UserError(f"{source}: invalid JSON at line {error.lineno} column {error.colno}: "
                        f"{error.msg}") from None
    return graph_from_dict(document, source, "root")


def graph_from_dict(document: Any, source: str, path: str) -> FunctionGraphNode:
    if not isinstance(document, dict):
        raise UserError(f"{source}: graph node {path} must be a JSON object")
    missing = [key for key in ("type", "node") if key not in document]
    if missing:
        raise UserError(f"{source}: graph node {path} has no '{missing[0]}'")
    if not isinstance(document["type"], str):
        raise UserError(f"{source}: 'type' of graph node {path} must be a string")
    if document["type"] in NAMED_TYPES and not isinstance(document["node"], str):
        raise UserError(f"{source}: 'node' of the {document['type']} node {path} must be a name")
    if not isinstance(document.get("canonical_id", ""), (str, type(None))):
        raise UserError(f"{source}: 'canonical_id' of graph node {path} must be a string")
    children = document.get("children") or []
    config = document.get("config")
    if not isinstance(children, list):
        raise UserError(f"{source}: 'children' of graph node {path} must be a list")
    if config is not None and not isinstance(config, dict):
        raise UserError(f"{source}: 'config' of graph node {path} must be an object")
    return FunctionGraphNode(
        document["type"], document["node"],
        [graph_from_dict(child, source, f"{path}.c{i}") for i, child in enumerate(children)],
        config, document.get("canonical_id"))


def graph_to_dict(node: FunctionGraphNode) -> dict:
    """The JSON object of a graph; absent fields are left out."""
    document: dict = {"type": node.type, "node": node.node}
    if node.children:
        document["children"] = [graph_to_dict(child) for child in node.children]
    if node.config:
        document["config"] = dict(node.config)
    if node.canonical_id is not None:
        document["canonical_id"] = node.canonical_id
    return document


def graph_to_json_text(node: FunctionGraphNode) -> str:
    return json.dumps(graph_to_dict(node), indent=2)

"""`quillmarsh show`: the graph tree of an expression, its node identities and the engine's path."""
from __future__ import annotations

import argparse
from pathlib import Path

import numpy as np

from quillmarsh.functions.registry import default_registry

from quillmarsh.cli import data_size
from quillmarsh.cli.data_io import load_market
from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.engine_path import LONGITUDINAL, STATES_PATH_NOTE, engine_path
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.graph_checks import check_features, check_functions, walk
from quillmarsh.cli.graph_json import graph_to_json_text
from quillmarsh.cli.graph_source import load_graph
from quillmarsh.cli.market_data import MarketData
from quillmarsh.cli.names import display_name
from quillmarsh.cli.node_kinds import FEATURE_LEAF_TYPES, FUNCTION_NODE_TYPES, LITERAL_TYPES
from quillmarsh.cli.text_form import graph_to_text

_PLACEHOLDER_ASSETS = 2


def add_parser(commands: argparse._SubParsersAction) -> None:
    parser = commands.add_parser(
        "show", help="print the graph tree and the evaluation path",
        description="Print a graph's text form, its tree with node identities and the path the "
                    "engine would take. Without --data the path is judged on placeholder data "
                    "of --rows days.")
    parser.add_argument("graph", metavar="EXPR_OR_FILE")
    parser.add_argument("--data", type=Path, help="judge the path on this market data")
    parser.add_argument("--rows", type=int, default=2520,
                        help="days of the placeholder data (default 2520)")
    parser.add_argument("--json", action="store_true", help="print the graph in JSON form only")
    data_size.add_option(parser)
    parser.set_defaults(run=run)


def run(args: argparse.Namespace) -> int:
    registry = default_registry()
    graph = load_graph(args.graph, registry)
    check_functions(graph, registry)
    if args.json:
        print(graph_to_json_text(graph))
        return 0
    if args.data:
        market, origin = load_market(args.data, args.max_data_size), str(args.data)
        check_features(graph, market.features)
    else:
        market = _placeholder_market(graph, args.rows, args.max_data_size)
        origin = f"placeholder data, {args.rows} days"
    path = engine_path(graph, build_context(market, registry))
    print(f"text:  {graph_to_text(graph)}")
    print(f"path:  {path} ({origin})")
    if path == LONGITUDINAL:
        print(f"       {STATES_PATH_NOTE}")
    print("graph:")
    for line in tree_lines(graph):
        print(f"  {line}")
    return 0


def tree_lines(graph) -> list[str]:
    """One line per node: identity indented by depth, kind, value, configuration."""
    rows = list(walk(graph))
    width = max(len(path) + 2 * path.count(".") for path, _ in rows)
    return [f"{'  ' * path.count('.') + path:<{width}}  {node.type:<10} {_value(node)}"
            + (f" config={node.config}" if node.config else "")
            for path, node in rows]


def _value(node) -> str:
    """Function names with their alias, literals as written in the text form, names bare."""
    if node.type in FUNCTION_NODE_TYPES:
        alias = display_name(node.node)
        return node.node if alias == node.node else f"{node.node} ({alias})"
    if node.type in LITERAL_TYPES:
        return repr(node.node)
    return str(node.node)


def _placeholder_market(graph, rows: int, limit: int) -> MarketData:
    """Zero-filled features named after the graph's feature leaves, every asset live."""
    names = sorted({node.node for _, node in walk(graph) if node.type in FEATURE_LEAF_TYPES})
    shape = (max(rows, 1), _PLACEHOLDER_ASSETS)
    size = (len(names) + 1) * shape[0] * shape[1] * data_size.FLOAT64_BYTES
    if size > limit:
        raise UserError(f"--rows {rows}: " + data_size.over_budget_message(
            "the placeholder data", size, limit))
    return MarketData({name: np.zeros(shape) for name in names or ["placeholder"]}, np.ones(shape))

"""`quillmarsh evaluate`: one graph on the user's data, weights to a .npy file."""
from __future__ import annotations

import argparse
from pathlib import Path

import numpy as np

from quillmarsh.functions.registry import default_registry

from quillmarsh.cli import data_size
from quillmarsh.cli.atomic_write import npy_writer, write_outputs
from quillmarsh.cli.data_io import load_market
from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.engine_path import GENERAL, LONGITUDINAL, STATES_PATH_NOTE, engine_path
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.evaluation import evaluate_graph
from quillmarsh.cli.file_checks import check_output_target
from quillmarsh.cli.graph_checks import (check_feature_list, check_features, check_functions,
                                         check_state_functions)
from quillmarsh.cli.graph_source import load_graph
from quillmarsh.cli.states_io import load_states, states_writer
from quillmarsh.cli.text_form import graph_to_text

def add_parser(commands: argparse._SubParsersAction) -> None:
    parser = commands.add_parser(
        "evaluate", help="evaluate a graph on market data and write its weights",
        description="Evaluate one graph (a text expression, a text file or a .json graph) on "
                    "market data and write the (days, assets) weights as a .npy file.")
    parser.add_argument("graph", metavar="EXPR_OR_FILE")
    parser.add_argument("--data", required=True, type=Path,
                        help=".npz file, .parquet file, or folder of .parquet files")
    parser.add_argument("--out", required=True, type=Path, help="weights file (.npy)")
    parser.add_argument("--states-in", type=Path,
                        help="states file (.npz) saved by an earlier evaluation")
    parser.add_argument("--states-out", type=Path, help="where to save the final states (.npz)")
    parser.add_argument("--cold-start", action="store_true",
                        help="top up restored reductions from the tail of this data")
    parser.add_argument("--data-nan-features", default="", metavar="A,B",
                        help="features whose data is missing for this run: they read as NaN "
                             "and the nodes they leave empty are reported")
    data_size.add_option(parser)
    parser.set_defaults(run=run)


def run(args: argparse.Namespace) -> int:
    _check_targets(args)
    registry = default_registry()
    graph = load_graph(args.graph, registry)
    check_functions(graph, registry)
    market = load_market(args.data, args.max_data_size)
    check_features(graph, market.features)
    nan_features = [name for name in args.data_nan_features.split(",") if name] or None
    check_feature_list(nan_features or [], market.features)
    graph_text = graph_to_text(graph)
    states = None
    if args.states_in:
        states = load_states(args.states_in, graph_text, args.max_data_size)
        check_state_functions(graph, states, registry)
    context = build_context(market, registry)
    path = engine_path(graph, context, states, data_nan_features=nan_features)
    if args.states_out and path == LONGITUDINAL:
        context = build_context(market, registry, keep_states=True)
        path = f"{GENERAL} ({STATES_PATH_NOTE})"
    result = evaluate_graph(graph, context, states, is_cold_start=args.cold_start,
                            data_nan_features=nan_features)
    weights = np.asarray(result.weights)
    outputs = [(args.out, npy_writer(weights))]
    if args.states_out:
        outputs.append((args.states_out, states_writer(graph_text, result.states)))
    write_outputs(outputs)
    _report(graph_text, path, weights, result, args)
    return 0


def _check_targets(args: argparse.Namespace) -> None:
    check_output_target(args.out, "--out")
    if args.states_out:
        check_output_target(args.states_out, "--states-out")
        if args.states_out.absolute() == args.out.absolute():
            raise UserError(f"--out and --states-out both name {args.out}")


def _report(graph_text: str, path: str, weights: np.ndarray, result, args) -> None:
    print(f"graph:   {graph_text}")
    print(f"path:    {path}")
    print(f"weights: {weights.shape[0]} days x {weights.shape[1]} assets, "
          f"{np.isnan(weights).mean():.1%} NaN -> {args.out}")
    if args.states_out:
        print(f"states:  {len(result.states)} saved -> {args.states_out}")
    if result.nan_source:
        print(f"data NaN from: {', '.join(sorted(result.nan_source))}")

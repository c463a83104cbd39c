"""The `quillmarsh` command: evaluate, show and demo.

A mistake in the user's input (an expression, a data file, a states file) is reported as one
line on stderr with exit status 2, and no output file is left behind.
"""
from __future__ import annotations

import argparse
import sys

from quillmarsh.cli import batch, demo, evaluate, show
from quillmarsh.cli.errors import UserError

USAGE_ERROR = 2


def build_parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="quillmarsh", description="Evaluate trading-signal expressions on market data.")
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    for command in (evaluate, show, demo, batch):
        command.add_parser(commands)
    return parser


def main(argv: list[str] | None = None) -> int:
    args = build_parser().parse_args(argv)
    try:
        return args.run(args)
    except UserError as error:
        print(f"quillmarsh: error: {error}", file=sys.stderr)
        return USAGE_ERROR

"""The `quillmarsh` command: evaluate, show, demo and batch.

A mistake in the user's input (an expression, a data file, a states file, an output target) is
reported as one line on stderr with exit status 2, and no output file is left behind. Besides
the UserErrors the commands raise, failures that any input can provoke anywhere (a graph nested
beyond the interpreter's recursion limit, data beyond memory, text that cannot be encoded, a file
the system refuses) are caught here and reported the same way.
"""
from __future__ import annotations

import argparse
import io
import sys

import numpy as np

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
    # Names from the user (file names that are not UTF-8) are echoed back, escaped if need be.
    for stream in (sys.stdout, sys.stderr):
        if isinstance(stream, io.TextIOWrapper):  # not when a caller replaced the stream
            stream.reconfigure(errors="backslashreplace")
    args = build_parser().parse_args(argv)
    try:
        # Overflow and invalid operations give inf and NaN cells, as the engine documents; the
        # compiled paths are silent about them, and so are the Python functions here.
        with np.errstate(all="ignore"):
            return args.run(args)
    except UserError as error:
        return _fail(str(error))
    except RecursionError:
        return _fail("the graph is nested too deeply")
    except MemoryError:
        return _fail("out of memory: the graph or the data is too large")
    except UnicodeError as error:
        return _fail(f"text that cannot be encoded in an expression or a file name: {error}")
    except OSError as error:
        return _fail(f"{error.filename}: {error.strerror}" if error.filename else str(error))


def _fail(message: str) -> int:
    line = " ".join(message.splitlines())
    print(f"quillmarsh: error: {line}", file=sys.stderr)
    return USAGE_ERROR

"""The text form of graphs: `rank(close) - delay(close, 5) / 2` to graph nodes and back.

Calls are function nodes (or filter operators inside a filtration), bare names feature
leaves, literals their literal kind, infix operators the element-wise operators, and keyword
arguments a node's configuration. `graph_to_text` prints any graph so that parsing the text
gives the same graph.
"""
from quillmarsh.cli.text_parser import parse_expression
from quillmarsh.cli.text_print import graph_to_text

__all__ = ["graph_to_text", "parse_expression"]

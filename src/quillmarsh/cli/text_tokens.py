"""Splitting text-form expressions into tokens, each with the column where it starts."""
from __future__ import annotations

import re
from dataclasses import dataclass

from quillmarsh.cli.errors import UserError

NUMBER, STRING, NAME, SYMBOL, END = "number", "string", "name", "symbol", "end"

# Longest symbols first so `**` is not read as two `*`.
_SYMBOLS = ("**", "<=", ">=", "==", "!=", "&&", "||", "<", ">", "+", "-", "*", "/", "^", "&", "|",
            "~", "?", ":", "(", ")", "[", "]", ",", "=", ".")
_TOKEN = re.compile(
    r"(?P<space>\s+|#[^\n]*)"
    r"|(?P<number>(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?)"
    r"|(?P<string>'[^'\n]*'|\"[^\"\n]*\")"
    r"|(?P<name>[A-Za-z_][A-Za-z0-9_]*)"
    r"|(?P<symbol>" + "|".join(re.escape(symbol) for symbol in _SYMBOLS) + ")")


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    offset: int   # 0-based offset into the whole text


def tokenize(text: str) -> list[Token]:
    """The tokens of `text`, ending with an END token; whitespace and `#` comments are skipped."""
    tokens = []
    offset = 0
    while offset < len(text):
        match = _TOKEN.match(text, offset)
        if match is None:
            raise UserError(f"syntax error at {position(text, offset)}: "
                            f"unexpected character {text[offset]!r}")
        if match.lastgroup != "space":
            tokens.append(Token(match.lastgroup, match.group(), offset))
        offset = match.end()
    tokens.append(Token(END, "", len(text.rstrip())))
    return tokens


def position(text: str, offset: int) -> str:
    """'column C' (1-based) on a one-line text, 'line L, column C' when the text has several lines."""
    line = text.count("\n", 0, offset) + 1
    column = offset - (text.rfind("\n", 0, offset) + 1) + 1
    return f"column {column}" if "\n" not in text.strip() else f"line {line}, column {column}"


def literal_value(token: Token) -> int | float | str:
    if token.kind == STRING:
        return token.text[1:-1]
    text = token.text
    return int(text) if text.isdigit() else float(text)

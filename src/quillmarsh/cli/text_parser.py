"""Parsing the text form by precedence climbing over the tokens (nothing is ever evaluated).

Each parenthesis, call or operand nests a few Python frames, so nesting is capped well below
the interpreter's recursion limit and too deep an expression is a one-line error.
"""
from __future__ import annotations

from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.text_build import Const, GraphBuilder, Term
from quillmarsh.cli.text_operators import (BINARY_BY_SYMBOL, OR, SYMBOL_SPELLINGS, TERNARY, UNARY,
                                           UNARY_BY_SYMBOL)
from quillmarsh.cli.text_tokens import END, NAME, NUMBER, STRING, Token, literal_value, position, tokenize

MAX_TEXT_LENGTH = 100_000
MAX_NESTING = 100
_KEYWORD_CONSTANTS = {"True": True, "False": False}
_RESERVED = frozenset({"if", "else", "None"})


def parse_expression(text: str, registry: Any) -> FunctionGraphNode:
    """The graph of a text expression; a UserError names the first problem and its column."""
    if not text.strip():
        raise UserError("empty expression")
    if len(text) > MAX_TEXT_LENGTH:
        raise UserError(f"expression too long: {len(text)} characters, at most {MAX_TEXT_LENGTH}")
    parser = _Parser(text, registry)
    term = parser.expression(TERNARY)
    parser.expect_end()
    if isinstance(term, Const):
        raise UserError(f"the expression is the constant {term.value!r}; "
                        f"it needs at least one feature")
    return term.node


class _Parser:
    def __init__(self, text: str, registry: Any) -> None:
        self.text = text
        self.tokens = tokenize(text)
        self.index = 0
        self.nesting = 0
        self.build = GraphBuilder(text, registry)

    @property
    def token(self) -> Token:
        return self.tokens[self.index]

    def advance(self) -> Token:
        token = self.tokens[self.index]
        self.index += 1
        return token

    def symbol(self) -> str:
        """The current token as an operator symbol, spelled the canonical way."""
        if self.token.kind == NAME and self.token.text in ("if", "else"):
            return self.token.text
        if self.token.kind in (NUMBER, STRING, NAME, END):
            return ""
        return SYMBOL_SPELLINGS.get(self.token.text, self.token.text)

    def syntax_error(self, token: Token, detail: str) -> UserError:
        return UserError(f"syntax error at {position(self.text, token.offset)}: {detail}")

    def unexpected(self, token: Token, wanted: str = "") -> UserError:
        found = "the end of the expression" if token.kind == END else repr(token.text)
        return self.syntax_error(token, f"expected {wanted}, found {found}" if wanted
                                 else f"unexpected {found}")

    def expect(self, symbol: str, opener: Token | None = None) -> Token:
        if self.symbol() != symbol:
            if opener is not None and self.token.kind == END:
                raise self.syntax_error(opener, f"'{opener.text}' is never closed")
            raise self.unexpected(self.token, f"'{symbol}'")
        return self.advance()

    def expect_end(self) -> None:
        if self.token.kind != END:
            raise self.unexpected(self.token)

    def expression(self, min_level: int) -> Term:
        """Operands joined by operators binding at least as tightly as `min_level`."""
        self.nesting += 1
        if self.nesting > MAX_NESTING:
            raise UserError(f"expression too deep at {position(self.text, self.token.offset)}: "
                            f"more than {MAX_NESTING} nested levels")
        left = self.prefix()
        while True:
            symbol, token = self.symbol(), self.token
            if symbol in ("?", "if") and min_level <= TERNARY:
                left = self.conditional(left)
            elif symbol in BINARY_BY_SYMBOL and BINARY_BY_SYMBOL[symbol].level >= min_level:
                binary = BINARY_BY_SYMBOL[symbol]
                self.advance()
                # `**` groups to the right and takes a signed exponent: 2 ** -x ** 2.
                right = self.expression(UNARY if symbol == "**" else binary.level + 1)
                left = self.build.binary(binary, left, right, token.offset)
            else:
                break
        self.nesting -= 1
        return left

    def conditional(self, first: Term) -> Term:
        """`first ? chosen : otherwise` or `first if condition else otherwise`."""
        if self.advance().text == "?":
            chosen = self.expression(TERNARY)
            self.expect(":")
            return self.build.conditional(first, chosen, self.expression(TERNARY), first.offset)
        condition = self.expression(OR)
        self.expect("else")
        return self.build.conditional(condition, first, self.expression(TERNARY), first.offset)

    def prefix(self) -> Term:
        token = self.token
        symbol = self.symbol()
        if symbol in UNARY_BY_SYMBOL:
            self.advance()
            return self.build.unary(UNARY_BY_SYMBOL[symbol], self.expression(UNARY), token.offset)
        if symbol == "(":
            self.advance()
            inner = self.expression(TERNARY)
            self.expect(")", token)
            return inner
        if symbol == "[":
            return self.list_constant()
        if token.kind in (NUMBER, STRING):
            self.advance()
            return Const(literal_value(token), token.offset)
        if token.kind == NAME:
            return self.name()
        raise self.unexpected(token, "an operand")

    def name(self) -> Term:
        token = self.advance()
        if token.text in _KEYWORD_CONSTANTS:
            return Const(_KEYWORD_CONSTANTS[token.text], token.offset)
        if token.text in _RESERVED:
            raise UserError(f"unsupported expression '{token.text}' at "
                            f"{position(self.text, token.offset)}")
        if self.symbol() == "(":
            return self.call(token)
        if self.symbol() == ".":
            self.advance()
            if self.token.kind != NAME:
                raise self.unexpected(self.token, "a name after '.'")
            return self.build.group_level(token.text, self.advance().text, token.offset)
        return self.build.name(token.text, token.offset)

    def call(self, name: Token) -> Term:
        opener = self.expect("(")
        args: list[Term] = []
        keywords: dict[str, Const] = {}
        while self.symbol() != ")":
            if self.token.kind == NAME and self.tokens[self.index + 1].text == "=":
                keyword = self.advance()
                self.advance()
                keywords[keyword.text] = self.constant(f"keyword argument '{keyword.text}'")
            elif keywords:
                raise self.syntax_error(self.token, "positional argument after a keyword argument")
            else:
                args.append(self.expression(TERNARY))
            if self.symbol() != ",":
                break
            self.advance()
        self.expect(")", opener)
        return self.build.call(name.text, args, keywords, name.offset)

    def constant(self, what: str) -> Const:
        start = self.token
        term = self.expression(TERNARY)
        if not isinstance(term, Const):
            raise UserError(f"{what} at {position(self.text, start.offset)} must be a constant")
        return term

    def list_constant(self) -> Const:
        opener = self.advance()
        items = []
        while self.symbol() != "]":
            items.append(self.constant("a list item").value)
            if self.symbol() != ",":
                break
            self.advance()
        self.expect("]", opener)
        return Const(items, opener.offset)

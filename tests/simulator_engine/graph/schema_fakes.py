"""Fake registries and entries for the configuration tests."""
from types import SimpleNamespace as Rec


def registry(**entries):
    return Rec(has=entries.__contains__, get_entry=entries.__getitem__)


def entry(schema, family="rotation"):
    return Rec(param_schema=schema, family=family)

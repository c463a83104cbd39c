"""Fake registries, contexts and graph builders for the fast-path tests."""
from types import SimpleNamespace as Rec

from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

RANK = "latitudinal_rank_688068"
COMBINE = "numerical_combine_d65e04"
MEAN = "longitudinal_accumulators_25c7fb"
STD = "longitudinal_accumulators_a5b1f0"
ZSCORE = "longitudinal_accumulators_7e8468"


class FakeRegistry:
    """Knows `entries` (name -> entry record); `factories` report has_factory."""

    def __init__(self, entries=None, factories=(), entry_error=None):
        self.entries = dict(entries or {})
        self.factories = set(factories)
        self.entry_error = entry_error

    def has(self, name):
        return name in self.entries or name in self.factories

    def has_factory(self, name):
        return name in self.factories

    def get_entry(self, name):
        if self.entry_error is not None:
            raise self.entry_error
        return self.entries[name]

    def create_instance(self, name, **config):
        raise AssertionError("a fast path creates no function instance")

    create_instance_from_state = create_instance


def stub_registry(*names, **entry_fields):
    """Every name registered as a stub entry carrying `entry_fields`."""
    return FakeRegistry({name: Rec(name=name, **entry_fields) for name in names})


def context(**fields):
    """A context-like record holding only what the fast paths read."""
    base = dict(features=[], feature_index={"close": 0, "open": 1}, universe=None, registry=None,
                useful_signals={}, transform_pipeline=[], metaparameters={})
    return Rec(**{**base, **fields})


def feature(name="close"):
    return Node("feature", name)


def rank(child):
    return Node("rotation", RANK, [child])


def rolling(name, child, *extra, window=3):
    return Node("rotation", name, [child, Node("int", window), *extra])

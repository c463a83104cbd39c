"""Fake function instances, registries and contexts for the general evaluator's tests."""
from types import SimpleNamespace

import numpy as np

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import UsefulSignal


class Fn:
    """A stateless instance: returns fn(*args) and records every call."""

    stateful = False

    def __init__(self, fn=lambda *args: args[0] + 0.0):
        self.fn = fn
        self.calls = []

    def __call__(self, *args, **kwargs):
        self.calls.append((args, kwargs))
        return self.fn(*args)


class Accumulator:
    """A stateful instance counting the rows it has seen; a reduction when called with signal_pnl."""

    stateful = True

    def __init__(self, window=10, count=0):
        self.window = window
        self.count = count
        self.calls = []

    def __call__(self, *args, signal_pnl=None, **kwargs):
        self.calls.append((tuple(np.array(a, copy=True) for a in args),
                           None if signal_pnl is None else signal_pnl.copy()))
        self.count += 1
        return np.full(args[0].shape[-1], float(self.count))

    def get_state(self):
        return {"count": self.count, "window": self.window}


class FakeRegistry:
    """Creates the given instance factories by function name and records what it was asked."""

    def __init__(self, factories, stateful=()):
        self.factories = factories
        self.stateful = set(stateful)
        self.created = []

    def has(self, name):
        return name in self.factories

    def get_entry(self, name):
        return SimpleNamespace(stateful=name in self.stateful, param_schema=None, family=None)

    def create_instance(self, name, **config):
        self.created.append(("create_instance", name, None, config))
        return self.factories[name]()

    def create_instance_from_state(self, name, state, **config):
        self.created.append(("create_instance_from_state", name, state, config))
        return self.factories[name]()

    def get_function_version(self, name):
        return f"{name}@1"


def make_context(features=None, feature_index=None, **kwargs):
    """A context over `features` (default: one 4x3 matrix named close) with an all-live universe."""
    if features is None:
        features, feature_index = [np.arange(12.0).reshape(4, 3)], {"close": 0}
    kwargs.setdefault("universe", np.ones(np.shape(features[0])))
    return ee.EvaluationContext(features, feature_index, **kwargs)


def signals(weights_by_id, pnl_by_id=None):
    """UsefulSignal map from id -> (T, N) weights (and optional (T, K) PnL)."""
    return {sid: UsefulSignal(weights=np.asarray(w, dtype=float), pnl=(pnl_by_id or {}).get(sid))
            for sid, w in weights_by_id.items()}

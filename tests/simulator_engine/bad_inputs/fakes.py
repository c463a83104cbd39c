"""Picklable user-side objects that misbehave on purpose: the drawn cases carry them to the worker."""
from __future__ import annotations

from types import SimpleNamespace

import numpy as np

from quillmarsh.functions.registry import default_registry


class DrawnError(Exception):
    """Raised by drawn user code; the engine must pass it on, chained, never lose it."""


class Unprintable:
    """A hashable name whose str() and repr() raise."""

    def __str__(self):
        raise DrawnError("no text")

    __repr__ = __str__

    def __eq__(self, other):
        return isinstance(other, Unprintable)

    def __hash__(self):
        return 7


class OddShape:
    """An array stand-in whose `shape` is whatever was drawn."""

    def __init__(self, shape):
        self.shape = shape


def fresh(error):
    """A new exception like `error`: raising one instance again would grow its traceback each time."""
    return type(error)(*error.args)


class ScriptedInstance:
    """A function instance returning `results[t % len(results)]` on its t-th call.

    A result that is an exception instance is raised instead; `state` is what get_state returns.
    """

    def __init__(self, results, stateful=False, state=None):
        self.results = list(results) or [0.0]
        self.stateful = stateful
        self.state = state
        self.calls = 0

    def __call__(self, *args, **kwargs):
        result = self.results[self.calls % len(self.results)]
        self.calls += 1
        if isinstance(result, BaseException):
            raise fresh(result)
        return result

    def get_state(self):
        if isinstance(self.state, BaseException):
            raise fresh(self.state)
        return self.state

    def set_state(self, data):
        if isinstance(data, BaseException):
            raise fresh(data)


class ScriptedRegistry:
    """The built-in functions plus scripted user functions; `failing` names methods that raise."""

    def __init__(self, instances, param_schema=None, family="user", failing=()):
        self.builtins = default_registry()
        self.instances = dict(instances)
        self.param_schema = param_schema
        self.family = family
        self.failing = set(failing)

    def _check(self, method):
        if method in self.failing:
            raise DrawnError(method)

    def has(self, name):
        self._check("has")
        return name in self.instances or self.builtins.has(name)

    def has_factory(self, name):
        self._check("has_factory")
        return name in self.instances

    def get_entry(self, name):
        self._check("get_entry")
        if name in self.instances:
            return SimpleNamespace(name=name, factory=ScriptedInstance, param_schema=self.param_schema,
                                   family=self.family, stateful=self.instances[name].stateful, version="1")
        return self.builtins.get_entry(name)

    def get_function_version(self, name):
        self._check("get_function_version")
        return "1"

    def create_instance(self, name, **config):
        self._check("create_instance")
        if name in self.instances:
            template = self.instances[name]
            return ScriptedInstance(template.results, template.stateful, template.state)
        return self.builtins.create_instance(name, **config)

    def create_instance_from_state(self, name, state, **config):
        self._check("create_instance_from_state")
        instance = self.create_instance(name, **config)
        instance.set_state(getattr(state, "data", state))
        return instance


class CacheDroppingIndex(dict):
    """A feature_index whose membership test empties and drops the graph's evaluation caches."""

    def __init__(self, mapping, graph):
        super().__init__(mapping)
        self.graph = graph

    def __contains__(self, name):
        cache = getattr(self.graph, "_collect_nodes_cache", None)
        if isinstance(cache, dict):
            for table in cache.values():
                if isinstance(table, dict):
                    table.clear()
            cache.clear()
        self.graph._collect_nodes_cache = None
        return super().__contains__(name)


def row_results(n):
    """Instance results of every kind for rows of width n: right, wrong shape, dtype and type."""
    return [np.ones(n), np.ones(n + 1), np.ones((n, 1)), np.float64(2.0), np.ones(n, dtype=np.float32),
            np.array(["a"] * n), np.ones(n, dtype=object), [1.0] * n, None, "text", object(),
            np.ones(n, dtype=complex), np.ones(0), DrawnError("row failed")]


class FailingIndex(dict):
    """A feature_index whose membership test raises."""

    def __contains__(self, name):
        raise DrawnError("feature_index lookup failed")

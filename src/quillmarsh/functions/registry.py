"""The function store: named entries and the instances they create.

User functions are registered with a factory. Built-in functions are stub entries (no
`factory`, `module_path`, `class_name` or `implementation` attribute), which lets the engine
run its own vectorised kernels for them. Instances of native operators (the engine's operator
table) are `NativeFunction` objects, which the general evaluator steps without Python; the
reductions' instances are the native reduction classes listed in `_BUILTINS`.
"""
from __future__ import annotations

import copy
from collections.abc import Callable
from dataclasses import dataclass
from typing import Any

from quillmarsh.functions.builtins.reductions import REDUCTION_MEAN, REDUCTION_PNL_WEIGHTED
from quillmarsh.simulator_engine.expression_evaluator import (
    NativeFunction,
    NativeMeanReduction,
    NativePnlWeightedReduction,
    _operator_table,
)


@dataclass(frozen=True)
class RegistryEntry:
    """What the registry knows of a function."""

    name: str
    param_schema: Any = None
    family: str = ""
    stateful: bool = False
    version: str = "1"


@dataclass(frozen=True)
class FactoryEntry(RegistryEntry):
    """A user function: `factory(**config)` returns a new instance."""

    factory: Callable[..., Any] | None = None


@dataclass(frozen=True)
class _Builtin:
    instance_class: Callable[..., Any]
    param_schema: Any
    family: str
    stateful: bool


# name -> {"name", "alias", "family", "arity", "stateful", "param_schema"}
NATIVE_OPERATORS: dict[str, dict[str, Any]] = {row["name"]: row for row in _operator_table()}

_BUILTINS: dict[str, _Builtin] = {
    REDUCTION_MEAN: _Builtin(NativeMeanReduction, None, "reduction", False),
    REDUCTION_PNL_WEIGHTED: _Builtin(
        NativePnlWeightedReduction,
        [("window", "int"),
         {"name": "pnl_column", "type": "string", "default": "gross_returns"}],
        "reduction", True),
}


class FunctionRegistry:
    """Maps function names to entries and creates their instances."""

    def __init__(self) -> None:
        self._entries: dict[str, RegistryEntry] = {}

    def register(self, name: str, *, factory: Callable[..., Any] | None = None,
                 param_schema: Any = None, family: str = "", stateful: bool = False,
                 version: str = "1") -> RegistryEntry:
        """Add a function; without a factory the entry is a stub (built-in names only)."""
        if name in self._entries:
            raise ValueError(f"Function '{name}' is already registered")
        fields = dict(name=name, param_schema=param_schema, family=family,
                      stateful=stateful, version=version)
        if factory is None:
            entry = RegistryEntry(**fields)
        else:
            entry = FactoryEntry(**fields, factory=factory)
        self._entries[name] = entry
        return entry

    def has(self, name: str) -> bool:
        return name in self._entries

    def get_entry(self, name: str) -> RegistryEntry:
        entry = self._entries.get(name)
        if entry is None:
            raise KeyError(f"Function '{name}' is not registered")
        return entry

    def has_factory(self, name: str) -> bool:
        """Whether a user factory backs the function; False for built-ins and unknown names."""
        return hasattr(self._entries.get(name), "factory")

    def get_function_version(self, name: str) -> str:
        return self.get_entry(name).version

    def create_instance(self, name: str, **config: Any) -> Any:
        entry = self.get_entry(name)
        if isinstance(entry, FactoryEntry):
            return entry.factory(**config)
        if name in NATIVE_OPERATORS:
            return NativeFunction(name, **config)
        builtin = _BUILTINS.get(name)
        if builtin is None:
            raise TypeError(f"Function '{name}' has no factory; its instances cannot be created")
        return builtin.instance_class(**config)

    def create_instance_from_state(self, name: str, state: Any, **config: Any) -> Any:
        """A new instance resuming from `state` (a FunctionState; its `data` is the payload)."""
        instance = self.create_instance(name, **config)
        set_state = getattr(instance, "set_state", None)
        if set_state is None:
            raise TypeError(f"Function '{name}' cannot resume from a saved state: "
                            f"its instances have no set_state method")
        set_state(state.data)
        return instance


def default_registry() -> FunctionRegistry:
    """A new registry holding every built-in function."""
    registry = FunctionRegistry()
    for name, row in NATIVE_OPERATORS.items():
        registry.register(name, param_schema=copy.deepcopy(row["param_schema"]),
                          family=row["family"], stateful=row["stateful"])
    for name, builtin in _BUILTINS.items():
        registry.register(name, param_schema=copy.deepcopy(builtin.param_schema),
                          family=builtin.family, stateful=builtin.stateful)
    return registry

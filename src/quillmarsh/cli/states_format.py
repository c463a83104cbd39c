"""The states-file format: named arrays plus one JSON header, nothing that can run code.

The header (UTF-8 JSON in the uint8 array `header`) holds the format name and version, the
graph's text form, the platform's long-double layout and one entry per saved state:

    {"key": "root.c0", "function": "...", "version": "1",
     "fields": {"count": 40, "window": 3},          # None, bool, int, float, str
     "arrays": {"ring": "a0", ...},                 # payload key -> archive member
     "scalars": {"total": "a2", ...}}               # NumPy scalars, stored as 0-d arrays

Arrays hold bool, integer or real floating-point values. Long double arrays are stored as the
platform writes them: exact on the machine (or any machine of the same layout) that saved them,
and refused where the layout differs. `decode` checks every field and raises ValueError with
the reason; it never trusts the header.
"""
from __future__ import annotations

import json
from typing import Any

import numpy as np

from quillmarsh.simulator_engine._types import FunctionState

FORMAT = "quillmarsh-states"
VERSION = 1
HEADER = "header"
_ENTRY_KEYS = {"key", "function", "version", "fields", "arrays", "scalars"}
_FIELD_TYPES = (type(None), bool, int, float, str)
_ARRAY_KINDS = "biuf"


def long_double_layout() -> dict[str, int]:
    info = np.finfo(np.longdouble)
    return {"itemsize": np.dtype(np.longdouble).itemsize, "mantissa_bits": int(info.nmant),
            "exponent_bits": int(info.nexp)}


def encode(graph_text: str, states: dict) -> dict[str, np.ndarray]:
    """The archive members of `states` (state key -> FunctionState) saved for `graph_text`."""
    arrays: dict[str, np.ndarray] = {}
    entries = [_encode_entry(key, state, arrays) for key, state in states.items()]
    header = {"format": FORMAT, "version": VERSION, "graph": graph_text,
              "long_double": long_double_layout(), "states": entries}
    text = json.dumps(header, allow_nan=True, ensure_ascii=True)
    return {HEADER: np.frombuffer(text.encode("ascii"), dtype=np.uint8), **arrays}


def _encode_entry(key: Any, state: Any, arrays: dict[str, np.ndarray]) -> dict:
    if not isinstance(key, str):
        raise ValueError(f"state key {key!r} is not text")
    data = state.data
    if not isinstance(data, dict) or not all(isinstance(name, str) for name in data):
        raise ValueError(f"the state of {key} is not a dict keyed by text")
    version = state.function_version
    if not isinstance(state.function_name, str) or isinstance(version, bool) \
            or not isinstance(version, (str, int)):
        raise ValueError(f"the state of {key} has a function name or version that is not text")
    entry = {"key": key, "function": state.function_name, "version": version,
             "fields": {}, "arrays": {}, "scalars": {}}
    for name, value in data.items():
        if isinstance(value, (np.ndarray, np.generic)):
            group = "scalars" if isinstance(value, np.generic) else "arrays"
            member = f"a{len(arrays)}"
            arrays[member] = _checked_array(np.asarray(value), f"{key}.{name}")
            entry[group][name] = member
        elif isinstance(value, _FIELD_TYPES):
            entry["fields"][name] = value
        else:
            raise ValueError(f"the state of {key} holds a {type(value).__name__} under '{name}'")
    return entry


def decode(arrays: dict[str, np.ndarray]) -> tuple[str, dict[str, FunctionState]]:
    """(graph text, state key -> FunctionState) of the archive members."""
    header = _header(arrays)
    graph = _typed(header, "graph", str, "the header")
    entries = _typed(header, "states", list, "the header")
    used = {HEADER}
    states: dict[str, FunctionState] = {}
    for position, entry in enumerate(entries):
        key, state = _decode_entry(entry, position, arrays, used)
        if key in states:
            raise ValueError(f"two states have the key {key!r}")
        states[key] = state
    unused = sorted(set(arrays) - used)
    if unused:
        raise ValueError(f"array '{unused[0]}' belongs to no state")
    if any(np.asarray(value).dtype == np.longdouble for state in states.values()
           for value in state.data.values() if isinstance(value, (np.ndarray, np.generic))):
        _check_long_double(header)
    return graph, states


def _header(arrays: dict[str, np.ndarray]) -> dict:
    raw = arrays.get(HEADER)
    if raw is None:
        raise ValueError("it has no header")
    if raw.dtype != np.uint8 or raw.ndim != 1:
        raise ValueError("its header is not a byte string")
    try:
        header = json.loads(raw.tobytes().decode("utf-8"))
    except (ValueError, RecursionError) as error:  # bad UTF-8, bad JSON, too long integers
        raise ValueError(f"its header is not JSON ({error})") from None
    if not isinstance(header, dict) or header.get("format") != FORMAT:
        raise ValueError("its header does not name the states format")
    if header.get("version") != VERSION:
        raise ValueError(f"it has format version {header.get('version')!r}; this version "
                         f"reads version {VERSION}")
    return header


def _decode_entry(entry: Any, position: int, arrays: dict[str, np.ndarray],
                  used: set[str]) -> tuple[str, FunctionState]:
    where = f"state {position}"
    if not isinstance(entry, dict) or set(entry) != _ENTRY_KEYS:
        raise ValueError(f"{where} does not have exactly the entries {sorted(_ENTRY_KEYS)}")
    key = _typed(entry, "key", str, where)
    function = _typed(entry, "function", str, where)
    version = entry["version"]
    if isinstance(version, bool) or not isinstance(version, (str, int)):
        raise ValueError(f"{where} has a version that is neither text nor an integer")
    data = dict(_fields(entry, where))
    for group in ("arrays", "scalars"):
        for name, array in _members(entry, group, where, arrays, used):
            if name in data:
                raise ValueError(f"{where} has '{name}' twice")
            if group == "scalars" and array.ndim != 0:
                raise ValueError(f"{where}: scalar '{name}' is an array of shape {array.shape}")
            data[name] = array[()] if group == "scalars" else array
    return key, FunctionState(function_name=function, function_version=version, data=data)


def _fields(entry: dict, where: str) -> dict[str, Any]:
    fields = _typed(entry, "fields", dict, where)
    for name, value in fields.items():
        if not isinstance(value, _FIELD_TYPES):
            raise ValueError(f"{where}: field '{name}' is a {type(value).__name__}")
    return fields


def _members(entry: dict, group: str, where: str, arrays: dict[str, np.ndarray],
             used: set[str]) -> list[tuple[str, np.ndarray]]:
    found = []
    for name, member in _typed(entry, group, dict, where).items():
        if not isinstance(member, str) or member not in arrays:
            raise ValueError(f"{where}: '{name}' names no array of the file")
        if member in used:
            raise ValueError(f"{where}: array '{member}' is used twice")
        used.add(member)
        found.append((name, _checked_array(arrays[member], f"{where} '{name}'")))
    return found


def _checked_array(array: np.ndarray, label: str) -> np.ndarray:
    if array.dtype.kind not in _ARRAY_KINDS or array.dtype.fields is not None:
        raise ValueError(f"{label} has dtype {array.dtype}; states hold bool, integer and real "
                         f"floating-point arrays only")
    return array


def _check_long_double(header: dict) -> None:
    if header.get("long_double") != long_double_layout():
        raise ValueError(f"its long double arrays were written on a platform with the layout "
                         f"{header.get('long_double')}, this one has {long_double_layout()}")


def _typed(document: dict, name: str, kind: type, where: str) -> Any:
    value = document.get(name)
    if not isinstance(value, kind):
        raise ValueError(f"{where} has no {kind.__name__} '{name}'")
    return value

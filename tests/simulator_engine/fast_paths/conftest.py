import sys
import types

import pytest

from quillmarsh._reference.rank import rank_rows_reference

RANK_MODULE = "quillmarsh.functions.rotations.latitudinal.rank"


@pytest.fixture
def rank_module(monkeypatch):
    """A stand-in host rank module: ranks with the reference and records its calls.

    Set `module.results` to a list to make successive calls return those values instead.
    """
    module = types.ModuleType(RANK_MODULE)
    module.calls = []
    module.results = None

    def batch_apply_3aa57128a46b(data, *, universe=None):
        module.calls.append((data, universe))
        if module.results is not None:
            return module.results.pop(0)
        return rank_rows_reference(data, universe)

    module.batch_apply_3aa57128a46b = batch_apply_3aa57128a46b
    monkeypatch.setitem(sys.modules, RANK_MODULE, module)
    return module

"""The Dask client of `quillmarsh batch`: none (this process), a local cluster, or a scheduler."""
from __future__ import annotations

import contextlib
from collections.abc import Iterator
from typing import Any

from quillmarsh.batch.local_cluster import local_client
from quillmarsh.cli.errors import UserError

INSTALL_HINT = "pip install 'quillmarsh[cluster]'"


@contextlib.contextmanager
def batch_client(workers: int | None, scheduler: str | None) -> Iterator[Any]:
    """None without --workers or --scheduler; otherwise a connected client, closed on exit
    together with the local cluster it started."""
    if workers is None and scheduler is None:
        yield None
        return
    distributed = _distributed("--workers" if workers is not None else "--scheduler")
    if scheduler is not None:
        with _connected(distributed, scheduler) as client:
            yield client
        return
    with local_client(workers) as client:
        yield client


def _distributed(option: str) -> Any:
    try:
        import distributed
    except ImportError:
        raise UserError(f"{option} needs Dask: {INSTALL_HINT}") from None
    return distributed


def _connected(distributed: Any, address: str) -> Any:
    try:
        return distributed.Client(address, timeout="10s")
    except (OSError, TimeoutError) as error:
        raise UserError(f"cannot reach the Dask scheduler at {address}: {error}") from None

"""Shared test configuration: hypothesis profiles chosen by HYPOTHESIS_PROFILE, and a local Dask cluster."""
import os

import pytest
from hypothesis import Verbosity, settings

settings.register_profile("dev", max_examples=50, deadline=None)
settings.register_profile("ci", max_examples=200, deadline=None)
settings.register_profile("debug", max_examples=50, deadline=None, verbosity=Verbosity.verbose)
settings.load_profile(os.environ.get("HYPOTHESIS_PROFILE", "dev"))


@pytest.fixture(scope="session")
def dask_client():
    """A client of a local Dask cluster of 2 single-threaded worker processes, shared by the
    tests that run batches on a cluster; skipped when Dask is not installed."""
    pytest.importorskip("distributed")
    from quillmarsh.batch.local_cluster import local_client
    with local_client(2) as client:
        yield client

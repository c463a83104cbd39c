import pytest

from .runner import CaseRunner


@pytest.fixture(scope="module")
def runner():
    """One worker process for a test module's cases, restarted after each crash."""
    case_runner = CaseRunner()
    yield case_runner
    case_runner.close()

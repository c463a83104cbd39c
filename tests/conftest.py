"""Shared test configuration: hypothesis profiles chosen by HYPOTHESIS_PROFILE."""
import os

from hypothesis import Verbosity, settings

settings.register_profile("dev", max_examples=50, deadline=None)
settings.register_profile("ci", max_examples=200, deadline=None)
settings.register_profile("debug", max_examples=50, deadline=None, verbosity=Verbosity.verbose)
settings.load_profile(os.environ.get("HYPOTHESIS_PROFILE", "dev"))

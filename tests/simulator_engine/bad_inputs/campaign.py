"""A long campaign of drawn bad inputs: counts crashes, hangs and untyped errors.

    python -m tests.simulator_engine.bad_inputs.campaign --cases 20000

Run from the repository root with the package installed. Prints how the cases ended (results and
each error type) and every failing case; the exit status is 1 when any case failed.
"""
from __future__ import annotations

import argparse
import collections
import pickle
import time
from pathlib import Path

from hypothesis import HealthCheck, Phase, given, settings

from .runner import CaseRunner, case_text
from .strategies import cases


def run_campaign(count: int, timeout: float, keep: Path | None) -> tuple[collections.Counter, list[str]]:
    endings: collections.Counter = collections.Counter()
    failures: list[str] = []
    runner = CaseRunner(timeout=timeout)

    @settings(max_examples=count, database=None, phases=[Phase.generate], deadline=None,
              suppress_health_check=list(HealthCheck))
    @given(cases())
    def one(case):
        outcome = runner.run(case)
        endings[outcome.kind if outcome.kind != "raised" else outcome.detail.split(":", 1)[0]] += 1
        if outcome.failed:
            failures.append(f"{outcome.kind}: {outcome.detail}\ncase: {case_text(case)}")
            if keep is not None:
                keep.mkdir(parents=True, exist_ok=True)
                (keep / f"case-{len(failures)}.pickle").write_bytes(pickle.dumps(case))

    try:
        one()
    finally:
        runner.close()
    return endings, failures


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--cases", type=int, default=20000)
    parser.add_argument("--timeout", type=float, default=60.0, help="seconds before a case counts as a hang")
    parser.add_argument("--keep", type=Path, help="folder where each failing case is saved as a pickle")
    args = parser.parse_args()
    started = time.perf_counter()
    endings, failures = run_campaign(args.cases, args.timeout, args.keep)
    print(f"{sum(endings.values())} cases in {time.perf_counter() - started:.0f} s")
    for ending, count in endings.most_common():
        print(f"{count:8d}  {ending}")
    crashes, hangs = endings["crash"], endings["hang"]
    print(f"crashes: {crashes}  hangs: {hangs}  untyped errors: {len(failures) - crashes - hangs}")
    for failure in failures:
        print("----\n" + failure)
    return 1 if failures else 0


if __name__ == "__main__":
    raise SystemExit(main())

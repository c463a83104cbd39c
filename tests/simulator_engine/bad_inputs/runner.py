"""Runs cases in a child process, so a crash or a hang is a reported outcome, not a lost run.

A case is any picklable zero-argument callable (a `functools.partial` of a module-level
function). The parent sends it to a long-lived worker; the worker calls it and answers with the
outcome. When the worker dies (segfault, sanitizer report, abort) or stops answering, the case
is reported as a crash or a hang and the next case starts a fresh worker.
"""
from __future__ import annotations

import json
import os
import pickle
import select
import struct
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

REPO_ROOT = Path(__file__).resolve().parents[3]
# Errors the engine never raises for bad input: SystemError means a C API call failed with no
# Python error set or a stray one, RuntimeError is an escaped C++ exception.
UNTYPED_ERRORS = ("builtins.SystemError", "builtins.RuntimeError")


@dataclass
class Outcome:
    kind: str           # "result", "raised", "crash" or "hang"
    detail: str = ""    # the error's qualified type name and message, or the worker's last words

    @property
    def failed(self) -> bool:
        return self.kind in ("crash", "hang") or self.detail.startswith(UNTYPED_ERRORS)


def case_text(case) -> str:
    """repr(case) for failure reports; a case holding unprintable names is still described."""
    try:
        return repr(case)[:4000]
    except Exception:  # noqa: BLE001 - a drawn name's repr may raise
        return "<case with unprintable parts>"


class CaseRunner:
    """Parent side: one worker at a time, restarted after a crash or a hang."""

    def __init__(self, timeout: float = 60.0) -> None:
        self.timeout = timeout
        self._worker: subprocess.Popen | None = None
        self._stderr = None

    def run(self, case) -> Outcome:
        payload = pickle.dumps(case)
        worker = self._running_worker()
        try:
            worker.stdin.write(struct.pack("<Q", len(payload)) + payload)
            worker.stdin.flush()
        except BrokenPipeError:
            return self._lost("crash")
        ready, _, _ = select.select([worker.stdout], [], [], self.timeout)
        line = worker.stdout.readline() if ready else b""
        if not ready:
            return self._lost("hang")
        if not line:
            return self._lost("crash")
        answer = json.loads(line)
        return Outcome(answer["kind"], answer.get("detail", ""))

    def close(self) -> None:
        if self._worker is not None:
            self._worker.stdin.close()
            self._worker.wait(timeout=self.timeout)
            self._worker = None
        if self._stderr is not None:
            self._stderr.close()
            self._stderr = None

    def _running_worker(self) -> subprocess.Popen:
        if self._worker is None:
            self._stderr = tempfile.TemporaryFile()
            self._worker = subprocess.Popen([sys.executable, "-m", __name__], cwd=REPO_ROOT, stdin=subprocess.PIPE,
                                            stdout=subprocess.PIPE, stderr=self._stderr)
        return self._worker

    def _lost(self, kind: str) -> Outcome:
        worker, self._worker = self._worker, None
        worker.kill()
        code = worker.wait()
        self._stderr.seek(0)
        words = self._stderr.read().decode(errors="replace")
        last_words = words if len(words) <= 6000 else f"{words[:3000]}\n[...]\n{words[-3000:]}"
        self._stderr.close()
        self._stderr = None
        return Outcome(kind, f"exit code {code}\n{last_words}")


def _described(error: BaseException) -> str:
    kind = type(error)
    try:
        text = repr(error)
    except Exception:  # noqa: BLE001 - an error whose repr fails is still reported by type
        text = "<unprintable>"
    return f"{kind.__module__}.{kind.__qualname__}: {text}"[:500]


def _serve() -> None:
    """Worker side: reads cases from stdin until it closes; answers on the original stdout."""
    import faulthandler

    faulthandler.enable()
    channel = os.fdopen(os.dup(1), "w")
    os.dup2(2, 1)  # whatever a case prints goes to stderr, never into the answers
    source = sys.stdin.buffer
    while header := source.read(8):
        payload = source.read(struct.unpack("<Q", header)[0])
        try:
            pickle.loads(payload)()
            answer = {"kind": "result"}
        except BaseException as error:  # noqa: BLE001 - every outcome is reported to the parent
            answer = {"kind": "raised", "detail": _described(error)}
        channel.write(json.dumps(answer) + "\n")
        channel.flush()


if __name__ == "__main__":
    _serve()

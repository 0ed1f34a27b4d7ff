"""Output for the operator: changes on stdout, errors on stderr."""
from __future__ import annotations

import sys
import threading
from collections.abc import Iterable
from typing import TextIO

from .diff import Change


class Report:
    """Writes lines to two streams. Thread-safe."""

    def __init__(self, out: TextIO | None = None, err: TextIO | None = None, show: int = 50, quiet: bool = False):
        self._out = out or sys.stdout
        self._err = err or sys.stderr
        self._show = show
        self._quiet = quiet
        self._lock = threading.Lock()

    def say(self, text: str) -> None:
        if not self._quiet:
            self._line(self._out, text)

    def problem(self, text: str) -> None:
        self._line(self._err, f"orv-controller: {text}")

    def changes(self, changes: Iterable[Change]) -> None:
        """Prints one line per change, up to the limit for each kind, and the number of the others."""
        shown: dict[str, int] = {}
        for change in changes:
            count = shown[change.kind] = shown.get(change.kind, 0) + 1
            if count <= self._show:
                self.say(f"  {change}")
        for kind, count in shown.items():
            if count > self._show:
                self.say(f"  ... and {count - self._show} more {kind}")

    def refusals(self, lines: list[str]) -> None:
        for line in lines[:self._show]:
            self.problem(f"refused: {line}")
        if len(lines) > self._show:
            self.problem(f"... and {len(lines) - self._show} more refused")

    def _line(self, stream: TextIO, text: str) -> None:
        with self._lock:
            try:
                print(text, file=stream, flush=True)
            except (BrokenPipeError, ValueError):
                pass  # The reader is gone; keep the switch in sync anyway.

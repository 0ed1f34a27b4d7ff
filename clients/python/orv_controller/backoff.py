"""Delays between attempts to connect."""
from __future__ import annotations

import random


class BackOff:
    """Doubles from `first` to `most` seconds. Each delay is random in the upper half of its value, so that
    controllers that lost the same switch do not reconnect all at once."""

    def __init__(self, first: float = 0.1, most: float = 10.0, source: random.Random | None = None):
        self._first = first
        self._most = most
        self._next = first
        self._random = source or random.Random()

    def delay(self) -> float:
        whole = self._next
        self._next = min(2 * whole, self._most)
        return whole * self._random.uniform(0.5, 1.0)

    def reset(self) -> None:
        """Call after a successful connection."""
        self._next = self._first

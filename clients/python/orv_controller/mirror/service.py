"""What the services have in common."""
from __future__ import annotations

import weakref
from collections.abc import Callable, Generator, Iterable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass, field
from typing import Any, TypeVar

from .calls import Calls
from .follow import Follow, Retry

M = TypeVar("M")


def _is_ack(message: Any) -> bool:
    return bool(message.ack)


@dataclass(frozen=True)
class Link:
    """What the services share: the calls of one channel, and the watches that end with it."""

    calls: Calls
    retry: Retry
    watches: weakref.WeakSet[Follow[Any]] = field(default_factory=weakref.WeakSet)


class Service:
    """Thread-safe. Every method raises errors.SwitchError.

    An iterator of a list begins its call with the first element; close() cancels it. A list is not a snapshot: what is
    created or deleted meanwhile may or may not be in it."""

    def __init__(self, link: Link):
        self._link = link
        self._calls = link.calls

    def _apply(self, requests: Iterable[Any]) -> int:
        return self._calls.apply(requests)

    def _watch(self, request: Any, acknowledges: Callable[[M], bool] = _is_ack,
               dump: Callable[[], Generator[M, None, None]] | None = None) -> Follow[M]:
        follow = Follow(lambda: self._calls.open(request), self._link.retry, acknowledges=acknowledges, dump=dump)
        self._link.watches.add(follow)
        return follow

    @contextmanager
    def _replayed(self, begin: Any, end: Any) -> Iterator[None]:
        """Set everything again inside of the block. At its end the switch removes what was not set; not if the block
        raises, so that the next replay starts over."""
        self._calls.call(begin)
        yield
        self._calls.call(end)

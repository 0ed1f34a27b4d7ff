"""Watches that outlive cut-offs and restarts: the present state, then changes, and again after each gap."""
from __future__ import annotations

import itertools
import logging
import threading
from collections.abc import Callable, Generator, Iterator
from contextlib import closing
from dataclasses import dataclass
from typing import Any, Generic, TypeVar, Union

from ..backoff import BackOff
from . import errors
from .feed import Feed

M = TypeVar("M")
# After these, a new watch may succeed.
_GAPS = (errors.Disconnected, errors.DeadlineExceeded, errors.ResourceExhausted)
_log = logging.getLogger(__name__)


@dataclass(frozen=True)
class Resynced:
    """The watch begins, or begins again after a gap: what you know is out of date, the present state follows.
    `gap` says why, None at the first beginning."""

    gap: errors.SwitchError | None


@dataclass(frozen=True)
class CaughtUp:
    """The present state is complete: what was not reported since Resynced does not exist. Changes follow, and
    none of them is missed."""


Event = Union[M, Resynced, CaughtUp]


@dataclass(frozen=True)
class Retry:
    """How watches begin again. `back_off` makes the delays of one watch; `pause` waits for a delay, or less if the
    event is set. At most `held` messages of a watch wait in the client."""

    back_off: Callable[[], BackOff] = BackOff
    pause: Callable[[threading.Event, float], object] = threading.Event.wait
    held: int = 262_144


class Follow(Generic[M], Iterator[Event[M]]):
    """An endless iterator over the messages of a watch: Resynced, the present state, CaughtUp, changes; the same
    again after the watch was cut off (ResourceExhausted) or the server was gone or silent (Disconnected,
    DeadlineExceeded). Other errors are raised, because a new watch would end in the same way.

    Messages are in the order of the switch, so apply each of them as it comes. The present state comes from the
    watch itself, or else from `dump`, which is read once the watch is active. A change during the dump may repeat
    what the dump said, or be older than that; then a newer one follows.

    One thread iterates. Any thread may close(), which ends the iteration."""

    def __init__(self, start: Callable[[], Any], retry: Retry, *, acknowledges: Callable[[M], bool],
                 dump: Callable[[], Generator[M, None, None]] | None = None):
        """`start` begins the call, `acknowledges` tells the message that the watch was asked to acknowledge with."""
        self._start = start
        self._retry = retry
        self._acknowledges = acknowledges
        self._dump = dump
        self._back_off = retry.back_off()
        self._closed = threading.Event()
        # Reentrant: a signal handler may call close().
        self._lock = threading.RLock()
        self._feed: Feed[M] | None = None
        self._events = self._follow()

    def __next__(self) -> Event[M]:
        return next(self._events)

    def __enter__(self) -> Follow[M]:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Cancels the watch. A thread that waits for the next message returns."""
        with self._lock:
            self._closed.set()
            if self._feed is not None:
                self._feed.close()

    def _follow(self) -> Generator[Event[M], None, None]:
        began = False
        gap: errors.SwitchError | None = None
        while (feed := self._begin()) is not None:
            try:
                for event in self._events_of(feed, gap):
                    if isinstance(event, Resynced):
                        began, gap = True, None
                    yield event
                return
            except _GAPS as error:
                if self._closed.is_set():
                    return
                delay = self._back_off.delay()
                _log.info("%s; watching again in %.1f s", error, delay)
                # The first error is the reason for the gap; the others only prolong it.
                gap = (gap or error) if began else None
            finally:
                feed.close()
            self._retry.pause(self._closed, delay)

    def _begin(self) -> Feed[M] | None:
        with self._lock:
            if self._closed.is_set():
                return None
            self._feed = Feed(self._start(), self._retry.held)
            return self._feed

    def _events_of(self, feed: Feed[M], gap: errors.SwitchError | None) -> Generator[Event[M], None, None]:
        """The events of one call, up to its error."""
        began = caught_up = False
        for message in feed:
            if not began:
                # Only now: while the server is gone, the consumer keeps what it has.
                began = True
                yield Resynced(gap)
            if caught_up or not self._acknowledges(message):
                yield message
                continue
            if self._dump is not None:
                with closing(self._dump()) as dump:
                    for element in dump:
                        if self._closed.is_set():
                            return
                        yield element
                # Changes during the dump belong to the present state, too.
                yield from itertools.islice(feed, feed.waiting())
            caught_up = True
            self._back_off.reset()
            yield CaughtUp()

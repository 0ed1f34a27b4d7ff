"""Reads a stream in a thread of its own, so that a slow consumer does not make the server's queue grow at once."""
from __future__ import annotations

import threading
from collections import deque
from collections.abc import Iterator
from typing import Any, Generic, TypeVar

import grpc

from . import errors

M = TypeVar("M")


class Feed(Generic[M], Iterator[M]):
    """Iterates over the messages of a call. Raises the error with which the call ended once all of them are taken;
    ends without one only after close(). Holds up to `limit` messages. Then it reads no more, and the server decides.

    One thread iterates; any thread may call the other methods."""

    def __init__(self, call: Any, limit: int):
        self._call = call
        self._limit = limit
        self._changed = threading.Condition()
        self._waiting: deque[M] = deque()
        self._error: errors.SwitchError | None = None
        self._closed = False
        threading.Thread(target=self._read, name="orv-watch", daemon=True).start()

    def __next__(self) -> M:
        with self._changed:
            self._changed.wait_for(lambda: self._waiting or self._error or self._closed)
            if self._closed:
                raise StopIteration
            if self._waiting:
                self._changed.notify_all()
                return self._waiting.popleft()
            assert self._error is not None
            raise self._error

    def waiting(self) -> int:
        """The number of messages that wait to be taken."""
        with self._changed:
            return len(self._waiting)

    def close(self) -> None:
        """Cancels the call, drops what waits and wakes the consumer."""
        with self._changed:
            self._closed = True
            self._waiting.clear()
            self._changed.notify_all()
        self._call.cancel()

    def _read(self) -> None:
        error: errors.SwitchError = errors.Disconnected("the server ended the watch")
        try:
            for message in self._call:
                with self._changed:
                    self._changed.wait_for(lambda: len(self._waiting) < self._limit or self._closed)
                    if self._closed:
                        return
                    self._waiting.append(message)
                    self._changed.notify_all()
        except grpc.RpcError as ended:
            error = errors.of_call(ended)
        with self._changed:
            self._error = error
            self._changed.notify_all()

"""One connection to a switch: channel, stubs, bulks and the two watches.

The service always replies with gRPC status OK and reports errors in the message. Any other
gRPC status means that the connection is unusable.
"""
from __future__ import annotations

import threading
import time
from collections import deque
from collections.abc import Callable, Iterable, Iterator
from typing import Any

import grpc

from .channel import open_channel, pieces
from .pb import orvsdk_pb2 as pb
from .pb import orvsdk_pb2_grpc
from .wire import Wire

# The server processes one bulk while the next is in flight.
BULKS_IN_FLIGHT = 2


class ConnectionLost(Exception):
    """The switch is unreachable or gone, or a new process that must be initialised again."""


class Refused(Exception):
    """The switch refused a request as a whole. The text is the switch's."""


def _lost(error: grpc.RpcError) -> ConnectionLost:
    return ConnectionLost(f"{error.code().name}: {error.details()}")


class Client:
    """Not thread-safe, except for close(). Another thread calls `gone` when a watch ends by itself."""

    def __init__(self, target: str, connect_timeout: float, call_timeout: float,
                 gone: Callable[[str], None] = lambda words: None, stop: Callable[[], bool] = lambda: False):
        self._timeout = call_timeout
        self._gone = gone
        self._closed = threading.Event()
        self._watches: list[Any] = []
        self._channel = open_channel(target)
        ready = threading.Event()
        self._channel.subscribe(
            lambda state: ready.set() if state is grpc.ChannelConnectivity.READY else None, try_to_connect=True)
        until = time.monotonic() + connect_timeout
        # Waits in short steps to notice a stop by a signal.
        while not ready.wait(0.05):
            if stop() or time.monotonic() > until:
                self._channel.close()
                raise ConnectionLost(f"cannot reach {target}")
        self._stub = orvsdk_pb2_grpc.orvsdk_serviceStub(self._channel)  # type: ignore[no-untyped-call]

    def close(self) -> None:
        self._closed.set()
        for watch in self._watches:
            watch.cancel()
        self._channel.close()

    def _call(self, rpc: str, request: Any, timeout: float | None = None) -> Any:
        try:
            return getattr(self._stub, rpc)(request, timeout=timeout or self._timeout)
        except grpc.RpcError as error:
            raise _lost(error) from None

    @staticmethod
    def _require_ok(status: Any) -> None:
        if status.status == pb.RPC_STATUS_NOT_INITIALIZED:
            raise ConnectionLost("the server process is a new one")
        if status.status != pb.RPC_STATUS_OK:
            raise Refused(status.debug_string or f"status {status.status}")

    def is_initialized(self) -> bool:
        """Whether this server process has been initialised before. Changes nothing."""
        status = self._call("rpc_server_state", pb.rpc_server_state_config_msg())
        return bool(status.status != pb.RPC_STATUS_NOT_INITIALIZED)

    def init(self, tag: int, policy_map: str) -> Any:
        """Returns what the switch holds (rpc_server_init_status_msg)."""
        reply = self._call("rpc_server_init", pb.rpc_server_config_msg(
            ip_route_tag=tag, cbf_nexthop_group_redirect_policy_map_name=policy_map))
        self._require_ok(reply.status)
        return reply

    def resync_start(self) -> None:
        self._require_ok(self._call("rpc_server_resync", pb.rpc_server_resync_msg(
            resync_phase=pb.rpc_server_resync_msg.RESYNC_START)))

    def resync_end(self) -> None:
        # Returns when everything stale is removed, which takes long for a full table.
        self._require_ok(self._call("rpc_server_resync", pb.rpc_server_resync_msg(
            resync_phase=pb.rpc_server_resync_msg.RESYNC_END), 20 * self._timeout))

    def note(self, key: str) -> str:
        """Returns our note with this key, "" if it is not set."""
        request = pb.rpc_server_state_status_msg(key_value_pairs=[pb.rpc_server_key_value_pair_msg(key=key)])
        pairs = self._call("get_rpc_server_state", request).key_value_pairs
        if len(pairs) != 1:
            raise Refused(f"the note {key} cannot be read")
        return str(pairs[0].value)

    def note_is(self, key: str, value: str) -> None:
        self._require_ok(self._call("rpc_server_state", pb.rpc_server_state_config_msg(
            key_value_pairs=[pb.rpc_server_key_value_pair_msg(key=key, value=value)])))

    def program(self, wire: Wire, messages: Iterable[Any], stop: Callable[[], bool]) -> Iterator[Any]:
        """Sends messages of one kind in bulks and yields a status for each, in order. Once `stop` returns true,
        sends no more bulks and ends after those in flight."""
        waiting: deque[tuple[Any, int]] = deque()
        call = getattr(self._stub, wire.rpc)
        for piece in pieces(messages):
            if stop():
                break
            waiting.append((call.future(wire.bulk(bulk=piece), timeout=self._timeout), len(piece)))
            if len(waiting) == BULKS_IN_FLIGHT:
                yield from self._statuses(*waiting.popleft())
        while waiting:
            yield from self._statuses(*waiting.popleft())

    def _statuses(self, call: Any, count: int) -> Iterator[Any]:
        try:
            statuses = call.result().statuses
        except grpc.RpcError as error:
            raise _lost(error) from None
        if len(statuses) != count:
            raise ConnectionLost(f"a bulk of {count} items was answered with {len(statuses)} statuses")
        for status in statuses:
            if status.status == pb.RPC_STATUS_NOT_INITIALIZED:
                raise ConnectionLost("the server process is a new one")
            yield status

    def watch_alive(self) -> None:
        """Opens the watch that ends when the server process ends."""
        self._watch(self._stub.watch_rpc_server_alive(pb.rpc_server_alive_msg()), lambda message: None)

    def watch_sbfd(self, receive: Callable[[Any], None]) -> None:
        """Passes every update to `receive`, in a separate thread. Misses no update after it has returned."""
        opened = threading.Event()

        def take(message: Any) -> None:
            if message.initial:
                opened.set()
            receive(message)

        request = pb.watch_sbfd_echo_session_config_msg(send_initial_message=True)
        self._watch(self._stub.watch_sbfd_echo_session_status_msgs(request), take, opened)
        opened.wait(self._timeout)

    def _watch(self, call: Any, receive: Callable[[Any], None], ended: threading.Event | None = None) -> None:
        def follow() -> None:
            words = "the watch ended"
            try:
                for message in call:
                    receive(message)
            except grpc.RpcError as error:
                words = str(_lost(error))
            if ended:
                ended.set()
            if not self._closed.is_set():
                self._gone(words)

        self._watches.append(call)
        threading.Thread(target=follow, daemon=True).start()

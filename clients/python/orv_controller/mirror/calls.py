"""Calls of every mirror service. The class of a request determines the method: no two methods share one."""
from __future__ import annotations

import importlib
import pkgutil
import threading
from collections.abc import Callable, Generator, Iterable
from dataclasses import dataclass
from typing import Any, TypeVar

import grpc

from .. import pb
from ..channel import pieces
from ..pb import status_pb2
from . import errors

T = TypeVar("T")
# An iterator over a list RPC. The call begins with the first element; close() cancels it.
Listing = Generator[T, None, None]


@dataclass(frozen=True)
class Method:
    path: str
    request: Any
    response: Any
    streams: bool


def _methods() -> dict[Any, Method]:
    methods = {}
    for name in sorted(each.name for each in pkgutil.iter_modules(pb.__path__) if each.name.endswith("_pb2")):
        module = importlib.import_module(f"{pb.__name__}.{name}")
        if module.DESCRIPTOR.package != "orv.remote":
            continue
        for service in module.DESCRIPTOR.services_by_name.values():
            for method in service.methods:
                request = getattr(module, method.input_type.name)
                methods[request] = Method(f"/{service.full_name}/{method.name}", request,
                                          getattr(module, method.output_type.name), method.server_streaming)
    return methods


# By the class of the request.
METHODS = _methods()


def _bulks() -> dict[Any, Method]:
    bulks = {}
    for request, method in METHODS.items():
        items = request.DESCRIPTOR.fields_by_name.get("requests")
        if items is not None:
            bulks[items.message_type.full_name] = method
    return bulks


# By the full name of the items' message.
_BULKS = _bulks()


class Calls:
    """Thread-safe. Every method raises errors.SwitchError."""

    def __init__(self, channel: Any, timeout: float):
        self._channel = channel
        self._timeout = timeout
        self._lock = threading.Lock()
        self._callables: dict[Any, Any] = {}
        self._closed = False

    def close(self) -> None:
        """Cancels the calls in flight. Later ones raise errors.Cancelled."""
        self._closed = True
        self._channel.close()

    def call(self, request: Any, timeout: float | None = None) -> Any:
        """The response of a unary method. `timeout` is in seconds, by default that of the switch."""
        try:
            return self._begin(request, self._timeout if timeout is None else timeout)
        except grpc.RpcError as error:
            raise errors.of_call(error, request) from None

    def list(self, request: Any, item: Callable[[Any], Any]) -> Listing[Any]:
        """What `item` makes of each response of a list method."""
        call = self.open(request)
        try:
            for response in call:
                yield item(response)
        except grpc.RpcError as error:
            raise errors.of_call(error, request) from None
        finally:
            call.cancel()

    def open(self, request: Any) -> Any:
        """Begins the call of a streaming method, without a deadline. The caller reads and cancels it."""
        return self._begin(request, None)

    def apply(self, requests: Iterable[Any]) -> int:
        """Sends requests of one kind in bulks, in order and one bulk at a time, so that nothing is applied behind an
        item that fails. Returns their number; raises the error of the first that fails, with its `request` and with
        the number of those `applied` before it."""
        applied = 0
        for piece in pieces(requests):
            bulk = _BULKS[piece[0].DESCRIPTOR.full_name].request(requests=piece)
            try:
                reply = self.call(bulk)
            except errors.SwitchError as error:
                error.request, error.applied = None, applied
                raise
            applied += reply.count
            if reply.status.code != status_pb2.RPC_RESPONSE_STATUS_CODE_SUCCESS or reply.count != len(piece):
                raise errors.of_item(reply.status, piece[reply.count] if reply.count < len(piece) else None, applied)
        return applied

    def _begin(self, request: Any, timeout: float | None) -> Any:
        try:
            return self._callable(request)(request, timeout=timeout)
        except ValueError:
            if self._closed:
                raise errors.Cancelled("the switch is closed", request) from None
            raise

    def _callable(self, request: Any) -> Any:
        with self._lock:
            known = self._callables.get(type(request))
            if known is None:
                method = METHODS[type(request)]
                make = self._channel.unary_stream if method.streams else self._channel.unary_unary
                known = self._callables[type(request)] = make(
                    method.path, request_serializer=method.request.SerializeToString,
                    response_deserializer=method.response.FromString)
            return known

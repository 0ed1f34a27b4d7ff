"""A switch, as a client of the mirror services sees it."""
from __future__ import annotations

from collections.abc import Callable, Iterable
from typing import Any, TypeVar

import grpc

from .. import channel
from . import errors
from .acls import Acls
from .agent import AgentInfo
from .calls import Calls, Listing
from .fib import Fib
from .follow import Retry
from .intfs import Counters, Intfs, Ports
from .ip_routes import IpRoutes
from .mpls_routes import MplsRoutes, VrfLabels
from .nexthop_groups import NexthopGroups
from .policies import ClassMaps, PolicyMaps, TrafficPolicies
from .service import Link

T = TypeVar("T")


class Switch:
    """Thread-safe. Connects by itself, and again after the server's restart; calls in between raise
    errors.Disconnected, watches wait.

    `target` is an address such as unix:/run/orv.sock or 192.0.2.9:9543, `timeout` that of a call in seconds."""

    def __init__(self, target: str, *, timeout: float = 30.0, retry: Retry = Retry()):
        # A watch that begins again soon must not wait for gRPC's own back-off.
        self._channel = channel.open_channel(target, ("grpc.initial_reconnect_backoff_ms", 100),
                                             ("grpc.max_reconnect_backoff_ms", 1000))
        self._calls = Calls(self._channel, timeout)
        self._link = Link(self._calls, retry)
        self.ip_routes = IpRoutes(self._link)
        self.mpls_routes = MplsRoutes(self._link)
        self.vrf_labels = VrfLabels(self._link)
        self.fib = Fib(self._link)
        self.nexthop_groups = NexthopGroups(self._link)
        self.class_maps = ClassMaps(self._link)
        self.policy_maps = PolicyMaps(self._link)
        self.traffic_policies = TrafficPolicies(self._link)
        self.intfs = Intfs(self._link)
        self.ports = Ports(self._link)
        self.counters = Counters(self._link)
        self.acls = Acls(self._link)
        self.agent = AgentInfo(self._link)

    def __enter__(self) -> Switch:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Ends the watches, cancels the calls in flight and disconnects."""
        for watch in list(self._link.watches):
            watch.close()
        self._calls.close()

    def wait_ready(self, timeout: float) -> None:
        """Returns once the switch can be reached. Raises errors.DeadlineExceeded after `timeout` seconds."""
        ready = grpc.channel_ready_future(self._channel)
        try:
            ready.result(timeout)
        except grpc.FutureTimeoutError:
            raise errors.DeadlineExceeded(f"no connection in {timeout} s") from None
        finally:
            ready.cancel()

    def call(self, request: Any, timeout: float | None = None) -> Any:
        """The response of the unary method that takes this request, for methods that have no function here."""
        return self._calls.call(request, timeout)

    def list(self, request: Any, item: Callable[[Any], T]) -> Listing[T]:
        """What `item` makes of each response of the list method that takes this request."""
        return self._calls.list(request, item)

    def apply(self, requests: Iterable[Any]) -> int:
        """Sends requests of one kind in bulks; see Calls.apply."""
        return self._calls.apply(requests)

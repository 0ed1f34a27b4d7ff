"""The FIB of the default VRF. The daemon serves it with --fib."""
from __future__ import annotations

from ..pb import fib_pb2 as rpc
from ..pb import types_pb2 as pb
from .calls import Listing
from .follow import Follow
from .service import Service
from .values import prefix


class Fib(Service):
    def routes(self) -> Listing[pb.FibRoute]:
        return self._calls.list(rpc.FibRoutesRequest(), lambda response: response.fib_route)

    def fecs(self) -> Listing[pb.FibFec]:
        return self._calls.list(rpc.FibFecsRequest(), lambda response: response.fib_fec)

    def route(self, prefix_: str) -> pb.FibRoute | None:
        route = self._calls.call(rpc.FibRouteRequest(key=pb.FibRouteKey(prefix=prefix(prefix_)))).fib_route
        return route if route.route_key.prefix.network else None

    def fec(self, fec_id: int) -> pb.FibFec | None:
        fec = self._calls.call(rpc.FibFecRequest(key=pb.FibFecKey(fec_id=fec_id))).fib_fec
        return fec if fec.fec_key.fec_id else None

    def follow(self) -> Follow[rpc.FibWatchResponse]:
        """The FECs and then the routes, as `on_fec_set` and `on_route_set`; then every change."""
        return self._watch(rpc.FibWatchRequest(ack=True), dump=self._dump)

    def _dump(self) -> Listing[rpc.FibWatchResponse]:
        # A route names its FEC, so FECs come first.
        yield from self._calls.list(rpc.FibFecsRequest(), lambda r: rpc.FibWatchResponse(on_fec_set=r.fib_fec))
        yield from self._calls.list(rpc.FibRoutesRequest(), lambda r: rpc.FibWatchResponse(on_route_set=r.fib_route))

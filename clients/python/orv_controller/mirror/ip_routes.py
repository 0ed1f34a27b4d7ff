"""IP routes and their vias."""
from __future__ import annotations

from collections.abc import Iterable
from contextlib import AbstractContextManager
from typing import NamedTuple

from ..pb import ip_route_pb2 as rpc
from ..pb import types_pb2 as pb
from .calls import Listing
from .service import Service
from .values import address, intf

# In place of a VRF in lists: every VRF, the default one first.
ALL_VRFS = "all"


class RouteAndVias(NamedTuple):
    route: pb.IpRoute
    vias: tuple[pb.IpRouteVia, ...]


class IpRoutes(Service):
    """An empty VRF is the default one. There is no watch; Fib has one for routes as they are forwarded."""

    def list(self, vrf: str = "", *, vni: int = 0, vtep: str = "", vxlan_intf: str | None = None
             ) -> Listing[RouteAndVias]:
        """The routes of a VRF or of ALL_VRFS, by key. `vni`, `vtep` (an address) and `vxlan_intf` select routes with
        a via that has all of those given. A route does not say in which VRF it is."""
        request = rpc.IpRoutesRequest(vrf_name=vrf, vni=vni, vtep_addr=address(vtep), embed_vias=True,
                                      vxlan_intf_id=None if vxlan_intf is None else intf(vxlan_intf))
        return self._calls.list(request, lambda response: RouteAndVias(response.route, tuple(response.vias)))

    def vias(self, key: pb.IpRouteKey, vrf: str = "") -> Listing[pb.IpRouteVia]:
        return self._calls.list(rpc.IpRouteViasRequest(vrf_name=vrf, key=key), lambda response: response.via)

    def get(self, key: pb.IpRouteKey, vrf: str = "") -> pb.IpRoute | None:
        route = self._calls.call(rpc.IpRouteRequest(vrf_name=vrf, key=key)).ip_route
        return route if route.key.prefix.network else None

    def exists(self, key: pb.IpRouteKey, vrf: str = "") -> bool:
        return bool(self._calls.call(rpc.IpRouteExistsRequest(vrf_name=vrf, key=key)).exists)

    def via_exists(self, via: pb.IpRouteVia, vrf: str = "") -> bool:
        """Whether the route has this via; with nothing but a `route_key`, whether it has any."""
        return bool(self._calls.call(rpc.IpRouteViaExistsRequest(vrf_name=vrf, via=via)).exists)

    def set(self, route: pb.IpRoute, vias: Iterable[pb.IpRouteVia] = (), *, vrf: str = "",
            replace_vias: bool = False) -> None:
        """Sets a route and adds its vias, each with its `route_key`. With `replace_vias` the other vias of the route
        are deleted, if the route itself stays as it is. If a via is refused without it, the route is deleted."""
        self._calls.call(set_request(route, vias, vrf=vrf, replace_vias=replace_vias))

    def set_all(self, requests: Iterable[rpc.IpRouteSetRequest]) -> int:
        """Many, from set_request. Returns their number; see Calls.apply for errors, here and in the other bulks."""
        return self._apply(requests)

    def delete(self, key: pb.IpRouteKey, vrf: str = "") -> None:
        self._calls.call(rpc.IpRouteDelRequest(vrf_name=vrf, key=key))

    def delete_all(self, keys: Iterable[pb.IpRouteKey], vrf: str = "") -> int:
        return self._apply(rpc.IpRouteDelRequest(vrf_name=vrf, key=key) for key in keys)

    def set_vias(self, vias: Iterable[pb.IpRouteVia], vrf: str = "") -> int:
        """Adds vias to routes that exist, or overwrites those with the same hop, interface and tunnel."""
        return self._apply(rpc.IpRouteViaSetRequest(vrf_name=vrf, via=via) for via in vias)

    def delete_vias(self, vias: Iterable[pb.IpRouteVia], vrf: str = "") -> int:
        """A via with nothing but a `route_key` stands for all vias of the route."""
        return self._apply(rpc.IpRouteViaDelRequest(vrf_name=vrf, via=via) for via in vias)

    def tag(self) -> int:
        return int(self._calls.call(rpc.TagRequest()).tag)

    def set_tag(self, tag: int) -> None:
        self._calls.call(rpc.TagIsRequest(tag=tag))

    def replay(self) -> AbstractContextManager[None]:
        """Inside of the block, set everything without `replace_vias`; at its end the rest is removed."""
        return self._replayed(rpc.IpRouteResyncInitRequest(), rpc.IpRouteResyncCompleteRequest())


def set_request(route: pb.IpRoute, vias: Iterable[pb.IpRouteVia] = (), *, vrf: str = "",
                replace_vias: bool = False) -> rpc.IpRouteSetRequest:
    return rpc.IpRouteSetRequest(ip_route=route, vias=vias, vias_action=int(replace_vias), vrf_name=vrf)

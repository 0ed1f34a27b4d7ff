"""MPLS routes, their acknowledgements, and labels that lead into a VRF."""
from __future__ import annotations

import threading
from collections.abc import Iterable
from contextlib import AbstractContextManager

from ..pb import mpls_route_pb2 as rpc
from ..pb import mpls_vrf_label_pb2 as vrf_rpc
from ..pb import types_pb2 as pb
from . import errors
from .calls import Listing
from .follow import CaughtUp, Follow, Resynced
from .service import Service
from .values import mpls_label


class NotProgrammed(errors.SwitchError):
    """Hardware refused a version of a route. `request` is its report."""


class MplsRoutes(Service):
    def list(self) -> Listing[pb.MplsRoute]:
        """The configured routes, by labels, then by metric."""
        return self._calls.list(rpc.MplsRoutesRequest(), lambda response: response.route)

    def vias(self, key: pb.MplsRouteKey) -> Listing[pb.MplsRouteVia]:
        """The configured vias of a route."""
        return self._calls.list(rpc.MplsRouteViasRequest(route_key=key), lambda response: response.via)

    def statuses(self) -> Listing[pb.MplsRouteStatus]:
        """The routes in hardware, in the order of list()."""
        return self._calls.list(rpc.MplsRouteStatusesRequest(), lambda response: response.status)

    def via_statuses(self, key: pb.MplsRouteKey) -> Listing[pb.MplsRouteVia]:
        """The vias of a route in hardware."""
        return self._calls.list(rpc.MplsRouteViaStatusesRequest(route_key=key), lambda response: response.via)

    def exists(self, key: pb.MplsRouteKey) -> bool:
        return bool(self._calls.call(rpc.MplsRouteExistsRequest(route_key=key)).exists)

    def metric(self, key: pb.MplsRouteKey) -> int:
        """The smallest metric of the routes with these labels; 0 also if there is none."""
        return int(self._calls.call(rpc.MplsRouteMetricRequest(route_key=key)).metric)

    def fec_id(self, key: pb.MplsRouteKey) -> int:
        """0 if hardware does not have the route."""
        return int(self._calls.call(rpc.MplsRouteFecIdRequest(route_key=key)).fec_id.id)

    def set(self, route: pb.MplsRoute, vias: Iterable[pb.MplsRouteVia] = (), *, replace_vias: bool = False) -> None:
        """Sets a route and adds its vias, each with its `route_key`. With `replace_vias` the other vias of the route
        are deleted. If a via is refused without it, the route is deleted."""
        self._calls.call(set_request(route, vias, replace_vias=replace_vias))

    def set_all(self, requests: Iterable[rpc.MplsRouteSetRequest]) -> int:
        """Many, from set_request."""
        return self._apply(requests)

    def delete(self, key: pb.MplsRouteKey) -> None:
        self._calls.call(rpc.MplsRouteDelRequest(route_key=key))

    def delete_all(self, keys: Iterable[pb.MplsRouteKey]) -> int:
        return self._apply(rpc.MplsRouteDelRequest(route_key=key) for key in keys)

    def set_vias(self, vias: Iterable[pb.MplsRouteVia]) -> int:
        """Adds vias to routes that exist, or overwrites those with the same hop and interface."""
        return self._apply(rpc.MplsRouteViaSetRequest(via=via) for via in vias)

    def delete_vias(self, vias: Iterable[pb.MplsRouteVia]) -> int:
        """A via with nothing but a `route_key` stands for all vias of the route."""
        return self._apply(rpc.MplsRouteViaDelRequest(via=via) for via in vias)

    def follow(self) -> Follow[rpc.MplsRouteWatchResponse]:
        """The routes, then what hardware does with routes and FECs."""
        return self._watch(rpc.MplsRouteWatchRequest(
            all=True, fields_control=rpc.MplsRouteFieldsControl(fields=[rpc.MPLS_ROUTE_FIELD_ALL])))

    def follow_acknowledgements(self) -> Follow[rpc.MplsIntegratedAckResponse]:
        """The versioned routes over groups that hardware has, then each further version of a route or of its group.
        Reports of the present state may also come after CaughtUp."""
        return self._watch(rpc.MplsIntegratedAckRequest(ack=True))

    def wait_programmed(self, route: pb.MplsRoute, group_version: int = 0, timeout: float = 30.0
                        ) -> rpc.MplsRouteViaSetVersionInfo:
        """Waits until hardware has this version of the route and its group, in version `group_version` unless that is
        0. Returns hardware's report, also if it came before the call.

        A later version that overtakes this one does not count. To wait for many routes, use follow_acknowledgements.
        Raises NotProgrammed if hardware refused the version, DeadlineExceeded after `timeout` seconds, ValueError for a
        route without a version, because hardware does not report it."""
        if not route.version_id:
            raise ValueError("the route has no version")
        follow = self.follow_acknowledgements()
        timer = threading.Timer(timeout, follow.close)
        timer.daemon = True
        timer.start()
        try:
            for event in follow:
                if isinstance(event, (Resynced, CaughtUp)):
                    continue
                report = event.mpls_route_via_set_version_info
                if report.route_key != route.key or report.version_id != route.version_id:
                    continue
                if report.hw_state == pb.FEC_HW_PROGRAMMING_STATE_FAILURE:
                    raise NotProgrammed("hardware refused this version of the route", report)
                if report.hw_state == pb.FEC_HW_PROGRAMMING_STATE_SUCCESS and group_version in (
                        0, report.nexthop_group_version_info.version_id):
                    return report
        finally:
            timer.cancel()
            follow.close()
        raise errors.DeadlineExceeded(f"no acknowledgement in {timeout} s", route)

    def replay(self) -> AbstractContextManager[None]:
        """Inside of the block, set everything; at its end the rest is removed."""
        return self._replayed(rpc.ResyncMplsRouteInitRequest(), rpc.ResyncMplsRouteCompleteRequest())


def set_request(route: pb.MplsRoute, vias: Iterable[pb.MplsRouteVia] = (), *, replace_vias: bool = False
                ) -> rpc.MplsRouteSetRequest:
    return rpc.MplsRouteSetRequest(route=route, vias=vias, vias_action=(
        rpc.MPLS_ROUTE_VIAS_ACTION_REPLACE if replace_vias else rpc.MPLS_ROUTE_VIAS_ACTION_ADD))


class VrfLabels(Service):
    """Labels that are popped, after which the payload is looked up in a VRF."""

    def list(self) -> Listing[pb.MplsVrfLabel]:
        return self._calls.list(vrf_rpc.MplsVrfLabelsRequest(), lambda response: response.mpls_vrf_label)

    def vrf(self, label: int) -> str:
        """"" if the label has none."""
        return str(self._calls.call(vrf_rpc.MplsVrfLabelRequest(label=mpls_label(label))).mpls_vrf_label.vrf_name)

    def set(self, label: int, vrf: str) -> None:
        self._calls.call(_vrf_label(label, vrf))

    def set_all(self, vrfs: Iterable[tuple[int, str]]) -> int:
        """Labels with their VRFs."""
        return self._apply(_vrf_label(label, vrf) for label, vrf in vrfs)

    def delete(self, label: int) -> None:
        self._calls.call(vrf_rpc.MplsVrfLabelDelRequest(label=mpls_label(label)))

    def delete_all(self, labels: Iterable[int]) -> int:
        return self._apply(vrf_rpc.MplsVrfLabelDelRequest(label=mpls_label(label)) for label in labels)

    def replay(self) -> AbstractContextManager[None]:
        """Inside of the block, set everything; at its end the rest is removed."""
        return self._replayed(vrf_rpc.MplsVrfLabelResyncInitRequest(), vrf_rpc.MplsVrfLabelResyncCompleteRequest())


def _vrf_label(label: int, vrf: str) -> vrf_rpc.MplsVrfLabelSetRequest:
    return vrf_rpc.MplsVrfLabelSetRequest(mpls_vrf_label=pb.MplsVrfLabel(vrf_name=vrf, label=mpls_label(label)))

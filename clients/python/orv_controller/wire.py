"""Converts items of the state to messages: for each kind its bulk RPC, its set and its delete."""
from __future__ import annotations

import ipaddress
from collections.abc import Callable
from dataclasses import dataclass
from typing import Any

from .pb import orvsdk_pb2 as pb
from .state import Group, Label, Nexthop, Redirect, Route, Session, SessionKey, Tunnel


def address_msg(text: str) -> Any:
    return pb.ip_address_msg(address=ipaddress.ip_address(text).packed if text else b"")


def prefix_msg(text: str) -> Any:
    address, length = text.split("/")
    return pb.ip_prefix_msg(network=address_msg(address), prefix_length=int(length))


def session_key_msg(key: SessionKey) -> Any:
    return pb.sbfd_echo_session_key_msg(nexthop=address_msg(key.nexthop), nexthop_intf=key.intf,
                                        label_stack=key.labels, dscp=key.dscp, mpls_exp=key.exp)


def session_key(message: Any) -> SessionKey:
    """The reverse of session_key_msg. Raises ValueError for an address of a wrong length."""
    raw = message.nexthop.address
    return SessionKey(str(ipaddress.ip_address(raw)) if raw else "", message.nexthop_intf, tuple(message.label_stack),
                      message.dscp, message.mpls_exp)


def nexthop_msg(nexthop: Nexthop) -> Any:
    message = pb.nexthop_msg(mpls_labels=nexthop.labels, intf=nexthop.intf, weight=nexthop.weight,
                             mpls_operation=pb.mpls_operation_enum.Value(f"MPLS_OPERATION_{nexthop.op.upper()}"))
    if nexthop.address:
        message.address.CopyFrom(address_msg(nexthop.address))
    if nexthop.sbfd:
        message.sbfd_session.CopyFrom(session_key_msg(nexthop.sbfd))
    return message


def _set_group(group: Group) -> Any:
    return pb.nexthop_group_msg(name=group.name, nexthops=map(nexthop_msg, group.nexthops),
                                backup_nexthops=map(nexthop_msg, group.backup_nexthops),
                                counters_unshared=group.counters_unshared, autosize=group.autosize)


def _delete_group(group: Group) -> Any:
    return pb.nexthop_group_msg(name=group.name, delete=True)


def _set_route(route: Route) -> Any:
    return pb.ip_route_msg(prefix=prefix_msg(route.prefix), tag=route.tag, nexthop_group_name=route.group)


# A message without a group is a delete, here and for tunnels.
def _delete_route(route: Route) -> Any:
    return pb.ip_route_msg(prefix=prefix_msg(route.prefix))


def _set_tunnel(tunnel: Tunnel) -> Any:
    return pb.nexthop_group_tunnel_msg(prefix=prefix_msg(tunnel.endpoint), nexthop_group_name=tunnel.group,
                                       igp_metric=tunnel.metric)


def _delete_tunnel(tunnel: Tunnel) -> Any:
    return pb.nexthop_group_tunnel_msg(prefix=prefix_msg(tunnel.endpoint))


def _set_label(label: Label) -> Any:
    message = pb.mpls_route_msg(label=label.label)
    if label.nexthop:
        message.nexthop_msg.CopyFrom(nexthop_msg(label.nexthop))
    elif label.group:
        operation = pb.mpls_route_msg.forward_nexthop_group_msg.mpls_operation_enum.Value(
            f"GROUP_MPLS_OPERATION_{label.op.upper()}")
        message.nexthop_group_msg.name = label.group
        message.nexthop_group_msg.mpls_operation = operation
    else:
        message.popAndForward = label.vrf
    return message


def _delete_label(label: Label) -> Any:
    return pb.mpls_route_msg(label=label.label, delete=True)


def _set_redirect(redirect: Redirect) -> Any:
    return pb.cbf_nexthop_group_redirect_msg(match_ipv4_dscp=redirect.ipv4_dscp, match_ipv6_dscp=redirect.ipv6_dscp,
                                             match_nexthop_group_name=redirect.match,
                                             redirect_nexthop_group_name=redirect.redirect)


def _delete_redirect(redirect: Redirect) -> Any:
    return pb.cbf_nexthop_group_redirect_msg(match_nexthop_group_name=redirect.match,
                                             redirect_nexthop_group_name=redirect.redirect, delete=True)


def _set_session(session: Session) -> Any:
    return pb.sbfd_echo_session_msg(key=session_key_msg(session.session), rtt_enabled=session.rtt,
                                    track_intf_state=session.track_intf, min_tx=session.min_tx,
                                    detectionMultiplier=session.multiplier)


def _delete_session(session: Session) -> Any:
    return pb.sbfd_echo_session_msg(key=session_key_msg(session.session), delete=True)


@dataclass(frozen=True)
class Wire:
    """How items of one kind are sent. `rpc` is the bulk RPC, `bulk` its request."""

    rpc: str
    bulk: Any
    set: Callable[[Any], Any]
    delete: Callable[[Any], Any]


WIRES = {
    "groups": Wire("nexthop_group_bulk", pb.nexthop_group_bulk_msg, _set_group, _delete_group),
    "routes": Wire("ip_route_bulk", pb.ip_route_bulk_msg, _set_route, _delete_route),
    "tunnels": Wire("nexthop_group_tunnel_bulk", pb.nexthop_group_tunnel_bulk_msg, _set_tunnel, _delete_tunnel),
    "labels": Wire("mpls_route_bulk", pb.mpls_route_bulk_msg, _set_label, _delete_label),
    "redirects": Wire("cbf_nexthop_group_redirect_bulk", pb.cbf_nexthop_group_redirect_bulk_msg, _set_redirect,
                      _delete_redirect),
    "sessions": Wire("sbfd_echo_session_bulk", pb.sbfd_echo_session_bulk_msg, _set_session, _delete_session),
}

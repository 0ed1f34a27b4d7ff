"""Makes keys and addresses of messages from texts, and texts from them."""
from __future__ import annotations

import ipaddress
from collections.abc import Iterable
from typing import Union

from ..pb import types_pb2 as pb

# A label, or a stack of labels, outermost first.
Labels = Union[int, Iterable[int]]


def address(text: str) -> bytes:
    """Raises ValueError. "" is no address."""
    return ipaddress.ip_address(text).packed if text else b""


def address_text(packed: bytes) -> str:
    return str(ipaddress.ip_address(packed)) if packed else ""


def prefix(text: str) -> pb.Prefix:
    """From "192.0.2.0/24". Raises ValueError, also for bits beyond the length."""
    network = ipaddress.ip_network(text)
    return pb.Prefix(network=network.network_address.packed, prefix_length=network.prefixlen)


def prefix_text(message: pb.Prefix) -> str:
    """"" for the null prefix."""
    return f"{address_text(message.network)}/{message.prefix_length}" if message.network else ""


def intf(name: str) -> pb.IntfId:
    return pb.IntfId(name=name)


def ip_route_key(prefix_: str, preference: int | None = None) -> pb.IpRouteKey:
    """Without a preference the switch's default, 1."""
    return pb.IpRouteKey(prefix=prefix(prefix_), preference=preference)


def mpls_label(number: int) -> pb.MplsLabel:
    return pb.MplsLabel(label=number)


def mpls_route_key(labels: Labels, metric: int = 0) -> pb.MplsRouteKey:
    return pb.MplsRouteKey(labels=map(mpls_label, [labels] if isinstance(labels, int) else labels), metric=metric)


def labels_of(key: pb.MplsRouteKey) -> tuple[int, ...]:
    return tuple(each.label for each in key.labels)

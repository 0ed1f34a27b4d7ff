"""The desired state: comparable values, each with a key that is unique in its kind.

This module is independent of files and of the wire.
"""
from __future__ import annotations

from dataclasses import dataclass, field
from typing import Union


@dataclass(frozen=True, slots=True)
class SessionKey:
    """Names an sBFD echo session. Addresses are strings in their shortest form."""

    nexthop: str
    intf: str = ""
    labels: tuple[int, ...] = ()
    dscp: int = 0
    exp: int = 0

    def __str__(self) -> str:
        text = self.nexthop + (f"%{self.intf}" if self.intf else "")
        if self.labels:
            text += " labels " + "/".join(map(str, self.labels))
        if self.dscp:
            text += f" dscp {self.dscp}"
        return text + (f" exp {self.exp}" if self.exp else "")


@dataclass(frozen=True, slots=True)
class Nexthop:
    """One forwarding entry. Labels are outermost last; `address` is "" for none."""

    intf: str = ""
    address: str = ""
    labels: tuple[int, ...] = ()
    op: str = "none"
    weight: int = 1
    sbfd: SessionKey | None = None

    def __str__(self) -> str:
        text = f"{self.address or 'any'}%{self.intf}" if self.intf else self.address or "nowhere"
        if self.op != "none":
            text += " " + " ".join([self.op, *(["/".join(map(str, self.labels))] if self.labels else [])])
        if self.weight != 1:
            text += f" x{self.weight}"
        return text + (f" sbfd({self.sbfd})" if self.sbfd else "")


@dataclass(frozen=True, slots=True)
class Group:
    name: str
    nexthops: tuple[Nexthop, ...]
    backup_nexthops: tuple[Nexthop, ...] = ()
    counters_unshared: bool = False
    autosize: bool = False

    @property
    def key(self) -> str:
        return self.name

    def __str__(self) -> str:
        text = "[" + ", ".join(map(str, self.nexthops)) + "]"
        if self.backup_nexthops:
            text += " backup [" + ", ".join(map(str, self.backup_nexthops)) + "]"
        return text + (" unshared" if self.counters_unshared else "") + (" autosize" if self.autosize else "")


@dataclass(frozen=True, slots=True)
class Route:
    prefix: str
    group: str
    tag: int = 0

    @property
    def key(self) -> str:
        return self.prefix

    def __str__(self) -> str:
        return self.group + (f" tag {self.tag}" if self.tag else "")


@dataclass(frozen=True, slots=True)
class Tunnel:
    endpoint: str
    group: str
    metric: int = 0

    @property
    def key(self) -> str:
        return self.endpoint

    def __str__(self) -> str:
        return self.group + (f" metric {self.metric}" if self.metric else "")


@dataclass(frozen=True, slots=True)
class Label:
    """An incoming label with one forwarding: a next hop, a group (with `op`) or a VRF."""

    label: int
    nexthop: Nexthop | None = None
    group: str = ""
    op: str = "forward"
    vrf: str = ""

    @property
    def key(self) -> int:
        return self.label

    def __str__(self) -> str:
        if self.nexthop:
            return str(self.nexthop)
        return f"{self.op} {self.group}" if self.group else f"vrf {self.vrf}"


@dataclass(frozen=True, slots=True)
class Redirect:
    match: str
    redirect: str
    ipv4_dscp: tuple[int, ...] = ()
    ipv6_dscp: tuple[int, ...] = ()

    @property
    def key(self) -> tuple[str, str]:
        return (self.match, self.redirect)

    def __str__(self) -> str:
        def numbers(values: tuple[int, ...]) -> str:
            return ",".join(map(str, values)) or "-"

        return f"dscp {numbers(self.ipv4_dscp)} ipv6 {numbers(self.ipv6_dscp)}"


@dataclass(frozen=True, slots=True)
class Session:
    """`min_tx` is in milliseconds. `min_tx` and `multiplier` are both 0 for the switch's default."""

    session: SessionKey
    rtt: bool = False
    track_intf: bool = False
    min_tx: int = 0
    multiplier: int = 0

    @property
    def key(self) -> SessionKey:
        return self.session

    def __str__(self) -> str:
        text = f"{self.min_tx} ms x {self.multiplier}" if self.min_tx else "default interval"
        return text + (" rtt" if self.rtt else "") + (" track" if self.track_intf else "")


Item = Union[Group, Route, Tunnel, Label, Redirect, Session]
Key = Union[str, int, tuple[str, str], SessionKey]
Table = dict[Key, Item]

# The order of a replay. Groups come first, so that objects that point at them resolve at once.
KINDS = ("groups", "routes", "tunnels", "labels", "redirects", "sessions")


def key_text(key: Key) -> str:
    return " -> ".join(key) if isinstance(key, tuple) else str(key)


@dataclass(frozen=True, slots=True)
class Config:
    """Parameters of init."""

    tag: int = 0
    policy_map: str = ""


@dataclass(slots=True)
class State:
    """All items, by kind and key."""

    config: Config = field(default_factory=Config)
    tables: dict[str, Table] = field(default_factory=lambda: {kind: {} for kind in KINDS})

    def count(self) -> int:
        return sum(map(len, self.tables.values()))

    def copy(self) -> State:
        return State(self.config, {kind: dict(table) for kind, table in self.tables.items()})

    def summary(self) -> str:
        parts = [f"{len(self.tables[kind])} {kind}" for kind in KINDS if self.tables[kind]]
        return ", ".join(parts) or "nothing"

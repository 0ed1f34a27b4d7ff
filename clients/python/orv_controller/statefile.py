"""The state file: reading and checking it, and writing a state in the same format.

All problems are reported at once, each with its place ("routes[3].prefix"). The checks
refuse what the switch would refuse, and what would harm it.
"""
from __future__ import annotations

import hashlib
import ipaddress
import json
from collections.abc import Callable, Iterable
from pathlib import Path
from typing import Any

from .state import (KINDS, Config, Group, Item, Key, Label, Nexthop, Redirect, Route, Session, SessionKey, State,
                    Tunnel, key_text)

MAX_LABEL = (1 << 20) - 1
MAX_SLOTS = 1 << 16
# The maximum length of a group name in the switch's override table.
MAX_REDIRECT_NAME = 128
OPERATIONS = ("none", "push", "pop", "swap", "forward")
_SHOWN_PROBLEMS = 20


class BadState(Exception):
    """An unusable state file. `problems` are lines for the operator."""

    def __init__(self, problems: list[str]):
        super().__init__("\n".join(problems))
        self.problems = problems


class _Bad(Exception):
    """One problem at one place."""


def _no_duplicates(pairs: list[tuple[str, Any]]) -> dict[str, Any]:
    members: dict[str, Any] = {}
    for name, value in pairs:
        if name in members:
            raise ValueError(f"member '{name}' appears twice in one object")
        members[name] = value
    return members


def _read_document(path: Path) -> Any:
    try:
        text = path.read_text(encoding="utf-8")
    except (OSError, UnicodeDecodeError) as error:
        raise BadState([f"{path}: cannot be read: {error}"]) from None
    if path.suffix in (".yaml", ".yml"):
        try:
            import yaml
        except ImportError:
            raise BadState([f"{path}: YAML needs python3-yaml; JSON works without"]) from None
        try:
            return yaml.load(text, Loader=getattr(yaml, "CSafeLoader", yaml.SafeLoader))
        except (yaml.YAMLError, ValueError, TypeError) as error:
            raise BadState([f"{path}: not YAML: {' '.join(str(error).split())}"]) from None
    try:
        return json.loads(text, object_pairs_hook=_no_duplicates)
    except (ValueError, RecursionError) as error:
        raise BadState([f"{path}: not JSON: {error}"]) from None


class _Members:
    """One object of the file. Each member is taken once; finish() refuses members that are left."""

    def __init__(self, value: Any, place: str):
        if not isinstance(value, dict):
            raise _Bad(f"{place or 'the file'}: {_shown(value)}, expected an object")
        self._left = dict(value)
        self._place = place

    def at(self, name: str) -> str:
        return f"{self._place}.{name}" if self._place else name

    def take(self, name: str, default: Any = None) -> Any:
        return self._left.pop(name, default)

    def has(self, name: str) -> bool:
        return name in self._left

    def text(self, name: str, default: str | None = None) -> str:
        value = self.take(name, default)
        if not isinstance(value, str) or (default is None and not value):
            raise _Bad(f"{self.at(name)}: {_shown(value)}, expected a text" +
                       (" that is not empty" if default is None else ""))
        return value

    def flag(self, name: str) -> bool:
        value = self.take(name, False)
        if not isinstance(value, bool):
            raise _Bad(f"{self.at(name)}: {_shown(value)}, expected true or false")
        return value

    def number(self, name: str, most: int, default: int | None = 0) -> int:
        return _number(self.take(name, default), most, self.at(name))

    def numbers(self, name: str, most: int) -> tuple[int, ...]:
        return tuple(_number(value, most, f"{self.at(name)}[{i}]") for i, value in enumerate(self.items(name)))

    def items(self, name: str) -> list[Any]:
        value = self.take(name, [])
        if not isinstance(value, list):
            raise _Bad(f"{self.at(name)}: {_shown(value)}, expected a list")
        return value

    def address(self, name: str, required: bool = False) -> str:
        value = self.take(name, "")
        if value == "" and not required:
            return ""
        try:
            if not isinstance(value, str) or "%" in value:
                raise ValueError
            return str(ipaddress.ip_address(value))
        except ValueError:
            raise _Bad(f"{self.at(name)}: {_shown(value)}, expected an IPv4 or IPv6 address") from None

    def prefix(self, name: str) -> str:
        value = self.take(name)
        try:
            if not isinstance(value, str) or "/" not in value or "%" in value:
                raise ValueError("an IPv4 or IPv6 prefix such as 192.0.2.0/24")
            network = ipaddress.ip_network(value, strict=False)
            if str(network.network_address) != str(ipaddress.ip_address(value.split("/")[0])):
                raise ValueError(f"no bits beyond the prefix length, as in {network}")
            return str(network)
        except ValueError as error:
            expected = str(error) if str(error).startswith(("an ", "no ")) else "an IPv4 or IPv6 prefix"
            raise _Bad(f"{self.at(name)}: {_shown(value)}, expected {expected}") from None

    def finish(self) -> None:
        if self._left:
            raise _Bad(f"{self.at(next(iter(self._left)))}: no such member")


def _shown(value: Any) -> str:
    if value is None:
        return "missing"
    text = json.dumps(value, ensure_ascii=False, default=str)
    return text if len(text) <= 60 else text[:57] + "..."


def _number(value: Any, most: int, place: str) -> int:
    if isinstance(value, bool) or not isinstance(value, int) or not 0 <= value <= most:
        raise _Bad(f"{place}: {_shown(value)}, expected a whole number from 0 to {most}")
    return value


def _session_key(members: _Members) -> SessionKey:
    return SessionKey(members.address("nexthop", required=True), members.text("intf", ""),
                      members.numbers("labels", MAX_LABEL), members.number("dscp", 255), members.number("exp", 7))


def _nexthop(value: Any, place: str) -> Nexthop:
    members = _Members(value, place)
    sbfd = None
    if members.has("sbfd"):
        inner = _Members(members.take("sbfd"), f"{place}.sbfd")
        sbfd = _session_key(inner)
        inner.finish()
    op = members.text("op", "none")
    if op not in OPERATIONS:
        raise _Bad(f"{members.at('op')}: {_shown(op)}, expected one of {', '.join(OPERATIONS)}")
    result = Nexthop(members.text("intf", ""), members.address("address"), members.numbers("labels", MAX_LABEL), op,
                     members.number("weight", MAX_SLOTS, 1), sbfd)
    members.finish()
    return result


def _nexthops(members: _Members, name: str) -> tuple[Nexthop, ...]:
    entries = tuple(_nexthop(value, f"{members.at(name)}[{i}]") for i, value in enumerate(members.items(name)))
    slots = sum(entry.weight for entry in entries)
    if slots > MAX_SLOTS:
        raise _Bad(f"{members.at(name)}: {slots} slots by weight, expected at most {MAX_SLOTS}")
    return entries


def _group(members: _Members, config: Config) -> Group:
    group = Group(members.text("name"), _nexthops(members, "nexthops"), _nexthops(members, "backup_nexthops"),
                  members.flag("counters_unshared"), members.flag("autosize"))
    if not group.nexthops:
        raise _Bad(f"{members.at('nexthops')}: empty, expected at least one next hop")
    return group


def _route(members: _Members, config: Config) -> Route:
    route = Route(members.prefix("prefix"), members.text("group"), members.number("tag", 0xFFFFFFFF, config.tag))
    if config.tag and route.tag != config.tag:
        raise _Bad(f"{members.at('tag')}: {route.tag}, expected config.tag, which is {config.tag}")
    return route


def _tunnel(members: _Members, config: Config) -> Tunnel:
    return Tunnel(members.prefix("endpoint"), members.text("group"), members.number("metric", 0xFFFFFFFF))


def _label(members: _Members, config: Config) -> Label:
    number = members.number("label", MAX_LABEL, None)
    given = [name for name in ("nexthop", "group", "vrf") if members.has(name)]
    if len(given) != 1:
        raise _Bad(f"{members.at('label')}: {' and '.join(given) or 'no forwarding'}, "
                   "expected one of nexthop, group, vrf")
    if given == ["vrf"]:
        return Label(number, vrf=members.text("vrf"))
    if given == ["group"]:
        op = members.text("op", "forward")
        if op not in ("forward", "pop"):
            raise _Bad(f"{members.at('op')}: {_shown(op)}, expected forward or pop")
        return Label(number, group=members.text("group"), op=op)
    place = members.at("nexthop")
    nexthop = _nexthop(members.take("nexthop"), place)
    wanted = {"pop": 0, "push": 1, "swap": 1}.get(nexthop.op)
    if wanted is None:
        raise _Bad(f"{place}.op: {_shown(nexthop.op)}, expected push, pop or swap")
    if len(nexthop.labels) != wanted:
        raise _Bad(f"{place}.labels: {len(nexthop.labels)} labels, expected {wanted} with {nexthop.op}")
    return Label(number, nexthop=nexthop)


def _redirect(members: _Members, config: Config) -> Redirect:
    redirect = Redirect(members.text("match"), members.text("redirect"),
                        tuple(sorted(set(members.numbers("ipv4_dscp", 63)))),
                        tuple(sorted(set(members.numbers("ipv6_dscp", 63)))))
    for name, value in (("match", redirect.match), ("redirect", redirect.redirect)):
        if len(value.encode()) > MAX_REDIRECT_NAME:
            raise _Bad(f"{members.at(name)}: {len(value.encode())} bytes, expected at most {MAX_REDIRECT_NAME}")
    if not redirect.ipv4_dscp and not redirect.ipv6_dscp:
        raise _Bad(f"{members.at('ipv4_dscp')}: no DSCP of either family, expected at least one")
    if not config.policy_map:
        raise _Bad(f"{members.at('match')}: a redirect, but config.policy_map is not given")
    return redirect


def _session(members: _Members, config: Config) -> Session:
    session = Session(_session_key(members), members.flag("rtt"), members.flag("track_intf"),
                      members.number("min_tx", 0xFFFF), members.number("multiplier", 0xFF))
    if bool(session.min_tx) != bool(session.multiplier):
        raise _Bad(f"{members.at('min_tx')}: {session.min_tx} with multiplier {session.multiplier}, "
                   "expected both or none")
    return session


_READERS: dict[str, Callable[[_Members, Config], Item]] = {
    "groups": _group, "routes": _route, "tunnels": _tunnel, "labels": _label, "redirects": _redirect,
    "sessions": _session}


def parse(document: Any) -> State:
    """Returns the state that a document describes. Raises BadState with every problem."""
    problems: list[str] = []
    try:
        top = _Members(document, "")
        members = _Members(top.take("config", {}), "config")
        config = Config(members.number("tag", 0xFFFFFFFF), members.text("policy_map", ""))
        members.finish()
    except _Bad as bad:
        raise BadState([str(bad)]) from None
    state = State(config)
    for kind in KINDS:
        try:
            values = top.items(kind)
        except _Bad as bad:
            problems.append(str(bad))
            continue
        table, places = state.tables[kind], dict[Key, int]()
        for i, value in enumerate(values):
            try:
                members = _Members(value, f"{kind}[{i}]")
                item = _READERS[kind](members, config)
                members.finish()
                if item.key in table:
                    raise _Bad(f"{kind}[{i}]: {key_text(item.key)} is already in {kind}[{places[item.key]}]")
                table[item.key], places[item.key] = item, i
            except _Bad as bad:
                problems.append(str(bad))
    try:
        top.finish()
    except _Bad as bad:
        problems.append(str(bad))
    if problems:
        more = len(problems) - _SHOWN_PROBLEMS
        raise BadState(problems[:_SHOWN_PROBLEMS] + ([f"... and {more} more"] if more > 0 else []))
    return state


def load(path: Path) -> State:
    """Reads a state file: YAML if its suffix is .yaml or .yml, otherwise JSON. Raises BadState."""
    document = _read_document(path)
    try:
        return parse(document)
    except BadState as bad:
        raise BadState([f"{path}: {problem}" for problem in bad.problems]) from None


def warnings(state: State) -> list[str]:
    """Returns likely mistakes that the switch accepts: names of groups that the file does not define."""
    groups = state.tables["groups"]
    unknown: dict[str, str] = {}
    for kind in ("routes", "tunnels", "labels", "redirects"):
        for item in state.tables[kind].values():
            named = [item.match, item.redirect] if isinstance(item, Redirect) else [getattr(item, "group")]
            for name in named:
                if name and name not in groups:
                    unknown.setdefault(name, f"{kind} {key_text(item.key)}")
    return [f"group {name} is used by {user} and not described here" for name, user in unknown.items()]


def _session_key_json(key: SessionKey) -> dict[str, Any]:
    return {"nexthop": key.nexthop, "intf": key.intf, "labels": key.labels, "dscp": key.dscp, "exp": key.exp}


def _nexthop_json(nexthop: Nexthop) -> dict[str, Any]:
    result = {"intf": nexthop.intf, "address": nexthop.address, "labels": nexthop.labels, "op": nexthop.op,
              "weight": nexthop.weight}
    return result | ({"sbfd": _session_key_json(nexthop.sbfd)} if nexthop.sbfd else {})


def item_json(item: Item) -> dict[str, Any]:
    """An item in the format of the file."""
    match item:
        case Group():
            return {"name": item.name, "nexthops": [_nexthop_json(entry) for entry in item.nexthops],
                    "backup_nexthops": [_nexthop_json(entry) for entry in item.backup_nexthops],
                    "counters_unshared": item.counters_unshared, "autosize": item.autosize}
        case Route():
            return {"prefix": item.prefix, "group": item.group, "tag": item.tag}
        case Tunnel():
            return {"endpoint": item.endpoint, "group": item.group, "metric": item.metric}
        case Label():
            if item.nexthop:
                return {"label": item.label, "nexthop": _nexthop_json(item.nexthop)}
            if item.group:
                return {"label": item.label, "group": item.group, "op": item.op}
            return {"label": item.label, "vrf": item.vrf}
        case Redirect():
            return {"match": item.match, "redirect": item.redirect, "ipv4_dscp": item.ipv4_dscp,
                    "ipv6_dscp": item.ipv6_dscp}
        case Session():
            return _session_key_json(item.session) | {"rtt": item.rtt, "track_intf": item.track_intf,
                                                      "min_tx": item.min_tx, "multiplier": item.multiplier}


def lines(state: State) -> Iterable[str]:
    """The state as text in the format of the file, the same for equal states."""
    yield "{" + f'"config": {json.dumps({"tag": state.config.tag, "policy_map": state.config.policy_map})}'
    for kind in KINDS:
        yield f',\n"{kind}": ['
        table = state.tables[kind]
        for i, key in enumerate(sorted(table, key=str)):
            yield (",\n" if i else "\n") + json.dumps(item_json(table[key]))
        yield "]"
    yield "}\n"


def digest(state: State) -> str:
    """A hash that is equal for equal states, whatever the order and format of their files."""
    hashed = hashlib.sha256()
    for line in lines(state):
        hashed.update(line.encode())
    return hashed.hexdigest()

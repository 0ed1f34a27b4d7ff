"""Access control lists."""
from __future__ import annotations

from collections.abc import Iterable
from typing import Union

from ..pb import acl_pb2 as rpc
from ..pb import types_pb2 as pb
from .calls import Listing
from .follow import Follow
from .service import Service
from .values import intf

Rule = Union[pb.AclRuleIp, pb.AclRuleEth]


class Acls(Service):
    """Edits are pending until commit(). Methods with `committed` see the lists of every owner as committed, or else
    the lists of this agent with pending edits."""

    def list(self, committed: bool = False) -> Listing[pb.AclKey]:
        return self._calls.list(rpc.AclsAllRequest() if committed else rpc.AclsRequest(),
                                lambda response: response.key)

    def ip_rules(self, key: pb.AclKey, committed: bool = False) -> Listing[tuple[int, pb.AclRuleIp]]:
        """The rules of an IPv4 or IPv6 list with their sequence numbers."""
        return self._calls.list(rpc.AclAllRuleIpsRequest(key=key) if committed else rpc.AclRuleIpsRequest(key=key),
                                lambda response: (response.entry.seq, response.entry.rule))

    def eth_rules(self, key: pb.AclKey, committed: bool = False) -> Listing[tuple[int, pb.AclRuleEth]]:
        """The rules of a list of Ethernet frames with their sequence numbers."""
        return self._calls.list(rpc.AclAllRuleEthsRequest(key=key) if committed else rpc.AclRuleEthsRequest(key=key),
                                lambda response: (response.entry.seq, response.entry.rule))

    def exists(self, key: pb.AclKey, committed: bool = False) -> bool:
        request = rpc.AclAllExistsRequest(key=key) if committed else rpc.AclExistsRequest(key=key)
        return bool(self._calls.call(request).exists)

    def set_rules(self, key: pb.AclKey, rules: Iterable[tuple[int, Rule]]) -> int:
        """Sets or replaces the rules of these sequence numbers."""
        return self._apply(_set_rule(key, seq, rule) for seq, rule in rules)

    def delete_rules(self, key: pb.AclKey, seqs: Iterable[int]) -> int:
        return self._apply(rpc.AclRuleDelRequest(key=key, seq=seq) for seq in seqs)

    def delete(self, key: pb.AclKey) -> None:
        self._calls.call(rpc.AclDelRequest(key=key))

    def delete_all(self, keys: Iterable[pb.AclKey]) -> int:
        return self._apply(rpc.AclDelRequest(key=key) for key in keys)

    def apply(self, key: pb.AclKey, intf_name: str, direction: pb.AclDirection, apply: bool = True) -> None:
        """Applies a list to an interface; with `apply` false, removes it from there."""
        self._calls.call(rpc.AclApplyRequest(key=key, intf=intf(intf_name), direction=direction, apply=apply))

    def commit(self) -> None:
        """Starts to commit all pending edits; follow() reports the outcome."""
        self._calls.call(rpc.AclCommitRequest())

    def follow(self) -> Follow[Union[rpc.AclsAllResponse, rpc.AclWatchResponse]]:
        """The committed lists, as AclsAllResponse; then the outcomes of commits, as AclWatchResponse. An outcome does
        not say which lists have changed: list them again."""
        return self._watch(rpc.AclWatchRequest(ack=True), dump=self._dump)

    def _dump(self) -> Listing[Union[rpc.AclsAllResponse, rpc.AclWatchResponse]]:
        return self._calls.list(rpc.AclsAllRequest(), lambda response: response)


def _set_rule(key: pb.AclKey, seq: int, rule: Rule) -> rpc.AclRuleSetRequest:
    if isinstance(rule, pb.AclRuleEth):
        return rpc.AclRuleSetRequest(key=key, seq=seq, eth_rule=rule)
    return rpc.AclRuleSetRequest(key=key, seq=seq, ip_rule=rule)

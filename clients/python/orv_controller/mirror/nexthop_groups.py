"""Next-hop groups."""
from __future__ import annotations

from collections.abc import Iterable
from contextlib import AbstractContextManager

from ..pb import nexthop_group_pb2 as rpc
from ..pb import types_pb2 as pb
from .calls import Listing
from .follow import Follow
from .service import Service


class NexthopGroups(Service):
    def list(self) -> Listing[pb.NexthopGroup]:
        """The configured groups, by name."""
        return self._calls.list(rpc.NexthopGroupsRequest(), lambda response: response.nexthop_group)

    def programmed_names(self) -> Listing[str]:
        """The names of the groups in hardware, in order."""
        return self._calls.list(rpc.ProgrammedNexthopGroupsRequest(), lambda response: str(response.name))

    def get(self, name: str) -> pb.NexthopGroup | None:
        """A group as configured."""
        return _named(self._calls.call(rpc.NexthopGroupRequest(name=name)).nexthop_group)

    def programmed(self, name: str) -> pb.NexthopGroup | None:
        """A group as hardware has it."""
        return _named(self._calls.call(rpc.ProgrammedNexthopGroupRequest(name=name)).nexthop_group)

    def exists(self, name: str) -> bool:
        return bool(self._calls.call(rpc.NexthopGroupExistsRequest(name=name)).exists)

    def active(self, name: str) -> bool:
        """Whether the group forwards."""
        return bool(self._calls.call(rpc.NexthopGroupActiveRequest(name=name)).active)

    def set(self, group: pb.NexthopGroup, version: int | None = None) -> int:
        """Creates or replaces a group. Returns its version: `version`, or the one that the switch chose."""
        reply = self._calls.call(rpc.NexthopGroupSetRequest(nexthop_group=group, version_id=version))
        return int(reply.version_id) or version or 0

    def set_all(self, groups: Iterable[pb.NexthopGroup]) -> int:
        """The switch chooses the versions."""
        return self._apply(rpc.NexthopGroupSetRequest(nexthop_group=group) for group in groups)

    def delete(self, name: str) -> None:
        self._calls.call(rpc.NexthopGroupDelRequest(name=name))

    def delete_all(self, names: Iterable[str]) -> int:
        return self._apply(rpc.NexthopGroupDelRequest(name=name) for name in names)

    def counters(self, regex: str | None = None) -> Listing[rpc.NexthopGroupCountersResponse]:
        """The counters of all programmed groups, or of those whose whole name matches."""
        request = rpc.NexthopGroupCountersRequest(all=True) if regex is None else \
            rpc.NexthopGroupCountersRequest(regex=regex)
        return self._calls.list(request, lambda response: response)

    def follow(self) -> Follow[rpc.WatchNexthopGroupResponse]:
        """The programmed groups, then their changes. A group that left hardware while it was dumped comes without a
        name."""
        return self._watch(rpc.WatchNexthopGroupRequest(
            all=True, fields_control=rpc.NexthopGroupFieldsControl(fields=[rpc.NEXTHOP_GROUP_FIELD_ALL])))

    def replay(self) -> AbstractContextManager[None]:
        """Inside of the block, set everything; at its end the rest is removed."""
        return self._replayed(rpc.ResyncNexthopGroupInitRequest(), rpc.ResyncNexthopGroupCompleteRequest())


def _named(group: pb.NexthopGroup) -> pb.NexthopGroup | None:
    return group if group.name else None

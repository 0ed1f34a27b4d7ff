"""The agent: options, which the operator sets, and status entries, which clients set."""
from __future__ import annotations

from collections.abc import Iterable

from ..pb import agent_pb2 as rpc
from .calls import Listing
from .follow import Follow
from .service import Service


class AgentInfo(Service):
    def options(self) -> Listing[str]:
        """The names of all options, in order."""
        return self._calls.list(rpc.AgentOptionsRequest(), lambda response: str(response.name))

    def option(self, name: str) -> str:
        """"" if it is not set."""
        return str(self._calls.call(rpc.AgentOptionRequest(name=name)).value)

    def statuses(self) -> Listing[str]:
        """The names of all status entries, in order."""
        return self._calls.list(rpc.AgentStatusesRequest(), lambda response: str(response.name))

    def status(self, name: str) -> str:
        """"" if it is not set."""
        return str(self._calls.call(rpc.AgentStatusRequest(name=name)).value)

    def set_statuses(self, entries: Iterable[tuple[str, str]]) -> int:
        """Names with values."""
        return self._apply(rpc.AgentStatusSetRequest(name=name, value=value) for name, value in entries)

    def delete_statuses(self, names: Iterable[str]) -> int:
        return self._apply(rpc.AgentStatusDelRequest(name=name) for name in names)

    def uptime(self) -> float:
        """In seconds."""
        return float(self._calls.call(rpc.AgentUptimeRequest()).uptime)

    def ping(self, payload: str = "") -> rpc.AgentPingResponse:
        """Answered by the switch's main loop."""
        reply: rpc.AgentPingResponse = self._calls.call(rpc.AgentPingRequest(payload=payload))
        return reply

    def follow(self) -> Follow[rpc.WatchAgentResponse]:
        """The options, then their changes. A deleted option has an empty value."""
        return self._watch(rpc.WatchAgentRequest(ack=True), dump=self._dump)

    def _dump(self) -> Listing[rpc.WatchAgentResponse]:
        for name in self.options():
            yield rpc.WatchAgentResponse(agent_option=rpc.AgentOption(name=name, value=self.option(name)))

"""Prints updates of the sBFD watch: changed states, and round-trip times if enabled."""
from __future__ import annotations

from typing import Any

from .pb import orvsdk_pb2 as pb
from .report import Report
from .wire import session_key

_STATES = {1: "down", 2: "init", 3: "up", 4: "admin down"}


class SbfdStates:
    """Use from the watch's thread only."""

    def __init__(self, report: Report, rtt: bool = False):
        self._report = report
        self._rtt = rtt
        self._states: dict[Any, str] = {}

    def receive(self, message: pb.watch_sbfd_echo_session_status_msg) -> None:
        for item in message.bulk:
            match item.WhichOneof("update"):
                case "oper_status":
                    self._state(session_key(item.key), _STATES.get(item.oper_status.status, "unknown"))
                case "rtt" if self._rtt:
                    rtt = item.rtt
                    self._report.say(f"sbfd {session_key(item.key)}: rtt {rtt.last_rtt} us "
                                     f"(min {rtt.min_rtt} avg {rtt.avg_rtt} max {rtt.max_rtt})")

    def _state(self, key: Any, state: str) -> None:
        before = self._states.get(key)
        self._states[key] = state
        if state != before:
            self._report.say(f"sbfd {key}: {state}" + (f" (was {before})" if before else ""))

"""What to do with a new connection: one routine for the first start and for restarts of either side.

The note has two forms: "complete DIGEST" once the state with this digest is completely
programmed, "programming" from before the first change until then. A controller that dies
in between leaves the second, and its successor replays.
"""
from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field
from pathlib import Path

from . import record, statefile
from .client import Client, Refused
from .diff import Diff, difference, replay
from .pb import orvsdk_pb2 as pb
from .report import Report
from .state import State, key_text
from .wire import WIRES

NOTE = "orv-controller"
# The note in which the server itself stores the policy map's name.
POLICY_MAP_NOTE = "OrvSdkRpc-cbfNexthopGroupRedirectPolicyMapName"
_COMPLETE = "complete "
_PROGRAMMING = "programming"


@dataclass(slots=True)
class Outcome:
    """The outcome of a sync. `stopped`: a signal arrived before everything was sent."""

    refused: list[str] = field(default_factory=list)
    stopped: bool = False

    @property
    def in_sync(self) -> bool:
        return not self.refused and not self.stopped


def noted_digest(note: str) -> str:
    return note.removeprefix(_COMPLETE) if note.startswith(_COMPLETE) else ""


class Sync:
    """Brings the switch to a desired state over one connection. `programmed` is what the switch has accepted so far,
    None while that is unknown."""

    def __init__(self, client: Client, record_path: Path, report: Report, stop: Callable[[], bool]):
        self._client = client
        self._record_path = record_path
        self._report = report
        self._stop = stop
        self.programmed: State | None = None

    def start(self, desired: State, always_resync: bool = False) -> Outcome:
        """Calls init, then sends no more than necessary. Raises ConnectionLost, Refused."""
        known_server = self._client.is_initialized()
        digest = statefile.digest(desired)
        note = self._client.note(NOTE)
        if known_server:
            self._refuse_other_policy_map(self._client.note(POLICY_MAP_NOTE), desired)
        exists = self._client.init(desired.config.tag, desired.config.policy_map)
        something = bool(note or exists.ip_routes_exist or exists.mpls_routes_exist or exists.nexthop_groups_exist
                         or exists.nexthop_group_tunnels_exist
                         or (desired.config.policy_map and exists.cbf_redirects_exist))
        # A new process does not track the interfaces of our sessions, and may have dropped redirects
        # that it could not read. It needs a replay.
        before = None if always_resync or not known_server else self._recorded(note, desired, digest)
        if before is not None and not _lacks(exists, before):
            self.programmed = before
            diff = difference(before, desired)
            if not diff and statefile.digest(before) == digest:
                self._report.say(f"in sync: {desired.summary()}")
                return Outcome()
            return self._apply(diff, desired)
        return self._resync(desired) if something else self._first(desired)

    def update(self, desired: State) -> Outcome:
        """Brings the switch from what it has accepted to `desired`."""
        if self.programmed is None:
            return self.start(desired)
        if desired.config != self.programmed.config:
            self._refuse_other_policy_map(self.programmed.config.policy_map, desired)
            self._client.init(desired.config.tag, desired.config.policy_map)
        return self._apply(difference(self.programmed, desired), desired)

    @staticmethod
    def _refuse_other_policy_map(known: str, desired: State) -> None:
        # A difference would not program the unchanged redirects in the new map, and the old map would keep redirecting.
        if known and known != desired.config.policy_map:
            raise Refused(f"config.policy_map: the running server works with '{known}', not with "
                          f"'{desired.config.policy_map}'; restart the server to change it")

    def _recorded(self, note: str, desired: State, digest: str) -> State | None:
        noted = noted_digest(note)
        return desired.copy() if noted == digest else record.read(self._record_path, noted)

    def _first(self, desired: State) -> Outcome:
        self._report.say(f"the switch is empty, programming {desired.summary()}")
        self.programmed = State(desired.config)
        return self._apply(replay(desired), desired)

    def _resync(self, desired: State) -> Outcome:
        self._report.say(f"resync: replaying {desired.summary()}")
        self._client.note_is(NOTE, _PROGRAMMING)
        self._client.resync_start()
        taken = State(desired.config)
        outcome = self._send(replay(desired), taken)
        if outcome.stopped:
            return outcome
        self._client.resync_end()
        self.programmed = taken
        self._report.say(f"resync done: {taken.summary()}")
        return self._finish(desired, outcome)

    def _apply(self, diff: Diff, desired: State) -> Outcome:
        assert self.programmed is not None
        if len(diff):
            self._report.say(f"programming {len(diff)} changes")
        self._client.note_is(NOTE, _PROGRAMMING)
        self._report.changes(diff)
        self.programmed.config = desired.config
        return self._finish(desired, self._send(diff, self.programmed))

    def _finish(self, desired: State, outcome: Outcome) -> Outcome:
        self._report.refusals(outcome.refused)
        if outcome.in_sync:
            # The record comes before the note: a complete note without its record would cost a replay.
            try:
                record.write(self._record_path, desired)
            except OSError as error:
                self._report.problem(f"{self._record_path}: cannot be written: {error}")
            self._client.note_is(NOTE, _COMPLETE + statefile.digest(desired))
            self._report.say(f"in sync: {desired.summary()}")
        return outcome

    def _send(self, diff: Diff, taken: State) -> Outcome:
        """Sends the changes and records in `taken` those that the switch has accepted."""
        outcome = Outcome()
        for kind, changes in diff.steps():
            wire, table = WIRES[kind], taken.tables[kind]
            messages = (wire.set(change.after) if change.after else wire.delete(change.before) for change in changes)
            done = 0
            for change, status in zip(changes, self._client.program(wire, messages, self._stop)):
                done += 1
                gone = change.after is None and status.status == pb.RPC_STATUS_NOT_FOUND
                if status.status != pb.RPC_STATUS_OK and not gone:
                    outcome.refused.append(f"{kind[:-1]} {key_text(change.item.key)}: "
                                           f"{status.debug_string or f'status {status.status}'}")
                elif change.after is None:
                    table.pop(change.item.key, None)
                else:
                    table[change.item.key] = change.after
            if done < len(changes):
                outcome.stopped = True
                break
        return outcome


def _lacks(exists: pb.rpc_server_init_status_msg, state: State) -> bool:
    """Whether the switch has no object of a kind although it should."""
    return any(state.tables[kind] and not there for kind, there in (
        ("routes", exists.ip_routes_exist), ("labels", exists.mpls_routes_exist),
        ("groups", exists.nexthop_groups_exist), ("tunnels", exists.nexthop_group_tunnels_exist),
        ("redirects", exists.cbf_redirects_exist)))

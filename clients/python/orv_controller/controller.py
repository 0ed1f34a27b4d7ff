"""The modes: `run` keeps the switch in sync until a signal, `once` syncs it once, `diff` changes nothing."""
from __future__ import annotations

import enum
import queue
import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

from . import record, statefile
from .backoff import BackOff
from .client import Client, ConnectionLost, Refused
from .diff import difference, replay
from .report import Report
from .sbfd import SbfdStates
from .state import State
from .sync import NOTE, Outcome, Sync, noted_digest


class ExitCode(enum.IntEnum):
    IN_SYNC = 0
    REFUSED = 1
    BAD_INPUT = 2
    NO_CONNECTION = 3
    DIFFERS = 4
    STOPPED = 5


class Event(enum.Enum):
    STOP = enum.auto()
    RELOAD = enum.auto()
    GONE = enum.auto()


@dataclass(slots=True)
class Settings:
    target: str
    state_file: Path
    record_file: Path
    connect_timeout: float = 5.0
    call_timeout: float = 30.0
    retry: float = 30.0
    always_resync: bool = False
    rtt: bool = False


class Controller:
    """Use from the main thread only. Signal handlers may call stop() and reload()."""

    def __init__(self, settings: Settings, report: Report, back_off: BackOff | None = None,
                 load: Callable[[Path], State] = statefile.load):
        self._settings = settings
        self._report = report
        self._back_off = back_off or BackOff()
        self._load = load
        # SimpleQueue.put is reentrant: a signal handler may interrupt the queue's own get.
        self._events: queue.SimpleQueue[tuple[Event, object]] = queue.SimpleQueue()
        self._stopping = False

    def stop(self) -> None:
        self._stopping = True
        self._events.put((Event.STOP, None))

    def reload(self) -> None:
        self._events.put((Event.RELOAD, None))

    def check(self) -> ExitCode:
        state = self._load(self._settings.state_file)
        for warning in statefile.warnings(state):
            self._report.problem(f"warning: {warning}")
        self._report.say(f"good: {state.summary()}")
        return ExitCode.IN_SYNC

    def once(self) -> ExitCode:
        desired = self._load(self._settings.state_file)
        client = self._connect()
        try:
            client.watch_alive()
            sync = Sync(client, self._settings.record_file, self._report, lambda: self._stopping)
            return _code(sync.start(desired, self._settings.always_resync))
        except ConnectionLost as lost:
            self._report.problem(str(lost))
            return ExitCode.NO_CONNECTION
        except Refused as refused:
            self._report.problem(f"refused: {refused}")
            return ExitCode.REFUSED
        finally:
            client.close()

    def diff(self) -> ExitCode:
        desired = self._load(self._settings.state_file)
        client = self._connect()
        try:
            noted = noted_digest(client.note(NOTE))
        except Refused as refused:
            self._report.problem(f"refused: {refused}")
            return ExitCode.REFUSED
        finally:
            client.close()
        if noted == statefile.digest(desired):
            self._report.say("no difference")
            return ExitCode.IN_SYNC
        before = record.read(self._settings.record_file, noted)
        if before is None:
            self._report.say("the switch's state is not recorded; everything would be sent:")
        elif before.config != desired.config:
            self._report.say(f"~ config: {before.config} => {desired.config}")
        self._report.changes(difference(before, desired) if before else replay(desired))
        return ExitCode.DIFFERS

    def run(self) -> ExitCode:
        desired = self._load(self._settings.state_file)
        code = ExitCode.NO_CONNECTION
        while not self._stopping:
            try:
                desired, code = self._serve(desired)
            except ConnectionLost as lost:
                code = ExitCode.NO_CONNECTION
                if self._stopping:
                    break
                delay = self._back_off.delay()
                self._report.problem(f"{lost}; retrying in {delay:.1f} s")
                desired = self._wait(delay, desired)
        return code

    def _connect(self) -> Client:
        return Client(self._settings.target, self._settings.connect_timeout, self._settings.call_timeout,
                      stop=lambda: self._stopping)

    def _serve(self, desired: State) -> tuple[State, ExitCode]:
        """Serves one connection until a stop. Raises ConnectionLost if it ends in any other way."""
        client: Client | None = None

        def gone(words: str) -> None:
            self._events.put((Event.GONE, (client, words)))

        client = Client(self._settings.target, self._settings.connect_timeout, self._settings.call_timeout, gone,
                        lambda: self._stopping)
        try:
            client.watch_alive()
            watching = self._watch_sbfd(client, desired)
            sync = Sync(client, self._settings.record_file, self._report, lambda: self._stopping)
            code = self._attempt(lambda: sync.start(desired, self._settings.always_resync))
            self._back_off.reset()
            while not self._stopping:
                event, about = self._next(self._settings.retry if code is ExitCode.REFUSED else 0)
                if event is Event.GONE and isinstance(about, tuple) and about[0] is client:
                    raise ConnectionLost(str(about[1]))
                if event is Event.RELOAD:
                    desired = self._reloaded(desired)
                    watching = watching or self._watch_sbfd(client, desired)
                if event in (Event.RELOAD, None):
                    code = self._attempt(lambda: sync.update(desired))
            return desired, code
        finally:
            client.close()

    def _watch_sbfd(self, client: Client, desired: State) -> bool:
        if not desired.tables["sessions"]:
            return False
        client.watch_sbfd(SbfdStates(self._report, self._settings.rtt).receive)
        return True

    def _attempt(self, work: Callable[[], Outcome]) -> ExitCode:
        try:
            return _code(work())
        except Refused as refused:
            self._report.problem(f"refused: {refused}")
            return ExitCode.REFUSED

    def _next(self, timeout: float) -> tuple[Event | None, object]:
        try:
            return self._events.get(timeout=timeout or None)
        except queue.Empty:
            return None, None

    def _wait(self, seconds: float, desired: State) -> State:
        until = time.monotonic() + seconds
        while not self._stopping and (left := until - time.monotonic()) > 0:
            if self._next(left)[0] is Event.RELOAD:
                desired = self._reloaded(desired)
        return desired

    def _reloaded(self, desired: State) -> State:
        try:
            state = self._load(self._settings.state_file)
        except statefile.BadState as bad:
            for problem in bad.problems:
                self._report.problem(problem)
            self._report.problem("keeping the previous state")
            return desired
        self._report.say(f"read again: {state.summary()}")
        return state


def _code(outcome: Outcome) -> ExitCode:
    if outcome.stopped:
        return ExitCode.STOPPED
    return ExitCode.REFUSED if outcome.refused else ExitCode.IN_SYNC

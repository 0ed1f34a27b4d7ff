"""The program `orv-controller`."""
from __future__ import annotations

import argparse
import os
import signal
import sys
from pathlib import Path

from . import __version__, statefile
from .client import ConnectionLost
from .controller import Controller, ExitCode, Settings
from .report import Report

_EPILOG = """\
modes:
  run    keep the switch in the state of the file until TERM or INT; HUP reads the file again
  once   bring the switch to the state of the file, and end
  diff   show what once would change; changes nothing
  check  check only the file

exit codes:
  0  in sync (check: the file is good; diff: nothing to change)
  1  the switch refused something
  2  a flag or the file is wrong; nothing was sent
  3  no connection, or it broke (run: at the time of the signal)
  4  diff: something would change
  5  stopped by a signal before everything was programmed
"""


def _seconds(text: str) -> float:
    value = float(text)
    if not 0 <= value <= 86400:
        raise ValueError
    return value


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="orv-controller", epilog=_EPILOG, allow_abbrev=False,
                                     description="Keeps a switch in the state that a file describes.",
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--version", action="version", version=f"%(prog)s {__version__}")
    parser.add_argument("mode", choices=("run", "once", "diff", "check"))
    parser.add_argument("--target", default=os.environ.get("ORVCTL_TARGET", ""), metavar="ADDRESS",
                        help="the switch, such as unix:/run/orv.sock or 192.0.2.9:9543 [$ORVCTL_TARGET]")
    parser.add_argument("--state", required=True, type=Path, metavar="FILE", help="desired state, JSON or YAML")
    parser.add_argument("--record", type=Path, metavar="FILE", help="what was programmed last [FILE.programmed]")
    parser.add_argument("--connect-timeout", type=_seconds, default=5.0, metavar="SECONDS", help="[%(default)s]")
    parser.add_argument("--timeout", type=_seconds, default=30.0, metavar="SECONDS", help="of a call [%(default)s]")
    parser.add_argument("--retry", type=_seconds, default=30.0, metavar="SECONDS",
                        help="run: when to send again what was refused, 0 for never [%(default)s]")
    parser.add_argument("--always-resync", action="store_true", help="replay everything at each connection")
    parser.add_argument("--rtt", action="store_true", help="run: print round-trip times of sBFD sessions")
    parser.add_argument("--show", type=int, default=50, metavar="N", help="changes shown of a kind [%(default)s]")
    parser.add_argument("--quiet", action="store_true", help="print only errors")
    return parser


def main(arguments: list[str] | None = None) -> int:
    """Returns the exit code; wrong usage ends with 2 by SystemExit."""
    parser = _parser()
    options = parser.parse_args(arguments)
    if not options.target and options.mode != "check":
        parser.error("--target is missing")
    report = Report(show=options.show, quiet=options.quiet)
    settings = Settings(options.target, options.state,
                        options.record or options.state.with_name(options.state.name + ".programmed"),
                        options.connect_timeout, options.timeout, options.retry, options.always_resync, options.rtt)
    controller = Controller(settings, report)
    for number in (signal.SIGTERM, signal.SIGINT):
        signal.signal(number, lambda *_: controller.stop())
    if options.mode == "run":
        signal.signal(signal.SIGHUP, lambda *_: controller.reload())
    try:
        return int(getattr(controller, options.mode)())
    except statefile.BadState as bad:
        for problem in bad.problems:
            report.problem(problem)
        return int(ExitCode.BAD_INPUT)
    except ConnectionLost as lost:
        report.problem(str(lost))
        return int(ExitCode.NO_CONNECTION)


if __name__ == "__main__":
    sys.exit(main())

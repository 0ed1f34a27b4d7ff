"""A client of the mirror services: lists, changes, watches.

    with Switch("unix:/run/orvsdkrpcd/orvsdkrpcd.sock") as switch:
        for route, vias in switch.ip_routes.list(ALL_VRFS):
            ...
        for event in switch.fib.follow():
            ...

Reading order: `switch` (what there is), `follow` (what a watch delivers), `calls`, `errors`.
"""
from . import errors
from .errors import SwitchError
from .follow import CaughtUp, Event, Follow, Resynced, Retry
from .ip_routes import ALL_VRFS, RouteAndVias
from .mpls_routes import NotProgrammed
from .switch import Switch

__all__ = ["ALL_VRFS", "CaughtUp", "Event", "Follow", "NotProgrammed", "Resynced", "Retry", "RouteAndVias", "Switch",
           "SwitchError", "errors"]

"""Lists the IP routes of all VRFs.

usage: list_routes.py ADDRESS
"""
import sys

from orv_controller.mirror import ALL_VRFS, Switch, values
from orv_controller.pb import types_pb2 as pb


def via_text(via: pb.IpRouteVia) -> str:
    if via.nexthop_group:
        return f"group {via.nexthop_group}"
    return " ".join(filter(None, [values.address_text(via.hop), via.intf.name])) or "nowhere"


def main(target: str) -> None:
    with Switch(target) as switch:
        switch.wait_ready(20)
        # A route arrives when the switch has read it. The list may be longer than the memory of this program.
        for route, vias in switch.ip_routes.list(ALL_VRFS):
            ways = ", ".join(map(via_text, vias)) or "no vias"
            print(f"{values.prefix_text(route.key.prefix)} preference {route.key.preference}: {ways}")


if __name__ == "__main__":
    main(sys.argv[1])

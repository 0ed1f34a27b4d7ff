"""Leads a label into a next-hop group and waits until hardware has both.

usage: set_label.py ADDRESS LABEL VERSION INTERFACE
"""
import sys

from orv_controller.mirror import NotProgrammed, Switch, errors, values
from orv_controller.pb import types_pb2 as pb


def main(target: str, label: int, version: int, intf: str) -> int:
    group = pb.NexthopGroup(name=f"label-{label}", type=pb.NEXTHOP_GROUP_ENCAP_TYPES_IP)
    group.nexthops[0].intf.name = intf
    route = pb.MplsRoute(key=values.mpls_route_key(label), version_id=version)
    via = pb.MplsRouteVia(route_key=route.key, label_action=pb.MPLS_ACTIONS_POP, nexthop_group=group.name)
    with Switch(target) as switch:
        switch.wait_ready(20)
        try:
            group_version = switch.nexthop_groups.set(group)
            switch.mpls_routes.set(route, [via], replace_vias=True)
            # Both are stored. The report comes when both are in hardware.
            report = switch.mpls_routes.wait_programmed(route, group_version, timeout=20)
        except (errors.Refused, NotProgrammed, errors.DeadlineExceeded) as error:
            print(error)
            return 1
    group_info = report.nexthop_group_version_info
    print(f"label {label} version {report.version_id} over {group_info.name} is in hardware")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4]))

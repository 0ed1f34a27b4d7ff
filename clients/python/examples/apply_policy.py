"""Drops packets to a prefix that enter at an interface, with a traffic policy.

usage: apply_policy.py ADDRESS INTERFACE PREFIX
"""
import ipaddress
import sys

from orv_controller.mirror import Switch, errors
from orv_controller.pb import types_pb2 as pb


def policy_of(name: str, prefix: str) -> pb.TrafficPolicy:
    network = ipaddress.ip_network(prefix)
    kind = pb.TRAFFIC_POLICY_RULE_TYPE_IPV4 if network.version == 4 else pb.TRAFFIC_POLICY_RULE_TYPE_IPV6
    policy = pb.TrafficPolicy(key=name, named_counters=["dropped"])
    rule = policy.rules[10]
    rule.traffic_policy_rule_type = kind
    rule.match_rule_name = "unwanted"
    rule.raw_rule.filter_type = kind
    rule.raw_rule.dst_addrs.add(addr=network.network_address.packed, mask_length=network.prefixlen)
    rule.actions.add(action_type=pb.TRAFFIC_POLICY_ACTION_TYPE_COUNT, counter_name="dropped")
    rule.actions.add(action_type=pb.TRAFFIC_POLICY_ACTION_TYPE_DROP)
    return policy


def main(target: str, intf: str, prefix: str) -> int:
    policy = policy_of("drop-unwanted", prefix)
    with Switch(target) as switch:
        switch.wait_ready(20)
        try:
            switch.traffic_policies.set(policy)
            switch.traffic_policies.apply(policy.key, intf, pb.TRAFFIC_POLICY_DIRECTION_IN)
        except errors.Refused as error:
            print(error)
            return 1
    print(f"{policy.key} is applied to {intf}")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))

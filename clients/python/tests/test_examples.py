"""Runs the examples against a real switch. Needs ORV_BIN_DIR, the folder of orvsdkrpcd; otherwise skipped."""
import json
import os
import signal
import subprocess
import sys
import unittest
from contextlib import closing

from orv_controller.mirror import ALL_VRFS, CaughtUp, Resynced, Switch, errors, values
from orv_controller.pb import types_pb2 as pb

from .test_daemon import BIN, PACKAGE, RealSwitch


class MirroredSwitch(RealSwitch):
    """A real switch and a client of its mirror services."""

    flags = ("--bfd", "--fib")

    def setUp(self):
        super().setUp()
        self.switch = Switch(self.target, timeout=20)
        self.addCleanup(self.switch.close)
        self.switch.wait_ready(20)

    def shown(self, command):
        return json.loads(self.console(f"show {command} | json"))

    def add_route(self, prefix, hop, vrf=""):
        key = values.ip_route_key(prefix)
        self.switch.ip_routes.set(pb.IpRoute(key=key), [pb.IpRouteVia(route_key=key, hop=values.address(hop))], vrf=vrf)
        return key


@unittest.skipUnless(BIN, "ORV_BIN_DIR is not set")
class ExamplesTest(MirroredSwitch):
    def example(self, name, *arguments):
        return [sys.executable, "-B", str(PACKAGE / "examples" / name), self.target, *arguments]

    @property
    def environment(self):
        return {**os.environ, "PYTHONPATH": str(PACKAGE)}

    def run_example(self, name, *arguments):
        done = subprocess.run(self.example(name, *arguments), env=self.environment, capture_output=True, text=True,
                              timeout=40, check=False)
        self.assertEqual("", done.stderr)
        return done.returncode, done.stdout

    def test_routes_of_all_vrfs(self):
        self.console("configure vrf red")
        self.add_route("10.0.0.0/8", "192.0.2.1")
        self.add_route("2001:db8::/32", "2001:db8::1", "red")
        code, said = self.run_example("list_routes.py")
        self.assertEqual((0, ["10.0.0.0/8 preference 1: 192.0.2.1", "2001:db8::/32 preference 1: 2001:db8::1"]),
                         (code, said.splitlines()))

    def test_the_fib_through_a_restart(self):
        key = self.add_route("10.0.0.0/8", "192.0.2.1")
        # A route of the FIB is in hardware.
        self.until(lambda: self.switch.fib.route("10.0.0.0/8"), lambda found: found is not None)
        follower = subprocess.Popen(self.example("follow_fib.py"), env=self.environment, stdout=subprocess.PIPE,
                                    stderr=subprocess.STDOUT, text=True)
        self.addCleanup(follower.stdout.close)
        self.addCleanup(self.kill, follower)
        seen = self.read_to(follower, "complete")
        self.assertEqual("following\n", seen[0])
        self.assertTrue(any(line.startswith("+ 10.0.0.0/8 FEC ") for line in seen), seen)
        self.add_route("10.1.0.0/16", "192.0.2.1")
        self.read_to(follower, "+ 10.1.0.0/16")
        self.switch.ip_routes.delete(key)
        self.read_to(follower, "- 10.0.0.0/8")

        self.kill(self.daemon)
        self.start()
        self.read_to(follower, "again after UNAVAILABLE")
        self.read_to(follower, "+ 10.1.0.0/16")
        follower.send_signal(signal.SIGINT)
        self.assertEqual(0, follower.wait(10))

    def test_a_label_with_its_acknowledgement(self):
        for version in ("3", "4"):
            self.assertEqual((0, f"label 100 version {version} over label-100 is in hardware\n"),
                             self.run_example("set_label.py", "100", version, "Ethernet1"))
        code, said = self.run_example("set_label.py", "100", "5", "Ethernet999")
        self.assertEqual(1, code)
        self.assertIn("Ethernet999", said)

    def test_a_traffic_policy(self):
        self.assertEqual((0, "drop-unwanted is applied to Ethernet1\n"),
                         self.run_example("apply_policy.py", "Ethernet1", "192.0.2.0/24"))
        found = self.shown("forwarding lookup 192.0.2.7 interface Ethernet1")["lookup"]
        self.assertEqual("drop", found["result"], found)
        code, said = self.run_example("apply_policy.py", "Ethernet999", "192.0.2.0/24")
        self.assertEqual(1, code)
        self.assertRegex(said, "^INVALID_ARGUMENT: .*Ethernet999")


@unittest.skipUnless(BIN, "ORV_BIN_DIR is not set")
class MirrorDaemonTest(MirroredSwitch):
    """The client itself against a real switch."""

    def start_to_caught_up(self, follow):
        self.addCleanup(follow.close)
        events = []
        for event in follow:
            if isinstance(event, CaughtUp):
                return events
            events.append(event)
        return self.fail("the watch ended")

    def test_every_watch_catches_up(self):
        self.add_route("10.0.0.0/8", "192.0.2.1")
        for watch in (self.switch.intfs, self.switch.ports, self.switch.nexthop_groups, self.switch.mpls_routes,
                      self.switch.fib, self.switch.policy_maps, self.switch.acls, self.switch.agent):
            resynced, *_ = self.start_to_caught_up(watch.follow())
            self.assertEqual(Resynced(None), resynced)
        self.start_to_caught_up(self.switch.counters.follow_rates("Ethernet1"))

    def test_a_bulk_stops_at_what_the_switch_refuses(self):
        with self.assertRaises(errors.InvalidArgument) as caught:
            self.switch.vrf_labels.set_all([(1, "red"), (2, ""), (3, "red")])
        self.assertEqual((1, 2), (caught.exception.applied,
                                  caught.exception.request.mpls_vrf_label.label.label))
        self.assertEqual([(1, "red")], [(each.label.label, each.vrf_name) for each in self.switch.vrf_labels.list()])

    def test_a_replay_removes_what_is_not_set_again(self):
        self.switch.vrf_labels.set_all([(1, "red"), (2, "red")])
        with self.switch.vrf_labels.replay():
            self.switch.vrf_labels.set(2, "blue")
        self.assertEqual(("", "blue"), (self.switch.vrf_labels.vrf(1), self.switch.vrf_labels.vrf(2)))

    def test_a_list_may_be_left_early(self):
        with closing(self.switch.intfs.list()) as names:
            self.assertEqual("Ethernet1", next(name for name in names if name == "Ethernet1"))
        self.assertEqual([], list(self.switch.ip_routes.list(ALL_VRFS)))


if __name__ == "__main__":
    unittest.main()

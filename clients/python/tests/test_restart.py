"""Tests restarts with all six kinds of object: what a real switch holds after the controller, the server or both
were killed, also in the middle of a resync. Needs ORV_BIN_DIR, the folder of orvsdkrpcd; otherwise skipped."""
import json
import os
import re
import signal
import subprocess
import sys
import unittest

from orv_controller.client import Client
from orv_controller.sync import NOTE

from .test_daemon import BIN, PACKAGE, RealSwitch

# A controller that replays a given number of bulks and then waits to be killed.
REPLAYS_IN_PART = """
import signal, sys
from pathlib import Path
from orv_controller import statefile
from orv_controller.client import Client
from orv_controller.report import Report
from orv_controller.sync import Sync

target, state, record, bulks = sys.argv[1:]
left = int(bulks)

def stop():
    global left
    left -= 1
    if left < 0:
        print("in the middle", flush=True)
        while True:
            signal.pause()
    return False

client = Client(target, 20, 20)
client.watch_alive()
Sync(client, Path(record), Report(), stop).start(statefile.load(Path(state)), always_resync=True)
"""


def document(version):
    """A state with items common to all versions, items that change with the version, and items of this version only."""
    own = f"own_{version}"
    return {
        "config": {"tag": 7, "policy_map": "cbf"},
        "groups": [
            {"name": "core", "nexthops": [{"intf": "Ethernet1", "address": "10.1.0.2", "labels": [100 + version],
                                           "op": "push"}]},
            {"name": "core_voice", "nexthops": [{"intf": "Ethernet3", "address": "10.3.0.2"}]},
            {"name": own, "nexthops": [{"intf": "Ethernet2", "address": f"10.2.0.{version}"}]},
        ],
        "routes": [{"prefix": "192.0.2.0/24", "group": "core"},
                   {"prefix": "2001:db8::/32", "group": own},
                   {"prefix": f"198.51.{version}.0/24", "group": own}],
        "tunnels": [{"endpoint": "203.0.113.1/32", "group": "core", "metric": 10 * version},
                    {"endpoint": f"203.0.113.{10 + version}/32", "group": own}],
        "labels": [{"label": 1000, "nexthop": {"intf": "Ethernet1", "address": "10.1.0.2", "op": "swap",
                                               "labels": [200 + version]}},
                   # The kind alternates between versions.
                   {"label": 1001, "group": own} if version % 2 else {"label": 1001, "vrf": "red"},
                   {"label": 1100 + version, "group": own, "op": "pop"},
                   {"label": 1200 + version, "vrf": f"vrf{version}"}],
        "redirects": [{"match": "core", "redirect": "core_voice", "ipv4_dscp": [10, 20 + version],
                       "ipv6_dscp": [46]},
                      {"match": own, "redirect": "core", "ipv4_dscp": [8], "ipv6_dscp": []}],
        "sessions": [{"nexthop": "10.1.0.2", "intf": "Ethernet1", "rtt": version % 2 == 0, "min_tx": 1000 + version,
                      "multiplier": 3},
                     {"nexthop": f"10.2.0.{version}", "intf": "Ethernet2", "labels": [300], "min_tx": 1000,
                      "multiplier": 5}],
    }


def expected(doc):
    """What a switch programmed with this document holds, in the format of held()."""
    def entry(hop):
        return (hop["address"], hop["intf"], hop.get("op", "none"), tuple(hop.get("labels", [])))

    def label(item):
        if "vrf" in item:
            return ("vrf", item["vrf"])
        if "group" in item:
            return (item.get("op", "forward"), item["group"])
        return entry(item["nexthop"])

    return {
        "groups": {g["name"]: [entry(hop) for hop in g["nexthops"]] for g in doc["groups"]},
        "routes": {r["prefix"]: (r["group"], doc["config"]["tag"]) for r in doc["routes"]},
        "tunnels": {t["endpoint"]: (t["group"], t.get("metric", 0)) for t in doc["tunnels"]},
        "labels": {item["label"]: [label(item)] for item in doc["labels"]},
        "redirects": {(r["match"], r["redirect"]): (r["ipv4_dscp"], r["ipv6_dscp"]) for r in doc["redirects"]},
        "sessions": {(s["nexthop"], s["intf"], tuple(s.get("labels", []))):
                     (s["min_tx"], s["multiplier"], s.get("rtt", False)) for s in doc["sessions"]},
    }


def united(old, new, kinds):
    """What the switch holds during an open resync from `old` to `new`, after these kinds were replayed."""
    held = expected(old)
    for kind in kinds:
        held[kind].update(expected(new)[kind])
    return held


@unittest.skipUnless(BIN, "ORV_BIN_DIR is not set")
class RestartTest(RealSwitch):
    def shown(self, command):
        return json.loads(self.console(f"show {command} | json"))

    def held(self):
        """Everything that the switch holds, read through its console."""
        groups = {g["name"]: [(e["nexthop"], e["interface"], e.get("action", "none"), tuple(e.get("labels", [])))
                              for e in self.shown(f"nexthop-group {g['name']}")["entries"]]
                  for g in self.shown("nexthop-group")["nexthop_groups"]}
        routes = {r["prefix"]: (r["vias"][0]["nexthop_group"], r["tag"]) for r in self.shown("ip route")["ip_routes"]}
        tunnels = {t["endpoint"]: (t["nexthop_group"], t["igp_metric"]) for t in self.shown("tunnel")["tunnels"]}
        mpls = self.shown("mpls route")
        # A label must be in only one table; otherwise its list here has two entries.
        labels = {}
        for route in mpls["mpls_routes"]:
            via, = route["vias"]
            labels.setdefault(route["labels"][0], []).append(
                (via["action"], via["nexthop_group"]) if "nexthop_group" in via else
                (via["hop"], via["interface"], via["action"], (via["label"],)))
        for entry in mpls["mpls_vrf_labels"]:
            labels.setdefault(entry["label"], []).append(("vrf", entry["vrf"]))
        sessions = {(s["nexthop"], s["interface"], tuple(s["labels"])):
                    (s["min_tx_ms"], s["multiplier"], s["rtt_enabled"])
                    for s in self.shown("sbfd")["sbfd_sessions"]}
        return {"groups": groups, "routes": routes, "tunnels": tunnels, "labels": labels,
                "redirects": self.redirects(), "sessions": sessions}

    def redirects(self):
        """The redirects according to policy map, class maps and ACLs, and leftovers of each layer. These are three
        separate reads; a removal may run in between."""
        acls = self.shown("acl")
        class_maps = {c["name"]: [a["acl"] for a in c["acls"]] for c in self.shown("class-map")["class_maps"]}
        found, used = {}, set()
        for rule in self.shown("policy-map")["policy_map_rules"]:
            self.assertEqual("cbf", rule["name"])
            redirect = re.search("nexthop_group_name='(.*?)'", rule["actions"][0]).group(1)
            used.add(rule["class_map"])
            match, values = None, []
            for acl, shift in zip(class_maps.get(rule["class_map"], []), (0, 2)):
                texts = [r["rule"] for r in acls["acl_rules"] if r["acl"] == acl]
                match = next((re.search("nexthop_group='(.*?)'", text).group(1) for text in texts), match)
                values.append([int(re.search("priority_value=([0-9]+)", text).group(1)) >> shift for text in texts])
            found[match, redirect] = tuple(values)
        beyond = set(class_maps) - used
        beyond |= {a["name"] for a in acls["acls"]} - {acl for name in used for acl in class_maps.get(name, [])}
        beyond |= {a["name"] for a in acls["acls"] if a["state"] != "committed"}
        if beyond:
            found["beyond"] = beyond
        return found

    def assert_holds(self, wanted):
        held = self.held()
        for kind, table in wanted.items():
            self.assertEqual(table, held[kind], kind)

    def assert_comes_to_hold(self, version):
        """Stale redirects are removed one second after the end of the resync, everything else before its reply."""
        wanted = expected(document(version))
        held = self.held()
        for kind in wanted:
            if kind != "redirects":
                self.assertEqual(wanted[kind], held[kind], kind)
        self.assertEqual(wanted["redirects"], self.until(self.redirects, lambda seen: seen == wanted["redirects"]))
        self.assertIn("complete ", self.note())

    def note(self):
        return next((s["value"] for s in self.shown("agent status")["status"] if s["name"] == NOTE), "")

    def want(self, version):
        self.document = document(version)
        self.write()

    def programmed(self, version):
        self.want(version)
        self.assertEqual(0, self.once()[0])
        self.assert_holds(expected(document(version)))

    def replayed_in_part(self, bulks):
        """Returns a controller process that has started a resync, replayed this many bulks, and then waits."""
        process = subprocess.Popen([sys.executable, "-c", REPLAYS_IN_PART, self.target, str(self.file),
                                    str(self.folder / "record"), str(bulks)], cwd=PACKAGE, stdout=subprocess.PIPE,
                                   text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(self.kill, process)
        self.read_to(process, "in the middle")
        return process

    def test_the_controller_is_killed(self):
        controller = self.running_with(1)
        self.kill(controller)
        self.assert_holds(expected(document(1)))
        # Its successor on the same machine knows what the switch has accepted.
        self.want(2)
        code, said = self.once()
        self.assertEqual(0, code, said)
        self.assertNotIn("resync", said)
        self.assert_comes_to_hold(2)

    def test_the_controller_is_killed_and_its_successor_knows_nothing(self):
        controller = self.running_with(1)
        self.kill(controller)
        os.unlink(f"{self.file}.programmed")
        self.want(2)
        code, said = self.once()
        self.assertEqual(0, code, said)
        self.assertIn("resync: replaying 3 groups, 3 routes, 2 tunnels, 4 labels, 2 redirects, 2 sessions\n", said)
        self.assert_comes_to_hold(2)

    def test_the_server_is_killed(self):
        controller = self.running_with(1)
        self.kill(self.daemon)
        self.read_to(controller, "retrying in")
        # The desired state changes while there is no server.
        self.want(2)
        controller.send_signal(signal.SIGHUP)
        self.read_to(controller, "read again")
        self.start()
        self.read_to(controller, "in sync")
        self.assert_comes_to_hold(2)
        controller.send_signal(signal.SIGTERM)
        self.assertEqual(0, controller.wait(10))

    def test_both_are_killed(self):
        controller = self.running_with(1)
        self.kill(self.daemon)
        self.kill(controller)
        self.start()
        client = Client(self.target, 20, 20)
        self.addCleanup(client.close)
        # Everything acknowledged is restored, and nothing can be programmed before an init.
        self.assert_holds(expected(document(1)))
        self.assertFalse(client.is_initialized())
        self.assertIn("complete ", client.note(NOTE))
        self.want(2)
        code, said = self.once()
        self.assertEqual(0, code, said)
        self.assertIn("resync: replaying", said)
        self.assert_comes_to_hold(2)
        self.assertTrue(client.is_initialized())

    def test_the_controller_is_killed_in_the_middle_of_a_resync(self):
        self.programmed(1)
        self.want(2)
        self.kill(self.replayed_in_part(3))
        # An open resync has removed nothing yet.
        self.assert_holds(united(document(1), document(2), ("groups", "routes", "tunnels")))
        self.assertEqual("programming", self.note())
        self.want(3)
        code, said = self.once()
        self.assertEqual(0, code, said)
        self.assertIn("resync: replaying", said)
        self.assert_comes_to_hold(3)

    def test_both_are_killed_in_the_middle_of_a_resync(self):
        self.programmed(1)
        self.want(2)
        process = self.replayed_in_part(5)
        self.kill(self.daemon)
        self.kill(process)
        self.start()
        self.want(1)
        code, said = self.once()
        self.assertEqual(0, code, said)
        self.assertIn("resync: replaying", said)
        self.assert_comes_to_hold(1)

    def test_a_redirect_that_comes_back_within_the_second_stays_as_it_was(self):
        self.programmed(1)
        rules = self.shown("policy-map")
        self.document["redirects"] = self.document["redirects"][:1]
        self.write()
        self.assertEqual(0, self.once()[0])
        self.want(1)
        self.assertEqual(0, self.once()[0])
        # Whether or not the second was over: the redirect exists, and no layer has leftovers.
        self.assert_comes_to_hold(1)
        self.assertEqual(len(rules["policy_map_rules"]), len(self.shown("policy-map")["policy_map_rules"]))

    def running_with(self, version):
        self.want(version)
        controller = self.running()
        self.read_to(controller, "in sync")
        self.assert_holds(expected(document(version)))
        return controller


if __name__ == "__main__":
    unittest.main()

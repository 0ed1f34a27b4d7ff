"""Tests the state file, differences, messages and the back-off, without a connection."""
import copy
import json
import random
import tempfile
import unittest
from pathlib import Path

from orv_controller import record, statefile
from orv_controller.backoff import BackOff
from orv_controller.diff import difference
from orv_controller.pb import orvsdk_pb2 as pb
from orv_controller.wire import WIRES, session_key, session_key_msg

EXAMPLE = Path(__file__).parent.parent / "examples" / "state.json"


class StateFile(unittest.TestCase):
    def setUp(self):
        self.document = json.loads(EXAMPLE.read_text())

    def refuse(self, *expected):
        with self.assertRaises(statefile.BadState) as caught:
            statefile.parse(self.document)
        self.assertEqual(list(expected), caught.exception.problems)

    def test_the_example_is_good_and_names_no_unknown_group(self):
        state = statefile.parse(self.document)
        self.assertEqual(10, state.count())
        self.assertEqual([], statefile.warnings(state))

    def test_what_is_written_reads_back_equal(self):
        state = statefile.parse(self.document)
        again = statefile.parse(json.loads("".join(statefile.lines(state))))
        self.assertEqual(state, again)
        self.assertEqual(statefile.digest(state), statefile.digest(again))

    def test_the_digest_knows_neither_order_nor_spelling_but_every_value(self):
        other = copy.deepcopy(self.document)
        other["routes"].reverse()
        other["routes"][0]["prefix"] = "2001:DB8:0::/32"
        first = statefile.digest(statefile.parse(self.document))
        self.assertEqual(first, statefile.digest(statefile.parse(other)))
        other["tunnels"][0]["metric"] += 1
        self.assertNotEqual(first, statefile.digest(statefile.parse(other)))

    def test_every_problem_is_told_with_its_place(self):
        self.document["routes"][0]["prefix"] = "192.0.2.1/24"
        self.document["groups"][0]["nexthops"][0]["labels"] = [1 << 20]
        self.refuse("groups[0].nexthops[0].labels[0]: 1048576, expected a whole number from 0 to 1048575",
                    'routes[0].prefix: "192.0.2.1/24", expected no bits beyond the prefix length, as in 192.0.2.0/24')

    def test_unknown_members(self):
        self.document["groups"][1]["weight"] = 2
        self.document["route"] = []
        self.refuse("groups[1].weight: no such member", "route: no such member")

    def test_the_same_prefix_twice(self):
        self.document["routes"].append({"prefix": "2001:db8:0::/32", "group": "core"})
        self.refuse("routes[2]: 2001:db8::/32 is already in routes[1]")

    def test_labels_need_one_forwarding_and_the_right_number_of_labels(self):
        self.document["labels"][0]["nexthop"]["labels"] = [1, 2]
        self.document["labels"][1]["vrf"] = "red"
        self.refuse("labels[0].nexthop.labels: 2 labels, expected 1 with swap",
                    "labels[1].label: group and vrf, expected one of nexthop, group, vrf")

    def test_what_would_end_the_server_is_refused(self):
        self.document["redirects"][0]["match"] = "m" * 129
        self.refuse("redirects[0].match: 129 bytes, expected at most 128")

    def test_redirects_need_a_policy_map_and_routes_the_tag(self):
        self.document["config"] = {"tag": 7}
        self.document["routes"][0]["tag"] = 8
        self.refuse("routes[0].tag: 8, expected config.tag, which is 7",
                    "redirects[0].match: a redirect, but config.policy_map is not given")

    def test_an_interval_needs_a_multiplier(self):
        del self.document["sessions"][0]["multiplier"]
        self.refuse("sessions[0].min_tx: 50 with multiplier 0, expected both or none")

    def test_wrong_types(self):
        self.document["groups"][0]["autosize"] = 1
        self.document["labels"][0]["label"] = True
        self.document["sessions"] = {}
        self.refuse("groups[0].autosize: 1, expected true or false",
                    "labels[0].label: true, expected a whole number from 0 to 1048575",
                    "sessions: {}, expected a list")

    def test_files_that_cannot_be_read(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "state.json"
            for text, words in (('{"routes": [}', "not JSON"), ('{"routes": [], "routes": []}', "appears twice"),
                                ("[]", "expected an object")):
                path.write_text(text)
                with self.assertRaisesRegex(statefile.BadState, words):
                    statefile.load(path)
            with self.assertRaisesRegex(statefile.BadState, "cannot be read"):
                statefile.load(Path(folder) / "none.json")

    def test_warns_of_groups_that_nobody_describes(self):
        self.document["routes"][0]["group"] = "typo"
        self.assertEqual(["group typo is used by routes 192.0.2.0/24 and not described here"],
                         statefile.warnings(statefile.parse(self.document)))


class Differences(unittest.TestCase):
    def test_groups_come_first_and_go_last(self):
        before = statefile.load(EXAMPLE)
        after = statefile.parse({"groups": [{"name": "new", "nexthops": [{"intf": "Ethernet4"}]}]})
        steps = [kind for kind, _ in difference(before, after).steps()]
        self.assertEqual(["groups", "routes", "tunnels", "labels", "redirects", "sessions", "groups"], steps)
        self.assertEqual(0, len(difference(before, before.copy())))

    def test_each_item_has_a_set_and_a_delete_with_its_key(self):
        state = statefile.load(EXAMPLE)
        for kind, table in state.tables.items():
            for item in table.values():
                wire = WIRES[kind]
                bulk = wire.bulk(bulk=[wire.set(item), wire.delete(item)])
                self.assertNotEqual(bulk.bulk[0], bulk.bulk[1])
        route = WIRES["routes"].set(state.tables["routes"]["192.0.2.0/24"])
        self.assertEqual((b"\xc0\x00\x02\x00", 24, 7, "core"),
                         (route.prefix.network.address, route.prefix.prefix_length, route.tag,
                          route.nexthop_group_name))
        self.assertFalse(WIRES["routes"].delete(state.tables["routes"]["192.0.2.0/24"]).HasField("forwarding"))
        swap = WIRES["labels"].set(state.tables["labels"][1000])
        self.assertEqual(pb.MPLS_OPERATION_SWAP, swap.nexthop_msg.mpls_operation)
        key = next(iter(state.tables["sessions"]))
        self.assertEqual(key, session_key(session_key_msg(key)))

    def test_a_record_is_believed_only_with_its_digest(self):
        state = statefile.load(EXAMPLE)
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "record"
            record.write(path, state)
            self.assertEqual(state, record.read(path, statefile.digest(state)))
            self.assertIsNone(record.read(path, "0" * 64))
            path.write_text(path.read_text().replace("Ethernet2", "Ethernet5"))
            self.assertIsNone(record.read(path, statefile.digest(state)))


class BackOffTest(unittest.TestCase):
    def test_doubles_to_the_cap_within_its_jitter_and_starts_over(self):
        back_off = BackOff(0.1, 1.0, random.Random(1))
        delays = [back_off.delay() for _ in range(7)]
        for delay, whole in zip(delays, (0.1, 0.2, 0.4, 0.8, 1.0, 1.0, 1.0)):
            self.assertTrue(whole / 2 <= delay <= whole, (delay, whole))
        self.assertEqual(7, len(set(delays)))
        back_off.reset()
        self.assertLessEqual(back_off.delay(), 0.1)


if __name__ == "__main__":
    unittest.main()

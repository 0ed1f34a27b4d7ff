"""Tests the controller against an in-process server: restarts, refusals, reloads, stops."""
import io
import json
import random
import tempfile
import threading
import unittest
from pathlib import Path

from orv_controller.backoff import BackOff
from orv_controller.client import ConnectionLost
from orv_controller.controller import Controller, ExitCode, Settings
from orv_controller.report import Report
from orv_controller.sync import NOTE

from .fake_switch import FakeSwitch
from .test_state import EXAMPLE


class ControllerTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.file = self.folder / "state.json"
        self.document = json.loads(EXAMPLE.read_text())
        self.write()
        self.switch = FakeSwitch(f"unix:{self.folder}/s")
        self.addCleanup(lambda: self.switch.stop())
        self.out, self.err = io.StringIO(), io.StringIO()

    def write(self):
        self.file.write_text(json.dumps(self.document))

    def controller(self, **more):
        settings = Settings(self.switch.address, self.file, self.folder / "record", 5.0, 10.0, **more)
        return Controller(settings, Report(self.out, self.err), BackOff(0.01, 0.05, random.Random(1)))

    def running(self, **more):
        controller, codes = self.controller(**more), []
        thread = threading.Thread(target=lambda: codes.append(controller.run()), daemon=True)
        thread.start()

        def finish():
            controller.stop()
            thread.join(10)
            self.assertFalse(thread.is_alive())
            return codes[0]

        self.addCleanup(controller.stop)
        return controller, finish

    def complete(self):
        return self.switch.notes.get(NOTE, "").startswith("complete ")

    def test_an_empty_switch_is_programmed_once_and_then_left_alone(self):
        self.assertEqual(ExitCode.IN_SYNC, self.controller().once())
        self.assertEqual({"group": 2, "route": 2, "tunnel": 1, "label": 3, "redirect": 1, "session": 1},
                         {kind: len(table) for kind, table in self.switch.tables.items()})
        sent = len(self.switch.bulks)
        self.assertEqual(ExitCode.IN_SYNC, self.controller().once())
        self.assertEqual((sent, 0), (len(self.switch.bulks), self.switch.resyncs))

    def test_a_new_server_process_is_replayed_to(self):
        self.controller().once()
        self.switch.tables["route"]["stale"] = None
        self.switch.restart()
        self.assertEqual(ExitCode.IN_SYNC, self.controller().once())
        self.assertEqual(1, self.switch.resyncs)
        self.assertNotIn("stale", self.switch.tables["route"])

    def test_only_the_difference_goes_to_a_living_server(self):
        self.controller().once()
        self.switch.bulks.clear()
        del self.document["labels"][2]
        self.document["tunnels"][0]["metric"] = 99
        self.write()
        self.assertEqual(ExitCode.DIFFERS, self.controller().diff())
        self.assertEqual([], self.switch.bulks)
        self.assertEqual(ExitCode.IN_SYNC, self.controller().once())
        self.assertEqual([("tunnel", 1), ("label", 1)], self.switch.bulks)
        self.assertNotIn(1002, self.switch.tables["label"])
        self.assertEqual(ExitCode.IN_SYNC, self.controller().diff())

    def test_a_predecessor_that_died_on_the_way_is_cleaned_up_after(self):
        self.controller().once()
        self.switch.notes[NOTE] = "programming"
        self.switch.tables["group"]["half"] = None
        self.assertEqual(ExitCode.IN_SYNC, self.controller().once())
        self.assertEqual(1, self.switch.resyncs)
        self.assertNotIn("half", self.switch.tables["group"])

    def test_one_refused_item_stops_no_other_and_leaves_the_note_open(self):
        self.switch.refused_names.add("core_voice")
        self.assertEqual(ExitCode.REFUSED, self.controller().once())
        self.assertEqual({"core"}, set(self.switch.tables["group"]))
        self.assertEqual(2, len(self.switch.tables["route"]))
        self.assertIn("refused: group core_voice: Error: no core_voice here", self.err.getvalue())
        self.assertEqual("programming", self.switch.notes[NOTE])

    def test_bulks_of_a_thousand(self):
        self.document["routes"] = [{"prefix": f"10.{i >> 8}.{i & 255}.0/24", "group": "core"} for i in range(2500)]
        self.write()
        self.assertEqual(ExitCode.IN_SYNC, self.controller().once())
        self.assertEqual([1000, 1000, 500], sorted((n for k, n in self.switch.bulks if k == "route"), reverse=True))
        self.assertIn("... and 2450 more routes", self.out.getvalue())

    def test_another_policy_map_is_refused_by_a_living_server_alone(self):
        self.controller().once()
        self.document["config"]["policy_map"] = "other"
        self.write()
        self.assertEqual(ExitCode.REFUSED, self.controller().once())
        self.assertIn("restart the server to change it", self.err.getvalue())
        self.switch.restart()
        self.assertEqual(ExitCode.IN_SYNC, self.controller().once())

    def test_no_server(self):
        self.switch.stop()
        for mode in ("once", "diff"):
            controller = self.controller()
            controller._settings.connect_timeout = 0.1
            with self.assertRaises(ConnectionLost):
                getattr(controller, mode)()

    def test_run_outlives_the_server_and_replays(self):
        _, finish = self.running()
        self.assertTrue(self.switch.wait(self.complete))
        self.switch.stop()
        self.switch.tables["route"]["stale"] = None
        self.switch.start()
        self.assertTrue(self.switch.wait(lambda: self.switch.resyncs == 1 and self.complete()))
        self.assertNotIn("stale", self.switch.tables["route"])
        self.assertEqual(ExitCode.IN_SYNC, finish())
        self.assertIn("retrying in", self.err.getvalue())
        self.assertIn("sbfd 10.1.0.2%Ethernet1 labels 100: up", self.out.getvalue())

    def test_run_programs_the_difference_on_reload_and_keeps_its_state_on_a_bad_file(self):
        controller, finish = self.running()
        self.assertTrue(self.switch.wait(self.complete))
        self.file.write_text("{")
        controller.reload()
        self.document["routes"].pop()
        self.switch.bulks.clear()
        while "keeping the previous state" not in self.err.getvalue():
            threading.Event().wait(0.01)
        self.assertEqual([], self.switch.bulks)
        self.write()
        controller.reload()
        self.assertTrue(self.switch.wait(lambda: len(self.switch.tables["route"]) == 1 and self.complete()))
        self.assertEqual([("route", 1)], self.switch.bulks)
        self.assertEqual(ExitCode.IN_SYNC, finish())

    def test_run_sends_again_what_was_refused(self):
        self.switch.refused_names.add("core_voice")
        _, finish = self.running(retry=0.05)
        self.assertTrue(self.switch.wait(lambda: len(self.switch.tables["session"]) == 1))
        self.switch.refused_names.clear()
        self.assertTrue(self.switch.wait(self.complete))
        self.assertEqual({"core", "core_voice"}, set(self.switch.tables["group"]))
        self.assertEqual(ExitCode.IN_SYNC, finish())

    def test_a_stop_in_the_middle_of_a_resync_leaves_a_note_for_the_successor(self):
        self.controller().once()
        self.switch.restart()
        self.switch.hold_bulks.clear()
        controller, finish = self.running()
        self.assertTrue(self.switch.wait(lambda: self.switch.notes[NOTE] == "programming"))
        controller.stop()
        self.switch.hold_bulks.set()
        self.assertEqual(ExitCode.STOPPED, finish())
        self.assertEqual((0, "programming"), (self.switch.resyncs, self.switch.notes[NOTE]))
        self.assertEqual(ExitCode.IN_SYNC, self.controller().once())
        self.assertEqual(1, self.switch.resyncs)


if __name__ == "__main__":
    unittest.main()

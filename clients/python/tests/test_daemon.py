"""Tests the program against a real switch. Needs ORV_BIN_DIR, the folder of orvsdkrpcd; otherwise skipped."""
import json
import os
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from .test_state import EXAMPLE

BIN = os.environ.get("ORV_BIN_DIR")
PACKAGE = Path(__file__).parent.parent


class RealSwitch(unittest.TestCase):
    """A switch with its own state directory, and the program."""

    flags = ("--bfd",)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.file = self.folder / "state.json"
        self.document = json.loads(EXAMPLE.read_text())
        self.write()
        self.target = f"unix:{self.folder}/s"
        self.start()

    def write(self):
        self.file.write_text(json.dumps(self.document))

    def start(self):
        self.daemon = subprocess.Popen(
            [f"{BIN}/orvsdkrpcd", "--listen", self.target, "--state-dir", f"{self.folder}/state",
             "--console", f"unix:{self.folder}/c", *self.flags], stderr=subprocess.DEVNULL)
        self.addCleanup(self.kill, self.daemon)

    @staticmethod
    def kill(process):
        process.kill()
        process.wait(10)

    def command(self, mode, *more):
        return [sys.executable, "-m", "orv_controller", "--target", self.target, "--state", str(self.file),
                "--connect-timeout", "20", *more, mode]

    def once(self, mode="once"):
        done = subprocess.run(self.command(mode), cwd=PACKAGE, capture_output=True, text=True, timeout=25,
                              check=False)
        return done.returncode, done.stdout + done.stderr

    def running(self):
        process = subprocess.Popen(self.command("run"), cwd=PACKAGE, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(self.kill, process)
        return process

    def read_to(self, process, words):
        seen = []
        for line in process.stdout:
            seen.append(line)
            if words in line:
                return seen
        self.fail(f"no '{words}' in: {''.join(seen)}")

    def console(self, command):
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(10)
            connection.connect(f"{self.folder}/c")
            stream = connection.makefile("rwb")
            stream.write(command.encode() + b"\n")
            stream.flush()
            text = b""
            while (head := stream.readline().split()) != [b"OK"]:
                self.assertIn(head[:1], ([b"OUT"], [b"ERR"]))
                text += stream.read(int(head[1]))
                if head[0] == b"ERR":
                    break
            return text.decode()

    def until(self, look, good, seconds=20):
        """Calls look() until good() accepts the result or the time is up. Returns the last result."""
        deadline = time.monotonic() + seconds
        while not good(seen := look()) and time.monotonic() < deadline:
            time.sleep(0.02)
        return seen


@unittest.skipUnless(BIN, "ORV_BIN_DIR is not set")
class DaemonTest(RealSwitch):
    def test_both_sides_restart_with_all_six_kinds(self):
        self.assertEqual(0, self.once()[0])
        routes = self.console("show ip route")
        self.assertIn("192.0.2.0/24", routes)
        code, said = self.once()
        self.assertEqual((0, 1), (code, len(said.splitlines())), said)

        # Kill the server: the running controller replays to the next process.
        controller = self.running()
        self.read_to(controller, "in sync")
        self.kill(self.daemon)
        self.start()
        seen = self.read_to(controller, "in sync")
        self.assertIn("resync: replaying 2 groups, 2 routes, 1 tunnels, 3 labels, 1 redirects, 1 sessions\n", seen)
        self.assertEqual(routes, self.console("show ip route"))

        # A reload sends the difference.
        del self.document["routes"][0]
        self.write()
        controller.send_signal(signal.SIGHUP)
        seen = self.read_to(controller, "in sync")
        self.assertIn("  - route 192.0.2.0/24: core tag 7\n", seen)
        self.assertNotIn("192.0.2.0/24", self.console("show ip route"))

        # Kill the controller: its successor finds everything in place.
        self.kill(controller)
        self.assertEqual((0, "no difference\n"), self.once("diff"))

        # Kill both, and change the desired state.
        self.kill(self.daemon)
        self.document["routes"][0]["prefix"] = "203.0.113.0/24"
        self.write()
        self.start()
        controller = self.running()
        self.read_to(controller, "in sync")
        routes = self.console("show ip route")
        self.assertIn("203.0.113.0/24", routes)
        self.assertNotIn("2001:db8::/32", routes)
        controller.send_signal(signal.SIGTERM)
        self.assertEqual(0, controller.wait(10))

    def test_a_refused_group_ends_with_1_and_the_words_of_the_switch(self):
        self.document["groups"][1]["nexthops"][0]["intf"] = "Ethernet999"
        self.write()
        code, said = self.once()
        self.assertEqual(1, code)
        self.assertRegex(said, "refused: group core_voice: .*Ethernet999")
        self.assertIn("192.0.2.0/24", self.console("show ip route"))

    def test_a_controller_killed_in_the_middle_leaves_no_doubt(self):
        self.document["routes"] = [{"prefix": f"10.{i >> 8}.{i & 255}.0/24", "group": "core"} for i in range(30000)]
        self.write()
        controller = self.running()
        self.read_to(controller, "programming 3")
        deadline = time.monotonic() + 20
        while "10.0.0.0/24" not in self.console("show ip route 10.0.0.0/24"):
            self.assertLess(time.monotonic(), deadline)
        self.kill(controller)
        self.document["routes"] = self.document["routes"][-10:]
        self.write()
        code, said = self.once()
        self.assertEqual(0, code, said)
        self.assertIn("resync", said)
        self.assertNotIn("10.0.0.0/24", self.console("show ip route"))

    def test_bad_input_and_no_connection(self):
        self.kill(self.daemon)
        done = subprocess.run(self.command("once", "--connect-timeout", "0.1"), cwd=PACKAGE, capture_output=True,
                              text=True, timeout=25, check=False)
        self.assertEqual(3, done.returncode)
        self.file.write_text("{")
        self.assertEqual(2, self.once()[0])
        self.assertEqual(2, self.once("never")[0])


if __name__ == "__main__":
    unittest.main()

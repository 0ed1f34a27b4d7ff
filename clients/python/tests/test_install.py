"""Tests the package as installed by pip, with Debian's packages only."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import orv_controller

PACKAGE = Path(__file__).parent.parent


class InstallTest(unittest.TestCase):
    def test_pip_installs_a_program_that_stands_on_its_own(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        # Copy the sources, because the build leaves files next to them.
        source, target = Path(folder.name, "source"), Path(folder.name, "installed")
        shutil.copytree(PACKAGE, source, ignore=shutil.ignore_patterns("__pycache__", "build", "*.egg-info"))
        installed = subprocess.run(
            [sys.executable, "-m", "pip", "install", "--no-index", "--no-build-isolation", "--no-deps",
             "--no-cache-dir", "--disable-pip-version-check", "--target", str(target), str(source)],
            cwd=folder.name, capture_output=True, text=True, timeout=80, check=False)
        self.assertEqual(0, installed.returncode, installed.stdout + installed.stderr)
        shutil.rmtree(source)

        environment = {"PATH": os.environ["PATH"], "PYTHONPATH": str(target)}

        def run(*arguments):
            done = subprocess.run([sys.executable, "-B", str(target / "bin/orv-controller"), *arguments],
                                  cwd=folder.name, env=environment, capture_output=True, text=True, timeout=20,
                                  check=False)
            return done.returncode, done.stdout, done.stderr

        code, said, _ = run("--help")
        self.assertEqual(0, code)
        self.assertIn("keep the switch in the state of the file", said)
        self.assertEqual((0, f"orv-controller {orv_controller.__version__}\n", ""), run("--version"))
        # The generated stubs and the marker for type checkers are installed.
        self.assertTrue((target / "orv_controller/pb/orvsdk_pb2.py").is_file())
        self.assertTrue((target / "orv_controller/mirror/switch.py").is_file())
        self.assertTrue((target / "orv_controller/py.typed").is_file())
        example = PACKAGE / "examples/state.json"
        self.assertEqual(0, run("--state", str(example), "check")[0])


if __name__ == "__main__":
    unittest.main()

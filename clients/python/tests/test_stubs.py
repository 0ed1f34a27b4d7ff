"""Tests that the generated stubs match the wire contract."""
import subprocess
import unittest
from pathlib import Path


class Stubs(unittest.TestCase):
    def test_are_up_to_date(self):
        script = Path(__file__).parent.parent / "regenerate.sh"
        result = subprocess.run([script, "--check"], capture_output=True, text=True, check=False)
        self.assertEqual((0, ""), (result.returncode, result.stdout + result.stderr))


if __name__ == "__main__":
    unittest.main()

"""Small trees for the tests of the checks, and a runner that fails when it ran no test."""

import pathlib
import sys
import tempfile
import unittest


class TreeTest(unittest.TestCase):
    """A test with a tree of its own, in a folder whose name holds a space."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="packetdb tree ")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def write(self, name, text="", mode=0o644):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        path.chmod(mode)
        return path

    def assert_one(self, findings, *parts):
        """There is exactly one finding and it says each of `parts`."""
        self.assertEqual(len(findings), 1, findings)
        for part in parts:
            self.assertIn(part, findings[0])


def main():
    program = unittest.main(module="__main__", exit=False, verbosity=2)
    if program.result.testsRun == 0:
        sys.exit("no tests were run")
    sys.exit(not program.result.wasSuccessful())

import pathlib
import re
import shutil
import unittest

from stage import SCRATCH, STAGE, fresh, run

TOOLS = SCRATCH / "tools"  # the tree of this component alone
WORKER = "q750-worker"


class InstalledTools(unittest.TestCase):
    """The installed command line: its worker is in another folder of the same tree, wherever the tree is."""

    def scan(self, prefix, status=0):
        self.picture = SCRATCH / "installed.pnm"
        self.picture.unlink(missing_ok=True)
        return run(prefix / STAGE.bin / "q750", "scan", "--quiet", "--device", "virtual", "--resolution", "75", "--area",
                   "0x0+40x30px", "--output", self.picture, status=status)

    def moved(self):
        prefix = fresh(SCRATCH / "tools-moved") / "some" / "where"
        shutil.copytree(TOOLS, prefix)
        return prefix

    def test_scans_where_it_is_installed(self):
        self.scan(TOOLS)
        header = re.match(rb"P6\n(#.*\n)*40 30\n255\n", self.picture.read_bytes())
        self.assertEqual(self.picture.stat().st_size, len(header.group()) + 40 * 30 * 3)

    def test_scans_where_it_was_moved_to(self):
        self.scan(self.moved())
        self.assertTrue(self.picture.exists())

    def test_tells_that_its_worker_is_missing(self):
        if pathlib.Path(STAGE.worker).exists():
            self.skipTest(f"{STAGE.worker} is there, and would be found")
        prefix = self.moved()
        next(prefix.rglob(WORKER)).unlink()
        self.assertEqual(self.scan(prefix, status=7).stderr,
                         f"q750: The scanning program could not be started ({WORKER}: No such file or directory). "
                         "Reinstall this software.\n")
        self.assertFalse(self.picture.exists())


if __name__ == "__main__":
    unittest.main()

"""A sample of each part of tools/endure."""
import json
import os
import pathlib
import random
import tempfile
import unittest

import limits
import parts
from front_ends import Stage
from processes import adopt_strays

PROGRAMS = json.loads(pathlib.Path(os.environ["Q750_ENDURE_STAGE"]).read_text())


class Sample(unittest.TestCase):
    def setUp(self):
        adopt_strays()
        # Not below /tmp, which is taken away from some of the runs.
        folder = tempfile.TemporaryDirectory(prefix="endure-", dir=pathlib.Path(os.environ["Q750_ENDURE_STAGE"]).parent)
        self.addCleanup(folder.cleanup)
        os.chmod(folder.name, 0o755)
        self.stage = Stage(PROGRAMS, folder.name)

    def expect_nothing(self, part, count, subject=None):
        report = parts.run(part, self.stage, count, subject, random.Random(750))
        self.assertEqual(report.complaints, [])

    def test_kills_at_random_moments_leave_nothing(self):
        self.expect_nothing("kill", 10, "command")

    @unittest.skipUnless(PROGRAMS["scanimage"], "needs scanimage")
    def test_kills_of_a_sane_program_leave_nothing(self):
        self.expect_nothing("kill", 5, "sane")

    def test_the_server_can_be_killed_and_started_again(self):
        self.expect_nothing("kill", 5, "virtual")

    def test_a_worker_that_is_stopped_for_a_while_goes_on(self):
        self.expect_nothing("stop", 10, "command")

    def test_many_scans_in_one_process_hold_no_more(self):
        self.expect_nothing("soak", 300, "sane")

    def test_many_processes_leave_nothing(self):
        self.expect_nothing("soak", 20, "command")

    def test_too_little_of_anything_ends_with_a_sentence(self):
        self.expect_nothing("limits", 0, "ranges")

    def test_nothing_around_has_to_be_there(self):
        if limits.mounting_prefix() is None:
            self.skipTest("needs mounts of its own: root, or user namespaces")
        self.expect_nothing("limits", 0, "surroundings")


if __name__ == "__main__":
    unittest.main()

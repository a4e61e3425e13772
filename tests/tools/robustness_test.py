"""tools/robustness, with parts of one shell command each."""
import contextlib
import importlib.machinery
import importlib.util
import io
import os
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
LOADER = importlib.machinery.SourceFileLoader("robustness", os.environ["Q750_ROBUSTNESS"])


class Robustness(unittest.TestCase):
    def setUp(self):
        spec = importlib.util.spec_from_loader("robustness", LOADER)
        self.tool = importlib.util.module_from_spec(spec)
        sys.modules["robustness"] = self.tool
        spec.loader.exec_module(self.tool)
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tool.ROOT = pathlib.Path(folder.name)

    def run_parts(self, commands, *options):
        """Runs one part for each command; returns its exit status and the rows of the table."""
        self.tool.PARTS = [self.tool.Part(name, f"the {name}", command, "echo '| quick | 1 | 0 |'", 1)
                           for name, command in commands.items()]
        sys.argv = ["robustness", *options]
        with contextlib.redirect_stdout(io.StringIO()):
            status = self.tool.main()
        table = self.tool.ROOT / "build/robustness" / ("quick" if "--quick" in options else "") / "table.md"
        rows = [line for line in table.read_text().splitlines() if line.startswith("| ")][1:]
        return status, [[cell.strip() for cell in row.strip("|").split(" | ")] for row in rows]

    def test_a_row_gets_date_commit_and_command(self):
        status, [row] = self.run_parts({"kill": "echo noise; echo '| killed | 1,000 times | 0 |'"})
        self.assertEqual(status, 0)
        self.assertEqual(row[:3], ["killed", "1,000 times", "0"])
        self.assertRegex(row[3], r"^20\d\d-\d\d-\d\d$")
        self.assertEqual(row[4:], ["unknown", r"`echo noise; echo '\| killed \| 1,000 times \| 0 \|'`"])

    def test_findings_are_the_exit_status(self):
        status, [row] = self.run_parts({"kill": "echo '| killed | 9 times | 2 |'; exit 1"})
        self.assertEqual((status, row[2]), (1, "2"))

    def test_tests_need_no_row(self):
        status, [row] = self.run_parts({"threads": "echo '90% tests passed, 1 tests failed out of 10'; exit 8"})
        self.assertEqual((status, row[:3]), (1, ["the threads", "10 suites", "1"]))

    def test_a_tool_that_fails_has_no_figures(self):
        for command in ("exit 3", "echo '| killed | 9 times | 0 |'; exit 3"):
            status, [row] = self.run_parts({"kill": command})
            self.assertEqual((status, row[:3]), (1, ["the kill", "no figures: it ended with status 3", "unknown"]))

    def test_rows_stay_until_their_part_ends_again(self):
        commands = {"kill": "echo '| killed | 1 | 0 |'", "soak": "echo '| soak | 2 | 0 |'"}
        _, rows = self.run_parts(commands, "--only", "soak")
        self.assertEqual([row[:2] for row in rows], [["the kill", "not run"], ["soak", "2"]])
        _, rows = self.run_parts(commands, "--only", "kill")
        self.assertEqual([row[:2] for row in rows], [["killed", "1"], ["soak", "2"]])

    def test_a_quick_run_has_a_table_of_its_own(self):
        self.run_parts({"kill": "echo '| killed | 1,000 | 0 |'"})
        _, [row] = self.run_parts({"kill": "false"}, "--quick")
        self.assertEqual(row[0], "quick")
        self.assertIn("1,000", (self.tool.ROOT / "build/robustness/table.md").read_text())

    def test_a_part_that_was_not_run_is_named_with_its_command(self):
        commands = {"kill": "true", "soak": "echo '| soak | 2 | 0 |'"}
        self.assertIn(["the kill", "not run", "", "", "", "`true`"], self.run_parts(commands, "--only", "soak")[1])
        _, rows = self.run_parts(commands, "--only", "soak", "--quick")
        self.assertEqual(rows[0][5], r"`echo '\| quick \| 1 \| 0 \|'`")

    def test_an_unknown_part_is_refused(self):
        with self.assertRaises(SystemExit) as end:
            self.run_parts({"kill": "true"}, "--only", "kil")
        self.assertEqual(end.exception.code, "robustness: there is no part kil. Choose from kill.")


if __name__ == "__main__":
    unittest.main()

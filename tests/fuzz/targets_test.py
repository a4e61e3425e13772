import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["Q750_SOURCE"])
TARGETS = json.loads(pathlib.Path(os.environ["Q750_FUZZ_TARGETS"]).read_text())
SHORT_INPUTS = os.environ["Q750_SHORT_INPUTS"]

LONGEST_TARGET = 25  # lines
FEWEST_INPUTS = 5
LARGEST_INPUT = 4096
CASE_NAME = re.compile(r"^(?![0-9a-f]{40}$)[a-z0-9]+(-[a-z0-9]+)*$")  # not the name that the fuzzer gives


def corpus(target):
    return sorted((SOURCE / "fuzz/corpus" / target["name"]).iterdir())


class Targets(unittest.TestCase):
    def test_are_all_sources_of_the_folder(self):
        listed = set(re.findall(r"q750_fuzz_target\(\S+ (\S+)", (SOURCE / "fuzz/CMakeLists.txt").read_text()))
        self.assertEqual(listed - {"<source>"}, {path.name for path in (SOURCE / "fuzz").glob("*.cpp")})

    def test_are_short_and_say_what_they_read_and_check(self):
        for path in (SOURCE / "fuzz").glob("*.cpp"):
            lines = path.read_text().splitlines()
            self.assertLessEqual(len(lines), LONGEST_TARGET, path)
            self.assertTrue(lines[0].startswith("// Reads: "), path)
            self.assertTrue(lines[1].startswith("// Checks: "), path)

    def test_name_readers_and_dictionaries_that_exist(self):
        for target in TARGETS:
            self.assertTrue(target["reader"], target)
            for file in target["reader"]:
                self.assertTrue((SOURCE / file).is_file(), file)
            if target["dictionary"]:
                self.assertTrue((SOURCE / "fuzz/dictionaries" / f"{target['dictionary']}.dict").is_file(), target)


class Corpora(unittest.TestCase):
    def test_belong_to_the_targets(self):
        folders = {path.name for path in (SOURCE / "fuzz/corpus").iterdir()}
        self.assertEqual(folders, {target["name"] for target in TARGETS})

    def test_hold_a_few_small_inputs_named_by_case(self):
        for target in TARGETS:
            self.assertGreaterEqual(len(corpus(target)), FEWEST_INPUTS, target["name"])
            for file in corpus(target):
                self.assertLessEqual(file.stat().st_size, LARGEST_INPUT, file)
                self.assertRegex(file.name, CASE_NAME, file)

    def test_hold_each_input_once(self):
        for target in TARGETS:
            contents = [file.read_bytes() for file in corpus(target)]
            self.assertEqual(len(set(contents)), len(contents), target["name"])


class Replay(unittest.TestCase):
    """The program that runs a target over its corpus, with a target that fails on more than three bytes."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name) / "corpus"

    def replay(self, **inputs):
        self.folder.mkdir()
        for name, content in inputs.items():
            (self.folder / name).write_bytes(content)
        return self.run_over(self.folder)

    def run_over(self, *folders):
        return subprocess.run([SHORT_INPUTS, *folders], capture_output=True, text=True)

    def test_runs_every_input_of_a_folder(self):
        result = self.replay(b=b"abc", a=b"a", empty=b"")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual([pathlib.Path(line).name for line in result.stderr.splitlines()], ["a", "b", "empty"])

    def test_ends_at_an_input_that_fails_and_names_it_last(self):
        result = self.replay(a=b"a", b=b"abcd", c=b"c")
        self.assertEqual(result.returncode, -signal.SIGABRT)
        self.assertEqual(pathlib.Path(result.stderr.splitlines()[-1]).name, "b")

    def test_fails_without_an_input(self):
        self.assertEqual(self.replay().returncode, 1)
        self.assertEqual(self.run_over(self.folder / "missing").returncode, 1)
        self.assertEqual(self.run_over().returncode, 1)


if __name__ == "__main__":
    unittest.main()

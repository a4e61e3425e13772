import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

PROGRAM = os.environ["Q750_PROGRAM"]
FOLDER = pathlib.Path(os.environ["Q750_COMPLETIONS"])


def run(*arguments, **more):
    return subprocess.run(arguments, check=True, text=True, capture_output=True, timeout=60, **more).stdout


def complete(line, folder=None):
    """What bash offers at the end of the line; the command's first word is replaced by the program."""
    script = f"""
      source {FOLDER}/q750.bash
      COMP_LINE={PROGRAM}$1; COMP_POINT=${{#COMP_LINE}}
      _q750
      printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    return [choice for choice in run("bash", "-u", "-c", script, "bash", line, cwd=folder).splitlines() if choice]


def options_of(command):
    """The long options that the help of a command names, but for what its examples say."""
    text = run(PROGRAM, *command, "--help")
    return set(re.findall(r"^  (?:-\w,)?(--[a-z-]+)", text, re.MULTILINE))


class Bash(unittest.TestCase):
    def test_completes_the_commands(self):
        self.assertEqual(complete(" "), ["list", "scan", "doctor", "virtual"])
        self.assertEqual(complete(" s"), ["scan"])

    def test_completes_exactly_the_options_that_the_help_names(self):
        for command in ("list", "scan", "doctor", "virtual"):
            self.assertEqual(set(complete(f" {command} --")), options_of([command]), command)
        self.assertEqual(set(complete(" --")), options_of([]))

    def test_completes_values(self):
        self.assertEqual(complete(" scan --mode "), ["color", "gray", "lineart"])
        self.assertEqual(complete(" scan -m g"), ["gray"])
        self.assertEqual(complete(" scan --resolution 4"), ["400"])
        self.assertEqual(complete(" scan -o a.png --format "), ["tiff", "png", "jpeg", "pnm", "pdf"])
        self.assertEqual(complete(" scan --progress j"), ["json"])
        self.assertEqual(complete(" scan --timeout "), [])

    def test_completes_the_papers_and_faults_that_there_are(self):
        text = run(PROGRAM, "scan", "--help")
        papers = re.findall(r"^  (\S+) +[\d.]+ x [\d.]+ (?:mm|in)$", text, re.MULTILINE)
        self.assertEqual(complete(" scan --paper "), papers)
        faults = re.findall(r"^  ([a-z-]+):\d+ ", text, re.MULTILINE)
        self.assertEqual(complete(" scan --virtual-fault "), faults)

    def test_completes_the_names_of_scanners(self):
        names = [scanner["name"] for scanner in json.loads(run(PROGRAM, "list", "--json"))["scanners"]]
        self.assertEqual(complete(" scan --device "), names)
        self.assertEqual(complete(" doctor -d v"), ["virtual"])

    def test_completes_names_with_colons_from_where_bash_does(self):
        with tempfile.TemporaryDirectory() as folder:
            fake = pathlib.Path(folder) / "q750"
            fake.write_text("#!/bin/sh\necho 'usb:1-2.3  Quenvar Q750'\necho '  A hint: do this.'\n")
            fake.chmod(0o755)
            script = f"""source {FOLDER}/q750.bash; COMP_LINE="{fake} scan -d $1"; COMP_POINT=${{#COMP_LINE}}
              _q750; printf '%s\\n' "${{COMPREPLY[@]}}" """
            self.assertEqual(run("bash", "-c", script, "bash", ""), "usb:1-2.3\n")
            self.assertEqual(run("bash", "-c", script, "bash", "usb:1"), "1-2.3\n")

    def test_completes_files(self):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "a page.png").touch()
            self.assertEqual(complete(" scan -o a", folder), ["a page.png"])


class Zsh(unittest.TestCase):
    def test_understands_its_file(self):
        run("zsh", "-n", str(FOLDER / "_q750"))

    def test_names_every_option_of_the_help(self):
        text = (FOLDER / "_q750").read_text()
        for command in ("list", "scan", "doctor", "virtual"):
            for option in options_of([command]):
                self.assertRegex(text, re.escape(option) + r"[\[}]", command)


class Json(unittest.TestCase):
    def test_of_the_list_is_an_object(self):
        listed = json.loads(run(PROGRAM, "list", "--json"))
        self.assertEqual(list(listed), ["scanners", "problem"])
        self.assertEqual(list(listed["scanners"][-1].items()), [
            ("name", "virtual"), ("vendor", "Quenvar"), ("model", "Q750"), ("type", "flatbed scanner"),
            ("virtual", True), ("accessible", True), ("hint", "")])

    def test_of_a_scan_is_an_object_in_every_line(self):
        with tempfile.TemporaryDirectory() as folder:
            path = folder + "/a \"page\"\n\u20ac.png"
            lines = subprocess.run(
                [PROGRAM, "scan", "-d", "virtual", "-o", path, "-r", "600", "-a", "0x0+30x20px", "--progress", "json"],
                check=True, text=True, stderr=subprocess.PIPE, timeout=60).stderr.splitlines()
        events = [json.loads(line) for line in lines]
        self.assertEqual([event["event"] for event in events if event["event"] != "progress"],
                         ["scanner", "note", "page", "picture", "saved"])
        self.assertEqual(events[-1], {"event": "saved", "file": path, "pages": 1, "width": 30, "height": 20,
                                      "mode": "color", "resolution": 300})


if __name__ == "__main__":
    unittest.main()

import json
import os
import pathlib
import pty
import re
import select
import subprocess
import tempfile
import time
import unittest

os.environ["XDG_CONFIG_HOME"] = "/nonexistent"  # the user who runs the tests may have set defaults
PROGRAM = os.environ["Q750_PROGRAM"]
FOLDER = pathlib.Path(os.environ["Q750_COMPLETIONS"])


def run(*arguments, **more):
    return subprocess.run(arguments, check=True, text=True, capture_output=True, timeout=60, **more).stdout


def complete(line, folder=None):
    """What bash offers at the end of a line that begins with the program."""
    script = f"""
      source {FOLDER}/q750.bash
      COMP_LINE={PROGRAM}$1; COMP_POINT=${{#COMP_LINE}}
      _q750
      printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    return [choice for choice in run("bash", "-u", "-c", script, "bash", line, cwd=folder).splitlines() if choice]


def options_of(command):
    """The long options that a command takes, as its help lists them."""
    text = run(PROGRAM, *command, "--help")
    return set(re.findall(r"^  (?:-\w,)?(--[a-z-]+)", text, re.MULTILINE))


def description_of(option):
    """The text about an option in the help of a scan."""
    text = run(PROGRAM, "scan", "--help")
    return re.search(rf"^  (?:-\w,)?{option} .*?(?=^  -|^$)", text, re.MULTILINE | re.DOTALL)[0]


def choices_of(option):
    """The choices that the help of a scan lists for an option as "a, b or c"."""
    listed = re.search(r"([\w.]+(?:, [\w.]+)+) or ([\w.]+)", description_of(option))
    return listed[1].split(", ") + [listed[2]]


class Bash(unittest.TestCase):
    def test_completes_the_commands(self):
        self.assertEqual(complete(" "), ["list", "scan", "doctor", "virtual", "share"])
        self.assertEqual(complete(" s"), ["scan", "share"])

    def test_completes_exactly_the_options_that_the_help_names(self):
        for command in ("list", "scan", "doctor", "virtual", "share"):
            self.assertEqual(set(complete(f" {command} --")), options_of([command]), command)
        self.assertEqual(set(complete(" --")), options_of([]))

    def test_completes_values(self):
        self.assertEqual(complete(" scan --mode "), ["color", "gray", "lineart"])
        self.assertEqual(complete(" scan -m g"), ["gray"])
        self.assertEqual(complete(" scan --resolution 4"), ["400"])
        self.assertEqual(complete(" scan -o a.png --format "), ["tiff", "png", "jpeg", "pnm", "pdf"])
        self.assertEqual(complete(" scan --progress j"), ["json"])
        self.assertEqual(complete(" scan --timeout "), [])

    def test_completes_values_after_an_equals_sign(self):
        self.assertEqual(complete(" scan --mode=g"), ["gray"])
        self.assertEqual(complete(" scan --mode="), ["color", "gray", "lineart"])
        self.assertEqual(complete(" scan a.png --quiet="), [])
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "a page.png").touch()
            self.assertEqual(complete(" scan --output=a", folder), ["a page.png"])

    def test_completes_values_after_an_equals_sign_where_bash_does_not_split_there(self):
        script = f"""source {FOLDER}/q750.bash; COMP_WORDBREAKS=' '; COMP_LINE="{PROGRAM} scan --mode=g"
          COMP_POINT=${{#COMP_LINE}}; _q750; printf '%s\\n' "${{COMPREPLY[@]}}" """
        self.assertEqual(run("bash", "-c", script), "--mode=gray\n")

    def test_completes_exactly_the_choices_of_the_help(self):
        for option in ("--mode", "--resolution", "--format", "--progress"):
            self.assertEqual(complete(f" scan {option} "), choices_of(option), option)

    def test_suggests_only_qualities_that_there_are(self):
        least, most = map(int, re.search(r"(\d+) to (\d+), or lossless", description_of("--quality")).groups())
        suggested = complete(" scan --quality ")
        self.assertEqual(suggested.pop(), "lossless")
        self.assertTrue(all(least <= int(quality) <= most for quality in suggested), suggested)

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
            self.assertEqual(complete(" scan a", folder), ["a page.png"])


# An interactive zsh in which the tab key writes what would be offered to a file: every choice on a line, then "end".
ZSH_SETTINGS = r"""
fpath=($COMPLETIONS $fpath)
autoload -Uz compinit && compinit -u -D
compadd() {
  if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
    local -a offered
    builtin compadd -A offered "$@"
    print -rl -- $offered >> $OFFERED
  fi
  builtin compadd "$@"
}
write-choices() { : > $OFFERED; zle complete-word; BUFFER=; print end >> $OFFERED }
zle -N write-choices
bindkey '^I' write-choices
"""


class Zsh(unittest.TestCase):
    def setUp(self):
        home = tempfile.TemporaryDirectory()
        self.addCleanup(home.cleanup)
        self.home = pathlib.Path(home.name)
        (self.home / ".zshrc").write_text(ZSH_SETTINGS)
        self.offered = self.home / "offered"
        self.terminal, inside = pty.openpty()
        self.addCleanup(os.close, self.terminal)
        environment = os.environ | {
            "HOME": home.name, "ZDOTDIR": home.name, "TERM": "dumb", "COMPLETIONS": str(FOLDER),
            "OFFERED": str(self.offered), "PATH": f"{pathlib.Path(PROGRAM).parent}:/usr/bin:/bin"}
        self.zsh = subprocess.Popen(["zsh", "-i", "-d"], stdin=inside, stdout=inside, stderr=inside, cwd=home.name,
                                    env=environment, start_new_session=True)
        os.close(inside)
        self.addCleanup(self.zsh.wait)
        self.addCleanup(self.zsh.kill)

    def complete(self, line):
        """What zsh offers at the end of the line."""
        self.offered.unlink(missing_ok=True)
        os.write(self.terminal, f"q750{line}\t".encode())
        deadline = time.monotonic() + 60
        while not (self.offered.exists() and self.offered.read_text().endswith("end\n")):
            self.assertLess(time.monotonic(), deadline)
            if select.select([self.terminal], [], [], 0.02)[0]:
                os.read(self.terminal, 65536)  # the echo, which would block zsh
        return [choice for choice in self.offered.read_text().splitlines()[:-1] if choice]

    def test_completes_the_commands(self):
        self.assertEqual(self.complete(" "), ["list", "scan", "doctor", "virtual", "share"])
        self.assertEqual(self.complete(" s"), ["scan", "share"])

    def test_completes_exactly_the_options_that_the_help_names(self):
        for command in ("list", "scan", "doctor", "virtual", "share"):
            self.assertEqual(set(self.complete(f" {command} --")), options_of([command]), command)

    def test_completes_the_same_values_as_bash(self):
        for option in ("--mode", "--resolution", "--format", "--progress", "--paper", "--virtual-fault", "--quality",
                       "--device"):
            choices = self.complete(f" scan {option} ")
            self.assertEqual(choices, complete(f" scan {option} "), option)
            self.assertTrue(choices, option)

    def test_completes_values_after_an_equals_sign(self):
        self.assertEqual(self.complete(" scan --mode=g"), ["gray"])
        self.assertEqual(self.complete(" scan --mode="), complete(" scan --mode "))

    def test_completes_files(self):
        (self.home / "a-page.png").touch()
        self.assertEqual(self.complete(" scan -o a-"), ["a-page.png"])
        self.assertEqual(self.complete(" scan a-"), ["a-page.png"])


class Json(unittest.TestCase):
    def test_of_the_list_is_an_object(self):
        listed = json.loads(run(PROGRAM, "list", "--json"))
        self.assertEqual(list(listed), ["version", "scanners", "problem"])
        self.assertEqual(listed["version"], 1)
        self.assertEqual(list(listed["scanners"][-1].items()), [
            ("name", "virtual"), ("vendor", "Quenvar"), ("model", "Q750 (virtual)"), ("type", "virtual device"),
            ("virtual", True), ("accessible", True), ("hint", "")])

    def test_of_the_doctor_is_an_object(self):
        found = json.loads(run(PROGRAM, "doctor", "--device", "virtual", "--json"))
        self.assertEqual(list(found), ["version", "findings", "status", "exit_code"])
        self.assertEqual((found["version"], found["status"], found["exit_code"]), (1, "good", 0))
        self.assertEqual([finding["check"] for finding in found["findings"]], ["worker", "confinement", "rule", "scan"])
        self.assertEqual(list(found["findings"][-1].items()), [
            ("check", "scan"), ("level", "ok"), ("scanner", "virtual"),
            ("message", "virtual: the test scan succeeded."), ("status", "good")])

    def test_of_a_doctor_with_a_finding_is_an_object_too(self):
        result = subprocess.run([PROGRAM, "doctor", "-d", "virtual", "--virtual-fault", "exception-reply", "--json"],
                                text=True, capture_output=True, timeout=60)
        found = json.loads(result.stdout)
        self.assertEqual((found["status"], found["exit_code"], result.returncode), ("refused", 8, 8))
        self.assertEqual(found["findings"][-1]["status"], "refused")

    def test_of_a_scan_is_an_object_in_every_line(self):
        with tempfile.TemporaryDirectory() as folder:
            path = folder + "/a \"page\"\n\u20ac.png"
            lines = subprocess.run(
                [PROGRAM, "scan", "-d", "virtual", "-o", path, "-r", "600", "-a", "0x0+30x20px", "--progress", "json"],
                check=True, text=True, stderr=subprocess.PIPE, timeout=60).stderr.splitlines()
        events = [json.loads(line) for line in lines]
        self.assertEqual([event["event"] for event in events if event["event"] != "progress"],
                         ["scanner", "note", "page", "waiting", "picture", "saved"])
        self.assertEqual(events[-1], {"event": "saved", "file": path, "pages": 1, "width": 30, "height": 20,
                                      "mode": "color", "resolution": 300})


if __name__ == "__main__":
    unittest.main()

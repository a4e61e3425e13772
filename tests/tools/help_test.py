"""--help of every user command prints a description and does nothing else."""
import os
import pathlib
import signal
import subprocess
import unittest

ROOT = pathlib.Path(os.environ["Q750_ROOT"])
COMMANDS = [ROOT / "check", ROOT / "demo", *sorted((ROOT / "tools").iterdir())]


class Help(unittest.TestCase):
    def help_of(self, command):
        """The exit status and the output; a command that starts its work instead is ended."""
        process = subprocess.Popen([command, "--help"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, text=True, start_new_session=True)
        try:
            return process.communicate(timeout=20)[0], process.returncode
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return process.communicate()[0], None

    def test_says_what_the_command_does_and_how_it_is_called(self):
        for command in COMMANDS:
            if command.is_file():
                with self.subTest(command.name):
                    text, status = self.help_of(command)
                    self.assertEqual(status, 0, text)
                    self.assertRegex(text, f"(?i)usage: .*{command.name}")


if __name__ == "__main__":
    unittest.main()

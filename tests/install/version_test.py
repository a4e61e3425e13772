import pathlib
import re
import unittest

from stage import SOURCE, STAGE, run


class Version(unittest.TestCase):
    """Everything that contains the version agrees with project() in CMakeLists.txt, which sets it."""

    def test_stands_in_the_newest_entry_of_the_changelog(self):
        entries = re.findall(r"^## (\S+)", (SOURCE / "CHANGELOG.md").read_text(), re.MULTILINE)
        self.assertEqual(entries[0], STAGE.version)

    def test_stands_at_the_foot_of_the_manual_page(self):
        header = re.search(r"^\.TH .*$", (SOURCE / "docs/q750.1").read_text(), re.MULTILINE).group()
        self.assertIn(f'"Quenvar Q750 {STAGE.version}"', header)

    def test_is_what_the_command_line_tells(self):
        q750 = pathlib.Path(STAGE.build, "bin/q750")
        self.assertIn(STAGE.version, run(q750, "--version").stdout.split())

    def test_is_written_in_no_other_file_of_the_build(self):
        for path in [*SOURCE.glob("**/CMakeLists.txt"), *SOURCE.glob("cmake/**/*.*"), *SOURCE.glob("**/*.in")]:
            if path != SOURCE / "CMakeLists.txt" and "build" not in path.relative_to(SOURCE).parts:
                self.assertNotRegex(path.read_text(), rf"(?<![\d.]){re.escape(STAGE.version)}(?![\d.])", path)


if __name__ == "__main__":
    unittest.main()

import json
import re
import unittest

from outside import EXAMPLES
from stage import SCRATCH, SOURCE, fresh, readme_commands, run


class Readme(unittest.TestCase):
    def test_quotes_the_examples_as_they_are(self):
        run(SOURCE / "tools/readme-check")

    def test_tells_how_to_compile_every_example(self):
        self.assertEqual(set(readme_commands()), set(EXAMPLES))

    def test_installs_from_a_build_without_tests(self):
        presets = {preset["name"]: preset for preset in
                   json.loads((SOURCE / "CMakePresets.json").read_text())["configurePresets"]}
        lines = [line for line in (SOURCE / "README.md").read_text().splitlines() if "cmake --install" in line]
        self.assertNotEqual(lines, [])
        for line in lines:
            for name in re.findall(r"--preset (\w+)|--install build/(\w+)", line):
                self.assertEqual(presets["".join(name)]["cacheVariables"].get("Q750_TESTS"), "OFF", line)


class ReadmeCheck(unittest.TestCase):
    """The check itself, on its own files."""

    def check(self, readme, status):
        folder = fresh(SCRATCH / "readme")
        (folder / "examples").mkdir()
        (folder / "examples/one.c").write_text("int one;\nint two;\nint three;\n")
        (folder / "README.md").write_text(readme)
        return run(SOURCE / "tools/readme-check", folder, status=status).stderr

    def quote(self, text, path="examples/one.c"):
        return f"Text.\n\n<!-- from {path} -->\n```c\n{text}```\n"

    def test_is_content_with_whole_lines(self):
        self.check(self.quote("int one;\nint two;\n"), 0)
        self.check(self.quote("int two;\n"), 0)

    def test_refuses_lines_that_are_not_there_or_not_together(self):
        for text in ("int four;\n", "int one;\nint three;\n", "int on", "nt two;\n", "int  two;\n", ""):
            self.assertIn("README.md:3: ", self.check(self.quote(text), 1), text)

    def test_refuses_a_file_that_is_not_there(self):
        self.assertIn("examples/two.c", self.check(self.quote("int one;\n", "examples/two.c"), 1))

    def test_refuses_a_mark_without_its_block_and_an_example_that_is_not_quoted(self):
        self.assertIn("README.md:1: ", self.check("<!-- from examples/one.c -->\nText.\n", 1))
        self.assertIn("examples/one.c", self.check("Text.\n", 1))


if __name__ == "__main__":
    unittest.main()

"""The two examples, built in both ways that the README describes."""
from stage import (SCRATCH, build_as_readme_says, build_with_cmake, expect_golden, fresh, library_folder, loading_from,
                   run)

EXAMPLES = ("scan-to-pnm", "messages")


class BuiltExamples:
    """Tests of the installed tree `prefix`, which are built in the folder `name`."""

    @classmethod
    def setUpClass(cls):
        cls.folder = fresh(SCRATCH / cls.name)
        cls.programs = {
            "with CMake": {e: build_with_cmake(e, cls.folder / "cmake" / e, cls.prefix) for e in EXAMPLES},
            "as the README says": {e: build_as_readme_says(e, cls.folder / "plain" / e, cls.prefix) for e in EXAMPLES},
        }

    def each(self, example):
        for way, programs in self.programs.items():
            with self.subTest(built=way):
                yield programs[example]

    def scan(self, program, *arguments, library=None, status=0):
        return run(program, *arguments, status=status, env=loading_from(library or library_folder(self.prefix)))

    def test_messages_prints_what_it_always_printed(self):
        for program in self.each("messages"):
            output = run(program, env=loading_from(library_folder(self.prefix)), text=False).stdout.decode()
            expect_golden(self, "messages.txt", output)

    def test_a_scan_without_a_scanner_says_so_and_leaves_no_picture(self):
        picture = self.folder / "none.pnm"
        for program in self.each("scan-to-pnm"):
            result = self.scan(program, picture, status=2)
            self.assertEqual(result.stderr, "scan-to-pnm: no scanner was found, or it was unplugged\n")
            self.assertFalse(picture.exists())

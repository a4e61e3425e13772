import pathlib
import unittest

from outside import BuiltExamples
from stage import PREFIX, STAGE, run, virtual_folder


def picture(path):
    """Kind, size and rows of a PNM file."""
    kind, *rest = path.read_bytes().split(b"\n", 4)
    if rest[0].startswith(b"#"):
        rest = rest[1:]
    else:
        rest = [rest[0], rest[1], b"\n".join(rest[2:])]
    size, highest, pixels = rest
    assert highest == b"255"
    width, height = (int(number) for number in size.split())
    stride = width * (3 if kind == b"P6" else 1)
    assert len(pixels) == stride * height
    return kind, width, height, [pixels[row * stride:(row + 1) * stride] for row in range(height)]


class Examples(BuiltExamples, unittest.TestCase):
    name = "examples"
    prefix = PREFIX

    def page(self, *settings):
        """What lies on the glass, as the command line scans it."""
        path = self.folder / "page.pnm"
        resolution, mode = settings
        run(PREFIX / STAGE.bin / "q750", "scan", "--device", "virtual", "--resolution", resolution, "--mode", mode,
            "-o", path)
        return picture(path)

    def test_a_scan_is_the_page_but_for_its_first_row(self):
        for settings in (("75", "gray"), ("75", "color"), ("150", "color"), ("300", "gray")):
            kind, width, height, rows = self.page(*settings)
            for program in self.each("scan-to-pnm"):
                path = self.folder / "scanned.pnm"
                path.unlink(missing_ok=True)
                self.scan(program, path, *settings, library=virtual_folder(PREFIX))
                self.assertTrue(picture(path) == (kind, width, height - 1, rows[1:]), settings)

    def test_a_scan_is_in_colour_at_300_dots_per_inch_unless_told_otherwise(self):
        program = self.programs["with CMake"]["scan-to-pnm"]
        path = self.folder / "default.pnm"
        self.scan(program, path, library=virtual_folder(PREFIX))
        self.assertEqual(picture(path)[:3], (b"P6", 2550, 3506))

    def test_a_scan_keeps_the_log_off_the_terminal(self):
        program = self.programs["with CMake"]["scan-to-pnm"]
        result = self.scan(program, self.folder / "quiet.pnm", "75", library=virtual_folder(PREFIX))
        self.assertEqual(result.stderr, "")
        self.assertEqual(result.stdout, "CScannerDriver::getScanParameter(637, 876)\n")

    def test_a_scan_without_the_library_says_what_is_missing(self):
        program = self.programs["with CMake"]["scan-to-pnm"]
        nowhere = self.folder / "nowhere"
        result = self.scan(program, self.folder / "none.pnm", library=nowhere, status=3)
        self.assertRegex(result.stderr, "^scan-to-pnm: libquenvar-q750.so.1: cannot open shared object file")

    def test_a_scan_to_where_nothing_can_be_written_says_so(self):
        program = self.programs["with CMake"]["scan-to-pnm"]
        result = self.scan(program, self.folder / "nowhere" / "page.pnm", "75", library=virtual_folder(PREFIX), status=5)
        self.assertEqual(result.stderr, f"{self.folder}/nowhere/page.pnm: No such file or directory\n")
        if pathlib.Path("/dev/full").exists():
            self.assertEqual(self.scan(program, "/dev/full", "75", library=virtual_folder(PREFIX), status=5).stderr,
                             "/dev/full: No space left on device\n")

    def test_a_scan_with_settings_that_the_scanner_has_not_is_refused(self):
        program = self.programs["with CMake"]["scan-to-pnm"]
        usage = "usage: scan-to-pnm PICTURE [75|150|200|300|400|600 [color|gray]]\n"
        for arguments in ((), ("x", "1200"), ("x", "75dpi"), ("x", "75", "blue"), ("x", "75", "gray", "more")):
            self.assertEqual(self.scan(program, *arguments, status=1).stderr, usage, arguments)
        self.assertEqual(self.scan(program, "x", "600", "color", status=1).stderr,
                         "scan-to-pnm: colour comes with at most 300 dots per inch\n")


if __name__ == "__main__":
    unittest.main()

import os
import re
import shlex
import unittest
from concurrent.futures import ThreadPoolExecutor

from stage import PREFIX, SOURCE, STAGE, STRICT, header_folder, run

HEADERS = {path.name: path.read_text() for path in header_folder(PREFIX).iterdir()}
IN_C = ("BitmapExport.h", "DebugBridge.h", "DriverGlobals.h", "ScannerInterface.h", "Semaphore.h")
# It includes the system's header of nearly the same name by a directive that compilers report as an extension.
USES_AN_EXTENSION = {"Semaphore.h"}

HOST = SOURCE / "tests/install/host/everything.cpp"


def included(text):
    return set(re.findall(r'^\s*#\s*include\s*"([^"]+)"', text, re.MULTILINE))


def compile_alone(header, *command):
    """The compiler's messages for a source that consists of this header; empty if there are none."""
    strict = shlex.split(STRICT)
    if header in USES_AN_EXTENSION:
        strict.remove("-Wpedantic")
        command = [word for word in command if word != "-pedantic-errors"]
    result = run("sh", "-c", 'source=$1; shift; printf "%s\n" "$source" | "$@" 2>&1 || true', "sh",
                 f'#include "{header}"', *command, *strict, "-fsyntax-only", f"-I{header_folder(PREFIX)}", "-")
    return f"{header}: {result.stdout}" if result.stdout else ""


def complaints(headers, *command):
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        return "".join(pool.map(lambda header: compile_alone(header, *command), headers))


class InstalledHeaders(unittest.TestCase):
    def test_include_none_that_is_not_installed(self):
        for name, text in HEADERS.items():
            self.assertLessEqual(included(text), set(HEADERS), name)

    @unittest.skipIf(STAGE.sanitize, "the plain build says the same")
    def test_compile_alone(self):
        self.assertEqual(complaints(sorted(HEADERS), STAGE.cxx, "-std=c++20", "-x", "c++"), "")

    @unittest.skipIf(STAGE.sanitize, "the plain build says the same")
    def test_compile_alone_in_c(self):
        newest = "c23" if not complaints(["DebugBridge.h"], STAGE.cc, "-std=c23", "-x", "c") else "c2x"
        for standard in ("c99", "c17", newest):
            self.assertEqual(complaints(IN_C, STAGE.cc, f"-std={standard}", "-pedantic-errors", "-x", "c"), "", standard)

    @unittest.skipIf(STAGE.sanitize, "the plain build says the same")
    def test_compile_alone_in_earlier_cpp_where_a_plug_in_host_needs_them(self):
        self.assertEqual(complaints(IN_C, STAGE.cxx, "-std=c++17", "-x", "c++"), "")

    def test_are_all_used_by_the_host_that_uses_everything(self):
        self.assertEqual(included(HOST.read_text()), set(HEADERS))


if __name__ == "__main__":
    unittest.main()

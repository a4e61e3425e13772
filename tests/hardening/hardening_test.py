"""The ELF headers of the files that an optimised build makes for users: two programs and the shared
libraries."""
import os
import pathlib
import subprocess
import unittest

PRODUCTS = [pathlib.Path(path) for path in os.environ["Q750_PRODUCTS"].split(":")]


def readelf(path, *options):
    return subprocess.run([os.environ["READELF"], "--wide", *options, path], check=True, stdout=subprocess.PIPE,
                          text=True).stdout


class Hardening(unittest.TestCase):
    def expect(self, pattern, *options, of=PRODUCTS):
        for path in of:
            with self.subTest(path.name):
                self.assertRegex(readelf(path, *options), pattern)

    def test_binds_every_symbol_before_the_first_instruction(self):
        self.expect(r"\(FLAGS_1\) .*\bNOW\b", "--dynamic")

    def test_makes_the_tables_of_addresses_read_only(self):
        self.expect(r"\bGNU_RELRO\b", "--program-headers")

    def test_loads_everything_at_addresses_that_change(self):
        self.expect(r"Type: +DYN\b", "--file-header")
        self.expect(r"\(FLAGS_1\) .*\bPIE\b", "--dynamic", of=[path for path in PRODUCTS if ".so" not in path.name])

    def test_has_no_executable_stack(self):
        self.expect(r"GNU_STACK .* RW +0x", "--program-headers")

    def test_checks_the_stack_of_functions_with_buffers(self):
        self.expect(r" UND __stack_chk_fail\b", "--dyn-syms")

    def test_checks_the_calls_of_the_c_library(self):
        self.expect(r" UND __\w+_chk\b", "--dyn-syms")


if __name__ == "__main__":
    unittest.main()

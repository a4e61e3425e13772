"""The symbols file, from which dpkg-shlibdeps computes the version of the library that a program needs, lists exactly the
exported names. The package build compares it with the library itself. After a name was added,

     UPDATE_GOLDEN=1 ctest --preset dev -R debian-symbols

adds it with the version of the project; all others keep theirs.
"""
import os
import pathlib
import re
import subprocess
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[3]
EXPORTED = SOURCE / "tests/exports/symbols.txt"
SYMBOLS = SOURCE / "debian/libquenvar-q750-1.symbols"
HEADER = "libquenvar-q750.so.1 libquenvar-q750-1 #MINVER#"


def patterns(name, demangled):
    """The lines of one name. C++ names are demangled, so the variants of a constructor share one. The size that operator
    new takes is an unsigned int where addresses have 32 bits."""
    if name == demangled:
        return [f"{name}@Base"]
    if "operator new" in demangled:
        return [f'(arch-bits={bits}|c++)"{demangled.replace("unsigned long", size)}@Base"'
                for bits, size in ((32, "unsigned int"), (64, "unsigned long"))]
    return [f'(c++)"{demangled}@Base"']


def exported():
    names = EXPORTED.read_text().split()
    demangled = subprocess.run(["c++filt"], input="\n".join(names), check=True, stdout=subprocess.PIPE, text=True).stdout
    return {line for pair in zip(names, demangled.splitlines()) for line in patterns(*pair)}


def listed():
    """The patterns of the file, each with its version."""
    if not SYMBOLS.exists():
        return {}
    return dict(re.fullmatch(r" (.+) (\S+)", line).groups() for line in SYMBOLS.read_text().splitlines()[1:])


def update():
    versions = listed()
    lines = [f" {pattern} {versions.get(pattern, os.environ['Q750_VERSION'])}" for pattern in sorted(exported())]
    SYMBOLS.write_text("\n".join([HEADER, *lines]) + "\n")


class SymbolsFile(unittest.TestCase):
    def setUp(self):
        if "UPDATE_GOLDEN" in os.environ:
            update()

    def test_lists_the_exported_names_and_no_others(self):
        self.assertEqual(sorted(listed()), sorted(exported()))

    def test_is_about_the_package_of_the_library(self):
        self.assertEqual(SYMBOLS.read_text().splitlines()[0], HEADER)

    def test_asks_for_no_version_that_is_not_released_yet(self):
        newest = tuple(int(part) for part in os.environ["Q750_VERSION"].split("."))
        for pattern, version in listed().items():
            self.assertLessEqual(tuple(int(part) for part in version.split(".")), newest, pattern)


if __name__ == "__main__":
    unittest.main()

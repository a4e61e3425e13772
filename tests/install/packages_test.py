import shlex
import unittest

from stage import (FLAGS, PREFIX, SCRATCH, SOURCE, STAGE, configure, fresh, library_folder, loading_from, pkg_config,
                   run)

HOST = SOURCE / "tests/install/host"
MAJOR, MINOR, PATCH = (int(number) for number in STAGE.version.split("."))


class CMakePackage(unittest.TestCase):
    def test_serves_who_asks_for_this_major_version_and_no_later_one(self):
        answers = {
            f"{MAJOR}": True, f"{MAJOR}.{MINOR}": True, STAGE.version: True,
            f"{MAJOR}.{MINOR}.{PATCH + 1}": False, f"{MAJOR}.{MINOR + 1}": False,
            f"{MAJOR + 1}.0": False, f"{MAJOR - 1}.9": False,
        }
        output = configure(HOST / "any-version", SCRATCH / "any-version", PREFIX, f"-DCMAKE_C_COMPILER={STAGE.cc}",
                           f"-DVERSIONS={';'.join(answers)}").stdout
        for wanted, served in answers.items():
            self.assertIn(f"-- {wanted}: " + (f"found {STAGE.version}\n" if served else "refused\n"), output)

    def test_lets_a_project_in_c_alone_link_the_library(self):
        build = SCRATCH / "linked-from-c"
        flags = FLAGS.replace("-Wpedantic", "")  # Semaphore.h uses an extension
        configure(HOST / "linked-from-c", build, PREFIX, f"-DCMAKE_C_COMPILER={STAGE.cc}", f"-DCMAKE_C_FLAGS={flags}")
        run(STAGE.cmake, "--build", build)
        self.assertIn("works from C", run(build / "host").stderr)


class PkgConfigFile(unittest.TestCase):
    def test_tells_the_version(self):
        self.assertEqual(pkg_config(PREFIX, "--modversion"), [STAGE.version])

    def test_asks_for_the_library_and_for_nothing_else(self):
        self.assertEqual(pkg_config(PREFIX, "--libs-only-l"), ["-lquenvar-q750"])
        self.assertEqual(pkg_config(PREFIX, "--libs-only-l", "--static"), ["-lquenvar-q750"])
        self.assertEqual(pkg_config(PREFIX, "--print-requires", "--print-requires-private"), [])

    def test_lets_a_host_in_c_link_the_library(self):
        program = fresh(SCRATCH / "linked-by-pkg-config") / "host"
        flags = [flag for flag in shlex.split(FLAGS) if flag != "-Wpedantic"]
        run(STAGE.cc, "-std=c99", *flags, HOST / "host.c", *pkg_config(PREFIX, "--cflags", "--libs"), "-o", program)
        self.assertIn("works from C", run(program, env=loading_from(library_folder(PREFIX))).stderr)


if __name__ == "__main__":
    unittest.main()

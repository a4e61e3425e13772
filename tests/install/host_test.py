import shlex
import unittest

from stage import FLAGS, PREFIX, SCRATCH, SOURCE, STAGE, fresh, header_folder, library_folder, loading_from, run


class Host(unittest.TestCase):
    """Every class and function that the headers offer, linked against the library and nothing else. What the compiler
    inlines, and so does not need from the library, depends on the optimisation."""

    def expect_good_host(self, optimisation):
        program = fresh(SCRATCH / f"everything{optimisation}") / "everything"
        flags = [flag for flag in shlex.split(FLAGS) if flag != "-Wpedantic"]  # Semaphore.h uses an extension
        folder = library_folder(PREFIX)
        run(STAGE.cxx, "-std=c++20", optimisation, *flags, SOURCE / "tests/install/host/everything.cpp",
            f"-I{header_folder(PREFIX)}", f"-L{folder}", "-lquenvar-q750", "-o", program)
        self.assertEqual(run(program, env=loading_from(folder)).stdout.splitlines()[-1], "everything works")

    def test_links_and_works_without_optimisation(self):
        self.expect_good_host("-O0")

    @unittest.skipIf(STAGE.sanitize, "takes long, and the plain build says the same")
    def test_links_and_works_optimised(self):
        self.expect_good_host("-O2")


if __name__ == "__main__":
    unittest.main()

import unittest

from stage import COMPONENTS, PREFIX, SCRATCH, install


class Stage(unittest.TestCase):
    """Installs the trees for the other tests: everything in one tree, and each component in its own."""

    def test_everything_can_be_installed(self):
        install(PREFIX)

    def test_each_component_can_be_installed_alone(self):
        for component in COMPONENTS:
            install(SCRATCH / component, "--component", component)


if __name__ == "__main__":
    unittest.main()

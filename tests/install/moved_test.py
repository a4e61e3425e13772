import unittest

from outside import BuiltExamples
from stage import SCRATCH, fresh, install


class MovedTree(BuiltExamples, unittest.TestCase):
    """The installed tree after it was moved to another folder, so that the original path no longer exists."""

    name = "examples-moved"
    prefix = SCRATCH / "moved" / "some" / "where"

    @classmethod
    def setUpClass(cls):
        first = SCRATCH / "first-place"
        install(first)
        fresh(cls.prefix.parent)
        first.rename(cls.prefix)
        super().setUpClass()


if __name__ == "__main__":
    unittest.main()

import re
import unittest

from stage import COMPONENTS, PREFIX, SCRATCH, SONAME, STAGE, expect_golden, library_folder, run, virtual_folder


def files(prefix):
    """Every file below the prefix, with the target of a link, in words that hold for every build and version."""
    lines = []
    for path in sorted(p for p in prefix.rglob("*") if p.is_symlink() or p.is_file()):
        line = str(path.relative_to(prefix))
        if path.is_symlink():
            line += f" -> {path.readlink()}"
        for folder in ("hwdb", "rules", "units", "firewalld", "etc", "bin", "include", "lib", "man", "data"):
            line = re.sub(f"^{re.escape(getattr(STAGE, folder))}/", f"<{folder}>/", line)
        line = line.replace(f"-{(STAGE.config or 'noconfig').lower()}.cmake", "-<config>.cmake")
        line = line.replace(f".so.{STAGE.version}", ".so.<version>").replace(SONAME, "<soname>")
        lines.append(line)
    return lines


def dynamic_section(path):
    return run("readelf", "-d", path).stdout


class InstalledTree(unittest.TestCase):
    def test_holds_these_files_by_component(self):
        listing = ""
        for component in COMPONENTS:
            listing += f"{component}:\n" + "".join(f"  {line}\n" for line in files(SCRATCH / component))
        expect_golden(self, "tree.txt", listing)

    def test_is_made_of_its_components(self):
        parts = sum((files(SCRATCH / component) for component in COMPONENTS), [])
        self.assertEqual(sorted(files(PREFIX)), sorted(parts))

    def test_names_the_library_by_its_major_version(self):
        for folder in (library_folder(PREFIX), virtual_folder(PREFIX)):
            self.assertIn(f"[{SONAME}]", dynamic_section(folder / SONAME))

    def test_looks_for_libraries_where_the_system_does(self):
        for path in (library_folder(PREFIX) / SONAME, PREFIX / STAGE.bin / "q750"):
            self.assertNotRegex(dynamic_section(path), r"\((RPATH|RUNPATH)\)")

    def test_knows_nothing_of_the_folder_it_was_built_in(self):
        for path in PREFIX.rglob("*"):
            if path.suffix in {".cmake", ".pc", ".h"}:
                text = path.read_text()
                self.assertNotIn(STAGE.build, text, path)
                self.assertNotIn(STAGE.source, text, path)

    def test_has_a_guide_whose_links_lead_to_installed_files(self):
        guide = PREFIX / STAGE.data / "doc/quenvar-q750/behaviour.md"
        links = re.findall(r"\]\(([^)#]+)", guide.read_text())
        self.assertGreater(len(links), 3)
        for link in links:
            self.assertTrue((guide.parent / link).is_file(), link)


if __name__ == "__main__":
    unittest.main()

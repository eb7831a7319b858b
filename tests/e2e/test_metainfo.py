"""The AppStream metadata software centres read: valid, and true to the rest of the tree (the release
notes the app shows, the desktop entry, the programs, the README's pictures). The desktop entries
themselves are validated in test_search.py."""
import os
import subprocess
import sys
import unittest
import xml.etree.ElementTree as ET

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("appstreamcli")

ROOT = os.path.join(os.path.dirname(__file__), "..", "..")
METAINFO = os.path.join(ROOT, "data", "org.tallymo.Tallymo.metainfo.xml")


def canonical(element):
    """An element as nested tuples, with runs of white space in its text made one space."""
    return (element.tag, sorted(element.attrib.items()), " ".join((element.text or "").split()),
            [canonical(child) for child in element])


class Metainfo(unittest.TestCase):
    def setUp(self):
        self.component = ET.parse(METAINFO).getroot()

    def test_valid_with_no_warning_or_info(self):
        p = subprocess.run(["appstreamcli", "validate", "--no-net", "--strict", METAINFO],
                           capture_output=True, text=True, timeout=60)
        self.assertEqual(p.returncode, 0, p.stdout + p.stderr)

    def test_true_to_the_tree(self):
        releases = ET.parse(os.path.join(ROOT, "data", "org.tallymo.Tallymo.releases.xml")).getroot()
        self.assertEqual(canonical(self.component.find("releases")), canonical(releases))
        launchable = self.component.find("launchable").text
        self.assertTrue(os.path.exists(os.path.join(ROOT, "data", launchable + ".in")), launchable)
        programs = {entry.name for entry in os.scandir(os.path.join(ROOT, "programs")) if entry.is_dir()}
        self.assertEqual({b.text for b in self.component.iter("binary")}, programs)
        for image in self.component.iter("image"):
            with self.subTest(image=image.text):
                self.assertTrue(os.path.exists(os.path.join(ROOT, "docs", "screens", os.path.basename(image.text))))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])

"""The settings window of the running application, with real keys."""
import json
import os
import time
import unittest

from desktop import Desktop, document, eventually, item

SANITIZED = any(name in os.environ for name in ("ASAN_OPTIONS", "TSAN_OPTIONS"))
TITLE = "Varnel! Settings"
PAGES = 6


class SettingsTest(unittest.TestCase):
    def setUp(self):
        self.desktop = Desktop(panel=False)
        self.addCleanup(self.desktop.close)
        home = self.desktop.home
        self.package = home.path / ".config/varnel/plugins/notes"
        home.write(".config/varnel/plugins/notes/plugin.json", {
            "id": "example.notes", "name": "Notes", "version": "1", "executable": "run", "capabilities": ["actions"],
            "actions": [{"id": "go", "name": "Go", "description": "Goes"}]})
        os.chmod(home.write(".config/varnel/plugins/notes/run", "#!/bin/sh\necho '{}'\n"), 0o755)
        self.preferences = home.path / "state/varnel/preferences.json"
        home.write("state/varnel/preferences.json", {"hasShownInitialWindow": True})
        config = home.write("config.json", document(item(["ctrl+j", "m"], "Mark")))
        self.app = self.desktop.app("--config", config)
        self.desktop.app().wait(10)  # a second start brings the first forward
        self.assertTrue(eventually(lambda: self.desktop.windows()))
        time.sleep(0.5)
        self.desktop.keys("Tab", "Tab", "Tab", "space")
        self.assertTrue(eventually(lambda: TITLE in self.desktop.windows()), self.desktop.windows())
        self.assertTrue(eventually(lambda: self.desktop.active_window() == TITLE))

    def find(self, words):
        self.desktop.keys("ctrl+f")
        self.desktop.run("xdotool", "type", "--delay", "25", words)
        time.sleep(0.3)
        self.desktop.keys("Return")
        time.sleep(0.3)

    def stored(self, key):
        return json.loads(self.preferences.read_text()).get(key)

    def status(self):
        return self.desktop.home.varnel("plugins", "list").stdout

    def test_a_search_leads_to_a_setting_that_is_typed_in_and_holds(self):
        self.find("hold")
        self.desktop.keys("ctrl+a")
        self.desktop.run("xdotool", "type", "--delay", "25", "40")
        self.desktop.keys("Return")
        self.assertTrue(eventually(lambda: self.stored("modifierTapThresholdMilliseconds") == 40))
        self.find("keep hints")
        self.desktop.keys("space")
        self.assertTrue(eventually(lambda: self.stored("keepHintsOpenAfterInvalidInput") is True))
        self.desktop.keys("Escape", "Escape")
        self.assertTrue(eventually(lambda: TITLE not in self.desktop.windows()))

    def test_a_capability_is_trusted_and_kept_off_by_its_letters(self):
        self.assertIn("untrusted", self.status())
        self.find("trust")
        self.desktop.keys("alt+t")
        self.assertTrue(eventually(lambda: "active" in self.status()), self.status())
        time.sleep(0.3)
        self.desktop.keys("alt+d")
        self.assertTrue(eventually(lambda: "disabled" in self.status()), self.status())

    def test_everything_shown_once_stays_small(self):
        for _ in range(PAGES):
            self.desktop.keys("Down")
            time.sleep(0.2)
        self.desktop.keys("Escape", "ctrl+j")
        time.sleep(0.5)
        self.desktop.keys("Escape")
        with open(f"/proc/{self.app.pid}/smaps_rollup") as memory:
            kilobytes = next(int(line.split()[1]) for line in memory if line.startswith("Pss:"))
        if not SANITIZED:
            self.assertLess(kilobytes, 40 * 1024)


if __name__ == "__main__":
    unittest.main(verbosity=2)

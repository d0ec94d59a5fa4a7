#!/usr/bin/env python3
"""Choices that come from elsewhere, in the running application: what plugins offer, windows, applications."""
import os
import subprocess
import time

from program import eventually, item, main
from run_test import RunTest, Witness

PLUGIN = """#!/usr/bin/env python3
import json, sys, time
request = json.load(sys.stdin)
if sys.argv[1] == "action":
    json.dump({"success": True, "message": "took " + request["params"].get("choice", "nothing")}, sys.stdout)
elif request["actionID"] == "slow":
    time.sleep(3)
    json.dump({"choices": [{"id": "late", "title": "Late"}]}, sys.stdout)
elif request["actionID"] == "broken":
    sys.exit("no\\nluck")
else:
    json.dump({"choices": request["params"]["offer"]}, sys.stdout)
"""


class Choosing(RunTest):
    def wait_for(self, member, value, patience=3):
        self.assertTrue(eventually(lambda: self.status()[member] == value, patience), (value, self.status()))


class Plugins(Choosing):
    def setUp(self):
        super().setUp()
        folder = ".config/varnel/plugins/picker/"
        os.chmod(self.home.write(folder + "run", PLUGIN), 0o755)
        self.home.write(folder + "plugin.json", {
            "id": "me.picker", "name": "Picker", "version": "1", "executable": "run", "capabilities": ["actions"],
            "actions": [{"id": name, "name": name, "description": name, "dynamicChoices": True}
                        for name in ("pick", "slow", "broken")]})
        trusted = self.home.varnel("plugins", "trust", "me.picker")
        self.assertEqual(trusted.returncode, 0, trusted.stderr)

    def asks(self, key, action, *offer, **params):
        return item([key], "Pick", action={"pluginID": "me.picker", "actionID": action,
                                           "params": {"offer": list(offer), **params}})

    def choice(self, name, **more):
        return {"id": name, "title": name.title(), **more}

    def start(self, *items):
        running = super().start(*items)
        self.assertTrue(eventually(lambda: "me.picker" in self.home.varnel("plugins", "list").stdout))
        time.sleep(0.3)  # the first look at the packages
        return running

    def test_a_letter_takes_one_and_the_action_runs_with_it(self):
        one, two, three = (self.choice(name) for name in ("one", "two", "three"))
        self.start(self.asks("f5", "pick", one, two, three),
                   self.asks("f6", "pick", {**one, "label": "x"}, {**two, "label": "yz"}),
                   self.asks("f7", "pick", {**one, "label": "x"}, {**two, "label": "x"}),
                   self.asks("f8", "pick", one), self.asks("f9", "pick"), self.asks("f10", "broken"),
                   self.asks("f11", "pick", choice="named"))
        rows = [("F5", ["f", "j", "k"], ["f"], "took two"), ("F6", ["x", "yz"], ["y", "z"], "took two"),
                ("F7", ["f", "j"], ["j"], "took one"), ("F8", None, [], "took one"),
                ("F9", None, [], "No choices for: Pick"),
                ("F10", None, [], "Failed to execute action: no luck"), ("F11", None, [], "took named")]
        for trigger, hints, letters, message in rows:
            with self.subTest(trigger):
                self.server.type(trigger)
                if hints:
                    self.wait_for("hintOptions", hints)
                    self.server.type(*letters)
                self.wait_for("statusMessage", message)
                self.wait_for("interaction", "idle")

    def test_a_slow_plugin_never_holds_the_keyboard(self):
        self.start(self.asks("f5", "slow"), item(["f6"], action=self.action("other")))
        witness = Witness(self.server.display)
        self.server.type("F5")
        self.wait_for("interaction", "dynamicChoice")
        begin = time.monotonic()
        self.server.type("Escape")
        self.wait_for("interaction", "idle")
        self.server.type("k", "F6")
        self.assert_marks(["other"])
        self.assertLess(time.monotonic() - begin, 2)
        time.sleep(3)
        self.assertNotIn("took", self.status()["statusMessage"])  # an answer that comes too late
        self.assertEqual(witness.keys(), ["k"])

    def test_an_answer_that_takes_three_seconds_still_counts(self):
        self.start(self.asks("f5", "slow"))
        self.server.type("F5")
        self.wait_for("statusMessage", "took late", 6)


class Windows(Choosing):
    def setUp(self):
        super().setUp()
        self.environment = {**os.environ, "DISPLAY": self.server.display, "HOME": str(self.home.path)}
        # It announces itself before it manages windows, and runs this afterwards.
        managed = self.home.path / "managed"
        self.run_beside("openbox", "--sm-disable", "--startup", f"touch {managed}")
        self.assertTrue(eventually(managed.exists))

    def open_terminals(self, *classes):
        self.windows = set()
        for number, name in enumerate(classes):
            self.run_beside("xterm", "-class", name, "-T", f"Terminal {number}", "-e", "sleep", "60")
            self.windows.add(self.ask("xdotool", "search", "--sync", "--onlyvisible", "--name",
                                      f"^Terminal {number}$"))

    def run_beside(self, *words):
        process = subprocess.Popen(words, env=self.environment, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)

    def ask(self, *words):
        return subprocess.run(words, env=self.environment, capture_output=True, text=True, timeout=20).stdout.strip()

    def front(self):
        return self.ask("xdotool", "getactivewindow")

    def letters_bring_each_to_the_front(self, trigger):
        by_letter = {}
        for letter in "fjfj":
            self.server.type(trigger)
            self.wait_for("hintOptions", ["f", "j"])
            before = self.front()
            self.server.type(letter)
            self.wait_for("interaction", "idle")
            wanted = by_letter.get(letter, (self.windows - {before}).pop() if by_letter else None)
            if wanted:
                self.assertTrue(eventually(lambda: self.front() == wanted), (letter, by_letter, self.status()))
            else:
                time.sleep(0.5)
            by_letter[letter] = self.front()
        self.assertEqual(set(by_letter.values()), self.windows)

    def test_among_the_windows_of_one_application(self):
        self.open_terminals("XTerm", "XTerm")
        self.start(item(["f5"], "Terminal", action={
            "pluginID": "core.application", "actionID": "open",
            "params": {"path": "/usr/bin/xterm", "windowSelectionMode": "chooseWhenMultiple"}}))
        self.letters_bring_each_to_the_front("F5")

    def test_among_running_applications(self):
        self.open_terminals("Mail", "XTerm")
        self.start(item(["f5"], "Switch", action={
            "pluginID": "core.running-apps", "actionID": "activate", "params": {}}))
        self.letters_bring_each_to_the_front("F5")


if __name__ == "__main__":
    main()

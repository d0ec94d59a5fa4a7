#!/usr/bin/env python3
"""`varnel run` on a real X server: keys typed by XTEST, actions that leave marks, and how it ends."""
import json
import os
import signal
import subprocess
import tempfile
import time
import unittest

from program import Home, document, eventually, item, main, opens


class XServer:
    """An X server without a screen to look at."""

    def __init__(self):
        reader, writer = os.pipe()
        self.log = tempfile.TemporaryFile()
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writer), "-screen", "0", "640x480x24", "-nolisten", "tcp", "-noreset"],
            pass_fds=[writer], stdout=self.log, stderr=self.log)
        os.close(writer)
        with os.fdopen(reader) as answer:
            self.display = ":" + answer.readline().strip()

    def type(self, *keys, delay=20):
        subprocess.run(["xdotool", "key", "--delay", str(delay), *keys], check=True, timeout=20,
                       env={**os.environ, "DISPLAY": self.display})

    def hold(self, *words):
        subprocess.run(["xdotool", *words], check=True, timeout=20, env={**os.environ, "DISPLAY": self.display})

    def close(self):
        self.process.kill()
        self.process.wait()
        self.log.close()


class Witness:
    """A window that has the focus and tells which keys reached it."""

    def __init__(self, display):
        self.process = subprocess.Popen(["xev", "-event", "keyboard"], stdout=subprocess.PIPE, text=True,
                                        env={**os.environ, "DISPLAY": display, "LC_ALL": "C"})
        subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--name", "Event Tester", "windowfocus",
                        "--sync"], env={**os.environ, "DISPLAY": display}, timeout=20, check=True)

    def keys(self):
        """Ends it; the names of the keys that were pressed."""
        time.sleep(0.2)
        self.process.terminate()
        output, _ = self.process.communicate(timeout=10)
        names, press = [], False
        for line in output.splitlines():
            if line.startswith("Key"):
                press = line.startswith("KeyPress")
            elif press and "keysym" in line:
                names.append(line.split("keysym")[1].split(",")[1].strip(" )"))
        return names


class RunTest(unittest.TestCase):
    def setUp(self):
        self.server = XServer()
        self.addCleanup(self.server.close)
        self.home = Home(self.server.display)
        self.addCleanup(self.home.close)

    def action(self, name):
        """A program that leaves its name in the file of marks."""
        script = self.home.write(name, f"#!/bin/sh\necho {name} >> '{self.home.path}/marks'\n")
        os.chmod(script, 0o755)
        return opens(script)

    def marks(self):
        path = self.home.path / "marks"
        return path.read_text().split() if path.exists() else []

    def start(self, *items):
        self.config = self.home.write("config.json", document(*items))
        running = self.home.start("--config", self.config)
        self.addCleanup(running.close)
        return running

    def assert_marks(self, expected):
        self.assertTrue(eventually(lambda: self.marks() == expected), self.marks())

    def status(self):
        return json.loads(self.home.varnel("status", "--json").stdout)


class Capturing(RunTest):
    def test_sequences_run_and_nothing_of_them_leaks(self):
        running = self.start(item(["ctrl+j", "s", "t"], action=self.action("chain")),
                             item(["f5"], action=self.action("single")),
                             item(["cmd", "g"], action=self.action("tap")))
        self.assertEqual(running.line, "active local:off global:on AX:granted")
        witness = Witness(self.server.display)
        self.server.type("a", "ctrl+j", "s", "t", "b", "F5", "c")
        self.assert_marks(["chain", "single"])
        self.server.type("Super_L", "g", "d")
        self.assert_marks(["chain", "single", "tap"])
        self.assertEqual([key for key in witness.keys() if len(key) == 1], ["a", "b", "c", "d"])

    def test_a_sent_shortcut_reaches_the_window_and_no_trigger(self):
        witness = Witness(self.server.display)
        self.assertEqual(self.home.varnel("shortcut", "F5", "--send").returncode, 0)
        self.start(item(["f5"], action=self.action("one")))
        for words in ([], ["--local"]):
            sent = self.home.varnel("shortcut", "F5", "--send", *words)
            self.assertEqual((sent.returncode, sent.stderr), (0, ""))
        refused = self.home.varnel("shortcut", "keycode127", "--send")
        self.assertEqual((refused.returncode, "Failed to send shortcut: keycode127" in refused.stderr), (1, True))
        self.server.type("F5", "a")
        self.assert_marks(["one"])
        self.assertEqual(witness.keys(), ["F5", "F5", "F5", "a"])

    def test_suspension_and_resuming(self):
        self.start(item(["f5"], action=self.action("one")))
        self.home.varnel("suspend", "test")
        witness = Witness(self.server.display)
        self.server.type("F5")
        self.assertEqual(witness.keys(), ["F5"])
        self.home.varnel("resume", "test")
        self.server.type("F5")
        self.assert_marks(["one"])

    def test_a_plugin_runs_however_early_its_key_comes(self):
        command = {"pluginID": "core.shell", "actionID": "run",
                   "params": {"command": f"echo shell >> '{self.home.path}/marks'"}}
        self.start(item(["f5"], "Shell", action=command))
        self.server.type("F5")
        self.assert_marks(["shell"])

    def test_what_happened_shows_in_the_status(self):
        self.start(item(["ctrl+j", "m"], "Mark", action=self.action("one")))
        self.server.type("ctrl+j")
        self.assertTrue(eventually(lambda: self.status()["currentSequence"] == ["ctrl+j"]))
        state = self.status()
        self.assertEqual((state["interaction"], state["hintOptions"]), ("capture", ["m"]))
        self.server.type("m")
        self.assertTrue(eventually(lambda: self.status()["statusMessage"] == "Launched: one"))
        self.assertIn("Mark", self.status()["lastTriggerInfo"])
        self.assertTrue(eventually(lambda: self.status()["statusMessage"] == "", 6))

    def test_a_preference_counts_from_its_change_on(self):
        self.start(item(["ctrl+j", "m"], action=self.action("one")))
        self.home.write("state/varnel/preferences.json", {"sequenceStepTimeoutMilliseconds": 250})
        time.sleep(0.3)
        self.server.type("ctrl+j")
        self.assertTrue(eventually(lambda: self.status()["interaction"] == "idle", 2))


class Hooks(RunTest):
    def test_plugins_hear_of_the_launch_and_of_every_new_configuration(self):
        marks = self.home.path / "marks"
        program = self.home.write("bundled/listener/run", "#!/usr/bin/env python3\nimport json, sys\n"
                                  "request = json.load(sys.stdin)\nwith open(" + repr(str(marks)) + ", 'a') as marks:\n"
                                  "    print(sys.argv[1], request['hook'], request['settings'].get('size'), sep='-', file=marks)\n")
        os.chmod(program, 0o755)
        self.home.write("bundled/listener/plugin.json", {
            "id": "me.listener", "name": "Listener", "version": "1", "executable": "run", "capabilities": ["hooks"],
            "actions": [], "hooks": ["appDidLaunch", "configDidReload"]})
        content = document(item(["f5"], action=opens("/bin/true"))) | {"pluginSettings": {"me.listener": {"size": 3}}}
        config = self.home.write("config.json", content)
        running = self.home.start("--config", config, "--bundled-plugins", str(self.home.path / "bundled"))
        self.addCleanup(running.close)
        heard = ["hook-appDidLaunch-3", "hook-configDidReload-3"]
        self.assert_marks(heard)
        running.process.send_signal(signal.SIGHUP)  # the same bytes: nothing to tell
        time.sleep(0.3)
        content["pluginSettings"]["me.listener"]["size"] = 4
        self.home.write("config.json", content)
        self.assert_marks([*heard, "hook-configDidReload-4"])


class Reloading(RunTest):
    def test_hang_up_binds_new_keys_and_frees_old_ones(self):
        running = self.start(item(["f5"], action=self.action("old")))
        self.home.write("config.json", document(item(["f6"], action=self.action("new"))))
        running.process.send_signal(signal.SIGHUP)
        self.assertTrue(eventually(lambda: "Loaded 1 root items" in running.diagnostics().split("true")[-1]))
        witness = Witness(self.server.display)
        self.server.type("F5", "F6")
        self.assert_marks(["new"])
        self.assertEqual(witness.keys(), ["F5"])

    def test_many_reloads_while_keys_are_typed(self):
        running = self.start(item(["f5"], action=self.action("one")))
        for n in range(30):
            self.home.write("config.json", document(item(["f5"], action=self.action("one")),
                                                    item(["ctrl+k", "x"], f"Name {n}", action=opens("/bin/true"))))
            running.process.send_signal(signal.SIGHUP)
            self.server.type("a", "ctrl+k", delay=1)
        self.server.type("Escape", "F5")
        self.assert_marks(["one"])


class Keyboards(RunTest):
    def test_they_come_and_go_also_in_the_middle_of_a_sequence(self):
        self.start(item(["ctrl+j", "m"], action=self.action("one")))
        changes = [("disable", "Xvfb keyboard"), ("enable", "Xvfb keyboard"), ("float", "Xvfb keyboard"),
                   ("reattach", "Xvfb keyboard", "Virtual core keyboard"), ("create-master", "Second"),
                   ("reattach", "Xvfb keyboard", "Second keyboard"),
                   ("remove-master", "Second keyboard", "AttachToMaster", "Virtual core pointer", "Virtual core keyboard")]
        for number, change in enumerate(changes):
            with self.subTest(change=change):
                self.server.type("ctrl+j")
                self.assertTrue(eventually(lambda: self.status()["interaction"] == "capture"))
                subprocess.run(["xinput", *change], check=True, timeout=20,
                               env={**os.environ, "DISPLAY": self.server.display})
                self.server.type("m")
                self.assert_marks(["one"] * (2 * number + 1))
                witness = Witness(self.server.display)
                self.server.type("a", "ctrl+j", "m", "b")
                self.assert_marks(["one"] * (2 * number + 2))
                self.assertEqual([key for key in witness.keys() if len(key) == 1], ["a", "b"])


class Ending(RunTest):
    def test_every_way_to_end_lets_go_of_the_keyboard(self):
        for end in (signal.SIGTERM, signal.SIGINT, signal.SIGKILL, "quit"):
            running = self.start(item(["ctrl+j", "m"], action=self.action("one")))
            self.server.type("ctrl+j")
            self.assertTrue(eventually(lambda: self.status()["interaction"] == "capture"), end)
            if end == "quit":
                self.home.varnel("quit")
            else:
                running.process.send_signal(end)
            self.assertEqual(running.end(), -signal.SIGKILL if end == signal.SIGKILL else 0, end)
            witness = Witness(self.server.display)
            self.server.type("ctrl+j", "m")
            self.assertEqual([key for key in witness.keys() if len(key) == 1], ["j", "m"], end)
            self.assertEqual(self.marks(), [])

    def test_a_lost_display_ends_it_with_a_message(self):
        running = self.start(item(["f5"], action=self.action("one")))
        self.server.process.terminate()
        self.assertEqual(running.end(), 2)
        self.assertIn("display was lost", running.diagnostics())


class Displays(RunTest):
    def test_one_application_a_display(self):
        first = self.start(item(["f5"], action=self.action("first")))
        other = XServer()
        self.addCleanup(other.close)
        config = self.home.write("other.json", document(item(["f5"], action=self.action("second"))))
        second = self.home.start("--config", config, DISPLAY=other.display)
        self.addCleanup(second.close)
        third = self.home.start("--config", config)
        self.addCleanup(third.close)
        self.assertEqual(third.end(), 2)
        self.assertIn(f"already running on display {self.server.display}", third.diagnostics())
        self.server.type("F5")
        self.assert_marks(["first"])
        other.type("F5")
        self.assert_marks(["first", "second"])
        self.home.varnel("quit", DISPLAY=other.display)
        self.assertEqual(second.end(), 0)
        self.assertIsNone(first.process.poll())


@unittest.skipIf("TSAN_OPTIONS" in os.environ, "the thread sanitizer wakes up by itself")
class Idling(RunTest):
    def test_nothing_wakes_it_while_nothing_happens(self):
        running = self.start(item(["ctrl+j", "m"], action=self.action("one")), item(["cmd", "g"],
                                                                                    action=self.action("two")))
        time.sleep(1.5)

        def switches():
            total = 0
            for task in os.listdir(f"/proc/{running.process.pid}/task"):
                with open(f"/proc/{running.process.pid}/task/{task}/status") as status:
                    total += sum(int(line.split()[1]) for line in status if "ctxt_switches" in line)
            return total

        before = switches()
        time.sleep(3)
        self.assertEqual(switches(), before)


if __name__ == "__main__":
    main()

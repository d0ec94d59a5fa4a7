#!/usr/bin/env python3
"""The running application as the command line sees it, without a display: control socket, signals, files."""
import json
import os
import signal
import socket
import stat
import time
import unittest

from program import Home, document, eventually, item, main, opens


class ControlTest(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.close)
        self.mark = self.home.path / "mark"
        script = self.home.write("leave-mark", f"#!/bin/sh\necho ran >> '{self.mark}'\n")
        os.chmod(script, 0o755)
        self.config = self.home.write("config.json", document(
            item(["ctrl+j"], "Leader", kind="group"), item(["ctrl+j", "m"], "Mark", action=opens(script))))
        self.socket = self.home.path / "run/varnel/control.sock"

    def start(self, *words, **more):
        running = self.home.start(*(words or ("--config", self.config)), **more)
        self.addCleanup(running.close)
        return running

    def ask(self, status, *words):
        result = self.home.varnel(*words)
        self.assertEqual(result.returncode, status, (words, result.stdout, result.stderr))
        return result

    def state(self):
        return json.loads(self.ask(0, "status", "--json").stdout)

    def connect(self):
        client = socket.socket(socket.AF_UNIX)
        client.settimeout(5)
        client.connect(str(self.socket))
        self.addCleanup(client.close)
        return client

    def exchange(self, line):
        with self.connect() as client, client.makefile() as answer:
            client.sendall(line)
            return answer.readline()


class Verbs(ControlTest):
    def test_nobody_there(self):
        self.assertEqual(json.loads(self.ask(1, "status", "--json").stdout)["running"], False)
        for words in (["reload"], ["suspend", "x"], ["resume", "x"], ["trigger", "a"], ["quit"]):
            self.assertIn("not running", self.ask(2, *words).stderr)

    def test_status_says_that_keys_cannot_be_captured(self):
        running = self.start()
        self.assertEqual(running.line, "active local:off global:off AX:denied")
        self.assertIn("cannot be captured", running.diagnostics())
        self.assertEqual(self.ask(0, "status").stdout.splitlines()[0], running.line)
        state = self.state()
        self.assertEqual((state["configPath"], state["itemCount"], state["pid"]),
                         (self.config, 2, running.process.pid))

    def test_suspension_has_reasons(self):
        self.start()
        rows = [("suspend", "game", "SUSPENDED", ["game"]), ("suspend", "call", "SUSPENDED", ["call", "game"]),
                ("suspend", "game", "SUSPENDED", ["call", "game"]), ("resume", "game", "SUSPENDED", ["call"]),
                ("resume", "never", "SUSPENDED", ["call"]), ("resume", "call", "active", [])]
        for verb, reason, word, reasons in rows:
            self.ask(0, verb, reason)
            state = self.state()
            self.assertEqual((state["statusLine"].split()[0], state["suspensionReasons"]), (word, reasons))
        self.ask(2, "suspend", " ")

    def test_a_sequence_can_be_triggered(self):
        self.start()
        match = json.loads(self.ask(0, "trigger", "CTRL+J", "m", "--json").stdout)["match"]
        self.assertEqual((match["name"], match["type"]), ("Mark", "action"))
        self.assertTrue(eventually(self.mark.exists))
        for tokens in (["ctrl+j"], ["ctrl+j", "x"], ["nonsense"]):
            self.assertIn("No action has the trigger", self.ask(1, "trigger", *tokens).stderr)

    def test_reload_takes_the_file_at_once_or_keeps_what_it_had(self):
        self.start()
        self.home.write("config.json", document(item(["f1"], action=opens("/bin/true"))))
        self.ask(0, "reload")
        self.assertEqual(self.state()["itemCount"], 1)
        self.home.write("config.json", "{")
        self.assertIn("line 1", self.ask(2, "reload").stderr)
        state = self.state()
        self.assertEqual(state["itemCount"], 1)
        self.assertIn("line 1", state["configError"])
        (self.home.path / "config.json").unlink()
        self.assertIn("Config file not found at", self.ask(2, "reload").stderr)
        self.assertEqual(self.state()["itemCount"], 1)
        self.home.write("config.json", document())
        self.ask(0, "reload")
        self.assertEqual((self.state()["itemCount"], self.state()["configError"]), (0, None))

    def test_a_changed_file_is_noticed(self):
        self.start()
        self.home.write("config.json", document(item(["f1"], action=opens("/bin/true"))))
        self.assertTrue(eventually(lambda: self.state()["itemCount"] == 1))

    def test_quit_ends_it_and_leaves_nothing(self):
        running = self.start()
        self.ask(0, "quit")
        self.assertEqual(running.end(), 0)
        self.assertFalse(self.socket.exists())
        self.ask(1, "status")


class Starting(ControlTest):
    def test_the_first_start_writes_the_default_configuration(self):
        self.start("--headless")
        path = self.home.path / ".config/varnel/config.json"
        self.assertEqual(len(json.loads(path.read_text())["items"]), 6)
        self.assertEqual(self.state()["configPath"], str(path))

    def test_a_broken_configuration_does_not_keep_it_from_starting(self):
        broken = self.home.write("broken.json", '{"items": [}')
        running = self.start("--config", broken)
        self.assertIn("line 1", self.state()["configError"])
        self.assertIn("Error loading config", running.diagnostics())
        self.home.write("broken.json", document(item(["f1"], action=opens("/bin/true"))))
        self.ask(0, "reload")
        self.assertEqual(self.state()["itemCount"], 1)

    def test_a_second_one_is_refused(self):
        first = self.start()
        second = self.start()
        self.assertEqual((second.line, second.end()), ("", 2))
        self.assertIn(f"Varnel is already running (process {first.process.pid})", second.diagnostics())
        self.ask(0, "status")

    def test_on_another_display_it_gets_a_socket_of_its_own(self):
        # Nobody listens on these displays; that keys cannot be captured does not matter here.
        first = self.start(DISPLAY=":9871")
        second = self.start(DISPLAY=":9872.0")
        rows = [({"DISPLAY": ":9871"}, first), ({"DISPLAY": ":9872"}, second), ({"DISPLAY": ":9872.3"}, second),
                ({}, first), ({"DISPLAY": ":9873"}, first)]
        for more, expected in rows:
            answer = self.home.varnel("status", "--json", **more)
            self.assertEqual(json.loads(answer.stdout)["pid"], expected.process.pid, more)
        self.assertEqual(self.start(DISPLAY=":9872").end(), 2)

    def test_what_a_killed_one_left_behind_is_replaced(self):
        killed = self.start()
        killed.process.send_signal(signal.SIGKILL)
        killed.end()
        self.assertTrue(self.socket.exists())
        self.ask(1, "status")
        self.start()
        self.ask(0, "status")

    def test_the_socket_is_for_its_owner_only(self):
        self.start()
        self.assertEqual(stat.S_IMODE(self.socket.stat().st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(self.socket.parent.stat().st_mode), 0o700)
        if os.geteuid() == 0:
            os.chmod(self.socket, 0o666)
            for folder in (self.socket.parent, self.home.path / "run", self.home.path):
                os.chmod(folder, 0o755)
            reader, writer = os.pipe()
            if os.fork() == 0:
                try:
                    os.setuid(65534)
                    refused = self.exchange(b'{"verb":"status"}\n') == ""
                except OSError:
                    refused = True
                os.write(writer, b"refused" if refused else b"served")
                os._exit(0)
            self.assertEqual(os.read(reader, 10), b"refused")
            os.wait()

    def test_it_runs_without_a_place_for_its_socket(self):
        blocked = self.home.write("file", "")
        running = self.start(XDG_RUNTIME_DIR=blocked)
        self.assertTrue(running.line.startswith("active"))
        self.assertIn("no control socket", running.diagnostics())


class Hostile(ControlTest):
    def test_bad_requests_are_refused(self):
        self.start()
        rows = [b"\n", b"{\n", b"[]\n", b"{}\n", b'{"verb":3}\n', b'{"verb":"dance"}\n', b'{"verb":"suspend"}\n',
                b'{"verb":"trigger","tokens":[1]}\n', b'{"verb":"trigger","tokens":"a"}\n', b"\xff\xfe\n",
                b"[" * 60000 + b"\n"]
        for line in rows:
            answer = json.loads(self.exchange(line))
            self.assertEqual(answer["success"], False, line[:40])
            self.assertTrue(answer["message"])

    def test_idle_silent_and_endless_clients_hold_nobody_up(self):
        self.start()
        idle = [self.connect() for _ in range(10)]
        endless = self.connect()
        try:
            for _ in range(100):
                endless.sendall(b"x" * 4096)
        except (BrokenPipeError, ConnectionResetError):
            pass
        gone = self.connect()
        gone.sendall(b'{"verb":"status"}')
        gone.close()
        started = time.monotonic()
        self.ask(0, "status")
        self.assertLess(time.monotonic() - started, 1)
        for client in idle:  # they are let go after a while
            self.assertEqual(client.recv(1), b"")

    def test_more_clients_than_it_serves(self):
        self.start()
        crowd = [self.connect() for _ in range(40)]
        for client in crowd[:16]:
            client.sendall(b'{"verb":"status"}\n')
            self.assertIn(b"statusLine", client.recv(100000))
        for client in crowd:
            client.close()
        self.assertTrue(eventually(lambda: self.home.varnel("status").returncode == 0))


class Signals(ControlTest):
    def test_hang_up_reloads_at_once(self):
        running = self.start()
        self.home.write("config.json", document())
        running.process.send_signal(signal.SIGHUP)
        self.assertTrue(eventually(lambda: self.state()["itemCount"] == 0, 0.4))

    def test_the_others_end_it_cleanly(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            running = self.start()
            running.process.send_signal(number)
            self.assertEqual(running.end(), 0, number)
            self.assertFalse(self.socket.exists())

    def test_preferences_are_taken_over_while_it_runs(self):
        running = self.start()
        preferences = self.home.path / "state/varnel/preferences.json"
        self.assertTrue(preferences.parent.is_dir())
        preferences.write_text("{")
        self.assertTrue(eventually(lambda: "preferences.json" in running.diagnostics()))
        self.ask(0, "status")


if __name__ == "__main__":
    main()

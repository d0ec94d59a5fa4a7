#!/usr/bin/env python3
"""Why did nothing happen: what the running application tells of its decisions, and how it starts safely. No display."""
import json
import os
import re
import socket
import subprocess
import time
import unittest

from program import PROGRAM, Home, document, eventually, item, main, opens

SANITIZED = any(name in os.environ for name in ("ASAN_OPTIONS", "TSAN_OPTIONS"))


class DecisionsTest(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.close)
        self.config = self.home.write("config.json", document(item(["ctrl+j", "m"], "Mail", action=opens("/no/app"))))

    def start(self, *words):
        running = self.home.start(*(words or ("--config", self.config)))
        self.addCleanup(running.close)
        return running

    def ask(self, *words, status=0):
        result = self.home.varnel(*words)
        self.assertEqual(result.returncode, status, (words, result.stdout, result.stderr))
        return result.stdout + (result.stderr if status else "")

    def connect(self, request=None):
        client = socket.socket(socket.AF_UNIX)
        client.settimeout(10)
        client.connect(str(self.home.path / "run/varnel/control.sock"))
        self.addCleanup(client.close)
        if request:
            client.sendall(json.dumps(request).encode() + b"\n")
        return client

    def exchange(self, request):
        with self.connect(request) as client, client.makefile() as answer:
            return json.loads(answer.readline())

    def monitor(self, *words):
        process = subprocess.Popen([PROGRAM, "monitor", *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   text=True, env=self.home.environment)
        self.addCleanup(lambda: (process.kill(), process.wait(), process.stdout.close(), process.stderr.close()))
        return process


class Why(DecisionsTest):
    def test_tells_the_last_decisions_in_plain_words(self):
        self.assertIn("not running", self.ask("why", status=2))
        self.start()
        self.ask("trigger", "ctrl+j", "m")
        self.ask("suspend", "game")
        self.assertTrue(eventually(lambda: "“Mail” ended" in self.ask("why")))
        self.home.write("config.json", '{"items": [}')
        self.ask("reload", status=2)
        self.ask("resume")  # without a reason: all of them
        lines = self.ask("why").splitlines()
        for line in lines:
            self.assertRegex(line, r"^\d\d:\d\d:\d\d\.\d{3}  \S")
        told = [line[14:] for line in lines]
        self.assertEqual(told[:3], ["The configuration was loaded: 1 item", "Keys cannot be captured: no X server answers",
                                    "“Mail” was run without its keys being typed"])
        self.assertEqual([line for line in told if line.startswith("Paused")], ["Paused: game"])
        self.assertTrue(told[-3].startswith("The configuration cannot be read: "), told)
        self.assertEqual(told[-1], "No longer paused: game")
        report = json.loads(self.ask("why", "--json"))
        self.assertEqual([d["text"] for d in report["decisions"]], told)
        self.assertEqual([d["number"] for d in report["decisions"]], list(range(1, len(told) + 1)))
        self.assertEqual((report["otherKeys"], report["decisions"][0]["kind"], report["decisions"][0]["count"]),
                         (0, "configurationLoaded", 1))
        self.assertRegex(report["decisions"][0]["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")


class Monitor(DecisionsTest):
    def test_follows_until_the_application_ends(self):
        self.start()
        text, values = self.monitor(), self.monitor("--json")
        time.sleep(0.5)  # until both listen
        self.ask("suspend", "game")
        self.assertIn("Paused: game", text.stdout.readline())
        decision = json.loads(values.stdout.readline())
        self.assertEqual((decision["kind"], decision["message"]), ("suspended", "game"))
        self.ask("quit")
        self.assertEqual((text.wait(10), values.wait(10)), (2, 2))
        self.assertIn("has ended", text.stderr.read())

    def test_ends_with_its_reader(self):
        self.start()
        process = self.monitor()
        process.stdout.close()

        def ended():
            self.ask("suspend", "a")
            self.ask("resume", "a")
            return process.poll() is not None
        self.assertTrue(eventually(ended, 10))
        self.assertEqual(process.returncode, 0)

    def test_a_reader_that_takes_nothing_holds_nobody_up(self):
        running = self.start()
        sleeper = self.connect({"verb": "monitor"})
        self.assertEqual(json.loads(self.line(sleeper))["success"], True)
        status = f"/proc/{running.process.pid}/status"

        def resident():
            with open(status) as lines:
                return int(re.search(r"VmRSS:\s+(\d+)", lines.read())[1])
        reason = "x" * 150
        for n in range(300):
            self.exchange({"verb": "suspend", "reason": reason})
            self.exchange({"verb": "resume"})
        before, started = resident(), time.monotonic()
        for n in range(1200):
            self.exchange({"verb": "suspend", "reason": reason})
            self.exchange({"verb": "resume"})
        self.assertLess(time.monotonic() - started, 60)
        if not SANITIZED:  # those keep what was freed
            self.assertLess(resident() - before, 400, "kB that grew for a reader who takes nothing")
        # What it reads after all: whole lines, some left out, up to the newest.
        numbers = []
        total = json.loads(self.ask("why", "--json"))["decisions"][-1]["number"]
        while not numbers or numbers[-1] < total:
            numbers.append(json.loads(self.line(sleeper))["number"])
        self.assertEqual(numbers, sorted(set(numbers)))
        self.assertLess(len(numbers), total - 500)

    def test_only_a_few_may_listen_and_the_vanished_make_room(self):
        self.start()
        listening = [self.connect({"verb": "monitor"}) for _ in range(4)]
        for client in listening:
            self.assertTrue(json.loads(self.line(client))["success"])
        self.assertFalse(self.exchange({"verb": "monitor"})["success"])
        listening[0].close()
        self.assertTrue(eventually(lambda: self.exchange({"verb": "monitor"})["success"]))
        self.ask("status")

    def line(self, client):
        text = b""
        while not text.endswith(b"\n"):
            byte = client.recv(1)
            self.assertTrue(byte, "the application closed the connection")
            text += byte
        return text


class Hooks(DecisionsTest):
    LISTENER = {"id": "me.listener", "name": "Listener", "version": "1", "executable": "run", "capabilities": ["hooks"],
                "actions": [], "hooks": ["appDidLaunch", "configDidReload"]}

    def listener(self, folder):
        marks = self.home.path / "marks"
        program = self.home.write(f"{folder}/listener/run", "#!/usr/bin/env python3\nimport json, sys\n"
                                  f"request = json.load(sys.stdin)\nwith open({str(marks)!r}, 'a') as marks:\n"
                                  "    print(request['hook'], request['context']['configPath'], file=marks)\n")
        os.chmod(program, 0o755)
        self.home.write(f"{folder}/listener/plugin.json", self.LISTENER)
        return marks

    def test_the_launch_names_a_configuration_that_cannot_be_read(self):
        marks = self.listener("bundled")
        self.home.write("config.json", "{")
        self.start("--config", self.config, "--bundled-plugins", str(self.home.path / "bundled"))
        self.assertTrue(eventually(marks.exists))
        self.assertTrue(eventually(lambda: marks.read_text() == f"appDidLaunch {self.config}\n"), marks.read_text())

    def test_a_safe_start_depends_on_nothing_that_the_user_made(self):
        marks = self.listener("bundled")
        self.home.write(".config/varnel/config.json", '{"items": [')
        self.home.write(".config/varnel/plugins/mine/plugin.json", self.LISTENER | {"id": "me.mine"})
        for more in ([], ["--config", str(self.home.path / "none.json")]):
            before = self.files()
            running = self.start("--safe", "--bundled-plugins", str(self.home.path / "bundled"), *more)
            state = json.loads(self.ask("status", "--json"))
            self.assertEqual((state["isSafe"], state["configError"]), (True, None))
            self.assertIn("--safe", self.ask("status").splitlines()[1])
            self.assertEqual(state["itemCount"], len(json.loads(self.default())["items"]))
            self.ask("reload")
            self.ask("quit")
            self.assertEqual(running.end(), 0)
            self.assertEqual(self.files(), before, "files that a safe start wrote")
        self.assertFalse(marks.exists(), "a hook ran")

    def default(self):
        other = Home()
        self.addCleanup(other.close)
        running = other.start()
        self.addCleanup(running.close)
        return (other.path / ".config/varnel/config.json").read_text()

    def files(self):
        return {path: path.read_bytes() for path in self.home.path.rglob("*")
                if path.is_file() and "/run/" not in str(path) and "stderr" not in path.name}


if __name__ == "__main__":
    main()

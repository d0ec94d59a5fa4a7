#!/usr/bin/env python3
"""A password typed outside of sequences leaves no trace: real keys into a real terminal, then a search of every file,
every message and all memory of the program."""
import json
import os
import pathlib
import re
import subprocess
import tempfile
import time
import unittest

from program import PROGRAM, Home, document, eventually, item, main, opens
from run_test import XServer

PASSWORD = "sesam-Xq7?open_sky"
# Texts side by side, in arrays of strings, of small records and of decisions.
STRIDES = [1, 2, 4, *range(8, 520, 8)]


def traces(memory, text):
    """At which distances from each other the characters of the text are found, in this or the other order."""
    found = []
    for stride in STRIDES:
        gap = b".{%d}" % (stride - 1)
        for letters in (text, text[::-1]):
            pattern = gap.join(re.escape(letter.encode()) for letter in letters)
            if re.search(pattern, memory, re.DOTALL):
                found.append(stride)
    return found


def writable_memory(pid):
    """Everything that the process could have written to."""
    memory = []
    with open(f"/proc/{pid}/maps") as maps, open(f"/proc/{pid}/mem", "rb") as content:
        for line in maps:
            span, rights = line.split()[:2]
            begin, end = (int(place, 16) for place in span.split("-"))
            if rights.startswith("rw") and not line.rstrip().endswith(("[vvar]", "[vsyscall]")):
                content.seek(begin)
                memory.append(content.read(end - begin))
    return b"\n".join(memory)


class Secret(unittest.TestCase):
    def setUp(self):
        self.server = XServer()
        self.addCleanup(self.server.close)
        self.home = Home(self.server.display)
        self.addCleanup(self.home.close)
        self.elsewhere = tempfile.TemporaryDirectory()
        self.addCleanup(self.elsewhere.cleanup)

    def terminal(self):
        """A terminal that writes down, elsewhere, each line that it is given."""
        read = pathlib.Path(self.elsewhere.name, "read")
        process = subprocess.Popen(["xterm", "-e", "sh", "-c", f"stty -echo; exec cat > '{read}'"],
                                   env={**os.environ, "DISPLAY": self.server.display, "HOME": self.elsewhere.name},
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(lambda: (process.kill(), process.wait()))
        self.assertTrue(eventually(read.exists, 20))
        self.server.hold("search", "--sync", "--onlyvisible", "--class", "xterm", "windowfocus", "--sync")
        return read

    def test_a_password_leaves_no_trace(self):
        config = self.home.write("config.json", document(
            item(["ctrl+j", "m"], "Control sample", action=opens("/bin/true")),
            item(["cmd", "t"], "After a tap", action=opens("/bin/true")),
            # Every "s" of the password passes through the engine.
            item(["s"], "Let through", kind="group", allowsPassthroughPrefix=True),
            item(["s", "f9"], "After an s", action=opens("/bin/true"))))
        running = self.home.start("--config", config)
        self.addCleanup(running.close)
        monitor_log = open(os.path.join(self.elsewhere.name, "monitor"), "w+")
        monitor = subprocess.Popen([PROGRAM, "monitor", "--json"], stdout=monitor_log, env=self.home.environment)
        self.addCleanup(lambda: (monitor.kill(), monitor.wait(), monitor_log.close()))
        self.assertEqual(running.line, "active local:off global:on AX:granted")
        read = self.terminal()

        def type_password():
            self.server.hold("type", "--delay", "12", PASSWORD)
            self.server.type("Return")
        type_password()
        self.server.type("ctrl+j", "Escape")
        type_password()
        self.server.type("ctrl+j", "x")  # refused
        self.server.type("Super_L", "Escape")
        type_password()
        self.server.type("ctrl+j", "m")
        self.assertEqual(self.home.varnel("suspend", "marker-of-this-test").returncode, 0)
        type_password()
        self.assertEqual(self.home.varnel("resume").returncode, 0)
        eventually(lambda: read.read_text().count("\n") == 4, 20)
        self.assertEqual(read.read_text(), (PASSWORD + "\n") * 4, "what the terminal got")
        time.sleep(0.3)

        memory = writable_memory(running.process.pid)
        self.assertIn(b"marker-of-this-test", memory, "the search finds what is there")
        self.assertEqual(traces(memory + b"s e s a m", "sesam"), [2], "and also what is scattered")
        self.assertEqual(traces(memory, PASSWORD), [], "memory")
        self.assertEqual(traces(memory, PASSWORD[5:13]), [], "a part of it in memory")
        monitor_log.seek(0)
        messages = {"monitor": monitor_log.read(), "diagnostics": running.diagnostics()}
        for words in (["why"], ["why", "--json"], ["status", "--json"]):
            messages[" ".join(words)] = self.home.varnel(*words).stdout
        kinds = [decision["kind"] for decision in json.loads(messages["why --json"])["decisions"]]
        for kind in ("cancelled", "nothingBound", "ran", "suspended", "resumed"):
            self.assertIn(kind, kinds)
        files = {str(path): path.read_bytes().decode(errors="replace") for path in self.home.path.rglob("*")
                 if path.is_file() and path.name != "config.json"}
        self.assertTrue(files)
        for name, text in {**messages, **files}.items():
            for part in (PASSWORD, PASSWORD[:5], PASSWORD[5:13], " ".join(PASSWORD), ",".join(PASSWORD)):
                self.assertNotIn(part, text, name)
        # Nor do its keys stand there one by one.
        tokens = [decision.get("token") for decision in json.loads(messages["why --json"])["decisions"]]
        self.assertEqual([token for token in tokens if token in set(PASSWORD.lower()) - {"m", "x"}], [])


if __name__ == "__main__":
    main()

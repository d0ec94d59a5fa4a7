#!/usr/bin/env python3
"""A password typed outside of sequences leaves no trace: real keys into a real terminal, then a search of every file,
every message, everything that the program wrote and all of its memory."""
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time
import unittest

from program import BINARIES, PROGRAM, Home, document, eventually, item, main, opens
from run_test import XServer

PASSWORD = "sesam-Xq7?open_sky"
PARTS = (PASSWORD, PASSWORD[:5], PASSWORD[5:13])
# Texts side by side, in arrays of strings, of small records and of decisions.
STRIDES = [1, 2, 4, *range(8, 520, 8)]
HEADLESS = (PROGRAM, "run", "--headless")
WINDOWS = (str(BINARIES / "varnel-app"),)
TRACE = shutil.which("strace") and not any(name in os.environ for name in ("ASAN_OPTIONS", "TSAN_OPTIONS"))


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
    """Everything that the process could have written to, but for what was never used."""
    memory = []
    with open(f"/proc/{pid}/maps") as maps, open(f"/proc/{pid}/mem", "rb") as content:
        for line in maps:
            span, rights = line.split()[:2]
            begin, end = (int(place, 16) for place in span.split("-"))
            if not rights.startswith("rw") or end - begin > 1 << 30:  # the sanitizers' shadow
                continue
            for place in range(begin, end, 4096):
                try:
                    content.seek(place)
                    page = content.read(4096)
                except OSError:  # shared with a device
                    break
                if page.count(0) != len(page):
                    memory.append(page)
    return b"".join(memory)


class Secret(unittest.TestCase):
    def setUp(self):
        self.server = XServer()
        self.addCleanup(self.server.close)
        self.home = Home(self.server.display)
        self.addCleanup(self.home.close)
        self.home.write("state/varnel/preferences.json", {"hasShownInitialWindow": True})
        self.elsewhere = tempfile.TemporaryDirectory()
        self.addCleanup(self.elsewhere.cleanup)
        self.messages = {}

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

    def listen(self, name, *words):
        """A program whose output is one more message; returns what ends it."""
        log = pathlib.Path(self.elsewhere.name, name)
        with open(log, "w") as output:
            process = subprocess.Popen(words, stdout=output, stderr=subprocess.STDOUT, env=self.home.environment)
        self.addCleanup(lambda: (process.kill(), process.wait()))

        def end():
            process.terminate()
            process.wait(10)
            self.messages[name] = log.read_text(errors="replace")
        return end

    def type_password(self):
        self.server.hold("type", "--delay", "12", PASSWORD)
        self.server.type("Return")

    def check(self, program, *words):
        running = self.home.start(*words, program=program)
        self.addCleanup(running.close)
        self.assertEqual(running.line, "active local:off global:on AX:granted")
        endings = [self.listen("monitor", PROGRAM, "monitor"),
                   self.listen("monitor --json", PROGRAM, "monitor", "--json")]
        if TRACE:  # all that any of its threads writes, wherever
            endings.append(self.listen("strace", "strace", "-f", "-p", str(running.process.pid), "-s", "100000", "-e",
                                       "trace=write,writev,pwrite64,sendto,sendmsg,sendmmsg,rename,openat"))
        if program == WINDOWS:
            subprocess.run(program, env=self.home.environment, timeout=20, check=True)  # its window is on the screen
        read = self.terminal()
        self.type_password()
        self.server.type("ctrl+j", "Escape")
        self.type_password()
        self.server.type("ctrl+j", "x")  # refused
        self.server.type("Super_L", "Escape")
        self.type_password()
        self.messages["why while typing"] = self.home.varnel("why").stdout
        self.server.type("ctrl+j", "m")
        self.assertEqual(self.home.varnel("suspend", "marker-of-this-test").returncode, 0)
        self.type_password()
        self.assertEqual(self.home.varnel("resume").returncode, 0)
        eventually(lambda: read.read_text().count("\n") == 4, 20)
        got = read.read_text()
        if "--safe" in words:  # then no tap is bound, and escape is the terminal's
            got = got.replace("\x1b", "")
        self.assertEqual(got, (PASSWORD + "\n") * 4, "what the terminal got")
        time.sleep(0.3)
        for words in (["why"], ["why", "--json"], ["status", "--json"], ["doctor"]):
            self.messages[" ".join(words)] = self.home.varnel(*words).stdout
        for end in endings:
            end()
        self.search_memory(running.process.pid)
        self.messages["diagnostics"] = running.diagnostics()
        self.search_messages()

    def search_memory(self, pid):
        memory = writable_memory(pid)
        self.assertIn(b"marker-of-this-test", memory, "the search finds what is there")
        self.assertIn(2, traces(memory + b"s e s a m", "sesam"), "and also what is scattered")
        self.assertEqual(traces(memory, PASSWORD), [], "memory")
        self.assertEqual(traces(memory, PASSWORD[5:13]), [], "a part of it in memory")

    def search_messages(self):
        decisions = json.loads(self.messages["why --json"])["decisions"]
        kinds = [decision["kind"] for decision in decisions]
        for kind in ("cancelled", "nothingBound", "suspended", "resumed"):
            self.assertIn(kind, kinds)
        for name in ("monitor", "monitor --json", "strace" if TRACE else "why"):
            self.assertIn("marker-of-this-test", self.messages[name], "what was listened to was heard")
        files = {str(path): path.read_bytes().decode(errors="replace") for path in self.home.path.rglob("*")
                 if path.is_file() and path.name != "config.json"}
        self.assertTrue(files)
        for name, text in {**self.messages, **files}.items():
            for part in (*PARTS, " ".join(PASSWORD), ",".join(PASSWORD)):
                self.assertNotIn(part, text, name)
        # Nor do its keys stand there one by one.
        tokens = [decision.get("token") for decision in decisions]
        self.assertEqual([token for token in tokens if token in set(PASSWORD.lower()) - {"m", "x"}], [])

    def config(self):
        return self.home.write("config.json", document(
            item(["ctrl+j", "m"], "Control sample", action=opens("/bin/true")),
            item(["cmd", "t"], "After a tap", action=opens("/bin/true")),
            # Every "s" of the password passes through the engine.
            item(["s"], "Let through", kind="group", allowsPassthroughPrefix=True),
            item(["s", "f9"], "After an s", action=opens("/bin/true"))))

    def test_without_windows(self):
        self.check(HEADLESS, "--config", self.config())
        self.assertIn("other keys", self.messages["why"], "those that were asked for are counted")

    def test_without_windows_started_safely(self):
        self.check(HEADLESS, "--safe")

    def test_with_windows(self):
        self.check(WINDOWS, "--config", self.config())

    def test_with_windows_started_safely(self):
        self.check(WINDOWS, "--safe")


if __name__ == "__main__":
    main()

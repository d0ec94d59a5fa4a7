#!/usr/bin/env python3
"""The contract of every verb that needs no running application, with the real program on real files."""
import json
import os
import pathlib
import pwd
import subprocess
import unittest

from program import PROGRAM, Home, document, item, main, opens

CHECKED = document(
    item(["ctrl+j"], "Leader", kind="group"),
    item(["ctrl+j", "s"], "Start", kind="group"),
    item(["ctrl+j", "s", "t"], "Terminal", action=opens("/usr/bin/xterm")),
    item(["ctrl+j", "w"], "Web", action=opens("/usr/bin/true")),
    item(["ctrl+j", "enter"], "Line", action=opens("/usr/bin/true")),
)


class VerbTest(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.config = self.home.write("config.json", CHECKED)

    def tearDown(self):
        self.home.close()

    def status(self, status, *words, **more):
        """Runs a call, checks its exit status, and gives its output."""
        result = self.home.varnel(*words, **more)
        self.assertEqual(result.returncode, status, (words, result.stdout, result.stderr))
        return result

    def lines(self, status, *words):
        return [json.loads(line) for line in self.status(status, *words).stdout.splitlines()]


class Usage(VerbTest):
    def test_wrong_calls_name_what_is_wrong_and_the_nearest_that_exists(self):
        rows = [
            (["chek"], "did you mean 'check'"),
            (["xylophone"], "unknown verb 'xylophone'; did you mean '"),
            (["check", "--jsn"], "did you mean '--json'"),
            (["labels"], "needs N"),
            (["labels", "3", "4"], "unexpected argument '4'"),
            (["lookup", "a", "--config"], "needs a value"),
            (["check", "--json=yes"], "takes no value"),
            (["run", "everything"], "unexpected argument"),
            (["--headles"], "did you mean '--headless'"),
            (["suspend"], "needs REASON"),
            (["labels", "many"], "whole number"),
            (["labels", "99999999999999999999"], "whole number"),
            (["format", "--write", "--check", "x.json"], "exclude each other"),
        ]
        for words, expected in rows:
            with self.subTest(words=words):
                result = self.status(2, *words)
                self.assertIn(expected, result.stderr)
                self.assertEqual(result.stdout, "")

    def test_help_and_version_answer_on_standard_output(self):
        for words in (["--help"], ["check", "--help"], ["run", "--headless", "--help"]):
            self.assertIn("Usage: varnel", self.status(0, *words).stdout)
        self.assertRegex(self.status(0, "--version").stdout, r"^varnel \d+\.\d+\.\d+\n$")

    def test_a_reader_that_goes_away_is_no_error(self):
        process = subprocess.Popen([PROGRAM, "labels", "200000"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=self.home.environment)
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual((process.wait(10), process.stderr.read()), (0, b""))
        process.stderr.close()

    def test_a_pipe_without_a_writer_is_empty_and_streams_that_do_not_wait_are_waited_for(self):
        os.mkfifo(self.home.path / "pipe")
        self.status(2, "check", "pipe", timeout=5)
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        process = subprocess.Popen([PROGRAM, "labels", "200000"], stdout=writer, env=self.home.environment)
        os.close(writer)
        with os.fdopen(reader) as answer:
            self.assertEqual(len(answer.readlines()), 200000)
        self.assertEqual(process.wait(10), 0)

    def test_a_full_disk_is_one(self):
        with open("/dev/full", "w") as full:
            result = subprocess.run([PROGRAM, "labels", "3"], stdout=full, stderr=subprocess.PIPE,
                                    env=self.home.environment)
        self.assertEqual(result.returncode, 2)


class Tokens(VerbTest):
    def test_tokens_are_explained(self):
        rows = [
            (" CMD+Shift+K ", ["k", 40, 0x120000, "cmd+shift+k", "cmd+shift+k", False]),
            ("enter", ["enter", 36, 0, "enter", "return", False]),
            ("keycode53", ["keycode53", 53, 0, "keycode53", "escape", False]),
            ("cmd", [None, None, 0x100000, "cmd", "cmd", True]),
            ("shift+ctrl", [None, None, 0x60000, "ctrl+shift", "shift+ctrl", True]),
        ]
        answers = self.lines(0, "token", "--json", *[token for token, _ in rows])
        for (token, expected), answer in zip(rows, answers, strict=True):
            names = ["key", "keyCode", "flags", "normalized", "live", "modifierOnly"]
            self.assertEqual(answer, {"input": token, **dict(zip(names, expected))})

    def test_a_shortcut_is_the_events_that_type_it(self):
        def event(kind, code, flags, is_down):
            return {"type": kind, "keyCode": code, "flags": flags, "isKeyDown": is_down}
        self.assertEqual(self.lines(0, "shortcut", "ctrl+K", "--local"), [
            event("flagsChanged", 59, 0x40000, True), event("keyDown", 40, 0x40000, True),
            event("keyUp", 40, 0x40000, False), event("flagsChanged", 59, 0, False)])
        for token in ("", "cmd", "ctrl+nokey", "a+b"):
            self.assertEqual(self.lines(2, "shortcut", token, "--send"), [], token)
        self.lines(1, "shortcut", "k", "--send")  # there is no display

    def test_what_is_no_token_says_why_and_ends_with_1(self):
        answers = self.lines(1, "token", "a", "cmd + k", "", "keycode70000", "hyper+k", "a+b")
        self.assertNotIn("error", answers[0])
        for answer in answers[1:]:
            self.assertEqual(set(answer), {"input", "error"})
            self.assertTrue(answer["error"])

    def test_labels(self):
        rows = [(["10"], "f k d l s a h g jj jf"), (["3"], "j f k"), (["0"], ""), (["-5"], ""),
                (["27", "--full"], "f k d l s a h g u r m v i e c o w x p q z y t n b jj jf")]
        for words, expected in rows:
            self.assertEqual(self.status(0, "labels", *words).stdout.split(), expected.split(), words)
            self.assertEqual(self.lines(0, "labels", "--json", *words), [expected.split()], words)


class Lookup(VerbTest):
    def test_sequences_are_looked_up(self):
        rows = [
            (["CTRL+J", "s", "t"], 0, ["ctrl+j", "s", "t"], "Terminal", False, [], []),
            (["ctrl+j", "return"], 0, ["ctrl+j", "return"], "Line", False, [], []),
            (["ctrl+j"], 0, ["ctrl+j"], None, True, ["return", "s", "w"], ["Start", "Terminal", "Web", "Line"]),
            (["ctrl+j", "s"], 0, ["ctrl+j", "s"], None, True, ["t"], ["Terminal"]),
            (["ctrl+j", "q"], 1, ["ctrl+j", "q"], None, False, [], []),
            (["foo"], 1, ["foo"], None, False, [], []),
        ]
        for tokens, status, sequence, match, is_prefix, following, items in rows:
            with self.subTest(tokens=tokens):
                answer = self.lines(status, "lookup", *tokens, "--config", self.config)[0]
                found = answer.pop("match")
                self.assertEqual(found and found["name"], match)
                self.assertEqual(answer, {"sequence": sequence, "isPrefix": is_prefix, "next": following,
                                          "items": items})

    def test_a_match_names_its_item(self):
        match = self.lines(0, "lookup", "ctrl+j", "w", f"--config={self.config}")[0]["match"]
        self.assertEqual(match, {"id": CHECKED["items"][3]["id"], "name": "Web", "type": "action"})

    def test_the_active_file_is_found_as_the_application_finds_it(self):
        self.status(2, "lookup", "ctrl+j")
        self.home.write(".config/varnel/config.json", CHECKED)
        self.status(0, "lookup", "ctrl+j")
        other = self.home.write("other.json", document(item(["f1"], action=opens("/usr/bin/true"))))
        self.home.write("state/varnel/preferences.json", {"customConfigPath": other})
        self.status(0, "lookup", "f1")
        self.status(1, "lookup", "ctrl+j")
        pathlib.Path(other).unlink()
        self.status(0, "lookup", "ctrl+j")

    def test_without_a_home_in_the_environment_the_account_has_one(self):
        result = self.home.varnel("check", HOME="")
        self.assertIn(pwd.getpwuid(os.geteuid()).pw_dir + "/.config/varnel/", result.stdout + result.stderr)

    def test_reading_creates_nothing(self):
        for words in (["lookup", "a"], ["check"], ["format"]):
            self.status(2, *words)
        self.assertEqual(sorted(p.name for p in self.home.path.iterdir()), ["config.json", "run"])


class Check(VerbTest):
    def test_a_clean_file_has_no_findings(self):
        self.status(0, "check", self.config)
        self.assertEqual(json.loads(self.status(0, "check", self.config, "--json").stdout), [])

    def test_findings_carry_their_place(self):
        twice = document(item(["f1"], "One", action=opens("/x")), item(["f1"], "Two", action=opens("/x")))
        path = self.home.write("twice.json", twice)
        findings = json.loads(self.status(1, "check", path, "--json").stdout)
        self.assertTrue(findings)
        for finding in findings:
            self.assertEqual(set(finding), {"severity", "code", "message", "path", "line", "column", "itemID"})
            self.assertEqual(finding["severity"], "warning")
            self.assertGreater(finding["column"], 0)
        self.assertIn("Two", self.status(1, "check", path).stdout)

    def test_files_that_do_not_load_end_with_2(self):
        rows = [("{\n  \"items\": [1,]\n}", 2), ("", 1), ("{\"items\": 3}", 1), ("[[[[", 1), ("\x00", 1),
                ('[{"name": "n", "type": "action",\n "keys": 3}]', 2)]
        for text, line in rows:
            with self.subTest(text=text):
                path = self.home.write("broken.json", text)
                findings = json.loads(self.status(2, "check", path, "--json").stdout)
                self.assertEqual([f["severity"] for f in findings], ["error"])
                self.assertEqual(findings[0]["line"], line)
                self.assertIn("broken.json", self.status(2, "check", path).stdout)
        missing = json.loads(self.status(2, "check", "absent.json", "--json").stdout)
        self.assertEqual(missing[0]["severity"], "error")


class Format(VerbTest):
    def canonical(self):
        return self.status(0, "format", self.config).stdout

    def test_printing_leaves_the_file_alone(self):
        before = pathlib.Path(self.config).read_bytes()
        text = self.canonical()
        self.assertTrue(text.endswith("}\n") and not text.endswith("\n\n"))
        self.assertEqual(json.loads(text)["items"][2]["name"], "Terminal")
        self.assertEqual(pathlib.Path(self.config).read_bytes(), before)
        self.assertEqual(self.status(0, "format", "-", stdin=text).stdout, text)

    def test_check_compares_but_for_the_line_break_at_the_end(self):
        self.status(1, "format", "--check", self.config)
        text = self.canonical()
        for content, status in [(text, 0), (text[:-1], 0), (text + "\n", 1), (text.replace(" : ", ": "), 1)]:
            self.home.write("formatted.json", content)
            self.assertEqual(self.status(status, "format", "--check", "formatted.json").stdout, "")

    def test_write_saves_with_a_backup_once(self):
        original = pathlib.Path(self.config).read_bytes()
        text = self.canonical()
        self.status(0, "format", "--write", self.config)
        self.assertEqual(pathlib.Path(self.config).read_text(), text[:-1])
        backup = pathlib.Path(self.config + ".bak")
        self.assertEqual(backup.read_bytes(), original)
        changed = pathlib.Path(self.config).stat().st_mtime_ns
        self.status(0, "format", "--write", self.config)
        self.assertEqual(pathlib.Path(self.config).stat().st_mtime_ns, changed)
        self.assertEqual(backup.read_bytes(), original)

    def test_an_older_form_becomes_the_current_one(self):
        bare = self.home.write("bare.json", json.dumps(CHECKED["items"]))
        self.assertEqual(set(json.loads(self.status(0, "format", bare).stdout)), {"items", "pluginSettings"})
        self.status(1, "format", "--check", bare)

    def test_a_file_that_does_not_load_is_kept(self):
        path = self.home.write("broken.json", "{")
        self.assertIn("broken.json", self.status(2, "format", "--write", path).stderr)
        self.assertEqual(pathlib.Path(path).read_text(), "{")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""What `varnel check` adds to the bare rules: this machine, expectations, mending, machine-readable forms."""
import json
import os
import pathlib
import unittest

from program import Home, document, eventually, item, main, opens

MANIFEST = {"id": "user.notes", "name": "Notes", "version": "1", "executable": "run", "capabilities": ["actions"],
            "actions": [{"id": "open", "name": "Open", "description": "Opens", "parametersSchema": [
                {"key": "line", "type": "integer", "title": "Line", "required": True}]}]}
MESSY = [{"name": "Copy", "type": "action", "keys": ["Shift+CMD+k"], "action": {"type": "keyboardShortcut", "shortcut": "cmd+c"}}]


class CheckTest(unittest.TestCase):
    def setUp(self):
        self.home = Home()

    def tearDown(self):
        self.home.close()

    def check(self, status, *words, **more):
        result = self.home.varnel("check", *words, **more)
        self.assertEqual(result.returncode, status, (words, result.stdout, result.stderr))
        return result

    def codes(self, status, *words, **more):
        found = json.loads(self.check(status, *words, "--json", **more).stdout)
        return [f["code"] for f in found]


class Machine(CheckTest):
    def test_applications_are_looked_for_as_a_launch_would(self):
        self.home.write(".local/share/applications/web.desktop",
                        "[Desktop Entry]\nType=Application\nName=Great Web\nExec=true\n")
        rows = [("/usr/bin/env", 0), ("/Applications/Great Web.app", 0), ("/Applications/No Such.app", 1),
                ("/no/such/program", 1), ("env", 0), ("no-such-program", 1), ("~/absent", 1)]
        for path, status in rows:
            with self.subTest(path=path):
                config = self.home.write("config.json", document(item(["f1"], action=opens(path))))
                self.assertEqual(self.codes(status, config), ["missing-application"] * status)

    def test_capabilities_wait_for_trust_and_are_held_against_their_forms(self):
        package = self.home.path / "plugins" / "notes"
        package.mkdir(parents=True)
        (package / "plugin.json").write_text(json.dumps(MANIFEST))
        (package / "run").write_text("#!/bin/sh\n")
        (package / "run").chmod(0o755)
        use = {"pluginID": "user.notes", "actionID": "open", "params": {"line": 1.5}}
        config = self.home.write("config.json", document(item(["f1"], action=use)))
        self.assertEqual(self.codes(1, config), ["unknown-action"])
        folder = ["--user-plugins", self.home.path / "plugins"]
        self.assertEqual(sorted(self.codes(1, config, *folder)), ["mistyped-parameter", "untrusted-plugin"])
        self.assertEqual(self.home.varnel("plugins", "trust", "user.notes", *folder).returncode, 0)
        self.assertEqual(self.codes(1, config, *folder), ["mistyped-parameter"])
        self.assertEqual(self.home.varnel("plugins", "disable", "user.notes", *folder).returncode, 0)
        self.assertIn("inactive-plugin", self.codes(1, config, *folder))

    def test_the_running_application_checks_what_it_loads(self):
        config = self.home.write("config.json", document(item(["f1"], "Gone", action=opens("/no/such"))))
        running = self.home.start("--config", config)
        try:
            state = lambda: json.loads(self.home.varnel("status", "--json").stdout)["configFindings"]
            self.assertTrue(eventually(lambda: state()["count"] == 1))
            self.assertIn("[missing-application]", state()["first"])
            self.assertTrue(eventually(lambda: running.diagnostics().count("[missing-application]") == 1))
            right = document(item(["f1"], "There", action=opens("/usr/bin/true")))
            for content in (right, "{", right):  # what is taken back is as good as before
                self.home.write("config.json", content)
                self.assertTrue(eventually(lambda: state()["count"] == (content == "{")), content)
        finally:
            running.close()

    def test_a_pipe_that_says_nothing_is_given_up(self):
        os.mkfifo(self.home.path / "silent")
        writer = os.open(self.home.path / "silent", os.O_RDWR)
        try:
            running = self.home.start("--config", self.home.path / "silent")
            self.assertIn("active", running.line)
            running.close()
        finally:
            os.close(writer)


class Expectations(CheckTest):
    def test_they_stand_beside_the_configuration(self):
        config = self.home.write("dot.files/config.json", document(item(["f1", "a"], "Env", action=opens("/usr/bin/env"))))
        self.check(0, config)
        expect = self.home.write("dot.files/config.expect", "f1 a -> Env\nf1 b -> nothing\n")
        self.check(0, config)
        self.home.write("dot.files/config.expect", "f1 a -> Env\n\nf1 b -> Env\n")
        self.assertIn("config.expect:3:1: error: ", self.check(1, config).stdout)
        found = json.loads(self.check(1, config, "--json").stdout)
        self.assertEqual([(f["code"], f["path"], f["line"]) for f in found], [("failed-expectation", expect, 3)])
        self.home.write("dot.files/config.expect", "f1 a = Env\n")
        self.assertEqual(self.codes(2, config), ["invalid-expectation"])
        other = self.home.write("other", "f1 a -> Env\n")
        self.check(0, config, "--expect", other)
        self.assertEqual(self.codes(2, config, "--expect", "absent"), ["unreadable"])


class Mending(CheckTest):
    def test_fix_saves_with_a_backup_once(self):
        config = self.home.write("config.json", MESSY)
        before = pathlib.Path(config).read_text()
        self.assertIn("Shift+CMD+k", self.check(0, config, "--fix").stdout)
        after = pathlib.Path(config).read_text()
        self.assertEqual(json.loads(after)["items"][0]["keys"], ["cmd+shift+k"])
        self.assertEqual(pathlib.Path(config + ".bak").read_text(), before)
        again = self.check(0, config, "--fix", "--json", "--notes")
        self.assertEqual((json.loads(again.stdout), again.stderr), ([], ""))
        self.assertEqual(pathlib.Path(config + ".bak").read_text(), before)

    def test_fix_leaves_alone_what_it_cannot_mend(self):
        for text in ('[{"name":1}]', '[{"name":"A","type":"group","keys":["A"],"note":"mine"}]', "["):
            config = self.home.write("config.json", text)
            self.check(2, config, "--fix")
            self.assertEqual(pathlib.Path(config).read_text(), text)
        self.check(2, "-", "--fix", stdin="[]")


class Forms(CheckTest):
    def test_notes_are_told_on_request_only(self):
        config = self.home.write("config.json", MESSY)
        self.assertEqual(self.codes(0, config), [])
        self.assertEqual(self.codes(0, config, "--notes"), ["older-form", "missing-id", "spelling", "older-form"])

    def test_rules_explain_themselves(self):
        rules = json.loads(self.check(0, "--rules", "--json").stdout)
        for rule in rules:
            text = self.check(0, "--explain", rule["code"]).stdout
            self.assertIn(rule["explanation"], text)
            self.assertIn(rule["remedy"], text)
        self.assertIn("did you mean 'equal-trigger'", self.check(2, "--explain", "equal-triger").stderr)

    def test_sarif_has_what_code_scanning_needs(self):
        self.home.write("my config.json", document(
            item(["f1"], "One", action=opens("/usr/bin/true")), item(["f1"], "Two", action=opens("/usr/bin/true"))))
        self.home.write("my config.expect", "f2 -> One\n")
        log = json.loads(self.check(1, "my config.json", "--sarif").stdout)
        self.assertEqual((log["version"], len(log["runs"])), ("2.1.0", 1))
        run = log["runs"][0]
        driver = run["tool"]["driver"]
        self.assertEqual(driver["name"], "varnel")
        self.assertEqual(len({r["id"] for r in driver["rules"]}), len(driver["rules"]))
        self.assertIs(run["invocations"][0]["executionSuccessful"], True)
        self.assertEqual([r["ruleId"] for r in run["results"]], ["equal-trigger", "failed-expectation"])
        for result, uri, line in zip(run["results"], ("my%20config.json", "my%20config.expect"), (1, 1)):
            self.assertEqual(driver["rules"][result["ruleIndex"]]["id"], result["ruleId"])
            self.assertIn(result["level"], ("note", "warning", "error"))
            self.assertTrue(result["message"]["text"])
            place = result["locations"][0]["physicalLocation"]
            self.assertEqual((place["artifactLocation"]["uri"], place["region"]["startLine"]), (uri, line))
            self.assertGreaterEqual(place["region"]["startColumn"], 1)
        related = run["results"][0]["relatedLocations"][0]
        self.assertIn("also bound by", related["message"]["text"])
        self.assertEqual(related["logicalLocations"][0]["fullyQualifiedName"], "items[0].keys")
        broken = json.loads(self.check(2, "absent.json", "--sarif").stdout)["runs"][0]
        self.assertIs(broken["invocations"][0]["executionSuccessful"], False)
        self.check(2, "--json", "--sarif")


if __name__ == "__main__":
    main()

"""varnel doctor without a display: exit statuses, JSON, and nothing that tells who the user is."""
import json
import unittest

from program import SOURCES, Home


class Doctor(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.close)
        self.config = ".config/varnel/config.json"

    def report(self, *words, **more):
        result = self.home.varnel("doctor", "--json", *words, USER="ada", **more)
        findings = json.loads(result.stdout)["findings"]
        return result, {finding["id"]: finding for finding in findings}

    def test_grades_and_exit_status(self):
        path = self.home.path / self.config
        demo = (SOURCES / "scripts" / "demo.json").read_text()
        for content, mode, status, grade in ((None, 0, 1, "note"), (demo, 0o644, 1, "fine"), ("{", 0o644, 2, "failure"),
                                             ("[]", 0o666, 1, "warning")):
            if content is not None:
                self.home.write(self.config, content)
                path.chmod(mode)
            result, findings = self.report()
            self.assertEqual(result.returncode, status, result.stdout)
            self.assertEqual(findings["configuration.file"]["grade"], grade)
            self.assertEqual(findings["display"]["grade"], "warning")
            self.assertEqual("files.mode" in findings, mode == 0o666)

    def test_a_configuration_that_cannot_be_read_does_not_hang(self):
        import os
        os.mkfifo(self.home.path / "pipe")
        result, findings = self.report("--config", "pipe")
        self.assertEqual((result.returncode, findings["configuration.file"]["grade"]), (2, "failure"))

    def test_names_nobody(self):
        (self.home.path / "ada").mkdir()
        result, _ = self.report("--config", "ada/none.json")
        self.assertIn("~/USER/none.json", result.stdout)
        self.assertNotIn(str(self.home.path), result.stdout + self.home.varnel("doctor").stdout)

    def test_asks_the_running_application(self):
        self.home.write(self.config, [])
        running = self.home.start()
        try:
            _, findings = self.report()
            self.assertEqual(findings["application.running"]["grade"], "warning", "it captures nothing")
        finally:
            self.home.varnel("quit")
            running.process.wait(10)
            running.process.stdout.close()
            running.errors.close()


if __name__ == "__main__":
    unittest.main()

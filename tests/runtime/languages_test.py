#!/usr/bin/env python3
"""The user's language: for people, never for programs."""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from program import BINARIES, PROGRAM, SOURCES, Home, document, item, main, opens

sys.path.insert(0, str(SOURCES / "tools"))
import translations  # noqa: E402

GERMAN = {"LC_ALL": "de_DE.UTF-8"}
JAPANESE = {"LC_ALL": "", "LANG": "ja_JP.UTF-8"}


class Languages(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.close)
        self.config = self.home.write("config.json", document(item([], "Mail", action=opens("/no/app"))))

    def say(self, *words, **environment):
        result = self.home.varnel(*words, **environment)
        return result.stdout + result.stderr

    def test_people_read_their_language(self):
        rows = [(GERMAN, ("check", self.config), "hat keine Tasten und lässt sich daher nie tippen."),
                (JAPANESE, ("check", self.config), "にはキーがないため、入力できません。"),
                (GERMAN, ("--help",), "meldet, was an einer Konfiguration nicht stimmt"),
                (GERMAN, ("chek",), "ist 'check' gemeint?"),
                (GERMAN, ("operations", "close"), "Schließt das aktuelle Fenster."),
                (JAPANESE, ("status",), "Varnel は実行されていません"),
                (GERMAN, ("run", "--headless", "--config", "/dev/null/x/c.json"), "Der Ordner /dev/null/x ließ sich nicht anlegen"),
                (GERMAN, ("format", self.home.write("half.json", '{"items":[]}')),
                 "(Zeile 1, Spalte 1); auch eine bloße Liste von Einträgen ist es nicht"),
                (JAPANESE, ("simulate", self.home.write("bad.sim", "pres a"), "--config", self.config),
                 "1 行目: 不明な文 'pres'。もしかして 'press' ですか?"),
                ({"LC_ALL": "xx_XX.UTF-8"}, ("status",), "Varnel is not running"),
                ({**GERMAN, "LANGUAGE": "xx:ja"}, ("status",), "Varnel は実行されていません")]
        for environment, words, text in rows:
            with self.subTest(words=words, **environment):
                self.assertIn(text, self.say(*words, **environment))

    def test_programs_read_english_in_every_language(self):
        for words in [("check", self.config, "--json"), ("check", self.config, "--sarif"), ("schema",),
                      ("operations", "--json"), ("doctor", "--json"), ("status", "--json"), ("token", "cmd+foo"),
                      ("plugins", "list", "--json"), ("check", "--rules", "--json"), ("format", self.config)]:
            with self.subTest(words=words):
                english = self.home.varnel(*words)
                german = self.home.varnel(*words, **GERMAN)
                self.assertEqual((german.stdout, german.returncode), (english.stdout, english.returncode))

    def test_bundled_capabilities_speak_it_too(self):
        shell = BINARIES.parent / "share/varnel/plugins/core.shell/core-shell"
        request = json.dumps({"actionID": "run", "params": {"command": "exit 3"}})
        for program, folder in ((shell, "/"), ("./core-shell", shell.parent)):  # it works in the home folder
            result = subprocess.run([program, "action"], input=request, capture_output=True, text=True, cwd=folder,
                                    env={**self.home.environment, **GERMAN})
            self.assertEqual(json.loads(result.stdout),
                             {"success": False, "message": "Der Befehl endete mit Status 3"})

    def test_a_program_without_its_catalogues_speaks_english(self):
        with tempfile.TemporaryDirectory() as folder:
            alone = pathlib.Path(folder) / "bin" / "varnel"
            alone.parent.mkdir()
            shutil.copy(PROGRAM, alone)
            broken = pathlib.Path(folder) / "share/varnel/locale/de.mo"
            for content in (None, b"", b"\xde\x12\x04\x95" + b"\xff" * 200):
                if content is not None:
                    broken.parent.mkdir(parents=True, exist_ok=True)
                    broken.write_bytes(content)
                result = subprocess.run([alone, "status"], capture_output=True, text=True,
                                        env={**self.home.environment, **GERMAN})
                self.assertIn("Varnel is not running", result.stderr)


class Tool(unittest.TestCase):
    def test_finds_every_kind_of_text(self):
        source = '''// localized("comment")
            say(localized("one %1, "  // and on
                          "two", {x}));
            localized(name); localized("a" + b);
            other_localized("no"); localized(R"(raw "quotes")");'''
        self.assertEqual([key for key, _ in translations.calls(list(translations.lexemes(source)))],
                         ["one %1, two", None, None, 'raw "quotes"'])
        for shown in ('label->setText("Bare")', 'setWindowTitle(QStringLiteral("Bare"))', 'tr("x")'):
            self.assertTrue(translations.SHOWS.search(shown), shown)

    def test_what_it_writes_it_reads_again(self):
        texts = {"plain": "schlicht", "with \"quotes\" and \\": "„%1“\t\\", "lines\n\nof %1\n": "Zeilen\n\nvon %1\n",
                 "long " * 60 + "end": "lang " * 60 + "Ende"}
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "xx.po"
            translations.write_po(path, ["", "Language: xx\n", []], dict.fromkeys(texts, "src/x.cpp"), texts)
            self.assertEqual({o: t for o, t, _ in translations.read_po(path) if o}, texts)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Cheat sheets, imports and the schema with the real program; other tools read what it writes."""
import copy
import html.parser
import json
import pathlib
import re
import unittest
import xml.etree.ElementTree as xml

import jsonschema

from program import SOURCES, Home, document, item, main, opens

EXAMPLES = {"sxhkd": SOURCES / "tests/data/import/every-construct.sxhkdrc",
            "karabiner": SOURCES / "tests/data/import/every-construct.karabiner.json"}
# What a check may say of any configuration: whether applications and capabilities are there.
DEPENDS_ON_THE_MACHINE = {"missing-application", "inactive-plugin"}
NAMES = ["Plain", "<b>&\"'|`*_~", "הפעל את הדפדפן", "🎉 日本語", "line\nbreak"]
BINDINGS = document(
    item(["ctrl+j"], "Apps", kind="group"),
    *[item(["ctrl+j", key], name, action=opens("/usr/bin/true")) for key, name in zip("abcde", NAMES)],
    item(["cmd", "g", "g"], "Deep", action=opens("/usr/bin/true")))


class DocumentTest(unittest.TestCase):
    def setUp(self):
        self.home = Home()

    def tearDown(self):
        self.home.close()

    def status(self, status, *words, **more):
        result = self.home.varnel(*words, **more)
        self.assertEqual(result.returncode, status, (words, result.stdout[-400:], result.stderr))
        return result


class Page(html.parser.HTMLParser):
    """Every element that was opened is closed; the text and the attributes are kept."""
    VOID = {"meta", "rect"}

    def __init__(self):
        super().__init__()
        self.open, self.text, self.attributes, self.tags = [], "", [], []

    def handle_starttag(self, tag, attrs):
        self.tags.append(tag)
        self.attributes += attrs
        if tag not in self.VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        self.tags.append(tag)
        self.attributes += attrs

    def handle_endtag(self, tag):
        assert self.open.pop() == tag, tag

    def handle_data(self, data):
        self.text += data


class CheatSheets(DocumentTest):
    def setUp(self):
        super().setUp()
        self.file = self.home.write("config.json", BINDINGS)

    def page(self, *words):
        return self.status(0, "cheatsheet", *words, self.file).stdout

    def test_the_page_is_whole_shows_every_name_and_needs_no_network(self):
        page = Page()
        text = self.page("--html")
        page.feed(text)
        self.assertEqual(page.open, [])
        for name in NAMES[:4]:
            self.assertIn(name, page.text)
        self.assertEqual({value for _, value in page.attributes if "//" in (value or "")},
                         {"http://www.w3.org/2000/svg"})
        self.assertNotIn("url(", text)
        identifiers = [value for name, value in page.attributes if name == "id"]
        self.assertEqual(len(identifiers), len(set(identifiers)))
        for name, value in page.attributes:
            if name == "aria-labelledby":
                self.assertLessEqual(set(value.split()), set(identifiers))
        self.assertEqual([tag for tag in page.tags if re.fullmatch("h[1-6]", tag)], ["h1", "h2", "h2"])

    def test_the_picture_is_sound_for_every_keyboard(self):
        for shape in ("ansi", "iso", "mac"):
            root = xml.fromstring(self.page("--svg", "--keyboard", shape))
            width, height = (float(root.get(side)) for side in ("width", "height"))
            keys = []
            for part in root.iter("{http://www.w3.org/2000/svg}rect"):
                x, y, w, h = (float(part.get(side, 0)) for side in ("x", "y", "width", "height"))
                self.assertTrue(x + w <= width and y + h <= height)
                if part.get("class").startswith("key"):
                    keys.append((x, y, w, h))
            for i, (x, y, w, h) in enumerate(keys):
                for u, v, p, q in keys[:i]:
                    self.assertFalse(x < u + p and u < x + w and y < v + q and v < y + h, "keys overlap")
            self.assertEqual(len(keys), {"ansi": 87, "iso": 88, "mac": 86}[shape])

    def test_markdown_is_the_default_and_tables_keep_their_columns(self):
        text = self.page()
        self.assertEqual(text, self.page("--md"))
        for row in [line for line in text.splitlines() if line.startswith("|")]:
            self.assertEqual(len(re.findall(r"(?<!\\)\|", row)), 4, row)

    def test_wrong_calls_are_refused(self):
        self.status(2, "cheatsheet", "--md", "--svg", self.file)
        self.assertIn("ansi, iso or mac", self.status(2, "cheatsheet", "--keyboard", "oval", self.file).stderr)
        self.status(2, "cheatsheet", self.home.write("broken.json", "[{]"))


class Imports(DocumentTest):
    def test_every_rule_is_converted_or_listed_and_the_result_is_clean(self):
        for kind, example in EXAMPLES.items():
            result = self.status(1, "import", kind, example)
            lines = result.stderr.splitlines()
            rules, converted, left_out = map(int, re.search(r"rules: (\d+), converted: (\d+), left out: (\d+)",
                                                            lines[-1]).groups())
            listed = [line for line in lines if line.endswith("[left out]")]
            self.assertEqual((rules, left_out), (converted + left_out, len(listed)))
            source = example.read_text().splitlines()
            for line in listed:
                number = int(re.match(re.escape(str(example)) + r":(\d+): ", line).group(1))
                self.assertNotEqual(source[number - 1].strip(), "", line)
            self.assertEqual(result.stdout, self.home.varnel("import", kind, example).stdout)
            imported = self.home.write("imported.json", result.stdout)
            found = {finding["code"] for finding in json.loads(self.home.varnel("check", "--json", imported).stdout)}
            self.assertLessEqual(found, DEPENDS_ON_THE_MACHINE)
            self.status(0, "format", "--check", imported)

    def test_imported_sequences_run(self):
        rows = [
            ("sxhkd", "press cmd+return", "xterm"),
            ("sxhkd", "press cmd+shift+l", "wm node -s east"),
            ("sxhkd", "press cmd+r\npress h", "wm resize left -10"),
            ("sxhkd", "press cmd+0", "wm desktop -f '^10'"),
            ("sxhkd", "press semicolon\npress d", "date +%F"),
            ("sxhkd", "tap cmd", "menu"),
            ("karabiner", "press ctrl+j\npress b", "/Applications/Firefox.app"),
            ("karabiner", "press ctrl+j\npress g\npress s", "git status\ngit log -1"),
            ("karabiner", "press cmd+ctrl+alt+shift+o\npress n", "/System/Applications/Notes.app"),
            ("karabiner", "press ctrl+j\npress escape\npress b", None),
            ("karabiner", "press f13", None),
        ]
        for kind, script, expected in rows:
            text = self.home.varnel("import", kind, EXAMPLES[kind]).stdout
            path = self.home.write("imported.json", text)
            played = self.status(0, "simulate", "--json", "--config", path, stdin=script + "\n").stdout
            runs = [run for line in played.splitlines() if (run := json.loads(line)["runs"])]
            commands = {i["id"]: list(i["action"]["params"].values())[0] for i in json.loads(text)["items"] if i["action"]}
            self.assertEqual([commands[run["id"]] for run in runs], [expected] if expected else [], script)

    def test_the_first_key_of_a_replayed_chain_reaches_the_application(self):
        path = self.home.write("imported.json", self.home.varnel("import", "sxhkd", EXAMPLES["sxhkd"]).stdout)
        played = self.status(0, "simulate", "--json", "--config", path, stdin="press semicolon\npress d\n").stdout
        keys = [event for line in played.splitlines() if (event := json.loads(line))["event"] == "keyDown"]
        self.assertEqual([event["swallowed"] for event in keys], [False, True])

    def test_the_exit_status_tells_how_it_went(self):
        fine = self.home.write("fine", "super + a\n\ttrue\n")
        self.assertIn("rules: 1, converted: 1, left out: 0", self.status(0, "import", "sxhkd", fine).stderr)
        self.assertIn(":1:", self.status(2, "import", "karabiner", fine).stderr)
        self.status(2, "import", "sxhkd", "no-such-file")
        self.assertIn("sxhkd or karabiner", self.status(2, "import", "other", fine).stderr)
        self.assertEqual(pathlib.Path(fine).read_text(), "super + a\n\ttrue\n")


ITEM = {"name": "A", "keys": ["a"], "type": "action",
        "action": {"pluginID": "core.shell", "actionID": "run", "params": {"command": "ls"}}}


def changed(**members):
    """The item with other members; ... removes one."""
    result = {**copy.deepcopy(ITEM), **members}
    return {key: value for key, value in result.items() if value is not ...}


class Schema(DocumentTest):
    def setUp(self):
        super().setUp()
        schema = json.loads(self.status(0, "schema").stdout)
        jsonschema.Draft202012Validator.check_schema(schema)
        self.validator = jsonschema.Draft202012Validator(schema)

    def loads(self, value):
        return self.home.varnel("check", self.home.write("row.json", json.dumps(value))).returncode != 2

    def test_it_judges_as_the_decoder_does(self):
        older = {"type": "shellCommand", "command": "ls"}
        items = [
            ITEM, changed(id=...), changed(id=None), changed(id="6f1c2b0e-4a8d-4c1e-9b7a-2d3e4f5a6b7c"),
            changed(id="none"), changed(id=7), changed(name=...), changed(name=None), changed(name=1), changed(keys=...),
            changed(keys="a"), changed(keys=[1]), changed(keys=[]), changed(type=...), changed(type="Group"),
            changed(type="group", action=None), changed(action=...), changed(action="x"), changed(action={}),
            changed(isEnabled=None), changed(isEnabled=False), changed(isEnabled="yes"), changed(unknown=1),
            changed(allowsPassthroughPrefix="ignored here"), changed(type="group", allowsPassthroughPrefix="yes"),
            changed(type="group", allowsPassthroughPrefix=None), changed(type="group", allowsPassthroughPrefix=True),
            changed(action={"pluginID": "x.y", "actionID": "z"}), changed(action={"pluginID": "x", "actionID": "z", "params": None}),
            changed(action={"pluginID": "x", "actionID": "z", "params": []}), changed(action={"pluginID": "x"}),
            changed(action={"pluginID": 1, "actionID": "z"}), changed(action={"pluginID": "x", "actionID": 1}),
            changed(action={"actionID": "z"}), changed(action=older), changed(action={**older, "pluginID": "x"}),
            changed(action={**older, "pluginID": "x", "actionID": None}), changed(action={**older, "type": "other"}),
            changed(action={**older, "openInTerminal": "no"}), changed(action={**older, "path": None}),
            changed(action={**older, "shortcut": 1}), changed(action={"pluginID": "x", "actionID": "z", "path": 1}),
            "text", None,
        ]
        rows = [{"items": [each], "pluginSettings": {}} for each in items] + [[each] for each in items]
        rows += [[], {}, 7, None, "x", {"items": []}, {"pluginSettings": {}}, {"items": None, "pluginSettings": {}},
                 {"items": [], "pluginSettings": None}, {"items": [], "pluginSettings": {"a": {"b": [1]}}},
                 {"items": [], "pluginSettings": {"a": 1}}, {"items": [], "pluginSettings": {}, "$schema": "x"}]
        verdicts = set()
        for row in rows:
            loads = self.loads(row)
            verdicts.add(loads)
            self.assertEqual(self.validator.is_valid(row), loads, row)
        self.assertEqual(verdicts, {True, False})

    def test_it_reads_steps_as_the_notation_does(self):
        steps = ["a", "ctrl+j", " Shift+CMD+K ", "cmd", "Alt", "k+cmd", "shift+shift+f20", "keycode0", "keycode007",
                 "KeyCode65535", "keypadenter", "", " ", "+", "a+b", "cmd + k", "cmd+", "keycode", "keycode65536",
                 "keycode70000", "keycodex", "f21", "super+a", "ctrl-j", "é"]
        answers = self.home.varnel("token", "--", *steps).stdout.splitlines()
        for step, answer in zip(steps, answers, strict=True):
            self.assertEqual(self.validator.is_valid([changed(keys=[step])]), "error" not in json.loads(answer), step)

    def test_it_tells_what_known_actions_lack(self):
        def action(plugin, name, **params):
            return [changed(action={"pluginID": "core." + plugin, "actionID": name, "params": params})]
        rows = [(action("application", "open", path="/x"), True), (action("application", "open"), False),
                (action("shell", "run", command=3), False), (action("shortcut", "press", shortcut="ctrl+c"), True),
                (action("window", "arrange"), False), (action("aerospace", "run"), True),
                ([changed(action={"pluginID": "core.shell", "actionID": "run"})], False)]
        for value, expected in rows:
            self.assertEqual(self.validator.is_valid(value), expected, value)

    def test_it_accepts_the_files_that_people_start_from(self):
        readme = re.search(r"```json\n(.*?)```", (SOURCES / "README.md").read_text(), re.DOTALL).group(1)
        imported = self.home.varnel("import", "karabiner", EXAMPLES["karabiner"]).stdout
        texts = [readme, imported, (SOURCES / "scripts/demo.json").read_text(), json.dumps(BINDINGS)]
        for text in texts:
            self.validator.validate(json.loads(text))


if __name__ == "__main__":
    main()

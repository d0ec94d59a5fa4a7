#!/usr/bin/env python3
"""The verbs that show, examine and reshape the tree, with the real program on real files."""
import json
import pathlib
import unittest

from program import Home, document, item, main, opens

TREE = document(
    item(["ctrl+j", "w", "b"], "Browser", action=opens("/usr/bin/Größe")),
    item(["ctrl+j", "w"], "Web", kind="group"),
    item(["ctrl+j", "x", "y"], "Deep", isEnabled=False),
    item(["ctrl+j"], "Leader", kind="group"),
    item(["ctrl+j", "f"], "Files"),
)


class TreeVerbs(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.close)
        self.config = self.home.write("config.json", TREE)

    def call(self, status, *words, **more):
        result = self.home.varnel(*words, "--config", more.pop("config", self.config), **more)
        self.assertEqual(result.returncode, status, (words, result.stdout, result.stderr))
        return result

    def test_the_tree_is_printed_for_people_and_for_programs(self):
        self.assertEqual(self.call(0, "tree").stdout,
                         "ctrl+j  Leader/\n  f  Files\n  w  Web/\n    b  Browser\n  x/  (no item)\n"
                         "    y  Deep  (off)\n")
        nodes = json.loads(self.call(0, "tree", "--json").stdout)
        self.assertEqual(nodes[4], {"depth": 1, "id": "group_ctrl+j+x", "name": "x", "matchKey": "x",
                                    "fullKeys": ["ctrl+j", "x"], "type": "group", "isEnabled": True,
                                    "isDefined": False})
        self.assertEqual([(n["depth"], n["name"], n["type"], n["isEnabled"], n["isDefined"]) for n in nodes if n["depth"] == 2],
                         [(2, "Browser", "action", True, True), (2, "Deep", "action", False, True)])

    def test_a_filter_keeps_what_leads_to_its_matches(self):
        for query, names in (("GRÖSSE", []), ("größE", ["Leader", "Web", "Browser"]), ("j+x", ["Leader", "x", "Deep"]),
                             ("", ["Leader", "Files", "Web", "Browser", "x", "Deep"])):
            with self.subTest(query=query):
                nodes = json.loads(self.call(0, "tree", "--json", "--filter", query).stdout)
                self.assertEqual([node["name"] for node in nodes], names)

    def test_conflicts_name_the_item_that_has_the_trigger(self):
        found = json.loads(self.call(1, "conflict", "Ctrl+J ", "w").stdout)
        self.assertEqual(found, {"id": TREE["items"][1]["id"], "name": "Web", "keys": ["ctrl+j", "w"],
                                 "message": "This trigger already exists as “Web”."})
        for words in (["ctrl+j", "w", "--except", found["id"].lower()], ["ctrl+j", "w", "c"], ["ctrl+j", "x"]):
            self.assertEqual(self.call(0, "conflict", *words).stdout, "")
        self.assertIn("--except needs an identifier", self.call(2, "conflict", "a", "--except", "Web").stderr)

    def test_regrouping_saves_with_a_backup(self):
        before = pathlib.Path(self.config).read_text()
        rows = [  # from, to, count
            ("ctrl+j w", "ctrl+j w", "0"), ("nothing", "ctrl+q", "0"), ("", "ctrl+q", "0"),
            ("ctrl+j w", "ctrl+j e", "2"),
        ]
        for start, end, count in rows:
            self.assertEqual(self.call(0, "regroup", "--from", start, "--to", end, "--dry-run").stdout, count + "\n")
            self.assertEqual(pathlib.Path(self.config).read_text(), before)
        self.assertEqual(self.call(0, "regroup", "--from", "CTRL+J  w", "--to", "Ctrl+J e").stdout, "2\n")
        after = json.loads(pathlib.Path(self.config).read_text())
        self.assertEqual([each["keys"] for each in after["items"][:3]],
                         [["Ctrl+J", "e", "b"], ["Ctrl+J", "e"], ["ctrl+j", "x", "y"]])
        self.assertEqual(pathlib.Path(self.config + ".bak").read_text(), before)

    def test_regrouping_onto_something_changes_nothing(self):
        before = pathlib.Path(self.config).read_text()
        found = json.loads(self.call(1, "regroup", "--from", "ctrl+j w", "--to", "ctrl+j f").stdout)
        self.assertEqual((found["name"], found["message"]), ("Files", "This trigger already exists as “Files”."))
        self.assertEqual(pathlib.Path(self.config).read_text(), before)
        self.assertFalse(pathlib.Path(self.config + ".bak").exists())

    def test_wrong_calls_and_files(self):
        damaged = self.home.write("damaged.json", '{"items": [{"name": 1}], "pluginSettings": {}}')
        for words in (["tree"], ["conflict", "a"], ["regroup", "--from", "a", "--to", "b"]):
            result = self.call(2, *words, config=damaged)
            self.assertIn("items[0].name: expected a string, found a number (line 1, column 21)", result.stderr)
            self.assertEqual(result.stdout, "")
        self.assertIn("needs --from KEYS and --to KEYS", self.call(2, "regroup", "--from", "a").stderr)
        text = json.dumps(TREE)
        regroup = ["regroup", "--from", "ctrl+j w", "--to", "ctrl+j foo"]
        self.assertIn("a file is needed", self.call(2, *regroup, config="-", stdin=text).stderr)
        self.assertIn("warning: unknown key 'foo'", self.call(0, *regroup, "--dry-run", config="-", stdin=text).stderr)


if __name__ == "__main__":
    main()

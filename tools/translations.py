#!/usr/bin/env python3
"""Keeps the translations of po/ in step with the English texts of the sources.

  translations.py check              names everything that is amiss; exit 1 when there is anything
  translations.py update             adds new texts to po/*.po, untranslated, and drops those that are gone
  translations.py compile IN OUT     makes the catalogue that the programs read (.mo) of a .po file
"""
import pathlib
import re
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCES = [ROOT / "src", ROOT / "capabilities"]

# Calls of Qt that show a text to people.
SHOWS = re.compile(r"\b(setText|setWindowTitle|setTitle|setToolTip|setStatusTip|setWhatsThis|setPlaceholderText|"
                   r"setAccessibleName|setAccessibleDescription|setLabelText|setInformativeText|addAction|addMenu|"
                   r"addItem|addTab|addRow|addButton|setPrefix|setSuffix|setSpecialValueText|setHeaderLabels|"
                   r"showMessage|QLabel|QPushButton|QCheckBox|QRadioButton|QGroupBox|QAction|tr|trUtf8|translate)"
                   r"\s*\(\s*(?:QStringLiteral\s*\(\s*|QLatin1String\s*\(\s*|QString\s*\(\s*)?\"((?:[^\"\\]|\\.)*)\"")
ESCAPES = {"n": "\n", "t": "\t", '"': '"', "'": "'", "\\": "\\", "r": "\r"}
LEXEME = re.compile(r'//[^\n]*|/\*.*?\*/|R"(\w*)\((.*?)\)\1"|"((?:[^"\\\n]|\\.)*)"|\'(?:[^\'\\\n]|\\.)+\'|\w+|\s+|.', re.S)
PLACE = re.compile(r"%[1-9]")


def unescaped(text):
    def one(match):
        body = match.group(1)
        return chr(int(body[1:], 16)) if body[0] in "xu" else ESCAPES.get(body, body)
    return re.sub(r"\\(x[0-9a-fA-F]{2}|u[0-9a-fA-F]{4}|.)", one, text)


def lexemes(text):
    """("string", value, line) and ("other", spelling, line); no comments, no blanks."""
    line = 1
    for match in LEXEME.finditer(text):
        spelling = match.group()
        if match.group(2) is not None:
            yield "string", match.group(2), line
        elif match.group(3) is not None:
            yield "string", unescaped(match.group(3)), line
        elif not spelling.isspace() and not spelling.startswith(("//", "/*")):
            yield "other", spelling, line
        line += spelling.count("\n")


def joined(tokens, index):
    """The adjacent literals from `index` on as one text, and where they end."""
    parts = []
    while index < len(tokens) and tokens[index][0] == "string":
        parts.append(tokens[index][1])
        index += 1
    return "".join(parts) if parts else None, index


def calls(tokens):
    """(key or None, line) for each call of localized."""
    for index in range(len(tokens) - 2):
        if tokens[index][:2] == ("other", "localized") and tokens[index + 1][1] == "(":
            key, end = joined(tokens, index + 2)
            whole = key is not None and end < len(tokens) and tokens[end][:2] in (("other", ")"), ("other", ","))
            yield key if whole else None, tokens[index][2]


def help_texts(tokens):
    """What the help of the command line says: summaries of verbs, and the third text of an option."""
    for index in range(len(tokens) - 2):
        if tokens[index][:2] == ("other", "summary") and tokens[index + 1][1] == "=":
            yield joined(tokens, index + 2)[0]
        if tokens[index][:2] == ("other", "{") and tokens[index + 1][1].startswith("--"):
            texts, place = [], index + 1
            while place < len(tokens) and tokens[place][0] == "string" and len(texts) < 3:
                text, place = joined(tokens, place)
                texts.append(text)
                place += 1
            if len(texts) == 3:
                yield texts[2]


def source_files():
    for folder in SOURCES:
        yield from sorted(p for p in folder.rglob("*") if p.suffix in (".h", ".cpp", ".mm"))


def operation_texts(tokens):
    for index in range(len(tokens) - 3):
        if tokens[index][:2] == ("other", "{") and tokens[index + 1][0] == "string" and tokens[index + 2][1] == ",":
            text, end = joined(tokens, index + 3)
            if text and end < len(tokens) and tokens[end][1] == "," and " " in text:
                yield text


def kinds(tokens):
    yield from (text for kind, text, _ in tokens if kind == "string" and not text.endswith(".h"))


def failures(tokens):
    yield from (text for kind, text, _ in tokens if kind == "string" and text.startswith("Could not ") and "%1" in text)


# Variables that `localized` may be given: the file of the call -> where the texts stand, and how they are found.
VARIABLE_KEYS = {
    "src/documents/ActionPhrase.cpp": ("src/commands/WindowManagerOperations.cpp", operation_texts),
    "src/cli/CommandLine.cpp": ("src/cli/", help_texts),
    "src/cli/verbs/OperationsVerb.cpp": ("src/commands/WindowManagerOperations.cpp", operation_texts),
    "src/base/FilePreferenceStore.cpp": ("src/base/JSONValue.cpp", kinds),
    "src/base/FileSystem.cpp": ("src/base/FileSystem.cpp", failures),
    "src/config/ConfigTreeDecoder.cpp": ("src/base/JSONValue.cpp", kinds),
    "src/plugins/JSONNode.cpp": ("src/base/JSONValue.cpp", kinds),  # and what the decoder expects
    "src/base/Localized.h": (None, None),  # the function itself
}


def collect():
    """Keys with the files that they stand in, in order, and the problems of the sources."""
    keys, problems = {}, []
    for path in source_files():
        name = path.relative_to(ROOT).as_posix()
        text = path.read_text(encoding="utf-8")
        tokens = list(lexemes(text))
        for key, line in calls(tokens):
            if key is not None:
                keys.setdefault(key, name)
            elif name not in VARIABLE_KEYS:
                problems.append(f"{name}:{line}: the key of localized() is no literal")
        for place, find in VARIABLE_KEYS.values():
            if place and name.startswith(place):
                for key in find(tokens):
                    keys.setdefault(key, name)
        if name.startswith(("src/app/", "src/overlay/")):
            for match in SHOWS.finditer(text):
                text_shown = match.group(2).replace("Varnel!", "")  # the name is the same everywhere
                if match.group(1) in ("tr", "trUtf8", "translate") or re.search(r"[A-Za-z]{2}", text_shown):
                    line = text.count("\n", 0, match.start()) + 1
                    problems.append(f"{name}:{line}: {match.group(1)} shows a bare text; use localized()")
    return keys, problems


def read_po(path):
    """[(original, translation, flags and references)] in the file's order, the header with the original "" first."""
    entries, comments, current, target = [], [], None, None
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines() + [""], 1):
        match = re.fullmatch(r'(msgid|msgstr)?\s*"((?:[^"\\]|\\.)*)"', line.strip())
        if line.startswith("#"):
            comments.append(line)
        elif match:
            if match.group(1) == "msgid":
                current = ["", "", comments]
                comments, target = [], 0
                entries.append(current)
            elif match.group(1) == "msgstr":
                target = 1
            if current is None:
                raise SystemExit(f"{path}:{number}: a text without msgid")
            current[target] += unescaped(match.group(2))
        elif line.strip():
            raise SystemExit(f"{path}:{number}: not understood: {line}")
    return entries


def quoted(text):
    escaped = text.replace("\\", "\\\\").replace('"', '\\"').replace("\t", "\\t").replace("\n", "\\n")
    if len(escaped) <= 100 and "\\n" not in escaped[:-2]:
        return f'"{escaped}"'
    lines = [""]
    for word in re.findall(r"\\n|[^ \\]+ ?|\\[^n]| ", escaped) if " " in escaped else [escaped]:
        if len(lines[-1]) + len(word) > 100 and lines[-1]:
            lines.append("")
        lines[-1] += word
        if word == "\\n":
            lines.append("")
    return "\n".join(['""'] + [f'"{line}"' for line in lines if line])


def write_po(path, header, keys, translations):
    out = ["\n".join(header[2] + ['msgid ""', "msgstr " + quoted(header[1])])]
    for key, name in keys.items():
        out.append(f"#: {name}\nmsgid {quoted(key)}\nmsgstr {quoted(translations.get(key, ''))}")
    path.write_text("\n\n".join(out) + "\n", encoding="utf-8")


def catalogues():
    return sorted((ROOT / "po").glob("*.po"))


def check():
    keys, problems = collect()
    if len(keys) < 100 or not catalogues():
        problems.append("texts or catalogues are not found; is this the right folder?")
    for path in catalogues():
        name = path.relative_to(ROOT).as_posix()
        entries = read_po(path)
        seen = {}
        for original, translation, comments in entries:
            if original in seen:
                problems.append(f"{name}: twice: {original!r}")
            seen[original] = translation
            if any("fuzzy" in comment for comment in comments):
                problems.append(f"{name}: still to be looked over: {original!r}")
            if original and not translation.strip():
                problems.append(f"{name}: not translated: {original!r}")
            elif original and set(PLACE.findall(original)) != set(PLACE.findall(translation)):
                problems.append(f"{name}: other places than in English: {original!r}")
        problems += [f"{name}: missing: {key!r}" for key in keys if key not in seen]
        problems += [f"{name}: in no source any more: {key!r}" for key in seen if key and key not in keys]
    return problems


def compile_po(source, target):
    texts = {original: translation for original, translation, _ in read_po(source) if translation}
    pairs = sorted((original.encode(), translation.encode()) for original, translation in texts.items())
    offset = 28 + 16 * len(pairs)
    tables, data = [b"", b""], b""
    for side in (0, 1):
        for pair in pairs:
            tables[side] += struct.pack("<II", len(pair[side]), offset + len(data))
            data += pair[side] + b"\0"
    header = struct.pack("<7I", 0x950412DE, 0, len(pairs), 28, 28 + 8 * len(pairs), 0, offset)
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_bytes(header + tables[0] + tables[1] + data)


def main(words):
    if words[:1] == ["compile"] and len(words) == 3:
        compile_po(pathlib.Path(words[1]), pathlib.Path(words[2]))
    elif words == ["update"]:
        keys, problems = collect()
        for path in catalogues():
            entries = read_po(path)
            header = next(entry for entry in entries if entry[0] == "")
            write_po(path, header, keys, {original: translation for original, translation, _ in entries})
        for problem in problems:
            print(problem)
    elif words == ["check"]:
        problems = check()
        for problem in problems:
            print(problem)
        return 1 if problems else 0
    else:
        print(__doc__)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""Fails when German is not complete: every message of every resources/**/<catalog>_en.ts needs a
finished, non-empty translation in <catalog>_de.ts, no German translation may be unfinished or
empty, and every key the sources look up (FXText, qtTrId) must be in an English and a German
catalog.

    check-catalogs.py SOURCE_DIR
"""
import pathlib
import re
import sys
import xml.etree.ElementTree as ET

LOOKUP = re.compile(r'\b(?:FXText|qtTrId|FBLocalization::text)\(\s*"((?:[^"\\\n]|\\.)*)"')


def read(path, problems):
    """{id: (text, type)} of a catalog; anything lrelease would not take is a problem."""
    messages = {}
    try:
        root = ET.parse(path).getroot()
    except (OSError, ET.ParseError) as error:
        problems.append(f"{path}: {error}")
        return messages
    for message in root.iter("message"):
        key = message.get("id")
        translation = message.find("translation")
        if not key:
            problems.append(f"{path}: a message without id")
            continue
        if translation is None:
            messages[key] = ("", "missing")
            continue
        forms = translation.findall("numerusform")
        texts = [f.text or "" for f in forms] if forms else [translation.text or ""]
        text = "" if any(not t.strip() for t in texts) else "|".join(texts)
        messages[key] = (text, translation.get("type", ""))
    return messages


def main():
    source = pathlib.Path(sys.argv[1])
    problems = []
    english, german = {}, {}
    catalogs = sorted(source.glob("resources/**/*_en.ts"))
    if not catalogs:
        problems.append("no catalogs below resources/")
    for en_path in catalogs:
        de_path = en_path.with_name(en_path.name[: -len("_en.ts")] + "_de.ts")
        en = read(en_path, problems)
        if not de_path.exists():
            problems.append(f"{de_path.relative_to(source)}: missing")
            continue
        de = read(de_path, problems)
        name = de_path.relative_to(source)
        for key in en:
            if key not in de:
                problems.append(f"{name}: {key}: no German message")
        for key, (text, kind) in de.items():
            if kind:
                problems.append(f"{name}: {key}: translation is {kind}")
            elif not text.strip():
                problems.append(f"{name}: {key}: empty translation")
        english.update(en)
        german.update(de)

    for path in sorted((source / "src").rglob("*")):
        if path.suffix not in (".cpp", ".h", ".ui"):
            continue
        text = path.read_text(encoding="utf-8", errors="replace")
        for match in LOOKUP.finditer(text):
            key = re.sub(r"\\(.)", r"\1", match.group(1))
            line = text.count("\n", 0, match.start()) + 1
            where = f"{path.relative_to(source)}:{line}: \"{key}\""
            if key not in english:
                problems.append(f"{where} is in no English catalog")
            if key not in german:
                problems.append(f"{where} is in no German catalog")

    for problem in problems:
        print(problem)
    print(f"{len(catalogs)} catalogs, {len(english)} English and {len(german)} German messages, "
          f"{len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())

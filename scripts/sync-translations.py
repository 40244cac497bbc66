#!/usr/bin/env python3
"""Brings every translation in resources/translations in line with the English table.

talvenne_en.ts is the source of truth: each id there gets an entry in every
other talvenne_<lang>.ts, in the same order, with the English text as its
source. Translations already made are kept; a new id is added as unfinished
(empty), which the test test_translations reports until someone fills it in;
ids that left the English table are dropped.

    scripts/sync-translations.py          # update the files in place
    scripts/sync-translations.py --check  # only list what is missing, exit 1 if anything is
"""
import sys
import xml.etree.ElementTree as ET
from pathlib import Path
from xml.sax.saxutils import escape

FOLDER = Path(__file__).resolve().parent.parent / "resources" / "translations"


def read(path):
    """id -> (source, numerus, [forms] or None when unfinished), in file order."""
    entries = {}
    for message in ET.parse(path).getroot().iter("message"):
        source = message.findtext("source") or ""
        numerus = message.get("numerus") == "yes"
        translation = message.find("translation")
        forms = None
        if translation is not None and translation.get("type") not in ("unfinished", "obsolete", "vanished"):
            forms = [f.text or "" for f in translation.findall("numerusform")] if numerus else [translation.text or ""]
            if not any(forms):
                forms = None
        entries[message.get("id")] = (source, numerus, forms)
    return entries


def write(path, language, english, translated):
    lines = ['<?xml version="1.0" encoding="utf-8"?>', "<!DOCTYPE TS>",
             f'<TS version="2.1" language="{language}">', "<context>", "    <name></name>"]
    for key, (source, numerus, _) in english.items():
        forms = translated.get(key, (None, None, None))[2]
        attributes = f' id="{escape(key, {chr(34): "&quot;"})}"' + (' numerus="yes"' if numerus else "")
        lines.append(f"    <message{attributes}>")
        lines.append(f"        <source>{escape(source)}</source>")
        if forms is None:
            lines.append('        <translation type="unfinished"></translation>')
        elif numerus:
            lines.append("        <translation>")
            lines += [f"            <numerusform>{escape(form)}</numerusform>" for form in forms]
            lines.append("        </translation>")
        else:
            lines.append(f"        <translation>{escape(forms[0])}</translation>")
        lines.append("    </message>")
    lines += ["</context>", "</TS>", ""]
    path.write_text("\n".join(lines), encoding="utf-8")


def main():
    check = "--check" in sys.argv[1:]
    english = read(FOLDER / "talvenne_en.ts")
    missing_any = False
    for path in sorted(FOLDER.glob("talvenne_*.ts")):
        language = path.stem.split("_", 1)[1]
        if language == "en":
            continue
        translated = read(path)
        missing = [key for key in english if translated.get(key, (0, 0, None))[2] is None]
        for key in missing:
            print(f"{path.name}: not translated: {key}")
        missing_any = missing_any or bool(missing)
        if not check:
            write(path, language, english, translated)
    return 1 if check and missing_any else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Prints what a full run found in a manager's catalogs, as one table row.

    catalog_figures.py DIR NAME REPORT LANG...

DIR is an installation after a full run of `sbin/msglint NAME -f LANG...`
whose standard output is the file REPORT. The row has, in this order:

  the lines of the report;
  the messages per language the repeated and unused audits read (the
  msg elements of NAME's cache files of that language, the base manager's
  and filter files left out, as the audits list them), averaged over the
  languages;
  their mean length in characters, empty texts left out;
  the share of them reported unused (the "Unused for lang" lines of
  messages, includes not found left out);
  the share of them reported repeated (the places listed under "Repeated
  messages for lang");
  per language, the share of the manager's messages (those of any
  language's message file, by section and name) that its own file leaves
  out or empty;
  the pnlctl runs of the missing-message audit and the different functions
  they asked for (from the panel's log var/log/NAME.log).
"""
import os
import re
import sys
import xml.etree.ElementTree as ET


def cache_files(root, name, lang):
    """The cache files of `lang` the audits read, as getXmlFiles lists them."""
    suffix = f".{lang}.xml"
    cache = os.path.join(root, "var", ".xmlcache")

    def listed(manager):
        path = os.path.join(cache, manager)
        if not os.path.isdir(path):
            return []
        return sorted(f for f in os.listdir(path)
                      if suffix in f and os.path.isfile(os.path.join(path, f)))

    kern = set(listed("kern")) if name != "kern" else set()
    return [os.path.join(cache, name, f) for f in listed(name)
            if f not in kern and (name == "kern" or ".filter" not in f)]


def cached_texts(root, name, lang):
    texts = []
    for path in cache_files(root, name, lang):
        for msg in ET.parse(path).getroot().iter("msg"):
            if msg.get("added") is None:
                texts.append("".join(msg.itertext()))
    return texts


def report_counts(report, lang):
    """The places of repeated texts and the unused messages `report` gives
    for `lang`."""
    repeated = unused = 0
    audit = None
    with open(report, encoding="utf-8", errors="replace") as f:
        for line in f:
            line = line.rstrip("\n")
            if line.startswith("Repeated messages for lang "):
                audit = "repeated" if line[len("Repeated messages for lang "):] == lang else None
            elif line.startswith("Unused for lang "):
                audit = "unused" if line[len("Unused for lang "):] == lang else None
            elif line.startswith("Actionlist check for lang "):
                audit = None
            elif audit == "repeated" and line.startswith("\t"):
                repeated += 1
            elif audit == "unused" and line.startswith("\t"):
                if not line.startswith("\tinclude - include is not found"):
                    unused += 1
    return repeated, unused


def catalog(root, name, lang):
    """{(section, message name): text} of the message file of `lang`."""
    path = os.path.join(root, "etc", "xml", f"{name}_msg_{lang}.xml")
    messages = {}
    if not os.path.exists(path):
        return messages
    for section in ET.parse(path).getroot().iter("messages"):
        for msg in section.findall("msg"):
            messages[(section.get("name"), msg.get("name"))] = "".join(msg.itertext())
    return messages


def gaps(root, name, langs):
    catalogs = {lang: catalog(root, name, lang) for lang in langs}
    every = set()
    for messages in catalogs.values():
        every.update(messages)
    result = {}
    for lang, messages in catalogs.items():
        lacking = sum(1 for key in every if not messages.get(key))
        result[lang] = lacking / len(every) if every else 0.0
    return result


def panel_runs(root, name):
    runs = 0
    functions = set()
    path = os.path.join(root, "var", "log", f"{name}.log")
    if not os.path.exists(path):
        return 0, 0
    request = re.compile(r"request: func=([^&]*)&")
    with open(path, encoding="utf-8", errors="replace") as f:
        for line in f:
            found = request.search(line)
            if found and found.group(1) not in ("session", "actionlist"):
                runs += 1
                functions.add(found.group(1))
    return runs, len(functions)


def main():
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    root, name, report, langs = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
    with open(report, "rb") as f:
        lines = f.read().count(b"\n")
    messages = repeated = unused = 0
    lengths = []
    for lang in langs:
        texts = cached_texts(root, name, lang)
        messages += len(texts)
        lengths += [len(t) for t in texts if t]
        r, u = report_counts(report, lang)
        repeated += r
        unused += u
    share = (lambda part: 100.0 * part / messages) if messages else (lambda part: 0.0)
    lacking = gaps(root, name, langs)
    runs, functions = panel_runs(root, name)
    print(f"{lines} | {messages // len(langs)} | "
          f"{(sum(lengths) / len(lengths) if lengths else 0):.1f} | "
          f"{share(unused):.0f}% | {share(repeated):.0f}% | "
          + " ".join(f"{lang} {100 * lacking[lang]:.0f}%" for lang in langs)
          + f" | {runs} | {functions}")


if __name__ == "__main__":
    main()

"""The findings page of msglint-report as a reader sees it: rendered by
headless Chromium from disk, without network, at a fragment of filters
(`page.html#language=ru&level=error`), and what it should show, computed
from the findings file.

As a program it checks the page of a findings file (the example
installation's):

usage: page_in_chromium.py MSGLINT_REPORT FINDINGS_JSON [--baseline]
"""
import html.parser
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.parse

CHROMIUM = "/usr/bin/chromium"
FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync"]
STATES = ["new", "unchanged", "fixed"]


class _Dom(html.parser.HTMLParser):
    """The text of each element with an id, and the cells of each table
    with an id and of each row of the findings list."""

    VOID = {"br", "hr", "img", "input", "meta", "link", "col", "area", "base", "wbr", "source"}

    def __init__(self):
        super().__init__()
        self.texts = {}
        self.tables = {}
        self.rows = []
        self.open = []  # (tag, id) of the open elements
        self.table = None
        self.cells = None  # the cells of the row being read

    def handle_starttag(self, tag, attrs):
        attrs = dict(attrs)
        ident = attrs.get("id")
        if tag == "table" and ident:
            self.table = self.tables.setdefault(ident, [])
        if tag == "tr" and self.table is not None:
            self.cells = []
            self.table.append(self.cells)
        if tag in ("td", "th") and self.cells is not None:
            self.cells.append("")
        if tag == "div" and "row" in attrs.get("class", "").split() and self.open and self.open[-1][1] == "rows":
            self.cells = []
            self.rows.append(self.cells)
        if tag == "span" and self.open and self.open[-1][0] == "div" and self.cells is not None \
                and self.table is None:
            self.cells.append("")
        if tag not in self.VOID:
            self.open.append((tag, ident))
            if ident:
                self.texts.setdefault(ident, "")

    def handle_endtag(self, tag):
        if tag in self.VOID:
            return
        while self.open:
            t, ident = self.open.pop()
            if t == "table" and ident:
                self.table = None
                self.cells = None
            if t == tag:
                break

    def handle_data(self, data):
        for _, ident in self.open:
            if ident:
                self.texts[ident] += data
        if self.cells is not None and self.cells:
            self.cells[-1] += data


class Rendered:
    def __init__(self, dom_text):
        self.dom = dom_text
        parser = _Dom()
        parser.feed(dom_text)
        self.texts = parser.texts
        self.tables = parser.tables
        self.rows = parser.rows

    def text(self, ident):
        return self.texts.get(ident)


def render(path, fragment="", work=None):
    """Renders the page at `path` with the fragment; (Rendered, seconds)."""
    if not os.access(CHROMIUM, os.X_OK):
        raise RuntimeError("chromium is not installed (tools/setup.sh --tests installs it)")
    profile = tempfile.mkdtemp(prefix="msglint-chromium-", dir=work)
    try:
        url = "file://" + urllib.parse.quote(os.path.abspath(path)) + ("#" + fragment if fragment else "")
        start = time.monotonic()
        run = subprocess.run([CHROMIUM, *FLAGS, "--user-data-dir=" + profile, "--dump-dom", url],
                             capture_output=True, text=True, timeout=300)
        seconds = time.monotonic() - start
    finally:
        shutil.rmtree(profile, ignore_errors=True)
    if run.returncode != 0:
        raise RuntimeError("chromium failed: " + run.stderr)
    return Rendered(run.stdout), seconds


def parse_fragment(fragment):
    values = {}
    for part in fragment.split("&"):
        key, _, value = part.partition("=")
        if key and value:
            values[key] = urllib.parse.unquote(value)
    return values


def rows_of(findings_doc, state="new"):
    """The findings of the file as the page's rows, each in `state` (with a
    baseline written from the same findings, "unchanged")."""
    rows = []
    for f in findings_doc["findings"]:
        rows.append({"state": state, "level": f["level"], "kind": f["kind"], "object": f["object"] or "",
                     "element": (f["element"] or {}).get("name", ""), "language": f["language"] or "",
                     "message": f["message"]})
    return rows


def selected(rows, filters):
    """The rows a fragment's filters show."""
    def keep(r):
        if filters.get("language") and r["language"] != filters["language"]:
            return False
        for key in ("level", "kind", "object"):
            if filters.get(key) and r[key] != filters[key]:
                return False
        if filters.get("baseline") and r["state"] != filters["baseline"]:
            return False
        q = filters.get("search", "").lower()
        if q and q not in r["object"].lower() and q not in r["element"].lower():
            return False
        return True
    return [r for r in rows if keep(r)]


def copy_text(rows):
    """The <msg> lines that the rows lack, as the page's copy text has them."""
    groups = {}
    for r in rows:
        m = r["message"]
        if not m or not m.get("add") or r["state"] == "fixed":
            continue
        lines = groups.setdefault((m["file"], m["section"]), [])
        if m["add"] not in lines:
            lines.append(m["add"])
    return "\n".join("<!-- %s, section %s -->\n%s\n" % (f, s, "\n".join(lines))
                     for (f, s), lines in groups.items())


# Run after the page's own script: sets the level to error and types "mail"
# in the search box as a reader would, then records the address's fragment.
CHANGE_FILTERS = """<script>
var level = document.querySelector('select[name=level]');
level.value = 'error';
level.dispatchEvent(new Event('change'));
var search = document.querySelector('input[name=search]');
search.value = 'mail';
search.dispatchEvent(new Event('input'));
document.querySelector('#rows .row').click();
var p = document.createElement('p');
p.id = 'fragment';
p.textContent = location.hash;
document.body.appendChild(p);
</script>
"""

# Names that would break a page that pasted them into its markup.
HOSTILE = {"mailbox.edit": "mail</script><!--\"&'box\t1", "mailbox": "constructor"}


def with_script(page, script, path):
    """A copy of the page at `path` with `script` run after the page's own."""
    with open(page, encoding="utf-8") as f:
        text = f.read()
    with open(path, "w", encoding="utf-8") as f:
        f.write(text.replace("</body>", script + "</body>"))


def hostile_copy(doc, path):
    """The findings `doc` with the objects of HOSTILE renamed, written to `path`."""
    doc = json.loads(json.dumps(doc))
    for f in doc["findings"]:
        f["object"] = HOSTILE.get(f["object"], f["object"])
    for s in doc["statistics"]:
        for o in s["objects"]:
            o["object"] = HOSTILE.get(o["object"], o["object"])
    with open(path, "w", encoding="utf-8") as f:
        json.dump(doc, f)
    return doc


def main(argv):
    program, findings_path = argv[1], argv[2]
    with_baseline = argv[3:] == ["--baseline"]
    with open(findings_path, encoding="utf-8") as f:
        doc = json.load(f)
    work = tempfile.mkdtemp()
    failures = []

    def expect(what, wanted, got):
        if wanted != got:
            failures.append("%s: wanted %r, got %r" % (what, wanted, got))
    try:
        page = os.path.join(work, "page.html")
        command = [program, "--format", "html"]
        if with_baseline:
            subprocess.run([program, "--write-baseline", os.path.join(work, "baseline.json"), findings_path],
                           check=True)
            command += ["--baseline", os.path.join(work, "baseline.json")]
        with open(page, "w", encoding="utf-8") as out:
            subprocess.run(command + [findings_path], check=True, stdout=out)
        rows = rows_of(doc, "unchanged" if with_baseline else "new")
        # The same findings give the same bytes.
        again = subprocess.run(command + [findings_path], check=True, capture_output=True).stdout
        with open(page, "rb") as f:
            expect("the same bytes on a second run", True, f.read() == again)
        first, _ = render(page, "", work)
        expect("coverage", [["language", "coverage", "percent", "required", "present", "missing", "empty"],
                            ["en", "", "84.6%", "39", "33", "4", "2"],
                            ["ru", "", "74.4%", "39", "29", "8", "2"]], first.tables.get("coverage"))
        expect("count", "%d of %d findings" % (len(rows), len(rows)), first.text("count"))
        if with_baseline:
            expect("baseline", [["language", "new", "unchanged", "fixed"], ["en", "0", "24", "0"],
                                ["ru", "0", "27", "0"], ["(no language)", "0", "11", "0"]],
                   first.tables.get("baseline"))
            fragments = ["baseline=new", "baseline=unchanged&language=ru"]
        else:
            fragments = ["language=ru", "language=ru&level=error", "object=mailbox.edit",
                         "search=DOMAIN", "kind=unused-message&language=en"]
        for fragment in fragments:
            shown, _ = render(page, fragment, work)
            wanted = selected(rows, parse_fragment(fragment))
            expect(fragment, "%d of %d findings" % (len(wanted), len(rows)), shown.text("count"))
            # Only the rows in view and a few more are drawn.
            expect(fragment + " rows drawn", min(len(wanted), 20), min(len(shown.rows), 20))
            expect(fragment + " rows at most", True, len(shown.rows) <= 60)
        if not with_baseline:
            fragment = "language=en&object=mailbox.edit"
            shown, _ = render(page, fragment, work)
            wanted = selected(rows, parse_fragment(fragment))
            expect("copy text", copy_text(wanted), shown.text("copy-text"))
            expect("copy text lines",
                   "<!-- etc/xml/mailpnl_msg_en.xml, section mailbox.edit -->\n"
                   "<msg name=\"hint_domain\"></msg>\n<msg name=\"note\"></msg>\n<msg name=\"antispam\"></msg>\n",
                   shown.text("copy-text"))
            # The selection options choose what the page holds.
            narrow = os.path.join(work, "narrow.html")
            with open(narrow, "w", encoding="utf-8") as out:
                subprocess.run([program, "--format", "html", "--language", "ru", "--min-level", "warning",
                                findings_path], check=True, stdout=out)
            shown_narrow, _ = render(narrow, "", work)
            held = [r for r in rows if r["language"] == "ru" and r["level"] in ("error", "warning")]
            expect("page of --language ru --min-level warning", "%d of %d findings" % (len(held), len(held)),
                   shown_narrow.text("count"))
            expect("its coverage", ["ru", "", "74.4%", "39", "29", "8", "2"],
                   (shown_narrow.tables.get("coverage") or [[], []])[1:][0])
            # A reader's change of the filters goes to the fragment.
            changed = os.path.join(work, "changed.html")
            with_script(page, CHANGE_FILTERS, changed)
            shown_changed, _ = render(changed, "language=ru", work)
            expect("fragment after a change", "#language=ru&level=error&search=mail",
                   shown_changed.text("fragment"))
            wanted_changed = selected(rows, {"language": "ru", "level": "error", "search": "mail"})
            expect("count after a change", "%d of %d findings" % (len(wanted_changed), len(rows)),
                   shown_changed.text("count"))
            # A click on the first row shows it whole, with the help of its kind.
            first_finding = next(f for f in doc["findings"] if f["language"] == "ru" and f["level"] == "error"
                                 and "mail" in ((f["object"] or "") + (f["element"] or {}).get("name", "")).lower())
            expect("detail of the first row", True,
                   shown_changed.text("detail").startswith("error " + first_finding["kind"] + ": ")
                   and first_finding["report"].rstrip("\n") in shown_changed.text("detail"))
            # Hostile object names stay text, and the fragment finds them.
            hostile_doc = hostile_copy(doc, os.path.join(work, "hostile.json"))
            hostile_page = os.path.join(work, "hostile.html")
            with open(hostile_page, "w", encoding="utf-8") as out:
                subprocess.run([program, "--format", "html", os.path.join(work, "hostile.json")],
                               check=True, stdout=out)
            hostile_rows = rows_of(hostile_doc)
            for name in HOSTILE.values():
                fragment = "object=" + urllib.parse.quote(name, safe="")
                shown_hostile, _ = render(hostile_page, fragment, work)
                wanted = selected(hostile_rows, {"object": name})
                expect(fragment, "%d of %d findings" % (len(wanted), len(hostile_rows)),
                       shown_hostile.text("count"))
                expect(fragment + " objects", {name}, {r[2] for r in shown_hostile.rows})
                expect(fragment + " ranked", True,
                       any(r and r[0] == name for r in shown_hostile.tables.get("objects", [])))
            row = next((r for r in shown.rows if "etc/xml/mailpnl.xml:54" in r), None)
            expect("row of the empty hint", ["error", "empty-hint", "mailbox.edit", "field domain", "en",
                                             "etc/xml/mailpnl.xml:54", "<msg name=\"hint_domain\"></msg>",
                                             "Hint for field \"domain\" from \"mailbox.edit\" on en language is empty."],
                   row)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    for failure in failures:
        print(failure, file=sys.stderr)
    if not failures:
        print("rendered page shows coverage, counts, rows and the messages to copy")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

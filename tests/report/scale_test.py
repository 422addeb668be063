"""msglint-report on a generated manager of 2000 objects in four languages
(about 56,000 findings): the SARIF log that a code-scanning service takes,
the selection options and the findings page rendered in Chromium, each
compared with what the findings file says.

usage: scale_test.py PREFIX NOSLEEP SOURCE_DIR SCHEMA_JSON
"""
import collections
import gzip
import json
import os
import sys
import unittest

import jsonschema

from big_install import BigInstall
import page_in_chromium

RANK = {"error": 3, "warning": 2, "note": 1}


class ScaleTest(unittest.TestCase):
    big = None
    schema = None

    @classmethod
    def setUpClass(cls):
        prefix, nosleep, source_dir, schema_path = ARGS
        cls.big = BigInstall(prefix, nosleep, source_dir)
        with open(schema_path, encoding="utf-8") as f:
            cls.schema = json.load(f)

    @classmethod
    def tearDownClass(cls):
        cls.big.remove()

    def findings(self):
        return self.big.findings["findings"]

    def test_sarif_fits_a_code_scanning_service(self):
        status, out, err = self.big.report("--format", "sarif")
        self.assertEqual(0, status, err)
        self.assertNotIn("\n ", out, "written without indentation")
        sarif = json.loads(out)
        results = sarif["runs"][0]["results"]
        self.assertLessEqual(len(results), 25000)
        self.assertLess(len(gzip.compress(out.encode())), 10 * 1000 * 1000)
        jsonschema.Draft4Validator(self.schema).validate(sarif)

        levels = collections.Counter(f["level"] for f in self.findings())
        written = collections.Counter(r["level"] for r in results)
        self.assertGreater(sum(levels.values()), 25000, "more findings than one run takes")
        self.assertEqual(levels["error"], written["error"], "every error is in the log")
        # Left out: the lowest levels, from the notes up.
        left = {level: levels[level] - written[level] for level in ("error", "warning", "note")}
        self.assertEqual(
            "msglint-report: the SARIF log holds %d of %d results; left out: %d errors, "
            "%d warnings, %d notes, 0 fixed findings (--max-results 0 writes them all)\n"
            % (len(results), len(self.findings()), left["error"], left["warning"], left["note"]),
            err)
        for result in results:
            self.assertTrue(result["locations"], result["ruleId"])
        # The kept results stay in report order, and their fingerprints are
        # those of the whole log.
        status, out, err = self.big.report("--format", "sarif", "--max-results", "0")
        self.assertEqual(0, status, err)
        self.assertEqual("", err)
        everything = json.loads(out)["runs"][0]["results"]
        self.assertEqual(len(self.findings()), len(everything))
        fingerprints = [r["partialFingerprints"]["msglintFinding/v2"] for r in everything]
        kept = [r["partialFingerprints"]["msglintFinding/v2"] for r in results]
        positions = [fingerprints.index(k) for k in kept[:200]]
        self.assertEqual(sorted(positions), positions)

    def test_outputs_are_the_documents_written_whole(self):
        # The logs and the JSON are written piece by piece; each is the
        # text that dumping the whole document at once gives, and a log
        # within the limits is the whole log with only its kept results.
        def compact(value):
            return json.dumps(value, ensure_ascii=False, separators=(",", ":")) + "\n"

        status, out, err = self.big.report("--format", "json")
        self.assertEqual(0, status, err)
        self.assertEqual(json.dumps(self.big.findings, indent=2, ensure_ascii=False) + "\n", out)
        status, limited, err = self.big.report("--format", "sarif")
        self.assertEqual(0, status, err)
        status, whole, err = self.big.report("--format", "sarif", "--max-results", "0")
        self.assertEqual(0, status, err)
        whole_log = json.loads(whole)
        self.assertEqual(compact(whole_log), whole)
        kept = {r["partialFingerprints"]["msglintFinding/v2"]
                for r in json.loads(limited)["runs"][0]["results"]}
        self.assertLess(len(kept), len(whole_log["runs"][0]["results"]))
        whole_log["runs"][0]["results"] = [r for r in whole_log["runs"][0]["results"]
                                           if r["partialFingerprints"]["msglintFinding/v2"] in kept]
        self.assertEqual(compact(whole_log), limited)

    def test_sarif_with_a_smaller_limit(self):
        status, out, err = self.big.report("--format", "sarif", "--max-results", "100")
        self.assertEqual(0, status, err)
        results = json.loads(out)["runs"][0]["results"]
        self.assertEqual(100, len(results))
        self.assertEqual({"error"}, {r["level"] for r in results})
        self.assertIn("left out: %d errors," % (sum(f["level"] == "error" for f in self.findings()) - 100),
                      err)

    def test_repeated_text_points_at_each_message(self):
        status, out, err = self.big.report("--format", "sarif", "--kind", "repeated-message",
                                           "--max-results", "0")
        self.assertEqual(0, status, err)
        results = json.loads(out)["runs"][0]["results"]
        self.assertTrue(results)
        files = {}
        for result in results:
            occurrences = result["locations"] + result.get("relatedLocations", [])
            self.assertGreaterEqual(len(occurrences), 2)
            for location in occurrences:
                uri = location["physicalLocation"]["artifactLocation"]["uri"]
                if uri not in files:
                    with open(os.path.join(self.big.dir, uri), encoding="utf-8") as f:
                        files[uri] = f.read().split("\n")
                name = location["message"]["text"].split(" ")[1]
                line = files[uri][location["physicalLocation"]["region"]["startLine"] - 1]
                self.assertIn('<msg name="%s"' % name, line)

    def selected_ids(self, *options):
        status, out, err = self.big.report("--format", "json", *options)
        self.assertEqual(0, status, err)
        return [f["id"] for f in json.loads(out)["findings"]]

    def expected_ids(self, level=None, languages=None, kinds=None, obj=None):
        return [f["id"] for f in self.findings()
                if (level is None or RANK[f["level"]] >= RANK[level])
                and (languages is None or f["language"] in languages)
                and (kinds is None or f["kind"] in kinds)
                and (obj is None or f["object"] == obj)]

    def test_each_selection_option_alone(self):
        for level in ("error", "warning", "note"):
            self.assertEqual(self.expected_ids(level=level), self.selected_ids("--min-level", level))
        self.assertEqual(self.expected_ids(languages={"ru"}), self.selected_ids("--language", "ru"))
        self.assertEqual(self.expected_ids(languages={"fr", "de"}),
                         self.selected_ids("--language", "fr,de"))
        self.assertEqual(self.expected_ids(kinds={"missing-hint"}),
                         self.selected_ids("--kind", "missing-hint"))
        self.assertEqual(self.expected_ids(kinds={"unused-message", "missing-label"}),
                         self.selected_ids("--kind", "unused-message,missing-label"))
        self.assertEqual(self.expected_ids(obj="mainmenu"), self.selected_ids("--object", "mainmenu"))
        some_object = next(f["object"] for f in self.findings() if f["kind"] == "missing-hint")
        self.assertTrue(self.expected_ids(obj=some_object))
        self.assertEqual(self.expected_ids(obj=some_object), self.selected_ids("--object", some_object))

    def test_selection_options_combined(self):
        self.assertEqual(self.expected_ids(level="warning", languages={"ru", "en"}),
                         self.selected_ids("--min-level", "warning", "--language", "ru,en"))
        some_object = next(f["object"] for f in self.findings()
                           if f["kind"] == "missing-hint" and f["language"] == "de")
        expected = self.expected_ids(languages={"de"}, kinds={"missing-hint", "missing-label"}, obj=some_object)
        self.assertTrue(expected)
        self.assertEqual(expected, self.selected_ids("--language", "de", "--kind", "missing-hint,missing-label",
                                                     "--object", some_object))

    def test_selection_is_the_same_for_every_output(self):
        options = ("--min-level", "warning", "--language", "fr")
        expected = self.expected_ids(level="warning", languages={"fr"})
        status, out, err = self.big.report("--format", "sarif", "--max-results", "0", *options)
        self.assertEqual(0, status, err)
        self.assertEqual(len(expected), len(json.loads(out)["runs"][0]["results"]))
        status, out, err = self.big.report("--check", "--fail-on", "note", *options)
        self.assertEqual(1, status, err)
        self.assertTrue(out.startswith("fr: "), out)
        self.assertTrue(out.endswith("\n%d findings at or above note\n" % len(expected)), out)

    def test_new_only_against_a_baseline_of_the_errors(self):
        # A baseline of the errors: everything else is new.
        status, out, err = self.big.report("--write-baseline", "errors.json", "--min-level", "error")
        self.assertEqual(0, status, err)
        expected = [f["id"] for f in self.findings() if f["level"] != "error"]
        status, out, err = self.big.report("--format", "sarif", "--max-results", "0",
                                           "--baseline", "errors.json", "--new-only")
        self.assertEqual(0, status, err)
        results = json.loads(out)["runs"][0]["results"]
        self.assertEqual(len(expected), len(results))
        self.assertEqual({"new"}, {r["baselineState"] for r in results})

    def test_check_counts_each_kind_per_level(self):
        status, out, err = self.big.report("--check")
        self.assertEqual(1, status, err)
        counts = collections.Counter((f["level"], f["kind"]) for f in self.findings())
        for level in ("error", "warning", "note"):
            kinds = sorted(((-n, kind) for (lv, kind), n in counts.items() if lv == level))
            line = "%s: %d findings: %s" % (level, -sum(n for n, _ in kinds),
                                          ", ".join("%s %d" % (k, -n) for n, k in kinds[:5]))
            if len(kinds) > 5:
                line += " and %d more kinds" % (len(kinds) - 5)
            self.assertIn("\n" + line + "\n", out)

    def test_page_counts_and_copy_text_at_each_fragment(self):
        status, out, err = self.big.report("--format", "html")
        self.assertEqual(0, status, err)
        self.assertEqual("", err)
        page = os.path.join(self.big.dir, "page.html")
        with open(page, "w", encoding="utf-8") as f:
            f.write(out)
        self.assertLessEqual(len(out.encode()), 16 * 1000 * 1000, "twice the 8 MB of N = 1000")
        rows = page_in_chromium.rows_of(self.big.findings)
        total = len(rows)
        errors = [f for f in self.findings() if f["level"] == "error" and f["object"]]
        some_object = errors[len(errors) // 2]["object"]
        fragments = ["", "language=ru", "language=ru&level=error", "object=" + some_object,
                     "language=de&object=" + some_object, "search=" + some_object[:4]]
        for fragment in fragments:
            with self.subTest(fragment=fragment):
                shown, _ = page_in_chromium.render(page, fragment, self.big.dir)
                wanted = page_in_chromium.selected(rows, page_in_chromium.parse_fragment(fragment))
                self.assertTrue(wanted)
                self.assertEqual("%d of %d findings" % (len(wanted), total), shown.text("count"))
                self.assertGreaterEqual(len(shown.rows), min(len(wanted), 20))
                self.assertLessEqual(len(shown.rows), 60, "only the rows in view are drawn")
        # The messages one object lacks in German: one section, each line once.
        fragment = "language=de&object=" + some_object
        shown, _ = page_in_chromium.render(page, fragment, self.big.dir)
        lines = []
        for f in self.findings():
            m = f["message"]
            if f["language"] == "de" and f["object"] == some_object and m and m["add"] \
                    and m["add"] not in lines:
                self.assertEqual(some_object, m["section"])
                lines.append(m["add"])
        self.assertTrue(lines)
        self.assertEqual("<!-- etc/xml/big_msg_de.xml, section %s -->\n%s\n" % (some_object, "\n".join(lines)),
                         shown.text("copy-text"))

    def test_bad_values_are_usage_errors(self):
        cases = [
            (("--kind", "missing-hints"), "msglint-report: --kind: unknown kind 'missing-hints'\n"),
            (("--min-level", "fatal"), "msglint-report: --min-level: unknown level 'fatal' (error, warning or note)\n"),
            (("--language", "ru,xx"), "msglint-report: --language: unknown language 'xx' (not a language of the run)\n"),
            (("--format", "sarif", "--max-results", "-1"),
             "msglint-report: --max-results: not a count of results: '-1' (0 for no limit)\n"),
            (("--check", "--new-only"), "msglint-report: --new-only: needs --baseline FILE, the findings it calls new\n"),
        ]
        for options, message in cases:
            status, out, err = self.big.report(*options)
            self.assertEqual(2, status, options)
            self.assertEqual("", out, options)
            self.assertTrue(err.startswith(message), (options, err))
            self.assertIn("usage: msglint-report", err)


if __name__ == "__main__":
    ARGS = sys.argv[1:5]
    unittest.main(argv=sys.argv[:1], verbosity=2)

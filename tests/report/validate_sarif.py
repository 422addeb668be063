"""Validates the SARIF output of msglint-report against the SARIF 2.1.0
schema, and checks that fingerprints do not depend on line numbers. With
--baseline, validates the output compared with a baseline written from the
findings, after one finding went away and another came: every result has a
baselineState, exactly one is new and one absent.

usage: validate_sarif.py MSGLINT_REPORT FINDINGS_JSON SCHEMA_JSON [--baseline]
"""
import json
import subprocess
import sys
import tempfile

import jsonschema


def sarif_of(program, findings_path, *options):
    out = subprocess.run([program, "--format", "sarif", *options, findings_path],
                         check=True, capture_output=True, text=True).stdout
    return json.loads(out)


def validate_with_baseline(program, findings_path, schema):
    with open(findings_path, encoding="utf-8") as f:
        findings = json.load(f)
    with tempfile.TemporaryDirectory() as work:
        baseline = work + "/baseline.json"
        subprocess.run([program, "--write-baseline", baseline, findings_path], check=True)
        # The first finding fixed, a hint of another field missing.
        gone = findings["findings"].pop(0)
        came = json.loads(json.dumps(findings["findings"][-1]))
        came["element"] = {"type": "field", "name": "added_field"}
        findings["findings"].append(came)
        later = work + "/later.json"
        with open(later, "w", encoding="utf-8") as f:
            json.dump(findings, f)
        sarif = sarif_of(program, later, "--baseline", baseline)
    jsonschema.Draft4Validator(schema).validate(sarif)
    results = sarif["runs"][0]["results"]
    states = [r.get("baselineState") for r in results]
    assert None not in states, "every result has a baselineState"
    assert states.count("new") == 1, states
    assert states.count("absent") == 1, states
    assert states.count("unchanged") == len(findings["findings"]) - 1, states
    absent = results[-1]
    assert absent["baselineState"] == "absent" and absent["ruleId"] == gone["kind"], absent
    print("SARIF with a baseline valid: %d results, 1 new, 1 absent" % len(results))


def main():
    program, findings_path, schema_path = sys.argv[1:4]
    with open(schema_path, encoding="utf-8") as f:
        schema = json.load(f)
    jsonschema.Draft4Validator.check_schema(schema)
    if sys.argv[4:] == ["--baseline"]:
        validate_with_baseline(program, findings_path, schema)
        return
    sarif = sarif_of(program, findings_path)
    jsonschema.Draft4Validator(schema).validate(sarif)

    results = sarif["runs"][0]["results"]
    with open(findings_path, encoding="utf-8") as f:
        findings = json.load(f)
    assert len(results) == len(findings["findings"]), "one result per finding"
    assert results, "the example has findings"

    # Every line moved: the fingerprints stay.
    for finding in findings["findings"]:
        if finding["location"] and finding["location"]["line"]:
            finding["location"]["line"] += 10
    with tempfile.NamedTemporaryFile("w", suffix=".json", delete=False) as moved:
        json.dump(findings, moved)
    moved_results = sarif_of(program, moved.name)["runs"][0]["results"]
    assert [r["partialFingerprints"] for r in results] == \
        [r["partialFingerprints"] for r in moved_results], "fingerprints follow lines"
    print("SARIF valid: %d results, %d rules" %
          (len(results), len(sarif["runs"][0]["tool"]["driver"]["rules"])))


if __name__ == "__main__":
    main()

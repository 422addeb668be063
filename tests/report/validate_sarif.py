"""Validates the SARIF output of msglint-report against the SARIF 2.1.0
schema, and checks that fingerprints do not depend on line numbers.

usage: validate_sarif.py MSGLINT_REPORT FINDINGS_JSON SCHEMA_JSON
"""
import json
import subprocess
import sys
import tempfile

import jsonschema


def sarif_of(program, findings_path):
    out = subprocess.run([program, "--format", "sarif", findings_path],
                         check=True, capture_output=True, text=True).stdout
    return json.loads(out)


def main():
    program, findings_path, schema_path = sys.argv[1:4]
    with open(schema_path, encoding="utf-8") as f:
        schema = json.load(f)
    sarif = sarif_of(program, findings_path)
    jsonschema.Draft4Validator.check_schema(schema)
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

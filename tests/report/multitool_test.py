"""The SARIF logs of msglint-report as a code-scanning service's validator
takes them: Microsoft's SARIF multitool (the npm package
@microsoft/sarif-multitool-linux, pinned), installed into the build tree on
the first run, validates the example's log and the log of a generated
manager of 2000 objects in four languages with the rules of SARIF, GitHub
and Azure DevOps, and finds no error.

Two rules of Azure DevOps are left aside: GHAzDO1019 and GHAzDO1020 ask for
the identity of an Azure pipeline (its build definition and phase, and an
automationDetails.id made of them), which only a run inside such a pipeline
has; the multitool's own publishing step writes them there.

usage: multitool_test.py PREFIX NOSLEEP SOURCE_DIR EXAMPLE_FINDINGS TOOL_DIR
Exits 77 (skipped) when npm is not installed.
"""
import os
import shutil
import subprocess
import sys
import tempfile

from big_install import BigInstall

PACKAGE = "@microsoft/sarif-multitool-linux@5.7.0"
PIPELINE_ONLY = ("GHAzDO1019", "GHAzDO1020")
SYSTEM_CA = "/etc/ssl/certs/ca-certificates.crt"


def multitool(tool_dir):
    program = os.path.join(tool_dir, "node_modules/@microsoft/sarif-multitool-linux/Sarif.Multitool")
    if not os.path.exists(program):
        command = ["npm", "install", "--prefix", tool_dir, "--no-audit", "--no-fund", PACKAGE]
        # npm trusts only the authorities it carries; the system's store is
        # the one this machine's administrator keeps, for every user.
        if os.path.exists(SYSTEM_CA):
            command.append("--cafile=" + SYSTEM_CA)
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    # The package makes it executable in an install script, which npm may
    # not run.
    os.chmod(program, 0o755)
    return program


def errors_of(program, log):
    run = subprocess.run([program, "validate", "--rule-kind", "Sarif;Gh;Ado",
                          "--max-file-size-in-kb", "200000", log],
                         capture_output=True, text=True)
    lines = (run.stdout + run.stderr).splitlines()
    errors = [line for line in lines if ": error " in line
              and not any(": error %s:" % rule in line for rule in PIPELINE_ONLY)]
    if "Analysis completed successfully." not in lines:
        errors.append("the validator did not complete: " + (run.stdout + run.stderr)[-2000:])
    return errors


def main():
    prefix, nosleep, source_dir, example, tool_dir = sys.argv[1:6]
    if shutil.which("npm") is None:
        print("npm is not installed: the SARIF multitool cannot be installed; skipped")
        return 77
    program = multitool(tool_dir)
    work = tempfile.mkdtemp(prefix="msglint-multitool-")
    report = os.path.join(prefix, "sbin/msglint-report")
    failed = False
    try:
        logs = []
        log = os.path.join(work, "example.sarif")
        with open(log, "w", encoding="utf-8") as out:
            subprocess.run([report, "--format", "sarif", example], stdout=out, check=True)
        logs.append(log)
        big = BigInstall(prefix, nosleep, source_dir)
        try:
            log = os.path.join(work, "big.sarif")
            with open(log, "w", encoding="utf-8") as out:
                subprocess.run([report, "--format", "sarif", big.findings_path], stdout=out,
                               stderr=subprocess.DEVNULL, check=True)
            logs.append(log)
        finally:
            big.remove()
        for log in logs:
            errors = errors_of(program, log)
            for error in errors[:20]:
                print(error)
            print("%s: %d errors" % (os.path.basename(log), len(errors)))
            failed = failed or bool(errors)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())

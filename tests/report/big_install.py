"""A generated manager of N objects in four languages, audited once: the
installation the scale tests of msglint-report read.

The installation is laid out as bench/run.sh lays it out (the installed
programs of the build's e2e prefix linked in, a manager "big" written by
bench/make_manager.py) and audited with `sbin/msglint big -f en ru fr de`
under the no-sleep preload library. Every run stops the panels named kern:
the tests run in a private PID namespace.
"""
import json
import os
import shutil
import subprocess
import tempfile

PYTHON = "/usr/bin/python3"
LANGUAGES = ["en", "ru", "fr", "de"]


class BigInstall:
    def __init__(self, prefix, nosleep, source_dir, objects=2000):
        self.dir = tempfile.mkdtemp(prefix="msglint-big-")
        for sub in ("bin", "sbin", "lib/modules"):
            os.makedirs(os.path.join(self.dir, sub))
        for path in ("bin/kern", "sbin/pnlctl", "sbin/msglint", "sbin/msglint-report",
                     "lib/modules/msglint.so"):
            os.symlink(os.path.join(prefix, path), os.path.join(self.dir, path))
        os.symlink("kern", os.path.join(self.dir, "bin/big"))
        subprocess.run([PYTHON, os.path.join(source_dir, "bench/make_manager.py"), self.dir, "big",
                        str(objects)], check=True, stdout=subprocess.DEVNULL)
        env = dict(os.environ, LD_PRELOAD=nosleep)
        subprocess.run(["sbin/msglint", "big", "-f", *LANGUAGES], cwd=self.dir, env=env,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.findings_path = os.path.join(self.dir, "var/msglint/findings.json")
        with open(self.findings_path, encoding="utf-8") as f:
            self.findings = json.load(f)

    def report(self, *options):
        """Runs sbin/msglint-report with `options`: (status, stdout, stderr)."""
        run = subprocess.run(["sbin/msglint-report", *options], cwd=self.dir,
                             capture_output=True, text=True)
        return run.returncode, run.stdout, run.stderr

    def remove(self):
        shutil.rmtree(self.dir, ignore_errors=True)

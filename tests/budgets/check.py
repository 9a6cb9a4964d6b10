"""Counts what one append, fetched record or start-up costs; more than 5 % above budget fails.

Usage: check.py WORKLOAD calls|instructions BUDGETS
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

workload, counted, budgets = sys.argv[1:]
tool = {"calls": ["strace", "-f", "-c"],
        "instructions": ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]}[counted]
total = {"calls": r"(\d+)(?: +\d+)? total", "instructions": r"Collected : (\d+)"}[counted]
if shutil.which(tool[0]) is None or subprocess.run(tool + ["true"], capture_output=True).returncode:
    print(f"skipped: {tool[0]} is missing or not allowed here")
    sys.exit(77)


def count(log, work, times):
    command = tool + [workload, log, work, str(times)]
    output = subprocess.run(command, check=True, capture_output=True, text=True).stderr
    return int(re.findall(total, output)[-1])


failed = False
for line in open(budgets, encoding="utf-8"):
    kind, log, work, times, budget = line.split()
    if kind != counted:
        continue
    with tempfile.TemporaryDirectory() as root:
        for name in ("data", "settings", "backup/data"):
            os.makedirs(os.path.join(root, name))
        os.environ["VEK_ROOT"] = root
        subprocess.run([workload, log, "append", "130100"], check=True, capture_output=True)
        n = int(times)
        cost = (count(log, work, 2 * n) - count(log, work, n)) / n
    over = cost > 1.05 * float(budget)
    failed |= over
    print(f"{counted} {log} {work}: {cost:.5g}, budget {budget}{' EXCEEDED' if over else ''}")
sys.exit(failed)

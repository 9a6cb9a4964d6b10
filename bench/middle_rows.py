#!/usr/bin/env python3
"""Makes one table of ratios of those that several runs of vek_bench printed: each row from the
run that had its middle ratio. Names rows above their bound on standard error and then ends with 1."""
import collections
import sys

rows = collections.defaultdict(list)
for path in sys.argv[1:]:
    with open(path, encoding="utf-8") as file:
        head, rule, *lines = file.read().splitlines()
    for line in lines:
        work, library, bare, ratio, bound, others = line.strip("|").split("|")
        rows[work.strip()].append((float(ratio), bound.strip(" ≤"), line))

print(head, rule, sep="\n")
above = 0
for work, found in rows.items():
    ratio, bound, line = sorted(found)[len(found) // 2]
    print(line)
    if bound and ratio > float(bound):
        print(f"Above its bound: {work}", file=sys.stderr)
        above = 1
sys.exit(above)

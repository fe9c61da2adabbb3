#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares two `make coverage` results line by line.

Usage: covered_lines.py BEFORE.json AFTER.json

Prints the covered-line totals of both and every line of the project's code that BEFORE ran and
AFTER does not. Exits 1 when such lines exist, so a test clean-up can prove it kept what it ran.
"""
import json
import sys


def covered(path):
    try:
        with open(path, encoding="utf-8") as f:
            data = json.load(f)
    except (OSError, ValueError) as e:
        sys.exit(f"covered_lines: cannot read {path}: {e}")
    lines = set()
    for entry in data.get("files", []):
        for line in entry.get("lines", []):
            if line.get("count", 0) > 0 and not line.get("gcovr/noncode", False):
                lines.add((entry["file"], line["line_number"]))
    return lines


def main(argv):
    if len(argv) != 3 or argv[1] in ("-h", "--help"):
        print(__doc__.strip())
        return 0 if len(argv) == 2 else 2
    before, after = covered(argv[1]), covered(argv[2])
    lost = sorted(before - after)
    print(f"covered lines: before {len(before)}, after {len(after)}, "
          f"newly covered {len(after - before)}, no longer covered {len(lost)}")
    for file, line in lost:
        print(f"  {file}:{line}")
    return 1 if lost else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))

#!/usr/bin/env python3
"""choose-corpus.py CONTROL FOLDER MOST: fills FOLDER anew with at most MOST of the inputs that a libFuzzer merge has
looked at (its control file), those that together reach the most."""
import hashlib
import pathlib
import sys

control = pathlib.Path(sys.argv[1]).read_text().splitlines()
folder = pathlib.Path(sys.argv[2])
most = int(sys.argv[3])

# Number of files, number of those that were merged before, their names, then what each reaches.
count = int(control[0])
inputs = [pathlib.Path(name).read_bytes() for name in control[2 : 2 + count]]
reached = {}
for line in control[2 + count :]:
    kind, number, *features = line.split()
    if kind == "FT":
        reached[int(number)] = set(features)

chosen = []
covered = set()
while reached and len(chosen) < most:
    best = max(reached, key=lambda i: (len(reached[i] - covered), -len(inputs[i])))
    if not reached[best] - covered:
        break
    covered |= reached.pop(best)
    chosen.append(inputs[best])

for old in folder.iterdir():
    old.unlink()
for data in chosen:
    (folder / hashlib.sha1(data).hexdigest()).write_bytes(data)

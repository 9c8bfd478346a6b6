#!/usr/bin/env python3
"""Writes the corpus: small good models with every feature that is read, and files that are broken by construction.

    makecorpus.py FOLDER

FOLDER receives a folder a format and corpus.json, the table of what each file must lead to (corpus/table.py). What was
in FOLDER before is removed. The same files, byte for byte, at every run.
"""

import os
import shutil
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from corpus import fbx, glb, gltf, obj, stl, threemf  # noqa: E402
from corpus.table import Table  # noqa: E402


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = sys.argv[1]
    # Only what an earlier run has made is removed: a slip of the hand must not cost a home folder.
    if os.path.isdir(folder) and os.listdir(folder):
        if not os.path.exists(os.path.join(folder, Table.MARK)):
            sys.exit(f"{folder}: is neither empty nor a corpus of an earlier run")
        shutil.rmtree(folder)
    table = Table(folder)
    for part in (gltf, glb, obj, stl, fbx, threemf):
        part.add_good(table)
        part.add_broken(table)
    table.write()


if __name__ == "__main__":
    main()

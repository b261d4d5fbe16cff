"""Writes a drawing with the sample writer and reads it back with ezdxf.

usage: dxf_readback.py <dxf_sample executable> <work folder>
"""
import os
import subprocess
import sys

import ezdxf


def main() -> int:
    writer, folder = sys.argv[1], sys.argv[2]
    os.makedirs(folder, exist_ok=True)
    drawing = os.path.join(folder, "sample.dxf")
    table = os.path.join(folder, "sample.txt")
    subprocess.run([writer, drawing, table], check=True)

    doc = ezdxf.readfile(drawing)
    problems = []
    if doc.dxfversion != "AC1009":
        problems.append(f"version {doc.dxfversion}, expected AC1009")
    auditor = doc.audit()
    problems += [f"audit: {e.message}" for e in auditor.errors]

    with open(table) as f:
        records = [tuple(float(v) for v in line.split()) for line in f]
    msp = doc.modelspace()
    lines = list(msp.query("LINE"))
    if len(records) < 10:
        problems.append(f"the sample table holds only {len(records)} records")
    if len(lines) != len(records):
        problems.append(f"{len(lines)} LINE entities for {len(records)} records")
    for i, (line, (x1, y1, x2, y2)) in enumerate(zip(lines, records), start=1):
        got = (tuple(line.dxf.start), tuple(line.dxf.end), line.dxf.layer)
        want = ((x1, -y1, 0.0), (x2, -y2, 0.0), "Quern_CNC")
        if got != want:
            problems.append(f"record {i}: LINE {got}, expected {want}")
    dimensions = msp.query("DIMENSION")
    if len(dimensions) != 4:
        problems.append(f"{len(dimensions)} DIMENSION entities, expected 4")
    blocks = sorted(b.name for b in doc.blocks if b.name.startswith("*D"))
    if blocks != ["*D0", "*D1", "*D2", "*D3"]:
        problems.append(f"blocks {blocks}")

    for p in problems:
        print(p)
    print(f"{len(lines)} LINE entities checked, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())

"""Writes the sample drawing with the output options and reads it back with
ezdxf: joined polylines must carry exactly the segments of the LINE drawing,
loops must be flagged closed, and a drawing in millimetres must hold the
pixel coordinates times 25.4 / (dpi * rescale).

usage: dxf_options_readback.py <dxf_sample executable> <work folder>
"""
import math
import os
import subprocess
import sys

import ezdxf


def write(writer, folder, name, *options):
    drawing = os.path.join(folder, name + ".dxf")
    table = os.path.join(folder, name + ".txt")
    subprocess.run([writer, drawing, table, *options], check=True)
    with open(table) as f:
        records = [tuple(float(v) for v in line.split()) for line in f]
    return ezdxf.readfile(drawing), records


def audit(doc, name):
    problems = [f"{name}: audit: {e.message}" for e in doc.audit().errors]
    if doc.dxfversion != "AC1009":
        problems.append(f"{name}: version {doc.dxfversion}")
    if len(doc.modelspace().query("DIMENSION")) != 4:
        problems.append(f"{name}: the four dimensions are not all there")
    return problems


def polyline_segments(doc):
    """Every segment of every POLYLINE as ((x1, y1), (x2, y2)), and the polylines."""
    segments, polylines = [], list(doc.modelspace().query("POLYLINE"))
    for p in polylines:
        points = [tuple(v.dxf.location)[:2] for v in p.vertices]
        if p.is_closed:
            points.append(points[0])
        segments += list(zip(points, points[1:]))
    return segments, polylines


def main() -> int:
    writer, folder = sys.argv[1], sys.argv[2]
    os.makedirs(folder, exist_ok=True)
    problems = []

    lines_doc, records = write(writer, folder, "lines")
    poly_doc, _ = write(writer, folder, "polyline", "--polyline")
    mm_doc, _ = write(writer, folder, "polyline_mm", "--polyline", "--unit", "mm", "--dpi", "300", "--rescale", "0.5")
    for doc, name in ((lines_doc, "lines"), (poly_doc, "polyline"), (mm_doc, "polyline_mm")):
        problems += audit(doc, name)

    lines = [((l.dxf.start.x, l.dxf.start.y), (l.dxf.end.x, l.dxf.end.y)) for l in lines_doc.modelspace().query("LINE")]
    drawn = [s for s in lines if s[0] != s[1]]
    if len(lines) != len(records):
        problems.append(f"{len(lines)} LINEs for {len(records)} records")
    segments, polylines = polyline_segments(poly_doc)
    if poly_doc.modelspace().query("LINE"):
        problems.append("the polyline drawing still holds LINEs")
    if sorted(segments) != sorted(drawn):
        problems.append(f"{len(segments)} polyline segments for {len(drawn)} LINEs of some length "
                        f"({len(lines) - len(drawn)} without length left out)")
    if len(polylines) >= len(drawn) or len(polylines) < 2:
        problems.append(f"{len(polylines)} polylines for {len(drawn)} segments: nothing was joined")
    if any(p.dxf.layer != "Quern_CNC" for p in polylines):
        problems.append("a polyline off the layer Quern_CNC")
    closed = [p for p in polylines if p.is_closed]
    square = [(130.0, -10.0), (150.0, -10.0), (150.0, -30.0), (130.0, -30.0)]
    if [[tuple(v.dxf.location)[:2] for v in p.vertices] for p in closed] != [square]:
        problems.append(f"{len(closed)} closed polylines, expected the one square")
    for p in polylines:
        points = [tuple(v.dxf.location)[:2] for v in p.vertices]
        if not p.is_closed and len(points) > 2 and points[0] == points[-1]:
            problems.append(f"an open polyline returns to its start at {points[0]}")

    factor = 25.4 / (300 * 0.5)
    mm_segments, _ = polyline_segments(mm_doc)
    if len(mm_segments) != len(segments):
        problems.append(f"{len(mm_segments)} segments in millimetres, {len(segments)} in pixels")
    for (a, b), (c, d) in zip(segments, mm_segments):
        for px, mm in ((a, c), (b, d)):
            if not all(math.isclose(p * factor, m, rel_tol=1e-6, abs_tol=1e-9) for p, m in zip(px, mm)):
                problems.append(f"{px} px became {mm} mm, expected {tuple(p * factor for p in px)}")
                break

    for p in problems[:20]:
        print(p)
    print(f"{len(segments)} segments in {len(polylines)} polylines ({len(closed)} closed) for "
          f"{len(lines)} LINEs, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())

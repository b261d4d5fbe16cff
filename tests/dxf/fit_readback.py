"""Writes the fitted sample drawing (lines, arcs of both senses, one past a
half turn, a circle and a closed rounded square) and reads it back: ezdxf
must audit it clean and see each entity where the sample put it, with y
turned, an ARC's angles going counter-clockwise from the right end to the
right end through the right middle, POLYLINE bulges giving the same arcs,
and a drawing in millimetres scaled by 25.4 / dpi. The SVG of the same
drawing must parse and carry the arcs' senses in its A commands.

usage: fit_readback.py <fit_sample executable> <work folder>
"""
import math
import os
import subprocess
import sys
import xml.etree.ElementTree as ET

import ezdxf
from ezdxf.math import bulge_to_arc

CLOSE = 1e-3


def write(writer, folder, name, *options):
    drawing = os.path.join(folder, name + ".dxf")
    listing = os.path.join(folder, name + ".txt")
    subprocess.run([writer, drawing, listing, *options], check=True)
    chains = []
    with open(listing) as f:
        for line in f:
            kind, *values = line.split()
            if kind == "chain":
                chains.append((values[0] == "closed", []))
            else:
                chains[-1][1].append((kind, [float(v) for v in values]))
    return ezdxf.readfile(drawing), chains


def xy(v):
    return (v[0], v[1])


def near(a, b, scale=1.0):
    return all(abs(x - y) <= CLOSE * max(1.0, scale) for x, y in zip(a, b))


def turned(x, y, s):
    return (x * s, -y * s)


def arc_middle(cx, cy, r, x1, y1, sweep):
    """The middle of a sample arc in the picture, y down."""
    a = math.atan2(y1 - cy, x1 - cx) + sweep / 2
    return cx + r * math.cos(a), cy + r * math.sin(a)


def check_entities(doc, chains, s, name):
    problems = [f"{name}: audit: {e.message}" for e in doc.audit().errors]
    if doc.dxfversion != "AC1009":
        problems.append(f"{name}: version {doc.dxfversion}")
    msp = doc.modelspace()
    want = {"LINE": [], "ARC": [], "CIRCLE": []}
    for _, entities in chains:
        for kind, v in entities:
            want[kind.upper()].append(v)
    for kind, expected in want.items():
        got = list(msp.query(kind))
        if len(got) != len(expected):
            problems.append(f"{name}: {len(got)} {kind} for {len(expected)}")
            continue
        for e, v in zip(got, expected):
            if e.dxf.layer != "Quern_CNC":
                problems.append(f"{name}: {kind} on layer {e.dxf.layer}")
            if kind == "LINE":
                ok = near(xy(e.dxf.start), turned(v[0], v[1], s), s) and near(xy(e.dxf.end), turned(v[2], v[3], s), s)
            elif kind == "CIRCLE":
                ok = near(xy(e.dxf.center), turned(v[0], v[1], s), s) and near([e.dxf.radius], [v[2] * s], s)
            else:
                cx, cy, r, x1, y1, x2, y2, sweep = v
                ends = {tuple(round(c, 2) for c in turned(x, y, s)) for x, y in ((x1, y1), (x2, y2))}
                got_ends = {tuple(round(c, 2) for c in xy(p)) for p in (e.start_point, e.end_point)}
                span = (e.dxf.end_angle - e.dxf.start_angle) % 360
                mid = math.radians(e.dxf.start_angle + span / 2)
                got_mid = (e.dxf.center.x + e.dxf.radius * math.cos(mid), e.dxf.center.y + e.dxf.radius * math.sin(mid))
                ok = (near(xy(e.dxf.center), turned(cx, cy, s), s) and near([e.dxf.radius], [r * s], s)
                      and ends == got_ends and near(got_mid, turned(*arc_middle(cx, cy, r, x1, y1, sweep), s), s)
                      and abs(span - math.degrees(abs(sweep))) < 1e-2)
            if not ok:
                problems.append(f"{name}: {kind} {e.dxf.all_existing_dxf_attribs()} is not the sample's {v}")
    return problems


def check_polylines(doc, chains, s, name):
    problems = [f"{name}: audit: {e.message}" for e in doc.audit().errors]
    msp = doc.modelspace()
    runs = [c for c in chains if c[1][0][0] != "circle"]
    polylines = list(msp.query("POLYLINE"))
    if msp.query("LINE") or msp.query("ARC"):
        problems.append(f"{name}: LINE or ARC left beside the polylines")
    if len(msp.query("CIRCLE")) != len(chains) - len(runs):
        problems.append(f"{name}: the circle is not a CIRCLE")
    if len(polylines) != len(runs):
        return problems + [f"{name}: {len(polylines)} polylines for {len(runs)} chains"]
    for p, (closed, entities) in zip(polylines, runs):
        vertices = list(p.vertices)
        if p.is_closed != closed or len(vertices) != len(entities) + (0 if closed else 1):
            problems.append(f"{name}: polyline of {len(vertices)} vertices, closed {p.is_closed}")
            continue
        for k, (kind, v) in enumerate(entities):
            start = vertices[k].dxf.location
            end = vertices[(k + 1) % len(vertices)].dxf.location
            bulge = vertices[k].dxf.bulge
            if kind == "line":
                ok = bulge == 0 and near(xy(start), turned(v[0], v[1], s), s) and near(xy(end), turned(v[2], v[3], s), s)
            else:
                cx, cy, r, x1, y1, x2, y2, sweep = v
                centre, _, _, radius = bulge_to_arc(xy(start), xy(end), bulge)
                ok = near(xy(start), turned(x1, y1, s), s) and near(xy(end), turned(x2, y2, s), s)
                ok = ok and near(centre, turned(cx, cy, s), s) and near([radius], [r * s], s)
                # Picture arcs turning towards +y run clockwise once y is turned.
                ok = ok and (bulge < 0) == (sweep > 0)
            if not ok:
                problems.append(f"{name}: vertex {k} bulge {bulge} is not the sample's {kind} {v}")
    return problems


def check_svg(path, chains):
    problems = []
    root = ET.parse(path).getroot()
    ns = "{http://www.w3.org/2000/svg}"
    paths = [e.get("d") for e in root.iter(ns + "path")]
    circles = list(root.iter(ns + "circle"))
    arcs = [v for _, entities in chains for kind, v in entities if kind == "arc"]
    lines = [v for _, entities in chains for kind, v in entities if kind == "line"]
    if len(circles) != 1 or abs(float(circles[0].get("r")) - 25.75) > CLOSE:
        problems.append(f"svg: circles {[c.attrib for c in circles]}")
    if len(paths) != len(arcs) + len(lines):
        problems.append(f"svg: {len(paths)} paths for {len(arcs) + len(lines)} lines and arcs")
    got = [d.split() for d in paths if " A " in d]
    for words, (cx, cy, r, x1, y1, x2, y2, sweep) in zip(got, arcs):
        # M x y A rx ry rotation large sweep x y
        large, flag = words[7], words[8]
        if flag != ("1" if sweep > 0 else "0") or large != ("1" if abs(sweep) > math.pi else "0"):
            problems.append(f"svg: {' '.join(words)} for sweep {sweep}")
        if not near([float(w) for w in words[9:11]], [x2, y2]):
            problems.append(f"svg: {' '.join(words)} does not end at {x2}, {y2}")
    return problems


def main() -> int:
    writer, folder = sys.argv[1], sys.argv[2]
    os.makedirs(folder, exist_ok=True)
    svg = os.path.join(folder, "fitted.svg")
    doc, chains = write(writer, folder, "fitted", "--svg", svg)
    problems = check_entities(doc, chains, 1.0, "fitted")
    doc_mm, _ = write(writer, folder, "fitted_mm", "--unit", "mm", "--dpi", "300")
    problems += check_entities(doc_mm, chains, 25.4 / 300, "fitted_mm")
    doc_poly, _ = write(writer, folder, "fitted_polyline", "--polyline")
    problems += check_polylines(doc_poly, chains, 1.0, "fitted_polyline")
    problems += check_svg(svg, chains)
    for p in problems:
        print(p)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())

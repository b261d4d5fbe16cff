"""Writes the sample drawing as SVG and reads it with a real XML parser: one
<line> for each record that has a length, the same segments again as
<polyline> and <polygon> with --polyline, and a size in the drawing's unit
that matches its viewBox.

usage: svg_readback.py <dxf_sample executable> <work folder>
"""
import os
import subprocess
import sys
import xml.etree.ElementTree as ET

NS = "{http://www.w3.org/2000/svg}"


def write(writer, folder, name, *options):
    svg = os.path.join(folder, name + ".svg")
    table = os.path.join(folder, name + ".txt")
    subprocess.run([writer, os.path.join(folder, name + ".dxf"), table, "--svg", svg, *options], check=True)
    with open(table) as f:
        records = [tuple(float(v) for v in line.split()) for line in f]
    return ET.parse(svg).getroot(), records


def points(element):
    return [tuple(float(v) for v in p.split(",")) for p in element.get("points").split()]


def main() -> int:
    writer, folder = sys.argv[1], sys.argv[2]
    os.makedirs(folder, exist_ok=True)
    problems = []

    root, records = write(writer, folder, "lines")
    drawn = [r for r in records if (r[0], r[1]) != (r[2], r[3])]
    lines = root.iter(NS + "line")
    got = [tuple(float(l.get(k)) for k in ("x1", "y1", "x2", "y2")) for l in lines]
    if got != drawn:
        problems.append(f"{len(got)} <line> elements for {len(drawn)} records of some length")
    box = [float(v) for v in root.get("viewBox").split()]
    xs = [v for r in drawn for v in (r[0], r[2])]
    ys = [v for r in drawn for v in (r[1], r[3])]
    if box != [min(xs) - 1, min(ys) - 1, max(xs) - min(xs) + 2, max(ys) - min(ys) + 2]:
        problems.append(f"viewBox {box} does not frame x {min(xs)}..{max(xs)}, y {min(ys)}..{max(ys)}")
    if (float(root.get("width")), float(root.get("height"))) != (box[2], box[3]):
        problems.append(f"size {root.get('width')} x {root.get('height')} for a viewBox of {box[2]} x {box[3]}")

    root, _ = write(writer, folder, "polyline_mm", "--polyline", "--unit", "mm", "--dpi", "254", "--rescale", "1")
    segments = 0
    for kind, closing in (("polyline", 0), ("polygon", 1)):
        for element in root.iter(NS + kind):
            segments += len(points(element)) - 1 + closing
    if segments != len(drawn):
        problems.append(f"{segments} segments in polylines and polygons for {len(drawn)} records of some length")
    if len(list(root.iter(NS + "polygon"))) != 1:
        problems.append("the square is not the one closed polygon")
    width, height = root.get("width"), root.get("height")
    box = [float(v) for v in root.get("viewBox").split()]
    if not (width.endswith("mm") and height.endswith("mm")):
        problems.append(f"size {width} x {height} is not in millimetres")
    elif abs(float(width[:-2]) - box[2]) > 1e-4 or abs(box[2] - 0.1 * (max(xs) - min(xs) + 2)) > 1e-4:
        problems.append(f"width {width} and viewBox {box} are not the drawing's extent at 0.1 mm a pixel")

    for p in problems:
        print(p)
    print(f"{len(drawn)} segments checked as lines and as polylines, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())

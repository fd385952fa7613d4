"""Draws a machine, as it is and with names that try to break out, of itself and of its saved result. Each picture
and page has to be sound XML without scripts and references, and the renderer has to take the picture.

check_pictures.py RENDERER FOLDER MACHINE PROGRAM
"""

import json
import pathlib
import re
import struct
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

renderer, folder, machine, program = sys.argv[1:]
folder = pathlib.Path(folder)
folder.mkdir(parents=True, exist_ok=True)

ELEMENTS = {
    "svg": {"svg", "title", "desc", "style", "rect", "path", "circle", "text"},
    "html": {"html", "head", "meta", "title", "style", "body", "section", "h2", "div", "table", "tr", "th", "td",
             "pre", "footer"},
}
HOSTILE = "</text></pre><script>alert(1)</script>&lt;\"'\x01\x7f\x9b\xe9"
# What the texts below tell apart by, or read numbers from, stays.
NAMES = {"name", "monitor", "monitors", "board", "processor", "board_name", "product"}


def hostile(value, key=None):
    if isinstance(value, dict):
        return {k: hostile(v, k) for k, v in value.items()}
    if isinstance(value, list):
        return [hostile(v, key) for v in value]
    return value + HOSTILE if key in NAMES and isinstance(value, str) else value


def run(*command):
    done = subprocess.run(command, capture_output=True)
    assert done.returncode in (0, 1) and (done.returncode == 0 or b"no GPU was found" in done.stderr), done
    return done


def local(tag):
    return tag.rpartition("}")[2]


def check_elements(root, allowed):
    for element in root.iter():
        assert local(element.tag) in allowed, element.tag
        for name in map(local, element.attrib):
            assert not name.startswith("on") and name not in ("href", "src", "style"), name
        if local(element.tag) == "style":
            assert "url(" not in element.text and "@import" not in element.text
            assert "@media (prefers-color-scheme:dark)" in element.text


def check_inside(svg):
    width, height = int(svg.get("width")), int(svg.get("height"))
    assert svg.get("viewBox") == f"0 0 {width} {height}"
    for element in svg.iter():
        x = int(element.get("x", 0)) + int(element.get("width", 0) if element is not svg else 0)
        y = int(element.get("y", 0)) + int(element.get("height", 0) if element is not svg else 0)
        assert 0 <= int(element.get("x", 0)) and x <= width and y <= height, ElementTree.tostring(element)
        numbers = [int(n) for n in re.findall(r"\d+", element.get("d", ""))]
        assert all(n <= max(width, height) for n in numbers), element.get("d")
    return width, height


def check_scale(svg, paths):
    """Every screen is where its place on the desktop is, in the scale of the others."""
    shown = {p["display"]: p for p in paths}
    boxes = {}
    box = None
    for element in svg.iter():
        if element.get("class") == "v-screen":
            box = element
        label = re.fullmatch(r"DISPLAY(\d+)", element.text or "")
        if label and box is not None:
            boxes[int(label[1])] = box
            box = None
    assert boxes.keys() == shown.keys(), boxes.keys()

    def place(display):
        box, (width, height) = boxes[display], map(int, shown[display]["mode"].partition("@")[0].split("x"))
        return [int(box.get(n)) for n in ("x", "y", "width", "height")], [
            shown[display]["x"], shown[display]["y"], width, height]

    # Boxes are drawn two pixels smaller at each side.
    first = next(iter(shown))
    (x0, y0, width0, _), (left0, top0, pixels0, _) = place(first)
    scale = (width0 + 4) / pixels0
    for display in shown:
        (x, y, width, height), (left, top, pixels, lines) = place(display)
        for drawn_length, length in ((x - x0, left - left0), (y - y0, top - top0), (width + 4, pixels),
                                     (height + 4, lines)):
            assert abs(drawn_length - length * scale) < 5, (display, drawn_length, length * scale)


def check(path, source, *saved):
    svg_file, page_file, png_file = (folder / f"{path}.{end}" for end in ("svg", "html", "png"))
    run(program, source, *saved, "topo", "--svg", svg_file, "--html", page_file)
    svg = ElementTree.parse(svg_file).getroot()
    check_elements(svg, ELEMENTS["svg"])
    size = check_inside(svg)
    page = ElementTree.parse(page_file).getroot()
    check_elements(page, ELEMENTS["svg"] | ELEMENTS["html"])
    for text in (svg_file.read_text("utf-8"), page_file.read_text("utf-8")):
        assert set(re.findall(r"\w+://[^\"]+", text)) <= {"http://www.w3.org/2000/svg", "http://www.w3.org/1999/xhtml"}
    done = run(renderer, "--output", png_file, svg_file)
    assert not done.stderr, done.stderr
    assert struct.unpack(">II", png_file.read_bytes()[16:24]) == size
    return svg, "".join(page.itertext())


described = json.loads(pathlib.Path(machine).read_text("utf-8"))
hostile_machine = folder / "hostile.json"
hostile_machine.write_text(json.dumps(hostile(described)), "utf-8")
for path, source in (("plain", machine), ("hostile", str(hostile_machine))):
    svg, text = check(path, source)
    saved = folder / f"{path}.vexil"
    run(program, source, "save", str(saved))
    _, saved_text = check(path + "-saved", source, "--from", str(saved))
    assert "a saved result has none" in saved_text
    paths = described.get("display_paths", [])
    if path == "plain" and paths:
        check_scale(svg, paths)
    if path == "hostile":
        assert "<script>alert(1)</script>&lt;\"'\ufffd\ufffd\u203a\u00e9" in text, text

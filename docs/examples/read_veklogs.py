#!/usr/bin/env python3
"""Prints the records of log files, oldest first, as tab-separated text.

Usage: read_veklogs.py FILE...  (event, lamp or measurement files)

Written from veklogfiles(5) alone, to show that it suffices. The fields are those of
"veklogs show --format tsv", without the file; a measurement's second value of a kind
and values of unknown kinds stand at the end of its line. A file that is short or has a
wrong header is refused: "veklogs show --damaged" reads what such a file still holds.
"""
import datetime
import re
import struct
import sys

HEADER = struct.Struct("<12sHHH")
TIME = "<iIIh"
EVENT = struct.Struct(TIME + "HHHiii30s")
LAMP = struct.Struct(TIME + "IiQIH")
MEASUREMENT = struct.Struct(TIME + "HHH" + "Hd" * 9)
VALUE_KINDS = ("intensity", "wavelength", "absorbance", "concentration",
               "temperature", "pressure", "humidity", "voltage", "load", "free_memory")
USED = 4  # the field after the time stamp, in all three records


def iso(seconds, microseconds):
    epoch = datetime.datetime(1970, 1, 1)
    time = epoch + datetime.timedelta(seconds=seconds, microseconds=min(microseconds, 999999))
    return time.isoformat(timespec="microseconds") + "Z"


def escaped(text):
    """No tab or line break is left that would end a field, nor another control character."""
    def escape(match):
        return "".join(f"\\x{byte:02x}" for byte in match[0].encode())
    return re.sub("[\0-\x1f\x7f-\x9f]", escape, text.replace("\\", "\\\\"))


def number(value):
    if value != value or abs(value) == float("inf"):
        return {"nan": "NaN", "inf": "Infinity", "-inf": "-Infinity"}[str(value)]
    return repr(value).removesuffix(".0")


def event(fields):
    seconds, micro, uptime, offset, code, severity, client, north, east, up, text = fields
    return [iso(seconds, micro), offset, uptime, client, code, severity,
            *map(number, (north / 1e7, east / 1e7, up / 1e3)),
            escaped(text.split(b"\0")[0].decode(errors="replace"))]


def lamp(fields):
    seconds, micro, uptime, offset, kind, key, burning, ignitions, client = fields
    return [iso(seconds, micro), offset, uptime, client, key, kind, burning, ignitions]


def measurement(fields):
    seconds, micro, uptime, offset, method, client, channel = fields[:7]
    columns = [""] * len(VALUE_KINDS)
    others = []
    for kind, value in zip(fields[7::2], fields[8::2]):
        if 1 <= kind <= len(columns) and columns[kind - 1] == "":
            columns[kind - 1] = number(value)
        elif kind != 0:
            others.append(f"kind_{kind}={number(value)}")
    return [iso(seconds, micro), offset, uptime, client, method, channel, *columns, *others]


# cookie: record layout, position of the key among its fields, columns of a record
KINDS = {
    b"VEK KIB EL": (EVENT, 0, event),
    b"VEK KIB LS": (LAMP, 5, lamp),
    b"VEK KIB ML": (MEASUREMENT, 0, measurement),
}


def read_file(path):
    """Returns (slot, columns) of each used slot, the oldest first."""
    with open(path, "rb") as file:
        content = file.read()
    if len(content) < HEADER.size:
        raise ValueError(f"{path}: short file")
    cookie, version, size, count = HEADER.unpack_from(content)
    cookie = cookie.split(b"\0")[0]
    if cookie not in KINDS or version != 1 or size != KINDS[cookie][0].size:
        raise ValueError(f"{path}: wrong header")
    if len(content) < HEADER.size + count * size:
        raise ValueError(f"{path}: short file")

    layout, key, columns = KINDS[cookie]
    slots = [layout.unpack_from(content, HEADER.size + i * size) for i in range(count)]
    used = 0
    while used < count and slots[used][USED] != 0:
        used += 1
    seam = 0
    if used == count and slots[-1][key] < slots[0][key]:
        while slots[seam][key] >= slots[0][key]:
            seam += 1
    order = [*range(seam, used), *range(seam)]
    return [(slot, columns(slots[slot])) for slot in order]


def main():
    for path in sys.argv[1:]:
        for slot, columns in read_file(path):
            print(slot, *columns, sep="\t")


if __name__ == "__main__":
    try:
        main()
    except (OSError, ValueError) as error:
        sys.exit(str(error))

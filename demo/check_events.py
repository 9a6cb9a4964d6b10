"""Compares the replies that the demo fetched with its input, which is parsed again
without the library. Usage: check_events.py INPUT REPLIES"""
import calendar
import struct
import sys
import time

SIZE = 62
expected = []
for line in open(sys.argv[1], "rb"):
    moment = time.strptime(line[:19].decode(), "%Y-%m-%d %H:%M:%S")
    text = line[20:].rstrip(b"\n")[:30]
    code = {b"status": 1, b"startup": 2}.get(line[20:].split()[0], 3)
    expected.append((calendar.timegm(moment), code, text))

replies = open(sys.argv[2], "rb").read()
found = []
at = 0
while at < len(replies):
    first, count = struct.unpack_from("<II", replies, at)
    at += 8
    if first != len(found):
        sys.exit(f"a reply starts at index {first} instead of {len(found)}")
    for _ in range(count):
        seconds, code = struct.unpack_from("<i10xH", replies, at)
        found.append((seconds, code, replies[at + 32:at + SIZE].rstrip(b"\0")))
        at += SIZE

wrong = [i for i, pair in enumerate(zip(expected, found)) if pair[0] != pair[1]]
print(f"  {'':12}{'input':>12}{'log':>12}")
print(f"  {'events':12}{len(expected):>12}{len(found):>12}")
for name, at in ("oldest", 0), ("newest", -1):
    print(f"  {name:12}{expected[at][0]:>12}{found[at][0]:>12}  {found[at][2].decode(errors='replace')}")
print(f"  {'differing':12}{'':>12}{len(wrong):>12}")
if wrong or len(expected) != len(found):
    sys.exit("the log does not hold what was written")

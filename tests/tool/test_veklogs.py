import contextlib, csv, itertools, json, os, pty, re, select, shutil, sqlite3, struct, subprocess, tempfile, threading, time, unittest
from pathlib import Path

VEKLOGS = os.environ["VEKLOGS"]
SOURCE = Path(__file__).resolve().parents[2]
LOG = "measurement_log%d.vek"
EVENTS = "event_log-9-8-7#%d.vek"
POINTER = "currentMeasurementLog"


def messages(*args, code):
    done = subprocess.run([VEKLOGS, *map(str, args)], capture_output=True, timeout=60)
    assert done.returncode == code, (args, done)
    assert code == 0 or done.stderr or args[0] == "verify", args
    return done.stdout.decode(), done.stderr.decode()


def run(*args, code=0):
    return messages(*args, code=code)[0]


def rows(*args, code=0):
    return [line.split("\t") for line in run(*args, "--format", "tsv", code=code).splitlines()[1:]]


@contextlib.contextmanager
def follow(*args):
    """Gives a function that waits for the next line."""
    with subprocess.Popen([VEKLOGS, "show", "--follow", *map(str, args)], stdout=subprocess.PIPE,
                          text=True) as follower:
        timer = threading.Timer(60, follower.kill)
        timer.start()
        try:
            yield follower.stdout.readline
        finally:
            timer.cancel()
            follower.kill()


def examples(page):
    text = (SOURCE / "docs/man" / page).read_text().replace("\\-", "-")
    return re.findall(r"^\.(?:EX|ft CW)\n(.*?)^\.(?:EE|ft)$", text, re.M | re.S)


def ring(directory, times, cookie=b"VEK KIB ML", size=110, names=LOG):
    """Fabricates files of four slots; times holds a list for each file, of times or records."""
    directory.mkdir(parents=True, exist_ok=True)
    for index, records in enumerate(times):
        slots = [r if isinstance(r, bytes) else struct.pack("<iIIhHHHHd", r, 0, 0, 0, 7, 0, *[r % 65536] * 2, r)
                 for r in records]
        content = b"".join(slot.ljust(size, b"\0") for slot in slots).ljust(4 * size, b"\0")
        (directory / (names % index)).write_bytes(struct.pack("<12sHHH", cookie, 1, size, 4) + content)
    return directory


def events(directory, *records, index=0):
    """One file of events: (seconds, code, severity, text) and perhaps microseconds."""
    return ring(directory, [[]] * index + [[
        struct.pack("<iIIhHHHiii30s", t, *(micro or [0]), 5, 60, code, severity, 3, 525163000, -131234567, 34500, text)
        for t, code, severity, text, *micro in records]], b"VEK KIB EL", 62, EVENTS)


def snapshot(root):
    return {path: (s.st_ino, s.st_mode, s.st_size, s.st_mtime_ns, s.st_ctime_ns,
                   path.is_file() and path.read_bytes())
            for path in [root, *root.rglob("*")] for s in [path.lstat()]}


class Case(unittest.TestCase):
    def setUp(self):
        self.tmp = Path(self.enterContext(tempfile.TemporaryDirectory()))


class Reading(Case):
    def test_export_takes_both_ends_and_crosses_files(self):
        path = ring(self.tmp / "m", [[10, 11, 12, 13], [14, 15]])
        for since, until, times in ((11, 14, range(11, 15)), (14, 11, range(11, 15)), (12, 12, [12]),
                                    (2, 5, [10]), (15, 59, [15]), (0, 59, range(10, 16))):
            text = run("export", path, f"--since=1970-01-01T00:00:{since:02}",
                       f"--until=1970-01-01T00:00:{until:02}")
            self.assertEqual([int(line[17:19]) for line in text.splitlines()[1:]], [*times])

    def test_selection_and_formats_of_a_wrapped_ring(self):
        times = [[50, 51, 52, 53], [54, 55, 46, 47], [48, 49, 49, 49]] + [[49] * 4] * 6
        path = ring(self.tmp / "e", times, b"VEK KIB EL", 62, EVENTS)
        everything = rows("show", path)
        self.assertEqual([4 * int(r[0]) + int(r[1]) for r in everything], [*range(6, 36), *range(6)])
        self.assertEqual(rows("show", path, "-n", 3), everything[-3:])
        self.assertEqual(rows("show", path, "-n", 7, "--reverse"), everything[:-8:-1])
        self.assertEqual(rows("show", path, "--since", "1970-01-01T00:00:47", "--until",
                              "1970-01-01T00:00:50Z", "-n", 30), everything[1:31])
        for text in (list(csv.DictReader(run("show", path, "--format", "csv").splitlines())),
                     json.loads(run("show", path, "--format", "json"))):
            self.assertEqual([list(map(str, r.values()))[:6] for r in text], [r[:6] for r in everything])
        run("verify", path)
        lone = ring(self.tmp / "m", [[3, 1, 2, 2]]) / (LOG % 0)
        reader = subprocess.check_output([SOURCE / "docs/examples/read_veklogs.py", lone]).decode()
        self.assertEqual(reader.splitlines(), ["\t".join(r[1:]) for r in rows("show", lone)])
        self.assertEqual(rows("info", path)[0][1:7], ["events 9.8.7", "1", "9", "9", "4", "36"])
        self.assertEqual(rows("info", path)[0][9:11], ["event_log-9-8-7#1.vek", "yes"])

    def test_filters_and_several_paths(self):
        a = events(self.tmp / "a", (10, 7, 1, b"door opened"), (20, 8, 2, b"door shut"), (30, 9, 5, b"lamp"))
        b = events(self.tmp / "b", (5, 7, 3, b"door"), (20, 100, 3, b"drift"), (25, 200, 4, b""))
        for options, codes in (("--severity 2-4", "7 8 100 200"), ("--code 9,100-", "100 200 9"), ("--text door", "7 7 8"),
                               ("--text o --severity 1 --client 3", "7"), ("--client 4", ""), ("-n 2 --text door", "7 8"),
                               ("-n 4 --reverse", "9 200 100 8"), ("--since @20 --until @20", "8 100")):
            self.assertEqual(" ".join(r[7] for r in rows("show", *options.split(), a, b)), codes, options)
        self.assertEqual([Path(r[0]).name for r in rows("show", a, b)], ["b", "a", "a", "b", "b", "a"])
        run("show", "--lamp", 3, a, code=2)
        self.assertEqual(len(rows("show", a, self.tmp / "gone", b, code=3)), 6)

    def test_times_as_people_type_them(self):
        now = int(time.time())
        path = ring(self.tmp / "m", [[1769862658, 1769862659, 1769862660, now - 90000], [now - 5000, now - 60]])
        midnight = now - now % 86400
        for since, count in (("2026-01-31T12:30:59", 5), ("2026-01-31 13:30:59.75+01:00", 5),
                             ("2026-01-31T12:31Z", 4), ("@1769862660", 4), ("-1h", 1), ("-2d", 3), ("-84m", 2), ("now", 0),
                             ("today", sum(t >= midnight for t in (now - 5000, now - 60))),
                             ("yesterday", 2 + (now - 90000 >= midnight - 86400))):
            self.assertEqual(len(rows("show", "--since", since, path)), count, since)
        path = events(self.tmp / "e", (1769862658, 7, 1, b"", 4000000000))
        self.assertEqual(rows("show", "--local", path)[0][2], "2026-01-31T13:30:58.999999+01:00")
        self.assertEqual(rows("show", "--utc", path)[0][2], "2026-01-31T12:30:58.999999Z")

    def test_machine_formats(self):
        bad = b"0123456789012345678901234567" + "\u20ac".encode()[:2]
        texts = [b"a\tb\x1b[2J", b'q"u,o\\te', bad, "\u009bx\n".encode()]
        path = events(self.tmp / "e", *((t, 1, 1, text) for t, text in enumerate(texts, 1)))
        clean = bad[:28].decode() + "\ufffd"
        self.assertEqual([r[-1] for r in rows("show", path)],
                         ["a\\x09b\\x1b[2J", 'q"u,o\\\\te', clean, "\\xc2\\x9bx\\x0a"])
        text = run("show", path, "--format", "csv")
        self.assertEqual([r["message"] for r in csv.DictReader(text.splitlines(True))],
                         ["a\tb\\x1b[2J", 'q"u,o\\te', clean, "\\xc2\\x9bx\n"])
        for output in (run("show", path, "--format", "jsonl"), run("show", path, "--format", "json")):
            self.assertNotRegex(output, "[\x00-\x09\x0b-\x1f\x7f-\x9f]")
        self.assertEqual([json.loads(line)["message"] for line in run("show", path, "--format", "jsonl").splitlines()],
                         [texts[0].decode(), texts[1].decode(), clean, "\u009bx\n"])
        nan, inf = float("nan"), float("inf")
        values = [(5, 0.1), (9, nan), (5, 1e300), (77, -inf), (6, 100000.0)]
        path = ring(self.tmp / "m", [[struct.pack("<iIIhHHH", 5, 0, 0, 0, 7, 0, 2) + b"".join(
            struct.pack("<Hd", *value) for value in values)]])
        line = dict(zip(*csv.reader(run("show", path, "--format", "csv").splitlines())))
        self.assertEqual([*line][-3:], ["free_memory", "temperature_2", "kind_77"])
        self.assertEqual([line[c] for c in ("temperature", "load_value", "temperature_2", "kind_77", "pressure", "voltage")],
                         ["0.1", "NaN", "1e+300", "-Infinity", "100000", ""])
        line = json.loads(run("show", path, "--format", "jsonl"), parse_constant=self.fail)
        self.assertEqual({**line, "voltage": 1}, {**line, "temperature": 0.1, "load_value": None, "temperature_2": 1e300,
                                                  "kind_77": None, "pressure": 1e5, "voltage": 1})
        self.assertIn("temperature=0.1 load=NaN temperature=1e+300 kind_77=-Infinity", run("show", path))

    def test_follow_begins_and_goes_on(self):
        path = ring(self.tmp / "m", [[50, 51, 52, 53], [54, 55, 56, 57], [58, 59, 60, 61]])
        with follow("--format=tsv", path) as line:
            self.assertEqual([line().split("\t")[7] for _ in range(11)], ["channel", *map(str, range(52, 62))])
        lamps = [struct.pack("<iIIhIiQIH", 9, 0, 0, 0, 2, key, 5, 1, 0) for key in (3, 4, 5)]
        names = "lightsource_log.vek%.0s"
        path = ring(self.tmp / "l", [lamps[:2]], b"VEK KIB LS", 36, names)
        later = ring(self.tmp / "l2", [lamps[::2]], b"VEK KIB LS", 36, names)
        with follow("-n1", "--format=jsonl", path) as line:
            self.assertIn('"slot":1', line())
            os.replace(later / (names % 0), path / (names % 0))
            self.assertIn('"slot":1,"recorded_at":"1970-01-01T00:00:09.000000Z","utc_offset":0,"uptime":0,"client":0,"lamp_key":5', line())

    def test_progress_is_for_terminals(self):
        controller, terminal = pty.openpty()
        for index in range(3200):
            (self.tmp / (LOG % index)).write_bytes(struct.pack("<12sHHH", b"VEK KIB ML", 1, 110, 65535))
            os.truncate(self.tmp / (LOG % index), 18 + 110 * 65535)
            if index + 1 in (200, 800, 3200):  # the faster the machine, the more it takes to see any
                subprocess.run([VEKLOGS, "verify", self.tmp], stdout=subprocess.DEVNULL,
                               stderr=terminal, timeout=60)
                if select.select([controller], [], [], 0)[0]:
                    break
        os.set_blocking(controller, False)
        self.assertRegex(os.read(controller, 9999), rb"\d+ % of [\d.]+ GB, \d+ MB/s")


class Damage(Case):
    def test_faults_are_found_and_nothing_is_touched(self):
        wrapped = [[50, 51, 52, 53], [54, 55, 36, 37], [38, 39, 40, 41], [42, 43, 44, 45], [46, 47, 48, 49]]
        started = [[10, 11, 12, 13], [14, 15, 16, 17], [18, 19]]

        def poke(n, offset, data):
            with open(LOG % n, "r+b") as file:
                os.pwrite(file.fileno(), data, offset)

        def time(n, slot, seconds):
            poke(n, 18 + 110 * slot, struct.pack("<i", seconds))

        cases = [  # files, pointer, damage; file, slot and cause found
            (wrapped, "1", lambda: 0),
            (started, "2", lambda: 0),
            (started[:2] + [[]], "2", lambda: 0),
            (wrapped, "1", lambda: os.truncate(LOG % 3, 457), LOG % 3, "", "short file: 457 of 458"),
            (wrapped, "1", lambda: poke(0, 3, b"X"), LOG % 0, "", "wrong header: not the cookie"),
            (wrapped, "1", lambda: poke(4, 12, b"\2"), LOG % 4, "", "header: version 2"),
            (wrapped, "1", lambda: poke(4, 14, b"\1"), LOG % 4, "", "header: record size 1"),
            (wrapped, "1", lambda: poke(4, 16, b"\3"), LOG % 4, "", "record count 3 instead of 4"),
            (started, "2", lambda: poke(1, 128, bytes(110)), LOG % 1, "2", "used after unused slot 1"),
            (started, "2", lambda: poke(0, 348, bytes(110)), LOG % 0, "3", "unused, though later"),
            (wrapped, "1", lambda: time(3, 2, 41), LOG % 3, "2", "falls from 1970-01-01T00:00:43"),
            (wrapped, "1", lambda: time(4, 3, 51), LOG % 0, "0", "not at the seam"),
            (wrapped, "1", lambda: time(2, 0, 1), LOG % 2, "0", "falls"),
            (started, "2", lambda: time(2, 0, 16), LOG % 2, "0", "falls"),
            (wrapped, "1", lambda: os.unlink(LOG % 3), LOG % 3, "", "gap"),
            (wrapped, "7", lambda: 0, POINTER, "", "names file 7, which does not exist"),
            (wrapped, "4", lambda: 0, POINTER, "", "but the newest record is in file 1"),
            (wrapped, "", lambda: 0, POINTER, "", "holds no file number"),
            (wrapped, "1", lambda: os.unlink(POINTER), POINTER, "", "missing"),
            (started, "2", lambda: shutil.copy(LOG % 2, LOG % 7), LOG % 7, "", "beyond the ring of 5 files"),
            (wrapped, "1", lambda: poke(2, 132, struct.pack("<I", 1000000)), LOG % 2, "1", "microseconds above 999999"),
            (started, "2", lambda: (os.unlink(POINTER), os.symlink(POINTER, POINTER)), POINTER, "", "Too many levels", 3),
            (started[:1], "0", lambda: os.unlink(POINTER)),
            (wrapped[:1] + [[54, 55, 56, 57]] + wrapped[2:], "2", lambda: 0),
        ]
        for number, (times, pointer, damage, *fault) in enumerate(cases):
            with self.subTest(number=number, fault=fault):
                path = ring(self.tmp / str(number), times)
                (path / POINTER).write_text(pointer)
                os.chdir(path)
                damage()
                before = snapshot(path)
                found = rows("verify", path, code=fault[3] if fault[3:] else 1 if fault else 0)
                self.assertEqual([r[:2] for r in found if r[5] != "sound"], [fault[:2]] if fault else [])
                self.assertTrue(not fault or any(fault[2] in r[5] for r in found))
                self.assertEqual(sorted(r[0] for r in found),
                                 sorted({LOG % n for n in range(len(times))} | {*fault[:1]}))
                for command in ("info", "show", "show -n 2 --reverse", "export", "plot", "report"):
                    done = subprocess.run([VEKLOGS, *command.split(), path], capture_output=True)
                    self.assertIn(done.returncode, (0, 1, 3), command)
                self.assertEqual(snapshot(path), before)
        os.chdir(self.tmp / "3")
        os.truncate(LOG % 3, 9)
        self.assertEqual(rows("verify", LOG % 3, code=1)[0][0], LOG % 3)


    def test_what_is_left_out_is_told(self):
        times = [[10, 11, 12, 13], [14, 15, 16, 17], [18, 19, 20, 21], [22, 23, 24, 25], [26, 27]]
        path = ring(self.tmp / "root/data", times)
        ring(self.tmp / "root/settings", [[1]], b"VEK KIB LS", 36, "lightsource_log.vek%.0s")
        (path / POINTER).write_text("1")
        os.unlink(path / (LOG % 2))
        os.truncate(path / (LOG % 0), 400)
        before = snapshot(self.tmp)
        for command in ("info", "verify", "export", "show --log measurements", "plot --log measurements", "report"):
            output, told = messages(*command.split(), self.tmp / "root", code=1)
            self.assertIn(f"missing: {LOG % 2}\n", told, command)
            self.assertRegex(told, f"hidden from the instrument.*: {LOG % 3} to {LOG % 4}\n", command)
            self.assertIn(f"{LOG % 0}: short file: 400 of 458 bytes", told, command)
            self.assertEqual("copy it first" in told, command in ("info", "verify", "report"), command)
        output, told = messages("info", self.tmp / "root", "--format", "json", code=1)
        self.assertEqual([[row[key] for key in ("next_file", "missing", "unfit", "hidden")] for row in json.loads(output)],
                         [[LOG % 1, 1, 1, 2], ["lightsource_log.vek", 0, 0, 0]])
        self.assertIn(f"go on with {LOG % 1}, though the newest record is in {LOG % 4}", told)
        lines = [line.rstrip() for line in run("info", self.tmp / "root", code=1).splitlines()]
        self.assertEqual(len({line.find(word) for line, word in zip(lines, ("log ", "measurements", "lamps"))}), 1)
        self.assertEqual(snapshot(self.tmp), before)
        path.chmod(0)
        self.tmp.chmod(0o755)
        done = subprocess.run([VEKLOGS, "show", self.tmp / "root"], capture_output=True, text=True,
                              user=65534 if os.getuid() == 0 else None)
        path.chmod(0o700)
        self.assertEqual((done.returncode, len(done.stdout.splitlines())), (3, 2), done)
        self.assertIn("data: Permission denied", done.stderr)

    def test_random_bytes_hide_no_curve_that_comes_often(self):
        path, slots = self.tmp / "m", 20000
        values = [struct.pack("<Hd", kind, 1) for kind in range(1, 10)]
        noise = [struct.pack("<iIIhHHH", 1 + i, 0, 0, 0, 7, 0, i) + b"".join(values) for i in range(slots)]
        real = [struct.pack("<iIIhHHHHd", slots + i, 0, 0, 0, 7, 0, 1 + i % 2, 99, i) for i in range(slots)]
        path.mkdir()
        for index, records in enumerate((noise, real)):
            content = b"".join(record.ljust(110, b"\0") for record in records)
            (path / (LOG % index)).write_bytes(struct.pack("<12sHHH", b"VEK KIB ML", 1, 110, slots) + content)
        (path / POINTER).write_text("1")
        page = messages("report", path, code=0)[0]
        self.assertIn('"complete":false', page)
        for channel in (1, 2):
            count = re.search(rf'"channel {channel} kind_99","quantity":"kind_99","count":(\d+)', page)[1]
            self.assertGreater(int(count), 0.75 * slots / 2)

    def test_what_unfit_files_still_hold(self):
        path = ring(self.tmp / "m", [[50, 51, 52, 53], [54, 55, 36, 37], [38, 39, 40, 41], [42, 43, 44, 45], [46, 47, 48, 49]])
        os.truncate(path / (LOG % 1), 18 + 3 * 110 + 50)
        with open(path / (LOG % 3), "r+b") as file:
            file.write(b"X")
        before = snapshot(path)
        found = [(int(r[8]), int(r[1]), r[0]) for r in rows("show", "--damaged", path, code=1)]
        self.assertEqual(found, [(t, 1, "yes") for t in [36]] + [(t, 2, "no") for t in range(38, 42)] +
                         [(t, 3, "yes") for t in range(42, 46)] + [(t, 4, "no") for t in range(46, 50)] +
                         [(t, 0, "no") for t in range(50, 54)] + [(t, 1, "yes") for t in (54, 55)])
        lines = run("export", "--damaged", "--since", "@54", "--until", "@43", path, code=1).splitlines()
        self.assertEqual([(line[17:19], line.split("\t")[-1]) for line in lines[1:]],
                         [(str(t), "yes" if t in (43, 44, 45, 54) else "no") for t in range(43, 55)])
        self.assertEqual(len(rows("show", "--damaged", path / (LOG % 1), code=1)), 3)
        self.assertEqual(snapshot(path), before)

    def test_a_writer_at_work_is_no_damage(self):
        slots, path = 2000, self.tmp / "m"
        record = bytearray(struct.pack("<iIIhHHH", 0, 0, 0, 0, 7, 0, 0).ljust(110, b"\0"))
        header = struct.pack("<12sHHH", b"VEK KIB ML", 1, 110, slots)
        path.mkdir()
        stop = threading.Event()

        def write():  # as the library does it, one round and a half
            for number in range(int(7.5 * slots)):
                file, slot = divmod(number, slots)
                name = path / (LOG % (file % 5))
                if slot == 0:
                    if file > 0:
                        (path / POINTER).write_text(str(file % 5))
                    if not name.exists():
                        with open(path / ".New", "wb") as new:
                            new.truncate(18 + slots * 110)
                        os.replace(path / ".New", name)
                        time.sleep(0.002)
                    out = stack.enter_context(open(name, "r+b", buffering=0)).fileno()
                    os.pwrite(out, header, 0)
                struct.pack_into("<i", record, 0, 1 + number // 10)
                os.pwrite(out, record, 18 + slot * 110)
                if number % 30 == 0:
                    time.sleep(0.001)
            stop.set()

        stack = self.enterContext(contextlib.ExitStack())
        writer = threading.Thread(target=write)
        writer.start()
        self.addCleanup(writer.join)
        while not (path / (LOG % 0)).exists():
            time.sleep(0.001)
        while not stop.is_set():
            self.assertEqual(messages("verify", path, code=0)[1], "")


class Documents(Case):
    def test_dumps_and_commands_are_true(self):
        root = self.tmp / "instrument"
        files = {"data/event_log-1-2-7#0.vek": 4030018, "settings/lightsource_log.vek": 36018,
                 "data/measurement_log0.vek": 7150018}
        for dump, (name, size) in zip(examples("veklogfiles.5"), files.items(), strict=True):
            content = bytes.fromhex("".join(line[10:58] for line in dump.splitlines()))
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            (root / name).write_bytes(content.ljust(size, b"\0"))
        (root / "data" / POINTER).write_text("0")
        shown = [rows("show", root / name) for name in files]
        self.assertEqual(["\t".join(row[1:]) for log in shown for row in log], [
            "0\t2023-11-14T22:13:20.250000Z\t60\t5\t0\t100\t2\t52.5163\t-13.1234567\t34.5\tlamp\\x09ignited",
            "0\t2023-11-14T22:13:20.000000Z\t0\t0\t0\t1\t2\t3600000\t9",
            "0\t2023-11-14T22:13:20.000000Z\t-90\t0\t0\t7\t3\t\t\t\t\t21.5\t\t\t\t0\t"])
        page = (SOURCE / "docs/man/veklogfiles.5").read_text().replace("\\fITAB\\fR", "\t")
        self.assertIn(run("export", root), page)
        run("show", root, code=2)
        before = snapshot(root)
        path = f"{Path(VEKLOGS).parent}:{os.environ['PATH']}"
        pages = re.findall("`man (.*?)`", (SOURCE / "README.md").read_text())
        for command in "".join(examples("veklogs.1")).splitlines() + [
                f"man --warnings {SOURCE}/{page}" for page in pages]:
            done = subprocess.run(command, shell=True, cwd=self.tmp, env={"PATH": path}, capture_output=True)
            self.assertEqual(done.returncode, 124 if command.startswith("timeout") else 0, command)
            self.assertNotIn(b"warning:", done.stderr)
        self.assertEqual(snapshot(root), before)
        self.assertIn("temperature", (self.tmp / "temperature.svg").read_text())
        self.assertTrue((self.tmp / "lamps.png").read_bytes().startswith(b"\x89PNG"))

    def test_examples_run(self):
        for directory in ("data", "settings"):
            (self.tmp / "vek" / directory).mkdir(parents=True)
        for name, output in (
                ("libVEKLogFiles", b"a reply of 70 bytes\n7\t0\ttemperature=21.5\n"),
                ("libVEKLogFiles", b"1 events, the newest, of 1700000000: power on\n"
                                   b"a reply of 132 bytes\n7\t0\ttemperature=21.5\n"),
                ("README", b"1 events, the newest: door opened\na reply of 70 bytes\n")):
            example = Path(VEKLOGS).parents[1] / f"tests/tool/{name}_example"
            self.assertEqual(subprocess.check_output(example, cwd=self.tmp, env={}), output)
        self.assertEqual(len(rows("show", self.tmp / "vek/settings")), 2)

    def test_options_are_documented_and_completed(self):
        page = (SOURCE / "docs/man/veklogs.1").read_text().replace("\\-", "-")
        def completed(*words):
            script = f"""source {SOURCE}/tools/veklogs.bash-completion
                COMP_WORDS=(veklogs "$@"); COMP_CWORD=$#; _veklogs; echo "${{COMPREPLY[@]}}" """
            return subprocess.check_output(["bash", "-c", script, "bash", *words], text=True).split()

        self.assertEqual(completed("show", "--format", "="), "table tsv csv json jsonl".split())
        self.assertEqual(completed("show", "--format", "=", "js"), ["json", "jsonl"])
        for command in ("info", "show", "export", "verify", "plot", "report"):
            options = set(re.findall(r"^  (?:-h,)?(--?\w+)", run(command, "--help"), re.M))
            self.assertEqual((set(completed(command, "-")), {o for o in options if o not in page}),
                             (options, set()))
        path = ring(self.tmp / "m", [[1, 2]])
        for args, code, told in (
                ("", 2, "info, show, export"), ("inof x", 2, "unknown command inof; did you mean info?"), ("show", 2, "missing"),
                ("show -n -1 x", 2, '-n: "-1" is not a number'), ("show --format 2 x", 2, '"2" is not table, tsv, csv, json or'),
                ("show --fromat csv x", 2, "unknown option --fromat; did you mean --format?"), ("show --since", 2, "--since: its"),
                ("show --since 2026-02-31 x", 2, '--since: "2026-02-31" is not'), ("export x y", 2, "takes one path"),
                ("show --reverse=x x", 2, "--reverse takes no"), ("show --code 3-1 x", 2, '--code: "3-1" is not a list'),
                ("plot --image gif x", 2, '"gif" is not svg or png'), (f"show --log lamps {path}", 2, "holds measurements"),
                (f"show --code 1 {path}", 2, "--code chooses among events"), ("info /dev/null", 3, "not a file of any log"),
                ("show --since @9 --until @8 " + str(path), 2, "--since is later"), ("report --since @9 --until @8 x", 2, "--since is later"),
                (f"report --log lamps {path}", 2, "holds no log lamps"), ("verify missing", 3, "missing: No such file")):
            error = messages(*args.split(), code=code)[1]
            self.assertIn(told, error)
            self.assertRegex(error, r"^veklogs: .*\n$")
        self.assertRegex(run("--version"), r"^veklogs \d+\.\d+\.\d+\n$")
        for command in (f"PATH= {VEKLOGS} plot {path}", f"{VEKLOGS} plot {path} > /dev/full"):
            done = subprocess.run(command, shell=True, capture_output=True)
            self.assertEqual(done.returncode, 3, command)


class Loading(Case):
    """Into databases, with the names and types that the page has."""

    def setUp(self):
        super().setUp()
        page = (SOURCE / "docs/man/veklogs.1").read_text()
        self.types = {name: type for names, type in re.findall(r"^([a-z_0-9, ]+)\t(\w+)(?:\t|$)", page, re.M)
                      for name in names.split(", ")}
        inf, nan = float("inf"), float("nan")
        values = [[(5, 0.1), (5, 2.5), (77, 1e-300)], [(9, 1 / 3), (6, -inf)], [(9, nan)], []]
        self.logs = {
            "events": events(self.tmp / "e", (10, 7, 1, b"a\tb\\\n"), (20, 65535, 0, b'say "x", \x1b[m'), (30, 8, 2, b"\xe2\x82")),
            "lamps": ring(self.tmp / "l", [[struct.pack("<iIIhIiQIH", t, 0, 0, 0, 2, t, 1 << 62, 2**32 - 1, 0) for t in (1, 2)]],
                          b"VEK KIB LS", 36, "lightsource_log.vek%.0s"),
            "measurements": ring(self.tmp / "m", [[struct.pack("<iIIhHHH", t, 5, 0, 0, 7, 0, 2) + b"".join(
                struct.pack("<Hd", *value) for value in record) for t, record in enumerate(values, 1)]])}

    def load(self, ask, copy, copy_json, tsv_messages):
        """Each log by each way, by which the database then says the same of it."""
        expected = {"events": ("count(*), sum(code), min(latitude)", "3 65550 52.5163"),
                    "lamps": ("count(*), min(burning_ms), max(ignitions)", f"2 {1 << 62} 4294967295"),
                    "measurements": ("count(*), sum(temperature), sum(temperature_2), sum(kind_77)", "4 0.1 2.5 1e-300")}
        messages = {"csv": ["a\tb\\\n", 'say "x", \\x1b[m', "\ufffd"], "tsv": tsv_messages,
                    "jsonl": ["a\tb\\\n", 'say "x", \x1b[m', "\ufffd"]}
        for (log, path), format in itertools.product(self.logs.items(), messages):
            table = f"{log}_{format}"
            names = run("show", path, "--format", "csv").splitlines()[0].split(",")
            ask(f"create table {table} ({', '.join(f'{name} {self.types[name]}' for name in names)})")
            (copy_json if format == "jsonl" else copy)(table, format, names, run("show", path, "--format", format))
            what, answer = expected[log]
            self.assertEqual(ask(f"select {what} from {table}"), [answer.split()], table)
            if log == "events":
                self.assertEqual([row[0] for row in ask(f"select message from {table}")], messages[format], table)

    def test_sqlite(self):
        database = sqlite3.connect(self.tmp / "db", isolation_level=None)

        def copy(table, format, names, text):
            (self.tmp / "text").write_text(text)
            mode = ".mode csv" if format == "csv" else '.mode ascii\n.separator "\\t" "\\n"'
            subprocess.run(["sqlite3", self.tmp / "db"], check=True, text=True,
                           input=f"{mode}\n.import --skip 1 {self.tmp / 'text'} {table}\n")

        def copy_json(table, format, names, text):
            members = ", ".join(f"line ->> '{name}'" for name in names)
            database.executemany(f"insert into {table} select {members} from (select ? as line)", zip(text.splitlines()))

        self.load(lambda sql: [[*map(str, row)] for row in database.execute(sql)], copy, copy_json,
                  ["a\\x09b\\\\\\x0a", 'say "x", \\x1b[m', "\ufffd"])
        database.close()

    def test_postgresql(self):
        binaries = max(Path("/usr/lib/postgresql").glob("*/bin"))
        as_other = {"user": "postgres", "group": "postgres"} if os.getuid() == 0 else {}
        if as_other:  # the server refuses root
            shutil.chown(self.tmp, "postgres", "postgres")

        def call(*args, **more):
            return subprocess.run([binaries / args[0], *map(str, args[1:])], check=True, cwd=self.tmp, text=True,
                                  stdout=subprocess.PIPE, **as_other, **more).stdout

        def psql(command, text=""):
            return call("psql", "-XqAt", "-F", "\x01", "-R", "\x02", "-h", self.tmp, "-U", "x", "postgres", "-c", command, input=text)

        def ask(command):
            return [row.split("\x01") for row in psql(command).removesuffix("\n").split("\x02")]

        def copy(table, format, names, text):
            options = "format csv, header" if format == "csv" else "format text, header, null ''"
            psql(f"\\copy {table} from pstdin with ({options})", text)

        def copy_json(table, format, names, text):
            psql(f"create table {table}_lines (line jsonb)")
            psql(f"\\copy {table}_lines from pstdin with (format csv, quote e'\\x01', delimiter e'\\x02')", text)
            psql(f"insert into {table} select (jsonb_populate_record(null::{table}, line)).* from {table}_lines")

        call("initdb", "-D", self.tmp / "db", "-A", "trust", "-U", "x", "-N", "-E", "UTF8", "--locale=C.UTF-8")
        server = subprocess.Popen(  # a killed test leaves it behind for a while only
            ["timeout", "300", binaries / "postgres", "-D", self.tmp / "db", "-F", "-h", "", "-k", self.tmp],
            cwd=self.tmp, stderr=subprocess.DEVNULL, **as_other)
        try:
            while subprocess.run([binaries / "pg_isready", "-q", "-h", self.tmp]).returncode:
                self.assertIsNone(server.poll())
                time.sleep(0.1)
            self.assertEqual({row[0] for row in ask("select word from pg_get_keywords()")} & self.types.keys(), set())
            self.load(ask, copy, copy_json, ["a\tb\\\n", 'say "x", \x1b[m', "\ufffd"])
            self.assertEqual([ask(f"select count(*) from measurements_{format} where load_value = 'NaN'")
                              for format in ("csv", "tsv", "jsonl")], [[["1"]], [["1"]], [["0"]]])
        finally:
            server.terminate()
            server.wait()


if __name__ == "__main__":
    unittest.main()

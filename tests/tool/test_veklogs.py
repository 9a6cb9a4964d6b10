import csv, glob, hashlib, json, os, pty, re, shutil, struct, subprocess, sys, tempfile, unittest
from pathlib import Path

VEKLOGS, WRITER, LIB = (os.environ[name] for name in ("VEKLOGS", "WRITER", "LIB"))
SOURCE = Path(__file__).resolve().parents[2]
KINDS = ("events", "lamps", "measurements")
START = 1700000000


def run(*args, code=0, **options):
    done = subprocess.run([VEKLOGS, *map(str, args)], capture_output=True, timeout=60, **options)
    assert done.returncode == code, (args, done)
    assert code == 0 or done.stderr or args[0] == "verify", args
    return done.stdout.decode()


def rows(*args, code=0):
    return [line.split("\t") for line in run(*args, "--format", "tsv", code=code).splitlines()[1:]]


def write(root, *args):
    for name in ("data", "settings"):
        (root / name).mkdir(parents=True, exist_ok=True)
    subprocess.run([WRITER, *map(str, args)], env={"VEK_ROOT": str(root)}, check=True)


def ring(directory, cookie, names, times, slots=4):
    """Fabricates files of a small ring; times holds a list for each file."""
    directory.mkdir()
    size = {b"VEK KIB ML": 110, b"VEK KIB EL": 62, b"VEK KIB LS": 36}[cookie]
    for index, seconds in enumerate(times):
        records = [struct.pack("<iIIhHHi", t, 0, 0, 0, 7 * (t != 0), 0, t).ljust(size, b"\0")
                   for t in seconds + [0] * (slots - len(seconds))]
        header = struct.pack("<12sHHH", cookie, 1, size, slots)
        (directory / (names % index)).write_bytes(header + b"".join(records))
    return directory


def measurements(directory, times, pointer):
    (ring(directory, b"VEK KIB ML", "measurement_log%d.vek", times)
     / "currentMeasurementLog").write_text(pointer)
    return directory


def snapshot(root):
    stats = {path: path.stat() for path in root.rglob("*")}
    return {path: (s.st_ino, s.st_mode, s.st_size, s.st_mtime_ns, s.st_ctime_ns,
                   path.is_file() and hashlib.sha256(path.read_bytes()).digest())
            for path, s in stats.items()}


class Case(unittest.TestCase):
    def setUp(self):
        self.tmp = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.tmp)

    def instrument(self):
        root = self.tmp / "instrument"
        for log, count in (("events", 20), ("lamps", 3), ("measurements", 65100)):
            write(root, log, 0, count)
        return root


class Reading(Case):
    def test_records_are_the_readers_and_the_librarys(self):
        root = self.instrument()
        for path in glob.glob(f"{root}/*/*.vek"):
            reader = subprocess.check_output([SOURCE / "docs/examples/read_veklogs.py", path])
            shown = [row[1:] for row in rows("show", path)]
            self.assertEqual(reader.decode().replace("lamp\t", "lamp\\x09").splitlines(),
                             ["\t".join(row) for row in shown])
        self.assertEqual([(r[1].split()[0], r[6], r[9], r[10]) for r in rows("info", root)],
                         [("events", "20", "event_log-1-2-7#0.vek", "no"),
                          ("measurements", "65100", "measurement_log1.vek", "no"),
                          ("lamps", "3", "lightsource_log.vek", "no")])
        for since, until in ((0, 2**32 - 1), (32480, 32520), (32520, 100), (-9, -5), (10, 10)):
            write(root, self.tmp / "text", START + since, START + until)
            iso = [subprocess.getoutput(f"date -u -d @{START + t} +%FT%TZ") for t in (since, until)]
            self.assertEqual(run("export", root, "--since", iso[0], "--until", iso[1]),
                             (self.tmp / "text").read_text())

    def test_selection_and_formats_of_a_wrapped_ring(self):
        times = [[50, 51, 52, 53], [54, 55, 46, 47], [48, 49, 49, 49]]
        path = ring(self.tmp / "e", b"VEK KIB EL", "event_log-9-8-7#%d.vek",
                    times + [[49] * 4] * 6)
        everything = rows("show", path)
        order = [(int(r[0]), int(r[1])) for r in everything]
        self.assertEqual(order, [(1, 2), (1, 3)] + [(f, s) for f in range(2, 9) for s in range(4)]
                         + [(0, s) for s in range(4)] + [(1, 0), (1, 1)])
        self.assertEqual(rows("show", path, "-n", 3), everything[-3:])
        self.assertEqual(rows("show", path, "-n", 7, "--reverse"), everything[:-8:-1])
        self.assertEqual(rows("show", path, "--since", "1970-01-01T00:00:47", "--until",
                              "1970-01-01T00:00:50Z", "-n", 30), everything[1:31])
        for text in (list(csv.DictReader(run("show", path, "--format", "csv").splitlines())),
                     json.loads(run("show", path, "--format", "json"))):
            self.assertEqual([list(map(str, r.values()))[:6] for r in text],
                             [r[:6] for r in everything])
        run("verify", path)
        info = json.loads(run("info", path, "--format", "json"))[0]
        self.assertEqual([info[k] for k in ("log", "files", "ring", "slots", "used", "writing",
                                            "wrapped")],
                         ["events 9.8.7", 9, 9, 4, 36, "event_log-9-8-7#1.vek", True])

    def test_follow_crosses_into_the_next_file(self):
        root = self.tmp / "root"
        write(root, "measurements", 0, 64999)
        with subprocess.Popen([VEKLOGS, "show", "-n", "1", "--follow", "--format", "json", root],
                              stdout=subprocess.PIPE) as follower:
            seen = [json.loads(follower.stdout.readline())]
            write(root, "measurements", 64999, 3)
            seen += [json.loads(follower.stdout.readline()) for _ in range(3)]
            follower.kill()
        self.assertEqual([(r["file"], r["slot"]) for r in seen],
                         [(0, 64998), (0, 64999), (1, 0), (1, 1)])

    def test_progress_is_for_terminals(self):
        (self.tmp / "d").mkdir()
        header = struct.pack("<12sHHH", b"VEK KIB ML", 1, 110, 65535)
        for index in range(200):
            with open(self.tmp / "d" / f"measurement_log{index}.vek", "wb") as file:
                file.write(header)
                file.truncate(18 + 110 * 65535)
        controller, terminal = pty.openpty()
        subprocess.run([VEKLOGS, "verify", self.tmp / "d"], stdout=subprocess.DEVNULL,
                       stderr=terminal, timeout=120)
        self.assertRegex(os.read(controller, 9999), rb"\d+ % of 1.44 GB, \d+ MB/s")


class Damage(Case):
    GOOD = [[50, 51, 52, 53], [54, 55, 36, 37], [38, 39, 40, 41], [42, 43, 44, 45], [46, 47, 48, 49]]
    FIRST_ROUND = [[10, 11, 12, 13], [14, 15, 16, 17], [18, 19]]

    def damage(self, name, times, pointer, change):
        directory = measurements(self.tmp / name, times, pointer)
        change(lambda n: directory / (f"measurement_log{n}.vek" if n != "p" else
                                      "currentMeasurementLog"))
        return directory

    def test_faults_are_found_and_nothing_is_touched(self):
        def poke(n, offset, data):
            def change(path):
                content = bytearray(path(n).read_bytes())
                content[offset:offset + len(data)] = data
                path(n).write_bytes(content)
            return change

        def time(n, slot, seconds):
            return poke(n, 18 + 110 * slot, struct.pack("<i", seconds))

        def unlink(*files):
            return lambda path: [path(n).unlink() for n in files]

        log = "measurement_log%d.vek"
        pointer = "currentMeasurementLog"
        cases = [
            (self.GOOD, "1", lambda path: None, []),
            (self.FIRST_ROUND, "2", lambda path: None, []),
            (self.FIRST_ROUND[:2] + [[]], "2", lambda path: None, []),
            (self.GOOD, "1", lambda path: os.truncate(path(3), 457), [(log % 3, "", "short file: 457 of 458")]),
            (self.GOOD, "1", lambda path: os.truncate(path(3), 5), [(log % 3, "", "short file: 5 of")]),
            (self.GOOD, "1", poke(0, 3, b"X"), [(log % 0, "", "wrong header: not the cookie")]),
            (self.GOOD, "1", poke(4, 12, b"\2"), [(log % 4, "", "wrong header: version 2")]),
            (self.GOOD, "1", poke(4, 14, b"\1"), [(log % 4, "", "wrong header: record size 1")]),
            (self.GOOD, "1", poke(4, 16, b"\3"), [(log % 4, "", "wrong header: record count 3 instead of 4")]),
            (self.FIRST_ROUND, "2", poke(1, 18 + 110, bytes(110)), [(log % 1, "2", "used after unused slot 1")]),
            (self.FIRST_ROUND, "2", poke(0, 18 + 330, bytes(110)), [(log % 0, "3", "unused, though later")]),
            (self.GOOD, "1", time(3, 2, 41), [(log % 3, "2", "falls from 1970-01-01T00:00:43.000000Z to 1970-01-01T00:00:41")]),
            (self.GOOD, "1", time(4, 3, 51), [(log % 0, "0", "not at the seam")]),
            (self.GOOD, "1", time(2, 0, 1), [(log % 2, "0", "falls")]),
            (self.FIRST_ROUND, "2", time(2, 0, 16), [(log % 2, "0", "falls")]),
            (self.GOOD, "1", unlink(3), [(log % 3, "", "gap")]),
            (self.GOOD, "1", unlink(3, 4), [(log % 3, "", f"gap in the file set: missing, as all up to {log % 4}")]),
            (self.FIRST_ROUND, "2", unlink(0), [(log % 0, "", "gap")]),
            (self.GOOD, "7", lambda path: None, [(pointer, "", "names file 7, which does not exist")]),
            (self.GOOD, "4", lambda path: None, [(pointer, "", "but the newest record is in file 1")]),
            (self.GOOD, "", lambda path: None, [(pointer, "", "holds no file number")]),
            (self.GOOD, "1", unlink("p"), [(pointer, "", "missing")]),
            (self.GOOD + [[56]], "1", lambda path: None, [(log % 5, "", "beyond the ring of 5 files")]),
        ]
        for number, (times, named, change, expected) in enumerate(cases):
            with self.subTest(number=number, expected=expected):
                path = self.damage(str(number), times, named, change)
                before = snapshot(path)
                found = rows("verify", path, code=1 if expected else 0)
                faults = [(r[0], r[1], r[5]) for r in found if r[5] != "sound"]
                self.assertEqual([f[:2] for f in faults], [e[:2] for e in expected])
                for fault, wanted in zip(faults, expected):
                    self.assertIn(wanted[2], fault[2])
                self.assertEqual({r[0] for r in found}, {log % n for n in range(len(times))
                                                         if n != 4 or "up to" not in str(expected)}
                                 | {f[0] for f in faults})
                for command in ("info", "show", "show -n 2 --reverse", "export", "plot"):
                    subprocess.run([VEKLOGS, *command.split(), path], capture_output=True)
                self.assertEqual(snapshot(path), before)


class Documents(Case):
    def examples(self, page):
        text = (SOURCE / "docs/man" / page).read_text().replace("\\-", "-").replace("\\e", "\\")
        return re.findall(r"^\.(?:EX|ft CW)\n(.*?)^\.(?:EE|ft)$", text, re.M | re.S)

    def test_commands_and_dumps_are_true(self):
        root = self.instrument()
        dumps = self.examples("veklogfiles.5")
        for dump, name in zip(dumps, ("data/event_log-1-2-7#0.vek", "settings/lightsource_log.vek",
                                      "data/measurement_log0.vek"), strict=True):
            shown = subprocess.check_output(["hexdump", "-vC", root / name]).decode()
            size = 18 + struct.unpack_from("<H", (root / name).read_bytes(), 14)[0]
            wanted = re.findall(r"^\S+  ([0-9a-f ]{48})", dump, re.M)
            self.assertEqual(bytes.fromhex("".join(wanted)), (root / name).read_bytes()[:size])
            self.assertTrue(shown.startswith(dump.splitlines()[0]))
        before = snapshot(root)
        commands = "".join(self.examples("veklogs.1")).splitlines()
        path = f"{Path(VEKLOGS).parent}:{os.environ['PATH']}"
        for command in commands:
            done = subprocess.run(command, shell=True, cwd=self.tmp, env={"PATH": path})
            self.assertEqual(done.returncode, 124 if command.startswith("timeout") else 0, command)
        self.assertEqual(snapshot(root), before)
        self.assertIn("temperature", (self.tmp / "temperature.svg").read_text())
        self.assertTrue((self.tmp / "lamps.png").read_bytes().startswith(b"\x89PNG"))

    def test_the_librarys_example_runs(self):
        (self.tmp / "vek/data").mkdir(parents=True)
        (self.tmp / "a.cpp").write_text(self.examples("libVEKLogFiles.3")[0])
        flags = [f"-I{SOURCE}/{d}" for d in ("include", "platform")] + [
            f"-{option}{LIB}{d}" for d in ("", "/platform") for option in ("L", "Wl,-rpath,")]
        libraries = ["-lVEKLogFiles", "-lVEKmsgClasses", "-lVEKutil"]
        subprocess.run(["c++", "-std=c++17", "a.cpp", *flags, *libraries], cwd=self.tmp, check=True)
        self.assertEqual(subprocess.check_output("./a.out", cwd=self.tmp), b"7\t0\ttemperature=21.5\n")

    def test_options_are_documented_and_completed(self):
        page = (SOURCE / "docs/man/veklogs.1").read_text().replace("\\-", "-")
        complete = f"""source {SOURCE}/tools/veklogs.bash-completion
            COMP_WORDS=(veklogs "$1" -); COMP_CWORD=2; _veklogs; echo "${{COMPREPLY[@]}}" """
        for command in ("info", "show", "export", "verify", "plot"):
            options = set(re.findall(r"^  (?:-h,)?(--?\w+)", run(command, "--help"), re.M))
            completed = subprocess.check_output(["bash", "-c", complete, "bash", command]).decode()
            self.assertEqual(set(completed.split()), options)
            self.assertEqual({o for o in options if o not in page}, set())
        for args, code in ((["--help"], 0), ([], 2), (["show"], 2), (["show", "-n", "-1", "x"], 2),
                           (["show", "--since", "2026-02-31", "x"], 2), (["info", self.tmp], 3),
                           (["verify", "missing"], 3), (["show", __file__], 3),
                           (["show", self.instrument()], 2)):
            run(*args, code=code)


if __name__ == "__main__":
    unittest.main()

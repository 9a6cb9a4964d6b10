import csv, json, os, pty, re, struct, subprocess, tempfile, unittest
from pathlib import Path

VEKLOGS = os.environ["VEKLOGS"]
SOURCE = Path(__file__).resolve().parents[2]
LOG = "measurement_log%d.vek"
POINTER = "currentMeasurementLog"


def run(*args, code=0):
    done = subprocess.run([VEKLOGS, *map(str, args)], capture_output=True, timeout=60)
    assert done.returncode == code, (args, done)
    assert code == 0 or done.stderr or args[0] == "verify", args
    return done.stdout.decode()


def rows(*args, code=0):
    return [line.split("\t") for line in run(*args, "--format", "tsv", code=code).splitlines()[1:]]


def examples(page):
    text = (SOURCE / "docs/man" / page).read_text().replace("\\-", "-")
    return re.findall(r"^\.(?:EX|ft CW)\n(.*?)^\.(?:EE|ft)$", text, re.M | re.S)


def ring(directory, times, cookie=b"VEK KIB ML", size=110, names=LOG):
    """Fabricates files of four slots; times holds a list for each file."""
    directory.mkdir()
    for index, seconds in enumerate(times):
        records = [struct.pack("<iIIhHHHHd", t, 0, 0, 0, 7 * (t != 0), 0, t, t, t).ljust(size, b"\0")
                   for t in seconds + [0] * (4 - len(seconds))]
        header = struct.pack("<12sHHH", cookie, 1, size, 4)
        (directory / (names % index)).write_bytes(header + b"".join(records))
    return directory


def snapshot(root):
    return {path: (s.st_ino, s.st_mode, s.st_size, s.st_mtime_ns, s.st_ctime_ns,
                   path.is_file() and path.read_bytes())
            for path in [root, *root.rglob("*")] for s in [path.stat()]}


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
        path = ring(self.tmp / "e", times, b"VEK KIB EL", 62, "event_log-9-8-7#%d.vek")
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

    def test_follow_crosses_into_the_next_file(self):
        path = ring(self.tmp / "m", [[50, 51, 52]])
        later = ring(self.tmp / "later", [[50, 51, 52, 53], [54, 55]])
        with subprocess.Popen([VEKLOGS, "show", "-n1", "--follow", "--format", "json", path],
                              stdout=subprocess.PIPE) as follower:
            self.assertIn(b'"slot":2', follower.stdout.readline())
            for index in (0, 1):
                os.replace(later / (LOG % index), path / (LOG % index))
            for place in (b'"file":0,"slot":3', b'"file":1,"slot":0', b'"file":1,"slot":1'):
                self.assertIn(place, follower.stdout.readline())
            follower.kill()

    def test_progress_is_for_terminals(self):
        for index in range(200):
            (self.tmp / (LOG % index)).write_bytes(struct.pack("<12sHHH", b"VEK KIB ML", 1, 110, 65535))
            os.truncate(self.tmp / (LOG % index), 18 + 110 * 65535)
        controller, terminal = pty.openpty()
        subprocess.run([VEKLOGS, "verify", self.tmp], stdout=subprocess.DEVNULL, stderr=terminal)
        self.assertRegex(os.read(controller, 9999), rb"\d+ % of 1.44 GB, \d+ MB/s")


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
            (wrapped + [[56]], "1", lambda: 0, LOG % 5, "", "beyond the ring of 5 files"),
        ]
        for number, (times, pointer, damage, *fault) in enumerate(cases):
            with self.subTest(number=number, fault=fault):
                path = ring(self.tmp / str(number), times)
                (path / POINTER).write_text(pointer)
                os.chdir(path)
                damage()
                before = snapshot(path)
                found = rows("verify", path, code=1 if fault else 0)
                self.assertEqual([r[:2] for r in found if r[5] != "sound"], [fault[:2]] if fault else [])
                self.assertTrue(not fault or any(fault[2] in r[5] for r in found))
                self.assertEqual(sorted(r[0] for r in found),
                                 sorted({LOG % n for n in range(len(times))} | {*fault[:1]}))
                for command in ("info", "show", "show -n 2 --reverse", "export", "plot"):
                    done = subprocess.run([VEKLOGS, *command.split(), path], capture_output=True)
                    self.assertIn(done.returncode, (0, 1, 3), command)
                self.assertEqual(snapshot(path), before)
        os.truncate(LOG % 3, 9)
        self.assertEqual(rows("verify", LOG % 3, code=1)[0][0], LOG % 3)


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
            "0\t2023-11-14T22:13:20.000000Z\t-90\t0\t0\t7\t3\ttemperature=21.5 load=0.0"])
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
                ("libVEKLogFiles", b"7\t0\ttemperature=21.5\n"),
                ("libVEKLogFiles", b"1 events, the newest: power on\n7\t0\ttemperature=21.5\n"),
                ("README", b"1 events, the newest: door opened\na reply of 70 bytes\n")):
            example = Path(VEKLOGS).parents[1] / f"tests/tool/{name}_example"
            self.assertEqual(subprocess.check_output(example, cwd=self.tmp, env={}), output)
        self.assertEqual(len(rows("show", self.tmp / "vek/settings")), 2)

    def test_options_are_documented_and_completed(self):
        page = (SOURCE / "docs/man/veklogs.1").read_text().replace("\\-", "-")
        complete = f"""source {SOURCE}/tools/veklogs.bash-completion
            COMP_WORDS=(veklogs "$1" -); COMP_CWORD=2; _veklogs; echo "${{COMPREPLY[@]}}" """
        for command in ("info", "show", "export", "verify", "plot"):
            options = set(re.findall(r"^  (?:-h,)?(--?\w+)", run(command, "--help"), re.M))
            completed = subprocess.check_output(["bash", "-c", complete, "bash", command], text=True)
            self.assertEqual((set(completed.split()), {o for o in options if o not in page}),
                             (options, set()))
        for args, code in (("", 2), ("show", 2), ("show -n -1 x", 2), ("info /dev/null", 3),
                           ("show --since 2026-02-31 x", 2), ("verify missing", 3)):
            run(*args.split(), code=code)
        path = ring(self.tmp / "m", [[1, 2]])
        for command in (f"PATH= {VEKLOGS} plot {path}", f"{VEKLOGS} plot {path} > /dev/full"):
            done = subprocess.run(command, shell=True, capture_output=True)
            self.assertEqual(done.returncode, 3, command)


unittest.main()

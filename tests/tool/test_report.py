"""A report as a person meets it: in a browser."""
import struct, unittest

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from test_veklogs import POINTER, Case, events, messages, ring, rows

FLAGS = """headless no-sandbox disable-gpu disable-quic no-first-run disable-sync
    disable-background-networking disable-component-update disable-dev-shm-usage"""
HOSTILE = b"</script><img src=x onerror=a>", b"<!--<script>", b'" onload=alert(1) x="', b"a &lt; b"
CONTROLS = "button", "checkbox", "combobox", "image", "img", "link", "searchbox", "textbox"


class Report(Case):
    def setUp(self):
        super().setUp()
        options = Options()
        for flag in [*FLAGS.split(), f"user-data-dir={self.tmp / 'profile'}"]:
            options.add_argument(f"--{flag}")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.addCleanup(self.browser.quit)
        self.path = self.tmp / "instrument"
        begin = 1795550000
        events(self.path, *((begin + 60 * i, i + 1, i % 4, text) for i, text in enumerate(HOSTILE)))
        ring(self.path, [[struct.pack("<iIIhHHHHd", begin + 80 * i, 0, 0, 60, 7, 0, 2, 5, 20 + i) for i in range(4)]])

    def open(self, code=0):
        page = self.tmp / "report.html"
        page.write_text(messages("report", self.path, code=code)[0])
        self.browser.get(f"file://{page}")

    def tearDown(self):
        self.assertEqual(self.browser.get_log("browser"), [])
        self.assertEqual(self.browser.execute_script("return performance.getEntriesByType('resource')"), [])
        self.assertEqual(self.texts("main img"), [])

    def texts(self, selector):
        return [element.text for element in self.browser.find_elements(By.CSS_SELECTOR, selector)]

    def click(self, path):
        self.browser.find_element(By.XPATH, path).click()

    def table(self, caption):
        table = self.browser.find_element(By.XPATH, f"//table[contains(caption, '{caption}')]")
        return [[cell.text for cell in row.find_elements(By.XPATH, "*")]
                for row in table.find_elements(By.CSS_SELECTOR, "tbody tr") if row.is_displayed()]

    def shown(self, *options):
        return [[r[2].replace("T", " ").replace(".000000", ""), r[7], r[6], r[-1]]
                for r in rows("show", "--log", "events", "--reverse", *options, self.path)]

    def test_says_what_the_commands_say(self):
        self.open()
        self.assertEqual(self.texts(".sound"), [f"Sound: {len(rows('verify', self.path))} files read, nothing found"])
        for log, number, *_ in self.table("What was read"):
            self.assertEqual(number, str(len(rows("show", "--log", log.split()[0], self.path))))
        self.assertEqual(self.texts("figcaption"), ["Events over time 4 events", "channel 2 temperature 4 values, 20 to 23"])
        self.assertEqual(self.table("Newest events"), self.shown())
        self.click("//input[@id='own-offset']")
        self.assertEqual(self.table("Newest events"), self.shown("--local"))

    def test_filters_and_zooms(self):
        self.open()
        self.click("//input[@id='own-offset']")
        for label, typed, option in (("Text", "onload", "--text"), ("Severity", "1-2", "--severity"), ("Code", "2,4", "--code")):
            field = self.browser.find_element(By.XPATH, f"//label[starts-with(., '{label}')]/input")
            field.send_keys(typed)
            expected = self.shown("--local", option, typed)
            self.assertEqual(self.table("Newest events"), expected)
            self.assertEqual(self.texts("form output"), [f"{len(expected)} of the 4 newest events"])
            field.send_keys(Keys.BACKSPACE * len(typed))
        self.click("//label[contains(., 'that the charts show')]/input")
        for button, seen in (("Zoom in", [4, 3, 2]), ("Later", [4, 3]), ("Show all", [4, 3, 2, 1])):
            self.click(f"//button[.='{button}']")
            self.assertEqual([int(row[2]) for row in self.table("Newest events")], seen, button)

    def test_is_for_every_hand_and_screen(self):
        self.open()
        nodes = self.browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        names = {node["nodeId"]: node["name"]["value"] for node in nodes
                 if not node["ignored"] and node["role"]["value"] in CONTROLS}
        self.assertGreater(len(names), 10)
        self.assertNotIn("", names.values())
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": 360, "height": 700, "deviceScaleFactor": 1, "mobile": True})
        self.assertEqual(self.browser.execute_script("return document.documentElement.scrollWidth"), 360)

    def test_shows_damage(self):
        (self.path / POINTER).write_text("7")
        self.open(code=1)
        self.assertEqual(self.texts(".damaged, .sound"), ["Not sound"])
        self.assertEqual([row[1:] for row in self.table("What verifying found")],
                         [[*r[:2], r[5]] for r in rows("verify", self.path, code=1) if r[5] != "sound"])


unittest.main()

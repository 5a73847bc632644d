"""What the Tracker's browser tests share: a headless Chromium driven through Selenium, programs
started and stopped, and a look at the page's tree."""

import os
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

SKIP = 77

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError:
    print("SKIP: python3-selenium is not installed")
    sys.exit(SKIP)


def browser(profile):
    """A headless Chromium with a fresh profile, or a skip when there is none."""
    chromium = shutil.which("chromium") or "/usr/bin/chromium"
    driver_path = shutil.which("chromedriver") or "/usr/bin/chromedriver"
    if not os.path.exists(chromium) or not os.path.exists(driver_path):
        print("SKIP: chromium or chromedriver is not installed")
        sys.exit(SKIP)
    options = webdriver.ChromeOptions()
    options.binary_location = chromium
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--window-size=1100,720", "--user-data-dir=" + profile):
        options.add_argument(argument)
    return webdriver.Chrome(service=Service(driver_path), options=options)


class Program:
    """A program that prints an address on a line, started with its output caught."""

    def __init__(self, argv, env=None, marker="token="):
        self.output = tempfile.TemporaryFile(mode="w+")
        self.errors = tempfile.TemporaryFile(mode="w+")
        self.process = subprocess.Popen(argv, stdout=self.output, stderr=self.errors,
                                        stdin=subprocess.DEVNULL, env=env)
        self.address = None
        deadline = time.time() + 30
        while time.time() < deadline and self.process.poll() is None:
            self.output.seek(0)
            for line in self.output.read().splitlines():
                if marker in line:
                    self.address = line.strip()
            if self.address:
                return
            time.sleep(0.1)

    def err(self):
        self.errors.seek(0)
        return self.errors.read()

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        return self.process.returncode


def status_of(url):
    try:
        with urllib.request.urlopen(url, timeout=10) as reply:
            return reply.status
    except urllib.error.HTTPError as error:
        return error.code


def wait_for(driver, condition, what, timeout=15):
    """The first true answer of condition; a redraw under its feet only means another try."""
    deadline = time.time() + timeout
    last = None
    while time.time() < deadline:
        try:
            answer = condition()
            if answer:
                return answer
        except Exception as error:  # an element redrawn while it was read
            last = error
        time.sleep(0.1)
    raise AssertionError("waited in vain for %s (%s)" % (what, last))


ROWS_SCRIPT = """
return [...document.querySelectorAll(".v-Tree .row")].map((row) => [
    Number(row.getAttribute("aria-level")), row.querySelector(".label").textContent,
    row.classList.contains("bold"), row.classList.contains("selected")]);
"""


def rows(driver):
    """The tree's rows as (level, text, bold, selected), in display order, read at one moment."""
    return [tuple(found) for found in driver.execute_script(ROWS_SCRIPT)]


def row(driver, text):
    found = driver.execute_script(
        "return [...document.querySelectorAll('.v-Tree .row')].find((row) => "
        "row.querySelector('.label').textContent === arguments[0]) || null;", text)
    if found is None:
        raise AssertionError("no row " + text + " in " + repr(rows(driver)))
    return found


def top_level(driver):
    return [text for level, text, _, _ in rows(driver) if level == 1]


DRAG_SCRIPT = """
const [source, target, before] = arguments;
const transfer = new DataTransfer();
const box = target.getBoundingClientRect();
const y = before ? box.top + 2 : box.bottom - 2;
source.dispatchEvent(new DragEvent("dragstart", {bubbles: true, dataTransfer: transfer}));
target.dispatchEvent(new DragEvent("dragover", {bubbles: true, cancelable: true,
                                                dataTransfer: transfer, clientX: box.left + 20,
                                                clientY: y}));
target.dispatchEvent(new DragEvent("drop", {bubbles: true, cancelable: true,
                                            dataTransfer: transfer, clientX: box.left + 20,
                                            clientY: y}));
source.dispatchEvent(new DragEvent("dragend", {bubbles: true, dataTransfer: transfer}));
"""


def drag(driver, source_text, target_text, before):
    driver.execute_script(DRAG_SCRIPT, row(driver, source_text), row(driver, target_text), before)


class Shots:
    """Screenshots of each state, numbered in the order taken."""

    def __init__(self, folder, prefix):
        self.folder = folder
        self.prefix = prefix
        self.count = 0
        os.makedirs(folder, exist_ok=True)

    def take(self, driver, name):
        self.count += 1
        path = os.path.join(self.folder, "%s-%02d-%s.png" % (self.prefix, self.count, name))
        driver.save_screenshot(path)
        return path

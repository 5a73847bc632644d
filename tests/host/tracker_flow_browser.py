"""The plug-in's Tracker through vellum-host tracker in a browser: subscribe to a feed served on
loopback by this test, see it under "Subscription Errors" while it fails and at the top once it
answers, select an item, remove a feed, reorder two feeds and find the order kept after a
restart. Skipped when the plug-in offers no Tracker panel, or fetches no feed at all (it has no
update engine). Screenshots go to the folder given.

    tracker_flow_browser.py TRACKER_SAMPLE VELLUM_HOST SCREENSHOT_FOLDER
"""

import http.server
import os
import sys
import tempfile
import threading
import time

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

import tracker_browser as tb

FEED = """<?xml version="1.0" encoding="UTF-8"?>
<rss version="2.0"><channel><title>%s</title><link>http://127.0.0.1/</link>
<description>A feed of the test</description>
<item><title>%s first</title><link>http://127.0.0.1/1</link>
<description>The first item.</description></item>
<item><title>%s second</title><link>http://127.0.0.1/2</link>
<description>The second item.</description></item>
</channel></rss>
"""


class Feeds(http.server.BaseHTTPRequestHandler):
    """Serves /NAME.xml as a feed titled NAME. While NAME is failing the connection closes with
    no answer, as from a server that is down: a feed that never answered is listed under the
    errors, whereas one whose server answers, even with a 500, counts as verified."""
    failing = set()
    asked = set()

    def do_GET(self):
        name = self.path.strip("/").split(".")[0]
        Feeds.asked.add(name)
        if name in Feeds.failing or not name:
            self.close_connection = True
            return
        body = (FEED % (name, name, name)).encode()
        self.send_response(200)
        self.send_header("Content-Type", "application/rss+xml")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *args):
        pass


class NoFetching(Exception):
    """The plug-in never asked for a feed: it has no update engine yet."""


def start_host(vellum_host, env):
    return tb.Program([vellum_host, "--timeout", "240", "tracker"], env=env)


def choose_service(driver, name):
    """Picks an item of the tool bar's Services pop-up."""
    driver.find_element(By.CSS_SELECTOR, "[data-name='INBOX:Services']").click()
    item = tb.wait_for(driver, lambda: driver.find_element(
        By.CSS_SELECTOR, ".menu .item[data-name='%s']" % name), "the Services item " + name)
    item.click()


def subscribe(driver, url):
    choose_service(driver, "INBOX:Add")
    field = tb.wait_for(driver, lambda: driver.find_element(By.CSS_SELECTOR, ".dialog input"),
                        "the subscribe question")
    field.clear()
    field.send_keys(url, Keys.ENTER)


def main(vellum_host, shots_folder):
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Feeds)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    base = "http://127.0.0.1:%d" % server.server_address[1]
    shots = tb.Shots(shots_folder, "flow")
    with tempfile.TemporaryDirectory() as home:
        env = dict(os.environ, XDG_DATA_HOME=home, no_proxy="127.0.0.1", NO_PROXY="127.0.0.1")
        host = start_host(vellum_host, env)
        if "offers no Tracker panel" in host.err():
            host.stop()
            print("SKIP: the plug-in offers no Tracker panel yet")
            sys.exit(tb.SKIP)
        assert host.address, "vellum-host printed no address: " + host.err()
        with tempfile.TemporaryDirectory() as profile:
            driver = tb.browser(profile)
            try:
                order = run(driver, host, base, shots)
                host.stop()
                host = start_host(vellum_host, env)
                driver.get(host.address)
                tb.wait_for(driver, lambda: tb.top_level(driver)[:2] == order,
                            "the order kept after a restart")
                shots.take(driver, "after-restart")
            except NoFetching:
                shots.take(driver, "no-fetching")
                print("SKIP: the plug-in fetched no feed in a minute: it has no update engine yet")
                sys.exit(tb.SKIP)
            except Exception:
                shots.take(driver, "failure")
                print("feeds asked for:", sorted(Feeds.asked), file=sys.stderr)
                print("vellum-host said:", host.err(), file=sys.stderr)
                raise
            finally:
                driver.quit()
                host.stop()
    server.shutdown()


def run(driver, host, base, shots):
    driver.get(host.address)
    tb.wait_for(driver, lambda: driver.find_elements(By.CSS_SELECTOR, ".v-Tree"), "the tree")
    shots.take(driver, "empty")

    Feeds.failing.add("alpha")
    subscribe(driver, base + "/alpha.xml")
    tb.wait_for(driver, lambda: "Subscription Errors" in tb.top_level(driver),
                "the failing feed under Subscription Errors", timeout=60)
    errors = tb.row(driver, "Subscription Errors")
    if errors.get_attribute("aria-expanded") == "false":
        errors.find_element(By.CSS_SELECTOR, ".twisty").click()
    tb.wait_for(driver, lambda: any(level == 2 and "alpha" in text
                                    for level, text, _, _ in tb.rows(driver)),
                "the failing feed inside Subscription Errors")
    assert not any("alpha" in text for text in tb.top_level(driver)), tb.rows(driver)
    # Selected, the failing feed has the context pane to itself (a frame that runs no script).
    failing = [text for level, text, _, _ in tb.rows(driver) if level == 2 and "alpha" in text]
    tb.row(driver, failing[0]).click()
    frame = tb.wait_for(driver, lambda: driver.find_element(By.CSS_SELECTOR, ".v-HTML iframe"),
                        "the context pane")
    assert frame.get_attribute("sandbox") == ""
    shots.take(driver, "failing")

    Feeds.failing.discard("alpha")
    subscribe(driver, base + "/beta.xml")
    try:
        tb.wait_for(driver, lambda: "beta" in tb.top_level(driver), "the working feed", timeout=60)
    except AssertionError:
        if "beta" not in Feeds.asked:
            raise NoFetching()
        raise
    # The failing feed is fetched again when asked: selected under the errors, then refreshed.
    deadline = time.time() + 90
    while "alpha" not in tb.top_level(driver) and time.time() < deadline:
        for level, text, _, _ in tb.rows(driver):
            if level == 2 and "alpha" in text:
                tb.row(driver, text).click()
                choose_service(driver, "INBOX:Refresh")
                break
        time.sleep(2)
    assert "alpha" in tb.top_level(driver), "alpha at the top once it answers"
    shots.take(driver, "answering")

    first = [text for level, text, bold, _ in tb.rows(driver) if text == "alpha first"]
    assert first, tb.rows(driver)
    tb.row(driver, "alpha first").click()
    tb.wait_for(driver, lambda: "bold" not in tb.row(driver, "alpha first").get_attribute("class"),
                "the item to lose its bold")
    shots.take(driver, "item-selected")

    subscribe(driver, base + "/gamma.xml")
    tb.wait_for(driver, lambda: "gamma" in tb.top_level(driver), "a third feed", timeout=60)
    tb.row(driver, "gamma").click()
    driver.find_element(By.CSS_SELECTOR, ".v-Tree").send_keys(Keys.DELETE)
    if driver.find_elements(By.CSS_SELECTOR, ".dialog button"):
        driver.find_elements(By.CSS_SELECTOR, ".dialog button")[0].click()
    tb.wait_for(driver, lambda: "gamma" not in tb.top_level(driver), "the feed to go")
    shots.take(driver, "removed")

    # The feed that came back from the errors went below; drag the lower feed above the other.
    upper, lower = [text for text in tb.top_level(driver) if text in ("alpha", "beta")]
    tb.drag(driver, lower, upper, True)
    tb.wait_for(driver, lambda: tb.top_level(driver)[:2] == [lower, upper],
                "%s above %s" % (lower, upper))
    shots.take(driver, "reordered")
    return [lower, upper]


if __name__ == "__main__":
    main(sys.argv[2], sys.argv[3])
    print("the Tracker's flow works in the browser")

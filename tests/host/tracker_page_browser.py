"""The Tracker page in a browser, over the sample panel (tracker_sample): what a person sees and
does, and what must never run. Screenshots of each state go to the folder given.

    tracker_page_browser.py TRACKER_SAMPLE VELLUM_HOST SCREENSHOT_FOLDER
"""

import sys
import tempfile
import time
import urllib.parse

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.common.action_chains import ActionChains

import tracker_browser as tb

EVIL_FEED = "<img src=x onerror=\"document.title='pwned'\">Evil <b>feed</b>"
EVIL_ITEM = "<script>document.title='pwned'</script>Scripted item"


def check_the_gate(address):
    base, token = address.split("/?token=")
    for url, expected in [(address, 200), (base + "/", 403), (base + "/?token=wrong", 403),
                          (base + "/state", 403), (base + "/tracker.js", 403),
                          (base + "/state?token=" + token, 200),
                          (base + "/tracker.js?token=" + token, 200)]:
        got = tb.status_of(url)
        assert got == expected, "%s answered %s, not %s" % (url, got, expected)


def status_line(driver):
    return driver.find_element(By.CSS_SELECTOR, ".v-StaticText").text


def main(sample, shots_folder):
    program = tb.Program([sample])
    assert program.address, "tracker_sample printed no address: " + program.err()
    shots = tb.Shots(shots_folder, "page")
    check_the_gate(program.address)
    with tempfile.TemporaryDirectory() as profile:
        driver = tb.browser(profile)
        try:
            run(driver, program.address, shots)
        except Exception:
            shots.take(driver, "failure")
            raise
        finally:
            driver.quit()
            program.stop()


def run(driver, address, shots):
    driver.get(address)
    tb.wait_for(driver, lambda: len(tb.rows(driver)) == 8, "the tree's eight rows")
    shots.take(driver, "opened")

    # Feeds and items that are unread are bold; titles with markup are shown as text.
    assert tb.rows(driver) == [
        (1, "Harbour Town Gazette", True, False),
        (2, "Ferry timetable changes from Monday", True, False),
        (2, "Storm warning for the weekend", True, False),
        (1, EVIL_FEED, True, False),
        (2, EVIL_ITEM, True, False),
        (1, "Field Notes", True, False),
        (2, "First brent geese of the winter", True, False),
        (2, "Samphire, late in the year", True, False),
    ], tb.rows(driver)
    assert driver.title != "pwned"
    assert not driver.find_elements(By.CSS_SELECTOR, ".v-Tree .label img, .v-Tree .label b")
    assert driver.execute_script("return typeof window.pwned") == "undefined"

    # Selecting an item marks it read and shows its page in the context pane.
    tb.row(driver, "Storm warning for the weekend").click()
    tb.wait_for(driver, lambda: tb.row(driver, "Storm warning for the weekend")
                .get_attribute("class").split().count("bold") == 0, "the item to lose its bold")
    assert ("selected" in tb.row(driver, "Storm warning for the weekend").get_attribute("class"))
    assert tb.rows(driver)[0][2], "the feed keeps its bold while an item is unread"
    frame = driver.find_element(By.CSS_SELECTOR, ".v-HTML iframe")
    assert frame.get_attribute("sandbox") == "", "the frame runs no script"
    driver.switch_to.frame(frame)
    tb.wait_for(driver, lambda: driver.find_element(By.TAG_NAME, "h1").text ==
                "Storm warning for the weekend", "the item's page")
    assert driver.find_element(By.ID, "said").text == "Nothing ran."
    driver.find_element(By.ID, "danger").click()
    assert driver.find_element(By.ID, "said").text == "Nothing ran."
    driver.find_element(By.ID, "mine").click()
    driver.switch_to.default_content()
    tb.wait_for(driver, lambda: status_line(driver).startswith("link sample:open"),
                "the panel to take its own link")
    shots.take(driver, "item-selected")

    # The item with a script in its title: selected, its page shows the title as text.
    tb.row(driver, EVIL_ITEM).click()
    driver.switch_to.frame(driver.find_element(By.CSS_SELECTOR, ".v-HTML iframe"))
    tb.wait_for(driver, lambda: driver.find_element(By.TAG_NAME, "h1").text == EVIL_ITEM,
                "the scripted item's page")
    assert driver.find_element(By.ID, "said").text == "Nothing ran."
    driver.switch_to.default_content()
    assert driver.title != "pwned"
    assert not tb.rows(driver)[3][2], "a feed whose items are all read is plain"

    # Keys: arrows move the selection, Enter opens, as in a desktop tree.
    tree = driver.find_element(By.CSS_SELECTOR, ".v-Tree")
    tree.send_keys(Keys.ARROW_DOWN)
    tb.wait_for(driver, lambda: tb.rows(driver)[5][3], "Field Notes to be selected")
    tree.send_keys(Keys.ARROW_DOWN)
    tb.wait_for(driver, lambda: tb.rows(driver)[6][3], "the next item to be selected")
    tree.send_keys(Keys.ENTER)
    tb.wait_for(driver, lambda: status_line(driver) == "opened First brent geese of the winter",
                "Enter to open the item")
    tree.send_keys(Keys.ARROW_UP, Keys.ARROW_LEFT)
    tb.wait_for(driver, lambda: tb.row(driver, "Field Notes").get_attribute("aria-expanded") ==
                "false", "Left to close the feed")
    tree.send_keys(Keys.ARROW_RIGHT)
    tb.wait_for(driver, lambda: len(tb.rows(driver)) == 8, "Right to open it again")

    # A context menu, and the tool bar's Services pop-up with its sub-menu.
    # A row redrawn just as it is clicked takes the click with it: click again, now and then.
    def context_menu():
        menus = driver.find_elements(By.CSS_SELECTOR, ".menu")
        if not menus:
            ActionChains(driver).context_click(tb.row(driver, "Harbour Town Gazette")).perform()
            time.sleep(1)
        return menus[0] if menus else None
    menu = tb.wait_for(driver, context_menu, "the context menu")
    items = [i.text for i in menu.find_elements(By.CSS_SELECTOR, ":scope > .item")]
    assert items == ["Open", "Mark Read", "Remove"], items
    shots.take(driver, "context-menu")
    menu.find_element(By.CSS_SELECTOR, ".item[data-name='Open']").click()
    tb.wait_for(driver, lambda: status_line(driver) == "opened Harbour Town Gazette",
                "the menu's Open")
    assert not driver.find_elements(By.CSS_SELECTOR, ".menu")
    services = driver.find_element(By.CSS_SELECTOR, "button[aria-label='Services']")
    services.click()
    menu = tb.wait_for(driver, lambda: driver.find_element(By.CSS_SELECTOR, ".menu"),
                       "the Services pop-up")
    ActionChains(driver).move_to_element(
        menu.find_element(By.CSS_SELECTOR, ".item[data-name='Found']")).perform()
    shots.take(driver, "services-menu")
    menu.find_element(By.CSS_SELECTOR, ".item[data-name='Printer']").click()
    tb.wait_for(driver, lambda: status_line(driver) == "chose the printer", "the sub-menu's item")

    # The tool bar's Remove is enabled only with a feed selected: the right click selected one.
    remove = driver.find_element(By.CSS_SELECTOR, "button[aria-label='Remove']")
    assert not remove.get_attribute("disabled"), "Remove with a feed selected"
    tb.row(driver, "Ferry timetable changes from Monday").click()
    tb.wait_for(driver, lambda: driver.find_element(
        By.CSS_SELECTOR, "button[aria-label='Remove']").get_attribute("disabled"),
        "Remove to be disabled with an item selected")

    # Subscribe asks on the page, and the answer becomes a feed.
    driver.find_element(By.CSS_SELECTOR, "button[aria-label='Subscribe']").click()
    field = tb.wait_for(driver, lambda: driver.find_element(By.CSS_SELECTOR, ".dialog input"),
                        "the question")
    assert driver.find_element(By.CSS_SELECTOR, ".dialog h2").text == "Add Subscription"
    field.send_keys("Night <Sky>")
    shots.take(driver, "subscribe-dialog")
    field.send_keys(Keys.ENTER)
    tb.wait_for(driver, lambda: "Night <Sky>" in tb.top_level(driver), "the new feed")
    assert not driver.find_elements(By.CSS_SELECTOR, ".overlay")

    # Delete asks, and Remove removes.
    tb.row(driver, "Field Notes").click()
    tb.wait_for(driver, lambda: not driver.find_element(
        By.CSS_SELECTOR, "button[aria-label='Remove']").get_attribute("disabled"),
        "Remove to be enabled")
    driver.find_element(By.CSS_SELECTOR, ".v-Tree").send_keys(Keys.DELETE)
    message = tb.wait_for(driver, lambda: driver.find_element(By.CSS_SELECTOR, ".dialog .message"),
                          "the alert")
    assert message.text == 'Remove the subscription "Field Notes"?'
    shots.take(driver, "remove-alert")
    buttons = driver.find_elements(By.CSS_SELECTOR, ".dialog button")
    assert [b.text for b in buttons] == ["Remove", "Cancel"]
    buttons[0].click()
    tb.wait_for(driver, lambda: "Field Notes" not in tb.top_level(driver), "the feed to go")

    # Drag to reorder.
    assert tb.top_level(driver) == ["Harbour Town Gazette", EVIL_FEED, "Night <Sky>"]
    tb.drag(driver, "Night <Sky>", "Harbour Town Gazette", True)
    tb.wait_for(driver, lambda: tb.top_level(driver)[0] == "Night <Sky>", "the feed to move up")
    tb.drag(driver, "Harbour Town Gazette", EVIL_FEED, False)
    tb.wait_for(driver, lambda: tb.top_level(driver) ==
                ["Night <Sky>", EVIL_FEED, "Harbour Town Gazette"], "the feed to move down")
    shots.take(driver, "reordered")

    # Closing the window leaves a way to open the panel again.
    driver.find_element(By.CSS_SELECTOR, ".titlebar .close").click()
    opener = tb.wait_for(driver, lambda: driver.find_element(By.CSS_SELECTOR, ".launcher button"),
                         "the launcher")
    shots.take(driver, "closed")
    opener.click()
    tb.wait_for(driver, lambda: len(tb.top_level(driver)) == 3, "the window to come back")
    assert driver.title != "pwned"


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[3])
    print("the Tracker page works in the browser")

#!/usr/bin/env python3
"""report_page.py ZTCLIENT FOLDER: shows the report of the demo in a browser, on a desk and on a phone,
light and dark. Nothing may need scrolling sideways or be too small to read, and plots tell the value
at the pointer. The screenshots stay in FOLDER for people to look at."""
import base64
import pathlib
import shutil
import subprocess
import sys

SKIPPED = 77  # as CMakeLists.txt says
try:
    from selenium import webdriver
except ImportError:
    print("skipped: no python3-selenium")
    sys.exit(SKIPPED)
DRIVER = shutil.which("chromedriver")
if not DRIVER:
    print("skipped: no chromium-driver")
    sys.exit(SKIPPED)

SMALLEST_TEXT = 9  # pixels as shown
FIND_SMALLEST_TEXT = """
  let smallest = [1000, ''];
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  while (walker.nextNode()) {
    const text = walker.currentNode, range = document.createRange();
    range.selectNodeContents(text);
    if (!text.data.trim() || !range.getClientRects().length) continue;
    const drawn = text.parentElement.ownerSVGElement && text.parentElement.getScreenCTM();
    const size = parseFloat(getComputedStyle(text.parentElement).fontSize);
    const pixels = drawn ? size * Math.min(Math.abs(drawn.a), Math.abs(drawn.d)) : size;
    if (pixels < smallest[0]) smallest = [pixels, text.data];
  }
  return smallest;"""
WIDTHS = "return [document.scrollingElement.scrollWidth, innerWidth]"
POINT_AT = """
  const area = arguments[0].querySelector('.area'), box = area.getBoundingClientRect();
  area.dispatchEvent(new PointerEvent('pointermove', {clientX: box.left + box.width * arguments[1],
                                                      clientY: box.top + 20}));
  const tip = arguments[0].querySelector('.tip'), shown = tip.getBoundingClientRect();
  return [tip.innerText, tip.hidden ? -1 : shown.left, shown.right];"""
PRESS = """
  arguments[0].dispatchEvent(new KeyboardEvent('keydown', {key: arguments[1]}));
  return arguments[0].querySelector('.tip').innerText;"""


def check(browser, page, picture, width, scheme):
    is_phone = width < 500
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": width, "height": 900, "deviceScaleFactor": 1, "mobile": is_phone})
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
        "features": [{"name": "prefers-color-scheme", "value": scheme}]})
    browser.get(page.as_uri())
    height = browser.execute_script("return document.scrollingElement.scrollHeight")
    shot = browser.execute_cdp_cmd("Page.captureScreenshot", {
        "captureBeyondViewport": True,
        "clip": {"x": 0, "y": 0, "width": width, "height": height, "scale": 1}})
    picture.write_bytes(base64.b64decode(shot["data"]))

    name = picture.name
    size, text = browser.execute_script(FIND_SMALLEST_TEXT)
    assert size >= SMALLEST_TEXT, f"{name}: '{text}' is {size} pixels high"
    plots = browser.find_elements("css selector", ".plot")
    assert len(plots) == 4, f"{name}: {len(plots)} plots"
    for plot in plots:
        for share in (0.01, 0.5, 0.99):
            tip, left, right = browser.execute_script(POINT_AT, plot, share)
            assert 0 <= left and right <= width, f"{name}: '{tip}' from {left} to {right}"
    first = browser.execute_script(POINT_AT, plots[0], 0.5)[0]
    assert first.startswith("frame 6\n") and " kB" in first, f"{name}: {first}"
    keyed = browser.execute_script(PRESS, plots[0], "ArrowRight")
    assert keyed.startswith("frame 7\n"), f"{name}: {keyed}"
    content, window = browser.execute_script(WIDTHS)
    assert content <= window, f"{name}: {content} pixels in a window of {window}"
    errors = [entry["message"] for entry in browser.get_log("browser")]
    assert not errors, f"{name}: {errors}"


def main(client, folder):
    folder = pathlib.Path(folder).resolve()
    folder.mkdir(parents=True, exist_ok=True)
    subprocess.run([client, "demo", "--frames", "12", "--size", "320x240", "--out", folder],
                   check=True, stdout=subprocess.DEVNULL)
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"):
        options.add_argument(argument)
    service = webdriver.chrome.service.Service(DRIVER)
    browser = webdriver.Chrome(options=options, service=service)
    try:
        for width in (1400, 390):
            for scheme in ("light", "dark"):
                check(browser, folder / "report.html", folder / f"{width}-{scheme}.png", width, scheme)
    finally:
        browser.quit()


main(*sys.argv[1:])

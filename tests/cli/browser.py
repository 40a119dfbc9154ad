"""A Chromium without a window, driven through chromedriver, and what it sees of a page.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import base64
import http.client
import json
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time

# It shows one file of this machine and asks nobody anything.
_ARGUMENTS = ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
              "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage", "--hide-scrollbars", "--force-device-scale-factor=1")
_START_SECONDS = 60
_ANSWER_SECONDS = 240

# What is wrong with a page as it is laid out now: a list of sentences. Texts are measured by the boxes of their characters.
_LOOK = r"""
const wrong = [], texts = [];
const width = document.documentElement.clientWidth;
const say = (what, element) => wrong.push(what + ': ' + element.tagName + '.' + element.className + ' ' + element.textContent.slice(0, 60));
if (document.documentElement.scrollWidth > width) wrong.push('the page is ' + document.documentElement.scrollWidth + ' wide, the window ' + width);
const isUnseen = element => element.closest('.unseen, .skip, thead') !== null && getComputedStyle(element.closest('.unseen, .skip, thead')).position === 'absolute';
const luminance = colour => {
  const parts = colour.map(value => (value /= 255) <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4);
  return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2];
};
const numbers = colour => colour.match(/[\d.]+/g).map(Number);
const groundOf = element => {
  for (; element; element = element.parentElement) {
    const colour = numbers(getComputedStyle(element).backgroundColor);
    if (colour.length < 4 || colour[3] === 1) return colour.slice(0, 3);
    if (colour[3] !== 0) return null;
  }
  return [255, 255, 255];
};
const least = {ratio: 99, text: ''};
const checkContrast = (element, style, ground, text) => {
  if (ground === null) { say('half-transparent ground', element); return; }
  const [high, low] = [luminance(numbers(style.color).slice(0, 3)), luminance(ground)].sort((a, b) => b - a);
  const ratio = (high + 0.05) / (low + 0.05);
  if (ratio < least.ratio) { least.ratio = ratio; least.text = text; }
  if (ratio < 4.5) say('contrast ' + ratio.toFixed(2), element);
};
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
const range = document.createRange();
while (walker.nextNode()) {
  const node = walker.currentNode, element = node.parentElement;
  if (!node.data.trim() || isUnseen(element)) continue;
  const style = getComputedStyle(element);
  if (style.display === 'none' || element.getClientRects().length === 0 && style.display !== 'contents') continue;
  range.selectNodeContents(node);
  const rects = [...range.getClientRects()].filter(rect => rect.width > 0);
  for (const rect of rects) {
    if (rect.left < -0.5 || rect.right > width + 0.5) say('outside of the window', element);
    for (let box = element; box !== document.body; box = box.parentElement) {
      const outer = box.getBoundingClientRect(), display = getComputedStyle(box).display;
      if (display === 'contents' || display === 'inline') continue;
      if (rect.left < outer.left - 1 || rect.right > outer.right + 1) { say('sticks out of its box', element); break; }
    }
    texts.push({rect, element});
  }
  checkContrast(element, style, groundOf(element), node.data.slice(0, 40));
}
for (const element of document.querySelectorAll('td')) {
  const before = getComputedStyle(element, '::before');
  if (before.content !== 'none') checkContrast(element, before, groundOf(element), before.content);
}
texts.sort((a, b) => a.rect.top - b.rect.top);
for (let i = 0; i < texts.length; i++) {
  for (let k = i + 1; k < texts.length && texts[k].rect.top < texts[i].rect.bottom; k++) {
    const a = texts[i].rect, b = texts[k].rect;
    const wide = Math.min(a.right, b.right) - Math.max(a.left, b.left);
    const high = Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top);
    if (wide > 1 && high > 0.4 * Math.min(a.height, b.height)) say('lies over ' + texts[k].element.textContent.slice(0, 40), texts[i].element);
  }
}
for (const element of document.querySelectorAll('body *')) {
  const style = getComputedStyle(element);
  if (isUnseen(element) || style.overflowX === 'visible' || element.matches('.bar, .lanes')) continue;
  if (element.scrollWidth > element.clientWidth || element.scrollHeight > element.clientHeight) say('cut or scrolled', element);
}
return {wrong: wrong.slice(0, 12), texts: texts.length, least: least.ratio, of: least.text};
"""

# What a screen reader goes by, and whether every link inside the page leads somewhere.
_ASK = r"""
const wrong = [], ids = new Set();
for (const element of document.querySelectorAll('[id]')) {
  if (ids.has(element.id)) wrong.push('two elements have the id ' + element.id);
  ids.add(element.id);
}
for (const link of document.querySelectorAll('a')) {
  const target = link.getAttribute('href');
  if (target.startsWith('#') && !ids.has(target.slice(1))) wrong.push('a link leads nowhere: ' + target);
  if (!link.textContent.trim()) wrong.push('a link without a text: ' + target);
}
for (const element of document.querySelectorAll('[aria-labelledby]')) {
  if (!ids.has(element.getAttribute('aria-labelledby'))) wrong.push('a label is missing: ' + element.getAttribute('aria-labelledby'));
}
for (const name of ['header', 'nav', 'main', 'footer']) if (document.querySelectorAll(name).length !== 1) wrong.push('not one landmark ' + name);
for (const table of document.querySelectorAll('table')) {
  if (!table.querySelector('caption')) wrong.push('a table without a caption');
  for (const cell of table.querySelectorAll('thead th')) if (cell.scope !== 'col') wrong.push('a heading of a column without a scope');
  for (const row of table.querySelectorAll('tbody tr')) if (row.querySelectorAll('th[scope=row]').length !== 1) wrong.push('a row without a heading');
}
for (const mark of document.querySelectorAll('.badge')) if (!mark.textContent.trim()) wrong.push('a mark without a text');
for (const bar of document.querySelectorAll('.bar, .lanes')) if (bar.getAttribute('aria-hidden') !== 'true') wrong.push('a bar is read aloud');
let last = 0;
for (const heading of document.querySelectorAll('h1, h2, h3, h4')) {
  const level = Number(heading.tagName[1]);
  if (level > last + 1) wrong.push('a heading of level ' + level + ' follows one of level ' + last + ': ' + heading.textContent);
  last = level;
}
if (document.querySelectorAll('h1').length !== 1) wrong.push('not one heading of the page');
if (document.documentElement.lang !== 'en') wrong.push('the language is not said');
if (document.querySelectorAll('img, iframe, object, embed, svg, link, form').length) wrong.push('there are elements that do not belong here');
return wrong;
"""


class BrowserError(Exception):
    """The browser did not do as it was told."""


def programs():
    """The browser and its driver, or None."""
    browser, driver = shutil.which("chromium"), shutil.which("chromedriver")
    return (browser, driver) if browser and driver else None


class Browser:
    """One window. Leave it as a context, or the processes stay."""

    def __init__(self):
        browser, driver = programs()
        self._folder = tempfile.TemporaryDirectory(prefix="tvq-browser-")
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self._port = free.getsockname()[1]
        self._log = open(pathlib.Path(self._folder.name) / "driver.log", "wb")  # pylint: disable=consider-using-with
        self._driver = subprocess.Popen([driver, f"--port={self._port}"], stdout=self._log, stderr=self._log)  # pylint: disable=consider-using-with
        self._session = None
        try:
            self._wait_for_driver()
            options = {"binary": browser, "args": [*_ARGUMENTS, f"--user-data-dir={self._folder.name}/profile"]}
            wanted = {"browserName": "chrome", "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
            self._session = self._ask("POST", "/session", {"capabilities": {"alwaysMatch": wanted}})["sessionId"]
        except BaseException:
            self.__exit__()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            if self._session:
                self._ask("DELETE", f"/session/{self._session}")
        finally:
            self._driver.terminate()
            self._driver.wait(timeout=30)
            self._log.close()
            self._folder.cleanup()

    def _wait_for_driver(self):
        end = time.monotonic() + _START_SECONDS
        while time.monotonic() < end and self._driver.poll() is None:
            try:
                if self._ask("GET", "/status")["ready"]:
                    return
            except OSError:
                time.sleep(0.1)
        raise BrowserError("chromedriver does not answer")

    def _ask(self, method, path, body=None):
        connection = http.client.HTTPConnection("127.0.0.1", self._port, timeout=_ANSWER_SECONDS)
        try:
            connection.request(method, path, None if body is None else json.dumps(body), {"Content-Type": "application/json"})
            answer = json.loads(connection.getresponse().read())["value"]
        finally:
            connection.close()
        if isinstance(answer, dict) and "error" in answer:
            raise BrowserError(f"{answer['error']}: {answer['message']}")
        return answer

    def _tell(self, path, body):
        return self._ask("POST", f"/session/{self._session}{path}", body)

    def run(self, script):
        """What a script returns."""
        return self._tell("/execute/sync", {"script": script, "args": []})

    def command(self, name, **parameters):
        """A command of the DevTools protocol."""
        return self._tell("/goog/cdp/execute", {"cmd": name, "params": parameters})

    def open(self, file):
        self._tell("/url", {"url": pathlib.Path(file).resolve().as_uri()})

    def messages(self):
        """What the console has said since this was asked last."""
        return [entry["message"] for entry in self._tell("/se/log", {"type": "browser"})]

    def show(self, width, scheme="light", media="screen", height=900):
        """Lays the page out for a window of that width."""
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.command("Emulation.setEmulatedMedia", media=media, features=[{"name": "prefers-color-scheme", "value": scheme}])

    def look(self):
        """What is wrong with the layout, how many texts there are, and the least contrast."""
        return self.run(_LOOK)

    def ask(self):
        """What is wrong with the structure."""
        return self.run(_ASK)

    def picture(self, file, whole=False):
        """Writes a PNG of the window, or of the whole page."""
        result = self.command("Page.captureScreenshot", format="png", captureBeyondViewport=whole)
        pathlib.Path(file).write_bytes(base64.b64decode(result["data"]))

    def print(self, width, height):
        """The page as a PDF on paper of that size in inches."""
        result = self.command("Page.printToPDF", paperWidth=width, paperHeight=height, preferCSSPageSize=False, printBackground=False)
        return base64.b64decode(result["data"])

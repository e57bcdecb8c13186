#!/usr/bin/python3
"""Opens the page of a machine, and that of a fleet, in a browser, clicks and types in them, and looks at what they then show.

Usage: page_test.py QUARROW MACHINE OTHER_MACHINE. Needs Debian's chromium and chromium-driver, whose WebDriver protocol this speaks.
"""

import json
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the name that the protocol gives to a reference


class Browser:
    def __init__(self, folder):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        self.url = f"http://127.0.0.1:{port}"
        self.driver = subprocess.Popen(
            ["chromedriver", f"--port={port}"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL
        )
        arguments = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--window-size=1200,900"]
        capabilities = {
            "goog:chromeOptions": {"args": [*arguments, f"--user-data-dir={folder}/profile"]},
            "goog:loggingPrefs": {"browser": "ALL"},
        }
        self.session = self.answer_when_up({"capabilities": {"alwaysMatch": capabilities}})["sessionId"]

    def ask(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.url + path, data, {"Content-Type": "application/json"}, method=method)
        with urllib.request.urlopen(request, timeout=60) as answer:
            return json.load(answer)["value"]

    def answer_when_up(self, body):
        deadline = time.monotonic() + 60
        while True:
            try:
                return self.ask("POST", "/session", body)
            except urllib.error.URLError as error:
                if isinstance(error, urllib.error.HTTPError):
                    raise RuntimeError(error.read().decode()) from error
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.1)

    def open(self, path):
        self.ask("POST", f"/session/{self.session}/url", {"url": path.as_uri()})

    def run(self, script):
        return self.ask("POST", f"/session/{self.session}/execute/sync", {"script": script, "args": []})

    def element(self, selector):
        found = self.ask("POST", f"/session/{self.session}/element", {"using": "css selector", "value": selector})
        return f"/session/{self.session}/element/{found[ELEMENT]}"

    def click(self, selector):
        self.ask("POST", self.element(selector) + "/click", {})

    def type(self, selector, text):
        field = self.element(selector)
        self.ask("POST", field + "/clear", {})
        self.ask("POST", field + "/value", {"text": text})

    def media(self, **features):
        """Emulates a medium ("print") or what its reader prefers."""
        medium = features.pop("medium", "")
        listed = [{"name": name.replace("_", "-"), "value": value} for name, value in features.items()]
        self.ask(
            "POST",
            f"/session/{self.session}/goog/cdp/execute",
            {"cmd": "Emulation.setEmulatedMedia", "params": {"media": medium, "features": listed}},
        )

    def complaints(self):
        return self.ask("POST", f"/session/{self.session}/se/log", {"type": "browser"})

    def close(self):
        try:
            self.ask("DELETE", f"/session/{self.session}")
        finally:
            self.driver.terminate()
            self.driver.wait(30)


def shown(browser, selector):
    return browser.run(
        f"return [...document.querySelectorAll('{selector}')].filter(e => e.checkVisibility()).map(e => e.textContent)"
    )


def contrast(one, other):
    """Of two colours "rgb(r, g, b)", as the accessibility guidelines WCAG 2 reckon it: 1 to 21."""

    def luminance(colour):
        parts = [int(part) / 255 for part in re.findall(r"\d+", colour)[:3]]
        linear = [p / 12.92 if p <= 0.04045 else ((p + 0.055) / 1.055) ** 2.4 for p in parts]
        return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]

    light, dark = sorted((luminance(one), luminance(other)), reverse=True)
    return (light + 0.05) / (dark + 0.05)


def colours(browser):
    """The text and the paper, then whatever has text of its own, and each fill of the picture with the text upon it."""
    return browser.run(
        """const of = (e, what, part) => getComputedStyle(e, part)[what];
        const pairs = [[of(document.body, 'color'), of(document.body, 'backgroundColor')]];
        const paperOf = e => /, 0\\)$/.test(of(e, 'backgroundColor')) ? paperOf(e.parentElement) : of(e, 'backgroundColor');
        for (const e of document.querySelectorAll('body *:not(svg, svg *, script)'))
            if (e.checkVisibility() && [...e.childNodes].some(n => n.nodeType == 3 && n.data.trim()))
                pairs.push([of(e, 'color'), paperOf(e)]);
        for (const field of document.querySelectorAll('input'))
            pairs.push([of(field, 'color', '::placeholder'), paperOf(field)]);
        for (const box of document.querySelectorAll('.picture rect'))
            pairs.push([of(document.querySelector('.picture text'), 'fill'), of(box, 'fill')]);
        return pairs"""
    )


def table(browser, section):
    """The rows of a section's table, by its headings; a column without any value is not shown."""
    return browser.run(
        f"""const table = document.querySelector('#{section} table');
        const heads = [...table.tHead.rows[0].cells].map(cell => cell.textContent);
        return [...table.tBodies[0].rows].map(
            row => Object.fromEntries([...row.cells].map((cell, i) => [heads[i], cell.textContent])))"""
    )


def check_tables(browser, document):
    """What the tables say is what the JSON document says."""
    for row, processor in zip(table(browser, "processors"), document["processors"]):
        for heading in ("Package", "Die", "Complex", "Module", "Core", "Thread"):
            assert row.get(heading, "None") == str(processor[heading.lower()]), (row, heading)
    for row, cache in zip(table(browser, "caches"), document["caches"]):
        assert (row["Instances"], row["Sets"]) == (str(cache["instances"]), str(cache["sets"])), row
    for row, tlb in zip(table(browser, "tlbs"), document["tlbs"]):
        assert row["Ways"] == ("fully associative" if tlb["ways"] == 0 else f"{tlb['ways']}-way"), row


def open_page(browser, page):
    browser.open(page)
    assert not browser.complaints(), browser.complaints()
    assert browser.run("return performance.getEntriesByType('resource').length") == 0, "the page fetches something"


def check_looks(browser):
    """Whatever is shown can be read, in light, in dark and on paper."""
    papers = set()
    for preference in ("light", "dark"):
        browser.media(prefers_color_scheme=preference)
        pairs = colours(browser)
        worst = min(pairs, key=lambda pair: contrast(*pair))
        assert contrast(*worst) >= 4.5, f"{preference}: {worst}: {contrast(*worst):.1f} where 4.5 is needed to be read"
        papers.add(pairs[0][1])
    assert len(papers) == 2, "light and dark look alike"

    browser.media(medium="print")
    assert shown(browser, "nav") == [] and shown(browser, ".search") == []
    assert shown(browser, "table") != []
    browser.media()


def check_machine(browser, page, document):
    features = document["processors"][0]["features"]
    open_page(browser, page)
    headings = shown(browser, "h2")
    assert shown(browser, "nav a") == headings and "Picture" in headings, headings
    browser.click("nav a[href='#features']")
    assert browser.run("return document.querySelector('#features').getBoundingClientRect().top") < 900

    assert shown(browser, ".feature") == features, "the page does not show the features of the machine"
    assert shown(browser, ".feature.usable") == document["processors"][0]["usable"]
    check_tables(browser, document)
    browser.type("#features input", "avx 512")
    some = shown(browser, ".feature")
    assert 0 < len(some) < len(features), some
    assert shown(browser, "#features output") == [f"{len(some)} of {len(features)}"]
    browser.type("#features input", "no such feature")
    assert shown(browser, ".feature") == []

    leaves = ".leaf tbody tr"
    assert shown(browser, leaves) == [], "leaves are not folded"
    browser.click("summary")
    assert browser.run("return document.querySelectorAll('.leaf[open]').length") == 1
    browser.type("#leaves input", "physical address bits")
    found = shown(browser, leaves)
    assert found and len(shown(browser, ".leaf")) == 1 and "physical" in found[0], found

    check_looks(browser)


def check_fleet(browser, page, groups):
    """Of two groups, the first of which has two machines."""
    open_page(browser, page)
    assert shown(browser, "h1") == ["3 machines in 2 groups"]
    rows = shown(browser, ".row")
    assert [len(group["machines"]) for group in groups] == [2, 1] and len(rows) == 2
    for row, group in zip(rows, groups):
        assert row.startswith(str(group["count"])) and group["codename"] in row, row
        assert f"{len(group['usable'])} usable features" in row, row

    folded = ".row .names"
    assert shown(browser, folded) == [], "names and features are not folded"
    browser.click(".row summary")
    assert shown(browser, folded) == ["".join(groups[0]["machines"])]
    browser.click(".row summary")
    assert shown(browser, folded) == []

    # What only one has is found, also where it is folded in; a name is then shown. And all comes back.
    only = sorted(set(groups[0]["usable"]) - set(groups[1]["usable"]))[0]
    named = pathlib.Path(groups[0]["machines"][1]).name
    for words, expected in (
        (groups[1]["codename"].upper(), [rows[1]]),
        (only, [rows[0]]),
        (named, [rows[0]]),
        ("no such machine", []),
        (" ", rows),
    ):
        browser.type(".search input", words)
        assert shown(browser, ".row") == expected, words
        assert shown(browser, ".search output") == ([""] if words == " " else [f"{len(expected)} of 2"]), words
        assert shown(browser, folded) == (["".join(groups[0]["machines"])] if words == named else []), words
    browser.click(".row:last-child details:last-child summary")
    assert shown(browser, folded) == [" ".join(groups[1]["usable"])]
    check_looks(browser)


def main():
    quarrow, machine, other = sys.argv[1:]
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as folder:
        page = pathlib.Path(folder) / "page.html"
        subprocess.run([quarrow, "--machine", machine, "picture", "--html", page], check=True)
        document = json.loads(subprocess.check_output([quarrow, "--machine", machine, "--json"]))
        browser = Browser(folder)
        try:
            check_machine(browser, page, document)
            fleet = pathlib.Path(folder) / "fleet"
            fleet.mkdir()
            for name, file in (("node-a.txt", machine), ("node-b.txt", machine), ("other.txt", other)):
                shutil.copy(file, fleet / name)
            lines = subprocess.check_output([quarrow, "fleet", "--json", fleet]).splitlines()
            subprocess.run([quarrow, "fleet", "--html", page, fleet], check=True)
            check_fleet(browser, page, [json.loads(line) for line in lines])
        finally:
            browser.close()


main()

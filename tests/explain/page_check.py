"""Opens pages of `zelexplain start --html` in headless Chromium.

usage: page_check.py ZELEXPLAIN [PICTURE]

With PICTURE, also writes a picture of a page there.
"""

import json
import os
import subprocess
import sys
import tempfile

from browser import Browser
from example_install import lay_out, make_mistakes

WIDTHS = (1280, 400)
SMALLEST_LETTERS = 10  # pixels between the lines of a text


class Check:
    def __init__(self, zelexplain, browser, directory):
        self.zelexplain = zelexplain
        self.browser = browser
        self.directory = directory
        self.failures = []

    def expect(self, holds, what):
        if not holds:
            self.failures.append(what)

    def page(self, name, install, options=(), arguments=()):
        path = os.path.join(self.directory, name + ".html")
        command = [self.zelexplain, "start", install, "--html", path, "--json", *options, "--", *arguments]
        done = subprocess.run(command, capture_output=True, check=True)
        return path, json.loads(done.stdout)

    def value(self, expression):
        return self.browser.evaluate(expression)

    def renders(self, path, explanation):
        for width in WIDTHS:
            self.browser.set_width(width)
            self.browser.open(path)
            where = f"{os.path.basename(path)} at {width}: "
            complaints = self.browser.complaints()
            self.expect(not complaints, where + f"the console is silent: {complaints}")
            self.expect(self.value("document.documentElement.scrollWidth") <= width, where + "nothing sticks out")
            smallest = self.value(
                "Math.min(...[...document.querySelectorAll('svg text')]"
                ".filter(text => text.textContent && text.getBoundingClientRect().width)"
                ".map(text => text.getBoundingClientRect().height))")
            self.expect(smallest >= SMALLEST_LETTERS, where + f"letters of the road are {smallest} pixels high")
            roads = self.value("[...document.querySelectorAll('main > .road')]"
                               ".map(r => [...r.querySelectorAll('svg')]"
                               ".filter(s => s.getBoundingClientRect().width).length)")
            self.expect(set(roads) == {1}, where + f"one road is visible: {roads}")
        count = sum(len(start["elements"]) for start in explanation.get("starts", [explanation]))
        self.expect(self.value("document.querySelectorAll('.element').length") == count,
                    "each element of the command is on the page")
        titles = self.value("[...document.querySelectorAll('.element')].filter(e => !e.title).length")
        self.expect(titles == 0, "each element has its source on hover")
        text = self.value("document.body.textContent")
        for line in explanation["log"]:
            self.expect(line.strip() in text, "the log line is on the page: " + line)
        for finding in explanation["findings"]:
            for part in ("text", "consequence", "remedy"):
                self.expect(finding[part] in text, "the mistake is on the page: " + finding[part])
        for file in explanation["files"]:
            self.expect(file["path"].rsplit("\\", 1)[1] in text, "the file is on the page: " + file["path"])

    def folds(self):
        opened = "[...document.querySelectorAll('details')].filter(d => d.open).length"
        self.value("document.getElementById('fold').click()")
        self.expect(self.value(opened) == 0, "fold all folds everything")
        self.expect(not self.value("document.querySelector('.rows').checkVisibility()"),
                    "what is folded is invisible")
        self.value("document.querySelector('summary').click()")
        self.expect(self.value(opened) == 1, "a click unfolds one part")
        self.value("document.getElementById('unfold').click()")
        self.expect(self.value(opened) == self.value("document.querySelectorAll('details').length"),
                    "unfold all unfolds everything")

    def searches(self, text, absent):
        visible = ("[...document.querySelectorAll('[data-row]')]"
                   ".filter(r => r.checkVisibility()).map(r => r.textContent + r.title)")
        def search(wanted):
            self.value("(() => { const s = document.getElementById('search'); s.value = %s;"
                       " s.dispatchEvent(new Event('input')); })()" % json.dumps(wanted))
        self.value("document.getElementById('fold').click()")
        search(text.upper())
        found = self.value(visible)
        self.expect(found and all(text.lower() in row.lower() for row in found),
                    f"a search for {text} shows what has it, and only that: {len(found)}")
        self.expect(self.value("document.getElementById('count').textContent").split()[0] == str(len(found)),
                    "the count is that of the places")
        search(absent)
        self.expect(self.value(visible) == [], "a search for what is not there shows nothing")
        self.expect(self.value("document.getElementById('count').textContent") == "0 places", "it says so")
        search("")
        self.expect(self.value("[...document.querySelectorAll('details')].filter(d => d.open).length") == 0,
                    "without a search everything is folded as before")

    def reads_without_script(self, path):
        self.browser.call("Emulation.setScriptExecutionDisabled", value=True)
        self.browser.open(path)
        self.expect(not self.value("document.querySelector('.tools').checkVisibility()"),
                    "without script there are no buttons that do nothing")
        self.value("document.querySelector('summary').click()")
        self.expect(self.value("document.querySelector('.log').checkVisibility()"),
                    "without script the log is readable")
        self.browser.call("Emulation.setScriptExecutionDisabled", value=False)


def check(zelexplain, picture):
    with tempfile.TemporaryDirectory() as directory, Browser() as browser:
        test = Check(zelexplain, browser, directory)
        install = lay_out(os.path.join(directory, "install"))
        arguments = ["hello <world> & \"you\"", "vmarg.Xss=-Xss256k"]
        path, explanation = test.page("started", install, arguments=["plain", "a <b> & c"])
        test.expect(not explanation["findings"], "a good install has no mistakes")
        test.renders(path, explanation)
        test.folds()
        test.searches("plugincustomization", "no such text")
        test.reads_without_script(path)
        if picture:
            browser.set_width(1280, 1000)
            browser.open(test.page("picture", install, arguments=["hello world"])[0])
            browser.picture(picture, whole=False)

        path, explanation = test.page("refused", install, arguments=arguments)
        test.expect(explanation["outcome"] == "refused", "an argument with a quote is refused")
        test.renders(path, explanation)
        test.expect(test.value("document.querySelector('.banner pre').textContent") == explanation["message"],
                    "the banner has the message")
        test.renders(*test.page("twice", install, ["--starts", "2"]))
        test.renders(*test.page("handed-over", install, ["--platform", "running"]))

        mistaken = lay_out(os.path.join(directory, "mistaken"))
        make_mistakes(mistaken)
        path, explanation = test.page("mistaken", mistaken)
        test.expect({"missing-file", "similar-key"} <= {finding["rule"] for finding in explanation["findings"]},
                    "the mistakes are found")
        test.renders(path, explanation)
        test.expect("errors, listed below" in test.value("document.querySelector('.banner').textContent"),
                    "the banner says that there are errors")

        path, _ = test.page("redacted", mistaken, ["--redact", "--user", "Ann-Lee", "--env", "SECRET=swordfish",
                                                  "--env", "TEMP=C:\\Users\\Ann-Lee\\T",
                                                  "--at", "C:\\framework\\Ann-Lee"],
                            ["-Dcode=swordfish", "C:/Users/ann-lee/notes.txt"])
        with open(path, encoding="utf-8") as page:
            text = page.read().lower()
        for secret in ("ann-lee", "swordfish"):
            test.expect(secret not in text, "redacted: " + secret)
        return test.failures


def main():
    failures = check(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else None)
    for failure in failures:
        print("page: " + failure)
    sys.exit(1 if failures else 0)


main()

"""Drives a headless Chromium through its debugging pipe, with the standard library alone."""

import base64
import json
import os
import shutil
import subprocess
import tempfile


class Browser:
    def __init__(self):
        self.profile = tempfile.mkdtemp(prefix="zelexplain-browser-")
        to_browser, self.commands = os.pipe()
        self.answers, from_browser = os.pipe()

        def place_descriptors():
            # Chromium reads commands from descriptor 3 and answers on descriptor 4.
            read_end, write_end = os.dup(to_browser), os.dup(from_browser)
            os.dup2(read_end, 3)
            os.dup2(write_end, 4)

        self.process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             "--hide-scrollbars", "--host-resolver-rules=MAP * ~NOTFOUND",
             "--user-data-dir=" + self.profile, "--remote-debugging-pipe", "about:blank"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, close_fds=False,
            preexec_fn=place_descriptors)
        os.close(to_browser)
        os.close(from_browser)
        self.pending = b""
        self.number = 0
        self.session = None
        self.events = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(20)
        shutil.rmtree(self.profile, ignore_errors=True)

    def _next(self):
        while b"\0" not in self.pending:
            block = os.read(self.answers, 1 << 20)
            if not block:
                raise RuntimeError("Chromium ended")
            self.pending += block
        message, self.pending = self.pending.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, **parameters):
        self.number += 1
        command = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            command["sessionId"] = self.session
        os.write(self.commands, json.dumps(command).encode() + b"\0")
        while True:
            message = self._next()
            if message.get("id") == self.number:
                if "error" in message:
                    raise RuntimeError(method + ": " + str(message["error"]))
                return message["result"]
            self.events.append(message)

    def open(self, path):
        self.events.clear()
        self.call("Page.navigate", url="file://" + os.path.abspath(path))
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self._next())

    def evaluate(self, expression):
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(expression + ": " + str(answer["exceptionDetails"]))
        return answer["result"].get("value")

    def set_width(self, width, height=900):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                  mobile=False)

    def picture(self, path, whole=True):
        size = self.call("Page.getLayoutMetrics")["cssContentSize"]
        options = {"format": "png"}
        if whole:
            options["captureBeyondViewport"] = True
            options["clip"] = {"x": 0, "y": 0, "width": size["width"], "height": size["height"], "scale": 1}
        with open(path, "wb") as file:
            file.write(base64.b64decode(self.call("Page.captureScreenshot", **options)["data"]))

    def complaints(self):
        """Errors and warnings of the console, and whatever the page loaded besides itself."""
        found = []
        for event in self.events:
            method, parameters = event.get("method"), event.get("params", {})
            if method == "Runtime.exceptionThrown":
                found.append(str(parameters["exceptionDetails"]))
            elif method == "Runtime.consoleAPICalled":
                found.append(str(parameters["args"]))
            elif method == "Log.entryAdded":
                found.append(str(parameters["entry"]["text"]))
            elif method == "Network.requestWillBeSent" and parameters["type"] != "Document":
                found.append("request of " + parameters["request"]["url"])
        return found

"""A browser without a window, and without a network: Chromium through its DevTools pipe."""

import base64
import json
import os
import select
import shutil
import subprocess
import time

PROGRAMS = ("chromium-headless-shell", "chromium")


def program():
    return next((found for name in PROGRAMS if (found := shutil.which(name))), None)


class Browser:
    """One page. Its own folder is below `home`."""

    def __init__(self, home):
        to_browser, self._to = os.pipe()
        self._from, from_browser = os.pipe()
        arguments = [program(), "--headless", "--no-sandbox", "--remote-debugging-pipe", "--disable-gpu",
                     "--no-first-run", "--disable-extensions", "--disable-background-networking",
                     "--disable-component-update", "--host-resolver-rules=MAP * ~NOTFOUND",
                     "--proxy-server=127.0.0.1:9", f"--user-data-dir={home}", "about:blank"]
        # The pipe's ends are the files 3 and 4.
        self._process = subprocess.Popen(
            ["bash", "-c", f'exec "$@" 3<&{to_browser} 4>&{from_browser}', "browser", *arguments],
            pass_fds=(to_browser, from_browser), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self._buffer = b""
        self._number = 0
        self._session = None
        self._shown = None
        self.requests = []  # addresses that the page has asked for
        self.faults = []  # errors of its scripts and of its policy
        target = self.ask("Target.createTarget", url="about:blank")["targetId"]
        self._session = self.ask("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Runtime", "Log"):
            self.ask(f"{domain}.enable")
        self.ask("Network.emulateNetworkConditions", offline=True, latency=0, downloadThroughput=0, uploadThroughput=0)

    def close(self):
        os.close(self._to)
        try:
            self._process.wait(5)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        os.close(self._from)

    def ask(self, method, **parameters):
        self._number += 1
        number = self._number
        message = {"id": number, "method": method, "params": parameters}
        if self._session:
            message["sessionId"] = self._session
        os.write(self._to, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._next()
            if answer.get("id") != number:
                continue
            assert "error" not in answer, f"{method}: {answer['error']}"
            return answer["result"]

    def _next(self):
        end = time.monotonic() + 30
        while b"\0" not in self._buffer:
            assert select.select([self._from], [], [], max(end - time.monotonic(), 0))[0], "the browser says nothing"
            piece = os.read(self._from, 1 << 20)
            assert piece, "the browser has ended"
            self._buffer += piece
        text, self._buffer = self._buffer.split(b"\0", 1)
        message = json.loads(text)
        match message.get("method"):
            case "Network.requestWillBeSent":
                self.requests.append(message["params"]["request"]["url"])
            case "Runtime.exceptionThrown":
                self.faults.append(message["params"]["exceptionDetails"])
            case "Log.entryAdded" if message["params"]["entry"]["level"] == "error":
                self.faults.append(message["params"]["entry"])
        return message

    def show(self, file):
        """Opens the page unless it is open as it was left by a test that only looked."""
        if self._shown != file:
            self.open(file)
            self._shown = file

    def open(self, file, scheme="light", width=1200, height=900):
        self._shown = None
        self.requests, self.faults = [], []
        self.ask("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.ask("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.ask("Page.navigate", url=file.resolve().as_uri())
        while self._next().get("method") != "Page.loadEventFired":
            pass

    def value(self, expression):
        result = self.ask("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        assert "exceptionDetails" not in result, result["exceptionDetails"]
        return result["result"].get("value")

    def mouse(self, kind, x, y, buttons=0, clicks=0):
        self.ask("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left" if buttons or clicks else "none",
                 buttons=buttons, clickCount=clicks)

    def drag(self, begin, end):
        self.mouse("mouseMoved", *begin)
        self.mouse("mousePressed", *begin, buttons=1, clicks=1)
        for part in (0.3, 0.7, 1):
            self.mouse("mouseMoved", *(a + (b - a) * part for a, b in zip(begin, end)), buttons=1)
        self.mouse("mouseReleased", *end, clicks=1)

    def screenshot(self, file, whole=False):
        shot = self.ask("Page.captureScreenshot", captureBeyondViewport=whole)
        file.write_bytes(base64.b64decode(shot["data"]))

    def print(self, file):
        pdf = self.ask("Page.printToPDF", preferCSSPageSize=True, printBackground=True)
        file.write_bytes(base64.b64decode(pdf["data"]))

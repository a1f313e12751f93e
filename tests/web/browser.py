"""A headless Chromium, driven through its DevTools protocol over a pipe. Needs nothing but the standard library."""

import base64
import json
import os
import select
import subprocess
import tempfile
import time


class Browser:
    """One page in a browser of its own, which ends with the context."""

    def __init__(self, width=1200, height=800, dark=False):
        self.complaints = []  # errors and warnings of the page
        self._number = 0
        self._buffer = b""
        self._folder = tempfile.TemporaryDirectory(prefix="browser", ignore_cleanup_errors=True)
        to_browser, self._out = os.pipe()
        self._in, from_browser = os.pipe()

        def place_pipe():  # the browser reads from descriptor 3 and writes to 4
            spare = os.dup(from_browser)
            os.dup2(to_browser, 3)
            os.dup2(spare, 4)
            os.set_inheritable(3, True)  # it may have been there already

        command = ["chromium", "--headless=new", "--remote-debugging-pipe", "--no-sandbox", "--disable-gpu",
                   "--disable-dev-shm-usage", "--no-first-run", "--disable-background-networking",
                   f"--user-data-dir={self._folder.name}", "about:blank"]
        self._process = subprocess.Popen(command, preexec_fn=place_pipe, close_fds=False, stdin=subprocess.DEVNULL,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self._session = None
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self._session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")
        self.resize(width, height)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.terminate()
        try:
            self._process.wait(10)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        os.close(self._out)
        os.close(self._in)
        self._folder.cleanup()

    def call(self, method, **parameters):
        """Calls a method of the protocol and returns its result."""
        self._number += 1
        message = {"id": self._number, "method": method, "params": parameters}
        if self._session:
            message["sessionId"] = self._session
        os.write(self._out, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._receive(60)
            if answer.get("id") == self._number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]

    def _receive(self, patience):
        end = time.monotonic() + patience
        while b"\0" not in self._buffer:
            if not select.select([self._in], [], [], max(0, end - time.monotonic()))[0]:
                raise TimeoutError("the browser does not answer")
            octets = os.read(self._in, 1 << 20)
            if not octets:
                raise RuntimeError("the browser is gone")
            self._buffer += octets
        text, self._buffer = self._buffer.split(b"\0", 1)
        message = json.loads(text)
        self._note(message)
        return message

    def _note(self, message):
        details = message.get("params", {})
        if message.get("method") == "Runtime.exceptionThrown":
            self.complaints.append(json.dumps(details["exceptionDetails"]))
        elif message.get("method") == "Log.entryAdded" and details["entry"]["level"] in ("error", "warning"):
            self.complaints.append(details["entry"]["text"] + " " + details["entry"].get("url", ""))
        elif message.get("method") == "Runtime.consoleAPICalled" and details["type"] in ("error", "warning", "assert"):
            self.complaints.append(json.dumps(details["args"]))

    def open(self, url):
        self.call("Page.navigate", url=url)
        self.eventually("document.readyState !== 'loading'")

    def resize(self, width, height, scale=1):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=scale,
                  mobile=width < 600)

    def value(self, expression):
        """The value of an expression in the page."""
        outcome = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in outcome:
            raise RuntimeError(f"{expression}: {outcome['exceptionDetails']}")
        return outcome["result"].get("value")

    def eventually(self, expression, patience=60):
        """Waits until the expression holds, and returns how many seconds that took."""
        start = time.monotonic()
        while not self.value(expression):
            if time.monotonic() - start > patience:
                raise AssertionError(f"not within {patience} s: {expression}\n" + str(self.value("document.body.innerText")))
            time.sleep(0.02)
        return time.monotonic() - start

    def press(self, key):
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, code=key)

    def screenshot(self, path):
        image = self.call("Page.captureScreenshot", format="png")["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(image))

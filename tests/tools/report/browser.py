"""Drives a headless Chromium through its debugging pipe."""

import json
import os
import shutil
import subprocess
import tempfile
import time

PROGRAM = shutil.which("chromium")
TIMEOUT = 30  # seconds until the browser opens a page or exits


class Browser:
    """One browser with one page. Records the requests and the console lines of the page."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="quorvel-browser.")
        commands, self.commands = os.pipe()
        self.answers, answers = os.pipe()
        # The browser reads commands from descriptor 3 and writes answers to descriptor 4.
        self.process = subprocess.Popen(
            ["sh", "-c", f'exec "$@" 3<&{commands} 4>&{answers}', "sh", PROGRAM, "--headless",
             "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--disable-background-networking", "--remote-debugging-pipe",
             f"--user-data-dir={self.folder}", "about:blank"],
            pass_fds=(commands, answers), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(commands)
        os.close(answers)
        self.buffer, self.number, self.session = b"", 0, None
        self.requests, self.console = [], []
        page = self.find_page()
        self.session = self.call("Target.attachToTarget", targetId=page, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")

    def find_page(self):
        """Waits for the page and returns its identifier."""
        end = time.monotonic() + TIMEOUT
        while time.monotonic() < end:
            for target in self.call("Target.getTargets")["targetInfos"]:
                if target["type"] == "page":
                    return target["targetId"]
        raise RuntimeError("the browser does not open a page")

    def close(self):
        os.close(self.commands)
        try:
            self.process.wait(TIMEOUT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        os.close(self.answers)
        shutil.rmtree(self.folder, ignore_errors=True)

    def receive(self):
        """Waits for the next message of the browser. Records its request or console line, and returns it."""
        while b"\0" not in self.buffer:
            piece = os.read(self.answers, 1 << 16)
            if not piece:
                raise RuntimeError("the browser has ended")
            self.buffer += piece
        text, self.buffer = self.buffer.split(b"\0", 1)
        message = json.loads(text)
        method = message.get("method")
        if method == "Network.requestWillBeSent":
            url = message["params"]["request"]["url"]
            # An embedded picture needs no network.
            self.requests += [] if url.startswith("data:") else [url]
        elif method in ("Runtime.consoleAPICalled", "Runtime.exceptionThrown", "Log.entryAdded"):
            self.console.append(message["params"])
        return message

    def call(self, method, **parameters):
        """Sends a command and returns its result. Fails if the browser returns an error."""
        self.number += 1
        command = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            command["sessionId"] = self.session
        os.write(self.commands, json.dumps(command).encode() + b"\0")
        while (message := self.receive()).get("id") != self.number:
            pass
        if "error" in message:
            raise RuntimeError(f"{method}: {message['error']}")
        return message["result"]

    def open(self, url):
        """Loads a page and waits until it is complete. Forgets earlier requests and console lines."""
        self.requests.clear()
        self.console.clear()
        self.call("Page.navigate", url="about:blank")
        self.call("Page.navigate", url=url)
        while self.evaluate("document.readyState") != "complete":
            pass

    def evaluate(self, expression):
        """Returns the value of a JavaScript expression. Waits for a promise."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"])
        return result["result"].get("value")

"""A headless browser, asked through its debugging pipe. Standard library only."""

import base64
import json
import os
import shutil
import subprocess
import tempfile

FLAGS = """--headless --no-sandbox --disable-gpu --disable-quic --no-first-run
--disable-background-networking --disable-component-update --disable-sync --disable-dev-shm-usage
--hide-scrollbars --remote-debugging-pipe""".split()


def find():
    return shutil.which("chromium")


class Browser:
    """One page of a browser that is gone when the block ends."""

    def __enter__(self):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        read_end, self.requests = os.pipe()
        self.answers, write_end = os.pipe()
        # The browser reads from descriptor 3 and writes to 4.
        self.process = subprocess.Popen(
            ["sh", "-c", f'exec "$@" 3<&{read_end} 4>&{write_end}', "sh", find(), *FLAGS,
             f"--user-data-dir={self.profile.name}", "about:blank"],
            pass_fds=(read_end, write_end), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(read_end)
        os.close(write_end)
        self.rest = b""
        self.last = 0
        self.session = None
        self.events = []
        target = self.ask("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.ask("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.ask(domain + ".enable")
        return self

    def __exit__(self, *error):
        self.process.terminate()
        self.process.wait()
        os.close(self.requests)
        os.close(self.answers)
        self.profile.cleanup()

    def message(self):
        while b"\0" not in self.rest:
            block = os.read(self.answers, 65536)
            if not block:
                raise RuntimeError("the browser has ended")
            self.rest += block
        text, self.rest = self.rest.split(b"\0", 1)
        return json.loads(text)

    def ask(self, method, **parameters):
        self.last += 1
        request = {"id": self.last, "method": method, "params": parameters}
        if self.session:
            request["sessionId"] = self.session
        os.write(self.requests, json.dumps(request).encode() + b"\0")
        while True:
            answer = self.message()
            if answer.get("id") == self.last:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']['message']}")
                return answer["result"]
            self.events.append(answer)

    def open(self, path, width, scheme="light", media="screen"):
        """Shows a file; what the console and the network say of it is in `events`."""
        self.ask("Emulation.setDeviceMetricsOverride", width=width, height=900,
                 deviceScaleFactor=1, mobile=width < 600)
        self.ask("Emulation.setEmulatedMedia", media=media,
                 features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.events.clear()
        self.ask("Page.navigate", url=path.absolute().as_uri())
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.message())

    def value(self, expression):
        """What an expression gives in the page, which need not allow scripts of its own."""
        answer = self.ask("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(answer["exceptionDetails"]["text"])
        return answer["result"]["value"]

    def picture(self):
        shot = self.ask("Page.captureScreenshot", captureBeyondViewport=True)
        return base64.b64decode(shot["data"])

    def pdf(self):
        self.ask("Emulation.setEmulatedMedia", media="print", features=[])
        return base64.b64decode(self.ask("Page.printToPDF", preferCSSPageSize=True)["data"])

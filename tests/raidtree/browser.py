#!/usr/bin/python3
"""browser.py RAIDTREE: the page in headless Chromium, as it is written and live. SCREENSHOTS=DIR keeps pictures."""

import base64
import glob
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
GOLDEN = sorted(glob.glob(os.path.join(HERE, "../golden/*.xml")))
RAIDTREE = os.path.abspath(sys.argv[1])
PATIENCE = 30
SIZES = {"wide": (1280, 900), "telephone": (360, 740)}


class Browser:
    """Chromium by its debugging pipe: a JSON text and a NUL each way."""

    def __init__(self, folder):
        to_read, self.to = os.pipe()
        self.from_, to_write = os.pipe()
        # As descriptors 3 and 4, which the shell makes of whatever they are here.
        command = f'exec chromium "$@" 3<&{to_read} 4>&{to_write}'
        self.process = subprocess.Popen(
            ["bash", "-c", command, "browser", "--headless=new", "--no-sandbox", "--disable-gpu",
             "--remote-debugging-pipe", f"--user-data-dir={folder}/profile", "about:blank"],
            pass_fds=(to_read, to_write), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_read)
        os.close(to_write)
        self.number, self.rest, self.session, self.messages, self.loaded = 0, b"", None, [], 0
        targets = self.ask("Target.getTargets")["targetInfos"]
        page = next(t["targetId"] for t in targets if t["type"] == "page")
        self.session = self.ask("Target.attachToTarget", targetId=page, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Accessibility"):
            self.ask(domain + ".enable")

    def read(self):
        while b"\0" not in self.rest:
            part = os.read(self.from_, 1 << 20)
            assert part, "Chromium has ended"
            self.rest += part
        text, self.rest = self.rest.split(b"\0", 1)
        message = json.loads(text)
        method = message.get("method")
        if method in ("Runtime.consoleAPICalled", "Runtime.exceptionThrown", "Log.entryAdded"):
            self.messages.append(json.dumps(message["params"])[:300])
        self.loaded += method == "Page.loadEventFired"
        return message

    def ask(self, method, **parameters):
        self.number += 1
        request = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            request["sessionId"] = self.session
        os.write(self.to, json.dumps(request).encode() + b"\0")
        while (message := self.read()).get("id") != self.number:
            pass
        assert "error" not in message, f"{method}: {message['error']}"
        return message["result"]

    def open(self, url, size):
        self.ask("Emulation.setDeviceMetricsOverride", width=size[0], height=size[1], deviceScaleFactor=1, mobile=False)
        before = self.loaded
        self.ask("Page.navigate", url=url)
        while self.loaded == before:
            self.read()

    def value(self, script):
        result = self.ask("Runtime.evaluate", expression=script, returnByValue=True)
        assert "exceptionDetails" not in result, f"{script}: {result}"
        return result["result"].get("value")

    def wait_for(self, script):
        end = time.monotonic() + PATIENCE
        while not self.value(script):
            assert time.monotonic() < end, f"waited for {script}; the page says: {self.value('document.body.innerText')[:400]}"
            time.sleep(0.05)

    def check_page(self, name):
        assert not self.messages, f"{name}: {self.messages}"
        overflow = self.value("document.documentElement.scrollWidth - document.documentElement.clientWidth")
        assert overflow <= 0, f"{name}: {overflow} pixels wider than the window"
        for node in self.ask("Accessibility.getFullAXTree")["nodes"]:
            focusable = any(p["name"] == "focusable" and p["value"]["value"] for p in node.get("properties", []))
            role = node.get("role", {}).get("value")
            if focusable and not node["ignored"] and role not in ("RootWebArea", "generic", "main"):
                assert node.get("name", {}).get("value"), f"{name}: a control without a name: {node}"

    def keep_picture(self, name):
        if folder := os.environ.get("SCREENSHOTS"):
            data = self.ask("Page.captureScreenshot", captureBeyondViewport=False)["data"]
            with open(os.path.join(folder, name + ".png"), "wb") as stream:
                stream.write(base64.b64decode(data))


def write(path, text):
    with open(path, "w", encoding="utf-8") as stream:
        stream.write(text)


def read(path):
    with open(path, encoding="utf-8") as stream:
        return stream.read()


def hostile(text):
    bad = "&lt;script&gt;alert(1)&lt;/script&gt;&lt;img src=x onerror=alert(1)&gt;'&quot;" + "W" * 80
    return re.sub(r"(<(Name|Status|Product|Vendor|SerialNumber|Activity|Location)>)[^<]*", r"\1" + bad, text)


def check_pages(browser, folder):
    trees = GOLDEN + [os.path.join(folder, "hostile.xml"), os.path.join(folder, "many.xml")]
    enclosures = read(os.path.join(HERE, "../golden/enclosures.xml"))
    write(trees[-2], hostile(enclosures))
    drive = re.search(r" *<PhysicalDrive Nr=\"19\">.*?</PhysicalDrive>\n", enclosures, re.S)[0]
    more = "".join(drive.replace('"19"', f'"{n}"').replace("<Slot>3", f"<Slot>{n}") for n in range(100, 340))
    write(trees[-1], enclosures.replace(drive, drive + more))
    for tree in trees:
        name = os.path.basename(tree)[:-4]
        page = os.path.join(folder, name + ".html")
        subprocess.run([RAIDTREE, "html", "--no-log", "--output", page, tree], check=True)
        for size, pixels in SIZES.items():
            browser.open("file://" + page, pixels)
            browser.check_page(f"{name}, {size}")
            browser.keep_picture(f"{name}-{size}")
    print(f"{len(trees)} pages in {len(SIZES)} sizes")


class Server:
    def __init__(self, tree, port=0):
        self.process = subprocess.Popen([RAIDTREE, "serve", "--listen", f"127.0.0.1:{port}", tree],
                                        stdout=subprocess.PIPE, text=True)
        self.url = self.process.stdout.readline().strip()
        self.port = int(self.url.rstrip("/").rsplit(":", 1)[1])

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        assert self.process.wait(PATIENCE) == 0


def check_live(browser, folder):
    tree, log = os.path.join(folder, "tree.xml"), os.path.join(folder, "LogFile.RST")
    healthy = read(os.path.join(HERE, "../golden/ssd-cache.xml"))
    write(log, "updateRAIDStorageTree(): START:\nupdateRAIDStorageTree(): END - ret=0 (\n")
    write(tree, healthy)
    server = Server(tree)
    says = "document.getElementById('live').textContent"
    browser.open(server.url, (800, 500))
    browser.wait_for("document.querySelector('h2').textContent === 'No problems'")
    browser.check_page("live")

    # By keyboard to a drive's bay, then a drive fails.
    for _ in range(4):
        for kind in ("keyDown", "keyUp"):
            browser.ask("Input.dispatchKeyEvent", type=kind, key="Tab", code="Tab", windowsVirtualKeyCode=9)
    where = "document.activeElement.textContent"
    focused = browser.value(where)
    assert focused.startswith("Bay "), focused
    browser.value("window.isTheSame = true, window.scrollTo(0, 150), true")
    write(tree, healthy.replace("<Status>Online<", "<Status>Failed<", 1))
    browser.wait_for("document.querySelector('.problems .critical') !== null")
    assert browser.value("window.isTheSame") and browser.value(where) == focused
    assert browser.value("Math.abs(window.scrollY - 150) < 100")
    browser.check_page("a drive failed")
    write(tree, healthy)
    browser.wait_for("document.querySelector('.problems') === null")
    write(tree, hostile(healthy))
    browser.wait_for("document.querySelector('h1').textContent.includes('alert(1)')")
    browser.check_page("hostile")

    os.utime(log, (time.time() - 2000,) * 2)
    browser.wait_for(says + ".includes('updates stopped 33 minutes ago')")
    os.utime(log)
    browser.wait_for(says + " === ''")
    browser.check_page("live")
    os.remove(tree)
    browser.wait_for("document.querySelector('h1').textContent === 'No RAID storage tree'")
    write(tree, healthy)
    browser.wait_for("document.querySelector('h2').textContent === 'No problems'")
    server.stop()
    browser.wait_for(says + ".includes('does not answer')")
    assert browser.messages, "messages are noticed: of a server that is gone the browser has some"
    server = Server(tree, server.port)
    browser.wait_for(says + " === ''")
    assert browser.value("window.isTheSame"), "the page was loaded anew"
    server.stop()
    print("the live page follows")


def main():
    with tempfile.TemporaryDirectory() as folder:
        browser = Browser(folder)
        try:
            check_pages(browser, folder)
            check_live(browser, folder)
        finally:
            browser.process.kill()
            browser.process.wait()


main()

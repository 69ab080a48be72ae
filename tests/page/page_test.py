#!/usr/bin/env python3
"""The sandbox's page in a real browser: page_test.py SANDBOX [FOLDER]. Screenshots go into the folder, if given."""
import base64, fcntl, json, os, pathlib, socket, struct, subprocess, sys, tempfile, threading, time, urllib.request

PATIENCE = 20  # seconds


class Browser:
    """Chromium without a window, driven by its own protocol over two pipes."""

    def __init__(self, profile):
        # The browser reads from descriptor 3 and writes to descriptor 4.
        ends = [fcntl.fcntl(fd, fcntl.F_DUPFD_CLOEXEC, 10) for fd in os.pipe() + os.pipe()]
        give_pipes = lambda: (os.dup2(ends[0], 3), os.dup2(ends[3], 4))
        self.process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--hide-scrollbars", "--remote-debugging-pipe", f"--user-data-dir={profile}", "about:blank"],
            preexec_fn=give_pipes, close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.out, self.back, self.number, self.session = ends[1], os.fdopen(ends[2], "rb"), 0, None
        os.close(ends[0]), os.close(ends[3])
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        self.call("Page.enable")

    def call(self, method, **params):
        self.number += 1
        request = {"id": self.number, "method": method, "params": params}
        if self.session:
            request["sessionId"] = self.session
        os.write(self.out, json.dumps(request).encode() + b"\0")
        while True:
            text = bytearray()
            while (byte := self.back.read(1)) != b"\0":
                assert byte, "the browser has ended"
                text += byte
            answer = json.loads(text)
            if answer.get("id") == self.number:
                assert "error" not in answer, answer
                return answer["result"]

    def run(self, script):
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        assert "exceptionDetails" not in result, result
        return result["result"].get("value")

    def wait(self, script, what):
        end = time.monotonic() + PATIENCE
        while not self.run(f"!!({script})"):
            assert time.monotonic() < end, f"{what}: {script}\n{self.run('document.body.innerText')}"
            time.sleep(0.05)

    def open(self, url, width, scheme):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=800, deviceScaleFactor=1, mobile=False)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.call("Page.navigate", url=url)
        self.wait("document.querySelectorAll('main .card').length > 0", "the page")


class Game:
    """As much of a game server as the page needs."""

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port))
        self.socket.settimeout(PATIENCE)
        self.send(86194762, "game", "s1", "w1", 1000, "")
        self.receive()

    @staticmethod
    def frame(number, *fields):
        pieces = [struct.pack(">i", f) if isinstance(f, int) else struct.pack(">i", len(f)) + f.encode() for f in fields]
        body = struct.pack(">i", number) + b"".join(pieces)
        return struct.pack(">i", len(body)) + body

    def send(self, number, *fields):
        self.socket.sendall(self.frame(number, *fields))

    def receive(self):
        length = struct.unpack(">i", self.socket.recv(4, socket.MSG_WAITALL))[0]
        return self.socket.recv(length, socket.MSG_WAITALL)

    def check_in(self, user):
        self.send(4143642, 1, user, "", "10.0.0.1")
        self.receive()

    def buy(self, user, product):  # False: no answer within a second
        self.send(114099850, 2, "DEMOGAME", product, user, "", "s", "hero", "", "", "", "", 1, 30, "", "10.0.0.1", "", 0, 0)
        self.socket.settimeout(1)
        try:
            return bool(self.receive())
        except TimeoutError:
            return False
        finally:
            self.socket.settimeout(PATIENCE)


def click(selector):
    return f"document.querySelector({json.dumps(selector)}).click()"


def check_fault_and_order(browser, url, game):
    """A tester drops the answer of a purchase: the game sees nothing, and the page shows the order."""
    browser.open(url + "#actions", 1280, "light")
    browser.wait("document.getElementById('argument-class')", "the form of the fault")
    browser.run("""for (const [name, value] of [['class', 'XS2C_PurchaseProductAns'], ['kind', 'drop'], ['user', 'alice']])
        document.getElementById('argument-' + name).value = value""")
    browser.run(click("main form button.main"))
    browser.wait("document.querySelector('output').innerText.startsWith('Done.')", "the fault is ordered")
    browser.wait("document.getElementById('action-lists').innerText.includes('XS2C_PurchaseProductAns')", "it is listed")
    game.check_in("alice")
    assert not game.buy("alice", "SWORD"), "the answer has come"
    browser.wait("[...document.querySelectorAll('.fault')].some(e => e.innerText.includes('drop'))", "the stream shows it")
    browser.run("location.hash = '#orders'")
    browser.wait("document.getElementById('order-list')?.innerText.includes('SWORD')", "the order")
    browser.run(click("#order-list button"))
    browser.wait("document.getElementById('box')?.innerText.includes('Sword of the North')", "the box")


def check_text(browser, url, game):
    """What comes from the wire is text, whatever it looks like."""
    evil = "<img src=x onerror=\"document.title='broken'\">"
    request = urllib.request.Request(url + "/users", json.dumps({"userId": evil[:22], "userNo": "1"}).encode())
    urllib.request.urlopen(request).read()
    game.check_in(evil)
    browser.run("location.hash = '#overview'")
    browser.wait("document.querySelector('main').innerText.includes('<img src=x onerror=')", "the user")
    browser.wait("document.getElementById('rows').innerText.includes('<img src=x onerror=')", "the message")
    browser.run(click("#rows button"))
    browser.wait("document.querySelector('#rows dl').innerText.includes('<img')", "its fields")
    assert browser.run("document.querySelectorAll('img').length") == 0
    assert browser.run("document.title") == "velkar-sandbox"


def check_load(browser, game):
    """1,000 messages a second for five seconds: a click is dealt with within half a second."""
    def send():
        start = time.monotonic()
        for n in range(250):
            game.socket.sendall(Game.frame(238751658) * 20)
            time.sleep(max(0.0, start + (n + 1) * 0.02 - time.monotonic()))

    browser.run(click("#clear"))
    sender = threading.Thread(target=send)
    sender.start()
    slowest, clicks = 0, 0
    while sender.is_alive():
        taken = browser.run("""new Promise(done => { const t = performance.now(); setTimeout(() => {
            document.getElementById('pause').click(); requestAnimationFrame(() => done(performance.now() - t)); }) })""")
        slowest, clicks = max(slowest, taken), clicks + 1
        time.sleep(0.1)
    sender.join()
    if browser.run("document.getElementById('pause').getAttribute('aria-pressed')") == "true":
        browser.run(click("#pause"))
    browser.wait("parseInt(document.getElementById('stream-count').innerText) >= 5000", "all messages")
    assert browser.run("document.getElementById('rows').childElementCount") <= 500
    assert clicks > 10 and slowest < 500, f"{clicks} clicks, the slowest took {slowest:.0f} ms"
    print(f"5,000 messages in 5 s: {clicks} clicks, the slowest took {slowest:.0f} ms")


def take_pictures(browser, url, folder):
    fault = {"class": "*", "kind": "delay", "ms": 200, "count": 0, "probability": 0.1, "user": "bob"}
    urllib.request.urlopen(url + "/fault", json.dumps(fault).encode()).read()
    for view, width, scheme in [("overview", 1280, "light"), ("actions", 1280, "dark"), ("orders", 400, "light"),
                                ("messages", 400, "dark")]:
        browser.open(url + "/#overview", width, scheme)
        browser.run(f"location.hash = '#{view}'")
        browser.wait("document.querySelectorAll('#rows li').length > 0", "messages")
        browser.run("document.querySelector('#order-list button')?.click()")
        browser.run("""document.querySelector('#rows li:first-child button[aria-expanded="false"]')?.click()""")
        time.sleep(1)
        png = base64.b64decode(browser.call("Page.captureScreenshot", format="png")["data"])
        (pathlib.Path(folder) / f"sandbox-{view}-{width}-{scheme}.png").write_bytes(png)


def main():
    with tempfile.TemporaryDirectory() as place:
        folder = pathlib.Path(place)
        sandbox = subprocess.Popen([sys.argv[1], "--quiet", "--port", "0", "--http-port", "0", "--port-file",
                                    folder / "port", "--http-port-file", folder / "http"], stdout=subprocess.DEVNULL)
        try:
            while not (folder / "http").exists():
                assert sandbox.poll() is None, "the sandbox has ended"
                time.sleep(0.02)
            url, browser = "http://127.0.0.1:" + (folder / "http").read_text().strip(), Browser(folder / "profile")
            game = Game(int((folder / "port").read_text()))
            try:
                check_fault_and_order(browser, url, game)
                if len(sys.argv) > 2:
                    take_pictures(browser, url, sys.argv[2])
                    browser.open(url, 1280, "light")
                check_text(browser, url, game)
                check_load(browser, game)
            finally:
                browser.process.terminate()
                browser.process.wait()
        finally:
            sandbox.terminate()
            sandbox.wait()


main()

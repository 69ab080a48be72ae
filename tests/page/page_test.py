#!/usr/bin/env python3
"""The sandbox's page in a real browser: page_test.py SANDBOX [FOLDER]. Screenshots go into the folder, if given."""
import base64, fcntl, json, os, pathlib, socket, struct, subprocess, sys, tempfile, threading, time, urllib.request

PATIENCE = 20  # seconds


class Browser:
    """Chromium without a window, driven by its own protocol: it reads from descriptor 3 and writes to 4."""

    def __init__(self, profile):
        ends = [fcntl.fcntl(fd, fcntl.F_DUPFD_CLOEXEC, 10) for fd in os.pipe() + os.pipe()]
        self.process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--hide-scrollbars", "--remote-debugging-pipe", f"--user-data-dir={profile}", "about:blank"],
            preexec_fn=lambda: (os.dup2(ends[0], 3), os.dup2(ends[3], 4)), close_fds=False,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(ends[0]), os.close(ends[3])
        self.out, self.back, self.number, self.session = ends[1], os.fdopen(ends[2], "rb"), 0, {}
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = {"sessionId": self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]}

    def call(self, method, **params):
        self.number += 1
        os.write(self.out, json.dumps({"id": self.number, "method": method, "params": params, **self.session}).encode() + b"\0")
        while True:
            text = b"".join(iter(lambda: self.back.read(1) or sys.exit("the browser has ended"), b"\0"))
            answer = json.loads(text)
            if answer.get("id") == self.number:
                return answer["result"]

    def run(self, script):
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        assert "exceptionDetails" not in result, result
        return result["result"].get("value")

    def wait(self, script):
        end = time.monotonic() + PATIENCE
        while not self.run(f"!!({script})"):
            assert time.monotonic() < end, f"{script}\n{self.run('document.body.innerText')}"
            time.sleep(0.05)

    def wait_for(self, selector, text):
        self.wait(f"document.querySelector({json.dumps(selector)})?.innerText.includes({json.dumps(text)})")

    def click(self, selector):
        self.run(f"document.querySelector({json.dumps(selector)}).click()")

    def open(self, url, width, scheme):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=800, deviceScaleFactor=1, mobile=False)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.call("Page.navigate", url=url)
        self.wait("document.querySelector('main .card')")


class Game:
    """As much of a game server as the page needs."""

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), PATIENCE)
        self.ask(86194762, "game", "s1", "w1", 1000, "")

    @staticmethod
    def frame(number, *fields):
        body = struct.pack(">i", number) + b"".join(
            struct.pack(">i", f) if isinstance(f, int) else struct.pack(">i", len(f)) + f.encode() for f in fields)
        return struct.pack(">i", len(body)) + body

    def ask(self, number, *fields):  # False: no answer in time
        self.socket.sendall(self.frame(number, *fields))
        try:
            return self.socket.recv(struct.unpack(">i", self.socket.recv(4, socket.MSG_WAITALL))[0], socket.MSG_WAITALL)
        except TimeoutError:
            return False

    def check_in(self, user):
        assert self.ask(4143642, 1, user, "", "10.0.0.1")


def post(url, values):
    urllib.request.urlopen(url, json.dumps(values).encode()).read()


def check_fault_and_order(browser, url, game):
    """A tester drops the answer of a purchase: the game sees a timeout, and the page shows the order."""
    browser.open(url + "#actions", 1280, "light")
    for name, value in {"class": "XS2C_PurchaseProductAns", "kind": "drop", "user": "alice"}.items():
        browser.run(f"document.getElementById('argument-{name}').value = '{value}'")
    browser.click("main form button.main")
    browser.wait_for("output", "Done.")
    browser.wait_for("#action-lists", "XS2C_PurchaseProductAns")
    game.check_in("alice")
    game.socket.settimeout(1)
    assert not game.ask(114099850, 2, "DEMOGAME", "SWORD", "alice", "", "s", "c", "", "", "", "", 1, 30, "", "", "", 0, 0)
    game.socket.settimeout(PATIENCE)
    browser.wait_for(".fault", "1 drop")
    browser.run("location.hash = '#orders'")
    browser.wait_for("#order-list", "SWORD")
    browser.click("#order-list button")
    browser.wait_for("#box", "Sword of the North")


def check_text(browser, url, game):
    """What comes from the wire is text, whatever it looks like."""
    browser.open(url, 1280, "light")
    evil = "<img src=x onerror=\"document.title='broken'\">"
    post(url + "/users", {"userId": evil[:22], "userNo": "1"})
    game.check_in(evil)
    browser.run("location.hash = '#overview'")
    browser.wait_for("main", evil[:22])
    browser.wait_for("#rows", evil)
    browser.click("#rows button")
    browser.wait_for("#rows dl", evil)
    assert browser.run("document.querySelectorAll('img').length + document.title") == "0velkar-sandbox"


def check_coverage(browser, url):
    """What a game server has met moves from missing to met while the tab is open, and the rest says what to do."""
    browser.open(url, 1280, "light")
    browser.run("location.hash = '#coverage'")
    browser.wait_for("#coverage-groups", "pfnNotifyStorageInfo: items have arrived")
    browser.wait_for("#coverage-groups", "trigger storage-info user=USER itemCnt=1")
    browser.run("document.querySelector('#coverage-groups details:nth-child(2) summary').click()")
    browser.run("document.querySelector('#coverage-groups details:nth-child(4) summary').focus()")
    post(url + "/trigger/storage-info", {"user": "alice", "itemCnt": 1})
    browser.wait("!document.querySelector('#coverage-groups').innerText.includes('pfnNotifyStorageInfo')")
    assert browser.run("document.querySelector('#coverage-groups details:nth-child(2)').open")
    assert browser.run("document.activeElement.innerText.startsWith('Callbacks')")
    assert browser.run("document.documentElement.scrollWidth <= innerWidth")


def check_load(browser, game):
    """1,000 messages a second for five seconds: a click is dealt with within half a second."""
    def send():
        for n in range(250):
            game.socket.sendall(Game.frame(238751658) * 20)
            time.sleep(max(0.0, start + (n + 1) * 0.02 - time.monotonic()))

    browser.click("#clear")
    start, taken = time.monotonic(), []
    sender = threading.Thread(target=send)
    sender.start()
    while sender.is_alive() or len(taken) % 2:  # an even number of clicks ends the pause
        taken.append(browser.run("""new Promise(done => { const t = performance.now(); setTimeout(() => {
            document.getElementById('pause').click(); done(performance.now() - t); }) })"""))
        time.sleep(0.1)
    browser.wait("parseInt(document.getElementById('stream-count').innerText) >= 5000")
    assert browser.run("document.getElementById('rows').childElementCount") <= 500
    assert len(taken) > 10 and max(taken) < 500, taken
    print(f"5,000 messages in 5 s: {len(taken)} clicks, the slowest took {max(taken):.0f} ms")


def take_pictures(browser, url, folder):
    post(url + "/fault", {"class": "*", "kind": "delay", "ms": 200, "count": 0, "probability": 0.1, "user": "bob"})
    for view, width, scheme in [("overview", 1280, "light"), ("actions", 1280, "dark"), ("orders", 400, "light"),
                                ("messages", 400, "dark"), ("coverage", 1280, "dark")]:
        browser.open(url + "/#overview", width, scheme)
        browser.run(f"location.hash = '#{view}'")
        browser.wait("document.querySelector('#rows li')")
        browser.run("document.querySelector('#order-list button')?.click()")
        browser.run("document.querySelector('#rows li:first-child button[aria-expanded=\"false\"]')?.click()")
        time.sleep(1)
        png = base64.b64decode(browser.call("Page.captureScreenshot", format="png")["data"])
        (pathlib.Path(folder) / f"sandbox-{view}-{width}-{scheme}.png").write_bytes(png)


with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as place:
    folder, browser = pathlib.Path(place), None
    sandbox = subprocess.Popen([sys.argv[1], "--quiet", "--port=0", "--http-port=0", f"--port-file={folder}/port",
                                f"--http-port-file={folder}/http"], stdout=subprocess.DEVNULL)
    try:
        while not (folder / "http").exists():
            assert sandbox.poll() is None, "the sandbox has ended"
            time.sleep(0.02)
        url, browser = "http://127.0.0.1:" + (folder / "http").read_text().strip(), Browser(folder / "profile")
        game = Game(int((folder / "port").read_text()))
        check_fault_and_order(browser, url, game)
        if len(sys.argv) > 2:
            take_pictures(browser, url, sys.argv[2])
        check_text(browser, url, game)
        check_coverage(browser, url)
        check_load(browser, game)
    finally:
        for process in [sandbox] + ([browser.process] if browser else []):
            process.terminate()
            process.wait()

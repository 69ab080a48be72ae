"""velkar-sandbox as a Windows program, looked at from outside: windows_test.py EMULATOR SANDBOX LOAD. What it does for its
connectors is the same code on every system; this is about the rest: sockets, files, arguments, the way it ends."""
import atexit, json, os, pathlib, signal, socket, struct, subprocess, sys, tempfile, time, urllib.request, xml.dom.minidom

PATIENCE = 60  # seconds
COMMAND = sys.argv[1:3]
ENVIRONMENT = {**os.environ, "LC_ALL": "C.UTF-8"}  # Wine takes the names of files for what the locale says


class Game:
    """As much of a game server as is needed."""

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), PATIENCE)
        self.ask(86194762, "game", "s1", "w1", 1000, "")

    def ask(self, number, *fields):
        body = struct.pack(">i", number) + b"".join(
            struct.pack(">i", f) if isinstance(f, int) else struct.pack(">i", len(f.encode())) + f.encode()
            for f in fields)
        self.socket.sendall(struct.pack(">i", len(body)) + body)
        return self.receive()

    def receive(self):
        length = self.socket.recv(4, socket.MSG_WAITALL)
        return self.socket.recv(struct.unpack(">i", length)[0], socket.MSG_WAITALL) if length else b""

    def check_in(self, user):
        return self.ask(4143642, 1, user, "", "10.0.0.1")

    def buy(self, user, product):
        return self.ask(114099850, 2, "DEMOGAME", product, user, "", "s", "c", "", "", "", "", 1, 30, "", "", "", 0, 0)


def wait_until(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end, what
        time.sleep(0.05)


def run(*arguments, command=COMMAND):
    done = subprocess.run([*command, *arguments], capture_output=True, timeout=PATIENCE, env=ENVIRONMENT)
    return done.returncode, (done.stdout + done.stderr).decode()


class Started:
    def __init__(self, *arguments):
        self.log = open("output", "wb")
        # Ctrl+C: a shell would have had its background jobs ignore it.
        self.process = subprocess.Popen([*COMMAND, *arguments], stdout=self.log, stderr=subprocess.STDOUT, env=ENVIRONMENT,
                                        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
        atexit.register(self.process.kill)  # of a test that has failed

    def says(self, text):
        wait_until(lambda: text in pathlib.Path("output").read_text(encoding="utf-8"), f"no '{text}'")
        return pathlib.Path("output").read_text(encoding="utf-8")

    def end(self, how=signal.SIGINT):
        if how:
            self.process.send_signal(how)
        return self.process.wait(PATIENCE)


def start():
    sandbox = Started("--port=0", "--port-file=port", "--http-port=0", "--http-port-file=tür-日本", "--db=käufe-日本.db",
                      "--seed=saat-日本.json")
    wait_until(lambda: pathlib.Path("tür-日本").exists() or sandbox.process.poll() is not None, "no port file")
    return sandbox, int(pathlib.Path("port").read_text()), int(pathlib.Path("tür-日本").read_text())


def check_service():
    sandbox, port, http = start()
    url = f"http://127.0.0.1:{http}"
    ask = lambda path: urllib.request.build_opener(urllib.request.ProxyHandler({})).open(url + path, timeout=PATIENCE)
    game = Game(port)
    events = ask("/events?class=XC2S_PurchaseProductReq")
    assert b"<!doctype html>" in ask("/").read()
    game.check_in("zoë")
    game.buy("zoë", "SWORD")
    while b"SWORD" not in (line := events.readline()):
        assert line.startswith(b":") or line == b"\n", line
    assert [order["productId"] for order in json.load(ask("/orders?user=zo%C3%AB"))["orders"]] == ["SWORD"]

    trigger = ("trigger", "billing-event", f"--http-port={http}", "eventCode=1")
    assert run(*trigger, "user=zoë", "param=日本")[0] == 0
    assert "日本".encode() in game.receive()
    assert run(*trigger, "user=nobody") == (1, '{\r\n  "error": "There is no user \'nobody\'."\r\n}\r\n')
    for taken in ("--port=0", f"--http-port={http}"), (f"--port={port}", "--no-http"):
        code, text = run(*taken)
        assert code == 1 and "Cannot listen" in text, (code, text)

    assert sandbox.end() == 0
    assert game.receive() == b"" and "Interrupted." in sandbox.says("Ended.") and not pathlib.Path("port").exists()

    sandbox, port, http = start()  # on what the first one has left
    follower = Started("follow", f"--http-port={http}", "--user=zoë")
    url = f"http://127.0.0.1:{http}"
    assert len(json.load(ask("/orders?user=zo%C3%AB"))["orders"]) == 1
    game = Game(port)
    while "XC2S_CheckInReq" not in pathlib.Path("output").read_text(encoding="utf-8"):
        game.check_in("zoë")
        time.sleep(0.1)
    follower.end()
    assert sandbox.end() == 0


def check_load():
    load = [sys.argv[1], sys.argv[3]]
    assert run("--users=20", "--write-seed=saat-last.json", command=load)[0] == 0
    sandbox = Started("--port=0", "--port-file=port", "--no-http", "--seed=saat-last.json", "--quiet")
    wait_until(lambda: pathlib.Path("port").exists(), "no port file")
    port = pathlib.Path("port").read_text().strip()
    code, text = run(f"--port={port}", "--users=20", "--servers=2", "--calls=300", "--strict", "--svg=bild-日本.svg",
                     command=load)
    assert code == 0 and sandbox.end() == 0, text
    xml.dom.minidom.parse("bild-日本.svg")


def check_scenario():
    pathlib.Path("lauf-日本.json").write_text(json.dumps({"seed": "saat-日本.json", "steps": [
        {"wait": "XS2C_CheckInAns", "fields": {"strUserID": "zoë", "nResult": 0}, "seconds": PATIENCE},
        {"get": "/connectors", "holds": {"/connectors/0/users": 1}}]}), encoding="utf-8")
    scenario = Started("run", "lauf-日本.json", "--port=0", "--junit=bericht-日本.xml")
    game = Game(int(scenario.says("port ").split("port ")[1].split()[0]))
    game.check_in("zoë")
    assert scenario.end(None) == 0, pathlib.Path("output").read_text()
    assert len(xml.dom.minidom.parse("bericht-日本.xml").getElementsByTagName("testcase")) == 2


with tempfile.TemporaryDirectory(suffix="-ordner-日本", ignore_cleanup_errors=True) as folder:
    os.chdir(folder)
    shop = {"gameId": "DEMOGAME", "menu": [{"branchId": "B", "branchName": "B"}],
            "products": [{"productId": "SWORD", "branchId": "B", "productName": "Schwert", "price": 10, "children": [
                {"childProductId": "I", "itemName": "I", "price": 10}]}]}
    user = {"userId": "zoë", "userNo": "1", "billType": 1, "productId": 1001, "termSeconds": 1000, "ruvCoin": 100}
    pathlib.Path("saat-日本.json").write_text(json.dumps({"users": [user], "shops": [shop]}, ensure_ascii=False),
                                              encoding="utf-8")
    check_service()
    check_scenario()
    check_load()

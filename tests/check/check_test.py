# check_test.py PROGRAM [SANDBOX]: velkar-check against the files of mistakes.txt, and against peers that are not what
# the settings say. CHECK_EMULATOR of the environment runs the program.
import http.server
import os
import pathlib
import re
import socket
import struct
import subprocess
import sys
import tempfile
import threading

command = [*filter(None, [os.environ.get("CHECK_EMULATOR")]), sys.argv[1]]
folder = tempfile.TemporaryDirectory()
settings, log = pathlib.Path(folder.name, "settings.tl2"), pathlib.Path(folder.name, "log.conf")
table = pathlib.Path(__file__).with_name("mistakes.txt").read_text(encoding="utf-8")
blocks, good = table.split("\nsettings\n")


def unescape(text):
    return text.replace("\\n", "\n").replace("\\x01", "\x01").replace("\\xff", "\xff")


def expect(code, sentences, what, *more):
    done = subprocess.run([*command, "--settings", str(settings), *more], capture_output=True, timeout=60)
    text = done.stdout.decode("utf-8").replace("\r", "")  # always whole UTF-8
    entries = text.replace("\n    ", " ").splitlines()  # sentence and cure
    for line, sentence in sentences:
        place = f":{line}: " if line else ""
        assert any(place in entry and sentence in entry for entry in entries), (what, line, sentence, text)
    assert done.returncode == code, (what, done.returncode, text)


def put(text=good, port=12000):
    settings.write_bytes(text.replace("@", str(port)).encode("latin-1" if "\xff" in text else "utf-8"))


def check_files():
    for block in re.findall(r"^exit.*(?:\n.+)*", blocks, re.M):
        text = good
        for old, new in re.findall(r"^- (.*)\n\+ ?(.*)", block, re.M):
            assert old == "(all)" or unescape(old) in good, old
            text = "" if old == "(all)" else text.replace(unescape(old), unescape(new))
        put(text)
        log.write_text("".join(map(unescape, re.findall(r"^log (.*)", block, re.M))).replace("(long)", "x" * 70000))
        if log.read_text() == "(none)":
            log.unlink()
        expect(int(block[5]), [(int(line), text) for line, text in re.findall(r"^(\d+) (.*)", block, re.M)], block)
    settings.unlink()
    expect(2, [(0, "The settings file is not there")], "no file")


def play(port, running):  # a game server that comes back when it has lost its connection
    registration = struct.pack(">ii", 27, 0x05233A4A) + 3 * struct.pack(">i1s", 1, b"g") + struct.pack(">ii", 60, 0)
    for _ in range(2):
        with socket.create_connection(("127.0.0.1", port)) as connection:
            connection.sendall(registration)
            assert connection.recv(4096)
            running.set()
            connection.recv(4096)


def check_connections(sandbox):
    with socket.create_server(("127.0.0.1", 0)) as peer:
        put(port=peer.getsockname()[1])
        expect(2, [(0, "is silent")], "mute", "--connect")
    expect(2, [(0, "is unreachable: nothing listens on that port")], "closed", "--connect")
    web = http.server.HTTPServer(("127.0.0.1", 0), http.server.BaseHTTPRequestHandler)
    threading.Thread(target=web.serve_forever, daemon=True).start()
    put(port=web.server_port)
    expect(2, [(0, "does not speak this protocol. It answers like a web server")], "http", "--connect")
    service = subprocess.Popen([sandbox, "--port", "0", "--no-http"], stdout=subprocess.PIPE, text=True)
    try:
        port = int(service.stdout.readline().split()[-1])
        put(port=port)
        expect(0, [(0, "answers as the service does (code 1,")], "sandbox", "--connect")
        expect(2, [(0, "refuses the identity: code 1,")], "no GID", "--connect", "--identity", "", "s", "w")
        expect(0, [(0, "accepts the identity")], "free", "--connect", "--identity", "g", "g", "g")
        running = threading.Event()
        threading.Thread(target=play, args=(port, running), daemon=True).start()
        running.wait()
        expect(1, [(0, "The identity is in use")], "in use", "--connect", "--identity", "g", "g", "g")
    finally:
        service.terminate()


check_files()
log.write_text("")
if len(sys.argv) > 2:
    check_connections(sys.argv[2])

"""velkar-check against files with mistakes, and against peers that are not what the settings say.

    check_test.py PROGRAM [--sandbox SANDBOX] [--emulator EMULATOR]
"""
import argparse
import http.server
import pathlib
import re
import socket
import struct
import subprocess
import tempfile
import threading
import time

arguments = argparse.ArgumentParser()
arguments.add_argument("program")
arguments.add_argument("--sandbox")
arguments.add_argument("--emulator", default="")
options = arguments.parse_args()
folder = tempfile.TemporaryDirectory()
settings = pathlib.Path(folder.name, "settings.tl2")
log = pathlib.Path(folder.name, "log.conf")
GOOD = """<TARVO><module name="VELKAR">
<group name="CONNECTOR_INFO">
<property name="SERVER_IP" value="127.0.0.1"/>
<property name="SERVER_PORT" value="@"/>
<property name="HEARTBEAT_CYCLE" value="10"/>
<property name="RECONNECT_CYCLE" value="1"/>
<property name="CHARGE_CYCLE" value="60"/>
<property name="USE_USER_NUMBER" value="false"/>
</group><group name="BILLING_ID_INFO">
<property name="ID_COUNT" value="2"/>
<property_array name="1" size="3" value0="1001" value1="Ticket &lt;1&gt;" value2="1"/>
<property_array name="2" size="3" value0="1002" value1="Käfer" value2="2"/>
</group><group name="SPECIFIC_EVENT_CODE_INFO">
<property name="EVENT_CODE_COUNT" value="1"/>
<property name="0" value="Over"/>
</group><group name="LOGOVA_INFO">
<property name="LOGOVA_CONFIG_FILE" value="log.conf"/>
<property name="LOGOVA_SERVICE" value="service"/>
<property name="LOGOVA_LOGGER" value="logger"/>
</group></module></TARVO>
"""
# (what is replaced, by what) of each file; the exit code; (line, sentence) of everything that has to be said.
FILES = [
    ([], 0, []),
    ([("@", "70000"), ('"60"', '"60 s"'), ("false", "no"), ('"2"/>\n<property_array', '"1"/>\n<property_array'),
      ("127.0.0.1", "http://host"), ('"log.conf"', '"/log.conf"'),
      ('<property name="LOGOVA_LOGGER"', '<property name="logova_service" value="b"/>\n<property name="LOGOVA_LOGGER"')],
     1, [(3, "SERVER_IP is neither an address nor a host name"), (4, 'The value "70000" of SERVER_PORT is out of range'),
         (7, "only 60 counts"), (8, "neither true nor false"), (10, "less than the file has"),
         (17, "an absolute path"), (19, "stands in line 18 already")]),
    ([("SERVER_IP", "SERVER_IPP"), ("@", "p\x01\xff"), ('"10"', '"0"'), ('value="1"/>\n<property name="CH', '/>\n<property name="CH'),
      ('"60"', '" "'), ('"false"', '"' + "x" * 255 + '"'), ('name="LOGOVA_S', 'naem="LOGOVA_S')],
     2, [(2, "SERVER_IP is missing"), (2, 'Did you mean it by "SERVER_IPP" in line 3?'),
         (4, 'SERVER_PORT is no number: "p\\x01'), (5, "HEARTBEAT_CYCLE is 0"), (6, "RECONNECT_CYCLE has no attribute"),
         (7, "CHARGE_CYCLE is empty"), (8, "USE_USER_NUMBER has 255 bytes"), (18, "hides LOGOVA_LOGGER behind it")]),
    ([('"2"/>\n<property_array', '"5"/>\n<property_array'), ("1001", "a"), ('value2="2"/>', 'value2="0"/>\n'
      '<property_array name="3" size="2"/>\n<property_array name="4" size="3" value0="1" value1=""/>'),
      ('name="0"', 'name="1"'), ("HEARTBEAT_CYCLE", "OTHER"), ("LOGOVA_INFO", "LOGOVA_INF"),
      ('name="LOGOVA_LOGGER"', 'name="HEARTBEAT_CYCLE"')],
     2, [(21, "HEARTBEAT_CYCLE stands in the group"), (10, "Product array 5 is missing"), (11, "product id"),
         (12, "billing id"), (13, "has no size of 3"), (14, "value1 of product array 4 is empty"),
         (16, "The name of event 0 is missing"), (1, "The group LOGOVA_INFO is missing")]),
    ([("VELKAR", "OTHER")], 2, [(1, "The module VELKAR is missing")]),
    ([("TARVO", "CONFIG")], 2, [(0, "The element TARVO around the settings is missing")]),
    ([("</group></module>", "</module>")], 1, [(20, "An element has no end")]),
    ([("&lt;", "&no;")], 2, [(11, "begins no entity")]),
    ([('"Over"', '"Over')], 1, [(15, "has no closing quotation mark")]),
    ([('="Over"', '=="Over"')], 2, [(15, "cannot stand here")]),
    ([(GOOD, "")], 2, [(0, "The file is empty")]),
]
LOGS = [
    (None, [(0, "The log's configuration is not there")]),
    ("x" * 70000, [(0, "cannot be read")]),
    ("\nlevel = loud\nLevel = Info\nmax_files 3\nflush = 1\nflush = 2\n",
     [(2, "level takes a level"), (3, 'The key "Level" is unknown'), (4, "not of the form"), (6, "flush is set again")]),
]


def check(*more):
    command = ([options.emulator] if options.emulator else []) + [options.program, "--settings", str(settings), *more]
    done = subprocess.run(command, capture_output=True, timeout=60)
    return done.returncode, done.stdout.decode("utf-8").replace("\r", "")  # always whole UTF-8


def expect(code, sentences, what, *more):
    found, text = check(*more)
    # An entry is one line and, if it has a cure, a second one.
    entries = re.sub(r"\n    ", " ", text).splitlines()
    for line, sentence in sentences:
        place = f":{line}: " if line else ""
        assert any(place in entry and sentence in entry for entry in entries), (what, line, sentence, text)
    assert found == code, (what, found, text)


def put(port=12000, replaced=()):
    text = GOOD
    for old, new in replaced:
        assert old in text, old
        text = text.replace(old, new)
    settings.write_bytes(text.replace("@", str(port)).encode("latin-1" if "\xff" in text else "utf-8"))


def registration(*texts):
    body = struct.pack(">i", 0x05233A4A) + b"".join(struct.pack(">i", len(t)) + t for t in texts) + struct.pack(">ii", 60, 0)
    return struct.pack(">i", len(body)) + body


def connections():
    with socket.create_server(("127.0.0.1", 0)) as peer:
        put(peer.getsockname()[1])
        expect(2, [(0, "is silent")], "mute", "--connect")
    expect(2, [(0, "is unreachable: nothing listens on that port")], "closed", "--connect")
    web = http.server.HTTPServer(("127.0.0.1", 0), http.server.BaseHTTPRequestHandler)
    threading.Thread(target=web.serve_forever, daemon=True).start()
    put(web.server_port)
    expect(2, [(0, "does not speak this protocol. It answers like a web server")], "http", "--connect")
    port_file = pathlib.Path(folder.name, "port")
    sandbox = subprocess.Popen([options.sandbox, "--port", "0", "--port-file", port_file, "--no-http", "--quiet"])
    try:
        while not port_file.exists():
            assert sandbox.poll() is None
            time.sleep(0.01)
        port = int(port_file.read_text())
        put(port)
        expect(0, [(0, "answers as the service does (code 1,")], "sandbox", "--connect")
        expect(2, [(0, "refuses the identity: code 1,")], "no GID", "--connect", "--identity", "", "s", "w")
        expect(0, [(0, "accepts the identity")], "free", "--connect", "--identity", "g", "s", "w")

        def play():  # a game server that comes back when it has lost its connection
            with socket.create_connection(("127.0.0.1", port)) as first:
                first.sendall(registration(b"g", b"s", b"w"))
                running.set()
                while first.recv(4096):
                    pass
            with socket.create_connection(("127.0.0.1", port)) as second:
                second.sendall(registration(b"g", b"s", b"w"))
                second.recv(4096)

        running = threading.Event()
        threading.Thread(target=play, daemon=True).start()
        running.wait()
        time.sleep(0.2)
        expect(1, [(0, "The identity is in use")], "in use", "--connect", "--identity", "g", "s", "w")
    finally:
        sandbox.terminate()
        sandbox.wait()


log.write_text("")
for replaced, code, sentences in FILES:
    put(replaced=replaced)
    expect(code, sentences, replaced)
put()
for text, sentences in LOGS:
    log.unlink(missing_ok=True)
    if text is not None:
        log.write_text(text)
    expect(1, sentences, text)
log.write_text("")
settings.unlink()
expect(2, [(0, "The settings file is not there")], "no file")
if options.sandbox:
    connections()

#!/usr/bin/python3
"""What the server of the map does with requests, with real sockets; scripts/demo-web runs it beside a mesh."""

import concurrent.futures
import http.client
import json
import os
import select
import signal
import socket
import subprocess
import time
import urllib.parse

URL = urllib.parse.urlparse(os.environ["MESH_URL"])
TOKEN = URL.fragment.removeprefix("token=")
PATIENCE = 30
MOST_CONNECTIONS, MOST_STREAMS, MOST_ORDERS = 64, 16, 4
STEER = "/steer?client=02:19:05:BB:00:01&bssid=02:19:05:AA:00:09"
NODES = 5


def connect(port=URL.port):
    return socket.create_connection((URL.hostname, port), PATIENCE)


def read(peer):
    answer = b""
    while piece := peer.recv(65536):
        answer += piece
    return answer


def exchange(octets, port=URL.port):
    """The status of the answer to these octets, 0 for none, and the answer."""
    with connect(port) as peer:
        try:
            peer.sendall(octets)
            answer = read(peer)
        except ConnectionError:
            return 0, b""
    return (int(answer.split()[1]) if answer.startswith(b"HTTP/") else 0), answer


def get(path="/", host="localhost", method="GET", more=""):
    return exchange(f"{method} {path} HTTP/1.1\r\nHost: {host}\r\n{more}\r\n".encode())


def order(path=STEER, token=TOKEN, more="", method="POST"):
    return f"{method} {path} HTTP/1.1\r\nHost: localhost\r\nX-Mesh-Token: {token}\r\n{more}\r\n".encode()


class Stream:
    """An event stream, message by message."""

    def __init__(self, port=URL.port):
        self.connection = http.client.HTTPConnection(URL.hostname, port, timeout=PATIENCE)
        self.connection.request("GET", "/events")
        self.answer = self.connection.getresponse()
        self.status = self.answer.status

    def until(self, **conditions):
        """Reads until each condition, by the kind of message, has held for one; returns the last message."""
        end = time.monotonic() + PATIENCE
        kind = data = None
        while conditions and time.monotonic() < end:
            name, _, value = self.answer.readline().decode().rstrip("\n").partition(": ")
            kind = value if name == "event" else kind
            if name == "data" and kind in conditions:
                data = json.loads(value)
                if conditions[kind](data):
                    del conditions[kind]
        assert not conditions, f"no such {list(conditions)}"
        return data


def check(what, got, expected):
    assert got == expected, f"{what}: {got}, not {expected}"


def requests():
    for what, answer, status in (
            ("page", get("/"), 200), ("script", get("/script.js"), 200), ("style", get("/style.css"), 200),
            ("head", get("/", method="HEAD"), 200), ("own address", get("/", host="127.0.0.1:99"), 200),
            ("IPv6", get("/", host="[::1]"), 200), ("no such page", get("/../etc/passwd"), 404),
            ("rebound name", get("/topology.json", host="evil.example"), 421), ("no host", get(host=""), 421),
            ("address with a tail", get(host="127.0.0.1.evil.example"), 421), ("bad brackets", get(host="[::1"), 421),
            ("other site", get("/topology.json", more="Sec-Fetch-Site: cross-site\r\n"), 403),
            ("link from another site", get("/", more="Sec-Fetch-Site: cross-site\r\n"), 200),
            ("post", get("/", method="POST", more="Content-Length: 0\r\n"), 405),
            ("delete", get("/topology.json", method="DELETE"), 405)):
        check(what, answer[0], status)
    _, page = get("/")
    for part in (b"script-src 'self'", b"frame-ancestors 'none'", b"X-Content-Type-Options: nosniff", b"Connection: close"):
        assert part in page, part
    assert b"unsafe-inline" not in page and page.count(b"<script") == 1
    status, answer = get("/topology.json")
    check("topology", (status, len(json.loads(answer.split(b"\r\n\r\n", 1)[1])["nodes"])), (200, NODES))


def refused_orders():
    check("digits of the token", len(TOKEN), 32)
    own = "Sec-Fetch-Site: same-origin\r\nOrigin: http://localhost\r\n"
    channel = "/channel?radio=02:19:05:AA:00:09&channel={}&width={}"
    for what, octets, status, reason in (
            ("no client", order(more=own), 409, b"has the client"), ("open", order(STEER + "&open=1"), 409, b"has the client"),
            ("channel", order(channel.format(36, 80)), 409, b"has no radio"),
            ("no token", order(token=""), 403, b"token"), ("half a token", order(token=TOKEN[:16]), 403, b"token"),
            ("wrong token", order(token=TOKEN[::-1]), 403, b"token"),
            ("rebound name", order().replace(b"localhost", b"evil.example"), 421, b"localhost"),
            ("other site", order(more="Sec-Fetch-Site: cross-site\r\n"), 403, b"sites"),
            ("other port", order(more="Sec-Fetch-Site: same-site\r\n"), 403, b"sites"),
            ("link", order(more="Sec-Fetch-Site: none\r\n"), 403, b"sites"),
            ("other origin", order(more="Origin: http://localhost:99\r\n"), 403, b"sites"),
            ("hidden origin", order(more="Origin: null\r\n"), 403, b"sites"),
            ("preflight", order(method="OPTIONS", more="Origin: http://localhost\r\n"), 405, b"posted"),
            ("get", order(method="GET"), 405, b"Allow: POST\r\n"), ("body", order(more="Content-Length: 1\r\n") + b"x", 400, b"body"),
            ("chunks", order(more="Transfer-Encoding: chunked\r\n") + b"0\r\n\r\n", 400, b"body"),
            ("no arguments", order("/steer"), 400, b'"client"'), ("one argument", order(STEER.partition("&")[0]), 400, b'"bssid"'),
            ("two words", order(STEER + "%20OPEN"), 400, b'"bssid"'), ("a line", order(STEER + "%0APLAN"), 400, b'"bssid"'),
            ("NUL", order(STEER + "%00x"), 400, b'"bssid"'), ("no value", order(STEER + "&open"), 400, b'"open"'),
            ("not open", order(STEER + "&open=no"), 400, b'"open"'), ("no radio", order("/channel?channel=1&width=20"), 400, b'"radio"'),
            *((f"channel {number}", order(channel.format(number, 20)), 400, b'"channel"') for number in ("0", "256", "-1", "1x", "")),
            *((f"width {width}", order(channel.format(36, width)), 400, b'"width"') for width in ("30", "80+80", ""))):
        got, answer = exchange(octets)
        check(what, (got, reason in answer, b"Access-Control" in answer), (status, True, False))

    tool, name = os.environ["SAVE"].split()[0:3:2]
    with subprocess.Popen([tool, "web", "--listen", "127.0.0.1:0", name], stdout=subprocess.PIPE, text=True) as other:
        port = urllib.parse.urlparse(other.stdout.readline().strip()).port
        check("without --allow-actions", exchange(order(), port)[0], 403)
        Stream(port).until(state=lambda state: state["actions"] is False)
        other.terminate()


def orders(daemon):
    """While the controller does not answer, there are not too many, and they end."""
    daemon.send_signal(signal.SIGSTOP)
    peers = [connect() for _ in range(MOST_ORDERS + 1)]
    for peer in peers:
        peer.sendall(order())
    ready = select.select(peers, [], [], PATIENCE)[0]
    check("too many", [b"Too many orders" in read(peer) for peer in ready], [True])
    peers.remove(ready[0])
    peers.pop().close()  # does not wait for what comes of it
    check("the page", get("/")[0], 200)
    for peer in peers:
        assert b" 503 " in (answer := read(peer)) and b"no answer from" in answer, answer
    daemon.send_signal(signal.SIGCONT)
    check("after that", exchange(order())[0], 409)


def carried_out():
    for path in ("/channel?radio=02:19:05:A0:01:05&channel=44&width=80",
                 "/steer?client=02:19:05:CC:00:01&bssid=02:19:05:A0:02:05"):
        status, answer = exchange(order(path))
        check(path, (status, json.loads(answer.split(b"\r\n\r\n", 1)[1])["success"]), (200, True))


def garbage():
    for what, octets, statuses in (
            ("nonsense", b"\x00\xff\r\n\r\n", (0, 400)), ("TLS", b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n", (0, 400)),
            ("long header", b"GET / HTTP/1.1\r\nHost: localhost\r\nX: " + b"x" * 200000 + b"\r\n\r\n", (0, 413, 431)),
            ("many headers", b"GET / HTTP/1.1\r\nHost: localhost\r\n" + b"X: y\r\n" * 20000 + b"\r\n", (0, 413, 431)),
            ("long path", b"GET /" + b"x" * 200000 + b" HTTP/1.1\r\nHost: localhost\r\n\r\n", (0, 400, 414)),
            ("huge body", b"POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 99999999999999999999\r\n\r\n", (0, 400, 405, 413))):
        status, _ = exchange(octets)
        assert status in statuses, f"{what}: {status}"
        check("after " + what, get("/")[0], 200)


def trickle():
    """A peer that never ends its request is cut off, and others are served meanwhile, so the loop never waits."""
    peer = connect()
    peer.sendall(b"GET / HTTP/1.1\r\n")
    start = time.monotonic()
    while time.monotonic() - start < PATIENCE:
        before = time.monotonic()
        check("beside a slow peer", get("/")[0], 200)
        assert time.monotonic() - before < 5, "the loop waited"
        try:
            peer.sendall(b"X")  # never silent for long, and never done
            time.sleep(0.5)
        except ConnectionError:
            break
    assert 8 < time.monotonic() - start < PATIENCE, "cut off in time, not at once"


def idle():
    """Peers that take all places and send nothing are cut off for one that waits."""
    peers = [connect() for _ in range(MOST_CONNECTIONS + 8)]
    start = time.monotonic()
    check("after all places were taken", get("/")[0], 200)
    print(f"served {time.monotonic() - start:.1f} s after {len(peers)} idle connections")
    for peer in peers:
        peer.close()


def streams():
    many = [Stream() for _ in range(MOST_STREAMS)]
    check("streams", {stream.status for stream in many}, {200})
    check("one more", Stream().status, 503)
    check("the page", get("/")[0], 200)
    for stream in many[1:]:
        stream.connection.close()
    stream = many[0]
    stream.until(topology=lambda topology: len(topology["nodes"]) == NODES)
    subprocess.run(os.environ["STOP"].split(), check=True)
    stream.until(state=lambda state: "is running" in state["reason"])  # first, a question may be left without an answer
    check("no daemon", exchange(order())[0], 503)
    for options, controller in ((["--controller"], bool), ([], lambda mesh: mesh is None)):
        daemon = subprocess.Popen(os.environ["START"].split() + options, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            stream.until(state=lambda state: state["answers"] and state["actions"], controller=controller,
                         mesh=lambda event: event["event"] == "NEIGHBOR_FOUND",
                         topology=lambda topology: len(topology["nodes"]) == NODES)
            if options:
                orders(daemon)
            else:
                assert b"is no controller\n" in exchange(order())[1]
        finally:
            daemon.send_signal(signal.SIGCONT)
            daemon.terminate()
            daemon.wait()


requests()
refused_orders()
carried_out()
with concurrent.futures.ThreadPoolExecutor() as both:
    for test in [both.submit(garbage), both.submit(trickle)]:
        test.result()
idle()
streams()
print("the server is well")

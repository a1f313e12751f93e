#!/usr/bin/python3
"""What the server of the map does with requests, with real sockets; scripts/demo-web runs it beside a mesh."""

import http.client
import json
import os
import socket
import subprocess
import time
import urllib.parse

URL = urllib.parse.urlparse(os.environ["MESH_URL"])
PATIENCE = 30
MOST_CONNECTIONS, MOST_STREAMS = 64, 16
NODES = 5


def connect():
    return socket.create_connection((URL.hostname, URL.port), PATIENCE)


def exchange(octets):
    """The status of the answer to these octets, 0 for none, and the answer."""
    with connect() as peer:
        try:
            peer.sendall(octets)
            answer = b""
            while piece := peer.recv(65536):
                answer += piece
        except ConnectionError:
            return 0, b""
    return (int(answer.split()[1]) if answer.startswith(b"HTTP/") else 0), answer


def get(path="/", host="localhost", method="GET", more=""):
    return exchange(f"{method} {path} HTTP/1.1\r\nHost: {host}\r\n{more}\r\n".encode())


class Stream:
    """An event stream, message by message."""

    def __init__(self):
        self.connection = http.client.HTTPConnection(URL.hostname, URL.port, timeout=PATIENCE)
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


def slow():
    """Peers that hold on: they are cut off, others are served meanwhile and afterwards, and the loop never waits."""
    trickle = connect()
    trickle.sendall(b"GET / HTTP/1.1\r\n")
    start = time.monotonic()
    while time.monotonic() - start < PATIENCE:
        before = time.monotonic()
        check("beside a slow peer", get("/")[0], 200)
        assert time.monotonic() - before < 5, "the loop waited"
        try:
            trickle.sendall(b"X")  # never silent for long, and never done
            time.sleep(0.5)
        except ConnectionError:
            break
    assert 8 < time.monotonic() - start < PATIENCE, "cut off in time, not at once"
    idle = [connect() for _ in range(3 * MOST_CONNECTIONS)]
    start = time.monotonic()
    check("after all places were taken", get("/")[0], 200)
    print(f"served {time.monotonic() - start:.1f} s after {len(idle)} idle connections")
    for peer in idle:
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
    daemon = subprocess.Popen(os.environ["START"].split(), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        stream.until(state=lambda state: state["answers"], mesh=lambda event: event["event"] == "NEIGHBOR_FOUND",
                     topology=lambda topology: len(topology["nodes"]) == NODES)
    finally:
        daemon.terminate()
        daemon.wait()


requests()
garbage()
slow()
streams()
print("the server is well")

#!/usr/bin/python3
"""Runs a Multi-AP controller and two agents with real access points and clients, in the laboratory: see
scripts/test-wifi.

    gateway ════ cable ════ left ~~~~ Wi-Fi, 4 addresses ~~~~ right
    controller              agent: home (radio 0),            agent: home (2), radar (3),
                            backhaul (1)                      its station (7)

Clients of home are phone (4), laptop (5) and tv (6). What agents and controller send is captured at both links.
"""

import http.client
import json
import os
import re
import signal
import subprocess
import sys
import threading
import time
import urllib.parse

TOOLS = sys.argv[1]
FILES = os.environ["LAB_FILES"]
PATIENCE = 90  # seconds for a change; emulation is slow
AL_MAC = {"gateway": "02:19:05:AA:00:01", "left": "02:19:05:AA:00:02", "right": "02:19:05:AA:00:03"}
GATEWAY = "10.19.5.1"
AGES = re.compile('("(?:heard|measured|utilization_age|switched|connected|asked_to_move)":)[0-9]+')
steps = 0


def radio(number):
    return f"02:00:00:00:{number:02X}:00"


PHONE, LAPTOP, TV = radio(4), radio(5), radio(6)
LEFT_HOME, RIGHT_HOME, RADAR = radio(0), radio(2), radio(3)


def run(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


def at(node):
    """What starts a command on a node, in the same process."""
    with open(f"/run/lab/nodes/{node}/pid") as file:
        return ["nsenter", f"--target={file.read().strip()}", "--net", "--mount", "--uts", "--"]


def on(node, *command):
    return run(*at(node), *command)


def step(text):
    global steps
    steps += 1
    print(f"{time.monotonic():6.1f} s  {text}", flush=True)


def fail(text):
    """The reason comes last, where it is looked for."""
    for name in AL_MAC:
        with open(f"/run/{name}.log") as log:
            print(f"--- {name}\n{''.join(log.readlines()[-20:])}", file=sys.stderr)
    sys.exit(text)


def meshctl(*arguments, is_done=True):
    answer = subprocess.run([f"{TOOLS}/meshctl", *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if (answer.returncode == 0) != is_done:
        fail(f"meshctl {' '.join(arguments)}: {answer.returncode}\n{answer.stdout}")
    return answer.stdout


def say(*arguments, is_done=True):
    """As an operator would: what came of it is shown."""
    text = meshctl(*arguments, is_done=is_done)
    step(f"$ meshctl {' '.join(arguments)}\n{text.rstrip()}")
    return text


class Daemon:
    """meshd-wifi on a node."""

    def __init__(self, node, *options):
        self.node, self.options = node, options
        self.start()

    def start(self):
        with open(f"/run/{self.node}.log", "a") as log:
            self.process = subprocess.Popen(
                [*at(self.node), f"{TOOLS}/meshd-wifi", "--name", self.node, "--al-mac", AL_MAC[self.node],
                 "--discovery-interval", "2", "--interface", "br0", *self.options], stdout=log, stderr=log)

    def kill(self):
        self.process.kill()
        self.process.wait()


class Pings:
    """From a node to the gateway, ten a second, until the end of a with statement."""

    def __init__(self, node):
        self.node, self.replies = node, {}

    def __enter__(self):
        self.process = subprocess.Popen([*at(self.node), "ping", "-D", "-i", "0.1", GATEWAY], stdout=subprocess.PIPE,
                                        text=True)
        threading.Thread(target=self.read, daemon=True).start()
        return self

    def read(self):
        for line in self.process.stdout:
            if found := re.match(r"\[([\d.]+)\].* icmp_seq=(\d+) .* time=([\d.]+) ms", line):
                self.replies[int(found[2])] = float(found[1]), float(found[3])

    def wait(self, count):
        """For so many more replies."""
        wanted, end = len(self.replies) + count, time.monotonic() + PATIENCE
        while len(self.replies) < wanted:
            if time.monotonic() > end:
                fail(f"{self.node} cannot reach the gateway")
            time.sleep(0.1)

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGINT)
        self.process.wait()

    def report(self, what, most_lost):
        numbers = sorted(self.replies)
        times = [self.replies[number][0] for number in numbers]
        lost = numbers[-1] - len(numbers)
        gap = max(later - earlier for earlier, later in zip(times, times[1:]))
        usual = sorted(delay for _, delay in self.replies.values())[len(numbers) // 2]
        step(f"{what}: {lost} of {numbers[-1]} pings lost, longest time without a reply {gap:.1f} s, median {usual} ms")
        if lost > most_lost:
            fail(f"more than {most_lost} pings lost: {sorted(set(range(1, numbers[-1])) - set(numbers))}")


class Map:
    """The map of the gateway, as its page gets it."""

    def __init__(self):
        self.server = subprocess.Popen([f"{TOOLS}/meshctl", "web", "--allow-actions", "--listen", "127.0.0.1:0", "gateway"],
                                       stdout=subprocess.PIPE, text=True)
        self.url = urllib.parse.urlparse(self.server.stdout.readline().strip())
        self.stream = self.request("GET", "/events").getresponse()

    def request(self, method, path):
        connection = http.client.HTTPConnection(self.url.netloc, timeout=PATIENCE)
        connection.request(method, path, headers={"X-Mesh-Token": self.url.fragment.partition("=")[2]})
        return connection

    def until(self, condition):
        """Until the controller's view that the map shows fulfils it."""
        end, kind, before = time.monotonic() + PATIENCE, None, None
        while time.monotonic() < end:
            name, _, value = self.stream.readline().decode().rstrip("\n").partition(": ")
            kind = value if name == "event" else kind
            if name == "data" and kind == "controller":
                if condition(json.loads(value)):
                    return
                before, last = AGES.sub(r"\1", value), before
                if before == last:
                    fail("the map got nothing new")
        fail("the map does not show it")


def wait(what, condition):
    """Until the controller's view of the mesh fulfils it. Of what is not there yet, it may raise an exception."""
    end = time.monotonic() + PATIENCE
    while True:
        answer = subprocess.run([f"{TOOLS}/meshctl", "mesh", "--json", "gateway"], stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, text=True)
        try:
            if answer.returncode == 0 and condition(json.loads(answer.stdout)):
                step(what)
                return
        except (TypeError, KeyError, subprocess.CalledProcessError):
            pass
        if time.monotonic() > end:
            fail(f"not seen: {what}\n{meshctl('mesh', 'gateway')}")
        time.sleep(0.5)


def agents(view):
    """Name of each that has joined, and its radios by identifier."""
    names = {al_mac: name for name, al_mac in AL_MAC.items()}
    return {names[agent["al_mac"]]: {each["radio_id"]: each for each in agent["radios"]}
            for agent in view["agents"] if agent["state"] == "joined"}


def radio_of(view, identifier):
    return next((radios[identifier] for radios in agents(view).values() if identifier in radios), None)


def place(view, client):
    """The BSSID where it is."""
    return next((bss["bssid"] for radios in agents(view).values() for radio in radios.values() for bss in radio["bss"]
                 if client in (each["mac"] for each in bss["clients"])), None)


def is_whole(view):
    return (set(agents(view)) == {"left", "right"}
            and all(radio_of(view, each)["bss"] for each in (LEFT_HOME, RIGHT_HOME))
            and all(place(view, each) for each in (PHONE, LAPTOP, TV)))


def channel(node, interface):
    """The primary channel, as iw says."""
    return int(re.search(r"channel (\d+)", on(node, "iw", "dev", interface, "info"))[1])


def refused(node, interface):
    """The addresses, in small letters, that an access point refuses."""
    return on(node, "hostapd_cli", "-i", interface, "deny_acl", "SHOW").lower()


def start():
    os.environ["QELIPC_BUS_ADDRESS"] = "unix:path=/tmp/bus"
    run("dbus-daemon", "--session", "--fork", "--address=unix:path=/tmp/bus")
    run("lab", "node", *AL_MAC, "phone", "laptop", "tv")
    run("lab", "wire", "gateway", "left0", "left", "wan0")
    for node in AL_MAC:
        on(node, "ip", "link", "add", "br0", "type", "bridge", "forward_delay", "0")
        on(node, "ip", "link", "set", "br0", "up")
    on("gateway", "ip", "link", "set", "left0", "master", "br0")
    on("gateway", "ip", "address", "add", f"{GATEWAY}/24", "dev", "br0")
    on("left", "ip", "link", "set", "wan0", "master", "br0")
    home = ["--ssid", "home", "--standard", "ax", "--width", "80", "--bridge", "br0", "--no-wait"]
    run("lab", "ap", "left", "0", "36", *home)
    run("lab", "ap", "right", "2", "36", *home)
    run("lab", "ap", "left", "1", "6", "--ssid", "backhaul", "--wds", "--bridge", "br0")
    run("lab", "station", "right", "7", "backhaul", "--channels", "6", "--4addr", "--bridge", "br0")
    for number, node in enumerate(["phone", "laptop", "tv"], 4):
        first = RIGHT_HOME if node == "tv" else LEFT_HOME
        run("lab", "station", node, str(number), "home", "--set", f"bssid={first}", "--channels",
            "36 40 44 48 149 153 157 161")
        on(node, "ip", "address", "add", f"10.19.5.{number}/24", "dev", f"wlan{number}")
        on(node, "wpa_cli", "-i", f"wlan{number}", "set_network", "0", "bssid", "any")  # from now on, it may roam
    # Last, since what the other daemons say about the country makes the kernel forget that a channel is free of radar.
    run("lab", "ap", "right", "3", "52", "--ssid", "radar", "--bridge", "br0", "--no-wait")
    run("lab", "capture", "gateway", "left0", f"{FILES}/cable.pcap")
    run("lab", "capture", "right", "wlan7", f"{FILES}/backhaul.pcap")


def main():
    start()
    step("access points, backhaul and clients are up")
    with open("/tmp/policy", "w") as policy:
        policy.write(f"report.interval 5\nplan.settle 0\nplan.use-dfs no\nplan.excluded-radio {RADAR}\n")
    controller = Daemon("gateway", "--controller", "--policy", "/tmp/policy")
    Daemon("left", "--agent", "--backhaul", "wan0", "wlan1*")
    right = Daemon("right", "--agent", "--backhaul", "wlan7")
    wait("the controller knows agents, access points and clients", is_whole)
    print(meshctl("mesh", "gateway"))

    with Pings("phone") as pings:
        pings.wait(30)
        say("steer", PHONE, RIGHT_HOME, "gateway")
        wait("the phone is at the other access point", lambda it: place(it, PHONE) == RIGHT_HOME)
        pings.wait(30)
    pings.report("the phone while it moves", 20)

    say("block", LAPTOP, "gateway", "--from", RIGHT_HOME, "--for", "15")
    wait("the laptop is refused", lambda _: LAPTOP.lower() in refused("right", "wlan2"))
    wait("it is no longer refused", lambda _: LAPTOP.lower() not in refused("right", "wlan2"))

    wait("the phone may go back", lambda _: PHONE.lower() not in refused("left", "wlan0"))
    map_page = Map()
    map_page.until(is_whole)
    step("the map shows radios and clients of both agents")
    start_of_order = time.monotonic()
    order = map_page.request("POST", f"/steer?client={PHONE}&bssid={LEFT_HOME}")
    map_page.until(lambda view: place(view, PHONE) == LEFT_HOME)
    shown = time.monotonic() - start_of_order
    result = json.load(order.getresponse())
    step(f"the map has the phone back after {shown:.1f} s; {result['took'] / 1000:.1f} s for the order: {result['text']}")
    if not result["success"]:
        fail("the order failed")
    meshctl("topology", "gateway", "--html", f"{FILES}/map.html")
    map_page.server.terminate()

    with Pings("laptop") as pings:
        pings.wait(20)
        say("plan", "gateway", "--apply")
        wait("the access points have channels of their own",
             lambda _: channel("left", "wlan0") != channel("right", "wlan2"))
        pings.wait(20)
    pings.report("the laptop while channels change", 30)

    for what, *options in [("backhaul",), ("capabilities",), ("metrics",), ("topology",), ("client", "--client", LAPTOP),
                           ("beacons", "--client", LAPTOP), ("sta-metrics", "--client", LAPTOP),
                           ("unassociated", "--client", TV)]:
        answer = subprocess.run([f"{TOOLS}/meshctl", "ask", AL_MAC["left"], what, "gateway", *options],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        step(f"{what}: {answer.stdout.splitlines()[0]}")

    wait("the channel is free of radar", lambda _: "state=ENABLED" in on("right", "hostapd_cli", "-i", "wlan3", "status"))
    run("lab", "radar", "3")
    wait("the radio has left the radar", lambda it: radio_of(it, RADAR)["channel"] not in (52, None))
    preferences = meshctl("ask", AL_MAC["right"], "preferences", "gateway")
    found = re.search(r".*Class: 118 Channels: \[ 52 \] Preference: 0 .*RADAR.*", preferences)
    if not found:
        fail(preferences)
    step(f"its preferences say why: {found[0].strip()}")

    right.kill()
    wait("an agent is lost", lambda it: "right" not in agents(it))
    right.start()
    wait("it is back", is_whole)
    controller.kill()
    controller.start()
    wait("a new controller knows everything", is_whole)
    os.kill(int(open("/run/lab/radios/2/pid").read()), signal.SIGKILL)
    wait("an access point is gone", lambda it: not (radio_of(it, RIGHT_HOME) or {"bss": []})["bss"])
    on("right", "hostapd", "-B", "-P", "/run/lab/radios/2/pid", "/run/lab/radios/2/conf")
    wait("it is back, with its clients", is_whole)
    print(f"{steps} passed, 0 failed")


main()

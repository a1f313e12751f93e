#!/usr/bin/python3
"""air_test.py BIN_DIRECTORY: in the laboratory, has radios do what an agent may ask of them, with real hostapd and
wpa_supplicant, and compares what came of it with iw and wpa_cli.

Nodes: ap has an access point on 5 GHz (radio 0) and one on 2.4 GHz (1); phone (2) understands requests to move, old (3)
does not; repeater (4) has a backhaul station.
"""

import os
import re
import subprocess
import sys
import threading
import time

PATIENCE = 60  # seconds; emulation is slow
FIVE, TWO, PHONE, OLD, REPEATER = (f"02:00:00:00:0{radio}:00" for radio in range(5))


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def on(node, *command):
    return run("lab", "in", node, *command)


def iw(interface):
    return run("nsenter", "--net=/run/netns/ap", "iw", "dev", interface, "info")


def bssid(node, radio):
    status = on(node, "wpa_cli", "-i", f"wlan{radio}", "status")
    return re.search("^bssid=(.*)$", status, re.M)[1] if "=COMPLETED" in status else None


def until(what, condition):
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            sys.exit(f"never: {what}")
        time.sleep(0.2)
    print(f"{time.monotonic():6.1f} s  {what}", flush=True)


class Probe:
    """The program on a node."""

    def __init__(self, node):
        self.lines, self.news = [], threading.Condition()
        self.process = subprocess.Popen(["lab", "in", node, f"{sys.argv[1]}/air_probe"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True, bufsize=1)
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for line in self.process.stdout:
            with self.news:
                self.lines.append(line.rstrip("\n"))
                self.news.notify()

    def expect(self, pattern, since=0):
        """A line from there on that matches."""
        with self.news:
            if not self.news.wait_for(lambda: any(re.search(pattern, line) for line in self.lines[since:]), PATIENCE):
                sys.exit(f"never: {pattern}\n" + "\n".join(self.lines[since:]))
        print(f"{time.monotonic():6.1f} s  {pattern}", flush=True)

    def send(self, act):
        since = len(self.lines)  # before the answer can come
        self.process.stdin.write(act + "\n")
        return since

    def do(self, act, outcome="OK"):
        self.expect(f"^done {re.escape(act)}: {outcome} in", self.send(act))

    def shows(self, pattern):
        since = self.send("show")
        self.expect("^shown", since)
        return any(re.search(pattern, line) for line in self.lines[since:])


os.environ["QELIPC_BUS_ADDRESS"] = "unix:path=/tmp/air_test.bus"
run("dbus-daemon", "--session", "--fork", "--nopidfile", f"--address={os.environ['QELIPC_BUS_ADDRESS']}")
run("lab", "node", "ap", "phone", "old", "repeater")
probe = Probe("ap")
for radio, number in ((0, 36), (1, 6)):
    run("lab", "ap", "ap", str(radio), str(number), "--wds", "--bridge", "br0")
run("lab", "radio", "old", "3")
with open("/tmp/old.conf", "w") as file:
    file.write('ctrl_interface=/run/wpa_supplicant\ndisable_btm=1\nnetwork={\nssid="mesh"\npsk="try-this-mesh"\n'
               "scan_freq=5180 5200 5220\n}\n")
on("old", "wpa_supplicant", "-B", "-i", "wlan3", "-c", "/tmp/old.conf")
run("lab", "station", "phone", "2", "mesh", "--channels", "36 40 44 6")
probe.expect(f"^joined {FIVE} {PHONE}")
probe.expect(f"^joined {FIVE} {OLD}")
until("what hostapd knows of the phone", lambda: probe.shows(f"^client {PHONE} can_move=1 request=1110"))

# Beacons, from a client that hears both; then a request to move that it follows.
since = len(probe.lines)
probe.do(f"beacons {FIVE} {PHONE} 51000000000002ffffffffffff", "reports")
for heard in (FIVE, TWO):
    probe.expect(f"^report 27..010005.*{heard.replace(':', '')}", since)
probe.do(f"beacons {FIVE} 02:00:00:00:0f:00 51000000000002ffffffffffff", "the BSS has no such client")
probe.do(f"move {FIVE} {PHONE} {TWO} 81 6", f"status 0 {TWO}")
probe.expect(f"^joined {TWO} {PHONE}", since)
until("the phone has moved", lambda: bssid("phone", 2) == TWO)
probe.do(f"move {FIVE} {PHONE} {TWO} 81 6", "nothing")  # it is not there any more
probe.do(f"move {FIVE} {OLD} {TWO} 81 6", "nothing")  # it does not understand


def roam():
    for command in (("bssid_ignore", "clear"), ("scan", "freq=2437")):
        on("phone", "wpa_cli", "-i", "wlan2", *command)
    until("the phone hears it", lambda: TWO in on("phone", "wpa_cli", "-i", "wlan2", "scan_results"))
    on("phone", "wpa_cli", "-i", "wlan2", "roam", TWO)


# Denied, it cannot come back; allowed, it can.
probe.do(f"deny {TWO} {PHONE}")
until("the phone is back", lambda: bssid("phone", 2) == FIVE)
since = len(probe.lines)
roam()
until("the phone is rejected", lambda: f"CTRL-EVENT-AUTH-REJECT {TWO}" in open("/run/lab/radios/2/log").read())
until("the phone has come back", lambda: bssid("phone", 2) == FIVE)
assert not any(line.startswith(f"joined {TWO}") for line in probe.lines[since:])
probe.do(f"allow {TWO} {PHONE}")
roam()
probe.expect(f"^joined {TWO} {PHONE}", since)
probe.do(f"disconnect {TWO} {PHONE}")
probe.expect(f"^left {TWO} {PHONE}", since)

# Channels, seen by iw; a client follows.
for act, shown in (("5200 20 5200", "5200 MHz), width: 20 MHz, center1: 5200 MHz"),
                   ("5220 40 5230", "5220 MHz), width: 40 MHz, center1: 5230 MHz"),
                   ("5180 80 5210", "5180 MHz), width: 80 MHz, center1: 5210 MHz"),
                   ("5180 0 5210 5775", "5180 MHz), width: 80+80 MHz, center1: 5210 MHz, center2: 5775 MHz"),
                   ("5180 20 5180", "5180 MHz), width: 20 MHz, center1: 5180 MHz")):
    probe.do(f"switch {FIVE} {act}")
    assert shown in iw("wlan0"), iw("wlan0")
until("a client is there", lambda: bssid("old", 3) == FIVE)
probe.do(f"switch {TWO} 2462 20 2462")
for radio, act, trouble in ((FIVE, "5260 20 5260", "channel 52 must be checked for radar first"),
                            (TWO, "2472 20 2472", "channel 13 is not allowed"),
                            (PHONE, "5180 20 5180", "there is no such radio")):
    probe.do(f"switch {radio} {act}", trouble)
probe.do(f"power {TWO} 7")
assert "txpower 7.00" in iw("wlan1")

# The backhaul.
run("lab", "station", "repeater", "4", "mesh", "--channels", "36 11", "--4addr", "--bridge", "br0")
repeater = Probe("repeater")
until("the backhaul is shown", lambda: repeater.shows(f"^backhaul {REPEATER} 02"))
there, where = (TWO, "81 11") if bssid("repeater", 4) == FIVE else (FIVE, "115 36")
repeater.do(f"backhaul {REPEATER} {there} {where}")
assert bssid("repeater", 4) == there
repeater.do(f"backhaul {REPEATER} 02:00:00:00:0f:00 {where}", "wpa_supplicant does not find the access point")
probe.expect(f"^joined {there} {REPEATER}")

# hostapd ends in the middle of an act, and is told again what it has forgotten.
until("the phone is somewhere", lambda: bssid("phone", 2))
home, radio = (FIVE, 0) if bssid("phone", 2) == FIVE else (TWO, 1)
probe.do(f"deny {home} {OLD}")
run("sh", "-c", "kill -STOP $(cat /run/lab/radios/2/pid)")
since = probe.send(f"beacons {home} {PHONE} 5100ffff000002ffffffffffff")
run("sh", "-c", f"kill -KILL $(cat /run/lab/radios/{radio}/pid)")
probe.expect("^done beacons .*: (the connection to hostapd is lost|hostapd does not answer) in", since)
on("ap", "hostapd", "-B", f"/run/lab/radios/{radio}/conf")
until("it is denied again", lambda: OLD in on("ap", "sh", "-c", f"hostapd_cli -i wlan{radio} raw DENY_ACL SHOW || :"))

#!/usr/bin/python3
"""Compares what meshd-wifi knows with iw and hostapd, and follows changes, in the laboratory: see scripts/test-wifi.

Nodes: ap has an access point on 5 GHz (radio 0), one on 2.4 GHz (1), which takes 4-address stations, and one that needs
radar detection (4). sta has a station on either band (2), and one with 4 addresses (3).
"""

import json
import os
import re
import subprocess
import sys
import threading
import time

TOOLS = sys.argv[1]
PATIENCE = 100  # seconds for a change; emulation is slow
steps = 0


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def on(node, *command):
    return run("lab", "in", node, *command)


def iw(node, *arguments):
    return run("nsenter", f"--net=/run/netns/{node}", "iw", *arguments)


def step(text):
    global steps
    steps += 1
    print(f"{time.monotonic():6.1f} s  {text}", flush=True)


def fail(text):
    """The reason comes last, where it is looked for."""
    for node in ("ap", "sta"):
        with open(f"/run/{node}.log") as log:
            print(f"--- {node}\n{''.join(log.readlines()[-20:])}", file=sys.stderr)
    sys.exit(text)


class Meshd:
    """meshd-wifi on a node, and the model that it shows."""

    def __init__(self, node, al_mac):
        self.node, self.line, self.parsed, self.updates = node, "{}", None, 0
        self.changed = threading.Condition()
        with open(f"/run/{node}.log", "w") as log:
            self.process = subprocess.Popen(["lab", "in", node, f"{TOOLS}/meshd-wifi", "--name", node, "--al-mac", al_mac,
                                             "--interface", "wlan*"], stdout=log, stderr=log)
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        while self.process.poll() is None:
            answer = subprocess.run([f"{TOOLS}/meshctl", "exec", self.node, "WIFI", "MODEL"], stdout=subprocess.PIPE,
                                    stderr=subprocess.DEVNULL, text=True)
            with self.changed:
                if answer.returncode == 0 and answer.stdout != self.line:
                    self.line, self.parsed, self.updates = answer.stdout, None, self.updates + 1
                    self.changed.notify()
            time.sleep(0.3)

    @property
    def model(self):
        """Parsed on demand, which takes long on an emulated machine."""
        self.parsed = self.parsed or json.loads(self.line)
        return self.parsed

    def wait(self, what, condition):
        with self.changed:
            if not self.changed.wait_for(lambda: self.updates > 0 and condition(self), PATIENCE):
                fail(f"{self.line}\nnot seen: {what}")
        if what:
            step(what)

    def interface(self, name):
        return next((each for each in self.model["interfaces"] if each["name"] == name), None)

    def stations(self, name):
        interface = self.interface(name)
        return [station["mac"] for station in interface["stations"]] if interface else []

    def four_address_interfaces(self):
        """Those that hostapd makes for stations with 4 addresses: it counts all stations, in the order they arrive."""
        return [each for each in self.model["interfaces"] if re.fullmatch(r"wlan1\.sta\d+", each["name"])]

    def states(self, frequency):
        return [channel["state"] for radio in self.model["radios"] for band in radio["bands"]
                for channel in band["channels"] if channel["frequency"] == frequency]


# What iw and the model say, both as a dictionary with the same keys.

def hundredths(text):
    return round(100 * float(text))


def rate_of_iw(text):
    match = re.match(r"([\d.]+) MBit/s(?:.* (\S*MCS) (\d+))?", text)
    mode = {None: None, "MCS": "n", "VHT-MCS": "ac", "HE-MCS": "ax"}[match[2]]
    mcs = int(match[3] or 0)
    width = re.search(r" (\d+)MHz", text)
    streams = re.search(r"NSS (\d+)", text)
    return (round(1000 * float(match[1])), mode, mcs % 8 if mode == "n" else mcs,
            mcs // 8 + 1 if mode == "n" else int(streams[1]) if streams else 1,
            f"{width[1] if width else 20} MHz", "short GI" in text)


STATION = {  # the name in iw: that in the model, and how its text is read
    "inactive time": ("inactive", lambda text: int(text.split()[0])),
    "connected time": ("connected", lambda text: 1000 * int(text.split()[0])),
    "rx bytes": ("received_octets", int), "tx bytes": ("sent_octets", int),
    "rx packets": ("received_packets", int), "tx packets": ("sent_packets", int),
    "tx retries": ("retries", int), "tx failed": ("send_failures", int),
    "rx drop misc": ("receive_drops", int), "beacon loss": ("lost_beacons", int),
    "signal": ("signal", lambda text: int(text.split()[0])),
    "signal avg": ("average_signal", lambda text: int(text.split()[0])),
    "tx bitrate": ("send_rate", rate_of_iw), "rx bitrate": ("receive_rate", rate_of_iw),
    "expected throughput": ("expected_throughput", lambda text: [int(digits) for digits in re.findall(r"\d+", text)]),
    "authorized": ("authorized", "yes".__eq__), "associated": ("associated", "yes".__eq__),
    "MFP": ("protected_management", "yes".__eq__)}
SURVEY = {
    "noise": ("noise", lambda text: int(text.split()[0])),
    "channel active time": ("active", lambda text: int(text.split()[0])),
    "channel busy time": ("busy", lambda text: int(text.split()[0]))}


def lines_of_iw(fields, name, table, text):
    for key, value in re.findall(r"^\t([^:\n]+):\s*(.*)$", text, re.M):
        if key in table:
            field, convert = table[key]
            fields[f"{name} {field}"] = convert(value)


def channels_of_iw(fields, phy, text):
    for band, part in zip(["", "2.4 GHz", "5 GHz", "6 GHz"], re.split(r"^Band \d:\n", text, flags=re.M)):
        for rest in part.split("\t* ")[1:]:
            number = re.search(r"\[(\d+)\]", rest)[1]
            name = f"{phy} {band} channel {number}"
            fields[f"{name} there"] = "(disabled)" not in rest
            if "(disabled)" not in rest:
                dfs = re.search(r"DFS state: (\w+)", rest)
                fields[f"{name} dfs"] = dfs[1] if dfs else None
                fields[f"{name} power"] = hundredths(re.search(r"Maximum TX power: ([\d.]+)", rest)[1])
                widths = re.search(r"Channel widths: (.*)", rest)[1].split()
                if band != "6 GHz":  # there, iw does not look at the HE capabilities
                    fields[f"{name} widths"] = sorted(widths) if re.search("HT40", rest) else ["20MHz"]


def streams_of_iw(fields, phy, text):
    for band, part in zip(["", "2.4 GHz", "5 GHz"], re.split(r"^\tBand \d:\n", text, flags=re.M)[:3]):
        if not band:
            continue
        counts = {"20 MHz": 1}
        for direction in ["receive", "send"]:
            name = "RX" if direction == "receive" else "TX"
            ht = int(re.search(r"HT TX/RX MCS rate indexes supported: 0-(\d+)", part)[1]) // 8 + 1
            counts = {"20 MHz": ht, "40 MHz": ht}
            sets = [(f"VHT {name} MCS set", ["20 MHz", "40 MHz", "80 MHz", "160 MHz", "80+80 MHz"]),
                    (f"HE {name} MCS and NSS set <= 80 MHz", ["20 MHz", "40 MHz", "80 MHz"]),
                    (f"HE {name} MCS and NSS set 160 MHz", ["160 MHz"])]
            for heading, widths in sets:
                for block in re.findall(re.escape(heading) + r":?\n((?:\t+\d streams: .*\n)+)", part):
                    for width in widths:
                        streams = [int(number) for number in re.findall(r"(\d) streams: MCS", block)]
                        counts[width] = max([counts.get(width, 0), *streams])
            fields[f"{phy} {band} {direction}_streams"] = {width: count for width, count in counts.items() if count}
        found = {letter for letter, mark in [("n", "HT TX/RX MCS"), ("ac", "VHT Capabilities"), ("ax", "HE Iftypes")]
                 if mark in part}
        fields[f"{phy} {band} phymodes"] = sorted(found)


def fields_of_iw(node):
    fields = {}
    wiphys = re.findall(r"^phy#(\d+)\n((?:\t.*\n)*)", iw(node, "dev"), re.M)
    for number, text in wiphys:
        phy = f"phy{number}"
        info = iw(node, f"phy#{number}", "info")
        antennas = re.search(r"Available Antennas: TX (\S+) RX (\S+)", info)
        fields[f"{phy} antennas"] = (int(antennas[1], 16), int(antennas[2], 16))
        streams_of_iw(fields, phy, info)
        channels_of_iw(fields, phy, iw(node, f"phy#{number}", "channels"))
        for part in re.split(r"\tInterface ", text)[1:]:
            name = part.split("\n")[0]
            found = dict(re.findall(r"^\t\t(addr|ssid|type|ifindex|txpower|4addr)[ :]+(.*)", part, re.M))
            channel = re.search(r"channel \d+ \((\d+) MHz\), width: (\d+ MHz).*center1: (\d+)", part)
            fields[f"{name} radio"] = int(number)
            fields[f"{name} number"] = int(found["ifindex"])
            fields[f"{name} mac"] = found["addr"].upper()
            fields[f"{name} role"] = found["type"].upper().replace("MANAGED", "STATION").replace("/", "_")
            fields[f"{name} ssid"] = found.get("ssid", "")
            fields[f"{name} four_addresses"] = found.get("4addr") == "on"
            fields[f"{name} power"] = hundredths(found["txpower"].split()[0])
            fields[f"{name} frequency"] = int(channel[1]) * 1000 if channel else None
            fields[f"{name} channel_width"] = channel[2] if channel else None
            fields[f"{name} center"] = int(channel[3]) * 1000 if channel else None
            stations = re.split(r"^Station (\S+).*\n", iw(node, "dev", name, "station", "dump"), flags=re.M)[1:]
            fields[f"{name} stations"] = sorted(mac.upper() for mac in stations[::2])
            for mac, text_of_one in zip(stations[::2], stations[1::2]):
                lines_of_iw(fields, f"{name} station {mac.upper()}", STATION, text_of_one)
            for survey in iw(node, "dev", name, "survey", "dump").split("Survey data")[1:]:
                frequency = re.search(r"frequency:\s+(\d+)(.*in use)?", survey)
                fields[f"{name} survey {frequency[1]} in_use"] = bool(frequency[2])
                lines_of_iw(fields, f"{name} survey {frequency[1]}", SURVEY, survey)
    rules = iw(node, "reg", "get").split("\n\n")[0]
    fields["country"] = re.search(r"country (\w\w)", rules)[1]
    fields["rules"] = [(int(start), int(end), int(width), int(power)) for start, end, width, power in
                       re.findall(r"\((\d+) - (\d+) @ (\d+)\), \(\S+, (\d+)\)", rules)]
    return fields


HOSTAPD = {  # as above; a number alone is that of the rate
    "rx_packets": ("received_packets", int), "tx_packets": ("sent_packets", int),
    "rx_bytes": ("received_octets", int), "tx_bytes": ("sent_octets", int), "signal": ("signal", int),
    "rx_rate_info": ("receive_rate alone", lambda text: 100 * int(text.split()[0])),
    "tx_rate_info": ("send_rate alone", lambda text: 100 * int(text.split()[0])),
    "flags": ("authorized", lambda text: "[AUTHORIZED]" in text)}


def fields_of_hostapd(node, interface):
    said = dict(re.findall(r"^(.*?)=(.*)", on(node, "hostapd_cli", "-i", interface, "status"), re.M))
    if said["state"] != "ENABLED":
        return {}
    fields = {f"{interface} frequency": int(said["freq"]) * 1000, f"{interface} ssid": said["ssid[0]"],
              f"{interface} mac": said["bssid[0]"].upper(), f"{interface} power": 100 * int(said["max_txpower"])}
    stations = re.split(r"^([0-9a-f:]{17})\n", on(node, "hostapd_cli", "-i", interface, "all_sta"), flags=re.M)[1:]
    for mac, text in zip(stations[::2], stations[1::2]):
        said = dict(re.findall(r"^(.*?)=(.*)", text, re.M))
        for key, (field, convert) in HOSTAPD.items():
            fields[f"{said.get('wds_sta_ifname', interface)} station {mac.upper()} {field}"] = convert(said[key])
    return fields


def fields_of_tools(node):
    """What iw shows, and hostapd, with its name before the key."""
    fields = fields_of_iw(node)
    for key in [key for key, value in fields.items() if key.endswith(" role") and value == "AP"]:
        for name, value in fields_of_hostapd(node, key.split()[0]).items():
            fields[f"hostapd: {name}"] = value
    return fields


def fields_of(model):
    fields = {}
    names = {"HT20": "20MHz", "HT80": "VHT80", "HT160": "VHT160", "PRIMARY_LOWER_BEHAVIOR": "HT40+",
             "PRIMARY_UPPER_BEHAVIOR": "HT40-"}
    states = {"PRECAC_TODO": "usable", "CAC_RUNNING": "usable", "DFS_CLEAR": "available", "RADAR_FOUND": "unavailable"}
    for radio in model["radios"]:
        phy = radio["name"]
        fields[f"{phy} antennas"] = tuple(radio["antennas"].values())
        for band in radio["bands"]:
            for direction in ["receive", "send"]:
                streams = {width: count for width, count in band[f"{direction}_streams"].items() if count}
                fields[f"{phy} {band['band']} {direction}_streams"] = streams
            fields[f"{phy} {band['band']} phymodes"] = sorted(set(band["phymodes"]) & {"n", "ac", "ax"})
            for channel in band["channels"]:
                name = f"{phy} {band['band']} channel {channel['channel']}"
                fields[f"{name} there"] = True
                fields[f"{name} dfs"] = states[channel["state"][0]] if channel["state"] else None
                fields[f"{name} power"] = channel["max_power"]
                fields[f"{name} widths"] = sorted(names[each] for each in channel["capabilities"] if each in names)
        fields["country"] = radio["country"]
        fields["rules"] = [(rule["start"] // 1000, rule["end"] // 1000, rule["max_bandwidth"] // 1000,
                            rule["max_power"] // 100) for rule in radio["rules"]]
    for interface in model["interfaces"]:
        name = interface["name"]
        fields.update({f"{name} {key}": value for key, value in interface.items()})
        fields[f"{name} stations"] = sorted(station["mac"] for station in interface["stations"])
        for station in interface["stations"]:
            for key, value in station.items():
                if isinstance(value, dict):
                    fields[f"{name} station {station['mac']} {key} alone"] = value["rate"]
                value = tuple(value.values()) if isinstance(value, dict) else value
                if key == "expected_throughput" and value is not None:
                    value = list(divmod(value * 1000 // 1024, 1000))  # as iw does, without leading zeros
                fields[f"{name} station {station['mac']} {key}"] = value
        for survey in interface["surveys"]:
            for key, value in survey.items():
                fields[f"{name} survey {survey['frequency'] // 1000} {key}"] = value
    return fields


def differences(meshd, node):
    """What changes meanwhile is between what iw said before and after."""
    start = time.monotonic()
    before = fields_of_tools(node)
    begin = meshd.updates
    meshd.wait(None, lambda it: it.updates > begin + 1)
    model = fields_of(meshd.model)
    after = fields_of_tools(node)
    wrong = {}
    for key in before.keys() & after.keys():
        ours = model.get(key.removeprefix("hostapd: "), False if key.endswith(" there") else "missing")
        low, high = before[key], after[key]
        if key.endswith(" inactive"):  # may have begun again several times
            low, high = 0, max(low, high) + round(1000 * (time.monotonic() - start))
        is_count = isinstance(low, int) and isinstance(ours, int) and not isinstance(low, bool)
        if ours not in (low, high) and not (is_count and min(low, high) <= ours <= max(low, high)):
            wrong[key] = f"{ours!r} instead of {low!r} to {high!r}"
    return before, wrong


def compare(meshd, node):
    values, wrong = differences(meshd, node)
    for _ in range(3):  # a rate can change to another and back
        if wrong:
            _, again = differences(meshd, node)
            wrong = {key: text for key, text in wrong.items() if key in again}
    if wrong:
        fail("\n".join(sorted(f"{key}: {text}" for key, text in wrong.items())))
    kinds = {" ".join(word for word in key.split() if not re.search(r"\d|GHz|wlan", word)) for key in values}
    step(f"{node}: {len(values)} values agree: {', '.join(sorted(kinds))}")


def told_by_iw(node):
    """The interfaces that are on a channel, and the signals of the stations, as the mesh should know them."""
    fields = fields_of_iw(node)
    told = {}
    for name in [key.split()[0] for key in fields if key.endswith(" channel_width") and fields[key]]:
        mac, role, center, stations = (fields[f"{name} {key}"] for key in ("mac", "role", "center", "stations"))
        if role in ("AP", "STATION"):  # AP_VLAN has the address of its access point
            told[mac] = (role.removesuffix("TION"), mac if role == "AP" else stations[0],
                         fields[f"{name} channel_width"].split()[0],
                         (center - 2407000) // 5000 if center < 3000000 else (center - 5000000) // 5000,
                         "N_2_4_GHZ" if center < 3000000 else "AC_5_GHZ")  # as the laboratory sets them up
        for station in stations:
            told[f"{mac} hears {station}"] = 2 * (fields[f"{name} station {station} average_signal"] + 110)
    return told


def told_by_mesh(node, al_mac):
    shown = json.loads(run(f"{TOOLS}/meshctl", "topology", "--json", node))
    told = {}
    for each in next(device for device in shown["nodes"] if device["al_mac"] == al_mac)["interfaces"]:
        wlan = each["wlan"] or {}
        told[each["mac"]] = (*(wlan.get(key) for key in ("role", "bssid", "width", "center_channel")), each["mode"])
    for link in shown["links"]:
        if link["from"] == al_mac:
            told[f"{link['from_interface']} hears {link['to_interface']}"] = link["receiver"]["rcpi"]
    return told


def compare_mesh(node, al_mac, link):
    """`link` is one that both know: hosts have none."""
    for _ in range(10):
        iw_says, mesh_says = told_by_iw(node), told_by_mesh(node, al_mac)
        wrong = {key: (mesh_says.get(key), value) for key, value in iw_says.items()
                 if mesh_says.get(key) != value and (" hears " not in key or key == link)}
        if not wrong and link in iw_says:
            step(f"{node}: the mesh knows {len(iw_says)} interfaces and signals")
            return
        time.sleep(1)
    fail(f"the mesh knows something else than iw: {wrong or link}")


def main():
    os.environ["QELIPC_BUS_ADDRESS"] = "unix:path=/tmp/bus"
    run("dbus-daemon", "--session", "--fork", "--address=unix:path=/tmp/bus")
    run("lab", "node", "ap", "sta")
    ap, sta = Meshd("ap", "02:00:5E:00:00:01"), Meshd("sta", "02:00:5E:00:00:02")
    run("lab", "ap", "ap", "4", "52", "--no-wait")
    run("lab", "ap", "ap", "0", "36", "--width", "80")
    run("lab", "ap", "ap", "1", "6", "--wds", "--bridge", "br0")
    ap.wait("the radar check is running", lambda it: ["CAC_RUNNING"] in it.states(5260000))
    run("lab", "station", "sta", "2", "mesh", "--channels", "36 6")
    run("lab", "station", "sta", "3", "mesh", "--channels", "6", "--4addr")
    one, two = "02:00:00:00:00:00", "02:00:00:00:01:00"
    ap.wait("both stations are there",
            lambda it: it.stations("wlan0") == ["02:00:00:00:02:00"]
            and any(each["stations"] for each in it.four_address_interfaces()))
    compare(ap, "ap")
    compare(sta, "sta")
    compare_mesh("ap", "02:00:5E:00:00:01", f"{two} hears 02:00:00:00:03:00")
    compare_mesh("sta", "02:00:5E:00:00:02", f"02:00:00:00:03:00 hears {two}")

    on("ap", "hostapd_cli", "-i", "wlan0", "chan_switch", "5", "5220", "sec_channel_offset=1", "center_freq1=5210",
       "bandwidth=80", "ht", "vht")
    for node, interface in ((ap, "wlan0"), (sta, "wlan2")):
        node.wait("channel switch", lambda it: it.interface(interface)["frequency"] == 5220000)
    on("sta", "wpa_cli", "-i", "wlan2", "scan", "freq=2437")
    sta.wait("the station hears both", lambda it: two in on("sta", "wpa_cli", "-i", "wlan2", "scan_results").upper())
    on("sta", "wpa_cli", "-i", "wlan2", "roam", two)
    sta.wait("the station roams", lambda it: it.stations("wlan2") == [two]
             and it.interface("wlan2")["frequency"] == 2437000)
    ap.wait("it is on the other access point", lambda it: "02:00:00:00:02:00" in it.stations("wlan1"))
    iw("ap", "dev", "wlan0", "interface", "add", "mon0", "type", "monitor")
    ap.wait("interface added", lambda it: it.interface("mon0"))
    iw("ap", "dev", "mon0", "del")
    ap.wait("interface removed", lambda it: not it.interface("mon0"))

    ap.wait("the channel is free of radar", lambda it: ["DFS_CLEAR"] in it.states(5260000))
    run("lab", "radar", "4")
    ap.wait("radar", lambda it: ["RADAR_FOUND"] in it.states(5260000)
            and it.interface("wlan4")["frequency"] not in (None, 5260000))
    run("iw", "reg", "set", "DE")
    ap.wait("regulatory change", lambda it: it.model["radios"][0]["country"] != "US")
    compare(ap, "ap")

    os.kill(int(open("/run/lab/radios/1/pid").read()), 9)
    ap.wait("hostapd is killed", lambda it: not it.stations("wlan1") and not it.four_address_interfaces())
    on("ap", "hostapd", "-B", "-P", "/run/lab/radios/1/pid", "/run/lab/radios/1/conf")
    ap.wait("hostapd is back", lambda it: any(each["stations"] for each in it.four_address_interfaces()))
    node = open("/run/lab/nodes/ap/pid").read().strip()
    iw("ap", "phy#4", "set", "netns", "1")
    ap.wait("a radio is unplugged", lambda it: not it.interface("wlan4") and len(it.model["radios"]) == 2)
    run("iw", "phy#4", "set", "netns", node)
    ap.wait("it is back", lambda it: len(it.model["radios"]) == 3)
    run("modprobe", "-r", "mac80211_hwsim", "mac80211", "cfg80211")
    ap.wait("the kernel has no Wi-Fi", lambda it: not it.model["radios"])
    run("modprobe", "mac80211_hwsim", "radios=1")
    run("iw", "phy", os.listdir("/sys/class/ieee80211")[0], "set", "netns", node)
    ap.wait("it has Wi-Fi again", lambda it: len(it.model["radios"]) == 1)
    run("sh", "-c", "rm /run/lab/radios/*/node")  # these radios cannot be put back
    print(f"{steps} passed, 0 failed")


main()

#!/usr/bin/python3
"""Checks the map of a live mesh in Chromium, and leaves screenshots in a folder; scripts/demo-web runs it."""

import json
import os
import re
import shutil
import subprocess
import sys
import time
import urllib.parse

sys.path.insert(0, os.path.dirname(__file__))
from browser import Browser  # noqa: E402

HOSTILE = '<s>x&"lan'  # the name of an interface of node two
MAC = "02:19:05:AA:00:0"
URL = urllib.parse.urlparse(os.environ["MESH_URL"])
NODES, LINKS, RADIOS = 5, 5, 8
CLIENTS = {"phone": "study", "tablet": "study", "watch": "hall", "camera": "garage", "notebook": "kitchen"}  # and where they are
LIMIT = 2  # seconds within which a lost link shows


def node(number):
    return f"document.querySelector('.node[data-id=\"{MAC}{number}\"]')"


def run(variable, *arguments):
    subprocess.run(os.environ[variable].split() + list(arguments), check=True)


def no_complaints(browser):
    browser.value("new Promise((done) => setTimeout(done, 0))")  # what is on its way arrives first
    assert not browser.complaints, browser.complaints


OK_LINKS = "document.querySelectorAll('#map .edge.ok:not(.host):not(.leaf)').length"


def at(name, device):
    """Whether the map has this client at this device."""
    return f"[...document.querySelectorAll('.node.client')].some((one) => one.ariaLabel.startsWith({json.dumps(f'client {name}, home, at {device}')}))"


def order(browser, selected, form, fill, done, shown):
    """Gives an order in a form of what is selected. Returns how many seconds later it showed."""
    browser.value(f"page.select('{selected}')")
    form = f"document.querySelector('#details form[aria-label=\"{form}\"]')"
    browser.eventually(form)
    for control, value in fill.items():
        browser.value(f"{form}.querySelector('{control}').value = '{value}'")
    start = time.monotonic()
    browser.value(f"{form}.querySelector('button').click()")
    browser.eventually(shown)
    took = time.monotonic() - start
    browser.eventually(f"{form}.querySelector('[role=status]').textContent.startsWith('{done} in ')")
    return took


def wireless(browser, folder):
    """Radios and clients, and what a controller makes of them; without the token, nobody can give orders."""
    phone = "client 02:19:05:CC:00:01"
    for name, device in CLIENTS.items():
        browser.eventually(at(name, device))
    lanes = "[...document.querySelectorAll('#radios-view .lane')].map((lane) => lane.querySelector('text').textContent).join('; ')"
    browser.eventually(f"{lanes} === 'study: ch. 1, 20 MHz; hall, garage: ch. 6, 20 MHz; kitchen: ch. 11, 20 MHz; "
                       "study, kitchen: ch. 36, 80 MHz; hall: ch. 52, 80 MHz; garage: ch. 100, 40 MHz'")
    browser.value(f"page.select('{phone}')")
    browser.eventually("document.querySelector('#details form')")
    browser.value("location.hash = ''")
    browser.eventually("!document.querySelector('#details form')")
    browser.value(f"location.hash = '{URL.fragment}'")
    took = order(browser, phone, "Move phone", {"select": "02:19:05:A0:02:05"}, "moved", at("phone", "hall"))
    print(f"the move of a client showed after {took:.2f} s")
    browser.screenshot(f"{folder}/moved.png")
    took = order(browser, f"{MAC}1", "Change the 5 GHz channel", {"input": 44, "select": 40}, "changed",
                 f"{lanes}.includes('study: ch. 44, 40 MHz')")
    print(f"a change of channel showed after {took:.2f} s")
    browser.screenshot(f"{folder}/channel.png")


def live(folder):
    with Browser() as browser:
        browser.open(URL.geturl())
        for _ in range(6):  # hidden, they leave the browser's connections to the page that is seen
            browser.call("Target.createTarget", url=URL.geturl(), background=True)
        for number in range(1, NODES + 1):
            browser.eventually(f"{node(number)}?.classList.contains('answered')")
        browser.eventually("document.getElementById('state').textContent === 'live'")
        browser.eventually(f"{OK_LINKS} === {LINKS}")
        names = "[...document.querySelectorAll('#map text.name:not(.hidden)')].map((text) => text.textContent)"
        browser.eventually(f"['study', 'hall', 'kitchen', 'garage', 'attic', 'tv', 'switch'].every((name) => {names}.includes(name))")
        browser.screenshot(f"{folder}/map.png")

        wireless(browser, folder)

        # A name from the network is text, and the keyboard goes where the mouse does.
        run("SPOIL")
        browser.value(f"{node(2)}.dispatchEvent(new MouseEvent('click', {{bubbles: true}}))")
        browser.eventually(f"document.getElementById('details').textContent.includes({json.dumps(HOSTILE)})")
        browser.eventually(at('<b>watch&"', "hall"))
        assert browser.value("document.querySelectorAll('s, img, b').length") == 0, "a name is text"
        browser.screenshot(f"{folder}/details.png")
        browser.value(f"{node(2)}.focus()")
        for key in ("ArrowRight", "ArrowLeft", "Enter"):
            browser.press(key)
        assert browser.value("document.activeElement.classList.contains('node')"), "the arrows move the focus"
        assert browser.value("document.querySelectorAll('.node.selected').length") == 1
        assert browser.value("[...document.querySelectorAll('.node, button')].every((one) => one.ariaLabel || one.textContent)"), \
            "a screen reader has something to say"

        browser.value("document.getElementById('table-tab').click()")
        rows = browser.value("[...document.querySelectorAll('#table-view tbody tr')].map((row) => row.textContent)")
        assert len(rows) == NODES + LINKS + RADIOS + len(CLIENTS), rows
        browser.screenshot(f"{folder}/table.png")
        browser.value("document.getElementById('map-tab').click()")

        start = time.monotonic()
        run("CUT")
        browser.eventually(f"{OK_LINKS} < {LINKS}")
        took = time.monotonic() - start
        print(f"a lost link showed after {took:.2f} s")
        assert took < LIMIT
        browser.eventually("document.querySelector('#events .lost') !== null")
        browser.screenshot(f"{folder}/lost.png")
        run("MEND")
        browser.eventually(f"{OK_LINKS} === {LINKS}")

        host = "document.querySelector('.node[data-id^=\"host\"][data-id$=\"02:19:05:BB:00:01\"]')?.dataset.id"
        browser.eventually(f"{host}?.includes('{MAC}1')")
        start = time.monotonic()
        run("MOVE")
        browser.eventually(f"{host}?.includes('{MAC}3')")
        print(f"the move of a host showed after {time.monotonic() - start:.2f} s")

        browser.resize(390, 844, 2)
        browser.value("document.getElementById('zoom-fit').click()")
        assert browser.value("document.documentElement.scrollWidth <= innerWidth"), "nothing sticks out on a telephone"
        browser.screenshot(f"{folder}/telephone.png")
        no_complaints(browser)


def large(topology, number=200):
    """A mesh of so many devices: a tree, with hosts."""
    model = next(one for one in topology["nodes"] if one["self"])
    name = "</script><script>alert(1)</script>"

    def mac(kind, index):
        return f"02:19:05:{kind:02X}:{index // 256:02X}:{index % 256:02X}"

    nodes, links, segments = [], [], []
    for index in range(number):
        one = dict(model, al_mac=mac(1, index), self=index == 0, name=name if index == 3 else f"node-{index}", blocked=[],
                   bridges=[], reported_by=[], age=1, state="unreachable" if index % 40 == 39 else "answered",
                   interfaces=[{"mac": mac(2, index), "name": "up", "type": "WLAN", "mode": "AC_5_GHZ"},
                               {"mac": mac(3, index), "name": "lan", "type": "ETHERNET", "mode": "GIGABIT_ETHERNET"}],
                   hosts=[{"interface": mac(3, index), "macs": [mac(4, index)]}] if index % 3 == 0 else [])
        nodes.append(one)
        if index:
            above = (index - 1) // 3
            ends = [{"al_mac": mac(1, above), "interface": mac(3, above)}, {"al_mac": mac(1, index), "interface": mac(2, index)}]
            segments.append({"switch": False, "ports": ends})
            links.append({"from": mac(1, index), "from_interface": mac(2, index), "to": mac(1, above),
                          "to_interface": mac(3, above), "receiver": None, "bridged": False,
                          "transmitter": {"packet_errors": 0, "transmitted_packets": 1, "mac_throughput_capacity": 0,
                                          "link_availability": 30 if index % 17 == 0 else 100, "phy_rate": 866}})
    return {"name": name, "al_mac": mac(1, 0), "nodes": nodes, "links": links, "segments": segments}


def wifi(file):
    """Radios and clients as meshctl(1) describes them, in a page that has a mesh."""
    at = {"interface": "wlan1", "role": "AP", "ssid": "home", "bssid": MAC + "9", "security": None, "connected": 3,
          "average_signal": None, "receive_rate": None}
    rate = {"rate": 866700, "mode": "ac", "streams": 2, "channel_width": "80 MHz"}
    clients = [dict(at, mac="02:19:05:BB:00:02", name="<b>tv", signal=-52, send_rate=rate),
               dict(at, mac="02:19:05:BB:00:09", name=None, signal=-81, send_rate=None)]
    channel = {"primary_freq": 5500000, "primary_center": 5530000, "channel_width": "80 MHz", "secondary_center": None, "max_power": 23}
    radio = {"name": "phy1", "radio_id": MAC + "9", "bands": ["5 GHz"], "band": "5 GHz", "channel": 100, "channel_info": channel, "utilization": 7,
             "noise": -101, "dfs_state": "CLEAR", "interfaces": [{"name": "wlan1", "ssid": "home", "bssid": MAC + "9", "clients": 2}]}
    with Browser() as browser:
        browser.open("file://" + os.path.abspath(file))
        browser.value("page.take('controller', null)")
        hosts = browser.value("document.querySelectorAll('.node.host').length")
        browser.value(f"page.take('radios', {{radios: [{json.dumps(radio)}]}}), page.take('clients', {{clients: {json.dumps(clients)}}})")
        assert browser.value("document.querySelectorAll('.node.client').length") == 2
        assert browser.value("document.querySelectorAll('.node.host').length") == hosts - 1, "the television is a client now"
        assert browser.value("document.querySelectorAll('.edge.wifi.poor').length") == 1, "a weak signal"
        label = browser.value("document.querySelector('#radios-view svg').ariaLabel")
        assert label == "5 GHz: phy1, channel 100, 80 MHz, 7 % busy, clear, 2 clients", label
        browser.resize(390, 844)
        assert browser.value("[...document.querySelectorAll('.node')].every((one) => (page.select(one.dataset.id), "
                             "one.getBoundingClientRect().bottom < document.getElementById('details').getBoundingClientRect().top))"), \
            "a telephone shows what was selected"
        browser.resize(1200, 800)
        browser.value("page.select('client 02:19:05:BB:00:02')")
        details = browser.value("document.getElementById('details').innerText")
        assert "−52 dBm" in details and "867 Mb/s, ac, 80 MHz, 2 streams" in details and "<b>tv" in details, details
        of_controller(browser)
        orders(browser)
        browser.value("page.take('controller', null), page.take('clients', {clients: []})")
        assert browser.value("document.querySelectorAll('.node.client').length") == 0
        assert browser.value("document.querySelectorAll('.node.host').length") == hosts, "back on its cable"
        no_complaints(browser)


def agent(number, name, clients, channel=100, state="joined"):
    """One with a radio, whose identifier is that of its BSS."""
    told = {"name": None, "backhaul_of": None, "downlink_rate": 400, "uplink_rate": None, "measured": 1, "downlink_traffic": None,
            "uplink_traffic": None, "asked_to_move": None, "last_status": None, "refusals": 0, "hears": [], "signal": -60, "connected": 9}
    radio = {"radio_id": number, "band": "5 GHz", "channel": channel, "primary_freq": 5000000 + 5000 * channel, "channel_width": "80 MHz",
             "power": 20, "utilization": None, "utilization_age": None, "switched": None,
             "bss": [{"bssid": number, "ssid": "home", "clients": [dict(told, **client) for client in clients]}]}
    return {"al_mac": name, "name": name, "state": state, "heard": 1, "radios": [radio]}


def take(browser, *agents):
    answer = {"name": "two", "al_mac": MAC + "2", "other_controllers": [], "agents": agents}
    browser.value(f"page.take('controller', {json.dumps(answer)})")


def of_controller(browser):
    """Adds what a controller knows to a page that has two clients, of which it knows one, and a radio."""
    host = "02:19:05:BB:00:0"
    tv, phone = {"mac": host + "2", "hears": [{"bssid": MAC + "8", "signal": -71}]}, {"mac": host + "A", "name": HOSTILE}
    backhaul, weak = {"mac": host + "B", "backhaul_of": MAC + "3"}, {"mac": host + "9"}
    far = [MAC + "8", MAC + "3"]
    clients = "[...document.querySelectorAll('.node.client')].map((one) => one.ariaLabel).sort().join('; ')"
    take(browser, agent(MAC + "9", MAC + "2", [tv, backhaul]), agent(*far, [phone], 36))
    found = browser.value(clients)
    assert found == f"client {host}9, home, at hall, −81 dBm; client <b>tv, home, at hall, −52 dBm; " \
        f"client {HOSTILE}, home, at kitchen, −60 dBm", found
    details = browser.value("document.getElementById('details').innerText")
    assert "867 Mb/s, ac" in details and "kitchen, 5 GHz, channel 36: −71 dBm" in details, details
    browser.value(f"page.select('{MAC}3')")
    assert browser.value("document.querySelector('#radios-view .marked').textContent").startswith("kitchen"), "its lane stands out"
    assert "from hall, −60 dBm, 400 Mb/s down" in browser.value("document.getElementById('details').innerText")
    browser.value("document.getElementById('table-tab').click()")
    cells = browser.value("[...document.querySelectorAll('#table-view tr')].map((row) => row.innerText.replace(/\\s+/g, ' ')).join('; ')")
    for row in (f"hall {MAC}2 controller, access point this node", "hall phy1 5 GHz 100", f"kitchen {MAC}8 5 GHz 36",
                f"{HOSTILE} {host}A kitchen AP", f"kitchen {host}B hall AP, backhaul"):
        assert row in cells, cells
    browser.value("document.getElementById('map-tab').click()")

    # A client keeps its element, the focus and the selection as it moves; an agent that is lost has none.
    browser.value(f"moving = document.querySelector('.node[data-id=\"client {host}9\"]'), moving.focus(), page.select(moving.dataset.id)")
    for there, state in (("kitchen", "joined"), ("hall", "lost")):
        take(browser, agent(*far, [weak], 36, state))
        assert browser.value("moving === document.activeElement && moving.ariaPressed") == "true"
        assert f"at {there}" in browser.value("moving.ariaLabel"), there
        assert there in browser.value("document.querySelector('#details dd:nth-of-type(2)').textContent")
    numbers = [f"02:19:05:CC:{index // 256:02X}:{index % 256:02X}" for index in range(600)]
    take(browser, *(agent(number, number, [], 36 + 16 * (index % 2)) for index, number in enumerate(numbers)))
    browser.value(f"page.select('{numbers[0]}')")
    lanes = browser.value("[...document.querySelectorAll('.lane')].map((lane) => lane.querySelector('text').textContent).join('; ')")
    assert "00:00 + 299: ch. 36" in lanes and "300 radios: ch. 52" in lanes and lanes.count(";") == 2, lanes


def orders(browser):
    """Gives orders, which nobody carries out, in a page without a server."""
    client, far = {"mac": "02:19:05:BB:00:0C", "hears": [{"bssid": MAC + "7", "signal": -71}]}, [MAC + "7", MAC + "4", []]
    forms, here, there = "document.querySelectorAll('#details form').length", [MAC + "8", MAC + "3"], [MAC + "6", MAC + "5", []]
    field = "document.querySelector('#details form {}')".format

    def result(text):
        browser.eventually(f"{field('[role=status]')}.textContent === {json.dumps(text)} && {field('button')} === document.activeElement")

    take(browser, agent(*here, [client]), agent(*there), agent(*far, 36))
    browser.value("document.getElementById('table-tab').click()")
    row = f"[...document.querySelectorAll('#table-view button')].find((one) => one.textContent === '{client['mac']}')"
    browser.value(f"{row}.focus(), document.activeElement.click()")
    assert browser.value("document.activeElement.tagName") == "H2", "the focus goes to the heading of the details"
    for actions, fragment, count in ((True, "", 0), (False, "token=" + "0a" * 16, 0), (True, "token=<b>", 0), (True, "token=" + "0a" * 16, 1)):
        browser.value(f"page.takeState({{answers: true, reason: '', actions: {json.dumps(actions)}}}), location.hash = '{fragment}'")
        browser.eventually(f"{forms} === {count}")
    choices = browser.value("[...document.querySelectorAll('#details option')].map((one) => one.textContent).join('; ')")
    assert choices == "garage, 5 GHz, channel 36, −71 dBm; attic, 5 GHz, channel 100", choices

    # What is entered stays while answers arrive, and a client that is nowhere for a moment keeps its form.
    browser.value("fetch = (...asked) => new Promise((answer) => Object.assign(window, {asked, answer}))")
    browser.value(f"{field('select')}.value = '{there[0]}', {field('input')}.click(), {field('button')}.focus()")
    take(browser, agent(*there), agent(*far, 40), agent(*here, [dict(client, signal=-40)]))
    browser.value("document.activeElement.click()")
    take(browser, agent(*here, []), agent(*there), agent(*far, 36))
    assert browser.value(f"{field('')}.ariaBusy === 'true' && {field('button')}.disabled")
    url, options = browser.value("asked")
    assert url == "steer?client=02%3A19%3A05%3ABB%3A00%3A0C&bssid=02%3A19%3A05%3AAA%3A00%3A06&open=1", url
    assert options == {"method": "POST", "headers": {"X-Mesh-Token": "0a" * 16}}, options
    take(browser, agent(*here, []), agent(*there[:2], [client]), agent(*far, 36))
    browser.value("answer(new Response(JSON.stringify({success: true, took: 1740, text: ''})))")
    result("moved in 1.7 s")
    browser.value("document.querySelector('#details header button').click()")
    assert browser.value(f"{row} === document.activeElement"), "back in the table"

    browser.value("document.getElementById('map-tab').click()")
    browser.value(f"page.select('{far[1]}'), {field('input')}.value = 149, {field('button')}.focus()")
    take(browser, agent(*far, 44))
    browser.value("document.activeElement.click(), answer(new Response('<b>no</b>\\n', {status: 409}))")
    result("<b>no</b>")
    assert browser.value("asked[0]") == "channel?radio=02%3A19%3A05%3AAA%3A00%3A07&channel=149&width=80"
    take(browser, agent(*far, 149))
    take(browser, agent(*far, 44))
    assert browser.value(f"{field('input')}.value") == "44", "what nobody entered follows the radio"


def saved(folder):
    file = f"{folder}/saved.html"
    run("SAVE", file)
    with open(file, encoding="utf-8") as page:
        text = page.read()
    block = r'(<script id="topology" type="application/json">)(.*?)(</script>)'
    topology = json.loads(re.search(block, text, re.S)[2])
    big = json.dumps(large(topology)).replace("<", "\\u003c")
    many = f"{folder}/large.html"
    with open(many, "w", encoding="utf-8") as page:
        text = re.sub(block.replace("topology", "controller"), "", text, flags=re.S)
        page.write(re.sub(block, lambda found: found[1] + big + found[3], text, flags=re.S))
    wifi(file)
    for path, count, dark in ((file, NODES, False), (many, 200, True)):
        with Browser(1600, 1000, dark) as browser:
            start = time.monotonic()
            browser.open("file://" + os.path.abspath(path))
            browser.eventually(f"document.querySelectorAll('.node.device').length === {count}")
            print(f"{count} nodes showed after {time.monotonic() - start:.1f} s")
            browser.screenshot(f"{folder}/{count}-nodes.png")
            assert browser.value("performance.getEntriesByType('resource').length") == 0, "no request leaves the page"
            no_complaints(browser)


if shutil.which("chromium") is None:
    print("skipped: Chromium is not installed")
    sys.exit(3)
os.makedirs(sys.argv[1], exist_ok=True)
live(sys.argv[1])
saved(sys.argv[1])
print("the map is well")

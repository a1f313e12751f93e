#!/usr/bin/python3
"""Takes the picture of the map in the README; scripts/demo-web runs it beside a mesh."""

import os
import sys

sys.path.insert(0, os.path.dirname(__file__))
from browser import Browser  # noqa: E402

ALL = "document.querySelectorAll('.node.answered').length === 5 && " \
      "document.querySelectorAll('#map .edge.ok:not(.host):not(.leaf)').length === 5 && " \
      "document.querySelectorAll('.node.host').length === 3 && document.querySelectorAll('.node.client').length === 5"
PHONE = "document.querySelector('.node[data-id=\"client 02:19:05:CC:00:01\"]')"

with Browser(1100, 720) as browser:
    browser.open(os.environ["MESH_URL"])
    browser.eventually(ALL)
    browser.value(f"{PHONE}.dispatchEvent(new MouseEvent('click', {{bubbles: true}}))")
    browser.eventually("document.querySelector('#details form')")
    browser.value("document.querySelector('#details select').value = '02:19:05:A0:02:05'")
    browser.value("document.querySelector('#details form button').click()")
    browser.eventually("document.querySelector('#details [role=status]').textContent.startsWith('moved')")
    browser.eventually(f"{ALL} && {PHONE}.ariaLabel.includes('at hall, −') && document.getAnimations().length === 0")
    browser.screenshot(sys.argv[1])

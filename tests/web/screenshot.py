#!/usr/bin/python3
"""Takes the picture of the map in the README; scripts/demo-web runs it beside a mesh."""

import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(__file__))
from browser import Browser  # noqa: E402

ALL = "document.querySelectorAll('.node.answered').length === 5 && " \
      "document.querySelectorAll('#map .edge.ok:not(.host):not(.leaf)').length === 5 && " \
      "document.querySelectorAll('.node.host').length === 3"

with Browser(1100, 640) as browser:
    browser.open(os.environ["MESH_URL"])
    browser.eventually(ALL)
    subprocess.run(os.environ["CUT"].split(), check=True)
    browser.eventually("document.querySelectorAll('#events .lost').length === 3")
    subprocess.run(os.environ["MEND"].split(), check=True)
    browser.eventually(ALL)
    browser.value("document.querySelector('.node.self').dispatchEvent(new MouseEvent('click', {bubbles: true}))")
    browser.screenshot(sys.argv[1])

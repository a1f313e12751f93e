#!/usr/bin/env python3
"""Prints the links of a site that lead nowhere: to a file that is not there, or to a place that it does not have.

  docs/check_links.py SITE      exits with status 1 if there is such a link

Links in api/ are Doxygen's own and not looked at.
"""

import functools
import html.parser
import pathlib
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links = []
        self.places = {"", "top"}
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name == "id" or (tag == "a" and name == "name"):
                self.places.add(value)
            elif name in ("href", "src"):
                self.links.append(value)


read = functools.cache(Page)


def is_broken(site, page, link):
    url = urllib.parse.urlsplit(link)
    if url.scheme or url.netloc:
        return False  # elsewhere
    path = urllib.parse.unquote(url.path)
    target = (site / path.lstrip("/") if path.startswith("/") else page.parent / path).resolve() if path else page
    if not target.is_file():
        return True
    return target.suffix == ".html" and urllib.parse.unquote(url.fragment) not in read(target).places


def main():
    if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    site = pathlib.Path(sys.argv[1]).resolve()
    pages = [page for page in sorted(site.rglob("*.html")) if site / "api" not in page.parents]
    broken = [(page, link) for page in pages for link in read(page).links if is_broken(site, page, link)]
    for page, link in broken:
        print(f"{page.relative_to(site)}: {link}")
    sys.exit(1 if broken else 0)


main()

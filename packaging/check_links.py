#!/usr/bin/env python3
"""Checks that each link of the pages in these directories leads to a file, and to a heading of it."""
import html.parser
import pathlib
import re
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.names = [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.names.add(values.get("id"))
        target = values.get("href") if tag == "a" else values.get("src") if tag == "img" else None
        if target:
            self.links.append(target)


def main(directories):
    broken, count = [], 0
    pages = {path: Page(path) for directory in directories for path in pathlib.Path(directory).rglob("*.html")}
    for path, page in pages.items():
        for link in page.links:
            if re.match(r"[a-z]+:", link):
                continue
            count += 1
            target, _, name = urllib.parse.unquote(link).partition("#")
            file = (path.parent / target) if target else path
            if not file.exists() or (name and file in pages and name not in pages[file].names):
                broken.append(f"{path}: {link}")
    print("\n".join(broken))
    return not broken and count > 50


sys.exit(0 if main(sys.argv[1:]) else 1)

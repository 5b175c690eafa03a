#!/usr/bin/env python3
"""Checks that each link of the pages in these directories leads to a file, and to a heading of it, and that the
pages have no elements but those of HTML: a text such as <name> would be one, which nobody sees."""
import html.parser
import pathlib
import re
import sys
import urllib.parse

ELEMENTS = set("""a blockquote body br code col colgroup dd del div dl dt em figcaption figure h1 h2 h3 h4 h5 h6 head
    header hr html img li link meta ol p pre s section span strong style sub sup table tbody td th thead title tr
    ul""".split())


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.names, self.strangers = [], set(), set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.names.add(values.get("id"))
        self.strangers |= {tag} - ELEMENTS
        target = values.get("href") if tag == "a" else values.get("src") if tag == "img" else None
        if target:
            self.links.append(target)


def main(directories):
    broken, count = [], 0
    pages = {path: Page(path) for directory in directories for path in pathlib.Path(directory).rglob("*.html")}
    for path, page in pages.items():
        broken += [f"{path}: <{tag}>" for tag in sorted(page.strangers)]
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

# SPDX-FileCopyrightText: The stbconfig authors
# SPDX-License-Identifier: MIT
"""Usage: check_links.py [SITE]
Fails if a link in a Markdown page of the tree, or in a page of the site in the folder, names a file, a folder
or a heading that is not there. Follows no link that leaves the tree or the site."""
import html.parser
import pathlib
import re
import subprocess
import sys
import urllib.parse

FENCED = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"`[^`]*`")
LINK = re.compile(r"\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)


class MarkdownPage:
    """The links of a page, and the anchors that a forge makes of its headings."""

    def __init__(self, text):
        prose = FENCED.sub("", text)
        self.links = LINK.findall(CODE.sub("", prose))
        self.anchors = {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
                        for heading in HEADING.findall(prose)}


class HtmlPage(html.parser.HTMLParser):
    """The same of a page of the site."""

    def __init__(self, text):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("href", "src", "data"):
                self.links.append(value)
            elif name == "id" or (tag, name) == ("a", "name"):
                self.anchors.add(value)


KINDS = {".md": MarkdownPage, ".html": HtmlPage}


def faults(top, files):
    """(page, link, what is wrong, or None) of each link within the pages among the files below a folder."""
    places = {top, *files, *(folder for file in files for folder in file.parents)}
    pages = {file: KINDS[file.suffix](file.read_text(encoding="utf-8"))
             for file in files if file.suffix in KINDS}
    for page in sorted(pages):
        for link in pages[page].links:
            url = urllib.parse.urlsplit(link)
            if url.scheme or url.netloc:
                continue
            path, anchor = urllib.parse.unquote(url.path), urllib.parse.unquote(url.fragment)
            target = pathlib.Path(page.parent, path).resolve() if path else page
            fault = None
            if target not in places:
                fault = "not there"
            elif anchor and (target not in pages or anchor not in pages[target].anchors):
                fault = "no such heading"
            yield page.relative_to(top), link, fault


def check(what, top, files):
    """Tells of each wrong link; whether there is none."""
    links = list(faults(top, files))
    wrong = [f"check-links: {page}: {link}: {fault}" for page, link, fault in links if fault]
    print("\n".join(wrong), file=sys.stderr, end="\n" if wrong else "")
    if links and not wrong:
        print(f"check-links: all {len(links)} links of {what} resolve")
    return links and not wrong


root = pathlib.Path(__file__).resolve().parents[2]
listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=root,
                        check=True, stdout=subprocess.PIPE, text=True).stdout.splitlines()
whole = check("the tree", root, {path for path in map(root.joinpath, listed) if path.is_file()})
for site in (pathlib.Path(argument).resolve() for argument in sys.argv[1:]):
    whole = check("the site", site, {path for path in site.rglob("*") if path.is_file()}) and whole
if not whole:
    sys.exit("check-links: correct the links above")

"""Writes CHANGELOG.md in the form of a Debian change log: debian_changelog.py FROM TO"""
import datetime
import re
import sys

MAINTAINER = "The Cobaltreel developers <cobaltreel@pellanor.com>"


def entries(text):
    """(version, date, items) of each version; an item's lines are joined."""
    for part in re.split(r"^## ", text, flags=re.M)[1:]:
        heading, _, body = part.partition("\n")
        version, date = re.fullmatch(r"(\S+) - (\d{4}-\d\d-\d\d)", heading.strip()).groups()
        items = re.findall(r"^- (.*(?:\n  .*)*)", body, flags=re.M)
        yield version, datetime.date.fromisoformat(date), [" ".join(item.split()) for item in items]


def wrapped(item, width=76):
    lines, line = [], "  *"
    for word in item.split():
        if len(line) + 1 + len(word) > width:
            lines.append(line)
            line = "   "
        line += " " + word
    return lines + [line]


def main(source, target):
    with open(source, encoding="utf-8") as file:
        text = file.read()
    lines = []
    for version, date, items in entries(text):
        lines += [f"cobaltreel ({version}) stable; urgency=medium", ""]
        for item in items:
            lines += wrapped(item)
        day = datetime.datetime.combine(date, datetime.time()).strftime("%a, %d %b %Y %H:%M:%S +0000")
        lines += ["", f" -- {MAINTAINER}  {day}", ""]
    with open(target, "w", encoding="utf-8") as file:
        file.write("\n".join(lines))


main(*sys.argv[1:])

#!/usr/bin/env python3
"""Writes the Markdown pages of the repository in the form that Doxygen reads.

usage: docs/manual/pages.py <output folder> <page>...

Each page and each heading gets a label, links between pages become references to these labels, and images are named
without their folder. A link to a missing page, heading or file is reported, and the script then fails.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FRONT_PAGE = Path("docs/manual/front.md")
HEADING = re.compile(r"^(#{1,6})\s+(.*?)\s*$")
FENCE = re.compile(r"^\s*(```+|~~~+)")
# A code span, which stays as it is, or a link or image whose text may contain code spans.
INLINE = re.compile(r"(?P<code>(?P<ticks>`+)(?!`).+?(?<!`)(?P=ticks)(?!`))"
                    r"|(?P<image>!?)\[(?P<text>(?:[^\[\]`]|`[^`]*`)*)\]\((?P<target>[^)\s]+)\)"
                    r"|(?P<sign>[@#\\])(?=\w)|(?P<name>\bKiln\b)(?!::)", re.DOTALL)


def page_label(page):
    return "page_" + re.sub(r"\W", "_", str(page.with_suffix("")))


def slug_of(heading, used):
    """The fragment that Git servers give to a heading."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "").lower()
    slug = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
    count = used.get(slug, 0)
    used[slug] = count + 1
    return f"{slug}-{count}" if count else slug


def split_page(text):
    """Yields (kind, text) for headings, fenced blocks and the prose between them."""
    prose, fence = [], None
    for line in text.splitlines(keepends=True):
        opening = FENCE.match(line)
        if fence is not None:
            block.append(line)
            if opening and opening.group(1).startswith(fence) and line.strip() == opening.group(1):
                yield "code", "".join(block)
                fence = None
        elif opening or HEADING.match(line):
            yield "prose", "".join(prose)
            prose = []
            if opening:
                fence, block = opening.group(1), [line]
            else:
                yield "heading", line
        else:
            prose.append(line)
    yield "prose", "".join(prose)


class Pages:
    def __init__(self, pages):
        self.errors = []
        self.texts = {page: (ROOT / page).read_text(encoding="utf-8") for page in pages}
        self.slugs = {}
        for page, text in self.texts.items():
            used = {}
            self.slugs[page] = [slug_of(HEADING.match(part).group(2), used)
                                for kind, part in split_page(text) if kind == "heading"]

    def label_of(self, page, slug):
        index = self.slugs[page].index(slug)
        return page_label(page) if index == 0 else f"{page_label(page)}_{index}"

    def reference(self, page, text, target):
        path, _, fragment = target.partition("#")
        other = page if not path else Path(*_normal((page.parent / path).parts))
        text = " ".join(text.split())
        if other in self.slugs:
            if fragment and fragment not in self.slugs[other]:
                self.errors.append(f"{page}: no heading for {target}")
                return text
            label = self.label_of(other, fragment) if fragment else page_label(other)
            return f"[{text}](@ref {label})"
        if not (ROOT / other).exists():
            self.errors.append(f"{page}: nothing at {target}")
        return text  # The manual does not contain the files of the repository.

    def inline(self, page, match):
        if match["code"]:
            return match["code"]
        if match["sign"]:
            return "\\" + match["sign"]
        if match["name"]:
            return "%" + match["name"]  # The product, not the namespace.
        target = match["target"]
        if re.match(r"[a-z]+:", target):
            return match[0]
        if match["image"]:
            if not (ROOT / page.parent / target).is_file():
                self.errors.append(f"{page}: no image at {target}")
            return f"![{match['text']}]({Path(target).name})"
        return self.reference(page, match["text"], target)

    def converted(self, page):
        parts, count = [], 0
        for kind, part in split_page(self.texts[page]):
            if kind == "heading":
                marks, title = HEADING.match(part).groups()
                title = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", title)
                label = self.label_of(page, self.slugs[page][count])
                if page == FRONT_PAGE and count == 0:
                    label = "mainpage"
                title = re.sub(r"\bKiln\b(?!::)", "%Kiln", title)
                if page == FRONT_PAGE and count > 0:
                    parts.append(f"<h2>{title}</h2>\n")  # The tree has entries of these names already.
                else:
                    parts.append(f"{marks} {title} {{#{label}}}\n")
                count += 1
            elif kind == "prose":
                parts.append(INLINE.sub(lambda match: self.inline(page, match), part))
            else:
                parts.append(part)
        return "".join(parts)


def _normal(parts):
    result = []
    for part in parts:
        if part == "..":
            result.pop()
        else:
            result.append(part)
    return result


def main():
    output = Path(sys.argv[1])
    output.mkdir(parents=True, exist_ok=True)
    pages = Pages([Path(argument) for argument in sys.argv[2:]])
    for page in pages.texts:
        (output / (page_label(page) + ".md")).write_text(pages.converted(page), encoding="utf-8")
    for error in pages.errors:
        print(f"manual: {error}", file=sys.stderr)
    return 1 if pages.errors else 0


if __name__ == "__main__":
    sys.exit(main())

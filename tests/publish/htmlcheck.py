#!/usr/bin/python3
# Checks published HTML pages with html5lib, a parser that follows the HTML5
# parsing rules: no parse error, a doctype, the language on <html>, headings
# that start at h1 and never skip a level, and every local link, frame and
# picture leading to a file (and id) that exists.
# Usage: htmlcheck.py LANG PAGE... ; prints one line per problem, exit 1 if any.
import os
import sys
import urllib.parse

import html5lib

NS = '{http://www.w3.org/1999/xhtml}'


def local(tag):
    return tag[len(NS):] if tag.startswith(NS) else tag


def main():
    lang = sys.argv[1]
    pages = sys.argv[2:]
    problems = []
    ids = {}
    trees = {}
    for page in pages:
        data = open(page, 'rb').read()
        parser = html5lib.HTMLParser(strict=False, namespaceHTMLElements=True)
        tree = parser.parse(data)
        trees[page] = tree
        for pos, code, datavars in parser.errors:
            problems.append('%s: parse error %s %s at %s' % (page, code, datavars, pos))
        if not data.lstrip().lower().startswith(b'<!doctype html'):
            problems.append('%s: no HTML5 doctype' % page)
        if tree.get('lang') != lang:
            problems.append('%s: lang is %r' % (page, tree.get('lang')))
        ids[os.path.abspath(page)] = {e.get('id') for e in tree.iter() if e.get('id')} | \
            {e.get('name') for e in tree.iter() if local(e.tag) == 'a' and e.get('name')}
        last = 0
        for e in tree.iter():
            t = local(e.tag)
            if len(t) == 2 and t[0] == 'h' and t[1].isdigit():
                level = int(t[1])
                if (last == 0 and level != 1) or level > last + 1:
                    problems.append('%s: h%d follows %s' % (page, level, 'h%d' % last if last else 'the start'))
                last = level
    for page, tree in trees.items():
        base = os.path.dirname(os.path.abspath(page))
        for e in tree.iter():
            t = local(e.tag)
            for attr in ('href', 'src'):
                ref = e.get(attr)
                if ref is None or (t == 'a' and attr == 'src'):
                    continue
                parts = urllib.parse.urlsplit(ref)
                if parts.scheme or ref.startswith('//'):
                    continue
                target = os.path.normpath(os.path.join(base, urllib.parse.unquote(parts.path))) \
                    if parts.path else os.path.abspath(page)
                if not os.path.isfile(target):
                    problems.append('%s: %s="%s" leads to no file' % (page, attr, ref))
                    continue
                if parts.fragment and target.endswith('.html'):
                    known = ids.get(target)
                    if known is None:
                        # a page outside the checked set: read its ids
                        other = html5lib.parse(open(target, 'rb').read())
                        known = {x.get('id') for x in other.iter() if x.get('id')}
                        ids[target] = known
                    if parts.fragment not in known:
                        problems.append('%s: %s="%s" names no id there' % (page, attr, ref))
            if t == 'img' and e.get('alt') is None:
                problems.append('%s: img %s has no alt' % (page, e.get('src')))
    for p in problems:
        print(p)
    return 1 if problems else 0


if __name__ == '__main__':
    sys.exit(main())

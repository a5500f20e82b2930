#!/usr/bin/env python3
"""Shows a feed as a reader of feeds understands it: a line for each fact."""
import sys

import feedparser

feed = feedparser.parse(sys.argv[1])
print("version", feed.version)
print("faults", int(feed.bozo))
print("title", feed.feed.title)
print("link", feed.feed.link)
print("language", feed.feed.language)
print("generator", feed.feed.generator)
print("updated", *feed.feed.updated_parsed[:6])
for entry in feed.entries:
    print("item", entry.title)
    print("text", entry.description)
    print("time", *entry.published_parsed[:6])
    print("words", *[tag.term for tag in entry.tags])

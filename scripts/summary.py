#!/usr/bin/env python3
"""Prints the agent's config table, as the command socket dumps it, one line
per object with its properties."""
import json
import sys
from collections import OrderedDict

rows = json.load(sys.stdin)
objects = OrderedDict()
for row in rows:
    key = (row["ObjectType"], row["ObjectID"])
    objects.setdefault(key, [])
    if row["PropertyType"] != "INVALID_PROPERTY":
        objects[key].append("%s={%s}" % (row["PropertyType"], row["PropertyValue"]))
print("%-24s %-38s %s" % ("type", "id", "properties"))
for (kind, uuid), properties in objects.items():
    print("%-24s %-38s %s" % (kind, uuid, "; ".join(properties)))
print("%d objects, %d rows" % (len(objects), len(rows)))

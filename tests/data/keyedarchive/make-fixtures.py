#!/usr/bin/env python3
"""Writes the keyed-archive test files with an independent writer (Python's plistlib).

Each file is named after what it holds; the tests read the expectations from the names.
Run again after changing this script: python3 make-fixtures.py
"""
import plistlib
from plistlib import UID


def archive(objects, root=1, archiver="NSKeyedArchiver"):
    return {"$version": 100000, "$archiver": archiver, "$top": {"root": UID(root)}, "$objects": objects}


DICT = {"$classname": "NSMutableDictionary", "$classes": ["NSMutableDictionary", "NSDictionary", "NSObject"]}
ARRAY = {"$classname": "NSArray", "$classes": ["NSArray", "NSObject"]}
STRING = {"$classname": "NSMutableString", "$classes": ["NSMutableString", "NSString", "NSObject"]}


def command(value):
    return archive(["$null", {"NS.keys": [UID(2)], "NS.objects": [UID(3)], "$class": UID(4)},
                    "LVManagerCommand", value, DICT])


FILES = {
    "good-command-0": command(0),
    "good-command-7": command(7),
    "good-empty-dictionary": archive(["$null", {"NS.keys": [], "NS.objects": [], "$class": UID(2)}, DICT]),
    # Several kinds of member, shared references and a mutable string object.
    "good-nested": archive([
        "$null",
        {"NS.keys": [UID(2), UID(3), UID(4)], "NS.objects": [UID(5), UID(9), UID(5)], "$class": UID(10)},
        "list", "text", "again",
        {"NS.objects": [UID(6), UID(7), UID(8), UID(0)], "$class": UID(11)},
        42, 2.5, b"\x00\x01",
        {"NS.string": "hello", "$class": UID(12)},
        DICT, ARRAY, STRING,
    ]),
    "bad-cycle": archive(["$null", {"NS.objects": [UID(1)], "$class": UID(2)}, ARRAY]),
    "bad-uid-out-of-range": archive(["$null", {"NS.keys": [UID(2)], "NS.objects": [UID(99)], "$class": UID(3)},
                                     "LVManagerCommand", DICT]),
    "bad-root-out-of-range": archive(["$null"], root=5),
    "bad-key-not-string": archive(["$null", {"NS.keys": [UID(2)], "NS.objects": [UID(2)], "$class": UID(3)},
                                   7, DICT]),
    "bad-keys-and-values-differ": archive(["$null", {"NS.keys": [UID(2)], "NS.objects": [], "$class": UID(3)},
                                           "a", DICT]),
    "bad-no-class": archive(["$null", {"NS.keys": [], "NS.objects": []}]),
    "bad-objects-not-array": {"$archiver": "NSKeyedArchiver", "$top": {"root": UID(1)}, "$objects": {"a": 1}},
    "bad-no-archiver": {"$top": {"root": UID(1)}, "$objects": ["$null", 1]},
    "bad-member-inline": archive(["$null", {"NS.objects": [5], "$class": UID(2)}, ARRAY]),
}

# A chain deeper than any reader should follow.
deep = ["$null"]
for i in range(1, 200):
    deep.append({"NS.objects": [UID(i + 1)], "$class": UID(0)})
deep.append("end")
deep[0] = "$null"
for item in deep[1:-1]:
    item["$class"] = UID(len(deep))
deep.append(ARRAY)
FILES["bad-too-deep"] = archive(deep)

for name, value in FILES.items():
    with open(name + ".plist", "wb") as f:
        plistlib.dump(value, f, fmt=plistlib.FMT_BINARY, sort_keys=True)

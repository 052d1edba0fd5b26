"""Prints the stored events of a user defaults file, one line an event: fields in the order of the archive.

Follows every UID by hand, so it fails on a reference that is none and on a class that has no record.
"""
import plistlib
import sys

KEY = "com.lumora.event.module.saver.ud"


def value(objects, reference):
    assert isinstance(reference, plistlib.UID), reference
    found = objects[reference.data]
    if reference.data == 0:
        assert found == "$null"
        return None
    if not isinstance(found, dict):
        return found
    record = objects[found["$class"].data]
    name = record["$classname"]
    assert record["$classes"][0] == name and record["$classes"][-1] == "NSObject", record
    if name == "NSArray":
        return [value(objects, element) for element in found["NS.objects"]]
    if name == "NSMutableDictionary":
        keys = [value(objects, key) for key in found["NS.keys"]]
        return dict(zip(keys, [value(objects, element) for element in found["NS.objects"]], strict=True))
    assert name == "TDEventModel", name
    return {key: value(objects, field) for key, field in found.items() if key != "$class"}


with open(sys.argv[1], "rb") as file:
    defaults = plistlib.load(file, fmt=plistlib.FMT_BINARY)
archive = plistlib.loads(defaults.pop(KEY), fmt=plistlib.FMT_BINARY)
assert (archive["$version"], archive["$archiver"]) == (100000, "NSKeyedArchiver"), archive
print(sorted(defaults.items()))
for event in value(archive["$objects"], archive["$top"]["root"]):
    print(event)

#!/usr/bin/env python3
# Makes the zip files beside it: games, and what someone might try to have unpacked. The results are
# committed, so that the tests don't need Python.
import io, os, stat, struct, zipfile

here = os.path.dirname(os.path.abspath(__file__))
main = 'print(arg[0]:match("[^/]*/[^/]*$"), dofile("part.lua"), #list_folder("levels")) save_folder()'
game = [("main.lua", main), ("part.lua", 'return "part"'), ("levels/1.txt", "one"), ("empty/", "")]


def save(name, entries, claim=None):
    packed = io.BytesIO()
    with zipfile.ZipFile(packed, "w", zipfile.ZIP_DEFLATED) as out:
        for entry, text in entries:
            info = entry if isinstance(entry, zipfile.ZipInfo) else zipfile.ZipInfo(entry, (2024, 1, 1, 0, 0, 0))
            info.compress_type = zipfile.ZIP_DEFLATED
            out.writestr(info, text)
    data = bytearray(packed.getvalue())
    at = data.find(b"PK\1\2")  # the directory, whose sizes are only claims
    while claim is not None and at >= 0:
        data[at + 24:at + 28] = struct.pack("<I", claim)
        at = data.find(b"PK\1\2", at + 1)
    with open(os.path.join(here, name + ".zip"), "wb") as out:
        out.write(data)


def of_kind(name, kind):
    info = zipfile.ZipInfo(name, (2024, 1, 1, 0, 0, 0))
    info.create_system, info.external_attr = 3, (kind | 0o644) << 16
    return info


save("game", game)
save("folder", [("nice/" + name, text) for name, text in game] + [("__MACOSX/nice/._main.lua", "")])
save("two", [("a/main.lua", ""), ("b/main.lua", "")])
save("no_main", [("other.lua", "")])
for name, entry in [("up", "levels/../../evil"), ("absolute", "/tmp/evil"), ("backslash", "..\\evil"),
                    ("drive", "C:evil"), ("device", "levels/Aux.lua"), ("control", "ev\nil"),
                    ("empty_part", "levels//evil"), ("deep", "a/" * 17 + "evil")]:
    save(name, game + [(entry, "")])
save("link", game + [(of_kind("evil", stat.S_IFLNK), "/etc/passwd")])
save("twice", game + [("part.lua", "evil")])
save("file_and_folder", game + [("part.lua/evil", "")])
save("big_claim", game, 300 << 20)
save("total_claim", game, 50 << 20)
save("false_claim", [("main.lua", "-" * 9999)], 5)

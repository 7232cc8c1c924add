#!/usr/bin/env python3
"""Makes a binary log that holds texts, added one after the other as programs add them.

use: binary_log.py FILE TIME TEXT...    the first at that time, each next a second later
"""

import struct
import sys

MAP, BLOCK, BLOCKS = 1024, 8192, 32
path, time, *texts = sys.argv[1:]
data = bytearray(MAP + BLOCKS * BLOCK)
if not texts:
    struct.pack_into(">I4x16s", data, 0, 32, b"erlogfileobject")
else:
    struct.pack_into(">Q", data, 48, 1)
for number, text in enumerate(texts):
    text = text.encode()
    index = struct.unpack_from(">I", data, MAP + 12)[0]
    struct.pack_into(">I", data, MAP + 12, index + 1)
    struct.pack_into(">B3xIIIQ8x", data, MAP + 32 + 32 * index, 1, int(time) + number, len(text), len(text), 0)
    room = max(BLOCK - len(text), 0)  # what runs past the block is left out
    data[MAP + len(text):MAP + len(text) + len(text[:room])] = text[:room]
with open(path, "wb") as file:
    file.write(data)

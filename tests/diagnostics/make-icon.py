# Writes a 16x16 32-bit icon of one colour: make-icon.py <out.ico> <rrggbb>
import struct, sys
b, g, r = bytes.fromhex(sys.argv[2])[::-1]
image = struct.pack("<IiiHHIIiiII", 40, 16, 32, 1, 32, 0, 1088, 0, 0, 0, 0) + bytes([b, g, r, 255]) * 256 + bytes(64)
head = struct.pack("<HHHBBBBHHII", 0, 1, 1, 16, 16, 0, 0, 1, 32, len(image), 22)
open(sys.argv[1], "wb").write(head + image)

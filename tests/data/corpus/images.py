"""Pictures: `flag` is red above and blue below, in the formats that models use."""

import functools
import struct
import zlib

from .bombs import zlib_zeros

SIDE = 32
RED8 = (217, 20, 15)
BLUE8 = (15, 26, 217)


def flag_pixels():
    return [RED8 if y < SIDE // 2 else BLUE8 for y in range(SIDE) for _ in range(SIDE)]


def _chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(pixels, width, height, alpha=None, claimed=None):
    """`claimed` is a size that the header lies about."""
    rows = b""
    for y in range(height):
        rows += b"\0"
        for x in range(width):
            rows += bytes(pixels[y * width + x]) + (b"" if alpha is None else bytes((alpha[y * width + x],)))
    header = struct.pack(">IIBBBBB", *(claimed or (width, height)), 8, 2 if alpha is None else 6, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) + _chunk(b"IDAT", zlib.compress(rows, 9)) + _chunk(b"IEND", b"")
    )


def flag_png():
    return png(flag_pixels(), SIDE, SIDE)


def window_png():
    """Red with a hole of alpha 0 in the middle."""
    hole = range(SIDE // 4, SIDE * 3 // 4)
    alpha = [0 if x in hole and y in hole else 255 for y in range(SIDE) for x in range(SIDE)]
    return png([RED8] * (SIDE * SIDE), SIDE, SIDE, alpha)


@functools.lru_cache(maxsize=None)
def png_bomb(side=40_000):
    """A picture whose pixels take `side` * `side` * 3 bytes."""
    header = struct.pack(">IIBBBBB", side, side, 8, 2, 0, 0, 0)
    data = zlib_zeros((side * 3 + 1) * side)
    return b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) + _chunk(b"IDAT", data) + _chunk(b"IEND", b"")


def flag_bmp():
    pixels = flag_pixels()
    rows = b"".join(b"".join(bytes(reversed(pixels[y * SIDE + x])) for x in range(SIDE)) for y in reversed(range(SIDE)))
    info = struct.pack("<IiiHHIIiiII", 40, SIDE, SIDE, 1, 24, 0, len(rows), 2835, 2835, 0, 0)
    return b"BM" + struct.pack("<IHHI", 14 + len(info) + len(rows), 0, 0, 14 + len(info)) + info + rows


def flag_tga():
    header = struct.pack("<BBBHHBHHHHBB", 0, 0, 2, 0, 0, 0, 0, 0, SIDE, SIDE, 24, 0x20)
    return header + b"".join(bytes(reversed(p)) for p in flag_pixels())


class _Bits:
    def __init__(self):
        self.data = bytearray()
        self.held = self.count = 0

    def put(self, value, length):
        for i in reversed(range(length)):
            self.held = self.held << 1 | value >> i & 1
            self.count += 1
            if self.count == 8:
                self.data.append(self.held)
                if self.held == 0xFF:
                    self.data.append(0)
                self.held = self.count = 0

    def finish(self):
        while self.count:
            self.put(1, 1)
        return bytes(self.data)


def flag_jpeg():
    """Baseline JPEG of blocks of one colour each: only the mean of a block is stored."""
    # Category k of a difference has the four-bit code k; the one AC code, a single bit, ends a block.
    tables = b"\xff\xc4" + struct.pack(">HB", 2 + 17 + 12, 0x00) + bytes([0, 0, 0, 12] + [0] * 12) + bytes(range(12))
    tables += b"\xff\xc4" + struct.pack(">HB", 2 + 17 + 1, 0x10) + bytes([1] + [0] * 15) + b"\0"
    quantise = b"\xff\xdb" + struct.pack(">HB", 67, 0) + bytes([8] * 64)
    frame = b"\xff\xc0" + struct.pack(">HBHHB", 17, 8, SIDE, SIDE, 3)
    frame += b"".join(bytes((c, 0x11, 0)) for c in (1, 2, 3))
    scan = b"\xff\xda" + struct.pack(">HB", 12, 3) + b"".join(bytes((c, 0)) for c in (1, 2, 3)) + bytes((0, 63, 0))
    bits = _Bits()
    last = [0, 0, 0]
    for row in range(SIDE // 8):
        r, g, b = RED8 if row < SIDE // 16 else BLUE8
        means = (
            0.299 * r + 0.587 * g + 0.114 * b - 128,
            -0.1687 * r - 0.3313 * g + 0.5 * b,
            0.5 * r - 0.4187 * g - 0.0813 * b,
        )
        for _ in range(SIDE // 8):
            for k, mean in enumerate(means):
                value = round(mean)  # eight times the mean, quantised by eight
                step, last[k] = value - last[k], value
                size = abs(step).bit_length()
                bits.put(size, 4)
                bits.put(step if step >= 0 else step + (1 << size) - 1, size)
                bits.put(0, 1)
    return b"\xff\xd8" + quantise + tables + frame + scan + bits.finish() + b"\xff\xd9"

"""Packed data that inflates to far more than it takes, made without inflating it."""

import functools
import zlib


@functools.lru_cache(maxsize=None)
def _segment(filler):
    """One deflated piece that can be repeated: it refers to nothing before it."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    return packer.compress(filler) + packer.flush(zlib.Z_FULL_FLUSH)


def deflated(head, filler, times, tail=b""):
    """Raw deflate data of head + filler * times + tail."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    last = zlib.compressobj(9, zlib.DEFLATED, -15)
    begin = packer.compress(head) + packer.flush(zlib.Z_FULL_FLUSH)
    return begin + _segment(filler) * times + last.compress(tail) + last.flush()


def zlib_zeros(count):
    """zlib data of at least `count` zero bytes; a whole number of megabytes."""
    megabytes = -(-count // (1 << 20))
    check = (megabytes << 20) % 65521 << 16 | 1
    return b"\x78\x9c" + deflated(b"", bytes(1 << 20), megabytes) + check.to_bytes(4, "big")

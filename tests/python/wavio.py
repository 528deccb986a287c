"""Tiny WAV reading and writing for the tests (16-bit PCM and 32-bit float), and running qxfx."""
import os
import struct
import subprocess

import numpy as np

TAGS = {np.dtype(np.int16): 1, np.dtype(np.float32): 3}


def write(path, audio, rate):
    data = np.ascontiguousarray(audio).tobytes()
    ch, width = audio.shape[1], audio.dtype.itemsize
    fmt = struct.pack("<HHIIHH", TAGS[audio.dtype], ch, rate, rate * ch * width, ch * width, width * 8)
    with open(path, "wb") as f:
        f.write(b"RIFF" + struct.pack("<I", 4 + 8 + len(fmt) + 8 + len(data)) + b"WAVE")
        f.write(b"fmt " + struct.pack("<I", len(fmt)) + fmt + b"data" + struct.pack("<I", len(data)) + data)


def read(path):
    raw = open(path, "rb").read()
    pos, tag, ch, bits = 12, None, None, None
    while pos + 8 <= len(raw):
        kind, size = raw[pos:pos + 4], struct.unpack("<I", raw[pos + 4:pos + 8])[0]
        body = raw[pos + 8:pos + 8 + size]
        if kind == b"fmt ":
            tag, ch, _, _, _, bits = struct.unpack("<HHIIHH", body[:16])
            if tag == 0xFFFE:
                tag = struct.unpack("<H", body[24:26])[0]
        elif kind == b"data":
            dtype = np.float32 if tag == 3 else np.int16
            assert bits == np.dtype(dtype).itemsize * 8, (tag, bits)
            return np.frombuffer(body, dtype=dtype).reshape(-1, ch)
        pos += 8 + size + (size & 1)
    raise ValueError(f"{path}: no data chunk")


def qxfx(*args):
    subprocess.run([os.environ["QXFX"], "-q", *args], check=True)

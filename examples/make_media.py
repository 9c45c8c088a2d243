#!/usr/bin/env python3
"""Makes the images, sounds and vertices of the example project anew: small, plain, and the same every time."""

import math
import pathlib
import struct
import wave
import zlib

RES = pathlib.Path(__file__).parent / "harbour" / "res"

IMAGES = {  # two colours, and the size of the squares that they alternate in
    "textures/sky.png": ((120, 170, 220), (150, 190, 230), 4),
    "textures/water.png": ((30, 70, 110), (40, 90, 130), 2),
    "textures/water_normal.png": ((128, 128, 255), (120, 136, 255), 2),
    "textures/foam.png": ((240, 240, 250), (200, 210, 230), 1),
    "textures/stone.png": ((130, 130, 125), (110, 110, 105), 4),
    "textures/stone_normal.png": ((128, 128, 255), (136, 120, 255), 4),
    "textures/wood.png": ((140, 95, 55), (120, 80, 45), 4),
    "textures/metal.png": ((90, 95, 100), (75, 80, 85), 8),
    "textures/rust.png": ((150, 75, 40), (120, 60, 35), 2),
    "models/boat/boat_thumb.png": ((140, 95, 55), (30, 70, 110), 8),
    "models/crane/crane_thumb.png": ((90, 95, 100), (150, 75, 40), 8),
    "models/gull/feathers.png": ((235, 235, 235), (180, 180, 180), 2),
    "models/buoy/buoy.png": ((200, 60, 40), (235, 235, 235), 8),
    "maps/tiles.png": ((60, 110, 60), (30, 70, 110), 8),
    "maps/crate.png": ((140, 95, 55), (100, 65, 35), 4),
    "maps/chart.png": ((230, 220, 190), (190, 200, 210), 8),
    "sprites/body.png": ((235, 235, 235), (210, 210, 210), 8),
    "sprites/wing.png": ((180, 180, 180), (150, 150, 150), 8),
    "sprites/atlas.png": ((235, 235, 235), (140, 95, 55), 8),
    "ui/paper.png": ((230, 220, 190), (225, 215, 185), 8),
    "effects/drop.png": ((200, 220, 240), (160, 190, 220), 4),
}
SOUNDS = {"sounds/waves.wav": 110, "sounds/gull.wav": 880, "sounds/wing.wav": 220}  # hertz
# A triangle: positions, then texture coordinates.
VERTICES = {"models/buoy/buoy.bin": (-1, 0, 0, 1, 0, 0, 0, 2, 0, 0, 1, 1, 1, 0.5, 0)}
SIDE = 16


def png(first, second, square):
    rows = b"".join(
        b"\0" + b"".join(bytes((first, second)[(x // square + y // square) % 2])
                         for x in range(SIDE))
        for y in range(SIDE)
    )

    def chunk(kind, body):
        return (struct.pack(">I", len(body)) + kind + body
                + struct.pack(">I", zlib.crc32(kind + body)))

    header = struct.pack(">IIBBBBB", SIDE, SIDE, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header)
            + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def write_sound(path, hertz):
    rate = 4000
    with wave.open(str(path), "wb") as sound:
        sound.setnchannels(1)
        sound.setsampwidth(1)
        sound.setframerate(rate)
        sound.writeframes(bytes(128 + int(90 * math.sin(2 * math.pi * hertz * i / rate))
                                for i in range(rate // 10)))


def main():
    for name, colours in IMAGES.items():
        (RES / name).parent.mkdir(parents=True, exist_ok=True)
        (RES / name).write_bytes(png(*colours))
    for name, hertz in SOUNDS.items():
        (RES / name).parent.mkdir(parents=True, exist_ok=True)
        write_sound(RES / name, hertz)
    for name, numbers in VERTICES.items():
        (RES / name).parent.mkdir(parents=True, exist_ok=True)
        (RES / name).write_bytes(struct.pack(f"<{len(numbers)}f", *numbers))


if __name__ == "__main__":
    main()

# SPDX-License-Identifier: GPL-2.0-or-later
"""The test pattern of the encoder and its detection in a picture."""

import dataclasses

# Bars from left to right, as red, green and blue; no two neighbours are alike in any two channels.
BARS = ((235, 235, 235), (220, 200, 20), (20, 200, 210), (20, 190, 30), (200, 20, 190), (200, 30, 20), (20, 30, 200))

# The lowest part blinks, so that a frozen picture is detected.
BLINK_FROM = 0.8
BLINK_PERIOD_S = 1.0

# Maximum change of one channel by the encoder's colour subsampling and quantisation and by scaling.
_TOLERANCE = 24


@dataclasses.dataclass(frozen=True)
class Picture:
    """Pixels in rows from the top, three bytes per pixel."""

    width: int
    height: int
    pixels: bytes

    @classmethod
    def from_ppm(cls, data: bytes) -> "Picture":
        """Parses a binary PPM with one byte per channel; raises ValueError for anything else."""
        magic, size, depth, pixels = data.split(b"\n", 3)
        width, height = (int(number) for number in size.split())
        if magic != b"P6" or depth != b"255" or len(pixels) != width * height * 3:
            raise ValueError("not a binary PPM with 8 bits a channel")
        return cls(width, height, pixels)

    def mean(self, left: float, top: float, right: float, bottom: float) -> tuple:
        """The mean colour of a part; the edges are fractions of width and height."""
        x0, x1 = int(left * self.width), int(right * self.width)
        rows = range(int(top * self.height), int(bottom * self.height))
        part = b"".join(self.pixels[(y * self.width + x0) * 3:(y * self.width + x1) * 3] for y in rows)
        count = len(part) // 3
        return tuple(round(sum(part[channel::3]) / count) for channel in range(3))

    def bars(self) -> tuple:
        """The mean colours at the positions of the pattern's bars."""
        step = 1 / len(BARS)
        return tuple(self.mean((i + 0.3) * step, 0.2, (i + 0.7) * step, 0.6) for i in range(len(BARS)))

    def blink(self) -> bool:
        """Whether the blinking part is bright at the moment."""
        return sum(self.mean(0.2, (1 + BLINK_FROM) / 2, 0.8, 0.97)) > 3 * 128

    def shows_pattern(self) -> bool:
        """Whether every bar has its colour."""
        return all(abs(found - wanted) <= _TOLERANCE
                   for bar, colour in zip(self.bars(), BARS) for found, wanted in zip(bar, colour))


def ffmpeg_pattern(width: int, height: int, rate: int) -> list:
    """FFmpeg's arguments for the pattern with a quiet tone, endless and in real time."""
    bar = width // len(BARS)
    inputs = [f"color=0x{r:02x}{g:02x}{b:02x}:s={bar}x{height}:r={rate}[b{i}]" for i, (r, g, b) in enumerate(BARS)]
    names = "".join(f"[b{i}]" for i in range(len(BARS)))
    top = int(height * BLINK_FROM)

    def strip(colour, condition):
        return f"drawbox=0:{top}:iw:ih-{top}:{colour}:fill:enable='{condition}'"

    bright = f"lt(mod(t\\,{BLINK_PERIOD_S})\\,{BLINK_PERIOD_S / 2})"
    graph = ";".join([*inputs, f"{names}hstack=inputs={len(BARS)},{strip('black', '1')},{strip('white', bright)},"
                      # Explicit, so that encoder and OBS use the same colour matrix and range.
                      "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p[out0]",
                      "sine=440:r=48000,volume=0.05[out1]"])
    return ["-re", "-f", "lavfi", "-i", graph]

# SPDX-License-Identifier: MIT
"""Draws spectrograms of sources above decoded speech; scripts/spectrograms calls it.

    draw.py <directory of *_source.wav> <directory of decoded *.wav> <directory for the pictures>
"""
import os
import sys

import matplotlib
import numpy as np

matplotlib.use("Agg")  # no display is asked for
import matplotlib.pyplot as plt  # noqa: E402
from PIL import Image  # noqa: E402

RATE = 8000
QUIETEST, LOUDEST = -70, -20  # what the colours span, in dB of full scale
COLOURS = plt.get_cmap("magma", 25)  # 2 dB each: finer ones double the file

# Picture, sample, from and to which second, window in ms: a long one shows harmonics, a short one shows onsets.
PICTURES = [
    ("greeting.png", "greeting", 0.1, 6.1, 32),
    ("greeting_detail.png", "greeting", 0.3, 2.3, 40),
    ("counting_detail.png", "counting", 0.1, 3.5, 20),
]


def read_samples(path):
    """16-bit linear samples behind a 44-byte header, to the end of the file whatever the header says."""
    with open(path, "rb") as file:
        head, data = file.read(44), file.read()
    if head[36:40] != b"data" or head[20:22] != b"\x01\x00":
        sys.exit(f"{path}: not 16-bit linear samples behind a 44-byte header")
    return np.frombuffer(data[: len(data) & ~1], "<i2") / 32768


def level(samples):
    """Level in dB of 20 ms windows, one every 2 ms."""
    power = np.convolve(samples**2, np.ones(160) / 160, "same")[::16]
    return 10 * np.log10(power + 1e-7)


def delay_of(decoded, source):
    """How many samples later the decoded speech comes: where the two levels fit best, up to 120 ms."""
    a, b = level(source), level(decoded)

    def fit(shift):
        count = min(len(a), len(b) - shift)
        return np.corrcoef(a[:count], b[shift : shift + count])[0, 1]

    return 16 * max(range(61), key=fit)


def spectrogram(samples, window_ms):
    """Level in dB of full scale; rows from 0 to 4000 Hz, a column every 2 ms, the first centred at 0."""
    size, step, transform = window_ms * RATE // 1000, 16, 1024
    window = np.hanning(size + 1)[:-1]
    padded = np.pad(samples, size // 2)
    views = np.lib.stride_tricks.sliding_window_view(padded, size)[::step]
    spectra = np.abs(np.fft.rfft(views * window, transform)) * 2 / window.sum()
    return 20 * np.log10(spectra.T + 1e-7)


def draw(path, panels, start, end, window_ms):
    figure, axes = plt.subplots(len(panels), 1, sharex=True, figsize=(9, 4.6), dpi=110, layout="constrained")
    for axis, (title, samples) in zip(axes, panels):
        piece = samples[int(start * RATE) : int(end * RATE)]
        image = axis.imshow(spectrogram(piece, window_ms), origin="lower", aspect="auto", cmap=COLOURS,
                            vmin=QUIETEST, vmax=LOUDEST, extent=(start, start + len(piece) / RATE, 0, RATE / 2000))
        axis.set_title(title, loc="left", fontsize=10)
        axis.set_ylabel("kHz")
        axis.set_yticks(range(5))
        axis.set_xlim(start, end)
    axes[-1].set_xlabel("seconds")
    figure.colorbar(image, ax=axes, label="dB of full scale", pad=0.01, aspect=40)
    figure.savefig(path)
    plt.close(figure)
    # What is left besides those colours is the grey of the letters.
    Image.open(path).convert("RGB").quantize(64, dither=Image.Dither.NONE).save(path, optimize=True)


def main():
    sources, decoded, pictures = sys.argv[1:]
    for picture, sample, start, end, window_ms in PICTURES:
        source = read_samples(os.path.join(sources, sample + "_source.wav"))
        speech = read_samples(os.path.join(decoded, sample + ".wav"))
        speech = speech[delay_of(speech, source) :]
        panels = [("source", source), ("decoded from 2400 bit/s", speech)]
        draw(os.path.join(pictures, picture), panels, start, end, window_ms)


main()

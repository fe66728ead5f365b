"""How the sunspot cycle changed over time: short spectra of the monthly numbers since 1749.

python3 spectrogram.py sunspots.csv [picture.png]
"""

import sys

import numpy as np
import tnk.fft

if len(sys.argv) < 2:
    sys.exit(__doc__)

WINDOW, STEP = 12 * 44, 12  # months: four cycles, a spectrum a year

table = np.genfromtxt(sys.argv[1], delimiter=",", names=True, dtype=None, encoding="utf-8", comments="#")
numbers = np.array([row[-1] for row in table], float)
months = len(numbers)
start = 1749

shape = np.hanning(WINDOW)
pieces = np.lib.stride_tricks.sliding_window_view(numbers, WINDOW)[::STEP]
spectra = np.abs(tnk.fft.rfft((pieces - pieces.mean(axis=1, keepdims=True)) * shape, n=8 * WINDOW, axis=1))
years_each = 8 * WINDOW / 12 / np.arange(1, spectra.shape[1])
band = (years_each > 6) & (years_each < 16)
periods = years_each[band][spectra[:, 1:][:, band].argmax(axis=1)]

print(f"{months} months, {len(pieces)} spectra of {WINDOW // 12} years")
print(f"cycle between {periods.min():.1f} and {periods.max():.1f} years, {np.median(periods):.1f} in the middle")

if len(sys.argv) > 2:
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    centres = start + (np.arange(len(pieces)) * STEP + WINDOW / 2) / 12
    figure, axes = pyplot.subplots(figsize=(8, 4), layout="constrained")
    axes.pcolormesh(centres, years_each[band], spectra[:, 1:][:, band].T, shading="nearest", cmap="magma")
    axes.plot(centres, periods, color="white", linewidth=1)
    axes.set(xlabel="year", ylabel="period, years", title="The length of the sunspot cycle, 44 years at a time")
    figure.savefig(sys.argv[2], dpi=120)

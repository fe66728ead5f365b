"""A heated plate: cold at its left and lower edges, insulated at the others, with two sources of heat.

python3 plate.py [picture.png]
"""

import sys

import numpy as np
import tnk.pde

x = np.linspace(0, 2, 257)[:, None]
y = np.linspace(0, 1, 129)[None, :]
heat = 40 * np.exp(-((x - 0.6) ** 2 + (y - 0.6) ** 2) / 0.01) + 25 * np.exp(-((x - 1.6) ** 2 + (y - 0.3) ** 2) / 0.02)
plate = tnk.pde.Solver(heat.shape, [(0, 2), (0, 1)], sides=["DN", "DN"])
temperature = plate.solve(heat)

# What is put in leaves through the cold edges, up to the error of the differences.
h = 2 / 256
trapezes = np.ones(heat.shape)
trapezes[[0, -1], :] /= 2
trapezes[:, [0, -1]] /= 2
put_in = (heat * trapezes).sum() * h * h
left = (4 * temperature[1] - temperature[2]) / (2 * h)
below = (4 * temperature[:, 1] - temperature[:, 2]) / (2 * h)
taken_out = (left.sum() - left[[0, -1]].sum() / 2 + below.sum() - below[[0, -1]].sum() / 2) * h
hottest = np.unravel_index(temperature.argmax(), temperature.shape)

print(f"hottest {temperature.max():.4f} at x = {x[hottest[0], 0]:.3f}, y = {y[0, hottest[1]]:.3f}")
print(f"heat put in {put_in:.4f}, taken out {taken_out:.4f}")

if len(sys.argv) > 1:
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(8, 4), layout="constrained")
    drawn = axes.contourf(x[:, 0], y[0], temperature.T, 24, cmap="inferno")
    axes.contour(x[:, 0], y[0], temperature.T, 12, colors="white", linewidths=0.4)
    figure.colorbar(drawn, label="temperature")
    axes.set(aspect="equal", xlabel="x", ylabel="y", title="Cold left and lower edges, insulated above and at the right")
    figure.savefig(sys.argv[1], dpi=120)

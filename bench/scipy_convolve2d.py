#!/usr/bin/python3
"""scipy.signal.convolve2d (full output, direct sums) on the 2-D cases of
bench_direct: double 512x512 * 31x31 and single 1024x1024 * 9x9.  Prints
the median of 5 runs in ms per case; divide bench_direct's task time by it
for the ratio.  Run with the system python (numpy, scipy) pinned like the
benchmark: taskset -c 1 /usr/bin/python3 bench/scipy_convolve2d.py"""
import numpy as np
from scipy.signal import convolve2d

from numpy_timing import median_seconds

rng = np.random.default_rng(1)
for dtype, n, k in ((np.float64, 512, 31), (np.float32, 1024, 9)):
    x = rng.uniform(-1, 1, (n, n)).astype(dtype)
    y = rng.uniform(-1, 1, (k, k)).astype(dtype)
    ms = median_seconds(lambda: convolve2d(x, y, mode="full")) * 1e3
    print(f"convolve2d {np.dtype(dtype).name} {n}x{n} * {k}x{k}: {ms:.1f} ms")

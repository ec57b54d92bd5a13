#!/usr/bin/python3
"""scipy.signal.oaconvolve and fftconvolve (full output, float32) on the
one-dimensional cases of bench_signal's BM_ConvolveTask.  Prints the median
of 5 runs in ms and in ns per output; divide the task's ns per output
(task_ns) by it for the ratio.  Run with the system python (numpy, scipy)
pinned like the benchmark:
taskset -c 1 /usr/bin/python3 bench/scipy_oaconvolve.py"""
import numpy as np
from scipy.signal import fftconvolve, oaconvolve

from numpy_timing import median_seconds

rng = np.random.default_rng(1)
for nx, nh in ((100000, 64), (1000000, 32), (1000000, 1000), (1000000, 100000)):
    x = rng.uniform(-1, 1, nx).astype(np.float32)
    h = rng.uniform(-1, 1, nh).astype(np.float32)
    for name, conv in (("oaconvolve", oaconvolve), ("fftconvolve", fftconvolve)):
        conv(x, h, mode="full")  # scipy caches its FFT plans: time warm calls, as the task's are
        ms = median_seconds(lambda: conv(x, h, mode="full")) * 1e3
        print(f"{name:11s} {nx:7d} x {nh:6d}: {ms:8.2f} ms {ms * 1e6 / (nx + nh - 1):7.2f} ns per output")

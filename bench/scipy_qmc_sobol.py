"""scipy.stats.qmc.Sobol drawing the job of bench_rng_quasi: 10^6 points of
10 dimensions, unscrambled, median processor time per point over five runs
(the benchmark counts its thread's processor time too), in its own process.

Run pinned like the benchmark: taskset -c 1 /usr/bin/python3 bench/scipy_qmc_sobol.py
"""
import time

from scipy.stats import qmc

POINTS, DIM = 1_000_000, 10
times = []
for _ in range(5):
    sampler = qmc.Sobol(d=DIM, scramble=False)
    sampler.fast_forward(1)  # from the first point after the origin, as bench_rng_quasi
    start = time.process_time()
    sampler.random(POINTS)
    times.append(time.process_time() - start)
print(f"scipy.qmc Sobol d={DIM}: {sorted(times)[2] / POINTS * 1e9:8.2f} ns per point")

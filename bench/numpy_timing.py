"""Timing shared by the numpy and scipy peers of the benchmarks: each case
run five times in this process, the median time printed."""
import time


def median_seconds(run, runs=5):
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        run()
        times.append(time.perf_counter() - start)
    return sorted(times)[runs // 2]


def report(cases, count):
    for name, draw in cases:
        print(f"{name:42s} {median_seconds(draw) / count * 1e9:8.2f} ns per value")

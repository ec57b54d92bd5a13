"""Timing shared by the numpy peers of the benchmarks: each case drawn five
times in this process, the median time per value printed."""
import time


def report(cases, count):
    for name, draw in cases:
        times = []
        for _ in range(5):
            start = time.perf_counter()
            draw()
            times.append(time.perf_counter() - start)
        print(f"{name:42s} {sorted(times)[2] / count * 1e9:8.2f} ns per value")

"""numpy's Generator (on MT19937) drawing the laws of bench_laws_continuous:
median time per value over five runs of 10^6 doubles, in its own process.

Run pinned like the benchmark: taskset -c 1 /usr/bin/python3 bench/numpy_laws_continuous.py
"""
import numpy as np

from numpy_timing import report

COUNT = 1_000_000
gen = np.random.Generator(np.random.MT19937(1))
out = np.empty(COUNT)

CASES = [
    ("Uniform", lambda: gen.random(COUNT, out=out)),
    ("Gaussian", lambda: gen.standard_normal(COUNT, out=out)),
    ("Exponential", lambda: gen.standard_exponential(COUNT, out=out)),
    ("Laplace", lambda: gen.laplace(0.0, 1.0, COUNT)),
    ("Weibull", lambda: gen.weibull(1.5, COUNT)),
    ("Cauchy", lambda: gen.standard_cauchy(COUNT)),
    ("Rayleigh", lambda: gen.rayleigh(1.0, COUNT)),
    ("Lognormal", lambda: gen.lognormal(0.0, 1.0, COUNT)),
    ("Gumbel", lambda: gen.gumbel(0.0, 1.0, COUNT)),
]

report(CASES, COUNT)

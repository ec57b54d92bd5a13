"""numpy's Generator (on MT19937) drawing the cases of bench_laws_hypergeometric_negbinomial:
median time per value over five runs of 10^6 values, in its own process.

Run pinned like the benchmark: taskset -c 1 /usr/bin/python3 bench/numpy_hypergeometric_negbinomial.py
"""
import numpy as np

from numpy_timing import report

COUNT = 1_000_000
gen = np.random.Generator(np.random.MT19937(1))

# (name, draw): hypergeometric(marked, unmarked, sample) for a lot, a sample
# and a marked count; negative_binomial(a, p).
CASES = [
    ("Hypergeometric<20, 5, 7>", lambda: gen.hypergeometric(7, 13, 5, COUNT)),
    ("Hypergeometric<1000, 100, 400>", lambda: gen.hypergeometric(400, 600, 100, COUNT)),
    ("Hypergeometric<1000000, 500000, 300000>", lambda: gen.hypergeometric(300000, 700000, 500000, COUNT)),
    ("Hypergeometric<100, 90, 95>", lambda: gen.hypergeometric(95, 5, 90, COUNT)),
    ("Negbinomial<5, 500>", lambda: gen.negative_binomial(0.5, 0.5, COUNT)),
    ("Negbinomial<30, 300>", lambda: gen.negative_binomial(3, 0.3, COUNT)),
    ("Negbinomial<100, 900>", lambda: gen.negative_binomial(10, 0.9, COUNT)),
    ("Negbinomial<10000, 10>", lambda: gen.negative_binomial(1000, 0.01, COUNT)),
    ("Negbinomial<10, 1>", lambda: gen.negative_binomial(1, 0.001, COUNT)),
]

report(CASES, COUNT)
